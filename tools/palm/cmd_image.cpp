// "palm image OP IN OUT": runs one image operator on a grey image and writes
// the result (PGM, or PNG/BMP by extension), so that each step of the hand
// segmentation can be looked at.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "command.h"
#include "grey_image_io.h"
#include "palm/image/palm_image.h"

namespace {

using palm_share::palm_image;

// Draws the traced outline of a contour image, white on black.
palm_image draw_trace(palm_image const& in, size_t& samples) {
    std::vector<palm_struct::_position> edge;
    in.Trace(edge);
    samples = edge.size();
    palm_image out(in.GetWidth(), in.GetHeight());
    for (auto const& p : edge)
        out.GetBuffer()[p.y * in.GetWidth() + p.x] = 255;
    return out;
}

struct image_options {
    std::string op, in, out;
};

int run_image(image_options const& opt) {
    std::string const& op = opt.op;
    palm_image img;
    std::string error;
    if (!palm_tool::read_grey_image(opt.in, img, error))
        return palm_tool::fail(error);

    palm_image out;
    if (op == "copy") {
        out = img;
    } else if (op == "threshold") {
        img.AdaptiveThreshold();
        out = img;
    } else if (op == "susan") {
        // The edge clean-up of the mask that the threshold gives.
        palm_image mask(img);
        mask.AdaptiveThreshold();
        img.SusanSmooth(mask);
        out = mask;
    } else if (op == "close31") {
        img.CloseImage_3_1();
        out = img;
    } else if (op == "open33") {
        img.OpenImage_3_3();
        out = img;
    } else if (op == "close33") {
        img.CloseImage_3_3();
        out = img;
    } else if (op == "contour4" || op == "contour8") {
        img.Contour(op == "contour4" ? 4 : 8);
        out = img;
    } else if (op == "filterdot") {
        img.FilterDot();
        out = img;
    } else if (op == "largest") {
        std::cout << "area " << img.RetainLargestRegion() << "\n";
        out = img;
    } else if (op == "central") {
        palm_struct::_point<int> c = img.GetCentroid();
        std::cout << "centroid " << c.x << " " << c.y << "\n";
        out = palm_image(img.GetWidth(), img.GetHeight());
        img.FindCentralRegion(c.x, c.y, out);
    } else if (op == "downsample") {
        out = palm_image(img.GetWidth() / 2, img.GetHeight() / 2);
        img.DownSampling2(out);
    } else if (op == "trace") {
        size_t samples = 0;
        out = draw_trace(img, samples);
        std::cout << "samples " << samples << "\n";
    } else {
        return palm_tool::fail("unknown image operator: " + op + " (palm help)");
    }
    if (!out.IsValid())
        return palm_tool::fail("the operator left no image");
    if (!palm_tool::write_grey_image(opt.out, out, error))
        return palm_tool::fail(error);
    return 0;
}

palm_tool::runner setup_image(CLI::App& app) {
    auto opt = std::make_shared<image_options>();
    app.add_option("OP", opt->op,
                   "threshold susan close31 open33 close33 contour4 contour8 filterdot largest "
                   "central downsample trace copy")
        ->required();
    app.add_option("IN", opt->in, "grey image (PGM, PNG or BMP)")->required();
    app.add_option("OUT", opt->out, "result: PGM, or PNG/BMP by extension")->required();
    return [opt] { return run_image(*opt); };
}

}  // namespace

PALM_COMMAND("image", "palm image OP IN OUT",
             "run one image operator (threshold susan close31 open33 close33 contour4 contour8 "
             "filterdot largest central downsample trace copy) and write the result",
             "palm image threshold nir.png mask.png", setup_image);
