// The difficulty of synthetic captures: easy adds nothing to a pose, the
// harder levels still give frames the crop locates, and they move the
// distances between captures of one palm toward those of real hands.
#include "sim/capture_difficulty.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "palm/extraction/i_feature_extractor.h"
#include "palm/localisation/palm_crop.h"
#include "palm/matching/i_feature_match.h"
#include "sim/synthetic_camera.h"

using palm_test::difficulty;

namespace {

// Vein codes of `poses` captures of `identity` at level `d`; captures the
// crop does not locate are counted in `failed`.
std::vector<palm_feature::single_feature> vein_codes(std::uint32_t identity, int poses,
                                                     difficulty d, int& failed) {
    palm_test::ensure_lens_tables();
    std::vector<palm_feature::single_feature> codes;
    for (int k = 0; k < poses; ++k) {
        palm_test::camera_frame const f = palm_test::render_frame_pair(
            identity, palm_test::random_usable_pose(identity * 1000 + k, d));
        std::vector<palm_share::image_pair> out;
        palm_struct::_crop_results res;
        if (palm_algorithm::get_crop_inst()->Crop(f.frames, out, res) != 0) {
            ++failed;
            continue;
        }
        palm_feature::single_feature code;
        EXPECT_TRUE(palm_algorithm::get_extractor_inst()->extract(out[0].nir, code));
        codes.push_back(code);
    }
    return codes;
}

double mean_distance(std::vector<palm_feature::single_feature> const& codes) {
    double sum = 0;
    int n = 0;
    for (std::size_t i = 0; i < codes.size(); ++i)
        for (std::size_t j = i + 1; j < codes.size(); ++j, ++n)
            sum += palm_algorithm::get_feature_match_inst()->match(
                codes[i], codes[j], palm_algorithm::i_feature_match::DEGREE_ALL);
    return n ? sum / n : 0.0;
}

bool same_pose(palm_test::camera_pose const& a, palm_test::camera_pose const& b) {
    return a.offset_x == b.offset_x && a.offset_y == b.offset_y && a.rotation == b.rotation &&
           a.scale == b.scale && a.tilt_x == b.tilt_x && a.tilt_y == b.tilt_y &&
           a.noise_seed == b.noise_seed && a.noise == b.noise && a.stretch == b.stretch &&
           a.stretch_seed == b.stretch_seed && a.blur == b.blur && a.shade == b.shade &&
           a.shared == b.shared;
}

}  // namespace

TEST(CaptureDifficulty, NamesRoundTripAndOthersAreRefused) {
    for (difficulty d : {difficulty::easy, difficulty::realistic, difficulty::hard}) {
        difficulty back = difficulty::hard == d ? difficulty::easy : difficulty::hard;
        ASSERT_TRUE(palm_test::parse_difficulty(palm_test::difficulty_name(d), back));
        EXPECT_EQ(d, back);
    }
    EXPECT_EQ(difficulty::realistic, palm_test::DEFAULT_DIFFICULTY);
    EXPECT_STREQ("realistic", palm_test::difficulty_name(palm_test::DEFAULT_DIFFICULTY));
    for (char const* bad : {"", "Easy", "medium", "easy ", "hard\n"}) {
        difficulty d = difficulty::hard;
        EXPECT_FALSE(palm_test::parse_difficulty(bad, d)) << bad;
        EXPECT_EQ(difficulty::hard, d);
    }
}

TEST(CaptureDifficulty, EasyAddsNothingToAPose) {
    palm_test::camera_pose const before = palm_test::random_usable_pose(5, difficulty::easy);
    palm_test::camera_pose after = before;
    palm_test::vary_pose(after, difficulty::easy, 1, 2);
    EXPECT_TRUE(same_pose(before, after));
    EXPECT_EQ(0.0, before.stretch);
    EXPECT_EQ(0.0, before.blur);
    EXPECT_EQ(0.0, before.shade);
    EXPECT_EQ(0.0, before.shared);
}

TEST(CaptureDifficulty, HarderLevelsAddEveryVariation) {
    for (difficulty d : {difficulty::realistic, difficulty::hard}) {
        palm_test::camera_pose p;
        palm_test::vary_pose(p, d, 11, 12);
        EXPECT_GT(p.blur, 0.0);
        EXPECT_GT(p.shade, 0.0);
        EXPECT_GT(p.shared, 0.0);
        EXPECT_GE(p.stretch, 0.0);
        EXPECT_NE(0.0, p.tilt_x);
        // The same session and frame give the same variation.
        palm_test::camera_pose q;
        palm_test::vary_pose(q, d, 11, 12);
        EXPECT_TRUE(same_pose(p, q));
    }
    palm_test::camera_pose r, h;
    palm_test::vary_pose(r, difficulty::realistic, 11, 12);
    palm_test::vary_pose(h, difficulty::hard, 11, 12);
    EXPECT_GT(h.blur, r.blur);
    EXPECT_GT(h.noise, r.noise);
}

TEST(CaptureDifficulty, RealisticCapturesAreLocatedAndFartherApart) {
    int failed_easy = 0, failed_realistic = 0;
    double easy = 0, realistic = 0;
    for (std::uint32_t identity : {21u, 22u}) {
        easy += mean_distance(vein_codes(identity, 4, difficulty::easy, failed_easy)) / 2;
        realistic +=
            mean_distance(vein_codes(identity, 4, difficulty::realistic, failed_realistic)) / 2;
    }
    EXPECT_EQ(0, failed_easy);
    EXPECT_LE(failed_realistic, 1);
    EXPECT_GT(realistic, easy);
    EXPECT_GT(realistic, 0.2);
    EXPECT_LT(realistic, 0.36);
}
