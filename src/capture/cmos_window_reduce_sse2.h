// Folding a 16-byte register of window results to one number, shared by
// the SSE2 and AVX2 passes: the two 64-bit sums of a sum of absolute
// differences, and the largest of sixteen bytes. Plain SSE2, which every
// x86-64 processor has.
#ifndef PALM_CAPTURE_CMOS_WINDOW_REDUCE_SSE2_H_
#define PALM_CAPTURE_CMOS_WINDOW_REDUCE_SSE2_H_

#include <emmintrin.h>

namespace palm_algorithm {

inline unsigned int window_sum_of(__m128i sums) {
    return static_cast<unsigned int>(_mm_cvtsi128_si32(sums) +
                                     _mm_cvtsi128_si32(_mm_srli_si128(sums, 8)));
}

inline unsigned char window_max_of(__m128i m) {
    m = _mm_max_epu8(m, _mm_srli_si128(m, 8));
    m = _mm_max_epu8(m, _mm_srli_si128(m, 4));
    m = _mm_max_epu8(m, _mm_srli_si128(m, 2));
    m = _mm_max_epu8(m, _mm_srli_si128(m, 1));
    return static_cast<unsigned char>(_mm_cvtsi128_si32(m) & 0xff);
}

}  // namespace palm_algorithm

#endif  // PALM_CAPTURE_CMOS_WINDOW_REDUCE_SSE2_H_
