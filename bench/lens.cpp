// Building the lens look-up tables of both cameras (target: 1 s or less).
//   build/bench/bench_lens
#include <benchmark/benchmark.h>

#include "palm/localisation/lens_mapping.h"
#include "palm/localisation/palm_crop.h"

namespace {

void BM_GenerateMappingTable(benchmark::State& state) {
    for (auto _ : state)
        palm_algorithm::CPalmCrop::GenerateMappingTable();
    palm_algorithm::CPalmCrop::ReleaseMappingTable();
}
BENCHMARK(BM_GenerateMappingTable)->Unit(benchmark::kMillisecond);

void BM_MappingForwardOnePoint(benchmark::State& state) {
    palm_struct::_point<double> out{0, 0};
    double x = -200;
    for (auto _ : state) {
        palm_algorithm::MappingForward(palm_struct::_point<double>{x, 75.5}, out,
                                       palm_algorithm::CPalmCrop::_calibPara.nir);
        benchmark::DoNotOptimize(out);
        x = x > 200 ? -200 : x + 1;
    }
}
BENCHMARK(BM_MappingForwardOnePoint);

}  // namespace

BENCHMARK_MAIN();
