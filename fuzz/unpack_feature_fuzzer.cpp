// Feature text from the network: any bytes, decoded as a server would decode a
// pushed template or a probe. Beyond "no crash, no sanitizer report", a text
// that decodes must give a record in the allowed cell range, and that record
// must survive its own encoding unchanged, and the Base64 step of the fastest
// path must write what the plain one writes, whatever the bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "palm/feature/base64_decode.h"
#include "palm/feature/crypt_feature.h"
#include "palm/feature/unpack_feature.h"

using palm_feature::user_palm_feature;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
    // The service sees zero-terminated strings: a zero byte ends the text.
    std::string const text(reinterpret_cast<char const*>(data), size);
    std::size_t const groups = size / 4;
    std::vector<unsigned char> plain(3 * groups), fastest(3 * groups);
    palm_feature::decode_base64_groups_plain(data, groups, plain.data());
    palm_feature::decode_base64_groups(data, groups, fastest.data());
    if (plain != fastest)
        std::abort();

    user_palm_feature user;
    if (!palm_feature::unpack_feature(text.c_str(), user))
        return 0;

    if (user.size() < 1 || user.size() > palm_feature::MAX_USER_CELLS)
        std::abort();
    std::string again, digest;
    if (!crypt_feature(user, again, digest))
        std::abort();
    user_palm_feature back;
    if (!palm_feature::unpack_feature(again.c_str(), back))
        std::abort();
    if (back.size() != user.size())
        std::abort();
    for (int i = 0; i < user.size(); ++i) {
        if (std::memcmp(back[i].first.data, user[i].first.data, palm_feature::FEATURE_DATA_SIZE) ||
            std::memcmp(back[i].second.data, user[i].second.data, palm_feature::FEATURE_DATA_SIZE))
            std::abort();
    }
    return 0;
}
