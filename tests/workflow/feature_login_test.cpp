#include "palm/workflow/feature_login.h"

#include <gtest/gtest.h>

#include <random>

#include "palm/matching/i_feature_match.h"
#include "sim/synthetic_records.h"

using palm_algorithm::get_feature_match_inst;
using palm_algorithm::i_feature_match;

TEST(FeatureLogin, DetectGivesOnePairPerCellInOrder) {
    std::mt19937 rng(1);
    auto const user = palm_test::random_record(4, rng);
    auto const probe = palm_test::random_record(1, rng);
    palm_workflow::feature_login login;
    auto const pairs = login.detect(probe[0], user);
    ASSERT_EQ(4u, pairs.size());
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(get_feature_match_inst()->match(probe[0].first, user[i].first,
                                                  i_feature_match::DEGREE_ALL),
                  pairs[i].first);
        EXPECT_EQ(get_feature_match_inst()->match(probe[0].second, user[i].second,
                                                  i_feature_match::DEGREE_ALL),
                  pairs[i].second);
    }
}

TEST(FeatureLogin, IdenticalCellGivesZeroDistances) {
    std::mt19937 rng(2);
    auto const user = palm_test::random_record(2, rng);
    palm_workflow::feature_login login;
    auto const pairs = login.detect(user[1], user);
    EXPECT_EQ(0.0f, pairs[1].first);
    EXPECT_EQ(0.0f, pairs[1].second);
    EXPECT_LT(0.3f, pairs[0].first);
}

TEST(FeatureLogin, UserWithNoCellsGivesAnEmptyVector) {
    std::mt19937 rng(3);
    auto const probe = palm_test::random_record(1, rng);
    palm_workflow::feature_login login;
    EXPECT_TRUE(login.detect(probe[0], palm_feature::user_palm_feature()).empty());
}

TEST(FeatureLogin, CreateReturnsTheSameObjectUntilDestroyed) {
    palm_workflow::i_feature_login* const a = palm_workflow::create_feature_login();
    ASSERT_NE(nullptr, a);
    EXPECT_EQ(a, palm_workflow::create_feature_login());
    palm_workflow::destroy_feature_process(a);
    palm_workflow::i_feature_login* const b = palm_workflow::create_feature_login();
    ASSERT_NE(nullptr, b);
    EXPECT_EQ(b, palm_workflow::create_feature_login());
    palm_workflow::destroy_feature_process(b);
}

TEST(FeatureLogin, DestroyLeavesOtherPointersAndNullAlone) {
    palm_workflow::destroy_feature_process(nullptr);
    palm_workflow::feature_login own;
    palm_workflow::i_feature_login* const global = palm_workflow::create_feature_login();
    palm_workflow::destroy_feature_process(&own);  // not the process-wide object: untouched
    EXPECT_EQ(global, palm_workflow::create_feature_login());
    std::mt19937 rng(4);
    auto const user = palm_test::random_record(1, rng);
    EXPECT_EQ(1u, own.detect(user[0], user).size());
    palm_workflow::destroy_feature_process(global);
    palm_workflow::destroy_feature_process(nullptr);
}
