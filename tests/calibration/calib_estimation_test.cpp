#include "palm/calibration/calib_estimation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "calib_test_helpers.h"
#include "palm/calibration/board_extraction.h"
#include "palm/calibration/single_frame_calib_calc.h"
#include "palm/localisation/palm_crop.h"
#include "sim/synthetic_board.h"

using namespace palm_calib;
using palm_share::palm_image;
using palm_struct::calib_data;

using calib_test::Column;
using calib_test::Image;

namespace {

matrix<double> Rows(const std::vector<_point<double>>& pts) {
    matrix<double> m(unsigned(pts.size()), 2);
    for (std::size_t i = 0; i < pts.size(); ++i) {
        m[unsigned(i)][0] = pts[i].x;
        m[unsigned(i)][1] = pts[i].y;
    }
    return m;
}

// The 64 crossings of the standard board in each camera's raw frame.
void BoardCrossings(const calib_data& c, matrix<double>& nir, matrix<double>& vl) {
    std::vector<_point<double>> a, b;
    for (int r = 0; r < 64; ++r) {
        _point<double> const q = palm_test::board_crossing_nir_normalised(r / 8, r % 8);
        a.push_back(palm_test::normalised_to_raw(c.nir, q));
        b.push_back(palm_test::normalised_to_raw(c.vl, palm_test::nir_to_vl_normalised(c, q)));
    }
    nir = Rows(a);
    vl = Rows(b);
}

}  // namespace

TEST(CheckOptimizeResult, FiveTimesThePixelsIsTheLimit) {
    matrix<double> points(2, 100);
    EXPECT_TRUE(CheckOptimizeResult(points, 500.0));
    EXPECT_FALSE(CheckOptimizeResult(points, std::nextafter(500.0, 1e9)));
    EXPECT_TRUE(CheckOptimizeResult(points, 0.0));
    EXPECT_FALSE(CheckOptimizeResult(points, std::nan("")));
    EXPECT_FALSE(CheckOptimizeResult(matrix<double>(), 1.0));
}

TEST(CheckHomoMatrix, TotalErrorOfSixPointFourOverSixtyFourPasses) {
    std::vector<_point<double>> from, to;
    for (int i = 0; i < 64; ++i)
        from.push_back({0.01 * i, -0.02 * i});
    to = from;
    to[5].x += 6.4;  // every other point maps exactly
    matrix<double> h(3, 3);
    h[0][0] = h[1][1] = h[2][2] = 1;
    EXPECT_TRUE(CheckHomoMatrix(Rows(from), Rows(to), h));
    to[5].x = from[5].x + std::nextafter(6.4, 10.0);
    EXPECT_FALSE(CheckHomoMatrix(Rows(from), Rows(to), h));
    // The homography's scale does not matter, nor does its shape as a column.
    matrix<double> h9 = Column({2, 0, 0, 0, 2, 0, 0, 0, 2});
    EXPECT_TRUE(CheckHomoMatrix(Rows(from), Rows(from), h9));
    EXPECT_FALSE(CheckHomoMatrix(Rows(from), Rows(from), Column({1, 0, 0})));
    from.pop_back();
    EXPECT_FALSE(CheckHomoMatrix(Rows(from), Rows(to), h));
}

TEST(Tenengrad, KeepsItsOwnRowAddressing) {
    // Width 6: for the window (top 1, bottom 2, left 1, right 2) the rows
    // read start at offsets 0, 7 and 15, not at rows 0, 1 and 2.
    palm_image img = Image(6, 6);
    for (int i = 0; i < 36; ++i)
        img.GetBuffer()[i] = static_cast<unsigned char>(3 * i);
    int const gy = (45 + 2 * 48 + 51) - (0 + 2 * 3 + 6);
    int const gx = (6 + 2 * 27 + 48) - (0 + 2 * 21 + 45);
    EXPECT_EQ(std::sqrt(float(gx * gx + gy * gy)), img_definition_Tenengrad(img, 1, 2, 1, 2));
    palm_algorithm::single_frame_calib_calc calc;
    EXPECT_EQ(img_definition_Tenengrad(img, 1, 2, 1, 2),
              calc.calib_img_definition(img, 1, 2, 1, 2));
}

