#include "palm/feature/single_feature.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

using palm_feature::FEATURE_DATA_SIZE;
using palm_feature::single_feature;

namespace {
bool all_zero(single_feature const& f) {
    for (int i = 0; i < FEATURE_DATA_SIZE; ++i)
        if (f.data[i] != 0)
            return false;
    return true;
}
}  // namespace

TEST(SingleFeature, DefaultIsValidAndAllZero) {
    single_feature f;
    EXPECT_TRUE(f.IsValid());
    EXPECT_TRUE(all_zero(f));
    EXPECT_TRUE(f.path.empty());
}

TEST(SingleFeature, ClearReturnsToZero) {
    single_feature f;
    std::memset(f.data, 0xab, FEATURE_DATA_SIZE);
    f.Clear();
    EXPECT_TRUE(all_zero(f));
}

TEST(SingleFeature, CopyIsDeepAndDoesNotCopyPath) {
    single_feature a;
    a.data[7] = 42;
    a.path = "somewhere";
    single_feature b(a);
    EXPECT_NE(a.data, b.data);
    EXPECT_EQ(42, b.data[7]);
    EXPECT_TRUE(b.path.empty());
}

TEST(SingleFeature, AssignmentCopiesIntoExistingBlockAndKeepsPath) {
    single_feature a, b;
    a.data[0] = 9;
    b.path = "kept";
    unsigned char* const block = b.data;
    b = a;
    EXPECT_EQ(block, b.data);
    EXPECT_EQ(9, b.data[0]);
    EXPECT_EQ("kept", b.path);
}

TEST(SingleFeature, AssignmentFromInvalidSourceChangesNothing) {
    single_feature a, b;
    b.data[3] = 77;
    unsigned char* const saved = a.data;
    a.data = nullptr;
    b = a;
    EXPECT_EQ(77, b.data[3]);
    a.data = saved;
}

TEST(SingleFeature, StreamRoundTrip) {
    single_feature a;
    for (int i = 0; i < FEATURE_DATA_SIZE; ++i)
        a.data[i] = static_cast<unsigned char>(i * 7);
    std::stringstream ss;
    ASSERT_TRUE(a.write(ss));
    EXPECT_EQ(static_cast<size_t>(FEATURE_DATA_SIZE), ss.str().size());
    single_feature b;
    ASSERT_TRUE(b.read(ss));
    EXPECT_EQ(0, std::memcmp(a.data, b.data, FEATURE_DATA_SIZE));
}

TEST(SingleFeature, ShortStreamFails) {
    std::stringstream ss(std::string(100, 'x'));
    single_feature f;
    EXPECT_FALSE(f.read(ss));
}
