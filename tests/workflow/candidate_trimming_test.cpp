#include <gtest/gtest.h>

#include "palm/workflow/depth_first_search.h"
#include "palm/workflow/feature_enroll.h"
#include "workflow_fixtures.h"

using palm_test::test_cell;
using palm_workflow::feature_enroll;
using palm_workflow::feature_enroll_test_access;

namespace {

// Cells around two centres: members of one group are neighbours, members of
// different groups are not.
struct groups {
    explicit groups(unsigned seed) : rng(seed) {
        a = palm_test::random_cell(rng);
        b = palm_test::random_cell(rng);
    }
    test_cell near_a() { return palm_test::flipped_cell(a, 200 + spread(rng), 200, rng); }
    test_cell near_b() { return palm_test::flipped_cell(b, 200 + spread(rng), 200, rng); }
    test_cell lone() { return palm_test::random_cell(rng); }
    std::mt19937 rng;
    std::uniform_int_distribution<int> spread{0, 300};
    test_cell a, b;
};

void fill(feature_enroll_test_access& access, std::vector<test_cell> const& cells) {
    access.stage_cells() = cells;
    access.stage_frames().assign(cells.size(), palm_struct::frame_info());
}

std::vector<test_cell> random_cells(int n, std::mt19937& rng) {
    std::vector<test_cell> cells;
    for (int i = 0; i < n; ++i)
        cells.push_back(palm_test::random_cell(rng));
    return cells;
}

// A frame of a real crop, so that its tilted views can be cut.
palm_struct::frame_info const& cropped_frame() {
    static palm_struct::frame_info const f = [] {
        palm_struct::frame_info g = palm_test::held_frame(501, 0);
        std::vector<palm_share::image_pair> rois;
        palm_workflow::feature_login login;
        EXPECT_TRUE(login.extract_palm_region(rois, 45.0f, g));
        return g;
    }();
    return f;
}

}  // namespace

TEST(CandidateTrimming, NeighboursLieStrictlyBelowPointThirtySix) {
    EXPECT_FALSE(feature_enroll::neighbours(0.36f));
    EXPECT_TRUE(feature_enroll::neighbours(std::nextafter(0.36f, 0.0f)));
}

TEST(CandidateTrimming, CellsThatAreNoNeighboursShareAComponentThroughAThird) {
    palm_struct::matrix<bool> graph(3, 3);
    graph[0][2] = graph[2][0] = true;
    graph[1][2] = graph[2][1] = true;
    std::vector<bool> visited(3, false);
    std::vector<int> label = {0, 1, 2};
    palm_workflow::_depth_first_search(graph, 0, 0, visited, label);
    EXPECT_EQ((std::vector<int>{0, 0, 0}), label);
    EXPECT_EQ((std::vector<bool>{true, true, true}), visited);
}

TEST(CandidateTrimming, AllThirtyThreeConnectedGiveFiveSelections) {
    groups g(1);
    std::vector<test_cell> cells;
    for (int i = 0; i < 33; ++i)
        cells.push_back(g.near_a());
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    feature_enroll_test_access access(e);
    fill(access, cells);
    EXPECT_EQ(5, access.trim_candidates_stage_last());
    EXPECT_EQ(5u, access.selected().size());
}

TEST(CandidateTrimming, TwentyFiveFeaturesAddTheFourTiltedViewsOfEachSelection) {
    groups g(2);
    std::vector<test_cell> cells;
    for (int i = 0; i < 33; ++i)
        cells.push_back(g.near_a());
    feature_enroll e(palm_workflow::ENROLL_FEATURE_25);
    feature_enroll_test_access access(e);
    access.stage_cells() = cells;
    access.stage_frames().assign(33, cropped_frame());
    ASSERT_EQ(25, access.trim_candidates_stage_last());
    // Each group of five starts with the selected cell itself.
    for (int k = 0; k < 5; ++k) {
        bool found = false;
        for (test_cell const& c : cells)
            found = found || palm_test::same_cell(c, access.selected()[5 * k]);
        EXPECT_TRUE(found) << k;
    }
    // The views are codes of the frame's regions, far from the random cells.
    EXPECT_GT(palm_test::distance(access.selected()[0].first, access.selected()[1].first), 0.3f);
}

