// "palm crop VL NIR OUTDIR [--calib FILE]": locates the palm in one frame
// pair, writes the two regions of interest (roi_vl.png, roi_nir.png) and
// prints the crop code with everything it located, on the default
// calibration or the one in FILE.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "calib_file.h"
#include "command.h"
#include "file_util.h"
#include "grey_image_io.h"
#include "palm/localisation/palm_crop.h"

using palm_algorithm::CPalmCrop;
using palm_share::image_pair;
using palm_struct::_crop_results;
using palm_struct::_point;

namespace {

void print_points(char const* name, _point<int> const* p, int n) {
    std::printf("%-17s", name);
    for (int i = 0; i < n; ++i)
        std::printf(" (%d, %d)", p[i].x, p[i].y);
    std::printf("\n");
}

struct crop_options {
    std::string vl, nir, outdir;
    std::string calib;
};

int run_crop(crop_options const& opt) {
    image_pair in;
    std::string error;
    if (!palm_tool::read_grey_image(opt.vl, in.vl, error))
        return palm_tool::fail(error);
    if (!palm_tool::read_grey_image(opt.nir, in.nir, error))
        return palm_tool::fail(error);
    if (!palm_tool::use_calibration(opt.calib, error))
        return palm_tool::fail(error);
    if (!palm_tool::make_dir(opt.outdir))
        return palm_tool::fail("cannot create '" + opt.outdir + "'");
    std::vector<image_pair> out;
    _crop_results res;
    int const code = palm_algorithm::get_crop_inst()->Crop(in, out, res);
    std::printf("crop code        %d\n", code);
    print_points("nir_key_normal", res.nir_key_normal, 2);
    print_points("nir_corner_normal", res.nir_corner_normal, 4);
    print_points("nir_key", res.nir_key, 2);
    print_points("nir_corner", res.nir_corner, 4);
    print_points("vl_key_normal", res.vl_key_normal, 2);
    print_points("vl_corner_normal", res.vl_corner_normal, 4);
    print_points("vl_key", res.vl_key, 2);
    print_points("vl_corner", res.vl_corner, 4);
    std::printf("area_percent      %.6f\n", res.area_percent);
    std::printf("rotate_angle      %.6f\n", res.rotate_angle);
    std::printf("palm_offset_x     %d\n", res.palm_offset_x);
    std::printf("palm_offset_y     %d\n", res.palm_offset_y);
    std::printf("palm_position     %d\n",
                static_cast<int>(palm_algorithm::get_crop_inst()->GetPalmPos(res)));
    if (code != 0)
        return 1;
    std::string const dir = opt.outdir + "/";
    if (!palm_tool::write_grey_image(dir + "roi_vl.png", out[0].vl, error) ||
        !palm_tool::write_grey_image(dir + "roi_nir.png", out[0].nir, error))
        return palm_tool::fail(error);
    std::printf("wrote %sroi_vl.png and %sroi_nir.png\n", dir.c_str(), dir.c_str());
    return 0;
}

palm_tool::runner setup_crop(CLI::App& app) {
    auto opt = std::make_shared<crop_options>();
    app.add_option("VL", opt->vl, "visible-light frame, 640x480")->required();
    app.add_option("NIR", opt->nir, "near-infrared frame, 640x480")->required();
    app.add_option("OUTDIR", opt->outdir, "folder for roi_vl.png and roi_nir.png")->required();
    app.add_option("--calib", opt->calib, "calibration file written by palm calibrate");
    return [opt] { return run_crop(*opt); };
}

}  // namespace

PALM_COMMAND("crop", "palm crop VL NIR OUTDIR [--calib FILE]",
             "locate the palm in a frame pair, write both regions and print what was found",
             "palm crop frames/vl.png frames/nir.png rois", setup_crop);
