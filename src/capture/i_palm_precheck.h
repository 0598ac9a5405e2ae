// i_palm_precheck: the cheapest test of a frame, how much of the
// near-infrared image is hand against the prompt rectangle the device shows.
// The process has one pre-check object, reached by get_palm_precheck_inst();
// callers never free it.
#ifndef PALM_CAPTURE_I_PALM_PRECHECK_H_
#define PALM_CAPTURE_I_PALM_PRECHECK_H_

#include <string>

#include "palm/image/crop_results.h"
#include "palm/image/palm_image.h"
#include "palm/localisation/palm_position.h"
#include "palm/palm_export.h"

namespace palm_algorithm {

class PALM_EXPORT i_palm_precheck {
  public:
    struct rect {
        int left;
        int top;
        int right;
        int bottom;
    };
    // The rectangle shown to the user: 440 x 400 pixels of the 640 x 480
    // frame. Only its area enters the test.
    static const rect PROMPT_RECT;

    virtual ~i_palm_precheck() {}
    // POS_OK, POS_TOO_SMALL or POS_TOO_LARGE; writes res.area_percent.
    virtual palm_position PreCheck(const palm_share::palm_image& image,
                                   palm_struct::_crop_results& res) = 0;
    // The same decision; a rejection appends its message to `log` and writes
    // `log` as a line of the enrolment debug file.
    virtual palm_position PreCheck_siti_enroll(const palm_share::palm_image& image,
                                               palm_struct::_crop_results& res,
                                               std::string& log) = 0;
};

PALM_EXPORT i_palm_precheck* get_palm_precheck_inst();
// Does nothing: the pre-check object lives as long as the process.
PALM_EXPORT void release_palm_precheck_inst();

}  // namespace palm_algorithm

#endif  // PALM_CAPTURE_I_PALM_PRECHECK_H_
