#include "palm/recognition/rcg_environment.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

#include "palm/recognition/match_distance_login.h"
#include "sim/synthetic_records.h"

using palm_recognition::MATCH_DISTANCE_LOGIN;
using palm_recognition::rcg_environment;
using palm_recognition::rcg_partition_def;

namespace {

class EnvironmentTest : public ::testing::Test {
  protected:
    std::string text(int cells, unsigned seed) {
        std::mt19937 rng(seed);
        return palm_test::feature_text(palm_test::random_record(cells, rng));
    }
    // The stored template as a record, or null when the name has none.
    std::unique_ptr<palm_feature::user_palm_feature> stored(char const* user) {
        std::unique_ptr<palm_feature::user_palm_feature> out(new palm_feature::user_palm_feature);
        if (!env.copy_template(env.find_name(user), *out))
            out.reset();
        return out;
    }
    rcg_environment env;
};

}  // namespace

TEST_F(EnvironmentTest, PushStoresTheDecodedTemplateUnderANewName) {
    std::string const t = text(3, 1);
    ASSERT_TRUE(env.push_template("alice", t.c_str()));
    ASSERT_EQ(1u, env.names.size());
    EXPECT_EQ("alice", *env.names[0]);
    ASSERT_NE(nullptr, stored("alice"));
    EXPECT_EQ(t, palm_test::feature_text(*stored("alice")));
}

TEST_F(EnvironmentTest, TextShorterThan900CharactersAddsNoName) {
    std::string const shortText(896, 'A');
    EXPECT_FALSE(env.push_template("bob", shortText.c_str()));
    EXPECT_TRUE(env.names.empty());
    EXPECT_EQ(0u, env.template_count());
}

TEST_F(EnvironmentTest, BadInputIsRefusedWithoutChange) {
    std::string const t = text(1, 2);
    EXPECT_FALSE(env.push_template(nullptr, t.c_str()));
    EXPECT_FALSE(env.push_template("x", nullptr));
    EXPECT_FALSE(env.push_template("x", ""));
    std::string const ten_mb(10u << 20, 'A');
    EXPECT_FALSE(env.push_template("x", ten_mb.c_str()));
    std::string garbage = t;
    garbage[3] = '#';  // breaks the count field
    EXPECT_FALSE(env.push_template("x", garbage.c_str()));
    EXPECT_TRUE(env.names.empty());
    EXPECT_FALSE(env.delete_template(nullptr));
    EXPECT_FALSE(env.assign_user_to_partition(1, nullptr));
    env.remove_user_from_partition(1, nullptr);
}

TEST_F(EnvironmentTest, PushingTwiceKeepsOneEntryWithTheSecondCells) {
    ASSERT_TRUE(env.create_partition(1, false));
    std::string const first = text(2, 3), second = text(5, 4);
    ASSERT_TRUE(env.push_template("carol", first.c_str()));
    ASSERT_TRUE(env.assign_user_to_partition(1, "carol"));
    std::string const* const name = env.find_name("carol");
    ASSERT_TRUE(env.push_template("carol", second.c_str()));
    EXPECT_EQ(1u, env.names.size());
    EXPECT_EQ(1u, env.template_count());
    EXPECT_EQ(name, env.find_name("carol"));
    EXPECT_EQ(second, palm_test::feature_text(*stored("carol")));
    // The partition needs no new assignment: it holds the same pointer.
    auto const users = env.find_partition(1)->users_snapshot();
    ASSERT_EQ(1u, users.size());
    EXPECT_EQ(name, users[0]);
}

TEST_F(EnvironmentTest, AssignToUnknownPartitionIsFalseAndAddsNoName) {
    EXPECT_FALSE(env.assign_user_to_partition(7, "dave"));
    EXPECT_TRUE(env.names.empty());
}

