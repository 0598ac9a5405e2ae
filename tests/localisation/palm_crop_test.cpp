// The crop object: pipeline codes, valleys and key points, region geometry,
// resampling, tilted views, palm position and the guidance tables.
#include "palm/localisation/palm_crop.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "palm/image/angle_helpers.h"
#include "sim/synthetic_camera.h"

using palm_algorithm::CPalmCrop;
using palm_algorithm::valley_info;
using palm_share::image_pair;
using palm_share::palm_image;
using palm_struct::_crop_results;
using palm_struct::_point;
using palm_struct::_position;

namespace {

image_pair blank_pair(int w, int h, unsigned char v) {
    image_pair p;
    p.vl.Create(w, h, v);
    p.nir.Create(w, h, v);
    return p;
}

std::vector<_position> profile(const std::vector<double>& radii) {
    std::vector<_position> e;
    for (std::size_t i = 0; i < radii.size(); ++i)
        e.push_back(_position{static_cast<int>(i), 0, radii[i], 0.01 * static_cast<double>(i)});
    return e;
}

valley_info valley(int index, int left, int right, int x, int y, double radius, double degrees) {
    return valley_info{index, left, right, _position{x, y, radius, degrees * 0.017453292519944444}};
}

}  // namespace

// ---- pipeline codes ----

TEST(PalmCropPipeline, InvalidImageGivesOne) {
    image_pair in;
    std::vector<image_pair> out;
    _crop_results res;
    res.palm_offset_x = 5;
    EXPECT_EQ(1, palm_algorithm::get_crop_inst()->Crop(in, out, res));
    EXPECT_EQ(-10000, res.palm_offset_x);
    EXPECT_EQ(-10000, res.palm_offset_y);
    EXPECT_TRUE(out.empty());
    in.vl.Create(640, 480, static_cast<unsigned char>(0));
    EXPECT_EQ(1, CPalmCrop::CheckValidity(in));
}

TEST(PalmCropPipeline, DifferentSizesGiveTwoBeforeAnyImageIsTouched) {
    image_pair in;
    in.vl.Create(640, 480, static_cast<unsigned char>(7));
    in.nir.Create(640, 478, static_cast<unsigned char>(9));
    std::vector<image_pair> out;
    _crop_results res;
    EXPECT_EQ(2, palm_algorithm::get_crop_inst()->Crop(in, out, res));
    EXPECT_EQ(7, in.vl.Mean());
    EXPECT_EQ(9, in.nir.Mean());
    EXPECT_TRUE(out.empty());
}

TEST(PalmCropPipeline, BlackFrameGivesThreeAndPositionLeft) {
    palm_test::ensure_lens_tables();
    image_pair in = blank_pair(640, 480, 0);
    std::vector<image_pair> out;
    _crop_results res;
    EXPECT_EQ(3, palm_algorithm::get_crop_inst()->Crop(in, out, res));
    EXPECT_EQ(-10000, res.palm_offset_x);
    EXPECT_EQ(-10000, res.palm_offset_y);
    EXPECT_EQ(palm_algorithm::POS_LEFT, palm_algorithm::get_crop_inst()->GetPalmPos(res));
    EXPECT_TRUE(out.empty());
}

TEST(PalmCropPipeline, OtherFrameSizeStillWorksOnTheFirstHalfSizeImages) {
    palm_test::ensure_lens_tables();
    // Whatever size came first on this thread, a 320 x 240 black pair and a
    // 640 x 480 black pair both end at the region check.
    image_pair small = blank_pair(320, 240, 0);
    image_pair large = blank_pair(640, 480, 0);
    std::vector<image_pair> out;
    _crop_results res;
    EXPECT_EQ(3, palm_algorithm::get_crop_inst()->Crop(large, out, res));
    EXPECT_EQ(3, palm_algorithm::get_crop_inst()->Crop(small, out, res));
    EXPECT_EQ(3, palm_algorithm::get_crop_inst()->Crop(large, out, res));
}

