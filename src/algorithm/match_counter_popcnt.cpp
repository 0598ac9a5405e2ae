// Differing-bit counts with one population count instruction per row word.
// Compiled for the instruction alone, so the library still loads on any
// x86-64; the matcher only calls this after checking the processor.
#include <cstring>

#include "algorithm/match_counter.h"

#define PALM_TARGET_POPCNT __attribute__((target("popcnt")))

namespace palm_algorithm {

namespace {

template <int I>
PALM_TARGET_POPCNT int count_at(const uint32_t* a, const uint32_t* b) {
    constexpr int dr = g_match_translations[I].dr;
    constexpr int dc = g_match_translations[I].dc;
    constexpr uint32_t mask = match_column_mask(dc);
    int count = 0;
    for (int p = 0; p < MATCH_PLANES; ++p) {
        const uint32_t* pa = a + p * MATCH_ROWS;
        const uint32_t* pb = b + p * MATCH_ROWS + dr;
        for (int r = match_first_row(dr); r < match_end_row(dr); ++r)
            count += __builtin_popcount((pa[r] ^ match_shift_row(pb[r], dc)) & mask);
    }
    return count;
}

template <int... I>
PALM_TARGET_POPCNT void count_all_of(const unsigned char* a, const unsigned char* b,
                                     int counts[MATCH_TRANSLATIONS],
                                     std::integer_sequence<int, I...>) {
    // Row words in host byte order, copied so that no byte buffer is read
    // through a wider type.
    uint32_t wa[MATCH_PLANES * MATCH_ROWS];
    uint32_t wb[MATCH_PLANES * MATCH_ROWS];
    std::memcpy(wa, a, sizeof wa);
    std::memcpy(wb, b, sizeof wb);
    ((counts[I] = count_at<I>(wa, wb)), ...);
}

template <typename Set>
void count_set(const unsigned char* a, const unsigned char* b, int counts[MATCH_TRANSLATIONS]) {
    count_all_of(a, b, counts, Set());
}

}  // namespace

const match_counter g_popcnt_match_counter = {
    count_set<light_translations>, count_set<heavy_translations>, count_set<all_translations>};

}  // namespace palm_algorithm
