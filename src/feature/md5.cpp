#include "palm/feature/md5.h"

#include <cassert>
#include <cstdio>
#include <cstring>

namespace {

unsigned char const PADDING[64] = {0x80};

inline uint4 F(uint4 x, uint4 y, uint4 z) {
    return (x & y) | (~x & z);
}
inline uint4 G(uint4 x, uint4 y, uint4 z) {
    return (x & z) | (y & ~z);
}
inline uint4 H(uint4 x, uint4 y, uint4 z) {
    return x ^ y ^ z;
}
inline uint4 I(uint4 x, uint4 y, uint4 z) {
    return y ^ (x | ~z);
}
inline uint4 rotate_left(uint4 x, int n) {
    return (x << n) | (x >> (32 - n));
}

inline void FF(uint4& a, uint4 b, uint4 c, uint4 d, uint4 x, int s, uint4 ac) {
    a = rotate_left(a + F(b, c, d) + x + ac, s) + b;
}
inline void GG(uint4& a, uint4 b, uint4 c, uint4 d, uint4 x, int s, uint4 ac) {
    a = rotate_left(a + G(b, c, d) + x + ac, s) + b;
}
inline void HH(uint4& a, uint4 b, uint4 c, uint4 d, uint4 x, int s, uint4 ac) {
    a = rotate_left(a + H(b, c, d) + x + ac, s) + b;
}
inline void II(uint4& a, uint4 b, uint4 c, uint4 d, uint4 x, int s, uint4 ac) {
    a = rotate_left(a + I(b, c, d) + x + ac, s) + b;
}

}  // namespace

void md5::Init() {
    count[0] = count[1] = 0;
    state[0] = 0x67452301;
    state[1] = 0xefcdab89;
    state[2] = 0x98badcfe;
    state[3] = 0x10325476;
    std::memset(buffer, 0, sizeof(buffer));
    std::memset(digest, 0, sizeof(digest));
}

void md5::Update(uchar* input, uint4 length) {
    uint4 index = (count[0] >> 3) & 0x3f;
    if ((count[0] += length << 3) < (length << 3))
        count[1]++;
    count[1] += length >> 29;
    uint4 const part = 64 - index;
    uint4 i = 0;
    if (length >= part) {
        std::memcpy(&buffer[index], input, part);
        Transform(buffer);
        for (i = part; i + 63 < length; i += 64)
            Transform(&input[i]);
        index = 0;
    }
    if (length > i)
        std::memcpy(&buffer[index], &input[i], length - i);
}

void md5::Finalize() {
    uchar bits[8];
    Encode(bits, count, 8);
    uint4 const index = (count[0] >> 3) & 0x3f;
    uint4 const pad = index < 56 ? 56 - index : 120 - index;
    Update(const_cast<uchar*>(PADDING), pad);
    Update(bits, 8);
    Encode(digest, state, 16);
    std::memset(state, 0, sizeof(state));
    std::memset(count, 0, sizeof(count));
    std::memset(buffer, 0, sizeof(buffer));
}

void md5::Encode(uchar* output, uint4* input, uint4 nLength) {
    assert(nLength % 4 == 0);
    for (uint4 i = 0, j = 0; j < nLength; ++i, j += 4) {
        output[j] = static_cast<uchar>(input[i] & 0xff);
        output[j + 1] = static_cast<uchar>((input[i] >> 8) & 0xff);
        output[j + 2] = static_cast<uchar>((input[i] >> 16) & 0xff);
        output[j + 3] = static_cast<uchar>((input[i] >> 24) & 0xff);
    }
}

void md5::Decode(uint4* output, uchar* input, uint4 nLength) {
    assert(nLength % 4 == 0);
    for (uint4 i = 0, j = 0; j < nLength; ++i, j += 4)
        output[i] = static_cast<uint4>(input[j]) | (static_cast<uint4>(input[j + 1]) << 8) |
                    (static_cast<uint4>(input[j + 2]) << 16) |
                    (static_cast<uint4>(input[j + 3]) << 24);
}

