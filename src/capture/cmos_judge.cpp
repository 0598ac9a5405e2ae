#include "palm/capture/cmos_judge.h"

#include <cstdlib>

namespace palm_algorithm {

namespace {

const unsigned short kIrStage[cmos_judge::Stage_Num] = {128, 255, 368};
const unsigned short kLiStage[cmos_judge::Stage_Num] = {128, 240, 511};
// The upper limit of rung 0 and the lower limit of rung 2 are never read:
// no rung lies below 0 or above 2. 255 fills their places.
const unsigned char kIrLimit[cmos_judge::Stage_Num][2] = {{90, 255}, {70, 180}, {255, 190}};
const unsigned char kLiLimit[cmos_judge::Stage_Num][2] = {{80, 255}, {70, 175}, {255, 195}};

const int kWindowPixels = CMOS_WINDOW_SIDE * CMOS_WINDOW_SIDE;

}  // namespace

static_assert(2 * cmos_judge::WindowsWidth + 1 == CMOS_WINDOW_SIDE, "window side");

cmos_judge::cmos_judge() : cmos_judge(best_window_path()) {}

cmos_judge::cmos_judge(window_path path) : status(), pass(get_window_pass(path)) {}

void cmos_judge::init(unsigned short li, unsigned short ir) {
    for (int i = 0; i < Stage_Num; ++i) {
        status.ir_stage[i] = kIrStage[i];
        status.li_stage[i] = kLiStage[i];
        for (int k = 0; k < 2; ++k) {
            status.ir_limit[i][k] = kIrLimit[i][k];
            status.li_limit[i][k] = kLiLimit[i][k];
        }
    }
    status.li_reg = status.li_stage[0];
    status.ir_reg = status.ir_stage[0];
    status.ir_pending = false;
    status.li_pending = false;
    // Nearest rung; a tie keeps the lower one, as only a strictly smaller
    // distance moves the choice up.
    int d_ir = std::abs(ir - status.ir_stage[0]);
    int d_li = std::abs(li - status.li_stage[0]);
    if (std::abs(ir - status.ir_stage[1]) < d_ir) {
        d_ir = std::abs(ir - status.ir_stage[1]);
        status.ir_reg = status.ir_stage[1];
        status.ir_pending = true;
    }
    if (std::abs(li - status.li_stage[1]) < d_li) {
        d_li = std::abs(li - status.li_stage[1]);
        status.li_reg = status.li_stage[1];
        status.li_pending = true;
    }
    if (std::abs(ir - status.ir_stage[2]) < d_ir) {
        status.ir_reg = status.ir_stage[2];
        status.ir_pending = true;
    }
    if (std::abs(li - status.li_stage[2]) < d_li) {
        status.li_reg = status.li_stage[2];
        status.li_pending = true;
    }
}

bool cmos_judge::window_fits(const palm_share::palm_image& high_image,
                             const palm_share::palm_image& low_image) {
    if (!high_image.IsValid() || !low_image.IsValid())
        return false;
    const int h = high_image.GetHeight(), w = high_image.GetWidth();
    const int top = h / 2 - WindowsWidth, bottom = h / 2 + WindowsWidth;
    const int left = w / 2 - WindowsWidth, right = w / 2 + WindowsWidth;
    return top >= 0 && left >= 0 && bottom < h && right < w && bottom < low_image.GetHeight() &&
           right < low_image.GetWidth();
}

// The frames are read in place: the judge only reads them, so a copy of
// each would change nothing but the time taken.
unsigned short cmos_judge::Get_Image_Brightness(const palm_share::palm_image& high_image,
                                                const palm_share::palm_image& low_image,
                                                bool use_max) const {
    if (!window_fits(high_image, low_image))
        return 0;
    const int top = high_image.GetHeight() / 2 - WindowsWidth;
    const int left = high_image.GetWidth() / 2 - WindowsWidth;
    const int high_stride = high_image.GetWidth(), low_stride = low_image.GetWidth();
    const unsigned char* high =
        high_image.GetBuffer() + static_cast<long>(top) * high_stride + left;
    const unsigned char* low = low_image.GetBuffer() + static_cast<long>(top) * low_stride + left;
    window_stats hs, ls;
    pass(high, high_stride, low, low_stride, hs, ls);
    const unsigned int hv = use_max ? hs.max : hs.sum / kWindowPixels;
    const unsigned int lv = use_max ? ls.max : ls.sum / kWindowPixels;
    return static_cast<unsigned short>((hv << 8) | lv);
}

void cmos_judge::Cmos_Judge(const palm_share::palm_image& ir_image,
                            const palm_share::palm_image& li_image, bool use_max, bool& li_changed,
                            bool& ir_changed) {
    li_changed = false;
    ir_changed = false;
    if (status.ir_pending) {
        status.ir_pending = false;
        ir_changed = true;
    }
    if (status.li_pending) {
        status.li_pending = false;
        li_changed = true;
    }
    // The first judgement after a start off rung 0 only reports it.
    if (li_changed || ir_changed)
        return;
    // A frame too small for the window leaves both registers as they are.
    if (!window_fits(ir_image, li_image))
        return;
    const unsigned short both = Get_Image_Brightness(ir_image, li_image, use_max);
    const int b_ir = both >> 8, b_li = both & 0xff;
    cmos_status& s = status;
    // One rung per light and call, the tests in this order.
    if (!ir_changed && s.ir_reg == s.ir_stage[0] && b_ir <= s.ir_limit[0][0]) {
        s.ir_reg = s.ir_stage[1];
        ir_changed = true;
    }
    if (!li_changed && s.li_reg == s.li_stage[0] && b_li <= s.li_limit[0][0]) {
        s.li_reg = s.li_stage[1];
        li_changed = true;
    }
    if (!ir_changed && s.ir_reg == s.ir_stage[1]) {
        if (b_ir <= s.ir_limit[1][0]) {
            s.ir_reg = s.ir_stage[2];
            ir_changed = true;
        }
        if (b_ir >= s.ir_limit[1][1]) {
            s.ir_reg = s.ir_stage[0];
            ir_changed = true;
        }
    }
    if (!li_changed && s.li_reg == s.li_stage[1]) {
        if (b_li <= s.li_limit[1][0]) {
            s.li_reg = s.li_stage[2];
            li_changed = true;
        }
        if (b_li >= s.li_limit[1][1]) {
            s.li_reg = s.li_stage[0];
            li_changed = true;
        }
    }
    if (!ir_changed && s.ir_reg == s.ir_stage[2] && b_ir >= s.ir_limit[2][1]) {
        s.ir_reg = s.ir_stage[1];
        ir_changed = true;
    }
    if (!li_changed && s.li_reg == s.li_stage[2] && b_li >= s.li_limit[2][1]) {
        s.li_reg = s.li_stage[1];
        li_changed = true;
    }
}

}  // namespace palm_algorithm
