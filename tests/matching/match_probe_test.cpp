#include "palm/matching/match_probe.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "palm/matching/feature_match.h"
#include "sim/code_patterns.h"
#include "sim/random_codes.h"
#include "support/emulation.h"

using palm_algorithm::g_match_inst;
using palm_algorithm::g_piOverlapSize;
using palm_algorithm::match_path;
using palm_algorithm::match_probe;
using palm_feature::single_feature;

namespace {

constexpr auto ALL = palm_algorithm::i_feature_match::DEGREE_ALL;

uint32_t float_bits(float f) {
    uint32_t b;
    std::memcpy(&b, &f, sizeof b);
    return b;
}

// The distance of DEGREE_ALL as the matcher defines it: every quotient in
// turn, the centre by its reciprocal, the smallest one below 1.0.
float all_distance_one_by_one(const int counts[25]) {
    float best = 1.0f;
    float const centre = static_cast<float>(counts[0]) * 0.00032552084f;
    if (centre < best)
        best = centre;
    for (int i = 1; i < 25; ++i) {
        float const d = static_cast<float>(counts[i]) / static_cast<float>(g_piOverlapSize[i]);
        if (d < best)
            best = d;
    }
    return best;
}

std::vector<match_path> supported_paths() {
    std::vector<match_path> paths;
    for (match_path p : {match_path::table, match_path::popcnt, match_path::avx2,
                         match_path::avx512, match_path::neon})
        if (palm_algorithm::match_path_supported(p))
            paths.push_back(p);
    return paths;
}

}  // namespace

TEST(MatchAllDistance, EqualsTakingEveryQuotientInTurn) {
    std::mt19937 rng(3);
    int counts[25];
    for (int round = 0; round < palm_test::rounds(200000, 20000); ++round) {
        // Counts near one level make the quotients of different overlaps
        // fall close together, where rounding could decide.
        int const level = static_cast<int>(rng() % 3073);
        for (int i = 0; i < 25; ++i) {
            int const spread = round % 2 ? 3 : 400;
            int c = level + static_cast<int>(rng() % (2 * spread + 1)) - spread;
            c = c < 0 ? 0 : c > g_piOverlapSize[i] ? g_piOverlapSize[i] : c;
            counts[i] = c;
        }
        float const expected = all_distance_one_by_one(counts);
        ASSERT_EQ(float_bits(expected), float_bits(palm_algorithm::match_all_distance(counts)))
            << "round " << round;
#if PALM_ARCH_X86
        if (palm_algorithm::match_path_supported(match_path::avx512)) {
            ASSERT_EQ(float_bits(expected),
                      float_bits(palm_algorithm::match_all_distance_avx512(counts)))
                << "round " << round;
        }
#endif
    }
}

TEST(MatchAllDistance, EqualFractionsOfDifferentOverlapsAndTheExtremes) {
    int counts[25];
    // 1488/2976 = 1440/2880 = 0.5: equal exact quotients of two overlaps.
    for (int i = 0; i < 25; ++i)
        counts[i] = g_piOverlapSize[i];
    counts[1] = 1488;
    counts[9] = 1440;
    EXPECT_EQ(0.5f, palm_algorithm::match_all_distance(counts));
    // All counts full: 1.0, never above.
    for (int i = 0; i < 25; ++i)
        counts[i] = g_piOverlapSize[i];
    EXPECT_EQ(1.0f, palm_algorithm::match_all_distance(counts));
    // All zero.
    for (int i = 0; i < 25; ++i)
        counts[i] = 0;
    EXPECT_EQ(0.0f, palm_algorithm::match_all_distance(counts));
    // The centre wins with its product, not a quotient.
    for (int i = 0; i < 25; ++i)
        counts[i] = g_piOverlapSize[i];
    counts[0] = 1000;
    EXPECT_EQ(1000.0f * 0.00032552084f, palm_algorithm::match_all_distance(counts));
    // Only the last translation is low.
    for (int i = 0; i < 25; ++i)
        counts[i] = g_piOverlapSize[i];
    counts[24] = 7;
    EXPECT_EQ(7.0f / 2523.0f, palm_algorithm::match_all_distance(counts));
}

