#include "palm/matching/feature_match.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <type_traits>
#include <vector>

#include "sim/code_patterns.h"
#include "sim/random_codes.h"

using palm_algorithm::CPalmMatch;
using palm_algorithm::g_match_inst;
using palm_algorithm::g_match_translations;
using palm_algorithm::g_piOverlapSize;
using palm_algorithm::i_debug_interface;
using palm_algorithm::i_feature_match;
using palm_algorithm::match_path;
using palm_feature::single_feature;
using Degree = palm_algorithm::i_feature_match::Match_Degree;

namespace {

constexpr Degree LIGHT = i_feature_match::DEGREE_LIGHT;
constexpr Degree HEAVY = i_feature_match::DEGREE_HEAVY;
constexpr Degree ALL = i_feature_match::DEGREE_ALL;
constexpr Degree DEGREES[] = {LIGHT, HEAVY, ALL};

uint32_t float_bits(float f) {
    uint32_t b;
    std::memcpy(&b, &f, sizeof b);
    return b;
}

// Every path this processor runs, the table reference first.
std::vector<match_path> supported_paths() {
    std::vector<match_path> paths;
    for (match_path p : {match_path::table, match_path::popcnt, match_path::avx2,
                         match_path::avx512, match_path::neon})
        if (palm_algorithm::match_path_supported(p))
            paths.push_back(p);
    return paths;
}

char const* path_name(match_path p) {
    switch (p) {
        case match_path::table:
            return "table";
        case match_path::popcnt:
            return "popcnt";
        case match_path::avx2:
            return "avx2";
        case match_path::avx512:
            return "avx512";
        case match_path::neon:
            return "neon";
    }
    return "?";
}

// The distance at one degree by every path and by match() itself; all of
// them must agree bit for bit, and the agreed value is returned.
float distance(single_feature const& a, single_feature const& b, Degree degree) {
    float const d = g_match_inst.match(a, b, degree);
    for (match_path p : supported_paths())
        EXPECT_EQ(float_bits(d), float_bits(g_match_inst.Match_On(p, a, b, degree)))
            << path_name(p) << " degree " << degree;
    return d;
}

bool in_light(int index) {
    return index == 0 || index == 18 || index == 20 || index == 22 || index == 24;
}

}  // namespace

// ------------------------------------------------------------------ tables

TEST(FeatureMatchTables, BitCountTableHoldsSetBitsOfEach16BitValue) {
    auto m = std::make_unique<CPalmMatch>();
    int wrong = 0;
    for (unsigned i = 0; i < 65536; ++i)
        wrong += m->m_byBitCount[i] != __builtin_popcount(i);
    EXPECT_EQ(0, wrong);
    EXPECT_EQ(0, m->m_byBitCount[0]);
    EXPECT_EQ(1, m->m_byBitCount[0x8000]);
    EXPECT_EQ(8, m->m_byBitCount[0x5555]);
    EXPECT_EQ(16, m->m_byBitCount[0xffff]);
}

TEST(FeatureMatchTables, TableIsTheObjectsOnlyData) {
    EXPECT_EQ(sizeof(void*) + 65536, sizeof(CPalmMatch));
}

TEST(FeatureMatchTables, TranslationStarWalksAroundTheCentre) {
    EXPECT_EQ(0, g_match_translations[0].dr);
    EXPECT_EQ(0, g_match_translations[0].dc);
    for (int s = 1; s <= 3; ++s) {
        int const expected[8][2] = {{s, 0},  {s, -s}, {0, -s}, {-s, -s},
                                    {-s, 0}, {-s, s}, {0, s},  {s, s}};
        for (int j = 0; j < 8; ++j) {
            EXPECT_EQ(expected[j][0], g_match_translations[8 * (s - 1) + j + 1].dr);
            EXPECT_EQ(expected[j][1], g_match_translations[8 * (s - 1) + j + 1].dc);
        }
    }
}

