#include <gtest/gtest.h>

#include <random>
#include <thread>

#include "palm/feature/palm_feature_lib.h"
#include "sim/synthetic_records.h"

namespace lib = palm_feature_lib;

// Readers query and search while a writer adds and removes ids: the lock and
// each thread's own id list keep them apart.
TEST(PalmFeatureLibConcurrency, QueriesAndSearchesBesideUpdates) {
    std::mt19937 rng(11);
    palm_feature::user_palm_feature const r = palm_test::random_record(1, rng);
    lib::update(90000, &r, lib::first_hand);
    lib::query();
    std::thread writer([&] {
        for (unsigned i = 0; i < 200; ++i) {
            lib::update(90001 + i % 7, &r, lib::first_hand);
            lib::remove(90001 + (i + 3) % 7);
        }
    });
    std::thread reader([&] {
        std::size_t seen = 0;
        for (int i = 0; i < 200; ++i) {
            std::vector<unsigned> const& ids = lib::query();
            lib::data_locator locator;
            ASSERT_TRUE(lib::lock(&locator));
            for (unsigned id : ids)
                seen += locator.find(id) != nullptr;
            lib::unlock();
        }
        EXPECT_GE(seen, 200u);  // 90000 is always there
    });
    writer.join();
    reader.join();
    for (unsigned i = 0; i < 8; ++i)
        lib::remove(90000 + i);
}

TEST(PalmFeatureLibConcurrency, FindAnswersOnlyOnTheThreadThatHoldsTheLock) {
    std::mt19937 rng(12);
    palm_feature::user_palm_feature const r = palm_test::random_record(1, rng);
    lib::update(91000, &r, lib::first_hand);
    lib::data_locator locator;
    ASSERT_TRUE(lib::lock(&locator));
    lib::two_hand_feature sentinel(nullptr, nullptr);
    lib::two_hand_feature* elsewhere = &sentinel;
    std::thread other([&] {
        elsewhere = locator.find(91000);
        lib::unlock();  // not this thread's lock: no effect
    });
    other.join();
    EXPECT_EQ(nullptr, elsewhere);
    EXPECT_NE(nullptr, locator.find(91000));
    lib::unlock();
    lib::remove(91000);
}
