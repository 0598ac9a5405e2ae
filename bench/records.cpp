#include <benchmark/benchmark.h>

#include "feature/single_feature.h"

static void BM_SingleFeatureCopy(benchmark::State& state) {
    palm_feature::single_feature a;
    for (auto _ : state) {
        palm_feature::single_feature b(a);
        benchmark::DoNotOptimize(b.data);
    }
}
BENCHMARK(BM_SingleFeatureCopy);

BENCHMARK_MAIN();