TEST(PalmCropPipeline, BrightnessLimitsAreExclusive) {
    palm_image im;
    im.Create(110, 110, static_cast<unsigned char>(20));
    EXPECT_EQ(11, CPalmCrop::CheckBrightness(im));
    im.SetData(21);
    EXPECT_EQ(0, CPalmCrop::CheckBrightness(im));
    im.SetData(229);
    EXPECT_EQ(0, CPalmCrop::CheckBrightness(im));
    im.SetData(230);
    EXPECT_EQ(11, CPalmCrop::CheckBrightness(im));
}

TEST(PalmCropPipeline, KeyPointHookAlwaysPasses) {
    EXPECT_EQ(0, CPalmCrop::CheckKeyPoint(_point<int>{0, 0}, _point<int>{0, 0}, 0, 0));
    CPalmCrop::GenerateExtendedPoints();
}

TEST(PalmCropPipeline, InstanceIsProcessWide) {
    EXPECT_EQ(palm_algorithm::get_crop_inst(), palm_algorithm::get_crop_inst());
    palm_algorithm::release_crop_inst();
    EXPECT_NE(nullptr, dynamic_cast<CPalmCrop*>(palm_algorithm::get_crop_inst()));
    int nothing = 0;
    palm_algorithm::get_crop_inst()->get_last_error(&nothing);
    EXPECT_EQ(0, nothing);
}

// ---- mean filter ----

TEST(PalmCropMeanFilter, ThirtySevenSamplesStayUnsmoothed) {
    std::vector<double> r(37);
    for (int i = 0; i < 37; ++i)
        r[i] = i * i;
    std::vector<_position> e = profile(r);
    CPalmCrop::MeanFilter(e);
    for (int i = 0; i < 37; ++i)
        EXPECT_EQ(r[i], e[i].radius);
}

TEST(PalmCropMeanFilter, ThirtyEightSamplesAreSmoothedFromTenToTwentyNine) {
    std::vector<double> r(38);
    for (int i = 0; i < 38; ++i)
        r[i] = (i % 5) * 3.0 + i;
    std::vector<_position> e = profile(r);
    CPalmCrop::MeanFilter(e);
    for (int i = 0; i < 38; ++i) {
        if (i < 10 || i > 29) {
            EXPECT_EQ(r[i], e[i].radius) << i;
        } else {
            double sum = 0;
            for (int k = i - 10; k <= i + 8; ++k)
                sum += r[k];
            EXPECT_EQ(sum * 0.05263157894736842, e[i].radius) << i;
        }
    }
}

// ---- valleys ----

TEST(PalmCropValley, FlatProfileHasNoValley) {
    std::vector<_position> e = profile(std::vector<double>(60, 5.0));
    std::vector<valley_info> v;
    CPalmCrop::FindValley(e, e, v);
    EXPECT_TRUE(v.empty());
}

TEST(PalmCropValley, StrictValleyWithPeaksOnBothSides) {
    //            0  1  2  3  4  5  6  7  8
    std::vector<double> r = {9, 5, 7, 9, 4, 8, 10, 6, 9};
    std::vector<_position> f = profile(r);
    std::vector<_position> o = f;
    o[4].x = 444;
    std::vector<valley_info> v;
    CPalmCrop::FindValley(f, o, v);
    ASSERT_EQ(3u, v.size());
    EXPECT_EQ(1, v[0].valley);
    EXPECT_EQ(4, v[1].valley);
    EXPECT_EQ(3, v[1].left_peak);
    EXPECT_EQ(6, v[1].right_peak);
    EXPECT_EQ(444, v[1].pos.x);
    // No valley at index 0: the ends are sentinels, and the outermost peak
    // search stops at e[1] and e[m-2].
    for (const valley_info& x : v)
        EXPECT_NE(0, x.valley);
    EXPECT_EQ(7, v[2].valley);
    EXPECT_EQ(6, v[2].left_peak);
    EXPECT_EQ(7, v[2].right_peak);
}

