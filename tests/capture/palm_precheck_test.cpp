#include "palm/capture/palm_precheck.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "palm/workflow/enroll_debug_log.h"
#include "support/scratch_dir.h"

using palm_algorithm::CPalmPreCheck;
using palm_algorithm::get_palm_precheck_inst;
using palm_algorithm::i_palm_precheck;
using palm_share::palm_image;
using palm_struct::_crop_results;

namespace {

// A 640 x 480 frame whose first `white` pixels (row by row) are bright and
// the rest dark: the threshold separates the two levels exactly.
palm_image frame_with_white(int white, int width = 640, int height = 480) {
    palm_image image(width, height);
    image.SetData(10);
    unsigned char* p = image.GetBuffer();
    for (int i = 0; i < white; ++i)
        p[i] = 200;
    return image;
}

}  // namespace

TEST(PalmPreCheck, PromptRectIsSetAtLoadTo440By400) {
    EXPECT_EQ(100, i_palm_precheck::PROMPT_RECT.left);
    EXPECT_EQ(40, i_palm_precheck::PROMPT_RECT.top);
    EXPECT_EQ(540, i_palm_precheck::PROMPT_RECT.right);
    EXPECT_EQ(440, i_palm_precheck::PROMPT_RECT.bottom);
}

TEST(PalmPreCheck, TheProcessWideObjectIsACPalmPreCheck) {
    EXPECT_EQ(static_cast<i_palm_precheck*>(&palm_algorithm::g_palm_precheck),
              get_palm_precheck_inst());
    palm_algorithm::release_palm_precheck_inst();
    EXPECT_EQ(static_cast<i_palm_precheck*>(&palm_algorithm::g_palm_precheck),
              get_palm_precheck_inst());
}

TEST(PalmPreCheck, TheRatioRoundTripLosesOnePixelOf86240) {
    // 86240 / 307200 * 307200 is just under 86240 in double precision, and
    // the truncation keeps 86239: 48.9994... percent, too small.
    _crop_results res;
    EXPECT_EQ(palm_algorithm::POS_TOO_SMALL,
              get_palm_precheck_inst()->PreCheck(frame_with_white(86240), res));
    EXPECT_EQ(86239 * 100.0 / 176000, res.area_percent);
    EXPECT_LT(res.area_percent, 49.0);
}

TEST(PalmPreCheck, Pixels86241AreEnough) {
    _crop_results res;
    EXPECT_EQ(palm_algorithm::POS_OK,
              get_palm_precheck_inst()->PreCheck(frame_with_white(86241), res));
    EXPECT_GE(res.area_percent, 49.0);
}

TEST(PalmPreCheck, Exactly176000PixelsAre100PercentAndOk) {
    _crop_results res;
    EXPECT_EQ(palm_algorithm::POS_OK,
              get_palm_precheck_inst()->PreCheck(frame_with_white(176000), res));
    EXPECT_EQ(100.0, res.area_percent);
}

TEST(PalmPreCheck, Pixels176001AreTooLarge) {
    _crop_results res;
    EXPECT_EQ(palm_algorithm::POS_TOO_LARGE,
              get_palm_precheck_inst()->PreCheck(frame_with_white(176001), res));
    EXPECT_GT(res.area_percent, 100.0);
}

TEST(PalmPreCheck, AllBlackIsZeroAndTooSmall) {
    _crop_results res;
    res.area_percent = 77.0;
    palm_image black(640, 480);
    black.SetData(0);
    EXPECT_EQ(palm_algorithm::POS_TOO_SMALL, get_palm_precheck_inst()->PreCheck(black, res));
    EXPECT_EQ(0.0, res.area_percent);
}

TEST(PalmPreCheck, AreaPercentIsWrittenInAllThreeCases) {
    for (int white : {1000, 100000, 200000}) {
        _crop_results res;
        res.area_percent = -1.0;
        get_palm_precheck_inst()->PreCheck(frame_with_white(white), res);
        EXPECT_EQ(white * 100.0 / 176000, res.area_percent) << white;
    }
}

