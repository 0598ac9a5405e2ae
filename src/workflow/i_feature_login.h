// The login object as callers see it: one frame against the device feature
// library, one frame or one cell against one user's record.
#ifndef PALM_WORKFLOW_I_FEATURE_LOGIN_H_
#define PALM_WORKFLOW_I_FEATURE_LOGIN_H_

#include <utility>
#include <vector>

#include "palm/feature/palm_cell.h"
#include "palm/feature/palm_feature_lib.h"
#include "palm/feature/single_feature.h"
#include "palm/feature/user_palm_feature.h"
#include "palm/image/frame_info.h"
#include "palm/localisation/palm_position.h"
#include "palm/palm_export.h"
#include "palm/workflow/i_feature_process.h"

namespace palm_workflow {

class PALM_EXPORT i_feature_login : public i_feature_process {
  public:
    // Row of the login limits; 1 is the default.
    enum DETECT_INTENSITY : int {
        DETECT_INTENSITY_0 = 0,
        DETECT_INTENSITY_1 = 1,
        DETECT_INTENSITY_2 = 2,
        DETECT_INTENSITY_3 = 3,
        DETECT_INTENSITY_4 = 4
    };

    // One frame against the users `ids` of the feature library; on true
    // `id` and `hand` name the person. `pos` is written in every case.
    virtual bool detect(palm_struct::frame_info const& frame, std::vector<unsigned int> const& ids,
                        palm_algorithm::palm_position& pos, unsigned int& id,
                        palm_feature_lib::hand& hand) = 0;
    // One frame against one record: every (print, vein) distance pair, or
    // nothing when the frame gives no features.
    virtual std::vector<std::pair<float, float> > detect(
        palm_struct::frame_info const& frame, palm_feature::user_palm_feature const& user,
        palm_algorithm::palm_position& pos) = 0;
    // Print and vein code of the frame.
    virtual bool feature_extract(palm_struct::frame_info const& frame,
                                 palm_feature::palm_cell<palm_feature::single_feature>& cell,
                                 palm_algorithm::palm_position& pos) = 0;
    // One (print, vein) distance pair for each cell of `user`, in its order.
    virtual std::vector<std::pair<float, float> > detect(
        palm_feature::palm_cell<palm_feature::single_feature> const& cell,
        palm_feature::user_palm_feature const& user) = 0;
    virtual void set_detect_intnesity(DETECT_INTENSITY v) = 0;
};

}  // namespace palm_workflow

#endif  // PALM_WORKFLOW_I_FEATURE_LOGIN_H_
