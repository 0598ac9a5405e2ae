// Calibration parameters of the two cameras: the lens model of each and the
// homography from the near-infrared to the visible-light normal plane.
#ifndef PALM_LOCALISATION_CALIB_DATA_H_
#define PALM_LOCALISATION_CALIB_DATA_H_

#include "palm/image/point.h"

namespace palm_struct {

// One camera, all in pixels. Straight world lines parallel to the horizontal
// axis map to arcs through `left` and `right`, vertical ones to arcs through
// `top` and `bottom`; the four vanishing points are relative to the lens
// centre. A default record is all zero.
struct cp_single {
    double center_x = 0;
    double center_y = 0;
    double focal_x = 0;
    double focal_y = 0;
    _point<double> left{0, 0};
    _point<double> right{0, 0};
    _point<double> top{0, 0};
    _point<double> bottom{0, 0};
};

struct calib_data {
    cp_single nir;
    cp_single vl;
    double nir_to_vl[9] = {0, 0, 0, 0, 0, 0, 0, 0, 0};  // row-major, normalised NIR to VL
    unsigned char reserved[512] = {};                   // never written or read
    bool calibrated = false;
};

}  // namespace palm_struct

#endif  // PALM_LOCALISATION_CALIB_DATA_H_
