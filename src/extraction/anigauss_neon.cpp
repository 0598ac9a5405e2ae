// NEON lane operations for the six oriented filters, for aarch64: four
// lanes a register. The passes themselves are those of anigauss_lanes.h.
#include "palm/cpu_arch.h"
#if PALM_ARCH_AARCH64

#include <arm_neon.h>

#include <cstddef>
#include <cstdint>

#include "palm/extraction/anigauss_fast.h"
#include "palm/extraction/anigauss_lanes.h"

namespace palm_share {
namespace {

struct neon_lanes {
    using vec = int32x4_t;
    static constexpr int width = 4;

    // Wrapping 32-bit product, rounded to nearest with halves upward.
    static vec vmr(vec a, vec b) {
        const vec p = vmulq_s32(a, b);
        return vaddq_s32(vshrq_n_s32(p, 12), vandq_s32(vshrq_n_s32(p, 11), vdupq_n_s32(1)));
    }
    static vec ld(const int32_t* p) { return vld1q_s32(p); }
    static void st(int32_t* p, vec v) { vst1q_s32(p, v); }
    static vec add(vec a, vec b) { return vaddq_s32(a, b); }
    static vec sub(vec a, vec b) { return vsubq_s32(a, b); }
    static vec set1(int32_t v) { return vdupq_n_s32(v); }

    static void transpose_block(const int32_t* src, size_t src_stride, int32_t* dst,
                                size_t dst_stride) {
        const int32x4x2_t t01 = vtrnq_s32(ld(src), ld(src + src_stride));
        const int32x4x2_t t23 = vtrnq_s32(ld(src + 2 * src_stride), ld(src + 3 * src_stride));
        st(dst, vcombine_s32(vget_low_s32(t01.val[0]), vget_low_s32(t23.val[0])));
        st(dst + dst_stride, vcombine_s32(vget_low_s32(t01.val[1]), vget_low_s32(t23.val[1])));
        st(dst + 2 * dst_stride,
           vcombine_s32(vget_high_s32(t01.val[0]), vget_high_s32(t23.val[0])));
        st(dst + 3 * dst_stride,
           vcombine_s32(vget_high_s32(t01.val[1]), vget_high_s32(t23.val[1])));
    }
};

}  // namespace

void anigauss_six_neon(const int* src, int* dst, int sizex, int sizey, int orderv, int orderu) {
    lanes::six<neon_lanes>(src, dst, sizex, sizey, orderv, orderu);
}

}  // namespace palm_share

#endif  // PALM_ARCH_AARCH64
