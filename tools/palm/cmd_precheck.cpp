// "palm precheck NIR": the pre-check of one near-infrared frame, its palm
// position and its area against the prompt rectangle.
#include <cstdio>
#include <memory>
#include <string>

#include "command.h"
#include "grey_image_io.h"
#include "palm/capture/i_palm_precheck.h"

namespace {

int run_precheck(std::string const& path) {
    palm_share::palm_image nir;
    std::string error;
    if (!palm_tool::read_grey_image(path, nir, error))
        return palm_tool::fail(error);
    palm_struct::_crop_results res;
    palm_algorithm::palm_position const pos =
        palm_algorithm::get_palm_precheck_inst()->PreCheck(nir, res);
    std::printf("position %d\n", static_cast<int>(pos));
    std::printf("area_percent %.9g\n", res.area_percent);
    return 0;
}

palm_tool::runner setup_precheck(CLI::App& app) {
    auto path = std::make_shared<std::string>();
    app.add_option("NIR", *path, "near-infrared frame (PGM, PNG or BMP)")->required();
    return [path] { return run_precheck(*path); };
}

}  // namespace

PALM_COMMAND("precheck", "palm precheck NIR",
             "pre-check a near-infrared frame: palm position and area against the prompt",
             "palm precheck frames/0020_nir.png", setup_precheck);
