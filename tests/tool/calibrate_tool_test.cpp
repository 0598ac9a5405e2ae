// palm calibrate, palm focus, palm simulate --board and the --calib option
// of palm lens and palm crop, on the real program.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "palm/calibration/calib_estimation.h"
#include "palm/localisation/palm_crop.h"
#include "support/shell.h"
#include "support/tool_runner.h"

namespace {

palm_test::tool_result palm(std::string const& arguments) {
    return palm_test::run_tool(PALM_TOOL_PATH, arguments);
}

std::string shell_arg(std::string const& s) {
    return "'" + s + "'";
}

// The numbers of the line of the calibration text that starts with `key`.
std::vector<double> fields(std::string const& text, std::string const& key) {
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string first;
        words >> first;
        if (first != key)
            continue;
        std::vector<double> v;
        for (double d; words >> d;)
            v.push_back(d);
        return v;
    }
    return {};
}

// A board rendered and calibrated once for all tests.
struct calibrated_board {
    std::string dir, calib, out;
    int status = -1;
};

calibrated_board const& board() {
    static calibrated_board const b = [] {
        calibrated_board c;
        c.dir = palm_test::temp_file("board_tool");
        c.calib = c.dir + "/device.calib";
        if (palm("simulate --board " + shell_arg(c.dir)).status != 0)
            return c;
        auto const r = palm("calibrate " + shell_arg(c.dir + "/nir.png") + " " +
                            shell_arg(c.dir + "/vl.png") + " " + shell_arg(c.calib));
        c.status = r.status;
        c.out = r.out;
        return c;
    }();
    return b;
}

// Writes a calibration file with the given text and returns its path.
std::string calib_file(std::string const& name, std::string const& text) {
    std::string const path = palm_test::temp_file(name);
    palm_test::write_file(path, text);
    return path;
}

}  // namespace

TEST(CalibrateTool, PrintsTheCodeAndTheThreeLinesItWrites) {
    calibrated_board const& b = board();
    ASSERT_EQ(0, b.status) << b.out;
    EXPECT_EQ(0u, b.out.find("code 0\nnir "));
    std::string const file = palm_test::read_file(b.calib);
    EXPECT_EQ("code 0\n" + file, b.out);
    std::vector<double> const nir = fields(file, "nir"), vl = fields(file, "vl"),
                              h = fields(file, "nir_to_vl");
    ASSERT_EQ(12u, nir.size());
    ASSERT_EQ(12u, vl.size());
    ASSERT_EQ(9u, h.size());
    palm_struct::calib_data const d = palm_algorithm::default_calib_data();
    EXPECT_NEAR(d.nir.center_x, nir[0], 3.0);
    EXPECT_NEAR(d.nir.center_y, nir[1], 3.0);
    EXPECT_NEAR(d.vl.focal_x, vl[2], 0.01 * d.vl.focal_x);
    EXPECT_NEAR(d.nir.left.x, nir[4], 10.0);
    EXPECT_NEAR(d.vl.bottom.y, vl[11], 10.0);
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR(d.nir_to_vl[i] / d.nir_to_vl[8], h[i] / h[8], 0.01) << i;
    // Every number in full: %.17g.
    std::istringstream words(file);
    std::string w;
    words >> w >> w;
    EXPECT_GE(w.size(), 15u) << w;
}

TEST(CalibrateTool, FailureCodeIsPrintedAndNothingWritten) {
    calibrated_board const& b = board();
    std::string const out = palm_test::temp_file("none.calib");
    std::remove(out.c_str());
    // A hand where the NIR board should be: no board in the first image.
    std::string const hand = palm_test::temp_file("hand_frames");
    ASSERT_EQ(0, palm("simulate --difficulty easy --identity 3 " + shell_arg(hand)).status);
    auto const r = palm("calibrate " + shell_arg(hand + "/nir.png") + " " +
                        shell_arg(b.dir + "/vl.png") + " " + shell_arg(out));
    EXPECT_EQ(1, r.status);
    EXPECT_EQ("code 1\n", r.out);
    EXPECT_TRUE(palm_test::read_file(out).empty());
}

TEST(CalibrateTool, BadImagesAreOneLineErrors) {
    calibrated_board const& b = board();
    auto const missing =
        palm("calibrate /no/such/nir.png " + shell_arg(b.dir + "/vl.png") + " /tmp/x");
    EXPECT_EQ(2, missing.status);
    EXPECT_EQ(1, std::count(missing.err.begin(), missing.err.end(), '\n')) << missing.err;
    // A 320x240 frame is not a device frame.
    std::string const small = palm_test::temp_file("small.pgm");
    palm_test::write_file(small, "P5\n320 240\n255\n" + std::string(320 * 240, '\x40'));
    auto const wrong =
        palm("calibrate " + shell_arg(small) + " " + shell_arg(b.dir + "/vl.png") + " /tmp/x");
    EXPECT_EQ(2, wrong.status);
    EXPECT_NE(std::string::npos, wrong.err.find("640x480"));
    EXPECT_EQ(1, std::count(wrong.err.begin(), wrong.err.end(), '\n')) << wrong.err;
    EXPECT_EQ(2, palm("calibrate only_one").status);
}

