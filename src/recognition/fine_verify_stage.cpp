#include "palm/recognition/fine_verify_stage.h"

#include <memory>
#include <utility>

#include "palm/matching/i_feature_match.h"
#include "palm/recognition/decision.h"
#include "palm/recognition/rcg_partition_def.h"

namespace palm_recognition {

float coarse_distance(palm_algorithm::match_probe const& print,
                      palm_feature::user_palm_feature const& t, bool parallel_rule, int& cell) {
    int const cells = t.size();
    int const stride = parallel_rule ? rcg_partition_def::parallel_stride(cells)
                                     : rcg_partition_def::normal_stride(cells);
    float d = 1.0f;
    cell = 0;
    for (int k = 0; k < cells; k += stride) {
        float const e = print.distance(t[k].first.data);
        if (d > e) {
            cell = k;
            d = e;
        }
    }
    return d;
}

void fine_stage(palm_algorithm::match_probe const& print, palm_feature::user_palm_feature const& t,
                double& distance, int& cell) {
    int const cells = t.size();
    if (!(cells > 9 && cells % 5 == 0))
        return;
    for (int b = 0; b < cells; b += 5) {
        for (int c = b + 1; c <= b + 4; ++c) {
            double const e = print.distance(t[c].first.data);
            if (e < distance) {
                distance = e;
                cell = c;
            }
        }
    }
}

candidate_verdict verify_stage(palm_feature::palm_cell<palm_feature::single_feature> const& probe,
                               palm_feature::user_palm_feature const& t, double distance, int cell,
                               accept_limits const& limits) {
    candidate_verdict v{false, static_cast<float>(distance), 1.0f, cell};
    if (!(distance < limits.print_limit))
        return v;
    v.vein_dist = palm_algorithm::get_feature_match_inst()->match(
        probe.second, t[cell].second, palm_algorithm::i_feature_match::DEGREE_ALL);
    if (!(limits.vein_limit > v.vein_dist))
        return v;
    v.accepted = decision(std::make_pair(v.print_dist, v.vein_dist), limits.print_limit,
                          limits.vein_limit, limits.bias);
    return v;
}

std::vector<candidate_verdict> fine_and_verify(
    rcg_partition_def const& partition,
    palm_feature::palm_cell<palm_feature::single_feature> const& probe,
    std::vector<std::string const*> const& users) {
    std::vector<candidate_verdict> out;
    out.reserve(users.size());
    accept_limits const limits{partition.print_limit, partition.vein_limit, partition.bias};
    std::unique_ptr<palm_algorithm::match_probe> print;
    for (std::string const* user : users) {
        palm_feature::user_palm_feature const* const t =
            user == nullptr ? nullptr : partition.lib.find_template(user);
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
        int cell = 0;
        double distance = coarse_distance(*print, *t, partition.parallel, cell);
        fine_stage(*print, *t, distance, cell);
        out.push_back(verify_stage(probe, *t, distance, cell, limits));
    }
    return out;
}

}  // namespace palm_recognition
