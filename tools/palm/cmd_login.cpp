// "palm login [--intensity N] [--exhaustive] LIB_DIR FRAMES_DIR": the
// device's login of each frame pair against a feature library of ID_HAND.rec
// records.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "command.h"
#include "frame_pairs.h"
#include "palm/feature/palm_feature_lib.h"
#include "palm/localisation/palm_crop.h"
#include "palm/workflow/feature_login.h"

namespace {

struct login_options {
    int intensity = 1;
    bool exhaustive = false;
    std::string lib_dir;
    std::string frames_dir;
};

// "ID_HAND.rec": ID decimal, HAND 1 (first hand) or 0 (second hand).
bool record_name(std::string const& file, unsigned& id, palm_feature_lib::hand& hand) {
    std::string const ext = ".rec";
    if (file.size() <= ext.size() || file.compare(file.size() - ext.size(), ext.size(), ext) != 0)
        return false;
    std::string const stem = file.substr(0, file.size() - ext.size());
    std::size_t const cut = stem.rfind('_');
    if (cut == std::string::npos || cut == 0 || cut + 2 != stem.size())
        return false;
    char const h = stem[cut + 1];
    if (h != '0' && h != '1')
        return false;
    std::string const digits = stem.substr(0, cut);
    if (digits.size() > 10 || digits.find_first_not_of("0123456789") != std::string::npos)
        return false;
    unsigned long long const value = std::strtoull(digits.c_str(), nullptr, 10);
    if (value > 4294967295ull)
        return false;
    id = static_cast<unsigned>(value);
    hand = h == '1' ? palm_feature_lib::first_hand : palm_feature_lib::second_hand;
    return true;
}

int run_login(login_options const& opt) {
    std::vector<std::string> files;
    std::string error;
    if (!palm_tool::list_dir(opt.lib_dir, files, error))
        return palm_tool::fail(error);
    for (std::string const& file : files) {
        std::string const ext = ".rec";
        if (file.size() < ext.size() || file.compare(file.size() - ext.size(), ext.size(), ext))
            continue;
        unsigned id = 0;
        palm_feature_lib::hand hand = palm_feature_lib::first_hand;
        std::string const path = opt.lib_dir + "/" + file;
        if (!record_name(file, id, hand))
            return palm_tool::fail("'" + path + "' is not named ID_HAND.rec");
        if (!palm_feature_lib::load(id, path, hand))
            return palm_tool::fail("cannot load record '" + path + "'");
    }
    std::vector<palm_tool::named_frame> frames;
    if (!palm_tool::read_frame_pairs(opt.frames_dir, frames, error))
        return palm_tool::fail(error);
    palm_algorithm::CPalmCrop::GenerateMappingTable();
    palm_workflow::feature_login login;
    login.set_detect_intnesity(
        static_cast<palm_workflow::i_feature_login::DETECT_INTENSITY>(opt.intensity));
    std::vector<unsigned> const ids = palm_feature_lib::query();
    for (palm_tool::named_frame const& f : frames) {
        palm_algorithm::palm_position pos = palm_algorithm::POS_OK;
        unsigned id = 0;
        palm_feature_lib::hand hand = palm_feature_lib::first_hand;
        bool const found = opt.exhaustive
                               ? login.detect_jiaqiang_original(f.frame, ids, pos, id, hand)
                               : login.detect(f.frame, ids, pos, id, hand);
        if (found)
            std::printf("frame %s position %d result %u %d\n", f.name.c_str(),
                        static_cast<int>(pos), id, static_cast<int>(hand));
        else
            std::printf("frame %s position %d result none\n", f.name.c_str(),
                        static_cast<int>(pos));
    }
    return 0;
}

palm_tool::runner setup_login(CLI::App& app) {
    auto opt = std::make_shared<login_options>();
    app.add_option("--intensity", opt->intensity, "detection intensity, 0 to 4 (1)")
        ->check(CLI::Range(0, 4));
    app.add_flag("--exhaustive", opt->exhaustive, "compare every stored cell, no shortcuts");
    app.add_option("LIB_DIR", opt->lib_dir, "folder of ID_HAND.rec records")->required();
    app.add_option("FRAMES_DIR", opt->frames_dir, "folder of NAME_vl.EXT and NAME_nir.EXT pairs")
        ->required();
    return [opt] { return run_login(*opt); };
}

}  // namespace

PALM_COMMAND("login", "palm login [--intensity N] [--exhaustive] LIB_DIR FRAMES_DIR",
             "log each frame pair of a folder in against a library of hand records",
             "palm login --intensity 2 library frames", setup_login);