TEST_F(EnvironmentTest, AssignUnknownUserAddsNameWithoutTemplateOnce) {
    ASSERT_TRUE(env.create_partition(7, false));
    EXPECT_TRUE(env.assign_user_to_partition(7, "erin"));
    ASSERT_EQ(1u, env.names.size());
    EXPECT_EQ(nullptr, stored("erin"));
    EXPECT_FALSE(env.assign_user_to_partition(7, "erin"));
    EXPECT_EQ(1u, env.find_partition(7)->users_snapshot().size());

    // A later push gives the name its template; the pointer stays.
    std::string const* const name = env.find_name("erin");
    std::string const t = text(1, 5);
    ASSERT_TRUE(env.push_template("erin", t.c_str()));
    EXPECT_EQ(name, env.find_name("erin"));
    EXPECT_NE(nullptr, stored("erin"));
    EXPECT_EQ(name, env.find_partition(7)->users_snapshot()[0]);
}

TEST_F(EnvironmentTest, DeleteUnknownNameIsFalse) {
    EXPECT_FALSE(env.delete_template("nobody"));
}

TEST_F(EnvironmentTest, DeleteOfAssignedOnlyNameRemovesItEverywhere) {
    ASSERT_TRUE(env.create_partition(1, false));
    ASSERT_TRUE(env.create_partition(2, false));
    ASSERT_TRUE(env.assign_user_to_partition(1, "frank"));
    ASSERT_TRUE(env.assign_user_to_partition(2, "frank"));
    EXPECT_TRUE(env.delete_template("frank"));
    EXPECT_TRUE(env.names.empty());
    EXPECT_TRUE(env.find_partition(1)->users_snapshot().empty());
    EXPECT_TRUE(env.find_partition(2)->users_snapshot().empty());
}

TEST_F(EnvironmentTest, DeleteKeepsTheOrderOfTheOtherNames) {
    for (char const* n : {"a", "b", "c", "d"}) {
        std::string const t = text(1, 6);
        ASSERT_TRUE(env.push_template(n, t.c_str()));
    }
    ASSERT_TRUE(env.delete_template("b"));
    ASSERT_EQ(3u, env.names.size());
    EXPECT_EQ("a", *env.names[0]);
    EXPECT_EQ("c", *env.names[1]);
    EXPECT_EQ("d", *env.names[2]);
    EXPECT_EQ(3u, env.template_count());
}

TEST_F(EnvironmentTest, ClearTemplatesKeepsPartitionsEmpty) {
    ASSERT_TRUE(env.create_partition(1, false));
    ASSERT_TRUE(env.create_partition(2, true));
    std::string const t = text(1, 7);
    ASSERT_TRUE(env.push_template("g", t.c_str()));
    ASSERT_TRUE(env.assign_user_to_partition(1, "g"));
    ASSERT_TRUE(env.assign_user_to_partition(2, "g"));
    env.clear_templates();
    EXPECT_TRUE(env.names.empty());
    EXPECT_EQ(0u, env.template_count());
    ASSERT_NE(nullptr, env.find_partition(1));
    ASSERT_NE(nullptr, env.find_partition(2));
    EXPECT_TRUE(env.find_partition(1)->users_snapshot().empty());
    EXPECT_TRUE(env.find_partition(2)->users_snapshot().empty());
}

TEST_F(EnvironmentTest, CreateWithIdInUseIsFalseAndKeepsOldThresholds) {
    ASSERT_TRUE(env.create_partition(3, false));
    ASSERT_TRUE(env.set_match_policy(3, 4));
    rcg_partition_def* const old = env.find_partition(3);
    EXPECT_FALSE(env.create_partition(3, true));
    EXPECT_EQ(old, env.find_partition(3));
    EXPECT_EQ(4, old->policy());
    EXPECT_EQ(MATCH_DISTANCE_LOGIN[4][2], old->get_bias());
    EXPECT_FALSE(old->is_parallel());
}

TEST_F(EnvironmentTest, PartitionIdsMayBeNegative) {
    EXPECT_TRUE(env.create_partition(-5, false));
    EXPECT_TRUE(env.create_partition(INT32_MIN, true));
    EXPECT_TRUE(env.assign_user_to_partition(-5, "h"));
    EXPECT_TRUE(env.delete_partition(-5));
    EXPECT_TRUE(env.delete_partition(INT32_MIN));
    EXPECT_FALSE(env.delete_partition(-5));
}

