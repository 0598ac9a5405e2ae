// Frames and codes shared by the workflow tests: synthetic frames of the
// capture stream (rendered once per process), cells with a chosen number of
// changed bits, and a door to the private state of an enrolment.
#ifndef PALM_TESTS_WORKFLOW_WORKFLOW_FIXTURES_H_
#define PALM_TESTS_WORKFLOW_WORKFLOW_FIXTURES_H_

#include <map>
#include <random>
#include <tuple>
#include <vector>

#include "palm/extraction/i_feature_extractor.h"
#include "palm/feature/palm_cell.h"
#include "palm/feature/single_feature.h"
#include "palm/image/frame_info.h"
#include "palm/matching/i_feature_match.h"
#include "palm/workflow/feature_enroll.h"
#include "palm/workflow/feature_login.h"
#include "sim/random_codes.h"
#include "sim/synthetic_stream.h"

namespace palm_workflow {

// Reaches the private members of an enrolment, so that tests can set up a
// stage directly instead of feeding it dozens of frames.
class feature_enroll_test_access {
  public:
    using cell = feature_enroll::cell_type;
    explicit feature_enroll_test_access(feature_enroll& e) : e_(e) {}
    int& stage() { return e_.stage; }
    int* attempts() { return e_.attempts; }
    int& predetect_run() { return e_.predetect_run; }
    bool& accepted() { return e_.accepted; }
    std::vector<cell>& candidates() { return e_.candidates; }
    std::vector<cell>& stage_cells() { return e_.stage_cells; }
    std::vector<cell>& selected() { return e_.selected; }
    std::vector<cell>& predetect_cells() { return e_.predetect_cells; }
    std::vector<palm_struct::frame_info>& candidate_frames() { return e_.candidate_frames; }
    std::vector<palm_struct::frame_info>& stage_frames() { return e_.stage_frames; }
    int trim_candidates() { return e_.trim_candidates(); }
    int trim_candidates_stage_last() { return e_.trim_candidates_stage_last(); }
    std::vector<cell> candidates_select(double* scores, int begin, int end) {
        return e_.candidates_select(scores, begin, end);
    }
    bool push_candidate(palm_struct::frame_info const& f) {
        palm_algorithm::palm_position pos = palm_algorithm::POS_UNKNOWN;
        return e_.push_candidate(f, pos);
    }

  private:
    feature_enroll& e_;
};

}  // namespace palm_workflow

namespace palm_test {

using test_cell = palm_feature::palm_cell<palm_feature::single_feature>;

inline palm_struct::frame_info to_frame(palm_share::image_pair const& pair) {
    palm_struct::frame_info f;
    f.vl = pair.vl;
    f.nir = pair.nir;
    return f;
}

// Frame `index` of the held part of a stream of `identity`, rendered once.
// Easy captures: the tests rely on a hand always matching itself.
inline palm_struct::frame_info held_frame(std::uint32_t identity, int index, int hand = 1,
                                          std::uint32_t day = 1) {
    static std::map<std::tuple<std::uint32_t, int, int, std::uint32_t>, palm_share::image_pair>
        cache;
    auto const key = std::make_tuple(identity, index, hand, day);
    auto it = cache.find(key);
    if (it == cache.end()) {
        ensure_lens_tables();
        capture_stream const s(identity, hand, day, capture_stream::MAX_FRAMES, difficulty::easy);
        it = cache.emplace(key, s.frame(s.first_held() + index)).first;
    }
    return to_frame(it->second);
}

// A frame with nothing in front of the camera.
inline palm_struct::frame_info empty_frame() {
    palm_struct::frame_info f;
    f.vl = palm_share::palm_image(640, 480);
    f.vl.SetData(8);
    f.nir = palm_share::palm_image(640, 480);
    f.nir.SetData(0);
    return f;
}

// A frame rendered in one pose, not from a stream.
inline palm_struct::frame_info posed_frame(std::uint32_t identity, double offset_x, double offset_y,
                                           double rotation, double scale) {
    ensure_lens_tables();
    camera_pose p;
    p.offset_x = offset_x;
    p.offset_y = offset_y;
    p.rotation = rotation;
    p.scale = scale;
    return to_frame(render_frame_pair(identity, p).frames);
}

inline float distance(palm_feature::single_feature const& a,
                      palm_feature::single_feature const& b) {
    return palm_algorithm::get_feature_match_inst()->match(
        a, b, palm_algorithm::i_feature_match::DEGREE_ALL);
}

// `f` with `k` distinct bits flipped.
inline palm_feature::single_feature flipped(palm_feature::single_feature const& f, int k,
                                            std::mt19937& rng) {
    palm_feature::single_feature out = f;
    std::vector<int> bits(palm_feature::FEATURE_DATA_SIZE * 8);
    for (std::size_t i = 0; i < bits.size(); ++i)
        bits[i] = static_cast<int>(i);
    std::shuffle(bits.begin(), bits.end(), rng);
    for (int i = 0; i < k; ++i)
        out.data[bits[i] / 8] ^= static_cast<unsigned char>(1u << (bits[i] % 8));
    return out;
}

inline test_cell flipped_cell(test_cell const& c, int print_bits, int vein_bits,
                              std::mt19937& rng) {
    test_cell out;
    out.first = flipped(c.first, print_bits, rng);
    out.second = flipped(c.second, vein_bits, rng);
    return out;
}

inline test_cell random_cell(std::mt19937& rng) {
    test_cell c;
    random_code(c.first, rng);
    random_code(c.second, rng);
    return c;
}

inline bool same_code(palm_feature::single_feature const& a,
                      palm_feature::single_feature const& b) {
    return std::equal(a.data, a.data + palm_feature::FEATURE_DATA_SIZE, b.data);
}

inline bool same_cell(test_cell const& a, test_cell const& b) {
    return same_code(a.first, b.first) && same_code(a.second, b.second);
}

}  // namespace palm_test

#endif  // PALM_TESTS_WORKFLOW_WORKFLOW_FIXTURES_H_
