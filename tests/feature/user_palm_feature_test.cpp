#include "palm/feature/user_palm_feature.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>

#include "palm/feature/basic_imemstream.h"
#include "sim/synthetic_records.h"

using palm_feature::FEATURE_DATA_SIZE;
using palm_feature::palm_cell;
using palm_feature::single_feature;
using palm_feature::user_palm_feature;

namespace {

std::string count_bytes(int32_t n) {
    return std::string(reinterpret_cast<char*>(&n), 4);
}

std::string temp_path(char const* name) {
    return ::testing::TempDir() + "palm_upf_" + std::to_string(::getpid()) + "_" + name;
}

bool file_exists(std::string const& path) {
    return std::ifstream(path).good();
}

void fill(single_feature& f, unsigned char v) {
    std::memset(f.data, v, FEATURE_DATA_SIZE);
}

}  // namespace

TEST(UserPalmFeature, EmptyRecordWritesFourBytesHoldingZero) {
    user_palm_feature empty;
    std::ostringstream out;
    ASSERT_TRUE(empty.write(out));
    EXPECT_EQ(count_bytes(0), out.str());
}

TEST(UserPalmFeature, ReadRefusesTheEmptyStream) {
    std::string bytes = count_bytes(0);
    palm_feature::imemstream in(&bytes[0], bytes.size());
    user_palm_feature r;
    EXPECT_FALSE(r.read(in));
    EXPECT_EQ(0, r.size());
}

TEST(UserPalmFeature, ToBufferOfEmptyRecordIsNullAndLeavesSize) {
    user_palm_feature empty;
    int size = 12345;
    EXPECT_EQ(nullptr, empty.tobuffer(size));
    EXPECT_EQ(12345, size);
}

TEST(UserPalmFeature, ToBufferEqualsWrite) {
    std::mt19937 rng(1);
    user_palm_feature r = palm_test::random_record(3, rng);
    int size = 0;
    char* block = r.tobuffer(size);
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(4 + 768 * 3, size);
    EXPECT_EQ(palm_test::stream_bytes(r), std::string(block, static_cast<size_t>(size)));
    delete[] block;
}

TEST(UserPalmFeature, CountOf1024ReadsBack) {
    std::mt19937 rng(2);
    user_palm_feature r = palm_test::random_record(1024, rng);
    std::string bytes = palm_test::stream_bytes(r);
    ASSERT_EQ(786436u, bytes.size());
    palm_feature::imemstream in(&bytes[0], bytes.size());
    user_palm_feature back;
    ASSERT_TRUE(back.read(in));
    EXPECT_EQ(bytes, palm_test::stream_bytes(back));
}

TEST(UserPalmFeature, Counts1025ZeroAndNegativeAreRefusedBeforeAnyCellIsTouched) {
    for (int32_t bad : {1025, 0, -1, INT32_MIN, INT32_MAX}) {
        std::mt19937 rng(3);
        user_palm_feature r = palm_test::random_record(2, rng);
        std::string const before = palm_test::stream_bytes(r);
        std::string bytes = count_bytes(bad) + std::string(768 * 2, '\x11');
        palm_feature::imemstream in(&bytes[0], bytes.size());
        EXPECT_FALSE(r.read(in)) << bad;
        EXPECT_EQ(before, palm_test::stream_bytes(r)) << bad;
    }
}

TEST(UserPalmFeature, ShortStreamLeavesNewCountAndNoRollback) {
    // Count 3, data for two cells only; the third keeps its previous bytes.
    user_palm_feature r;
    r.cells.resize(3);
    fill(r[2].first, 0x5a);
    std::string bytes = count_bytes(3) + std::string(768 * 2, '\x22');
    palm_feature::imemstream in(&bytes[0], bytes.size());
    EXPECT_FALSE(r.read(in));
    ASSERT_EQ(3, r.size());
    EXPECT_EQ(0x22, r[1].second.data[383]);
    EXPECT_EQ(0x5a, r[2].first.data[0]);

    // ... and zeros where the cell is new.
    user_palm_feature fresh;
    palm_feature::imemstream again(&bytes[0], bytes.size());
    EXPECT_FALSE(fresh.read(again));
    ASSERT_EQ(3, fresh.size());
    EXPECT_EQ(0, fresh[2].first.data[0]);
    EXPECT_EQ(0, fresh[2].second.data[383]);
}

TEST(UserPalmFeature, FromBufferIsTrueEvenWhenReadRefuses) {
    std::string bytes = count_bytes(3) + std::string(768 * 2, '\x22');
    user_palm_feature r;
    EXPECT_TRUE(r.from_buffer(&bytes[0], static_cast<int>(bytes.size())));
    EXPECT_EQ(3, r.size());
    std::string zero = count_bytes(0);
    user_palm_feature z;
    EXPECT_TRUE(z.from_buffer(&zero[0], 4));
    EXPECT_EQ(0, z.size());
}

TEST(UserPalmFeature, FromBufferWithoutABlockReadsNothing) {
    std::mt19937 rng(4);
    user_palm_feature r = palm_test::random_record(2, rng);
    std::string const before = palm_test::stream_bytes(r);
    EXPECT_TRUE(r.from_buffer(nullptr, 100));
    EXPECT_TRUE(r.from_buffer(nullptr, 0));
    char byte = 0;
    EXPECT_TRUE(r.from_buffer(&byte, -5));
    EXPECT_EQ(before, palm_test::stream_bytes(r));
}

