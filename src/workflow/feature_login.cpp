#include "palm/workflow/feature_login.h"

#include <algorithm>
#include <utility>

#include "palm/extraction/i_feature_extractor.h"
#include "palm/matching/i_feature_match.h"

using palm_algorithm::i_feature_match;
using palm_algorithm::palm_position;
using palm_feature::palm_cell;
using palm_feature::single_feature;
using palm_feature::user_palm_feature;
using palm_share::image_pair;
using palm_struct::frame_info;

namespace palm_workflow {

namespace {

float distance(single_feature const& probe, single_feature const& stored) {
    return palm_algorithm::get_feature_match_inst()->match(probe, stored,
                                                           i_feature_match::DEGREE_ALL);
}

user_palm_feature const* hand_record(palm_feature_lib::two_hand_feature const* entry,
                                     palm_feature_lib::hand h) {
    return h == palm_feature_lib::first_hand ? entry->first_hand : entry->second_hand;
}

// Releases the feature library's lock on every way out of a search.
class library_lock {
  public:
    explicit library_lock(palm_feature_lib::data_locator* locator)
        : held_(palm_feature_lib::lock(locator)) {}
    ~library_lock() {
        if (held_)
            palm_feature_lib::unlock();
    }
    library_lock(library_lock const&) = delete;
    library_lock& operator=(library_lock const&) = delete;
    bool held() const { return held_; }

