// What the NEON counters of the matcher share: folding sixteen byte counts
// into one number by pairwise adds.
#ifndef PALM_MATCHING_MATCH_NEON_H_
#define PALM_MATCHING_MATCH_NEON_H_

#include <arm_neon.h>

namespace palm_algorithm {
namespace neon {

// The sum of the sixteen unsigned bytes of a register.
inline int byte_sum(uint8x16_t bytes) {
    const uint32x4_t words = vpaddlq_u16(vpaddlq_u8(bytes));
    return static_cast<int>(vaddvq_u32(words));
}

}  // namespace neon
}  // namespace palm_algorithm

#endif  // PALM_MATCHING_MATCH_NEON_H_
