#include "palm/recognition/rcg_partition_def.h"

#include <algorithm>
#include <atomic>
#include <boost/bind/bind.hpp>
#include <boost/thread/thread.hpp>
#include <exception>

#include "palm/feature/unpack_feature.h"
#include "palm/recognition/decision.h"
#include "palm/recognition/match_distance_login.h"
#include "palm/recognition/match_thread_data.h"
#include "palm/workflow/feature_login.h"

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
      login_process(nullptr),
      parallel(parallel_),
      thread_count(0),
      serial_(next_partition_serial()) {
    start_workers();
    try {
        login_process = new palm_workflow::feature_login();
    } catch (...) {
        stop_workers();
        throw;
    }
}

rcg_partition_def::~rcg_partition_def() {
    boost::unique_lock<boost::shared_mutex> lock(mutex);
    stop_workers();
    delete login_process;
    login_process = nullptr;
}

// ------------------------------------------------------------------ workers

void rcg_partition_def::start_workers() {
    if (!parallel) return;
    thread_count = boost::thread::hardware_concurrency();
    try {
        for (unsigned w = 0; w < thread_count; ++w) {
            match_thread_data* data = new match_thread_data();
            // Both gates start closed: the worker waits for work, and the
            // dispatcher will wait for its result.
            data->finish_gate.lock();
            data->start_gate.lock();
            thread_data.push_back(data);
            threads.push_back(new boost::thread(
                boost::bind(&rcg_partition_def::match_thread_func, this, data)));
        }
    } catch (...) {
        // The order without its thread (if any) is stopped along with the rest.
        stop_workers();
        throw;
    }
}

void rcg_partition_def::stop_workers() {
    for (match_thread_data* data : thread_data) {
        data->running = false;
        data->start_gate.unlock();
    }
    for (boost::thread* t : threads) {
        t->join();
        delete t;
    }
    threads.clear();
    for (match_thread_data* data : thread_data) {
        data->finish_gate.unlock();
        data->start_gate.unlock();
        delete data;
    }
    thread_data.clear();
}

void rcg_partition_def::match_thread_func(match_thread_data* data) {
    for (;;) {
        data->start_gate.lock();
        if (!data->running) return;
        // An exception must not end the worker, or the dispatcher would wait
        // for it for ever: the share is reported as failed instead.
        try {
            coarse_stage(data->matcher, *data->lib, *data->probe, *data->users, data->begin,
                         data->count, true, *data->distances, *data->best_cells);
            data->failed = false;
        } catch (std::exception const&) {
            data->failed = true;
        }
        data->finish_gate.unlock();
    }
}

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

