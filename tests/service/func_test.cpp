// The exported C functions share one process-wide environment, so every test
// uses its own partition ids and user names.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "palm/service/palm_service.h"
#include "sim/synthetic_records.h"

namespace {
std::string text(int cells, unsigned seed) {
    std::mt19937 rng(seed);
    return palm_test::feature_text(palm_test::random_record(cells, rng));
}
}  // namespace

TEST(ExportedFunctions, UnknownPartitionIdIsFalseOrEmptyWithNoOtherEffect) {
    std::string const t = text(1, 1);
    EXPECT_FALSE(delete_partition(1001));
    EXPECT_FALSE(set_match_policy(1001, 1));
    EXPECT_FALSE(assign_user_to_partition(1001, "svc-nobody"));
    remove_user_from_partition(1001, "svc-nobody");
    EXPECT_FALSE(match_1v1(1001, t.c_str(), "", t.c_str()));
    EXPECT_FALSE(match_1v1_in_memory(1001, t.c_str(), "", "svc-nobody"));
    EXPECT_FALSE(match_1vN(1001, t.c_str(), ""));
    EXPECT_STREQ("", match_1vN_get_identify_user_name(1001));
    match_1vN_reset_identify_process(1001);
    // The failed assignment added no name: deleting it is false.
    EXPECT_FALSE(delete_template("svc-nobody"));
}

TEST(ExportedFunctions, ParallelFlagIsAnyNonZeroValue) {
    EXPECT_TRUE(create_partition(1002, 2));
    EXPECT_TRUE(create_partition(1003, 1));
    EXPECT_TRUE(create_partition(1004, -7));
    EXPECT_FALSE(create_partition(1002, 0));
    EXPECT_TRUE(delete_partition(1002));
    EXPECT_TRUE(delete_partition(1003));
    EXPECT_TRUE(delete_partition(1004));
}

TEST(ExportedFunctions, NameBeforeAnyIdentificationIsEmpty) {
    ASSERT_TRUE(create_partition(1005, 0));
    char const* name = match_1vN_get_identify_user_name(1005);
    ASSERT_NE(nullptr, name);
    EXPECT_STREQ("", name);
    EXPECT_TRUE(delete_partition(1005));
}

TEST(ExportedFunctions, TemplateLifecycle) {
    std::string const t = text(2, 2);
    ASSERT_TRUE(create_partition(1006, 0));
    EXPECT_TRUE(push_template("svc-anna", t.c_str()));
    EXPECT_TRUE(assign_user_to_partition(1006, "svc-anna"));
    EXPECT_FALSE(assign_user_to_partition(1006, "svc-anna"));
    remove_user_from_partition(1006, "svc-anna");
    EXPECT_TRUE(assign_user_to_partition(1006, "svc-anna"));
    EXPECT_TRUE(set_match_policy(1006, 5));
    EXPECT_FALSE(set_match_policy(1006, 6));
    EXPECT_TRUE(delete_template("svc-anna"));
    EXPECT_FALSE(delete_template("svc-anna"));
    EXPECT_TRUE(delete_partition(1006));
}

TEST(ExportedFunctions, BadTextsAreRefused) {
    std::string const good = text(1, 3);
    std::string const long_text(136533, 'A');
    std::string const ten_mb(10u << 20, 'A');
    std::string alien = good;
    for (std::size_t i = 0; i < 8; ++i)
        alien[i] = '!';
    EXPECT_FALSE(push_template("svc-bad", nullptr));
    EXPECT_FALSE(push_template("svc-bad", ""));
    EXPECT_FALSE(push_template("svc-bad", "short"));
    EXPECT_FALSE(push_template("svc-bad", long_text.c_str()));
    EXPECT_FALSE(push_template("svc-bad", ten_mb.c_str()));
    EXPECT_FALSE(push_template("svc-bad", alien.c_str()));
    EXPECT_FALSE(push_template(nullptr, good.c_str()));
    EXPECT_FALSE(delete_template("svc-bad"));  // nothing was stored

    ASSERT_TRUE(create_partition(1007, 0));
    EXPECT_FALSE(match_1v1(1007, nullptr, "", good.c_str()));
    EXPECT_FALSE(match_1v1(1007, good.c_str(), nullptr, good.c_str()));
    EXPECT_FALSE(match_1v1(1007, good.c_str(), "", nullptr));
    EXPECT_FALSE(match_1v1(1007, "", "", ""));
    EXPECT_FALSE(match_1v1(1007, ten_mb.c_str(), "", ten_mb.c_str()));
    EXPECT_FALSE(match_1v1_in_memory(1007, nullptr, nullptr, nullptr));
    EXPECT_FALSE(match_1v1_in_memory(1007, "", "", "svc-bad"));
    EXPECT_FALSE(match_1vN(1007, nullptr, nullptr));
    EXPECT_FALSE(match_1vN(1007, "", ""));
    EXPECT_FALSE(match_1vN(1007, long_text.c_str(), ""));
    EXPECT_STREQ("", match_1vN_get_identify_user_name(1007));
    EXPECT_FALSE(assign_user_to_partition(1007, nullptr));
    remove_user_from_partition(1007, nullptr);
    EXPECT_FALSE(delete_template(nullptr));
    EXPECT_TRUE(delete_partition(1007));
}

TEST(ExportedFunctions, NegativeIds) {
    EXPECT_TRUE(create_partition(-1008, 0));
    EXPECT_TRUE(set_match_policy(-1008, 0));
    EXPECT_TRUE(delete_partition(-1008));
    EXPECT_FALSE(delete_partition(-1008));
}

TEST(ExportedFunctions, ClearTemplatesKeepsPartitionsAndClearPartitionsDropsThem) {
    std::string const t = text(1, 4);
    ASSERT_TRUE(create_partition(1009, 0));
    ASSERT_TRUE(push_template("svc-clear", t.c_str()));
    ASSERT_TRUE(assign_user_to_partition(1009, "svc-clear"));
    clear_templates();
    EXPECT_FALSE(delete_template("svc-clear"));
    EXPECT_TRUE(set_match_policy(1009, 2));                    // the partition is still there
    EXPECT_TRUE(assign_user_to_partition(1009, "svc-clear"));  // and holds nobody
    clear_partitions();
    EXPECT_FALSE(set_match_policy(1009, 2));
    EXPECT_TRUE(create_partition(1009, 0));  // the old id is free again
    EXPECT_TRUE(delete_partition(1009));
    clear_templates();
}