TEST(FocusTool, PrintsTheDefinitionOfTheWindow) {
    // A grey ramp whose Tenengrad value the library gives directly.
    int const w = 64, h = 48;
    std::string pixels;
    palm_share::palm_image img(w, h);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            unsigned char const v = static_cast<unsigned char>((x * 7 + y * 3 + x * y) % 256);
            pixels.push_back(static_cast<char>(v));
            img[y][x] = v;
        }
    }
    std::string const path = palm_test::temp_file("focus.pgm");
    palm_test::write_file(path, "P5\n64 48\n255\n" + pixels);
    auto const r = palm("focus " + shell_arg(path) + " 3 20 5 40");
    ASSERT_EQ(0, r.status) << r.err;
    char expected[64];
    std::snprintf(expected, sizeof expected, "definition %.9g\n",
                  palm_calib::img_definition_Tenengrad(img, 3, 20, 5, 40));
    EXPECT_EQ(expected, r.out);
    EXPECT_EQ("definition 0\n", palm("focus " + shell_arg(path) + " 5 5 5 40").out);
    EXPECT_EQ(2, palm("focus /no/such.png 1 2 3 4").status);
    EXPECT_EQ(2, palm("focus " + shell_arg(path) + " 1 2 x 4").status);
    EXPECT_EQ(2, palm("focus " + shell_arg(path) + " 1 2 3").status);
}

TEST(CalibrateTool, RecoversTheLensOfAGivenCalibrationFile) {
    // The default calibration with both centres moved and the NIR focal
    // scales changed, written as the tool writes a record.
    palm_struct::calib_data d = palm_algorithm::default_calib_data();
    d.nir.center_x += 9;
    d.nir.center_y -= 6;
    d.vl.center_x -= 7;
    char text[1024];
    std::snprintf(text, sizeof text,
                  "nir %.17g %.17g %.17g %.17g %.17g %.17g %.17g %.17g %.17g %.17g %.17g %.17g\n",
                  d.nir.center_x, d.nir.center_y, d.nir.focal_x, d.nir.focal_y, d.nir.left.x,
                  d.nir.left.y, d.nir.right.x, d.nir.right.y, d.nir.top.x, d.nir.top.y,
                  d.nir.bottom.x, d.nir.bottom.y);
    std::string body = text;
    std::snprintf(text, sizeof text,
                  "vl %.17g %.17g %.17g %.17g %.17g %.17g %.17g %.17g %.17g %.17g %.17g %.17g\n",
                  d.vl.center_x, d.vl.center_y, d.vl.focal_x, d.vl.focal_y, d.vl.left.x,
                  d.vl.left.y, d.vl.right.x, d.vl.right.y, d.vl.top.x, d.vl.top.y, d.vl.bottom.x,
                  d.vl.bottom.y);
    body += text;
    body += "nir_to_vl";
    for (double v : d.nir_to_vl) {
        std::snprintf(text, sizeof text, " %.17g", v);
        body += text;
    }
    body += "\n";
    std::string const given = calib_file("moved.calib", body);
    std::string const dir = palm_test::temp_file("moved_board");
    ASSERT_EQ(0,
              palm("simulate --board --calib " + shell_arg(given) + " " + shell_arg(dir)).status);
    std::string const out = dir + "/got.calib";
    auto const r = palm("calibrate " + shell_arg(dir + "/nir.png") + " " +
                        shell_arg(dir + "/vl.png") + " " + shell_arg(out));
    ASSERT_EQ(0, r.status) << r.out << r.err;
    std::vector<double> const nir = fields(r.out, "nir"), vl = fields(r.out, "vl");
    ASSERT_EQ(12u, nir.size());
    EXPECT_NEAR(d.nir.center_x, nir[0], 3.0);
    EXPECT_NEAR(d.nir.center_y, nir[1], 3.0);
    EXPECT_NEAR(d.vl.center_x, vl[0], 3.0);
    // The hands rendered through that lens crop on the recovered file.
    std::string const hand = palm_test::temp_file("moved_hand");
    ASSERT_EQ(0, palm("simulate --difficulty easy --identity 21 --calib " + shell_arg(given) + " " +
                      shell_arg(hand))
                     .status);
    auto const c = palm("crop " + shell_arg(hand + "/vl.png") + " " + shell_arg(hand + "/nir.png") +
                        " " + shell_arg(hand) + " --calib " + shell_arg(out));
    EXPECT_EQ(0, c.status) << c.out << c.err;
    EXPECT_NE(std::string::npos, c.out.find("crop code        0"));
}

