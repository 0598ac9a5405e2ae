#include <gtest/gtest.h>

#include "palm/workflow/enroll_debug_log.h"
#include "palm/workflow/feature_enroll.h"
#include "support/scratch_dir.h"
#include "workflow_fixtures.h"

using palm_algorithm::palm_position;
using palm_workflow::enroll_debug_log;
using palm_workflow::feature_enroll;
using palm_workflow::feature_enroll_test_access;

namespace {

const char* const DEBUG_FILE = "D:\\error_flage3.txt";

// The GBK bytes of each message, spelt out here once more.
const std::string TOO_SMALL = "\xca\xd6\xd5\xc6\xcc\xab\xd0\xa1:";
const std::string CROP_FAILED = "\xc7\xd0\xb8\xee\xca\xa7\xb0\xdc:";
const std::string ANGLE = "\xbd\xc7\xb6\xc8\xcc\xab\xb4\xf3:";
const std::string RIGHT = "\xca\xd6\xd5\xc6\xcc\xab\xbf\xbf\xd3\xd2:";
const std::string LEFT = "\xca\xd6\xd5\xc6\xcc\xab\xbf\xbf\xd7\xf3:";
const std::string UP = "\xca\xd6\xd5\xc6\xcc\xab\xbf\xbf\xc9\xcf:";
const std::string DOWN = "\xca\xd6\xd5\xc6\xcc\xab\xbf\xbf\xcf\xc2:";
const std::string INVALID = "\xce\xde\xd0\xa7\xca\xd6\xd5\xc6:";
const std::string LIMIT = "\xb3\xac\xb9\xfd\xd7\xee\xb4\xf3\xca\xfd:";

bool offer(feature_enroll& e, palm_struct::frame_info const& f, int stage, std::string const& log,
           bool& accepted) {
    palm_position pos = palm_algorithm::POS_UNKNOWN;
    bool const r = e.enrolling_siti_enroll(f, pos, stage, log, accepted);
    EXPECT_EQ(palm_algorithm::POS_UNKNOWN, pos);
    return r;
}

// A bright block with no fingers: enough area for the pre-check, nothing the
// crop can find webs on.
palm_struct::frame_info block_frame() {
    palm_struct::frame_info f;
    f.vl = palm_share::palm_image(640, 480);
    f.vl.SetData(120);
    f.nir = palm_share::palm_image(640, 480);
    f.nir.SetData(0);
    for (int y = 90; y < 390; ++y)
        for (int x = 120; x < 520; ++x)
            f.nir[y][x] = 180;
    return f;
}

}  // namespace

TEST(EnrollDebugLog, MessagesAreTheirGbkBytes) {
    EXPECT_EQ("\xca\xd6\xd5\xc6\xcc\xab\xb4\xf3:", std::string(enroll_debug_log::PALM_TOO_LARGE));
    EXPECT_EQ(TOO_SMALL, enroll_debug_log::PALM_TOO_SMALL);
    EXPECT_EQ(CROP_FAILED, enroll_debug_log::CROP_FAILED);
    EXPECT_EQ(ANGLE, enroll_debug_log::ANGLE_TOO_LARGE);
    EXPECT_EQ(LIMIT, enroll_debug_log::FRAME_LIMIT);
}

TEST(EnrollDebugLog, EachPositionHasItsMessage) {
    EXPECT_EQ(RIGHT, enroll_debug_log::position_text(palm_algorithm::POS_RIGHT));
    EXPECT_EQ(LEFT, enroll_debug_log::position_text(palm_algorithm::POS_LEFT));
    EXPECT_EQ(UP, enroll_debug_log::position_text(palm_algorithm::POS_UP));
    EXPECT_EQ(DOWN, enroll_debug_log::position_text(palm_algorithm::POS_DOWN));
    EXPECT_EQ(INVALID, enroll_debug_log::position_text(palm_algorithm::POS_UNKNOWN));
    EXPECT_EQ(INVALID, enroll_debug_log::position_text(palm_algorithm::POS_TOO_LARGE));
}

TEST(EnrollDebugLog, LinesAreAppendedWholeInTheWorkingDirectory) {
    palm_test::scratch_dir dir;
    enroll_debug_log::write_line("one");
    enroll_debug_log::write_line("");
    EXPECT_EQ("one\n\n", dir.read(DEBUG_FILE));
    EXPECT_EQ("3.14159", enroll_debug_log::fixed5(3.14159265));
    EXPECT_EQ("-7", enroll_debug_log::decimal(-7));
}

TEST(SecondEnrolmentPath, APreCheckRejectionWritesOneLineAndClearsAccepted) {
    palm_test::scratch_dir dir;
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    e.reset();
    bool accepted = true;
    std::string const log = "frame 1 ";
    EXPECT_FALSE(offer(e, palm_test::empty_frame(), 0, log, accepted));
    EXPECT_FALSE(accepted);
    EXPECT_EQ("frame 1 ", log);
    EXPECT_EQ("frame 1 " + TOO_SMALL + "0.00000\n", dir.read(DEBUG_FILE));
}

