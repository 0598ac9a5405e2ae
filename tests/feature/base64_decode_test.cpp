// The wide decoder against the plain one: the same bytes for every
// character at every position of a step, for texts with and without
// characters outside the alphabet, and for every length of tail.
#include "palm/feature/base64_decode.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "palm/cpu_arch.h"

using palm_feature::decode_base64_groups;
using palm_feature::decode_base64_groups_plain;

namespace {

char const alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string random_text(std::mt19937& rng, std::size_t groups) {
    std::string text(4 * groups, 'A');
    for (char& c : text)
        c = alphabet[rng() % 64];
    return text;
}

std::vector<unsigned char> decoded(void (*decode)(unsigned char const*, std::size_t,
                                                  unsigned char*),
                                   std::string const& text) {
    // One byte of guard behind the output catches a write past its end.
    std::vector<unsigned char> out(text.size() / 4 * 3 + 1, 0xA5);
    decode(reinterpret_cast<unsigned char const*>(text.data()), text.size() / 4, out.data());
    EXPECT_EQ(0xA5, out.back()) << "written past the end";
    return out;
}

using decoder = void (*)(unsigned char const*, std::size_t, unsigned char*);

// Every path this processor runs, the dispatcher's choice included.
std::vector<std::pair<char const*, decoder>> paths() {
    std::vector<std::pair<char const*, decoder>> all{{"dispatch", &decode_base64_groups}};
#if PALM_ARCH_X86
    if (palm_feature::base64_decode_uses_avx2())
        all.push_back({"avx2", &palm_feature::decode_base64_groups_avx2});
#endif
    return all;
}

}  // namespace

TEST(Base64Decode, PlainPathDecodesTheAlphabetAsRfc4648Does) {
    EXPECT_EQ((std::vector<unsigned char>{'M', 'a', 'n', 0xA5}),
              decoded(&decode_base64_groups_plain, "TWFu"));
    EXPECT_EQ((std::vector<unsigned char>{0xFB, 0xFF, 0xBF, 0xA5}),
              decoded(&decode_base64_groups_plain, "+/+/"));
}

// A character outside the alphabet is the value 64, whose seventh bit lands
// in the next byte's field or falls off the top of the byte.
TEST(Base64Decode, CharactersOutsideTheAlphabetDecodeAsSixtyFour) {
    EXPECT_EQ((std::vector<unsigned char>{4, 16, 64, 0xA5}),
              decoded(&decode_base64_groups_plain, "===="));
    for (auto const& path : paths())
        EXPECT_EQ((std::vector<unsigned char>{4, 16, 64, 0xA5}), decoded(path.second, "===="))
            << path.first;
}

TEST(Base64Decode, EveryCharacterAtEveryPlaceOfAStepDecodesAsThePlainPath) {
    std::mt19937 rng(5);
    std::string const base = random_text(rng, 16);  // two steps
    for (auto const& path : paths()) {
        for (int place = 0; place < 64; ++place) {
            for (int c = 0; c < 256; ++c) {
                std::string text = base;
                text[place] = static_cast<char>(c);
                ASSERT_EQ(decoded(&decode_base64_groups_plain, text), decoded(path.second, text))
                    << path.first << ": character " << c << " at " << place;
            }
        }
    }
}

TEST(Base64Decode, RandomTextsOfEveryTailLengthDecodeAsThePlainPath) {
    std::mt19937 rng(9);
    for (auto const& path : paths()) {
        for (std::size_t groups = 0; groups <= 40; ++groups) {
            for (int round = 0; round < 20; ++round) {
                std::string text = random_text(rng, groups);
                // Some texts carry stray bytes of any value, '=' among them.
                if (round % 2 == 1)
                    for (char& c : text)
                        if (rng() % 16 == 0)
                            c = static_cast<char>(rng() % 256);
                ASSERT_EQ(decoded(&decode_base64_groups_plain, text), decoded(path.second, text))
                    << path.first << ": " << groups << " groups, round " << round;
            }
        }
    }
}

TEST(Base64Decode, AFeatureTextDecodesAsThePlainPath) {
    std::mt19937 rng(13);
    std::string const text = random_text(rng, 6401);  // a 25-cell text
    for (auto const& path : paths())
        EXPECT_EQ(decoded(&decode_base64_groups_plain, text), decoded(path.second, text))
            << path.first;
}
