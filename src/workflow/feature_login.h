// The login object. Its comparison of a cell against a record keeps no state,
// so it may run on many threads at once.
#ifndef PALM_WORKFLOW_FEATURE_LOGIN_H_
#define PALM_WORKFLOW_FEATURE_LOGIN_H_

#include "palm/palm_export.h"
#include "palm/workflow/i_feature_login.h"

namespace palm_workflow {

class PALM_EXPORT feature_login : public i_feature_login {
public:
    feature_login();
    ~feature_login() override;

    std::vector<std::pair<float, float> > detect(
        palm_feature::palm_cell<palm_feature::single_feature> const& cell,
        palm_feature::user_palm_feature const& user) override;
};

// The process-wide login object, made on the first call.
PALM_EXPORT i_feature_login* create_feature_login();
// Destroys `p` when it is one of the process-wide workflow objects; any other
// pointer, null included, is left alone.
PALM_EXPORT void destroy_feature_process(i_feature_process* p);

}  // namespace palm_workflow

#endif  // PALM_WORKFLOW_FEATURE_LOGIN_H_
