// User guidance: the template turned, scaled and moved into the canvas as a
// frame's record says, integer all through.
#include "palm/capture/user_interactive.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "palm/capture/i_user_interactive_interface.h"
#include "palm/localisation/palm_crop.h"

using palm_algorithm::render_path;
using palm_algorithm::user_interactive;
using palm_share::palm_image;
using palm_struct::_card_rect;
using palm_struct::_crop_results;

namespace {

const double kDegToRad = 0.017453292519944444;

palm_image numbered_card(int w, int h) {
    palm_image card;
    card.Create(w, h, static_cast<unsigned char>(0));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            card[y][x] = static_cast<unsigned char>(1 + (y * 16 + x) % 250);
    return card;
}

palm_image random_card(std::mt19937& rng, int w, int h) {
    palm_image card;
    card.Create(w, h, static_cast<unsigned char>(0));
    std::uniform_int_distribution<int> byte(0, 255);
    for (int i = 0; i < w * h; ++i)
        card.GetBuffer()[i] = static_cast<unsigned char>(byte(rng));
    return card;
}

// A located palm: key points 100 pixels apart, the given angle (radians),
// area and offsets.
_crop_results located(double angle, double area, int dx = 0, int dy = 0) {
    _crop_results res;
    res.nir_key[0] = {270, 200};
    res.nir_key[1] = {370, 200};
    res.rotate_angle = angle;
    res.area_percent = area;
    res.palm_offset_x = dx;
    res.palm_offset_y = dy;
    return res;
}

bool all_zero(const palm_image& im) {
    for (int i = 0; i < im.GetSize(); ++i)
        if (im.GetBuffer()[i] != 0)
            return false;
    return true;
}

bool same_pixels(const palm_image& a, const palm_image& b) {
    return a.GetWidth() == b.GetWidth() && a.GetHeight() == b.GetHeight() &&
           std::memcmp(a.GetBuffer(), b.GetBuffer(), a.GetSize()) == 0;
}

void expect_rect(const _card_rect& r, int left, int top, int right, int bottom) {
    EXPECT_EQ(left, r.left);
    EXPECT_EQ(top, r.top);
    EXPECT_EQ(right, r.right);
    EXPECT_EQ(bottom, r.bottom);
}

// What gen_interactive should have drawn: Transform with the given ints on a
// cleared canvas of a second object.
void expect_drawn_as(const user_interactive& got, const _card_rect& got_rect, int angle, int scale,
                     int dx, int dy) {
    user_interactive want;
    ASSERT_TRUE(
        want.init(got.get_card(), got.get_canvas().GetWidth(), got.get_canvas().GetHeight()));
    _card_rect r{0, 0, 0, 0};
    ASSERT_TRUE(want.Transform(angle, scale, dx, dy, r));
    expect_rect(got_rect, r.left, r.top, r.right, r.bottom);
    EXPECT_TRUE(same_pixels(want.get_canvas(), got.get_canvas()));
}

TEST(UserInteractiveInit, KeepsTheTemplateAndMakesABlackCanvas) {
    user_interactive ui;
    ASSERT_TRUE(ui.init(numbered_card(20, 30), 64, 48));
    EXPECT_EQ(20, ui.get_card().GetWidth());
    EXPECT_EQ(64, ui.get_canvas().GetWidth());
    EXPECT_EQ(48, ui.get_canvas().GetHeight());
    EXPECT_TRUE(all_zero(ui.get_canvas()));
}

TEST(UserInteractiveInit, InvalidTemplateFailsAndMakesNoCanvas) {
    user_interactive ui;
    EXPECT_FALSE(ui.init(palm_image(), 640, 480));
    EXPECT_FALSE(ui.get_canvas().IsValid());
}

TEST(UserInteractiveInit, CanvasThatCannotBeMadeFails) {
    user_interactive ui;
    EXPECT_FALSE(ui.init(numbered_card(10, 10), 0, 480));
    EXPECT_FALSE(ui.init(numbered_card(10, 10), 640, -1));
    EXPECT_FALSE(ui.init(numbered_card(10, 10), INT_MAX, INT_MAX));
    EXPECT_TRUE(ui.init(numbered_card(10, 10), 1, 1));
}

TEST(UserInteractiveInit, ProcessWideObjectIsOne) {
    palm_algorithm::i_user_interactive_interface* a = palm_algorithm::get_interactive_inst();
    ASSERT_NE(nullptr, a);
    EXPECT_EQ(a, palm_algorithm::get_interactive_inst());
    ASSERT_TRUE(a->init(numbered_card(30, 40), 64, 48));
    _card_rect r{1, 2, 3, 4};
    EXPECT_NE(nullptr, a->gen_interactive(located(0, 100), r));
}

TEST(UserInteractiveTransform, StraightAtFullScaleCopiesTheTemplate) {
    // Scale 100: q = 1024 and c = 1024, so a canvas pixel u columns from the
    // centre reads template column u + (sw - 1) / 2 exactly. The last column
    // and row lie at +hx and +hy, outside the half-open range.
    user_interactive ui;
    const palm_image card = numbered_card(5, 3);
    ASSERT_TRUE(ui.init(card, 20, 10));
    _card_rect r{0, 0, 0, 0};
    ASSERT_TRUE(ui.Transform(0, 100, 0, 0, r));
    expect_rect(r, 7, 3, 12, 6);
    const palm_image& cv = ui.get_canvas();
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 20; ++x) {
            const bool inside = y >= 4 && y <= 5 && x >= 8 && x <= 11;
            EXPECT_EQ(inside ? card[y - 4][x - 8] : 0, cv[y][x]) << x << "," << y;
        }
    }
}

