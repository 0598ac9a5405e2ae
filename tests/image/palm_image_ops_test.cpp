#include <gtest/gtest.h>

#include <vector>

#include "palm/image/palm_image.h"

namespace {

using palm_share::palm_image;
using palm_struct::_point;
using palm_struct::_position;

unsigned char& at(palm_image& img, int x, int y) {
    return img.GetBuffer()[y * img.GetWidth() + x];
}

unsigned char px(const palm_image& img, int x, int y) {
    return img.GetBuffer()[y * img.GetWidth() + x];
}

palm_image filled(int w, int h, unsigned char v) {
    palm_image img;
    img.Create(w, h, v);
    return img;
}

void fill_rect(palm_image& img, int x0, int y0, int x1, int y1, unsigned char v) {
    for (int y = y0; y <= y1; ++y) {
        for (int x = x0; x <= x1; ++x)
            at(img, x, y) = v;
    }
}

int count_value(const palm_image& img, unsigned char v) {
    int n = 0;
    for (int i = 0; i < img.GetSize(); ++i)
        n += img.GetBuffer()[i] == v;
    return n;
}

// ---------------------------------------------------------------- threshold

TEST(AdaptiveThreshold, BlackAndWhiteImageSettlesAt90) {
    // Many 0 and 255 pixels decide the means; one pixel each at 90 and 91
    // shows where the level ended.
    palm_image img = filled(200, 100, 0);
    for (int i = 0; i < 10000; ++i)
        img.GetBuffer()[i] = 255;
    img.GetBuffer()[12000] = 90;
    img.GetBuffer()[12001] = 91;
    EXPECT_EQ(90, img.GetAdaptiveThreshold());
    img.AdaptiveThreshold();
    EXPECT_EQ(img.GetBuffer()[12000], 0);
    EXPECT_EQ(img.GetBuffer()[12001], 255);
    EXPECT_EQ(img.GetBuffer()[0], 255);
    EXPECT_EQ(img.GetBuffer()[19999], 0);
}

// The level starts at 100, which would leave every pixel black, and moves to
// 35: m1 = 100 n / (n + 1) = 99, m2 = 0, (99 * 10) / 28 = 35.
TEST(AdaptiveThreshold, ConstantLevel100EndsAllWhite) {
    palm_image img = filled(64, 64, 100);
    EXPECT_EQ(35, img.GetAdaptiveThreshold());
    img.AdaptiveThreshold();
    EXPECT_EQ(count_value(img, 255), 64 * 64);
}

TEST(AdaptiveThreshold, ConstantLevel0StaysBlack) {
    palm_image img = filled(16, 16, 0);
    EXPECT_EQ(0, img.GetAdaptiveThreshold());
    img.AdaptiveThreshold();
    EXPECT_EQ(count_value(img, 0), 256);
}

TEST(AdaptiveThreshold, InvalidImageIsIgnored) {
    palm_image img;
    EXPECT_EQ(-1, img.GetAdaptiveThreshold());
    img.AdaptiveThreshold();
    EXPECT_FALSE(img.IsValid());
}

// ---------------------------------------------------------------- SUSAN

TEST(SusanSmooth, UniformImageKeepsMask) {
    palm_image grey = filled(12, 12, 120);
    palm_image mask = filled(12, 12, 255);
    grey.SusanSmooth(mask);
    EXPECT_EQ(count_value(mask, 255), 144);
}

TEST(SusanSmooth, ClearsBrightSideOfEdgeAndKeepsVeryDarkSide) {
    palm_image grey = filled(20, 20, 200);
    fill_rect(grey, 0, 0, 9, 19, 0);  // dark left half
    palm_image mask = filled(20, 20, 255);
    grey.SusanSmooth(mask);
    // Bright centre: 22 of 37 similar, 22528 <= 28416.
    EXPECT_EQ(px(mask, 10, 10), 0);
    // Dark centre at 0: 22 similar and 12 more of the dark bonus, 34816.
    EXPECT_EQ(px(mask, 9, 10), 255);
    // Far from the edge nothing changes, nor on the 3-pixel border.
    EXPECT_EQ(px(mask, 5, 10), 255);
    EXPECT_EQ(px(mask, 15, 10), 255);
    EXPECT_EQ(px(mask, 10, 2), 255);
    EXPECT_EQ(px(mask, 10, 17), 255);
}

TEST(SusanSmooth, DarkBonusEndsAbove23) {
    palm_image grey = filled(20, 20, 200);
    fill_rect(grey, 0, 0, 9, 19, 30);
    palm_image mask = filled(20, 20, 255);
    grey.SusanSmooth(mask);
    EXPECT_EQ(px(mask, 9, 10), 0);
}

TEST(SusanSmooth, OnlyPixelsAt255AreExamined) {
    palm_image grey = filled(20, 20, 200);
    fill_rect(grey, 0, 0, 9, 19, 0);
    palm_image mask = filled(20, 20, 254);
    grey.SusanSmooth(mask);
    EXPECT_EQ(count_value(mask, 254), 400);
}

TEST(SusanSmooth, SizeMismatchOrSmallImageChangesNothing) {
    palm_image grey = filled(20, 20, 200);
    fill_rect(grey, 0, 0, 9, 19, 0);
    palm_image mask = filled(20, 19, 255);
    grey.SusanSmooth(mask);
    EXPECT_EQ(count_value(mask, 255), 20 * 19);
    palm_image small = filled(6, 6, 0);
    palm_image small_mask = filled(6, 6, 255);
    small.SusanSmooth(small_mask);
    EXPECT_EQ(count_value(small_mask, 255), 36);
}

// ---------------------------------------------------------------- morphology

TEST(Morphology, CloseImage_3_1FillsOneRowGap) {
    palm_image img = filled(7, 7, 255);
    fill_rect(img, 0, 3, 6, 3, 0);
    img.CloseImage_3_1();
    for (int y = 0; y < 7; ++y) {
        for (int x = 0; x < 7; ++x) {
            bool inside = x >= 1 && x <= 5 && y >= 2 && y <= 4;
            EXPECT_EQ(px(img, x, y), inside ? 255 : 0) << x << "," << y;
        }
    }
}

TEST(Morphology, OpenRemovesSpeckAndKeepsBlock) {
    palm_image img = filled(13, 13, 0);
    fill_rect(img, 4, 4, 8, 8, 255);
    at(img, 1, 1) = 255;
    img.OpenImage_3_3();
    EXPECT_EQ(px(img, 1, 1), 0);
    EXPECT_EQ(count_value(img, 255), 25);
    EXPECT_EQ(px(img, 4, 4), 255);
    EXPECT_EQ(px(img, 8, 8), 255);
}

TEST(Morphology, CloseFillsHole) {
    palm_image img = filled(13, 13, 0);
    fill_rect(img, 2, 2, 10, 10, 255);
    at(img, 6, 6) = 0;
    img.CloseImage_3_3();
    EXPECT_EQ(px(img, 6, 6), 255);
    EXPECT_EQ(count_value(img, 255), 81);
}

TEST(Morphology, GreyPixelsCountAsSetForErosionOnly) {
    palm_image open = filled(6, 6, 200);
    open.OpenImage_3_3();
    palm_image close = filled(6, 6, 200);
    close.CloseImage_3_3();
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 6; ++x) {
            bool interior = x >= 1 && x <= 4 && y >= 1 && y <= 4;
            EXPECT_EQ(px(open, x, y), interior ? 255 : 0);
            EXPECT_EQ(px(close, x, y), 0);
        }
    }
}

