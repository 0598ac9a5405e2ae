// The crop on frame pairs from the synthetic camera: it finds the finger
// webs, cuts regions that code alike for one palm and apart for two, and
// every failure code can be provoked with a frame made for it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include "palm/extraction/i_feature_extractor.h"
#include "palm/image/angle_helpers.h"
#include "palm/localisation/palm_crop.h"
#include "palm/matching/i_feature_match.h"
#include "sim/synthetic_camera.h"
#include "support/emulation.h"

using palm_algorithm::CPalmCrop;
using palm_share::image_pair;
using palm_share::palm_image;
using palm_struct::_crop_results;
using palm_struct::_point;

namespace {

// Sanitizer builds and emulation render 40 frames, the plain build 200.
#if defined(__SANITIZE_ADDRESS__)
const int kFrames = 40;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
const int kFrames = 40;
#else
const int kFrames = palm_test::rounds(200, 40);
#endif
#else
const int kFrames = palm_test::rounds(200, 40);
#endif
const int kPosesPerIdentity = 5;

int crop(const image_pair& in, std::vector<image_pair>& out, _crop_results& res) {
    return palm_algorithm::get_crop_inst()->Crop(in, out, res);
}

double distance_to(const _point<int>& p, const _point<double>& q) {
    return std::hypot(p.x - q.x, p.y - q.y);
}

struct stats {
    double sum = 0, min = 1e9, max = -1e9;
    int n = 0;
    void add(double v) {
        sum += v;
        ++n;
        min = std::min(min, v);
        max = std::max(max, v);
    }
    double mean() const { return n ? sum / n : 0.0; }
};

palm_test::camera_frame centred_frame(std::uint32_t identity = 3) {
    palm_test::camera_pose pose;
    pose.noise_seed = 7;
    return palm_test::render_frame_pair(identity, pose);
}

}  // namespace

TEST(PalmCropFrames, FindsTheWebsAndCodesTheRegions) {
    palm_test::ensure_lens_tables();
    palm_algorithm::i_feature_extractor* coder = palm_algorithm::get_extractor_inst();
    palm_algorithm::i_feature_match* matcher = palm_algorithm::get_feature_match_inst();
    int succeeded = 0, located = 0;
    stats key_error;
    // Per identity, the print and vein codes of its poses.
    std::vector<std::vector<palm_feature::single_feature>> prints, veins;
    for (int i = 0; i < kFrames; ++i) {
        std::uint32_t const identity = 100 + i / kPosesPerIdentity;
        palm_test::camera_frame const f = palm_test::render_frame_pair(
            identity, palm_test::random_usable_pose(i, palm_test::difficulty::easy));
        std::vector<image_pair> out;
        _crop_results res;
        int const code = crop(f.frames, out, res);
        if (i % kPosesPerIdentity == 0) {
            prints.emplace_back();
            veins.emplace_back();
        }
        if (code != 0)
            continue;
        ++succeeded;
        double const e = std::max(distance_to(res.nir_key[0], f.nir_key[0]),
                                  distance_to(res.nir_key[1], f.nir_key[1]));
        key_error.add(e);
        if (e <= 4.0)
            ++located;
        ASSERT_EQ(1u, out.size());
        palm_feature::single_feature print, vein;
        ASSERT_TRUE(coder->extract(out[0].vl, print));
        ASSERT_TRUE(coder->extract(out[0].nir, vein));
        prints.back().push_back(print);
        veins.back().push_back(vein);
    }
    std::printf(
        "crop: %d of %d succeeded, %d with both key points within 4 px; key error "
        "mean %.2f min %.2f max %.2f px\n",
        succeeded, kFrames, located, key_error.mean(), key_error.min, key_error.max);
    EXPECT_GE(succeeded * 100, kFrames * 95);
    // Every web the crop reports lies where the camera put it.
    EXPECT_EQ(succeeded, located);
    EXPECT_LE(key_error.max, 4.0);

    auto compare = [&](const std::vector<std::vector<palm_feature::single_feature>>& codes,
                       stats& same, stats& other) {
        for (std::size_t a = 0; a < codes.size(); ++a) {
            for (std::size_t i = 0; i < codes[a].size(); ++i) {
                for (std::size_t j = i + 1; j < codes[a].size(); ++j)
                    same.add(matcher->match(codes[a][i], codes[a][j],
                                            palm_algorithm::i_feature_match::DEGREE_ALL));
                if (a + 1 < codes.size() && !codes[a + 1].empty())
                    other.add(matcher->match(codes[a][i], codes[a + 1][0],
                                             palm_algorithm::i_feature_match::DEGREE_ALL));
            }
        }
    };
    stats print_same, print_other, vein_same, vein_other;
    compare(prints, print_same, print_other);
    compare(veins, vein_same, vein_other);
    std::printf(
        "print: same palm mean %.3f min %.3f max %.3f (%d); other palm mean %.3f min %.3f "
        "max %.3f (%d)\n",
        print_same.mean(), print_same.min, print_same.max, print_same.n, print_other.mean(),
        print_other.min, print_other.max, print_other.n);
    std::printf(
        "vein: same palm mean %.3f min %.3f max %.3f (%d); other palm mean %.3f min %.3f "
        "max %.3f (%d)\n",
        vein_same.mean(), vein_same.min, vein_same.max, vein_same.n, vein_other.mean(),
        vein_other.min, vein_other.max, vein_other.n);
    ASSERT_GT(print_same.n, 0);
    ASSERT_GT(print_other.n, 0);
    // Repeated captures of one palm code well inside the server's default
    // limits (0.36 print, 0.35 vein); other palms stay near 0.5.
    EXPECT_LT(print_same.mean(), 0.25);
    EXPECT_LT(vein_same.mean(), 0.28);
    EXPECT_GT(print_other.min, 0.4);
    EXPECT_GT(vein_other.min, 0.4);
}