TEST(FeatureMatchTables, OverlapSizesAreTheBitsWithAPartner) {
    EXPECT_EQ(3072, g_piOverlapSize[0]);
    for (int i = 0; i < 25; ++i) {
        int const dr = g_match_translations[i].dr;
        int const dc = g_match_translations[i].dc;
        int partners = 0;
        for (int r = 0; r < 32; ++r)
            for (int c = 0; c < 32; ++c)
                partners += r + dr >= 0 && r + dr < 32 && c + dc >= 0 && c + dc < 32;
        EXPECT_EQ(3 * partners, g_piOverlapSize[i]) << "index " << i;
        if (i > 0) {
            int const s = (i - 1) / 8 + 1;
            bool const axial = (i - 1) % 2 == 0;
            EXPECT_EQ(axial ? 3 * 32 * (32 - s) : 3 * (32 - s) * (32 - s), g_piOverlapSize[i]);
        }
    }
    EXPECT_EQ(2976, g_piOverlapSize[1]);
    EXPECT_EQ(2883, g_piOverlapSize[2]);
    EXPECT_EQ(2880, g_piOverlapSize[9]);
    EXPECT_EQ(2700, g_piOverlapSize[10]);
    EXPECT_EQ(2784, g_piOverlapSize[17]);
    EXPECT_EQ(2523, g_piOverlapSize[24]);
}

// ------------------------------------------------------------ the instance

TEST(FeatureMatchInstance, GetReturnsTheProcessWideMatcherAndReleaseKeepsIt) {
    i_feature_match* m = palm_algorithm::get_feature_match_inst();
    EXPECT_EQ(static_cast<i_feature_match*>(&g_match_inst), m);
    EXPECT_EQ(m, palm_algorithm::get_feature_match_inst());
    palm_algorithm::release_feature_match_inst();
    single_feature a;
    std::mt19937 rng(1);
    palm_test::random_code(a, rng);
    EXPECT_EQ(0.0f, m->match(a, a, ALL));
}

TEST(FeatureMatchInstance, IsADebugInterfaceWhoseLastErrorDoesNothing) {
    static_assert(std::is_base_of<i_debug_interface, i_feature_match>::value, "");
    static_assert(std::is_base_of<i_feature_match, CPalmMatch>::value, "");
    static_assert(std::is_abstract<i_feature_match>::value, "");
    int untouched = 42;
    palm_algorithm::get_feature_match_inst()->get_last_error(&untouched);
    EXPECT_EQ(42, untouched);
}

TEST(FeatureMatchInstance, DegreeValues) {
    EXPECT_EQ(0, static_cast<int>(LIGHT));
    EXPECT_EQ(1, static_cast<int>(HEAVY));
    EXPECT_EQ(2, static_cast<int>(ALL));
}

TEST(FeatureMatchInstance, ProductionPathIsSupportedAndUsed) {
    match_path const best = palm_algorithm::best_match_path();
    EXPECT_TRUE(palm_algorithm::match_path_supported(best));
    EXPECT_TRUE(palm_algorithm::match_path_supported(match_path::table));
    std::mt19937 rng(2);
    single_feature a, b;
    palm_test::random_code(a, rng);
    palm_test::noisy_copy(a, b, 0.1, rng);
    for (Degree d : DEGREES)
        EXPECT_EQ(float_bits(g_match_inst.Match_On(best, a, b, d)),
                  float_bits(g_match_inst.match(a, b, d)));
}

TEST(FeatureMatchInstance, NamedDegreeFunctionsEqualMatch) {
    std::mt19937 rng(3);
    single_feature a, b;
    palm_test::random_code(a, rng);
    palm_test::noisy_copy(a, b, 0.2, rng);
    EXPECT_EQ(float_bits(g_match_inst.match(a, b, LIGHT)),
              float_bits(g_match_inst.Match_Light(a, b)));
    EXPECT_EQ(float_bits(g_match_inst.match(a, b, HEAVY)),
              float_bits(g_match_inst.Match_Heavy(a, b)));
    EXPECT_EQ(float_bits(g_match_inst.match(a, b, ALL)), float_bits(g_match_inst.Match_All(a, b)));
}

