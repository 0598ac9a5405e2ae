#include "palm/calibration/geometry.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace palm_geometry;
using palm_struct::_point;
using palm_struct::SCircle;
using palm_struct::SLine;

namespace {
_point<double> P(double x, double y) {
    return _point<double>{x, y};
}
}  // namespace

TEST(Geometry, HorizontalVerticalAndSlantedLines) {
    SLine l;
    CalcLine(P(1, 7), P(5, 7), l);
    EXPECT_EQ(0.0, l.a);
    EXPECT_EQ(1.0, l.b);
    EXPECT_EQ(-7.0, l.c);
    CalcLine(P(3, 1), P(3, 9), l);
    EXPECT_EQ(1.0, l.a);
    EXPECT_EQ(0.0, l.b);
    EXPECT_EQ(-3.0, l.c);
    CalcLine(P(0, 1), P(2, 5), l);
    EXPECT_EQ(2.0, l.a);
    EXPECT_EQ(-1.0, l.b);
    EXPECT_EQ(1.0, l.c);
    // Coincident points take the vertical case.
    CalcLine(P(4, 4), P(4, 4), l);
    EXPECT_EQ(1.0, l.a);
    EXPECT_EQ(-4.0, l.c);
}

TEST(Geometry, PerpendicularLines) {
    SLine out{9, 9, 9};
    CalcPerpendicularLine(SLine{0, 1, -3}, P(2, 5), out);
    EXPECT_EQ(1.0, out.a);
    EXPECT_EQ(0.0, out.b);
    EXPECT_EQ(-2.0, out.c);
    CalcPerpendicularLine(SLine{1, 0, -3}, P(2, 5), out);
    EXPECT_EQ(0.0, out.a);
    EXPECT_EQ(1.0, out.b);
    EXPECT_EQ(-5.0, out.c);
    CalcPerpendicularLine(SLine{2, -1, 1}, P(2, 5), out);
    EXPECT_EQ(1.0, out.a);
    EXPECT_EQ(2.0, out.b);
    EXPECT_EQ(-12.0, out.c);
    SLine untouched{7, 8, 9};
    CalcPerpendicularLine(SLine{0, 0, 1}, P(2, 5), untouched);
    EXPECT_EQ(7.0, untouched.a);
}

TEST(Geometry, ParallelLinesLeaveTheOutputUntouched) {
    _point<double> out = P(-1, -2);
    LineLineIntersectPoint(SLine{2, -1, 1}, SLine{2, -1, 5}, out);
    EXPECT_EQ(-1.0, out.x);
    EXPECT_EQ(-2.0, out.y);
    LineLineIntersectPoint(SLine{0, 0, 1}, SLine{1, 0, 5}, out);
    EXPECT_EQ(-1.0, out.x);
}

TEST(Geometry, LinesCrossInEachBranch) {
    _point<double> out{0, 0};
    LineLineIntersectPoint(SLine{0, 1, -3}, SLine{1, 0, -2}, out);  // a1 = 0
    EXPECT_EQ(2.0, out.x);
    EXPECT_EQ(3.0, out.y);
    LineLineIntersectPoint(SLine{1, 0, -2}, SLine{1, -1, 1}, out);  // b1 = 0
    EXPECT_EQ(2.0, out.x);
    EXPECT_EQ(3.0, out.y);
    LineLineIntersectPoint(SLine{1, -1, 1}, SLine{0, 1, -3}, out);  // a2 = 0
    EXPECT_EQ(2.0, out.x);
    EXPECT_EQ(3.0, out.y);
    LineLineIntersectPoint(SLine{1, -1, 1}, SLine{1, 0, -2}, out);  // b2 = 0
    EXPECT_EQ(2.0, out.x);
    EXPECT_EQ(3.0, out.y);
    LineLineIntersectPoint(SLine{1, -1, 1}, SLine{1, 1, -5}, out);  // general
    EXPECT_EQ(2.0, out.x);
    EXPECT_EQ(3.0, out.y);
}

TEST(Geometry, MidPointDistRotate) {
    _point<double> m = MidPoint(P(1, 2), P(3, 8));
    EXPECT_EQ(2.0, m.x);
    EXPECT_EQ(5.0, m.y);
    EXPECT_EQ(5.0, Dist(P(0, 0), P(3, 4)));
    _point<double> r{0, 0};
    RotatePoint(P(1, 0), std::atan(1.0) * 2, r);
    EXPECT_NEAR(0.0, r.x, 1e-15);
    EXPECT_NEAR(1.0, r.y, 1e-15);
}

TEST(Geometry, PointOnALineThroughTheOriginHasDistanceZero) {
    SLine l;
    CalcLine(P(0, 0), P(2, 6), l);
    EXPECT_EQ(0.0, Point2LineDist(P(1, 3), l));
    EXPECT_EQ(0.0, Point2LineDist(P(5, 5), SLine{0, 0, 3}));  // no line
    EXPECT_DOUBLE_EQ(2.0, Point2LineDist(P(5, 2), SLine{1, 0, -3}));
}

TEST(Geometry, CollinearOnlyWhenTheProductsAreExactlyEqual) {
    EXPECT_TRUE(IsCollinear(P(0, 0), P(1, 3), P(2, 6)));
    EXPECT_FALSE(IsCollinear(P(0, 0), P(1, 3), P(2, 6.000000001)));
    EXPECT_TRUE(IsCollinear(P(0, 1), P(5, 1), P(9, 1)));
}

