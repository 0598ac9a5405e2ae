// The process-wide algorithm objects, all in this one file: objects of one
// translation unit are built in the order they are written and destroyed in
// the reverse order, and the pre-check reads PROMPT_RECT, so that order is
// fixed here rather than left to the linker.
#include "palm/capture/cmos_judge.h"
#include "palm/capture/palm_precheck.h"
#include "palm/capture/user_interactive.h"
#include "palm/extraction/feature_extract.h"
#include "palm/localisation/palm_crop.h"
#include "palm/matching/feature_match.h"

namespace palm_algorithm {

const i_palm_precheck::rect i_palm_precheck::PROMPT_RECT = {100, 40, 540, 440};

CPalmCrop g_crop_inst;
CPalmExtract g_feature_extract_inst;
CPalmMatch g_match_inst;

cmos_judge g_cmos_judge;

CPalmPreCheck g_palm_precheck;

// ---- calibration: g_calib_calc (single_frame_calib_calc) and its accessors go here ----

user_interactive g_user_interactive;

i_palm_crop* get_crop_inst() {
    return &g_crop_inst;
}

void release_crop_inst() {}

i_feature_extractor* get_extractor_inst() {
    return &g_feature_extract_inst;
}

void release_extractor_inst() {}

i_feature_match* get_feature_match_inst() {
    return &g_match_inst;
}

void release_feature_match_inst() {}

i_cmos_judge* get_cmos_judge_inst() {
    return &g_cmos_judge;
}

void release_cmos_judge_inst() {}

i_palm_precheck* get_palm_precheck_inst() {
    return &g_palm_precheck;
}

void release_palm_precheck_inst() {}

// Deliberately without a release.
i_user_interactive_interface* get_interactive_inst() {
    return &g_user_interactive;
}

}  // namespace palm_algorithm
