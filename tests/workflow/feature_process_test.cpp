#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "palm/workflow/enroll_feature_count.h"
#include "palm/workflow/feature_enroll.h"
#include "palm/workflow/feature_login.h"
#include "workflow_fixtures.h"

using palm_struct::_crop_results;
using palm_workflow::feature_login;
using palm_workflow::glm_decision;

TEST(GlmDecision, AcceptsOnlyASumStrictlyUnderTheBias) {
    EXPECT_TRUE(glm_decision(0.2f, 0.3f, 0.6f));
    EXPECT_FALSE(glm_decision(0.3f, 0.3f, 0.6f));  // (0.6 - 0.3) - 0.3 is exactly 0
    EXPECT_FALSE(glm_decision(0.4f, 0.3f, 0.6f));
}

TEST(GlmDecision, IsComputedInSinglePrecisionBiasMinusVeinFirst) {
    // Look for triples on which (b - v) - p and b - (p + v), or the double
    // form, disagree in sign; glm_decision must follow the first every time.
    std::mt19937 rng(9);
    std::uniform_real_distribution<float> u(0.0f, 0.5f);
    int disagreements = 0;
    for (int i = 0; i < 200000; ++i) {
        float const p = u(rng), v = u(rng);
        float const b = p + v;  // near the edge, where rounding decides
        float const rest = b - v;
        bool const stated = rest - p > 0.0f;
        bool const other = b - (p + v) > 0.0f;
        bool const wide = static_cast<double>(b) - v - p > 0.0;
        if (stated != other || stated != wide)
            ++disagreements;
        ASSERT_EQ(stated, glm_decision(p, v, b)) << p << " " << v << " " << b;
    }
    EXPECT_GT(disagreements, 100);
}

TEST(MatchDistanceLogin, FiveRowsAsTuned) {
    float const expected[15] = {0.35f,  0.34f,  0.622f, 0.36f,  0.35f, 0.592f, 0.342f, 0.324f,
                                0.562f, 0.352f, 0.346f, 0.644f, 0.36f, 0.35f,  0.65f};
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(expected[i], feature_login::MATCH_DISTANCE_LOGIN[i]) << i;
    EXPECT_EQ(0.4f, feature_login::MATCH_DISTANCE_LOGIN_PRINT_ENROLL);
    EXPECT_EQ(0.41f, feature_login::MATCH_DISTANCE_LOGIN_VEIN_ENROLL);
    EXPECT_EQ(0.75f, feature_login::MATCH_DISTANCE_LOGIN_BIAS_ENROLL);
    EXPECT_EQ(0.62f, feature_login::MATCH_DISTANCE_LOGIN_BIAS_LOOSE);
}

TEST(MatchDistanceLogin, IntensitiesOneAndFourDifferInTheBiasAlone) {
    EXPECT_EQ(feature_login::MATCH_DISTANCE_LOGIN[3], feature_login::MATCH_DISTANCE_LOGIN[12]);
    EXPECT_EQ(feature_login::MATCH_DISTANCE_LOGIN[4], feature_login::MATCH_DISTANCE_LOGIN[13]);
    EXPECT_NE(feature_login::MATCH_DISTANCE_LOGIN[5], feature_login::MATCH_DISTANCE_LOGIN[14]);
}

TEST(DistDiff, LessIsAlwaysFalseSoPairsOrderByDistanceAlone) {
    palm_workflow::dist_diff const a{1, palm_feature_lib::first_hand, 0};
    palm_workflow::dist_diff const b{2, palm_feature_lib::second_hand, 7};
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_FALSE(std::make_pair(0.5, a) < std::make_pair(0.5, b));
    EXPECT_FALSE(std::make_pair(0.5, b) < std::make_pair(0.5, a));
    EXPECT_TRUE(std::make_pair(0.25, b) < std::make_pair(0.5, a));
}

TEST(VecResp, Holds1024ZeroPairsFromLoad) {
    ASSERT_EQ(1024u, palm_workflow::vecResp.size());
}