TEST(PalmCropFrames, SuccessFillsEveryField) {
    palm_test::ensure_lens_tables();
    palm_test::camera_frame const f = centred_frame();
    std::vector<image_pair> out;
    _crop_results res;
    ASSERT_EQ(0, crop(f.frames, out, res));
    ASSERT_EQ(1u, out.size());
    EXPECT_EQ(110, out[0].vl.GetWidth());
    EXPECT_EQ(110, out[0].nir.GetHeight());
    EXPECT_NEAR(0, res.palm_offset_x, 40);
    EXPECT_NEAR(0, res.palm_offset_y, 60);
    EXPECT_EQ(palm_algorithm::POS_OK, palm_algorithm::get_crop_inst()->GetPalmPos(res));
    EXPECT_DOUBLE_EQ(palm_share::GetRotateAngle(res.nir_key[0], res.nir_key[1]), res.rotate_angle);
    EXPECT_EQ(0.0, res.area_percent);  // not the crop's field
    // Key points are doubled half-resolution positions.
    EXPECT_EQ(0, res.nir_key[0].x % 2);
    EXPECT_EQ(0, res.nir_key[1].y % 2);
    // Both regions show skin.
    EXPECT_GT(out[0].nir.Mean(), 100);
    EXPECT_GT(out[0].vl.Mean(), 100);
    // The tilted views of the same capture.
    std::vector<palm_image> views;
    palm_algorithm::get_crop_inst()->AffineTransform(f.frames.nir, views, true, res);
    ASSERT_EQ(4u, views.size());
    EXPECT_GT(views[0].Mean(), 100);
}

TEST(PalmCropFrames, NonEmptyOutputHasItsFirstPairOverwritten) {
    palm_test::ensure_lens_tables();
    palm_test::camera_frame const f = centred_frame();
    std::vector<image_pair> out(2);
    out[0].vl.Create(5, 5, static_cast<unsigned char>(1));
    _crop_results res;
    ASSERT_EQ(0, crop(f.frames, out, res));
    ASSERT_EQ(3u, out.size());
    EXPECT_EQ(110, out[0].vl.GetWidth());
    EXPECT_EQ(110, out[0].nir.GetWidth());
    EXPECT_FALSE(out[1].vl.IsValid());
    EXPECT_FALSE(out[2].vl.IsValid());
    EXPECT_FALSE(out[2].nir.IsValid());
}