TEST(Morphology, OuterRingEndsAtZero) {
    palm_image img = filled(8, 8, 255);
    img.CloseImage_3_3();
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(px(img, i, 0), 0);
        EXPECT_EQ(px(img, 0, i), 0);
        EXPECT_EQ(px(img, i, 7), 0);
        EXPECT_EQ(px(img, 7, i), 0);
    }
}

TEST(Morphology, ImagesOfAnotherSizeAreServed) {
    palm_image a = filled(9, 9, 0);
    fill_rect(a, 2, 2, 6, 6, 255);
    a.OpenImage_3_3();
    EXPECT_EQ(count_value(a, 255), 25);
    palm_image b = filled(15, 11, 0);
    fill_rect(b, 3, 3, 9, 7, 255);
    b.OpenImage_3_3();
    EXPECT_EQ(count_value(b, 255), 35);
    b.CloseImage_3_3();
    EXPECT_EQ(count_value(b, 255), 35);
}

TEST(Morphology, TooSmallOrInvalidImagesAreUnchanged) {
    palm_image img = filled(2, 5, 255);
    img.CloseImage_3_1();
    img.OpenImage_3_3();
    img.CloseImage_3_3();
    EXPECT_EQ(count_value(img, 255), 10);
    palm_image empty;
    empty.CloseImage_3_1();
    empty.OpenImage_3_3();
    empty.CloseImage_3_3();
    EXPECT_FALSE(empty.IsValid());
}

