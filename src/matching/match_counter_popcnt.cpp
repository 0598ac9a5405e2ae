// Differing-bit counts with one population count instruction per pair of
// row words.
// Compiled for the instruction alone, so the library still loads on any
// x86-64; the matcher only calls this after checking the processor.
#include "palm/cpu_arch.h"
#if PALM_ARCH_X86

#include <cstring>

#include "palm/matching/match_counter_of.h"

#define PALM_TARGET_POPCNT __attribute__((target("popcnt")))

namespace palm_algorithm {

namespace {

inline uint64_t row_pair(const uint32_t* rows) {
    uint64_t pair;
    std::memcpy(&pair, rows, sizeof pair);
    return pair;
}

// Two neighbouring rows at once in a 64-bit word. A column shift of the
// pair moves bits between its two rows, but exactly into the positions that
// the column mask of each half removes, so the count stays that of two
// separate words.
// Row words in host byte order, copied so that no byte buffer is read
// through a wider type.
struct popcnt_codes {
    uint32_t a[MATCH_PLANES * MATCH_ROWS];
    uint32_t b[MATCH_PLANES * MATCH_ROWS];

    popcnt_codes(const unsigned char* first, const unsigned char* second) {
        std::memcpy(a, first, sizeof a);
        std::memcpy(b, second, sizeof b);
    }
};

template <int I>
struct popcnt_count {
    PALM_TARGET_POPCNT static int run(const popcnt_codes& codes);
};

template <int I>
PALM_TARGET_POPCNT int popcnt_count<I>::run(const popcnt_codes& codes) {
    const uint32_t* a = codes.a;
    const uint32_t* b = codes.b;
    constexpr int dr = g_match_translations[I].dr;
    constexpr int dc = g_match_translations[I].dc;
    constexpr uint32_t mask = match_column_mask(dc);
    constexpr uint64_t pair_mask = (static_cast<uint64_t>(mask) << 32) | mask;
    constexpr int first = match_first_row(dr);
    constexpr int end = match_end_row(dr);
    constexpr int pairs_end = first + (end - first) / 2 * 2;
    int count = 0;
    for (int p = 0; p < MATCH_PLANES; ++p) {
        const uint32_t* pa = a + p * MATCH_ROWS;
        const uint32_t* pb = b + p * MATCH_ROWS + dr;
        for (int r = first; r < pairs_end; r += 2) {
            uint64_t w = row_pair(pb + r);
            w = dc < 0 ? w >> -dc : dc > 0 ? w << dc : w;
            count += __builtin_popcountll((row_pair(pa + r) ^ w) & pair_mask);
        }
        if (pairs_end < end)
            count += __builtin_popcount((pa[end - 1] ^ match_shift_row(pb[end - 1], dc)) & mask);
    }
    return count;
}

}  // namespace

const match_counter g_popcnt_match_counter =
    match_counter_of<popcnt_codes, popcnt_count>::counter();

}  // namespace palm_algorithm

#endif  // PALM_ARCH_X86
