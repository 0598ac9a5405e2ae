// The work order of one partition worker, the coarse stage of one probe cell
// that all of them share, and what each of them hands back.
#ifndef PALM_RECOGNITION_MATCH_THREAD_DATA_H_
#define PALM_RECOGNITION_MATCH_THREAD_DATA_H_

#include <atomic>
#include <string>
#include <vector>

#include "palm/matching/match_probe.h"
#include "palm/recognition/match_gate.h"
#include "palm/recognition/simple_feature_lib.h"
#include "palm/recognition/sweep_slot.h"

namespace palm_recognition {

// One user's place in the list of an identification: the key (distance,
// user index) by which the list is ordered, and the template cell that gave
// the distance. A user without a template has the key (0.0, 0).
struct coarse_result {
    double distance;
    int index;
    int cell;

    bool operator<(coarse_result const& o) const {
        return distance < o.distance || (distance == o.distance && index < o.index);
    }
};

// The coarse stage of one probe cell over the users of a partition. Users are
// handed out in blocks, in order, to whoever asks next.
struct sweep_job {
    palm_algorithm::match_probe const* probe = nullptr;  // the cell's print, prepared
    simple_feature_lib const* lib = nullptr;
    std::vector<std::string const*> const* users = nullptr;
    std::vector<sweep_slot const*> const* slots = nullptr;  // beside users
    bool parallel_rule = true;                              // which stride rule
    unsigned keep = 0;                                      // length of the list
    std::atomic<unsigned> next{0};                          // first user not handed out
};

// What one sweeper keeps of the users it compared: the `keep` best as a heap,
// largest key on top, and, if it met user 0, the cell that user 0 won with.
struct sweep_result {
    std::vector<coarse_result> best;
    bool saw_first_user = false;
    int first_user_cell = 0;
};

struct match_thread_data {
    sweep_job* job = nullptr;
    sweep_result result;
    match_gate finish_gate;  // closed while the worker works
    match_gate start_gate;   // closed until there is work
    bool running = true;     // false tells the worker to end
    bool failed = false;     // the share ended in an exception
};

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_MATCH_THREAD_DATA_H_
