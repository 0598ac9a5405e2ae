#include "palm/calibration/lm_optimize.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "calib_test_helpers.h"

using namespace palm_calib;

using calib_test::Column;
using calib_test::Image;

namespace {

const double kPi = 3.14159265358979323846;

// Pixels on the circles of a pencil: for each R, `per_curve` points of the
// circle through (x0, y0) +- a (cos t, -sin t), spread over an arc.
void SamplePencil(const matrix<double>& p, int per_curve, matrix<double>& points,
                  matrix<double>& counts) {
    unsigned const n = p.rows - 4;
    points = matrix<double>(2, n * per_curve);
    counts = matrix<double>(n, 1);
    double const x0 = p.data[0], y0 = p.data[1], t = p.data[2] * kPi / 180, a = p.data[3];
    for (unsigned c = 0; c < n; ++c) {
        double const R = p.data[4 + c];
        double const cx = x0 + R * std::sin(t), cy = y0 + R * std::cos(t);
        double const r = std::sqrt(R * R + a * a);
        // The arc nearest the midpoint, where a lens curve is seen.
        double const mid = std::atan2(y0 - cy, x0 - cx);
        for (int k = 0; k < per_curve; ++k) {
            double const ang = mid + (k - per_curve / 2) * 0.6 / per_curve * (400.0 / r);
            points[0][c * per_curve + k] = cx + r * std::cos(ang);
            points[1][c * per_curve + k] = cy + r * std::sin(ang);
        }
        counts.data[c] = per_curve;
    }
}

bool SameBits(const matrix<double>& a, const matrix<double>& b) {
    return a.rows == b.rows && a.cols == b.cols &&
           std::memcmp(a.data, b.data, a.element_count() * sizeof(double)) == 0;
}

// A and g are J^T J and J^T f, bit for bit; J and f are handed back.
void ExpectNormalEquations(const matrix<double>& p, const matrix<double>& points,
                           const matrix<double>& counts, matrix<double>& J, matrix<double>& f) {
    matrix<double> A, g;
    CalcMatrix_J(p, points, counts, J);
    CalcVector_f(p, points, counts, f);
    CalcMatrix_A(p, points, counts, A);
    CalcVector_g(p, points, counts, g);
    matrix<double> Jt(J);
    Jt.transpose();
    EXPECT_TRUE(SameBits(Jt * J, A));
    EXPECT_TRUE(SameBits(Jt * f, g));
}

matrix<double> TruePencil() {
    return Column({310, 245, 1.5, 450, 700, 1100, 1900, -1800, -1000, -650});
}

}  // namespace

TEST(LmOptimize, ResidualIsTheSignedDistanceFromTheCircle) {
    // Common points (+-3, 0); R = 4 puts the centre at (0, 4), radius 5.
    matrix<double> p = Column({0, 0, 0, 3, 4});
    matrix<double> points(2, 3);
    double const xs[3] = {0, 0, 3}, ys[3] = {9, 10, 4};
    for (int i = 0; i < 3; ++i) {
        points[0][i] = xs[i];
        points[1][i] = ys[i];
    }
    matrix<double> counts = Column({3});
    matrix<double> f;
    CalcVector_f(p, points, counts, f);
    ASSERT_EQ(3u, f.rows);
    EXPECT_DOUBLE_EQ(0.0, f.data[0]);
    EXPECT_DOUBLE_EQ(1.0, f.data[1]);
    EXPECT_DOUBLE_EQ(-2.0, f.data[2]);
    EXPECT_DOUBLE_EQ(5.0, CalcResidue(p, points, counts));
    EXPECT_DOUBLE_EQ(2.5, CalcValue_F(p, points, counts));
}

TEST(LmOptimize, AngleIsInDegrees) {
    // At 90 degrees the centre of R = 4 moves to (4, 0).
    matrix<double> p = Column({0, 0, 90, 3, 4});
    matrix<double> points(2, 1);
    points[0][0] = 9;
    points[1][0] = 0;
    matrix<double> f;
    CalcVector_f(p, points, Column({1}), f);
    EXPECT_NEAR(0.0, f.data[0], 1e-9);
}

