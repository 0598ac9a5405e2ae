#include "palm/feature/md5.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "support/shell.h"

namespace {
bool block_is_zero_after(md5_text const& t, std::size_t from) {
    for (std::size_t i = from; i < MD5_TEXT_SIZE; ++i)
        if (t.text[i] != 0)
            return false;
    return true;
}
}  // namespace

TEST(Md5, RfcTestSuite) {
    struct {
        char const* in;
        char const* out;
    } const cases[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"1234567890123456789012345678901234567890"
         "1234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
    };
    for (auto const& c : cases) {
        md5_text const t = MD5String(c.in);
        EXPECT_STREQ(c.out, t.c_str()) << c.in;
        EXPECT_TRUE(block_is_zero_after(t, 32));
    }
}

TEST(Md5, AgreesWithMd5sumAcrossBlockBoundaries) {
    std::mt19937 rng(1);
    for (std::size_t n : {55u, 56u, 63u, 64u, 65u, 119u, 120u, 1000u, 4097u}) {
        std::string s(n, 'x');
        for (auto& c : s)
            c = static_cast<char>('a' + rng() % 26);
        int status = 0;
        std::string const sum = palm_test::run_command("md5sum", s, &status);
        EXPECT_EQ(sum.substr(0, 32), std::string(MD5String(s.c_str()).c_str())) << n;
    }
}

TEST(Md5, FileDigestEqualsStringDigest) {
    std::string const path = palm_test::temp_file("md5_file.txt");
    std::string content(3000, 'q');
    ASSERT_TRUE(palm_test::write_file(path, content));
    std::vector<char> p(path.begin(), path.end());
    p.push_back(0);
    EXPECT_STREQ(MD5String(content.c_str()).c_str(), MD5File(p.data()).c_str());
    std::remove(path.c_str());
}

TEST(Md5, MissingFileGivesAllZeroBlock) {
    char path[] = "/nonexistent/palm/file";
    md5_text const t = MD5File(path);
    EXPECT_TRUE(block_is_zero_after(t, 0));
    EXPECT_STREQ("", t.c_str());
}

TEST(Md5, NullArgumentsGiveAllZeroBlocks) {
    EXPECT_TRUE(block_is_zero_after(MD5File(nullptr), 0));
    EXPECT_TRUE(block_is_zero_after(MD5String(nullptr), 0));
    EXPECT_TRUE(block_is_zero_after(PrintMD5(nullptr), 0));
}

TEST(Md5, PrintUsesTwoLowerCaseDigitsPerByte) {
    unsigned char digest[16];
    for (int i = 0; i < 16; ++i)
        digest[i] = static_cast<unsigned char>(i * 17);
    EXPECT_STREQ("00112233445566778899aabbccddeeff", PrintMD5(digest).c_str());
}

TEST(Md5, FinalizeWipesStateSoInitIsNeededAgain) {
    md5 m;
    uchar text[] = "abc";
    m.Update(text, 3);
    m.Finalize();
    EXPECT_EQ(0u, m.state[0]);
    EXPECT_EQ(0u, m.count[0]);
    m.Init();
    m.Update(text, 3);
    m.Finalize();
    EXPECT_STREQ("900150983cd24fb0d6963f7d28e17f72", PrintMD5(m.digest).c_str());
}

TEST(Md5, EncodeAndDecodeAreLittleEndian) {
    uint4 words[2] = {0x04030201u, 0x08070605u};
    uchar bytes[8];
    md5::Encode(bytes, words, 8);
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(i + 1, bytes[i]);
    uint4 back[2];
    md5::Decode(back, bytes, 8);
    EXPECT_EQ(words[0], back[0]);
    EXPECT_EQ(words[1], back[1]);
}
