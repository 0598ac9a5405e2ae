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

#include "recognition/simple_feature_lib.h"

namespace palm_recognition {

class rcg_partition_def {
public:
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

public:
    mutable boost::shared_mutex mutex;
    simple_feature_lib const& lib;
    std::vector<std::string const*> users;
    int match_policy;
    float print_limit;
    float vein_limit;
    float bias;
    mutable boost::thread_specific_ptr<identified_name> identify_user_name;
    mutable std::map<std::string, std::pair<float, float> > rcg_results;
    bool const parallel;

private:
    std::uint64_t const serial_;
};

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_RCG_PARTITION_DEF_H_
