// A plane homography given as nine row-major values, applied forward or
// backward to one point.
#ifndef PALM_SIM_PLANE_HOMOGRAPHY_H_
#define PALM_SIM_PLANE_HOMOGRAPHY_H_

#include "palm/image/point.h"

namespace palm_test {

palm_struct::_point<double> apply_homography(const double* h, palm_struct::_point<double> p);
// The inverse by the adjugate.
palm_struct::_point<double> apply_inverse_homography(const double* h,
                                                     palm_struct::_point<double> p);

}  // namespace palm_test

#endif  // PALM_SIM_PLANE_HOMOGRAPHY_H_
