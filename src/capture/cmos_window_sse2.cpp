// The window pass with 16-byte registers. A 29-pixel window row is read as
// bytes 0 to 15 and 13 to 28; the three bytes the two reads share are
// cleared in the second one before it is summed. Sums gather in the two
// 64-bit halves of a sum-of-absolute-differences against zero; maxima in a
// byte-wise maximum. Only the window's own bytes are read.
#include "palm/cpu_arch.h"
#if PALM_ARCH_X86

#include <emmintrin.h>

#include "palm/capture/cmos_window.h"
#include "palm/capture/cmos_window_reduce_sse2.h"

namespace palm_algorithm {

namespace {

const int kSecondRead = CMOS_WINDOW_SIDE - 16;

inline __m128i load(const unsigned char* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

}  // namespace

void window_pass_sse2(const unsigned char* high, int high_stride, const unsigned char* low,
                      int low_stride, window_stats& high_out, window_stats& low_out) {
    const __m128i zero = _mm_setzero_si128();
    // Clears the bytes of the second read that the first one already summed.
    const __m128i shared =
        _mm_setr_epi8(0, 0, 0, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    __m128i high_sum = zero, low_sum = zero, high_max = zero, low_max = zero;
    for (int r = 0; r < CMOS_WINDOW_SIDE; ++r) {
        const unsigned char* h = high + static_cast<long>(r) * high_stride;
        const unsigned char* l = low + static_cast<long>(r) * low_stride;
        const __m128i h0 = load(h), h1 = _mm_and_si128(load(h + kSecondRead), shared);
        const __m128i l0 = load(l), l1 = _mm_and_si128(load(l + kSecondRead), shared);
        high_sum =
            _mm_add_epi64(high_sum, _mm_add_epi64(_mm_sad_epu8(h0, zero), _mm_sad_epu8(h1, zero)));
        low_sum =
            _mm_add_epi64(low_sum, _mm_add_epi64(_mm_sad_epu8(l0, zero), _mm_sad_epu8(l1, zero)));
        high_max = _mm_max_epu8(high_max, _mm_max_epu8(h0, h1));
        low_max = _mm_max_epu8(low_max, _mm_max_epu8(l0, l1));
    }
    high_out = window_stats{window_sum_of(high_sum), window_max_of(high_max)};
    low_out = window_stats{window_sum_of(low_sum), window_max_of(low_max)};
}

}  // namespace palm_algorithm

#endif  // PALM_ARCH_X86
