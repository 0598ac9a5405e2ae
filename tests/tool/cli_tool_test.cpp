// How the palm tool reads its command line: every command explains itself
// with --help, and every malformed command line fails the same way.
#include <gtest/gtest.h>

#include <string>

#include "support/tool_runner.h"

namespace {

palm_test::tool_result palm(std::string const& args) {
    return palm_test::run_tool(PALM_TOOL_PATH, args);
}

char const* const all_commands[] = {
    "calibrate", "cluster", "crop", "demo",  "enrol", "evaluate", "exposure", "extract", "focus",
    "guide",     "image",   "lens", "login", "match", "precheck", "simulate", "text"};

TEST(ToolCommandLine, EveryCommandHasHelpWithOptionsAndAnExample) {
    for (char const* name : all_commands) {
        auto const r = palm(std::string(name) + " --help");
        EXPECT_EQ(0, r.status) << name;
        EXPECT_NE(std::string::npos, r.out.find(std::string("Usage: palm ") + name)) << r.out;
        EXPECT_NE(std::string::npos, r.out.find("Example:\n  palm " + std::string(name))) << r.out;
        EXPECT_EQ("", r.err) << name;
    }
}

TEST(ToolCommandLine, HelpListsEveryCommand) {
    auto const r = palm("help");
    EXPECT_EQ(0, r.status);
    for (char const* name : all_commands)
        EXPECT_NE(std::string::npos, r.out.find(std::string("  palm ") + name + " ")) << name;
}

TEST(ToolCommandLine, VersionIsTheLibraryVersion) {
    auto const r = palm("--version");
    EXPECT_EQ(0, r.status);
    EXPECT_EQ("palm 0.1.0\n", r.out);
}

TEST(ToolCommandLine, UnknownOptionIsNamedWithTheSynopsis) {
    auto const r = palm("crop --bogus a b c");
    EXPECT_EQ(2, r.status);
    EXPECT_EQ("", r.out);
    EXPECT_EQ(
        "palm: The following argument was not expected: --bogus (usage: palm crop VL NIR "
        "OUTDIR [--calib FILE])\n",
        r.err);
}

TEST(ToolCommandLine, MissingArgumentGivesTheSynopsis) {
    auto const r = palm("crop a b");
    EXPECT_EQ(2, r.status);
    EXPECT_EQ("palm: usage: palm crop VL NIR OUTDIR [--calib FILE]\n", r.err);
}

TEST(ToolCommandLine, ValueThatIsNotANumberIsNamed) {
    auto const r = palm("demo --users many");
    EXPECT_EQ(2, r.status);
    EXPECT_EQ(0u, r.err.find("palm: ")) << r.err;
    EXPECT_NE(std::string::npos, r.err.find("--users")) << r.err;
    EXPECT_NE(std::string::npos, r.err.find("(usage: palm demo ")) << r.err;
}

TEST(ToolCommandLine, UnknownCommandFails) {
    auto const r = palm("frobnicate");
    EXPECT_EQ(2, r.status);
    EXPECT_EQ(0u, r.err.find("palm: unknown command 'frobnicate'\n")) << r.err;
}

}  // namespace
