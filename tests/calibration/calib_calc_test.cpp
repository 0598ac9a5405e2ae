// The whole calibration on synthetic boards: each failure code provoked by a
// frame made for it, and what a failure leaves behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "palm/calibration/single_frame_calib_calc.h"
#include "sim/synthetic_board.h"

using palm_algorithm::single_frame_calib_calc;
using palm_share::palm_image;
using palm_struct::calib_data;

namespace {

calib_data Marked() {
    calib_data d;
    d.nir.center_x = 12345;
    d.nir_to_vl[4] = -7;
    return d;
}

void ExpectUntouched(const calib_data& d) {
    EXPECT_EQ(12345.0, d.nir.center_x);
    EXPECT_EQ(-7.0, d.nir_to_vl[4]);
    EXPECT_FALSE(d.calibrated);
}

palm_image Flat(int w, int h) {
    palm_image img(w, h);
    img.SetData(120);
    return img;
}

const palm_test::board_frames& Board() {
    static const palm_test::board_frames f =
        palm_test::render_board(nullptr, palm_test::board_options());
    return f;
}

// The code of a calibration on the board so rendered, which leaves the
// record untouched.
void ExpectCode(int code, const palm_test::board_options& o) {
    palm_test::board_frames const f = palm_test::render_board(nullptr, o);
    single_frame_calib_calc calc;
    calib_data d = Marked();
    EXPECT_EQ(code, calc.calib_calc(f.nir, f.vl, d));
    ExpectUntouched(d);
}

}  // namespace

TEST(CalibCalc, OneInstanceForTheProcess) {
    EXPECT_EQ(palm_algorithm::get_calib_inst(), palm_algorithm::get_calib_inst());
    EXPECT_NE(nullptr, dynamic_cast<single_frame_calib_calc*>(palm_algorithm::get_calib_inst()));
    palm_algorithm::release_calib_inst();
    EXPECT_NE(nullptr, palm_algorithm::get_calib_inst());
}

TEST(CalibCalc, SuccessStoresEverythingAndSetsCalibrated) {
    single_frame_calib_calc calc;
    calib_data d;
    std::memset(d.reserved, 0x5a, sizeof d.reserved);
    ASSERT_EQ(0, calc.calib_calc(Board().nir, Board().vl, d));
    EXPECT_TRUE(d.calibrated);
    EXPECT_GT(d.nir.focal_x, 200.0);
    EXPECT_GT(d.vl.focal_y, 200.0);
    EXPECT_LT(d.nir.left.x, 0.0);
    EXPECT_LT(d.vl.top.y, 0.0);
    EXPECT_NE(0.0, d.nir_to_vl[8]);
    EXPECT_EQ(0x5a, d.reserved[100]);  // never written
    // The label images hold the curves, widened for display.
    EXPECT_EQ(640, calc.nir_hori.GetWidth());
    EXPECT_EQ(480, calc.vl_vert.GetHeight());
}

TEST(CalibCalc, DefaultCalibrationHasItsVerticalVanishingPointsAlmostStraight) {
    single_frame_calib_calc calc;
    calib_data d;
    ASSERT_EQ(0, calc.calib_calc(Board().nir, Board().vl, d));
    // Read as degrees, the angle puts top and bottom a few pixels to the side
    // of the centre, as in the device's default record.
    EXPECT_LT(std::fabs(d.nir.top.x), 10.0);
    EXPECT_LT(std::fabs(d.nir.bottom.x), 10.0);
    EXPECT_LT(std::fabs(d.nir.left.y), 10.0);
    EXPECT_LT(std::fabs(d.vl.top.x), 10.0);
}

TEST(CalibCalc, NoBoardInTheFirstImageIsOne) {
    single_frame_calib_calc calc;
    calib_data d = Marked();
    EXPECT_EQ(1, calc.calib_calc(Flat(640, 480), Board().vl, d));
    ExpectUntouched(d);
    EXPECT_EQ(1, calc.calib_calc(palm_image(), Board().vl, d));
    ExpectUntouched(d);
}

TEST(CalibCalc, NoBoardInTheSecondImageIsTwo) {
    single_frame_calib_calc calc;
    calib_data d = Marked();
    EXPECT_EQ(2, calc.calib_calc(Board().nir, Flat(640, 480), d));
    ExpectUntouched(d);
    EXPECT_EQ(2, calc.calib_calc(Board().nir, palm_image(), d));
}

TEST(CalibCalc, ImagesOfDifferentSizesAreNotRefused) {
    // The label images take the size of the first image; the second image's
    // board is then looked for against those and not found.
    single_frame_calib_calc calc;
    calib_data d = Marked();
    EXPECT_EQ(2, calc.calib_calc(Board().nir, Flat(320, 240), d));
    EXPECT_EQ(640, calc.vl_hori.GetWidth());
    EXPECT_EQ(480, calc.vl_vert.GetHeight());
    ExpectUntouched(d);
}

// Edges bent by 0.021 normalised units (about 6 pixels) along a sine of
// 0.3: their pixels stand further from any circle than the fit accepts,
// while the edges stay steep enough to be found.
TEST(CalibCalc, BentCurvesInTheFirstImageAreThree) {
    palm_test::board_options o;
    o.nir_board.wave = 0.021;
    ExpectCode(3, o);
}

TEST(CalibCalc, BentCurvesInTheSecondImageAreFour) {
    palm_test::board_options o;
    o.vl_board.wave = 0.021;
    ExpectCode(4, o);
}

TEST(CalibCalc, BoardsNoHomographyJoinsAreFive) {
    // The VL camera sees a board with other steps between its down edges.
    palm_test::board_options o;
    double const down[8] = {-0.9, -0.78, -0.66, -0.54, 0.3, 0.5, 0.7, 0.9};
    std::copy(down, down + 8, o.vl_board.down);
    ExpectCode(5, o);
}
