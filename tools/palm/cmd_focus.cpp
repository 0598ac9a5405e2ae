// "palm focus IMAGE TOP BOTTOM LEFT RIGHT": the focus measure of a window,
// printed as "definition X".
#include <cstdio>
#include <memory>
#include <string>

#include "command.h"
#include "grey_image_io.h"
#include "palm/calibration/i_calib_calc.h"

namespace {

struct focus_options {
    std::string image;
    int top = 0, bottom = 0, left = 0, right = 0;
};

int run_focus(focus_options const& opt) {
    palm_share::palm_image img;
    std::string error;
    if (!palm_tool::read_grey_image(opt.image, img, error))
        return palm_tool::fail(error);
    float const d = palm_algorithm::get_calib_inst()->calib_img_definition(img, opt.top, opt.bottom,
                                                                           opt.left, opt.right);
    std::printf("definition %.9g\n", d);
    return 0;
}

palm_tool::runner setup_focus(CLI::App& app) {
    auto opt = std::make_shared<focus_options>();
    app.add_option("IMAGE", opt->image, "grey image")->required();
    app.add_option("TOP", opt->top, "first row of the window")->required();
    app.add_option("BOTTOM", opt->bottom, "row after the window")->required();
    app.add_option("LEFT", opt->left, "first column of the window")->required();
    app.add_option("RIGHT", opt->right, "column after the window")->required();
    return [opt] { return run_focus(*opt); };
}

}  // namespace

PALM_COMMAND("focus", "palm focus IMAGE TOP BOTTOM LEFT RIGHT",
             "the focus measure (Tenengrad) of a window of an image",
             "palm focus board/nir.png 100 380 120 520", setup_focus);
