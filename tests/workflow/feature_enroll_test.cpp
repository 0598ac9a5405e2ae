#include "palm/workflow/feature_enroll.h"

#include <gtest/gtest.h>

#include "workflow_fixtures.h"

using palm_algorithm::palm_position;
using palm_test::test_cell;
using palm_workflow::feature_enroll;
using palm_workflow::feature_enroll_test_access;

namespace {

const std::uint32_t HAND_A = 401;
const std::uint32_t HAND_B = 402;

bool offer(feature_enroll& e, palm_struct::frame_info const& f) {
    palm_position pos = palm_algorithm::POS_UNKNOWN;
    bool const r = e.enrolling(f, pos);
    EXPECT_EQ(palm_algorithm::POS_UNKNOWN, pos);  // enrolment never writes it
    return r;
}

test_cell code_of(palm_struct::frame_info const& f) {
    palm_workflow::feature_login login;
    test_cell c;
    palm_position pos;
    EXPECT_TRUE(login.feature_extract(f, c, pos));
    return c;
}

// A reset enrolment whose running stage holds `f` as its one candidate.
void start_chain(feature_enroll& e, palm_struct::frame_info const& f) {
    e.reset();
    feature_enroll_test_access access(e);
    access.candidates().push_back(code_of(f));
    access.candidate_frames().push_back(f);
}

}  // namespace

TEST(FeatureEnroll, ConstantsAndAFreshObject) {
    feature_enroll e(palm_workflow::ENROLL_FEATURE_25);
    EXPECT_EQ(11, e.get_required_count());
    EXPECT_EQ(0, e.get_stage());
    EXPECT_EQ(0, e.candidates_count());
    EXPECT_TRUE(e.get_images().empty());
    EXPECT_EQ(nullptr, e.get_features());
    EXPECT_EQ(0.36f, feature_enroll::ENROLL_MAX_DISTANCE);
}

TEST(FeatureEnroll, FramesWithoutAHandCountAndTheHundredFiftyFirstCallGivesUp) {
    feature_enroll e(palm_workflow::ENROLL_FEATURE_25);
    e.reset();
    palm_struct::frame_info const empty = palm_test::empty_frame();
    for (int i = 0; i < 150; ++i)
        ASSERT_FALSE(offer(e, empty)) << i;
    EXPECT_EQ(0, e.get_stage());
    palm_struct::frame_info untouched = palm_test::empty_frame();
    untouched.crop.area_percent = 55.5;
    EXPECT_TRUE(offer(e, untouched));
    EXPECT_EQ(-1, e.get_stage());
    EXPECT_EQ(55.5, untouched.crop.area_percent);  // not looked at
    EXPECT_TRUE(offer(e, empty));                  // the limit holds in -1 too
    EXPECT_EQ(-1, e.get_stage());
    e.reset();
    EXPECT_EQ(0, e.get_stage());
    EXPECT_FALSE(offer(e, empty));
}

TEST(FeatureEnroll, FourFittingFramesOpenStageZero) {
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    e.reset();
    feature_enroll_test_access access(e);
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(offer(e, palm_test::held_frame(HAND_A, i)));
        EXPECT_EQ(0, e.candidates_count());
        EXPECT_EQ(i + 1, access.predetect_run());
    }
    EXPECT_FALSE(offer(e, palm_test::held_frame(HAND_A, 3)));
    EXPECT_EQ(4, e.candidates_count());
    EXPECT_EQ(0, access.predetect_run());
}

TEST(FeatureEnroll, AMisfitInARunOfThreeNeedsFourFramesBehindIt) {
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    e.reset();
    feature_enroll_test_access access(e);
    for (int i = 0; i < 3; ++i)
        offer(e, palm_test::held_frame(HAND_A, i));
    ASSERT_EQ(3, access.predetect_run());
    offer(e, palm_test::held_frame(HAND_B, 0));
    EXPECT_EQ(0, access.predetect_run());
    for (int i = 3; i < 6; ++i) {
        offer(e, palm_test::held_frame(HAND_A, i));
        EXPECT_EQ(i - 2, access.predetect_run());
        EXPECT_EQ(0, e.candidates_count());
    }
    offer(e, palm_test::held_frame(HAND_A, 6));
    EXPECT_EQ(4, e.candidates_count());
}

TEST(FeatureEnroll, AFrameEqualToTheLastCandidateIsAccepted) {
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    palm_struct::frame_info const f = palm_test::held_frame(HAND_A, 0);
    start_chain(e, f);
    EXPECT_FALSE(offer(e, f));
    EXPECT_EQ(2, e.candidates_count());
}

