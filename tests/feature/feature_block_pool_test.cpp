#include "palm/feature/feature_block_pool.h"

#include <gtest/gtest.h>

#include <cstring>

#include "palm/feature/single_feature.h"

using palm_feature::feature_block_pool;
using palm_feature::single_feature;

TEST(FeatureBlockPool, AdoptKeepsTheBytesAndTakesOwnership) {
    std::size_t const before = feature_block_pool::blocks_in_use();
    {
        single_feature f;
        for (int i = 0; i < 384; ++i)
            f.data[i] = static_cast<unsigned char>(i);
        EXPECT_FALSE(feature_block_pool::owns(f.data));
        ASSERT_TRUE(feature_block_pool::adopt(f));
        EXPECT_TRUE(feature_block_pool::owns(f.data));
        for (int i = 0; i < 384; ++i)
            ASSERT_EQ(static_cast<unsigned char>(i), f.data[i]);
        EXPECT_EQ(before + 1, feature_block_pool::blocks_in_use());
        // Adopting twice changes nothing.
        unsigned char* const block = f.data;
        EXPECT_TRUE(feature_block_pool::adopt(f));
        EXPECT_EQ(block, f.data);
    }
    EXPECT_EQ(before, feature_block_pool::blocks_in_use());
}

TEST(FeatureBlockPool, ReleasedBlocksAreReused) {
    unsigned char* first = nullptr;
    {
        single_feature f;
        ASSERT_TRUE(feature_block_pool::adopt(f));
        first = f.data;
    }
    single_feature g;
    ASSERT_TRUE(feature_block_pool::adopt(g));
    EXPECT_EQ(first, g.data);
}

TEST(FeatureBlockPool, OrdinaryBlocksAndNullAreNotOwned) {
    single_feature f;
    EXPECT_FALSE(feature_block_pool::owns(f.data));
    EXPECT_FALSE(feature_block_pool::owns(nullptr));
}

TEST(FeatureBlockPool, CopyOfAPooledFeatureIsAnOrdinaryBlock) {
    single_feature f;
    f.data[0] = 5;
    ASSERT_TRUE(feature_block_pool::adopt(f));
    single_feature copy(f);
    EXPECT_FALSE(feature_block_pool::owns(copy.data));
    EXPECT_EQ(5, copy.data[0]);
}

TEST(FeatureBlockPool, FeatureWithoutBlockIsNotAdopted) {
    single_feature f;
    unsigned char* const saved = f.data;
    f.data = nullptr;
    EXPECT_FALSE(feature_block_pool::adopt(f));
    EXPECT_EQ(nullptr, f.data);
    f.data = saved;
}
