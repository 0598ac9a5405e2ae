#include "palm/feature/unpack_feature.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

#include "palm/feature/base64_alphabet.h"
#include "sim/synthetic_records.h"
#include "support/shell.h"

using palm_feature::unpack_feature;
using palm_feature::user_palm_feature;

namespace {

std::string base64_of(std::string const& bytes) {
    int status = 0;
    std::string out = palm_test::run_command("base64 -w0", bytes, &status);
    EXPECT_EQ(0, status);
    return out;
}

std::string count_bytes(int32_t n) {
    return std::string(reinterpret_cast<char*>(&n), 4);
}

user_palm_feature two_cell_record() {
    std::mt19937 rng(77);
    return palm_test::random_record(2, rng);
}

}  // namespace

TEST(B64Offset, MapsTheAlphabetAndSixtyFourElsewhere) {
    std::string const alphabet = palm_feature::base64_map;
    ASSERT_EQ(64u, alphabet.size());
    for (int c = 0; c < 256; ++c) {
        auto const pos = alphabet.find(static_cast<char>(c));
        unsigned const expected = pos == std::string::npos || c == 0 ? 64u : unsigned(pos);
        EXPECT_EQ(expected, palm_feature::B64_offset[static_cast<unsigned char>(c)]) << c;
    }
    EXPECT_EQ(64, palm_feature::B64_offset['=']);
}

TEST(UnpackFeature, OneCellTextOf1032CharactersDecodes) {
    std::mt19937 rng(1);
    user_palm_feature const src = palm_test::random_record(1, rng);
    std::string const text = base64_of(palm_test::stream_bytes(src));
    ASSERT_EQ(1032u, text.size());
    EXPECT_EQ("==", text.substr(1030));
    user_palm_feature r;
    ASSERT_TRUE(unpack_feature(text.c_str(), r));
    EXPECT_EQ(palm_test::stream_bytes(src), palm_test::stream_bytes(r));
}

TEST(UnpackFeature, TextCutByFourCharactersFailsOnTheCellPromise) {
    std::mt19937 rng(2);
    std::string const text = base64_of(palm_test::stream_bytes(palm_test::random_record(1, rng)));
    std::string const cut = text.substr(0, text.size() - 4);
    ASSERT_EQ(0u, cut.size() % 4);
    user_palm_feature r;
    EXPECT_FALSE(unpack_feature(cut.c_str(), r));
    EXPECT_EQ(1, r.size());  // read resized before it ran out
}

TEST(UnpackFeature, WellFormedTextOf896CharactersIsRefusedBeforeDecoding) {
    std::string const bytes = count_bytes(1) + std::string(668, '\x01');
    std::string const text = base64_of(bytes);
    ASSERT_EQ(896u, text.size());
    user_palm_feature r = two_cell_record();
    std::string const before = palm_test::stream_bytes(r);
    EXPECT_FALSE(unpack_feature(text.c_str(), r));
    EXPECT_EQ(before, palm_test::stream_bytes(r));

    // Four characters more and the text is decoded: read runs and resizes.
    std::string const longer = base64_of(count_bytes(1) + std::string(671, '\x01'));
    ASSERT_EQ(900u, longer.size());
    EXPECT_FALSE(unpack_feature(longer.c_str(), r));
    EXPECT_EQ(1, r.size());
}

TEST(UnpackFeature, LengthNotMultipleOfFourIsRefusedAndRecordUntouched) {
    std::mt19937 rng(3);
    std::string text = base64_of(palm_test::stream_bytes(palm_test::random_record(1, rng)));
    text += "A";
    user_palm_feature r = two_cell_record();
    std::string const before = palm_test::stream_bytes(r);
    EXPECT_FALSE(unpack_feature(text.c_str(), r));
    EXPECT_EQ(before, palm_test::stream_bytes(r));
}

TEST(UnpackFeature, BadCountFieldIsRefusedAndRecordUntouched) {
    for (int32_t bad : {0, -3, 1025}) {
        std::string const text = base64_of(count_bytes(bad) + std::string(768, '\x02'));
        user_palm_feature r = two_cell_record();
        std::string const before = palm_test::stream_bytes(r);
        EXPECT_FALSE(unpack_feature(text.c_str(), r)) << bad;
        EXPECT_EQ(before, palm_test::stream_bytes(r)) << bad;
    }
}

