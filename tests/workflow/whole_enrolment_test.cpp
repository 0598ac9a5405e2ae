#include <gtest/gtest.h>

#include <cstring>

#include "palm/feature/palm_feature_lib.h"
#include "palm/workflow/feature_enroll.h"
#include "palm/workflow/feature_login.h"
#include "sim/stream_enrolment.h"
#include "workflow_fixtures.h"

using palm_workflow::feature_enroll;

using palm_test::enrol_from_stream;

TEST(WholeEnrolment, AStreamReachesStageThreeWithTwentyFiveFeatures) {
    palm_test::ensure_lens_tables();
    feature_enroll e(palm_workflow::ENROLL_FEATURE_25);
    palm_test::capture_stream const s(601, 1, 1, 60, palm_test::difficulty::easy);
    palm_test::stream_enrolment const r = enrol_from_stream(e, s);
    ASSERT_EQ(3, r.stage);
    ASSERT_TRUE(r.has_features);
    EXPECT_EQ(25, r.features.size());
    EXPECT_EQ(3u, r.changes.size());  // stages 1, 2 and 3
    for (int i : r.changes)
        EXPECT_STREQ("held", s.phase(i));
    EXPECT_EQ(33u, e.get_images().size());
    EXPECT_EQ(0, e.candidates_count());
    palm_algorithm::palm_position pos;
    EXPECT_FALSE(e.enrolling(palm_test::to_frame(s.frame(s.size() - 1)), pos));
    EXPECT_EQ(3, e.get_stage());

    // The template logs the same hand in on another day, and nobody else.
    ASSERT_TRUE(palm_feature_lib::update(601, &r.features, palm_feature_lib::first_hand));
    palm_workflow::feature_login login;
    unsigned id = 0;
    palm_feature_lib::hand hand = palm_feature_lib::second_hand;
    EXPECT_TRUE(login.detect(
        palm_test::to_frame(palm_test::login_frame(601, 1, 3, 0, palm_test::difficulty::easy)),
        {601}, pos, id, hand));
    EXPECT_EQ(601u, id);
    EXPECT_EQ(palm_feature_lib::first_hand, hand);
    EXPECT_FALSE(login.detect(
        palm_test::to_frame(palm_test::login_frame(602, 1, 3, 0, palm_test::difficulty::easy)),
        {601}, pos, id, hand));
    palm_feature_lib::remove(601);
}

TEST(WholeEnrolment, AShortStreamReachesStageThreeWithFiveFeatures) {
    palm_test::ensure_lens_tables();
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    palm_test::capture_stream const s(603, 0, 2, 40, palm_test::difficulty::easy);
    palm_test::stream_enrolment const r = enrol_from_stream(e, s);
    ASSERT_EQ(3, r.stage);
    ASSERT_TRUE(r.has_features);
    EXPECT_EQ(5, r.features.size());
    EXPECT_LE(r.frames, 40);
}

TEST(CaptureStream, PhasesInOrderAndHeldWithinFortyToEighty) {
    palm_test::capture_stream const short_one(1, 1, 1, 10);
    EXPECT_EQ(40, short_one.size());
    EXPECT_STREQ("none", short_one.phase(0));
    EXPECT_STREQ("entering", short_one.phase(1));
    EXPECT_STREQ("left", short_one.phase(2));
    EXPECT_STREQ("right", short_one.phase(3));
    EXPECT_STREQ("small", short_one.phase(4));
    EXPECT_STREQ("held", short_one.phase(5));
    EXPECT_EQ(5, short_one.first_held());
    palm_test::capture_stream const long_one(1, 1, 1, 500);
    EXPECT_EQ(80, long_one.size());
    EXPECT_EQ(15, long_one.first_held());
    EXPECT_FALSE(long_one.has_hand(2));
    EXPECT_TRUE(long_one.has_hand(3));
}

TEST(CaptureStream, HeldFramesJitterByAPixelOrTwoAndADegreeOrTwo) {
    palm_test::capture_stream const s(5, 1, 1, 80, palm_test::difficulty::easy);
    palm_test::camera_pose const a = s.pose(s.first_held());
    for (int i = s.first_held() + 1; i < s.size(); ++i) {
        palm_test::camera_pose const b = s.pose(i);
        EXPECT_LE(std::abs(a.offset_x - b.offset_x), 3.0);
        EXPECT_LE(std::abs(a.rotation - b.rotation), 3.0);
        EXPECT_NE(a.noise_seed, b.noise_seed);
    }
    EXPECT_LT(s.pose(12).scale, 1.1);                                                  // too small
    EXPECT_GT(std::abs(s.pose(6).offset_x - s.pose(s.first_held()).offset_x), 140.0);  // left
    EXPECT_GT(s.pose(9).offset_x - s.pose(s.first_held()).offset_x, 140.0);            // right
}

TEST(CaptureStream, FramesAreDeterministicAndHandsDiffer) {
    palm_test::ensure_lens_tables();
    palm_test::capture_stream const s(9, 1, 1, 40, palm_test::difficulty::easy);
    palm_share::image_pair const a = s.frame(7), b = s.frame(7);
    EXPECT_EQ(0, std::memcmp(a.nir.GetBuffer(), b.nir.GetBuffer(), 640 * 480));
    EXPECT_NE(palm_test::capture_stream::palm_identity(9, 1),
              palm_test::capture_stream::palm_identity(9, 0));
}
