// Each operator of the hand segmentation on a half-resolution frame.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "palm/image/palm_image.h"

namespace {

using palm_share::palm_image;

const int W = 320, H = 240;

// A bright hand (palm and four fingers) on a dark, noisy ground.
palm_image grey_hand() {
    std::mt19937 rng(3);
    std::normal_distribution<double> noise(0.0, 6.0);
    palm_image img(W, H);
    for (int y = 0; y < H; ++y) {
        for (int x = 0; x < W; ++x) {
            const double ex = (x - 160) / 70.0, ey = (y - 150) / 60.0;
            bool hand = ex * ex + ey * ey < 1.0;
            for (int f = 0; f < 4; ++f) {
                const int fx = 105 + 35 * f;
                hand = hand || (x >= fx && x < fx + 22 && y >= 30 && y < 120);
            }
            double v = (hand ? 150.0 : 25.0) + noise(rng);
            img.GetBuffer()[y * W + x] =
                static_cast<unsigned char>(std::min(255.0, std::max(0.0, v)));
        }
    }
    return img;
}

palm_image mask_of(palm_image const& grey) {
    palm_image m(grey);
    m.AdaptiveThreshold();
    return m;
}

template <typename Op>
void run_on_copy(benchmark::State& state, palm_image const& input, Op op) {
    palm_image work(input);
    for (auto _ : state) {
        work = input;
        op(work);
        benchmark::DoNotOptimize(work.GetBuffer());
    }
}

void BM_AdaptiveThreshold(benchmark::State& s) {
    run_on_copy(s, grey_hand(), [](palm_image& i) { i.AdaptiveThreshold(); });
}
void BM_SusanSmooth(benchmark::State& s) {
    const palm_image grey = grey_hand();
    run_on_copy(s, mask_of(grey), [&](palm_image& m) { grey.SusanSmooth(m); });
}
void BM_CloseImage_3_1(benchmark::State& s) {
    run_on_copy(s, mask_of(grey_hand()), [](palm_image& i) { i.CloseImage_3_1(); });
}
void BM_OpenImage_3_3(benchmark::State& s) {
    run_on_copy(s, mask_of(grey_hand()), [](palm_image& i) { i.OpenImage_3_3(); });
}
void BM_CloseImage_3_3(benchmark::State& s) {
    run_on_copy(s, mask_of(grey_hand()), [](palm_image& i) { i.CloseImage_3_3(); });
}
void BM_RetainLargestRegion(benchmark::State& s) {
    run_on_copy(s, mask_of(grey_hand()), [](palm_image& i) { i.RetainLargestRegion(); });
}
void BM_FilterDot(benchmark::State& s) {
    run_on_copy(s, mask_of(grey_hand()), [](palm_image& i) { i.FilterDot(); });
}
void BM_GetCentroid(benchmark::State& s) {
    const palm_image m = mask_of(grey_hand());
    for (auto _ : s)
        benchmark::DoNotOptimize(m.GetCentroid());
}
void BM_FindCentralRegion(benchmark::State& s) {
    palm_image m = mask_of(grey_hand());
    m.CloseImage_3_3();
    const palm_struct::_point<int> c = m.GetCentroid();
    palm_image dest(W, H);
    for (auto _ : s) {
        dest.Create(W, H, static_cast<unsigned char>(0));
        m.FindCentralRegion(c.x, c.y, dest);
        benchmark::DoNotOptimize(dest.GetBuffer());
    }
}
void BM_Contour(benchmark::State& s) {
    palm_image m = mask_of(grey_hand());
    m.OpenImage_3_3();
    run_on_copy(s, m, [](palm_image& i) { i.Contour(8); });
}
void BM_Trace(benchmark::State& s) {
    palm_image m = mask_of(grey_hand());
    m.OpenImage_3_3();
    m.CloseImage_3_3();
    m.RetainLargestRegion();
    m.Contour(8);
    std::vector<palm_struct::_position> edge;
    for (auto _ : s) {
        m.Trace(edge);
        benchmark::DoNotOptimize(edge.data());
    }
    s.counters["samples"] = static_cast<double>(edge.size());
}
void BM_DownSampling2(benchmark::State& s) {
    palm_image full(2 * W, 2 * H);
    palm_image half(W, H);
    for (auto _ : s) {
        full.DownSampling2(half);
        benchmark::DoNotOptimize(half.GetBuffer());
    }
}

BENCHMARK(BM_DownSampling2)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AdaptiveThreshold)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SusanSmooth)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_CloseImage_3_1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenImage_3_3)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_CloseImage_3_3)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RetainLargestRegion)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FilterDot)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GetCentroid)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FindCentralRegion)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Contour)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Trace)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
