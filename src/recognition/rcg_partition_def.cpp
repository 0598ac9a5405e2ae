#include "palm/recognition/rcg_partition_def.h"

#include <algorithm>
#include <atomic>
#include <boost/bind/bind.hpp>
#include <boost/thread/thread.hpp>
#include <exception>

#include "palm/feature/unpack_feature.h"
#include "palm/matching/match_probe.h"
#include "palm/recognition/candidate_selection.h"
#include "palm/recognition/decision.h"
#include "palm/recognition/fine_verify_stage.h"
#include "palm/recognition/match_distance_login.h"
#include "palm/recognition/match_thread_data.h"
#include "palm/workflow/feature_login.h"

namespace palm_recognition {

namespace {
std::uint64_t next_partition_serial() {
    static std::atomic<std::uint64_t> serial{0};
    return ++serial;
}

std::atomic<unsigned> g_pinned_worker_count{0};
}  // namespace

void rcg_partition_def::pin_worker_count(unsigned workers) {
    g_pinned_worker_count = workers;
}

unsigned rcg_partition_def::worker_count() {
    unsigned const pinned = g_pinned_worker_count;
    return pinned != 0 ? pinned : boost::thread::hardware_concurrency();
}

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
    if (!parallel)
        return;
    thread_count = worker_count();
    try {
        for (unsigned w = 0; w < thread_count; ++w) {
            match_thread_data* data = new match_thread_data();
            // Both gates start closed: the worker waits for work, and the
            // dispatcher will wait for its result.
            data->finish_gate.lock();
            data->start_gate.lock();
            thread_data.push_back(data);
            threads.push_back(
                new boost::thread(boost::bind(&rcg_partition_def::match_thread_func, this, data)));
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
        if (!data->running)
            return;
        // An exception must not end the worker, or the dispatcher would wait
        // for it for ever: the share is reported as failed instead.
        try {
            sweep(*data->job, data->result);
            data->failed = false;
        } catch (std::exception const&) {
            data->failed = true;
        }
        data->finish_gate.unlock();
    }
}

bool rcg_partition_def::add_user(std::string const* user) {
    boost::unique_lock<boost::shared_mutex> lock(mutex);
    refresh_slots();
    if (members_.count(user) != 0)
        return false;
    sweep_slot const* const slot = lib.find_slot(user);
    // Room first, so that the list, its slots and the set change together.
    users.reserve(users.size() + 1);
    user_slots_.reserve(user_slots_.size() + 1);
    members_.insert(user);
    users.push_back(user);
    user_slots_.push_back(slot);
    return true;
}

void rcg_partition_def::delete_user(std::string const* user) {
    boost::unique_lock<boost::shared_mutex> lock(mutex);
    refresh_slots();
    if (members_.erase(user) == 0)
        return;
    auto const it = std::find(users.begin(), users.end(), user);
    user_slots_.erase(user_slots_.begin() + (it - users.begin()));
    users.erase(it);
}

void rcg_partition_def::clear_users() {
    boost::unique_lock<boost::shared_mutex> lock(mutex);
    users.clear();
    user_slots_.clear();
    members_.clear();
}

void rcg_partition_def::refresh_slots() const {
    if (user_slots_.size() == users.size() && members_.size() == users.size())
        return;
    // `users` was changed directly: describe it afresh.
    auto& self = const_cast<rcg_partition_def&>(*this);
    self.members_.clear();
    self.members_.insert(users.begin(), users.end());
    user_slots_.clear();
    for (std::string const* user : users)
        user_slots_.push_back(lib.find_slot(user));
}

bool rcg_partition_def::set_match_policy(int policy) {
    boost::unique_lock<boost::shared_mutex> lock(mutex);
    if (static_cast<unsigned>(policy) >= static_cast<unsigned>(MATCH_POLICY_COUNT))
        return false;
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
    if (a == nullptr || spare == nullptr)
        return false;
    if (b == nullptr)
        return false;
    palm_feature::user_palm_feature ra, rb;
    try {
        if (!palm_feature::unpack_feature(a, ra))
            return false;
        if (!palm_feature::unpack_feature(b, rb))
            return false;
    } catch (std::exception const&) {
        return false;
    }
    return match_1v1(ra, rb);
}

bool rcg_partition_def::match_1v1(char const* text, char const* /*spare*/,
                                  std::string const* user) const {
    palm_feature::user_palm_feature const* const stored = lib.find_template(user);
    if (stored == nullptr)
        return false;
    if (text == nullptr)
        return false;
    palm_feature::user_palm_feature probe;
    try {
        if (!palm_feature::unpack_feature(text, probe))
            return false;
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
            if (best.first > p.first)
                best = p;
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

namespace {

// Users handed out to a sweeper at a time: large enough that taking a block
// costs nothing beside comparing it, small enough that sweepers finish
// together.
const unsigned SWEEP_BLOCK = 256;

// Offers one user's result to a sweeper's heap of the `keep` best.
inline void offer(sweep_result& out, unsigned keep, coarse_result const& r) {
    std::vector<coarse_result>& heap = out.best;
    if (heap.size() < keep) {
        heap.push_back(r);
        std::push_heap(heap.begin(), heap.end());
    } else if (r < heap.front()) {
        std::pop_heap(heap.begin(), heap.end());
        heap.back() = r;
        std::push_heap(heap.begin(), heap.end());
    }
}

// The start of a run. Runs of users pushed one after another lie one after
// another, and the processor's own prefetcher follows such a stream better
// than a prefetch of every line (measured: that costs a tenth more); where a
// partition jumps to another part of the store, the first lines set it on
// the new run.
inline void prefetch_run(unsigned char const* run) {
    __builtin_prefetch(run);
    __builtin_prefetch(run + 64);
}

// The coarse stage for users [begin, end): each user's best print distance
// over every stride-th cell of its template, offered to the sweeper's heap.
void sweep_range(sweep_job const& job, unsigned begin, unsigned end, sweep_result& out) {
    std::vector<std::string const*> const& users = *job.users;
    std::vector<sweep_slot const*> const& slots = *job.slots;
    palm_algorithm::match_probe const& probe = *job.probe;
    // Slots lie wherever names were made: the slot a few users ahead is
    // fetched early, and the run of the user after next once its slot is at
    // hand.
    const unsigned SLOT_AHEAD = 6, CODES_AHEAD = 2;
    for (unsigned i = begin; i < end && i < begin + CODES_AHEAD; ++i)
        if (slots[i] != nullptr && slots[i]->sampled_prints != nullptr)
            prefetch_run(slots[i]->sampled_prints);
    for (unsigned i = begin; i < end; ++i) {
        if (i + SLOT_AHEAD < end && slots[i + SLOT_AHEAD] != nullptr)
            __builtin_prefetch(slots[i + SLOT_AHEAD]);
        if (i + CODES_AHEAD < end) {
            sweep_slot const* ahead = slots[i + CODES_AHEAD];
            if (ahead != nullptr && ahead->sampled_prints != nullptr)
                prefetch_run(ahead->sampled_prints);
        }

        sweep_slot const* const slot = slots[i];
        palm_feature::user_palm_feature const* t;
        unsigned char const* run = nullptr;
        int cells = 0;
        // The slot alone serves a template whose sampled prints lie in a
        // run: the record itself is not touched.
        if (slot != nullptr && slot->name == users[i]) {
            t = slot->record;
            run = slot->sampled_prints;
            cells = slot->cells;
        } else {
            t = job.lib->find_template(users[i]);
            if (t != nullptr)
                cells = t->size();
        }
        if (t == nullptr) {
            // The slot keeps its initial (0.0, 0).
            offer(out, job.keep, coarse_result{0.0, 0, 0});
            if (i == 0) {
                out.saw_first_user = true;
                out.first_user_cell = 0;
            }
            continue;
        }
        int const stride = job.parallel_rule ? rcg_partition_def::parallel_stride(cells)
                                             : rcg_partition_def::normal_stride(cells);
        if (stride != 5)
            run = nullptr;
        float d = 1.0f;
        int best_cell = 0;
        for (int k = 0; k < cells; k += stride) {
            unsigned char const* code = run != nullptr
                                            ? run + (k / 5) * print_sample_arena::CODE_BYTES
                                            : (*t)[k].first.data;
            float const e = probe.distance(code);
            if (d > e) {
                best_cell = k;
                d = e;
            }
        }
        offer(out, job.keep, coarse_result{static_cast<double>(d), static_cast<int>(i), best_cell});
        if (i == 0) {
            out.saw_first_user = true;
            out.first_user_cell = best_cell;
        }
    }
}

}  // namespace

void rcg_partition_def::sweep(sweep_job& job, sweep_result& out) {
    out.best.clear();
    out.saw_first_user = false;
    out.first_user_cell = 0;
    unsigned const n = static_cast<unsigned>(job.users->size());
    for (;;) {
        unsigned const begin = job.next.fetch_add(SWEEP_BLOCK, std::memory_order_relaxed);
        if (begin >= n)
            break;
        sweep_range(job, begin, std::min(n, begin + SWEEP_BLOCK), out);
    }
}

std::string const* rcg_partition_def::normal_lib_match(cell_type const& probe) const {
    return lib_match(probe, false, nullptr);
}

std::string const* rcg_partition_def::parell_lib_match(cell_type const& probe) const {
    return lib_match(probe, true, nullptr);
}

std::string const* rcg_partition_def::lib_match(cell_type const& probe, bool on_workers,
                                                search_trace* trace) const {
    if (users.empty())
        return nullptr;
    int first_user_cell = 0;
    if (!coarse_list(probe, on_workers, merged_, first_user_cell))
        return nullptr;
    return common_tail(probe, merged_, first_user_cell, trace);
}

bool rcg_partition_def::coarse_list(cell_type const& probe, bool on_workers,
                                    std::vector<coarse_result>& list, int& first_user_cell) const {
    list.clear();
    first_user_cell = 0;
    std::size_t const n = users.size();
    if (n == 0)
        return true;
    refresh_slots();
    if (!prepared_)
        prepared_.reset(new palm_algorithm::match_probe());
    prepared_->reset(probe.first.data);

    sweep_job job;
    job.probe = prepared_.get();
    job.lib = &lib;
    job.users = &users;
    job.slots = &user_slots_;
    job.parallel_rule = on_workers;
    job.keep = static_cast<unsigned>(std::min<std::size_t>(n, FINE_CANDIDATES));

    // The list: the best of every sweeper's best, in the order of the sort.
    unsigned const workers =
        on_workers ? static_cast<unsigned>(worker_shares(static_cast<unsigned>(n),
                                                         static_cast<unsigned>(thread_data.size()))
                                               .size())
                   : 0;
    if (workers == 0) {
        // The search on the calling thread, or a machine that reports no
        // processors and so has no pool: the calling thread sweeps alone, by
        // the rule of the search asked for.
        if (!serial_result_)
            serial_result_.reset(new sweep_result());
        sweep(job, *serial_result_);
        list = serial_result_->best;
        first_user_cell = serial_result_->first_user_cell;
    } else {
        for (unsigned w = 0; w < workers; ++w) {
            thread_data[w]->job = &job;
            thread_data[w]->start_gate.unlock();
        }
        bool failed = false;
        for (unsigned w = 0; w < workers; ++w) {
            match_thread_data* const data = thread_data[w];
            data->finish_gate.lock();
            failed = failed || data->failed;
            data->job = nullptr;
            list.insert(list.end(), data->result.best.begin(), data->result.best.end());
            if (data->result.saw_first_user)
                first_user_cell = data->result.first_user_cell;
        }
        if (failed)
            return false;
    }
    std::size_t const k = job.keep;
    if (list.size() > k) {
        std::nth_element(list.begin(), list.begin() + (k - 1), list.end());
        list.resize(k);
    }
    std::sort(list.begin(), list.end());
    return true;
}

std::vector<std::pair<unsigned, unsigned> > rcg_partition_def::worker_shares(unsigned n,
                                                                             unsigned pool) {
    std::vector<std::pair<unsigned, unsigned> > shares;
    unsigned const workers = std::min((n + 9) / 10, pool);
    if (workers == 0)
        return shares;
    unsigned const share = n / workers;
    for (unsigned w = 0; w < workers; ++w)
        shares.push_back(std::make_pair(w * share, w + 1 < workers ? share : share + n % workers));
    return shares;
}

// The list holds each user with a template once, and the key (0.0, 0) once
// for each user without one. Every slot of user index i reads and writes the
// one best cell of user i: for i > 0 that is the slot's own cell, for i = 0
// it is shared by user 0's own slot and all the (0.0, 0) slots.
std::string const* rcg_partition_def::common_tail(cell_type const& probe,
                                                  std::vector<coarse_result>& list,
                                                  int first_user_cell, search_trace* trace) const {
    palm_algorithm::match_probe const& print = *prepared_;
    auto cell_of = [&](coarse_result& r) -> int& {
        return r.index == 0 ? first_user_cell : r.cell;
    };
    auto template_of = [&](int i) {
        sweep_slot const* const slot = user_slots_[static_cast<std::size_t>(i)];
        return slot != nullptr && slot->name == users[static_cast<std::size_t>(i)]
                   ? slot->record
                   : lib.find_template(users[static_cast<std::size_t>(i)]);
    };

    // Fine stage: the four variants behind each original, for the best only.
    // The list is not sorted again.
    for (coarse_result& r : list) {
        palm_feature::user_palm_feature const* const t = template_of(r.index);
        if (t != nullptr)
            fine_stage(print, *t, r.distance, cell_of(r));
    }

    // Verify stage: the vein of the one cell that won the print search. It
    // follows the whole fine stage because users without a template share
    // user 0's cell.
    accept_limits const limits{print_limit, vein_limit, bias};
    candidates_.clear();
    for (coarse_result& r : list) {
        palm_feature::user_palm_feature const* const t = template_of(r.index);
        if (t == nullptr)
            continue;
        candidate_verdict const v = verify_stage(probe, *t, r.distance, cell_of(r), limits);
        if (v.accepted)
            candidates_.push_back(CANDINATE_INFO{v.print_dist, v.vein_dist, r.index});
    }

    // Select the smallest squared distance; a tie keeps the earlier one.
    candidate_selection selection;
    for (auto const& c : candidates_)
        selection.offer(c.print_dist, c.vein_dist, c.user_index);
    int const index = selection.index();
    // Only policy 5 can accept a pair with nothing below the start value;
    // such a search identifies nobody.
    std::string const* const chosen = index < 0 ? nullptr : users[static_cast<std::size_t>(index)];
    if (trace != nullptr) {
        trace->list.clear();
        trace->cells.clear();
        for (coarse_result& r : list) {
            trace->list.push_back(std::make_pair(r.distance, r.index));
            trace->cells.push_back(cell_of(r));
        }
        trace->candidates = candidates_;
        trace->chosen = chosen;
    }
    return chosen;
}

}  // namespace palm_recognition
