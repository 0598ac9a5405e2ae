// The enrolment object itself, frame by frame: the first path, and the
// second one, where the application names the stage on each call, is told
// whether the frame was taken, and each rejected frame leaves a line in the
// debug file "D:\error_flage3.txt" of the working directory. Calls take
// turns with the other device calls behind the device lock.
#include <memory>
#include <mutex>
#include <string>

#include "arguments.h"
#include "bindings.h"
#include "localisation.h"
#include "palm/image/frame_info.h"
#include "palm/workflow/feature_enroll.h"

namespace palm_python {

namespace {

using palm_workflow::feature_enroll;

// Longest `log` text accepted: what an application puts in front of the
// reason for a rejection.
const std::size_t MAX_LOG = 65536;

std::unique_ptr<feature_enroll> enroll_new(py::handle count_object) {
    int const count = int_argument(count_object, argument{"feature_enroll", "count"}, 5, 25);
    if (count != 5 && count != 25)
        throw py::value_error("feature_enroll(count): expected 25 or 5");
    auto e = std::make_unique<feature_enroll>(count == 5 ? palm_workflow::ENROLL_FEATURE_5
                                                         : palm_workflow::ENROLL_FEATURE_25);
    e->reset();
    return e;
}

palm_struct::frame_info frame_of(py::handle vl, py::handle nir, char const* function) {
    palm_struct::frame_info frame;
    frame.vl = image_argument(vl, argument{function, "vl"});
    frame.nir = image_argument(nir, argument{function, "nir"});
    if (frame.vl.GetWidth() != frame.nir.GetWidth() ||
        frame.vl.GetHeight() != frame.nir.GetHeight())
        throw py::value_error(std::string(function) + "(nir): expected the shape of vl");
    return frame;
}

bool enrolling(feature_enroll& e, py::handle vl, py::handle nir) {
    palm_struct::frame_info const frame = frame_of(vl, nir, "feature_enroll.enrolling");
    py::gil_scoped_release unlocked;
    ensure_lens_tables();
    std::lock_guard<std::mutex> lock(device_mutex());
    palm_algorithm::palm_position pos = palm_algorithm::POS_OK;
    return e.enrolling(frame, pos);
}

py::tuple enrolling_second(feature_enroll& e, py::handle vl, py::handle nir,
                           py::handle stage_object, py::handle log_object,
                           py::handle accepted_object) {
    char const* f = "feature_enroll.enrolling_siti_enroll";
    palm_struct::frame_info const frame = frame_of(vl, nir, f);
    int const stage = int_argument(stage_object, argument{f, "stage"}, INT32_MIN, INT32_MAX);
    std::string const log = text_argument(log_object, argument{f, "log"}, MAX_LOG);
    if (!py::isinstance<py::bool_>(accepted_object))
        throw py::type_error(std::string(f) + "(accepted): expected True or False");
    bool accepted = accepted_object.cast<bool>();
    bool changed;
    {
        py::gil_scoped_release unlocked;
        ensure_lens_tables();
        std::lock_guard<std::mutex> lock(device_mutex());
        palm_algorithm::palm_position pos = palm_algorithm::POS_OK;
        changed = e.enrolling_siti_enroll(frame, pos, stage, log, accepted);
    }
    return py::make_tuple(changed, accepted);
}

py::list images(feature_enroll const& e) {
    std::lock_guard<std::mutex> lock(device_mutex());
    py::list out;
    for (auto const& frame : e.get_images())
        out.append(py::make_tuple(image_array(frame.vl), image_array(frame.nir)));
    return out;
}

py::object features(feature_enroll& e) {
    std::lock_guard<std::mutex> lock(device_mutex());
    palm_feature::user_palm_feature const* got = e.get_features();
    return got != nullptr ? py::object(record_cells(*got)) : py::none();
}

template <int (feature_enroll::*Get)() const>
int locked_get(feature_enroll const& e) {
    std::lock_guard<std::mutex> lock(device_mutex());
    return (e.*Get)();
}

}  // namespace

void bind_enrolment(py::module_& m) {
    py::class_<feature_enroll>(
        m, "feature_enroll",
        "One enrolment, offered frame by frame: feature_enroll(count) with count 25 or\n"
        "5 cells in the template. get_stage() is 0, 1, 2 while it runs, 3 when it has\n"
        "finished and -1 when it has given up.")
        .def(py::init(&enroll_new), py::arg("count") = 25)
        .def(
            "reset",
            [](feature_enroll& e) {
                std::lock_guard<std::mutex> lock(device_mutex());
                e.reset();
            },
            "Starts the enrolment over.")
        .def("enrolling", &enrolling, py::arg("vl"), py::arg("nir"),
             "Offers one frame pair; True when the stage has changed.")
        .def("enrolling_siti_enroll", &enrolling_second, py::arg("vl"), py::arg("nir"),
             py::arg("stage") = -1, py::arg("log") = "", py::arg("accepted") = false,
             "The second enrolment path. stage 0, 1 or 2 sets the stage before the frame\n"
             "is looked at (any other value leaves it); a rejected frame appends log and\n"
             "the reason as one line to the file \"D:\\\\error_flage3.txt\" of the working\n"
             "directory. Returns (changed, accepted): whether the stage changed, and\n"
             "whether the frame was taken (as it came in when the frame was neither taken\n"
             "nor refused at the crop).")
        .def("get_stage", &locked_get<&feature_enroll::get_stage>)
        .def("candidates_count", &locked_get<&feature_enroll::candidates_count>)
        .def("get_required_count", &locked_get<&feature_enroll::get_required_count>)
        .def("get_images", &images, "The selected frame pairs as (vl, nir) arrays.")
        .def("get_features", &features,
             "The template's cells, a list of (print, vein) codes, once finished; else None.");
}

}  // namespace palm_python
