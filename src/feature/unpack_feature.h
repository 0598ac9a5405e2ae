// Decoding of feature text: Base64 of a record's stream form.
#ifndef PALM_FEATURE_UNPACK_FEATURE_H_
#define PALM_FEATURE_UNPACK_FEATURE_H_

#include <cstddef>

#include "palm/feature/user_palm_feature.h"
#include "palm/palm_export.h"

namespace palm_feature {

// Size of the decoding buffer: it bounds the length of a text, 136532
// characters (133 cells); longer texts are refused.
const std::size_t UNPACK_BUFFER_SIZE = 102400;
const std::size_t MAX_FEATURE_TEXT_LENGTH = UNPACK_BUFFER_SIZE / 3 * 4;
// Texts shorter than this are refused before any decoding.
const std::size_t MIN_FEATURE_TEXT_LENGTH = 900;

// Decodes `text` and reads the record from it; true when the record was read
// in full. Characters outside the alphabet are not refused: they decode as the
// value 64 would, and only a broken count field shows the damage. A null text
// is refused.
PALM_EXPORT bool unpack_feature(char const* text, user_palm_feature& user);

}  // namespace palm_feature

#endif  // PALM_FEATURE_UNPACK_FEATURE_H_
