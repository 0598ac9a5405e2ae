// Differing-bit counts with eight row words per 256-bit register. Each
// register holds rows 8k .. 8k+7 of one plane; the second code is copied
// between zero rows so that a row shift is an unaligned load, and the rows
// whose partner falls off the grid are masked. Bits are counted by nibble
// look-up (vpshufb) into byte counters, summed once per translation,
// after carry-save adders have folded the twelve registers into five.
// Compiled for AVX2 alone; the matcher only calls it after checking the
// processor.
#include "palm/cpu_arch.h"
#if PALM_ARCH_X86

#include <immintrin.h>

#include "palm/matching/match_counter_of.h"
#include "palm/matching/match_padded_code.h"

#define PALM_TARGET_AVX2 __attribute__((target("avx2,popcnt")))

namespace palm_algorithm {

namespace {

PALM_TARGET_AVX2 inline __m256i load(const void* p) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(p));
}

// Per-byte bit counts (0 to 8) of a register.
PALM_TARGET_AVX2 inline __m256i byte_popcount(__m256i x) {
    const __m256i nibble_bits = _mm256_setr_epi8(0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4,  //
                                                 0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4);
    const __m256i low_nibble = _mm256_set1_epi8(0x0f);
    const __m256i lo = _mm256_and_si256(x, low_nibble);
    const __m256i hi = _mm256_and_si256(_mm256_srli_epi16(x, 4), low_nibble);
    return _mm256_add_epi8(_mm256_shuffle_epi8(nibble_bits, lo),
                           _mm256_shuffle_epi8(nibble_bits, hi));
}

PALM_TARGET_AVX2 inline int horizontal_sum(__m256i byte_counts) {
    const __m256i sums = _mm256_sad_epu8(byte_counts, _mm256_setzero_si256());
    const __m128i half =
        _mm_add_epi64(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
    return static_cast<int>(_mm_cvtsi128_si64(half) + _mm_extract_epi64(half, 1));
}

// Carry-save adder: adds three registers bit by bit into a sum register of
// weight one and a carry register of weight two.
PALM_TARGET_AVX2 inline void carry_save(__m256i& carry, __m256i& sum, __m256i a, __m256i b,
                                        __m256i c) {
    const __m256i u = _mm256_xor_si256(a, b);
    carry = _mm256_or_si256(_mm256_and_si256(a, b), _mm256_and_si256(u, c));
    sum = _mm256_xor_si256(u, c);
}

struct avx2_codes {
    const unsigned char* a;
    match_padded_code b;

    avx2_codes(const unsigned char* first, const unsigned char* second) : a(first), b(second) {}
};

template <int I>
struct avx2_count {
    PALM_TARGET_AVX2 static int run(const avx2_codes& codes);
};

template <int I>
PALM_TARGET_AVX2 int avx2_count<I>::run(const avx2_codes& codes) {
    const unsigned char* a = codes.a;
    const match_padded_code& b = codes.b;
    constexpr int dr = g_match_translations[I].dr;
    constexpr int dc = g_match_translations[I].dc;
    const __m256i column = _mm256_set1_epi32(static_cast<int>(match_column_mask(dc)));
    __m256i mask[4];
    for (int k = 0; k < 4; ++k)
        mask[k] = dr == 0 ? column
                          : _mm256_and_si256(
                                column, load(g_match_row_on_grid + MATCH_PAD_ROWS + 8 * k + dr));
    __m256i x[MATCH_PLANES * 4];
#pragma GCC unroll 3
    for (int p = 0; p < MATCH_PLANES; ++p) {
#pragma GCC unroll 4
        for (int k = 0; k < 4; ++k) {
            __m256i vb = load(&b.rows[p][MATCH_PAD_ROWS + 8 * k + dr]);
            if (dc < 0)
                vb = _mm256_srli_epi32(vb, -dc);
            if (dc > 0)
                vb = _mm256_slli_epi32(vb, dc);
            x[4 * p + k] = _mm256_xor_si256(load(a + p * 128 + k * 32), vb);
            if (dr != 0 || dc != 0)
                x[4 * p + k] = _mm256_and_si256(x[4 * p + k], mask[k]);
        }
    }
    // Twelve registers reduced by carry-save adders to two of weight one,
    // one of weight two and two of weight four, so that five instead of
    // twelve are counted (Harley-Seal).
    __m256i one1, one2, one3, one4, two1, two2, two3, two4, two5, four1, four2;
    carry_save(two1, one1, x[0], x[1], x[2]);
    carry_save(two2, one2, x[3], x[4], x[5]);
    carry_save(two3, one3, x[6], x[7], x[8]);
    carry_save(two4, one4, x[9], x[10], x[11]);
    carry_save(two5, one1, one1, one2, one3);
    carry_save(four1, two1, two1, two2, two3);
    carry_save(four2, two1, two1, two4, two5);
    // At most 16 + 2 * 8 + 4 * 16 = 96 per byte: no byte overflows, and
    // the shift by two stays inside each byte.
    const __m256i ones = _mm256_add_epi8(byte_popcount(one1), byte_popcount(one4));
    const __m256i twos = byte_popcount(two1);
    const __m256i fours = _mm256_add_epi8(byte_popcount(four1), byte_popcount(four2));
    return horizontal_sum(_mm256_add_epi8(_mm256_add_epi8(ones, _mm256_add_epi8(twos, twos)),
                                          _mm256_slli_epi16(fours, 2)));
}

}  // namespace

const match_counter g_avx2_match_counter = match_counter_of<avx2_codes, avx2_count>::counter();

}  // namespace palm_algorithm

#endif  // PALM_ARCH_X86
