// The coarse stage of an identification on its own, so that a search spread
// over several partitions can merge the best of each before the fine stage.
#ifndef PALM_RECOGNITION_COARSE_STAGE_H_
#define PALM_RECOGNITION_COARSE_STAGE_H_

#include <string>
#include <vector>

#include "palm/feature/palm_cell.h"
#include "palm/feature/single_feature.h"

namespace palm_recognition {

class rcg_partition_def;

// One user of the coarse list: its best sampled print distance, its index in
// the partition's users (the order in which it was assigned, which breaks
// ties) and its name.
struct coarse_entry {
    double distance;
    int order;
    std::string const* user;

    // The order of the list; merging the lists of partitions that hold
    // disjoint users, with `order` counted over all of them, keeps it.
    bool operator<(coarse_entry const& o) const {
        return distance < o.distance || (distance == o.distance && order < o.order);
    }
};

// The best min(N, 50) users of a partition for one probe cell, sorted, by the
// stride rule of the partition's own search (on its workers when it is
// parallel). A user without a template stands as (0.0, 0) under the name of
// user 0, as in the partition's own list. False when a worker failed. The
// caller holds the store's lock and the partition's lock exclusively.
bool coarse_stage(rcg_partition_def const& partition,
                  palm_feature::palm_cell<palm_feature::single_feature> const& probe,
                  std::vector<coarse_entry>& out);

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_COARSE_STAGE_H_