TEST(LmOptimize, CountsAreTruncatedAndBounded) {
    matrix<double> p = Column({0, 0, 0, 3, 4, 4});
    matrix<double> points(2, 4);
    for (int i = 0; i < 4; ++i)
        points[1][i] = 10;  // f = 1 on either curve
    matrix<double> f;
    // 1.9 is one pixel, and the second curve's 7 are bounded by the three left.
    CalcVector_f(p, points, Column({1.9, 7}), f);
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(1.0, f.data[i], 1e-12) << i;
    // Pixels beyond the counts, or of a curve without a parameter, stay 0.
    CalcVector_f(p, points, Column({1, 1}), f);
    EXPECT_EQ(0.0, f.data[2]);
    CalcVector_f(Column({0, 0, 0, 3, 4}), points, Column({1, 1}), f);
    EXPECT_NEAR(1.0, f.data[0], 1e-12);
    EXPECT_EQ(0.0, f.data[1]);
}

TEST(LmOptimize, BadInputGivesZeros) {
    matrix<double> points(2, 2);
    matrix<double> f, J;
    CalcVector_f(Column({1, 2}), points, Column({2}), f);
    ASSERT_EQ(2u, f.rows);
    EXPECT_EQ(0.0, f.data[0]);
    CalcVector_f(Column({0, 0, 0, 3, 4}), matrix<double>(), Column({2}), f);
    EXPECT_EQ(0u, f.rows);
    CalcVector_f(Column({0, 0, 0, 3, 4}), points, Column({-5}), f);
    EXPECT_EQ(0.0, f.data[0]);
    CalcVector_f(Column({0, 0, 0, 3, 4}), points, Column({std::nan("")}), f);
    EXPECT_EQ(0.0, f.data[1]);
    CalcMatrix_J(Column({0, 0, 0, 3, 4}), points, matrix<double>(), J);
    EXPECT_EQ(2u, J.rows);
    EXPECT_EQ(5u, J.cols);
}

TEST(LmOptimize, JacobianMatchesDifferences) {
    matrix<double> p = TruePencil();
    matrix<double> points, counts;
    SamplePencil(p, 20, points, counts);
    // Move the pixels off their circles so that no residual is 0.
    for (unsigned i = 0; i < points.cols; ++i)
        points[1][i] += (i % 3) - 1.0;
    matrix<double> J, f0, f1;
    CalcMatrix_J(p, points, counts, J);
    ASSERT_EQ(points.cols, J.rows);
    ASSERT_EQ(p.rows, J.cols);
    CalcVector_f(p, points, counts, f0);
    for (unsigned k = 0; k < p.rows; ++k) {
        matrix<double> q(p);
        double const step = 1e-6 * std::max(1.0, std::fabs(p.data[k]));
        q.data[k] += step;
        CalcVector_f(q, points, counts, f1);
        for (unsigned i = 0; i < points.cols; i += 7) {
            double const numeric = (f1.data[i] - f0.data[i]) / step;
            EXPECT_NEAR(numeric, J[i][k], 1e-4 * std::max(1.0, std::fabs(numeric)))
                << "pixel " << i << " parameter " << k;
        }
    }
}

TEST(LmOptimize, NormalEquations) {
    matrix<double> p = TruePencil();
    matrix<double> points, counts;
    SamplePencil(p, 5, points, counts);
    points[0][3] += 2;
    matrix<double> J, f;
    ExpectNormalEquations(p, points, counts, J, f);
    // l = f + J h and L is half its squared length.
    matrix<double> h = Column({0.1, -0.2, 0.01, 0.5, 1, 2, 3, 4, 5, 6});
    matrix<double> l;
    CalcVector_l(p, points, counts, h, l);
    matrix<double> const l2 = f + J * h;
    double sum = 0;
    for (std::size_t i = 0; i < l.element_count(); ++i) {
        EXPECT_EQ(l2.data[i], l.data[i]);
        sum += l.data[i] * l.data[i];
    }
    EXPECT_DOUBLE_EQ(0.5 * sum, CalcValue_L(p, points, counts, h));
}

