#include "palm/workflow/feature_enroll.h"

#include "palm/capture/i_palm_precheck.h"
#include "palm/extraction/i_feature_extractor.h"
#include "palm/localisation/i_palm_crop.h"
#include "palm/matching/i_feature_match.h"
#include "palm/workflow/enroll_debug_log.h"
#include "palm/workflow/feature_login.h"

using palm_algorithm::palm_position;
using palm_share::image_pair;
using palm_struct::frame_info;

namespace palm_workflow {

namespace {

// The older cell first, the new one second.
float distance(palm_feature::single_feature const& older,
               palm_feature::single_feature const& newer) {
    return palm_algorithm::get_feature_match_inst()->match(
        older, newer, palm_algorithm::i_feature_match::DEGREE_ALL);
}

void code(palm_share::palm_image const& roi, palm_feature::single_feature& feature) {
    palm_algorithm::get_extractor_inst()->extract(roi, feature);
}

const float PRINT_LIMIT = feature_login::MATCH_DISTANCE_LOGIN_PRINT_ENROLL;
const float VEIN_LIMIT = feature_login::MATCH_DISTANCE_LOGIN_VEIN_ENROLL;
const float CHAIN_BIAS = feature_login::MATCH_DISTANCE_LOGIN_BIAS_ENROLL;
const float LINK_BIAS = feature_login::MATCH_DISTANCE_LOGIN_BIAS_LOOSE;

}  // namespace

feature_enroll::feature_enroll(enroll_feature_count c)
    : count(c), attempts{0, 0, 0}, predetect_run(0), accepted(false), stage(0) {}

feature_enroll::~feature_enroll() {}

int feature_enroll::get_required_count() const {
    return REQUIRED_COUNT;
}

int feature_enroll::candidates_count() const {
    return static_cast<int>(candidate_frames.size());
}

int feature_enroll::get_stage() const {
    return stage;
}

std::vector<frame_info> const& feature_enroll::get_images() const {
    return stage_frames;
}

void feature_enroll::reset() {
    attempts[0] = attempts[1] = attempts[2] = 0;
    predetect_run = 0;
    stage = 0;
    stage_frames.clear();
    stage_cells.clear();
    selected.clear();
    candidates.clear();
    candidate_frames.clear();
    predetect_cells.clear();
    predetect_frames.clear();
}

palm_feature::user_palm_feature* feature_enroll::get_features() {
    features.clear();
    std::size_t const expected = count == ENROLL_FEATURE_5 ? 5 : 25;
    if (selected.size() != expected)
        return nullptr;
    for (cell_type const& cell : selected)
        features.add(cell);
    return &features;
}

bool feature_enroll::frame_limit_reached() const {
    return attempts[1] > FRAME_LIMIT - 1 || attempts[2] > FRAME_LIMIT - 1 ||
           attempts[0] > FRAME_LIMIT - 1;
}

bool feature_enroll::enrolling(frame_info const& frame, palm_position& pos) {
    if (frame_limit_reached()) {
        stage = -1;
        return true;
    }
    if (!push_candidate(frame, pos))
        return false;
    return finish_stage();
}

bool feature_enroll::finish_stage() {
    int const r = trim_candidates();
    if (r > 0) {
        ++stage;
        return true;
    }
    stage_frames.clear();
    stage_cells.clear();
    candidates.clear();
    candidate_frames.clear();
    if (stage == 0) {
        predetect_cells.clear();
        predetect_frames.clear();
    }
    attempts[stage] = 0;
    return false;
}

bool feature_enroll::push_candidate(frame_info const& frame, palm_position&) {
    if (stage < 0 || stage > 2)
        return false;
    ++attempts[stage];
    if (palm_algorithm::get_palm_precheck_inst()->PreCheck(frame.nir, frame.crop) !=
        palm_algorithm::POS_OK)
        return false;
    std::vector<image_pair> rois;
    if (!extract_palm_region(rois, ENROLL_MAX_ANGLE, frame))
        return false;
    if (palm_algorithm::get_crop_inst()->GetPalmPos(frame.crop) == palm_algorithm::POS_OK)
        admit(rois, frame);
    return candidate_frames.size() >= static_cast<std::size_t>(REQUIRED_COUNT);
}

bool feature_enroll::admit(std::vector<image_pair> const& rois, frame_info const& frame) {
    cell_type cell;
    code(rois[0].vl, cell.first);
    if (!candidates.empty()) {
        // The chain: each accepted frame is the reference of the next one; a
        // frame that does not fit is passed over.
        cell_type const& last = candidates.back();
        float const p = distance(last.first, cell.first);
        if (!(p < PRINT_LIMIT))
            return false;
        code(rois[0].nir, cell.second);
        float const v = distance(last.second, cell.second);
        if (!(v < VEIN_LIMIT) || !glm_decision(p, v, CHAIN_BIAS))
            return false;
        candidates.push_back(cell);
        candidate_frames.push_back(frame);
        return true;
    }
    if (stage == 0) {
        if (!push_predetect(rois, frame))
            return false;
        predetect_run = 0;
        candidates.insert(candidates.end(), predetect_cells.begin(), predetect_cells.end());
        candidate_frames.insert(candidate_frames.end(), predetect_frames.begin(),
                                predetect_frames.end());
        code(rois[0].nir, cell.second);
        candidates.push_back(cell);
        candidate_frames.push_back(frame);
        return true;
    }
    // A later stage opens with a frame that fits any cell of the stages
    // before: another hand can't enter half way.
    code(rois[0].nir, cell.second);
    for (cell_type const& old : stage_cells) {
        float const p = distance(old.first, cell.first);
        float const v = distance(old.second, cell.second);
        if (p < PRINT_LIMIT && v < VEIN_LIMIT && glm_decision(p, v, LINK_BIAS)) {
            candidates.push_back(cell);
            candidate_frames.push_back(frame);
            return true;
        }
    }
    return false;
}

bool feature_enroll::push_predetect(std::vector<image_pair> rois, frame_info const& frame) {
    cell_type cell;
    code(rois[0].vl, cell.first);
    code(rois[0].nir, cell.second);
    if (predetect_run == 0) {
        predetect_cells.clear();
        predetect_frames.clear();
        last_frame.clear();
        last_cell = cell;
        last_frame.push_back(frame);
        ++predetect_run;
        return predetect_run > PREDETECT_RUN - 1;
    }
    bool fits = false;
    float const p = distance(last_cell.first, cell.first);
    if (p < PRINT_LIMIT) {
        float const v = distance(last_cell.second, cell.second);
        fits = v < VEIN_LIMIT && glm_decision(p, v, LINK_BIAS);
    }
    if (fits) {
        ++predetect_run;
        predetect_cells.push_back(last_cell);
        if (!last_frame.empty())
            predetect_frames.push_back(last_frame[0]);
    } else {
        // The misfit is no member of a run: the next frame starts one.
        predetect_run = 0;
        predetect_cells.clear();
        predetect_frames.clear();
    }
    last_cell = cell;
    last_frame.clear();
    last_frame.push_back(frame);
    return predetect_run > PREDETECT_RUN - 1;
}

bool feature_enroll::enrolling_siti_enroll(frame_info const& frame, palm_position& pos,
                                           int stage_arg, std::string log, bool& accepted_io) {
    accepted = accepted_io;
    if (stage_arg >= 0 && stage_arg <= 2)
        stage = stage_arg;
    if (frame_limit_reached()) {
        stage = -1;
        // The counts are noted in the local copy only; no line is written.
        for (int i = 0; i < 3; ++i) {
            if (attempts[i] > FRAME_LIMIT - 1) {
                log += enroll_debug_log::FRAME_LIMIT;
                log += enroll_debug_log::decimal(attempts[i]);
            }
        }
        return true;
    }
    bool const result = push_candidate_siti_enroll(frame, pos, log) && finish_stage();
    accepted_io = accepted;
    return result;
}

bool feature_enroll::push_candidate_siti_enroll(frame_info const& frame, palm_position&,
                                                std::string log) {
    if (stage < 0 || stage > 2)
        return false;
    ++attempts[stage];
    if (palm_algorithm::get_palm_precheck_inst()->PreCheck_siti_enroll(
            frame.nir, frame.crop, log) != palm_algorithm::POS_OK) {
        accepted = false;
        return false;
    }
    std::vector<image_pair> rois;
    if (!extract_palm_region_siti_enroll(rois, ENROLL_MAX_ANGLE, frame, log)) {
        accepted = false;
        return false;
    }
    palm_position const where = palm_algorithm::get_crop_inst()->GetPalmPos(frame.crop);
    if (where != palm_algorithm::POS_OK) {
        log += enroll_debug_log::position_text(where);
        enroll_debug_log::write_line(log);
    } else if (admit(rois, frame)) {
        accepted = true;
    }
    return candidate_frames.size() >= static_cast<std::size_t>(REQUIRED_COUNT);
}

}  // namespace palm_workflow