TEST(Tenengrad, WindowOfNoAreaOrOutsideGivesZero) {
    palm_image img = Image(40, 30, 0);
    for (int i = 0; i < img.GetSize(); ++i)
        img.GetBuffer()[i] = static_cast<unsigned char>(i * 7);
    palm_algorithm::i_calib_calc* calc = palm_algorithm::get_calib_inst();
    EXPECT_EQ(0.0f, calc->calib_img_definition(img, 5, 5, 3, 20));
    EXPECT_EQ(0.0f, calc->calib_img_definition(img, 5, 9, 7, 7));
    EXPECT_EQ(0.0f, calc->calib_img_definition(img, 0, 9, 3, 20));   // top below 1
    EXPECT_EQ(0.0f, calc->calib_img_definition(img, 5, 9, 0, 20));   // left below 1
    EXPECT_EQ(0.0f, calc->calib_img_definition(img, 5, 31, 3, 20));  // past the height
    EXPECT_EQ(0.0f, calc->calib_img_definition(img, 5, 9, 3, 41));   // past the width
    EXPECT_EQ(0.0f, calc->calib_img_definition(palm_image(), 1, 2, 1, 2));
    EXPECT_GT(calc->calib_img_definition(img, 2, 9, 3, 20), 0.0f);
}

TEST(Tenengrad, WindowNearTheLastRowsStopsAtTheImageEnd) {
    // The addressing runs (bottom - top + 1) rows plus 3 top + right pixels
    // into the buffer: a window reaching the last rows would read past it.
    // The terms that lie inside are summed as ever, the rest left out.
    palm_image img = Image(8, 4);
    for (int i = 0; i < 32; ++i)
        img.GetBuffer()[i] = static_cast<unsigned char>((i * 37) % 251);
    const unsigned char* p = img.GetBuffer();
    int const top = 1, bottom = 4, left = 1, right = 7, w = 8;
    float sum = 0;
    int terms = 0;
    for (int i = 0; i < bottom - top; ++i) {
        int const T = top - 1 + i * w, M = T + w + top, B = M + w + top + 1;
        for (int j = left; j < right; ++j) {
            if (B + j + 1 >= 32)
                continue;
            int const gy = p[B + j - 1] + 2 * p[B + j] + p[B + j + 1] - p[T + j - 1] -
                           2 * p[T + j] - p[T + j + 1];
            int const gx = p[T + j + 1] + 2 * p[M + j + 1] + p[B + j] - p[T + j - 1] -
                           2 * p[M + j - 1] - p[B + j - 1];
            sum += std::sqrt(float(gx * gx + gy * gy));
            ++terms;
        }
    }
    EXPECT_EQ(9, terms);  // row 0 whole, row 1 up to column 3, row 2 none
    EXPECT_EQ(sum / 18.0f, img_definition_Tenengrad(img, top, bottom, left, right));
    // The full frame of a real image, which reaches past its end too.
    palm_image big = Image(640, 480, 0);
    for (int i = 0; i < big.GetSize(); ++i)
        big.GetBuffer()[i] = static_cast<unsigned char>(i % 97);
    EXPECT_GT(img_definition_Tenengrad(big, 1, 480, 1, 640), 0.0f);
}

TEST(ImgDefinition1, ContrastOfTheBrightAndDarkMeans) {
    palm_image img = Image(10, 10, 50);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 10; ++x)
            img[y][x] = 150;
    EXPECT_FLOAT_EQ(0.5f, img_definition1(img));
    EXPECT_EQ(0.0f, img_definition1(Image(10, 10, 80)));
    EXPECT_EQ(0.0f, img_definition1(Image(10, 10, 0)));
    EXPECT_EQ(0.0f, img_definition1(palm_image()));
}

TEST(CalcVanishPoint, AngleIsTurnedFromDegreesToRadians) {
    _point<double> out[2];
    CalcVanishPoint(Column({300, 240, 90, 460}), out);
    EXPECT_NEAR(300.0, out[0].x, 1e-9);
    EXPECT_NEAR(700.0, out[0].y, 1e-9);
    EXPECT_NEAR(300.0, out[1].x, 1e-9);
    EXPECT_NEAR(-220.0, out[1].y, 1e-9);
    CalcVanishPoint(Column({0, 0, 0, 5}), out);
    EXPECT_EQ(-5.0, out[0].x);
    EXPECT_EQ(5.0, out[1].x);
}

