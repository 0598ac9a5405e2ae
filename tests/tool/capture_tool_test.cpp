// The capture assistance commands: palm exposure over a folder of frame
// pairs, and palm guide from a frame pair or from a given placement.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "sim/guidance_card.h"
#include "support/shell.h"
#include "support/tool_runner.h"

namespace {

palm_test::tool_result palm(std::string const& arguments) {
    return palm_test::run_tool(PALM_TOOL_PATH, arguments);
}

std::string pgm(int w, int h, std::vector<unsigned char> const& px) {
    return "P5\n" + std::to_string(w) + " " + std::to_string(h) + "\n255\n" +
           std::string(px.begin(), px.end());
}

std::string flat_pgm(int w, int h, unsigned char v) {
    return pgm(w, h, std::vector<unsigned char>(static_cast<std::size_t>(w) * h, v));
}

// A folder holding the frame pairs NAME_vl.pgm / NAME_nir.pgm, each frame
// flat at the given levels.
struct frame_level {
    std::string name;
    unsigned char vl, nir;
};

std::string frames_dir(std::string const& tag, std::vector<frame_level> const& frames) {
    std::string const dir = palm_test::temp_file(tag);
    palm_test::run_command("rm -rf '" + dir + "' && mkdir -p '" + dir + "'", "", nullptr);
    for (auto const& f : frames) {
        EXPECT_TRUE(palm_test::write_file(dir + "/" + f.name + "_vl.pgm", flat_pgm(64, 48, f.vl)));
        EXPECT_TRUE(
            palm_test::write_file(dir + "/" + f.name + "_nir.pgm", flat_pgm(64, 48, f.nir)));
    }
    return dir;
}

// A 5 by 3 template whose pixels are all different.
std::string card_file(std::string const& tag) {
    std::vector<unsigned char> px;
    for (int i = 0; i < 15; ++i)
        px.push_back(static_cast<unsigned char>(10 + 10 * i));
    std::string const path = palm_test::temp_file(tag) + ".pgm";
    EXPECT_TRUE(palm_test::write_file(path, pgm(5, 3, px)));
    return path;
}

// The outline of a synthetic hand, as the pictures under docs/guidance use.
std::string hand_card_file() {
    palm_share::palm_image const card = palm_test::make_guidance_card(7, 0.9, 6);
    std::vector<unsigned char> px(card.GetBuffer(), card.GetBuffer() + card.GetSize());
    std::string const path = palm_test::temp_file("hand_card") + ".pgm";
    EXPECT_TRUE(palm_test::write_file(path, pgm(card.GetWidth(), card.GetHeight(), px)));
    return path;
}

TEST(ExposureTool, PrintsTheRegistersAfterEachFramePair) {
    std::string const dir =
        frames_dir("exposure_dark", {{"f1", 10, 10}, {"f2", 10, 10}, {"f3", 10, 10}});
    auto const r = palm("exposure --init 128 128 '" + dir + "'");
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(
        "frame f1 li_reg 240 ir_reg 255 li_changed 1 ir_changed 1\n"
        "frame f2 li_reg 511 ir_reg 368 li_changed 1 ir_changed 1\n"
        "frame f3 li_reg 511 ir_reg 368 li_changed 0 ir_changed 0\n",
        r.out);
}

TEST(ExposureTool, FramesInByteWiseOrderOfTheirNames) {
    std::string const dir =
        frames_dir("exposure_order", {{"a9", 200, 200}, {"a10", 200, 200}, {"B", 200, 200}});
    auto const r = palm("exposure --init 240 255 '" + dir + "'");
    ASSERT_EQ(0, r.status) << r.err;
    // The first judgement reports the start and looks at no frame.
    EXPECT_EQ(
        "frame B li_reg 240 ir_reg 255 li_changed 1 ir_changed 1\n"
        "frame a10 li_reg 128 ir_reg 128 li_changed 1 ir_changed 1\n"
        "frame a9 li_reg 128 ir_reg 128 li_changed 0 ir_changed 0\n",
        r.out);
}

TEST(ExposureTool, MaxJudgesByTheBrightestPixel) {
    std::vector<unsigned char> nir(64 * 48, 100);
    nir[24 * 64 + 32] = 255;
    std::string const dir = frames_dir("exposure_max", {});
    ASSERT_TRUE(palm_test::write_file(dir + "/x_nir.pgm", pgm(64, 48, nir)));
    ASSERT_TRUE(palm_test::write_file(dir + "/x_vl.pgm", flat_pgm(64, 48, 100)));
    ASSERT_TRUE(palm_test::write_file(dir + "/y_nir.pgm", pgm(64, 48, nir)));
    ASSERT_TRUE(palm_test::write_file(dir + "/y_vl.pgm", flat_pgm(64, 48, 100)));
    auto r = palm("exposure --init 240 255 '" + dir + "'");
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(
        "frame x li_reg 240 ir_reg 255 li_changed 1 ir_changed 1\n"
        "frame y li_reg 240 ir_reg 255 li_changed 0 ir_changed 0\n",
        r.out);
    r = palm("exposure --init 240 255 --max '" + dir + "'");
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(
        "frame x li_reg 240 ir_reg 255 li_changed 1 ir_changed 1\n"
        "frame y li_reg 240 ir_reg 128 li_changed 0 ir_changed 1\n",
        r.out);
}

TEST(ExposureTool, RefusesBadInput) {
    std::string const good = frames_dir("exposure_good", {{"f", 90, 90}});
    EXPECT_EQ(2, palm("exposure '" + good + "'").status);  // no --init
    EXPECT_EQ(2, palm("exposure --init 128 '" + good + "'").status);
    EXPECT_EQ(2, palm("exposure --init 128 70000 '" + good + "'").status);
    EXPECT_EQ(2, palm("exposure --init -1 128 '" + good + "'").status);
    EXPECT_EQ(2, palm("exposure --init 128 128").status);
    auto r = palm("exposure --init 128 128 /no/such/folder");
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("palm: "));
    std::string const lonely = frames_dir("exposure_lonely", {});
    ASSERT_TRUE(palm_test::write_file(lonely + "/f_vl.pgm", flat_pgm(64, 48, 90)));
    r = palm("exposure --init 128 128 '" + lonely + "'");
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("frame f has no _nir image"));
    std::string const broken = frames_dir("exposure_broken", {});
    ASSERT_TRUE(palm_test::write_file(broken + "/f_vl.pgm", "not an image"));
    ASSERT_TRUE(palm_test::write_file(broken + "/f_nir.pgm", flat_pgm(64, 48, 90)));
    EXPECT_EQ(2, palm("exposure --init 128 128 '" + broken + "'").status);
    std::string const empty = frames_dir("exposure_empty", {});
    EXPECT_EQ(2, palm("exposure --init 128 128 '" + empty + "'").status);
}