TEST(FeatureMatchInstance, MatchingChangesNeitherCode) {
    std::mt19937 rng(4);
    single_feature a, b;
    palm_test::random_code(a, rng);
    palm_test::random_code(b, rng);
    single_feature const a0(a), b0(b);
    for (match_path p : supported_paths())
        for (Degree d : DEGREES)
            g_match_inst.Match_On(p, a, b, d);
    EXPECT_EQ(0, std::memcmp(a.data, a0.data, palm_feature::FEATURE_DATA_SIZE));
    EXPECT_EQ(0, std::memcmp(b.data, b0.data, palm_feature::FEATURE_DATA_SIZE));
}

// -------------------------------------------------------------- edge cases

TEST(FeatureMatchEdges, CodeAgainstItselfIsZeroAtLightAndAll) {
    std::mt19937 rng(5);
    single_feature a;
    for (int shape = 0; shape < 4; ++shape) {
        if (shape == 0)
            palm_test::random_code(a, rng);
        if (shape == 1)
            palm_test::patch_code(a, 4, rng);
        if (shape == 2)
            palm_test::sparse_code(a, 0.02, rng);
        if (shape == 3)
            palm_test::fill_code(a, 0xff);
        EXPECT_EQ(0.0f, distance(a, a, LIGHT)) << "shape " << shape;
        EXPECT_EQ(0.0f, distance(a, a, ALL)) << "shape " << shape;
    }
}

TEST(FeatureMatchEdges, CodeAgainstItselfIsNotZeroAtHeavy) {
    std::mt19937 rng(6);
    single_feature a;
    palm_test::random_code(a, rng);
    EXPECT_GT(distance(a, a, HEAVY), 0.3f);
    palm_test::patch_code(a, 4, rng);
    EXPECT_GT(distance(a, a, HEAVY), 0.0f);
}

TEST(FeatureMatchEdges, TwoZeroCodesAreZeroAtEveryDegree) {
    single_feature a, b;
    for (Degree d : DEGREES)
        EXPECT_EQ(0.0f, distance(a, b, d)) << "degree " << d;
}

TEST(FeatureMatchEdges, ZeroAgainstAllOneIsOneAtEveryDegree) {
    single_feature zero, ones;
    palm_test::fill_code(ones, 0xff);
    for (Degree d : DEGREES) {
        EXPECT_EQ(1.0f, distance(zero, ones, d)) << "degree " << d;
        EXPECT_EQ(1.0f, distance(ones, zero, d)) << "degree " << d;
    }
}

TEST(FeatureMatchEdges, DistanceIsSymmetricAtEveryDegree) {
    single_feature a, b;
    for (unsigned seed = 0; seed < 300; ++seed) {
        palm_test::varied_pair(seed, a, b);
        for (Degree d : DEGREES)
            ASSERT_EQ(float_bits(distance(a, b, d)), float_bits(distance(b, a, d)))
                << "seed " << seed << " degree " << d;
    }
}

TEST(FeatureMatchEdges, UnknownDegreeIsOneAndComparesNothing) {
    std::mt19937 rng(7);
    single_feature a;
    palm_test::random_code(a, rng);
    for (int degree : {3, 4, 100, INT_MAX, -1, -2, INT_MIN}) {
        Degree const d = static_cast<Degree>(degree);
        EXPECT_EQ(1.0f, g_match_inst.match(a, a, d)) << degree;
        EXPECT_EQ(1.0f, palm_algorithm::get_feature_match_inst()->match(a, a, d)) << degree;
        EXPECT_EQ(1.0f, g_match_inst.Match_Reference(a, a, d)) << degree;
        for (match_path p : supported_paths())
            EXPECT_EQ(1.0f, g_match_inst.Match_On(p, a, a, d)) << path_name(p) << " " << degree;
    }
}

TEST(FeatureMatchEdges, CodeMovedThreeDownAndThreeRightIsFoundByLightAndAllOnly) {
    std::mt19937 rng(8);
    single_feature a, b;
    for (int shape = 0; shape < 2; ++shape) {
        if (shape == 0)
            palm_test::random_code(a, rng);
        if (shape == 1)
            palm_test::patch_code(a, 5, rng);
        palm_test::moved_code(a, b, 3, 3, &rng);
        EXPECT_EQ(0.0f, distance(a, b, LIGHT)) << "shape " << shape;
        EXPECT_EQ(0.0f, distance(a, b, ALL)) << "shape " << shape;
        EXPECT_GT(distance(a, b, HEAVY), 0.0f) << "shape " << shape;
    }
}

