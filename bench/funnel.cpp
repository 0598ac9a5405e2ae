// What searching a gallery in stages costs beside one partition's own
// search, in one process: the same users split over 1, 2 or 4 shards, the
// coarse lists merged, the fine and verify stages on the owners and the
// selection (BM_StagedIdentify/users/shards), against the identification of
// one shard holding all of them (BM_ShardIdentify/users). Shards are asked
// one after another, so the ratio is the price of the stages themselves, not
// of spreading the search.
//
//   build/bench/bench_funnel
// The probe is one cell that matches nobody, so every stage runs. Every
// shard has the machine's worker count unless PALM_BENCH_WORKERS=n pins it.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "palm/recognition/candidate_selection.h"
#include "palm/recognition/gallery_shard.h"
#include "sim/synthetic_records.h"

using palm_recognition::gallery_shard;

namespace {

unsigned workers() {
    char const* value = std::getenv("PALM_BENCH_WORKERS");
    return value != nullptr ? static_cast<unsigned>(std::strtoul(value, nullptr, 10)) : 0;
}

// `users` users of 25 cells dealt round-robin over `count` shards; shard s
// holds users s, s + count, ..., so user u has the global order u.
struct gallery {
    std::vector<std::unique_ptr<gallery_shard> > shards;

    gallery(int users, int count) {
        std::vector<std::string> const texts = palm_test::random_texts(128, 25, 21);
        for (int s = 0; s < count; ++s)
            shards.emplace_back(new gallery_shard(1, workers()));
        for (int u = 0; u < users; ++u) {
            std::string const name = "user-" + std::to_string(u);
            shards[static_cast<std::size_t>(u % count)]->push(
                name.c_str(), texts[static_cast<std::size_t>(u) % texts.size()].c_str());
        }
    }
};

gallery& gallery_of(int users, int count) {
    static std::map<std::pair<int, int>, std::unique_ptr<gallery> > all;
    auto& g = all[std::make_pair(users, count)];
    if (!g) {
        all.clear();
        auto& fresh = all[std::make_pair(users, count)];
        fresh = std::make_unique<gallery>(users, count);
        return *fresh;
    }
    return *g;
}

palm_feature::user_palm_feature const& stranger() {
    static palm_feature::user_palm_feature const probe = [] {
        std::mt19937 rng(99);
        return palm_test::random_record(1, rng);
    }();
    return probe;
}

std::string staged_identify(gallery const& g, palm_feature::user_palm_feature const& probe) {
    int const count = static_cast<int>(g.shards.size());
    for (auto const& cell : probe.cells) {
        std::vector<std::tuple<double, int, int, std::string> > merged;
        for (int s = 0; s < count; ++s) {
            std::vector<gallery_shard::coarse_user> list;
            g.shards[static_cast<std::size_t>(s)]->coarse(cell, list);
            for (auto& e : list)
                merged.emplace_back(e.distance, e.order * count + s, s, std::move(e.user));
        }
        std::sort(merged.begin(), merged.end());
        if (merged.size() > 50)
            merged.resize(50);
        std::vector<palm_recognition::candidate_verdict> verdicts(merged.size());
        for (int s = 0; s < count; ++s) {
            std::vector<std::size_t> mine;
            std::vector<std::string> names;
            for (std::size_t j = 0; j < merged.size(); ++j) {
                if (std::get<2>(merged[j]) == s) {
                    mine.push_back(j);
                    names.push_back(std::get<3>(merged[j]));
                }
            }
            auto const v = g.shards[static_cast<std::size_t>(s)]->fine(cell, names);
            for (std::size_t k = 0; k < mine.size(); ++k)
                verdicts[mine[k]] = v[k];
        }
        int const chosen = palm_recognition::select_candidate(verdicts);
        if (chosen >= 0)
            return std::get<3>(merged[static_cast<std::size_t>(chosen)]);
    }
    return "";
}

void BM_ShardIdentify(benchmark::State& state) {
    gallery& g = gallery_of(static_cast<int>(state.range(0)), 1);
    std::string const text = palm_test::feature_text(stranger());
    std::string name;
    for (auto _ : state)
        benchmark::DoNotOptimize(g.shards[0]->identify(text.c_str(), name));
}

void BM_StagedIdentify(benchmark::State& state) {
    gallery& g = gallery_of(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    for (auto _ : state)
        benchmark::DoNotOptimize(staged_identify(g, stranger()));
}

}  // namespace

BENCHMARK(BM_ShardIdentify)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_StagedIdentify)
    ->Args({10000, 1})
    ->Args({10000, 2})
    ->Args({10000, 4})
    ->Args({100000, 1})
    ->Args({100000, 4})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

BENCHMARK_MAIN();
