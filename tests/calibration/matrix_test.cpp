#include "palm/calibration/matrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <random>
#include <vector>

using palm_calib::conv2;
using palm_calib::gradient;
using palm_calib::ppp;
using palm_calib::sss;
using palm_calib::svd_real_matrix;
using palm_struct::matrix;

namespace {

matrix<double> Make(unsigned rows, unsigned cols, std::initializer_list<double> values) {
    matrix<double> m(rows, cols);
    unsigned i = 0;
    for (double v : values)
        m.data[i++] = v;
    return m;
}

void ExpectElements(const matrix<double>& m, unsigned rows, unsigned cols,
                    std::initializer_list<double> values) {
    ASSERT_EQ(rows, m.rows);
    ASSERT_EQ(cols, m.cols);
    unsigned i = 0;
    for (double v : values) {
        EXPECT_EQ(v, m.data[i]) << "element " << i;
        ++i;
    }
}

}  // namespace

TEST(Matrix, ConstructedWithSizesHoldsZerosRowAfterRow) {
    matrix<double> m(2, 3);
    ExpectElements(m, 2, 3, {0, 0, 0, 0, 0, 0});
    m[1][2] = 5;
    EXPECT_EQ(5.0, m.data[1 * 3 + 2]);
    EXPECT_EQ(m.data + 5, m(1, 2));
    matrix<double> empty;
    EXPECT_EQ(nullptr, empty.data);
    EXPECT_EQ(0u, empty.rows);
    EXPECT_EQ(0u, empty.cols);
}

TEST(Matrix, BoolMatrixForGraphs) {
    matrix<bool> g(33, 33);
    EXPECT_FALSE(g[32][32]);
    g[3][4] = true;
    matrix<bool> copy(g);
    EXPECT_TRUE(copy[3][4]);
    EXPECT_FALSE(copy[4][3]);
}

TEST(Matrix, CopyingCopiesTheElements) {
    matrix<double> a = Make(2, 2, {1, 2, 3, 4});
    matrix<double> b(a);
    b[0][0] = 9;
    EXPECT_EQ(1.0, a[0][0]);
    matrix<double> c;
    c = a;
    c[1][1] = 8;
    EXPECT_EQ(4.0, a[1][1]);
    ExpectElements(c, 2, 2, {1, 2, 3, 8});
}

TEST(Matrix, ReallocateWithTheSameCountKeepsTheContents) {
    matrix<double> m = Make(2, 3, {1, 2, 3, 4, 5, 6});
    double* before = m.data;
    EXPECT_TRUE(m.reallocate_matrix(3, 2));
    EXPECT_EQ(before, m.data);
    ExpectElements(m, 3, 2, {1, 2, 3, 4, 5, 6});
    EXPECT_TRUE(m.reallocate_matrix(6, 1));
    ExpectElements(m, 6, 1, {1, 2, 3, 4, 5, 6});
}

TEST(Matrix, ReallocateWithAnotherCountGivesZeros) {
    matrix<double> m = Make(2, 2, {1, 2, 3, 4});
    EXPECT_TRUE(m.reallocate_matrix(2, 3));
    ExpectElements(m, 2, 3, {0, 0, 0, 0, 0, 0});
    EXPECT_TRUE(m.reallocate_matrix(0, 5));
    EXPECT_EQ(nullptr, m.data);
    EXPECT_EQ(0u, m.rows);
    EXPECT_EQ(5u, m.cols);
}

TEST(Matrix, OversizedReallocationIsRefusedAndKeepsTheMatrix) {
    matrix<double> m = Make(1, 2, {7, 8});
    EXPECT_FALSE(m.reallocate_matrix(100000, 100000));
    ExpectElements(m, 1, 2, {7, 8});
    EXPECT_FALSE(m.reallocate_matrix(0xffffffffu, 0xffffffffu));
    ExpectElements(m, 1, 2, {7, 8});
    matrix<double> huge(0xffffffffu, 3);
    EXPECT_EQ(nullptr, huge.data);
    EXPECT_EQ(0u, huge.rows);
}

