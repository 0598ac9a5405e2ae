#include "palm/workflow/i_feature_process.h"

#include <cmath>
#include <cstdlib>

#include "palm/capture/i_palm_precheck.h"
#include "palm/localisation/i_palm_crop.h"
#include "palm/workflow/enroll_debug_log.h"

using palm_share::image_pair;
using palm_struct::frame_info;

namespace palm_workflow {

namespace {

const double RADIANS_TO_DEGREES = 57.29577951307855;

int crop_frame(std::vector<image_pair>& rois, frame_info const& frame) {
    image_pair in;
    in.vl = frame.vl;
    in.nir = frame.nir;
    return palm_algorithm::get_crop_inst()->Crop(in, rois, frame.crop);
}

}  // namespace

double palm_incline_degrees(palm_struct::_crop_results const& res) {
    double const dy = std::abs(res.nir_key[1].y - res.nir_key[0].y);
    double const dx = std::abs(res.nir_key[1].x - res.nir_key[0].x);
    return std::atan(dy / (dx + 1e-6)) * RADIANS_TO_DEGREES;
}

bool incline_within(double incline, float max_angle) {
    return incline <= static_cast<double>(max_angle);
}

bool i_feature_process::extract_palm_region(std::vector<image_pair>& rois, float max_angle,
                                            frame_info const& frame) {
    if (crop_frame(rois, frame) != 0)
        return false;
    return incline_within(palm_incline_degrees(frame.crop), max_angle);
}

bool i_feature_process::extract_palm_region_siti_enroll(std::vector<image_pair>& rois,
                                                        float max_angle, frame_info const& frame,
                                                        std::string log) {
    if (crop_frame(rois, frame) != 0) {
        log += enroll_debug_log::CROP_FAILED;
        enroll_debug_log::write_line(log);
        return false;
    }
    double const incline = palm_incline_degrees(frame.crop);
    if (!incline_within(incline, max_angle)) {
        log += enroll_debug_log::ANGLE_TOO_LARGE;
        log += enroll_debug_log::fixed5(incline);
        enroll_debug_log::write_line(log);
        return false;
    }
    return true;
}

palm_algorithm::palm_position i_feature_process::pre_check(palm_share::palm_image const& nir,
                                                           palm_struct::_crop_results& res) {
    return palm_algorithm::get_palm_precheck_inst()->PreCheck(nir, res);
}

palm_algorithm::palm_position i_feature_process::get_palm_pos(palm_struct::_crop_results& res) {
    return palm_algorithm::get_crop_inst()->GetPalmPos(res);
}

}  // namespace palm_workflow
