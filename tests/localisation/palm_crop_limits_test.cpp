// The crop's size limits on frames drawn for them: a hand region of 500
// pixels at half resolution is refused and one of 501 accepted; an outline of
// 50 samples is refused and one of 51 accepted.
//
// The shapes are drawn 10 grey levels above a black ground: bright enough for
// the threshold and too faint for the edge clean-up to touch, so that the
// mask at half resolution is exactly the shape drawn.
#include <gtest/gtest.h>

#include <vector>

#include "palm/localisation/palm_crop.h"
#include "sim/synthetic_camera.h"

using palm_algorithm::CPalmCrop;
using palm_share::image_pair;
using palm_share::palm_image;
using palm_struct::_crop_results;

namespace {

const unsigned char kShape = 10;

void rect(palm_image& m, int x0, int y0, int w, int h) {
    for (int y = y0; y < y0 + h; ++y)
        for (int x = x0; x < x0 + w; ++x)
            m[y][x] = 255;
}

// The full-resolution pair whose NIR frame halves to `half`.
image_pair frame_of(const palm_image& half) {
    image_pair p;
    p.nir.Create(640, 480, static_cast<unsigned char>(0));
    p.vl.Create(640, 480, static_cast<unsigned char>(100));
    for (int y = 0; y < 480; ++y)
        for (int x = 0; x < 640; ++x)
            if (half[y / 2][x / 2])
                p.nir[y][x] = kShape;
    return p;
}

palm_image blank_half() {
    palm_image m(320, 240);
    m.SetData(0);
    return m;
}

// The pipeline's segmentation up to the outline, with the public operators:
// the largest region's area and the number of outline samples.
void measure(const image_pair& in, int& area, int& samples) {
    palm_image small(320, 240), bw(320, 240), refined(320, 240);
    small.SetData(0);
    in.nir.DownSampling2(small);
    bw = small;
    bw.AdaptiveThreshold();
    small.SusanSmooth(bw);
    bw.OpenImage_3_3();
    bw.CloseImage_3_1();
    area = bw.RetainLargestRegion();
    bw.OpenImage_3_3();
    palm_struct::_point<int> const c = bw.GetCentroid();
    refined.SetData(0);
    bw.FindCentralRegion(c.x, c.y, refined);
    refined.CloseImage_3_3();
    refined.OpenImage_3_3();
    refined.Contour(8);
    std::vector<palm_struct::_position> edge;
    refined.Trace(edge);
    samples = static_cast<int>(edge.size());
}

// A small room at the centre of the frame, reached from two large blocks by
// corridors that bend, so that the blocks add area but are not seen from the
// centre and add nothing to the outline.
palm_image room(int w, int h, int corridor) {
    palm_image m = blank_half();
    int const cx = 160, cy = 120;
    rect(m, cx - w / 2, cy - w / 2, w, h);
    rect(m, cx - 1, cy - w / 2 - corridor, 3, corridor);
    rect(m, cx - 1, cy - w / 2 - corridor - 3, 40, 3);
    rect(m, cx + 39, cy - w / 2 - corridor - 20, 20, 20);
    rect(m, cx - 1, cy + h - w / 2, 3, corridor);
    rect(m, cx + 2 - 40, cy + h - w / 2 + corridor, 40, 3);
    rect(m, cx - 58, cy + h - w / 2 + corridor, 20, 20);
    return m;
}

int crop(const image_pair& in) {
    palm_test::ensure_lens_tables();
    std::vector<image_pair> out;
    _crop_results res;
    return palm_algorithm::get_crop_inst()->Crop(in, out, res);
}

}  // namespace

TEST(PalmCropLimits, RegionOfFiveHundredIsRefused) {
    palm_image m = blank_half();
    rect(m, 150, 100, 20, 25);
    image_pair const in = frame_of(m);
    int area = 0, samples = 0;
    measure(in, area, samples);
    ASSERT_EQ(500, area);
    EXPECT_EQ(3, crop(in));
}

TEST(PalmCropLimits, RegionOfFiveHundredAndOneIsAccepted) {
    palm_image m = blank_half();
    rect(m, 80, 100, 167, 3);
    image_pair const in = frame_of(m);
    int area = 0, samples = 0;
    measure(in, area, samples);
    ASSERT_EQ(501, area);
    int const code = crop(in);
    EXPECT_NE(3, code);
    EXPECT_GT(code, 3);  // it fails later, on the way to the key points
}

TEST(PalmCropLimits, OutlineOfFiftySamplesIsRefused) {
    image_pair const in = frame_of(room(5, 6, 6));
    int area = 0, samples = 0;
    measure(in, area, samples);
    ASSERT_GT(area, 500);
    ASSERT_EQ(50, samples);
    EXPECT_EQ(6, crop(in));
}

TEST(PalmCropLimits, OutlineOfFiftyOneSamplesIsAccepted) {
    image_pair const in = frame_of(room(8, 8, 8));
    int area = 0, samples = 0;
    measure(in, area, samples);
    ASSERT_GT(area, 500);
    ASSERT_EQ(51, samples);
    EXPECT_EQ(7, crop(in));  // too few valleys on so small an outline
}

TEST(PalmCropLimits, RingWithItsCentreInTheHoleGivesFive) {
    // The mask's centroid lies in the hole: nothing is seen from it.
    palm_image m = blank_half();
    rect(m, 120, 80, 80, 6);
    rect(m, 120, 154, 80, 6);
    rect(m, 120, 80, 6, 80);
    rect(m, 194, 80, 6, 80);
    EXPECT_EQ(5, crop(frame_of(m)));
}

TEST(PalmCropLimits, DiscHasNoAcceptableKeyPoints) {
    // The steps of a digital circle give valleys enough to pass the count,
    // but fewer than five of them survive the key point tests.
    palm_image m = blank_half();
    for (int y = 0; y < 240; ++y)
        for (int x = 0; x < 320; ++x)
            if ((x - 160) * (x - 160) + (y - 120) * (y - 120) <= 40 * 40)
                m[y][x] = 255;
    EXPECT_EQ(8, crop(frame_of(m)));
}
