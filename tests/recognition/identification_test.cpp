#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <set>
#include <string>
#include <thread>

#include "palm/recognition/rcg_environment.h"
#include "sim/random_codes.h"
#include "sim/synthetic_records.h"

using palm_feature::user_palm_feature;
using palm_recognition::rcg_environment;
using palm_recognition::rcg_partition_def;

namespace {

std::string text(user_palm_feature const& r) {
    return palm_test::feature_text(r);
}

class Identification : public ::testing::Test {
  protected:
    Identification() : rng(17) {}
    void make_partitions() {
        ASSERT_TRUE(env.create_partition(SERIAL, false));
        ASSERT_TRUE(env.create_partition(PARALLEL, true));
    }
    void enrol(std::string const& name, user_palm_feature const& r) {
        ASSERT_TRUE(env.push_template(name.c_str(), text(r).c_str()));
        ASSERT_TRUE(env.assign_user_to_partition(SERIAL, name.c_str()));
        ASSERT_TRUE(env.assign_user_to_partition(PARALLEL, name.c_str()));
    }
    void enrol_into(int id, user_palm_feature const& r) {
        std::string const name = "p" + std::to_string(id);
        ASSERT_TRUE(env.push_template(name.c_str(), text(r).c_str()));
        ASSERT_TRUE(env.assign_user_to_partition(id, name.c_str()));
        env.match_1vN(id, text(r).c_str(), "");
    }
    std::string identify(int id, user_palm_feature const& probe) {
        if (!env.match_1vN(id, text(probe).c_str(), ""))
            return "<none>";
        return env.get_identify_user_name(id);
    }

    static const int SERIAL = 1;
    static const int PARALLEL = 2;
    std::mt19937 rng;
    rcg_environment env;
};

// Cells of a template of T cells that an identification compares for a
// single user (coarse stage and fine stage together).
std::set<int> compared_serial(int t) {
    std::set<int> cells;
    int const stride = rcg_partition_def::normal_stride(t);
    for (int k = 0; k < t; k += stride)
        cells.insert(k);
    if (t > 9 && t % 5 == 0)
        for (int k = 0; k < t; ++k)
            cells.insert(k);
    return cells;
}

}  // namespace

TEST(Strides, CoarseStagesFollowTheTableOfTemplateSizes) {
    // T: cells compared by the serial and by the parallel coarse stage.
    struct row {
        int t;
        std::set<int> serial, parallel;
    };
    auto all = [](int t) {
        std::set<int> s;
        for (int k = 0; k < t; ++k)
            s.insert(k);
        return s;
    };
    std::vector<row> const table = {
        {1, {0}, {0}},
        {2, {0}, all(2)},
        {3, {0}, all(3)},
        {4, {0}, all(4)},
        {5, all(5), all(5)},
        {6, all(6), all(6)},
        {7, {0, 5}, all(7)},
        {8, {0, 5}, all(8)},
        {9, {0, 5}, all(9)},
        {10, all(10), {0, 5}},
        {11, all(11), all(11)},
        {12, {0, 5, 10}, all(12)},
        {13, {0, 5, 10}, all(13)},
        {14, {0, 5, 10}, all(14)},
        {15, all(15), {0, 5, 10}},
    };
    for (auto const& r : table) {
        std::set<int> serial, parallel;
        for (int k = 0; k < r.t; k += rcg_partition_def::normal_stride(r.t))
            serial.insert(k);
        for (int k = 0; k < r.t; k += rcg_partition_def::parallel_stride(r.t))
            parallel.insert(k);
        EXPECT_EQ(r.serial, serial) << "T=" << r.t;
        EXPECT_EQ(r.parallel, parallel) << "T=" << r.t;
    }
}

TEST(WorkerShares, OneWorkerPerTenUsersCappedByThePool) {
    using shares = std::vector<std::pair<unsigned, unsigned> >;
    EXPECT_EQ((shares{{0, 10}}), rcg_partition_def::worker_shares(10, 4));
    EXPECT_EQ((shares{{0, 5}, {5, 6}}), rcg_partition_def::worker_shares(11, 4));
    EXPECT_EQ((shares{{0, 8}, {8, 8}, {16, 9}}), rcg_partition_def::worker_shares(25, 3));
    EXPECT_EQ((shares{{0, 12}, {12, 13}}), rcg_partition_def::worker_shares(25, 2));
    EXPECT_EQ((shares{{0, 1}}), rcg_partition_def::worker_shares(1, 8));
    EXPECT_TRUE(rcg_partition_def::worker_shares(0, 8).empty());
    EXPECT_TRUE(rcg_partition_def::worker_shares(25, 0).empty());
}

TEST_F(Identification, EnrolledUsersAreFoundOnBothKindsOfPartition) {
    make_partitions();
    std::vector<user_palm_feature> templates;
    for (int i = 0; i < 30; ++i) {
        templates.push_back(palm_test::random_record(25, rng));
        enrol("user-" + std::to_string(i), templates.back());
    }
    for (int i = 0; i < 30; i += 7) {
        auto const probe = palm_test::noisy_probe(templates[i], 1, 0.05, rng);
        EXPECT_EQ("user-" + std::to_string(i), identify(SERIAL, probe));
        EXPECT_EQ("user-" + std::to_string(i), identify(PARALLEL, probe));
    }
    EXPECT_EQ("<none>", identify(SERIAL, palm_test::random_record(1, rng)));
    EXPECT_EQ("<none>", identify(PARALLEL, palm_test::random_record(1, rng)));
}

