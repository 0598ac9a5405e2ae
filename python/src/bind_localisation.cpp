// Locating the palm in a frame pair: the crop with every field it fills, and
// the guidance words. Crops keep their working images per thread, so they run
// with the interpreter lock released.
#include <mutex>
#include <string>
#include <vector>

#include "arguments.h"
#include "bindings.h"
#include "localisation.h"
#include "palm/capture/i_palm_precheck.h"
#include "palm/image/crop_results.h"
#include "palm/image/image_pair.h"
#include "palm/localisation/palm_crop.h"
#include "palm/localisation/palm_position.h"

namespace palm_python {

namespace {

using palm_algorithm::CPalmCrop;
using palm_struct::_crop_results;
using palm_struct::_point;

char const* const POINT_FIELDS[] = {"nir_key_normal", "nir_corner_normal", "nir_key", "nir_corner",
                                    "vl_key_normal",  "vl_corner_normal",  "vl_key",  "vl_corner"};

py::tuple points(_point<int> const* p, int n) {
    py::tuple t(n);
    for (int i = 0; i < n; ++i)
        t[i] = py::make_tuple(p[i].x, p[i].y);
    return t;
}

crop_result crop(py::handle vl_object, py::handle nir_object, py::handle precheck_object) {
    if (!py::isinstance<py::bool_>(precheck_object))
        throw py::type_error("crop(precheck): expected True or False");
    bool const precheck = precheck_object.cast<bool>();
    palm_share::image_pair in;
    in.vl = image_argument(vl_object, argument{"crop", "vl"});
    in.nir = image_argument(nir_object, argument{"crop", "nir"});
    std::vector<palm_share::image_pair> out;
    _crop_results res;
    int code;
    palm_algorithm::palm_position position;
    {
        py::gil_scoped_release unlocked;
        ensure_lens_tables();
        // As the device workflow does: the pre-check writes area_percent,
        // which the guidance scales by.
        if (precheck)
            palm_algorithm::get_palm_precheck_inst()->PreCheck(in.nir, res);
        code = palm_algorithm::get_crop_inst()->Crop(in, out, res);
        position = palm_algorithm::get_crop_inst()->GetPalmPos(res);
    }
    crop_result r;
    r.code = code;
    r.nir_key_normal = points(res.nir_key_normal, 2);
    r.nir_corner_normal = points(res.nir_corner_normal, 4);
    r.nir_key = points(res.nir_key, 2);
    r.nir_corner = points(res.nir_corner, 4);
    r.vl_key_normal = points(res.vl_key_normal, 2);
    r.vl_corner_normal = points(res.vl_corner_normal, 4);
    r.vl_key = points(res.vl_key, 2);
    r.vl_corner = points(res.vl_corner, 4);
    r.area_percent = res.area_percent;
    r.rotate_angle = res.rotate_angle;
    r.palm_offset_x = res.palm_offset_x;
    r.palm_offset_y = res.palm_offset_y;
    r.palm_position = static_cast<int>(position);
    r.res = res;
    if (!out.empty()) {
        r.vl_roi = image_array(out[0].vl);
        r.nir_roi = image_array(out[0].nir);
    }
    return r;
}

py::dict crop_fields(crop_result const& r) {
    py::dict d;
    d["code"] = r.code;
    py::tuple const all[] = {r.nir_key_normal, r.nir_corner_normal, r.nir_key, r.nir_corner,
                             r.vl_key_normal,  r.vl_corner_normal,  r.vl_key,  r.vl_corner};
    for (int i = 0; i < 8; ++i)
        d[POINT_FIELDS[i]] = all[i];
    d["area_percent"] = r.area_percent;
    d["rotate_angle"] = r.rotate_angle;
    d["palm_offset_x"] = r.palm_offset_x;
    d["palm_offset_y"] = r.palm_offset_y;
    d["palm_position"] = r.palm_position;
    return d;
}

}  // namespace

void ensure_lens_tables() {
    static std::once_flag built;
    std::call_once(built, [] {
        if (CPalmCrop::piMapNIRx == nullptr)
            CPalmCrop::GenerateMappingTable();
    });
}

void bind_localisation(py::module_& m) {
    m.attr("POS_OK") = int(palm_algorithm::POS_OK);
    m.attr("POS_TOO_SMALL") = int(palm_algorithm::POS_TOO_SMALL);
    m.attr("POS_TOO_LARGE") = int(palm_algorithm::POS_TOO_LARGE);
    m.attr("POS_LEFT") = int(palm_algorithm::POS_LEFT);
    m.attr("POS_RIGHT") = int(palm_algorithm::POS_RIGHT);
    m.attr("POS_UP") = int(palm_algorithm::POS_UP);
    m.attr("POS_DOWN") = int(palm_algorithm::POS_DOWN);
    m.attr("POS_UNKNOWN") = int(palm_algorithm::POS_UNKNOWN);

    py::class_<crop_result>(
        m, "CropResult",
        "What crop() located in a frame pair. code is 0 on success, else the\n"
        "number of the first failing step (1 to 11); the point fields are\n"
        "tuples of (x, y); vl_roi and nir_roi are the 110x110 regions, or None\n"
        "where the crop did not get that far.")
        .def_readonly("code", &crop_result::code)
        .def_readonly("nir_key_normal", &crop_result::nir_key_normal)
        .def_readonly("nir_corner_normal", &crop_result::nir_corner_normal)
        .def_readonly("nir_key", &crop_result::nir_key)
        .def_readonly("nir_corner", &crop_result::nir_corner)
        .def_readonly("vl_key_normal", &crop_result::vl_key_normal)
        .def_readonly("vl_corner_normal", &crop_result::vl_corner_normal)
        .def_readonly("vl_key", &crop_result::vl_key)
        .def_readonly("vl_corner", &crop_result::vl_corner)
        .def_readonly("area_percent", &crop_result::area_percent)
        .def_readonly("rotate_angle", &crop_result::rotate_angle)
        .def_readonly("palm_offset_x", &crop_result::palm_offset_x)
        .def_readonly("palm_offset_y", &crop_result::palm_offset_y)
        .def_readonly("palm_position", &crop_result::palm_position)
        .def_readonly("vl_roi", &crop_result::vl_roi)
        .def_readonly("nir_roi", &crop_result::nir_roi)
        .def_property_readonly("ok", [](crop_result const& r) { return r.code == 0; })
        .def("fields", &crop_fields,
             "The code, the record's fields and the guidance word as a dict.")
        .def("__repr__", [](crop_result const& r) {
            return "CropResult(code=" + std::to_string(r.code) + ", palm_offset=(" +
                   std::to_string(r.palm_offset_x) + ", " + std::to_string(r.palm_offset_y) + "))";
        });

    m.def("crop", &crop, py::arg("vl"), py::arg("nir"), py::arg("precheck") = false,
          "Locates the palm in a frame pair (two uint8 arrays of the same shape, visible\n"
          "light and near infrared, 480x640 for the device) and cuts both 110x110\n"
          "regions. With precheck=True the pre-check of the near-infrared frame runs\n"
          "first and gives area_percent, as in the device workflow (the guidance\n"
          "scales by it). Returns a CropResult. Runs without the interpreter lock. Each\n"
          "thread sizes its working images by the first frame it crops and keeps\n"
          "them: crop frames of one size on a thread.");
}

}  // namespace palm_python
