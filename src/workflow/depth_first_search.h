// Connected components of the candidate graph of an enrolment.
#ifndef PALM_WORKFLOW_DEPTH_FIRST_SEARCH_H_
#define PALM_WORKFLOW_DEPTH_FIRST_SEARCH_H_

#include <vector>

#include "palm/calibration/matrix.h"
#include "palm/palm_export.h"

namespace palm_workflow {

// Marks every cell reachable from `node` as visited and labels it `root`.
// The recursion is as deep as the component, at most 33 cells in use.
PALM_EXPORT void _depth_first_search(palm_struct::matrix<bool> const& graph, int node, int root,
                                     std::vector<bool>& visited, std::vector<int>& label);

}  // namespace palm_workflow

#endif  // PALM_WORKFLOW_DEPTH_FIRST_SEARCH_H_