TEST(Matrix, ReleaseEmptiesTheMatrix) {
    matrix<double> m = Make(2, 2, {1, 2, 3, 4});
    m.release();
    EXPECT_EQ(nullptr, m.data);
    EXPECT_EQ(0u, m.rows);
    EXPECT_EQ(0u, m.cols);
    m.release();
    EXPECT_EQ(nullptr, m.data);
}

TEST(Matrix, RowBeyondTheLastIsNull) {
    matrix<double> m(2, 2);
    EXPECT_NE(nullptr, m[1]);
    EXPECT_EQ(nullptr, m[2]);
    EXPECT_EQ(nullptr, m(2, 0));
    const matrix<double>& c = m;
    EXPECT_EQ(nullptr, c[7]);
}

TEST(Matrix, ElementWiseOperations) {
    matrix<double> a = Make(2, 2, {1, 2, 3, 4});
    matrix<double> b = Make(2, 2, {10, 20, 30, 40});
    ExpectElements(a + b, 2, 2, {11, 22, 33, 44});
    ExpectElements(b - a, 2, 2, {9, 18, 27, 36});
    ExpectElements(a.dot_multiple(b), 2, 2, {10, 40, 90, 160});
    ExpectElements(a * 2.0, 2, 2, {2, 4, 6, 8});
    ExpectElements(a + 0.5, 2, 2, {1.5, 2.5, 3.5, 4.5});
}

TEST(Matrix, SizeMismatchGivesACopyOfTheLeftOperand) {
    matrix<double> a = Make(2, 2, {1, 2, 3, 4});
    matrix<double> b = Make(1, 4, {10, 20, 30, 40});
    ExpectElements(a + b, 2, 2, {1, 2, 3, 4});
    ExpectElements(a - b, 2, 2, {1, 2, 3, 4});
    ExpectElements(a.dot_multiple(b), 2, 2, {1, 2, 3, 4});
    ExpectElements(a * b, 2, 2, {1, 2, 3, 4});
    ExpectElements(b * a, 1, 4, {10, 20, 30, 40});
}

TEST(Matrix, Product) {
    matrix<double> a = Make(2, 3, {1, 2, 3, 4, 5, 6});
    matrix<double> b = Make(3, 2, {7, 8, 9, 10, 11, 12});
    ExpectElements(a * b, 2, 2, {58, 64, 139, 154});
    ExpectElements(b * a, 3, 3, {39, 54, 69, 49, 68, 87, 59, 82, 105});
}

TEST(Matrix, TransposeExchangesRowsAndColumns) {
    matrix<double> a = Make(2, 3, {1, 2, 3, 4, 5, 6});
    a.transpose();
    ExpectElements(a, 3, 2, {1, 4, 2, 5, 3, 6});
    matrix<double> v = Make(1, 3, {1, 2, 3});
    v.transpose();
    ExpectElements(v, 3, 1, {1, 2, 3});
}

