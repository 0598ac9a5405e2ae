// Prepared-probe counts with 512-bit registers: the other code stays in six
// registers (rows 16k .. 16k+15 of each plane) for all 25 translations, and
// one ternary logic operation forms (moved ^ other) & partner. The 25 vectors
// of per-lane counts are packed two to a vector and summed by one
// transposing reduction instead of one horizontal sum each. Compiled for these instructions alone;
// callers check the processor first.

#include "palm/cpu_arch.h"
#if PALM_ARCH_X86

#include "palm/matching/avx512_target.h"
#include "palm/matching/match_probe.h"

namespace palm_algorithm {

namespace {

using avx512::load;
using avx512::XOR_AND;

PALM_TARGET_AVX512 inline __m512i count_one(const uint32_t* moved, const uint32_t* partner,
                                            const __m512i b[6]) {
    const __m512i m0 = load(partner);
    const __m512i m1 = load(partner + 16);
    __m512i acc = _mm512_popcnt_epi32(_mm512_ternarylogic_epi32(load(moved), b[0], m0, XOR_AND));
    acc = _mm512_add_epi32(
        acc, _mm512_popcnt_epi32(_mm512_ternarylogic_epi32(load(moved + 16), b[1], m1, XOR_AND)));
    acc = _mm512_add_epi32(
        acc, _mm512_popcnt_epi32(_mm512_ternarylogic_epi32(load(moved + 32), b[2], m0, XOR_AND)));
    acc = _mm512_add_epi32(
        acc, _mm512_popcnt_epi32(_mm512_ternarylogic_epi32(load(moved + 48), b[3], m1, XOR_AND)));
    acc = _mm512_add_epi32(
        acc, _mm512_popcnt_epi32(_mm512_ternarylogic_epi32(load(moved + 64), b[4], m0, XOR_AND)));
    acc = _mm512_add_epi32(
        acc, _mm512_popcnt_epi32(_mm512_ternarylogic_epi32(load(moved + 80), b[5], m1, XOR_AND)));
    return acc;
}

// Lane j of the result is the sum of the sixteen lanes of v[j].
PALM_TARGET_AVX512 inline __m512i sum_lanes(const __m512i v[16]) {
    __m512i w[8], u[4], r[2];
    for (int j = 0; j < 8; ++j)
        w[j] = _mm512_add_epi32(_mm512_unpacklo_epi32(v[2 * j], v[2 * j + 1]),
                                _mm512_unpackhi_epi32(v[2 * j], v[2 * j + 1]));
    for (int j = 0; j < 4; ++j)
        u[j] = _mm512_add_epi32(_mm512_unpacklo_epi64(w[2 * j], w[2 * j + 1]),
                                _mm512_unpackhi_epi64(w[2 * j], w[2 * j + 1]));
    for (int j = 0; j < 2; ++j)
        r[j] = _mm512_add_epi32(_mm512_shuffle_i32x4(u[2 * j], u[2 * j + 1], 0x88),
                                _mm512_shuffle_i32x4(u[2 * j], u[2 * j + 1], 0xdd));
    return _mm512_add_epi32(_mm512_shuffle_i32x4(r[0], r[1], 0x88),
                            _mm512_shuffle_i32x4(r[0], r[1], 0xdd));
}

}  // namespace

namespace {

// The probe against one code: lane t of the first result is the count at
// translation t (0 to 15), lane t - 16 of the second at t (16 to 24).
PALM_TARGET_AVX512 inline void counts_of(
    const uint32_t moved[MATCH_TRANSLATIONS][MATCH_PLANES * MATCH_ROWS],
    const uint32_t partner[MATCH_TRANSLATIONS][MATCH_ROWS], const unsigned char* other,
    __m512i& low, __m512i& high) {
    __m512i b[6];
    for (int k = 0; k < 6; ++k)
        b[k] = load(other + 64 * k);
    // A lane of one translation's vector holds at most 6 x 32 bits, and a
    // translation's whole count at most 3,072: two translations share each
    // vector, the later one in the high halves of the lanes, and one
    // reduction serves both without a carry between them.
    __m512i v[16];
#pragma GCC unroll 16
    for (int t = 0; t < 16; ++t)
        v[t] = count_one(moved[t], partner[t], b);
#pragma GCC unroll 9
    for (int t = 16; t < MATCH_TRANSLATIONS; ++t)
        v[t - 16] =
            _mm512_add_epi32(v[t - 16], _mm512_slli_epi32(count_one(moved[t], partner[t], b), 16));
    const __m512i both = sum_lanes(v);
    low = _mm512_and_si512(both, _mm512_set1_epi32(0xffff));
    high = _mm512_srli_epi32(both, 16);
}

// The distance of DEGREE_ALL from the counts, as match_all_distance gives it.
// Every quotient except the centre's is taken in double precision: division
// rounds correctly, so the smallest double quotient is the double rounding
// of the smallest exact one, and rounding a quotient of two single-precision
// numbers first to double and then to single gives its correct single
// rounding (double carries more than twice the bits of single, plus two).
PALM_TARGET_AVX512 inline float distance_of(__m512i low, __m512i high) {
    const __m512d overlap0 = _mm512_setr_pd(3072, 2976, 2883, 2976, 2883, 2976, 2883, 2976);
    const __m512d overlap1 = _mm512_setr_pd(2883, 2880, 2700, 2880, 2700, 2880, 2700, 2880);
    const __m512d overlap2 = _mm512_setr_pd(2700, 2784, 2523, 2784, 2523, 2784, 2523, 2784);
    const __m512d overlap3 = _mm512_set1_pd(2523);
    const __m512d above = _mm512_set1_pd(2.0);
    // Lane 0 of the first group is the centre, taken apart below; of the
    // last group only lane 0 (translation 24) is a translation.
    const __m512d q0 =
        _mm512_mask_div_pd(above, 0xfe, _mm512_cvtepi32_pd(_mm512_castsi512_si256(low)), overlap0);
    const __m512d q1 =
        _mm512_div_pd(_mm512_cvtepi32_pd(_mm512_extracti64x4_epi64(low, 1)), overlap1);
    const __m512d q2 = _mm512_div_pd(_mm512_cvtepi32_pd(_mm512_castsi512_si256(high)), overlap2);
    const __m512d q3 = _mm512_mask_div_pd(
        above, 0x01, _mm512_cvtepi32_pd(_mm512_extracti64x4_epi64(high, 1)), overlap3);
    const double smallest =
        _mm512_reduce_min_pd(_mm512_min_pd(_mm512_min_pd(q0, q1), _mm512_min_pd(q2, q3)));
    const int centre = _mm_cvtsi128_si32(_mm512_castsi512_si128(low));
    float best = 1.0f;
    const float centre_distance = static_cast<float>(centre) * 0.00032552084f;
    if (centre_distance < best)
        best = centre_distance;
    const float other_distance = static_cast<float>(smallest);
    if (other_distance < best)
        best = other_distance;
    return best;
}

}  // namespace

PALM_TARGET_AVX512 void match_probe_counts_avx512(
    const uint32_t moved[MATCH_TRANSLATIONS][MATCH_PLANES * MATCH_ROWS],
    const uint32_t partner[MATCH_TRANSLATIONS][MATCH_ROWS], const unsigned char* other,
    int counts[MATCH_TRANSLATIONS]) {
    __m512i low, high;
    counts_of(moved, partner, other, low, high);
    _mm512_storeu_si512(counts, low);
    alignas(64) int rest[16];
    _mm512_store_si512(rest, high);
    for (int t = 16; t < MATCH_TRANSLATIONS; ++t)
        counts[t] = rest[t - 16];
}

PALM_TARGET_AVX512 float match_probe_distance_avx512(
    const uint32_t moved[MATCH_TRANSLATIONS][MATCH_PLANES * MATCH_ROWS],
    const uint32_t partner[MATCH_TRANSLATIONS][MATCH_ROWS], const unsigned char* other) {
    __m512i low, high;
    counts_of(moved, partner, other, low, high);
    return distance_of(low, high);
}

PALM_TARGET_AVX512 float match_all_distance_avx512(const int counts[MATCH_TRANSLATIONS]) {
    alignas(64) int rest[16] = {};
    for (int t = 16; t < MATCH_TRANSLATIONS; ++t)
        rest[t - 16] = counts[t];
    return distance_of(_mm512_loadu_si512(counts), _mm512_load_si512(rest));
}

}  // namespace palm_algorithm

#endif  // PALM_ARCH_X86