TEST(MatchProbe, DistanceEqualsTheMatcherOnVariedPairsByEveryPath) {
    single_feature a, b;
    for (match_path path : supported_paths()) {
        match_probe probe(path);
        unsigned mismatches = 0;
        for (int seed = 0; seed < palm_test::rounds(20000, 2000); ++seed) {
            palm_test::varied_pair(seed, a, b);
            probe.reset(a.data);
            float const expected = g_match_inst.Match_Reference(a, b, ALL);
            if (float_bits(expected) != float_bits(probe.distance(b.data)) && ++mismatches <= 5)
                ADD_FAILURE() << "path " << static_cast<int>(path) << " seed " << seed;
        }
        EXPECT_EQ(0u, mismatches) << static_cast<int>(path);
    }
}

TEST(MatchProbe, CountsOfEveryPathAgree) {
    std::mt19937 rng(8);
    single_feature a, b;
    std::vector<match_path> const paths = supported_paths();
    std::vector<match_probe> probes;
    for (match_path p : paths)
        probes.emplace_back(p);
    for (int round = 0; round < 2000; ++round) {
        palm_test::random_code(a, rng);
        palm_test::noisy_copy(a, b, 0.02 * (round % 20), rng);
        int expected[25], got[25];
        for (std::size_t k = 0; k < paths.size(); ++k) {
            probes[k].reset(a.data);
            probes[k].counts(b.data, k == 0 ? expected : got);
            if (k > 0) {
                for (int t = 0; t < 25; ++t)
                    ASSERT_EQ(expected[t], got[t]) << static_cast<int>(paths[k]) << " t " << t;
            }
        }
    }
}

TEST(MatchProbe, CopyMovedAlongEachTranslationIsZeroThere) {
    std::mt19937 rng(21);
    single_feature a, b;
    palm_test::random_code(a, rng);
    for (match_path path : supported_paths()) {
        match_probe probe(path);
        probe.reset(a.data);
        for (int t = 0; t < 25; ++t) {
            auto const m = palm_algorithm::g_match_translations[t];
            // b(r + dr, c + dc) = a(r, c): translation t compares exactly these.
            palm_test::moved_code(a, b, m.dr, m.dc, &rng);
            int counts[25];
            probe.counts(b.data, counts);
            EXPECT_EQ(0, counts[t]) << static_cast<int>(path) << " t " << t;
            EXPECT_EQ(0.0f, probe.distance(b.data));
        }
    }
}

TEST(MatchProbe, ZeroAgainstAllOneIsOneAndAgainstItselfZero) {
    single_feature zero, one;
    palm_test::fill_code(zero, 0x00);
    palm_test::fill_code(one, 0xff);
    for (match_path path : supported_paths()) {
        match_probe probe(path);
        probe.reset(zero.data);
        EXPECT_EQ(1.0f, probe.distance(one.data));
        EXPECT_EQ(0.0f, probe.distance(zero.data));
        probe.reset(one.data);
        EXPECT_EQ(0.0f, probe.distance(one.data));
    }
}

TEST(MatchProbe, ResetTakesANewProbe) {
    std::mt19937 rng(4);
    single_feature a, b;
    palm_test::random_code(a, rng);
    palm_test::random_code(b, rng);
    match_probe probe;
    probe.reset(a.data);
    EXPECT_EQ(0.0f, probe.distance(a.data));
    probe.reset(b.data);
    EXPECT_EQ(0.0f, probe.distance(b.data));
    EXPECT_EQ(float_bits(g_match_inst.match(b, a, ALL)), float_bits(probe.distance(a.data)));
}
