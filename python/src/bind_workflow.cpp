// The device side: the pre-check, enrolment from a sequence of frame pairs,
// the device feature library and login against it. The workflow objects are
// written for one thread, so enrolments and logins from Python take turns
// behind one lock, which they wait for with the interpreter lock released.
#include <mutex>
#include <string>
#include <vector>

#include "arguments.h"
#include "bindings.h"
#include "localisation.h"
#include "palm/capture/i_palm_precheck.h"
#include "palm/feature/palm_feature_lib.h"
#include "palm/image/frame_info.h"
#include "palm/workflow/feature_enroll.h"
#include "palm/workflow/feature_login.h"

namespace palm_python {

namespace {

using palm_algorithm::palm_position;

py::tuple precheck(py::handle nir_object) {
    palm_share::palm_image const nir = image_argument(nir_object, argument{"precheck", "nir"});
    palm_struct::_crop_results res;
    palm_position position;
    {
        py::gil_scoped_release unlocked;
        position = palm_algorithm::get_palm_precheck_inst()->PreCheck(nir, res);
    }
    return py::make_tuple(static_cast<int>(position), res.area_percent);
}

palm_struct::frame_info frame_argument(py::handle vl, py::handle nir, char const* function) {
    palm_struct::frame_info frame;
    frame.vl = image_argument(vl, argument{function, "vl"});
    frame.nir = image_argument(nir, argument{function, "nir"});
    return frame;
}

py::dict enrol(py::handle frames_object, py::handle count_object) {
    int const count = int_argument(count_object, argument{"enrol", "count"}, 5, 25);
    if (count != 5 && count != 25)
        throw py::value_error("enrol(count): expected 25 or 5");
    if (!py::isinstance<py::sequence>(frames_object) || py::isinstance<py::str>(frames_object))
        throw py::type_error("enrol(frames): expected a list of (vl, nir) frame pairs");
    py::sequence seq = py::reinterpret_borrow<py::sequence>(frames_object);
    std::vector<palm_struct::frame_info> frames;
    frames.reserve(seq.size());
    for (std::size_t i = 0; i < seq.size(); ++i) {
        py::object pair = seq[i];
        if (!py::isinstance<py::sequence>(pair) || py::len(pair) != 2)
            throw py::type_error("enrol(frames[" + std::to_string(i) +
                                 "]): expected a (vl, nir) pair of arrays");
        frames.push_back(frame_argument(pair[py::int_(0)], pair[py::int_(1)], "enrol"));
    }
    struct step {
        int stage, candidates, position;
        bool changed;
    };
    std::vector<step> steps;
    int stage;
    std::size_t images;
    palm_feature::user_palm_feature features;
    bool finished;
    {
        py::gil_scoped_release unlocked;
        ensure_lens_tables();
        std::lock_guard<std::mutex> lock(device_mutex());
        palm_workflow::feature_enroll enroll(count == 5 ? palm_workflow::ENROLL_FEATURE_5
                                                        : palm_workflow::ENROLL_FEATURE_25);
        enroll.reset();
        for (auto const& frame : frames) {
            palm_position pos = palm_algorithm::POS_OK;
            bool const changed = enroll.enrolling(frame, pos);
            steps.push_back(
                {enroll.get_stage(), enroll.candidates_count(), static_cast<int>(pos), changed});
            if (enroll.get_stage() == 3 || enroll.get_stage() == -1)
                break;
        }
        stage = enroll.get_stage();
        images = enroll.get_images().size();
        palm_feature::user_palm_feature const* const got = enroll.get_features();
        finished = got != nullptr;
        if (finished)
            features = *got;
    }
    py::list log;
    for (step const& s : steps) {
        py::dict d;
        d["stage"] = s.stage;
        d["candidates"] = s.candidates;
        d["position"] = s.position;
        d["changed"] = s.changed;
        log.append(d);
    }
    py::dict result;
    result["stage"] = stage;
    result["images"] = images;
    result["features"] = finished ? py::object(record_cells(features)) : py::none();
    result["frames"] = log;
    return result;
}

unsigned id_argument(py::handle id, char const* function) {
    return static_cast<unsigned>(integer_argument(id, argument{function, "id"}, 0, UINT32_MAX));
}

palm_feature_lib::hand hand_argument(py::handle hand, char const* function) {
    return int_argument(hand, argument{function, "hand"}, 0, 1) == 1
               ? palm_feature_lib::first_hand
               : palm_feature_lib::second_hand;
}

bool library_update(py::handle id_object, py::handle cells_object, py::handle hand_object) {
    unsigned const id = id_argument(id_object, "feature_lib_update");
    palm_feature_lib::hand const hand = hand_argument(hand_object, "feature_lib_update");
    palm_feature::user_palm_feature const record =
        record_argument(cells_object, argument{"feature_lib_update", "cells"});
    if (record.size() < 1)
        throw py::value_error("feature_lib_update(cells): a record needs at least one cell");
    py::gil_scoped_release unlocked;
    return palm_feature_lib::update(id, &record, hand);
}

bool library_remove(py::handle id_object) {
    unsigned const id = id_argument(id_object, "feature_lib_remove");
    py::gil_scoped_release unlocked;
    return palm_feature_lib::remove(id);
}

bool library_exist(py::handle id_object) {
    unsigned const id = id_argument(id_object, "feature_lib_exist");
    py::gil_scoped_release unlocked;
    return palm_feature_lib::exist(id);
}

py::list library_query() {
    std::vector<unsigned> ids;
    {
        py::gil_scoped_release unlocked;
        ids = palm_feature_lib::query();
    }
    py::list out;
    for (unsigned id : ids)
        out.append(id);
    return out;
}

py::dict login(py::handle vl, py::handle nir, py::handle ids_object, py::handle intensity_object) {
    palm_struct::frame_info const frame = frame_argument(vl, nir, "login");
    int const intensity = int_argument(intensity_object, argument{"login", "intensity"}, 0, 4);
    std::vector<unsigned> ids;
    bool const all = ids_object.is_none();
    if (!all) {
        if (!py::isinstance<py::sequence>(ids_object) || py::isinstance<py::str>(ids_object))
            throw py::type_error("login(ids): expected a list of palm ids or None");
        for (py::handle id : ids_object)
            ids.push_back(id_argument(id, "login"));
    }
    palm_position pos = palm_algorithm::POS_OK;
    unsigned id = 0;
    palm_feature_lib::hand hand = palm_feature_lib::first_hand;
    bool found;
    {
        py::gil_scoped_release unlocked;
        ensure_lens_tables();
        std::lock_guard<std::mutex> lock(device_mutex());
        if (all)
            ids = palm_feature_lib::query();
        palm_workflow::feature_login detector;
        detector.set_detect_intnesity(
            static_cast<palm_workflow::i_feature_login::DETECT_INTENSITY>(intensity));
        found = detector.detect(frame, ids, pos, id, hand);
    }
    py::dict result;
    result["found"] = found;
    result["id"] = found ? py::object(py::int_(id)) : py::none();
    result["hand"] = found ? py::object(py::int_(static_cast<int>(hand))) : py::none();
    result["position"] = static_cast<int>(pos);
    return result;
}

}  // namespace

std::mutex& device_mutex() {
    static std::mutex m;
    return m;
}

void bind_workflow(py::module_& m) {
    m.attr("FIRST_HAND") = int(palm_feature_lib::first_hand);
    m.attr("SECOND_HAND") = int(palm_feature_lib::second_hand);
    m.def("precheck", &precheck, py::arg("nir"),
          "(position, area_percent) of a near-infrared frame: how much of it is hand\n"
          "against the prompt rectangle; position is POS_OK, POS_TOO_SMALL or\n"
          "POS_TOO_LARGE. Runs without the interpreter lock.");
    m.def("enrol", &enrol, py::arg("frames"), py::arg("count") = 25,
          "The device's enrolment of one hand from a list of (vl, nir) frame pairs, until\n"
          "it finishes (stage 3) or gives up (stage -1). A dict: stage, images, features\n"
          "(the template's cells, `count` of them, 25 or 5; None unless finished) and\n"
          "frames (stage, candidates, position and changed after each frame offered).");
    m.def("feature_lib_update", &library_update, py::arg("id"), py::arg("cells"),
          py::arg("hand") = int(palm_feature_lib::first_hand),
          "Stores a record (list of (print, vein) cells) as hand FIRST_HAND or SECOND_HAND\n"
          "of palm id `id` in the device feature library.");
    m.def("feature_lib_remove", &library_remove, py::arg("id"),
          "Removes both hands of an id; false when it was not stored.");
    m.def("feature_lib_exist", &library_exist, py::arg("id"), "True when the id is stored.");
    m.def("feature_lib_query", &library_query, "The stored palm ids.");
    m.def("login", &login, py::arg("vl"), py::arg("nir"), py::arg("ids") = py::none(),
          py::arg("intensity") = 1,
          "The device's login of one frame pair against the ids of the feature library\n"
          "(all when None) at detection intensity 0 to 4. A dict: found, id and hand of\n"
          "the person (None unless found), and the frame's guidance position.");
}

}  // namespace palm_python
