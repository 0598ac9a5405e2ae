#include <gtest/gtest.h>

#include "palm/feature/palm_feature_lib.h"
#include "palm/workflow/feature_login.h"
#include "workflow_fixtures.h"

using palm_feature::user_palm_feature;
using palm_test::test_cell;
using palm_workflow::feature_login;
namespace lib = palm_feature_lib;

namespace {

// One login frame and its two codes; stored hands are made from those codes
// with chosen numbers of changed bits, so that each test knows its distances.
class LoginDetect : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        frame_ = new palm_struct::frame_info(palm_test::held_frame(301, 0));
        probe_ = new test_cell();
        palm_algorithm::palm_position pos;
        feature_login login;
        ASSERT_TRUE(login.feature_extract(*frame_, *probe_, pos));
    }
    static void TearDownTestSuite() {
        delete frame_;
        delete probe_;
    }
    void TearDown() override {
        for (unsigned id : used_)
            lib::remove(id);
    }
    // A hand of n cells, random but for a near copy of the probe at `at`
    // (none when at is -1).
    user_palm_feature hand_of(int n, int at, int print_bits = 150, int vein_bits = 150) {
        user_palm_feature r;
        for (int i = 0; i < n; ++i)
            r.add(i == at ? palm_test::flipped_cell(*probe_, print_bits, vein_bits, rng_)
                          : palm_test::random_cell(rng_));
        return r;
    }
    void store(unsigned id, user_palm_feature const& r, lib::hand h = lib::first_hand) {
        used_.push_back(id);
        ASSERT_TRUE(lib::update(id, &r, h));
    }
    // 50 or 49 hands with a print nearer than random codes and yet refused.
    std::vector<unsigned> decoys(int count) {
        std::vector<unsigned> ids;
        for (int i = 0; i < count; ++i) {
            user_palm_feature r;
            r.add(palm_test::flipped_cell(*probe_, 1200, 1200, rng_));
            store(7100 + i, r);
            ids.push_back(7100 + i);
        }
        return ids;
    }
    bool detect(std::vector<unsigned> const& ids, unsigned& id, lib::hand& hand,
                bool exhaustive = false) {
        palm_algorithm::palm_position pos = palm_algorithm::POS_UNKNOWN;
        bool const ok = exhaustive ? login_.detect_jiaqiang_original(*frame_, ids, pos, id, hand)
                                   : login_.detect(*frame_, ids, pos, id, hand);
        EXPECT_EQ(palm_algorithm::POS_OK, pos);
        return ok;
    }

    static palm_struct::frame_info* frame_;
    static test_cell* probe_;
    std::mt19937 rng_{21};
    std::vector<unsigned> used_;
    feature_login login_;
};

palm_struct::frame_info* LoginDetect::frame_ = nullptr;
test_cell* LoginDetect::probe_ = nullptr;

}  // namespace

TEST_F(LoginDetect, DecoysLieBetweenTheLimitAndRandomCodes) {
    std::vector<unsigned> const ids = decoys(1);
    user_palm_feature const r = hand_of(2, -1);
    lib::data_locator locator;
    ASSERT_TRUE(lib::lock(&locator));
    float const decoy =
        palm_test::distance(probe_->first, (*locator.find(ids[0])->first_hand)[0].first);
    lib::unlock();
    EXPECT_GT(decoy, 0.36f);
    EXPECT_LT(decoy, palm_test::distance(probe_->first, r[0].first));
    EXPECT_LT(decoy, palm_test::distance(probe_->first, r[1].first));
}

TEST_F(LoginDetect, RecognisesTheFirstHandOfAnId) {
    store(7001, hand_of(5, 3));
    unsigned id = 0;
    lib::hand hand = lib::second_hand;
    ASSERT_TRUE(detect({7001}, id, hand));
    EXPECT_EQ(7001u, id);
    EXPECT_EQ(lib::first_hand, hand);
}

TEST_F(LoginDetect, RecognisesAnIdWithOnlyItsSecondHand) {
    store(7002, hand_of(5, 0), lib::second_hand);
    unsigned id = 0;
    lib::hand hand = lib::first_hand;
    ASSERT_TRUE(detect({7002}, id, hand));
    EXPECT_EQ(7002u, id);
    EXPECT_EQ(lib::second_hand, hand);
}

