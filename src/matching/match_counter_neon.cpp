// Differing-bit counts with four row words per 128-bit register: register k
// of a plane holds rows 4k .. 4k+3. As in the wide x86 counters, the second
// code is copied between zero rows so that a row shift is an unaligned load,
// and the rows whose partner falls off the grid are masked. Bits are counted
// per byte (at most 8 a register), summed as bytes over all 24 registers of
// a translation (at most 192, no overflow) and folded by pairwise adds.
#include "palm/cpu_arch.h"
#if PALM_ARCH_AARCH64

#include <arm_neon.h>

#include "palm/matching/match_counter_of.h"
#include "palm/matching/match_neon.h"
#include "palm/matching/match_padded_code.h"

namespace palm_algorithm {

namespace {

struct neon_codes {
    const unsigned char* a;
    match_padded_code b;

    neon_codes(const unsigned char* first, const unsigned char* second) : a(first), b(second) {}
};

template <int I>
struct neon_count {
    static int run(const neon_codes& codes);
};

template <int I>
int neon_count<I>::run(const neon_codes& codes) {
    const unsigned char* a = codes.a;
    const match_padded_code& b = codes.b;
    constexpr int dr = g_match_translations[I].dr;
    constexpr int dc = g_match_translations[I].dc;
    // A negative count shifts an unsigned lane right, logically.
    const int32x4_t shift = vdupq_n_s32(dc);
    const uint32x4_t column = vdupq_n_u32(match_column_mask(dc));
    uint32x4_t mask[8];
    for (int k = 0; k < 8; ++k)
        mask[k] = dr == 0 ? column
                          : vandq_u32(column,
                                      vld1q_u32(g_match_row_on_grid + MATCH_PAD_ROWS + 4 * k + dr));
    uint8x16_t bytes = vdupq_n_u8(0);
    for (int p = 0; p < MATCH_PLANES; ++p) {
        for (int k = 0; k < 8; ++k) {
            uint32x4_t vb = vld1q_u32(&b.rows[p][MATCH_PAD_ROWS + 4 * k + dr]);
            if (dc != 0)
                vb = vshlq_u32(vb, shift);
            const uint32x4_t va = vreinterpretq_u32_u8(vld1q_u8(a + p * 128 + k * 16));
            const uint32x4_t x = vandq_u32(veorq_u32(va, vb), mask[k]);
            bytes = vaddq_u8(bytes, vcntq_u8(vreinterpretq_u8_u32(x)));
        }
    }
    return neon::byte_sum(bytes);
}

}  // namespace

const match_counter g_neon_match_counter = match_counter_of<neon_codes, neon_count>::counter();

}  // namespace palm_algorithm

#endif  // PALM_ARCH_AARCH64
