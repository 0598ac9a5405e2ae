// Ways of counting the differing bits of two palm codes at the translations
// of one degree. The counts are exact integers, so every way gives the same
// numbers; they differ only in which processor instructions they need.
#ifndef PALM_MATCHING_MATCH_COUNTER_H_
#define PALM_MATCHING_MATCH_COUNTER_H_

#include "palm/cpu_arch.h"
#include "palm/matching/match_translation.h"

namespace palm_algorithm {

enum class match_path {
    table,   // 16-bit look-up table, any processor; the reference
    popcnt,  // one population count instruction per two row words
    avx2,    // eight row words per 256-bit register
    avx512,  // sixteen row words per 512-bit register, vector population count
    neon,    // four row words per 128-bit register, byte-wise population count (aarch64)
};

// Fills counts[i] for each translation index i that the degree tests and
// leaves the other entries alone. a and b are the two 384-byte codes.
using match_count_fn = void (*)(const unsigned char* a, const unsigned char* b,
                                int counts[MATCH_TRANSLATIONS]);

struct match_counter {
    match_count_fn light;
    match_count_fn heavy;
    match_count_fn all;
};

// Whether this processor can run the path; the table always can.
bool match_path_supported(match_path path);

// The fastest path this processor supports, chosen once.
match_path best_match_path();

// The counter of a hardware path, or null for the table path, which lives
// in the matcher itself because it needs the matcher's table.
const match_counter* get_match_counter(match_path path);

#if PALM_ARCH_X86
extern const match_counter g_popcnt_match_counter;
extern const match_counter g_avx2_match_counter;
extern const match_counter g_avx512_match_counter;
#endif
#if PALM_ARCH_AARCH64
extern const match_counter g_neon_match_counter;
#endif

}  // namespace palm_algorithm

#endif  // PALM_MATCHING_MATCH_COUNTER_H_