namespace palm_recognition {

// ------------------------------------------------------------------ one to one

bool rcg_partition_def::decision(std::pair<float, float> const& d) const {
    float p, v, b;
    {
        boost::shared_lock<boost::shared_mutex> lock(mutex);
        p = print_limit;
        v = vein_limit;
        b = bias;
    }
    return palm_recognition::decision(d, p, v, b);
}

bool rcg_partition_def::match_1v1(char const* a, char const* spare, char const* b) const {
    if (a == nullptr || spare == nullptr) return false;
    if (b == nullptr) return false;
    palm_feature::user_palm_feature ra, rb;
    try {
        if (!palm_feature::unpack_feature(a, ra)) return false;
        if (!palm_feature::unpack_feature(b, rb)) return false;
    } catch (std::exception const&) {
        return false;
    }
    return match_1v1(ra, rb);
}

bool rcg_partition_def::match_1v1(char const* text, char const* /*spare*/,
                                  std::string const* user) const {
    palm_feature::user_palm_feature const* const stored = lib.find_template(user);
    if (stored == nullptr) return false;
    if (text == nullptr) return false;
    palm_feature::user_palm_feature probe;
    try {
        if (!palm_feature::unpack_feature(text, probe)) return false;
    } catch (std::exception const&) {
        return false;
    }
    return match_1v1(probe, *stored);
}

bool rcg_partition_def::match_1v1(palm_feature::user_palm_feature const& a,
                                  palm_feature::user_palm_feature const& b) const {
    std::pair<float, float> best(1.0f, 1.0f);
    for (auto const& cell : a.cells) {
        std::vector<std::pair<float, float> > const pairs = login_process->detect(cell, b);
        // The vein distance that counts is the one of the best print distance;
        // a tie keeps the earlier pair.
        for (auto const& p : pairs)
            if (best.first > p.first) best = p;
    }
    // The comparison ran without the partition lock; the limits are read
    // under it, so a concurrent policy change is seen whole or not at all.
    return decision(best);
}

// ------------------------------------------------------------------ one to many

bool rcg_partition_def::match_1vN(char const* text, char const* /*spare*/) const {
    boost::unique_lock<boost::shared_mutex> lock(mutex);
    clear_rcg_results();
    std::string& name = thread_name();
    palm_feature::user_palm_feature probe;
    bool decoded = false;
    try {
        decoded = text != nullptr && palm_feature::unpack_feature(text, probe);
    } catch (std::exception const&) {
        decoded = false;
    }
    if (decoded) {
        // The decoded probe is local and stays still: its cells need no copy.
        for (auto const& cell : probe.cells) {
            std::string const* const found =
                parallel ? parell_lib_match(cell) : normal_lib_match(cell);
            if (found != nullptr) {
                name = *found;
                break;
            }
        }
    }
    return !name.empty();
}

void rcg_partition_def::coarse_stage(palm_algorithm::i_feature_match* matcher,
                                     simple_feature_lib const& store, cell_type const& probe,
                                     std::vector<std::string const*> const& list, unsigned begin,
                                     unsigned count, bool parallel_rule,
                                     std::vector<std::pair<double, int> >& distances,
                                     std::vector<int>& best_cells) {
    for (unsigned i = begin; i < begin + count; ++i) {
        palm_feature::user_palm_feature const* const t = store.find_template(list[i]);
        if (t == nullptr) continue;  // the slot keeps its initial (0.0, 0)
        int const cells = t->size();
        int const stride = parallel_rule ? parallel_stride(cells) : normal_stride(cells);
        float d = 1.0f;
        for (int k = 0; k < cells; k += stride) {
            float const e = matcher->match(probe.first, (*t)[k].first,
                                           palm_algorithm::i_feature_match::DEGREE_ALL);
            if (d > e) {
                best_cells[i] = k;
                d = e;
            }
        }
        distances[i] = std::make_pair(static_cast<double>(d), static_cast<int>(i));
    }
}

std::string const* rcg_partition_def::normal_lib_match(cell_type const& probe) const {
    std::size_t const n = users.size();
    if (n == 0) return nullptr;
    std::vector<std::pair<double, int> > distances(n);
    std::vector<int> best_cells(n, 0);
    coarse_stage(palm_algorithm::get_feature_match_inst(), lib, probe, users, 0,
                 static_cast<unsigned>(n), false, distances, best_cells);
    return common_tail(probe, distances, best_cells);
}

std::string const* rcg_partition_def::parell_lib_match(cell_type const& probe) const {
    std::size_t const n = users.size();
    if (n == 0) return nullptr;
    std::vector<std::pair<double, int> > distances(n);
    std::vector<int> best_cells(n, 0);
    palm_algorithm::i_feature_match* const matcher = palm_algorithm::get_feature_match_inst();

    std::vector<std::pair<unsigned, unsigned> > const shares =
        worker_shares(static_cast<unsigned>(n), static_cast<unsigned>(thread_data.size()));
    if (shares.empty()) {
        // A machine that reports no processors has no pool: the calling
        // thread does the one share itself, by the same rule.
        coarse_stage(matcher, lib, probe, users, 0, static_cast<unsigned>(n), true, distances,
                     best_cells);
        return common_tail(probe, distances, best_cells);
    }
    unsigned const workers = static_cast<unsigned>(shares.size());
    for (unsigned w = 0; w < workers; ++w) {
        match_thread_data* const data = thread_data[w];
        data->matcher = matcher;
        data->lib = &lib;
        data->probe = &probe;
        data->users = &users;
        data->begin = shares[w].first;
        data->count = shares[w].second;
        data->distances = &distances;
        data->best_cells = &best_cells;
        data->start_gate.unlock();
    }
    bool failed = false;
    for (unsigned w = 0; w < workers; ++w) {
        thread_data[w]->finish_gate.lock();
        failed = failed || thread_data[w]->failed;
    }
    if (failed) return nullptr;
    return common_tail(probe, distances, best_cells);
}

std::vector<std::pair<unsigned, unsigned> > rcg_partition_def::worker_shares(unsigned n,
                                                                             unsigned pool) {
    std::vector<std::pair<unsigned, unsigned> > shares;
    unsigned const workers = std::min((n + 9) / 10, pool);
    if (workers == 0) return shares;
    unsigned const share = n / workers;
    for (unsigned w = 0; w < workers; ++w)
        shares.push_back(std::make_pair(w * share, w + 1 < workers ? share : share + n % workers));
    return shares;
}

std::string const* rcg_partition_def::common_tail(cell_type const& probe,
                                                  std::vector<std::pair<double, int> >& distances,
                                                  std::vector<int>& best_cells) const {
    palm_algorithm::i_feature_match* const matcher = palm_algorithm::get_feature_match_inst();
    auto const degree = palm_algorithm::i_feature_match::DEGREE_ALL;
    std::sort(distances.begin(), distances.end());
    std::size_t const k = std::min<std::size_t>(distances.size(), FINE_CANDIDATES);

    // Fine stage: the four variants behind each original, for the best only.
    // The list is not sorted again.
    for (std::size_t j = 0; j < k; ++j) {
        int const i = distances[j].second;
        palm_feature::user_palm_feature const* const t = lib.find_template(users[i]);
        if (t == nullptr) continue;
        int const cells = t->size();
        if (!(cells > 9 && cells % 5 == 0)) continue;
        for (int b = 0; b < cells; b += 5) {
            for (int c = b + 1; c <= b + 4; ++c) {
                double const e = matcher->match(probe.first, (*t)[c].first, degree);
                if (e < distances[j].first) {
                    distances[j].first = e;
                    best_cells[i] = c;
                }
            }
        }
    }

    // Verify stage: the vein of the one cell that won the print search.
    std::vector<CANDINATE_INFO> candidates;
    for (std::size_t j = 0; j < k; ++j) {
        int const i = distances[j].second;
        if (!(distances[j].first < print_limit)) continue;
        palm_feature::user_palm_feature const* const t = lib.find_template(users[i]);
        if (t == nullptr) continue;
        float const f = matcher->match(probe.second, (*t)[best_cells[i]].second, degree);
        if (!(vein_limit > f)) continue;
        std::pair<float, float> const d(static_cast<float>(distances[j].first), f);
        if (palm_recognition::decision(d, print_limit, vein_limit, bias))
            candidates.push_back(CANDINATE_INFO{d.first, f, i});
    }
    if (candidates.empty()) return nullptr;

    // Select the smallest squared distance; a tie keeps the earlier one.
    float best = 2.0f;
    int index = -1;
    for (auto const& c : candidates) {
        float const q = c.print_dist * c.print_dist + c.vein_dist * c.vein_dist;
        if (q < best) {
            best = q;
            index = c.user_index;
        }
    }
    // Only policy 5 can accept a pair with nothing below the start value;
    // such a search identifies nobody.
    if (index < 0) return nullptr;
    return users[static_cast<std::size_t>(index)];
}

}  // namespace palm_recognition
