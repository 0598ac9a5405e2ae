// How many features an enrolment hands back.
#ifndef PALM_WORKFLOW_ENROLL_FEATURE_COUNT_H_
#define PALM_WORKFLOW_ENROLL_FEATURE_COUNT_H_

namespace palm_workflow {

// The underlying type is fixed so that any int an application passes is a value
// of the type: any other value selects no variants and expects 25 features.
enum enroll_feature_count : int {
    ENROLL_FEATURE_25 = 0,  // five selected frames, each with its four tilted views
    ENROLL_FEATURE_5 = 1    // five selected frames alone
};

}  // namespace palm_workflow

#endif  // PALM_WORKFLOW_ENROLL_FEATURE_COUNT_H_