TEST(CandidateTrimming, TwoGroupsGiveTenCellsAndNoTemplate) {
    groups g(3);
    std::vector<test_cell> cells;
    for (int i = 0; i < 33; ++i)
        cells.push_back(i % 2 == 0 ? g.near_a() : g.near_b());
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    feature_enroll_test_access access(e);
    fill(access, cells);
    EXPECT_EQ(10, access.trim_candidates_stage_last());
    EXPECT_EQ(nullptr, e.get_features());
}

TEST(CandidateTrimming, TwoGroupsStillFinishTheEnrolmentWithoutATemplate) {
    groups g(4);
    palm_struct::frame_info const f = palm_test::held_frame(502, 0);
    palm_workflow::feature_login login;
    test_cell probe;
    palm_algorithm::palm_position pos;
    ASSERT_TRUE(login.feature_extract(f, probe, pos));
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    feature_enroll_test_access access(e);
    std::vector<test_cell> cells;
    for (int i = 0; i < 22; ++i)
        cells.push_back(i % 2 == 0 ? g.near_a() : g.near_b());
    fill(access, cells);
    access.stage() = 2;
    for (int i = 0; i < 9; ++i)
        access.candidates().push_back(i % 2 == 0 ? g.near_a() : g.near_b());
    access.candidates().push_back(probe);
    access.candidate_frames().assign(10, f);
    EXPECT_TRUE(access.push_candidate(f));  // the 11th candidate
    EXPECT_EQ(11, e.candidates_count());
    EXPECT_GT(access.trim_candidates(), 0);
    EXPECT_EQ(0, e.candidates_count());
    EXPECT_EQ(10u, access.selected().size());
    EXPECT_EQ(nullptr, e.get_features());
}

TEST(CandidateTrimming, NoGroupOfFiveGivesZeroAndTheStageStays) {
    groups g(5);
    std::vector<test_cell> cells;
    for (int i = 0; i < 33; ++i)
        cells.push_back(i < 4 ? g.near_a() : g.lone());
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    feature_enroll_test_access access(e);
    fill(access, cells);
    EXPECT_EQ(0, access.trim_candidates_stage_last());
    EXPECT_TRUE(access.selected().empty());
}

TEST(CandidateTrimming, MoreThanThirtyThreeCellsOrNoneGiveZero) {
    groups g(6);
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    feature_enroll_test_access access(e);
    EXPECT_EQ(0, access.trim_candidates_stage_last());
    std::vector<test_cell> cells;
    for (int i = 0; i < 34; ++i)
        cells.push_back(g.near_a());
    fill(access, cells);
    EXPECT_EQ(0, access.trim_candidates_stage_last());
}

TEST(CandidateTrimming, AGroupWhollyInStageZeroTakesCellsOutsideItForTheLaterRanges) {
    groups g(7);
    std::vector<test_cell> cells;
    for (int i = 0; i < 33; ++i)
        cells.push_back(i < 5 ? g.near_a() : g.lone());
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    feature_enroll_test_access access(e);
    fill(access, cells);
    ASSERT_EQ(5, access.trim_candidates_stage_last());
    // Scores as the trim computes them: sums of distances within the group.
    std::vector<std::pair<double, int>> scores;
    for (int i = 0; i < 5; ++i) {
        double s = 0.0;
        for (int j = 0; j < 5; ++j)
            s += i == j ? 0.0 : palm_test::distance(cells[i].first, cells[j].first);
        scores.push_back({-s, i});
    }
    std::sort(scores.begin(), scores.end());
    auto const& sel = access.selected();
    EXPECT_TRUE(palm_test::same_cell(cells[scores[0].second], sel[0]));
    EXPECT_TRUE(palm_test::same_cell(cells[11], sel[1]));
    EXPECT_TRUE(palm_test::same_cell(cells[22], sel[2]));
    EXPECT_TRUE(palm_test::same_cell(cells[scores[1].second], sel[3]));
    EXPECT_TRUE(palm_test::same_cell(cells[scores[2].second], sel[4]));
}

