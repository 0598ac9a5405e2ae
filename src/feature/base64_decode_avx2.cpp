// Base64 decoding 32 characters a step. Nibble look-ups (vpshufb) tell
// whether every character of the step is in the alphabet and what to add to
// it to get its value; a step with any other character is decoded by the
// plain path, which knows what such characters do. Values are packed
// into 24-bit groups by two multiply-adds and gathered by byte shuffles.
// Compiled for AVX2 alone; the dispatcher calls it only after checking the
// processor.
#include "palm/cpu_arch.h"
#if PALM_ARCH_X86

#include <immintrin.h>

#include "palm/feature/base64_decode.h"

#define PALM_TARGET_AVX2 __attribute__((target("avx2")))

namespace palm_feature {

namespace {

// Decodes 32 characters into 24 bytes; false, with nothing written, when
// one of them is outside the alphabet.
//
// Validity by nibbles: the high nibble picks a class (0x20-0x2f, the
// digits' row, the rows of 'A'-'O' and 'a'-'o', the rows of 'P'-'Z' and
// 'p'-'z', and a class of its own for every other row, bytes from 0x80 up
// included), and the low nibble's entry holds the classes in which it is
// not a character of the alphabet.
PALM_TARGET_AVX2 inline bool decode_step(unsigned char const* in, unsigned char* out) {
    __m256i const x = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(in));
    __m256i const nibble = _mm256_set1_epi8(0x0f);
    __m256i const high = _mm256_and_si256(_mm256_srli_epi32(x, 4), nibble);
    __m256i const low = _mm256_and_si256(x, nibble);
    __m256i const invalid_in = _mm256_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                                0x11, 0x11, 0x13, 0x1a, 0x1b, 0x1b, 0x1b, 0x1a,  //
                                                0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                                0x11, 0x11, 0x13, 0x1a, 0x1b, 0x1b, 0x1b, 0x1a);
    __m256i const class_of = _mm256_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10,
                                              0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10,  //
                                              0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10,
                                              0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
    if (!_mm256_testz_si256(_mm256_shuffle_epi8(invalid_in, low),
                            _mm256_shuffle_epi8(class_of, high)))
        return false;
    // What to add to a character to get its value, by high nibble: '+' +19,
    // digits +4, upper case -65, lower case -71; '/' shares the row of '+'
    // and takes the entry before it (+16).
    __m256i const shift_of =
        _mm256_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0,  //
                         0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
    __m256i const slash = _mm256_cmpeq_epi8(x, _mm256_set1_epi8('/'));
    __m256i const values =
        _mm256_add_epi8(x, _mm256_shuffle_epi8(shift_of, _mm256_add_epi8(high, slash)));
    // Pairs of values into 12 bits (first << 6 | second), pairs of those into
    // the group's 24 bits (first << 12 | second).
    __m256i const pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    __m256i const words = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    // The three bytes of each group, most significant first, 12 per lane,
    // then the two lanes' 12 bytes side by side.
    __m256i const bytes = _mm256_shuffle_epi8(
        words, _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1,  //
                                2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
    __m256i const packed =
        _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(packed));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 16), _mm256_extracti128_si256(packed, 1));
    return true;
}

}  // namespace

PALM_TARGET_AVX2 void decode_base64_groups_avx2(unsigned char const* in, std::size_t groups,
                                                unsigned char* out) {
    std::size_t g = 0;
    for (; g + 8 <= groups; g += 8, in += 32, out += 24)
        if (!decode_step(in, out))
            decode_base64_groups_plain(in, 8, out);
    decode_base64_groups_plain(in, groups - g, out);
}

}  // namespace palm_feature

#endif  // PALM_ARCH_X86
