// A partition: the list of users that one identification searches among, with
// its own accept limits and, when created parallel, its own worker threads.
// It copies no template: users are pointers to the store's name strings.
#ifndef PALM_RECOGNITION_RCG_PARTITION_DEF_H_
#define PALM_RECOGNITION_RCG_PARTITION_DEF_H_

#include <boost/thread/shared_mutex.hpp>
#include <boost/thread/tss.hpp>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "palm/feature/palm_cell.h"
#include "palm/feature/single_feature.h"
#include "palm/feature/user_palm_feature.h"
#include "palm/matching/i_feature_match.h"
#include "palm/recognition/simple_feature_lib.h"

namespace boost {
class thread;
}
namespace palm_workflow {
class i_feature_login;
}
namespace palm_algorithm {
class match_probe;
}

namespace palm_recognition {

struct match_thread_data;
struct sweep_job;
struct sweep_result;
struct sweep_slot;
struct coarse_result;

class rcg_partition_def {
  public:
    typedef palm_feature::palm_cell<palm_feature::single_feature> cell_type;

    // A user accepted by the verify stage of an identification.
    struct CANDINATE_INFO {
        float print_dist;
        float vein_dist;
        int user_index;  // index into users
    };

    rcg_partition_def(simple_feature_lib const& lib, bool parallel);
    ~rcg_partition_def();
    rcg_partition_def(rcg_partition_def const&) = delete;
    rcg_partition_def& operator=(rcg_partition_def const&) = delete;

    // True when the pointer was not yet a user and has been appended.
    bool add_user(std::string const* user);
    // Removes the pointer if present; the others keep their order, which
    // matters because user indices break ties in identification.
    void delete_user(std::string const* user);
    void clear_users();
    // Loads the policy's row of limits; false for a policy outside 0..5.
    bool set_match_policy(int policy);

    // This thread's result of the last identification on this partition;
    // empty when there is none. Never null.
    char const* get_identify_user_name();
    // Empties the results; the caller holds `mutex`.
    void clear_rcg_results() const;
    void reset_identify_process();

    // One-to-one: text against text (a null `spare` is refused), text against
    // a stored template, and the record comparison both end in.
    bool match_1v1(char const* a, char const* spare, char const* b) const;
    bool match_1v1(char const* text, char const* spare, std::string const* user) const;
    bool match_1v1(palm_feature::user_palm_feature const& a,
                   palm_feature::user_palm_feature const& b) const;
    // The partition's limits applied to a (print, vein) pair.
    bool decision(std::pair<float, float> const& d) const;

    // One-to-many: each probe cell in turn until one identifies a user, whose
    // name then becomes this thread's result. `spare` is not read.
    bool match_1vN(char const* text, char const* spare) const;
    // One cell against every user, coarse stage on the calling thread or on
    // the workers; null when nobody is identified. The caller holds `mutex`.
    std::string const* normal_lib_match(cell_type const& probe) const;
    std::string const* parell_lib_match(cell_type const& probe) const;
    // The body of every worker.
    void match_thread_func(match_thread_data* data);

    // What the search of one probe cell ended with, for tests that hold it
    // against a plain transcription of the search.
    struct search_trace {
        // The first min(N, 50) slots of the sorted list, after the fine stage.
        std::vector<std::pair<double, int> > list;
        // The best cell of each slot's user, as the verify stage read it.
        std::vector<int> cells;
        std::vector<CANDINATE_INFO> candidates;
        std::string const* chosen = nullptr;
    };
    // normal_lib_match (on_workers false) or parell_lib_match, recording what
    // the search ended with when `trace` is not null. The caller holds `mutex`.
    std::string const* lib_match(cell_type const& probe, bool on_workers,
                                 search_trace* trace) const;
    // The coarse stage of that search alone: the best min(N, 50) users as
    // (distance, user index, cell), sorted by distance and index, and the
    // cell that user 0 won with, which the slots (0.0, 0) of users without a
    // template share. False when a worker failed. The caller holds `mutex`.
    bool coarse_list(cell_type const& probe, bool on_workers, std::vector<coarse_result>& list,
                     int& first_user_cell) const;

    // The number of workers that a parallel partition created from now on
    // starts: hardware_concurrency unless pinned. Only benchmarks pin it;
    // 0 restores the default.
    static void pin_worker_count(unsigned workers);
    static unsigned worker_count();

    // Cells of a template of T cells that each coarse stage compares: every
    // `stride`-th from cell 0.
    static int normal_stride(int cells) { return cells % 5 > 1 ? 5 : 1; }
    static int parallel_stride(int cells) { return cells > 9 && cells % 5 == 0 ? 5 : 1; }
    // (begin, count) of each worker's share of n users with a pool of `pool`
    // workers: one worker per ten users or part of ten, capped by the pool,
    // equal shares and the remainder all to the last worker.
    static std::vector<std::pair<unsigned, unsigned> > worker_shares(unsigned n, unsigned pool);
    // The users of the best slots whose remaining cells the fine stage compares.
    static const int FINE_CANDIDATES = 50;

    // Read access for the owner and for tests.
    std::vector<std::string const*> users_snapshot() const;
    int policy() const;
    float get_print_limit() const;
    float get_vein_limit() const;
    float get_bias() const;
    bool is_parallel() const { return parallel; }

  private:
    // The calling thread's result string. It records which partition made it:
    // a partition created later at the same address must not see a string of
    // one that was destroyed.
    struct identified_name {
        std::uint64_t partition_serial;
        std::string name;
    };
    std::string& thread_name() const;

    void start_workers();
    void stop_workers();
    // Takes blocks of the job's users until none is left, keeping the best.
    static void sweep(sweep_job& job, sweep_result& out);
    // Sets user_slots_ from the store when it does not describe `users`.
    void refresh_slots() const;
    // The coarse stage on the workers; false when one of them failed.
    bool sweep_on_workers(sweep_job& job) const;
    // Fine stage, verify stage and selection over the sorted list.
    std::string const* common_tail(cell_type const& probe, std::vector<coarse_result>& list,
                                   int first_user_cell, search_trace* trace) const;

  public:
    mutable boost::shared_mutex mutex;
    simple_feature_lib const& lib;
    std::vector<std::string const*> users;
    int match_policy;
    float print_limit;
    float vein_limit;
    float bias;
    mutable boost::thread_specific_ptr<identified_name> identify_user_name;
    // The comparer of one-to-one matching. Each partition has its own, so
    // deleting one partition never leaves another with a dangling comparer.
    palm_workflow::i_feature_login* login_process;
    mutable std::map<std::string, std::pair<float, float> > rcg_results;
    bool const parallel;
    unsigned int thread_count;
    std::vector<boost::thread*> threads;
    std::vector<match_thread_data*> thread_data;

  private:
    std::uint64_t const serial_;
    // Each user's sweep slot, beside `users`, and the users as a set, so that
    // assignment need not scan the list.
    mutable std::vector<sweep_slot const*> user_slots_;
    std::unordered_set<std::string const*> members_;
    // Buffers of the search, kept from one probe cell to the next; the
    // partition's lock is held while they are used.
    mutable std::unique_ptr<palm_algorithm::match_probe> prepared_;
    mutable std::unique_ptr<sweep_result> serial_result_;
    mutable std::vector<coarse_result> merged_;
    mutable std::vector<CANDINATE_INFO> candidates_;
};

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_RCG_PARTITION_DEF_H_
