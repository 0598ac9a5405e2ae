#include "palm/image/angle_helpers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using namespace palm_share;
using palm_struct::_point;
using palm_struct::_position;

TEST(CartToAngle, Axes) {
    EXPECT_EQ(CartToAngle(0, 0), 0.0);
    EXPECT_EQ(CartToAngle(1, 0), 0.0);
    EXPECT_EQ(CartToAngle(-1, 0), 3.14159265359);
    EXPECT_EQ(CartToAngle(0, 5), 1.570796326795);
    EXPECT_EQ(CartToAngle(0, -5), 4.712388980385);
}

TEST(CartToAngle, QuadrantsUseAtan2AndTheWrittenTwoPi) {
    EXPECT_EQ(CartToAngle(1, 1), std::atan2(1.0, 1.0));
    EXPECT_EQ(CartToAngle(-3, 2), std::atan2(2.0, -3.0));
    EXPECT_EQ(CartToAngle(1, -1), std::atan2(-1.0, 1.0) + 6.28318530718);
    EXPECT_EQ(CartToAngle(-2, -7), std::atan2(-7.0, -2.0) + 6.28318530718);
}

TEST(CartToAngle, ConstantsAreAsWritten) {
    EXPECT_EQ(ANGLE_HALF_PI, 1.570796326795);
    EXPECT_EQ(ANGLE_PI, 3.14159265359);
    EXPECT_EQ(ANGLE_THREE_HALVES_PI, 4.712388980385);
    EXPECT_EQ(ANGLE_TWO_PI, 6.28318530718);
    EXPECT_NE(ANGLE_PI, std::acos(-1.0));
}

TEST(ConvertToPloar, EmptyVectorDoesNothing) {
    std::vector<_position> edge;
    ConvertToPloar(edge, _point<int>{3, 4});
    EXPECT_TRUE(edge.empty());
}

TEST(ConvertToPloar, SampleAtCentreHasZeroRadiusAndAngle) {
    std::vector<_position> edge = {{3, 4, 9.0, 9.0}};
    ConvertToPloar(edge, _point<int>{3, 4});
    EXPECT_EQ(edge[0].radius, 0.0);
    EXPECT_EQ(edge[0].angle, 0.0);
}

TEST(ConvertToPloar, ZeroAboveAndRisingToTheLeft) {
    std::vector<_position> edge = {
        {10, 5, 0, 0}, {5, 10, 0, 0}, {10, 15, 0, 0}, {15, 10, 0, 0}, {13, 14, 0, 0}};
    ConvertToPloar(edge, _point<int>{10, 10});
    EXPECT_EQ(edge[0].angle, 0.0);             // above
    EXPECT_EQ(edge[1].angle, 1.570796326795);  // left
    EXPECT_EQ(edge[2].angle, 3.14159265359);   // below
    EXPECT_EQ(edge[3].angle, 4.712388980385);  // right
    EXPECT_EQ(edge[0].radius, 5.0);
    EXPECT_EQ(edge[4].radius, 5.0);
    EXPECT_EQ(edge[4].angle, std::atan2(-3.0, -4.0) + 6.28318530718);
}

TEST(GetRotateAngle, EqualPointsGiveZero) {
    EXPECT_EQ(GetRotateAngle(_point<int>{2, 3}, _point<int>{2, 3}), 0.0);
}

TEST(GetRotateAngle, VerticalPairIsAlwaysPlusHalfPi) {
    EXPECT_EQ(GetRotateAngle(_point<int>{2, 3}, _point<int>{2, 9}), 1.570796326795);
    EXPECT_EQ(GetRotateAngle(_point<int>{2, 9}, _point<int>{2, 3}), 1.570796326795);
}

TEST(GetRotateAngle, SignFollowsWhichPointIsHigher) {
    // b above a (smaller y): positive, whatever the horizontal order.
    EXPECT_EQ(GetRotateAngle(_point<int>{0, 10}, _point<int>{10, 0}), std::atan(1.0));
    EXPECT_EQ(GetRotateAngle(_point<int>{10, 10}, _point<int>{0, 0}), std::atan(1.0));
    EXPECT_EQ(GetRotateAngle(_point<int>{0, 0}, _point<int>{20, 10}), -std::atan(0.5));
    EXPECT_EQ(GetRotateAngle(_point<int>{5, 0}, _point<int>{3, 1}), -std::atan(0.5));
}

}  // namespace
