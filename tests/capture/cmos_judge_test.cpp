// The exposure judge: starting rungs, the report of a pending start, the
// brightness of the centre window and the eight rung tests in their order.
#include "palm/capture/cmos_judge.h"

#include <gtest/gtest.h>

#include "palm/capture/i_cmos_judge.h"

using palm_algorithm::cmos_judge;
using palm_algorithm::cmos_status;
using palm_share::palm_image;

namespace {

palm_image flat(int w, int h, unsigned char v) {
    palm_image im;
    im.Create(w, h, v);
    return im;
}

// A frame whose centre window holds `inside` and the rest `outside`.
palm_image window_of(unsigned char inside, unsigned char outside, int w = 640, int h = 480) {
    palm_image im = flat(w, h, outside);
    for (int y = h / 2 - 14; y <= h / 2 + 14; ++y)
        for (int x = w / 2 - 14; x <= w / 2 + 14; ++x)
            im[y][x] = inside;
    return im;
}

struct judgement {
    bool li_changed;
    bool ir_changed;
};

judgement judge(cmos_judge& j, const palm_image& ir, const palm_image& li, bool use_max = false) {
    judgement r{true, true};
    j.Cmos_Judge(ir, li, use_max, r.li_changed, r.ir_changed);
    return r;
}

// Puts a judge on rung `ir_rung` and `li_rung` with nothing pending.
cmos_judge on_rungs(int ir_rung, int li_rung) {
    const unsigned short ir[3] = {128, 255, 368}, li[3] = {128, 240, 511};
    cmos_judge j;
    j.init(li[li_rung], ir[ir_rung]);
    bool a, b;
    const palm_image mid = flat(640, 480, 128);
    j.Cmos_Judge(mid, mid, false, a, b);  // reports a pending start, if any
    EXPECT_EQ(ir[ir_rung], j.get_ir_reg());
    EXPECT_EQ(li[li_rung], j.get_li_reg());
    return j;
}

TEST(CmosJudgeInit, FillsTheLaddersAndLimits) {
    cmos_judge j;
    j.init(128, 128);
    const cmos_status* s = j.get_status();
    const unsigned short ir_stage[3] = {128, 255, 368}, li_stage[3] = {128, 240, 511};
    const unsigned char ir_limit[3][2] = {{90, 255}, {70, 180}, {255, 190}};
    const unsigned char li_limit[3][2] = {{80, 255}, {70, 175}, {255, 195}};
    for (int i = 0; i < cmos_judge::Stage_Num; ++i) {
        EXPECT_EQ(ir_stage[i], s->ir_stage[i]);
        EXPECT_EQ(li_stage[i], s->li_stage[i]);
        for (int k = 0; k < 2; ++k) {
            EXPECT_EQ(ir_limit[i][k], s->ir_limit[i][k]);
            EXPECT_EQ(li_limit[i][k], s->li_limit[i][k]);
        }
    }
    EXPECT_EQ(3, cmos_judge::Stage_Num);
    EXPECT_EQ(14, cmos_judge::WindowsWidth);
}

TEST(CmosJudgeInit, MiddleValuesStayOnRungZeroWithoutAFlag) {
    cmos_judge j;
    j.init(128, 128);
    EXPECT_EQ(128, j.get_li_reg());
    EXPECT_EQ(128, j.get_ir_reg());
    EXPECT_FALSE(j.get_status()->ir_pending);
    EXPECT_FALSE(j.get_status()->li_pending);
    // The first judgement goes straight to the images: a dark window moves
    // both registers up.
    const palm_image dark = flat(640, 480, 10);
    const judgement r = judge(j, dark, dark);
    EXPECT_TRUE(r.li_changed);
    EXPECT_TRUE(r.ir_changed);
    EXPECT_EQ(255, j.get_ir_reg());
    EXPECT_EQ(240, j.get_li_reg());
}

TEST(CmosJudgeInit, PendingStartIsReportedFirstWithoutLookingAtTheImages) {
    cmos_judge j;
    j.init(240, 255);
    EXPECT_EQ(240, j.get_li_reg());
    EXPECT_EQ(255, j.get_ir_reg());
    EXPECT_TRUE(j.get_status()->ir_pending);
    EXPECT_TRUE(j.get_status()->li_pending);
    // Saturated frames would move both registers down, were they looked at.
    const palm_image bright = flat(640, 480, 250);
    judgement r = judge(j, bright, bright);
    EXPECT_TRUE(r.li_changed);
    EXPECT_TRUE(r.ir_changed);
    EXPECT_EQ(240, j.get_li_reg());
    EXPECT_EQ(255, j.get_ir_reg());
    EXPECT_FALSE(j.get_status()->ir_pending);
    EXPECT_FALSE(j.get_status()->li_pending);
    // The second judgement looks.
    r = judge(j, bright, bright);
    EXPECT_TRUE(r.li_changed);
    EXPECT_TRUE(r.ir_changed);
    EXPECT_EQ(128, j.get_li_reg());
    EXPECT_EQ(128, j.get_ir_reg());
}

TEST(CmosJudgeInit, OnePendingLightStopsTheJudgementOfBoth) {
    cmos_judge j;
    j.init(128, 368);
    const palm_image dark = flat(640, 480, 0);
    judgement r = judge(j, dark, dark);
    EXPECT_TRUE(r.ir_changed);
    EXPECT_FALSE(r.li_changed);
    EXPECT_EQ(128, j.get_li_reg());  // the dark frame was not looked at
    r = judge(j, dark, dark);
    EXPECT_TRUE(r.li_changed);
    EXPECT_FALSE(r.ir_changed);  // rung 2 has no rung above it
    EXPECT_EQ(240, j.get_li_reg());
}

TEST(CmosJudgeInit, TieStaysOnTheLowerRung) {
    cmos_judge j;
    j.init(184, 300);
    // li: |184 - 128| = |184 - 240| = 56; ir: 172, 45 and 68 from the rungs.
    EXPECT_EQ(128, j.get_li_reg());
    EXPECT_FALSE(j.get_status()->li_pending);
    EXPECT_EQ(255, j.get_ir_reg());
    EXPECT_TRUE(j.get_status()->ir_pending);
}

TEST(CmosJudgeInit, NearestRungOfEachLadder) {
    cmos_judge j;
    j.init(511, 368);
    EXPECT_EQ(511, j.get_li_reg());
    EXPECT_EQ(368, j.get_ir_reg());
    j.init(376, 312);  // li: 248 and 136 from rungs 0 and 1, 135 from rung 2
    EXPECT_EQ(511, j.get_li_reg());
    EXPECT_EQ(368, j.get_ir_reg());  // ir: 57 from rung 1, 56 from rung 2
    j.init(375, 311);                // li: 135 against 136, ir: 56 against 57
    EXPECT_EQ(240, j.get_li_reg());
    EXPECT_EQ(255, j.get_ir_reg());
    j.init(0, 65535);
    EXPECT_EQ(128, j.get_li_reg());
    EXPECT_EQ(368, j.get_ir_reg());
}

TEST(CmosJudgeInit, InitAgainStartsOver) {
    cmos_judge j;
    j.init(511, 368);
    j.init(128, 128);
    EXPECT_FALSE(j.get_status()->ir_pending);
    EXPECT_FALSE(j.get_status()->li_pending);
    EXPECT_EQ(128, j.get_li_reg());
    EXPECT_EQ(128, j.get_ir_reg());
}

TEST(CmosJudgeAccessors, CurrentValuesAreTheRegisters) {
    cmos_judge j;
    j.init(240, 368);
    EXPECT_EQ(j.get_li_reg(), j.get_cur_li_value());
    EXPECT_EQ(j.get_ir_reg(), j.get_cur_ir_value());
    EXPECT_EQ(j.get_status()->li_reg, j.get_li_reg());
    EXPECT_EQ(j.get_status()->ir_reg, j.get_ir_reg());
}

TEST(CmosJudgeAccessors, ProcessWideJudgeIsOneObject) {
    palm_algorithm::i_cmos_judge* a = palm_algorithm::get_cmos_judge_inst();
    ASSERT_NE(nullptr, a);
    EXPECT_EQ(a, palm_algorithm::get_cmos_judge_inst());
    palm_algorithm::release_cmos_judge_inst();
    EXPECT_EQ(a, palm_algorithm::get_cmos_judge_inst());
    a->init(240, 128);
    EXPECT_EQ(240, a->get_li_reg());
    EXPECT_EQ(240, static_cast<cmos_judge*>(a)->get_cur_li_value());
}

TEST(CmosJudgeBrightness, MeanOfTheWindowTruncatedHighByteNearInfrared) {
    cmos_judge j;
    palm_image ir = window_of(100, 0), li = window_of(20, 255);
    // 841 pixels; 840 more grey levels in one window lift the mean by 0.
    ir[240][320] = 255;  // sum 84100 + 155 = 84255, mean 100.18
    EXPECT_EQ((100 << 8) | 20, j.Get_Image_Brightness(ir, li, false));
    li[226][306] = 255;  // a corner pixel of the window: +235
    li[226][307] = 255;
    li[226][308] = 255;
    li[226][309] = 255;  // +940 in all: 16820 + 940 = 17760, mean 21.1
    EXPECT_EQ((100 << 8) | 21, j.Get_Image_Brightness(ir, li, false));
}

TEST(CmosJudgeBrightness, WindowEndsAreIncluded) {
    cmos_judge j;
    palm_image ir = flat(640, 480, 0), li = flat(640, 480, 0);
    // Rows and columns 226 to 254 and 306 to 334.
    ir[226][306] = 7;
    ir[254][334] = 9;
    ir[225][320] = 255;
    ir[255][320] = 255;
    ir[240][305] = 255;
    ir[240][335] = 255;
    EXPECT_EQ(9 << 8, j.Get_Image_Brightness(ir, li, true));
    li[254][306] = 200;
    EXPECT_EQ((9 << 8) | 200, j.Get_Image_Brightness(ir, li, true));
}

TEST(CmosJudgeBrightness, OneSaturatedPixelWithUseMax) {
    cmos_judge j;
    palm_image ir = flat(640, 480, 100), li = flat(640, 480, 100);
    ir[230][310] = 255;
    EXPECT_EQ((255 << 8) | 100, j.Get_Image_Brightness(ir, li, true));
    EXPECT_EQ((100 << 8) | 100, j.Get_Image_Brightness(ir, li, false));
}

TEST(CmosJudgeBrightness, LowImageUsesItsOwnStrideAndTheHighImagesWindow) {
    cmos_judge j;
    const palm_image ir = flat(640, 480, 0);
    // Wider and taller: the window stays at rows 226.. and columns 306..
    palm_image li = flat(800, 600, 0);
    for (int y = 226; y <= 254; ++y)
        for (int x = 306; x <= 334; ++x)
            li[y][x] = 50;
    EXPECT_EQ(50, j.Get_Image_Brightness(ir, li, false));
    EXPECT_EQ(50, j.Get_Image_Brightness(ir, li, true));
}

TEST(CmosJudgeBrightness, OddSizesPlaceTheWindowByIntegerHalves) {
    cmos_judge j;
    // 29 by 29 is the smallest frame that holds the window: rows 0 to 28.
    palm_image ir = flat(29, 29, 10), li = flat(29, 29, 255);
    EXPECT_EQ((10 << 8) | 255, j.Get_Image_Brightness(ir, li, false));
    EXPECT_TRUE(cmos_judge::window_fits(ir, li));
    EXPECT_FALSE(cmos_judge::window_fits(flat(28, 29, 0), li));
    EXPECT_FALSE(cmos_judge::window_fits(flat(29, 28, 0), li));
    EXPECT_FALSE(cmos_judge::window_fits(ir, flat(28, 29, 0)));
    EXPECT_FALSE(cmos_judge::window_fits(ir, palm_image()));
}

TEST(CmosJudgeBrightness, FrameTooSmallForTheWindowGivesZero) {
    cmos_judge j;
    EXPECT_EQ(0, j.Get_Image_Brightness(flat(20, 20, 200), flat(640, 480, 200), false));
    EXPECT_EQ(0, j.Get_Image_Brightness(flat(640, 480, 200), flat(100, 100, 200), true));
    EXPECT_EQ(0, j.Get_Image_Brightness(palm_image(), palm_image(), true));
}

TEST(CmosJudgeRungs, BrightnessNinetyMovesNearInfraredUpNinetyOneDoesNot) {
    cmos_judge j = on_rungs(0, 0);
    const palm_image li = flat(640, 480, 128);
    judgement r = judge(j, flat(640, 480, 91), li);
    EXPECT_FALSE(r.ir_changed);
    EXPECT_EQ(128, j.get_ir_reg());
    r = judge(j, flat(640, 480, 90), li);
    EXPECT_TRUE(r.ir_changed);
    EXPECT_FALSE(r.li_changed);
    EXPECT_EQ(255, j.get_ir_reg());
}

TEST(CmosJudgeRungs, VisibleLightLimitsIncludeEquality) {
    cmos_judge j = on_rungs(0, 0);
    const palm_image ir = flat(640, 480, 128);
    EXPECT_FALSE(judge(j, ir, flat(640, 480, 81)).li_changed);
    EXPECT_TRUE(judge(j, ir, flat(640, 480, 80)).li_changed);  // test 2
    EXPECT_EQ(240, j.get_li_reg());
    EXPECT_FALSE(judge(j, ir, flat(640, 480, 71)).li_changed);
    EXPECT_FALSE(judge(j, ir, flat(640, 480, 174)).li_changed);
    EXPECT_TRUE(judge(j, ir, flat(640, 480, 175)).li_changed);  // test 6
    EXPECT_EQ(128, j.get_li_reg());
    j = on_rungs(0, 1);
    EXPECT_TRUE(judge(j, ir, flat(640, 480, 70)).li_changed);  // test 5
    EXPECT_EQ(511, j.get_li_reg());
    EXPECT_FALSE(judge(j, ir, flat(640, 480, 194)).li_changed);
    EXPECT_TRUE(judge(j, ir, flat(640, 480, 195)).li_changed);  // test 8
    EXPECT_EQ(240, j.get_li_reg());
}

TEST(CmosJudgeRungs, NearInfraredLimitsIncludeEquality) {
    cmos_judge j = on_rungs(1, 0);
    const palm_image li = flat(640, 480, 128);
    EXPECT_FALSE(judge(j, flat(640, 480, 71), li).ir_changed);
    EXPECT_FALSE(judge(j, flat(640, 480, 179), li).ir_changed);
    EXPECT_TRUE(judge(j, flat(640, 480, 180), li).ir_changed);  // test 4
    EXPECT_EQ(128, j.get_ir_reg());
    j = on_rungs(1, 0);
    EXPECT_TRUE(judge(j, flat(640, 480, 70), li).ir_changed);  // test 3
    EXPECT_EQ(368, j.get_ir_reg());
    EXPECT_FALSE(judge(j, flat(640, 480, 189), li).ir_changed);
    EXPECT_TRUE(judge(j, flat(640, 480, 190), li).ir_changed);  // test 7
    EXPECT_EQ(255, j.get_ir_reg());
}

TEST(CmosJudgeRungs, OneRungPerCall) {
    // Darkness takes each register one rung up per judgement, not two.
    cmos_judge j = on_rungs(0, 0);
    const palm_image dark = flat(640, 480, 0), bright = flat(640, 480, 255);
    judge(j, dark, dark);
    EXPECT_EQ(255, j.get_ir_reg());
    EXPECT_EQ(240, j.get_li_reg());
    judge(j, dark, dark);
    EXPECT_EQ(368, j.get_ir_reg());
    EXPECT_EQ(511, j.get_li_reg());
    // And brightness one rung down per judgement: from rung 2 to 1 by tests
    // 7 and 8, which come after the tests of rung 1.
    judgement r = judge(j, bright, bright);
    EXPECT_TRUE(r.ir_changed);
    EXPECT_TRUE(r.li_changed);
    EXPECT_EQ(255, j.get_ir_reg());
    EXPECT_EQ(240, j.get_li_reg());
    judge(j, bright, bright);
    EXPECT_EQ(128, j.get_ir_reg());
    EXPECT_EQ(128, j.get_li_reg());
    // Rung 0 has no rung below it.
    r = judge(j, bright, bright);
    EXPECT_FALSE(r.ir_changed);
    EXPECT_FALSE(r.li_changed);
}

TEST(CmosJudgeRungs, DarkSceneOnRungTwoHasNoAction) {
    cmos_judge j = on_rungs(2, 2);
    const palm_image dark = flat(640, 480, 0);
    const judgement r = judge(j, dark, dark);
    EXPECT_FALSE(r.ir_changed);
    EXPECT_FALSE(r.li_changed);
    EXPECT_EQ(368, j.get_ir_reg());
    EXPECT_EQ(511, j.get_li_reg());
}

TEST(CmosJudgeRungs, SaturatedPixelWithUseMaxStepsDownFromRungOne) {
    cmos_judge j = on_rungs(1, 1);
    palm_image ir = flat(640, 480, 100), li = flat(640, 480, 100);
    ir[240][320] = 255;
    judgement r = judge(j, ir, li, false);  // the mean is 100
    EXPECT_FALSE(r.ir_changed);
    r = judge(j, ir, li, true);
    EXPECT_TRUE(r.ir_changed);
    EXPECT_FALSE(r.li_changed);
    EXPECT_EQ(128, j.get_ir_reg());
    EXPECT_EQ(240, j.get_li_reg());
}

TEST(CmosJudgeRungs, EachLightIsJudgedOnItsOwnFrame) {
    // Near-infrared comes first in the call; the visible-light frame is the
    // second argument.
    cmos_judge j = on_rungs(0, 0);
    const judgement r = judge(j, flat(640, 480, 200), flat(640, 480, 10));
    EXPECT_FALSE(r.ir_changed);
    EXPECT_TRUE(r.li_changed);
    EXPECT_EQ(128, j.get_ir_reg());
    EXPECT_EQ(240, j.get_li_reg());
}

TEST(CmosJudgeRungs, OnlyTheCentreWindowCounts) {
    cmos_judge j = on_rungs(0, 0);
    // Dark all round a bright centre: no change.
    const judgement r = judge(j, window_of(200, 0), window_of(200, 0));
    EXPECT_FALSE(r.ir_changed);
    EXPECT_FALSE(r.li_changed);
}

TEST(CmosJudgeBadInput, FramesTooSmallForTheWindowChangeNothing) {
    cmos_judge j = on_rungs(1, 1);
    judgement r = judge(j, flat(28, 28, 0), flat(28, 28, 0));
    EXPECT_FALSE(r.ir_changed);
    EXPECT_FALSE(r.li_changed);
    r = judge(j, palm_image(), palm_image());
    EXPECT_FALSE(r.ir_changed);
    EXPECT_FALSE(r.li_changed);
    r = judge(j, flat(640, 480, 0), flat(320, 240, 0));
    EXPECT_FALSE(r.ir_changed);
    EXPECT_FALSE(r.li_changed);
    EXPECT_EQ(255, j.get_ir_reg());
    EXPECT_EQ(240, j.get_li_reg());
}

TEST(CmosJudgeBadInput, PendingStartIsReportedEvenWithoutFrames) {
    cmos_judge j;
    j.init(240, 128);
    const judgement r = judge(j, palm_image(), palm_image());
    EXPECT_TRUE(r.li_changed);
    EXPECT_FALSE(r.ir_changed);
}

}  // namespace
