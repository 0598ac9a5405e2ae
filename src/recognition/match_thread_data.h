// The work order of one partition worker: which share of the partition's
// users to compare against which probe cell, and where to put the results.
#ifndef PALM_RECOGNITION_MATCH_THREAD_DATA_H_
#define PALM_RECOGNITION_MATCH_THREAD_DATA_H_

#include <string>
#include <utility>
#include <vector>

#include "palm/matching/i_feature_match.h"
#include "palm/feature/palm_cell.h"
#include "palm/feature/single_feature.h"
#include "palm/recognition/match_gate.h"
#include "palm/recognition/simple_feature_lib.h"

namespace palm_recognition {

struct match_thread_data {
    palm_algorithm::i_feature_match* matcher = nullptr;
    simple_feature_lib const* lib = nullptr;
    palm_feature::palm_cell<palm_feature::single_feature> const* probe = nullptr;
    std::vector<std::string const*> const* users = nullptr;
    unsigned int begin = 0;
    unsigned int count = 0;
    // Shared results, one slot per user; shares never overlap.
    std::vector<std::pair<double, int> >* distances = nullptr;
    std::vector<int>* best_cells = nullptr;
    match_gate finish_gate;  // closed while the worker works a share
    match_gate start_gate;   // closed until there is work
    bool running = true;     // false tells the worker to end
    bool failed = false;     // the share ended in an exception
};

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_MATCH_THREAD_DATA_H_
