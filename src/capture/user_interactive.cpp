#include "palm/capture/user_interactive.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "palm/localisation/palm_crop.h"

namespace palm_algorithm {

namespace {

// The arithmetic of the placement and the walk is that of 32-bit ints, and
// it wraps as they do where a template, canvas or offset is large enough to
// leave their range. Sums and products are formed in 64 bits and wrapped
// before any shift, division or comparison, which gives the same bits.
inline int wrap32(long long v) {
    return static_cast<int>(static_cast<unsigned int>(v));
}

// Fraction bits of a template position during the walk.
const int kWalkShift = 20;
const long long kHalfExtentUnit = 1LL << (kWalkShift - 1);
const double kRadToDeg = 57.29577951307855;

}  // namespace

int guidance_round(double value) {
    if (!(value > -2147483648.5 && value < 2147483647.5))
        return INT_MIN;
    return static_cast<int>(value >= 0 ? value + 0.5 : value - 0.5);
}

user_interactive::user_interactive(render_path p) : path(p) {}

bool user_interactive::init(const palm_share::palm_image& c, int width, int height) {
    card = c;
    if (!card.IsValid())
        return false;
    return canvas.Create(width, height, static_cast<unsigned char>(0));
}

unsigned char* user_interactive::gen_interactive(const palm_struct::_crop_results& res,
                                                 palm_struct::_card_rect& rect) {
    const int ex = wrap32(static_cast<long long>(res.nir_key[0].x) - res.nir_key[1].x);
    const int ey = wrap32(static_cast<long long>(res.nir_key[0].y) - res.nir_key[1].y);
    if (wrap32(static_cast<long long>(ex) * ex + static_cast<long long>(ey) * ey) <
        MIN_KEY_DISTANCE_SQ)
        return nullptr;
    rect = palm_struct::_card_rect{0, 0, 0, 0};
    canvas.SetData(0);
    const int angle = guidance_round(res.rotate_angle * kRadToDeg);
    const int scale = guidance_round(res.area_percent);
    if (!Transform(angle, scale, res.palm_offset_x, res.palm_offset_y, rect))
        return nullptr;
    return canvas.GetBuffer();
}

bool user_interactive::Transform(int angle, int scale, int dx, int dy,
                                 palm_struct::_card_rect& rect) {
    if (angle < -90 || angle > 90 || scale < 50 || scale > 200)
        return false;
    const int a = angle + 90;
    const int s = piSin[a], c = piCos[a], q = piScale[scale - 50];
    const int sw = card.GetWidth(), sh = card.GetHeight();
    const int cw = canvas.GetWidth(), ch = canvas.GetHeight();
    const int tw =
        static_cast<int>(static_cast<double>(wrap32(static_cast<long long>(sw) * scale)) * 0.01);
    const int th =
        static_cast<int>(static_cast<double>(wrap32(static_cast<long long>(sh) * scale)) * 0.01);
    // Bounding box of the turned template; c is never negative here.
    const long long as = std::abs(s);
    int bw = wrap32(as * th + static_cast<long long>(tw) * c) >> 10;
    int bh = wrap32(as * tw + static_cast<long long>(c) * th) >> 10;
    bw = std::min(bw, cw);
    bh = std::min(bh, ch);
    // y is flipped: a palm offset downward moves the drawing up.
    const int px = wrap32(dx + static_cast<long long>(wrap32(static_cast<long long>(cw) - bw) / 2));
    const int py = wrap32(static_cast<long long>(wrap32(static_cast<long long>(ch) - bh) / 2) - dy);
    rect.left = std::max(px, 0);
    rect.top = std::max(py, 0);
    rect.right = std::min(wrap32(static_cast<long long>(px) + bw), cw);
    rect.bottom = std::min(wrap32(static_cast<long long>(py) + bh), ch);
    if (path == render_path::direct && card.IsValid() && sw <= 2048 && sh <= 2048)
        render_direct(s, c, q, dx, dy, rect);
    else
        render_plain(s, c, q, dx, dy, rect);
    return true;
}

// Backward mapping, each pixel on its own: the canvas offset from the
// drawing's centre, turned and scaled into the template, with 20 fraction
// bits; read where it falls inside the template.
void user_interactive::render_plain(int s, int c, int q, int dx, int dy,
                                    const palm_struct::_card_rect& rect) {
    const int cw = canvas.GetWidth(), ch = canvas.GetHeight();
    const int hx = wrap32((card.GetWidth() - 1LL) * kHalfExtentUnit);
    const int hy = wrap32((card.GetHeight() - 1LL) * kHalfExtentUnit);
    const int neg_hx = wrap32(-static_cast<long long>(hx));
    const int neg_hy = wrap32(-static_cast<long long>(hy));
    for (int y = rect.top; y < rect.bottom; ++y) {
        const int v = wrap32(static_cast<long long>(dy) + y - (ch >> 1));
        unsigned char* row = canvas[y];
        for (int x = rect.left; x < rect.right; ++x) {
            const int u = wrap32(static_cast<long long>(x) - (cw >> 1) - dx);
            const int U =
                wrap32(q * (static_cast<long long>(c) * u - static_cast<long long>(s) * v));
            const int V =
                wrap32(q * (static_cast<long long>(s) * u + static_cast<long long>(c) * v));
            if (neg_hx <= U && U < hx && neg_hy <= V && V < hy)
                row[x] = card.Interpolation(wrap32(static_cast<long long>(U) + hx),
                                            wrap32(static_cast<long long>(V) + hy), kWalkShift);
        }
    }
}

// The same pixels for a template of at most 2048 by 2048, where twice the
// half extent fits an int: U and V are stepped along the row by additions,
// the range test is one unsigned comparison per axis, and a position inside
// the template is interpolated in place. Inside, the integer part stays at
// least one below the last column and row, so all four neighbours exist,
// and the bilinear formula reduces to Interpolation's special cases where a
// fraction is 0.
void user_interactive::render_direct(int s, int c, int q, int dx, int dy,
                                     const palm_struct::_card_rect& rect) {
    const int cw = canvas.GetWidth(), ch = canvas.GetHeight();
    const int sw = card.GetWidth();
    const unsigned int hx = static_cast<unsigned int>((sw - 1) * kHalfExtentUnit);
    const unsigned int hy = static_cast<unsigned int>((card.GetHeight() - 1) * kHalfExtentUnit);
    const unsigned int ex = 2 * hx, ey = 2 * hy;
    const unsigned int step_u = static_cast<unsigned int>(q * c);
    const unsigned int step_v = static_cast<unsigned int>(q * s);
    const unsigned int one = 1u << kWalkShift, frac = one - 1;
    const unsigned char* src = card.GetBuffer();
    if (rect.left >= rect.right)
        return;
    for (int y = rect.top; y < rect.bottom; ++y) {
        const long long v = wrap32(static_cast<long long>(dy) + y - (ch >> 1));
        const long long u = wrap32(static_cast<long long>(rect.left) - (cw >> 1) - dx);
        // Positions shifted by the half extent, so that inside means below
        // the full extent.
        unsigned int X = static_cast<unsigned int>(q * (c * u - s * v)) + hx;
        unsigned int Y = static_cast<unsigned int>(q * (s * u + c * v)) + hy;
        unsigned char* row = canvas[y];
        for (int x = rect.left; x < rect.right; ++x, X += step_u, Y += step_v) {
            if (X >= ex || Y >= ey)
                continue;
            const unsigned int fx = X & frac, fy = Y & frac;
            const unsigned char* p =
                src + static_cast<long>(Y >> kWalkShift) * sw + (X >> kWalkShift);
            const unsigned int l = ((one - fy) * p[0] + fy * p[sw]) >> kWalkShift;
            const unsigned int r = ((one - fy) * p[1] + fy * p[sw + 1]) >> kWalkShift;
            row[x] = static_cast<unsigned char>(((one - fx) * l + fx * r) >> kWalkShift);
        }
    }
}

}  // namespace palm_algorithm
