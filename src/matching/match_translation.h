// The star of translations at which two palm codes are compared, shared by
// every way of counting differing bits. A translation (dr, dc) compares
// sample (r, c) of the first code with sample (r + dr, c + dc) of the second.
#ifndef PALM_MATCHING_MATCH_TRANSLATION_H_
#define PALM_MATCHING_MATCH_TRANSLATION_H_

#include <cstdint>
#include <utility>

namespace palm_algorithm {

enum { MATCH_PLANES = 3, MATCH_ROWS = 32, MATCH_TRANSLATIONS = 25 };

struct match_translation {
    int dr;
    int dc;
};

// Index 0 is the centre; for s = 1, 2, 3 the entries 8(s-1)+1 .. 8(s-1)+8
// walk around the centre at distance s, alternating axial and diagonal.
inline constexpr match_translation g_match_translations[MATCH_TRANSLATIONS] = {
    {0, 0},                                                                //
    {1, 0}, {1, -1}, {0, -1}, {-1, -1}, {-1, 0}, {-1, 1}, {0, 1}, {1, 1},  //
    {2, 0}, {2, -2}, {0, -2}, {-2, -2}, {-2, 0}, {-2, 2}, {0, 2}, {2, 2},  //
    {3, 0}, {3, -3}, {0, -3}, {-3, -3}, {-3, 0}, {-3, 3}, {0, 3}, {3, 3}};

// The translations each degree tests. Light and heavy together are exactly
// the full star, and heavy leaves the centre out on purpose.
using light_translations = std::integer_sequence<int, 0, 18, 20, 22, 24>;
using heavy_translations = std::integer_sequence<int, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14,
                                                 15, 16, 17, 19, 21, 23>;
using all_translations = std::make_integer_sequence<int, MATCH_TRANSLATIONS>;

// Bits of a row word that keep a partner after a column shift of dc: the
// second code's word moves right for negative dc and left for positive dc,
// and the bits it pushes off the grid are dropped, never wrapped around.
constexpr uint32_t match_column_mask(int dc) {
    return dc < 0 ? 0xffffffffu >> -dc : dc > 0 ? 0xffffffffu << dc : 0xffffffffu;
}

constexpr uint32_t match_shift_row(uint32_t word, int dc) {
    return dc < 0 ? word >> -dc : dc > 0 ? word << dc : word;
}

// First row of the first code that has a partner at row shift dr, and one
// past the last.
constexpr int match_first_row(int dr) {
    return dr < 0 ? -dr : 0;
}
constexpr int match_end_row(int dr) {
    return dr > 0 ? MATCH_ROWS - dr : MATCH_ROWS;
}

}  // namespace palm_algorithm

#endif  // PALM_MATCHING_MATCH_TRANSLATION_H_
