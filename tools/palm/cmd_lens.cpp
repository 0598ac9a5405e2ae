// "palm lens": the lens model of the default calibration, or of the one in a
// calibration file.
//   palm lens table OUT [--tag TEXT] [--calib FILE]
//                                       writes the calibration mapping file
//   palm lens map X Y --camera nir|vl --forward|--backward [--calib FILE]
//                                       maps one point (absolute pixels)
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>

#include "calib_file.h"
#include "command.h"
#include "palm/localisation/lens_mapping.h"
#include "palm/localisation/palm_crop.h"

using palm_algorithm::CPalmCrop;
using palm_struct::_point;

namespace {

struct lens_options {
    std::string out;               // table OUT
    std::string tag = "PALMLENS";  // table --tag
    double x = 0, y = 0;           // map X Y
    std::string camera;            // map --camera
    bool forward = false, backward = false;
    std::string calib;  // --calib FILE of either
};

int lens_table(lens_options const& opt) {
    std::string const& tag_text = opt.tag;
    if (tag_text.size() > 8)
        return palm_tool::fail("the tag is at most 8 bytes");
    unsigned char tag[8] = {0};
    std::memcpy(tag, tag_text.data(), tag_text.size());
    std::string error;
    if (!palm_tool::use_calibration(opt.calib, error))
        return palm_tool::fail(error);
    if (!palm_algorithm::store_calib_mapping_file(opt.out, tag))
        return palm_tool::fail("cannot write '" + opt.out + "'");
    std::cout << "wrote " << opt.out << " (2457608 bytes, tag '" << tag_text << "')\n";
    return 0;
}

int lens_map(lens_options const& opt) {
    if (opt.forward == opt.backward)
        return palm_tool::fail("usage: palm lens map X Y --camera nir|vl --forward|--backward");
    bool const nir = opt.camera == "nir";
    bool const forward = opt.forward;
    double const x = opt.x, y = opt.y;
    palm_struct::calib_data calib = CPalmCrop::_calibPara;
    std::string error;
    if (!opt.calib.empty() && !palm_tool::read_calibration(opt.calib, calib, error))
        return palm_tool::fail(error);
    palm_struct::cp_single const& cp = nir ? calib.nir : calib.vl;
    _point<double> const in{x - cp.center_x, y - cp.center_y};
    _point<double> out{0, 0};
    if (forward)
        palm_algorithm::MappingForward(in, out, cp);
    else
        palm_algorithm::MappingBackward(in, out, cp);
    std::printf("%.6f %.6f\n", out.x + cp.center_x, out.y + cp.center_y);
    return 0;
}

palm_tool::runner setup_lens(CLI::App& app) {
    auto opt = std::make_shared<lens_options>();
    app.require_subcommand(1);
    CLI::App* table =
        app.add_subcommand("table", "write the calibration mapping file of the lens model");
    table->add_option("OUT", opt->out, "mapping file to write (2457608 bytes)")->required();
    table->add_option("--tag", opt->tag, "tag of at most 8 bytes at the head of the file");
    table->add_option("--calib", opt->calib, "calibration file written by palm calibrate");
    CLI::App* map = app.add_subcommand("map", "map one point between the normal and the raw plane");
    map->add_option("X", opt->x, "x in pixels")->required();
    map->add_option("Y", opt->y, "y in pixels")->required();
    map->add_option("--camera", opt->camera, "nir or vl")
        ->required()
        ->check(CLI::IsMember({"nir", "vl"}));
    CLI::Option* fwd = map->add_flag("--forward", opt->forward, "normal plane to raw frame");
    CLI::Option* bwd = map->add_flag("--backward", opt->backward, "raw frame to normal plane");
    fwd->excludes(bwd);
    map->add_option("--calib", opt->calib, "calibration file written by palm calibrate");
    return [opt, table] { return *table ? lens_table(*opt) : lens_map(*opt); };
}

}  // namespace

PALM_COMMAND("lens",
             "palm lens table OUT [--tag TEXT] [--calib FILE] | palm lens map X Y --camera "
             "nir|vl --forward|--backward [--calib FILE]",
             "the lens model: its mapping file, or one point mapped through it",
             "palm lens map 320 240 --camera vl --forward", setup_lens);