TEST(CalcIntrinsicPara, VanishingPointsExchangedIntoOrder) {
    palm_struct::cp_single cp;
    // At 180 degrees the first point of the across family lies right, and at
    // 90 degrees the first point of the down family lies below.
    CalcIntrinsicPara(Column({310, 250, 180, 450}), Column({310, 250, 90, 460}), cp);
    EXPECT_NEAR(310.0, cp.center_x, 1e-6);
    EXPECT_NEAR(250.0, cp.center_y, 1e-6);
    EXPECT_NEAR(-450.0, cp.left.x, 1e-6);
    EXPECT_NEAR(450.0, cp.right.x, 1e-6);
    EXPECT_NEAR(-460.0, cp.top.y, 1e-6);
    EXPECT_NEAR(460.0, cp.bottom.y, 1e-6);
    EXPECT_NEAR(0.0, cp.top.x, 1e-6);
    EXPECT_NEAR(900.0 * 0.3183098861837697, cp.focal_x, 1e-9);
    EXPECT_NEAR(920.0 * 0.3183098861837697, cp.focal_y, 1e-9);
}

TEST(EstimateCircle, ThreePixelsOfAnArc) {
    palm_image labels = Image(200, 150);
    // Across-like arc of the circle (100, 400), r 300, label 3.
    for (int x = 20; x <= 180; ++x) {
        int const y = int(std::lround(400 - std::sqrt(300.0 * 300 - (x - 100.0) * (x - 100.0))));
        labels[y][x] = 3;
    }
    palm_struct::SCircle c{0, 0, 0};
    ASSERT_EQ(1, EstimateCircle(labels, 3, c));
    EXPECT_NEAR(100.0, c.x, 5.0);
    EXPECT_NEAR(400.0, c.y, 15.0);
    EXPECT_NEAR(300.0, c.r, 15.0);
    // Down-like arc of (-250, 75), r 350, label 5.
    palm_image down = Image(200, 150);
    for (int y = 5; y <= 145; ++y) {
        int const x = int(std::lround(-250 + std::sqrt(350.0 * 350 - (y - 75.0) * (y - 75.0))));
        down[y][x] = 5;
    }
    ASSERT_EQ(1, EstimateCircle(down, 5, c));
    EXPECT_NEAR(-250.0, c.x, 15.0);
    EXPECT_NEAR(75.0, c.y, 5.0);
}

TEST(EstimateCircle, StraightLineOrMissingLabelFails) {
    palm_image labels = Image(100, 50);
    for (int x = 10; x < 90; ++x)
        labels[20][x] = 1;
    palm_struct::SCircle c{7, 7, 7};
    EXPECT_EQ(0, EstimateCircle(labels, 1, c));
    EXPECT_EQ(0, EstimateCircle(labels, 2, c));
    EXPECT_EQ(0, EstimateCircle(palm_image(), 1, c));
    EXPECT_EQ(7.0, c.x);
}

TEST(GetCurveData, FlaggedCurvesByLabelInRasterOrder) {
    palm_image labels = Image(5, 4);
    labels[0][3] = 3;
    labels[1][1] = 1;
    labels[2][0] = 3;
    labels[2][4] = 2;
    labels[3][2] = 1;
    int flags[3] = {1, 0, 1};
    matrix<double> points, counts;
    GetCurveData(labels, flags, 3, points, counts);
    ASSERT_EQ(2u, counts.rows);
    EXPECT_EQ(2.0, counts.data[0]);
    EXPECT_EQ(2.0, counts.data[1]);
    ASSERT_EQ(2u, points.rows);
    ASSERT_EQ(4u, points.cols);
    double const xs[4] = {1, 2, 3, 0}, ys[4] = {1, 3, 0, 2};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(xs[i], points[0][i]) << i;
        EXPECT_EQ(ys[i], points[1][i]) << i;
    }
    GetCurveData(labels, nullptr, 3, points, counts);
    EXPECT_EQ(0u, points.cols);
}

