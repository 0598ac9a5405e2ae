#include "palm/recognition/gallery_shard.h"

#include <boost/thread/locks.hpp>
#include <exception>
#include <mutex>
#include <stdexcept>

#include "palm/feature/unpack_feature.h"
#include "palm/recognition/coarse_stage.h"
#include "palm/recognition/fine_verify_stage.h"
#include "palm/recognition/match_distance_login.h"
#include "palm/recognition/sweep_slot.h"

namespace palm_recognition {

namespace {

typedef boost::shared_lock<boost::shared_mutex> shared_lock;
typedef boost::unique_lock<boost::shared_mutex> exclusive_lock;

// The pool size of a new partition is process-wide; shards made at the same
// time must not see each other's.
std::mutex g_pool_pin;

}  // namespace

gallery_shard::gallery_shard(int policy, unsigned workers) {
    if (static_cast<unsigned>(policy) >= static_cast<unsigned>(MATCH_POLICY_COUNT))
        throw std::invalid_argument("match policy outside 0..5");
    {
        std::lock_guard<std::mutex> pin(g_pool_pin);
        rcg_partition_def::pin_worker_count(workers);
        bool created = false;
        try {
            created = env_.create_partition(PARTITION, true);
        } catch (...) {
            rcg_partition_def::pin_worker_count(0);
            throw;
        }
        rcg_partition_def::pin_worker_count(0);
        if (!created)
            throw std::logic_error("the shard's partition exists already");
    }
    env_.set_match_policy(PARTITION, policy);
}

bool gallery_shard::push(char const* user, char const* text) {
    if (user == nullptr || *user == '\0')
        return false;
    if (!env_.push_template(user, text))
        return false;
    // A user pushed again keeps its place.
    env_.assign_user_to_partition(PARTITION, user);
    return true;
}

bool gallery_shard::erase(char const* user) {
    if (user == nullptr || *user == '\0')
        return false;
    return env_.delete_template(user);
}

bool gallery_shard::set_match_policy(int policy) {
    return env_.set_match_policy(PARTITION, policy);
}

int gallery_shard::policy() const {
    shared_lock lock(env_.mutex);
    return env_.find_partition(PARTITION)->policy();
}

std::size_t gallery_shard::size() const {
    shared_lock lock(env_.mutex);
    return env_.find_partition(PARTITION)->users_snapshot().size();
}

std::vector<std::string> gallery_shard::users() const {
    shared_lock lock(env_.mutex);
    std::vector<std::string> out;
    for (std::string const* user : env_.find_partition(PARTITION)->users_snapshot())
        out.push_back(*user);
    return out;
}

std::size_t gallery_shard::memory_bytes() const {
    shared_lock lock(env_.mutex);
    // The store's code storage as taken from the system, and per user the
    // name with its slot and index entry and the partition's list, slot and
    // set entries.
    const std::size_t USER_OVERHEAD =
        sizeof(std::string) + sizeof(sweep_slot) + 64 + 2 * sizeof(void*) + 32;
    std::size_t bytes = env_.code_slab_bytes();
    for (std::string const* name : env_.names)
        bytes += USER_OVERHEAD + name->capacity();
    return bytes;
}

bool gallery_shard::decode(char const* text, palm_feature::user_palm_feature& probe) {
    if (text == nullptr)
        return false;
    try {
        return palm_feature::unpack_feature(text, probe);
    } catch (std::exception const&) {
        return false;
    }
}

namespace {

// The coarse stage over the shard's partition; the caller holds the store.
bool coarse_list(rcg_partition_def const& partition, gallery_shard::cell_type const& probe,
                 std::vector<coarse_entry>& list) {
    exclusive_lock search(partition.mutex);
    return coarse_stage(partition, probe, list);
}

void copy_out(std::vector<coarse_entry> const& list, std::vector<gallery_shard::coarse_user>& out) {
    out.reserve(list.size());
    for (coarse_entry const& e : list)
        out.push_back(gallery_shard::coarse_user{e.distance, e.order, *e.user});
}

}  // namespace

bool gallery_shard::coarse(cell_type const& probe, std::vector<coarse_user>& out) const {
    out.clear();
    shared_lock lock(env_.mutex);
    std::vector<coarse_entry> list;
    if (!coarse_list(*env_.find_partition(PARTITION), probe, list))
        return false;
    copy_out(list, out);
    return true;
}

bool gallery_shard::coarse_fine(cell_type const& probe, std::vector<coarse_user>& out,
                                std::vector<candidate_verdict>& verdicts) const {
    out.clear();
    verdicts.clear();
    shared_lock lock(env_.mutex);
    rcg_partition_def const& partition = *env_.find_partition(PARTITION);
    std::vector<coarse_entry> list;
    if (!coarse_list(partition, probe, list))
        return false;
    std::vector<std::string const*> names;
    names.reserve(list.size());
    for (coarse_entry const& e : list)
        names.push_back(e.user);
    {
        shared_lock limits(partition.mutex);
        verdicts = fine_and_verify(partition, probe, names);
    }
    copy_out(list, out);
    return true;
}

std::vector<candidate_verdict> gallery_shard::fine(cell_type const& probe,
                                                   std::vector<std::string> const& users) const {
    shared_lock lock(env_.mutex);
    std::vector<std::string const*> names;
    names.reserve(users.size());
    // A name holding a NUL would be found by its first part alone.
    for (std::string const& user : users)
        names.push_back(user.find('\0') == std::string::npos ? env_.find_name(user.c_str())
                                                             : nullptr);
    rcg_partition_def const& partition = *env_.find_partition(PARTITION);
    shared_lock limits(partition.mutex);
    return fine_and_verify(partition, probe, names);
}

bool gallery_shard::verify(char const* user, char const* text) const {
    if (user == nullptr || text == nullptr)
        return false;
    return env_.match_1v1_in_lib(PARTITION, text, "", user);
}

bool gallery_shard::identify(char const* text, std::string& name) {
    name.clear();
    if (text == nullptr)
        return false;
    // The name is this thread's, so no other identification can change it
    // between the two calls.
    if (env_.match_1vN(PARTITION, text, ""))
        name = env_.get_identify_user_name(PARTITION);
    return !name.empty();
}

}  // namespace palm_recognition