TEST(Matrix, SubMatrix) {
    matrix<double> a = Make(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    ExpectElements(a.sub_matrix(1, 1, 2, 2), 2, 2, {5, 6, 8, 9});
    ExpectElements(a.sub_matrix(0, 2, 3, 1), 3, 1, {3, 6, 9});
}

TEST(Matrix, SubMatrixReachingOverTheEdgeIsTheWholeMatrix) {
    matrix<double> a = Make(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    ExpectElements(a.sub_matrix(1, 1, 3, 2), 3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    ExpectElements(a.sub_matrix(0, 0xffffffffu, 1, 2), 3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
}

TEST(Matrix, Norm1IsTheLengthOfAVector) {
    EXPECT_EQ(5.0, Make(1, 2, {3, -4}).norm1());
    EXPECT_EQ(13.0, Make(2, 1, {-5, 12}).norm1());
}

TEST(Matrix, Norm1OfATwoByTwoMatrixIsZero) {
    EXPECT_EQ(0.0, Make(2, 2, {3, 4, 5, 6}).norm1());
    EXPECT_EQ(0.0, matrix<double>().norm1());
}

TEST(Matrix, NormInf) {
    EXPECT_EQ(7.0, Make(1, 3, {3, -7, 5}).norminf());
    EXPECT_EQ(7.0, Make(3, 1, {3, -7, 5}).norminf());
    EXPECT_EQ(15.0, Make(2, 2, {3, -4, -5, 10}).norminf());
    EXPECT_EQ(0.0, matrix<double>().norminf());
}

TEST(Conv2, AKernelOfTwoByThreeChangesNothing) {
    matrix<double> m = Make(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    conv2(m, Make(2, 3, {1, 1, 1, 1, 1, 1}));
    ExpectElements(m, 3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    conv2(m, Make(3, 2, {1, 1, 1, 1, 1, 1}));
    ExpectElements(m, 3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
}

TEST(Conv2, KernelIsFlippedAndTheBorderKept) {
    // A kernel that picks the left neighbour after flipping: k = [0 0 1]
    // flipped reads the element at c - 1.
    matrix<double> m = Make(2, 4, {1, 2, 3, 4, 5, 6, 7, 8});
    conv2(m, Make(1, 3, {0, 0, 1}));
    ExpectElements(m, 2, 4, {1, 1, 2, 4, 5, 5, 6, 8});
    // Column kernel [1 0 0] flipped reads the row below.
    matrix<double> n = Make(3, 2, {1, 2, 3, 4, 5, 6});
    conv2(n, Make(3, 1, {1, 0, 0}));
    ExpectElements(n, 3, 2, {1, 2, 5, 6, 5, 6});
}

TEST(Conv2, SumsReadTheInputAsItWas) {
    matrix<double> m = Make(1, 5, {1, 2, 3, 4, 5});
    conv2(m, Make(1, 3, {1, 1, 1}));
    ExpectElements(m, 1, 5, {1, 6, 9, 12, 5});
}

TEST(Conv2, KernelLargerThanTheMatrixLeavesItAllBorder) {
    matrix<double> m = Make(2, 2, {1, 2, 3, 4});
    conv2(m, Make(3, 3, {1, 1, 1, 1, 1, 1, 1, 1, 1}));
    ExpectElements(m, 2, 2, {1, 2, 3, 4});
    matrix<double> empty;
    conv2(empty, Make(1, 1, {2}));
    EXPECT_EQ(nullptr, empty.data);
}

TEST(Gradient, CentralInsideOneSidedAtTheEdges) {
    matrix<double> m = Make(3, 3, {1, 2, 4, 2, 5, 9, 4, 9, 16});
    matrix<double> gx, gy;
    gradient(m, gx, gy);
    ExpectElements(gx, 3, 3, {1, 1.5, 2, 3, 3.5, 4, 5, 6, 7});
    ExpectElements(gy, 3, 3, {1, 3, 5, 1.5, 3.5, 6, 2, 4, 7});
}

TEST(Gradient, SingleRowOrColumnHasNoDifferenceAcrossIt) {
    matrix<double> m = Make(1, 3, {1, 3, 7});
    matrix<double> gx, gy;
    gradient(m, gx, gy);
    ExpectElements(gx, 1, 3, {2, 3, 4});
    ExpectElements(gy, 1, 3, {0, 0, 0});
    gradient(matrix<double>(), gx, gy);
    EXPECT_EQ(nullptr, gx.data);
    EXPECT_EQ(nullptr, gy.data);
}

TEST(Sss, BothZeroIsTheIdentity) {
    double fg[2] = {0, 0};
    double cs[2] = {7, 7};
    sss(fg, cs);
    EXPECT_EQ(1.0, cs[0]);
    EXPECT_EQ(0.0, cs[1]);
    EXPECT_EQ(0.0, fg[0]);
}

TEST(Sss, LargerFirstGivesTheSineAsCode) {
    double fg[2] = {-4, 3};
    double cs[2];
    sss(fg, cs);
    EXPECT_EQ(-5.0, fg[0]);
    EXPECT_DOUBLE_EQ(0.8, cs[0]);
    EXPECT_DOUBLE_EQ(-0.6, cs[1]);
    EXPECT_DOUBLE_EQ(-0.6, fg[1]);
}

TEST(Sss, LargerSecondGivesTheInverseCosineAsCode) {
    double fg[2] = {3, -4};
    double cs[2];
    sss(fg, cs);
    EXPECT_EQ(-5.0, fg[0]);
    EXPECT_DOUBLE_EQ(-0.6, cs[0]);
    EXPECT_DOUBLE_EQ(0.8, cs[1]);
    EXPECT_DOUBLE_EQ(1.0 / -0.6, fg[1]);
}

TEST(Sss, TieTakesTheSignOfTheSecond) {
    double fg[2] = {2, -2};
    double cs[2];
    sss(fg, cs);
    EXPECT_LT(fg[0], 0.0);
    EXPECT_DOUBLE_EQ(-std::sqrt(8.0), fg[0]);
    EXPECT_DOUBLE_EQ(1.0 / cs[0], fg[1]);
}

TEST(Sss, ZeroCosineGivesCodeOne) {
    double fg[2] = {0, -3};
    double cs[2];
    sss(fg, cs);
    EXPECT_EQ(-3.0, fg[0]);
    EXPECT_EQ(0.0, cs[0]);
    EXPECT_EQ(1.0, cs[1]);
    EXPECT_EQ(1.0, fg[1]);
}

TEST(Ppp, WritesDiagonalsAndTransposesTheRightFactor) {
    double a[6] = {9, 9, 9, 9, 9, 9};  // 2 by 3
    double s[2] = {5, 4};
    double e[2] = {1, 2};
    double v[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    ppp(a, e, s, v, 2, 3);
    EXPECT_EQ(5.0, a[0]);
    EXPECT_EQ(1.0, a[1]);
    EXPECT_EQ(4.0, a[4]);
    EXPECT_EQ(2.0, a[5]);
    const double vt[9] = {1, 4, 7, 2, 5, 8, 3, 6, 9};
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(vt[i], v[i]);
}

namespace {

struct Decomposition {
    int result;
    std::vector<double> a, u, v;
};

Decomposition Decompose(const std::vector<double>& a, int m, int n, double eps = 1e-12) {
    Decomposition d{0, a, std::vector<double>(m * m, -7.0), std::vector<double>(n * n, -7.0)};
    d.result = svd_real_matrix(d.a.data(), m, n, d.u.data(), d.v.data(), eps);
    return d;
}

// Reconstruction, orthogonal factors, a diagonal of descending non-negative
// values with zeros elsewhere.
void ExpectValidDecomposition(const std::vector<double>& a, int m, int n, const Decomposition& d) {
    ASSERT_EQ(1, d.result);
    double scale = 0;
    for (double x : a)
        scale = std::max(scale, std::fabs(x));
    double const tol = 1e-12 * std::max(1.0, scale) * (m + n);
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < n; ++j) {
            if (i != j) {
                EXPECT_EQ(0.0, d.a[i * n + j]) << i << "," << j;
            }
        }
    }
    int const k = std::min(m, n);
    for (int i = 0; i < k; ++i) {
        EXPECT_GE(d.a[i * n + i], 0.0);
        if (i > 0) {
            EXPECT_LE(d.a[i * n + i], d.a[(i - 1) * n + i - 1]);
        }
    }
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < n; ++j) {
            double sum = 0;
            for (int l = 0; l < k; ++l)
                sum += d.u[i * m + l] * d.a[l * n + l] * d.v[l * n + j];
            EXPECT_NEAR(a[i * n + j], sum, tol) << i << "," << j;
        }
    }
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < m; ++j) {
            double dot = 0;
            for (int l = 0; l < m; ++l)
                dot += d.u[l * m + i] * d.u[l * m + j];
            EXPECT_NEAR(i == j ? 1.0 : 0.0, dot, 1e-12 * m) << "u " << i << "," << j;
        }
    }
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            double dot = 0;
            for (int l = 0; l < n; ++l)
                dot += d.v[i * n + l] * d.v[j * n + l];
            EXPECT_NEAR(i == j ? 1.0 : 0.0, dot, 1e-12 * n) << "v " << i << "," << j;
        }
    }
}

std::vector<double> RandomMatrix(std::mt19937& rng, int m, int n) {
    std::uniform_real_distribution<double> dist(-10.0, 10.0);
    std::vector<double> a(m * n);
    for (double& x : a)
        x = dist(rng);
    return a;
}

}  // namespace