TEST(LensTool, TableAndMapFollowTheCalibrationFile) {
    calibrated_board const& b = board();
    ASSERT_EQ(0, b.status);
    std::string const plain = palm_test::temp_file("plain.map"),
                      calibrated = palm_test::temp_file("calibrated.map");
    ASSERT_EQ(0, palm("lens table " + shell_arg(plain)).status);
    auto const t =
        palm("lens table " + shell_arg(calibrated) + " --tag DEV --calib " + shell_arg(b.calib));
    ASSERT_EQ(0, t.status) << t.err;
    std::string const a = palm_test::read_file(plain), c = palm_test::read_file(calibrated);
    EXPECT_EQ(2457608u, c.size());
    EXPECT_NE(a.substr(8), c.substr(8));
    auto const m0 = palm("lens map 500 400 --camera nir --forward");
    auto const m1 = palm("lens map 500 400 --camera nir --forward --calib " + shell_arg(b.calib));
    ASSERT_EQ(0, m1.status) << m1.err;
    EXPECT_NE(m0.out, m1.out);
    double x0, y0, x1, y1;
    ASSERT_EQ(2, std::sscanf(m0.out.c_str(), "%lf %lf", &x0, &y0));
    ASSERT_EQ(2, std::sscanf(m1.out.c_str(), "%lf %lf", &x1, &y1));
    EXPECT_NEAR(x0, x1, 3.0);  // the recovered lens is close to the default one
    EXPECT_NEAR(y0, y1, 3.0);
}

TEST(CalibFileOption, BadFilesAreOneLineErrorsOnEveryCommand) {
    calibrated_board const& b = board();
    ASSERT_EQ(0, b.status);
    std::string const good = palm_test::read_file(b.calib);
    std::string const nir_line = good.substr(0, good.find('\n') + 1);
    std::string const rest = good.substr(nir_line.size());
    std::vector<std::string> bad = {
        rest,                                                     // no nir line
        nir_line + rest.substr(0, rest.find('\n') + 1),           // no nir_to_vl line
        nir_line + nir_line + rest,                               // nir twice
        "nir 1 2 3\n" + rest,                                     // too few fields
        nir_line.substr(0, nir_line.size() - 1) + " 7\n" + rest,  // too many
        "nir 1 2 3 4 5 6 7 8 9 10 11 twelve\n" + rest,            // not a number
        "nir 1 2 3 4 5 6 7 8 9 10 11 nan\n" + rest,               // NaN
        "nir 1 2 3 4 5 6 7 8 9 10 11 inf\n" + rest,               // infinite
        "nir 1 2 3 4 5 6 7 8 9 10 11 1e999\n" + rest,             // out of range
        "nir 1 2 3 4 5 6 7 8 9 10 11 5x\n" + rest,                // trailing junk
        "",                                                       // empty
    };
    std::string const map = palm_test::temp_file("bad.map");
    for (std::size_t i = 0; i < bad.size(); ++i) {
        std::string const path = calib_file("bad" + std::to_string(i) + ".calib", bad[i]);
        for (std::string const& cmd :
             {"lens table " + shell_arg(map) + " --calib " + shell_arg(path),
              "lens map 1 1 --camera vl --backward --calib " + shell_arg(path),
              "crop " + shell_arg(b.dir + "/vl.png") + " " + shell_arg(b.dir + "/nir.png") + " " +
                  shell_arg(b.dir) + " --calib " + shell_arg(path),
              "simulate --board --calib " + shell_arg(path) + " " + shell_arg(b.dir + "/bad")}) {
            auto const r = palm(cmd);
            EXPECT_EQ(2, r.status) << i << ": " << cmd;
            EXPECT_EQ(1, std::count(r.err.begin(), r.err.end(), '\n')) << i << ": " << r.err;
            EXPECT_TRUE(r.out.empty()) << i << ": " << r.out;
        }
    }
    EXPECT_EQ(2, palm("lens map 1 1 --camera vl --backward --calib /no/such.calib").status);
}

TEST(SimulateTool, BoardFramesAndBadArguments) {
    std::string const dir = palm_test::temp_file("board_frames");
    auto const r = palm("simulate --board " + shell_arg(dir));
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_FALSE(palm_test::read_file(dir + "/nir.png").empty());
    EXPECT_FALSE(palm_test::read_file(dir + "/vl.png").empty());
    EXPECT_EQ(2, palm("simulate --board --identity 3 " + shell_arg(dir)).status);
    EXPECT_EQ(2, palm("simulate --board").status);
}
