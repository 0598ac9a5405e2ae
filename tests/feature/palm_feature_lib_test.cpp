#include "palm/feature/palm_feature_lib.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "sim/synthetic_records.h"
#include "support/shell.h"

namespace lib = palm_feature_lib;
using palm_feature::user_palm_feature;

namespace {

// The library is process-wide: each test uses ids of its own and removes
// them again.
class PalmFeatureLib : public ::testing::Test {
  protected:
    void TearDown() override {
        for (unsigned id : used)
            lib::remove(id);
    }
    user_palm_feature record(int cells) { return palm_test::random_record(cells, rng); }
    void add(unsigned id, user_palm_feature const& r, lib::hand h) {
        used.push_back(id);
        ASSERT_TRUE(lib::update(id, &r, h));
    }
    std::mt19937 rng{7};
    std::vector<unsigned> used;
};

bool same_cells(user_palm_feature const& a, user_palm_feature const& b) {
    return palm_test::stream_bytes(a) == palm_test::stream_bytes(b);
}

}  // namespace

TEST_F(PalmFeatureLib, FindBeforeAnyLockGivesNullEvenForAnExistingId) {
    add(1001, record(2), lib::first_hand);
    lib::data_locator locator;
    EXPECT_EQ(nullptr, locator.find(1001));
}

TEST_F(PalmFeatureLib, FindUnderTheLockGivesTheEntryOrNull) {
    user_palm_feature const r = record(3);
    add(1002, r, lib::first_hand);
    lib::data_locator locator, other;
    ASSERT_TRUE(lib::lock(&locator));
    lib::two_hand_feature* const entry = other.find(1002);  // any locator finds
    ASSERT_NE(nullptr, entry);
    ASSERT_NE(nullptr, entry->first_hand);
    EXPECT_EQ(nullptr, entry->second_hand);
    EXPECT_TRUE(same_cells(r, *entry->first_hand));
    EXPECT_EQ(nullptr, locator.find(999999));
    lib::unlock();
    EXPECT_EQ(nullptr, locator.find(1002));
}

TEST_F(PalmFeatureLib, UpdateWithTheOtherHandKeepsBothHands) {
    user_palm_feature const a = record(2), b = record(3);
    add(1003, a, lib::first_hand);
    add(1003, b, lib::second_hand);
    lib::data_locator locator;
    ASSERT_TRUE(lib::lock(&locator));
    lib::two_hand_feature* const entry = locator.find(1003);
    ASSERT_NE(nullptr, entry);
    EXPECT_TRUE(same_cells(a, *entry->first_hand));
    EXPECT_TRUE(same_cells(b, *entry->second_hand));
    lib::unlock();
}

TEST_F(PalmFeatureLib, EveryHandValueOtherThanOneSelectsTheSecondHand) {
    user_palm_feature const a = record(1);
    add(1004, a, static_cast<lib::hand>(7));
    lib::data_locator locator;
    ASSERT_TRUE(lib::lock(&locator));
    EXPECT_EQ(nullptr, locator.find(1004)->first_hand);
    EXPECT_NE(nullptr, locator.find(1004)->second_hand);
    lib::unlock();
}

TEST_F(PalmFeatureLib, UpdateWithTheSameHandReplacesTheRecord) {
    user_palm_feature const a = record(2), b = record(4);
    add(1005, a, lib::first_hand);
    add(1005, b, lib::first_hand);
    lib::data_locator locator;
    ASSERT_TRUE(lib::lock(&locator));
    EXPECT_EQ(4, locator.find(1005)->first_hand->size());
    EXPECT_TRUE(same_cells(b, *locator.find(1005)->first_hand));
    lib::unlock();
}

TEST_F(PalmFeatureLib, UpdateOfANullRecordIsRefused) {
    EXPECT_FALSE(lib::update(1006, nullptr, lib::first_hand));
    EXPECT_FALSE(lib::exist(1006));
}

TEST_F(PalmFeatureLib, RemoveOfAnUnknownIdIsFalseAndLeavesTheIds) {
    add(1007, record(1), lib::first_hand);
    std::vector<unsigned> const before = lib::query();
    EXPECT_FALSE(lib::remove(424242));
    EXPECT_EQ(before, lib::query());
}

TEST_F(PalmFeatureLib, RemoveDestroysTheEntryAndTakesTheIdOut) {
    add(1008, record(1), lib::first_hand);
    int const n = lib::size();
    EXPECT_TRUE(lib::remove(1008));
    EXPECT_FALSE(lib::exist(1008));
    EXPECT_EQ(n - 1, lib::size());
    for (unsigned id : lib::query())
        EXPECT_NE(1008u, id);
}

TEST_F(PalmFeatureLib, ExistIsTrueForAnEntryWithOneHand) {
    add(1009, record(1), lib::second_hand);
    EXPECT_TRUE(lib::exist(1009));
    EXPECT_FALSE(lib::exist(1010));
}

