#include "palm/service/cx_string.h"

#include <cstring>
#include <memory>

std::string cx_string::js2s(JNIEnv* env, jstring s) {
    std::string result;
    if (s == nullptr || env == nullptr)
        return result;

    jclass const string_class = env->FindClass("java/lang/String");
    jstring const encoding = env->NewStringUTF("utf-8");
    jmethodID const get_bytes =
        env->GetMethodID(string_class, "getBytes", "(Ljava/lang/String;)[B");
    jbyteArray const bytes = static_cast<jbyteArray>(env->CallObjectMethod(s, get_bytes, encoding));
    // Only an exception (out of memory) gives no array; the caller then sees
    // an empty string and Java sees the exception when the native returns.
    if (bytes != nullptr) {
        jsize const length = env->GetArrayLength(bytes);
        jbyte* const elements = env->GetByteArrayElements(bytes, nullptr);
        if (length > 0 && elements != nullptr) {
            // Assigned as a C string: the result ends at the first zero byte.
            std::unique_ptr<char[]> block(new char[length + 1]);
            std::memcpy(block.get(), elements, static_cast<std::size_t>(length));
            block[length] = 0;
            result = block.get();
        }
        if (elements != nullptr)
            env->ReleaseByteArrayElements(bytes, elements, 0);
    }
    env->DeleteLocalRef(string_class);
    env->DeleteLocalRef(encoding);
    env->DeleteLocalRef(bytes);
    return result;
}

jstring cx_string::str2jstring(JNIEnv* env, std::string const& s) {
    jclass const string_class = env->FindClass("java/lang/String");
    jmethodID const constructor =
        env->GetMethodID(string_class, "<init>", "([BLjava/lang/String;)V");
    jsize const length = static_cast<jsize>(s.size());
    jbyteArray const bytes = env->NewByteArray(length);
    env->SetByteArrayRegion(bytes, 0, length, reinterpret_cast<jbyte const*>(s.data()));
    jstring const encoding = env->NewStringUTF("UTF-8");
    jstring const result =
        static_cast<jstring>(env->NewObject(string_class, constructor, bytes, encoding));
    env->DeleteLocalRef(string_class);
    env->DeleteLocalRef(bytes);
    env->DeleteLocalRef(encoding);
    return result;
}
