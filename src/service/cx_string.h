// Conversions between Java strings and the narrow strings of the service.
// Both directions go through java.lang.String with the encoding UTF-8, so the
// bytes that reach the library are real UTF-8 (supplementary characters
// included) and never the JNI layer's modified UTF-8.
#ifndef PALM_SERVICE_CX_STRING_H_
#define PALM_SERVICE_CX_STRING_H_

#include <jni.h>

#include <string>

class cx_string {
  public:
    // The UTF-8 bytes of `s`, cut at the first zero byte (a U+0000 in the
    // Java string). A null string or environment gives the empty string.
    static std::string js2s(JNIEnv* env, jstring s);
    // A new Java string decoded from the UTF-8 bytes of `s`.
    static jstring str2jstring(JNIEnv* env, std::string const& s);
};

#endif  // PALM_SERVICE_CX_STRING_H_