TEST(PalmPreCheck, WhitePixelsCountAnywhereNotOnlyInsideTheRectangle) {
    // All bright pixels lie in the first rows, above the rectangle's top.
    _crop_results res;
    get_palm_precheck_inst()->PreCheck(frame_with_white(640 * 30), res);
    EXPECT_EQ(640 * 30 * 100.0 / 176000, res.area_percent);
}

TEST(PalmPreCheck, TheCallersImageIsLeftAsItWas) {
    palm_image image = frame_with_white(100000);
    palm_image const before = image;
    _crop_results res;
    get_palm_precheck_inst()->PreCheck(image, res);
    EXPECT_EQ(0, std::memcmp(before.GetBuffer(), image.GetBuffer(), 640 * 480));
}

TEST(PalmPreCheck, AnEmptyImageIsTooSmallWithoutACrash) {
    _crop_results res;
    EXPECT_EQ(palm_algorithm::POS_TOO_SMALL, get_palm_precheck_inst()->PreCheck(palm_image(), res));
    EXPECT_EQ(0.0, res.area_percent);
}

TEST(PalmPreCheck, VerdictBoundsAreOpen) {
    EXPECT_EQ(palm_algorithm::POS_OK, CPalmPreCheck::verdict(49.0));
    EXPECT_EQ(palm_algorithm::POS_OK, CPalmPreCheck::verdict(100.0));
    EXPECT_EQ(palm_algorithm::POS_TOO_SMALL, CPalmPreCheck::verdict(std::nextafter(49.0, 0.0)));
    EXPECT_EQ(palm_algorithm::POS_TOO_LARGE, CPalmPreCheck::verdict(std::nextafter(100.0, 200.0)));
}

// The GBK bytes of the two messages, spelt out.
const std::string TOO_LARGE =
    "\xca\xd6\xd5\xc6\xcc\xab\xb4\xf3"
    ":";  // 手掌太大:
const std::string TOO_SMALL =
    "\xca\xd6\xd5\xc6\xcc\xab\xd0\xa1"
    ":";  // 手掌太小:

TEST(PalmPreCheckSitiEnroll, TooSmallAppendsItsMessageAndWritesOneLine) {
    palm_test::scratch_dir dir;
    std::string log = "ab";
    _crop_results res;
    EXPECT_EQ(palm_algorithm::POS_TOO_SMALL,
              get_palm_precheck_inst()->PreCheck_siti_enroll(frame_with_white(17600), res, log));
    EXPECT_EQ(10.0, res.area_percent);
    EXPECT_EQ("ab" + TOO_SMALL + "10.00000", log);
    EXPECT_EQ("ab" + TOO_SMALL + "10.00000\n", dir.read("D:\\error_flage3.txt"));
}

TEST(PalmPreCheckSitiEnroll, TooLargeAppendsItsMessageAndLinesAccumulate) {
    palm_test::scratch_dir dir;
    std::string log;
    _crop_results res;
    EXPECT_EQ(palm_algorithm::POS_TOO_LARGE,
              get_palm_precheck_inst()->PreCheck_siti_enroll(frame_with_white(176001), res, log));
    EXPECT_EQ(TOO_LARGE + "100.00057", log);
    std::string second;
    palm_image black(640, 480);
    black.SetData(0);
    get_palm_precheck_inst()->PreCheck_siti_enroll(black, res, second);
    EXPECT_EQ(TOO_LARGE + "100.00057\n" + TOO_SMALL + "0.00000\n",
              dir.read("D:\\error_flage3.txt"));
}

TEST(PalmPreCheckSitiEnroll, OkWritesNothingAndLeavesTheLog) {
    palm_test::scratch_dir dir;
    std::string log = "keep";
    _crop_results res;
    EXPECT_EQ(palm_algorithm::POS_OK,
              get_palm_precheck_inst()->PreCheck_siti_enroll(frame_with_white(100000), res, log));
    EXPECT_EQ("keep", log);
    EXPECT_FALSE(dir.exists("D:\\error_flage3.txt"));
}

TEST(PalmPreCheckSitiEnroll, TheFileNameIsTheRelativeNameWithItsBackslash) {
    EXPECT_STREQ("D:\\error_flage3.txt", palm_workflow::enroll_debug_log::FILE_NAME);
}
