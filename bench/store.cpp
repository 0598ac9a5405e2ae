// Template store costs: decoding a feature text, pushing many templates into
// one store, and the memory a stored template takes.
//
//   build/bench/bench_store
// Per-template push time at 100,000 against 10,000 templates: compare the
// "templates/s" rates of BM_PushTemplates/10000 and /100000 (1,000,000 is in
// BM_IdentifyLarge of bench_identify). Memory counts the heap, the code
// storage mapped beside it and the process's resident growth.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/store_memory.h"
#include "palm/feature/base64_decode.h"
#include "palm/feature/feature_block_pool.h"
#include "palm/feature/unpack_feature.h"
#include "palm/recognition/rcg_environment.h"
#include "sim/synthetic_records.h"

namespace {

using palm_bench::bytes_in_use;
using palm_bench::resident_bytes;

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

// The Base64 step alone, by the plain path and by the one this processor
// takes (AVX2 where it has it): the same bytes, tested against each other.
template <void (*Decode)(unsigned char const*, std::size_t, unsigned char*)>
void BM_Base64Groups25Cells(benchmark::State& state) {
    std::string const& text = texts()[0];
    std::vector<unsigned char> out(text.size() / 4 * 3);
    auto const* in = reinterpret_cast<unsigned char const*>(text.data());
    for (auto _ : state) {
        Decode(in, text.size() / 4, out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(text.size()));
}
BENCHMARK_TEMPLATE(BM_Base64Groups25Cells, palm_feature::decode_base64_groups_plain)
    ->Name("BM_Base64Groups25Cells/plain");
BENCHMARK_TEMPLATE(BM_Base64Groups25Cells, palm_feature::decode_base64_groups)
    ->Name("BM_Base64Groups25Cells/fastest");

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

// Pushing every template again into a store that holds them all: the store's
// own cost per template, without the first touch of fresh memory that a
// growing store pays to the system (on a virtual machine that can be most of
// the time of a push).
void BM_RepushTemplates(benchmark::State& state) {
    int const n = static_cast<int>(state.range(0));
    std::vector<std::string> const users = names(n);
    auto const& t = texts();
    auto env = std::make_unique<palm_recognition::rcg_environment>();
    for (int i = 0; i < n; ++i)
        env->push_template(users[i].c_str(), t[i % t.size()].c_str());
    for (auto _ : state) {
        for (int i = 0; i < n; ++i)
            env->push_template(users[i].c_str(), t[(i + 1) % t.size()].c_str());
    }
    state.counters["templates"] =
        benchmark::Counter(n, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_RepushTemplates)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// Bytes per stored 25-cell template, against its 19,200 bytes of code.
void BM_MemoryPerTemplate(benchmark::State& state) {
    int const n = static_cast<int>(state.range(0));
    std::vector<std::string> const users = names(n);
    auto const& t = texts();
    double per_template = 0, resident_per_template = 0;
    for (auto _ : state) {
        auto env = std::make_unique<palm_recognition::rcg_environment>();
        malloc_trim(0);
        double const before = bytes_in_use(*env);
        double const resident_before = resident_bytes();
        for (int i = 0; i < n; ++i)
            env->push_template(users[i].c_str(), t[i % t.size()].c_str());
        per_template = (bytes_in_use(*env) - before) / n;
        resident_per_template = (resident_bytes() - resident_before) / n;
    }
    state.counters["bytes_per_template"] = per_template;
    state.counters["ratio_to_code_bytes"] = per_template / 19200.0;
    state.counters["resident_per_template"] = resident_per_template;
}
BENCHMARK(BM_MemoryPerTemplate)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