TEST(GuideTool, TransformDrawsTheTemplateDirectly) {
    std::string const card = card_file("guide_card");
    std::string const out = palm_test::temp_file("guide_transform.pgm");
    auto r = palm("guide '" + card + "' '" + out + "' --transform 0 100 0 0 --canvas 20 10");
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("drawn 1 rect 7 3 12 6\n", r.out);
    std::string const canvas = palm_test::read_file(out);
    ASSERT_EQ(std::string("P5\n20 10\n255\n").size() + 200, canvas.size());
    std::string const px = canvas.substr(canvas.size() - 200);
    // At scale 100 and angle 0 the template is copied, one pixel in from
    // the rectangle's top-left corner, without its last row and column.
    EXPECT_EQ(10, static_cast<unsigned char>(px[4 * 20 + 8]));
    EXPECT_EQ(10 + 10 * 8, static_cast<unsigned char>(px[5 * 20 + 11]));
    EXPECT_EQ(0, static_cast<unsigned char>(px[3 * 20 + 7]));
}

TEST(GuideTool, TransformTakesNegativeValuesAndTheDefaultCanvas) {
    std::string const card = card_file("guide_card_default");
    std::string const out = palm_test::temp_file("guide_default.png");
    auto r = palm("guide '" + card + "' '" + out + "' --transform 0 100 0 0");
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("drawn 1 rect 317 238 322 241\n", r.out);
    r = palm("guide '" + card + "' '" + out + "' --transform -90 50 -3 -4");
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("drawn 1 rect 316 243 317 245\n", r.out);
}

TEST(GuideTool, TransformOutOfRangeStillWritesTheCanvas) {
    std::string const card = card_file("guide_card_range");
    std::string const out = palm_test::temp_file("guide_range.pgm");
    auto const r = palm("guide '" + card + "' '" + out + "' --transform 91 100 0 0 --canvas 8 6");
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("drawn 0 rect 0 0 0 0\n", r.out);
    EXPECT_EQ(flat_pgm(8, 6, 0), palm_test::read_file(out));
}

