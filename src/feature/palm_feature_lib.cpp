#include "palm/feature/palm_feature_lib.h"

#include <algorithm>
#include <atomic>
#include <boost/thread/mutex.hpp>
#include <map>
#include <memory>
#include <thread>

using palm_feature::user_palm_feature;

namespace palm_feature_lib {

namespace {

std::map<unsigned int, two_hand_feature> _palm_id_map_feature;
boost::mutex _data_protected;
std::atomic<data_locator*> _current_data_locator{nullptr};
// The thread that holds _data_protected through lock(); find() and unlock()
// answer only there, so that no other thread reads the map unguarded or
// releases a lock it does not own.
std::atomic<std::thread::id> _lock_holder{std::thread::id()};
std::vector<unsigned int> g_user_ids;
bool g_user_ids_generated = false;

bool held_here() {
    return _lock_holder.load() == std::this_thread::get_id();
}

// The calling thread's view of g_user_ids; refreshed under the lock.
std::vector<unsigned int>& thread_ids() {
    thread_local std::vector<unsigned int> ids;
    return ids;
}

void refresh_thread_ids() {
    thread_ids() = g_user_ids;
}

// Held for one operation. A thread that holds the lock through lock() goes
// on under it rather than waiting for itself for ever.
class op_guard {
  public:
    op_guard() : owns_(!held_here()) {
        if (owns_)
            _data_protected.lock();
    }
    ~op_guard() {
        if (owns_)
            _data_protected.unlock();
    }
    op_guard(op_guard const&) = delete;
    op_guard& operator=(op_guard const&) = delete;

  private:
    bool owns_;
};

user_palm_feature* copy_of(user_palm_feature const* user) {
    return user == nullptr ? nullptr : new user_palm_feature(*user);
}

}  // namespace

two_hand_feature::two_hand_feature(user_palm_feature const* a, user_palm_feature const* b)
    : first_hand(copy_of(a)), second_hand(copy_of(b)) {}

two_hand_feature::~two_hand_feature() {
    delete first_hand;
    first_hand = nullptr;
    delete second_hand;
    second_hand = nullptr;
}

void two_hand_feature::update(user_palm_feature const& user, hand h) {
    user_palm_feature*& slot = h == palm_feature_lib::first_hand ? first_hand : second_hand;
    delete slot;
    slot = new user_palm_feature(user);
}

two_hand_feature* data_locator::find(unsigned int id) {
    if (_current_data_locator.load() == nullptr || !held_here())
        return nullptr;
    auto const it = _palm_id_map_feature.find(id);
    return it == _palm_id_map_feature.end() ? nullptr : &it->second;
}

bool lock(data_locator* locator) {
    if (held_here())
        return false;
    _data_protected.lock();
    _lock_holder.store(std::this_thread::get_id());
    _current_data_locator.store(locator);
    return true;
}

void unlock() {
    if (!held_here())
        return;
    _current_data_locator.store(nullptr);
    _lock_holder.store(std::thread::id());
    _data_protected.unlock();
}

std::vector<unsigned int> const& query() {
    op_guard guard;
    if (!g_user_ids_generated) {
        g_user_ids.clear();
        for (auto const& entry : _palm_id_map_feature)
            g_user_ids.push_back(entry.first);
        g_user_ids_generated = true;
    }
    refresh_thread_ids();
    return thread_ids();
}

int size() {
    op_guard guard;
    return static_cast<int>(_palm_id_map_feature.size());
}

bool exist(unsigned int id) {
    op_guard guard;
    return _palm_id_map_feature.count(id) != 0;
}

bool remove(unsigned int id) {
    op_guard guard;
    auto const it = _palm_id_map_feature.find(id);
    if (it == _palm_id_map_feature.end())
        return false;
    _palm_id_map_feature.erase(it);
    g_user_ids.erase(std::remove(g_user_ids.begin(), g_user_ids.end(), id), g_user_ids.end());
    refresh_thread_ids();
    return true;
}

bool update(unsigned int id, user_palm_feature const* user, hand h) {
    if (user == nullptr)
        return false;
    op_guard guard;
    auto it = _palm_id_map_feature.find(id);
    if (it == _palm_id_map_feature.end()) {
        it = _palm_id_map_feature
                 .emplace(std::piecewise_construct, std::forward_as_tuple(id),
                          std::forward_as_tuple(nullptr, nullptr))
                 .first;
        g_user_ids.push_back(id);
    }
    it->second.update(*user, h);
    refresh_thread_ids();
    return true;
}

bool load(unsigned int id, std::string const& path, hand h) {
    user_palm_feature record;
    if (!record.load(path))
        return false;
    return update(id, &record, h);
}

user_palm_feature* clone(std::string const& path) {
    std::unique_ptr<user_palm_feature> record(new user_palm_feature());
    if (!record->load(path))
        return nullptr;
    return record.release();
}

user_palm_feature* clone(user_palm_feature* user) {
    if (user == nullptr)
        return nullptr;
    user_palm_feature* const copy = new user_palm_feature();
    copy->cells = user->cells;
    return copy;
}

}  // namespace palm_feature_lib
