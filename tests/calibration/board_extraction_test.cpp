#include "palm/calibration/board_extraction.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "calib_test_helpers.h"
#include "sim/synthetic_board.h"

using namespace palm_calib;
using palm_share::palm_image;

using calib_test::Column;
using calib_test::Image;

namespace {

void HLine(palm_image& img, int y, int x0, int x1, unsigned char v = 255) {
    for (int x = x0; x <= x1; ++x)
        img[y][x] = v;
}

void VLine(palm_image& img, int x, int y0, int y1, unsigned char v = 255) {
    for (int y = y0; y <= y1; ++y)
        img[y][x] = v;
}

int Count(const palm_image& img, int value) {
    int n = 0;
    for (int i = 0; i < img.GetSize(); ++i)
        n += img.GetBuffer()[i] == value ? 1 : 0;
    return n;
}

// Eight across lines (rows 20, 40, ... 160, columns 10..300) and eight down
// lines (columns 30, 60, ... 240, rows 12..170): each crosses all of the
// other direction.
void Grid(palm_image& hori, palm_image& vert) {
    for (int k = 1; k <= 8; ++k)
        HLine(hori, 20 * k, 10, 300);
    for (int k = 1; k <= 8; ++k)
        VLine(vert, 30 * k, 12, 170);
}

}  // namespace

TEST(GrayStretch, FlatImageStaysAndFindsNoCurves) {
    palm_image img = Image(64, 48, 90);
    GrayStretch(img);
    EXPECT_EQ(64 * 48, Count(img, 90));
    palm_image h = Image(64, 48), v = Image(64, 48);
    matrix<double> points(64, 2);
    EXPECT_EQ(0, ExtractCurveAndPoints(img, h, v, points));
}

TEST(GrayStretch, StretchesByIntegerDivision) {
    palm_image img = Image(3, 1);
    img[0][0] = 50;
    img[0][1] = 100;
    img[0][2] = 150;
    GrayStretch(img);
    EXPECT_EQ(0, img[0][0]);
    EXPECT_EQ(127, img[0][1]);  // 50 * 255 / 100
    EXPECT_EQ(255, img[0][2]);
    palm_image empty;
    GrayStretch(empty);
    EXPECT_FALSE(empty.IsValid());
}

TEST(HoriVertEdge, ThresholdOfEighty) {
    // A step of 27 between rows gives R = 81, one of 26 gives 78.
    for (int step : {26, 27}) {
        palm_image src = Image(8, 8, 100);
        for (int y = 4; y < 8; ++y)
            HLine(src, y, 0, 7, static_cast<unsigned char>(100 + step));
        palm_image h = Image(8, 8, 7), v = Image(8, 8, 7);
        HoriVertEdge(src, h, v);
        EXPECT_EQ(step == 27 ? 255 : 0, h[3][3]) << step;
        EXPECT_EQ(step == 27 ? 255 : 0, h[4][3]) << step;
        EXPECT_EQ(0, v[3][3]);
        EXPECT_EQ(0, h[2][3]);
        // The border is not written.
        EXPECT_EQ(7, h[0][3]);
        EXPECT_EQ(7, v[3][7]);
    }
}

TEST(HoriVertEdge, EqualResponsesMarkBothAndTheLargerWins) {
    palm_image src = Image(8, 8, 0);
    // A bright quadrant from (4, 4): at (3, 3) R = K = 255.
    for (int y = 4; y < 8; ++y)
        HLine(src, y, 4, 7, 255);
    palm_image h = Image(8, 8), v = Image(8, 8);
    HoriVertEdge(src, h, v);
    EXPECT_EQ(255, h[3][3]);
    EXPECT_EQ(255, v[3][3]);
    // At (5, 3): R = 3 * 255, K = 0.
    EXPECT_EQ(255, h[3][5]);
    EXPECT_EQ(0, v[3][5]);
    EXPECT_EQ(0, h[5][3]);
    EXPECT_EQ(255, v[5][3]);
}

