// Capture assistance between frames: the exposure judgement of a 640 x 480
// frame pair (target: 5 us or less) and the guidance overlay onto a
// 640 x 480 canvas (target: 1 ms or less), each beside its plain reference
// loop.
//   build/bench/bench_capture
#include <benchmark/benchmark.h>

#include "palm/capture/cmos_judge.h"
#include "palm/capture/user_interactive.h"
#include "sim/exposure_camera.h"
#include "sim/guidance_card.h"

namespace {

using palm_algorithm::cmos_judge;
using palm_algorithm::render_path;
using palm_algorithm::user_interactive;
using palm_algorithm::window_path;

const palm_share::image_pair& frames() {
    static const palm_share::image_pair f = [] {
        palm_test::exposure_camera cam(42, palm_test::camera_pose());
        return cam.capture(palm_test::exposure_scene(), 128, 128, 1);
    }();
    return f;
}

void judge_on(benchmark::State& state, window_path path) {
    if (!palm_algorithm::window_path_supported(path)) {
        state.SkipWithError("this processor lacks the path");
        return;
    }
    const palm_share::image_pair& f = frames();
    cmos_judge judge(path);
    judge.init(128, 128);
    bool li_changed = false, ir_changed = false;
    for (auto _ : state) {
        judge.Cmos_Judge(f.nir, f.vl, false, li_changed, ir_changed);
        benchmark::DoNotOptimize(li_changed);
        benchmark::DoNotOptimize(ir_changed);
    }
}

void BM_CmosJudge(benchmark::State& state) {
    judge_on(state, palm_algorithm::best_window_path());
}
BENCHMARK(BM_CmosJudge)->Unit(benchmark::kMicrosecond);

void BM_CmosJudgeSse2(benchmark::State& state) {
    judge_on(state, window_path::sse2);
}
BENCHMARK(BM_CmosJudgeSse2)->Unit(benchmark::kMicrosecond);

void BM_CmosJudgePlain(benchmark::State& state) {
    judge_on(state, window_path::plain);
}
BENCHMARK(BM_CmosJudgePlain)->Unit(benchmark::kMicrosecond);

// A located palm turned by 0.2 radian at 80 percent of the prompt area,
// a little right of and below the centre.
palm_struct::_crop_results located() {
    palm_struct::_crop_results res;
    res.nir_key[0] = {262, 300};
    res.nir_key[1] = {370, 278};
    res.rotate_angle = 0.2;
    res.area_percent = 80.0;
    res.palm_offset_x = 25;
    res.palm_offset_y = 12;
    return res;
}

void overlay_on(benchmark::State& state, render_path path) {
    static const palm_share::palm_image card = palm_test::make_guidance_card(42, 1.0, 3);
    user_interactive ui(path);
    if (!ui.init(card, 640, 480)) {
        state.SkipWithError("no guidance card");
        return;
    }
    const palm_struct::_crop_results res = located();
    palm_struct::_card_rect rect{0, 0, 0, 0};
    unsigned char* p = nullptr;
    for (auto _ : state) {
        p = ui.gen_interactive(res, rect);
        benchmark::DoNotOptimize(p);
    }
    if (p == nullptr)
        state.SkipWithError("nothing was drawn");
    state.counters["drawn_pixels"] =
        static_cast<double>(rect.right - rect.left) * (rect.bottom - rect.top);
}

void BM_GenInteractive(benchmark::State& state) {
    overlay_on(state, render_path::direct);
}
BENCHMARK(BM_GenInteractive)->Unit(benchmark::kMicrosecond);

void BM_GenInteractivePlain(benchmark::State& state) {
    overlay_on(state, render_path::plain);
}
BENCHMARK(BM_GenInteractivePlain)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
