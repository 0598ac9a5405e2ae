// Server matching costs: one-to-many identification on partitions of 1,000,
// 10,000 and 100,000 users with 25-cell templates, serial and parallel; the
// parallel search of 100,000 users over a range of worker counts; a store of
// 1,000,000 users; and one-to-one matching of two 25-cell records.
//
//   build/bench/bench_identify
// The probe is one cell that matches nobody, so every stage of the search
// runs. The "CPU" column of an identification is the calling thread's own
// part: the workers' time is not in it.
//
// Worker counts are pinned by the benchmark alone (the library itself starts
// hardware_concurrency workers per parallel partition):
//   PALM_BENCH_WORKERS=n            every parallel partition gets n workers
//   PALM_BENCH_WORKER_COUNTS=1,2,4  the counts of BM_IdentifyWorkers
//                                   (default 1,2,4,8,16)
//   PALM_BENCH_LARGE_USERS=n        users of BM_IdentifyLarge (default
//                                   1,000,000; it needs about 20 KB of free
//                                   memory per user and refuses to start
//                                   without). Its push_bound_templates_per_s
//                                   is the rate at which the system provides
//                                   fresh memory, divided by a template's
//                                   bytes: no growing store pushes faster.
// bench/scaling.sh runs BM_IdentifyWorkers and prints the scaling table.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "bench/store_memory.h"
#include "palm/feature/feature_block_pool.h"
#include "palm/recognition/rcg_environment.h"
#include "sim/synthetic_records.h"

using palm_recognition::rcg_environment;
using palm_recognition::rcg_partition_def;

namespace {

using palm_bench::bytes_in_use;
using palm_bench::resident_bytes;

// Templates are drawn from a pool of random texts; every push decodes its
// own copy, so the store holds one template per user all the same.
std::vector<std::string> const& texts() {
    static std::vector<std::string> const all = palm_test::random_texts(128, 25, 21);
    return all;
}

unsigned env_unsigned(char const* name, unsigned fallback) {
    char const* value = std::getenv(name);
    return value != nullptr && *value != '\0'
               ? static_cast<unsigned>(std::strtoul(value, nullptr, 10))
               : fallback;
}

double process_cpu_seconds() {
    timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

// How fast the system hands this process memory it has never touched: 1 GiB
// mapped on huge pages where allowed and written once. A store that grows
// writes every template into such memory, so this bounds its fresh pushes;
// on a virtual machine whose host backs guest memory lazily it can be a
// small fraction of what writing memory again costs.
double fresh_memory_bytes_per_second() {
    std::size_t const bytes = std::size_t(1) << 30;
    void* const p =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED)
        return 0;
    madvise(p, bytes, MADV_HUGEPAGE);
    auto const start = std::chrono::steady_clock::now();
    std::memset(p, 1, bytes);
    double const seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    munmap(p, bytes);
    return double(bytes) / seconds;
}

double available_memory_bytes() {
    std::ifstream meminfo("/proc/meminfo");
    std::string key;
    double kib = 0;
    while (meminfo >> key >> kib) {
        if (key == "MemAvailable:")
            return kib * 1024.0;
        meminfo.ignore(1 << 10, '\n');
    }
    return 0;
}

// A store of `users` users, each in a serial partition (id 0) and a parallel
// one (id 1), with what it cost to build.
struct store {
    rcg_environment env;
    double push_seconds = 0;
    double push_cpu_seconds = 0;  // of the process; its workers are idle then
    double assign_seconds = 0;
    double bytes_per_template = 0;
    double resident_per_template = 0;
    double resident_total = 0;