// A copy moved by any translation of the star is found exactly by the
// degrees that test it, whatever fills the samples moved in from outside:
// the masks drop every bit without a partner.
TEST(FeatureMatchEdges, MovedCopyIsZeroExactlyWhereItsTranslationIsTested) {
    std::mt19937 rng(9);
    single_feature a, b, ones;
    palm_test::random_code(a, rng);
    palm_test::fill_code(ones, 0xff);
    for (int i = 0; i < 25; ++i) {
        int const dr = g_match_translations[i].dr;
        int const dc = g_match_translations[i].dc;
        // Moved in from outside: random bits, or zeros against all ones.
        palm_test::moved_code(a, b, dr, dc, &rng);
        EXPECT_EQ(0.0f, distance(a, b, ALL)) << "index " << i;
        EXPECT_EQ(in_light(i), distance(a, b, LIGHT) == 0.0f) << "index " << i;
        EXPECT_EQ(!in_light(i), distance(a, b, HEAVY) == 0.0f) << "index " << i;
        palm_test::moved_code(ones, b, dr, dc, nullptr);
        EXPECT_EQ(0.0f, distance(ones, b, ALL)) << "index " << i;
        EXPECT_EQ(0.0f, distance(ones, b, in_light(i) ? LIGHT : HEAVY)) << "index " << i;
    }
}

// ------------------------------------------------- hand-computed distances

TEST(FeatureMatchValues, SingleDifferingBitInTheMiddle) {
    single_feature a, b;
    palm_test::set_code_bit(b, 1, 16, 16, true);
    // Every translation sees the one bit; the largest overlap wins. The
    // centre multiplies by the reciprocal of 3072, heavy's best is the
    // axial shift of one, divided by 2976.
    EXPECT_EQ(1.0f * 0.00032552084f, distance(a, b, LIGHT));
    EXPECT_EQ(1.0f / 2976.0f, distance(a, b, HEAVY));
    EXPECT_EQ(1.0f * 0.00032552084f, distance(a, b, ALL));
}

TEST(FeatureMatchValues, CentreMultipliesByTheReciprocalOf3072) {
    std::mt19937 rng(10);
    single_feature a, b;
    palm_test::random_code(a, rng);
    b = a;
    palm_test::flip_bits(b, 5, 0, 32, 0, 32, rng);
    float const product = 5.0f * 0.00032552084f;
    ASSERT_NE(product, 5.0f / 3072.0f);  // the two ways differ here
    EXPECT_EQ(product, distance(a, b, LIGHT));
    EXPECT_EQ(product, distance(a, b, ALL));
}

TEST(FeatureMatchValues, DiagonalOfThreeMultipliesAtLightAndDividesAtAll) {
    std::mt19937 rng(11);
    single_feature a, b;
    palm_test::random_code(a, rng);
    palm_test::moved_code(a, b, 3, -3, &rng);  // index 18
    palm_test::flip_bits(b, 7, 3, 32, 0, 29, rng);
    float const product = 7.0f * 0.00039635354f;
    float const quotient = 7.0f / 2523.0f;
    ASSERT_NE(product, quotient);
    EXPECT_EQ(product, distance(a, b, LIGHT));
    EXPECT_EQ(quotient, distance(a, b, ALL));
}

TEST(FeatureMatchValues, AxialOfThreeMultipliesAtHeavyAndDividesAtAll) {
    std::mt19937 rng(12);
    single_feature a, b;
    palm_test::random_code(a, rng);
    palm_test::moved_code(a, b, 0, 3, &rng);  // index 23
    palm_test::flip_bits(b, 9, 0, 32, 3, 32, rng);
    float const product = 9.0f * 0.0003591954f;
    float const quotient = 9.0f / 2784.0f;
    ASSERT_NE(product, quotient);
    EXPECT_EQ(product, distance(a, b, HEAVY));
    EXPECT_EQ(quotient, distance(a, b, ALL));
}

