// "palm cluster bench --users N --shards S [--scheduler ADDR]": what sharding
// a gallery over Dask workers costs an identification, against one parallel
// partition of the same users in this process. The gallery is the Python
// module palm.cluster; the measuring is palm.cluster.bench, to which this
// command hands its checked arguments.
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "command.h"
#include "python_module.h"

namespace {

struct cluster_options {
    int users = 0;
    int shards = 0;
    std::string scheduler;
};

// A count from 1 to `most`, named in the error otherwise.
CLI::Validator count_up_to(long most) {
    return CLI::Validator(
        [most](std::string& value) -> std::string {
            char* end = nullptr;
            errno = 0;
            long const n = std::strtol(value.c_str(), &end, 10);
            if (value.empty() || *end != '\0' || errno != 0 || n < 1 || n > most)
                return "must be a whole number from 1 to " + std::to_string(most) + ", not '" +
                       value + "'";
            return std::string();
        },
        "N");
}

int run_cluster_bench(cluster_options const& opt) {
    std::vector<std::string> args = {"--users", std::to_string(opt.users), "--shards",
                                     std::to_string(opt.shards)};
    if (!opt.scheduler.empty()) {
        args.push_back("--scheduler");
        args.push_back(opt.scheduler);
    }
    return palm_tool::exec_python_module("palm.cluster.bench", args);
}

palm_tool::runner setup_cluster(CLI::App& app) {
    auto opt = std::make_shared<cluster_options>();
    app.require_subcommand(1, 1);
    CLI::App* const bench = app.add_subcommand(
        "bench",
        "identification latency of a synthetic gallery against one parallel partition "
        "of the same users, and identifications per second with many in flight");
    bench->add_option("--users", opt->users, "users in the synthetic gallery")
        ->required()
        ->check(count_up_to(100000000));
    bench
        ->add_option("--shards", opt->shards,
                     "shards, one worker process each without "
                     "--scheduler")
        ->required()
        ->check(count_up_to(1024));
    bench->add_option("--scheduler", opt->scheduler,
                      "a running Dask scheduler, tcp://HOST:PORT (a local cluster otherwise)");
    return [opt] { return run_cluster_bench(*opt); };
}

}  // namespace

PALM_COMMAND("cluster", "palm cluster bench --users N --shards S [--scheduler ADDR]",
             "identification in a gallery sharded over Dask workers against one parallel "
             "partition",
             "palm cluster bench --users 10000 --shards 2", setup_cluster);
