// _crop_results: what localisation found in one frame pair. The crop writes
// key points, corners, angle and offsets; the pre-check writes area_percent.
#ifndef PALM_IMAGE_CROP_RESULTS_H_
#define PALM_IMAGE_CROP_RESULTS_H_

#include "palm/image/point.h"

namespace palm_struct {

// A new record holds zero points and the offsets of a frame not yet located.
struct _crop_results {
    _point<int> nir_key_normal[2] = {};     // key points, NIR normal coordinates
    _point<int> nir_corner_normal[4] = {};  // ROI corners, NIR normal coordinates
    _point<int> nir_key[2] = {};            // key points, raw NIR frame
    _point<int> nir_corner[4] = {};         // ROI corners, raw NIR frame
    _point<int> vl_key_normal[2] = {};      // key points carried to VL normal coordinates
    _point<int> vl_corner_normal[4] = {};   // ROI corners, VL normal coordinates
    _point<int> vl_key[2] = {};             // key points, raw VL frame
    _point<int> vl_corner[4] = {};          // ROI corners, raw VL frame
    double area_percent = 0.0;              // white area against the prompt rectangle, percent
    double rotate_angle = 0.0;              // radians, between nir_key[0] and nir_key[1]
    int palm_offset_x = -10000;             // palm centre minus frame centre; -10000 until located
    int palm_offset_y = -10000;
};

}  // namespace palm_struct

#endif  // PALM_IMAGE_CROP_RESULTS_H_
