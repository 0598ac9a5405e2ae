// Capture assistance between frames: the exposure judge over frame pairs and
// the sensors' register values, and the guidance overlay drawn from a crop
// result or from a given placement. Each Python object owns its judge or
// its guidance, so several can run side by side.
#include <memory>
#include <string>

#include "arguments.h"
#include "bindings.h"
#include "localisation.h"
#include "palm/capture/card_rect.h"
#include "palm/capture/cmos_judge.h"
#include "palm/capture/user_interactive.h"

namespace palm_python {

namespace {

using palm_algorithm::cmos_judge;
using palm_algorithm::user_interactive;
using palm_struct::_card_rect;

// The judge measures a 29 by 29 window at the centre of both frames.
const int JUDGE_WINDOW = 2 * cmos_judge::WindowsWidth + 1;

void judge_init(cmos_judge& judge, py::handle li, py::handle ir) {
    judge.init(
        static_cast<unsigned short>(int_argument(li, argument{"cmos_judge.init", "li"}, 0, 65535)),
        static_cast<unsigned short>(int_argument(ir, argument{"cmos_judge.init", "ir"}, 0, 65535)));
}

py::tuple judge_frames(cmos_judge& judge, py::handle ir_object, py::handle li_object,
                       py::handle use_max_object) {
    char const* f = "cmos_judge.Cmos_Judge";
    palm_share::palm_image const ir = image_argument(ir_object, argument{f, "ir_image"});
    palm_share::palm_image const li = image_argument(li_object, argument{f, "li_image"});
    if (!py::isinstance<py::bool_>(use_max_object))
        throw py::type_error(std::string(f) + "(use_max): expected True or False");
    if (ir.GetWidth() < JUDGE_WINDOW || ir.GetHeight() < JUDGE_WINDOW)
        throw py::value_error(std::string(f) + "(ir_image): at least 29x29 pixels are needed");
    if (li.GetWidth() != ir.GetWidth() || li.GetHeight() != ir.GetHeight())
        throw py::value_error(std::string(f) + "(li_image): expected the shape of ir_image");
    bool li_changed = false, ir_changed = false;
    judge.Cmos_Judge(ir, li, use_max_object.cast<bool>(), li_changed, ir_changed);
    return py::make_tuple(li_changed, ir_changed);
}

py::dict judge_status(cmos_judge const& judge) {
    cmos_judge::cmos_status const& s = *judge.get_status();
    py::list ir_stage, li_stage, ir_limit, li_limit;
    for (int i = 0; i < cmos_judge::Stage_Num; ++i) {
        ir_stage.append(s.ir_stage[i]);
        li_stage.append(s.li_stage[i]);
        ir_limit.append(py::make_tuple(s.ir_limit[i][0], s.ir_limit[i][1]));
        li_limit.append(py::make_tuple(s.li_limit[i][0], s.li_limit[i][1]));
    }
    py::dict d;
    d["li_reg"] = s.li_reg;
    d["ir_reg"] = s.ir_reg;
    d["ir_stage"] = ir_stage;
    d["ir_limit"] = ir_limit;
    d["li_stage"] = li_stage;
    d["li_limit"] = li_limit;
    d["ir_pending"] = s.ir_pending;
    d["li_pending"] = s.li_pending;
    return d;
}

// A guidance object with the rectangle it last reported: gen_interactive
// leaves the rectangle as it was when no hand is seen.
struct guidance {
    user_interactive ui;
    _card_rect rect{0, 0, 0, 0};
};

py::tuple rect_tuple(_card_rect const& r) {
    return py::make_tuple(r.left, r.top, r.right, r.bottom);
}

bool guidance_init(guidance& g, py::handle card_object, py::handle width, py::handle height) {
    char const* f = "user_interactive.init";
    palm_share::palm_image const card = image_argument(card_object, argument{f, "card"});
    int const w = int_argument(width, argument{f, "width"}, 1, MAX_IMAGE_SIDE);
    int const h = int_argument(height, argument{f, "height"}, 1, MAX_IMAGE_SIDE);
    return g.ui.init(card, w, h);
}

std::unique_ptr<guidance> guidance_new(py::handle card, py::handle width, py::handle height) {
    auto g = std::make_unique<guidance>();
    if (!guidance_init(*g, card, width, height))
        throw py::value_error("user_interactive(card): the card or the canvas cannot be made");
    return g;
}

py::tuple guidance_gen(guidance& g, py::handle result_object) {
    if (!py::isinstance<crop_result>(result_object))
        throw py::type_error("user_interactive.gen_interactive(res): expected a CropResult");
    crop_result const& r = result_object.cast<crop_result const&>();
    unsigned char const* drawn = g.ui.gen_interactive(r.res, g.rect);
    return py::make_tuple(drawn != nullptr ? image_array(g.ui.get_canvas()) : py::none(),
                          rect_tuple(g.rect));
}

py::tuple guidance_transform(guidance& g, py::handle angle, py::handle scale, py::handle dx,
                             py::handle dy) {
    char const* f = "user_interactive.Transform";
    int const a = int_argument(angle, argument{f, "angle"}, INT32_MIN, INT32_MAX);
    int const s = int_argument(scale, argument{f, "scale"}, INT32_MIN, INT32_MAX);
    int const x = int_argument(dx, argument{f, "dx"}, INT32_MIN, INT32_MAX);
    int const y = int_argument(dy, argument{f, "dy"}, INT32_MIN, INT32_MAX);
    g.rect = _card_rect{0, 0, 0, 0};
    bool const drawn = g.ui.Transform(a, s, x, y, g.rect);
    return py::make_tuple(drawn, rect_tuple(g.rect));
}

}  // namespace

void bind_capture(py::module_& m) {
    py::class_<cmos_judge>(
        m, "cmos_judge",
        "The exposure judge of both sensors: cmos_judge(li, ir) starts each register on\n"
        "the rung of its ladder nearest to the value given (visible light, near\n"
        "infrared); Cmos_Judge(ir_image, li_image) after each frame pair moves them.")
        .def(py::init([](py::handle li, py::handle ir) {
                 auto judge = std::make_unique<cmos_judge>();
                 judge_init(*judge, li, ir);
                 return judge;
             }),
             py::arg("li") = 128, py::arg("ir") = 128)
        .def("init", &judge_init, py::arg("li"), py::arg("ir"),
             "Starts over with the registers on the rungs nearest to li and ir.")
        .def("Cmos_Judge", &judge_frames, py::arg("ir_image"), py::arg("li_image"),
             py::arg("use_max") = false,
             "Judges one frame pair, near infrared first (uint8 arrays of one shape, at\n"
             "least 29x29), by the mean of the central window or with use_max by its\n"
             "brightest pixel. Returns (li_changed, ir_changed).")
        .def("get_li_reg", &cmos_judge::get_li_reg, "The visible-light register value.")
        .def("get_ir_reg", &cmos_judge::get_ir_reg, "The near-infrared register value.")
        .def_property_readonly("li_reg", &cmos_judge::get_li_reg)
        .def_property_readonly("ir_reg", &cmos_judge::get_ir_reg)
        .def("get_status", &judge_status, "The judge's whole state as a dict.");

    py::class_<guidance>(
        m, "user_interactive",
        "The guidance overlay: user_interactive(card, width, height) takes the template\n"
        "(uint8 array) and makes a black canvas of width x height. gen_interactive on a\n"
        "CropResult (crop(..., precheck=True), so that area_percent is set) and\n"
        "Transform draw into it; both give the canvas and the rectangle (left, top,\n"
        "right, bottom) that holds the drawing.")
        .def(py::init(&guidance_new), py::arg("card"), py::arg("width") = 640,
             py::arg("height") = 480)
        .def("init", &guidance_init, py::arg("card"), py::arg("width"), py::arg("height"),
             "Takes a new template and makes a new black canvas; False when it cannot.")
        .def("gen_interactive", &guidance_gen, py::arg("res"),
             "Draws the template turned, scaled and moved as the CropResult says.\n"
             "Returns (canvas, rect): canvas a copy of the canvas, or None when nothing\n"
             "was drawn (key points under 50 pixels apart, or an angle or scale out of\n"
             "range); with key points too close the rectangle is the one of before.")
        .def("Transform", &guidance_transform, py::arg("angle"), py::arg("scale"), py::arg("dx"),
             py::arg("dy"),
             "Draws the template over the canvas as it stands, turned by angle degrees\n"
             "(-90 to 90), at scale percent (50 to 200), moved dx right and dy up; a\n"
             "template larger than the canvas is cut to it. Returns (drawn, rect), rect\n"
             "cleared first.")
        .def_property_readonly(
            "canvas", [](guidance const& g) { return image_array(g.ui.get_canvas()); },
            "A copy of the canvas (height x width uint8 array).")
        .def_property_readonly(
            "card", [](guidance const& g) { return image_array(g.ui.get_card()); },
            "A copy of the template.")
        .def_property_readonly(
            "rect", [](guidance const& g) { return rect_tuple(g.rect); },
            "The rectangle last reported, (left, top, right, bottom).");
}

}  // namespace palm_python
