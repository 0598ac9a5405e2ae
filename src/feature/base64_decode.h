// Base64 decoding of whole four-character groups, as feature texts need it:
// every character outside the alphabet ('=' included) decodes as the value
// 64 would, spilling its seventh bit into the neighbouring field, and
// nothing is refused here. A plain path and a wide one for processors that
// have it; both write the same bytes for every input.
#ifndef PALM_FEATURE_BASE64_DECODE_H_
#define PALM_FEATURE_BASE64_DECODE_H_

#include <cstddef>

namespace palm_feature {

// Decodes `groups` groups of four characters from `in` into 3 * groups
// bytes at `out`, by the fastest path this processor runs.
void decode_base64_groups(unsigned char const* in, std::size_t groups, unsigned char* out);

// The reference: one group at a time.
void decode_base64_groups_plain(unsigned char const* in, std::size_t groups, unsigned char* out);

// 32 characters a step; a step holding a character outside the alphabet is
// left to the plain path. Only for processors with AVX2.
void decode_base64_groups_avx2(unsigned char const* in, std::size_t groups, unsigned char* out);

// Whether decode_base64_groups takes the AVX2 path on this processor.
bool base64_decode_uses_avx2();

}  // namespace palm_feature

#endif  // PALM_FEATURE_BASE64_DECODE_H_
