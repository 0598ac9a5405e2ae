// The device workflow: one login detect against 1,000 enrolled hands of 25
// cells (target: 8 ms or less) with its steps, the final trimming of 33 cells
// with the 25-feature variants (target: 40 ms or less), enrolment per frame,
// and, on demand, the login accuracy on synthetic people:
//   build/bench/bench_workflow --benchmark_filter=-Accuracy
//   build/bench/bench_workflow --benchmark_filter=Accuracy
#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <vector>

#include "palm/capture/i_palm_precheck.h"
#include "palm/extraction/i_feature_extractor.h"
#include "palm/feature/palm_feature_lib.h"
#include "palm/matching/i_feature_match.h"
#include "palm/workflow/feature_enroll.h"
#include "palm/workflow/feature_login.h"
#include "sim/stream_enrolment.h"
#include "sim/synthetic_records.h"
#include "tests/workflow/workflow_fixtures.h"

namespace {

using palm_feature::user_palm_feature;
using palm_test::test_cell;
namespace lib = palm_feature_lib;

const std::uint32_t PERSON = 8101;
const int HANDS = 1000;

// The person's login frame, and a template of the same hand built from 25
// held frames of another day: five groups of a frame and four more.
struct login_setup {
    palm_struct::frame_info probe;
    std::vector<palm_share::image_pair> rois;
    std::vector<unsigned> ids;
};

login_setup const& setup() {
    static login_setup const s = [] {
        palm_test::ensure_lens_tables();
        login_setup out;
        out.probe = palm_test::to_frame(
            palm_test::login_frame(PERSON, 1, 2, 0, palm_test::difficulty::easy));
        user_palm_feature own;
        palm_workflow::feature_login login;
        for (int i = 0; i < 25; ++i) {
            test_cell c;
            palm_algorithm::palm_position pos;
            login.feature_extract(palm_test::held_frame(PERSON, i), c, pos);
            own.add(c);
        }
        std::mt19937 rng(3);
        for (int id = 1; id < HANDS; ++id) {
            user_palm_feature const r = palm_test::random_record(25, rng);
            lib::update(static_cast<unsigned>(id), &r, lib::first_hand);
            out.ids.push_back(static_cast<unsigned>(id));
        }
        lib::update(HANDS, &own, lib::first_hand);
        out.ids.push_back(HANDS);
        login.extract_palm_region(out.rois, 45.0f, out.probe);
        return out;
    }();
    return s;
}

void BM_LoginDetect1000Hands(benchmark::State& state) {
    login_setup const& s = setup();
    palm_workflow::feature_login login;
    bool found = false;
    unsigned id = 0;
    for (auto _ : state) {
        palm_algorithm::palm_position pos;
        lib::hand hand;
        found = login.detect(s.probe, s.ids, pos, id, hand);
    }
    if (!found || id != HANDS)
        state.SkipWithError("the person was not recognised");
}
BENCHMARK(BM_LoginDetect1000Hands)->Unit(benchmark::kMillisecond);

void BM_LoginStepPreCheck(benchmark::State& state) {
    login_setup const& s = setup();
    for (auto _ : state) {
        palm_struct::_crop_results res;
        benchmark::DoNotOptimize(
            palm_algorithm::get_palm_precheck_inst()->PreCheck(s.probe.nir, res));
    }
}
BENCHMARK(BM_LoginStepPreCheck)->Unit(benchmark::kMillisecond);

void BM_LoginStepCrop(benchmark::State& state) {
    login_setup const& s = setup();
    palm_workflow::feature_login login;
    for (auto _ : state) {
        std::vector<palm_share::image_pair> rois;
        benchmark::DoNotOptimize(login.extract_palm_region(rois, 45.0f, s.probe));
    }
}
BENCHMARK(BM_LoginStepCrop)->Unit(benchmark::kMillisecond);

void BM_LoginStepTwoCodes(benchmark::State& state) {
    login_setup const& s = setup();
    test_cell c;
    for (auto _ : state) {
        palm_algorithm::get_extractor_inst()->extract(s.rois[0].vl, c.first);
        palm_algorithm::get_extractor_inst()->extract(s.rois[0].nir, c.second);
    }
}
BENCHMARK(BM_LoginStepTwoCodes)->Unit(benchmark::kMillisecond);

// The sweeps' matches as detect makes them: 5 per hand, then 20 for each of
// the 50 best.
void BM_LoginStepSweeps(benchmark::State& state) {
    login_setup const& s = setup();
    test_cell probe;
    palm_algorithm::get_extractor_inst()->extract(s.rois[0].vl, probe.first);
    palm_algorithm::i_feature_match* const m = palm_algorithm::get_feature_match_inst();
    lib::data_locator locator;
    lib::lock(&locator);
    std::vector<user_palm_feature const*> hands;
    for (unsigned id : s.ids)
        hands.push_back(locator.find(id)->first_hand);
    lib::unlock();
    int const coarse = static_cast<int>(state.range(0));
    for (auto _ : state) {
        float sum = 0;
        if (coarse) {
            for (user_palm_feature const* h : hands)
                for (int i = 0; i < 25; i += 5)
                    sum += m->match(probe.first, (*h)[i].first,
                                    palm_algorithm::i_feature_match::DEGREE_ALL);
        } else {
            for (int k = 0; k < 50; ++k)
                for (int i = 0; i < 25; ++i)
                    if (i % 5 != 0)
                        sum += m->match(probe.first, (*hands[k])[i].first,
                                        palm_algorithm::i_feature_match::DEGREE_ALL);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetLabel(coarse ? "coarse sweep, 5000 matches" : "fine sweep, 1000 matches");
}
BENCHMARK(BM_LoginStepSweeps)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

// The last trim of 33 cells of one hand, five selections with their views.
void BM_FinalTrim33CellsWithVariants(benchmark::State& state) {
    palm_workflow::feature_enroll e(palm_workflow::ENROLL_FEATURE_25);
    palm_workflow::feature_enroll_test_access access(e);
    palm_workflow::feature_login login;
    for (int i = 0; i < 33; ++i) {
        palm_struct::frame_info const f = palm_test::held_frame(PERSON, i);
        test_cell c;
        palm_algorithm::palm_position pos;
        login.feature_extract(f, c, pos);
        access.stage_cells().push_back(c);
        access.stage_frames().push_back(f);
    }
    int n = 0;
    for (auto _ : state)
        n = access.trim_candidates_stage_last();
    if (n != 25)
        state.SkipWithError("the 33 cells did not form one group");
}
BENCHMARK(BM_FinalTrim33CellsWithVariants)->Unit(benchmark::kMillisecond);

// Enrolment from the first frame of a stream to stage 3, frames rendered
// beforehand; the time per frame offered is the counter.
void BM_EnrolmentPerFrame(benchmark::State& state) {
    palm_test::ensure_lens_tables();
    palm_test::capture_stream const s(PERSON + 1, 1, 1, 60, palm_test::difficulty::easy);
    std::vector<palm_struct::frame_info> frames;
    for (int i = 0; i < s.size(); ++i)
        frames.push_back(palm_test::to_frame(s.frame(i)));
    palm_workflow::feature_enroll e(palm_workflow::ENROLL_FEATURE_25);
    int offered = 0;
    for (auto _ : state) {
        e.reset();
        for (palm_struct::frame_info const& f : frames) {
            palm_algorithm::palm_position pos;
            e.enrolling(f, pos);
            ++offered;
            if (e.get_stage() == 3)
                break;
        }
    }
    if (e.get_stage() != 3)
        state.SkipWithError("the enrolment did not finish");
    state.counters["frames"] = static_cast<double>(offered) / state.iterations();
    state.counters["per_frame"] = benchmark::Counter(
        static_cast<double>(offered), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_EnrolmentPerFrame)->Unit(benchmark::kMillisecond);

// Login accuracy: 50 people enrol from streams (the first ten with both
// hands), each enrolled hand tries 5 login frames of another day, and 50
// strangers try 5 frames each, at every intensity. The captures have the
// default difficulty, whose distances are those of real hands, so that the
// stricter intensities reject some genuine attempts as they do on a device.
void BM_LoginAccuracy(benchmark::State& state) {
    const int PEOPLE = 50, BOTH = 10, TRIES = 5, STRANGERS = 50;
    const unsigned BASE = 20000;
    palm_test::ensure_lens_tables();
    for (auto _ : state) {
        palm_workflow::feature_enroll enroll(palm_workflow::ENROLL_FEATURE_25);
        std::vector<unsigned> ids;
        int hands = 0, finished = 0, frames_sum = 0, frames_max = 0;
        std::vector<std::pair<unsigned, int>> enrolled;
        for (int p = 0; p < PEOPLE; ++p) {
            for (int hand = 1; hand >= (p < BOTH ? 0 : 1); --hand) {
                ++hands;
                palm_test::capture_stream const s(BASE + p, hand, 1, 60);
                palm_test::stream_enrolment const r = palm_test::enrol_from_stream(enroll, s);
                if (!r.has_features)
                    continue;
                ++finished;
                frames_sum += r.frames;
                frames_max = std::max(frames_max, r.frames);
                lib::update(BASE + p, &r.features, hand == 1 ? lib::first_hand : lib::second_hand);
                enrolled.push_back({BASE + p, hand});
            }
            ids.push_back(BASE + p);
        }
        std::printf(
            "difficulty %s; enrolment: %d of %d hands reached stage 3, %.1f frames on average, "
            "%d at most\n",
            palm_test::difficulty_name(palm_test::DEFAULT_DIFFICULTY), finished, hands,
            finished ? double(frames_sum) / finished : 0.0, frames_max);
        std::printf("intensity  genuine  false-rejects  wrong-person  strangers  false-accepts\n");
        std::fflush(stdout);
        // One login object per intensity, each offered the same frames in the
        // same order; a frame is rendered once for all five.
        int const LEVELS = 5;
        std::vector<palm_workflow::feature_login> logins(LEVELS);
        for (int level = 0; level < LEVELS; ++level)
            logins[level].set_detect_intnesity(
                static_cast<palm_workflow::i_feature_login::DETECT_INTENSITY>(level));
        std::vector<int> rejected(LEVELS, 0), wrong(LEVELS, 0), accepted(LEVELS, 0);
        int genuine = 0, strangers = 0;
        for (auto const& who : enrolled) {
            for (int k = 0; k < TRIES; ++k) {
                palm_share::image_pair const frame =
                    palm_test::login_frame(who.first, who.second, 2, k);
                ++genuine;
                for (int level = 0; level < LEVELS; ++level) {
                    palm_struct::frame_info const f = palm_test::to_frame(frame);
                    palm_algorithm::palm_position pos;
                    unsigned id = 0;
                    lib::hand h = lib::first_hand;
                    if (!logins[level].detect(f, ids, pos, id, h))
                        ++rejected[level];
                    else if (id != who.first || static_cast<int>(h) != who.second)
                        ++wrong[level];
                }
            }
        }
        for (int p = 0; p < STRANGERS; ++p) {
            for (int k = 0; k < TRIES; ++k) {
                palm_share::image_pair const frame =
                    palm_test::login_frame(BASE + 1000 + p, 1, 2, k);
                ++strangers;
                for (int level = 0; level < LEVELS; ++level) {
                    palm_struct::frame_info const f = palm_test::to_frame(frame);
                    palm_algorithm::palm_position pos;
                    unsigned id = 0;
                    lib::hand h = lib::first_hand;
                    accepted[level] += logins[level].detect(f, ids, pos, id, h) ? 1 : 0;
                }
            }
        }
        for (int level = 0; level < LEVELS; ++level) {
            std::printf("%9d  %7d  %13d  %12d  %9d  %13d\n", level, genuine, rejected[level],
                        wrong[level], strangers, accepted[level]);
            state.counters["frr_" + std::to_string(level)] = double(rejected[level]) / genuine;
            state.counters["far_" + std::to_string(level)] = double(accepted[level]) / strangers;
        }
        state.counters["enrolled"] = double(finished) / hands;
        for (unsigned id : ids)
            lib::remove(id);
    }
}
BENCHMARK(BM_LoginAccuracy)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace

BENCHMARK_MAIN();
