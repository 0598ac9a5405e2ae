// Every coefficient of the recursive filters, recomputed from the scales of
// the six orientations and the formulas of Young, van Vliet and van Ginkel
// (coefficients) and of Triggs and Sdika (end-of-line matrix).
#include "palm/extraction/anigauss_coef.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace palm_share;

struct scale_coef {
    double b1, b2, b3, B, P, M[9];
};

scale_coef coefficients(double s) {
    const double m0 = 1.16680, m1 = 1.10783, m2 = 1.40586;
    const double q =
        s < 3.556 ? -0.2568 + 0.5784 * s + 0.0561 * s * s : 2.5091 + 0.9804 * (s - 3.556);
    const double scale = (m0 + q) * (m1 * m1 + m2 * m2 + 2 * m1 * q + q * q);
    scale_coef c;
    c.b1 = q * (2 * m0 * m1 + m1 * m1 + m2 * m2 + (2 * m0 + 4 * m1) * q + 3 * q * q) / scale;
    c.b2 = -q * q * (m0 + 2 * m1 + 3 * q) / scale;
    c.b3 = q * q * q / scale;
    c.B = m0 * (m1 * m1 + m2 * m2) / scale;
    c.P = 1.0 / (1.0 - c.b1 - c.b2 - c.b3);
    const double a1 = c.b1, a2 = c.b2, a3 = c.b3;
    const double f = 1.0 / ((1 + a1 - a2 + a3) * (1 - a1 - a2 - a3) * (1 + a2 + (a1 - a3) * a3));
    c.M[0] = f * (1 - a3 * a1 - a3 * a3 - a2);
    c.M[1] = f * (a3 + a1) * (a2 + a3 * a1);
    c.M[2] = f * a3 * (a1 + a3 * a2);
    c.M[3] = f * (a1 + a3 * a2);
    c.M[4] = -f * (a2 - 1) * (a2 + a3 * a1);
    c.M[5] = -f * a3 * (a3 * a1 + a3 * a3 + a2 - 1);
    c.M[6] = f * (a3 * a1 + a2 + a1 * a1 - a2 * a2);
    c.M[7] = f * (a1 * a2 + a3 * a2 * a2 - a1 * a3 * a3 - a3 * a3 * a3 - a3 * a2 + a3);
    c.M[8] = f * a3 * (a1 + a3 * a2);
    return c;
}

int fixed12(double v) {
    return static_cast<int>(std::floor(v * 4096.0 + 0.5));
}

// Scales of table row 2k (along the rows) and 2k + 1 (second pass) for the
// Gaussian with sigma 5 along and 3 across a line at 30k degrees.
double row_sigma(int row) {
    const double phi = (row / 2) * 30.0 * 3.14159265358979323846 / 180.0;
    const double su = 5.0, sv = 3.0, c = std::cos(phi), s = std::sin(phi);
    const double a11 = c * c * su * su + s * s * sv * sv;
    const double a21 = c * s * (su * su - sv * sv);
    const double a22 = c * c * sv * sv + s * s * su * su;
    return row % 2 == 0 ? std::sqrt(a11 - a21 * a21 / a22) : std::sqrt(a22);
}

TEST(AnigaussCoef, EveryEntryFollowsItsFormula) {
    for (int row = 0; row < 12; ++row) {
        const scale_coef c = coefficients(row_sigma(row));
        const int* f = g_piFilterCoef + 7 * row;
        EXPECT_EQ(f[0], fixed12(c.b3)) << row;
        EXPECT_EQ(f[1], fixed12(c.b2)) << row;
        EXPECT_EQ(f[2], fixed12(c.b1)) << row;
        EXPECT_EQ(f[3], fixed12(c.B)) << row;
        EXPECT_EQ(f[4], fixed12(c.b1)) << row;
        EXPECT_EQ(f[5], fixed12(c.b2)) << row;
        EXPECT_EQ(f[6], fixed12(c.b3)) << row;
        EXPECT_EQ(g_piBCoef[row], fixed12(c.P)) << row;
        for (int m = 0; m < 9; ++m)
            EXPECT_EQ(g_piMCoef[9 * row + m], fixed12(c.M[m])) << row;
    }
}

TEST(AnigaussCoef, PrintedValuesOfTheSixScales) {
    // Rows 0 and 7: sigma 5; 1 and 6: sigma 3.
    const int r0[7] = {1781, -6879, 9084, 110, 9084, -6879, 1781};
    const int r1[7] = {880, -4139, 6934, 422, 6934, -4139, 880};
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(g_piFilterCoef[0 * 7 + i], r0[i]);
        EXPECT_EQ(g_piFilterCoef[7 * 7 + i], r0[i]);
        EXPECT_EQ(g_piFilterCoef[1 * 7 + i], r1[i]);
        EXPECT_EQ(g_piFilterCoef[6 * 7 + i], r1[i]);
    }
    const int P[12] = {152330, 39803,  92113, 62899,  49120, 119811,
                       39803,  152330, 49120, 119811, 92113, 62899};
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(g_piBCoef[i], P[i]);
    const int m5[9] = {307602, -360938, 118500, 298212, -365795, 122231, 273234, -347281, 118500};
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(g_piMCoef[5 * 9 + i], m5[i]);
        EXPECT_EQ(g_piMCoef[9 * 9 + i], m5[i]);
    }
    EXPECT_EQ(g_piMCoef[1 * 9 + 0], 52991);
    EXPECT_EQ(g_piMCoef[3 * 9 + 7], -98412);
    EXPECT_EQ(g_piMCoef[4 * 9 + 4], -65822);
}

TEST(AnigaussCoef, GainsSumToOne) {
    // B + b1 + b2 + b3 = 1 up to the rounding of four entries.
    for (int row = 0; row < 12; ++row) {
        const int* f = g_piFilterCoef + 7 * row;
        EXPECT_NEAR(f[0] + f[1] + f[2] + f[3], 4096, 2) << row;
    }
}

}  // namespace
