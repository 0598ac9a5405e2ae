// "palm match A B" run as a program on files it is given.
#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>

#include "palm/matching/i_feature_match.h"
#include "sim/code_patterns.h"
#include "sim/random_codes.h"
#include "sim/synthetic_records.h"
#include "support/shell.h"
#include "support/tool_runner.h"

using palm_algorithm::i_feature_match;
using palm_feature::single_feature;

namespace {

struct tool_result {
    int status;
    std::string out;
    std::string err;
};

tool_result run_match(std::string const& arguments) {
    std::string const err_path = palm_test::temp_file("match_err");
    tool_result r;
    r.out = palm_test::run_command(
        std::string(PALM_TOOL_PATH) + " match " + arguments + " 2> '" + err_path + "'", "",
        &r.status);
    r.err = palm_test::read_file(err_path);
    std::remove(err_path.c_str());
    return r;
}

std::string code_file(std::string const& name, single_feature const& code) {
    std::string const path = palm_test::temp_file(name);
    EXPECT_TRUE(palm_test::write_file(path, std::string(reinterpret_cast<char const*>(code.data),
                                                        palm_feature::FEATURE_DATA_SIZE)));
    return path;
}

std::string expected_output(single_feature const& a, single_feature const& b) {
    i_feature_match* m = palm_algorithm::get_feature_match_inst();
    char text[200];
    std::snprintf(text, sizeof text, "light %.9g\nheavy %.9g\nall %.9g\n",
                  m->match(a, b, i_feature_match::DEGREE_LIGHT),
                  m->match(a, b, i_feature_match::DEGREE_HEAVY),
                  m->match(a, b, i_feature_match::DEGREE_ALL));
    return text;
}

class MatchTool : public ::testing::Test {
  protected:
    void SetUp() override {
        std::mt19937 rng(21);
        palm_test::random_code(a_, rng);
        palm_test::noisy_copy(a_, b_, 0.15, rng);
        a_path_ = code_file("match_a.bin", a_);
        b_path_ = code_file("match_b.bin", b_);
    }
    void TearDown() override {
        std::remove(a_path_.c_str());
        std::remove(b_path_.c_str());
    }
    single_feature a_, b_;
    std::string a_path_, b_path_;
};

}  // namespace

TEST_F(MatchTool, PrintsTheDistanceAtEachDegree) {
    tool_result const r = run_match(a_path_ + " " + b_path_);
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_EQ(expected_output(a_, b_), r.out);
    EXPECT_EQ("", r.err);
}

TEST_F(MatchTool, SameCodeIsZeroAtLightAndAll) {
    tool_result const r = run_match(a_path_ + " " + a_path_);
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_EQ(expected_output(a_, a_), r.out);
    EXPECT_EQ(0u, r.out.find("light 0\nheavy 0."));
    EXPECT_NE(std::string::npos, r.out.find("\nall 0\n"));
}

TEST_F(MatchTool, ZeroAgainstAllOneIsOne) {
    single_feature zero, ones;
    palm_test::fill_code(ones, 0xff);
    std::string const z = code_file("match_zero.bin", zero);
    std::string const o = code_file("match_ones.bin", ones);
    tool_result const r = run_match(z + " " + o);
    EXPECT_EQ(0, r.status);
    EXPECT_EQ("light 1\nheavy 1\nall 1\n", r.out);
    std::remove(z.c_str());
    std::remove(o.c_str());
}

TEST_F(MatchTool, MissingFileFailsWithItsName) {
    std::string const missing = palm_test::temp_file("match_missing.bin");
    for (std::string const& args : {missing + " " + b_path_, a_path_ + " " + missing}) {
        tool_result const r = run_match(args);
        EXPECT_NE(0, r.status);
        EXPECT_EQ("", r.out);
        EXPECT_EQ("palm: cannot open '" + missing + "'\n", r.err);
    }
}

TEST_F(MatchTool, WrongSizeFailsWithTheSize) {
    for (size_t size : {0u, 1u, 383u, 385u, 768u}) {
        std::string const path = palm_test::temp_file("match_size.bin");
        ASSERT_TRUE(palm_test::write_file(path, std::string(size, '\x5a')));
        tool_result const r = run_match(a_path_ + " " + path);
        EXPECT_NE(0, r.status) << size;
        EXPECT_EQ("", r.out) << size;
        EXPECT_EQ("palm: '" + path + "' holds " + std::to_string(size) +
                      " bytes; a raw feature has 384\n",
                  r.err);
        std::remove(path.c_str());
    }
}

TEST_F(MatchTool, FolderFailsAsUnreadable) {
    char const* dir = std::getenv("TMPDIR");
    std::string const folder = dir && *dir ? dir : "/tmp";
    tool_result const r = run_match(a_path_ + " " + folder);
    EXPECT_NE(0, r.status);
    EXPECT_EQ("", r.out);
    EXPECT_NE(std::string::npos, r.err.find("cannot read"));
}

TEST_F(MatchTool, WrongArgumentCountShowsUsage) {
    for (std::string const& args :
         {std::string(), a_path_, a_path_ + " " + b_path_ + " " + b_path_}) {
        tool_result const r = run_match(args);
        EXPECT_NE(0, r.status) << args;
        EXPECT_EQ("", r.out);
        EXPECT_EQ("palm: usage: palm match A B [--policy N]\n", r.err);
    }
}

// Record files: the best pair and the server's decision.

TEST(MatchToolRecords, SameHandIsAcceptedAndStrangerRejected) {
    std::mt19937 rng(31);
    auto const enrolled = palm_test::random_record(5, rng);
    auto const probe = palm_test::noisy_probe(enrolled, 1, 0.05, rng);
    auto const stranger = palm_test::random_record(2, rng);
    std::string const e = palm_test::temp_file("e.rec"), p = palm_test::temp_file("p.rec"),
                      s = palm_test::temp_file("s.rec");
    ASSERT_TRUE(enrolled.save(e));
    ASSERT_TRUE(probe.save(p));
    ASSERT_TRUE(stranger.save(s));
    auto const same = palm_test::run_tool(PALM_TOOL_PATH, "match '" + p + "' '" + e + "'");
    ASSERT_EQ(0, same.status) << same.err;
    EXPECT_NE(std::string::npos, same.out.find("cells 1 5\n")) << same.out;
    EXPECT_NE(std::string::npos, same.out.find("best 0 0\n")) << same.out;
    EXPECT_NE(std::string::npos, same.out.find("policy 1 accept\n")) << same.out;
    auto const other = palm_test::run_tool(PALM_TOOL_PATH, "match '" + s + "' '" + e + "'");
    ASSERT_EQ(0, other.status) << other.err;
    EXPECT_NE(std::string::npos, other.out.find("policy 1 reject\n")) << other.out;
    auto const lax =
        palm_test::run_tool(PALM_TOOL_PATH, "match '" + s + "' '" + e + "' --policy 5");
    EXPECT_NE(std::string::npos, lax.out.find("policy 5 accept\n")) << lax.out;
    EXPECT_NE(
        0, palm_test::run_tool(PALM_TOOL_PATH, "match '" + s + "' '" + e + "' --policy 6").status);
    for (auto const& f : {e, p, s})
        std::remove(f.c_str());
}
