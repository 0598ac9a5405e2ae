#include "palm/calibration/single_frame_calib_calc.h"

#include <algorithm>

#include "palm/calibration/board_extraction.h"
#include "palm/calibration/calib_estimation.h"

using palm_share::palm_image;
using palm_struct::calib_data;
using palm_struct::cp_single;

namespace palm_algorithm {

int single_frame_calib_calc::calib_calc(const palm_image& nir, const palm_image& vl,
                                        calib_data& data) {
    // The label images take the size of the first image, whatever the second.
    int const w = nir.IsValid() ? nir.GetWidth() : 0;
    int const h = nir.IsValid() ? nir.GetHeight() : 0;
    for (palm_image* img : {&nir_hori, &nir_vert, &vl_hori, &vl_vert}) {
        *img = palm_image();
        if (w > 0)
            *img = palm_image(w, h);
    }
    palm_calib::matrix<double> points1(64, 2), points2(64, 2);
    palm_image first(nir), second(vl);
    palm_calib::GrayStretch(first);
    palm_calib::GrayStretch(second);
    if (!palm_calib::ExtractCurveAndPoints(first, nir_hori, nir_vert, points1))
        return CALIB_NO_BOARD_NIR;
    if (!palm_calib::ExtractCurveAndPoints(second, vl_hori, vl_vert, points2))
        return CALIB_NO_BOARD_VL;
    cp_single cp_nir, cp_vl;
    if (!palm_calib::EstimateIntrinsicPara(nir_hori, nir_vert, cp_nir))
        return CALIB_LENS_NIR;
    if (!palm_calib::EstimateIntrinsicPara(vl_hori, vl_vert, cp_vl))
        return CALIB_LENS_VL;
    double hm[9];
    if (!palm_calib::EstimateHomography(points1, points2, cp_nir, cp_vl, hm))
        return CALIB_HOMOGRAPHY;
    palm_calib::Dilate(nir_hori, 3, 3);
    palm_calib::Dilate(nir_vert, 3, 3);
    palm_calib::Dilate(vl_hori, 3, 3);
    palm_calib::Dilate(vl_vert, 3, 3);
    data.nir = cp_nir;
    data.vl = cp_vl;
    std::copy(hm, hm + 9, data.nir_to_vl);
    data.calibrated = true;
    return CALIB_OK;
}

float single_frame_calib_calc::calib_img_definition(const palm_image& img, int top, int bottom,
                                                    int left, int right) {
    return palm_calib::img_definition_Tenengrad(img, top, bottom, left, right);
}

}  // namespace palm_algorithm
