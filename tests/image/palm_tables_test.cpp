#include "palm/image/palm_tables.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace palm_share;

TEST(PalmTables, ExpMatrixFollowsItsFormula) {
    for (int d = -255; d <= 255; ++d) {
        const double v = 1024.0 * std::exp(-std::pow(d / 17.0, 6.0));
        EXPECT_EQ(g_piExpMatrix[255 + d], static_cast<int>(std::floor(v + 0.5))) << d;
    }
}

TEST(PalmTables, ExpMatrixLandmarks) {
    for (int d = -4; d <= 4; ++d)
        EXPECT_EQ(g_piExpMatrix[255 + d], 1024);
    EXPECT_EQ(g_piExpMatrix[255 + 5], 1023);
    EXPECT_EQ(g_piExpMatrix[255 + 6], 1022);
    EXPECT_EQ(g_piExpMatrix[255 + 15], 639);
    EXPECT_EQ(g_piExpMatrix[255 + 16], 511);
    EXPECT_EQ(g_piExpMatrix[255 + 23], 2);
    EXPECT_EQ(g_piExpMatrix[255 - 23], 2);
    for (int d = 24; d <= 255; ++d) {
        EXPECT_EQ(g_piExpMatrix[255 + d], 0);
        EXPECT_EQ(g_piExpMatrix[255 - d], 0);
    }
}

TEST(PalmTables, ExpMatrix12IsTwelveTimesTheFirstEntries) {
    for (int i = 0; i < 256; ++i)
        EXPECT_EQ(g_piExpMatrix_12[i], 12 * g_piExpMatrix[i]);
    EXPECT_EQ(g_piExpMatrix_12[255], 12 * 1024);
    EXPECT_EQ(g_piExpMatrix_12[255 - 23], 24);
    EXPECT_EQ(g_piExpMatrix_12[255 - 24], 0);
}

TEST(PalmTables, TanTableIsTangentRoundedToFourDecimals) {
    const double deg = 3.14159265358979323846 / 180.0;
    for (int n = 0; n <= 45; ++n) {
        const double v = std::round(std::tan(n * deg) * 10000.0) / 10000.0;
        EXPECT_DOUBLE_EQ(g_pfTanTable[n], v) << n;
    }
    EXPECT_EQ(g_pfTanTable[0], 0.0);
    EXPECT_EQ(g_pfTanTable[1], 0.0175);
    EXPECT_EQ(g_pfTanTable[44], 0.9657);
    EXPECT_EQ(g_pfTanTable[45], 1.0);
}

}  // namespace