TEST_F(Identification, EmptyPartitionReturnsFalse) {
    make_partitions();
    auto const probe = palm_test::random_record(1, rng);
    EXPECT_EQ("<none>", identify(SERIAL, probe));
    EXPECT_EQ("<none>", identify(PARALLEL, probe));
}

TEST_F(Identification, SingleUserIsFoundExactlyWhereTheStagesLook) {
    // One user whose template has the probe at cell k only; found exactly
    // when the searches compare cell k.
    for (int t = 1; t <= 15; ++t) {
        for (int k = 0; k < t; ++k) {
            rcg_environment local;
            ASSERT_TRUE(local.create_partition(1, false));
            ASSERT_TRUE(local.create_partition(2, true));
            auto const probe = palm_test::random_record(1, rng);
            auto tmpl = palm_test::random_record(t, rng);
            tmpl[k].first = probe[0].first;
            tmpl[k].second = probe[0].second;
            ASSERT_TRUE(local.push_template("u", text(tmpl).c_str()));
            local.assign_user_to_partition(1, "u");
            local.assign_user_to_partition(2, "u");
            bool const serial = local.match_1vN(1, text(probe).c_str(), "");
            bool const parallel = local.match_1vN(2, text(probe).c_str(), "");
            EXPECT_EQ(compared_serial(t).count(k) == 1, serial) << "T=" << t << " k=" << k;
            // The parallel search with its fine stage covers every cell of a
            // lone user.
            EXPECT_TRUE(parallel) << "T=" << t << " k=" << k;
        }
    }
}

TEST_F(Identification, UsersBeyondTheBestFiftyAreNeverIdentified) {
    // The target's print is found only by the fine stage (cell 1 of ten).
    // Fifty decoys whose first cell is closer in print keep it out of the
    // best fifty on a parallel partition; with forty-nine it gets in.
    auto const probe = palm_test::random_record(1, rng);
    auto target = palm_test::random_record(10, rng);
    target[1].first = probe[0].first;
    target[1].second = probe[0].second;
    for (int decoys : {49, 50}) {
        rcg_environment local;
        ASSERT_TRUE(local.create_partition(2, true));
        ASSERT_TRUE(local.create_partition(1, false));
        for (int d = 0; d < decoys; ++d) {
            auto decoy = palm_test::random_record(10, rng);
            palm_test::noisy_copy(probe[0].first, decoy[0].first, 0.3, rng);
            std::string const name = "decoy-" + std::to_string(d);
            ASSERT_TRUE(local.push_template(name.c_str(), text(decoy).c_str()));
            local.assign_user_to_partition(2, name.c_str());
            local.assign_user_to_partition(1, name.c_str());
        }
        ASSERT_TRUE(local.push_template("target", text(target).c_str()));
        local.assign_user_to_partition(2, "target");
        local.assign_user_to_partition(1, "target");
        bool const found = local.match_1vN(2, text(probe).c_str(), "");
        EXPECT_EQ(decoys == 49, found) << decoys;
        if (found) {
            EXPECT_STREQ("target", local.get_identify_user_name(2));
        }
        // The serial coarse stage compares every cell of ten: always found.
        EXPECT_TRUE(local.match_1vN(1, text(probe).c_str(), "")) << decoys;
    }
}

TEST_F(Identification, UserWithoutTemplateLetsTheFirstUserPassOnVeinAlone) {
    make_partitions();
    auto const a = palm_test::random_record(1, rng);
    enrol("A", a);
    user_palm_feature probe = palm_test::random_record(1, rng);
    probe[0].second = a[0].second;  // vein of A, print of nobody
    EXPECT_EQ("<none>", identify(SERIAL, probe));
    EXPECT_EQ("<none>", identify(PARALLEL, probe));
    ASSERT_TRUE(env.assign_user_to_partition(SERIAL, "B-without-template"));
    ASSERT_TRUE(env.assign_user_to_partition(PARALLEL, "B-without-template"));
    EXPECT_EQ("A", identify(SERIAL, probe));
    EXPECT_EQ("A", identify(PARALLEL, probe));
}

TEST_F(Identification, LaterCellIsTriedOnlyWhenEarlierOnesFoundNobody) {
    make_partitions();
    auto const a = palm_test::random_record(5, rng);
    auto const b = palm_test::random_record(5, rng);
    enrol("A", a);
    enrol("B", b);
    // Three cells, only the third matches (B).
    user_palm_feature probe = palm_test::random_record(3, rng);
    probe[2] = b[0];
    EXPECT_EQ("B", identify(SERIAL, probe));
    EXPECT_EQ("B", identify(PARALLEL, probe));
    // First cell matches A (noisily), second matches B exactly: A wins.
    user_palm_feature first_wins = palm_test::noisy_probe(a, 2, 0.08, rng);
    first_wins[1] = b[0];
    EXPECT_EQ("A", identify(SERIAL, first_wins));
    EXPECT_EQ("A", identify(PARALLEL, first_wins));
}

