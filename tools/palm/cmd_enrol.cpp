// "palm enrol [--count 25|5] FRAMES_DIR OUT": the device's enrolment over the
// frame pairs of a folder, one line per frame, and the template's binary
// record in OUT when the enrolment yields one.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "command.h"
#include "frame_pairs.h"
#include "palm/localisation/palm_crop.h"
#include "palm/workflow/feature_enroll.h"

namespace {

struct enrol_options {
    int count = 25;
    std::string frames_dir;
    std::string out;
};

int run_enrol(enrol_options const& opt) {
    std::vector<palm_tool::named_frame> frames;
    std::string error;
    if (!palm_tool::read_frame_pairs(opt.frames_dir, frames, error))
        return palm_tool::fail(error);
    palm_algorithm::CPalmCrop::GenerateMappingTable();
    palm_workflow::feature_enroll enroll(opt.count == 5 ? palm_workflow::ENROLL_FEATURE_5
                                                        : palm_workflow::ENROLL_FEATURE_25);
    enroll.reset();
    for (palm_tool::named_frame const& f : frames) {
        palm_algorithm::palm_position pos = palm_algorithm::POS_OK;
        bool const changed = enroll.enrolling(f.frame, pos);
        std::printf("frame %s stage %d candidates %d changed %d\n", f.name.c_str(),
                    enroll.get_stage(), enroll.candidates_count(), changed ? 1 : 0);
        if (enroll.get_stage() == 3 || enroll.get_stage() == -1)
            break;
    }
    std::printf("stage %d\n", enroll.get_stage());
    std::printf("images %d\n", static_cast<int>(enroll.get_images().size()));
    palm_feature::user_palm_feature const* const features = enroll.get_features();
    if (features == nullptr) {
        std::printf("features none\n");
        return 0;
    }
    if (!features->save(opt.out))
        return palm_tool::fail("cannot write '" + opt.out + "'");
    std::printf("features %d\n", features->size());
    return 0;
}

palm_tool::runner setup_enrol(CLI::App& app) {
    auto opt = std::make_shared<enrol_options>();
    app.add_option("--count", opt->count, "features of the template, 25 (default) or 5")
        ->check(CLI::IsMember({5, 25}));
    app.add_option("FRAMES_DIR", opt->frames_dir, "folder of NAME_vl.EXT and NAME_nir.EXT pairs")
        ->required();
    app.add_option("OUT", opt->out, "file for the template's binary record")->required();
    return [opt] { return run_enrol(*opt); };
}

}  // namespace

PALM_COMMAND("enrol", "palm enrol [--count 25|5] FRAMES_DIR OUT",
             "enrol one hand from a folder of frame pairs into a template record",
             "palm enrol --count 5 frames hand.rec", setup_enrol);
