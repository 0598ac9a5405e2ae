// The exposure judge in the synthetic device's capture loop: the register
// values change what the sensors deliver, and the judge settles on a rung
// without swinging back and forth.
#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

#include "palm/capture/cmos_judge.h"
#include "sim/exposure_camera.h"
#include "sim/exposure_loop.h"

using palm_algorithm::cmos_judge;
using palm_test::exposure_camera;
using palm_test::exposure_scene;
using palm_test::exposure_step;

namespace {

palm_test::camera_pose straight_pose() {
    palm_test::camera_pose p;
    p.noise_seed = 3;
    return p;
}

exposure_scene scene(double nir, double vl, double distance = 1.0) {
    exposure_scene s;
    s.nir_light = nir;
    s.vl_light = vl;
    s.distance = distance;
    return s;
}

void print(const std::vector<exposure_step>& steps) {
    for (const exposure_step& s : steps)
        std::printf("li %3u ir %3u  b_li %3d b_ir %3d -> li %3u ir %3u\n", s.li_reg, s.ir_reg,
                    s.b_li, s.b_ir, s.new_li_reg, s.new_ir_reg);
}

TEST(ExposureCamera, RegistersChangeTheBrightnessOfEachSensor) {
    exposure_camera cam(21, straight_pose());
    cmos_judge j;
    const exposure_scene s = scene(0.5, 0.5);
    const unsigned short low = j.Get_Image_Brightness(cam.capture(s, 128, 128, 1).nir,
                                                      cam.capture(s, 128, 128, 1).vl, false);
    const palm_share::image_pair ir_up = cam.capture(s, 128, 255, 1);
    const palm_share::image_pair li_up = cam.capture(s, 240, 128, 1);
    const unsigned short b_ir_up = j.Get_Image_Brightness(ir_up.nir, ir_up.vl, false);
    const unsigned short b_li_up = j.Get_Image_Brightness(li_up.nir, li_up.vl, false);
    // Near-infrared alone, then visible light alone, grows.
    EXPECT_GT(b_ir_up >> 8, (low >> 8) + 40);
    EXPECT_NEAR(b_ir_up & 0xff, low & 0xff, 1);
    EXPECT_GT(b_li_up & 0xff, (low & 0xff) + 40);
    EXPECT_NEAR(b_li_up >> 8, low >> 8, 1);
}

TEST(ExposureCamera, CloserHandIsBrighterInNearInfraredOnly) {
    exposure_camera cam(21, straight_pose());
    cmos_judge j;
    const palm_share::image_pair far = cam.capture(scene(0.5, 0.5, 1.0), 128, 128, 1);
    const palm_share::image_pair near = cam.capture(scene(0.5, 0.5, 0.7), 128, 128, 1);
    const unsigned short bf = j.Get_Image_Brightness(far.nir, far.vl, false);
    const unsigned short bn = j.Get_Image_Brightness(near.nir, near.vl, false);
    EXPECT_GT(bn >> 8, (bf >> 8) + 30);
    EXPECT_NEAR(bn & 0xff, bf & 0xff, 6);
}

// Each steady scene, from each start: the judge reaches a rung within two
// changes per light and stays there, never going back to a value it left.
TEST(ExposureLoop, SettlesWithoutSwinging) {
    exposure_camera cam(21, straight_pose());
    const exposure_scene scenes[] = {scene(1.0, 1.0),   scene(0.45, 0.45), scene(0.2, 0.2),
                                     scene(0.12, 0.15), scene(1.8, 1.8),   scene(0.3, 0.8, 0.65)};
    const unsigned short starts[][2] = {{128, 128}, {240, 255}, {511, 368}};
    for (const exposure_scene& s : scenes) {
        for (const auto& start : starts) {
            cmos_judge j;
            j.init(start[0], start[1]);
            const std::vector<exposure_step> steps =
                palm_test::run_exposure_loop(j, cam, s, 12, 100);
            SCOPED_TRACE(testing::Message()
                         << "scene " << s.nir_light << "/" << s.vl_light << "/" << s.distance
                         << " start " << start[0] << "/" << start[1]);
            EXPECT_EQ(0, palm_test::register_swings(steps));
            // One report of a pending start, then at most two rungs per light.
            EXPECT_LE(palm_test::register_changes(steps), 4);
            // The last half of the loop changes nothing.
            for (std::size_t i = 6; i < steps.size(); ++i) {
                EXPECT_FALSE(steps[i].li_changed) << i;
                EXPECT_FALSE(steps[i].ir_changed) << i;
            }
            if (HasFailure())
                print(steps);
        }
    }
}

TEST(ExposureLoop, DarkRoomTakesBothRegistersToTheTopRung) {
    exposure_camera cam(21, straight_pose());
    cmos_judge j;
    j.init(128, 128);
    const std::vector<exposure_step> steps =
        palm_test::run_exposure_loop(j, cam, scene(0.12, 0.12), 6, 1);
    EXPECT_EQ(368, j.get_ir_reg());
    EXPECT_EQ(511, j.get_li_reg());
    EXPECT_EQ(2, palm_test::register_changes(steps));
}

TEST(ExposureLoop, ChangingSceneMovesTheRegistersOneRungAtATime) {
    exposure_camera cam(21, straight_pose());
    cmos_judge j;
    j.init(128, 128);
    std::vector<unsigned short> ir;
    const exposure_scene story[] = {scene(1.0, 1.0), scene(0.12, 0.12), scene(0.12, 0.12, 0.45),
                                    scene(1.5, 1.5)};
    std::uint32_t seed = 1;
    for (const exposure_scene& s : story) {
        const std::vector<exposure_step> steps = palm_test::run_exposure_loop(j, cam, s, 8, seed);
        seed += 8;
        EXPECT_EQ(0, palm_test::register_swings(steps));
        for (const exposure_step& st : steps) {
            // One rung: neighbouring ladder values only.
            if (st.ir_changed) {
                EXPECT_TRUE((st.ir_reg == 255) || (st.new_ir_reg == 255));
            }
            if (st.li_changed) {
                EXPECT_TRUE((st.li_reg == 240) || (st.new_li_reg == 240));
            }
        }
        ir.push_back(j.get_ir_reg());
        if (HasFailure())
            print(steps);
    }
    // Bright room, dark room, a hand close to the lamp, bright room again.
    EXPECT_EQ(128, ir[0]);
    EXPECT_EQ(368, ir[1]);
    EXPECT_EQ(128, ir[2]);
    EXPECT_EQ(128, ir[3]);
}

}  // namespace
