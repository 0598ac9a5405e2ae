// Prepared-probe counts with 128-bit registers: the other code stays in 24
// registers (rows 4k .. 4k+3 of each plane) for all 25 translations, and
// each translation forms (moved ^ other) & partner, counts its bits per byte
// and sums the bytes (at most 24 x 8 = 192 each) before the pairwise fold.
#include "palm/cpu_arch.h"
#if PALM_ARCH_AARCH64

#include <arm_neon.h>

#include "palm/matching/match_neon.h"
#include "palm/matching/match_probe.h"

namespace palm_algorithm {

void match_probe_counts_neon(const uint32_t moved[MATCH_TRANSLATIONS][MATCH_PLANES * MATCH_ROWS],
                             const uint32_t partner[MATCH_TRANSLATIONS][MATCH_ROWS],
                             const unsigned char* other, int counts[MATCH_TRANSLATIONS]) {
    uint32x4_t b[MATCH_PLANES * 8];
    for (int i = 0; i < MATCH_PLANES * 8; ++i)
        b[i] = vreinterpretq_u32_u8(vld1q_u8(other + 16 * i));
    for (int t = 0; t < MATCH_TRANSLATIONS; ++t) {
        uint32x4_t m[8];
        for (int k = 0; k < 8; ++k)
            m[k] = vld1q_u32(partner[t] + 4 * k);
        uint8x16_t bytes = vdupq_n_u8(0);
        for (int p = 0; p < MATCH_PLANES; ++p) {
            for (int k = 0; k < 8; ++k) {
                const uint32x4_t x = vandq_u32(
                    veorq_u32(vld1q_u32(moved[t] + p * MATCH_ROWS + 4 * k), b[8 * p + k]), m[k]);
                bytes = vaddq_u8(bytes, vcntq_u8(vreinterpretq_u8_u32(x)));
            }
        }
        counts[t] = neon::byte_sum(bytes);
    }
}

}  // namespace palm_algorithm

#endif  // PALM_ARCH_AARCH64
