// "palm extract": codes a 110 x 110 region of interest into its 384-byte
// palm code, written to a file or printed as hex.
#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "command.h"
#include "file_util.h"
#include "grey_image_io.h"
#include "palm/extraction/i_feature_extractor.h"
#include "palm/feature/single_feature.h"

namespace {

struct extract_options {
    bool hex = false;
    std::vector<std::string> files;
};

int run_extract(extract_options const& opt) {
    std::vector<std::string> const& files = opt.files;
    bool const hex = opt.hex;
    if (files.size() != (hex ? 1u : 2u)) {
        return palm_tool::fail("usage: palm extract ROI OUT | palm extract --hex ROI");
    }
    palm_share::palm_image roi;
    std::string error;
    if (!palm_tool::read_grey_image(files[0], roi, error))
        return palm_tool::fail(error);
    if (roi.GetWidth() != 110 || roi.GetHeight() != 110) {
        return palm_tool::fail("the region must be 110 x 110 pixels, " + files[0] + " is " +
                               std::to_string(roi.GetWidth()) + " x " +
                               std::to_string(roi.GetHeight()));
    }
    palm_feature::single_feature feature;
    if (!palm_algorithm::get_extractor_inst()->extract(roi, feature)) {
        return palm_tool::fail("coding failed");
    }
    if (hex) {
        std::string text;
        for (int i = 0; i < palm_feature::FEATURE_DATA_SIZE; ++i) {
            char two[3];
            std::snprintf(two, sizeof(two), "%02x", feature.data[i]);
            text += two;
        }
        std::cout << text << "\n";
        return 0;
    }
    const std::string code(reinterpret_cast<char const*>(feature.data),
                           palm_feature::FEATURE_DATA_SIZE);
    if (!palm_tool::write_whole_file(files[1], code)) {
        return palm_tool::fail("cannot write " + files[1]);
    }
    return 0;
}

palm_tool::runner setup_extract(CLI::App& app) {
    auto opt = std::make_shared<extract_options>();
    app.add_flag("--hex", opt->hex, "print the code as 768 hex digits instead of writing OUT");
    app.add_option("FILES", opt->files, "ROI OUT: the region (PGM, PNG or BMP) and the code file")
        ->required();
    return [opt] { return run_extract(*opt); };
}

}  // namespace

PALM_COMMAND("extract", "palm extract ROI OUT | palm extract --hex ROI",
             "code a 110x110 region (PGM, PNG, BMP) into a 384-byte palm code",
             "palm extract roi_nir.png vein.bin", setup_extract);