TEST(LmOptimize, MaxDiagonal) {
    matrix<double> a(3, 3);
    a[0][0] = 2;
    a[1][1] = 7;
    a[2][2] = 5;
    a[0][2] = 100;
    EXPECT_EQ(7.0, GetMaxDiagElement(a));
    EXPECT_EQ(0.0, GetMaxDiagElement(matrix<double>(2, 3)));
    EXPECT_EQ(0.0, GetMaxDiagElement(matrix<double>()));
}

TEST(LmOptimize, StepSolvesTheDampedSystem) {
    matrix<double> A(2, 2);
    A[0][0] = 1;
    A[0][1] = 2;
    A[1][0] = 3;
    A[1][1] = 1;
    matrix<double> h;
    // (A + I) = [[2, 2], [3, 2]], inverse [[-1, 1], [1.5, -1]].
    CalcVector_h(A, 1.0, Column({1, 2}), h);
    ASSERT_EQ(2u, h.rows);
    EXPECT_DOUBLE_EQ(-1.0, h.data[0]);
    EXPECT_DOUBLE_EQ(0.5, h.data[1]);
}

TEST(LmOptimize, ZeroPivotLeavesThePartlyReducedMatrix) {
    // The zero matrix stops the elimination at once: h = -0 g.
    matrix<double> h;
    CalcVector_h(matrix<double>(2, 2), 0.0, Column({3, 4}), h);
    EXPECT_EQ(0.0, h.data[0]);
    EXPECT_EQ(0.0, h.data[1]);
    // One step of elimination, then a zero pivot: [[1, 0], [0, 0]] has its
    // first pivot inverted in place and the rest left.
    matrix<double> a(2, 2);
    a[0][0] = 4;
    CalcVector_h(a, 0.0, Column({2, 5}), h);
    EXPECT_DOUBLE_EQ(-0.5, h.data[0]);
    EXPECT_EQ(0.0, h.data[1]);
}

TEST(LmOptimize, NonSquareMatrixIsUsedUnchanged) {
    matrix<double> a(1, 2);
    a[0][0] = 2;
    a[0][1] = 3;
    matrix<double> h;
    CalcVector_h(a, 1.0, Column({1, 1}), h);
    // mu lands on the one diagonal element; the product is -(3 + 3).
    ASSERT_EQ(1u, h.rows);
    EXPECT_EQ(-6.0, h.data[0]);
}

