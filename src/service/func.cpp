// The exported C functions: each forwards to one operation of the one
// environment of the process, which exists from library load to exit.
#include "palm/recognition/rcg_environment.h"
#include "palm/service/palm_service.h"

namespace {
palm_recognition::rcg_environment _g_rcg_environment;
}  // namespace

extern "C" {

bool create_partition(int id, int parallel) {
    return _g_rcg_environment.create_partition(id, parallel != 0);
}

bool delete_partition(int id) {
    return _g_rcg_environment.delete_partition(id);
}

void clear_partitions(void) {
    _g_rcg_environment.clear_partitions();
}

bool set_match_policy(int id, int policy) {
    return _g_rcg_environment.set_match_policy(id, policy);
}

bool push_template(char const* user, char const* feature_text) {
    return _g_rcg_environment.push_template(user, feature_text);
}

bool delete_template(char const* user) {
    return _g_rcg_environment.delete_template(user);
}

void clear_templates(void) {
    _g_rcg_environment.clear_templates();
}

bool assign_user_to_partition(int id, char const* user) {
    return _g_rcg_environment.assign_user_to_partition(id, user);
}

void remove_user_from_partition(int id, char const* user) {
    _g_rcg_environment.remove_user_from_partition(id, user);
}

bool match_1v1(int id, char const* feature_a, char const* spare, char const* feature_b) {
    return _g_rcg_environment.match_1v1(id, feature_a, spare, feature_b);
}

bool match_1v1_in_memory(int id, char const* feature_text, char const* spare, char const* user) {
    return _g_rcg_environment.match_1v1_in_lib(id, feature_text, spare, user);
}

bool match_1vN(int id, char const* feature_text, char const* spare) {
    return _g_rcg_environment.match_1vN(id, feature_text, spare);
}

char const* match_1vN_get_identify_user_name(int id) {
    return _g_rcg_environment.get_identify_user_name(id);
}

void match_1vN_reset_identify_process(int id) {
    _g_rcg_environment.reset_identify_process(id);
}

}  // extern "C"
