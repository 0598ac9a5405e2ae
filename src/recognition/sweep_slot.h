// What the coarse stage of an identification reads for one user name. The
// store keeps it beside the interned name, so that a partition reaches it by
// a pointer taken when the user was assigned instead of a tree search per
// user and probe, and it keeps the print codes that the coarse stage samples
// together in one run, so that a search reads them in order.
#ifndef PALM_RECOGNITION_SWEEP_SLOT_H_
#define PALM_RECOGNITION_SWEEP_SLOT_H_

#include <string>

#include "palm/feature/user_palm_feature.h"

namespace palm_recognition {

struct sweep_slot {
    std::string const* name = nullptr;
    // The template stored under the name; null while it has none.
    palm_feature::user_palm_feature const* record = nullptr;
    int cells = 0;
    // The print codes of cells 0, 5, 10, ... of the template one after
    // another, when a coarse stage compares only those; otherwise null.
    unsigned char const* sampled_prints = nullptr;
    int sampled = 0;  // codes in that run
};

// True when some coarse stage compares only cells 0, 5, 10, ... of a template
// of this many cells: the search on the calling thread for T mod 5 above 1,
// the search on the workers for T from 10 on that is a multiple of 5.
inline bool sweep_samples_every_fifth(int cells) {
    return cells % 5 > 1 || (cells > 9 && cells % 5 == 0);
}

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_SWEEP_SLOT_H_