TEST(UserInteractiveTransform, OffsetMovesRightAndUp) {
    user_interactive ui;
    const palm_image card = numbered_card(5, 3);
    ASSERT_TRUE(ui.init(card, 20, 10));
    _card_rect r{0, 0, 0, 0};
    ASSERT_TRUE(ui.Transform(0, 100, 1, 1, r));
    expect_rect(r, 8, 2, 13, 5);
    const palm_image& cv = ui.get_canvas();
    EXPECT_EQ(card[0][0], cv[3][9]);
    EXPECT_EQ(card[1][3], cv[4][12]);
    EXPECT_EQ(0, cv[5][12]);
}

TEST(UserInteractiveTransform, DrawsOverTheCanvasAsItStands) {
    // Transform writes only the pixels that fall inside the template.
    user_interactive ui;
    ASSERT_TRUE(ui.init(numbered_card(5, 3), 20, 10));
    _card_rect r{0, 0, 0, 0};
    ASSERT_TRUE(ui.Transform(0, 100, -5, 0, r));
    ASSERT_TRUE(ui.Transform(0, 100, 5, 0, r));
    const palm_image& cv = ui.get_canvas();
    EXPECT_NE(0, cv[4][3]);   // from the first call
    EXPECT_NE(0, cv[4][13]);  // from the second
}

TEST(UserInteractiveTransform, AngleNinetyTurnsTheBox) {
    // s = 1024, c = 0: the box is th wide and tw high.
    user_interactive ui;
    ASSERT_TRUE(ui.init(numbered_card(40, 20), 100, 100));
    _card_rect r{0, 0, 0, 0};
    ASSERT_TRUE(ui.Transform(90, 150, 0, 0, r));  // tw 60, th 30
    EXPECT_EQ(30, r.right - r.left);
    EXPECT_EQ(60, r.bottom - r.top);
    expect_rect(r, 35, 20, 65, 80);
    ASSERT_TRUE(ui.Transform(-90, 150, 0, 0, r));
    EXPECT_EQ(30, r.right - r.left);
    EXPECT_EQ(60, r.bottom - r.top);
}

TEST(UserInteractiveTransform, ScaleSizesTheBoxByTruncation) {
    user_interactive ui;
    ASSERT_TRUE(ui.init(numbered_card(33, 21), 200, 200));
    _card_rect r{0, 0, 0, 0};
    ASSERT_TRUE(ui.Transform(0, 50, 0, 0, r));  // 16.5 and 10.5 truncated
    EXPECT_EQ(16, r.right - r.left);
    EXPECT_EQ(10, r.bottom - r.top);
    ASSERT_TRUE(ui.Transform(0, 200, 0, 0, r));
    EXPECT_EQ(66, r.right - r.left);
    EXPECT_EQ(42, r.bottom - r.top);
    // At 45 degrees s = c = 724: (724 * 21 + 33 * 724) >> 10 = 38.
    ASSERT_TRUE(ui.Transform(45, 100, 0, 0, r));
    EXPECT_EQ(724, palm_algorithm::piSin[135]);
    EXPECT_EQ(38, r.right - r.left);
    EXPECT_EQ(38, r.bottom - r.top);
}

