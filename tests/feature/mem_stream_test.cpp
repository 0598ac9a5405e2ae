#include <gtest/gtest.h>

#include <string>

#include "palm/feature/basic_imemstream.h"
#include "palm/feature/mem_streambuf.h"

TEST(MemStream, ReadsTheBlockAndStopsAtItsEnd) {
    char block[] = {'a', 'b', 'c'};
    palm_feature::imemstream in(block, 3);
    char out[4] = {0, 0, 0, 0};
    in.read(out, 3);
    EXPECT_TRUE(in.good());
    EXPECT_EQ(std::string("abc"), std::string(out, 3));
    in.read(out, 1);
    EXPECT_TRUE(in.eof());
    EXPECT_TRUE(in.fail());
}

TEST(MemStream, ReadPastEndKeepsWhatWasThere) {
    char block[] = {'x', 'y'};
    palm_feature::imemstream in(block, 2);
    char out[4] = {0, 0, 0, 0};
    in.read(out, 4);
    EXPECT_EQ(2, in.gcount());
    EXPECT_EQ('y', out[1]);
    EXPECT_TRUE(in.fail());
}

TEST(MemStream, CannotSeek) {
    char block[] = {'x', 'y'};
    palm_feature::imemstream in(block, 2);
    in.seekg(1);
    EXPECT_TRUE(in.fail());
}

TEST(MemStream, BufferDoesNotOwnByDefault) {
    char block[] = {'x'};
    palm_feature::mem_streambuf<char> buf(block, 1);
    EXPECT_FALSE(buf.owned);
    EXPECT_EQ(1u, buf.size);
    EXPECT_EQ(block, buf.buffer);
}

TEST(MemStream, OwningBufferFreesItsBlock) {
    // Run under the address sanitizer this fails as a leak if the block is kept.
    palm_feature::mem_streambuf<char> buf(new char[16], 16, true);
    EXPECT_TRUE(buf.owned);
}

TEST(MemStream, EmptyBlockIsAtEndAtOnce) {
    char c = 0;
    palm_feature::imemstream in(&c, 0);
    EXPECT_EQ(std::char_traits<char>::eof(), in.get());
    EXPECT_TRUE(in.eof());
}
