// single_frame_calib_calc: the calibration from one frame of each camera.
// It keeps the curve label images of its last run; nothing in the library
// reads them afterwards. One thread at a time, and no crop may run on the
// result while it computes.
#ifndef PALM_CALIBRATION_SINGLE_FRAME_CALIB_CALC_H_
#define PALM_CALIBRATION_SINGLE_FRAME_CALIB_CALC_H_

#include "palm/calibration/i_calib_calc.h"
#include "palm/image/palm_image.h"
#include "palm/palm_export.h"

namespace palm_algorithm {

class PALM_EXPORT single_frame_calib_calc : public i_calib_calc {
  public:
    // Codes of calib_calc.
    static const int CALIB_OK = 0;
    static const int CALIB_NO_BOARD_NIR = 1;
    static const int CALIB_NO_BOARD_VL = 2;
    static const int CALIB_LENS_NIR = 3;
    static const int CALIB_LENS_VL = 4;
    static const int CALIB_HOMOGRAPHY = 5;

    ~single_frame_calib_calc() override {}
    int calib_calc(const palm_share::palm_image& nir, const palm_share::palm_image& vl,
                   palm_struct::calib_data& data) override;
    float calib_img_definition(const palm_share::palm_image& img, int top, int bottom, int left,
                               int right) override;

    palm_share::palm_image nir_hori;  // across-curves of the first image
    palm_share::palm_image nir_vert;  // down-curves of the first image
    palm_share::palm_image vl_hori;   // across-curves of the second image
    palm_share::palm_image vl_vert;   // down-curves of the second image
};

}  // namespace palm_algorithm

#endif  // PALM_CALIBRATION_SINGLE_FRAME_CALIB_CALC_H_
