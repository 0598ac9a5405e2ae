// "palm crop VL NIR OUTDIR": locates the palm in one frame pair, writes the
// two regions of interest (roi_vl.png, roi_nir.png) and prints the crop code
// with everything it located.
// "palm simulate --identity N [pose options] OUTDIR": renders a frame pair of
// the synthetic camera (vl.png, nir.png) and prints where the webs lie.
#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "palm/localisation/palm_crop.h"
#include "command.h"
#include "grey_image_io.h"
#include "sim/synthetic_camera.h"

using palm_algorithm::CPalmCrop;
using palm_share::image_pair;
using palm_struct::_crop_results;
using palm_struct::_point;

namespace {

bool make_dir(std::string const& path) {
    return mkdir(path.c_str(), 0755) == 0 || errno == EEXIST;
}

bool parse_double(std::string const& text, double& value) {
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return end != text.c_str() && *end == '\0';
}

void print_points(char const* name, _point<int> const* p, int n) {
    std::printf("%-17s", name);
    for (int i = 0; i < n; ++i)
        std::printf(" (%d, %d)", p[i].x, p[i].y);
    std::printf("\n");
}

int run_crop(std::vector<std::string> const& args) {
    if (args.size() != 4)
        return palm_tool::fail("usage: palm crop VL NIR OUTDIR");
    image_pair in;
    std::string error;
    if (!palm_tool::read_grey_image(args[1], in.vl, error))
        return palm_tool::fail(error);
    if (!palm_tool::read_grey_image(args[2], in.nir, error))
        return palm_tool::fail(error);
    if (!make_dir(args[3]))
        return palm_tool::fail("cannot create '" + args[3] + "'");
    CPalmCrop::GenerateMappingTable();
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
    std::string const dir = args[3] + "/";
    if (!palm_tool::write_grey_image(dir + "roi_vl.png", out[0].vl, error) ||
        !palm_tool::write_grey_image(dir + "roi_nir.png", out[0].nir, error))
        return palm_tool::fail(error);
    std::printf("wrote %sroi_vl.png and %sroi_nir.png\n", dir.c_str(), dir.c_str());
    return 0;
}

int run_simulate(std::vector<std::string> const& args) {
    std::string const usage =
        "usage: palm simulate --identity N [--offset X Y] [--rotation DEG] [--scale S] "
        "[--tilt X Y] [--noise SIGMA] [--noise-seed N] OUTDIR";
    palm_test::camera_pose pose;
    double identity = -1, v = 0;
    std::string outdir;
    for (std::size_t i = 1; i < args.size(); ++i) {
        std::string const& a = args[i];
        auto one = [&](double& target) {
            if (i + 1 >= args.size() || !parse_double(args[i + 1], target))
                return false;
            ++i;
            return true;
        };
        auto two = [&](double& x, double& y) {
            if (i + 2 >= args.size() || !parse_double(args[i + 1], x) ||
                !parse_double(args[i + 2], y))
                return false;
            i += 2;
            return true;
        };
        bool ok = true;
        if (a == "--identity") {
            ok = one(identity) && identity >= 0 && identity <= 4294967295.0;
        } else if (a == "--offset") {
            ok = two(pose.offset_x, pose.offset_y);
        } else if (a == "--rotation") {
            ok = one(pose.rotation);
        } else if (a == "--scale") {
            ok = one(pose.scale) && pose.scale > 0.2 && pose.scale < 5;
        } else if (a == "--tilt") {
            ok = two(pose.tilt_x, pose.tilt_y) && std::abs(pose.tilt_x) < 60 &&
                 std::abs(pose.tilt_y) < 60;
        } else if (a == "--noise") {
            ok = one(pose.noise) && pose.noise >= 0;
        } else if (a == "--noise-seed") {
            ok = one(v) && v >= 0 && v <= 4294967295.0;
            pose.noise_seed = static_cast<std::uint32_t>(v);
        } else if (outdir.empty() && !a.empty() && a[0] != '-') {
            outdir = a;
        } else {
            ok = false;
        }
        if (!ok)
            return palm_tool::fail(usage);
    }
    if (identity < 0 || outdir.empty())
        return palm_tool::fail(usage);
    if (!make_dir(outdir))
        return palm_tool::fail("cannot create '" + outdir + "'");
    palm_test::camera_frame const f =
        palm_test::render_frame_pair(static_cast<std::uint32_t>(identity), pose);
    std::string error;
    std::string const dir = outdir + "/";
    if (!palm_tool::write_grey_image(dir + "vl.png", f.frames.vl, error) ||
        !palm_tool::write_grey_image(dir + "nir.png", f.frames.nir, error))
        return palm_tool::fail(error);
    std::printf("wrote %svl.png and %snir.png\n", dir.c_str(), dir.c_str());
    std::printf("webs (raw NIR)    (%.1f, %.1f) (%.1f, %.1f)\n", f.nir_key[0].x, f.nir_key[0].y,
                f.nir_key[1].x, f.nir_key[1].y);
    return 0;
}

}  // namespace

PALM_COMMAND("crop",
             "  crop VL NIR OUTDIR              locates the palm in a frame pair, writes both\n"
             "                                 regions and prints what was found",
             run_crop);
PALM_COMMAND("simulate",
             "  simulate --identity N [--offset X Y] [--rotation DEG] [--scale S] [--tilt X Y]\n"
             "           [--noise SIGMA] [--noise-seed N] OUTDIR\n"
             "                                 renders a synthetic frame pair (vl.png, nir.png)",
             run_simulate);