TEST(Geometry, CircleThroughThreePoints) {
    SCircle c{1, 1, 1};
    CalcCircle(P(5, 0), P(0, 5), P(-5, 0), c);
    EXPECT_NEAR(0.0, c.x, 1e-12);
    EXPECT_NEAR(0.0, c.y, 1e-12);
    EXPECT_NEAR(5.0, c.r, 1e-12);
    CalcCircle(P(12, 3), P(10, 5), P(8, 3), c);
    EXPECT_NEAR(10.0, c.x, 1e-12);
    EXPECT_NEAR(3.0, c.y, 1e-12);
    EXPECT_NEAR(2.0, c.r, 1e-12);
}

TEST(Geometry, CollinearPointsGiveTheOriginAndTheirMeanDistanceFromIt) {
    SCircle c{1, 1, 1};
    CalcCircle(P(1, 1), P(2, 2), P(4, 4), c);
    EXPECT_EQ(0.0, c.x);
    EXPECT_EQ(0.0, c.y);
    double const expected =
        (std::sqrt(8.0) + std::sqrt(2.0) + std::sqrt(32.0)) * 0.3333333333333333;
    EXPECT_EQ(expected, c.r);
}

TEST(Geometry, AngleOfALineKeepsOnlyTheHalfCircle) {
    EXPECT_EQ(3.14159265359 / 2, CalcAngle(P(1, 1), P(1, 5)));
    EXPECT_EQ(0.0, CalcAngle(P(1, 1), P(5, 1)));
    EXPECT_DOUBLE_EQ(std::atan(1.0), CalcAngle(P(0, 0), P(2, 2)));
    EXPECT_DOUBLE_EQ(std::atan(1.0), CalcAngle(P(2, 2), P(0, 0)));
}

TEST(Geometry, CirclesAtDifferentHeights) {
    _point<double> out[2] = {P(0, 0), P(0, 0)};
    CircleCircleIntersectPoint(SCircle{0, 0, 5}, SCircle{0, 6, 5}, out);
    EXPECT_NEAR(-4.0, out[0].x, 1e-12);
    EXPECT_NEAR(3.0, out[0].y, 1e-12);
    EXPECT_NEAR(4.0, out[1].x, 1e-12);
    EXPECT_NEAR(3.0, out[1].y, 1e-12);
}

TEST(Geometry, CirclesAtTheSameHeightAlwaysAddTheOffset) {
    _point<double> out[2] = {P(0, 0), P(0, 0)};
    CircleCircleIntersectPoint(SCircle{0, 0, 5}, SCircle{6, 0, 5}, out);
    EXPECT_DOUBLE_EQ(3.0, out[0].x);
    EXPECT_DOUBLE_EQ(4.0, out[0].y);
    EXPECT_DOUBLE_EQ(-4.0, out[1].y);
    // The second circle on the left: x is still x1 + u, not x1 - u.
    CircleCircleIntersectPoint(SCircle{0, 0, 5}, SCircle{-6, 0, 5}, out);
    EXPECT_DOUBLE_EQ(3.0, out[0].x);
    EXPECT_DOUBLE_EQ(3.0, out[1].x);
    // Too far apart: untouched.
    _point<double> far[2] = {P(9, 9), P(9, 9)};
    CircleCircleIntersectPoint(SCircle{0, 0, 1}, SCircle{5, 0, 1}, far);
    EXPECT_EQ(9.0, far[0].x);
    EXPECT_EQ(9.0, far[1].y);
}

TEST(Geometry, CirclesThatDoNotMeetAtDifferentHeightsGiveNotANumber) {
    _point<double> out[2] = {P(0, 0), P(0, 0)};
    CircleCircleIntersectPoint(SCircle{0, 0, 1}, SCircle{0, 10, 1}, out);
    EXPECT_TRUE(std::isnan(out[0].x));
}

TEST(Geometry, CircleAndLine) {
    _point<double> a{0, 0}, b{0, 0};
    CircleLineIntersectPoint(SCircle{0, 0, 5}, SLine{0, 1, -3}, a, b);  // y = 3
    EXPECT_DOUBLE_EQ(-4.0, a.x);
    EXPECT_DOUBLE_EQ(4.0, b.x);
    EXPECT_DOUBLE_EQ(3.0, a.y);
    CircleLineIntersectPoint(SCircle{0, 0, 5}, SLine{1, 0, -3}, a, b);  // x = 3
    EXPECT_DOUBLE_EQ(-4.0, a.y);
    EXPECT_DOUBLE_EQ(4.0, b.y);
    CircleLineIntersectPoint(SCircle{0, 0, 5}, SLine{1, -1, 0}, a, b);  // y = x
    EXPECT_NEAR(-std::sqrt(12.5), a.y, 1e-12);
    EXPECT_NEAR(std::sqrt(12.5), b.y, 1e-12);
    EXPECT_NEAR(a.y, a.x, 1e-12);
    // An axis line that misses the circle, and no line: untouched.
    _point<double> c{7, 7}, d{7, 7};
    CircleLineIntersectPoint(SCircle{0, 0, 1}, SLine{0, 1, -3}, c, d);
    CircleLineIntersectPoint(SCircle{0, 0, 1}, SLine{1, 0, -3}, c, d);
    CircleLineIntersectPoint(SCircle{0, 0, 1}, SLine{0, 0, -3}, c, d);
    EXPECT_EQ(7.0, c.x);
    EXPECT_EQ(7.0, d.y);
    // A slanted line that misses: not-a-number, not tested by the function.
    CircleLineIntersectPoint(SCircle{0, 0, 1}, SLine{1, -1, 10}, c, d);
    EXPECT_TRUE(std::isnan(c.y));
}
