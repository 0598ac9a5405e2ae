// "palm simulate --identity N [pose options] [--calib FILE] OUTDIR": renders
// a frame pair of the synthetic camera (vl.png, nir.png) and prints where the
// webs lie. "palm simulate --board [--calib FILE] OUTDIR" renders the
// calibration board instead (nir.png, vl.png); FILE gives the lenses and the
// homography the cameras see through, the default ones without it.
// "palm simulate --stream N [--identity N] [--hand H] [--day D] OUTDIR":
// renders a capture stream of N frames (40 to 80) as NNNN_vl.png and
// NNNN_nir.png, a person presenting one hand to the device. "--difficulty D"
// (easy, realistic, hard; realistic by default) sets how much a palm's
// captures vary: skin stretch, tilt, defocus, uneven light and noise.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "calib_file.h"
#include "command.h"
#include "file_util.h"
#include "grey_image_io.h"
#include "sim/capture_difficulty.h"
#include "sim/synthetic_board.h"
#include "sim/synthetic_camera.h"
#include "sim/synthetic_stream.h"

namespace {

struct simulate_options {
    double identity = -1;
    std::vector<double> offset = {0, 0};
    double rotation = 0;
    double scale = 1;
    std::vector<double> tilt = {0, 0};
    double noise = 0;
    double noise_seed = 0;
    bool board = false;
    std::string calib;
    std::string outdir;
    int stream = 0;
    int hand = 1;
    double day = 1;
    std::string difficulty = palm_test::difficulty_name(palm_test::DEFAULT_DIFFICULTY);
    bool noise_given = false;
};

std::string const stream_usage =
    "usage: palm simulate --stream N [--identity N] [--hand 1|0] [--day D] [--difficulty D] "
    "OUTDIR, N from 40 to 80";

// Writes the two frames into OUTDIR.
int write_frames(std::string const& outdir, palm_share::palm_image const& nir,
                 palm_share::palm_image const& vl) {
    if (!palm_tool::make_dir(outdir))
        return palm_tool::fail("cannot create '" + outdir + "'");
    std::string error;
    std::string const dir = outdir + "/";
    if (!palm_tool::write_grey_image(dir + "vl.png", vl, error) ||
        !palm_tool::write_grey_image(dir + "nir.png", nir, error))
        return palm_tool::fail(error);
    std::printf("wrote %svl.png and %snir.png\n", dir.c_str(), dir.c_str());
    return 0;
}

int run_stream(simulate_options const& opt, palm_test::difficulty level) {
    double const identity = opt.identity < 0 ? 1 : opt.identity;
    if (opt.stream < palm_test::capture_stream::MIN_FRAMES ||
        opt.stream > palm_test::capture_stream::MAX_FRAMES || identity > 4294967295.0 ||
        identity != std::floor(identity) || opt.day < 0 || opt.day > 4294967295.0 ||
        opt.day != std::floor(opt.day) || (opt.hand != 0 && opt.hand != 1))
        return palm_tool::fail(stream_usage);
    if (!palm_tool::make_dir(opt.outdir))
        return palm_tool::fail("cannot create '" + opt.outdir + "'");
    palm_test::ensure_lens_tables();
    palm_test::capture_stream const s(static_cast<std::uint32_t>(identity), opt.hand,
                                      static_cast<std::uint32_t>(opt.day), opt.stream, level);
    std::string error;
    for (int i = 0; i < s.size(); ++i) {
        char name[16];
        std::snprintf(name, sizeof name, "%04d", i);
        std::string const base = opt.outdir + "/" + name;
        palm_share::image_pair const f = s.frame(i);
        if (!palm_tool::write_grey_image(base + "_vl.png", f.vl, error) ||
            !palm_tool::write_grey_image(base + "_nir.png", f.nir, error))
            return palm_tool::fail(error);
        std::printf("%s %s\n", name, s.phase(i));
    }
    std::printf("wrote %d frame pairs to %s\n", s.size(), opt.outdir.c_str());
    return 0;
}

int run_simulate(simulate_options const& opt) {
    std::string const usage =
        "usage: palm simulate --identity N [--offset X Y] [--rotation DEG] [--scale S] "
        "[--tilt X Y] [--noise SIGMA] [--noise-seed N] [--difficulty D] [--calib FILE] OUTDIR | "
        "palm simulate --board [--calib FILE] OUTDIR";
    palm_test::difficulty level = palm_test::DEFAULT_DIFFICULTY;
    if (!palm_test::parse_difficulty(opt.difficulty, level))
        return palm_tool::fail("--difficulty must be " +
                               std::string(palm_test::difficulty_names()) + " (" +
                               (opt.stream != 0 ? stream_usage : usage) + ")");
    if (opt.stream != 0)
        return opt.board || !opt.calib.empty() ? palm_tool::fail(stream_usage)
                                               : run_stream(opt, level);
    palm_struct::calib_data calib;
    std::string error;
    if (!opt.calib.empty() && !palm_tool::read_calibration(opt.calib, calib, error))
        return palm_tool::fail(error);
    palm_struct::calib_data const* lens = opt.calib.empty() ? nullptr : &calib;
    if (opt.board) {
        if (opt.identity != -1)
            return palm_tool::fail(usage);
        palm_test::board_frames const f = palm_test::render_board(lens, palm_test::board_options());
        return write_frames(opt.outdir, f.nir, f.vl);
    }
    palm_test::camera_pose pose;
    pose.offset_x = opt.offset[0];
    pose.offset_y = opt.offset[1];
    pose.rotation = opt.rotation;
    pose.scale = opt.scale;
    pose.tilt_x = opt.tilt[0];
    pose.tilt_y = opt.tilt[1];
    pose.noise = opt.noise;
    pose.noise_seed = static_cast<std::uint32_t>(opt.noise_seed);
    // The level's variation comes on top of the pose given; a noise given
    // stays as given.
    palm_test::vary_pose(pose, level, pose.noise_seed, pose.noise_seed);
    if (opt.noise_given)
        pose.noise = opt.noise;
    double const identity = opt.identity;
    bool const ok = identity >= 0 && identity <= 4294967295.0 && identity == std::floor(identity) &&
                    pose.scale > 0.2 && pose.scale < 5 && std::abs(pose.tilt_x) < 60 &&
                    std::abs(pose.tilt_y) < 60 && pose.noise >= 0 && opt.noise_seed >= 0 &&
                    opt.noise_seed <= 4294967295.0;
    if (!ok)
        return palm_tool::fail(usage);
    palm_test::camera_frame const f =
        palm_test::render_frame_pair(static_cast<std::uint32_t>(identity), pose, lens);
    if (int const status = write_frames(opt.outdir, f.frames.nir, f.frames.vl))
        return status;
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
    app.add_option("--identity", opt->identity,
                   "the synthetic palm, 0 to 4294967295 (required without --stream or --board)");
    app.add_flag("--board", opt->board, "render the calibration board instead of a palm");
    app.add_option("--calib", opt->calib, "calibration file the cameras see through");
    app.add_option("--stream", opt->stream, "render a capture stream of N frames, 40 to 80");
    app.add_option("--hand", opt->hand, "with --stream: hand 1 (first) or 0 (second)");
    app.add_option("--day", opt->day, "with --stream: the day, which varies place and light");
    app.add_option("--offset", opt->offset, "shift of the hand in pixels, X Y")->expected(2);
    app.add_option("--rotation", opt->rotation, "turn of the hand in degrees");
    app.add_option("--scale", opt->scale, "size of the hand, above 0.2 and below 5");
    app.add_option("--tilt", opt->tilt, "tilt of the hand in degrees, X Y, each below 60")
        ->expected(2);
    app.add_option("--noise", opt->noise, "sensor noise, standard deviation in grey levels")
        ->each([opt](std::string const&) { opt->noise_given = true; });
    app.add_option("--difficulty", opt->difficulty,
                   "how much captures vary: easy (pose and slight noise), realistic (default: "
                   "also skin stretch, tilt, defocus, uneven light, like real hands) or hard");
    app.add_option("--noise-seed", opt->noise_seed, "seed of the noise");
    app.add_option("OUTDIR", opt->outdir, "folder for vl.png and nir.png")->required();
    return [opt] { return run_simulate(*opt); };
}

}  // namespace

PALM_COMMAND("simulate",
             "palm simulate --identity N [--offset X Y] [--rotation DEG] [--scale S] "
             "[--tilt X Y] [--noise SIGMA] [--noise-seed N] [--difficulty D] [--calib FILE] "
             "OUTDIR | palm simulate --board [--calib FILE] OUTDIR | palm simulate --stream N "
             "[--identity N] [--hand 1|0] [--day D] [--difficulty D] OUTDIR",
             "render a synthetic 640x480 frame pair (vl.png, nir.png) of palm N or of the "
             "calibration board, or a capture stream of N frame pairs; --difficulty easy, "
             "realistic (default: skin stretch, tilt, defocus, uneven light and noise like real "
             "hands) or hard",
             "palm simulate --identity 7 --rotation 5 frames", setup_simulate);