TEST(UserPalmFeature, ReadIntoLargerRecordEndsWithStreamCount) {
    std::mt19937 rng(5);
    user_palm_feature big = palm_test::random_record(7, rng);
    user_palm_feature small = palm_test::random_record(2, rng);
    std::string bytes = palm_test::stream_bytes(small);
    palm_feature::imemstream in(&bytes[0], bytes.size());
    ASSERT_TRUE(big.read(in));
    EXPECT_EQ(2, big.size());
    EXPECT_EQ(bytes, palm_test::stream_bytes(big));
}

TEST(UserPalmFeature, ReadLeavesPathAlone) {
    std::mt19937 rng(6);
    user_palm_feature src = palm_test::random_record(1, rng);
    std::string bytes = palm_test::stream_bytes(src);
    user_palm_feature r;
    r.path = "remembered";
    palm_feature::imemstream in(&bytes[0], bytes.size());
    ASSERT_TRUE(r.read(in));
    EXPECT_EQ("remembered", r.path);
}

TEST(UserPalmFeature, SaveWithoutPathIsFalseAndCreatesNoFile) {
    std::mt19937 rng(7);
    user_palm_feature r = palm_test::random_record(1, rng);
    EXPECT_FALSE(r.save());
    EXPECT_TRUE(r.path.empty());
}

TEST(UserPalmFeature, SaveAfterLoadRewritesThatFileAndSaveOtherKeepsPath) {
    std::mt19937 rng(8);
    std::string const a = temp_path("a.rec"), b = temp_path("b.rec");
    user_palm_feature first = palm_test::random_record(2, rng);
    ASSERT_TRUE(first.save(a));
    EXPECT_TRUE(first.path.empty());  // save(path) does not remember

    user_palm_feature r;
    ASSERT_TRUE(r.load(a));
    EXPECT_EQ(a, r.path);
    fill(r[0].first, 0x77);
    ASSERT_TRUE(r.save());
    ASSERT_TRUE(r.save(b));
    EXPECT_EQ(a, r.path);

    user_palm_feature check;
    ASSERT_TRUE(check.load(a));
    EXPECT_EQ(0x77, check[0].first.data[100]);
    ASSERT_TRUE(file_exists(b));
    std::remove(a.c_str());
    std::remove(b.c_str());
}

TEST(UserPalmFeature, LoadOfMissingFileKeepsPreviousPath) {
    user_palm_feature r;
    r.path = "previous";
    EXPECT_FALSE(r.load(temp_path("does_not_exist.rec")));
    EXPECT_EQ("previous", r.path);
}

TEST(UserPalmFeature, FileWithOnlyACountFailsButResizes) {
    std::string const p = temp_path("count_only.rec");
    {
        std::ofstream out(p, std::ios::binary);
        out << count_bytes(2);
    }
    user_palm_feature r;
    EXPECT_FALSE(r.load(p));
    EXPECT_EQ(2, r.size());
    EXPECT_TRUE(r.path.empty());
    std::remove(p.c_str());
}

TEST(UserPalmFeature, RecordsOfZeroOrManyCellsAreWrittenWithoutComplaint) {
    user_palm_feature r;
    r.cells.resize(1025);
    std::ostringstream out;
    EXPECT_TRUE(r.write(out));
    EXPECT_EQ(4u + 768u * 1025u, out.str().size());
}

TEST(UserPalmFeature, WriteToBadStreamFails) {
    user_palm_feature r;
    r.cells.resize(1);
    std::ostringstream out;
    out.setstate(std::ios::badbit);
    EXPECT_FALSE(r.write(out));
}

TEST(UserPalmFeature, AddCopiesDeeply) {
    palm_cell<single_feature> cell;
    fill(cell.first, 1);
    user_palm_feature r;
    r.add(cell);
    fill(cell.first, 2);
    EXPECT_EQ(1, r[0].first.data[0]);
    EXPECT_NE(cell.first.data, r[0].first.data);
}

TEST(UserPalmFeature, ReplaceCopiesBytesIntoExistingBlocks) {
    user_palm_feature r;
    r.cells.resize(2);
    unsigned char* const block = r[1].second.data;
    palm_cell<single_feature> cell;
    fill(cell.second, 9);
    r.replace(1, cell);
    EXPECT_EQ(block, r[1].second.data);
    EXPECT_EQ(9, r[1].second.data[5]);
}

TEST(UserPalmFeature, EraseShiftsContentsDown) {
    user_palm_feature r;
    r.cells.resize(3);
    for (int i = 0; i < 3; ++i)
        fill(r[i].first, static_cast<unsigned char>(10 + i));
    r.erase(0);
    ASSERT_EQ(2, r.size());
    EXPECT_EQ(11, r[0].first.data[0]);
    EXPECT_EQ(12, r[1].first.data[0]);
}

TEST(UserPalmFeature, ClearKeepsPath) {
    user_palm_feature r;
    r.cells.resize(2);
    r.path = "p";
    r.clear();
    EXPECT_EQ(0, r.size());
    EXPECT_EQ("p", r.path);
}

TEST(UserPalmFeature, CopyIsDeep) {
    std::mt19937 rng(9);
    user_palm_feature a = palm_test::random_record(2, rng);
    a.path = "x";
    user_palm_feature b(a);
    EXPECT_EQ("x", b.path);
    EXPECT_NE(a[0].first.data, b[0].first.data);
    EXPECT_EQ(palm_test::stream_bytes(a), palm_test::stream_bytes(b));
}
