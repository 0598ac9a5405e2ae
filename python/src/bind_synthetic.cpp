// palm._palm._sim: the synthetic camera, so that an
// evaluation and the tests run on a machine without any dataset. Not part of
// the public interface.
#include <cstdint>
#include <string>
#include <vector>

#include "arguments.h"
#include "bindings.h"
#include "localisation.h"
#include "sim/capture_difficulty.h"
#include "sim/synthetic_camera.h"
#include "sim/synthetic_stream.h"

namespace palm_python {

namespace {

palm_test::difficulty difficulty_argument(py::handle object, char const* function) {
    std::string const name = text_argument(object, argument{function, "difficulty"}, 64);
    palm_test::difficulty d = palm_test::DEFAULT_DIFFICULTY;
    if (!palm_test::parse_difficulty(name, d))
        throw py::value_error(argument{function, "difficulty"}.where() + ": '" + name +
                              "' is not " + palm_test::difficulty_names());
    return d;
}

std::uint32_t seed_argument(py::handle object, char const* function, char const* name) {
    return static_cast<std::uint32_t>(
        integer_argument(object, argument{function, name}, 0, UINT32_MAX));
}

py::tuple render_frames(py::handle identity_object, py::handle pose_object,
                        py::handle difficulty_object) {
    std::uint32_t const identity = seed_argument(identity_object, "render_frames", "identity");
    std::uint32_t const pose_seed = seed_argument(pose_object, "render_frames", "pose");
    palm_test::difficulty const d = difficulty_argument(difficulty_object, "render_frames");
    palm_test::camera_pose const pose = palm_test::random_usable_pose(pose_seed, d);
    palm_test::camera_frame frame;
    {
        py::gil_scoped_release unlocked;
        ensure_lens_tables();
        frame = palm_test::render_frame_pair(identity, pose);
    }
    return py::make_tuple(image_array(frame.frames.vl), image_array(frame.frames.nir));
}

py::list stream_frames(py::handle identity_object, py::handle hand_object, py::handle day_object,
                       py::handle count_object, py::handle difficulty_object) {
    std::uint32_t const identity = seed_argument(identity_object, "stream_frames", "identity");
    int const hand = int_argument(hand_object, argument{"stream_frames", "hand"}, 0, 1);
    std::uint32_t const day = seed_argument(day_object, "stream_frames", "day");
    int const count =
        int_argument(count_object, argument{"stream_frames", "frames"},
                     palm_test::capture_stream::MIN_FRAMES, palm_test::capture_stream::MAX_FRAMES);
    palm_test::difficulty const d = difficulty_argument(difficulty_object, "stream_frames");
    std::vector<palm_share::image_pair> frames;
    {
        py::gil_scoped_release unlocked;
        ensure_lens_tables();
        palm_test::capture_stream const stream(identity, hand, day, count, d);
        for (int i = 0; i < stream.size(); ++i)
            frames.push_back(stream.frame(i));
    }
    py::list out;
    for (auto const& f : frames)
        out.append(py::make_tuple(image_array(f.vl), image_array(f.nir)));
    return out;
}

py::tuple login_frame(py::handle identity_object, py::handle hand_object, py::handle day_object,
                      py::handle index_object, py::handle difficulty_object) {
    std::uint32_t const identity = seed_argument(identity_object, "login_frame", "identity");
    int const hand = int_argument(hand_object, argument{"login_frame", "hand"}, 0, 1);
    std::uint32_t const day = seed_argument(day_object, "login_frame", "day");
    int const index = int_argument(index_object, argument{"login_frame", "index"}, 0, 1000000);
    palm_test::difficulty const d = difficulty_argument(difficulty_object, "login_frame");
    palm_share::image_pair frame;
    {
        py::gil_scoped_release unlocked;
        ensure_lens_tables();
        frame = palm_test::login_frame(identity, hand, day, index, d);
    }
    return py::make_tuple(image_array(frame.vl), image_array(frame.nir));
}

}  // namespace

void bind_synthetic(py::module_& m) {
    py::module_ sim = m.def_submodule("_sim", "Synthetic palms; not a public interface.");
    char const* const level = palm_test::difficulty_name(palm_test::DEFAULT_DIFFICULTY);
    sim.def("render_frames", &render_frames, py::arg("identity"), py::arg("pose"),
            py::arg("difficulty") = level,
            "(vl, nir) frames, 480x640, of synthetic palm `identity` in the usable pose\n"
            "drawn by seed `pose`, through the default calibration. `difficulty` is\n"
            "'easy', 'realistic' (default) or 'hard'.");
    sim.def("stream_frames", &stream_frames, py::arg("identity"), py::arg("hand"), py::arg("day"),
            py::arg("frames"), py::arg("difficulty") = level,
            "The (vl, nir) frame pairs of a person presenting hand 1 or 0 to the device on\n"
            "day `day`: 40 to 80 frames, the hand entering, misplaced, then held.");
    sim.def("login_frame", &login_frame, py::arg("identity"), py::arg("hand"), py::arg("day"),
            py::arg("index"), py::arg("difficulty") = level,
            "One (vl, nir) login frame pair of that hand on another day.");
}

}  // namespace palm_python
