// The lens model: between the undistorted normal plane of a camera and its
// raw frame, both relative to the lens centre, in double precision.
#ifndef PALM_LOCALISATION_LENS_MAPPING_H_
#define PALM_LOCALISATION_LENS_MAPPING_H_

#include "palm/image/point.h"
#include "palm/localisation/calib_data.h"
#include "palm/palm_export.h"

namespace palm_algorithm {

// Normal to raw.
PALM_EXPORT void MappingForward(const palm_struct::_point<double>& in,
                                palm_struct::_point<double>& out, const palm_struct::cp_single& cp);
// Raw to normal.
PALM_EXPORT void MappingBackward(const palm_struct::_point<double>& in,
                                 palm_struct::_point<double>& out,
                                 const palm_struct::cp_single& cp);

}  // namespace palm_algorithm

// The calibration's copies, identical to the ones above.
PALM_EXPORT void MappingForward(const palm_struct::_point<double>& in,
                                palm_struct::_point<double>& out, const palm_struct::cp_single& cp);
PALM_EXPORT void MappingBackward(const palm_struct::_point<double>& in,
                                 palm_struct::_point<double>& out,
                                 const palm_struct::cp_single& cp);

#endif  // PALM_LOCALISATION_LENS_MAPPING_H_