TEST(EstimateInitPara, SyntheticBoardGivesNearbyVanishingPoints) {
    calib_test::board_extract const b = calib_test::ExtractDefaultBoard();
    ASSERT_EQ(1, b.result);
    const palm_image& h = b.hori;
    int flags[8];
    matrix<double> p;
    ASSERT_EQ(1, EstimateInitPara(h, flags, 8, p));
    EXPECT_EQ((std::vector<int>{1, 1, 1, 0, 0, 1, 1, 1}), std::vector<int>(flags, flags + 8));
    ASSERT_EQ(10u, p.rows);
    _point<double> vp[2];
    CalcVanishPoint(p, vp);
    calib_data const d = palm_algorithm::default_calib_data();
    if (vp[0].x > vp[1].x)
        std::swap(vp[0], vp[1]);
    EXPECT_NEAR(d.nir.center_x + d.nir.left.x, vp[0].x, 25.0);
    EXPECT_NEAR(d.nir.center_y + d.nir.left.y, vp[0].y, 10.0);
    EXPECT_NEAR(d.nir.center_x + d.nir.right.x, vp[1].x, 25.0);
    // Curves above the centre have their circle centres below and the other way.
    EXPECT_LT(p.data[4] * p.data[9], 0.0);
}

TEST(EstimateInitPara, BadArguments) {
    palm_image labels = Image(10, 10);
    int flags[8];
    matrix<double> p;
    EXPECT_EQ(0, EstimateInitPara(labels, nullptr, 8, p));
    EXPECT_EQ(0, EstimateInitPara(labels, flags, 5, p));
    // No curves at all: every circle fails, the flags say so, the rows stand.
    EXPECT_EQ(1, EstimateInitPara(labels, flags, 8, p));
    EXPECT_EQ((std::vector<int>(8, 0)), std::vector<int>(flags, flags + 8));
    EXPECT_EQ(10u, p.rows);
}

TEST(NormalizePts, CentreAndAxis) {
    calib_data const d = palm_algorithm::default_calib_data();
    matrix<double> in =
        Rows({{d.nir.center_x, d.nir.center_y}, {d.nir.center_x + 100, d.nir.center_y}});
    matrix<double> out;
    NormalizePts(in, out, d.nir);
    ASSERT_EQ(2u, out.rows);
    EXPECT_NEAR(0.0, out[0][0], 1e-3);
    EXPECT_NEAR(0.0, out[0][1], 1e-3);
    // Barrel distortion: the normal plane reaches further than the raw frame.
    EXPECT_GT(out[1][0] * d.nir.focal_x, 100.0);
    EXPECT_NEAR(0.0, out[1][1], 1e-2);
}

TEST(EstimateHomography, RecoversTheMappingOfExactCrossings) {
    calib_data const d = palm_algorithm::default_calib_data();
    matrix<double> nir, vl;
    BoardCrossings(d, nir, vl);
    double h[9];
    ASSERT_TRUE(EstimateHomography(nir, vl, d.nir, d.vl, h));
    double const norm = std::sqrt([&] {
        double s = 0;
        for (double v : h)
            s += v * v;
        return s;
    }());
    EXPECT_NEAR(1.0, norm, 1e-9);
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR(d.nir_to_vl[i] / d.nir_to_vl[8], h[i] / h[8], 1e-6) << i;
}

TEST(EstimateHomography, UnrelatedPointsAreRejected) {
    calib_data const d = palm_algorithm::default_calib_data();
    matrix<double> nir, vl;
    BoardCrossings(d, nir, vl);
    // Pair each NIR crossing with another VL crossing, in an order that no
    // turn or mirror of the grid gives.
    matrix<double> reversed(vl);
    for (unsigned r = 0; r < 64; ++r) {
        reversed[r][0] = vl[(r * 29) % 64][0];
        reversed[r][1] = vl[(r * 29) % 64][1];
    }
    double h[9] = {0};
    EXPECT_FALSE(EstimateHomography(nir, reversed, d.nir, d.vl, h));
    EXPECT_FALSE(EstimateHomography(nir, vl, d.nir, d.vl, nullptr));
    EXPECT_FALSE(EstimateHomography(nir, matrix<double>(63, 2), d.nir, d.vl, h));
    EXPECT_FALSE(EstimateHomography(matrix<double>(), matrix<double>(), d.nir, d.vl, h));
}
