// The natives of the Java class com.orvanel.palm.server.feature_match: each
// converts its Java strings and calls the C function of the same name. The
// converted strings live until the native returns.
#include <jni.h>

#include <string>

#include "palm/service/cx_string.h"
#include "palm/service/palm_service.h"

namespace {
// Java's boolean is the low 8 bits of the C result.
inline jboolean to_jboolean(bool value) {
    return static_cast<jboolean>(value);
}
}  // namespace

extern "C" {

JNIEXPORT jboolean JNICALL Java_com_orvanel_palm_server_feature_1match_create_1partition(
    JNIEnv*, jclass, jint id, jboolean parallel) {
    return to_jboolean(create_partition(id, parallel));
}

JNIEXPORT jboolean JNICALL Java_com_orvanel_palm_server_feature_1match_delete_1partition(JNIEnv*,
                                                                                         jclass,
                                                                                         jint id) {
    return to_jboolean(delete_partition(id));
}

JNIEXPORT jboolean JNICALL Java_com_orvanel_palm_server_feature_1match_set_1match_1policy(
    JNIEnv*, jclass, jint id, jint policy) {
    return to_jboolean(set_match_policy(id, policy));
}

JNIEXPORT jboolean JNICALL Java_com_orvanel_palm_server_feature_1match_push_1template(
    JNIEnv* env, jclass, jstring user, jstring feature_text) {
    std::string const u = cx_string::js2s(env, user);
    std::string const t = cx_string::js2s(env, feature_text);
    return to_jboolean(push_template(u.c_str(), t.c_str()));
}

JNIEXPORT void JNICALL Java_com_orvanel_palm_server_feature_1match_delete_1template(JNIEnv* env,
                                                                                    jclass,
                                                                                    jstring user) {
    std::string const u = cx_string::js2s(env, user);
    delete_template(u.c_str());
}

JNIEXPORT void JNICALL Java_com_orvanel_palm_server_feature_1match_clear_1templates(JNIEnv*,
                                                                                    jclass) {
    clear_templates();
}

JNIEXPORT void JNICALL Java_com_orvanel_palm_server_feature_1match_clear_1partitions(JNIEnv*,
                                                                                     jclass) {
    clear_partitions();
}

JNIEXPORT jboolean JNICALL Java_com_orvanel_palm_server_feature_1match_assign_1user_1to_1partition(
    JNIEnv* env, jclass, jint id, jstring user) {
    std::string const u = cx_string::js2s(env, user);
    return to_jboolean(assign_user_to_partition(id, u.c_str()));
}

JNIEXPORT void JNICALL Java_com_orvanel_palm_server_feature_1match_remove_1user_1from_1partition(
    JNIEnv* env, jclass, jint id, jstring user) {
    std::string const u = cx_string::js2s(env, user);
    remove_user_from_partition(id, u.c_str());
}

JNIEXPORT jboolean JNICALL Java_com_orvanel_palm_server_feature_1match_match_11v1(
    JNIEnv* env, jclass, jint id, jstring feature_a, jstring spare, jstring feature_b) {
    std::string const a = cx_string::js2s(env, feature_a);
    std::string const s = cx_string::js2s(env, spare);
    std::string const b = cx_string::js2s(env, feature_b);
    // An empty text never reaches the partition.
    if (a.empty() || b.empty())
        return JNI_FALSE;
    return match_1v1(id, a.c_str(), s.c_str(), b.c_str()) ? JNI_TRUE : JNI_FALSE;
}

JNIEXPORT jboolean JNICALL Java_com_orvanel_palm_server_feature_1match_match_11v1_1in_1memory(
    JNIEnv* env, jclass, jint id, jstring feature_text, jstring spare, jstring user) {
    std::string const t = cx_string::js2s(env, feature_text);
    std::string const s = cx_string::js2s(env, spare);
    std::string const u = cx_string::js2s(env, user);
    return to_jboolean(match_1v1_in_memory(id, t.c_str(), s.c_str(), u.c_str()));
}

JNIEXPORT jboolean JNICALL Java_com_orvanel_palm_server_feature_1match_match_11vN(
    JNIEnv* env, jclass, jint id, jstring feature_text, jstring spare) {
    std::string const t = cx_string::js2s(env, feature_text);
    std::string const s = cx_string::js2s(env, spare);
    return to_jboolean(match_1vN(id, t.c_str(), s.c_str()));
}

JNIEXPORT jstring JNICALL
Java_com_orvanel_palm_server_feature_1match_match_11vN_1get_1identify_1user_1name(JNIEnv* env,
                                                                                  jclass, jint id) {
    std::string const name = match_1vN_get_identify_user_name(id);
    return cx_string::str2jstring(env, name);
}

JNIEXPORT void JNICALL
Java_com_orvanel_palm_server_feature_1match_match_11vN_1reset_1identify_1process(JNIEnv*, jclass,
                                                                                 jint id) {
    match_1vN_reset_identify_process(id);
}

}  // extern "C"
