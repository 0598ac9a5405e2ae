// Trimming of the candidates: after stages 0 and 1 the stage's candidates are
// kept; after stage 2 the 33 cells are reduced to the groups of alike frames
// and, in each group, to the members farthest from the rest of it.
#include <algorithm>

#include "palm/calibration/matrix.h"
#include "palm/extraction/i_feature_extractor.h"
#include "palm/localisation/i_palm_crop.h"
#include "palm/matching/i_feature_match.h"
#include "palm/workflow/depth_first_search.h"
#include "palm/workflow/feature_enroll.h"

namespace palm_workflow {

const float feature_enroll::ENROLL_MAX_DISTANCE = 0.36f;

void _depth_first_search(palm_struct::matrix<bool> const& graph, int node, int root,
                         std::vector<bool>& visited, std::vector<int>& label) {
    visited[node] = true;
    label[node] = root;
    int const n = static_cast<int>(visited.size());
    for (int k = 0; k < n; ++k) {
        if (k != node && !visited[k] && graph[node][k])
            _depth_first_search(graph, k, root, visited, label);
    }
}

int feature_enroll::trim_candidates() {
    int r = 0;
    switch (stage) {
        case 0:
            r = trim_candidates_stage();
            break;
        case 1:
            r = trim_candidates_stage() - 10;
            break;
        case 2: {
            int const t = trim_candidates_stage();
            r = t == 21 ? 0 : trim_candidates_stage_last();
            break;
        }
        default:
            return 0;
    }
    candidates.clear();
    candidate_frames.clear();
    return r;
}

int feature_enroll::trim_candidates_stage() {
    if (candidate_frames.size() != static_cast<std::size_t>(REQUIRED_COUNT))
        return 0;
    stage_frames.insert(stage_frames.end(), candidate_frames.begin(), candidate_frames.end());
    stage_cells.insert(stage_cells.end(), candidates.begin(), candidates.end());
    return static_cast<int>(stage_frames.size());
}

int feature_enroll::trim_candidates_stage_last() {
    selected.clear();
    int const n = static_cast<int>(stage_cells.size());
    if (n > MOST_CELLS)
        return 0;
    double distances[MOST_CELLS][MOST_CELLS] = {};
    palm_struct::matrix<bool> graph(MOST_CELLS, MOST_CELLS);
    palm_algorithm::i_feature_match* const matcher = palm_algorithm::get_feature_match_inst();
    for (int i = 0; i < n; ++i) {
        for (int j = i + 1; j < n; ++j) {
            double const d = matcher->match(stage_cells[i].first, stage_cells[j].first,
                                            palm_algorithm::i_feature_match::DEGREE_ALL);
            distances[i][j] = d;
            distances[j][i] = d;
            bool const near = neighbours(static_cast<float>(d));
            graph[i][j] = near;
            graph[j][i] = near;
        }
    }
    std::vector<bool> visited(n, false);
    std::vector<int> label(n);
    for (int i = 0; i < n; ++i)
        label[i] = i;
    for (int i = 0; i < n; ++i) {
        if (!visited[i])
            _depth_first_search(graph, i, i, visited, label);
    }
    std::vector<int> sizes(n, 0);
    for (int i = 0; i < n; ++i)
        ++sizes[label[i]];

    static const int RANGES[5][2] = {{0, 11}, {11, 22}, {22, 33}, {0, 33}, {0, 33}};
    for (int c = 0; c < n; ++c) {
        if (sizes[c] < SMALLEST_GROUP)
            continue;
        double scores[MOST_CELLS] = {};
        for (int i = 0; i < n; ++i) {
            if (label[i] != c)
                continue;
            double sum = 0.0;
            for (int j = 0; j < n; ++j) {
                if (label[j] == c)
                    sum += distances[i][j];
            }
            scores[i] = sum;
        }
        for (auto const& range : RANGES) {
            std::vector<cell_type> const cells = candidates_select(scores, range[0], range[1]);
            selected.insert(selected.end(), cells.begin(), cells.end());
        }
    }
    return static_cast<int>(selected.size());
}

std::vector<feature_enroll::cell_type> feature_enroll::candidates_select(double* scores, int begin,
                                                                         int end) {
    std::vector<cell_type> out;
    if (scores == nullptr || begin < 0 || end > MOST_CELLS || begin >= end)
        return out;
    int const idx = static_cast<int>(std::max_element(scores + begin, scores + end) - scores);
    scores[idx] = 0.0;
    // The ranges are fixed at 11, 22 and 33: with fewer cells in the stages
    // a range can name a cell that is not there, and then nothing is taken.
    if (idx >= static_cast<int>(stage_cells.size()) || idx >= static_cast<int>(stage_frames.size()))
        return out;
    out.push_back(stage_cells[idx]);
    if (count != ENROLL_FEATURE_25)
        return out;
    palm_struct::frame_info const& f = stage_frames[idx];
    std::vector<palm_share::palm_image> vl_views;
    std::vector<palm_share::palm_image> nir_views;
    palm_algorithm::i_palm_crop* const crop = palm_algorithm::get_crop_inst();
    crop->AffineTransform(f.vl, vl_views, false, f.crop);
    crop->AffineTransform(f.nir, nir_views, true, f.crop);
    palm_algorithm::i_feature_extractor* const extractor = palm_algorithm::get_extractor_inst();
    std::size_t const views = std::min<std::size_t>(4, std::min(vl_views.size(), nir_views.size()));
    for (std::size_t k = 0; k < views; ++k) {
        cell_type cell;
        extractor->extract(vl_views[k], cell.first);
        extractor->extract(nir_views[k], cell.second);
        out.push_back(cell);
    }
    return out;
}

}  // namespace palm_workflow