    explicit store(int users) {
        env.create_partition(0, false);
        env.create_partition(1, true);
        malloc_trim(0);
        double const before = bytes_in_use(env);
        double const resident_before = resident_bytes();
        double const cpu_start = process_cpu_seconds();
        auto const start = std::chrono::steady_clock::now();
        for (int i = 0; i < users; ++i) {
            std::string const name = "user-" + std::to_string(i);
            env.push_template(name.c_str(),
                              texts()[static_cast<std::size_t>(i) % texts().size()].c_str());
        }
        auto const pushed = std::chrono::steady_clock::now();
        push_seconds = std::chrono::duration<double>(pushed - start).count();
        push_cpu_seconds = process_cpu_seconds() - cpu_start;
        bytes_per_template = (bytes_in_use(env) - before) / users;
        resident_per_template = (resident_bytes() - resident_before) / users;
        for (int i = 0; i < users; ++i) {
            std::string const name = "user-" + std::to_string(i);
            env.assign_user_to_partition(0, name.c_str());
            env.assign_user_to_partition(1, name.c_str());
        }
        assign_seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - pushed).count();
        resident_total = resident_bytes();
    }

    // Seconds to push every user's template again, each replacing the one
    // it has: the store's own cost, without the first touch of fresh memory
    // that a growing store pays. Measured once.
    double repush_seconds = -1;
    double repush_cpu_seconds = 0;
    double repush(int users) {
        if (repush_seconds < 0) {
            double const cpu_start = process_cpu_seconds();
            auto const start = std::chrono::steady_clock::now();
            for (int i = 0; i < users; ++i) {
                std::string const name = "user-" + std::to_string(i);
                env.push_template(
                    name.c_str(),
                    texts()[static_cast<std::size_t>(i + 1) % texts().size()].c_str());
            }
            repush_seconds =
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            repush_cpu_seconds = process_cpu_seconds() - cpu_start;
        }
        return repush_seconds;
    }

    // A parallel partition of all users with `workers` workers, made on
    // first use.
    int partition_with_workers(unsigned workers) {
        int const id = 1000 + static_cast<int>(workers);
        if (env.find_partition(id) == nullptr) {
            rcg_partition_def::pin_worker_count(workers);
            env.create_partition(id, true);
            rcg_partition_def::pin_worker_count(env_unsigned("PALM_BENCH_WORKERS", 0));
            for (std::string const* name : env.names)
                env.assign_user_to_partition(id, name->c_str());
        }
        return id;
    }
};

// One store at a time, built on first use and kept: pushing 100,000
// templates takes seconds.
store& store_of(int users) {
    static std::map<int, std::unique_ptr<store> > all;
    auto& s = all[users];
    if (!s) {
        all.clear();
        malloc_trim(0);
        auto& fresh = all[users];
        fresh = std::make_unique<store>(users);
        return *fresh;
    }
    return *s;
}

std::string const& stranger_probe() {
    static std::string const probe = [] {
        std::mt19937 rng(99);
        return palm_test::feature_text(palm_test::random_record(1, rng));
    }();
    return probe;
}

// all_threads_cpu_ms: processor time of the whole process per search, the
// workers' included; on a machine shared with other work it shows the cost
// that the wall-clock time hides.
void identify(benchmark::State& state, rcg_environment& env, int partition) {
    std::string const& probe = stranger_probe();
    double const start = process_cpu_seconds();
    for (auto _ : state) {
        bool const found = env.match_1vN(partition, probe.c_str(), "");
        benchmark::DoNotOptimize(found);
        if (found)
            state.SkipWithError("a stranger was identified");
    }
    state.counters["all_threads_cpu_ms"] = benchmark::Counter(
        1e3 * (process_cpu_seconds() - start) / static_cast<double>(state.iterations()));
}