TEST(PalmCropValley, FlatBottomTakesTheMidpointAndKeepsTheFarEndSample) {
    //            0   1  2  3  4  5  6  7   8
    std::vector<double> r = {9, 10, 8, 3, 3, 3, 6, 10, 9};
    std::vector<_position> f = profile(r);
    std::vector<valley_info> v;
    CPalmCrop::FindValley(f, f, v);
    ASSERT_EQ(1u, v.size());
    EXPECT_EQ(4, v[0].valley);  // (5 + 3) / 2
    EXPECT_EQ(5, v[0].pos.x);   // the sample of the plateau's far end
    EXPECT_EQ(1, v[0].left_peak);
    EXPECT_EQ(7, v[0].right_peak);
}

// ---- key points ----

namespace {

// Five valleys 20 samples and a quarter radian apart (exact in binary, so
// that the angular scores tie exactly), equally spaced in x.
std::vector<valley_info> five_valleys() {
    std::vector<valley_info> v;
    for (int i = 0; i < 5; ++i) {
        v.push_back(valley(20 + 20 * i, 10 + 20 * i, 30 + 20 * i, 10 * i, 0, 10.0, 0));
        v.back().pos.angle = 1.0 + 0.25 * i;
    }
    return v;
}

}  // namespace

TEST(PalmCropKeyPoint, EmptyAndTooFewFail) {
    std::vector<valley_info> v;
    _point<int> k0{-7, -7}, k1{-7, -7};
    EXPECT_EQ(0, CPalmCrop::FindKeyPoint(v, k0, k1, _point<int>{0, 0}));
    v = five_valleys();
    v.pop_back();
    EXPECT_EQ(0, CPalmCrop::FindKeyPoint(v, k0, k1, _point<int>{0, 0}));
    EXPECT_EQ(-7, k0.x);
}

TEST(PalmCropKeyPoint, PeakSpanOfFifteenIsRefusedSixteenKept) {
    std::vector<valley_info> v = five_valleys();
    v[2].left_peak = 50;
    v[2].right_peak = 65;  // span 15
    _point<int> k0, k1;
    EXPECT_EQ(0, CPalmCrop::FindKeyPoint(v, k0, k1, _point<int>{0, 0}));
    v = five_valleys();
    v[2].left_peak = 50;
    v[2].right_peak = 66;
    EXPECT_EQ(1, CPalmCrop::FindKeyPoint(v, k0, k1, _point<int>{0, 0}));
}

TEST(PalmCropKeyPoint, NegativeAngleIsRefused) {
    std::vector<valley_info> v = five_valleys();
    v[0].pos.angle = -0.001;
    _point<int> k0, k1;
    EXPECT_EQ(0, CPalmCrop::FindKeyPoint(v, k0, k1, _point<int>{0, 0}));
}

TEST(PalmCropKeyPoint, NeighboursNineApartAreThinnedTenApartKept) {
    std::vector<valley_info> v = five_valleys();
    v.push_back(valley(109, 95, 125, 50, 0, 12.0, 0));  // 9 samples after the last
    v.back().pos.angle = 2.25;
    _point<int> k0, k1;
    std::vector<valley_info> w = v;
    EXPECT_EQ(1, CPalmCrop::FindKeyPoint(w, k0, k1, _point<int>{0, 0}));
    EXPECT_EQ(5u, w.size());  // the deeper of the two stays
    v.back().valley = 110;    // 10 apart, a quarter radian apart
    w = v;
    EXPECT_EQ(1, CPalmCrop::FindKeyPoint(w, k0, k1, _point<int>{0, 0}));
    EXPECT_EQ(6u, w.size());
}

TEST(PalmCropKeyPoint, EvenValleysGiveTheOuterTwoOfTheChosenTriple) {
    std::vector<valley_info> v = five_valleys();
    // Angular scores tie at 0: triples 0 and 1; lengths tie as well, so the
    // middle valley nearer the centre decides.
    _point<int> k0, k1;
    ASSERT_EQ(1, CPalmCrop::FindKeyPoint(v, k0, k1, _point<int>{21, 0}));
    EXPECT_EQ(10, k0.x);
    EXPECT_EQ(30, k1.x);
    v = five_valleys();
    ASSERT_EQ(1, CPalmCrop::FindKeyPoint(v, k0, k1, _point<int>{0, 0}));
    EXPECT_EQ(0, k0.x);
    EXPECT_EQ(20, k1.x);
    // A tie of the centre distances takes the second pair's triple.
    v = five_valleys();
    ASSERT_EQ(1, CPalmCrop::FindKeyPoint(v, k0, k1, _point<int>{15, 0}));
    EXPECT_EQ(10, k0.x);
}

