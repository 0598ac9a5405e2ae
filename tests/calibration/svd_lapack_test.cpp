// The decomposition against LAPACK's dgesvd on random matrices: the same
// singular values, and the same singular vectors up to their sign.
#include <gtest/gtest.h>
#include <lapacke.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "palm/calibration/matrix.h"

using palm_calib::svd_real_matrix;

namespace {

void CompareWithLapack(std::mt19937& rng, int m, int n) {
    std::uniform_real_distribution<double> dist(-5.0, 5.0);
    std::vector<double> a(m * n);
    for (double& x : a)
        x = dist(rng);

    std::vector<double> ours = a, u(m * m), v(n * n);
    ASSERT_EQ(1, svd_real_matrix(ours.data(), m, n, u.data(), v.data(), 1e-12));

    std::vector<double> theirs = a, s(std::min(m, n)), lu(m * m), lvt(n * n),
                        superb(std::min(m, n));
    ASSERT_EQ(0, LAPACKE_dgesvd(LAPACK_ROW_MAJOR, 'A', 'A', m, n, theirs.data(), n, s.data(),
                                lu.data(), m, lvt.data(), n, superb.data()));

    int const k = std::min(m, n);
    for (int i = 0; i < k; ++i) {
        EXPECT_NEAR(s[i], ours[i * n + i], 1e-12 * std::max(1.0, s[0])) << "value " << i;
    }
    // Random singular values are distinct, so each pair of vectors is fixed
    // up to one common sign.
    for (int i = 0; i < k; ++i) {
        double dot = 0;
        for (int r = 0; r < m; ++r)
            dot += u[r * m + i] * lu[r * m + i];
        double const sign = dot < 0 ? -1.0 : 1.0;
        for (int r = 0; r < m; ++r) {
            EXPECT_NEAR(lu[r * m + i], sign * u[r * m + i], 1e-9) << "u col " << i;
        }
        for (int c = 0; c < n; ++c) {
            EXPECT_NEAR(lvt[i * n + c], sign * v[i * n + c], 1e-9) << "v row " << i;
        }
    }
}

}  // namespace

TEST(SvdAgainstLapack, SameValuesAndVectors) {
    std::mt19937 rng(77);
    const int shapes[][2] = {{2, 2}, {3, 3}, {5, 3}, {3, 5}, {9, 9}, {16, 9}, {128, 9}, {8, 11}};
    for (auto const& shape : shapes) {
        for (int trial = 0; trial < 4; ++trial) {
            SCOPED_TRACE(testing::Message() << shape[0] << " by " << shape[1] << " #" << trial);
            CompareWithLapack(rng, shape[0], shape[1]);
        }
    }
}
