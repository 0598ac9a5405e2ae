// "palm calibrate NIR VL OUT": the calibration from one frame pair of the
// board. Prints "code N"; on code 0 also the three lines of the record,
// which it writes to OUT as well.
#include <cstdio>
#include <memory>
#include <string>

#include "calib_file.h"
#include "command.h"
#include "file_util.h"
#include "grey_image_io.h"
#include "palm/calibration/i_calib_calc.h"

namespace {

struct calibrate_options {
    std::string nir, vl, out;
};

int run_calibrate(calibrate_options const& opt) {
    palm_share::palm_image nir, vl;
    std::string error;
    if (!palm_tool::read_grey_image(opt.nir, nir, error) ||
        !palm_tool::read_grey_image(opt.vl, vl, error))
        return palm_tool::fail(error);
    for (auto const* img : {&nir, &vl}) {
        if (img->GetWidth() != 640 || img->GetHeight() != 480)
            return palm_tool::fail("'" + (img == &nir ? opt.nir : opt.vl) + "' is " +
                                   std::to_string(img->GetWidth()) + "x" +
                                   std::to_string(img->GetHeight()) + ", not a 640x480 frame");
    }
    palm_struct::calib_data data;
    int const code = palm_algorithm::get_calib_inst()->calib_calc(nir, vl, data);
    std::printf("code %d\n", code);
    if (code != 0)
        return 1;
    std::string const text = palm_tool::format_calibration(data);
    std::fputs(text.c_str(), stdout);
    if (!palm_tool::write_whole_file(opt.out, text))
        return palm_tool::fail("cannot write '" + opt.out + "'");
    return 0;
}

palm_tool::runner setup_calibrate(CLI::App& app) {
    auto opt = std::make_shared<calibrate_options>();
    app.add_option("NIR", opt->nir, "near-infrared frame of the board, 640x480")->required();
    app.add_option("VL", opt->vl, "visible-light frame of the board, 640x480")->required();
    app.add_option("OUT", opt->out, "text file for the calibration record")->required();
    return [opt] { return run_calibrate(*opt); };
}

}  // namespace

PALM_COMMAND("calibrate", "palm calibrate NIR VL OUT",
             "calibrate both lenses and their homography from one frame pair of the board",
             "palm calibrate board/nir.png board/vl.png device.calib", setup_calibrate);