TEST(UserInteractiveTransform, AngleOrScaleOutOfRangeDrawsNothing) {
    user_interactive ui;
    ASSERT_TRUE(ui.init(numbered_card(20, 20), 64, 48));
    _card_rect r{0, 0, 0, 0};
    EXPECT_FALSE(ui.Transform(91, 100, 0, 0, r));
    EXPECT_FALSE(ui.Transform(-91, 100, 0, 0, r));
    EXPECT_FALSE(ui.Transform(0, 49, 0, 0, r));
    EXPECT_FALSE(ui.Transform(0, 201, 0, 0, r));
    EXPECT_FALSE(ui.Transform(INT_MIN, INT_MIN, 0, 0, r));
    expect_rect(r, 0, 0, 0, 0);
    EXPECT_TRUE(all_zero(ui.get_canvas()));
    EXPECT_TRUE(ui.Transform(90, 200, 0, 0, r));
    EXPECT_TRUE(ui.Transform(-90, 50, 0, 0, r));
}

TEST(UserInteractiveTransform, PlacementBeyondTheCanvasDrawsNoPixel) {
    user_interactive ui;
    ASSERT_TRUE(ui.init(numbered_card(20, 20), 64, 48));
    _card_rect r{0, 0, 0, 0};
    ASSERT_TRUE(ui.Transform(0, 100, 1000, 0, r));
    EXPECT_GT(r.left, r.right);
    EXPECT_EQ(1022, r.left);  // 1000 + (64 - 20) / 2
    EXPECT_EQ(64, r.right);
    EXPECT_TRUE(all_zero(ui.get_canvas()));
    ASSERT_TRUE(ui.Transform(0, 100, 0, -1000, r));
    EXPECT_GT(r.top, r.bottom);
    ASSERT_TRUE(ui.Transform(0, 100, INT_MAX, INT_MIN, r));
    EXPECT_TRUE(all_zero(ui.get_canvas()));
}

TEST(UserInteractiveTransform, BoxLargerThanTheCanvasIsCutBeforePlacement) {
    user_interactive ui;
    ASSERT_TRUE(ui.init(numbered_card(100, 100), 150, 120));
    _card_rect r{0, 0, 0, 0};
    ASSERT_TRUE(ui.Transform(0, 200, 7, 9, r));  // box 200 by 200, cut to 150 by 120
    // px = dx, py = -dy.
    expect_rect(r, 7, 0, 150, 111);
    ASSERT_TRUE(ui.Transform(0, 200, -7, -9, r));
    expect_rect(r, 0, 9, 143, 120);
}

TEST(UserInteractiveTransform, TinyAndHugeTemplatesDrawSafely) {
    user_interactive ui;
    _card_rect r{0, 0, 0, 0};
    // One pixel: no position lies inside a template of zero extent.
    ASSERT_TRUE(ui.init(numbered_card(1, 1), 32, 32));
    ASSERT_TRUE(ui.Transform(0, 200, 0, 0, r));
    EXPECT_TRUE(all_zero(ui.get_canvas()));
    // Wider than 4096: the half extent leaves the range of an int, wraps
    // negative, and no position is inside.
    ASSERT_TRUE(ui.init(numbered_card(4200, 2), 64, 48));
    ASSERT_TRUE(ui.Transform(0, 100, 0, 0, r));
    EXPECT_TRUE(all_zero(ui.get_canvas()));
}

TEST(UserInteractiveTransform, WithoutInitNothingIsDrawn) {
    user_interactive ui;
    _card_rect r{5, 5, 5, 5};
    EXPECT_TRUE(ui.Transform(0, 100, 0, 0, r));
    expect_rect(r, 0, 0, 0, 0);
    r = _card_rect{5, 5, 5, 5};
    EXPECT_EQ(nullptr, ui.gen_interactive(located(0, 100), r));
    expect_rect(r, 0, 0, 0, 0);
}

