// Differing-bit counts with sixteen row words per 512-bit register and the
// vector population count of AVX-512: each register holds rows 16k .. 16k+15
// of one plane. As in the AVX2 counter, the second code is copied between
// zero rows so that a row shift is an unaligned load; one ternary logic
// operation forms (a ^ b) & mask. Compiled for these instructions alone; the
// matcher only calls it after checking the processor.

#include "palm/cpu_arch.h"
#if PALM_ARCH_X86

#include "palm/matching/avx512_target.h"
#include "palm/matching/match_counter_of.h"
#include "palm/matching/match_padded_code.h"

namespace palm_algorithm {

namespace {

using avx512::load;
using avx512::XOR_AND;

PALM_TARGET_AVX512 inline int horizontal_sum(__m512i lanes) {
    const __m512i high = _mm512_shuffle_i64x2(lanes, lanes, 0xee);
    const __m256i s8 =
        _mm256_add_epi32(_mm512_castsi512_si256(lanes), _mm512_castsi512_si256(high));
    const __m128i s4 = _mm_add_epi32(_mm256_castsi256_si128(s8), _mm256_extracti128_si256(s8, 1));
    const __m128i s2 = _mm_add_epi32(s4, _mm_unpackhi_epi64(s4, s4));
    return _mm_cvtsi128_si32(_mm_add_epi32(s2, _mm_shuffle_epi32(s2, 1)));
}

struct avx512_codes {
    const unsigned char* a;
    match_padded_code b;

    avx512_codes(const unsigned char* first, const unsigned char* second) : a(first), b(second) {}
};

template <int I>
struct avx512_count {
    PALM_TARGET_AVX512 static int run(const avx512_codes& codes);
};

template <int I>
PALM_TARGET_AVX512 int avx512_count<I>::run(const avx512_codes& codes) {
    const unsigned char* a = codes.a;
    const match_padded_code& b = codes.b;
    constexpr int dr = g_match_translations[I].dr;
    constexpr int dc = g_match_translations[I].dc;
    const __m512i column = _mm512_set1_epi32(static_cast<int>(match_column_mask(dc)));
    __m512i mask[2];
    for (int k = 0; k < 2; ++k)
        mask[k] = dr == 0 ? column
                          : _mm512_and_si512(
                                column, load(g_match_row_on_grid + MATCH_PAD_ROWS + 16 * k + dr));
    __m512i counts = _mm512_setzero_si512();
#pragma GCC unroll 3
    for (int p = 0; p < MATCH_PLANES; ++p) {
#pragma GCC unroll 2
        for (int k = 0; k < 2; ++k) {
            __m512i vb = load(&b.rows[p][MATCH_PAD_ROWS + 16 * k + dr]);
            if (dc < 0)
                vb = _mm512_srli_epi32(vb, -dc);
            if (dc > 0)
                vb = _mm512_slli_epi32(vb, dc);
            const __m512i x =
                _mm512_ternarylogic_epi32(load(a + p * 128 + k * 64), vb, mask[k], XOR_AND);
            counts = _mm512_add_epi32(counts, _mm512_popcnt_epi32(x));
        }
    }
    return horizontal_sum(counts);
}

}  // namespace

const match_counter g_avx512_match_counter =
    match_counter_of<avx512_codes, avx512_count>::counter();

}  // namespace palm_algorithm

#endif  // PALM_ARCH_X86
