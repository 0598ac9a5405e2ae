#include "palm/feature/crypt_feature.h"

#include <memory>

#include "palm/feature/base64_alphabet.h"
#include "palm/feature/md5.h"

using palm_feature::base64_map;

bool crypt_feature(palm_feature::user_palm_feature const& user, std::string& text,
                   std::string& digest) {
    int n = 0;
    std::unique_ptr<char[]> stream(user.tobuffer(n));
    if (!stream)
        return false;

    std::size_t const size = static_cast<std::size_t>(n);
    std::size_t const padded = 3 * (size / 3) + (size % 3 != 0 ? 3 : 0);
    std::unique_ptr<char[]> out(new char[padded * 8 / 6 + 1]);
    unsigned char const* in = reinterpret_cast<unsigned char const*>(stream.get());
    char* o = out.get();
    std::size_t i = 0;
    for (; i + 3 <= size; i += 3) {
        unsigned const v = (unsigned(in[i]) << 16) | (unsigned(in[i + 1]) << 8) | in[i + 2];
        *o++ = base64_map[(v >> 18) & 63];
        *o++ = base64_map[(v >> 12) & 63];
        *o++ = base64_map[(v >> 6) & 63];
        *o++ = base64_map[v & 63];
    }
    if (size - i == 2) {
        unsigned const v = (unsigned(in[i]) << 16) | (unsigned(in[i + 1]) << 8);
        *o++ = base64_map[(v >> 18) & 63];
        *o++ = base64_map[(v >> 12) & 63];
        *o++ = base64_map[(v >> 6) & 63];
        *o++ = '=';
    } else if (size - i == 1) {
        unsigned const v = unsigned(in[i]) << 16;
        *o++ = base64_map[(v >> 18) & 63];
        *o++ = base64_map[(v >> 12) & 63];
        *o++ = '=';
        *o++ = '=';
    }
    *o = '\0';
    md5_text const sum = MD5String(out.get());
    text.assign(out.get(), static_cast<std::size_t>(o - out.get()));
    digest = sum.c_str();
    return true;
}
