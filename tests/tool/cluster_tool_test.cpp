// palm cluster bench and the demo's gallery part: the hand-over to the Python
// module palm.cluster, on a gallery small enough to start in seconds. Dask
// worker processes cannot load a module built with a sanitizer, so these
// tests skip where PALM_SKIP_CLUSTER_TESTS is set.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <regex>
#include <string>

#include "support/scratch_dir.h"
#include "support/shell.h"
#include "support/tool_runner.h"

namespace {

palm_test::tool_result palm(std::string const& args) {
    return palm_test::run_tool(PALM_TOOL_PATH, args);
}

// The tool under `timeout`, so that a cluster that never starts fails the
// test instead of hanging it; `env` sets variables first.
palm_test::tool_result palm_bounded(std::string const& env, std::string const& args) {
    return palm_test::run_tool("env", env + " timeout -s KILL 300 '" PALM_TOOL_PATH "' " + args);
}

bool cluster_skipped() {
    return std::getenv("PALM_SKIP_CLUSTER_TESTS") != nullptr;
}

std::string const usage = "palm cluster bench --users N --shards S [--scheduler ADDR]";

TEST(ClusterTool, BenchPrintsBothLatenciesTheirRatioAndTheRate) {
    if (cluster_skipped())
        GTEST_SKIP() << "PALM_SKIP_CLUSTER_TESTS";
    auto const r = palm_bounded("", "cluster bench --users 200 --shards 2");
    if (r.err.find("this build left out the Python module palm") != std::string::npos)
        GTEST_SKIP() << r.err;
    ASSERT_EQ(0, r.status) << r.out << r.err;
    std::smatch m;
    std::string const number = "([0-9]+\\.[0-9]+)";
    ASSERT_TRUE(std::regex_search(
        r.out, m,
        std::regex("^users 200, cells 25, shards 2 \\([0-9]+ threads each\\), partition "
                   "threads [0-9]+\ngallery loaded from its journal in [0-9]+\\.[0-9] s\n"
                   "identification, one parallel partition: " +
                   number + " ms\nidentification, gallery: " + number +
                   " ms\nratio gallery / partition: " + number +
                   "\ngallery, 8 in flight: " + number +
                   " identifications/s\nprobes identified: ([0-9]+) of ([0-9]+), same "
                   "answers in both\n$")))
        << r.out;
    double const partition = std::stod(m[1]);
    double const gallery = std::stod(m[2]);
    double const ratio = std::stod(m[3]);
    EXPECT_GT(partition, 0.0);
    EXPECT_GT(std::stod(m[4]), 0.0);
    // Each figure is rounded to two decimals before it is printed.
    EXPECT_NEAR(gallery / partition, ratio, 0.02 * ratio + 0.01) << r.out;
    EXPECT_EQ(m[5], m[6]) << "every probe is of an enrolled user";
}

TEST(ClusterTool, WithoutASubcommandOrCountsTheUsageIsGiven) {
    for (char const* args :
         {"cluster", "cluster frob", "cluster bench --users 5 --shards 2 extra"}) {
        auto const r = palm(args);
        EXPECT_EQ(2, r.status) << args;
        EXPECT_EQ("", r.out) << args;
        EXPECT_EQ("palm: usage: " + usage + "\n", r.err) << args;
    }
    auto const r = palm("cluster bench --users 5");
    EXPECT_EQ(2, r.status);
    EXPECT_EQ("palm: --shards is required (usage: " + usage + ")\n", r.err);
}

TEST(ClusterTool, BenchHelpShowsItsOptions) {
    auto const r = palm("cluster bench --help");
    EXPECT_EQ(0, r.status);
    EXPECT_EQ("", r.err);
    EXPECT_NE(std::string::npos, r.out.find("Usage: palm cluster bench [OPTIONS]\n")) << r.out;
    for (char const* option : {"--users INT:N REQUIRED", "--shards INT:N REQUIRED", "--scheduler"})
        EXPECT_NE(std::string::npos, r.out.find(option)) << option << "\n" << r.out;
    EXPECT_NE(std::string::npos,
              r.out.find("Example:\n  palm cluster bench --users 10000 --shards 2\n"))
        << r.out;
}

TEST(ClusterTool, CountsOutOfRangeAreNamed) {
    struct {
        char const* args;
        char const* err;
    } const cases[] = {
        {"cluster bench --users 0 --shards 2",
         "palm: --users: must be a whole number from 1 to 100000000, not '0'"},
        {"cluster bench --users -3 --shards 2",
         "palm: --users: must be a whole number from 1 to 100000000, not '-3'"},
        {"cluster bench --users many --shards 2",
         "palm: --users: must be a whole number from 1 to 100000000, not 'many'"},
        {"cluster bench --users 100000001 --shards 2",
         "palm: --users: must be a whole number from 1 to 100000000, not '100000001'"},
        {"cluster bench --users 10 --shards 1025",
         "palm: --shards: must be a whole number from 1 to 1024, not '1025'"},
        {"cluster bench --users 10 --shards 2.5",
         "palm: --shards: must be a whole number from 1 to 1024, not '2.5'"},
        {"cluster bench --users 10 --shards 2 --scheduler",
         "palm: --scheduler: 1 required TEXT missing"},
    };
    for (auto const& c : cases) {
        auto const r = palm(c.args);
        EXPECT_EQ(2, r.status) << c.args;
        EXPECT_EQ("", r.out) << c.args;
        EXPECT_EQ(std::string(c.err) + " (usage: " + usage + ")\n", r.err) << c.args;
    }
}

TEST(ClusterTool, TheDemoGoesOnWithoutDask) {
    if (cluster_skipped())
        GTEST_SKIP() << "PALM_SKIP_CLUSTER_TESTS";
    // A package named distributed that cannot be imported hides the real one.
    palm_test::scratch_dir const dir;
    ASSERT_EQ(0, std::system(("mkdir -p '" + dir.path() + "/distributed'").c_str()));
    ASSERT_TRUE(palm_test::write_file(dir.path() + "/distributed/__init__.py",
                                      "raise ImportError('hidden for the test')\n"));
    auto const r = palm_bounded("PYTHONPATH='" + dir.path() + "'", "demo --users 2 --cells 1");
    ASSERT_EQ(0, r.status) << r.out << r.err;
    EXPECT_NE(std::string::npos,
              r.out.find("== gallery over three Dask workers, one of them killed\ncluster gallery "
                         "not shown: Dask is not installed (hidden for the test)\n"))
        << r.out;
    EXPECT_NE(std::string::npos, r.out.find(": all good\n")) << r.out;
}

}  // namespace