// ---------------------------------------------------------------- contour

TEST(Contour, KeepsRingOfBlock) {
    palm_image img = filled(9, 9, 0);
    fill_rect(img, 2, 2, 6, 6, 255);
    img.Contour(8);
    EXPECT_EQ(count_value(img, 255), 16);
    EXPECT_EQ(px(img, 2, 2), 255);
    EXPECT_EQ(px(img, 4, 4), 0);
}

TEST(Contour, DiagonalNeighboursCountOnlyWithConnectivity8) {
    palm_image img = filled(10, 10, 0);
    fill_rect(img, 2, 2, 7, 7, 255);
    fill_rect(img, 6, 2, 7, 3, 0);  // notch at the top right
    palm_image four(img), eight(img);
    four.Contour(4);
    eight.Contour(8);
    EXPECT_EQ(px(four, 5, 4), 0);
    EXPECT_EQ(px(eight, 5, 4), 255);
}

TEST(Contour, OtherConnectivityChangesNothing) {
    palm_image img = filled(9, 9, 0);
    fill_rect(img, 2, 2, 6, 6, 255);
    img.Contour(5);
    EXPECT_EQ(count_value(img, 255), 25);
}

TEST(Contour, OuterRingEndsAtZero) {
    palm_image img = filled(5, 5, 255);
    img.Contour(4);
    EXPECT_EQ(count_value(img, 255), 0);
}

// ---------------------------------------------------------------- centroid

TEST(GetCentroid, BlackImageGivesMinusOne) {
    _point<int> c = filled(5, 5, 0).GetCentroid();
    EXPECT_EQ(c.x, -1);
    EXPECT_EQ(c.y, -1);
    c = palm_image().GetCentroid();
    EXPECT_EQ(c.x, -1);
    EXPECT_EQ(c.y, -1);
}

TEST(GetCentroid, MeanCutTowardZero) {
    palm_image img = filled(6, 6, 0);
    at(img, 1, 1) = 255;
    at(img, 2, 4) = 255;
    at(img, 5, 5) = 254;  // not white
    _point<int> c = img.GetCentroid();
    EXPECT_EQ(c.x, 1);
    EXPECT_EQ(c.y, 2);
}

// ---------------------------------------------------------------- central region

TEST(FindCentralRegion, StraightRaysAndNoCentre) {
    palm_image mask = filled(21, 21, 255);
    fill_rect(mask, 0, 0, 20, 0, 0);
    fill_rect(mask, 0, 20, 20, 20, 0);
    fill_rect(mask, 0, 0, 0, 20, 0);
    fill_rect(mask, 20, 0, 20, 20, 0);
    palm_image dest = filled(21, 21, 0);
    mask.FindCentralRegion(10, 10, dest);
    // The fan is centred at (9, 9), which is never written.
    EXPECT_EQ(px(dest, 9, 9), 0);
    for (int k = 1; k <= 10; ++k)
        EXPECT_EQ(px(dest, 9, 9 + k), 255);  // down
    for (int k = 1; k <= 8; ++k)
        EXPECT_EQ(px(dest, 9 - k, 9), 255);  // left
    for (int k = 1; k <= 8; ++k)
        EXPECT_EQ(px(dest, 9, 9 - k), 255);  // up
    for (int k = 1; k <= 10; ++k)
        EXPECT_EQ(px(dest, 9 + k, 9), 255);  // right
    // Nothing outside the mask.
    for (int i = 0; i < 21 * 21; ++i) {
        if (mask.GetBuffer()[i] == 0) {
            EXPECT_EQ(dest.GetBuffer()[i], 0);
        }
    }
}

