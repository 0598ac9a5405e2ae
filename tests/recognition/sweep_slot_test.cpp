// The store's sweep slots and the run storage behind them: what the coarse
// stage of identification reads instead of the template tree.
#include <gtest/gtest.h>

#include <boost/thread/locks.hpp>
#include <boost/thread/thread.hpp>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>

#include "palm/recognition/print_sample_arena.h"
#include "palm/recognition/rcg_environment.h"
#include "recognition/identification_transcription.h"
#include "sim/synthetic_records.h"

using palm_recognition::print_sample_arena;
using palm_recognition::rcg_environment;
using palm_recognition::rcg_partition_def;
using palm_recognition::simple_feature_lib;
using palm_recognition::sweep_slot;

namespace {

bool aligned_to_line(unsigned char const* p) {
    return reinterpret_cast<std::uintptr_t>(p) % 64 == 0;
}

}  // namespace

TEST(PrintSampleArena, RunsFollowEachOtherAlignedToACacheLine) {
    print_sample_arena arena;
    unsigned char* a = arena.allocate(5);
    unsigned char* b = arena.allocate(5);
    EXPECT_TRUE(aligned_to_line(a));
    EXPECT_EQ(a + 5 * print_sample_arena::CODE_BYTES, b);
    std::memset(a, 1, 5 * print_sample_arena::CODE_BYTES);
    std::memset(b, 2, 5 * print_sample_arena::CODE_BYTES);
    EXPECT_EQ(1, a[5 * print_sample_arena::CODE_BYTES - 1]);
}

TEST(PrintSampleArena, AFreedRunServesTheNextRunOfItsLengthOnly) {
    print_sample_arena arena;
    unsigned char* a = arena.allocate(5);
    arena.allocate(5);
    arena.release(a, 5);
    unsigned char* other_length = arena.allocate(3);
    EXPECT_NE(a, other_length);
    EXPECT_EQ(a, arena.allocate(5));
}

TEST(PrintSampleArena, RunLongerThanAChunkStandsAlone) {
    print_sample_arena arena;
    int const codes =
        static_cast<int>(print_sample_arena::CHUNK_BYTES / print_sample_arena::CODE_BYTES) + 1;
    unsigned char* big = arena.allocate(codes);
    ASSERT_NE(nullptr, big);
    EXPECT_TRUE(aligned_to_line(big));
    std::memset(big, 7, static_cast<std::size_t>(codes) * print_sample_arena::CODE_BYTES);
    arena.release(big, codes);
    unsigned char* small = arena.allocate(1);
    EXPECT_TRUE(aligned_to_line(small));
}

TEST(SweepSlot, DescribesTheCurrentTemplateAndItsSampledPrints) {
    simple_feature_lib lib;
    std::mt19937 rng(3);
    std::string const* name = lib.intern_name("u");
    sweep_slot const* slot = lib.find_slot(name);
    ASSERT_NE(nullptr, slot);
    EXPECT_EQ(name, slot->name);
    EXPECT_EQ(nullptr, slot->record);  // assigned before any template

    auto r = palm_test::random_record(25, rng);
    auto const kept = r;
    lib.store_template(name, r);
    EXPECT_EQ(slot, lib.find_slot(name));  // the slot stays where it is
    EXPECT_EQ(lib.find_template(name), slot->record);
    EXPECT_EQ(25, slot->cells);
    ASSERT_EQ(5, slot->sampled);
    for (int k = 0; k < 5; ++k)
        EXPECT_EQ(0, std::memcmp(kept[5 * k].first.data,
                                 slot->sampled_prints + k * print_sample_arena::CODE_BYTES, 384))
            << k;

    // A template that no coarse stage samples has no run.
    auto six = palm_test::random_record(6, rng);
    lib.store_template(name, six);
    EXPECT_EQ(6, slot->cells);
    EXPECT_EQ(nullptr, slot->sampled_prints);
    // Seven cells: the search on the calling thread compares cells 0 and 5.
    auto seven = palm_test::random_record(7, rng);
    auto const seven_kept = seven;
    lib.store_template(name, seven);
    ASSERT_EQ(2, slot->sampled);
    EXPECT_EQ(0, std::memcmp(seven_kept[5].first.data,
                             slot->sampled_prints + print_sample_arena::CODE_BYTES, 384));
}

TEST(SweepSlot, IsNullForPointersThatAreNotTheStoresNames) {
    simple_feature_lib lib;
    lib.intern_name("u");
    std::string const foreign("u");
    EXPECT_EQ(nullptr, lib.find_slot(&foreign));
    EXPECT_EQ(nullptr, lib.find_slot(nullptr));
    std::string const* gone = lib.intern_name("gone");
    lib.erase_name(lib.find_name("u"));
    EXPECT_NE(nullptr, lib.find_slot(gone));
}

TEST(SweepSlot, AUserForeignToTheStoreCountsAsAUserWithoutTemplate) {
    // A partition may be handed a pointer that is not one of the store's
    // names; the search then finds no template for it, as the tree would.
    rcg_environment env;
    std::mt19937 rng(9);
    ASSERT_TRUE(env.create_partition(1, true));
    ASSERT_TRUE(env.create_partition(2, false));
    std::vector<palm_feature::user_palm_feature> records;
    for (int i = 0; i < 30; ++i) {
        records.push_back(palm_test::random_record(25, rng));
        std::string const name = "u" + std::to_string(i);
        auto stored = records.back();  // the store takes the cells of what it is given
        env.store_template(env.intern_name(name.c_str()), stored);
        env.assign_user_to_partition(1, name.c_str());
        env.assign_user_to_partition(2, name.c_str());
    }
    std::string const foreign("u3");
    palm_test::differential_coverage coverage;
    for (int id : {1, 2}) {
        rcg_partition_def* p = env.find_partition(id);
        ASSERT_TRUE(p->add_user(&foreign));
        auto const probe = palm_test::noisy_probe(records[4], 1, 0.02, rng);
        boost::unique_lock<boost::shared_mutex> lock(p->mutex);
        palm_test::expect_same_search(*p, probe[0], id == 1, coverage, "foreign");
        // And the list may be changed behind the partition's back.
        p->users.push_back(p->users[0]);
        palm_test::expect_same_search(*p, probe[0], id == 1, coverage, "changed list");
        p->users.pop_back();
        p->users.pop_back();
    }
    EXPECT_EQ(4, coverage.searches);
    EXPECT_EQ(4, coverage.identified);
}

TEST(WorkerCount, PinnedCountHoldsForPartitionsCreatedAfterwardsOnly) {
    simple_feature_lib lib;
    rcg_partition_def::pin_worker_count(3);
    rcg_partition_def three(lib, true);
    rcg_partition_def::pin_worker_count(0);
    rcg_partition_def plain(lib, true);
    EXPECT_EQ(3u, three.thread_count);
    EXPECT_EQ(3u, three.threads.size());
    EXPECT_EQ(boost::thread::hardware_concurrency(), plain.thread_count);
    EXPECT_EQ(boost::thread::hardware_concurrency(), rcg_partition_def::worker_count());
}
