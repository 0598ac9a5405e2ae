#include "palm/feature/crypt_feature.h"

#include <gtest/gtest.h>

#include <random>

#include "palm/feature/unpack_feature.h"
#include "sim/synthetic_records.h"
#include "support/shell.h"

using palm_feature::user_palm_feature;

TEST(CryptFeature, OneCellRecordGives1032CharactersAndAHexDigest) {
    std::mt19937 rng(1);
    user_palm_feature const r = palm_test::random_record(1, rng);
    std::string text, digest;
    ASSERT_TRUE(crypt_feature(r, text, digest));
    EXPECT_EQ(1032u, text.size());
    EXPECT_EQ("==", text.substr(1030));
    ASSERT_EQ(32u, digest.size());
    for (char c : digest)
        EXPECT_TRUE((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f')) << c;

    user_palm_feature back;
    ASSERT_TRUE(palm_feature::unpack_feature(text.c_str(), back));
    EXPECT_EQ(palm_test::stream_bytes(r), palm_test::stream_bytes(back));
}

TEST(CryptFeature, TextLengthIs1024PerCellPlus8) {
    std::mt19937 rng(2);
    for (int n : {1, 2, 5, 25}) {
        std::string text, digest;
        ASSERT_TRUE(crypt_feature(palm_test::random_record(n, rng), text, digest));
        EXPECT_EQ(static_cast<std::size_t>(1024 * n + 8), text.size());
    }
}

TEST(CryptFeature, AgreesWithTheStandardBase64AndMd5Tools) {
    std::mt19937 rng(3);
    for (int n : {1, 3, 25}) {
        user_palm_feature const r = palm_test::random_record(n, rng);
        std::string text, digest;
        ASSERT_TRUE(crypt_feature(r, text, digest));
        int status = 0;
        EXPECT_EQ(palm_test::run_command("base64 -w0", palm_test::stream_bytes(r), &status), text);
        std::string const sum = palm_test::run_command("md5sum", text, &status);
        EXPECT_EQ(sum.substr(0, 32), digest);
    }
}

TEST(CryptFeature, EmptyRecordIsRefusedAndStringsStay) {
    user_palm_feature empty;
    std::string text = "keep", digest = "this";
    EXPECT_FALSE(crypt_feature(empty, text, digest));
    EXPECT_EQ("keep", text);
    EXPECT_EQ("this", digest);
}

TEST(CryptFeature, RoundTripTextRecordText) {
    std::mt19937 rng(4);
    std::string const text = palm_test::feature_text(palm_test::random_record(25, rng));
    user_palm_feature r;
    ASSERT_TRUE(palm_feature::unpack_feature(text.c_str(), r));
    EXPECT_EQ(text, palm_test::feature_text(r));
}
