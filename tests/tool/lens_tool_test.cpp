#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/shell.h"
#include "support/tool_runner.h"

namespace {
palm_test::tool_result palm(std::string const& arguments) {
    return palm_test::run_tool(PALM_TOOL_PATH, arguments);
}
}  // namespace

TEST(LensTool, WritesTheMappingFileWithItsTag) {
    std::string const path = palm_test::temp_file("tool.map");
    auto const r = palm("lens table '" + path + "' --tag DEVICE01");
    ASSERT_EQ(0, r.status) << r.err;
    std::string const bytes = palm_test::read_file(path);
    EXPECT_EQ(2457608u, bytes.size());
    EXPECT_EQ("DEVICE01", bytes.substr(0, 8));
    std::remove(path.c_str());
    EXPECT_NE(0, palm("lens table '" + path + "' --tag TOOLONGTAG").status);
}

TEST(LensTool, MapsAPointForwardAndBack) {
    auto const f = palm("lens map 500 400 --camera nir --forward");
    ASSERT_EQ(0, f.status) << f.err;
    double x = 0, y = 0;
    ASSERT_EQ(2, std::sscanf(f.out.c_str(), "%lf %lf", &x, &y));
    EXPECT_LT(x, 500);
    auto const b = palm("lens map " + std::to_string(x) + " " + std::to_string(y) +
                        " --camera nir --backward");
    ASSERT_EQ(0, b.status) << b.err;
    double bx = 0, by = 0;
    ASSERT_EQ(2, std::sscanf(b.out.c_str(), "%lf %lf", &bx, &by));
    EXPECT_NEAR(500, bx, 0.01);
    EXPECT_NEAR(400, by, 0.01);
}

TEST(LensTool, BadArgumentsFail) {
    EXPECT_NE(0, palm("lens map x 1 --camera nir --forward").status);
    EXPECT_NE(0, palm("lens map 1 1 --camera ir --forward").status);
    EXPECT_NE(0, palm("lens map 1 1 --camera nir").status);
    EXPECT_NE(0, palm("lens").status);
    EXPECT_NE(0, palm("lens table /nonexistent/dir/x.map").status);
}
