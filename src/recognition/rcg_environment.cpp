#include "palm/recognition/rcg_environment.h"

#include <exception>

#include "palm/feature/unpack_feature.h"

namespace palm_recognition {

typedef boost::unique_lock<boost::shared_mutex> exclusive_lock;
typedef boost::shared_lock<boost::shared_mutex> shared_lock;

namespace {

// Partitions dropped by clear_partitions stay alive to the end of the
// process, as the operation promises; keeping them listed here makes that a
// deliberate retention rather than a leak.
std::vector<rcg_partition_def*>& abandoned_partitions() {
    static std::vector<rcg_partition_def*>* const all = new std::vector<rcg_partition_def*>;
    return *all;
}

}  // namespace

rcg_environment::rcg_environment() {}

rcg_environment::~rcg_environment() {
    {
        exclusive_lock lock(mutex);
        for (auto& entry : partitions)
            delete entry.second;
        partitions.clear();
    }
    // The store's templates and names go with the base class.
}

rcg_partition_def* rcg_environment::find_partition(int id) const {
    auto const it = partitions.find(id);
    return it == partitions.end() ? nullptr : it->second;
}

bool rcg_environment::push_template(char const* user, char const* feature_text) {
    if (user == nullptr || feature_text == nullptr)
        return false;
    // Decoding needs no shared state, so it runs before the writers' lock is
    // taken and matching waits only for the store update itself. The store
    // copies the codes, so each thread decodes into one record of its own
    // again and again, and a push allocates nothing for its cells.
    thread_local palm_feature::user_palm_feature record;
    try {
        if (!palm_feature::unpack_feature(feature_text, record))
            return false;
    } catch (std::exception const&) {
        return false;
    }
    exclusive_lock lock(mutex);
    std::string const* name = intern_name(user);
    store_template(name, record);
    return true;
}

bool rcg_environment::delete_template(char const* user) {
    exclusive_lock lock(mutex);
    std::string const* name = find_name(user);
    if (name == nullptr)
        return false;
    for (auto& entry : partitions)
        if (entry.second)
            entry.second->delete_user(name);
    erase_name(name);
    return true;
}

void rcg_environment::clear_templates() {
    exclusive_lock lock(mutex);
    for (auto& entry : partitions)
        if (entry.second)
            entry.second->clear_users();
    clear();
}

bool rcg_environment::create_partition(int id, bool parallel) {
    exclusive_lock lock(mutex);
    if (partitions.count(id) != 0)
        return false;
    partitions[id] = new rcg_partition_def(*this, parallel);
    return true;
}

bool rcg_environment::delete_partition(int id) {
    exclusive_lock lock(mutex);
    auto const it = partitions.find(id);
    if (it == partitions.end())
        return false;
    delete it->second;
    partitions.erase(it);
    return true;
}

void rcg_environment::clear_partitions() {
    exclusive_lock lock(mutex);
    for (auto& entry : partitions)
        if (entry.second)
            abandoned_partitions().push_back(entry.second);
    partitions.clear();
}

bool rcg_environment::assign_user_to_partition(int id, char const* user) {
    if (user == nullptr)
        return false;
    shared_lock lock(mutex);
    rcg_partition_def* const partition = find_partition(id);
    if (partition == nullptr)
        return false;
    // The name may be new: a user can be assigned before its template comes.
    std::string const* name = intern_name(user);
    return partition->add_user(name);
}

void rcg_environment::remove_user_from_partition(int id, char const* user) {
    shared_lock lock(mutex);
    std::string const* name = find_name(user);
    rcg_partition_def* const partition = find_partition(id);
    if (name != nullptr && partition != nullptr)
        partition->delete_user(name);
}

bool rcg_environment::set_match_policy(int id, int policy) {
    shared_lock lock(mutex);
    rcg_partition_def* const partition = find_partition(id);
    return partition != nullptr && partition->set_match_policy(policy);
}

bool rcg_environment::match_1v1(int id, char const* a, char const* spare, char const* b) const {
    shared_lock lock(mutex);
    rcg_partition_def* const partition = find_partition(id);
    return partition != nullptr && partition->match_1v1(a, spare, b);
}

bool rcg_environment::match_1v1_in_lib(int id, char const* text, char const* spare,
                                       char const* user) const {
    shared_lock lock(mutex);
    std::string const* name = find_name(user);
    rcg_partition_def* const partition = find_partition(id);
    if (name == nullptr || partition == nullptr)
        return false;
    return partition->match_1v1(text, spare, name);
}

bool rcg_environment::match_1vN(int id, char const* text, char const* spare) {
    shared_lock lock(mutex);
    rcg_partition_def* const partition = find_partition(id);
    return partition != nullptr && partition->match_1vN(text, spare);
}

char const* rcg_environment::get_identify_user_name(int id) {
    static char const empty[] = "";
    shared_lock lock(mutex);
    rcg_partition_def* const partition = find_partition(id);
    return partition == nullptr ? empty : partition->get_identify_user_name();
}

void rcg_environment::reset_identify_process(int id) {
    shared_lock lock(mutex);
    rcg_partition_def* const partition = find_partition(id);
    if (partition != nullptr)
        partition->reset_identify_process();
}

}  // namespace palm_recognition
