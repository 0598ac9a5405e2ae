// MD5 message digest (RFC 1321), used for the digest that travels beside a
// feature text.
#ifndef PALM_FEATURE_MD5_H_
#define PALM_FEATURE_MD5_H_

#include <cstdint>

#include "palm/palm_export.h"

typedef unsigned char uchar;
typedef uint32_t uint4;

// Size of the text blocks returned by PrintMD5, MD5String and MD5File.
enum { MD5_TEXT_SIZE = 256 };

class PALM_EXPORT md5 {
  public:
    md5() { Init(); }

    void Init();
    void Update(uchar* input, uint4 length);
    // Pads, writes digest, and wipes the state: Init() before reuse.
    void Finalize();

    uint4 state[4];
    uint4 count[2];  // message length in bits, low word first
    uchar buffer[64];
    uchar digest[16];

    void Transform(uchar* block);
    static void Encode(uchar* output, uint4* input, uint4 nLength);
    static void Decode(uint4* output, uchar* input, uint4 nLength);
};

// A zero-filled text block; a digest starts it as 32 lower-case hex digits.
struct PALM_EXPORT md5_text {
    char text[MD5_TEXT_SIZE];
    char const* c_str() const { return text; }
};

PALM_EXPORT md5_text PrintMD5(unsigned char* digest);
PALM_EXPORT md5_text MD5String(char const* text);
// All zeros when the file cannot be opened.
PALM_EXPORT md5_text MD5File(char* path);

#endif  // PALM_FEATURE_MD5_H_
