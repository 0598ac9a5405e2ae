// Palm code matcher: the production path against the look-up table
// reference, at each degree. Pairs are noisy copies, as in identification.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "palm/matching/feature_match.h"
#include "palm/matching/match_probe.h"
#include "sim/random_codes.h"

using palm_algorithm::g_match_inst;
using palm_algorithm::i_feature_match;
using palm_algorithm::match_path;
using palm_feature::single_feature;

namespace {

struct code_pairs {
    std::vector<single_feature> first;
    std::vector<single_feature> second;
};

const code_pairs& pairs() {
    static const code_pairs all = [] {
        code_pairs p;
        std::mt19937 rng(7);
        p.first.resize(64);
        p.second.resize(64);
        for (size_t i = 0; i < p.first.size(); ++i) {
            palm_test::random_code(p.first[i], rng);
            palm_test::noisy_copy(p.first[i], p.second[i], 0.2, rng);
        }
        return p;
    }();
    return all;
}

// One counting path; the table path is the look-up table reference.
void BM_MatchPath(benchmark::State& state, i_feature_match::Match_Degree degree, match_path path) {
    if (!palm_algorithm::match_path_supported(path)) {
        state.SkipWithError("processor lacks this path");
        return;
    }
    const code_pairs& p = pairs();
    size_t i = 0;
    for (auto _ : state) {
        float d = g_match_inst.Match_On(path, p.first[i], p.second[i], degree);
        benchmark::DoNotOptimize(d);
        i = (i + 1) % p.first.size();
    }
}

// The production call, on the path chosen for this processor.
void BM_Match(benchmark::State& state, i_feature_match::Match_Degree degree) {
    const code_pairs& p = pairs();
    size_t i = 0;
    for (auto _ : state) {
        float d = g_match_inst.match(p.first[i], p.second[i], degree);
        benchmark::DoNotOptimize(d);
        i = (i + 1) % p.first.size();
    }
}

}  // namespace

BENCHMARK_CAPTURE(BM_Match, all_fast, i_feature_match::DEGREE_ALL);
BENCHMARK_CAPTURE(BM_MatchPath, all_reference, i_feature_match::DEGREE_ALL, match_path::table);
BENCHMARK_CAPTURE(BM_MatchPath, all_popcnt, i_feature_match::DEGREE_ALL, match_path::popcnt);
BENCHMARK_CAPTURE(BM_MatchPath, all_avx2, i_feature_match::DEGREE_ALL, match_path::avx2);
BENCHMARK_CAPTURE(BM_MatchPath, all_avx512, i_feature_match::DEGREE_ALL, match_path::avx512);
// One probe prepared once against many codes, as identification compares.
void BM_MatchProbe(benchmark::State& state, match_path path) {
    if (!palm_algorithm::match_path_supported(path)) {
        state.SkipWithError("processor lacks the path");
        return;
    }
    const code_pairs& p = pairs();
    palm_algorithm::match_probe probe(path);
    probe.reset(p.first[0].data);
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(probe.distance(p.second[i].data));
        i = (i + 1) % p.second.size();
    }
}
BENCHMARK_CAPTURE(BM_MatchProbe, all_prepared_avx512, match_path::avx512);
BENCHMARK_CAPTURE(BM_MatchProbe, all_prepared_avx2, match_path::avx2);
BENCHMARK_CAPTURE(BM_Match, light_fast, i_feature_match::DEGREE_LIGHT);
BENCHMARK_CAPTURE(BM_MatchPath, light_reference, i_feature_match::DEGREE_LIGHT, match_path::table);
BENCHMARK_CAPTURE(BM_MatchPath, light_avx2, i_feature_match::DEGREE_LIGHT, match_path::avx2);
BENCHMARK_CAPTURE(BM_Match, heavy_fast, i_feature_match::DEGREE_HEAVY);
BENCHMARK_CAPTURE(BM_MatchPath, heavy_reference, i_feature_match::DEGREE_HEAVY, match_path::table);
BENCHMARK_CAPTURE(BM_MatchPath, heavy_avx2, i_feature_match::DEGREE_HEAVY, match_path::avx2);

BENCHMARK_MAIN();
