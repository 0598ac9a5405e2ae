// The second code of a comparison, copied with zero rows before and after
// each plane, for the wide-register counters: a row shift of the star then
// is an unaligned load at a row offset, and a mask table of the same layout
// tells which of the loaded rows lie on the grid.
#ifndef PALM_MATCHING_MATCH_PADDED_CODE_H_
#define PALM_MATCHING_MATCH_PADDED_CODE_H_

#include <cstdint>
#include <cstring>

#include "palm/matching/match_translation.h"

namespace palm_algorithm {

// Eight zero rows on each side: more than the largest row shift, and each
// plane starts on a 32-byte boundary.
enum { MATCH_PAD_ROWS = 8, MATCH_PADDED_ROWS = MATCH_PAD_ROWS + MATCH_ROWS + MATCH_PAD_ROWS };

struct match_padded_code {
    alignas(64) uint32_t rows[MATCH_PLANES][MATCH_PADDED_ROWS];

    explicit match_padded_code(const unsigned char* code) {
        std::memset(rows, 0, sizeof rows);
        for (int p = 0; p < MATCH_PLANES; ++p)
            std::memcpy(&rows[p][MATCH_PAD_ROWS], code + p * MATCH_ROWS * 4, MATCH_ROWS * 4);
    }
};

// All ones where a padded row index lies on the grid.
alignas(64) inline constexpr uint32_t g_match_row_on_grid[MATCH_PADDED_ROWS] = {
    0,   0,   0,   0,   0,   0,   0,   0,   ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u,
    ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u,
    ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, 0,   0,   0,   0,   0,   0,   0,   0};

}  // namespace palm_algorithm

#endif  // PALM_MATCHING_MATCH_PADDED_CODE_H_