TEST_F(EnvironmentTest, DeletePartitionKeepsUsersAndTemplates) {
    ASSERT_TRUE(env.create_partition(1, true));
    std::string const t = text(1, 8);
    ASSERT_TRUE(env.push_template("i", t.c_str()));
    ASSERT_TRUE(env.assign_user_to_partition(1, "i"));
    EXPECT_TRUE(env.delete_partition(1));
    EXPECT_EQ(nullptr, env.find_partition(1));
    EXPECT_EQ(1u, env.names.size());
    EXPECT_NE(nullptr, stored("i"));
}

TEST_F(EnvironmentTest, AfterClearPartitionsAnOldIdGivesANewPartition) {
    ASSERT_TRUE(env.create_partition(1, true));
    ASSERT_TRUE(env.set_match_policy(1, 3));
    rcg_partition_def* const old = env.find_partition(1);
    env.clear_partitions();
    EXPECT_EQ(nullptr, env.find_partition(1));
    EXPECT_FALSE(env.set_match_policy(1, 2));
    ASSERT_TRUE(env.create_partition(1, false));
    rcg_partition_def* const fresh = env.find_partition(1);
    EXPECT_NE(old, fresh);
    EXPECT_EQ(1, fresh->policy());
    // The dropped partition was not destroyed: it still answers.
    EXPECT_EQ(3, old->policy());
}

TEST_F(EnvironmentTest, PolicyOutOfRangeIsRefusedAndLimitsStay) {
    ASSERT_TRUE(env.create_partition(1, false));
    EXPECT_FALSE(env.set_match_policy(1, -1));
    EXPECT_FALSE(env.set_match_policy(1, 6));
    EXPECT_FALSE(env.set_match_policy(2, 1));
    rcg_partition_def* const p = env.find_partition(1);
    EXPECT_EQ(1, p->policy());
    EXPECT_EQ(0.36f, p->get_print_limit());
    EXPECT_TRUE(env.set_match_policy(1, 5));
    EXPECT_EQ(1.8970002e31f, p->get_print_limit());
    EXPECT_EQ(3.4353064e21f, p->get_vein_limit());
    EXPECT_EQ(1.7259787e25f, p->get_bias());
}

TEST_F(EnvironmentTest, RemoveUserLeavesNameWithoutTemplateInNames) {
    ASSERT_TRUE(env.create_partition(1, false));
    ASSERT_TRUE(env.assign_user_to_partition(1, "j"));
    env.remove_user_from_partition(1, "j");
    EXPECT_TRUE(env.find_partition(1)->users_snapshot().empty());
    EXPECT_EQ(1u, env.names.size());
    env.remove_user_from_partition(1, "unknown");
    env.remove_user_from_partition(99, "j");
    EXPECT_EQ(1u, env.names.size());
}

TEST_F(EnvironmentTest, NamesAreComparedByteForByte) {
    std::string const t = text(1, 9);
    ASSERT_TRUE(env.push_template("Anna", t.c_str()));
    ASSERT_TRUE(env.push_template("anna", t.c_str()));
    ASSERT_TRUE(env.push_template("", t.c_str()));
    ASSERT_TRUE(env.push_template("\xc3\xa9l\xc3\xa8ve", t.c_str()));
    EXPECT_EQ(4u, env.names.size());
    EXPECT_NE(nullptr, env.find_name(""));
    EXPECT_EQ(nullptr, env.find_name("ANNA"));
}

TEST_F(EnvironmentTest, NameIsEmptyForUnknownPartition) {
    EXPECT_STREQ("", env.get_identify_user_name(42));
    env.reset_identify_process(42);
}

TEST_F(EnvironmentTest, MatchingAnswersFalseForUnknownPartition) {
    std::string const t = text(1, 10);
    EXPECT_FALSE(env.match_1v1(9, t.c_str(), "", t.c_str()));
    EXPECT_FALSE(env.match_1v1_in_lib(9, t.c_str(), "", "x"));
    EXPECT_FALSE(env.match_1vN(9, t.c_str(), ""));
}
