// "palm simulate --identity N [pose options] OUTDIR": renders a frame pair of
// the synthetic camera (vl.png, nir.png) and prints where the webs lie.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "command.h"
#include "file_util.h"
#include "grey_image_io.h"
#include "sim/synthetic_camera.h"

namespace {

struct simulate_options {
    double identity = -1;
    std::vector<double> offset = {0, 0};
    double rotation = 0;
    double scale = 1;
    std::vector<double> tilt = {0, 0};
    double noise = 0;
    double noise_seed = 0;
    std::string outdir;
};

int run_simulate(simulate_options const& opt) {
    std::string const usage =
        "usage: palm simulate --identity N [--offset X Y] [--rotation DEG] [--scale S] "
        "[--tilt X Y] [--noise SIGMA] [--noise-seed N] OUTDIR";
    palm_test::camera_pose pose;
    pose.offset_x = opt.offset[0];
    pose.offset_y = opt.offset[1];
    pose.rotation = opt.rotation;
    pose.scale = opt.scale;
    pose.tilt_x = opt.tilt[0];
    pose.tilt_y = opt.tilt[1];
    pose.noise = opt.noise;
    pose.noise_seed = static_cast<std::uint32_t>(opt.noise_seed);
    double const identity = opt.identity;
    std::string const& outdir = opt.outdir;
    bool const ok = identity >= 0 && identity <= 4294967295.0 && identity == std::floor(identity) &&
                    pose.scale > 0.2 && pose.scale < 5 && std::abs(pose.tilt_x) < 60 &&
                    std::abs(pose.tilt_y) < 60 && pose.noise >= 0 && opt.noise_seed >= 0 &&
                    opt.noise_seed <= 4294967295.0;
    if (!ok)
        return palm_tool::fail(usage);
    if (!palm_tool::make_dir(outdir))
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

palm_tool::runner setup_simulate(CLI::App& app) {
    auto opt = std::make_shared<simulate_options>();
    palm_test::camera_pose const defaults;
    opt->scale = defaults.scale;
    opt->noise = defaults.noise;
    opt->noise_seed = defaults.noise_seed;
    app.add_option("--identity", opt->identity, "the synthetic palm, 0 to 4294967295")->required();
    app.add_option("--offset", opt->offset, "shift of the hand in pixels, X Y")->expected(2);
    app.add_option("--rotation", opt->rotation, "turn of the hand in degrees");
    app.add_option("--scale", opt->scale, "size of the hand, above 0.2 and below 5");
    app.add_option("--tilt", opt->tilt, "tilt of the hand in degrees, X Y, each below 60")
        ->expected(2);
    app.add_option("--noise", opt->noise, "sensor noise, standard deviation in grey levels");
    app.add_option("--noise-seed", opt->noise_seed, "seed of the noise");
    app.add_option("OUTDIR", opt->outdir, "folder for vl.png and nir.png")->required();
    return [opt] { return run_simulate(*opt); };
}

}  // namespace

PALM_COMMAND("simulate",
             "palm simulate --identity N [--offset X Y] [--rotation DEG] [--scale S] "
             "[--tilt X Y] [--noise SIGMA] [--noise-seed N] OUTDIR",
             "render a synthetic 640x480 frame pair (vl.png, nir.png) of palm N",
             "palm simulate --identity 7 --rotation 5 frames", setup_simulate);