TEST(MatchDecision, VeinFirstThenPrintThenBiasAndOnlyThenTheRecord) {
    std::mt19937 rng(5);
    palm_test::test_cell const a = palm_test::random_cell(rng);
    palm_test::test_cell const b = palm_test::flipped_cell(a, 300, 400, rng);
    float const p = palm_test::distance(a.first, b.first);
    float const v = palm_test::distance(a.second, b.second);
    feature_login::CANDINATE_INFO info{1.0f, 1.0f, 77u, palm_feature_lib::second_hand};
    // A limit equal to the distance refuses, in both lights.
    EXPECT_FALSE(palm_workflow::match_decision(a, b, info, 1.0f, v, 2.0f));
    EXPECT_FALSE(palm_workflow::match_decision(a, b, info, p, 1.0f, 2.0f));
    // A bias equal to the sum refuses.
    EXPECT_FALSE(palm_workflow::match_decision(a, b, info, 1.0f, 1.0f, (p + v)));
    EXPECT_EQ(1.0f, info.print_dist);
    ASSERT_TRUE(palm_workflow::match_decision(a, b, info, std::nextafter(p, 1.0f),
                                              std::nextafter(v, 1.0f), 2.0f));
    EXPECT_EQ(p, info.print_dist);
    EXPECT_EQ(v, info.vein_dist);
    EXPECT_EQ(77u, info.id);  // id and hand stay as they were
    EXPECT_EQ(palm_feature_lib::second_hand, info.hand);
}

TEST(Incline, EqualToTheLimitPassesAndAboveFails) {
    EXPECT_TRUE(palm_workflow::incline_within(30.0, 30.0f));
    EXPECT_FALSE(palm_workflow::incline_within(30.1, 30.0f));
    EXPECT_TRUE(palm_workflow::incline_within(30.1, 45.0f));
}

TEST(Incline, MeasuredOnTheKeyPointsWithoutSign) {
    _crop_results res;
    res.nir_key[0] = {100, 200};
    res.nir_key[1] = {145, 226};  // 30.018 degrees: too steep for enrolment, fine for login
    double const up = palm_workflow::palm_incline_degrees(res);
    EXPECT_EQ(std::atan(26.0 / (45.0 + 1e-6)) * 57.29577951307855, up);
    EXPECT_FALSE(palm_workflow::incline_within(up, 30.0f));
    EXPECT_TRUE(palm_workflow::incline_within(up, 45.0f));
    res.nir_key[1] = {145, 174};
    EXPECT_EQ(up, palm_workflow::palm_incline_degrees(res));
}

TEST(Incline, TheSameXGivesNearlyNinetyDegreesNotADivisionFault) {
    _crop_results res;
    res.nir_key[0] = {100, 100};
    res.nir_key[1] = {100, 160};
    double const a = palm_workflow::palm_incline_degrees(res);
    EXPECT_GT(a, 89.999);
    EXPECT_LE(a, 90.0);
    res.nir_key[1] = {100, 100};  // one point twice: 0 / 1e-6
    EXPECT_EQ(0.0, palm_workflow::palm_incline_degrees(res));
}

TEST(FeatureProcess, AFrameWhoseCropFailedReportsLeft) {
    palm_workflow::feature_login login;
    palm_struct::frame_info const f = palm_test::empty_frame();
    std::vector<palm_share::image_pair> rois;
    EXPECT_FALSE(login.extract_palm_region(rois, 45.0f, f));
    EXPECT_EQ(palm_algorithm::POS_LEFT, login.get_palm_pos(f.crop));
    EXPECT_EQ(palm_algorithm::POS_TOO_SMALL, login.pre_check(f.nir, f.crop));
}

TEST(FeatureProcess, ASteepHandFailsEnrolmentButNotLogin) {
    palm_workflow::feature_login login;
    palm_struct::frame_info const f = palm_test::posed_frame(77, 0, 0, 36, 1.42);
    std::vector<palm_share::image_pair> rois;
    EXPECT_FALSE(login.extract_palm_region(rois, 30.0f, f));
    double const incline = palm_workflow::palm_incline_degrees(f.crop);
    EXPECT_GT(incline, 30.0);
    EXPECT_LT(incline, 45.0);
    ASSERT_EQ(1u, rois.size());  // the region was cut all the same
    EXPECT_TRUE(login.extract_palm_region(rois, 45.0f, f));
}

