// The demo's part beyond one machine: a gallery sharded over three Dask
// worker processes loses one and rebuilds its shard from the journal. The
// gallery is the Python module palm.cluster, so this part runs
// palm.cluster.demo and reads its exit status; without Python or Dask it
// says so and the demo goes on.
#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "demo_sections.h"
#include "python_module.h"

namespace palm_tool {

namespace {

// The exit statuses of palm.cluster.demo.
int const kChecksFailed = 3;
int const kNoDask = 4;
// Enough users to fill three shards, few enough to push in seconds.
int const kMostUsers = 300;
int const kLeastUsers = 4;

}  // namespace

int demo_cluster(demo_state& state) {
    std::cout << "== gallery over three Dask workers, one of them killed\n";
    int const users = std::max(kLeastUsers, std::min(state.users, kMostUsers));
    std::string why;
    int const status =
        run_python_module("palm.cluster.demo",
                          {"--users", std::to_string(users), "--cells", std::to_string(state.cells),
                           "--seed", std::to_string(state.seed)},
                          why);
    if (status == 0 || status == kNoDask)
        return 0;
    if (status == kChecksFailed) {
        std::cout << "gallery checks FAILED\n";
        return 1;
    }
    if (status > 0)
        why = "the Python module palm did not run (exit status " + std::to_string(status) + ")";
    std::cout << "cluster gallery not shown: " << why << "\n";
    return 0;
}

}  // namespace palm_tool
