// The store's sweep slots and the code runs behind them: every template's
// codes held once, what the coarse stage of identification reads, and the
// name index beside the list of names.
#include <gtest/gtest.h>

#include <boost/thread/locks.hpp>
#include <boost/thread/thread.hpp>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "palm/recognition/code_arena.h"
#include "palm/recognition/rcg_environment.h"
#include "recognition/identification_transcription.h"
#include "sim/synthetic_records.h"

using palm_recognition::code_arena;
using palm_recognition::rcg_environment;
using palm_recognition::rcg_partition_def;
using palm_recognition::simple_feature_lib;
using palm_recognition::sweep_samples_every_fifth;
using palm_recognition::sweep_slot;

namespace {

bool aligned_to_line(unsigned char const* p) {
    return reinterpret_cast<std::uintptr_t>(p) % 64 == 0;
}

}  // namespace

TEST(CodeArena, RunsOfOneLengthFollowEachOtherAlignedToACacheLine) {
    code_arena arena;
    unsigned char* a = arena.allocate(5);
    unsigned char* b = arena.allocate(5);
    EXPECT_TRUE(aligned_to_line(a));
    EXPECT_EQ(a + 5 * code_arena::CODE_BYTES, b);
    std::memset(a, 1, 5 * code_arena::CODE_BYTES);
    std::memset(b, 2, 5 * code_arena::CODE_BYTES);
    EXPECT_EQ(1, a[5 * code_arena::CODE_BYTES - 1]);
    EXPECT_EQ(10 * code_arena::CODE_BYTES, arena.run_bytes());
}

TEST(CodeArena, AFreedRunServesTheNextRunOfItsLengthOnly) {
    code_arena arena;
    unsigned char* a = arena.allocate(5);
    arena.allocate(5);
    arena.release(a, 5);
    EXPECT_EQ(5 * code_arena::CODE_BYTES, arena.run_bytes());
    unsigned char* other_length = arena.allocate(3);
    EXPECT_NE(a, other_length);
    EXPECT_EQ(a, arena.allocate(5));
    arena.release(nullptr, 5);  // ignored
    EXPECT_EQ(13 * code_arena::CODE_BYTES, arena.run_bytes());
}

TEST(CodeArena, RunLongerThanASlabStandsAlone) {
    code_arena arena;
    int const codes = static_cast<int>(code_arena::SLAB_BYTES / code_arena::CODE_BYTES) + 1;
    unsigned char* big = arena.allocate(codes);
    ASSERT_NE(nullptr, big);
    EXPECT_TRUE(aligned_to_line(big));
    std::memset(big, 7, static_cast<std::size_t>(codes) * code_arena::CODE_BYTES);
    arena.release(big, codes);
    EXPECT_EQ(big, arena.allocate(codes));
    unsigned char* small = arena.allocate(1);
    EXPECT_TRUE(aligned_to_line(small));
}

TEST(CodeArena, ManyRunsKeepTheirCodesAcrossSlabsAndClearGivesAllBack) {
    code_arena arena;
    // 45 codes a run: the template's other codes. Enough runs to fill slabs
    // that grow to the full size.
    int const codes = 45, runs = 600;
    std::size_t const bytes = codes * code_arena::CODE_BYTES;
    std::vector<unsigned char*> all;
    for (int r = 0; r < runs; ++r) {
        all.push_back(arena.allocate(codes));
        std::memset(all.back(), r & 0xff, bytes);
    }
    for (int r = 0; r < runs; ++r) {
        ASSERT_TRUE(aligned_to_line(all[r]));
        EXPECT_EQ(r & 0xff, all[r][0]) << r;
        EXPECT_EQ(r & 0xff, all[r][bytes - 1]) << r;
    }
    EXPECT_EQ(runs * bytes, arena.run_bytes());
    EXPECT_GE(arena.slab_bytes(), arena.run_bytes());
    // What the slabs hold beyond the runs is bounded by one full slab and the
    // rest of the smaller ones.
    EXPECT_LE(arena.slab_bytes(), arena.run_bytes() + 2 * code_arena::SLAB_BYTES);
    // Full slabs are mapped whole, in units of a huge page.
    EXPECT_GT(arena.mapped_bytes(), 0u);
    EXPECT_LE(arena.mapped_bytes(), arena.slab_bytes());
    EXPECT_EQ(0u, arena.mapped_bytes() % code_arena::SLAB_BYTES);
    arena.clear();
    EXPECT_EQ(0u, arena.mapped_bytes());
    EXPECT_EQ(0u, arena.slab_bytes());
    EXPECT_EQ(0u, arena.run_bytes());
    EXPECT_TRUE(aligned_to_line(arena.allocate(codes)));
}

