// Template store costs: decoding a feature text, pushing many templates into
// one store, and the memory a stored template takes.
//
//   build/bench/bench_store
// Per-template push time at 100,000 against 10,000 templates: compare the
// "templates/s" rates of BM_PushTemplates/10000 and /100000.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "palm/feature/feature_block_pool.h"
#include "palm/feature/unpack_feature.h"
#include "palm/recognition/rcg_environment.h"
#include "sim/synthetic_records.h"

namespace {

// A few hundred distinct texts serve any number of users: the store decodes
// every push anyway, and the contents do not change its costs.
std::vector<std::string> const& texts() {
    static std::vector<std::string> const all = palm_test::random_texts(256, 25, 11);
    return all;
}

std::vector<std::string> names(int n) {
    std::vector<std::string> out;
    out.reserve(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        out.push_back("user-" + std::to_string(i));
    return out;
}

void BM_UnpackFeature25Cells(benchmark::State& state) {
    std::string const& text = texts()[0];
    palm_feature::user_palm_feature record;
    for (auto _ : state)
        benchmark::DoNotOptimize(palm_feature::unpack_feature(text.c_str(), record));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_UnpackFeature25Cells);

void BM_PushTemplates(benchmark::State& state) {
    int const n = static_cast<int>(state.range(0));
    std::vector<std::string> const users = names(n);
    auto const& t = texts();
    for (auto _ : state) {
        state.PauseTiming();
        auto env = std::make_unique<palm_recognition::rcg_environment>();
        state.ResumeTiming();
        for (int i = 0; i < n; ++i)
            env->push_template(users[i].c_str(), t[i % t.size()].c_str());
        state.PauseTiming();
        env.reset();
        state.ResumeTiming();
    }
    state.counters["templates"] =
        benchmark::Counter(n, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_PushTemplates)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// Heap bytes plus pool blocks per stored 25-cell template, against its 19,200
// bytes of code.
void BM_MemoryPerTemplate(benchmark::State& state) {
    int const n = static_cast<int>(state.range(0));
    std::vector<std::string> const users = names(n);
    auto const& t = texts();
    double per_template = 0;
    for (auto _ : state) {
        auto env = std::make_unique<palm_recognition::rcg_environment>();
        malloc_trim(0);
        // Small blocks come from the heap, large ones are mapped on their own.
        std::size_t const heap_before = mallinfo2().uordblks + mallinfo2().hblkhd;
        std::size_t const pool_before = palm_feature::feature_block_pool::blocks_in_use();
        for (int i = 0; i < n; ++i)
            env->push_template(users[i].c_str(), t[i % t.size()].c_str());
        std::size_t const heap_after = mallinfo2().uordblks + mallinfo2().hblkhd;
        std::size_t const pool_after = palm_feature::feature_block_pool::blocks_in_use();
        double const bytes =
            double(heap_after - heap_before) +
            double(pool_after - pool_before) * palm_feature::feature_block_pool::BLOCK_SIZE;
        per_template = bytes / n;
    }
    state.counters["bytes_per_template"] = per_template;
    state.counters["ratio_to_code_bytes"] = per_template / 19200.0;
}
BENCHMARK(BM_MemoryPerTemplate)->Arg(10000)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
