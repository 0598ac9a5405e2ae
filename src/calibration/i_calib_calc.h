// i_calib_calc: turns one frame pair of the calibration board into the lens
// models of both cameras and the homography between them, and measures the
// focus of an image. The process has one object, reached by get_calib_inst();
// callers never free it.
#ifndef PALM_CALIBRATION_I_CALIB_CALC_H_
#define PALM_CALIBRATION_I_CALIB_CALC_H_

#include "palm/image/palm_image.h"
#include "palm/localisation/calib_data.h"
#include "palm/palm_export.h"

namespace palm_algorithm {

class PALM_EXPORT i_calib_calc {
  public:
    virtual ~i_calib_calc() {}
    // 0 when data holds the new calibration; 1 to 5 name the failing step
    // and leave data untouched. nir first, vl second, as calib_data stores them.
    virtual int calib_calc(const palm_share::palm_image& nir, const palm_share::palm_image& vl,
                           palm_struct::calib_data& data) = 0;
    // Focus measure of a window of img: the Tenengrad gradient energy.
    virtual float calib_img_definition(const palm_share::palm_image& img, int top, int bottom,
                                       int left, int right) = 0;
};

PALM_EXPORT i_calib_calc* get_calib_inst();
// Does nothing: the calibration object lives as long as the process.
PALM_EXPORT void release_calib_inst();

}  // namespace palm_algorithm

#endif  // PALM_CALIBRATION_I_CALIB_CALC_H_
