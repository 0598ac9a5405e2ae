// A record's stream form from memory, as a file or a pushed buffer arrives.
// Beyond "no crash, no sanitizer report", a record that reads must hold an
// allowed number of cells and write back exactly the bytes it was read from.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "palm/feature/basic_imemstream.h"
#include "palm/feature/user_palm_feature.h"

using palm_feature::user_palm_feature;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
    // The stream takes a writable block; give it a copy of exactly `size`
    // bytes so that any read past the end is caught.
    std::vector<char> block(data, data + size);
    char* const p = block.empty() ? nullptr : block.data();
    user_palm_feature user;
    bool ok = false;
    {
        palm_feature::imemstream in(p, block.size());
        ok = user.read(in);
    }

    // The buffer entry reads the same way and reports only stream exceptions.
    user_palm_feature other;
    if (!other.from_buffer(p, static_cast<int>(block.size())))
        std::abort();
    if (other.size() != user.size())
        std::abort();
    if (!ok)
        return 0;

    if (user.size() < 1 || user.size() > palm_feature::MAX_USER_CELLS)
        std::abort();
    std::ostringstream out;
    if (!user.write(out))
        std::abort();
    std::string const written = out.str();
    std::size_t const expected = 4 + 2 * palm_feature::FEATURE_DATA_SIZE * user.size();
    if (written.size() != expected || expected > size)
        std::abort();
    if (std::memcmp(written.data(), data, expected) != 0)
        std::abort();

    int n = 0;
    char* const buffer = user.tobuffer(n);
    if (buffer == nullptr || static_cast<std::size_t>(n) != expected ||
        std::memcmp(buffer, data, expected) != 0)
        std::abort();
    delete[] buffer;
    return 0;
}