TEST(Svd, RandomMatricesOfManyShapes) {
    std::mt19937 rng(20261123);
    const int shapes[][2] = {{1, 1}, {1, 5},  {5, 1},  {2, 2},  {3, 3},   {4, 3}, {3, 4},
                             {9, 9}, {12, 9}, {9, 12}, {20, 9}, {128, 9}, {2, 7}, {10, 10}};
    for (auto const& shape : shapes) {
        for (int trial = 0; trial < 5; ++trial) {
            std::vector<double> a = RandomMatrix(rng, shape[0], shape[1]);
            SCOPED_TRACE(testing::Message() << shape[0] << " by " << shape[1] << " #" << trial);
            ExpectValidDecomposition(a, shape[0], shape[1], Decompose(a, shape[0], shape[1]));
        }
    }
}

TEST(Svd, RankDeficientAndZeroMatrices) {
    // Rows 2 and 3 repeat row 1 scaled: rank one.
    std::vector<double> a = {1, 2, 3, 2, 4, 6, -1, -2, -3, 0, 0, 0};
    Decomposition d = Decompose(a, 4, 3);
    ExpectValidDecomposition(a, 4, 3, d);
    EXPECT_NEAR(std::sqrt(14.0 * 6.0), d.a[0], 1e-12);
    EXPECT_NEAR(0.0, d.a[4], 1e-12);
    EXPECT_NEAR(0.0, d.a[8], 1e-12);
    std::vector<double> zero(6, 0.0);
    Decomposition z = Decompose(zero, 2, 3);
    ExpectValidDecomposition(zero, 2, 3, z);
}

