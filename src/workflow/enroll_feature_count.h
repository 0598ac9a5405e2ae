// How many features an enrolment hands back.
#ifndef PALM_WORKFLOW_ENROLL_FEATURE_COUNT_H_
#define PALM_WORKFLOW_ENROLL_FEATURE_COUNT_H_

namespace palm_workflow {

enum enroll_feature_count {
    ENROLL_FEATURE_25 = 0,  // five selected frames, each with its four tilted views
    ENROLL_FEATURE_5 = 1    // five selected frames alone
};

}  // namespace palm_workflow

#endif  // PALM_WORKFLOW_ENROLL_FEATURE_COUNT_H_
