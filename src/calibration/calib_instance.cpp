// The process-wide calibration object.
#include "palm/calibration/single_frame_calib_calc.h"

namespace palm_algorithm {

namespace {
single_frame_calib_calc g_calib_calc;
}  // namespace

i_calib_calc* get_calib_inst() {
    return &g_calib_calc;
}

void release_calib_inst() {}

}  // namespace palm_algorithm
