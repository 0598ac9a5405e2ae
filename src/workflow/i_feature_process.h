// Base of the process-wide workflow objects (login, enrolment): the region
// extraction both share, and the pre-check and palm position they forward to
// the algorithm objects.
#ifndef PALM_WORKFLOW_I_FEATURE_PROCESS_H_
#define PALM_WORKFLOW_I_FEATURE_PROCESS_H_

#include <string>
#include <vector>

#include "palm/image/crop_results.h"
#include "palm/image/frame_info.h"
#include "palm/image/image_pair.h"
#include "palm/image/palm_image.h"
#include "palm/localisation/palm_position.h"
#include "palm/palm_export.h"

namespace palm_workflow {

class PALM_EXPORT i_feature_process {
  public:
    virtual ~i_feature_process() {}

    // Crops the frame (writing frame.crop) and tests the incline of the line
    // through the two key points; true when rois[0] is usable. An incline
    // equal to max_angle passes.
    virtual bool extract_palm_region(std::vector<palm_share::image_pair>& rois, float max_angle,
                                     palm_struct::frame_info const& frame);
    // The same, leaving a line in the enrolment debug file on a failure.
    // `log` is taken by value: what is appended here dies with the copy.
    virtual bool extract_palm_region_siti_enroll(std::vector<palm_share::image_pair>& rois,
                                                 float max_angle,
                                                 palm_struct::frame_info const& frame,
                                                 std::string log);

    palm_algorithm::palm_position pre_check(palm_share::palm_image const& nir,
                                            palm_struct::_crop_results& res);
    palm_algorithm::palm_position get_palm_pos(palm_struct::_crop_results& res);
};

// Degrees between the line through nir_key[0] and nir_key[1] and the
// horizontal, sign dropped: 0 to 90. A vertical pair divides by 1e-6, not 0.
PALM_EXPORT double palm_incline_degrees(palm_struct::_crop_results const& res);
// The incline test: an incline equal to max_angle passes.
PALM_EXPORT bool incline_within(double incline, float max_angle);

}  // namespace palm_workflow

#endif  // PALM_WORKFLOW_I_FEATURE_PROCESS_H_
