// Camera calibration: the record of both lenses and their homography, its
// computation from one frame pair of the board, the focus measure, the
// calibration in force and the mapping file that caches its tables. The
// record's text form is the one the palm tool writes and reads, from the
// same code.
#include <cmath>
#include <cstring>
#include <string>

#include "arguments.h"
#include "bindings.h"
#include "calib_file.h"
#include "file_util.h"
#include "localisation.h"
#include "palm/calibration/i_calib_calc.h"
#include "palm/localisation/calib_data.h"
#include "palm/localisation/lens_mapping.h"
#include "palm/localisation/palm_crop.h"

namespace palm_python {

namespace {

using palm_struct::_point;
using palm_struct::calib_data;
using palm_struct::cp_single;

// A float argument that must be finite: degenerate numbers make the lens
// tables undefined.
double finite_argument(py::handle object, argument const& arg) {
    if (!py::isinstance<py::float_>(object) && !py::isinstance<py::int_>(object))
        throw py::type_error(arg.where() + ": expected a number");
    double const v = object.cast<double>();
    if (!std::isfinite(v))
        throw py::value_error(arg.where() + ": expected a finite number");
    return v;
}

py::tuple point_tuple(_point<double> const& p) {
    return py::make_tuple(p.x, p.y);
}

_point<double> point_argument(py::handle object, argument const& arg) {
    if (!py::isinstance<py::sequence>(object) || py::isinstance<py::str>(object) ||
        py::len(object) != 2)
        throw py::type_error(arg.where() + ": expected an (x, y) pair of numbers");
    return {finite_argument(object[py::int_(0)], arg), finite_argument(object[py::int_(1)], arg)};
}

// The eight-byte tag of a mapping file: str or bytes of at most 8 bytes,
// padded with zero bytes, as the palm tool pads its --tag.
void tag_argument(py::handle object, char const* function, unsigned char (&tag)[8]) {
    std::string text;
    if (PyBytes_Check(object.ptr()))
        text.assign(PyBytes_AS_STRING(object.ptr()),
                    static_cast<std::size_t>(PyBytes_GET_SIZE(object.ptr())));
    else
        text = text_argument(object, argument{function, "tag"}, 8);
    if (text.size() > 8)
        throw py::value_error(std::string(function) + "(tag): at most 8 bytes");
    std::memset(tag, 0, sizeof tag);
    std::memcpy(tag, text.data(), text.size());
}

std::string path_argument(py::handle object, char const* function) {
    if (py::isinstance(object, py::module_::import("os").attr("PathLike")))
        return text_argument(py::module_::import("os").attr("fspath")(object),
                             argument{function, "path"});
    return text_argument(object, argument{function, "path"});
}

calib_data read_calib(py::handle path_object) {
    std::string const path = path_argument(path_object, "calib_data.read");
    calib_data data;
    std::string error;
    if (!palm_tool::read_calibration(path, data, error))
        throw py::value_error("calib_data.read(path): " + error);
    return data;
}

void write_calib(calib_data const& data, py::handle path_object) {
    std::string const path = path_argument(path_object, "calib_data.write");
    if (!palm_tool::write_whole_file(path, palm_tool::format_calibration(data)))
        throw py::value_error("calib_data.write(path): cannot write '" + path + "'");
}

py::tuple calib_calc(py::handle nir_object, py::handle vl_object) {
    palm_share::palm_image const nir =
        image_argument(nir_object, argument{"calib_calc", "nir"}, 640, 480);
    palm_share::palm_image const vl =
        image_argument(vl_object, argument{"calib_calc", "vl"}, 640, 480);
    calib_data data;
    int code;
    {
        // The calibration object keeps its label images: one run at a time.
        py::gil_scoped_release unlocked;
        std::lock_guard<std::mutex> lock(device_mutex());
        code = palm_algorithm::get_calib_inst()->calib_calc(nir, vl, data);
    }
    return py::make_tuple(code, code == 0 ? py::cast(data) : py::none());
}

float calib_img_definition(py::handle image_object, py::handle top, py::handle bottom,
                           py::handle left, py::handle right) {
    char const* f = "calib_img_definition";
    palm_share::palm_image const img = image_argument(image_object, argument{f, "img"});
    int const t = int_argument(top, argument{f, "top"}, INT32_MIN, INT32_MAX);
    int const b = int_argument(bottom, argument{f, "bottom"}, INT32_MIN, INT32_MAX);
    int const l = int_argument(left, argument{f, "left"}, INT32_MIN, INT32_MAX);
    int const r = int_argument(right, argument{f, "right"}, INT32_MIN, INT32_MAX);
    py::gil_scoped_release unlocked;
    return palm_algorithm::get_calib_inst()->calib_img_definition(img, t, b, l, r);
}

void set_calib_para(calib_data const& data, py::handle generate_object) {
    if (!py::isinstance<py::bool_>(generate_object))
        throw py::type_error("set_calib_para(generate): expected True or False");
    bool const generate = generate_object.cast<bool>();
    py::gil_scoped_release unlocked;
    std::lock_guard<std::mutex> lock(device_mutex());
    palm_algorithm::set_calib_para(data, generate);
}

bool store_mapping(py::handle path_object, py::handle tag_object) {
    std::string const path = path_argument(path_object, "store_calib_mapping_file");
    unsigned char tag[8];
    tag_argument(tag_object, "store_calib_mapping_file", tag);
    py::gil_scoped_release unlocked;
    std::lock_guard<std::mutex> lock(device_mutex());
    return palm_algorithm::store_calib_mapping_file(path, tag);
}

bool load_mapping(py::handle path_object, py::handle tag_object) {
    std::string const path = path_argument(path_object, "load_calib_mapping_file");
    unsigned char tag[8];
    tag_argument(tag_object, "load_calib_mapping_file", tag);
    py::gil_scoped_release unlocked;
    std::lock_guard<std::mutex> lock(device_mutex());
    return palm_algorithm::load_calib_mapping_file(path, tag);
}

// A read-write property of a lens point.
template <_point<double> cp_single::*Field>
void def_point(py::class_<cp_single>& c, char const* name) {
    c.def_property(
        name, [](cp_single const& cp) { return point_tuple(cp.*Field); },
        [name](cp_single& cp, py::handle v) {
            cp.*Field = point_argument(v, argument{"cp_single", name});
        });
}

template <double cp_single::*Field>
void def_number(py::class_<cp_single>& c, char const* name) {
    c.def_property(
        name, [](cp_single const& cp) { return cp.*Field; },
        [name](cp_single& cp, py::handle v) {
            cp.*Field = finite_argument(v, argument{"cp_single", name});
        });
}

// One point through the lens model, relative to the lens centre.
template <void (*Map)(const _point<double>&, _point<double>&, const cp_single&)>
py::tuple map_point(py::handle in_object, cp_single const& cp, char const* function) {
    _point<double> const in = point_argument(in_object, argument{function, "in"});
    _point<double> out{0, 0};
    Map(in, out, cp);
    return point_tuple(out);
}

bool same_lens(cp_single const& a, cp_single const& b) {
    return a.center_x == b.center_x && a.center_y == b.center_y && a.focal_x == b.focal_x &&
           a.focal_y == b.focal_y && a.left.x == b.left.x && a.left.y == b.left.y &&
           a.right.x == b.right.x && a.right.y == b.right.y && a.top.x == b.top.x &&
           a.top.y == b.top.y && a.bottom.x == b.bottom.x && a.bottom.y == b.bottom.y;
}

}  // namespace

void bind_calibration(py::module_& m) {
    py::class_<cp_single> lens(m, "cp_single",
                               "One camera's lens parameters, in pixels: centre, focal scales and\n"
                               "the four vanishing points relative to the centre, as (x, y).");
    lens.def(py::init<>());
    def_number<&cp_single::center_x>(lens, "center_x");
    def_number<&cp_single::center_y>(lens, "center_y");
    def_number<&cp_single::focal_x>(lens, "focal_x");
    def_number<&cp_single::focal_y>(lens, "focal_y");
    def_point<&cp_single::left>(lens, "left");
    def_point<&cp_single::right>(lens, "right");
    def_point<&cp_single::top>(lens, "top");
    def_point<&cp_single::bottom>(lens, "bottom");
    lens.def("__eq__", [](cp_single const& a, py::object b) {
        return py::isinstance<cp_single>(b) && same_lens(a, b.cast<cp_single const&>());
    });
    lens.attr("__hash__") = py::none();

    py::class_<calib_data>(
        m, "calib_data",
        "The calibration record: nir and vl lenses (cp_single) and nir_to_vl, the\n"
        "row-major 3x3 homography from normalised near-infrared to normalised visible-\n"
        "light coordinates. text(), write() and read() use the palm tool's calibration\n"
        "file format, so that `palm calibrate` and the --calib options share it.")
        .def(py::init<>(), "A record of zeros.")
        .def_readwrite("nir", &calib_data::nir)
        .def_readwrite("vl", &calib_data::vl)
        .def_property(
            "nir_to_vl",
            [](calib_data const& d) {
                py::tuple t(9);
                for (int i = 0; i < 9; ++i)
                    t[i] = d.nir_to_vl[i];
                return t;
            },
            [](calib_data& d, py::handle v) {
                argument const arg{"calib_data", "nir_to_vl"};
                if (!py::isinstance<py::sequence>(v) || py::isinstance<py::str>(v) ||
                    py::len(v) != 9)
                    throw py::type_error(arg.where() + ": expected a sequence of 9 numbers");
                double h[9];
                for (int i = 0; i < 9; ++i)
                    h[i] = finite_argument(v[py::int_(i)], arg);
                std::memcpy(d.nir_to_vl, h, sizeof h);
            })
        .def_readonly("calibrated", &calib_data::calibrated)
        .def_static(
            "default", [] { return palm_algorithm::default_calib_data(); },
            "The calibration a device runs with before it is calibrated.")
        .def_static("read", &read_calib, py::arg("path"),
                    "Reads a calibration file as `palm calibrate` writes it; ValueError when\n"
                    "it is missing or malformed.")
        .def("write", &write_calib, py::arg("path"), "Writes the record's text to a file.")
        .def(
            "text", [](calib_data const& d) { return palm_tool::format_calibration(d); },
            "The three lines of the calibration file (numbers by %.17g).")
        .def("__eq__",
             [](calib_data const& a, py::object other) {
                 if (!py::isinstance<calib_data>(other))
                     return false;
                 calib_data const& b = other.cast<calib_data const&>();
                 return same_lens(a.nir, b.nir) && same_lens(a.vl, b.vl) &&
                        std::equal(a.nir_to_vl, a.nir_to_vl + 9, b.nir_to_vl);
             })
        .def("__repr__",
             [](calib_data const& d) {
                 return "calib_data(nir centre (" + std::to_string(d.nir.center_x) + ", " +
                        std::to_string(d.nir.center_y) + "), vl centre (" +
                        std::to_string(d.vl.center_x) + ", " + std::to_string(d.vl.center_y) + "))";
             })
        .attr("__hash__") = py::none();

    m.def("calib_calc", &calib_calc, py::arg("nir"), py::arg("vl"),
          "The calibration from one frame pair of the board (480x640 uint8 arrays, near\n"
          "infrared first). Returns (code, record): code 0 and a calib_data on success,\n"
          "else the failure code and None.");
    m.def("calib_img_definition", &calib_img_definition, py::arg("img"), py::arg("top"),
          py::arg("bottom"), py::arg("left"), py::arg("right"),
          "The focus measure (Tenengrad) of rows [top, bottom) and columns [left,\n"
          "right) of a grey image, as a float; 0 for a window of no area or outside.");
    m.def("set_calib_para", &set_calib_para, py::arg("data"), py::arg("generate") = true,
          "Makes a calib_data the calibration of the crop; with generate the lens tables\n"
          "are rebuilt from it, otherwise they stay until load_calib_mapping_file.\n"
          "Not while a crop runs on another thread.");
    m.def("store_calib_mapping_file", &store_mapping, py::arg("path"), py::arg("tag"),
          "Writes the lens tables in force to a mapping file (2457608 bytes) headed by\n"
          "the tag (str or bytes of at most 8 bytes, padded with zeros). False when no\n"
          "table exists yet or the file cannot be written.");
    m.def(
        "MappingForward",
        [](py::handle in, cp_single const& cp) {
            return map_point<&palm_algorithm::MappingForward>(in, cp, "MappingForward");
        },
        py::arg("in"), py::arg("cp"),
        "A point of the normal plane to the raw frame through the lens cp, both (x, y)\n"
        "relative to the lens centre.");
    m.def(
        "MappingBackward",
        [](py::handle in, cp_single const& cp) {
            return map_point<&palm_algorithm::MappingBackward>(in, cp, "MappingBackward");
        },
        py::arg("in"), py::arg("cp"),
        "A point of the raw frame to the normal plane, both relative to the lens centre.");
    m.def("load_calib_mapping_file", &load_mapping, py::arg("path"), py::arg("tag"),
          "Loads the lens tables from a mapping file whose tag matches; False otherwise.");
}

}  // namespace palm_python
