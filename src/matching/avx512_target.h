// What both AVX-512 kernels of the matcher need: the intrinsics, the target
// attribute that compiles a function for these instructions alone, and the
// ternary logic table they share.
#ifndef PALM_MATCHING_AVX512_TARGET_H_
#define PALM_MATCHING_AVX512_TARGET_H_

// GCC 12's AVX-512 header reads a deliberately undefined vector in several
// of its inline functions and warns about itself once they are inlined.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop

#define PALM_TARGET_AVX512 __attribute__((target("avx512f,avx512vpopcntdq,popcnt")))

namespace palm_algorithm {
namespace avx512 {

// Truth table of (a ^ b) & c for the ternary logic instruction.
constexpr int XOR_AND = (0xf0 ^ 0xcc) & 0xaa;

PALM_TARGET_AVX512 inline __m512i load(const void* p) {
    return _mm512_loadu_si512(p);
}

}  // namespace avx512
}  // namespace palm_algorithm

#endif  // PALM_MATCHING_AVX512_TARGET_H_
