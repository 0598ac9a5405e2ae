// The login workflow: one frame is coded, its print searched in the device
// feature library in two sweeps, and only the few hands that survive have
// their vein compared. Its comparison of a cell against a record keeps no
// state, so that one may run on many threads at once.
#ifndef PALM_WORKFLOW_FEATURE_LOGIN_H_
#define PALM_WORKFLOW_FEATURE_LOGIN_H_

#include <utility>
#include <vector>

#include "palm/image/palm_image.h"
#include "palm/palm_export.h"
#include "palm/workflow/i_feature_login.h"

namespace palm_workflow {

// Where a stored cell lies: user, hand, index within that hand's record.
struct PALM_EXPORT dist_diff {
    unsigned int id;
    palm_feature_lib::hand hand;
    int index;
};

// Never true: a search list of (distance, dist_diff) orders by distance
// alone, and entries of equal distance are equivalent.
PALM_EXPORT bool operator<(dist_diff const& a, dist_diff const& b);

class PALM_EXPORT feature_login : public i_feature_login {
  public:
    // Five rows of print limit, vein limit and bias, one per intensity.
    static const float MATCH_DISTANCE_LOGIN[15];
    // Limits of enrolment: a frame against the last candidate, and the
    // tighter bias of a frame that opens a stage or a run.
    static constexpr float MATCH_DISTANCE_LOGIN_PRINT_ENROLL = 0.4f;
    static constexpr float MATCH_DISTANCE_LOGIN_VEIN_ENROLL = 0.41f;
    static constexpr float MATCH_DISTANCE_LOGIN_BIAS_ENROLL = 0.75f;
    static constexpr float MATCH_DISTANCE_LOGIN_BIAS_LOOSE = 0.62f;
    // Most hands of the coarse sweep that the fine sweep refines.
    static constexpr int FINE_SWEEP_HANDS = 50;

    // One identity that passed print, vein and bias.
    struct CANDINATE_INFO {
        float print_dist;
        float vein_dist;
        unsigned int id;
        palm_feature_lib::hand hand;
    };

    feature_login();
    ~feature_login() override;

    bool detect(palm_struct::frame_info const& frame, std::vector<unsigned int> const& ids,
                palm_algorithm::palm_position& pos, unsigned int& id,
                palm_feature_lib::hand& hand) override;
    std::vector<std::pair<float, float> > detect(palm_struct::frame_info const& frame,
                                                 palm_feature::user_palm_feature const& user,
                                                 palm_algorithm::palm_position& pos) override;
    bool feature_extract(palm_struct::frame_info const& frame,
                         palm_feature::palm_cell<palm_feature::single_feature>& cell,
                         palm_algorithm::palm_position& pos) override;
    std::vector<std::pair<float, float> > detect(
        palm_feature::palm_cell<palm_feature::single_feature> const& cell,
        palm_feature::user_palm_feature const& user) override;
    void set_detect_intnesity(DETECT_INTENSITY v) override;

    // The same decision as detect() without stride, limit of 50 or single
    // vein code: every stored cell of every hand is tried.
    virtual bool detect_jiaqiang_original(palm_struct::frame_info const& frame,
                                          std::vector<unsigned int> const& ids,
                                          palm_algorithm::palm_position& pos, unsigned int& id,
                                          palm_feature_lib::hand& hand);
    // The features in two steps: with first_step the print is coded and the
    // vein region kept; without, the kept region is coded into the vein.
    virtual bool feature_extract_match(palm_struct::frame_info const& frame,
                                       palm_feature::palm_cell<palm_feature::single_feature>& cell,
                                       palm_algorithm::palm_position& pos, bool first_step);
    // As feature_extract, with the print's responses left in vecResp.
    virtual bool feature_extract_test(palm_struct::frame_info const& frame,
                                      palm_feature::palm_cell<palm_feature::single_feature>& cell,
                                      palm_algorithm::palm_position& pos);

    DETECT_INTENSITY get_detect_intensity() const { return intensity; }

    // The maximal incline of a login frame, degrees.
    static constexpr float LOGIN_MAX_ANGLE = 45.0f;

  private:
    // Crop and incline test, then the position; the verdict of the
    // pre-check is overwritten, it only leaves area_percent behind.
    bool extract_regions(palm_struct::frame_info const& frame,
                         std::vector<palm_share::image_pair>& rois,
                         palm_algorithm::palm_position& pos);

    // Both codes of the frame; the print through extract_test when asked.
    bool extract_both(palm_struct::frame_info const& frame,
                      palm_feature::palm_cell<palm_feature::single_feature>& cell,
                      palm_algorithm::palm_position& pos, bool with_responses);

    palm_share::palm_image vein_roi;
    DETECT_INTENSITY intensity;
};

// True when the sum of both distances stays strictly under the bias,
// computed in single precision as (bias - vein) - print > 0.
PALM_EXPORT bool glm_decision(float print, float vein, float bias);
// Vein first, then print, then the bias; on true the distances go to `info`.
PALM_EXPORT bool match_decision(palm_feature::palm_cell<palm_feature::single_feature> const& a,
                                palm_feature::palm_cell<palm_feature::single_feature> const& b,
                                feature_login::CANDINATE_INFO& info, float print_limit,
                                float vein_limit, float bias);

// Responses of the last feature_extract_test: 1024 pairs, shared by the
// process; that call is for one thread.
PALM_EXPORT extern std::vector<std::pair<int, int> > vecResp;

// The process-wide login object, made on the first call.
PALM_EXPORT i_feature_login* create_feature_login();
// Destroys `p` when it is one of the process-wide workflow objects; any other
// pointer, null included, is left alone.
PALM_EXPORT void destroy_feature_process(i_feature_process* p);

}  // namespace palm_workflow

#endif  // PALM_WORKFLOW_FEATURE_LOGIN_H_
