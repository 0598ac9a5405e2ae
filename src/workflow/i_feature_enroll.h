// The enrolment object as callers see it: frames of one hand in, the
// features of a template out once three stages are complete.
#ifndef PALM_WORKFLOW_I_FEATURE_ENROLL_H_
#define PALM_WORKFLOW_I_FEATURE_ENROLL_H_

#include <string>
#include <vector>

#include "palm/feature/user_palm_feature.h"
#include "palm/image/frame_info.h"
#include "palm/localisation/palm_position.h"
#include "palm/palm_export.h"
#include "palm/workflow/enroll_feature_count.h"
#include "palm/workflow/i_feature_process.h"

namespace palm_workflow {

class PALM_EXPORT i_feature_enroll : public i_feature_process {
  public:
    // Offers one frame; true when get_stage() changed or failed.
    virtual bool enrolling(palm_struct::frame_info const& frame,
                           palm_algorithm::palm_position& pos) = 0;
    // The same with a stage chosen by the caller, an answer whether the
    // frame was taken, and a debug line for each rejection.
    virtual bool enrolling_siti_enroll(palm_struct::frame_info const& frame,
                                       palm_algorithm::palm_position& pos, int stage,
                                       std::string log, bool& accepted) = 0;
    // The template after stage 3, owned by the object; null otherwise.
    virtual palm_feature::user_palm_feature* get_features() = 0;
    virtual void reset() = 0;
    virtual int get_required_count() const = 0;
    virtual int candidates_count() const = 0;
    // 0, 1, 2 collecting; 3 finished; -1 given up.
    virtual int get_stage() const = 0;
    virtual std::vector<palm_struct::frame_info> const& get_images() const = 0;
};

// The process-wide enrolment object, made on the first call with `count`;
// later calls return it and ignore `count`.
PALM_EXPORT i_feature_enroll* create_feature_enroll(enroll_feature_count count);

}  // namespace palm_workflow

#endif  // PALM_WORKFLOW_I_FEATURE_ENROLL_H_
