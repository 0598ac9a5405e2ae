// palm._palm._sim: the synthetic camera, so that an
// evaluation and the tests run on a machine without any dataset. Not part of
// the public interface.
#include <cstdint>

#include "arguments.h"
#include "bindings.h"
#include "localisation.h"
#include "sim/synthetic_camera.h"

namespace palm_python {

namespace {

std::uint32_t seed_argument(py::handle object, char const* function, char const* name) {
    return static_cast<std::uint32_t>(
        integer_argument(object, argument{function, name}, 0, UINT32_MAX));
}

py::tuple render_frames(py::handle identity_object, py::handle pose_object) {
    std::uint32_t const identity = seed_argument(identity_object, "render_frames", "identity");
    std::uint32_t const pose_seed = seed_argument(pose_object, "render_frames", "pose");
    palm_test::camera_pose const pose = palm_test::random_usable_pose(pose_seed);
    palm_test::camera_frame frame;
    {
        py::gil_scoped_release unlocked;
        ensure_lens_tables();
        frame = palm_test::render_frame_pair(identity, pose);
    }
    return py::make_tuple(image_array(frame.frames.vl), image_array(frame.frames.nir));
}

}  // namespace

void bind_synthetic(py::module_& m) {
    py::module_ sim = m.def_submodule("_sim", "Synthetic palms; not a public interface.");
    sim.def("render_frames", &render_frames, py::arg("identity"), py::arg("pose"),
            "(vl, nir) frames, 480x640, of synthetic palm `identity` in the usable pose\n"
            "drawn by seed `pose`, through the default calibration.");
}

}  // namespace palm_python
