// "palm guide": the guidance overlay a device shows a person.
//   palm guide CARD VL NIR OUT [--canvas W H] [--overlay OUT.png]
//     pre-check of the near-infrared frame, crop of the pair, then the
//     overlay of the template CARD; prints "rect L T R B" and writes the
//     canvas to OUT, or prints "none" and writes nothing.
//   palm guide CARD OUT --transform ANGLE SCALE DX DY [--canvas W H]
//     the template drawn directly with the given angle (degrees), scale
//     (percent) and offsets; prints "drawn B rect L T R B" and writes the
//     canvas.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "command.h"
#include "grey_image_io.h"
#include "guide_overlay.h"
#include "palm/capture/i_palm_precheck.h"
#include "palm/capture/user_interactive.h"
#include "palm/localisation/palm_crop.h"

namespace {

struct guide_options {
    std::vector<std::string> files;
    std::vector<long long> canvas = {640, 480};
    std::vector<long long> transform;
    std::string overlay;
};

const char kSynopsis[] =
    "palm guide CARD VL NIR OUT [--canvas W H] [--overlay OUT.png] | "
    "palm guide CARD OUT --transform ANGLE SCALE DX DY [--canvas W H]";

bool fits_int(long long v) {
    return v >= -2147483648LL && v <= 2147483647LL;
}

// The process-wide guidance object, prepared with the template and a
// canvas of the requested size.
palm_algorithm::user_interactive* prepared(const palm_share::palm_image& card, int w, int h,
                                           std::string& error) {
    auto* ui =
        static_cast<palm_algorithm::user_interactive*>(palm_algorithm::get_interactive_inst());
    if (!ui->init(card, w, h)) {
        error = "cannot make a canvas of " + std::to_string(w) + " by " + std::to_string(h);
        return nullptr;
    }
    return ui;
}

int run_transform(const guide_options& opt, const palm_share::palm_image& card, int w, int h) {
    for (long long v : opt.transform)
        if (!fits_int(v))
            return palm_tool::fail("--transform takes four integers");
    std::string error;
    palm_algorithm::user_interactive* ui = prepared(card, w, h, error);
    if (ui == nullptr)
        return palm_tool::fail(error);
    // As gen_interactive starts: rectangle and canvas cleared (a new canvas
    // is black already).
    palm_struct::_card_rect rect{0, 0, 0, 0};
    const bool drawn =
        ui->Transform(static_cast<int>(opt.transform[0]), static_cast<int>(opt.transform[1]),
                      static_cast<int>(opt.transform[2]), static_cast<int>(opt.transform[3]), rect);
    std::printf("drawn %d rect %d %d %d %d\n", drawn ? 1 : 0, rect.left, rect.top, rect.right,
                rect.bottom);
    if (!palm_tool::write_grey_image(opt.files[1], ui->get_canvas(), error))
        return palm_tool::fail(error);
    return 0;
}

int run_frames(const guide_options& opt, const palm_share::palm_image& card, int w, int h) {
    palm_share::image_pair pair;
    std::string error;
    if (!palm_tool::read_grey_image(opt.files[1], pair.vl, error) ||
        !palm_tool::read_grey_image(opt.files[2], pair.nir, error))
        return palm_tool::fail(error);
    palm_algorithm::CPalmCrop::GenerateMappingTable();
    palm_struct::_crop_results res;
    const palm_algorithm::palm_position size =
        palm_algorithm::get_palm_precheck_inst()->PreCheck(pair.nir, res);
    std::vector<palm_share::image_pair> rois;
    const int code = palm_algorithm::get_crop_inst()->Crop(pair, rois, res);
    palm_algorithm::user_interactive* ui = prepared(card, w, h, error);
    if (ui == nullptr)
        return palm_tool::fail(error);
    palm_struct::_card_rect rect{0, 0, 0, 0};
    const unsigned char* drawn = ui->gen_interactive(res, rect);
    if (drawn != nullptr) {
        std::printf("rect %d %d %d %d\n", rect.left, rect.top, rect.right, rect.bottom);
        if (!palm_tool::write_grey_image(opt.files[3], ui->get_canvas(), error))
            return palm_tool::fail(error);
    } else {
        std::printf("none\n");
    }
    if (!opt.overlay.empty()) {
        // The size word of the pre-check first; with a fitting size, where
        // the palm lies.
        const int word = size != palm_algorithm::POS_OK
                             ? size
                             : palm_algorithm::get_crop_inst()->GetPalmPos(res);
        char notes[160];
        std::snprintf(notes, sizeof(notes), "crop %d  area %.1f%%  angle %.1f deg  offset %d, %d",
                      code, res.area_percent, res.rotate_angle * 57.29577951307855,
                      res.palm_offset_x, res.palm_offset_y);
        // A blank canvas where nothing was drawn: gen_interactive may have
        // stopped before clearing it.
        palm_share::palm_image blank;
        const palm_tool::guide_picture picture{&pair.nir,
                                               drawn != nullptr ? &ui->get_canvas() : &blank,
                                               &res,
                                               code == 0,
                                               palm_tool::position_word(word),
                                               notes};
        if (!palm_tool::write_guide_overlay(opt.overlay, picture, error))
            return palm_tool::fail(error);
    }
    return 0;
}

int run_guide(const guide_options& opt) {
    const bool transform = !opt.transform.empty();
    if (opt.files.size() != (transform ? 2u : 4u))
        return palm_tool::fail(std::string("usage: ") + kSynopsis);
    if (transform && !opt.overlay.empty())
        return palm_tool::fail("--overlay needs the frame pair, not --transform");
    if (opt.canvas[0] < 1 || opt.canvas[1] < 1 || opt.canvas[0] > 65535 || opt.canvas[1] > 65535)
        return palm_tool::fail("--canvas takes a width and height from 1 to 65535");
    const int w = static_cast<int>(opt.canvas[0]), h = static_cast<int>(opt.canvas[1]);
    palm_share::palm_image card;
    std::string error;
    if (!palm_tool::read_grey_image(opt.files[0], card, error))
        return palm_tool::fail(error);
    // A card of any size goes to the library: a turned box larger than the
    // canvas is cut to it before placement, and the rectangle says what was
    // drawn.
    return transform ? run_transform(opt, card, w, h) : run_frames(opt, card, w, h);
}

palm_tool::runner setup_guide(CLI::App& app) {
    auto opt = std::make_shared<guide_options>();
    app.add_option("FILES", opt->files, "CARD VL NIR OUT, or CARD OUT with --transform")
        ->required();
    app.add_option("--canvas", opt->canvas, "canvas width and height, 640 480 by default")
        ->expected(2);
    app.add_option("--transform", opt->transform,
                   "draw directly: angle in degrees, scale in percent, offsets in pixels")
        ->expected(4);
    app.add_option("--overlay", opt->overlay,
                   "also write a picture of the frame with the guidance drawn over it (PNG)");
    return [opt] { return run_guide(*opt); };
}

}  // namespace

PALM_COMMAND("guide", kSynopsis,
             "draw the guidance overlay of a frame pair, or of a given angle, scale and offset",
             "palm guide card.png frames/vl.png frames/nir.png canvas.png --overlay picture.png",
             setup_guide);
