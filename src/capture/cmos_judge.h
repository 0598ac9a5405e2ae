// The exposure judge: for each sensor a register value on a ladder of three
// rungs, moved by one rung when the brightness at the centre of its frame
// leaves the range of the rung. The ranges of neighbouring rungs overlap,
// so a steady scene does not make a register swing back and forth.
#ifndef PALM_CAPTURE_CMOS_JUDGE_H_
#define PALM_CAPTURE_CMOS_JUDGE_H_

#include "palm/capture/cmos_window.h"
#include "palm/capture/i_cmos_judge.h"
#include "palm/image/palm_image.h"
#include "palm/palm_export.h"

namespace palm_algorithm {

class PALM_EXPORT cmos_judge : public i_cmos_judge {
  public:
    static constexpr int Stage_Num = 3;
    // Half the side of the measuring window.
    static constexpr int WindowsWidth = 14;

    // The whole state of the judge.
    struct cmos_status {
        unsigned short li_reg;  // register value in force, visible light
        unsigned short ir_reg;  // register value in force, near-infrared
        unsigned short ir_stage[Stage_Num];
        unsigned char ir_limit[Stage_Num][2];  // per rung: lower, upper brightness
        unsigned short li_stage[Stage_Num];
        unsigned char li_limit[Stage_Num][2];
        bool ir_pending;  // init chose a rung other than 0, not yet reported
        bool li_pending;
    };

    // Fills nothing: init comes before the first judgement. The window is
    // walked on the fastest path this processor has.
    cmos_judge();
    // The same on `path` (a path this processor lacks falls back to plain).
    explicit cmos_judge(window_path path);

    void init(unsigned short li, unsigned short ir) override;
    void Cmos_Judge(const palm_share::palm_image& ir_image, const palm_share::palm_image& li_image,
                    bool use_max, bool& li_changed, bool& ir_changed) override;
    unsigned short get_ir_reg() const override { return status.ir_reg; }
    unsigned short get_li_reg() const override { return status.li_reg; }
    virtual const cmos_status* get_status() const { return &status; }
    virtual unsigned short get_cur_ir_value() const { return status.ir_reg; }
    virtual unsigned short get_cur_li_value() const { return status.li_reg; }

    // Brightness of the centre window of high_image (high byte) and of the
    // same rows and columns of low_image (low byte): the mean, truncated, or
    // with use_max the maximum. 0 when a frame cannot hold the window.
    unsigned short Get_Image_Brightness(const palm_share::palm_image& high_image,
                                        const palm_share::palm_image& low_image,
                                        bool use_max) const;

    // Whether both frames hold the window placed by high_image's size.
    static bool window_fits(const palm_share::palm_image& high_image,
                            const palm_share::palm_image& low_image);

  private:
    cmos_status status;
    window_pass_fn pass;
};

using cmos_status = cmos_judge::cmos_status;

}  // namespace palm_algorithm

#endif  // PALM_CAPTURE_CMOS_JUDGE_H_
