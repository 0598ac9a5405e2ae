// "palm exposure --init LI IR [--max] FRAMES_DIR": runs the exposure judge
// over the frame pairs NAME_vl.EXT and NAME_nir.EXT of a folder, in
// byte-wise order of NAME, and prints the registers after each pair.
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "command.h"
#include "grey_image_io.h"
#include "palm/capture/i_cmos_judge.h"

namespace {

struct exposure_options {
    std::vector<long long> init;
    bool use_max = false;
    std::string dir;
};

struct frame_files {
    std::string vl, nir;
};

bool ends_with(std::string const& s, std::string const& tail) {
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

// NAME and light of a file named NAME_vl.EXT or NAME_nir.EXT.
bool split_frame_name(std::string const& file, std::string& name, bool& nir) {
    std::size_t const dot = file.find_last_of('.');
    if (dot == std::string::npos || dot == 0)
        return false;
    std::string const stem = file.substr(0, dot);
    for (char const* tag : {"_vl", "_nir"}) {
        if (ends_with(stem, tag) && stem.size() > std::char_traits<char>::length(tag)) {
            name = stem.substr(0, stem.size() - std::char_traits<char>::length(tag));
            nir = tag[1] == 'n';
            return true;
        }
    }
    return false;
}

// The frame pairs of `dir`, sorted by NAME byte by byte (std::string
// compares as unsigned bytes do for the names a folder holds).
bool list_frames(std::string const& dir, std::map<std::string, frame_files>& frames,
                 std::string& error) {
    std::error_code ec;
    std::filesystem::directory_iterator it(dir, ec);
    if (ec) {
        error = "cannot read the folder '" + dir + "'";
        return false;
    }
    for (; it != std::filesystem::directory_iterator(); it.increment(ec)) {
        if (ec) {
            error = "cannot read the folder '" + dir + "'";
            return false;
        }
        std::string const file = it->path().filename().string();
        std::string name;
        bool nir = false;
        if (!it->is_regular_file(ec) || !split_frame_name(file, name, nir))
            continue;
        std::string& slot = nir ? frames[name].nir : frames[name].vl;
        if (!slot.empty()) {
            error = "frame " + name + " has two " + (nir ? "_nir" : "_vl") + " images";
            return false;
        }
        slot = it->path().string();
    }
    for (auto const& f : frames) {
        if (f.second.vl.empty() || f.second.nir.empty()) {
            error =
                "frame " + f.first + " has no " + (f.second.vl.empty() ? "_vl" : "_nir") + " image";
            return false;
        }
    }
    if (frames.empty()) {
        error = "no frame pairs NAME_vl.EXT and NAME_nir.EXT in '" + dir + "'";
        return false;
    }
    return true;
}

int run_exposure(exposure_options const& opt) {
    for (long long v : opt.init)
        if (v < 0 || v > 65535)
            return palm_tool::fail("--init takes two register values from 0 to 65535");
    std::map<std::string, frame_files> frames;
    std::string error;
    if (!list_frames(opt.dir, frames, error))
        return palm_tool::fail(error);
    palm_algorithm::i_cmos_judge* judge = palm_algorithm::get_cmos_judge_inst();
    judge->init(static_cast<unsigned short>(opt.init[0]), static_cast<unsigned short>(opt.init[1]));
    for (auto const& f : frames) {
        palm_share::palm_image vl, nir;
        if (!palm_tool::read_grey_image(f.second.vl, vl, error) ||
            !palm_tool::read_grey_image(f.second.nir, nir, error))
            return palm_tool::fail(error);
        bool li_changed = false, ir_changed = false;
        judge->Cmos_Judge(nir, vl, opt.use_max, li_changed, ir_changed);
        std::printf("frame %s li_reg %u ir_reg %u li_changed %d ir_changed %d\n", f.first.c_str(),
                    static_cast<unsigned>(judge->get_li_reg()),
                    static_cast<unsigned>(judge->get_ir_reg()), li_changed ? 1 : 0,
                    ir_changed ? 1 : 0);
    }
    return 0;
}

palm_tool::runner setup_exposure(CLI::App& app) {
    auto opt = std::make_shared<exposure_options>();
    app.add_option("--init", opt->init,
                   "starting register values, visible light then near-infrared")
        ->expected(2)
        ->required();
    app.add_flag("--max", opt->use_max, "judge by the brightest pixel of the window, not the mean");
    app.add_option("FRAMES_DIR", opt->dir, "folder of NAME_vl.EXT and NAME_nir.EXT frame pairs")
        ->required();
    return [opt] { return run_exposure(*opt); };
}

}  // namespace

PALM_COMMAND("exposure", "palm exposure --init LI IR [--max] FRAMES_DIR",
             "judge the exposure of each frame pair of a folder and print the sensor registers",
             "palm exposure --init 128 128 frames", setup_exposure);