TEST(SweepSlot, HoldsEachCodeOfTheCurrentTemplateOnce) {
    simple_feature_lib lib;
    std::mt19937 rng(3);
    std::string const* name = lib.intern_name("u");
    sweep_slot const* slot = lib.find_slot(name);
    ASSERT_NE(nullptr, slot);
    EXPECT_EQ(name, slot->name);
    EXPECT_FALSE(slot->stored);  // assigned before any template
    EXPECT_EQ(nullptr, lib.find_template(name));
    palm_feature::user_palm_feature none;
    EXPECT_FALSE(lib.copy_template(name, none));
    EXPECT_EQ(0, none.size());

    auto const r = palm_test::random_record(25, rng);
    lib.store_template(name, r);
    EXPECT_EQ(slot, lib.find_slot(name));  // the slot stays where it is
    EXPECT_EQ(slot, lib.find_template(name));
    EXPECT_TRUE(slot->stored);
    EXPECT_EQ(25, slot->cells);
    ASSERT_EQ(5, slot->sampled);
    EXPECT_EQ(50u * 384u, lib.code_bytes());
    for (int k = 0; k < 5; ++k)
        EXPECT_EQ(0, std::memcmp(r[5 * k].first.data,
                                 slot->sampled_prints + k * code_arena::CODE_BYTES, 384))
            << k;
    for (int k = 0; k < 25; ++k) {
        EXPECT_EQ(0, std::memcmp(r[k].first.data, slot->print(k), 384)) << k;
        EXPECT_EQ(0, std::memcmp(r[k].second.data, slot->vein(k), 384)) << k;
    }
    palm_feature::user_palm_feature copy;
    ASSERT_TRUE(lib.copy_template(name, copy));
    EXPECT_EQ(palm_test::feature_text(r), palm_test::feature_text(copy));

    // A template that no coarse stage samples has no sampled run.
    auto const six = palm_test::random_record(6, rng);
    lib.store_template(name, six);
    EXPECT_EQ(6, slot->cells);
    EXPECT_EQ(nullptr, slot->sampled_prints);
    EXPECT_EQ(12u * 384u, lib.code_bytes());
    ASSERT_TRUE(lib.copy_template(name, copy));
    EXPECT_EQ(palm_test::feature_text(six), palm_test::feature_text(copy));
    // Seven cells: the search on the calling thread compares cells 0 and 5.
    auto const seven = palm_test::random_record(7, rng);
    lib.store_template(name, seven);
    ASSERT_EQ(2, slot->sampled);
    EXPECT_EQ(0,
              std::memcmp(seven[5].first.data, slot->sampled_prints + code_arena::CODE_BYTES, 384));
    ASSERT_TRUE(lib.copy_template(name, copy));
    EXPECT_EQ(palm_test::feature_text(seven), palm_test::feature_text(copy));
    EXPECT_EQ(1u, lib.template_count());
    // An empty record is a template too, of no cells.
    lib.store_template(name, palm_feature::user_palm_feature());
    EXPECT_EQ(slot, lib.find_template(name));
    EXPECT_EQ(0, slot->cells);
    EXPECT_EQ(0u, lib.code_bytes());
    EXPECT_EQ(1u, lib.template_count());
}

TEST(SweepSlot, EveryTemplateSizeReadsBackAsItWasStored) {
    simple_feature_lib lib;
    std::mt19937 rng(5);
    for (int cells = 1; cells <= 31; ++cells) {
        std::string const user = "t" + std::to_string(cells);
        std::string const* name = lib.intern_name(user.c_str());
        auto const r = palm_test::random_record(cells, rng);
        lib.store_template(name, r);
        palm_feature::user_palm_feature copy;
        ASSERT_TRUE(lib.copy_template(name, copy));
        EXPECT_EQ(palm_test::feature_text(r), palm_test::feature_text(copy)) << cells;
        EXPECT_EQ(sweep_samples_every_fifth(cells) ? (cells + 4) / 5 : 0,
                  lib.find_slot(name)->sampled)
            << cells;
    }
}

