// The top object of the server side: the template store and the table of
// partitions, under one reader-writer lock. Changing templates or the table
// is exclusive; matching, policies and assignments share the lock, so a
// template cannot change or go while it is being compared.
#ifndef PALM_RECOGNITION_RCG_ENVIRONMENT_H_
#define PALM_RECOGNITION_RCG_ENVIRONMENT_H_

#include <boost/thread/shared_mutex.hpp>
#include <map>

#include "palm/recognition/rcg_partition_def.h"
#include "palm/recognition/simple_feature_lib.h"

namespace palm_recognition {

class rcg_environment : public simple_feature_lib {
  public:
    rcg_environment();
    ~rcg_environment();

    bool push_template(char const* user, char const* feature_text);
    bool delete_template(char const* user);
    void clear_templates();

    bool create_partition(int id, bool parallel);
    bool delete_partition(int id);
    // Drops every entry without destroying the partitions: their workers stay
    // blocked and their memory taken until the process ends.
    void clear_partitions();

    bool assign_user_to_partition(int id, char const* user);
    void remove_user_from_partition(int id, char const* user);
    bool set_match_policy(int id, int policy);

    bool match_1v1(int id, char const* a, char const* spare, char const* b) const;
    bool match_1v1_in_lib(int id, char const* text, char const* spare, char const* user) const;
    bool match_1vN(int id, char const* text, char const* spare);
    char const* get_identify_user_name(int id);
    void reset_identify_process(int id);

    // The partition under an id, or null; the caller holds `mutex`.
    rcg_partition_def* find_partition(int id) const;

    std::map<int, rcg_partition_def*> partitions;
    mutable boost::shared_mutex mutex;
};

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_RCG_ENVIRONMENT_H_
