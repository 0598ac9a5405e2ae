// "palm lens": the lens model of the default calibration.
//   palm lens table OUT [--tag TEXT]   writes the calibration mapping file
//   palm lens map X Y --camera nir|vl --forward|--backward
//                                       maps one point (absolute pixels)
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "palm/localisation/lens_mapping.h"
#include "palm/localisation/palm_crop.h"
#include "command.h"

using palm_algorithm::CPalmCrop;
using palm_struct::_point;

namespace {

bool parse_number(std::string const& text, double& value) {
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return end != text.c_str() && *end == '\0';
}

int lens_table(std::vector<std::string> const& args) {
    if (args.size() != 3 && !(args.size() == 5 && args[3] == "--tag"))
        return palm_tool::fail("usage: palm lens table OUT [--tag TEXT]");
    std::string const tag_text = args.size() == 5 ? args[4] : "PALMLENS";
    if (tag_text.size() > 8) return palm_tool::fail("the tag is at most 8 bytes");
    unsigned char tag[8] = {0};
    std::memcpy(tag, tag_text.data(), tag_text.size());
    CPalmCrop::GenerateMappingTable();
    if (!palm_algorithm::store_calib_mapping_file(args[2], tag))
        return palm_tool::fail("cannot write '" + args[2] + "'");
    std::cout << "wrote " << args[2] << " (2457608 bytes, tag '" << tag_text << "')\n";
    return 0;
}

int lens_map(std::vector<std::string> const& args) {
    std::string const usage = "usage: palm lens map X Y --camera nir|vl --forward|--backward";
    if (args.size() != 7) return palm_tool::fail(usage);
    double x = 0, y = 0;
    if (!parse_number(args[2], x) || !parse_number(args[3], y))
        return palm_tool::fail("X and Y must be numbers");
    bool nir = true, forward = true, camera_seen = false, direction_seen = false;
    for (std::size_t i = 4; i < args.size(); ++i) {
        if (args[i] == "--camera" && i + 1 < args.size()) {
            nir = args[i + 1] == "nir";
            if (!nir && args[i + 1] != "vl") return palm_tool::fail("camera is nir or vl");
            camera_seen = true;
            ++i;
        } else if (args[i] == "--forward" || args[i] == "--backward") {
            forward = args[i] == "--forward";
            direction_seen = true;
        } else {
            return palm_tool::fail(usage);
        }
    }
    if (!camera_seen || !direction_seen) return palm_tool::fail(usage);
    palm_struct::cp_single const& cp = nir ? CPalmCrop::_calibPara.nir : CPalmCrop::_calibPara.vl;
    _point<double> const in{x - cp.center_x, y - cp.center_y};
    _point<double> out{0, 0};
    if (forward)
        palm_algorithm::MappingForward(in, out, cp);
    else
        palm_algorithm::MappingBackward(in, out, cp);
    std::printf("%.6f %.6f\n", out.x + cp.center_x, out.y + cp.center_y);
    return 0;
}

int run_lens(std::vector<std::string> const& args) {
    if (args.size() >= 2 && args[1] == "table") return lens_table(args);
    if (args.size() >= 2 && args[1] == "map") return lens_map(args);
    return palm_tool::fail("usage: palm lens table OUT [--tag TEXT] | palm lens map X Y --camera "
                           "nir|vl --forward|--backward");
}

}  // namespace

PALM_COMMAND("lens",
             "  lens table OUT [--tag TEXT]    calibration mapping file of the default calibration\n"
             "  lens map X Y --camera nir|vl --forward|--backward\n"
             "                                 map one point between normal and raw planes",
             run_lens);
