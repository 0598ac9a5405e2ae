// The enrolment workflow: admits well-placed frames that fit the frames
// before them, three stages of 11 candidates, and at the end selects the
// cells of a template from the groups of alike frames.
#ifndef PALM_WORKFLOW_FEATURE_ENROLL_H_
#define PALM_WORKFLOW_FEATURE_ENROLL_H_

#include <string>
#include <vector>

#include "palm/feature/palm_cell.h"
#include "palm/feature/single_feature.h"
#include "palm/feature/user_palm_feature.h"
#include "palm/image/frame_info.h"
#include "palm/image/image_pair.h"
#include "palm/palm_export.h"
#include "palm/workflow/i_feature_enroll.h"

namespace palm_workflow {

class PALM_EXPORT feature_enroll : public i_feature_enroll {
  public:
    using cell_type = palm_feature::palm_cell<palm_feature::single_feature>;

    // Two cells are neighbours when their print distance lies strictly below.
    static const float ENROLL_MAX_DISTANCE;
    static constexpr int REQUIRED_COUNT = 11;
    // Frames offered to one stage; the 151st call gives up.
    static constexpr int FRAME_LIMIT = 150;
    // Adjacent fitting frames that open stage 0.
    static constexpr int PREDETECT_RUN = 4;
    static constexpr int MOST_CELLS = 33;
    static constexpr int SMALLEST_GROUP = 5;
    static constexpr float ENROLL_MAX_ANGLE = 30.0f;

    // The neighbour test of the candidate graph.
    static bool neighbours(float print_distance) { return print_distance < ENROLL_MAX_DISTANCE; }

    explicit feature_enroll(enroll_feature_count count);
    ~feature_enroll() override;

    bool enrolling(palm_struct::frame_info const& frame,
                   palm_algorithm::palm_position& pos) override;
    bool enrolling_siti_enroll(palm_struct::frame_info const& frame,
                               palm_algorithm::palm_position& pos, int stage, std::string log,
                               bool& accepted) override;
    palm_feature::user_palm_feature* get_features() override;
    void reset() override;
    int get_required_count() const override;
    int candidates_count() const override;
    int get_stage() const override;
    std::vector<palm_struct::frame_info> const& get_images() const override;

  private:
    friend class feature_enroll_test_access;

    bool push_candidate(palm_struct::frame_info const& frame, palm_algorithm::palm_position& pos);
    bool push_candidate_siti_enroll(palm_struct::frame_info const& frame,
                                    palm_algorithm::palm_position& pos, std::string log);
    bool push_predetect(std::vector<palm_share::image_pair> rois,
                        palm_struct::frame_info const& frame);
    // Steps common to both paths once a frame is placed well: coding,
    // linking and chaining; true when a cell was appended.
    bool admit(std::vector<palm_share::image_pair> const& rois,
               palm_struct::frame_info const& frame);
    // What both paths do when push_candidate has reported a full stage.
    bool finish_stage();
    bool frame_limit_reached() const;

    int trim_candidates();
    int trim_candidates_stage();
    int trim_candidates_stage_last();
    std::vector<cell_type> candidates_select(double* scores, int begin, int end);

    enroll_feature_count count;
    int attempts[3];
    int predetect_run;
    bool accepted;
    int stage;
    std::vector<cell_type> candidates;
    std::vector<cell_type> predetect_cells;
    std::vector<cell_type> stage_cells;
    std::vector<cell_type> selected;
    std::vector<palm_struct::frame_info> candidate_frames;
    std::vector<palm_struct::frame_info> predetect_frames;
    std::vector<palm_struct::frame_info> stage_frames;
    palm_feature::user_palm_feature features;
    cell_type last_cell;
    std::vector<palm_struct::frame_info> last_frame;
};

}  // namespace palm_workflow

#endif  // PALM_WORKFLOW_FEATURE_ENROLL_H_
