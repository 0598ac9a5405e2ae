// A whole enrolment from a synthetic capture stream, frame by frame as a
// device application drives it, and the accuracy tally of logins.
#ifndef PALM_SIM_STREAM_ENROLMENT_H_
#define PALM_SIM_STREAM_ENROLMENT_H_

#include <vector>

#include "palm/feature/user_palm_feature.h"
#include "palm/workflow/i_feature_enroll.h"
#include "sim/synthetic_stream.h"

namespace palm_test {

struct stream_enrolment {
    int stage = 0;              // 3 finished, -1 given up, else the stream ran out
    int frames = 0;             // frames offered, up to the one that ended it
    std::vector<int> changes;   // frames at which enrolling returned true
    bool has_features = false;  // get_features() gave a record
    palm_feature::user_palm_feature features;
};

// reset(), then enrolling() for each frame until the stage is 3 or -1.
stream_enrolment enrol_from_stream(palm_workflow::i_feature_enroll& enroll,
                                   capture_stream const& stream);

}  // namespace palm_test

#endif  // PALM_SIM_STREAM_ENROLMENT_H_