TEST_F(LoginDetect, AHandOfFiveCellsIsSearchedInFullBehindFiftyDecoys) {
    std::vector<unsigned> ids = decoys(50);
    store(7003, hand_of(5, 3));
    ids.push_back(7003);
    unsigned id = 0;
    lib::hand hand = lib::second_hand;
    ASSERT_TRUE(detect(ids, id, hand));
    EXPECT_EQ(7003u, id);
}

TEST_F(LoginDetect, AHandOfTwelveCellsHasStrideOne) {
    std::vector<unsigned> ids = decoys(50);
    store(7004, hand_of(12, 3));
    ids.push_back(7004);
    unsigned id = 0;
    lib::hand hand = lib::second_hand;
    ASSERT_TRUE(detect(ids, id, hand));
    EXPECT_EQ(7004u, id);
}

TEST_F(LoginDetect, TheFiftyFirstHandIsNeverRefined) {
    // Ten cells: stride 5, the coarse sweep sees cells 0 and 5 only, which
    // are random, and fifty nearer hands take every place of the fine sweep.
    std::vector<unsigned> ids = decoys(50);
    store(7005, hand_of(10, 3));
    ids.push_back(7005);
    unsigned id = 12345;
    lib::hand hand = lib::second_hand;
    EXPECT_FALSE(detect(ids, id, hand));
    EXPECT_EQ(12345u, id);
    EXPECT_EQ(lib::second_hand, hand);
}

TEST_F(LoginDetect, APrintThatPassesOnlyAfterRefinementCounts) {
    std::vector<unsigned> ids = decoys(49);
    store(7006, hand_of(10, 3));
    ids.push_back(7006);
    unsigned id = 0;
    lib::hand hand = lib::second_hand;
    ASSERT_TRUE(detect(ids, id, hand));
    EXPECT_EQ(7006u, id);
}

TEST_F(LoginDetect, TheExhaustiveFormFindsTheFiftyFirstHand) {
    std::vector<unsigned> ids = decoys(50);
    store(7007, hand_of(10, 3));
    ids.push_back(7007);
    unsigned id = 0;
    lib::hand hand = lib::second_hand;
    ASSERT_TRUE(detect(ids, id, hand, true));
    EXPECT_EQ(7007u, id);
    EXPECT_EQ(lib::first_hand, hand);
}

TEST_F(LoginDetect, AHandWithNoCellsIsPassedOver) {
    store(7008, user_palm_feature());
    store(7009, hand_of(5, 2));
    unsigned id = 0;
    lib::hand hand = lib::second_hand;
    EXPECT_FALSE(detect({7008}, id, hand));
    EXPECT_FALSE(detect({7008}, id, hand, true));
    ASSERT_TRUE(detect({7008, 7009}, id, hand));
    EXPECT_EQ(7009u, id);
}

TEST_F(LoginDetect, EmptyOrUnknownIdsGiveFalseAndLeaveTheAnswerAlone) {
    unsigned id = 99;
    lib::hand hand = lib::first_hand;
    EXPECT_FALSE(detect({}, id, hand));
    EXPECT_FALSE(detect({424242, 434343}, id, hand));
    EXPECT_FALSE(detect({424242}, id, hand, true));
    EXPECT_EQ(99u, id);
    EXPECT_EQ(lib::first_hand, hand);
}

TEST_F(LoginDetect, AFrameWithoutAPalmIsRefusedWithItsPosition) {
    store(7010, hand_of(5, 0));
    palm_struct::frame_info const empty = palm_test::empty_frame();
    palm_algorithm::palm_position pos = palm_algorithm::POS_OK;
    unsigned id = 5;
    lib::hand hand = lib::first_hand;
    EXPECT_FALSE(login_.detect(empty, {7010}, pos, id, hand));
    EXPECT_EQ(palm_algorithm::POS_LEFT, pos);
    pos = palm_algorithm::POS_OK;
    EXPECT_FALSE(login_.detect_jiaqiang_original(empty, {7010}, pos, id, hand));
    EXPECT_EQ(palm_algorithm::POS_LEFT, pos);
    EXPECT_EQ(5u, id);
    EXPECT_EQ(0.0, empty.crop.area_percent);
}

