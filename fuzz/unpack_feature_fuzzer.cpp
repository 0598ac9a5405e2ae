// Feature text from the network: any bytes, decoded as a server would decode a
// pushed template or a probe. Beyond "no crash, no sanitizer report", a text
// that decodes must give a record in the allowed cell range, and that record
// must survive its own encoding unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "palm/feature/crypt_feature.h"
#include "palm/feature/unpack_feature.h"

using palm_feature::user_palm_feature;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
    // The service sees zero-terminated strings: a zero byte ends the text.
    std::string const text(reinterpret_cast<char const*>(data), size);
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