TEST(PalmCropKeyPoint, LengthDifferenceOfExactlyFiveLeavesItToTheCentre) {
    std::vector<valley_info> v = five_valleys();
    // Triple 0 (valleys 0,1,2) has L = |10 - 15| = 5; triple 1 has L = 0.
    v[0].pos.x = -5;
    v[0].pos.y = 0;
    _point<int> k0, k1;
    // Exactly 5 apart: the centre near valley 1 wins for triple 0.
    ASSERT_EQ(1, CPalmCrop::FindKeyPoint(v, k0, k1, _point<int>{10, 0}));
    EXPECT_EQ(-5, k0.x);
    // 6 apart: the smaller L (triple 1) wins whatever the centre.
    v = five_valleys();
    v[0].pos.x = -6;
    ASSERT_EQ(1, CPalmCrop::FindKeyPoint(v, k0, k1, _point<int>{10, 0}));
    EXPECT_EQ(10, k0.x);
}

// ---- geometry ----

TEST(PalmCropGeometry, CoincidentKeyPointsLeaveTheCorners) {
    _point<int> key[2] = {{100, 100}, {100, 100}};
    _point<int> corner[4] = {{1, 2}, {3, 4}, {5, 6}, {7, 8}};
    CPalmCrop::FindROICorner(key, corner);
    EXPECT_EQ(1, corner[0].x);
    EXPECT_EQ(8, corner[3].y);
}

TEST(PalmCropGeometry, HorizontalKeyLineBuildsASquareAbove) {
    _point<int> key[2] = {{200, 300}, {300, 300}};
    _point<int> corner[4];
    CPalmCrop::FindROICorner(key, corner);
    // o = Q15(4259 * 100) = 13; the edge moves up by Q14(-24576 * 13) = -19
    // (-19.5 rounded by its bit 13), and the side is 100 + 2 * 13.
    EXPECT_EQ(187, corner[0].x);
    EXPECT_EQ(281, corner[0].y);
    EXPECT_EQ(313, corner[1].x);
    EXPECT_EQ(281, corner[1].y);
    EXPECT_EQ(187, corner[2].x);
    EXPECT_EQ(155, corner[2].y);
    EXPECT_EQ(313, corner[3].x);
    EXPECT_EQ(155, corner[3].y);
}

TEST(PalmCropGeometry, CropSizeAndStep) {
    EXPECT_EQ(5, CPalmCrop::GetCropSize(_point<int>{0, 0}, _point<int>{3, 4}));
    EXPECT_EQ(1, CPalmCrop::GetCropSize(_point<int>{0, 0}, _point<int>{1, 1}));  // 1.414 + .5
    EXPECT_EQ(2, CPalmCrop::GetCropSize(_point<int>{0, 0}, _point<int>{1, 2}));  // 2.236 + .5
    int c = 0, s = 0;
    CPalmCrop::GetCropStep(1090, 0.5, c, s);
    EXPECT_EQ(static_cast<int>(std::cos(0.5) * (1090 * 0.009174311926605505)), c);
    EXPECT_EQ(8, c);  // 8.776
    EXPECT_EQ(4, s);  // 4.794
    CPalmCrop::GetCropStep(109, -1.0, c, s);
    EXPECT_EQ(0, c);  // 0.54 truncated
    EXPECT_EQ(0, s);  // -0.84 truncated toward zero
}

namespace {

_crop_results corners_at(_point<int> p) {
    _crop_results r;
    for (int i = 0; i < 4; ++i) {
        r.nir_corner[i] = p;
        r.vl_corner[i] = _point<int>{307, 249};
    }
    return r;
}

}  // namespace