TEST_F(PalmFeatureLib, LoadOfAMissingFileIsFalseAndCreatesNoEntry) {
    EXPECT_FALSE(lib::load(1011, palm_test::temp_file("no_such_record.rec"), lib::first_hand));
    EXPECT_FALSE(lib::exist(1011));
}

TEST_F(PalmFeatureLib, LoadOfATruncatedFileIsFalse) {
    std::string const path = palm_test::temp_file("truncated.rec");
    std::string const bytes = palm_test::stream_bytes(record(2));
    ASSERT_TRUE(palm_test::write_file(path, bytes.substr(0, bytes.size() - 1)));
    EXPECT_FALSE(lib::load(1012, path, lib::first_hand));
    EXPECT_FALSE(lib::exist(1012));
}

TEST_F(PalmFeatureLib, LoadStoresTheFileWithItsPath) {
    std::string const path = palm_test::temp_file("good.rec");
    user_palm_feature const r = record(2);
    ASSERT_TRUE(r.save(path));
    used.push_back(1013);
    ASSERT_TRUE(lib::load(1013, path, lib::first_hand));
    lib::data_locator locator;
    ASSERT_TRUE(lib::lock(&locator));
    EXPECT_TRUE(same_cells(r, *locator.find(1013)->first_hand));
    EXPECT_EQ(path, locator.find(1013)->first_hand->path);
    lib::unlock();
}

TEST_F(PalmFeatureLib, QueryListsIdsAndThenAppendsNewOnesUnsorted) {
    // Runs after other tests may have built the list: what is checked is
    // that a new id lands at the end, even below an older one.
    add(5000, record(1), lib::first_hand);
    std::vector<unsigned> const& ids = lib::query();
    ASSERT_FALSE(ids.empty());
    add(4000, record(1), lib::first_hand);
    ASSERT_GE(ids.size(), 2u);
    EXPECT_EQ(4000u, ids.back());  // the same vector shows the new id
    EXPECT_EQ(&ids, &lib::query());
    bool seen_5000 = false;
    for (std::size_t i = 0; i + 1 < ids.size(); ++i)
        seen_5000 = seen_5000 || ids[i] == 5000u;
    EXPECT_TRUE(seen_5000);
}

TEST_F(PalmFeatureLib, CloneOfARecordCopiesCellsButNotThePath) {
    user_palm_feature r = record(3);
    r.path = "somewhere.rec";
    user_palm_feature* const copy = lib::clone(&r);
    ASSERT_NE(nullptr, copy);
    EXPECT_TRUE(same_cells(r, *copy));
    EXPECT_EQ("", copy->path);
    delete copy;
    EXPECT_EQ(nullptr, lib::clone(static_cast<user_palm_feature*>(nullptr)));
}

TEST_F(PalmFeatureLib, CloneOfAFileLoadsItOrGivesNull) {
    std::string const path = palm_test::temp_file("clone.rec");
    user_palm_feature const r = record(2);
    ASSERT_TRUE(r.save(path));
    user_palm_feature* const copy = lib::clone(path);
    ASSERT_NE(nullptr, copy);
    EXPECT_TRUE(same_cells(r, *copy));
    delete copy;
    EXPECT_EQ(nullptr, lib::clone(palm_test::temp_file("absent.rec")));
    EXPECT_EQ(nullptr, lib::clone(std::string()));
}

TEST_F(PalmFeatureLib, ASecondLockOnTheSameThreadIsRefusedNotADeadlock) {
    lib::data_locator locator;
    ASSERT_TRUE(lib::lock(&locator));
    EXPECT_FALSE(lib::lock(&locator));
    lib::unlock();
    lib::unlock();  // not held any more: nothing happens
    ASSERT_TRUE(lib::lock(&locator));
    lib::unlock();
}

TEST_F(PalmFeatureLib, TheLockHolderMayUpdateWithoutWaitingForItself) {
    lib::data_locator locator;
    ASSERT_TRUE(lib::lock(&locator));
    user_palm_feature const r = record(1);
    used.push_back(1014);
    EXPECT_TRUE(lib::update(1014, &r, lib::first_hand));
    EXPECT_NE(nullptr, locator.find(1014));
    lib::unlock();
}

TEST(TwoHandFeature, CopiesWhatItIsGivenWithThePath) {
    std::mt19937 rng(3);
    user_palm_feature a = palm_test::random_record(2, rng);
    a.path = "a.rec";
    lib::two_hand_feature both(&a, nullptr);
    ASSERT_NE(nullptr, both.first_hand);
    EXPECT_NE(&a, both.first_hand);
    EXPECT_EQ("a.rec", both.first_hand->path);
    EXPECT_EQ(nullptr, both.second_hand);
    both.update(a, lib::second_hand);
    EXPECT_NE(nullptr, both.second_hand);
}