TEST_F(Identification, UserWithEmptyNameIsSelectedButReportsFalse) {
    make_partitions();
    auto const r = palm_test::random_record(5, rng);
    enrol("", r);
    auto const probe = palm_test::noisy_probe(r, 1, 0.05, rng);
    EXPECT_FALSE(env.match_1vN(SERIAL, text(probe).c_str(), ""));
    EXPECT_STREQ("", env.get_identify_user_name(SERIAL));
}

TEST_F(Identification, PolicyFiveIdentifiesStrangersButNotUtterOpposites) {
    make_partitions();
    auto const r = palm_test::random_record(5, rng);
    enrol("only", r);
    auto const stranger = palm_test::random_record(1, rng);
    EXPECT_EQ("<none>", identify(SERIAL, stranger));
    ASSERT_TRUE(env.set_match_policy(SERIAL, 5));
    ASSERT_TRUE(env.set_match_policy(PARALLEL, 5));
    EXPECT_EQ("only", identify(SERIAL, stranger));
    EXPECT_EQ("only", identify(PARALLEL, stranger));

    // All-zero probe against an all-one template: both distances 1.0, a
    // squared sum of exactly 2.0, which is not below the start value.
    rcg_environment local;
    ASSERT_TRUE(local.create_partition(1, false));
    ASSERT_TRUE(local.set_match_policy(1, 5));
    user_palm_feature ones;
    ones.cells.resize(1);
    std::memset(ones[0].first.data, 0xff, 384);
    std::memset(ones[0].second.data, 0xff, 384);
    ASSERT_TRUE(local.push_template("ones", text(ones).c_str()));
    local.assign_user_to_partition(1, "ones");
    user_palm_feature zeros;
    zeros.cells.resize(1);
    EXPECT_FALSE(local.match_1vN(1, text(zeros).c_str(), ""));
}

TEST_F(Identification, NameIsPerThreadAndResetEmptiesIt) {
    make_partitions();
    auto const a = palm_test::random_record(5, rng);
    auto const b = palm_test::random_record(5, rng);
    enrol("A", a);
    enrol("B", b);
    auto const pa = palm_test::noisy_probe(a, 1, 0.05, rng);
    auto const pb = palm_test::noisy_probe(b, 1, 0.05, rng);
    ASSERT_TRUE(env.match_1vN(PARALLEL, text(pa).c_str(), ""));
    std::string other_before, other_after;
    std::thread t([&] {
        other_before = env.get_identify_user_name(PARALLEL);
        env.match_1vN(PARALLEL, text(pb).c_str(), "");
        other_after = env.get_identify_user_name(PARALLEL);
    });
    t.join();
    EXPECT_EQ("", other_before);
    EXPECT_EQ("B", other_after);
    EXPECT_STREQ("A", env.get_identify_user_name(PARALLEL));
    env.reset_identify_process(PARALLEL);
    EXPECT_STREQ("", env.get_identify_user_name(PARALLEL));
    // A failed search empties the name too.
    ASSERT_TRUE(env.match_1vN(PARALLEL, text(pa).c_str(), ""));
    EXPECT_FALSE(env.match_1vN(PARALLEL, "bad", ""));
    EXPECT_STREQ("", env.get_identify_user_name(PARALLEL));
}

TEST_F(Identification, NameSurvivesDeletionOfTheTemplate) {
    make_partitions();
    auto const a = palm_test::random_record(5, rng);
    enrol("A", a);
    ASSERT_TRUE(env.match_1vN(SERIAL, text(palm_test::noisy_probe(a, 1, 0.05, rng)).c_str(), ""));
    ASSERT_TRUE(env.delete_template("A"));
    EXPECT_STREQ("A", env.get_identify_user_name(SERIAL));
}

TEST_F(Identification, PartitionCreatedAfterADeletedOneStartsWithAnEmptyName) {
    auto const a = palm_test::random_record(5, rng);
    for (int round = 0; round < 10; ++round) {
        ASSERT_TRUE(env.create_partition(7, round % 2 == 1));
        EXPECT_STREQ("", env.get_identify_user_name(7)) << round;
        ASSERT_TRUE(env.push_template("A", text(a).c_str()));
        ASSERT_TRUE(env.assign_user_to_partition(7, "A"));
        ASSERT_TRUE(env.match_1vN(7, text(a).c_str(), ""));
        EXPECT_STREQ("A", env.get_identify_user_name(7));
        ASSERT_TRUE(env.delete_partition(7));
    }
}

TEST_F(Identification, DestroyingAParallelPartitionJoinsIdleWorkers) {
    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(env.create_partition(i, true));
        if (i % 2 == 0) {
            auto const r = palm_test::random_record(1, rng);
            enrol_into(i, r);
        }
    }
    for (int i = 0; i < 20; ++i)
        EXPECT_TRUE(env.delete_partition(i));
}
