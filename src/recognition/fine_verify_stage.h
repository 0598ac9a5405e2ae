// The stages of an identification after the coarse stage, for one user of
// the list at a time: the fine stage on the print, then the vein of the
// print's best cell and the decision. A partition's own search runs them over
// its list; a search spread over several partitions runs them on the
// partition that holds each user of the merged list. They take a stored
// template of any kind that template_codes.h can read.
#ifndef PALM_RECOGNITION_FINE_VERIFY_STAGE_H_
#define PALM_RECOGNITION_FINE_VERIFY_STAGE_H_

#include <string>
#include <utility>
#include <vector>

#include "palm/feature/palm_cell.h"
#include "palm/feature/single_feature.h"
#include "palm/matching/i_feature_match.h"
#include "palm/matching/match_probe.h"
#include "palm/recognition/candidate_verdict.h"
#include "palm/recognition/decision.h"
#include "palm/recognition/template_codes.h"

namespace palm_recognition {

class rcg_partition_def;

// A partition's three limits, read under its lock.
struct accept_limits {
    float print_limit;
    float vein_limit;
    float bias;
};

// The best print distance over cells 0, s, 2s, ... of a template, s = 5 or
// 1 as `stride` gives it for the template's size; `cell` gets the first cell
// of that distance. 1.0 for no cells.
template <typename Template>
float coarse_distance(palm_algorithm::match_probe const& print, Template const& t, int stride,
                      int& cell) {
    float d = 1.0f;
    cell = 0;
    for (int k = 0; k < t.size(); k += stride) {
        float const e = print.distance(print_code(t, k));
        if (d > e) {
            cell = k;
            d = e;
        }
    }
    return d;
}

// The fine stage: for a template of 10 or more cells in groups of five, the
// four cells behind each sampled one, in order; a strictly smaller distance
// replaces `distance` and `cell`.
template <typename Template>
void fine_stage(palm_algorithm::match_probe const& print, Template const& t, double& distance,
                int& cell) {
    int const cells = t.size();
    if (!(cells > 9 && cells % 5 == 0))
        return;
    for (int b = 0; b < cells; b += 5) {
        for (int c = b + 1; c <= b + 4; ++c) {
            double const e = print.distance(print_code(t, c));
            if (e < distance) {
                distance = e;
                cell = c;
            }
        }
    }
}

// The verify stage: strictly below the print limit, the vein of `cell`
// strictly below the vein limit, and the decision on the pair.
template <typename Template>
candidate_verdict verify_stage(palm_feature::palm_cell<palm_feature::single_feature> const& probe,
                               Template const& t, double distance, int cell,
                               accept_limits const& limits, palm_feature::single_feature& scratch) {
    candidate_verdict v{false, static_cast<float>(distance), 1.0f, cell};
    if (!(distance < limits.print_limit))
        return v;
    v.vein_dist = palm_algorithm::get_feature_match_inst()->match(
        probe.second, vein_feature(t, cell, scratch), palm_algorithm::i_feature_match::DEGREE_ALL);
    if (!(limits.vein_limit > v.vein_dist))
        return v;
    v.accepted = decision(std::make_pair(v.print_dist, v.vein_dist), limits.print_limit,
                          limits.vein_limit, limits.bias);
    return v;
}

// Coarse distance, fine and verify stages of one probe cell for each of
// `users` (names of the partition's store), in the given order, by the
// stride rule of the partition's own search; a name without a template gets
// {false, 1.0, 1.0, -1}. The caller holds the lock of the store and at least
// a shared lock of the partition.
std::vector<candidate_verdict> fine_and_verify(
    rcg_partition_def const& partition,
    palm_feature::palm_cell<palm_feature::single_feature> const& probe,
    std::vector<std::string const*> const& users);

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_FINE_VERIFY_STAGE_H_