void md5::Transform(uchar* block) {
    uint4 a = state[0], b = state[1], c = state[2], d = state[3], x[16];
    Decode(x, block, 64);

    FF(a, b, c, d, x[0], 7, 0xd76aa478);
    FF(d, a, b, c, x[1], 12, 0xe8c7b756);
    FF(c, d, a, b, x[2], 17, 0x242070db);
    FF(b, c, d, a, x[3], 22, 0xc1bdceee);
    FF(a, b, c, d, x[4], 7, 0xf57c0faf);
    FF(d, a, b, c, x[5], 12, 0x4787c62a);
    FF(c, d, a, b, x[6], 17, 0xa8304613);
    FF(b, c, d, a, x[7], 22, 0xfd469501);
    FF(a, b, c, d, x[8], 7, 0x698098d8);
    FF(d, a, b, c, x[9], 12, 0x8b44f7af);
    FF(c, d, a, b, x[10], 17, 0xffff5bb1);
    FF(b, c, d, a, x[11], 22, 0x895cd7be);
    FF(a, b, c, d, x[12], 7, 0x6b901122);
    FF(d, a, b, c, x[13], 12, 0xfd987193);
    FF(c, d, a, b, x[14], 17, 0xa679438e);
    FF(b, c, d, a, x[15], 22, 0x49b40821);

    GG(a, b, c, d, x[1], 5, 0xf61e2562);
    GG(d, a, b, c, x[6], 9, 0xc040b340);
    GG(c, d, a, b, x[11], 14, 0x265e5a51);
    GG(b, c, d, a, x[0], 20, 0xe9b6c7aa);
    GG(a, b, c, d, x[5], 5, 0xd62f105d);
    GG(d, a, b, c, x[10], 9, 0x02441453);
    GG(c, d, a, b, x[15], 14, 0xd8a1e681);
    GG(b, c, d, a, x[4], 20, 0xe7d3fbc8);
    GG(a, b, c, d, x[9], 5, 0x21e1cde6);
    GG(d, a, b, c, x[14], 9, 0xc33707d6);
    GG(c, d, a, b, x[3], 14, 0xf4d50d87);
    GG(b, c, d, a, x[8], 20, 0x455a14ed);
    GG(a, b, c, d, x[13], 5, 0xa9e3e905);
    GG(d, a, b, c, x[2], 9, 0xfcefa3f8);
    GG(c, d, a, b, x[7], 14, 0x676f02d9);
    GG(b, c, d, a, x[12], 20, 0x8d2a4c8a);

    HH(a, b, c, d, x[5], 4, 0xfffa3942);
    HH(d, a, b, c, x[8], 11, 0x8771f681);
    HH(c, d, a, b, x[11], 16, 0x6d9d6122);
    HH(b, c, d, a, x[14], 23, 0xfde5380c);
    HH(a, b, c, d, x[1], 4, 0xa4beea44);
    HH(d, a, b, c, x[4], 11, 0x4bdecfa9);
    HH(c, d, a, b, x[7], 16, 0xf6bb4b60);
    HH(b, c, d, a, x[10], 23, 0xbebfbc70);
    HH(a, b, c, d, x[13], 4, 0x289b7ec6);
    HH(d, a, b, c, x[0], 11, 0xeaa127fa);
    HH(c, d, a, b, x[3], 16, 0xd4ef3085);
    HH(b, c, d, a, x[6], 23, 0x04881d05);
    HH(a, b, c, d, x[9], 4, 0xd9d4d039);
    HH(d, a, b, c, x[12], 11, 0xe6db99e5);
    HH(c, d, a, b, x[15], 16, 0x1fa27cf8);
    HH(b, c, d, a, x[2], 23, 0xc4ac5665);

    II(a, b, c, d, x[0], 6, 0xf4292244);
    II(d, a, b, c, x[7], 10, 0x432aff97);
    II(c, d, a, b, x[14], 15, 0xab9423a7);
    II(b, c, d, a, x[5], 21, 0xfc93a039);
    II(a, b, c, d, x[12], 6, 0x655b59c3);
    II(d, a, b, c, x[3], 10, 0x8f0ccc92);
    II(c, d, a, b, x[10], 15, 0xffeff47d);
    II(b, c, d, a, x[1], 21, 0x85845dd1);
    II(a, b, c, d, x[8], 6, 0x6fa87e4f);
    II(d, a, b, c, x[15], 10, 0xfe2ce6e0);
    II(c, d, a, b, x[6], 15, 0xa3014314);
    II(b, c, d, a, x[13], 21, 0x4e0811a1);
    II(a, b, c, d, x[4], 6, 0xf7537e82);
    II(d, a, b, c, x[11], 10, 0xbd3af235);
    II(c, d, a, b, x[2], 15, 0x2ad7d2bb);
    II(b, c, d, a, x[9], 21, 0xeb86d391);

    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
    std::memset(x, 0, sizeof(x));
}

md5_text PrintMD5(unsigned char* digest) {
    md5_text out;
    std::memset(out.text, 0, sizeof(out.text));
    if (digest == nullptr)
        return out;
    for (int i = 0; i < 16; ++i)
        std::snprintf(out.text + 2 * i, 3, "%02x", digest[i]);
    return out;
}

md5_text MD5String(char const* text) {
    if (text == nullptr)
        return PrintMD5(nullptr);  // no text, no digest: all zeros
    md5 context;
    context.Update(reinterpret_cast<uchar*>(const_cast<char*>(text)),
                   static_cast<uint4>(std::strlen(text)));
    context.Finalize();
    return PrintMD5(context.digest);
}

md5_text MD5File(char* path) {
    md5_text out;
    std::memset(out.text, 0, sizeof(out.text));
    if (path == nullptr)
        return out;
    std::FILE* file = std::fopen(path, "rb");
    if (file == nullptr)
        return out;
    md5 context;
    uchar piece[1024];
    std::size_t n;
    while ((n = std::fread(piece, 1, sizeof(piece), file)) > 0)
        context.Update(piece, static_cast<uint4>(n));
    std::fclose(file);
    context.Finalize();
    return PrintMD5(context.digest);
}
