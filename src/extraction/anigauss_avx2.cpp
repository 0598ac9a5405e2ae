// AVX2 lane operations for the six oriented filters: eight lanes a register.
// The passes themselves are those of anigauss_lanes.h.
//
// Only this file is compiled for AVX2, and only functions of internal
// linkage and no library template are defined in that part, so that no
// AVX2 code can reach a processor without it. Every header the passes need
// is included before that part, so that none of its inline functions or
// templates takes on the AVX2 target there.
#include "palm/cpu_arch.h"
#if PALM_ARCH_X86

#include <immintrin.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "palm/extraction/anigauss.h"
#include "palm/extraction/anigauss_fast.h"
#include "palm/extraction/anigauss_line.h"
#include "palm/extraction/fixed_point.h"

#pragma GCC push_options
#pragma GCC target("avx2")

#include "palm/extraction/anigauss_lanes.h"

namespace palm_share {
namespace {

struct avx2_lanes {
    using vec = __m256i;
    static constexpr int width = 8;

    // Wrapping 32-bit product, rounded to nearest with halves upward.
    static vec vmr(vec a, vec b) {
        const vec p = _mm256_mullo_epi32(a, b);
        return _mm256_add_epi32(_mm256_srai_epi32(p, 12),
                                _mm256_and_si256(_mm256_srai_epi32(p, 11), _mm256_set1_epi32(1)));
    }
    static vec ld(const int32_t* p) { return _mm256_loadu_si256(reinterpret_cast<const vec*>(p)); }
    static void st(int32_t* p, vec v) { _mm256_storeu_si256(reinterpret_cast<vec*>(p), v); }
    static vec add(vec a, vec b) { return _mm256_add_epi32(a, b); }
    static vec sub(vec a, vec b) { return _mm256_sub_epi32(a, b); }
    static vec set1(int32_t v) { return _mm256_set1_epi32(v); }

    static void transpose_block(const int32_t* src, size_t src_stride, int32_t* dst,
                                size_t dst_stride) {
        vec r[8], t[8], s[8];
        for (int i = 0; i < 8; ++i)
            r[i] = ld(src + i * src_stride);
        for (int i = 0; i < 8; i += 2) {
            t[i] = _mm256_unpacklo_epi32(r[i], r[i + 1]);
            t[i + 1] = _mm256_unpackhi_epi32(r[i], r[i + 1]);
        }
        for (int g = 0; g < 8; g += 4) {
            s[g] = _mm256_unpacklo_epi64(t[g], t[g + 2]);
            s[g + 1] = _mm256_unpackhi_epi64(t[g], t[g + 2]);
            s[g + 2] = _mm256_unpacklo_epi64(t[g + 1], t[g + 3]);
            s[g + 3] = _mm256_unpackhi_epi64(t[g + 1], t[g + 3]);
        }
        for (int i = 0; i < 4; ++i) {
            st(dst + i * dst_stride, _mm256_permute2x128_si256(s[i], s[i + 4], 0x20));
            st(dst + (i + 4) * dst_stride, _mm256_permute2x128_si256(s[i], s[i + 4], 0x31));
        }
    }
};

}  // namespace
}  // namespace palm_share

#pragma GCC pop_options

namespace palm_share {

bool anigauss_six_avx2(const int* src, int* dst, int sizex, int sizey, int orderv, int orderu) {
    if (!__builtin_cpu_supports("avx2"))
        return false;
    lanes::six<avx2_lanes>(src, dst, sizex, sizey, orderv, orderu);
    return true;
}

}  // namespace palm_share

#endif  // PALM_ARCH_X86