TEST(HoriVertEdge, WrongSizesWriteNothing) {
    palm_image src = Image(8, 8, 0), h = Image(8, 7, 9), v = Image(8, 8, 9);
    HLine(src, 5, 0, 7, 255);
    HoriVertEdge(src, h, v);
    EXPECT_EQ(8 * 7, Count(h, 9));
    EXPECT_EQ(64, Count(v, 9));
}

TEST(RemoveSmallRegion, NineteenPixelsGoTwentyStay) {
    palm_image img = Image(70, 10);
    HLine(img, 2, 0, 18);  // 19 pixels
    HLine(img, 6, 0, 19);  // 20 pixels
    // Zigzags joined only diagonally are one 8-connected region each.
    for (int k = 0; k < 19; ++k)
        img[1 + k % 2][30 + k] = 255;
    for (int k = 0; k < 20; ++k)
        img[5 + k % 2][30 + k] = 255;
    RemoveSmallRegion(img);
    EXPECT_EQ(0, img[2][0]);
    EXPECT_EQ(0, img[2][18]);
    EXPECT_EQ(255, img[6][0]);
    EXPECT_EQ(255, img[6][19]);
    EXPECT_EQ(0, img[1][30]);
    EXPECT_EQ(0, img[1][48]);
    EXPECT_EQ(255, img[5][30]);
    EXPECT_EQ(255, img[6][49]);
    EXPECT_EQ(40, Count(img, 255));
}

TEST(RemoveSmallRegion, LargeRegionsSurviveWhole) {
    palm_image img = Image(30, 30);
    for (int y = 5; y < 25; ++y)
        HLine(img, y, 5, 24);
    RemoveSmallRegion(img);
    EXPECT_EQ(400, Count(img, 255));
}

TEST(Dilate, FirstValueOfTheWindowRowByRow) {
    palm_image img = Image(11, 7);
    img[2][6] = 9;  // row above, to the right
    img[3][4] = 5;  // same row, to the left
    Dilate(img, 7, 3);
    // At (5, 3) the window rows 2..4, columns 2..8: row 2 comes first.
    EXPECT_EQ(9, img[3][5]);
    EXPECT_EQ(5, img[3][4]);  // non-zero pixels keep their value
    // Border pixels stay: columns 0..2 and rows 0 and 6.
    EXPECT_EQ(0, img[3][2]);
    EXPECT_EQ(0, img[0][5]);
    EXPECT_EQ(5, img[4][3]);
}

TEST(LabelRegion, NumbersRegionsInRasterOrder) {
    palm_image src = Image(20, 10), labels = Image(20, 10, 77);
    HLine(src, 5, 2, 8);
    HLine(src, 2, 10, 15);
    src[3][16] = 255;  // diagonal neighbour of (15, 2)
    EXPECT_EQ(2, LabelRegion(src, labels));
    EXPECT_EQ(1, labels[2][10]);
    EXPECT_EQ(1, labels[3][16]);
    EXPECT_EQ(2, labels[5][2]);
    EXPECT_EQ(0, labels[0][0]);
}

TEST(LabelRegion, FiftyRegionsGiveZero) {
    palm_image src = Image(100, 10), labels = Image(100, 10);
    for (int k = 0; k < 49; ++k)
        src[2][2 * k] = 255;
    EXPECT_EQ(49, LabelRegion(src, labels));
    src[6][0] = 255;
    EXPECT_EQ(0, LabelRegion(src, labels));
    palm_image other = Image(10, 10);
    EXPECT_EQ(0, LabelRegion(src, other));
}

TEST(CurveGrouping, EightByEightGridIsKeptAndOrdered) {
    palm_image he = Image(320, 200), ve = Image(320, 200), h = Image(320, 200), v = Image(320, 200);
    Grid(he, ve);
    ASSERT_EQ(1, CurveGrouping(he, ve, h, v));
    for (int k = 1; k <= 8; ++k) {
        EXPECT_EQ(k, h[20 * k][11]);
        EXPECT_EQ(k, v[13][30 * k]);
    }
}