// A W by H template whose pixel (x, y) is 1 + (7x + 31y) mod 251: never 0,
// and different for neighbours in either direction.
unsigned char pattern_pixel(int x, int y) {
    return static_cast<unsigned char>(1 + (7 * x + 31 * y) % 251);
}

std::string pattern_card_file(std::string const& tag, int w, int h) {
    std::vector<unsigned char> px;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            px.push_back(pattern_pixel(x, y));
    std::string const path = palm_test::temp_file(tag) + ".pgm";
    EXPECT_TRUE(palm_test::write_file(path, pgm(w, h, px)));
    return path;
}

// Checks a 20 by 10 canvas written as PGM: inside [x0, x1) by [y0, y1) the
// template pixel at (x + sx, y + sy), elsewhere 0.
void expect_canvas(std::string const& file, int x0, int y0, int x1, int y1, int sx, int sy) {
    std::string const canvas = palm_test::read_file(file);
    std::string const head = "P5\n20 10\n255\n";
    ASSERT_EQ(head.size() + 200, canvas.size());
    ASSERT_EQ(head, canvas.substr(0, head.size()));
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 20; ++x) {
            bool const inside = x >= x0 && x < x1 && y >= y0 && y < y1;
            int const want = inside ? pattern_pixel(x + sx, y + sy) : 0;
            EXPECT_EQ(want, static_cast<unsigned char>(canvas[head.size() + y * 20 + x]))
                << "pixel " << x << ", " << y;
        }
}

TEST(GuideTool, CardWiderThanTheCanvasIsCutToItBeforePlacement) {
    // 31 by 5 on 20 by 10: the box is 20 wide, so px = dx = 0, py = (10 - 5) / 2.
    std::string const card = pattern_card_file("guide_wide", 31, 5);
    std::string const out = palm_test::temp_file("guide_wide_out.pgm");
    auto const r = palm("guide '" + card + "' '" + out + "' --transform 0 100 0 0 --canvas 20 10");
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("drawn 1 rect 0 2 20 7\n", r.out);
    // The middle 20 columns of the template; its first row falls on canvas
    // row 3, and row 2 of the rectangle stays black, as with a small card.
    expect_canvas(out, 0, 3, 20, 7, 5, -3);
}

TEST(GuideTool, CardTallerThanTheCanvasIsCutToItBeforePlacement) {
    // 5 by 31 on 20 by 10: px = (20 - 5) / 2, py = -dy = 0.
    std::string const card = pattern_card_file("guide_tall", 5, 31);
    std::string const out = palm_test::temp_file("guide_tall_out.pgm");
    auto const r = palm("guide '" + card + "' '" + out + "' --transform 0 100 0 0 --canvas 20 10");
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("drawn 1 rect 7 0 12 10\n", r.out);
    expect_canvas(out, 8, 0, 12, 10, -8, 10);
}

TEST(GuideTool, CardLargerBothWaysIsPlacedAtTheOffsetItself) {
    // 31 by 31 on 20 by 10 with dx 3, dy 2: px = 3, py = -2, and the
    // rectangle is cut to the canvas.
    std::string const card = pattern_card_file("guide_large", 31, 31);
    std::string const out = palm_test::temp_file("guide_large_out.pgm");
    auto r = palm("guide '" + card + "' '" + out + "' --transform 0 100 3 2 --canvas 20 10");
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("drawn 1 rect 3 0 20 8\n", r.out);
    expect_canvas(out, 3, 0, 20, 8, 2, 12);
    // Moved the other way: px = -3, py = 2.
    r = palm("guide '" + card + "' '" + out + "' --transform 0 100 -3 -2 --canvas 20 10");
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("drawn 1 rect 0 2 17 10\n", r.out);
    expect_canvas(out, 0, 2, 17, 10, 8, 8);
    // Turned a quarter: the box is still the whole canvas.
    r = palm("guide '" + card + "' '" + out + "' --transform 90 100 0 0 --canvas 20 10");
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("drawn 1 rect 0 0 20 10\n", r.out);
}