TEST(LmOptimize, GainRatio) {
    matrix<double> p = TruePencil();
    matrix<double> points, counts;
    SamplePencil(p, 10, points, counts);
    matrix<double> start(p);
    start.data[0] += 3;
    matrix<double> const zero(p.rows, 1);
    // No step: no predicted gain.
    EXPECT_EQ(0.0, CalcValue_rou(start, start, points, counts, zero));
    // A step toward the solution gains; one away from it loses.
    // (Half the way: the gain ratio evaluates its prediction at the new point,
    // where a full step would predict no gain at all.)
    matrix<double> toward = Column({-1.5, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    double const rho = CalcValue_rou(start, start + toward, points, counts, toward);
    EXPECT_GT(rho, 0.0);
    matrix<double> away = Column({3, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(-1.0, CalcValue_rou(start, start + away, points, counts, away));
}

TEST(LmOptimize, RejectedStepsDoubleTheFactorAndAnAcceptedOneResetsIt) {
    double mu = 1, nu = 2;
    UpdateDamping(-1, mu, nu);
    EXPECT_EQ(2.0, mu);
    UpdateDamping(-1, mu, nu);
    EXPECT_EQ(8.0, mu);
    UpdateDamping(-1, mu, nu);
    EXPECT_EQ(64.0, mu);
    EXPECT_EQ(16.0, nu);
    UpdateDamping(0.5, mu, nu);
    EXPECT_EQ(2.0, nu);
    UpdateDamping(-1, mu, nu);
    EXPECT_EQ(128.0, mu);
}

TEST(LmOptimize, HalfGainLeavesMuAndFullGainCutsItToAThird) {
    double mu = 3, nu = 8;
    UpdateDamping(0.5, mu, nu);
    EXPECT_EQ(3.0, mu);
    UpdateDamping(1.0, mu, nu);
    EXPECT_EQ(3.0 * 0.3333333333333333, mu);
    mu = 1;
    UpdateDamping(0.75, mu, nu);  // 1 - 0.5^3
    EXPECT_EQ(0.875, mu);
    mu = 1;
    UpdateDamping(0.9, mu, nu);  // 1 - 0.8^3 = 0.488, above a third
    EXPECT_NEAR(0.488, mu, 1e-15);
}

TEST(LmOptimize, RecoversAKnownPencilOfCircles) {
    matrix<double> const truth = TruePencil();
    matrix<double> points, counts;
    SamplePencil(truth, 60, points, counts);
    matrix<double> init(truth);
    init.data[0] += 6;
    init.data[1] -= 5;
    init.data[2] += 1.0;
    init.data[3] *= 0.93;
    for (unsigned c = 4; c < init.rows; ++c)
        init.data[c] *= 1.06;
    matrix<double> result;
    double const residue = LM_Optimize(points, counts, init, result, 1e-6, 1e-6, 1000);
    // The run stops once a step is below 1e-6 of the parameters' length, so
    // the poorly held radii of short arcs keep a trace of their start; the
    // common points, which the calibration uses, come out to a few hundredths.
    EXPECT_LT(residue, 1e-3);
    EXPECT_GT(CalcResidue(init, points, counts), 1e4);
    ASSERT_EQ(truth.rows, result.rows);
    auto ends = [](const matrix<double>& p, int side) {
        double const t = p.data[2] * 0.017453292519944444;
        double const s = side == 0 ? -1 : 1;
        return std::make_pair(p.data[0] + s * p.data[3] * std::cos(t),
                              p.data[1] - s * p.data[3] * std::sin(t));
    };
    for (int side = 0; side < 2; ++side) {
        EXPECT_NEAR(ends(truth, side).first, ends(result, side).first, 0.05);
        EXPECT_NEAR(ends(truth, side).second, ends(result, side).second, 0.05);
    }
    EXPECT_NEAR(truth.data[2], result.data[2], 1e-4);
    for (unsigned k = 4; k < truth.rows; ++k)
        EXPECT_NEAR(truth.data[k], result.data[k], 3e-4 * std::fabs(truth.data[k])) << k;
}

TEST(LmOptimize, StartingAtTheSolutionReturnsAtOnce) {
    // Exact circles: pixels at the end points of diameters of integer circles.
    matrix<double> p = Column({0, 0, 0, 3, 4});
    matrix<double> points(2, 4);
    double const xs[4] = {0, 0, 5, -5}, ys[4] = {9, -1, 4, 4};
    for (int i = 0; i < 4; ++i) {
        points[0][i] = xs[i];
        points[1][i] = ys[i];
    }
    matrix<double> counts = Column({4}), g, result;
    CalcVector_g(p, points, counts, g);
    EXPECT_EQ(0.0, g.norminf());
    EXPECT_EQ(0.0, LM_Optimize(points, counts, p, result, 1e-6, 1e-6, 1000));
    for (int k = 0; k < 5; ++k)
        EXPECT_EQ(p.data[k], result.data[k]);
}

TEST(LmOptimize, NoIterationsReturnTheStartAndItsResidue) {
    matrix<double> const truth = TruePencil();
    matrix<double> points, counts;
    SamplePencil(truth, 10, points, counts);
    matrix<double> init(truth);
    init.data[0] += 4;
    matrix<double> result;
    double const residue = LM_Optimize(points, counts, init, result, 1e-6, 1e-6, 0);
    EXPECT_EQ(CalcResidue(init, points, counts), residue);
    for (unsigned k = 0; k < init.rows; ++k)
        EXPECT_EQ(init.data[k], result.data[k]);
    EXPECT_EQ(residue, LM_Optimize(points, counts, init, result, 1e-6, 1e-6, -3));
}

namespace {

// The iteration step by step from the public functions, as the method is
// written: every quantity evaluated afresh from the parameters.
double ReferenceOptimize(const matrix<double>& points, const matrix<double>& counts,
                         const matrix<double>& init, matrix<double>& result, double eps1,
                         double eps2, int kmax) {
    matrix<double> x(init), A, g, h;
    double nu = 2;
    CalcMatrix_A(x, points, counts, A);
    CalcVector_g(x, points, counts, g);
    double mu = 0.001 * GetMaxDiagElement(A);
    if (g.norminf() > eps1 && kmax > 0) {
        for (int k = 0; k < kmax; ++k) {
            CalcVector_h(A, mu, g, h);
            if (h.norm1() <= (x.norm1() + eps2) * eps2)
                break;
            matrix<double> const x_new = x + h;
            double const rho = CalcValue_rou(x, x_new, points, counts, h);
            if (rho == 0)
                break;
            if (rho > 0) {
                x = x_new;
                CalcMatrix_A(x, points, counts, A);
                CalcVector_g(x, points, counts, g);
                UpdateDamping(rho, mu, nu);
                if (g.norminf() <= eps1)
                    break;
            } else {
                UpdateDamping(rho, mu, nu);
            }
        }
    }
    result = x;
    return CalcResidue(x, points, counts);
}

}  // namespace

TEST(LmOptimize, SameResultAsTheIterationWrittenOut) {
    // The optimiser evaluates f and J once per point and skips the entries of
    // J that belong to other curves; its results are those of the plain
    // iteration bit for bit.
    for (int trial = 0; trial < 3; ++trial) {
        matrix<double> const truth = TruePencil();
        matrix<double> points, counts;
        SamplePencil(truth, 40 + 10 * trial, points, counts);
        for (unsigned i = 0; i < points.cols; ++i)
            points[1][i] += 0.3 * ((i * 7 + trial) % 5) - 0.6;
        matrix<double> init(truth);
        init.data[0] += 4 + trial;
        init.data[3] *= 0.95;
        for (unsigned c = 4; c < init.rows; ++c)
            init.data[c] *= 1.04;
        matrix<double> fast, plain;
        double const r1 = LM_Optimize(points, counts, init, fast, 1e-6, 1e-6, 1000);
        double const r2 = ReferenceOptimize(points, counts, init, plain, 1e-6, 1e-6, 1000);
        EXPECT_EQ(0, std::memcmp(&r1, &r2, sizeof r1)) << trial;
        EXPECT_TRUE(SameBits(fast, plain)) << trial;
    }
}

TEST(LmOptimize, NonFiniteJacobianTakesTheFullProducts) {
    // A pixel at the centre of its circle divides by zero: the products of
    // J then carry the NaN of 0 times infinity, as the full products do.
    matrix<double> p = Column({0, 0, 0, 3, 4, 5});
    matrix<double> points(2, 3);
    points[0][0] = 0;
    points[1][0] = 4;  // the centre of curve 0
    points[0][1] = 5;
    points[1][1] = 4;
    points[0][2] = 1;
    points[1][2] = 9;
    matrix<double> counts = Column({2, 1});
    matrix<double> J, f, A;
    ExpectNormalEquations(p, points, counts, J, f);
    CalcMatrix_A(p, points, counts, A);
    EXPECT_TRUE(std::isnan(A[5][0]));  // curve 1's column against a NaN row
}
