#include "palm/recognition/coarse_stage.h"

#include "palm/recognition/match_thread_data.h"
#include "palm/recognition/rcg_partition_def.h"

namespace palm_recognition {

bool coarse_stage(rcg_partition_def const& partition,
                  palm_feature::palm_cell<palm_feature::single_feature> const& probe,
                  std::vector<coarse_entry>& out) {
    out.clear();
    std::vector<coarse_result> list;
    int first_user_cell = 0;
    if (!partition.coarse_list(probe, partition.parallel, list, first_user_cell))
        return false;
    out.reserve(list.size());
    for (coarse_result const& r : list)
        out.push_back(
            coarse_entry{r.distance, r.index, partition.users[static_cast<std::size_t>(r.index)]});
    return true;
}

}  // namespace palm_recognition
