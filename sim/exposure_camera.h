// The synthetic camera with exposure: the frame pair the two sensors deliver
// when their registers are set to given values, in a scene whose light can
// change and with a hand that can come closer to the device.
//
// A sensor's grey level is the light reaching it times its register value,
// relative to the register value 128 at which the synthetic camera renders,
// clipped to 0..255, plus a little fresh sensor noise per frame. The
// near-infrared light is the device's own lamp, so it grows with the
// inverse square of the hand's distance; the visible light is the room's.
#ifndef PALM_SIM_EXPOSURE_CAMERA_H_
#define PALM_SIM_EXPOSURE_CAMERA_H_

#include <cstdint>
#include <vector>

#include "palm/image/image_pair.h"
#include "sim/synthetic_camera.h"

namespace palm_test {

struct exposure_scene {
    double nir_light = 1.0;  // lamp strength against the nominal scene
    double vl_light = 1.0;   // room light against the nominal scene
    double distance = 1.0;   // hand distance against the nominal one
};

// The register value at which a sensor sees the rendered grey levels.
const double kNominalRegister = 128.0;

class exposure_camera {
  public:
    // A hand of `identity` held in `pose` at the nominal distance.
    exposure_camera(std::uint32_t identity, const camera_pose& pose);

    // The frame pair for the given register values; frame_seed draws the
    // per-frame sensor noise.
    palm_share::image_pair capture(const exposure_scene& scene, unsigned short li_reg,
                                   unsigned short ir_reg, std::uint32_t frame_seed);

  private:
    // The rendered pair of a hand at `distance`: it looks larger the closer
    // it comes. The last one is kept, as a hand moves slowly.
    const palm_share::image_pair& nominal(double distance);

    std::uint32_t identity_;
    camera_pose pose_;
    double nominal_distance_ = -1.0;
    palm_share::image_pair nominal_;
};

// One sensor: grey levels times gain, rounded, with noise of about `noise`
// grey levels, clipped.
palm_share::palm_image expose(const palm_share::palm_image& rendered, double gain, double noise,
                              std::uint32_t seed);

}  // namespace palm_test

#endif  // PALM_SIM_EXPOSURE_CAMERA_H_
