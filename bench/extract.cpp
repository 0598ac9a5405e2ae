// Coding of one 110 x 110 region, and the filter of one orientation.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "palm/extraction/anigauss.h"
#include "palm/extraction/anigauss_fast.h"
#include "palm/extraction/feature_extract.h"
#include "sim/synthetic_palm.h"

namespace {

palm_share::palm_image bench_roi() {
    std::mt19937 rng(1);
    return palm_test::render_roi(palm_test::make_palm(rng), 0, 0, 2.0, rng);
}

void BM_Extract(benchmark::State& state) {
    palm_share::palm_image roi = bench_roi();
    palm_algorithm::CPalmExtract ex;
    palm_feature::single_feature f;
    for (auto _ : state) {
        ex.extract(roi, f);
        benchmark::DoNotOptimize(f.data);
    }
}
BENCHMARK(BM_Extract)->Unit(benchmark::kMicrosecond);

void BM_ExtractTest(benchmark::State& state) {
    palm_share::palm_image roi = bench_roi();
    palm_algorithm::CPalmExtract ex;
    palm_feature::single_feature f;
    std::vector<std::pair<int, int>> resp(1024);
    for (auto _ : state) {
        ex.extract_test(roi, f, resp);
        benchmark::DoNotOptimize(resp.data());
    }
}
BENCHMARK(BM_ExtractTest)->Unit(benchmark::kMicrosecond);

void BM_Anigauss(benchmark::State& state) {
    const int k = static_cast<int>(state.range(0));
    std::mt19937 rng(2);
    std::vector<int> src(128 * 128), dst(128 * 128);
    for (int& v : src)
        v = static_cast<int>(rng() % 256) * 1024 - 128 * 1024;
    for (auto _ : state) {
        palm_share::anigauss(src.data(), dst.data(), 128, 128, k, 2, 0);
        benchmark::DoNotOptimize(dst.data());
    }
}
BENCHMARK(BM_Anigauss)->DenseRange(0, 5)->Unit(benchmark::kMicrosecond);

std::vector<int> padded_region() {
    std::mt19937 rng(2);
    std::vector<int> src(128 * 128);
    for (int& v : src)
        v = static_cast<int>(rng() % 256) * 1024 - 128 * 1024;
    return src;
}

// The six filters of one region: reference form against the chosen path.
void BM_AnigaussSixReference(benchmark::State& state) {
    const std::vector<int> src = padded_region();
    std::vector<int> dst(6 * 128 * 128);
    for (auto _ : state) {
        palm_share::anigauss_six_reference(src.data(), dst.data(), 128, 128, 2, 0);
        benchmark::DoNotOptimize(dst.data());
    }
}
BENCHMARK(BM_AnigaussSixReference)->Unit(benchmark::kMicrosecond);

void BM_AnigaussSix(benchmark::State& state) {
    const std::vector<int> src = padded_region();
    std::vector<int> dst(6 * 128 * 128);
    for (auto _ : state) {
        palm_share::anigauss_six(src.data(), dst.data(), 128, 128, 2, 0);
        benchmark::DoNotOptimize(dst.data());
    }
}
BENCHMARK(BM_AnigaussSix)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
