// The window pass with 16-byte registers on aarch64. As in the SSE2 pass, a
// 29-pixel window row is read as bytes 0 to 15 and 13 to 28, and the three
// bytes the two reads share are cleared in the second one. Bytes are added
// pairwise into 16-bit lanes (at most 4 x 255 a row, 29 rows: below 2^16);
// maxima in a byte-wise maximum. Only the window's own bytes are read.
#include "palm/cpu_arch.h"
#if PALM_ARCH_AARCH64

#include <arm_neon.h>

#include "palm/capture/cmos_window.h"

namespace palm_algorithm {

namespace {

const int kSecondRead = CMOS_WINDOW_SIDE - 16;

}  // namespace

void window_pass_neon(const unsigned char* high, int high_stride, const unsigned char* low,
                      int low_stride, window_stats& high_out, window_stats& low_out) {
    static const unsigned char shared_bytes[16] = {0,    0,    0,    0xff, 0xff, 0xff, 0xff, 0xff,
                                                   0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
    const uint8x16_t shared = vld1q_u8(shared_bytes);
    uint16x8_t high_sum = vdupq_n_u16(0), low_sum = vdupq_n_u16(0);
    uint8x16_t high_max = vdupq_n_u8(0), low_max = vdupq_n_u8(0);
    for (int r = 0; r < CMOS_WINDOW_SIDE; ++r) {
        const unsigned char* h = high + static_cast<long>(r) * high_stride;
        const unsigned char* l = low + static_cast<long>(r) * low_stride;
        const uint8x16_t h0 = vld1q_u8(h), h1 = vandq_u8(vld1q_u8(h + kSecondRead), shared);
        const uint8x16_t l0 = vld1q_u8(l), l1 = vandq_u8(vld1q_u8(l + kSecondRead), shared);
        high_sum = vpadalq_u8(vpadalq_u8(high_sum, h0), h1);
        low_sum = vpadalq_u8(vpadalq_u8(low_sum, l0), l1);
        high_max = vmaxq_u8(high_max, vmaxq_u8(h0, h1));
        low_max = vmaxq_u8(low_max, vmaxq_u8(l0, l1));
    }
    high_out = window_stats{vaddlvq_u16(high_sum), vmaxvq_u8(high_max)};
    low_out = window_stats{vaddlvq_u16(low_sum), vmaxvq_u8(low_max)};
}

}  // namespace palm_algorithm

#endif  // PALM_ARCH_AARCH64
