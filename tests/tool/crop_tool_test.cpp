#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "support/shell.h"
#include "support/tool_runner.h"

namespace {
palm_test::tool_result palm(std::string const& arguments) {
    return palm_test::run_tool(PALM_TOOL_PATH, arguments);
}
}  // namespace

TEST(CropTool, SimulatesAFramePairAndCropsIt) {
    std::string const dir = palm_test::temp_file("crop_tool");
    auto const s =
        palm("simulate --difficulty easy --identity 12 --offset 5 -5 --rotation 4 '" + dir + "'");
    ASSERT_EQ(0, s.status) << s.err;
    EXPECT_NE(std::string::npos, s.out.find("webs (raw NIR)"));
    auto const c = palm("crop '" + dir + "/vl.png' '" + dir + "/nir.png' '" + dir + "'");
    ASSERT_EQ(0, c.status) << c.err;
    EXPECT_NE(std::string::npos, c.out.find("crop code        0"));
    for (char const* field : {"nir_key_normal", "nir_corner_normal", "nir_key ", "nir_corner ",
                              "vl_key_normal", "vl_corner_normal", "vl_key ", "vl_corner ",
                              "area_percent", "rotate_angle", "palm_offset_x", "palm_offset_y"})
        EXPECT_NE(std::string::npos, c.out.find(field)) << field;
    EXPECT_FALSE(palm_test::read_file(dir + "/roi_vl.png").empty());
    EXPECT_FALSE(palm_test::read_file(dir + "/roi_nir.png").empty());
}

TEST(CropTool, RefusesBadArguments) {
    EXPECT_EQ(2, palm("crop only_one").status);
    EXPECT_EQ(2, palm("crop /no/such/vl.png /no/such/nir.png /tmp").status);
    EXPECT_EQ(2, palm("simulate /tmp/x").status);  // no identity
    EXPECT_EQ(2, palm("simulate --identity -3 /tmp/x").status);
    EXPECT_EQ(2, palm("simulate --identity 1 --scale zero /tmp/x").status);
    EXPECT_EQ(2, palm("simulate --identity 1 --bogus /tmp/x").status);
    EXPECT_EQ(2, palm("simulate --identity 1 --difficulty medium /tmp/x").status);
    EXPECT_EQ(2, palm("simulate --stream 40 --difficulty '' /tmp/x").status);
}

TEST(CropTool, ReportsTheCodeOfAFrameWithoutAPalm) {
    std::string const dir = palm_test::temp_file("crop_tool_dark");
    auto const s = palm("simulate --difficulty easy --identity 1 --offset 2000 0 '" + dir + "'");
    ASSERT_EQ(0, s.status) << s.err;
    auto const c = palm("crop '" + dir + "/vl.png' '" + dir + "/nir.png' '" + dir + "'");
    EXPECT_EQ(1, c.status);
    EXPECT_NE(std::string::npos, c.out.find("crop code        "));
    EXPECT_EQ(std::string::npos, c.out.find("crop code        0"));
    EXPECT_NE(std::string::npos, c.out.find("palm_offset_x     -10000"));
}