TEST(FeatureMatchValues, LengthsOneAndTwoDivideByTheirOverlap) {
    std::mt19937 rng(13);
    single_feature a, b;
    palm_test::random_code(a, rng);
    palm_test::moved_code(a, b, -2, 2, &rng);  // index 14, overlap 2700
    palm_test::flip_bits(b, 4, 0, 30, 2, 32, rng);
    EXPECT_EQ(4.0f / 2700.0f, distance(a, b, HEAVY));
    EXPECT_EQ(4.0f / 2700.0f, distance(a, b, ALL));
    palm_test::moved_code(a, b, 1, 0, &rng);  // index 1, overlap 2976
    palm_test::flip_bits(b, 11, 1, 32, 0, 32, rng);
    EXPECT_EQ(11.0f / 2976.0f, distance(a, b, HEAVY));
    EXPECT_EQ(11.0f / 2976.0f, distance(a, b, ALL));
}

// A single set bit in the second code is counted at a translation exactly
// when its partner sample lies on the grid: checks the row and column masks
// of every counting path at corners, edges and inside, in every plane.
TEST(FeatureMatchValues, SingleBitIsCountedWhereItHasAPartner) {
    int const places[][2] = {{0, 0},  {0, 31},  {31, 0}, {31, 31}, {0, 15}, {31, 16}, {2, 30},
                             {15, 0}, {16, 31}, {1, 1},  {29, 2},  {3, 28}, {10, 20}};
    single_feature a, b;
    for (match_path p : supported_paths()) {
        palm_algorithm::match_counter const* counter = palm_algorithm::get_match_counter(p);
        if (counter == nullptr)
            continue;
        for (int plane = 0; plane < 3; ++plane)
            for (auto const& place : places) {
                palm_test::fill_code(b, 0);
                palm_test::set_code_bit(b, plane, place[0], place[1], true);
                int counts[25];
                counter->all(a.data, b.data, counts);
                for (int i = 0; i < 25; ++i) {
                    int const r = place[0] - g_match_translations[i].dr;
                    int const c = place[1] - g_match_translations[i].dc;
                    int const expected = r >= 0 && r < 32 && c >= 0 && c < 32;
                    EXPECT_EQ(expected, counts[i])
                        << path_name(p) << " plane " << plane << " row " << place[0] << " column "
                        << place[1] << " index " << i;
                }
            }
    }
}

TEST(FeatureMatchValues, LightAndHeavyCountersFillTheirOwnTranslations) {
    std::mt19937 rng(14);
    single_feature a, b;
    palm_test::random_code(a, rng);
    palm_test::random_code(b, rng);
    for (match_path p : supported_paths()) {
        palm_algorithm::match_counter const* counter = palm_algorithm::get_match_counter(p);
        if (counter == nullptr)
            continue;
        int all[25], light[25], heavy[25];
        counter->all(a.data, b.data, all);
        std::fill(light, light + 25, -1);
        std::fill(heavy, heavy + 25, -1);
        counter->light(a.data, b.data, light);
        counter->heavy(a.data, b.data, heavy);
        for (int i = 0; i < 25; ++i) {
            EXPECT_EQ(in_light(i) ? all[i] : -1, light[i]) << path_name(p) << " " << i;
            EXPECT_EQ(in_light(i) ? -1 : all[i], heavy[i]) << path_name(p) << " " << i;
        }
    }
}

// ------------------------------------------- fast paths against the table