TEST(UserInteractiveRender, DirectPathEqualsThePlainLoop) {
    std::mt19937 rng(7);
    std::uniform_int_distribution<int> side(1, 48), canvas_side(1, 120), angle(-90, 90),
        scale(50, 200), offset(-30, 30);
    int drawn = 0;
    for (int trial = 0; trial < 600; ++trial) {
        const palm_image card = random_card(rng, side(rng), side(rng));
        const int cw = canvas_side(rng), ch = canvas_side(rng);
        user_interactive plain(render_path::plain), direct(render_path::direct);
        ASSERT_TRUE(plain.init(card, cw, ch));
        ASSERT_TRUE(direct.init(card, cw, ch));
        const int a = angle(rng), s = scale(rng), dx = offset(rng), dy = offset(rng);
        _card_rect rp{0, 0, 0, 0}, rd{0, 0, 0, 0};
        ASSERT_TRUE(plain.Transform(a, s, dx, dy, rp));
        ASSERT_TRUE(direct.Transform(a, s, dx, dy, rd));
        expect_rect(rd, rp.left, rp.top, rp.right, rp.bottom);
        ASSERT_TRUE(same_pixels(plain.get_canvas(), direct.get_canvas()))
            << "card " << card.GetWidth() << "x" << card.GetHeight() << " canvas " << cw << "x"
            << ch << " angle " << a << " scale " << s << " offset " << dx << "," << dy;
        drawn += all_zero(direct.get_canvas()) ? 0 : 1;
    }
    EXPECT_GT(drawn, 300);
}

TEST(UserInteractiveRender, DirectPathEqualsThePlainLoopOnAFullFrame) {
    std::mt19937 rng(8);
    const palm_image card = random_card(rng, 220, 300);
    for (int a : {-90, -57, -1, 0, 1, 30, 89, 90}) {
        for (int s : {50, 77, 100, 150, 200}) {
            user_interactive plain(render_path::plain), direct(render_path::direct);
            ASSERT_TRUE(plain.init(card, 640, 480));
            ASSERT_TRUE(direct.init(card, 640, 480));
            _card_rect rp{0, 0, 0, 0}, rd{0, 0, 0, 0};
            ASSERT_TRUE(plain.Transform(a, s, 40, -25, rp));
            ASSERT_TRUE(direct.Transform(a, s, 40, -25, rd));
            ASSERT_TRUE(same_pixels(plain.get_canvas(), direct.get_canvas())) << a << " " << s;
            EXPECT_FALSE(all_zero(direct.get_canvas()));
        }
    }
}

