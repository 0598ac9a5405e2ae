// A partition: the list of users that one identification searches among, with
// its own accept limits and, when created parallel, its own worker threads.
// It copies no template: users are pointers to the store's name strings.
#ifndef PALM_RECOGNITION_RCG_PARTITION_DEF_H_
#define PALM_RECOGNITION_RCG_PARTITION_DEF_H_

#include <boost/thread/shared_mutex.hpp>
#include <boost/thread/tss.hpp>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "palm/matching/i_feature_match.h"

#include "palm/feature/palm_cell.h"
#include "palm/feature/single_feature.h"
#include "palm/feature/user_palm_feature.h"
#include "palm/recognition/simple_feature_lib.h"

namespace boost {
class thread;
}
namespace palm_workflow {
class i_feature_login;
}

namespace palm_recognition {

struct match_thread_data;

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
    // Coarse stage for users [begin, begin + count): the best print distance
    // of each over every `stride`-th cell of its template.
    static void coarse_stage(palm_algorithm::i_feature_match* matcher,
                             simple_feature_lib const& lib, cell_type const& probe,
                             std::vector<std::string const*> const& users, unsigned begin,
                             unsigned count, bool parallel_rule,
                             std::vector<std::pair<double, int> >& distances,
                             std::vector<int>& best_cells);
    // Sort, fine stage, verify stage and selection, shared by both searches.
    std::string const* common_tail(cell_type const& probe,
                                   std::vector<std::pair<double, int> >& distances,
                                   std::vector<int>& best_cells) const;

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
};

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_RCG_PARTITION_DEF_H_
