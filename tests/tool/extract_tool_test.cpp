// Runs the real palm tool on regions it is given as files.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "palm/extraction/feature_extract.h"
#include "palm/image/palm_image.h"
#include "sim/synthetic_palm.h"
#include "support/shell.h"
#include "support/tool_runner.h"

namespace {

namespace fs = std::filesystem;
using palm_share::palm_image;

class ExtractTool : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("palm_extract_tool_" + std::to_string(::getpid()) + "_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir_);
    }
    void TearDown() override { fs::remove_all(dir_); }

    std::string path(std::string const& name) const { return (dir_ / name).string(); }

    // Runs the tool; returns its exit code and leaves stdout and stderr in
    // out_ and err_.
    int run(std::string const& args) {
        const palm_test::tool_result r = palm_test::run_tool(PALM_TOOL_PATH, args);
        out_ = r.out;
        err_ = r.err;
        return r.status;
    }

    static std::string slurp(std::string const& p) { return palm_test::read_file(p); }

    void write_pgm(std::string const& name, palm_image const& img) {
        std::ofstream out(path(name), std::ios::binary);
        out << "P5\n" << img.GetWidth() << " " << img.GetHeight() << "\n255\n";
        out.write(reinterpret_cast<char const*>(img.GetBuffer()), img.GetSize());
    }

    static std::string library_code(palm_image const& roi) {
        palm_feature::single_feature f;
        palm_algorithm::CPalmExtract ex;
        EXPECT_TRUE(ex.extract(roi, f));
        return std::string(reinterpret_cast<char*>(f.data), 384);
    }

    static std::string hex(std::string const& bytes) {
        std::string s;
        char two[3];
        for (unsigned char c : bytes) {
            std::snprintf(two, sizeof(two), "%02x", c);
            s += two;
        }
        return s;
    }

    palm_image roi() {
        std::mt19937 rng(77);
        return palm_test::render_roi(palm_test::make_palm(rng), 0, 0, 2.0, rng);
    }

    fs::path dir_;
    std::string out_, err_;
};

TEST_F(ExtractTool, WritesTheLibraryCode) {
    palm_image img = roi();
    write_pgm("roi.pgm", img);
    ASSERT_EQ(run("extract " + path("roi.pgm") + " " + path("code.bin")), 0) << err_;
    const std::string code = slurp(path("code.bin"));
    EXPECT_EQ(code.size(), 384u);
    EXPECT_EQ(code, library_code(img));
}

TEST_F(ExtractTool, HexPrints768LowercaseDigits) {
    palm_image img = roi();
    write_pgm("roi.pgm", img);
    ASSERT_EQ(run("extract --hex " + path("roi.pgm")), 0) << err_;
    EXPECT_EQ(out_, hex(library_code(img)) + "\n");
    EXPECT_EQ(out_.size(), 769u);
    EXPECT_EQ(out_.find_first_not_of("0123456789abcdef"), 768u);
}

TEST_F(ExtractTool, PngAndBmpGiveTheSameCode) {
    palm_image img = roi();
    write_pgm("roi.pgm", img);
    ASSERT_EQ(run("image copy " + path("roi.pgm") + " " + path("roi.png")), 0) << err_;
    ASSERT_EQ(run("image copy " + path("roi.pgm") + " " + path("roi.bmp")), 0) << err_;
    EXPECT_EQ(slurp(path("roi.png")).substr(1, 3), "PNG");
    EXPECT_EQ(slurp(path("roi.bmp")).substr(0, 2), "BM");
    const std::string expected = hex(library_code(img)) + "\n";
    ASSERT_EQ(run("extract --hex " + path("roi.png")), 0) << err_;
    EXPECT_EQ(out_, expected);
    ASSERT_EQ(run("extract --hex " + path("roi.bmp")), 0) << err_;
    EXPECT_EQ(out_, expected);
}

TEST_F(ExtractTool, WrongSizeIsRefused) {
    palm_image img(110, 100);
    write_pgm("small.pgm", img);
    EXPECT_NE(run("extract --hex " + path("small.pgm")), 0);
    EXPECT_NE(err_.find("110 x 110"), std::string::npos) << err_;
    EXPECT_TRUE(out_.empty());
}

TEST_F(ExtractTool, OtherFormatsAreRefused) {
    std::ofstream(path("roi.txt")) << "not an image\n";
    EXPECT_NE(run("extract " + path("roi.txt") + " " + path("code.bin")), 0);
    EXPECT_NE(err_.find("unsupported image format"), std::string::npos) << err_;
    EXPECT_FALSE(fs::exists(path("code.bin")));
}

TEST_F(ExtractTool, MalformedPgmIsRefused) {
    std::ofstream(path("bad.pgm"), std::ios::binary) << "P5\n110 110\n255\nshort";
    EXPECT_NE(run("extract --hex " + path("bad.pgm")), 0);
    EXPECT_NE(err_.find("shorter"), std::string::npos) << err_;
    std::ofstream(path("deep.pgm"), std::ios::binary) << "P5\n2 2\n65535\n12345678";
    EXPECT_NE(run("extract --hex " + path("deep.pgm")), 0);
}

TEST_F(ExtractTool, MissingFileAndBadUsageFail) {
    EXPECT_NE(run("extract --hex " + path("none.pgm")), 0);
    EXPECT_NE(err_.find("cannot open"), std::string::npos) << err_;
    EXPECT_NE(run("extract"), 0);
    EXPECT_NE(run("extract --hex a b"), 0);
}

TEST_F(ExtractTool, ImageThresholdMatchesTheLibrary) {
    palm_image img = roi();
    write_pgm("roi.pgm", img);
    ASSERT_EQ(run("image threshold " + path("roi.pgm") + " " + path("mask.pgm")), 0) << err_;
    palm_image expected(img);
    expected.AdaptiveThreshold();
    const std::string file = slurp(path("mask.pgm"));
    const std::string header = "P5\n110 110\n255\n";
    ASSERT_EQ(file.substr(0, header.size()), header);
    EXPECT_EQ(file.substr(header.size()),
              std::string(reinterpret_cast<char*>(expected.GetBuffer()), expected.GetSize()));
}

TEST_F(ExtractTool, EveryImageOperatorWritesAnImage) {
    write_pgm("roi.pgm", roi());
    ASSERT_EQ(run("image threshold " + path("roi.pgm") + " " + path("mask.pgm")), 0) << err_;
    for (std::string op : {"susan", "close31", "open33", "close33", "contour4", "contour8",
                           "filterdot", "largest", "central", "downsample", "trace"}) {
        const std::string in = op == "susan" ? path("roi.pgm") : path("mask.pgm");
        EXPECT_EQ(run("image " + op + " " + in + " " + path(op + ".png")), 0) << op << err_;
        EXPECT_TRUE(fs::exists(path(op + ".png"))) << op;
    }
    EXPECT_NE(run("image blur " + path("roi.pgm") + " " + path("x.pgm")), 0);
    EXPECT_NE(err_.find("unknown image operator"), std::string::npos);
}

}  // namespace
