// The device's store of enrolled hands: up to two hand records per numeric
// palm id. Login detection locks it for the whole of a search and finds ids
// through a data_locator while it holds the lock. The process has one
// library, so this is a namespace of free functions, not a class.
#ifndef PALM_FEATURE_PALM_FEATURE_LIB_H_
#define PALM_FEATURE_PALM_FEATURE_LIB_H_

#include <string>
#include <vector>

#include "palm/feature/user_palm_feature.h"
#include "palm/palm_export.h"

namespace palm_feature_lib {

// Selects a slot: 1 is the first hand, every other value the second.
enum hand : int { second_hand = 0, first_hand = 1 };

// The two hands of one id; each slot owns its record or is null.
struct PALM_EXPORT two_hand_feature {
    two_hand_feature(palm_feature::user_palm_feature const* a,
                     palm_feature::user_palm_feature const* b);
    ~two_hand_feature();
    two_hand_feature(two_hand_feature const&) = delete;
    two_hand_feature& operator=(two_hand_feature const&) = delete;

    // Replaces the selected slot by a deep copy of `user`.
    void update(palm_feature::user_palm_feature const& user, hand h);

    palm_feature::user_palm_feature* first_hand;
    palm_feature::user_palm_feature* second_hand;
};

// What a caller locks with; find() answers only on the thread that holds the
// lock, and its pointers stay valid until unlock().
class PALM_EXPORT data_locator {
  public:
    two_hand_feature* find(unsigned int id);
};

// Takes the library's lock and keeps it. Blocks while another thread holds
// it; false, without blocking, when the calling thread holds it already.
PALM_EXPORT bool lock(data_locator* locator);
// Releases the lock; does nothing on a thread that does not hold it.
PALM_EXPORT void unlock();

// The ids: ascending as first built, then new ids at the end. The vector is
// the calling thread's own copy, brought up to date by each query() and by
// that thread's update() and remove(), so it never changes under a reader.
PALM_EXPORT std::vector<unsigned int> const& query();
PALM_EXPORT int size();
PALM_EXPORT bool exist(unsigned int id);
PALM_EXPORT bool remove(unsigned int id);
PALM_EXPORT bool update(unsigned int id, palm_feature::user_palm_feature const* user, hand h);
PALM_EXPORT bool load(unsigned int id, std::string const& path, hand h);
// New records the caller owns; null when the file does not load or the
// argument is null.
PALM_EXPORT palm_feature::user_palm_feature* clone(std::string const& path);
PALM_EXPORT palm_feature::user_palm_feature* clone(palm_feature::user_palm_feature* user);

}  // namespace palm_feature_lib

#endif  // PALM_FEATURE_PALM_FEATURE_LIB_H_
