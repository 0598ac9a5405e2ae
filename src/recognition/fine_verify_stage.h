// The stages of an identification after the coarse stage, for one user of
// the list at a time: the fine stage on the print, then the vein of the
// print's best cell and the decision. A partition's own search runs them over
// its list; a search spread over several partitions runs them on the
// partition that holds each user of the merged list.
#ifndef PALM_RECOGNITION_FINE_VERIFY_STAGE_H_
#define PALM_RECOGNITION_FINE_VERIFY_STAGE_H_

#include <string>
#include <vector>

#include "palm/feature/palm_cell.h"
#include "palm/feature/single_feature.h"
#include "palm/feature/user_palm_feature.h"
#include "palm/matching/match_probe.h"
#include "palm/recognition/candidate_verdict.h"

namespace palm_recognition {

class rcg_partition_def;

// A partition's three limits, read under its lock.
struct accept_limits {
    float print_limit;
    float vein_limit;
    float bias;
};

// The best print distance over cells 0, s, 2s, ... of a template, with the
// stride of the search on the workers (`parallel_rule`) or on the calling
// thread; `cell` gets the first cell of that distance. 1.0 for no cells.
float coarse_distance(palm_algorithm::match_probe const& print,
                      palm_feature::user_palm_feature const& t, bool parallel_rule, int& cell);

// The fine stage: for a template of 10 or more cells in groups of five, the
// four cells behind each sampled one, in order; a strictly smaller distance
// replaces `distance` and `cell`.
void fine_stage(palm_algorithm::match_probe const& print, palm_feature::user_palm_feature const& t,
                double& distance, int& cell);

// The verify stage: strictly below the print limit, the vein of `cell`
// strictly below the vein limit, and the decision on the pair.
candidate_verdict verify_stage(palm_feature::palm_cell<palm_feature::single_feature> const& probe,
                               palm_feature::user_palm_feature const& t, double distance, int cell,
                               accept_limits const& limits);

// Coarse distance, fine and verify stages of one probe cell for each of
// `users` (names of the partition's store), in the given order; a name
// without a template gets {false, 1.0, 1.0, -1}. The caller holds the lock
// of the store and at least a shared lock of the partition.
std::vector<candidate_verdict> fine_and_verify(
    rcg_partition_def const& partition,
    palm_feature::palm_cell<palm_feature::single_feature> const& probe,
    std::vector<std::string const*> const& users);

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_FINE_VERIFY_STAGE_H_