TEST(CurveGrouping, SevenCrossingsAreDeletedEightKept) {
    palm_image he = Image(320, 200), ve = Image(320, 200), h = Image(320, 200), v = Image(320, 200);
    Grid(he, ve);
    // An across line below the down lines crosses none of them, and a short
    // down line crosses two across lines: both go.
    HLine(he, 180, 25, 215);
    VLine(ve, 235, 100, 130);
    ASSERT_EQ(1, CurveGrouping(he, ve, h, v));
    EXPECT_EQ(0, h[180][30]);
    EXPECT_EQ(0, v[110][235]);

    // Down line 1 shortened to cross across lines 1..7 only: deleted, and
    // the grid lacks a down curve.
    palm_image ve7 = Image(320, 200);
    for (int k = 1; k <= 8; ++k)
        VLine(ve7, 30 * k, 12, k == 1 ? 150 : 170);
    EXPECT_EQ(0, CurveGrouping(he, ve7, h, v));
    // Shortened to cross 8: kept.
    palm_image ve8 = Image(320, 200);
    for (int k = 1; k <= 8; ++k)
        VLine(ve8, 30 * k, 12, k == 1 ? 160 : 170);
    EXPECT_EQ(1, CurveGrouping(he, ve8, h, v));
}

TEST(CurveGrouping, NinthAcrossCurveBeyondTheDownCurvesIsRepaired) {
    palm_image he = Image(320, 200), ve = Image(320, 200), h = Image(320, 200), v = Image(320, 200);
    Grid(he, ve);
    // A ninth across curve on the last row of the down curves that bends
    // below them at its end: it crosses all eight.
    HLine(he, 170, 10, 280);
    VLine(he, 281, 170, 185);
    ASSERT_EQ(1, CurveGrouping(he, ve, h, v));
    EXPECT_EQ(0, h[175][281]);
    EXPECT_EQ(8, h[160][11]);
    EXPECT_EQ(8, v[13][240]);
}

TEST(CurveGrouping, TooFewCurves) {
    palm_image he = Image(320, 200), ve = Image(320, 200), h = Image(320, 200), v = Image(320, 200);
    for (int k = 1; k <= 7; ++k)
        HLine(he, 20 * k, 10, 300);
    for (int k = 1; k <= 8; ++k)
        VLine(ve, 30 * k, 12, 170);
    EXPECT_EQ(0, CurveGrouping(he, ve, h, v));
}

TEST(DeleteExtraLines, AcrossCurveOutsideTheRowsOfTheDownCurves) {
    palm_image h = Image(50, 50), v = Image(50, 50);
    HLine(h, 10, 5, 40, 1);
    HLine(h, 30, 5, 40, 2);
    h[45][40] = 2;
    VLine(v, 20, 8, 40, 1);
    std::vector<int> keep = {1, 1};
    int count = 2;
    EXPECT_EQ(1, DeleteExtraHoriLine(h, v, count, keep));
    EXPECT_EQ(1, count);
    EXPECT_EQ((std::vector<int>{1, 0}), keep);
    EXPECT_EQ(0, Count(h, 2));
    EXPECT_EQ(0, DeleteExtraHoriLine(h, v, count, keep));
}

TEST(DeleteExtraLines, DownCurvesAreTestedByRowAgainstTheColumnsOfTheAcrossCurves) {
    palm_image h = Image(60, 60), v = Image(60, 60);
    HLine(h, 30, 20, 50, 1);  // columns 20..50
    // Down curve 1 lies at column 25, inside the columns, but its rows run
    // from 10: row 10 is outside 20..50, so it goes.
    VLine(v, 25, 10, 40, 1);
    // Down curve 2 at column 5, outside the columns, rows 22..48 inside: it stays.
    VLine(v, 5, 22, 48, 2);
    std::vector<int> keep = {1, 1};
    int count = 2;
    EXPECT_EQ(1, DeleteExtraVertLine(h, v, count, keep));
    EXPECT_EQ((std::vector<int>{0, 1}), keep);
    EXPECT_EQ(0, Count(v, 1));
    EXPECT_EQ(27, Count(v, 2));
}

