#include "palm/feature/unpack_feature.h"

#include <cstring>
#include <memory>

#include "palm/feature/base64_decode.h"
#include "palm/feature/basic_imemstream.h"

namespace palm_feature {

// The decoding buffer is per call, sized to the text, so concurrent decodes
// (one-to-one calls share only a shared lock) cannot mix their bytes, and a
// text too long for the fixed-size buffer of the record format is refused
// rather than written past it.
bool unpack_feature(char const* text, user_palm_feature& user) {
    if (text == nullptr)
        return false;
    // strnlen: a 10 MB text costs no more than one of the longest valid length.
    std::size_t const length = strnlen(text, MAX_FEATURE_TEXT_LENGTH + 1);
    if (length < MIN_FEATURE_TEXT_LENGTH)
        return false;
    if (length % 4 != 0)
        return false;
    if (length > MAX_FEATURE_TEXT_LENGTH)
        return false;

    std::size_t decoded = length / 4 * 3;
    std::unique_ptr<unsigned char[]> result(new unsigned char[decoded]);
    decode_base64_groups(reinterpret_cast<unsigned char const*>(text), length / 4, result.get());
    // Only the last two positions speak of padding.
    if (text[length - 2] == '=') {
        result[decoded - 1] = 0;
        result[decoded - 2] = 0;
        decoded -= 2;
    } else if (text[length - 1] == '=') {
        result[decoded - 1] = 0;
        decoded -= 1;
    }
    if (decoded == 0)
        return false;

    imemstream stream(reinterpret_cast<char*>(result.get()), decoded);
    return user.read(stream);
}

}  // namespace palm_feature
