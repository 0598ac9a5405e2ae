// The pre-check: thresholds the near-infrared frame and compares its white
// area with the prompt rectangle. It keeps no state.
#ifndef PALM_CAPTURE_PALM_PRECHECK_H_
#define PALM_CAPTURE_PALM_PRECHECK_H_

#include "palm/capture/i_palm_precheck.h"
#include "palm/palm_export.h"

namespace palm_algorithm {

class PALM_EXPORT CPalmPreCheck : public i_palm_precheck {
  public:
    // Open bounds of area_percent: both limits themselves are POS_OK.
    static constexpr double MIN_AREA_PERCENT = 49.0;
    static constexpr double MAX_AREA_PERCENT = 100.0;

    palm_position PreCheck(const palm_share::palm_image& image,
                           palm_struct::_crop_results& res) override;
    palm_position PreCheck_siti_enroll(const palm_share::palm_image& image,
                                       palm_struct::_crop_results& res, std::string& log) override;

    // White pixels of the thresholded image against the rectangle's area,
    // percent. The count goes through the white ratio and back, truncated,
    // which can lose one pixel.
    static double area_percent(const palm_share::palm_image& image);
    static palm_position verdict(double area_percent);
};

extern CPalmPreCheck g_palm_precheck;

}  // namespace palm_algorithm

#endif  // PALM_CAPTURE_PALM_PRECHECK_H_
