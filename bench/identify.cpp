// Server matching costs: one-to-many identification on partitions of 1,000,
// 10,000 and 100,000 users with 25-cell templates, serial and parallel, and
// one-to-one matching of two 25-cell records.
//
//   build/bench/bench_identify
// The probe is one cell that matches nobody, so every stage of the search runs.
#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "palm/recognition/rcg_environment.h"
#include "sim/synthetic_records.h"

namespace {

std::vector<std::string> const& texts() {
    static std::vector<std::string> const all = palm_test::random_texts(128, 25, 21);
    return all;
}

// One environment per partition size, built on first use and kept: pushing
// 100,000 templates takes seconds.
palm_recognition::rcg_environment& environment(int users) {
    static std::map<int, std::unique_ptr<palm_recognition::rcg_environment> > all;
    auto& env = all[users];
    if (!env) {
        all.clear();  // one large store at a time
        auto& fresh = all[users];
        fresh = std::make_unique<palm_recognition::rcg_environment>();
        fresh->create_partition(0, false);
        fresh->create_partition(1, true);
        for (int i = 0; i < users; ++i) {
            std::string const name = "user-" + std::to_string(i);
            fresh->push_template(name.c_str(), texts()[static_cast<std::size_t>(i) % texts().size()].c_str());
            fresh->assign_user_to_partition(0, name.c_str());
            fresh->assign_user_to_partition(1, name.c_str());
        }
        return *fresh;
    }
    return *env;
}

std::string const& stranger_probe() {
    static std::string const probe = [] {
        std::mt19937 rng(99);
        return palm_test::feature_text(palm_test::random_record(1, rng));
    }();
    return probe;
}

void BM_Identify(benchmark::State& state) {
    int const users = static_cast<int>(state.range(0));
    int const partition = static_cast<int>(state.range(1));  // 0 serial, 1 parallel
    auto& env = environment(users);
    std::string const& probe = stranger_probe();
    for (auto _ : state) {
        bool const found = env.match_1vN(partition, probe.c_str(), "");
        benchmark::DoNotOptimize(found);
        if (found) state.SkipWithError("a stranger was identified");
    }
    state.SetLabel(partition ? "parallel" : "serial");
}
BENCHMARK(BM_Identify)
    ->ArgNames({"users", "parallel"})
    ->Args({1000, 0})->Args({1000, 1})
    ->Args({10000, 0})->Args({10000, 1})
    ->Args({100000, 0})->Args({100000, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void BM_Match1v1Records25Cells(benchmark::State& state) {
    palm_recognition::rcg_environment env;
    env.create_partition(0, false);
    std::string const& a = texts()[0];
    std::string const& b = texts()[1];
    for (auto _ : state) benchmark::DoNotOptimize(env.match_1v1(0, a.c_str(), "", b.c_str()));
}
BENCHMARK(BM_Match1v1Records25Cells)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