TEST_F(LoginDetect, IntensityFourAcceptsWhatTheBiasOfOneRefuses) {
    user_palm_feature const r = hand_of(5, 1, 952, 952);
    float const p = palm_test::distance(probe_->first, r[1].first);
    float const v = palm_test::distance(probe_->second, r[1].second);
    ASSERT_LT(p, 0.35f);
    ASSERT_LT(v, 0.35f);
    ASSERT_GT(p + v, 0.6f);
    ASSERT_LT(p + v, 0.645f);
    store(7011, r);
    unsigned id = 0;
    lib::hand hand = lib::second_hand;
    EXPECT_FALSE(detect({7011}, id, hand));
    EXPECT_FALSE(detect({7011}, id, hand, true));
    login_.set_detect_intnesity(feature_login::DETECT_INTENSITY_4);
    EXPECT_TRUE(detect({7011}, id, hand));
    EXPECT_EQ(7011u, id);
    id = 0;
    EXPECT_TRUE(detect({7011}, id, hand, true));
    EXPECT_EQ(7011u, id);
}

TEST_F(LoginDetect, OnATieOfTheExhaustiveFormTheEarlierCandidateWins) {
    user_palm_feature const r = hand_of(5, 4);
    store(7012, r);
    store(7013, r);
    unsigned id = 0;
    lib::hand hand = lib::second_hand;
    ASSERT_TRUE(detect({7012, 7013}, id, hand, true));
    EXPECT_EQ(7012u, id);
    ASSERT_TRUE(detect({7013, 7012}, id, hand, true));
    EXPECT_EQ(7013u, id);
}

TEST_F(LoginDetect, TheNearestCandidateWinsOverAnEarlierOne) {
    store(7014, hand_of(5, 0, 600, 600));
    store(7015, hand_of(5, 0, 100, 100));
    unsigned id = 0;
    lib::hand hand = lib::second_hand;
    ASSERT_TRUE(detect({7014, 7015}, id, hand));
    EXPECT_EQ(7015u, id);
    ASSERT_TRUE(detect({7014, 7015}, id, hand, true));
    EXPECT_EQ(7015u, id);
}

TEST_F(LoginDetect, DetectAgainstOneUserGivesEveryPair) {
    user_palm_feature const r = hand_of(3, 1);
    palm_algorithm::palm_position pos = palm_algorithm::POS_UNKNOWN;
    auto const pairs = login_.detect(*frame_, r, pos);
    EXPECT_EQ(palm_algorithm::POS_OK, pos);
    ASSERT_EQ(3u, pairs.size());
    auto const direct = login_.detect(*probe_, r);
    EXPECT_EQ(direct, pairs);
    EXPECT_TRUE(login_.detect(palm_test::empty_frame(), r, pos).empty());
}

TEST_F(LoginDetect, TheTwoStepExtractionCodesTheKeptRegionLater) {
    test_cell cell;
    palm_algorithm::palm_position pos;
    feature_login fresh;
    EXPECT_FALSE(fresh.feature_extract_match(*frame_, cell, pos, false));  // nothing kept yet
    ASSERT_TRUE(fresh.feature_extract_match(*frame_, cell, pos, true));
    EXPECT_TRUE(palm_test::same_code(probe_->first, cell.first));
    test_cell later;
    ASSERT_TRUE(fresh.feature_extract_match(palm_test::empty_frame(), later, pos, false));
    EXPECT_TRUE(palm_test::same_code(probe_->second, later.second));
}

TEST_F(LoginDetect, TheTestExtractionLeavesResponsesAndTheSameCodes) {
    test_cell cell;
    palm_algorithm::palm_position pos;
    palm_workflow::vecResp.assign(1024, std::make_pair(0, 0));
    ASSERT_TRUE(login_.feature_extract_test(*frame_, cell, pos));
    EXPECT_TRUE(palm_test::same_code(probe_->first, cell.first));
    EXPECT_TRUE(palm_test::same_code(probe_->second, cell.second));
    bool any = false;
    for (auto const& r : palm_workflow::vecResp)
        any = any || r.first != 0 || r.second != 0;
    EXPECT_TRUE(any);
}