TEST(FindCentralRegion, WallHidesWhatLiesBehind) {
    palm_image mask = filled(31, 31, 255);
    fill_rect(mask, 0, 0, 30, 0, 0);
    fill_rect(mask, 0, 30, 30, 30, 0);
    fill_rect(mask, 0, 0, 0, 30, 0);
    fill_rect(mask, 30, 0, 30, 30, 0);
    // Centre (15, 15), a wall five columns to the right.
    fill_rect(mask, 20, 13, 20, 17, 0);
    palm_image dest = filled(31, 31, 0);
    mask.FindCentralRegion(16, 16, dest);
    EXPECT_EQ(px(dest, 18, 15), 255);
    EXPECT_EQ(px(dest, 23, 15), 0);
    EXPECT_EQ(px(mask, 23, 15), 255);
}

TEST(FindCentralRegion, BadArgumentsWriteNothing) {
    palm_image mask = filled(11, 11, 255);
    palm_image wrong = filled(11, 10, 0);
    mask.FindCentralRegion(5, 5, wrong);
    EXPECT_EQ(count_value(wrong, 0), 110);
    palm_image dest = filled(11, 11, 0);
    mask.FindCentralRegion(11, 5, dest);
    mask.FindCentralRegion(5, -1, dest);
    EXPECT_EQ(count_value(dest, 0), 121);
}

TEST(FindCentralRegion, MaskWithoutBorderStaysInside) {
    palm_image mask = filled(11, 11, 255);
    palm_image dest = filled(11, 11, 0);
    mask.FindCentralRegion(0, 0, dest);
    mask.FindCentralRegion(10, 10, dest);
    EXPECT_GT(count_value(dest, 255), 0);
}

// ---------------------------------------------------------------- dots

TEST(FilterDot, RemovesIsolatedPixelOnly) {
    palm_image img = filled(8, 8, 0);
    at(img, 2, 2) = 255;
    at(img, 5, 5) = 255;
    at(img, 6, 6) = 255;  // diagonal neighbours keep each other
    img.FilterDot();
    EXPECT_EQ(px(img, 2, 2), 0);
    EXPECT_EQ(px(img, 5, 5), 255);
    EXPECT_EQ(px(img, 6, 6), 255);
}

TEST(FilterDot, InvalidOrSmallImageUnchanged) {
    palm_image img = filled(2, 2, 255);
    img.FilterDot();
    EXPECT_EQ(count_value(img, 255), 4);
    palm_image empty;
    empty.FilterDot();
}

// ---------------------------------------------------------------- largest region

TEST(RetainLargestRegion, KeepsLargestWithItsValues) {
    palm_image img = filled(10, 10, 0);
    fill_rect(img, 1, 1, 2, 2, 255);  // 4
    fill_rect(img, 5, 5, 7, 7, 17);   // 9, grey
    at(img, 8, 8) = 255;              // joins diagonally: 10
    EXPECT_EQ(img.RetainLargestRegion(), 10);
    EXPECT_EQ(px(img, 1, 1), 0);
    EXPECT_EQ(px(img, 6, 6), 17);
    EXPECT_EQ(px(img, 8, 8), 255);
}

TEST(RetainLargestRegion, LaterOfEqualRegionsSurvives) {
    palm_image img = filled(10, 10, 0);
    fill_rect(img, 1, 1, 2, 2, 255);
    fill_rect(img, 6, 6, 7, 7, 255);
    EXPECT_EQ(img.RetainLargestRegion(), 4);
    EXPECT_EQ(px(img, 1, 1), 0);
    EXPECT_EQ(px(img, 6, 6), 255);
}

TEST(RetainLargestRegion, WhiteImageGivesZeroAndStaysWhite) {
    palm_image img = filled(6, 5, 255);
    EXPECT_EQ(img.RetainLargestRegion(), 0);
    EXPECT_EQ(count_value(img, 255), 30);
}

TEST(RetainLargestRegion, BlackImageGivesZero) {
    palm_image img = filled(6, 5, 0);
    EXPECT_EQ(img.RetainLargestRegion(), 0);
    EXPECT_EQ(palm_image().RetainLargestRegion(), 0);
}

