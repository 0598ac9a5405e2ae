#include "palm/recognition/rcg_partition_def.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>

#include "palm/recognition/match_distance_login.h"

using palm_recognition::MATCH_DISTANCE_LOGIN;
using palm_recognition::rcg_partition_def;
using palm_recognition::simple_feature_lib;

TEST(MatchDistanceLogin, RowsAreTheTunedTableAndTheUntunedRowFive) {
    float const expected[6][3] = {
        {0.35f, 0.34f, 0.622f},   {0.36f, 0.35f, 0.592f},
        {0.342f, 0.324f, 0.562f}, {0.352f, 0.346f, 0.644f},
        {0.36f, 0.35f, 0.65f},    {1.8970002e31f, 3.4353064e21f, 1.7259787e25f}};
    for (int r = 0; r < 6; ++r)
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(expected[r][c], MATCH_DISTANCE_LOGIN[r][c]);
}

TEST(Partition, StartsWithPolicyOneAndItsLimits) {
    simple_feature_lib lib;
    rcg_partition_def p(lib, false);
    EXPECT_EQ(1, p.policy());
    EXPECT_EQ(0.36f, p.get_print_limit());
    EXPECT_EQ(0.35f, p.get_vein_limit());
    EXPECT_EQ(0.592f, p.get_bias());
    EXPECT_TRUE(p.users_snapshot().empty());
}

TEST(Partition, AddUserTwiceGivesTrueThenFalseAndOneEntry) {
    simple_feature_lib lib;
    rcg_partition_def p(lib, false);
    std::string const* const u = lib.intern_name("u");
    EXPECT_TRUE(p.add_user(u));
    EXPECT_FALSE(p.add_user(u));
    EXPECT_EQ(1u, p.users_snapshot().size());
}

TEST(Partition, DeleteUserKeepsTheRelativeOrderOfTheRest) {
    simple_feature_lib lib;
    rcg_partition_def p(lib, false);
    std::string const* a = lib.intern_name("a");
    std::string const* b = lib.intern_name("b");
    std::string const* c = lib.intern_name("c");
    std::string const* d = lib.intern_name("d");
    for (auto u : {a, b, c, d})
        p.add_user(u);
    p.delete_user(b);
    auto const users = p.users_snapshot();
    ASSERT_EQ(3u, users.size());
    EXPECT_EQ(a, users[0]);
    EXPECT_EQ(c, users[1]);
    EXPECT_EQ(d, users[2]);
}

TEST(Partition, DeleteUnknownPointerDoesNothing) {
    simple_feature_lib lib;
    rcg_partition_def p(lib, false);
    std::string const* a = lib.intern_name("a");
    std::string other("a");
    p.add_user(a);
    p.delete_user(&other);
    p.delete_user(nullptr);
    EXPECT_EQ(1u, p.users_snapshot().size());
}

TEST(Partition, PolicyRangeIsZeroToFive) {
    simple_feature_lib lib;
    rcg_partition_def p(lib, false);
    for (int policy = 0; policy <= 5; ++policy) {
        ASSERT_TRUE(p.set_match_policy(policy));
        EXPECT_EQ(MATCH_DISTANCE_LOGIN[policy][0], p.get_print_limit());
        EXPECT_EQ(MATCH_DISTANCE_LOGIN[policy][1], p.get_vein_limit());
        EXPECT_EQ(MATCH_DISTANCE_LOGIN[policy][2], p.get_bias());
    }
    EXPECT_FALSE(p.set_match_policy(-1));
    EXPECT_FALSE(p.set_match_policy(6));
    EXPECT_FALSE(p.set_match_policy(INT32_MIN));
    EXPECT_EQ(5, p.policy());
}

TEST(Partition, NameIsEmptyBeforeAnyIdentificationAndPerThread) {
    simple_feature_lib lib;
    rcg_partition_def p(lib, false);
    EXPECT_STREQ("", p.get_identify_user_name());
    std::string seen = "unset";
    std::thread t([&] { seen = p.get_identify_user_name(); });
    t.join();
    EXPECT_EQ("", seen);
    p.reset_identify_process();
    EXPECT_STREQ("", p.get_identify_user_name());
}

TEST(Partition, ANewPartitionAtAFreedAddressSeesNoOldName) {
    simple_feature_lib lib;
    // Whatever address the next partition gets, a thread's string of another
    // partition must not show through.
    for (int i = 0; i < 20; ++i) {
        auto p = std::make_unique<rcg_partition_def>(lib, false);
        EXPECT_STREQ("", p->get_identify_user_name());
    }
}