  private:
    bool held_;
};

// The candidate nearest to (0, 0) in the plane of both distances; the
// earliest wins a tie.
void nearest_candidate(std::vector<feature_login::CANDINATE_INFO> const& candidates,
                       unsigned int& id, palm_feature_lib::hand& hand) {
    float limit = 2.0f;
    for (auto const& c : candidates) {
        float const r = c.print_dist * c.print_dist + c.vein_dist * c.vein_dist;
        if (r < limit) {
            id = c.id;
            hand = c.hand;
            limit = r;
        }
    }
}

const palm_feature_lib::hand HANDS[2] = {palm_feature_lib::first_hand,
                                         palm_feature_lib::second_hand};

}  // namespace

std::vector<std::pair<int, int> > vecResp(1024, std::pair<int, int>(0, 0));

const float feature_login::MATCH_DISTANCE_LOGIN[15] = {
    0.35f,  0.34f,  0.622f,  //
    0.36f,  0.35f,  0.592f,  //
    0.342f, 0.324f, 0.562f,  //
    0.352f, 0.346f, 0.644f,  //
    0.36f,  0.35f,  0.65f,
};

bool operator<(dist_diff const&, dist_diff const&) {
    return false;
}

bool glm_decision(float print, float vein, float bias) {
    float const rest = bias - vein;
    float const margin = rest - print;
    return margin > 0.0f;
}

bool match_decision(palm_cell<single_feature> const& a, palm_cell<single_feature> const& b,
                    feature_login::CANDINATE_INFO& info, float print_limit, float vein_limit,
                    float bias) {
    float const v = distance(a.second, b.second);
    if (!(v < vein_limit))
        return false;
    float const p = distance(a.first, b.first);
    if (!(p < print_limit))
        return false;
    if (!glm_decision(p, v, bias))
        return false;
    info.print_dist = p;
    info.vein_dist = v;
    return true;
}

feature_login::feature_login() : intensity(DETECT_INTENSITY_1) {}

feature_login::~feature_login() {}

void feature_login::set_detect_intnesity(DETECT_INTENSITY v) {
    // A value outside the table would read past it; such a call is refused
    // and the intensity in force stays.
    if (static_cast<int>(v) < 0 || static_cast<int>(v) > 4)
        return;
    intensity = v;
}

bool feature_login::extract_regions(frame_info const& frame, std::vector<image_pair>& rois,
                                    palm_position& pos) {
    pos = pre_check(frame.nir, frame.crop);
    bool const ok = extract_palm_region(rois, LOGIN_MAX_ANGLE, frame);
    pos = get_palm_pos(frame.crop);
    return ok;
}

bool feature_login::extract_both(frame_info const& frame, palm_cell<single_feature>& cell,
                                 palm_position& pos, bool with_responses) {
    std::vector<image_pair> rois;
    if (!extract_regions(frame, rois, pos))
        return false;
    palm_algorithm::i_feature_extractor* const extractor = palm_algorithm::get_extractor_inst();
    if (with_responses)
        extractor->extract_test(rois[0].vl, cell.first, vecResp);
    else
        extractor->extract(rois[0].vl, cell.first);
    extractor->extract(rois[0].nir, cell.second);
    return true;
}

bool feature_login::feature_extract(frame_info const& frame, palm_cell<single_feature>& cell,
                                    palm_position& pos) {
    return extract_both(frame, cell, pos, false);
}

bool feature_login::feature_extract_test(frame_info const& frame, palm_cell<single_feature>& cell,
                                         palm_position& pos) {
    return extract_both(frame, cell, pos, true);
}

bool feature_login::feature_extract_match(frame_info const& frame, palm_cell<single_feature>& cell,
                                          palm_position& pos, bool first_step) {
    palm_algorithm::i_feature_extractor* const extractor = palm_algorithm::get_extractor_inst();
    if (!first_step)
        return extractor->extract(vein_roi, cell.second);
    std::vector<image_pair> rois;
    if (!extract_regions(frame, rois, pos))
        return false;
    if (!extractor->extract(rois[0].vl, cell.first))
        return false;
    vein_roi = rois[0].nir;
    return true;
}

bool feature_login::detect(frame_info const& frame, std::vector<unsigned int> const& ids,
                           palm_position& pos, unsigned int& id, palm_feature_lib::hand& hand) {
    palm_cell<single_feature> cell;
    if (!feature_extract_match(frame, cell, pos, true))
        return false;
    palm_feature_lib::data_locator locator;
    library_lock lock(&locator);
    if (!lock.held())
        return false;
    float const P = MATCH_DISTANCE_LOGIN[3 * intensity];
    float const V = MATCH_DISTANCE_LOGIN[3 * intensity + 1];
    float const B = MATCH_DISTANCE_LOGIN[3 * intensity + 2];

    // Coarse sweep: with a stride of 5 only the selected frames of a
    // 25-feature template, which stand at every fifth place.
    std::vector<std::pair<double, dist_diff> > list;
    for (unsigned int const user : ids) {
        palm_feature_lib::two_hand_feature const* const entry = locator.find(user);
        if (entry == nullptr)
            continue;
        for (palm_feature_lib::hand const h : HANDS) {
            user_palm_feature const* const record = hand_record(entry, h);
            if (record == nullptr)
                continue;
            int const n = record->size();
            int const stride = n >= 10 && n % 5 == 0 ? 5 : 1;
            double best = 1.0;
            int best_index = 0;
            for (int i = 0; i < n; i += stride) {
                float const d = distance(cell.first, (*record)[i].first);
                if (d < best) {
                    best = d;
                    best_index = i;
                }
            }
            list.push_back(std::make_pair(best, dist_diff{user, h, best_index}));
        }
    }
    std::sort(list.begin(), list.end());
    std::size_t const n_best = std::min<std::size_t>(list.size(), FINE_SWEEP_HANDS);

    // Fine sweep: the variants of the best hands, in place, not sorted again.
    for (std::size_t e = 0; e < n_best; ++e) {
        dist_diff& where = list[e].second;
        user_palm_feature const* const record = hand_record(locator.find(where.id), where.hand);
        int const n = record->size();
        if (n < 10 || n % 5 != 0)
            continue;
        for (int i = 0; i < n; ++i) {
            if (i % 5 == 0)
                continue;
            float const d = distance(cell.first, (*record)[i].first);
            if (d < list[e].first) {
                list[e].first = d;
                where.index = i;
            }
        }
    }

    // Vein sweep: the vein is coded once, and only when a print passed.
    std::vector<CANDINATE_INFO> candidates;
    bool vein_coded = false;
    for (std::size_t e = 0; e < n_best; ++e) {
        if (!(list[e].first < P))
            continue;
        if (!vein_coded) {
            if (!feature_extract_match(frame, cell, pos, false))
                return false;
            vein_coded = true;
        }
        dist_diff const& where = list[e].second;
        palm_feature_lib::two_hand_feature const* const entry = locator.find(where.id);
        user_palm_feature const* const record =
            entry == nullptr ? nullptr : hand_record(entry, where.hand);
        if (record == nullptr)
            continue;
        float const print = static_cast<float>(list[e].first);
        float const v = distance(cell.second, (*record)[where.index].second);
        if (v < V && glm_decision(print, v, B))
            candidates.push_back(CANDINATE_INFO{print, v, where.id, where.hand});
    }
    if (candidates.empty())
        return false;
    nearest_candidate(candidates, id, hand);
    return true;
}

bool feature_login::detect_jiaqiang_original(frame_info const& frame,
                                             std::vector<unsigned int> const& ids,
                                             palm_position& pos, unsigned int& id,
                                             palm_feature_lib::hand& hand) {
    palm_cell<single_feature> cell;
    if (!feature_extract(frame, cell, pos))
        return false;
    std::vector<CANDINATE_INFO> candidates;
    {
        palm_feature_lib::data_locator locator;
        library_lock lock(&locator);
        if (!lock.held())
            return false;
        float const P = MATCH_DISTANCE_LOGIN[3 * intensity];
        float const V = MATCH_DISTANCE_LOGIN[3 * intensity + 1];
        float const B = MATCH_DISTANCE_LOGIN[3 * intensity + 2];
        for (unsigned int const user : ids) {
            palm_feature_lib::two_hand_feature const* const entry = locator.find(user);
            if (entry == nullptr)
                continue;
            for (palm_feature_lib::hand const h : HANDS) {
                user_palm_feature const* const record = hand_record(entry, h);
                if (record == nullptr)
                    continue;
                CANDINATE_INFO info{1.0f, 1.0f, static_cast<unsigned int>(-1),
                                    palm_feature_lib::first_hand};
                for (int i = 0; i < record->size(); ++i) {
                    if (match_decision(cell, (*record)[i], info, P, V, B)) {
                        info.id = user;
                        info.hand = h;
                        candidates.push_back(info);
                    }
                }
            }
        }
    }
    if (candidates.empty())
        return false;
    if (candidates.size() == 1) {
        id = candidates[0].id;
        hand = candidates[0].hand;
        return true;
    }
    nearest_candidate(candidates, id, hand);
    return true;
}

std::vector<std::pair<float, float> > feature_login::detect(frame_info const& frame,
                                                            user_palm_feature const& user,
                                                            palm_position& pos) {
    palm_cell<single_feature> cell;
    if (!feature_extract(frame, cell, pos))
        return std::vector<std::pair<float, float> >();
    return detect(cell, user);
}

std::vector<std::pair<float, float> > feature_login::detect(palm_cell<single_feature> const& cell,
                                                            user_palm_feature const& user) {
    std::vector<std::pair<float, float> > out;
    out.reserve(static_cast<std::size_t>(user.size()));
    for (int i = 0; i < user.size(); ++i) {
        float const print = distance(cell.first, user[i].first);
        float const vein = distance(cell.second, user[i].second);
        out.push_back(std::make_pair(print, vein));
    }
    return out;
}

}  // namespace palm_workflow