namespace {

constexpr unsigned COMPARED_PAIRS = 100000;

// Reference distances of the varied pairs, computed once for all paths.
std::vector<float> const& reference_distances() {
    static std::vector<float> const all = [] {
        std::vector<float> d;
        d.reserve(3 * COMPARED_PAIRS);
        single_feature a, b;
        for (unsigned seed = 0; seed < COMPARED_PAIRS; ++seed) {
            palm_test::varied_pair(seed, a, b);
            for (Degree degree : DEGREES)
                d.push_back(g_match_inst.Match_Reference(a, b, degree));
        }
        return d;
    }();
    return all;
}

// Compares one way of computing the distance with the reference on every
// varied pair and degree, bit for bit.
template <typename Distance>
void expect_reference_results(Distance distance_of) {
    std::vector<float> const& reference = reference_distances();
    single_feature a, b;
    unsigned mismatches = 0;
    for (unsigned seed = 0; seed < COMPARED_PAIRS; ++seed) {
        palm_test::varied_pair(seed, a, b);
        for (int k = 0; k < 3; ++k) {
            float const got = distance_of(a, b, DEGREES[k]);
            if (float_bits(got) != float_bits(reference[3 * seed + k]) && ++mismatches <= 5)
                ADD_FAILURE() << "seed " << seed << " degree " << k << ": " << got
                              << " != " << reference[3 * seed + k];
        }
    }
    EXPECT_EQ(0u, mismatches);
}

void expect_path_matches_reference(match_path path) {
    if (!palm_algorithm::match_path_supported(path))
        GTEST_SKIP() << "processor lacks the path";
    expect_reference_results([path](single_feature const& a, single_feature const& b, Degree d) {
        return g_match_inst.Match_On(path, a, b, d);
    });
}

}  // namespace

TEST(FeatureMatchPaths, ReferenceSeesAllKindsOfDistance) {
    // The varied pairs must reach 0, 1 and values between at every degree,
    // or the comparisons below would prove little.
    std::vector<float> const& reference = reference_distances();
    for (int k = 0; k < 3; ++k) {
        int zero = 0, one = 0, small = 0, middle = 0;
        for (unsigned i = 0; i < COMPARED_PAIRS; ++i) {
            float const d = reference[3 * i + k];
            zero += d == 0.0f;
            one += d == 1.0f;
            small += d > 0.0f && d < 0.1f;
            middle += d >= 0.1f && d < 1.0f;
        }
        EXPECT_GT(zero, 100) << k;
        EXPECT_GT(one, 100) << k;
        EXPECT_GT(small, 1000) << k;
        EXPECT_GT(middle, 1000) << k;
    }
}

TEST(FeatureMatchPaths, ProductionMatchEqualsReferenceBitForBit) {
    expect_reference_results([](single_feature const& a, single_feature const& b, Degree d) {
        return palm_algorithm::get_feature_match_inst()->match(a, b, d);
    });
}

#if PALM_ARCH_X86
TEST(FeatureMatchPaths, PopcountPathEqualsReferenceBitForBit) {
    expect_path_matches_reference(match_path::popcnt);
}

TEST(FeatureMatchPaths, Avx2PathEqualsReferenceBitForBit) {
    expect_path_matches_reference(match_path::avx2);
}

TEST(FeatureMatchPaths, Avx512PathEqualsReferenceBitForBit) {
    expect_path_matches_reference(match_path::avx512);
}
#endif

#if PALM_ARCH_AARCH64
TEST(FeatureMatchPaths, NeonPathEqualsReferenceBitForBit) {
    ASSERT_TRUE(palm_algorithm::match_path_supported(match_path::neon));
    EXPECT_EQ(match_path::neon, palm_algorithm::best_match_path());
    expect_path_matches_reference(match_path::neon);
}
#endif

TEST(FeatureMatchPaths, PathsOfAnotherProcessorFallBackToTheReference) {
#if PALM_ARCH_X86
    match_path const foreign = match_path::neon;
#else
    match_path const foreign = match_path::avx2;
#endif
    EXPECT_FALSE(palm_algorithm::match_path_supported(foreign));
    EXPECT_EQ(nullptr, palm_algorithm::get_match_counter(foreign));
    std::mt19937 rng(16);
    single_feature a, b;
    palm_test::random_code(a, rng);
    palm_test::noisy_copy(a, b, 0.3, rng);
    for (Degree d : DEGREES)
        EXPECT_EQ(float_bits(g_match_inst.Match_Reference(a, b, d)),
                  float_bits(g_match_inst.Match_On(foreign, a, b, d)));
}

TEST(FeatureMatchPaths, TablePathIsTheReference) {
    std::mt19937 rng(15);
    single_feature a, b;
    palm_test::random_code(a, rng);
    palm_test::noisy_copy(a, b, 0.25, rng);
    for (Degree d : DEGREES)
        EXPECT_EQ(float_bits(g_match_inst.Match_Reference(a, b, d)),
                  float_bits(g_match_inst.Match_On(match_path::table, a, b, d)));
}