TEST(UnpackFeature, CharacterOutsideAlphabetOnlyChangesThatCell) {
    std::mt19937 rng(4);
    user_palm_feature const src = palm_test::random_record(2, rng);
    std::string text = base64_of(palm_test::stream_bytes(src));
    // Group 100 covers stream bytes 300..302, inside the first cell's print.
    std::size_t const group = 100;
    unsigned const v2 = palm_feature::B64_offset[static_cast<unsigned char>(text[group * 4 + 2])];
    text[group * 4 + 3] = '*';
    user_palm_feature r;
    ASSERT_TRUE(unpack_feature(text.c_str(), r));
    std::string const expected_bytes = palm_test::stream_bytes(src);
    std::string const got = palm_test::stream_bytes(r);
    ASSERT_EQ(expected_bytes.size(), got.size());
    for (std::size_t i = 0; i < got.size(); ++i) {
        if (i == 302) {
            // (v2 << 6 | 64) truncated to eight bits.
            EXPECT_EQ(static_cast<unsigned char>(((v2 & 3u) << 6) | 0x40u),
                      static_cast<unsigned char>(got[i]));
        } else {
            ASSERT_EQ(expected_bytes[i], got[i]) << i;
        }
    }
}

TEST(UnpackFeature, PaddingIsOnlyLookedForInTheLastTwoPlaces) {
    // An '=' early in the text decodes as the value 64 would; it is no end.
    std::mt19937 rng(5);
    user_palm_feature const src = palm_test::random_record(1, rng);
    std::string text = base64_of(palm_test::stream_bytes(src));
    text[500] = '=';
    user_palm_feature r;
    EXPECT_TRUE(unpack_feature(text.c_str(), r));
    EXPECT_EQ(1, r.size());
}

TEST(UnpackFeature, NullTextIsRefused) {
    user_palm_feature r = two_cell_record();
    EXPECT_FALSE(unpack_feature(nullptr, r));
    EXPECT_EQ(2, r.size());
}

TEST(UnpackFeature, EmptyTextIsRefused) {
    user_palm_feature r;
    EXPECT_FALSE(unpack_feature("", r));
}

TEST(UnpackFeature, LongestTextThatFitsTheBufferDecodes) {
    // 133 cells: 102148 bytes, 136200 characters.
    std::mt19937 rng(6);
    user_palm_feature const src = palm_test::random_record(133, rng);
    std::string const text = base64_of(palm_test::stream_bytes(src));
    ASSERT_EQ(136200u, text.size());
    user_palm_feature r;
    ASSERT_TRUE(unpack_feature(text.c_str(), r));
    EXPECT_EQ(133, r.size());
}

TEST(UnpackFeature, TextLongerThanTheBufferIsRefused) {
    // 134 cells no longer fit the decoding buffer of 102400 bytes.
    std::mt19937 rng(7);
    std::string const text = base64_of(palm_test::stream_bytes(palm_test::random_record(134, rng)));
    ASSERT_EQ(137224u, text.size());
    user_palm_feature r = two_cell_record();
    std::string const before = palm_test::stream_bytes(r);
    EXPECT_FALSE(unpack_feature(text.c_str(), r));
    EXPECT_EQ(before, palm_test::stream_bytes(r));

    // 136533 characters: one past the longest that fits.
    std::string odd(136533, 'A');
    EXPECT_FALSE(unpack_feature(odd.c_str(), r));
    std::string huge(136536, 'A');
    huge[4] = 'B';
    EXPECT_FALSE(unpack_feature(huge.c_str(), r));
    std::string ten_mb(10u << 20, 'Q');
    EXPECT_FALSE(unpack_feature(ten_mb.c_str(), r));
    EXPECT_EQ(before, palm_test::stream_bytes(r));
}

TEST(UnpackFeature, LongestAcceptedLengthIsBoundedByTheBuffer) {
    EXPECT_EQ(136532u, palm_feature::MAX_FEATURE_TEXT_LENGTH);
    EXPECT_LE(palm_feature::MAX_FEATURE_TEXT_LENGTH / 4 * 3, palm_feature::UNPACK_BUFFER_SIZE);
}

TEST(UnpackFeature, SurplusBytesBehindTheLastCellAreIgnored) {
    std::mt19937 rng(8);
    user_palm_feature const src = palm_test::random_record(1, rng);
    std::string const text = base64_of(palm_test::stream_bytes(src) + std::string(300, '\x7f'));
    user_palm_feature r;
    ASSERT_TRUE(unpack_feature(text.c_str(), r));
    EXPECT_EQ(palm_test::stream_bytes(src), palm_test::stream_bytes(r));
}