TEST(RetainLargestRegion, AllButOnePixelIsAllowed) {
    palm_image img = filled(6, 5, 255);
    at(img, 0, 0) = 0;
    EXPECT_EQ(img.RetainLargestRegion(), 29);
}

// ---------------------------------------------------------------- down-sampling

TEST(DownSampling2, TakesEvenPixels) {
    palm_image img = filled(4, 4, 0);
    for (int i = 0; i < 16; ++i)
        img.GetBuffer()[i] = static_cast<unsigned char>(i);
    palm_image dest = filled(2, 2, 99);
    img.DownSampling2(dest);
    EXPECT_EQ(px(dest, 0, 0), 0);
    EXPECT_EQ(px(dest, 1, 0), 2);
    EXPECT_EQ(px(dest, 0, 1), 8);
    EXPECT_EQ(px(dest, 1, 1), 10);
}

TEST(DownSampling2, WrongSizeWritesNothing) {
    palm_image img = filled(4, 4, 7);
    palm_image dest = filled(3, 2, 99);
    img.DownSampling2(dest);
    EXPECT_EQ(count_value(dest, 99), 6);
    palm_image empty;
    img.DownSampling2(empty);
    EXPECT_FALSE(empty.IsValid());
}

TEST(DownSampling2, OddSourceSizeUsesHalfRoundedDown) {
    palm_image img = filled(5, 3, 0);
    for (int i = 0; i < 15; ++i)
        img.GetBuffer()[i] = static_cast<unsigned char>(i);
    palm_image dest = filled(2, 1, 99);
    img.DownSampling2(dest);
    EXPECT_EQ(px(dest, 0, 0), 0);
    EXPECT_EQ(px(dest, 1, 0), 2);
}

// ---------------------------------------------------------------- trace

TEST(Trace, WalksRingAndClosesAtStart) {
    palm_image img = filled(7, 7, 0);
    fill_rect(img, 2, 2, 4, 4, 255);
    img.Contour(8);
    std::vector<_position> edge(3);
    img.Trace(edge);
    const int expected[7][2] = {{2, 3}, {2, 4}, {3, 4}, {4, 4}, {4, 3}, {4, 2}, {3, 2}};
    ASSERT_EQ(edge.size(), 7u);
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(edge[i].x, expected[i][0]);
        EXPECT_EQ(edge[i].y, expected[i][1]);
        EXPECT_EQ(edge[i].radius, 0.0);
        EXPECT_EQ(edge[i].angle, 0.0);
    }
}

TEST(Trace, ContourTouchingRow0GivesEmptyEdge) {
    palm_image img = filled(6, 6, 0);
    fill_rect(img, 2, 0, 4, 2, 255);
    std::vector<_position> edge(5);
    img.Trace(edge);
    EXPECT_TRUE(edge.empty());
}

TEST(Trace, ContourTouchingColumn0GivesEmptyEdge) {
    palm_image img = filled(6, 6, 0);
    fill_rect(img, 0, 2, 2, 4, 255);
    std::vector<_position> edge(5);
    img.Trace(edge);
    EXPECT_TRUE(edge.empty());
}

TEST(Trace, NoWhitePixelGivesEmptyEdge) {
    std::vector<_position> edge(2);
    filled(6, 6, 0).Trace(edge);
    EXPECT_TRUE(edge.empty());
    edge.resize(2);
    palm_image().Trace(edge);
    EXPECT_TRUE(edge.empty());
}

TEST(Trace, IsolatedPixelEndsTheWalk) {
    palm_image img = filled(6, 6, 0);
    at(img, 3, 3) = 255;
    std::vector<_position> edge;
    img.Trace(edge);
    EXPECT_TRUE(edge.empty());
}

TEST(Trace, OutlineAgainstRightAndBottomBorderStaysInside) {
    palm_image img = filled(6, 6, 0);
    fill_rect(img, 3, 3, 5, 5, 255);
    at(img, 4, 4) = 0;  // a ring whose right and bottom side lie on the border
    std::vector<_position> edge;
    img.Trace(edge);
    EXPECT_EQ(edge.size(), 7u);
}

}  // namespace