void BM_Identify(benchmark::State& state) {
    int const users = static_cast<int>(state.range(0));
    int const partition = static_cast<int>(state.range(1));  // 0 serial, 1 parallel
    identify(state, store_of(users).env, partition);
    state.SetLabel(partition ? "parallel" : "serial");
}
BENCHMARK(BM_Identify)
    ->ArgNames({"users", "parallel"})
    ->Args({1000, 0})
    ->Args({1000, 1})
    ->Args({10000, 0})
    ->Args({10000, 1})
    ->Args({100000, 0})
    ->Args({100000, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// The parallel search of 100,000 users with a pinned number of workers.
void BM_IdentifyWorkers(benchmark::State& state) {
    int const users = static_cast<int>(state.range(0));
    unsigned const workers = static_cast<unsigned>(state.range(1));
    store& s = store_of(users);
    identify(state, s.env, s.partition_with_workers(workers));
}

// 1,000,000 users (or PALM_BENCH_LARGE_USERS): the search, the memory per
// template and the time it took to push them.
void BM_IdentifyLarge(benchmark::State& state) {
    int const users = static_cast<int>(state.range(0));
    // What a 25-cell template and its places in two partitions take, with
    // room to spare.
    double const needed = 19500.0 * users + (1u << 29);
    double const available = available_memory_bytes();
    // The framework calls this more than once; from the second call on the
    // store it measures is already built and holds that memory itself.
    static int built_users = 0;
    if (built_users != users && available < needed) {
        std::ostringstream why;
        why << "needs " << needed / (1u << 30) << " GiB of free memory, " << available / (1u << 30)
            << " available; set PALM_BENCH_LARGE_USERS lower";
        state.SkipWithError(why.str().c_str());
        for (auto _ : state) {
        }
        return;
    }
    store& s = store_of(users);
    built_users = users;
    auto const start = std::chrono::steady_clock::now();
    identify(state, s.env, 1);
    double const search_seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.counters["bytes_per_template"] = s.bytes_per_template;
    state.counters["resident_per_template"] = s.resident_per_template;
    state.counters["resident_gib"] = s.resident_total / double(1u << 30);
    state.counters["push_s"] = s.push_seconds;
    state.counters["push_templates_per_s"] = users / s.push_seconds;
    state.counters["assign_s"] = s.assign_seconds;
    state.counters["search_ms"] = 1e3 * search_seconds / static_cast<double>(state.iterations());
    state.counters["repush_templates_per_s"] = users / s.repush(users);
    // Rates per second of the pushing thread's processor time: what the
    // store costs on a machine shared with other work.
    state.counters["push_templates_per_cpu_s"] = users / s.push_cpu_seconds;
    state.counters["repush_templates_per_cpu_s"] = users / s.repush_cpu_seconds;
    // Measured after the store, so that the pages it gives back do not speed
    // up the store's own first pushes.
    static double const fresh = fresh_memory_bytes_per_second();
    state.counters["fresh_memory_gb_per_s"] = fresh / 1e9;
    state.counters["push_bound_templates_per_s"] = fresh / s.bytes_per_template;
}

void BM_Match1v1Records25Cells(benchmark::State& state) {
    rcg_environment env;
    env.create_partition(0, false);
    std::string const& a = texts()[0];
    std::string const& b = texts()[1];
    for (auto _ : state)
        benchmark::DoNotOptimize(env.match_1v1(0, a.c_str(), "", b.c_str()));
}
BENCHMARK(BM_Match1v1Records25Cells)->Unit(benchmark::kMicrosecond);

std::vector<unsigned> worker_counts() {
    std::vector<unsigned> counts;
    char const* list = std::getenv("PALM_BENCH_WORKER_COUNTS");
    std::istringstream in(list != nullptr && *list != '\0' ? list : "1,2,4,8,16");
    std::string item;
    while (std::getline(in, item, ','))
        if (!item.empty())
            counts.push_back(static_cast<unsigned>(std::stoul(item)));
    return counts;
}

}  // namespace

int main(int argc, char** argv) {
    rcg_partition_def::pin_worker_count(env_unsigned("PALM_BENCH_WORKERS", 0));
    auto* workers = benchmark::RegisterBenchmark("BM_IdentifyWorkers", BM_IdentifyWorkers)
                        ->ArgNames({"users", "workers"})
                        ->Unit(benchmark::kMillisecond)
                        ->UseRealTime();
    for (unsigned w : worker_counts())
        workers->Args({100000, static_cast<int64_t>(w)});
    benchmark::RegisterBenchmark("BM_IdentifyLarge", BM_IdentifyLarge)
        ->ArgName("users")
        ->Arg(env_unsigned("PALM_BENCH_LARGE_USERS", 1000000))
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
