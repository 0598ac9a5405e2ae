// The login object as callers see it: comparison of a capture with the cells
// of a record, handing back raw distances for the caller to decide on.
#ifndef PALM_WORKFLOW_I_FEATURE_LOGIN_H_
#define PALM_WORKFLOW_I_FEATURE_LOGIN_H_

#include <utility>
#include <vector>

#include "palm/feature/palm_cell.h"
#include "palm/feature/single_feature.h"
#include "palm/feature/user_palm_feature.h"
#include "palm/palm_export.h"
#include "palm/workflow/i_feature_process.h"

namespace palm_workflow {

class PALM_EXPORT i_feature_login : public i_feature_process {
public:
    // One (print, vein) distance pair for each cell of `user`, in its order.
    virtual std::vector<std::pair<float, float> > detect(
        palm_feature::palm_cell<palm_feature::single_feature> const& cell,
        palm_feature::user_palm_feature const& user) = 0;
};

}  // namespace palm_workflow

#endif  // PALM_WORKFLOW_I_FEATURE_LOGIN_H_