TEST(PalmCropGeometry, CornerThreeHundredFromTheCentreFails) {
    // The NIR centre rounds to (304, 243), the VL centre to (307, 249).
    _crop_results r = corners_at(_point<int>{304 + 300, 243});
    EXPECT_EQ(10, CPalmCrop::CheckROICorner(640, 480, r));
    // No two integers give 89999 (it is 3 modulo 4); 299^2 + 24^2 = 89977 passes.
    r = corners_at(_point<int>{304 + 299, 243 + 24});
    EXPECT_EQ(0, CPalmCrop::CheckROICorner(640, 480, r));
    r = corners_at(_point<int>{304 + 180, 243 + 240});  // exactly 300, and y = 483 > height
    EXPECT_EQ(9, CPalmCrop::CheckROICorner(640, 480, r));
    r = corners_at(_point<int>{304 + 180, 243 - 240});  // exactly 300, inside the frame
    EXPECT_EQ(10, CPalmCrop::CheckROICorner(640, 480, r));
}

TEST(PalmCropGeometry, CornerAtWidthFailsAtWidthMinusOnePasses) {
    _crop_results r = corners_at(_point<int>{304, 243});
    r.nir_corner[2] = _point<int>{300, 243};
    EXPECT_EQ(0, CPalmCrop::CheckROICorner(320, 480, r));
    r.nir_corner[2] = _point<int>{320, 243};
    EXPECT_EQ(9, CPalmCrop::CheckROICorner(320, 480, r));
    r.nir_corner[2] = _point<int>{319, 243};
    EXPECT_EQ(0, CPalmCrop::CheckROICorner(320, 480, r));
    r.nir_corner[2] = _point<int>{300, -1};
    EXPECT_EQ(9, CPalmCrop::CheckROICorner(320, 480, r));
}

TEST(PalmCropGeometry, CornersAreCheckedInTurn) {
    _crop_results r = corners_at(_point<int>{304, 243});
    r.vl_corner[0] = _point<int>{307 + 300, 249};  // too far: 10
    r.nir_corner[1] = _point<int>{-5, 0};          // outside: 9, but checked later
    EXPECT_EQ(10, CPalmCrop::CheckROICorner(640, 480, r));
}

TEST(PalmCropGeometry, BothSquaresFollowTheLensModel) {
    _crop_results res;
    CPalmCrop::FindROICornerBoth(_point<int>{260, 300}, _point<int>{350, 296}, res);
    EXPECT_EQ(260, res.nir_key[0].x);
    _point<int> n;
    CPalmCrop::Distort2Normal(res.nir_key[1], n, true);
    EXPECT_EQ(n.x, res.nir_key_normal[1].x);
    CPalmCrop::NIR2VL_Normal(res.nir_key_normal[0], n);
    EXPECT_EQ(n.y, res.vl_key_normal[0].y);
    _point<int> c[4];
    CPalmCrop::FindROICorner(res.vl_key_normal, c);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(c[i].x, res.vl_corner_normal[i].x);
        CPalmCrop::Normal2Distort(c[i], n, false);
        EXPECT_EQ(n.x, res.vl_corner[i].x);
        EXPECT_EQ(n.y, res.vl_corner[i].y);
    }
}

