// Differing-bit counts with sixteen row words per 512-bit register and the
// vector population count of AVX-512: each register holds rows 16k .. 16k+15
// of one plane. As in the AVX2 counter, the second code is copied between
// zero rows so that a row shift is an unaligned load; one ternary logic
// operation forms (a ^ b) & mask. Compiled for these instructions alone; the
// matcher only calls it after checking the processor.
// GCC 12's AVX-512 header reads a deliberately undefined vector in several
// of its inline functions and warns about itself once they are inlined.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop

#include "algorithm/match_counter.h"

#define PALM_TARGET_AVX512 __attribute__((target("avx512f,avx512vpopcntdq,popcnt")))

namespace palm_algorithm {

namespace {

enum { PAD_ROWS = 8, PADDED_ROWS = PAD_ROWS + MATCH_ROWS + PAD_ROWS };

struct padded_code {
    alignas(64) uint32_t rows[MATCH_PLANES][PADDED_ROWS];
};

// All ones where a row index (offset by PAD_ROWS) lies on the grid.
alignas(64) constexpr uint32_t g_row_on_grid[PADDED_ROWS] = {
    0,   0,   0,   0,   0,   0,   0,   0,   ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u,
    ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u,
    ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, 0,   0,   0,   0,   0,   0,   0,   0};

// Truth table of (a ^ b) & c for the ternary logic instruction.
constexpr int XOR_AND = (0xf0 ^ 0xcc) & 0xaa;

PALM_TARGET_AVX512 inline __m512i load(const void* p) {
    return _mm512_loadu_si512(p);
}

PALM_TARGET_AVX512 inline int horizontal_sum(__m512i lanes) {
    const __m512i high = _mm512_shuffle_i64x2(lanes, lanes, 0xee);
    const __m256i s8 =
        _mm256_add_epi32(_mm512_castsi512_si256(lanes), _mm512_castsi512_si256(high));
    const __m128i s4 = _mm_add_epi32(_mm256_castsi256_si128(s8), _mm256_extracti128_si256(s8, 1));
    const __m128i s2 = _mm_add_epi32(s4, _mm_unpackhi_epi64(s4, s4));
    return _mm_cvtsi128_si32(_mm_add_epi32(s2, _mm_shuffle_epi32(s2, 1)));
}

template <int I>
PALM_TARGET_AVX512 int count_at(const unsigned char* a, const padded_code& b) {
    constexpr int dr = g_match_translations[I].dr;
    constexpr int dc = g_match_translations[I].dc;
    const __m512i column = _mm512_set1_epi32(static_cast<int>(match_column_mask(dc)));
    __m512i mask[2];
    for (int k = 0; k < 2; ++k)
        mask[k] = dr == 0 ? column
                          : _mm512_and_si512(column, load(g_row_on_grid + PAD_ROWS + 16 * k + dr));
    __m512i counts = _mm512_setzero_si512();
#pragma GCC unroll 3
    for (int p = 0; p < MATCH_PLANES; ++p) {
#pragma GCC unroll 2
        for (int k = 0; k < 2; ++k) {
            __m512i vb = load(&b.rows[p][PAD_ROWS + 16 * k + dr]);
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

template <int... I>
PALM_TARGET_AVX512 void count_all_of(const unsigned char* a, const unsigned char* b,
                                     int counts[MATCH_TRANSLATIONS],
                                     std::integer_sequence<int, I...>) {
    padded_code pb;
    const __m256i zero = _mm256_setzero_si256();
    for (int p = 0; p < MATCH_PLANES; ++p) {
        __m256i* rows = reinterpret_cast<__m256i*>(pb.rows[p]);
        _mm256_store_si256(rows, zero);
        for (int k = 0; k < 4; ++k)
            _mm256_store_si256(
                rows + 1 + k,
                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b + p * 128 + k * 32)));
        _mm256_store_si256(rows + 5, zero);
    }
    ((counts[I] = count_at<I>(a, pb)), ...);
}

template <typename Set>
void count_set(const unsigned char* a, const unsigned char* b, int counts[MATCH_TRANSLATIONS]) {
    count_all_of(a, b, counts, Set());
}

}  // namespace

const match_counter g_avx512_match_counter = {
    count_set<light_translations>, count_set<heavy_translations>, count_set<all_translations>};

}  // namespace palm_algorithm