TEST(GuideTool, FramePairWithACardLargerThanTheCanvas) {
    std::string const dir = palm_test::temp_file("guide_frames_large");
    auto const s = palm("simulate --identity 7 --scale 1.6 --offset 150 0 '" + dir + "'");
    ASSERT_EQ(0, s.status) << s.err;
    // Larger than the canvas at any scale the guidance draws (50 percent up).
    std::string const card = pattern_card_file("guide_large_card", 1401, 1001);
    auto const r = palm("guide '" + card + "' '" + dir + "/vl.png' '" + dir + "/nir.png' '" + dir +
                        "/canvas.png' --overlay '" + dir + "/overlay.png'");
    ASSERT_EQ(0, r.status) << r.err;
    int l = 0, t = 0, rr = 0, b = 0;
    ASSERT_EQ(4, std::sscanf(r.out.c_str(), "rect %d %d %d %d", &l, &t, &rr, &b)) << r.out;
    // The box is the whole canvas, placed at the palm's offset: right of the
    // centre, so it runs off the right edge; up or down, so it touches the
    // top or the bottom.
    EXPECT_GT(l, 0);
    EXPECT_EQ(640, rr);
    EXPECT_TRUE(t == 0 || b == 480) << r.out;
    EXPECT_LT(t, b);
    EXPECT_EQ("\x89PNG", palm_test::read_file(dir + "/canvas.png").substr(0, 4));
    EXPECT_EQ("\x89PNG", palm_test::read_file(dir + "/overlay.png").substr(0, 4));
}

TEST(GuideTool, FramePairGivesTheRectangleTheCanvasAndAnOverlay) {
    std::string const dir = palm_test::temp_file("guide_frames");
    auto const s =
        palm("simulate --difficulty easy --identity 7 --scale 1.6 --offset 150 0 '" + dir + "'");
    ASSERT_EQ(0, s.status) << s.err;
    std::string const card = hand_card_file();
    auto const r = palm("guide '" + card + "' '" + dir + "/vl.png' '" + dir + "/nir.png' '" + dir +
                        "/canvas.png' --overlay '" + dir + "/overlay.png'");
    ASSERT_EQ(0, r.status) << r.err;
    ASSERT_EQ(0u, r.out.find("rect "));
    int l = 0, t = 0, rr = 0, b = 0;
    ASSERT_EQ(4, std::sscanf(r.out.c_str(), "rect %d %d %d %d", &l, &t, &rr, &b));
    // A palm right of the centre is drawn right of the centre.
    EXPECT_GT(l + rr, 640 + 100);
    EXPECT_LT(l, rr);
    EXPECT_LT(t, b);
    EXPECT_EQ("\x89PNG", palm_test::read_file(dir + "/canvas.png").substr(0, 4));
    EXPECT_EQ("\x89PNG", palm_test::read_file(dir + "/overlay.png").substr(0, 4));
}

TEST(GuideTool, TooSmallAPalmGivesNoneAndNoCanvas) {
    std::string const dir = palm_test::temp_file("guide_small");
    auto const s = palm("simulate --difficulty easy --identity 7 '" + dir + "'");
    ASSERT_EQ(0, s.status) << s.err;
    std::string const card = hand_card_file();
    auto const r = palm("guide '" + card + "' '" + dir + "/vl.png' '" + dir + "/nir.png' '" + dir +
                        "/canvas.png'");
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("none\n", r.out);
    EXPECT_TRUE(palm_test::read_file(dir + "/canvas.png").empty());
}

TEST(GuideTool, RefusesBadInput) {
    std::string const card = card_file("guide_card_bad");
    std::string const out = palm_test::temp_file("guide_bad.pgm");
    auto r = palm("guide '" + card + "' '" + out + "' --transform 0 100 0 0 --canvas 0 480");
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("palm: "));
    EXPECT_EQ(
        2, palm("guide '" + card + "' '" + out + "' --transform 0 100 0 0 --canvas 4 -3").status);
    EXPECT_EQ(2, palm("guide /no/such/card.png '" + out + "' --transform 0 100 0 0").status);
    EXPECT_EQ(2, palm("guide '" + card + "' /no/vl.png /no/nir.png '" + out + "'").status);
    EXPECT_EQ(2, palm("guide '" + card + "' '" + out + "'").status);  // frames missing
    EXPECT_EQ(2, palm("guide '" + card + "' '" + out + "' --transform 0 100 0").status);
    EXPECT_EQ(2, palm("guide '" + card + "' '" + out + "' --transform 0 100 0 x").status);
    EXPECT_EQ(2, palm("guide '" + card + "' a b c '" + out + "' --transform 0 100 0 0").status);
    EXPECT_EQ(2,
              palm("guide '" + card + "' '" + out + "' --transform 0 100 0 0 --overlay /tmp/x.png")
                  .status);
    EXPECT_EQ(2, palm("guide '" + card + "' '" + out + "' --transform 0 100 0 99999999999").status);
}

}  // namespace