TEST(FeatureProcessFactories, EnrolCountOfTheFirstCreateStays) {
    palm_workflow::i_feature_enroll* const a =
        palm_workflow::create_feature_enroll(palm_workflow::ENROLL_FEATURE_25);
    palm_workflow::i_feature_enroll* const b =
        palm_workflow::create_feature_enroll(palm_workflow::ENROLL_FEATURE_5);
    EXPECT_EQ(a, b);
    // Set to 25: a selection of five cells is no template for it.
    auto* const e = static_cast<palm_workflow::feature_enroll*>(a);
    palm_workflow::feature_enroll_test_access access(*e);
    std::mt19937 rng(1);
    access.selected().assign(5, palm_test::random_cell(rng));
    EXPECT_EQ(nullptr, e->get_features());
    palm_workflow::destroy_feature_process(a);
    palm_workflow::i_feature_enroll* const c =
        palm_workflow::create_feature_enroll(palm_workflow::ENROLL_FEATURE_5);
    palm_workflow::feature_enroll_test_access fresh(
        *static_cast<palm_workflow::feature_enroll*>(c));
    fresh.selected().assign(5, palm_test::random_cell(rng));
    EXPECT_NE(nullptr, c->get_features());
    palm_workflow::destroy_feature_process(c);
}

TEST(FeatureProcessFactories, DestroyOfNullDoesNothingEvenWithBothSingletonsNull) {
    palm_workflow::destroy_feature_process(nullptr);
    palm_workflow::i_feature_login* const l = palm_workflow::create_feature_login();
    palm_workflow::destroy_feature_process(l);
    palm_workflow::destroy_feature_process(nullptr);
    SUCCEED();
}

TEST(FeatureProcessFactories, DestroyOfAForeignEnrolmentLeavesItAlone) {
    palm_workflow::feature_enroll own(palm_workflow::ENROLL_FEATURE_5);
    palm_workflow::i_feature_enroll* const global =
        palm_workflow::create_feature_enroll(palm_workflow::ENROLL_FEATURE_25);
    palm_workflow::destroy_feature_process(&own);
    EXPECT_EQ(global, palm_workflow::create_feature_enroll(palm_workflow::ENROLL_FEATURE_25));
    EXPECT_EQ(11, own.get_required_count());
    palm_workflow::destroy_feature_process(global);
}

TEST(FeatureProcessFactories, ANewLoginIsBackAtIntensityOne) {
    auto* const a = static_cast<feature_login*>(palm_workflow::create_feature_login());
    a->set_detect_intnesity(palm_workflow::i_feature_login::DETECT_INTENSITY_3);
    EXPECT_EQ(palm_workflow::i_feature_login::DETECT_INTENSITY_3, a->get_detect_intensity());
    palm_workflow::destroy_feature_process(a);
    auto* const b = static_cast<feature_login*>(palm_workflow::create_feature_login());
    EXPECT_EQ(palm_workflow::i_feature_login::DETECT_INTENSITY_1, b->get_detect_intensity());
    palm_workflow::destroy_feature_process(b);
}

TEST(FeatureLoginIntensity, AValueOutsideTheTableIsRefused) {
    feature_login login;
    login.set_detect_intnesity(palm_workflow::i_feature_login::DETECT_INTENSITY_4);
    login.set_detect_intnesity(static_cast<palm_workflow::i_feature_login::DETECT_INTENSITY>(5));
    EXPECT_EQ(palm_workflow::i_feature_login::DETECT_INTENSITY_4, login.get_detect_intensity());
    login.set_detect_intnesity(static_cast<palm_workflow::i_feature_login::DETECT_INTENSITY>(-1));
    EXPECT_EQ(palm_workflow::i_feature_login::DETECT_INTENSITY_4, login.get_detect_intensity());
}