TEST(CandidateTrimming, SelectTakesTheFirstHighestScoreAndZeroesIt) {
    std::mt19937 rng(8);
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    feature_enroll_test_access access(e);
    std::vector<test_cell> const cells = random_cells(33, rng);
    fill(access, cells);
    double scores[33] = {};
    scores[2] = 3.0;
    scores[4] = 3.0;
    scores[1] = 1.0;
    auto const first = access.candidates_select(scores, 0, 11);
    ASSERT_EQ(1u, first.size());
    EXPECT_TRUE(palm_test::same_cell(cells[2], first[0]));
    EXPECT_EQ(0.0, scores[2]);
    EXPECT_TRUE(palm_test::same_cell(cells[4], access.candidates_select(scores, 0, 11)[0]));
    EXPECT_TRUE(palm_test::same_cell(cells[1], access.candidates_select(scores, 0, 33)[0]));
    // Nothing above zero is left: the first position of the range.
    EXPECT_TRUE(palm_test::same_cell(cells[11], access.candidates_select(scores, 11, 22)[0]));
}

TEST(CandidateTrimming, AGroupOfExactlyFiveAllSelectedLeavesAllScoresZero) {
    std::mt19937 rng(9);
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    feature_enroll_test_access access(e);
    std::vector<test_cell> const cells = random_cells(33, rng);
    fill(access, cells);
    double scores[33] = {};
    scores[3] = 2.0;
    scores[14] = 2.5;
    scores[25] = 2.2;
    scores[5] = 1.5;
    scores[30] = 1.9;
    int const ranges[5][2] = {{0, 11}, {11, 22}, {22, 33}, {0, 33}, {0, 33}};
    for (auto const& r : ranges)
        access.candidates_select(scores, r[0], r[1]);
    for (double s : scores)
        EXPECT_EQ(0.0, s);
}

TEST(CandidateTrimming, ARangeNamingCellsThatAreNotThereTakesNothing) {
    groups g(10);
    std::vector<test_cell> cells;
    for (int i = 0; i < 15; ++i)
        cells.push_back(g.near_a());
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    feature_enroll_test_access access(e);
    fill(access, cells);
    // [0, 11) and [11, 22) pick group members; [22, 33) names no cell.
    EXPECT_EQ(4, access.trim_candidates_stage_last());
}

TEST(CandidateTrimming, StagesZeroAndOneKeepTheirCandidates) {
    std::mt19937 rng(11);
    feature_enroll e(palm_workflow::ENROLL_FEATURE_5);
    feature_enroll_test_access access(e);
    access.candidates().assign(11, palm_test::random_cell(rng));
    access.candidate_frames().assign(11, palm_struct::frame_info());
    EXPECT_EQ(11, access.trim_candidates());
    EXPECT_TRUE(access.candidates().empty());
    access.stage() = 1;
    access.candidates().assign(11, palm_test::random_cell(rng));
    access.candidate_frames().assign(11, palm_struct::frame_info());
    EXPECT_EQ(12, access.trim_candidates());
    EXPECT_EQ(22u, e.get_images().size());
    access.stage() = 1;
    access.candidates().assign(10, palm_test::random_cell(rng));
    access.candidate_frames().assign(10, palm_struct::frame_info());
    EXPECT_EQ(-10, access.trim_candidates());  // not 11: nothing kept
    EXPECT_TRUE(access.candidates().empty());
    access.stage() = 3;
    access.candidates().assign(11, palm_test::random_cell(rng));
    access.candidate_frames().assign(11, palm_struct::frame_info());
    EXPECT_EQ(0, access.trim_candidates());
    EXPECT_EQ(11u, access.candidates().size());  // nothing emptied
}