TEST(Svd, KnownValues) {
    std::vector<double> a = {3, 0, 0, -2};
    Decomposition d = Decompose(a, 2, 2);
    ExpectValidDecomposition(a, 2, 2, d);
    EXPECT_DOUBLE_EQ(3.0, d.a[0]);
    EXPECT_DOUBLE_EQ(2.0, d.a[3]);
}

TEST(Svd, NoConvergenceWithinTheBudgetIsMinusOne) {
    // A negative tolerance never lets an element count as negligible, so the
    // sweeps run until their budget is spent.
    std::mt19937 rng(5);
    std::vector<double> a = RandomMatrix(rng, 3, 3);
    EXPECT_EQ(-1, Decompose(a, 3, 3, -1.0).result);
}

TEST(Svd, BadArgumentsAreMinusOne) {
    double a[4] = {1, 2, 3, 4}, u[4], v[4];
    EXPECT_EQ(-1, svd_real_matrix(nullptr, 2, 2, u, v, 1e-12));
    EXPECT_EQ(-1, svd_real_matrix(a, 2, 2, nullptr, v, 1e-12));
    EXPECT_EQ(-1, svd_real_matrix(a, 2, 2, u, nullptr, 1e-12));
    EXPECT_EQ(-1, svd_real_matrix(a, 0, 2, u, v, 1e-12));
    EXPECT_EQ(-1, svd_real_matrix(a, 2, -1, u, v, 1e-12));
    EXPECT_EQ(-1, svd_real_matrix(a, 100000, 100000, u, v, 1e-12));
    EXPECT_EQ(1.0, a[0]);
}
