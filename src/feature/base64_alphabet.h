// The standard Base64 alphabet (RFC 4648) in both directions.
#ifndef PALM_FEATURE_BASE64_ALPHABET_H_
#define PALM_FEATURE_BASE64_ALPHABET_H_

#include <array>

namespace palm_feature {

// The 64 characters in value order.
extern char const base64_map[65];

// Value 0..63 of each alphabet character, 64 for every other code ('='
// included). Built from base64_map so that the two cannot disagree.
struct b64_offset_table {
    std::array<unsigned char, 256> value;
    constexpr b64_offset_table() : value() {
        constexpr char alphabet[] =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        for (int i = 0; i < 256; ++i)
            value[i] = 64;
        for (int v = 0; v < 64; ++v)
            value[static_cast<unsigned char>(alphabet[v])] = v;
    }
    constexpr unsigned char operator[](unsigned char c) const { return value[c]; }
};

inline constexpr b64_offset_table B64_offset{};

}  // namespace palm_feature

#endif  // PALM_FEATURE_BASE64_ALPHABET_H_
