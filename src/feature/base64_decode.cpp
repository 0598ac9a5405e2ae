#include "palm/feature/base64_decode.h"

#include "palm/cpu_arch.h"
#include "palm/feature/base64_alphabet.h"

namespace palm_feature {

void decode_base64_groups_plain(unsigned char const* in, std::size_t groups, unsigned char* out) {
    for (std::size_t g = 0; g < groups; ++g, in += 4, out += 3) {
        unsigned const v0 = B64_offset[in[0]];
        unsigned const v1 = B64_offset[in[1]];
        unsigned const v2 = B64_offset[in[2]];
        unsigned const v3 = B64_offset[in[3]];
        out[0] = static_cast<unsigned char>(v0 * 4 | (v1 >> 4));
        out[1] = static_cast<unsigned char>(v1 << 4 | (v2 >> 2));
        out[2] = static_cast<unsigned char>(v2 << 6 | v3);
    }
}

bool base64_decode_uses_avx2() {
#if PALM_ARCH_X86
    return __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}

void decode_base64_groups(unsigned char const* in, std::size_t groups, unsigned char* out) {
#if PALM_ARCH_X86
    if (base64_decode_uses_avx2()) {
        decode_base64_groups_avx2(in, groups, out);
        return;
    }
#endif
    decode_base64_groups_plain(in, groups, out);
}

}  // namespace palm_feature