TEST(PalmCropFrames, InputStaysUnchanged) {
    palm_test::ensure_lens_tables();
    palm_test::camera_frame const f = centred_frame();
    image_pair copy;
    copy.vl = f.frames.vl;
    copy.nir = f.frames.nir;
    std::vector<image_pair> out;
    _crop_results res;
    ASSERT_EQ(0, crop(copy, out, res));
    EXPECT_EQ(0, std::memcmp(copy.vl.GetBuffer(), f.frames.vl.GetBuffer(), 640 * 480));
    EXPECT_EQ(0, std::memcmp(copy.nir.GetBuffer(), f.frames.nir.GetBuffer(), 640 * 480));
}

TEST(PalmCropFrames, VisibleLightMeanLimits) {
    palm_test::ensure_lens_tables();
    palm_test::camera_frame f = centred_frame();
    unsigned char const means[4] = {20, 21, 229, 230};
    int const codes[4] = {11, 0, 0, 11};
    for (int k = 0; k < 4; ++k) {
        f.frames.vl.SetData(means[k]);
        std::vector<image_pair> out;
        _crop_results res;
        EXPECT_EQ(codes[k], crop(f.frames, out, res)) << int(means[k]);
        ASSERT_EQ(1u, out.size());
        if (codes[k] == 11) {
            // The pair gained has its VL filled and its NIR empty; the
            // offsets are left at their start values.
            EXPECT_EQ(means[k], out[0].vl.Mean());
            EXPECT_FALSE(out[0].nir.IsValid());
            EXPECT_EQ(-10000, res.palm_offset_x);
            EXPECT_EQ(-10000, res.palm_offset_y);
            EXPECT_NE(0, res.nir_corner[0].x);
        }
    }
}

TEST(PalmCropFrames, CornerOutsideTheFrameGivesNine) {
    palm_test::ensure_lens_tables();
    // A large hand high in the frame: the square reaches above the first row.
    palm_test::camera_pose pose;
    pose.offset_y = -195;
    pose.scale = 1.4;
    pose.noise_seed = 3;
    palm_test::camera_frame const f = palm_test::render_frame_pair(5, pose);
    std::vector<image_pair> out;
    _crop_results res;
    ASSERT_EQ(9, crop(f.frames, out, res));
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(-10000, res.palm_offset_x);
    bool outside = false;
    for (int i = 0; i < 4; ++i)
        outside = outside || res.nir_corner[i].y < 0 || res.vl_corner[i].y < 0;
    EXPECT_TRUE(outside);
}

TEST(PalmCropFrames, CornerFarFromTheLensCentreGivesTen) {
    palm_test::ensure_lens_tables();
    palm_test::camera_frame const f = centred_frame();
    // A lens centre 330 pixels to the right of the true one puts the whole
    // square 300 pixels or more away from it, inside the frame. The tables
    // are not rebuilt: the crop stops before it reads them.
    palm_struct::calib_data const saved = CPalmCrop::_calibPara;
    palm_struct::calib_data shifted = saved;
    shifted.nir.center_x += 330;
    CPalmCrop::set_calib_para(shifted, false);
    std::vector<image_pair> out;
    _crop_results res;
    int const code = crop(f.frames, out, res);
    CPalmCrop::set_calib_para(saved, false);
    EXPECT_EQ(10, code);
    EXPECT_TRUE(out.empty());
    EXPECT_GE(res.nir_corner[0].x, 0);
    EXPECT_LT(res.nir_corner[0].x, 640);
}

TEST(PalmCropFrames, WorkingImagesKeepTheSizeOfTheFirstFrame) {
    palm_test::ensure_lens_tables();
    palm_test::camera_frame const f = centred_frame();
    // A thread of its own starts with no working images: its first frame
    // pair, at half the size, fixes them at 160 x 120 for good.
    int first = -1, second = -1;
    std::thread t([&] {
        image_pair small;
        small.vl.Create(320, 240, static_cast<unsigned char>(0));
        small.nir.Create(320, 240, static_cast<unsigned char>(0));
        std::vector<image_pair> out;
        _crop_results res;
        first = crop(small, out, res);
        // A full frame with a palm in it still works on those images: it
        // does not halve into them, so they stay black.
        second = crop(f.frames, out, res);
    });
    t.join();
    EXPECT_EQ(3, first);
    EXPECT_EQ(3, second);
    // On this thread the same full frame is located.
    std::vector<image_pair> out;
    _crop_results res;
    EXPECT_EQ(0, crop(f.frames, out, res));
}
