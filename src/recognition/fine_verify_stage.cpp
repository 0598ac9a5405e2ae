#include "palm/recognition/fine_verify_stage.h"

#include <memory>

#include "palm/recognition/rcg_partition_def.h"

namespace palm_recognition {

std::vector<candidate_verdict> fine_and_verify(
    rcg_partition_def const& partition,
    palm_feature::palm_cell<palm_feature::single_feature> const& probe,
    std::vector<std::string const*> const& users) {
    std::vector<candidate_verdict> out;
    out.reserve(users.size());
    accept_limits const limits{partition.print_limit, partition.vein_limit, partition.bias};
    std::unique_ptr<palm_algorithm::match_probe> print;
    palm_feature::single_feature scratch;
    for (std::string const* user : users) {
        auto const* const t = user == nullptr ? nullptr : partition.lib.find_template(user);
        if (t == nullptr) {
            out.push_back(candidate_verdict{false, 1.0f, 1.0f, -1});
            continue;
        }
        if (!print) {
            print.reset(new palm_algorithm::match_probe());
            print->reset(probe.first.data);
        }
        // Recomputing the coarse distance costs a fifth of the fine stage
        // and spares the caller carrying cells between the stages.
        int const cells = t->size();
        int const stride = partition.parallel ? rcg_partition_def::parallel_stride(cells)
                                              : rcg_partition_def::normal_stride(cells);
        int cell = 0;
        double distance = coarse_distance(*print, *t, stride, cell);
        fine_stage(*print, *t, distance, cell);
        out.push_back(verify_stage(probe, *t, distance, cell, limits, scratch));
    }
    return out;
}

}  // namespace palm_recognition