TEST(ReorderLabels, ByIntegerMeanRowAndColumn) {
    palm_image h = Image(20, 20);
    HLine(h, 15, 0, 5, 1);
    HLine(h, 3, 0, 5, 2);
    HLine(h, 9, 0, 5, 4);
    HLine(h, 1, 0, 5, 3);  // not kept: erased
    ReorderHoriLabel(h, {1, 1, 0, 1});
    EXPECT_EQ(1, h[3][0]);
    EXPECT_EQ(2, h[9][0]);
    EXPECT_EQ(3, h[15][0]);
    EXPECT_EQ(0, h[1][0]);
    palm_image v = Image(20, 20);
    VLine(v, 12, 0, 5, 1);
    VLine(v, 4, 0, 5, 2);
    ReorderVertLabel(v, {1, 1});
    EXPECT_EQ(1, v[0][4]);
    EXPECT_EQ(2, v[0][12]);
}

TEST(GetCrossPoint, MeanOfTheOverlapAndAMissingCrossing) {
    palm_image h = Image(320, 200), v = Image(320, 200);
    for (int k = 1; k <= 8; ++k) {
        HLine(h, 20 * k, 10, 300, static_cast<unsigned char>(k));
        HLine(h, 20 * k + 1, 10, 300, static_cast<unsigned char>(k));
        VLine(v, 30 * k, 12, 170, static_cast<unsigned char>(k));
    }
    matrix<double> points(64, 2);
    ASSERT_EQ(1, GetCrossPoint(h, v, points));
    EXPECT_EQ(30.0, points[0][0]);
    EXPECT_EQ(20.5, points[0][1]);
    EXPECT_EQ(90.0, points[2 * 8 + 2][0]);  // across 3, down 3
    EXPECT_EQ(60.5, points[2 * 8 + 2][1]);
    VLine(v, 240, 150, 170, 0);  // down 8 no longer meets across 8
    EXPECT_EQ(0, GetCrossPoint(h, v, points));
    matrix<double> wrong(8, 2);
    EXPECT_EQ(0, GetCrossPoint(h, v, wrong));
}

namespace {

// A chequer corner at (cx, cy): the share of each pixel in the bright
// quadrants, by 8 x 8 sub-samples.
palm_image Corner(double cx, double cy) {
    palm_image img = Image(64, 64);
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            int bright = 0;
            for (int sy = 0; sy < 8; ++sy) {
                for (int sx = 0; sx < 8; ++sx) {
                    double const px = x - 0.5 + (sx + 0.5) / 8, py = y - 0.5 + (sy + 0.5) / 8;
                    bright += ((px < cx) != (py < cy)) ? 1 : 0;
                }
            }
            img[y][x] = static_cast<unsigned char>(40 + 170 * bright / 64);
        }
    }
    return img;
}

}  // namespace

TEST(RefineCrossPoint, FindsTheCornerToASmallFractionOfAPixel) {
    palm_image const img = Corner(30.3, 33.6);
    matrix<double> init(2, 2), out;
    init[0][0] = 28;
    init[0][1] = 35;
    init[1][0] = 32.5;
    init[1][1] = 31;
    EXPECT_EQ(1, RefineCrossPoint(img, init, out));
    for (int r = 0; r < 2; ++r) {
        EXPECT_NEAR(30.3, out[r][0], 0.1) << r;
        EXPECT_NEAR(33.6, out[r][1], 0.1) << r;
    }
}

TEST(RefineCrossPoint, AMoveBeyondFivePixelsKeepsTheStart) {
    palm_image const img = Corner(30.0, 30.0);
    matrix<double> init(2, 2), out;
    init[0][0] = 25.2;  // 4.8 away: refined
    init[0][1] = 30.0;
    init[1][0] = 24.6;  // 5.4 away: the corner is found but the move refused
    init[1][1] = 30.0;
    RefineCrossPoint(img, init, out);
    EXPECT_NEAR(30.0, out[0][0], 0.1);
    EXPECT_EQ(24.6, out[1][0]);
    EXPECT_EQ(30.0, out[1][1]);
}

TEST(RefineCrossPoint, FlatPatchGivesANonFiniteValueThatStays) {
    palm_image const img = Image(64, 64, 100);
    matrix<double> init(1, 2), out;
    init[0][0] = 20;
    init[0][1] = 20;
    EXPECT_EQ(1, RefineCrossPoint(img, init, out));
    EXPECT_FALSE(std::isfinite(out[0][0]));
}