TEST(FeatureEnroll, AnotherHandDoesNotContinueTheChain) {
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    palm_struct::frame_info const f = palm_test::held_frame(HAND_A, 0);
    start_chain(e, f);
    EXPECT_FALSE(offer(e, palm_test::held_frame(HAND_B, 1)));
    EXPECT_EQ(1, e.candidates_count());
    EXPECT_FALSE(offer(e, palm_test::held_frame(HAND_A, 1)));  // the chain was not broken
    EXPECT_EQ(2, e.candidates_count());
}

TEST(FeatureEnroll, TheFirstCandidateOfStageOneMayFitOnlyTheVeryFirstCell) {
    std::mt19937 rng(3);
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    e.reset();
    feature_enroll_test_access access(e);
    access.stage() = 1;
    access.stage_cells().push_back(code_of(palm_test::held_frame(HAND_A, 0)));
    for (int i = 1; i < 11; ++i)
        access.stage_cells().push_back(palm_test::random_cell(rng));
    access.stage_frames().assign(11, palm_struct::frame_info());
    EXPECT_FALSE(offer(e, palm_test::held_frame(HAND_A, 1)));
    EXPECT_EQ(1, e.candidates_count());

    access.candidates().clear();
    access.candidate_frames().clear();
    access.stage_cells()[0] = palm_test::random_cell(rng);
    EXPECT_FALSE(offer(e, palm_test::held_frame(HAND_A, 1)));
    EXPECT_EQ(0, e.candidates_count());
}

TEST(FeatureEnroll, ALaterStageWithoutFinishedCellsCanNeverStart) {
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    e.reset();
    feature_enroll_test_access access(e);
    access.stage() = 2;
    EXPECT_FALSE(offer(e, palm_test::held_frame(HAND_A, 0)));
    EXPECT_EQ(0, e.candidates_count());
    EXPECT_EQ(1, access.attempts()[2]);
}

TEST(FeatureEnroll, ResetDuringStageTwoDiscardsEverything) {
    std::mt19937 rng(4);
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    feature_enroll_test_access access(e);
    access.stage() = 2;
    access.attempts()[0] = 40;
    access.attempts()[2] = 7;
    access.stage_cells().assign(22, palm_test::random_cell(rng));
    access.stage_frames().assign(22, palm_struct::frame_info());
    access.candidates().assign(3, palm_test::random_cell(rng));
    access.candidate_frames().assign(3, palm_struct::frame_info());
    e.reset();
    EXPECT_EQ(0, e.get_stage());
    EXPECT_EQ(0, e.candidates_count());
    EXPECT_TRUE(e.get_images().empty());
    EXPECT_TRUE(access.stage_cells().empty());
    EXPECT_EQ(0, access.attempts()[0] + access.attempts()[1] + access.attempts()[2]);
    offer(e, palm_test::held_frame(HAND_A, 0));
    EXPECT_EQ(1, access.predetect_run());
}

TEST(FeatureEnroll, AStageFinishedOnItsHundredFiftiethFrameMovesOnAndThenGivesUp) {
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    e.reset();
    feature_enroll_test_access access(e);
    palm_struct::frame_info const f = palm_test::held_frame(HAND_A, 0);
    test_cell const c = code_of(f);
    access.attempts()[0] = 149;
    access.candidates().assign(10, c);
    access.candidate_frames().assign(10, f);
    EXPECT_TRUE(offer(e, f));  // the 150th frame completes stage 0
    EXPECT_EQ(1, e.get_stage());
    EXPECT_EQ(11u, e.get_images().size());
    EXPECT_TRUE(offer(e, f));
    EXPECT_EQ(-1, e.get_stage());
}

TEST(FeatureEnroll, GetFeaturesWantsFiveOrTwentyFiveCells) {
    std::mt19937 rng(6);
    feature_enroll five(palm_workflow::ENROLL_FEATURE_5);
    feature_enroll_test_access a5(five);
    a5.selected().assign(5, palm_test::random_cell(rng));
    palm_feature::user_palm_feature* const f = five.get_features();
    ASSERT_NE(nullptr, f);
    EXPECT_EQ(5, f->size());
    EXPECT_EQ(f, five.get_features());
    a5.selected().assign(10, palm_test::random_cell(rng));
    EXPECT_EQ(nullptr, five.get_features());

    feature_enroll other(static_cast<palm_workflow::enroll_feature_count>(7));
    feature_enroll_test_access a7(other);
    a7.selected().assign(5, palm_test::random_cell(rng));
    EXPECT_EQ(nullptr, other.get_features());
    a7.selected().assign(25, palm_test::random_cell(rng));
    EXPECT_NE(nullptr, other.get_features());
}
