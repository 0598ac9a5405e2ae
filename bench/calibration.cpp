// The calibration of one board frame pair (target: 1 s or less) and its
// three parts: board extraction (both images), the lens fits (both cameras)
// and the homography.
//   build/bench/bench_calibration
#include <benchmark/benchmark.h>

#include "palm/calibration/board_extraction.h"
#include "palm/calibration/calib_estimation.h"
#include "palm/calibration/single_frame_calib_calc.h"
#include "sim/synthetic_board.h"

namespace {

using palm_share::palm_image;
using palm_struct::matrix;

struct extracted {
    palm_test::board_frames frames;
    palm_image stretched[2];
    palm_image hori[2], vert[2];
    matrix<double> points[2];
    palm_struct::cp_single lens[2];
};

const extracted& board() {
    static extracted const e = [] {
        extracted x;
        x.frames = palm_test::render_board(nullptr, palm_test::board_options());
        for (int cam = 0; cam < 2; ++cam) {
            x.stretched[cam] = cam == 0 ? x.frames.nir : x.frames.vl;
            palm_calib::GrayStretch(x.stretched[cam]);
            x.hori[cam] = palm_image(640, 480);
            x.vert[cam] = palm_image(640, 480);
            x.points[cam] = matrix<double>(64, 2);
            palm_calib::ExtractCurveAndPoints(x.stretched[cam], x.hori[cam], x.vert[cam],
                                              x.points[cam]);
            palm_calib::EstimateIntrinsicPara(x.hori[cam], x.vert[cam], x.lens[cam]);
        }
        return x;
    }();
    return e;
}

void BM_CalibCalc(benchmark::State& state) {
    const extracted& b = board();
    palm_algorithm::single_frame_calib_calc calc;
    int code = 0;
    for (auto _ : state) {
        palm_struct::calib_data d;
        code = calc.calib_calc(b.frames.nir, b.frames.vl, d);
        benchmark::DoNotOptimize(d.nir_to_vl);
    }
    if (code != 0)
        state.SkipWithError("the board was not calibrated");
}
BENCHMARK(BM_CalibCalc)->Unit(benchmark::kMillisecond);

// Step 1: the curves and crossings of both images.
void BM_ExtractionBothImages(benchmark::State& state) {
    const extracted& b = board();
    for (auto _ : state) {
        for (int cam = 0; cam < 2; ++cam) {
            palm_image h(640, 480), v(640, 480);
            matrix<double> points(64, 2);
            palm_calib::ExtractCurveAndPoints(b.stretched[cam], h, v, points);
            benchmark::DoNotOptimize(points.data);
        }
    }
}
BENCHMARK(BM_ExtractionBothImages)->Unit(benchmark::kMillisecond);

// Step 2: the pencil fits of both families of both cameras.
void BM_LensFitsBothCameras(benchmark::State& state) {
    const extracted& b = board();
    for (auto _ : state) {
        for (int cam = 0; cam < 2; ++cam) {
            palm_struct::cp_single cp;
            palm_calib::EstimateIntrinsicPara(b.hori[cam], b.vert[cam], cp);
            benchmark::DoNotOptimize(cp.center_x);
        }
    }
}
BENCHMARK(BM_LensFitsBothCameras)->Unit(benchmark::kMillisecond);

// Step 3: the homography from the 64 crossings.
void BM_Homography(benchmark::State& state) {
    const extracted& b = board();
    for (auto _ : state) {
        double h[9];
        palm_calib::EstimateHomography(b.points[0], b.points[1], b.lens[0], b.lens[1], h);
        benchmark::DoNotOptimize(h);
    }
}
BENCHMARK(BM_Homography)->Unit(benchmark::kMillisecond);

// The steps of one extraction.
void BM_EdgesOneImage(benchmark::State& state) {
    const extracted& b = board();
    palm_image h(640, 480), v(640, 480);
    for (auto _ : state) {
        palm_calib::HoriVertEdge(b.stretched[0], h, v);
        palm_calib::RemoveSmallRegion(h);
        palm_calib::RemoveSmallRegion(v);
        benchmark::DoNotOptimize(h.GetBuffer());
    }
}
BENCHMARK(BM_EdgesOneImage)->Unit(benchmark::kMillisecond);

void BM_RefineCrossPointsOneImage(benchmark::State& state) {
    const extracted& b = board();
    matrix<double> out;
    for (auto _ : state) {
        palm_calib::RefineCrossPoint(b.stretched[0], b.points[0], out);
        benchmark::DoNotOptimize(out.data);
    }
}
BENCHMARK(BM_RefineCrossPointsOneImage)->Unit(benchmark::kMillisecond);

void BM_ThinningOneImage(benchmark::State& state) {
    const extracted& b = board();
    palm_image h(640, 480), v(640, 480);
    palm_calib::HoriVertEdge(b.stretched[0], h, v);
    for (auto _ : state) {
        palm_image t(h);
        palm_calib::Thinning(t);
        benchmark::DoNotOptimize(t.GetBuffer());
    }
}
BENCHMARK(BM_ThinningOneImage)->Unit(benchmark::kMillisecond);

void BM_Tenengrad(benchmark::State& state) {
    const extracted& b = board();
    for (auto _ : state)
        benchmark::DoNotOptimize(
            palm_calib::img_definition_Tenengrad(b.frames.nir, 100, 380, 120, 520));
}
BENCHMARK(BM_Tenengrad)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