TEST(RefineCrossPoint, PointsOutsideTheImageAndBadInput) {
    palm_image const img = Corner(30, 30);
    matrix<double> init(3, 2), out;
    init[0][0] = -3;  // patch partly outside: reads zeros there
    init[0][1] = 2;
    init[1][0] = 1e300;
    init[1][1] = std::nan("");
    init[2][0] = 30.4;
    init[2][1] = 29.8;
    EXPECT_EQ(1, RefineCrossPoint(img, init, out));
    EXPECT_EQ(1e300, out[1][0]);
    EXPECT_NEAR(30.0, out[2][0], 0.1);
    EXPECT_EQ(1, RefineCrossPoint(palm_image(), init, out));
    EXPECT_EQ(1, RefineCrossPoint(img, matrix<double>(), out));
}

TEST(Thinning, TwoPixelBandKeepsItsUpperRow) {
    palm_image img = Image(30, 10);
    HLine(img, 4, 2, 27);
    HLine(img, 5, 2, 27);
    Thinning(img);
    for (int x = 4; x < 26; ++x) {
        EXPECT_EQ(255, img[4][x]) << x;
        EXPECT_EQ(0, img[5][x]) << x;
    }
    palm_image v = Image(10, 30);
    VLine(v, 4, 2, 27);
    VLine(v, 5, 2, 27);
    Thinning(v);
    for (int y = 4; y < 26; ++y) {
        EXPECT_EQ(255, v[y][4]) << y;
        EXPECT_EQ(0, v[y][5]) << y;
    }
}

TEST(Thinning, ThreePixelBandKeepsItsMiddleRow) {
    palm_image img = Image(30, 10);
    for (int y = 3; y <= 5; ++y)
        HLine(img, y, 2, 27);
    Thinning(img);
    for (int x = 5; x < 25; ++x) {
        EXPECT_EQ(0, img[3][x]) << x;
        EXPECT_EQ(255, img[4][x]) << x;
        EXPECT_EQ(0, img[5][x]) << x;
    }
}

TEST(Thinning, TransitionsAndNeighbours) {
    palm_image img = Image(5, 5);
    // Above, right and below-left set around (2, 2).
    img[1][2] = 255;
    img[2][3] = 255;
    img[3][1] = 255;
    EXPECT_EQ(3, PN(img, 2, 2));
    EXPECT_EQ(3, PT(img, 2, 2));
    img[1][3] = 255;  // joins above and right
    EXPECT_EQ(2, PT(img, 2, 2));
    EXPECT_EQ(4, PN(img, 2, 2));
    EXPECT_EQ(0, PT(img, 0, 2));
    EXPECT_EQ(0, PN(img, 4, 4));
    EXPECT_EQ(0, PN(palm_image(), 1, 1));
}

TEST(ExtractCurveAndPoints, SyntheticBoard) {
    calib_test::board_extract const b = calib_test::ExtractDefaultBoard();
    ASSERT_EQ(1, b.result);
    const palm_image &h = b.hori, &v = b.vert;
    const matrix<double>& points = b.points;
    // Labels 1 to 8 on one-pixel skeletons, across-curve 1 on top.
    for (int k = 1; k <= 8; ++k) {
        EXPECT_GT(Count(h, k), 300) << k;
        EXPECT_GT(Count(v, k), 200) << k;
    }
    EXPECT_EQ(0, Count(h, 9));
    EXPECT_LT(points[0][1], points[8][1]);
    EXPECT_LT(points[0][0], points[1][0]);
}

TEST(ExtractCurveAndPoints, BadSizes) {
    palm_image src = Image(64, 48, 9), h = Image(64, 48), v = Image(64, 47);
    matrix<double> points(64, 2);
    EXPECT_EQ(0, ExtractCurveAndPoints(src, h, v, points));
    palm_image v2 = Image(64, 48);
    matrix<double> wrong(63, 2);
    EXPECT_EQ(0, ExtractCurveAndPoints(src, h, v2, wrong));
    EXPECT_EQ(0, ExtractCurveAndPoints(palm_image(), h, v2, points));
}