TEST(SweepSlot, RePushingReplacesTheCodesInPlaceAndDeletingFreesThemForTheNext) {
    rcg_environment env;
    std::mt19937 rng(8);
    std::string const a = palm_test::feature_text(palm_test::random_record(25, rng));
    std::string const b = palm_test::feature_text(palm_test::random_record(25, rng));
    std::string const c = palm_test::feature_text(palm_test::random_record(25, rng));
    ASSERT_TRUE(env.push_template("x", a.c_str()));
    ASSERT_TRUE(env.push_template("y", b.c_str()));
    sweep_slot const* x = env.find_template(env.find_name("x"));
    unsigned char const* const x_codes = x->codes;
    std::size_t const slabs = env.code_slab_bytes();
    EXPECT_EQ(2u * 50u * 384u, env.code_bytes());

    // The same size again: the runs just given back take the new codes.
    ASSERT_TRUE(env.push_template("x", c.c_str()));
    EXPECT_EQ(x, env.find_template(env.find_name("x")));
    EXPECT_EQ(x_codes, x->codes);
    EXPECT_EQ(2u * 50u * 384u, env.code_bytes());
    palm_feature::user_palm_feature copy;
    ASSERT_TRUE(env.copy_template(env.find_name("x"), copy));
    EXPECT_EQ(c, palm_test::feature_text(copy));
    ASSERT_TRUE(env.copy_template(env.find_name("y"), copy));
    EXPECT_EQ(b, palm_test::feature_text(copy));

    // A deleted template's runs serve the next user of its size.
    ASSERT_TRUE(env.delete_template("x"));
    EXPECT_EQ(50u * 384u, env.code_bytes());
    ASSERT_TRUE(env.push_template("z", a.c_str()));
    EXPECT_EQ(x_codes, env.find_template(env.find_name("z"))->codes);
    EXPECT_EQ(slabs, env.code_slab_bytes());
    ASSERT_TRUE(env.copy_template(env.find_name("z"), copy));
    EXPECT_EQ(a, palm_test::feature_text(copy));
    EXPECT_EQ(2u, env.template_count());

    env.clear_templates();
    EXPECT_EQ(0u, env.code_bytes());
    EXPECT_EQ(0u, env.code_slab_bytes());
    EXPECT_EQ(0u, env.template_count());
}

TEST(SweepSlot, TheNameIndexAgreesWithTheListAfterDeletes) {
    rcg_environment env;
    std::mt19937 rng(12);
    std::string const text = palm_test::feature_text(palm_test::random_record(5, rng));
    int const n = 300;
    for (int i = 0; i < n; ++i) {
        std::string const user = "n" + std::to_string(i);
        // Every third name is only assigned, never given a template.
        if (i % 3 == 0)
            ASSERT_TRUE(env.create_partition(i, false) &&
                        env.assign_user_to_partition(i, user.c_str()));
        else
            ASSERT_TRUE(env.push_template(user.c_str(), text.c_str()));
    }
    std::vector<std::string> kept;
    for (int i = 0; i < n; ++i) {
        std::string const user = "n" + std::to_string(i);
        if (i % 4 == 1 || i % 7 == 0)
            ASSERT_TRUE(env.delete_template(user.c_str())) << user;
        else
            kept.push_back(user);
    }
    ASSERT_EQ(kept.size(), env.names.size());
    std::size_t with_template = 0;
    for (std::size_t k = 0; k < kept.size(); ++k) {
        std::string const* name = env.find_name(kept[k].c_str());
        ASSERT_NE(nullptr, name) << kept[k];
        EXPECT_EQ(env.names[k], name);  // the order of first appearance
        EXPECT_EQ(kept[k], *name);
        ASSERT_NE(nullptr, env.find_slot(name));
        EXPECT_EQ(name, env.find_slot(name)->name);
        with_template += env.find_template(name) != nullptr;
    }
    EXPECT_EQ(with_template, env.template_count());
    for (int i = 0; i < n; ++i) {
        std::string const user = "n" + std::to_string(i);
        if (i % 4 == 1 || i % 7 == 0) {
            EXPECT_EQ(nullptr, env.find_name(user.c_str())) << user;
            EXPECT_FALSE(env.delete_template(user.c_str()));
        }
    }
    // A deleted name comes back as a new name at the end.
    ASSERT_TRUE(env.push_template("n1", text.c_str()));
    EXPECT_EQ("n1", *env.names.back());
    EXPECT_EQ(env.names.back(), env.find_name("n1"));
    EXPECT_EQ(with_template + 1, env.template_count());
}

TEST(PartitionUsers, ManyAssignmentsKeepOrderAndRefuseRepeats) {
    rcg_environment env;
    ASSERT_TRUE(env.create_partition(1, true));
    int const n = 20000;
    for (int i = 0; i < n; ++i)
        ASSERT_TRUE(env.assign_user_to_partition(1, ("p" + std::to_string(i)).c_str()));
    for (int i = 0; i < n; i += 997)
        EXPECT_FALSE(env.assign_user_to_partition(1, ("p" + std::to_string(i)).c_str()));
    for (int i = 0; i < n; i += 3)
        env.remove_user_from_partition(1, ("p" + std::to_string(i)).c_str());
    EXPECT_TRUE(env.assign_user_to_partition(1, "p0"));
    std::vector<std::string const*> const users = env.find_partition(1)->users_snapshot();
    std::vector<std::string const*> expected;
    for (int i = 0; i < n; ++i)
        if (i % 3 != 0)
            expected.push_back(env.find_name(("p" + std::to_string(i)).c_str()));
    expected.push_back(env.find_name("p0"));
    EXPECT_EQ(expected, users);
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
        env.store_template(env.intern_name(name.c_str()), records.back());
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
