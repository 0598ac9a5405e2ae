#include "palm/recognition/decision.h"

#include <gtest/gtest.h>

#include "palm/recognition/match_distance_login.h"

using palm_recognition::decision;
using palm_recognition::MATCH_DISTANCE_LOGIN;

namespace {
bool row1(float print, float vein) {
    return decision({print, vein}, MATCH_DISTANCE_LOGIN[1][0], MATCH_DISTANCE_LOGIN[1][1],
                    MATCH_DISTANCE_LOGIN[1][2]);
}
}  // namespace

TEST(Decision, PrintLimitIsInclusiveWhileTheSumStaysBelowBias) {
    EXPECT_TRUE(row1(0.36f, 0.2f));
}

TEST(Decision, SumThatComesOutExactlyZeroIsRefused) {
    EXPECT_TRUE(row1(0.3f, 0.291f));
    // (-0.3f - 0.292f) + 0.592f is exactly 0 in single precision.
    EXPECT_EQ(0.0f, (-0.3f - 0.292f) + 0.592f);
    EXPECT_FALSE(row1(0.3f, 0.292f));
}

TEST(Decision, BothSingleLimitsPassedButTheSumRefuses) {
    EXPECT_FALSE(row1(0.36f, 0.35f));
}

TEST(Decision, EachSingleLimitIsInclusive) {
    EXPECT_TRUE(decision({0.2f, 0.3f}, 0.2f, 0.3f, 1.0f));
    EXPECT_FALSE(decision({0.2000001f, 0.3f}, 0.2f, 0.3f, 1.0f));
    EXPECT_FALSE(decision({0.2f, 0.3000001f}, 0.2f, 0.3f, 1.0f));
}

TEST(Decision, NoResemblanceFailsUnderTunedRowsAndPassesUnderRowFive) {
    for (int row = 0; row < 5; ++row)
        EXPECT_FALSE(decision({1.0f, 1.0f}, MATCH_DISTANCE_LOGIN[row][0],
                              MATCH_DISTANCE_LOGIN[row][1], MATCH_DISTANCE_LOGIN[row][2]));
    EXPECT_TRUE(decision({1.0f, 1.0f}, MATCH_DISTANCE_LOGIN[5][0], MATCH_DISTANCE_LOGIN[5][1],
                         MATCH_DISTANCE_LOGIN[5][2]));
}
