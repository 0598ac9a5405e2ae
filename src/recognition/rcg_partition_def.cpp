#include "recognition/rcg_partition_def.h"

#include <algorithm>
#include <atomic>

#include "recognition/match_distance_login.h"

namespace palm_recognition {

namespace {
std::uint64_t next_partition_serial() {
    static std::atomic<std::uint64_t> serial{0};
    return ++serial;
}
}  // namespace

rcg_partition_def::rcg_partition_def(simple_feature_lib const& store, bool parallel_)
    : lib(store),
      match_policy(DEFAULT_MATCH_POLICY),
      print_limit(MATCH_DISTANCE_LOGIN[DEFAULT_MATCH_POLICY][0]),
      vein_limit(MATCH_DISTANCE_LOGIN[DEFAULT_MATCH_POLICY][1]),
      bias(MATCH_DISTANCE_LOGIN[DEFAULT_MATCH_POLICY][2]),
      parallel(parallel_),
      serial_(next_partition_serial()) {}

rcg_partition_def::~rcg_partition_def() { boost::unique_lock<boost::shared_mutex> lock(mutex); }

bool rcg_partition_def::add_user(std::string const* user) {
    boost::unique_lock<boost::shared_mutex> lock(mutex);
    if (std::find(users.begin(), users.end(), user) != users.end()) return false;
    users.push_back(user);
    return true;
}

void rcg_partition_def::delete_user(std::string const* user) {
    boost::unique_lock<boost::shared_mutex> lock(mutex);
    auto const it = std::find(users.begin(), users.end(), user);
    if (it != users.end()) users.erase(it);
}

void rcg_partition_def::clear_users() {
    boost::unique_lock<boost::shared_mutex> lock(mutex);
    users.clear();
}

bool rcg_partition_def::set_match_policy(int policy) {
    boost::unique_lock<boost::shared_mutex> lock(mutex);
    if (static_cast<unsigned>(policy) >= static_cast<unsigned>(MATCH_POLICY_COUNT)) return false;
    match_policy = policy;
    print_limit = MATCH_DISTANCE_LOGIN[policy][0];
    vein_limit = MATCH_DISTANCE_LOGIN[policy][1];
    bias = MATCH_DISTANCE_LOGIN[policy][2];
    return true;
}

std::string& rcg_partition_def::thread_name() const {
    identified_name* slot = identify_user_name.get();
    if (slot == nullptr) {
        slot = new identified_name{serial_, std::string()};
        identify_user_name.reset(slot);
    } else if (slot->partition_serial != serial_) {
        slot->partition_serial = serial_;  // left behind by a destroyed partition
        slot->name.clear();
    }
    return slot->name;
}

char const* rcg_partition_def::get_identify_user_name() {
    boost::shared_lock<boost::shared_mutex> lock(mutex);
    return thread_name().c_str();
}

void rcg_partition_def::clear_rcg_results() const {
    rcg_results.clear();
    thread_name().clear();
}

void rcg_partition_def::reset_identify_process() {
    boost::unique_lock<boost::shared_mutex> lock(mutex);
    clear_rcg_results();
}

std::vector<std::string const*> rcg_partition_def::users_snapshot() const {
    boost::shared_lock<boost::shared_mutex> lock(mutex);
    return users;
}

int rcg_partition_def::policy() const {
    boost::shared_lock<boost::shared_mutex> lock(mutex);
    return match_policy;
}

float rcg_partition_def::get_print_limit() const {
    boost::shared_lock<boost::shared_mutex> lock(mutex);
    return print_limit;
}

float rcg_partition_def::get_vein_limit() const {
    boost::shared_lock<boost::shared_mutex> lock(mutex);
    return vein_limit;
}

float rcg_partition_def::get_bias() const {
    boost::shared_lock<boost::shared_mutex> lock(mutex);
    return bias;
}

}  // namespace palm_recognition