TEST(SecondEnrolmentPath, ACropFailureWritesItsLine) {
    palm_test::scratch_dir dir;
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    e.reset();
    bool accepted = true;
    EXPECT_FALSE(offer(e, block_frame(), 0, "x", accepted));
    EXPECT_FALSE(accepted);
    EXPECT_EQ("x" + CROP_FAILED + "\n", dir.read(DEBUG_FILE));
}

TEST(SecondEnrolmentPath, ASteepHandWritesTheAngle) {
    palm_test::scratch_dir dir;
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    e.reset();
    bool accepted = true;
    palm_struct::frame_info const f = palm_test::posed_frame(77, 0, 0, 36, 1.42);
    EXPECT_FALSE(offer(e, f, 0, "", accepted));
    EXPECT_FALSE(accepted);
    double const incline = palm_workflow::palm_incline_degrees(f.crop);
    EXPECT_EQ(ANGLE + enroll_debug_log::fixed5(incline) + "\n", dir.read(DEBUG_FILE));
}

TEST(SecondEnrolmentPath, APalmOffCentreWritesItsSideAndKeepsAccepted) {
    palm_test::scratch_dir dir;
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    e.reset();
    bool accepted = true;
    palm_struct::frame_info const f = palm_test::posed_frame(77, 120, 0, 0, 1.5);
    EXPECT_FALSE(offer(e, f, 0, "p ", accepted));
    EXPECT_TRUE(accepted);
    EXPECT_EQ("p " + RIGHT + "\n", dir.read(DEBUG_FILE));
    accepted = false;
    EXPECT_FALSE(offer(e, f, 0, "", accepted));
    EXPECT_FALSE(accepted);
}

TEST(SecondEnrolmentPath, AcceptedFramesSetAcceptedAndWriteNothing) {
    palm_test::scratch_dir dir;
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    e.reset();
    bool accepted = false;
    for (int i = 0; i < 3; ++i) {
        offer(e, palm_test::held_frame(401, i), 0, "", accepted);
        EXPECT_FALSE(accepted) << i;  // a run is no candidate yet
    }
    offer(e, palm_test::held_frame(401, 3), 0, "", accepted);
    EXPECT_TRUE(accepted);
    EXPECT_EQ(4, e.candidates_count());
    // A misfit after passing every test leaves accepted as it came.
    offer(e, palm_test::held_frame(402, 0), 0, "", accepted);
    EXPECT_TRUE(accepted);
    accepted = false;
    offer(e, palm_test::held_frame(402, 0), 0, "", accepted);
    EXPECT_FALSE(accepted);
    EXPECT_EQ(4, e.candidates_count());
    EXPECT_FALSE(dir.exists(DEBUG_FILE));
}

TEST(SecondEnrolmentPath, StageArgumentsOutsideZeroToTwoLeaveTheStage) {
    palm_test::scratch_dir dir;
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    e.reset();
    feature_enroll_test_access access(e);
    access.stage() = 1;
    bool accepted = false;
    offer(e, palm_test::empty_frame(), -1, "", accepted);
    EXPECT_EQ(1, e.get_stage());
    offer(e, palm_test::empty_frame(), 3, "", accepted);
    EXPECT_EQ(1, e.get_stage());
    EXPECT_EQ(2, access.attempts()[1]);
    offer(e, palm_test::empty_frame(), 2, "", accepted);
    EXPECT_EQ(2, e.get_stage());
    access.stage() = -1;  // a failed object can be taken back to work
    offer(e, palm_test::empty_frame(), 0, "", accepted);
    EXPECT_EQ(0, e.get_stage());
}

TEST(SecondEnrolmentPath, TheFrameLimitWritesNoLineAndKeepsAccepted) {
    palm_test::scratch_dir dir;
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    e.reset();
    feature_enroll_test_access access(e);
    access.attempts()[1] = 150;
    access.accepted() = false;
    bool accepted = true;
    EXPECT_TRUE(offer(e, palm_test::empty_frame(), 0, "", accepted));
    EXPECT_EQ(-1, e.get_stage());
    EXPECT_TRUE(accepted);
    EXPECT_FALSE(dir.exists(DEBUG_FILE));
}

TEST(SecondEnrolmentPath, StageZeroOnEveryCallSendsAFinishedStageBack) {
    palm_test::scratch_dir dir;
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    e.reset();
    feature_enroll_test_access access(e);
    bool accepted = false;
    bool changed = false;
    for (int i = 0; i < 20 && !changed; ++i)
        changed = offer(e, palm_test::held_frame(401, i), 0, "", accepted);
    ASSERT_TRUE(changed);
    EXPECT_EQ(1, e.get_stage());
    EXPECT_EQ(11u, access.stage_cells().size());
    offer(e, palm_test::held_frame(401, 20), 0, "", accepted);
    EXPECT_EQ(0, e.get_stage());
    EXPECT_EQ(0, e.candidates_count());  // a new predetect run is needed
    EXPECT_EQ(1, access.predetect_run());
    changed = false;
    for (int i = 21; i < 40 && !changed; ++i)
        changed = offer(e, palm_test::held_frame(401, i), 0, "", accepted);
    ASSERT_TRUE(changed);
    EXPECT_EQ(1, e.get_stage());
    EXPECT_EQ(22u, access.stage_cells().size());  // it keeps growing
}
