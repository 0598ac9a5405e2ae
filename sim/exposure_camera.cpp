#include "sim/exposure_camera.h"

#include <algorithm>
#include <cmath>

namespace palm_test {

namespace {

// Fresh noise of each exposure, grey levels.
const double kSensorNoise = 1.5;

}  // namespace

palm_share::palm_image expose(const palm_share::palm_image& rendered, double gain, double noise,
                              std::uint32_t seed) {
    palm_share::palm_image out;
    if (!out.Create(rendered.GetWidth(), rendered.GetHeight(), static_cast<unsigned char>(0)))
        return out;
    std::uint32_t state = seed * 2654435761u | 1u;
    const unsigned char* in = rendered.GetBuffer();
    unsigned char* o = out.GetBuffer();
    for (int i = 0; i < rendered.GetSize(); ++i) {
        // Two uniform draws: a triangular noise of unit spread.
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        const double a = (state & 0xffff) / 65535.0;
        const double b = (state >> 16) / 65535.0;
        const double v = std::round(in[i] * gain + noise * (a + b - 1.0));
        o[i] = static_cast<unsigned char>(std::min(255.0, std::max(0.0, v)));
    }
    return out;
}

exposure_camera::exposure_camera(std::uint32_t identity, const camera_pose& pose)
    : identity_(identity), pose_(pose) {}

const palm_share::image_pair& exposure_camera::nominal(double distance) {
    if (distance != nominal_distance_) {
        camera_pose p = pose_;
        p.scale = pose_.scale / distance;
        nominal_ = render_frame_pair(identity_, p).frames;
        nominal_distance_ = distance;
    }
    return nominal_;
}

palm_share::image_pair exposure_camera::capture(const exposure_scene& scene, unsigned short li_reg,
                                                unsigned short ir_reg, std::uint32_t frame_seed) {
    const palm_share::image_pair& n = nominal(scene.distance);
    const double lamp = scene.nir_light / (scene.distance * scene.distance);
    palm_share::image_pair out;
    out.nir = expose(n.nir, lamp * ir_reg / kNominalRegister, kSensorNoise, frame_seed * 2 + 1);
    out.vl =
        expose(n.vl, scene.vl_light * li_reg / kNominalRegister, kSensorNoise, frame_seed * 2 + 2);
    return out;
}

}  // namespace palm_test