TEST(PalmCropGeometry, PalmCentreAndPosition) {
    _crop_results r;
    for (int i = 0; i < 4; ++i) {
        r.vl_corner[i] = _point<int>{320 + 100, 240};
        r.nir_corner[i] = _point<int>{320 + 100, 240};
    }
    CPalmCrop::GetPalmCenter(r, 320, 240);
    EXPECT_EQ(100, r.palm_offset_x);
    EXPECT_EQ(0, r.palm_offset_y);
    palm_algorithm::i_palm_crop& crop = *palm_algorithm::get_crop_inst();
    EXPECT_EQ(palm_algorithm::POS_OK, crop.GetPalmPos(r));  // exactly 100
    r.palm_offset_x = 101;
    EXPECT_EQ(palm_algorithm::POS_RIGHT, crop.GetPalmPos(r));
    r.palm_offset_x = -101;
    EXPECT_EQ(palm_algorithm::POS_LEFT, crop.GetPalmPos(r));
    r.palm_offset_x = 70;
    r.palm_offset_y = 80;
    EXPECT_EQ(palm_algorithm::POS_UP, crop.GetPalmPos(r));
    r.palm_offset_y = -80;
    EXPECT_EQ(palm_algorithm::POS_DOWN, crop.GetPalmPos(r));
    r.palm_offset_x = -80;
    r.palm_offset_y = -80;  // tie: x wins
    EXPECT_EQ(palm_algorithm::POS_LEFT, crop.GetPalmPos(r));
    r.palm_offset_y = 80;
    EXPECT_EQ(palm_algorithm::POS_LEFT, crop.GetPalmPos(r));
    r.palm_offset_y = 81;
    EXPECT_EQ(palm_algorithm::POS_UP, crop.GetPalmPos(r));
    r.palm_offset_x = -10000;
    r.palm_offset_y = -10000;
    EXPECT_EQ(palm_algorithm::POS_LEFT, crop.GetPalmPos(r));
}

TEST(PalmCropGeometry, TiltOnThePivotLineReturnsThePointExactly) {
    const palm_struct::cp_single cp = palm_algorithm::default_calib_data().nir;
    palm_struct::cp_single c = cp;
    c.center_x = 300.0;
    c.center_y = 240.0;
    _point<int> out;
    CPalmCrop::Incline2Standard_X(_point<int>{123, 240}, out, 1, c);
    EXPECT_EQ(123, out.x);
    EXPECT_EQ(240, out.y);
    CPalmCrop::Standard2Incline_X(_point<int>{77, 240}, out, -1, c);
    EXPECT_EQ(77, out.x);
    CPalmCrop::Incline2Standard_Y(_point<int>{300, 17}, out, 1, c);
    EXPECT_EQ(17, out.y);
    CPalmCrop::Standard2Incline_Y(_point<int>{300, 19}, out, -1, c);
    EXPECT_EQ(19, out.y);
    // Off the line the two directions are near inverses.
    _point<int> mid;
    CPalmCrop::Incline2Standard_X(_point<int>{350, 300}, mid, 1, c);
    CPalmCrop::Standard2Incline_X(mid, out, 1, c);
    EXPECT_NEAR(350, out.x, 2);
    EXPECT_NEAR(300, out.y, 2);
    EXPECT_NE(300, mid.y);
}

TEST(PalmCropGeometry, FourTiltedViewsAreAppendedInOrder) {
    palm_test::ensure_lens_tables();
    palm_image src;
    src.Create(640, 480, static_cast<unsigned char>(100));
    _crop_results res;
    CPalmCrop::FindROICornerBoth(_point<int>{260, 300}, _point<int>{350, 296}, res);
    std::vector<palm_image> out(1);
    palm_algorithm::get_crop_inst()->AffineTransform(src, out, true, res);
    ASSERT_EQ(5u, out.size());
    EXPECT_FALSE(out[0].IsValid());
    for (int i = 1; i < 5; ++i) {
        EXPECT_EQ(110, out[i].GetWidth());
        EXPECT_EQ(100, out[i].Mean());
    }
    // Each view equals a general resampling of its own corners.
    _point<int> key[2], corner[4], tilted[4];
    const palm_struct::cp_single& cp = CPalmCrop::_calibPara.nir;
    for (int k = 0; k < 2; ++k)
        CPalmCrop::Incline2Standard_Y(res.nir_key_normal[k], key[k], -1, cp);
    CPalmCrop::FindROICorner(key, corner);
    for (int i = 0; i < 4; ++i)
        CPalmCrop::Standard2Incline_Y(corner[i], tilted[i], -1, cp);
    palm_image expect;
    ASSERT_TRUE(CPalmCrop::CropRectify_General(src, expect, tilted, true));
    EXPECT_EQ(0, std::memcmp(expect.GetBuffer(), out[4].GetBuffer(), 110 * 110));
}

