// The demo's capture assistance: the exposure judge in a capture loop of
// the synthetic camera whose room light and hand distance change, and the
// guidance overlay of a palm held off-centre.
#include <cstdio>
#include <iostream>
#include <vector>

#include "demo_sections.h"
#include "palm/capture/cmos_judge.h"
#include "palm/capture/i_palm_precheck.h"
#include "palm/capture/user_interactive.h"
#include "palm/localisation/palm_crop.h"
#include "sim/exposure_camera.h"
#include "sim/exposure_loop.h"
#include "sim/guidance_card.h"

namespace palm_tool {

namespace {

struct phase {
    const char* name;
    palm_test::exposure_scene scene;
    int frames;
};

const char* move_of(bool changed, unsigned short before, unsigned short after) {
    if (!changed)
        return "  ";
    return after > before ? "up" : (after < before ? "dn" : "=");
}

// Runs the story; returns the number of failed checks.
int exposure_story() {
    const phase story[] = {
        {"bright room", {1.0, 1.0, 1.0}, 4},      {"dim room", {0.45, 0.45, 1.0}, 5},
        {"dark room", {0.12, 0.12, 1.0}, 5},      {"hand near the lamp", {0.12, 0.12, 0.45}, 5},
        {"back in daylight", {1.5, 1.5, 1.0}, 5},
    };
    palm_test::camera_pose pose;
    pose.noise_seed = 5;
    palm_test::exposure_camera camera(11, pose);
    palm_algorithm::cmos_judge& judge =
        *static_cast<palm_algorithm::cmos_judge*>(palm_algorithm::get_cmos_judge_inst());
    judge.init(128, 128);
    std::printf("frame  scene               registers     window mean   judged  next registers\n");
    int frame = 0, changes = 0, swings = 0, unsettled = 0;
    std::uint32_t seed = 1;
    demo_clock clock;
    for (const phase& p : story) {
        const std::vector<palm_test::exposure_step> steps =
            palm_test::run_exposure_loop(judge, camera, p.scene, p.frames, seed);
        seed += static_cast<std::uint32_t>(p.frames);
        for (const palm_test::exposure_step& s : steps) {
            std::printf("%5d  %-18s  li %3u ir %3u  li %3d ir %3d  li %s ir %s  li %3u ir %3u\n",
                        ++frame, p.name, s.li_reg, s.ir_reg, s.b_li, s.b_ir,
                        move_of(s.li_changed, s.li_reg, s.new_li_reg),
                        move_of(s.ir_changed, s.ir_reg, s.new_ir_reg), s.new_li_reg, s.new_ir_reg);
        }
        changes += palm_test::register_changes(steps);
        swings += palm_test::register_swings(steps);
        // Settled: the last two frames of a scene change nothing.
        for (std::size_t i = steps.size() - 2; i < steps.size(); ++i)
            unsettled += (steps[i].li_changed || steps[i].ir_changed) ? 1 : 0;
    }
    std::printf(
        "exposure: %d frames in %.1f ms, %d with a rung change, %d swings back, "
        "settled in every scene: %s\n",
        frame, clock.ms(), changes, swings, unsettled == 0 ? "yes" : "NO");
    return (swings == 0 ? 0 : 1) + (unsettled == 0 ? 0 : 1);
}

// A palm 150 pixels right of the centre, located and drawn for the person.
int guidance_example() {
    palm_test::camera_pose pose;
    pose.scale = 1.6;
    pose.offset_x = 150;
    const palm_share::image_pair pair = palm_test::render_frame_pair(7, pose).frames;
    palm_struct::_crop_results res;
    const palm_algorithm::palm_position size =
        palm_algorithm::get_palm_precheck_inst()->PreCheck(pair.nir, res);
    std::vector<palm_share::image_pair> rois;
    const int code = palm_algorithm::get_crop_inst()->Crop(pair, rois, res);
    const palm_algorithm::palm_position where = palm_algorithm::get_crop_inst()->GetPalmPos(res);
    palm_algorithm::i_user_interactive_interface* ui = palm_algorithm::get_interactive_inst();
    if (!ui->init(palm_test::make_guidance_card(7, 0.9, 6), 640, 480)) {
        std::cout << "guidance: the template was refused\n";
        return 1;
    }
    palm_struct::_card_rect rect{0, 0, 0, 0};
    demo_clock clock;
    const unsigned char* drawn = ui->gen_interactive(res, rect);
    const double ms = clock.ms();
    std::printf(
        "guidance: pre-check %d (area %.1f%%), crop %d, position %d (offset %d, %d), "
        "overlay rect %d %d %d %d in %.3f ms\n",
        static_cast<int>(size), res.area_percent, code, static_cast<int>(where), res.palm_offset_x,
        res.palm_offset_y, rect.left, rect.top, rect.right, rect.bottom, ms);
    // Right of the centre: POS_RIGHT, and drawn right of the centre.
    const bool ok = code == 0 && drawn != nullptr && where == palm_algorithm::POS_RIGHT &&
                    rect.left + rect.right > 640;
    return ok ? 0 : 1;
}

}  // namespace

int demo_capture(demo_state&) {
    std::cout << "== capture assistance\n";
    return exposure_story() + guidance_example();
}

}  // namespace palm_tool