TEST(UserInteractiveGuidance, AngleInDegreesRoundedHalfAwayFromZero) {
    EXPECT_EQ(57, palm_algorithm::guidance_round(1.0 * 57.29577951307855));
    EXPECT_EQ(-57, palm_algorithm::guidance_round(-1.0 * 57.29577951307855));
    EXPECT_EQ(0, palm_algorithm::guidance_round(0.4999 * kDegToRad * 57.29577951307855));
    EXPECT_EQ(1, palm_algorithm::guidance_round(0.5));
    EXPECT_EQ(-1, palm_algorithm::guidance_round(-0.5));
    EXPECT_EQ(50, palm_algorithm::guidance_round(49.5));
    EXPECT_EQ(49, palm_algorithm::guidance_round(49.4));
    EXPECT_EQ(INT_MIN, palm_algorithm::guidance_round(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(INT_MIN, palm_algorithm::guidance_round(1e300));
    EXPECT_EQ(INT_MIN, palm_algorithm::guidance_round(-1e300));
}

TEST(UserInteractiveGuidance, OneRadianDrawsAtFiftySevenDegrees) {
    user_interactive ui;
    ASSERT_TRUE(ui.init(numbered_card(60, 80), 200, 160));
    _card_rect r{0, 0, 0, 0};
    ASSERT_NE(nullptr, ui.gen_interactive(located(1.0, 100.0), r));
    expect_drawn_as(ui, r, 57, 100, 0, 0);
    ASSERT_NE(nullptr, ui.gen_interactive(located(-1.0, 100.0), r));
    expect_drawn_as(ui, r, -57, 100, 0, 0);
    ASSERT_NE(nullptr, ui.gen_interactive(located(0.4999 * kDegToRad, 100.0), r));
    expect_drawn_as(ui, r, 0, 100, 0, 0);
}

TEST(UserInteractiveGuidance, AreaRoundedToTheScale) {
    user_interactive ui;
    ASSERT_TRUE(ui.init(numbered_card(60, 80), 200, 160));
    _card_rect r{0, 0, 0, 0};
    ASSERT_NE(nullptr, ui.gen_interactive(located(0.3, 49.5, 12, -7), r));
    expect_drawn_as(ui, r, 17, 50, 12, -7);
    r = _card_rect{1, 2, 3, 4};
    EXPECT_EQ(nullptr, ui.gen_interactive(located(0.3, 49.4, 12, -7), r));
    expect_rect(r, 0, 0, 0, 0);
    EXPECT_TRUE(all_zero(ui.get_canvas()));
    EXPECT_NE(nullptr, ui.gen_interactive(located(0.0, 200.4), r));
    EXPECT_EQ(nullptr, ui.gen_interactive(located(0.0, 200.5), r));
}

TEST(UserInteractiveGuidance, KeyPointsUnderFiftyPixelsApartAreNoHand) {
    user_interactive ui;
    ASSERT_TRUE(ui.init(numbered_card(60, 80), 200, 160));
    _card_rect r{0, 0, 0, 0};
    ASSERT_NE(nullptr, ui.gen_interactive(located(0, 100), r));
    const palm_image before = ui.get_canvas();
    _crop_results res = located(0.5, 80, 30, 30);
    res.nir_key[0] = {100, 100};
    res.nir_key[1] = {149, 100};  // 49 apart
    r = _card_rect{-1, -2, -3, -4};
    EXPECT_EQ(nullptr, ui.gen_interactive(res, r));
    expect_rect(r, -1, -2, -3, -4);
    EXPECT_TRUE(same_pixels(before, ui.get_canvas()));  // not cleared either
    res.nir_key[1] = {140, 130};                        // 40 and 30: exactly 50
    EXPECT_NE(nullptr, ui.gen_interactive(res, r));
    expect_drawn_as(ui, r, 29, 80, 30, 30);
}

TEST(UserInteractiveGuidance, AngleOutOfRangeYieldsNullZeroRectAndBlackCanvas) {
    user_interactive ui;
    ASSERT_TRUE(ui.init(numbered_card(60, 80), 200, 160));
    _card_rect r{0, 0, 0, 0};
    ASSERT_NE(nullptr, ui.gen_interactive(located(0, 100), r));
    r = _card_rect{1, 2, 3, 4};
    EXPECT_EQ(nullptr, ui.gen_interactive(located(91.0 * kDegToRad, 100), r));
    expect_rect(r, 0, 0, 0, 0);
    EXPECT_TRUE(all_zero(ui.get_canvas()));
    EXPECT_NE(nullptr, ui.gen_interactive(located(90.49 * kDegToRad, 100), r));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(nullptr, ui.gen_interactive(located(nan, 100), r));
    EXPECT_EQ(nullptr, ui.gen_interactive(located(0, nan), r));
    EXPECT_EQ(nullptr, ui.gen_interactive(located(1e300, 100), r));
}

TEST(UserInteractiveGuidance, PlacementBeyondTheCanvasStillReturnsTheBuffer) {
    user_interactive ui;
    ASSERT_TRUE(ui.init(numbered_card(60, 80), 200, 160));
    _card_rect r{0, 0, 0, 0};
    unsigned char* p = ui.gen_interactive(located(0, 100, 5000, 0), r);
    EXPECT_EQ(ui.get_canvas().GetBuffer(), p);
    EXPECT_GT(r.left, r.right);
    EXPECT_TRUE(all_zero(ui.get_canvas()));
}

TEST(UserInteractiveGuidance, UnlocatedFrameIsNoHand) {
    // A record the crop never filled has both key points at the origin.
    user_interactive ui;
    ASSERT_TRUE(ui.init(numbered_card(60, 80), 200, 160));
    _card_rect r{1, 2, 3, 4};
    EXPECT_EQ(nullptr, ui.gen_interactive(_crop_results(), r));
    expect_rect(r, 1, 2, 3, 4);
    // Far-flung key points: the squared distance wraps as an int would.
    _crop_results res = located(0, 100);
    res.nir_key[0] = {-1000000, 0};
    res.nir_key[1] = {1000000, 0};
    ui.gen_interactive(res, r);  // defined, whatever it draws
}

}  // namespace