TEST(PalmCropGeometry, RectifyOfAnAxisAlignedSquareWalksTheNormalPlane) {
    palm_test::ensure_lens_tables();
    // A gradient image: the pixel at raw (x, y) is x / 4.
    palm_image src;
    src.Create(640, 480, static_cast<unsigned char>(0));
    for (int y = 0; y < 480; ++y)
        for (int x = 0; x < 640; ++x)
            src[y][x] = static_cast<unsigned char>(x / 4);
    _crop_results res;
    res.nir_corner_normal[0] = _point<int>{250, 300};
    res.nir_corner_normal[1] = _point<int>{359, 300};
    palm_image dst;
    CPalmCrop::CropRectify(src, dst, true, res);
    ASSERT_EQ(110, dst.GetWidth());
    int step_cos = 0, step_sin = 0;
    CPalmCrop::GetCropStep(109 * 1024, 0.0, step_cos, step_sin);
    EXPECT_EQ(0, step_sin);
    for (int i = 0; i < 110; i += 27) {
        for (int j = 0; j < 110; j += 13) {
            _point<int> raw;
            int const x = (250 * 1024 + step_cos * j) >> 10;
            int const y = (300 * 1024 - step_cos * i) >> 10;
            CPalmCrop::MappingForward(_point<int>{x, y}, raw, true);
            EXPECT_EQ(src.Interpolation(raw.x, raw.y, 6), dst[i][j]) << i << " " << j;
        }
    }
}

// ---- tables ----

TEST(PalmCropTables, GuidanceTablesRecomputed) {
    for (int i = 0; i <= 180; ++i) {
        double const a = (i - 90) * 3.14159265358979323846 / 180.0;
        EXPECT_EQ(static_cast<int>(std::lround(1024 * std::sin(a))), palm_algorithm::piSin[i]) << i;
        EXPECT_EQ(static_cast<int>(std::lround(1024 * std::cos(a))), palm_algorithm::piCos[i]) << i;
    }
    for (int i = 0; i <= 150; ++i)
        EXPECT_EQ(static_cast<int>(std::lround(102400.0 / (i + 50))), palm_algorithm::piScale[i]);
    EXPECT_EQ(-1024, palm_algorithm::piSin[0]);
    EXPECT_EQ(1024, palm_algorithm::piCos[90]);
    EXPECT_EQ(0, palm_algorithm::piCos[180]);
    EXPECT_EQ(2048, palm_algorithm::piScale[0]);
    EXPECT_EQ(512, palm_algorithm::piScale[150]);
}

// ---- bad input ----

TEST(PalmCropBadInput, EmptyProfilesAndImagesGiveDefinedResults) {
    std::vector<_position> empty;
    CPalmCrop::MeanFilter(empty);
    std::vector<valley_info> v;
    CPalmCrop::FindValley(empty, empty, v);
    EXPECT_TRUE(v.empty());
    std::vector<_position> one = profile({3.0});
    CPalmCrop::FindValley(one, one, v);
    EXPECT_TRUE(v.empty());
    // An outline whose unfiltered copy is shorter is not read past its end.
    std::vector<_position> longer = profile({9, 5, 7, 9, 4, 8});
    CPalmCrop::FindValley(longer, one, v);
    EXPECT_TRUE(v.empty());

    palm_test::ensure_lens_tables();
    palm_image nothing;
    _crop_results res;
    CPalmCrop::FindROICornerBoth(_point<int>{260, 300}, _point<int>{350, 296}, res);
    std::vector<palm_image> views;
    palm_algorithm::get_crop_inst()->AffineTransform(nothing, views, false, res);
    ASSERT_EQ(4u, views.size());
    for (const palm_image& view : views)
        EXPECT_EQ(0, view.Mean());
    palm_image roi;
    CPalmCrop::CropRectify(nothing, roi, false, res);
    EXPECT_EQ(110, roi.GetWidth());
    EXPECT_EQ(0, roi.Mean());
}
