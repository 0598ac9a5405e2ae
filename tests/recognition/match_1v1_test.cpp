#include <gtest/gtest.h>

#include <random>
#include <string>

#include "palm/recognition/rcg_environment.h"
#include "sim/synthetic_records.h"

using palm_feature::user_palm_feature;
using palm_recognition::rcg_environment;

namespace {

class OneToOne : public ::testing::Test {
  protected:
    void SetUp() override {
        rng.seed(5);
        enrolled = palm_test::random_record(5, rng);
        same_hand = palm_test::noisy_probe(enrolled, 2, 0.05, rng);
        stranger = palm_test::random_record(2, rng);
        ASSERT_TRUE(env.create_partition(1, false));
        ASSERT_TRUE(env.push_template("alice", palm_test::feature_text(enrolled).c_str()));
    }
    std::string text(user_palm_feature const& r) { return palm_test::feature_text(r); }

    std::mt19937 rng;
    user_palm_feature enrolled, same_hand, stranger;
    rcg_environment env;
};

}  // namespace

TEST_F(OneToOne, SameHandIsAcceptedAndStrangerRefused) {
    EXPECT_TRUE(env.match_1v1(1, text(same_hand).c_str(), "", text(enrolled).c_str()));
    EXPECT_FALSE(env.match_1v1(1, text(stranger).c_str(), "", text(enrolled).c_str()));
    EXPECT_TRUE(env.match_1v1_in_lib(1, text(same_hand).c_str(), "", "alice"));
    EXPECT_FALSE(env.match_1v1_in_lib(1, text(stranger).c_str(), "", "alice"));
}

TEST_F(OneToOne, NullSpareRefusesTextAgainstTextOnly) {
    EXPECT_FALSE(env.match_1v1(1, text(same_hand).c_str(), nullptr, text(enrolled).c_str()));
    EXPECT_TRUE(env.match_1v1_in_lib(1, text(same_hand).c_str(), nullptr, "alice"));
}

TEST_F(OneToOne, ShortTextIsFalse) {
    std::string const shortText(899, 'A');
    EXPECT_FALSE(env.match_1v1(1, shortText.c_str(), "", text(enrolled).c_str()));
    EXPECT_FALSE(env.match_1v1(1, text(enrolled).c_str(), "", shortText.c_str()));
    EXPECT_FALSE(env.match_1v1_in_lib(1, shortText.c_str(), "", "alice"));
}

TEST_F(OneToOne, UnknownUserOrNameWithoutTemplateIsFalse) {
    EXPECT_FALSE(env.match_1v1_in_lib(1, text(same_hand).c_str(), "", "nobody"));
    ASSERT_TRUE(env.assign_user_to_partition(1, "bob"));  // a name without template
    EXPECT_FALSE(env.match_1v1_in_lib(1, text(same_hand).c_str(), "", "bob"));
    EXPECT_FALSE(env.match_1v1_in_lib(1, nullptr, "", "alice"));
}

TEST_F(OneToOne, TheVeinOfTheBestPrintPairCounts) {
    // Cell 0 of the template has the probe's print but a foreign vein; cell 1
    // has a slightly worse print and the probe's vein. The pair taken is the
    // one with the best print: cell 0, whose vein fails.
    user_palm_feature probe = palm_test::random_record(1, rng);
    user_palm_feature tmpl = palm_test::random_record(2, rng);
    tmpl[0].first = probe[0].first;
    user_palm_feature near = palm_test::noisy_probe(probe, 1, 0.03, rng);
    tmpl[1].first = near[0].first;
    tmpl[1].second = probe[0].second;
    EXPECT_FALSE(env.match_1v1(1, text(probe).c_str(), "", text(tmpl).c_str()));
    // Swap the veins and the pair of cell 0 passes.
    std::swap(tmpl[0].second, tmpl[1].second);
    EXPECT_TRUE(env.match_1v1(1, text(probe).c_str(), "", text(tmpl).c_str()));
}

TEST_F(OneToOne, ComparerStaysValidAfterAnotherPartitionIsDeleted) {
    ASSERT_TRUE(env.create_partition(2, false));
    ASSERT_TRUE(env.create_partition(3, true));
    EXPECT_TRUE(env.delete_partition(2));
    EXPECT_TRUE(env.match_1v1(1, text(same_hand).c_str(), "", text(enrolled).c_str()));
    EXPECT_TRUE(env.match_1v1_in_lib(3, text(same_hand).c_str(), "", "alice"));
    EXPECT_TRUE(env.delete_partition(1));
    EXPECT_TRUE(env.match_1v1_in_lib(3, text(same_hand).c_str(), "", "alice"));
}

TEST_F(OneToOne, PolicyFiveAcceptsStrangers) {
    EXPECT_FALSE(env.match_1v1(1, text(stranger).c_str(), "", text(enrolled).c_str()));
    ASSERT_TRUE(env.set_match_policy(1, 5));
    EXPECT_TRUE(env.match_1v1(1, text(stranger).c_str(), "", text(enrolled).c_str()));
}

TEST_F(OneToOne, RecordComparisonOfEmptyRecordsFails) {
    auto* partition = env.find_partition(1);
    EXPECT_FALSE(partition->match_1v1(user_palm_feature(), enrolled));
    EXPECT_FALSE(partition->match_1v1(enrolled, user_palm_feature()));
    EXPECT_TRUE(partition->match_1v1(enrolled, enrolled));
}

TEST_F(OneToOne, PartitionDecisionUsesItsRow) {
    auto* partition = env.find_partition(1);
    EXPECT_TRUE(partition->decision({0.36f, 0.2f}));
    ASSERT_TRUE(env.set_match_policy(1, 2));  // print limit 0.342
    EXPECT_FALSE(partition->decision({0.36f, 0.2f}));
}
