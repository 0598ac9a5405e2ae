// The demo's device part: synthetic frame pairs of a few palms are cropped and
// coded as a device would; the codes of some captures become server
// templates, and further captures of the same palms and of strangers are
// identified against them.
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "demo_sections.h"
#include "palm/extraction/i_feature_extractor.h"
#include "palm/feature/crypt_feature.h"
#include "palm/localisation/palm_crop.h"
#include "palm/service/palm_service.h"
#include "sim/synthetic_camera.h"

namespace palm_tool {

namespace {

const int kPalms = 12;
const int kStrangers = 4;
const int kEnrolCaptures = 3;
const int kProbeCaptures = 2;
const int kPartition = 3;

std::string frames_user_name(int palm) {
    return "frames_user_" + std::to_string(palm);
}

struct capture_stats {
    int tried = 0;
    int cropped = 0;
    double crop_ms = 0;
    double code_ms = 0;
};

// One capture from camera to a one-cell record; false when the crop fails.
bool capture(std::uint32_t identity, std::uint32_t pose_seed, capture_stats& stats,
             palm_feature::palm_cell<palm_feature::single_feature>& cell) {
    palm_test::camera_frame const f = palm_test::render_frame_pair(
        identity, palm_test::random_usable_pose(pose_seed, palm_test::difficulty::easy));
    ++stats.tried;
    std::vector<palm_share::image_pair> rois;
    palm_struct::_crop_results res;
    demo_clock crop_clock;
    int const code = palm_algorithm::get_crop_inst()->Crop(f.frames, rois, res);
    stats.crop_ms += crop_clock.ms();
    if (code != 0)
        return false;
    ++stats.cropped;
    demo_clock code_clock;
    palm_algorithm::i_feature_extractor* coder = palm_algorithm::get_extractor_inst();
    bool const ok =
        coder->extract(rois[0].vl, cell.first) && coder->extract(rois[0].nir, cell.second);
    stats.code_ms += code_clock.ms();
    return ok;
}

std::string text_of(palm_feature::user_palm_feature const& record) {
    std::string text, digest;
    crypt_feature(record, text, digest);
    return text;
}

}  // namespace

int demo_frames(demo_state& state) {
    std::cout << "== device frames\n";
    demo_clock tables;
    palm_algorithm::CPalmCrop::GenerateMappingTable();
    std::printf("lens tables built in %.1f ms\n", tables.ms());
    capture_stats stats;
    std::uint32_t const base = state.seed * 1000u;

    // Enrolment: three captures per palm, pushed as one template each.
    int pushed = 0;
    for (int p = 0; p < kPalms; ++p) {
        palm_feature::user_palm_feature record;
        for (int c = 0; c < kEnrolCaptures; ++c) {
            palm_feature::palm_cell<palm_feature::single_feature> cell;
            if (capture(base + p, base + 100 * p + c, stats, cell))
                record.add(cell);
        }
        if (record.size() > 0 &&
            push_template(frames_user_name(p).c_str(), text_of(record).c_str()))
            ++pushed;
    }
    create_partition(kPartition, 0);
    for (int p = 0; p < kPalms; ++p)
        assign_user_to_partition(kPartition, frames_user_name(p).c_str());

    // Identification: new captures of enrolled palms and of strangers.
    int genuine = 0, identified = 0, strangers = 0, strangers_rejected = 0;
    double match_ms = 0;
    int matches = 0;
    for (int p = 0; p < kPalms + kStrangers; ++p) {
        for (int c = 0; c < kProbeCaptures; ++c) {
            palm_feature::palm_cell<palm_feature::single_feature> cell;
            if (!capture(base + p, base + 100 * p + 50 + c, stats, cell))
                continue;
            palm_feature::user_palm_feature probe;
            probe.add(cell);
            std::string const text = text_of(probe);
            demo_clock one;
            bool const found = match_1vN(kPartition, text.c_str(), "");
            match_ms += one.ms();
            ++matches;
            std::string const name = match_1vN_get_identify_user_name(kPartition);
            if (p < kPalms) {
                ++genuine;
                if (found && name == frames_user_name(p))
                    ++identified;
            } else {
                ++strangers;
                if (!found)
                    ++strangers_rejected;
            }
        }
    }
    delete_partition(kPartition);

    std::printf("crop: %d of %d frame pairs located, %.2f ms per crop; coding %.2f ms per pair\n",
                stats.cropped, stats.tried, stats.crop_ms / (stats.tried ? stats.tried : 1),
                stats.code_ms / (stats.cropped ? stats.cropped : 1));
    std::printf("templates pushed: %d of %d palms (%d captures each)\n", pushed, kPalms,
                kEnrolCaptures);
    std::printf(
        "match_1vN: %d of %d genuine captures identified, %d of %d stranger captures "
        "rejected, %.3f ms per probe\n",
        identified, genuine, strangers_rejected, strangers, matches ? match_ms / matches : 0.0);
    // The crop is the part this section checks; recognition rates depend on
    // the synthetic palms and are reported only.
    return stats.cropped * 10 >= stats.tried * 9 ? 0 : 1;
}

}  // namespace palm_tool
