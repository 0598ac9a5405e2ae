// A synthetic device camera: for a palm identity and a pose it renders the
// synchronised 640 x 480 visible-light and near-infrared frames the device
// would deliver, through the lens model of a calibration record, together
// with where the two finger webs that anchor the region must be found.
//
// The hand lies with its wrist at the top, leaving the frame, four spread
// fingers pointing down the frame and a thumb to one side. Each identity has
// its own hand shape, vein pattern (near-infrared) and print lines (visible
// light); each frame adds uneven light and sensor noise.
#ifndef PALM_SIM_SYNTHETIC_CAMERA_H_
#define PALM_SIM_SYNTHETIC_CAMERA_H_

#include <cstdint>

#include "palm/image/image_pair.h"
#include "palm/image/point.h"
#include "palm/localisation/calib_data.h"
#include "sim/capture_difficulty.h"

namespace palm_test {

struct camera_pose {
    double offset_x = 0;  // palm centre from the lens centre, normal pixels
    double offset_y = 0;
    double rotation = 0;           // degrees, clockwise on screen
    double scale = 1.0;            // hand size against the nominal hand
    double tilt_x = 0;             // degrees about the horizontal axis
    double tilt_y = 0;             // degrees about the vertical axis
    std::uint32_t noise_seed = 1;  // sensor noise of this frame
    double noise = 3.0;            // grey levels
    // What the difficulty levels add (capture_difficulty.h); none by default.
    double stretch = 0;              // skin stretch: largest shift of the palm's surface, pixels
    std::uint32_t stretch_seed = 1;  // the stretch's shape and the room's light
    double blur = 0;                 // defocus: Gaussian sigma, raw pixels
    double shade = 0;                // uneven light: depth of its fall-off across the frame
    double shared = 0;  // weight, 0 to 1, of the creases and vein trunks all hands have alike
};

struct camera_frame {
    palm_share::image_pair frames;  // vl and nir, 640 x 480
    // The two webs the crop reports as key points, raw NIR frame, full
    // resolution: [0] the one first met on the outline (left on screen).
    palm_struct::_point<double> nir_key[2];
};

// Renders one frame pair of palm `identity` in `pose` through `calib` (the
// device's default calibration when null).
camera_frame render_frame_pair(std::uint32_t identity, const camera_pose& pose,
                               const palm_struct::calib_data* calib = nullptr);

// Builds the crop's lens tables from the calibration in force unless they
// exist: the crop's table look-up does not test for them. Cheap once built.
void ensure_lens_tables();

// A pose drawn from the range in which the crop is expected to succeed, with
// the variation of difficulty `d`.
camera_pose random_usable_pose(std::uint32_t seed, difficulty d = DEFAULT_DIFFICULTY);

}  // namespace palm_test

#endif  // PALM_SIM_SYNTHETIC_CAMERA_H_
