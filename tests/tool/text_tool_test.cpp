// The "palm text" commands, run as a user would run them.
#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>

#include "palm/feature/crypt_feature.h"
#include "sim/synthetic_records.h"
#include "support/shell.h"
#include "support/tool_runner.h"

namespace {

palm_test::tool_result palm(std::string const& arguments) {
    return palm_test::run_tool(PALM_TOOL_PATH, arguments);
}

}  // namespace

TEST(TextTool, EncodesARecordFileToTextAndDigest) {
    std::mt19937 rng(1);
    auto const record = palm_test::random_record(3, rng);
    std::string const path = palm_test::temp_file("enc.rec");
    ASSERT_TRUE(record.save(path));
    auto const r = palm("text encode '" + path + "'");
    ASSERT_EQ(0, r.status) << r.err;
    std::string text, digest;
    ASSERT_TRUE(crypt_feature(record, text, digest));
    EXPECT_EQ(text + "\n" + digest + "\n", r.out);
    std::remove(path.c_str());
}

TEST(TextTool, PairsRawFeatureFilesIntoCells) {
    std::mt19937 rng(2);
    auto const record = palm_test::random_record(2, rng);
    std::string args = "text encode";
    std::vector<std::string> files;
    for (int i = 0; i < 2; ++i) {
        for (int k = 0; k < 2; ++k) {
            auto const& f = k == 0 ? record[i].first : record[i].second;
            std::string const p = palm_test::temp_file("raw" + std::to_string(i * 2 + k));
            ASSERT_TRUE(
                palm_test::write_file(p, std::string(reinterpret_cast<char const*>(f.data), 384)));
            files.push_back(p);
            args += " '" + p + "'";
        }
    }
    auto const r = palm(args);
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(palm_test::feature_text(record) + "\n", r.out.substr(0, r.out.find('\n') + 1));

    auto const odd = palm("text encode '" + files[0] + "'");
    EXPECT_NE(0, odd.status);
    EXPECT_NE(std::string::npos, odd.err.find("vein")) << odd.err;
    for (auto const& p : files)
        std::remove(p.c_str());
}

TEST(TextTool, DecodeWritesTheRecordFile) {
    std::mt19937 rng(3);
    auto const record = palm_test::random_record(4, rng);
    std::string const text_path = palm_test::temp_file("dec.txt");
    std::string const out_path = palm_test::temp_file("dec.rec");
    ASSERT_TRUE(palm_test::write_file(text_path, palm_test::feature_text(record) + "\n"));
    auto const r = palm("text decode '" + text_path + "' '" + out_path + "'");
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(palm_test::stream_bytes(record), palm_test::read_file(out_path));
    std::remove(text_path.c_str());
    std::remove(out_path.c_str());
}

TEST(TextTool, RefusedTextGivesAClearErrorAndNonZeroExit) {
    std::string const text_path = palm_test::temp_file("bad.txt");
    std::string const out_path = palm_test::temp_file("bad.rec");
    ASSERT_TRUE(palm_test::write_file(text_path, std::string(896, 'A')));
    auto const r = palm("text decode '" + text_path + "' '" + out_path + "'");
    EXPECT_NE(0, r.status);
    EXPECT_NE(std::string::npos, r.err.find("not a valid feature text")) << r.err;
    EXPECT_TRUE(palm_test::read_file(out_path).empty());
    std::remove(text_path.c_str());
}

TEST(TextTool, MissingFilesAndBadUsageFail) {
    EXPECT_NE(0, palm("text encode /nonexistent/file").status);
    EXPECT_NE(0, palm("text decode /nonexistent/file /tmp/x").status);
    EXPECT_NE(0, palm("text").status);
    EXPECT_NE(0, palm("text encode").status);
    EXPECT_NE(0, palm("no-such-command").status);
}

TEST(TextTool, NonRecordFileIsRefused) {
    std::string const p = palm_test::temp_file("junk.bin");
    ASSERT_TRUE(palm_test::write_file(p, "hello"));
    auto const r = palm("text encode '" + p + "'");
    EXPECT_NE(0, r.status);
    EXPECT_NE(std::string::npos, r.err.find("neither a record file")) << r.err;
    std::remove(p.c_str());
}
