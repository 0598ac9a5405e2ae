// Base of the process-wide workflow objects (login, enrolment).
#ifndef PALM_WORKFLOW_I_FEATURE_PROCESS_H_
#define PALM_WORKFLOW_I_FEATURE_PROCESS_H_

#include "palm/palm_export.h"

namespace palm_workflow {

class PALM_EXPORT i_feature_process {
public:
    virtual ~i_feature_process() {}
};

}  // namespace palm_workflow

#endif  // PALM_WORKFLOW_I_FEATURE_PROCESS_H_
