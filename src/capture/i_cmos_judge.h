// i_cmos_judge: how the device application should set its two sensors
// after each frame pair. The process has one judge, reached by
// get_cmos_judge_inst(); callers never free it.
#ifndef PALM_CAPTURE_I_CMOS_JUDGE_H_
#define PALM_CAPTURE_I_CMOS_JUDGE_H_

#include "palm/i_debug_interface.h"
#include "palm/image/palm_image.h"
#include "palm/palm_export.h"

namespace palm_algorithm {

class PALM_EXPORT i_cmos_judge : public i_debug_interface {
  public:
    ~i_cmos_judge() override {}
    // Starts over: each register on the rung of its ladder nearest to the
    // value given (li for visible light, ir for near-infrared).
    virtual void init(unsigned short li, unsigned short ir) = 0;
    // One judgement of a frame pair, near-infrared first. A flag is set when
    // its register has a new value for the sensor.
    virtual void Cmos_Judge(const palm_share::palm_image& ir_image,
                            const palm_share::palm_image& li_image, bool use_max, bool& li_changed,
                            bool& ir_changed) = 0;
    virtual unsigned short get_ir_reg() const = 0;
    virtual unsigned short get_li_reg() const = 0;
};

PALM_EXPORT i_cmos_judge* get_cmos_judge_inst();
// Does nothing: the judge lives as long as the process.
PALM_EXPORT void release_cmos_judge_inst();

}  // namespace palm_algorithm

#endif  // PALM_CAPTURE_I_CMOS_JUDGE_H_
