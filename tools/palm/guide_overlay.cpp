#include "guide_overlay.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "palm/capture/i_palm_precheck.h"

// The stb implementations live in grey_image_io.cpp; these are only their
// declarations, and the easy font is a header of static functions.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wsign-compare"
#include "stb_easy_font.h"
#include "stb_image_write.h"
#pragma GCC diagnostic pop

namespace palm_tool {

namespace {

struct rgb {
    unsigned char r, g, b;
};

const rgb kPrompt{255, 210, 0};
const rgb kSquare{40, 230, 60};
const rgb kKey{255, 40, 40};
const rgb kGuide{0, 220, 255};
const rgb kText{255, 255, 255};
const rgb kTextBack{0, 0, 0};

class picture {
  public:
    picture(int w, int h) : w_(w), h_(h), px_(static_cast<std::size_t>(w) * h * 3, 0) {}

    void put(int x, int y, rgb c) {
        if (x < 0 || y < 0 || x >= w_ || y >= h_)
            return;
        unsigned char* p = &px_[(static_cast<std::size_t>(y) * w_ + x) * 3];
        p[0] = c.r;
        p[1] = c.g;
        p[2] = c.b;
    }

    // Mixes `c` in with weight a/255.
    void blend(int x, int y, rgb c, int a) {
        if (x < 0 || y < 0 || x >= w_ || y >= h_)
            return;
        unsigned char* p = &px_[(static_cast<std::size_t>(y) * w_ + x) * 3];
        p[0] = static_cast<unsigned char>((p[0] * (255 - a) + c.r * a) / 255);
        p[1] = static_cast<unsigned char>((p[1] * (255 - a) + c.g * a) / 255);
        p[2] = static_cast<unsigned char>((p[2] * (255 - a) + c.b * a) / 255);
    }

    void dot(int x, int y, rgb c, int size) {
        for (int dy = 0; dy < size; ++dy)
            for (int dx = 0; dx < size; ++dx)
                put(x + dx - size / 2, y + dy - size / 2, c);
    }

    // A straight line, `size` pixels wide; ends far outside are clipped to
    // a generous box first so that the walk stays short.
    void line(long x0, long y0, long x1, long y1, rgb c, int size) {
        const long lim = 4 * static_cast<long>(std::max(w_, h_));
        if (std::labs(x0) > lim || std::labs(y0) > lim || std::labs(x1) > lim ||
            std::labs(y1) > lim)
            return;
        const long dx = std::labs(x1 - x0), dy = -std::labs(y1 - y0);
        const long sx = x0 < x1 ? 1 : -1, sy = y0 < y1 ? 1 : -1;
        long err = dx + dy;
        for (;;) {
            dot(static_cast<int>(x0), static_cast<int>(y0), c, size);
            if (x0 == x1 && y0 == y1)
                break;
            const long e2 = 2 * err;
            if (e2 >= dy) {
                err += dy;
                x0 += sx;
            }
            if (e2 <= dx) {
                err += dx;
                y0 += sy;
            }
        }
    }

    void fill(int x0, int y0, int x1, int y1, rgb c, int a) {
        for (int y = y0; y < y1; ++y)
            for (int x = x0; x < x1; ++x)
                blend(x, y, c, a);
    }

    // Text in the easy font, each of its unit squares drawn `scale` pixels
    // wide, on a dark backing.
    void text(int x, int y, const std::string& s, int scale) {
        std::vector<char> buf(s.begin(), s.end());
        buf.push_back('\0');
        const int tw = stb_easy_font_width(buf.data()), th = stb_easy_font_height(buf.data());
        fill(x - 4, y - 4, x + tw * scale + 4, y + th * scale + 2, kTextBack, 160);
        std::vector<float> quads(buf.size() * 300);
        const int n = stb_easy_font_print(0, 0, buf.data(), nullptr, quads.data(),
                                          static_cast<int>(quads.size() * sizeof(float)));
        // Each vertex is four floats' worth: x, y, z and four colour bytes.
        for (int q = 0; q < n; ++q) {
            const float* v = &quads[static_cast<std::size_t>(q) * 16];
            const int qx0 = static_cast<int>(v[0] * scale), qy0 = static_cast<int>(v[1] * scale);
            const int qx1 = static_cast<int>(v[8] * scale), qy1 = static_cast<int>(v[9] * scale);
            for (int yy = qy0; yy < qy1; ++yy)
                for (int xx = qx0; xx < qx1; ++xx)
                    put(x + xx, y + yy, kText);
        }
    }

    bool write(const std::string& path) const {
        return stbi_write_png(path.c_str(), w_, h_, 3, px_.data(), w_ * 3) != 0;
    }

  private:
    int w_, h_;
    std::vector<unsigned char> px_;
};

}  // namespace

std::string position_word(int position) {
    switch (position) {
        case 0:
            return "POS_OK";
        case 1:
            return "POS_TOO_SMALL";
        case 2:
            return "POS_TOO_LARGE";
        case 3:
            return "POS_LEFT";
        case 4:
            return "POS_RIGHT";
        case 5:
            return "POS_UP";
        case 6:
            return "POS_DOWN";
        default:
            return "POS_UNKNOWN";
    }
}

bool write_guide_overlay(std::string const& path, guide_picture const& p, std::string& error) {
    const palm_share::palm_image& f = *p.frame;
    if (!f.IsValid()) {
        error = "no frame for the overlay";
        return false;
    }
    const int w = f.GetWidth(), h = f.GetHeight();
    picture out(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            out.put(x, y, rgb{f[y][x], f[y][x], f[y][x]});
    // The guidance drawing, as bright as the template is.
    const palm_share::palm_image& cv = *p.canvas;
    for (int y = 0; y < std::min(h, cv.GetHeight()); ++y)
        for (int x = 0; x < std::min(w, cv.GetWidth()); ++x)
            if (cv[y][x] != 0)
                out.blend(x, y, kGuide, cv[y][x]);
    const auto& r = palm_algorithm::i_palm_precheck::PROMPT_RECT;
    out.line(r.left, r.top, r.right, r.top, kPrompt, 2);
    out.line(r.right, r.top, r.right, r.bottom, kPrompt, 2);
    out.line(r.right, r.bottom, r.left, r.bottom, kPrompt, 2);
    out.line(r.left, r.bottom, r.left, r.top, kPrompt, 2);
    if (p.located) {
        // Corners 0 and 1 lie along the key point line, 2 and 3 across.
        const palm_struct::_point<int>* c = p.res->nir_corner;
        const int order[5] = {0, 1, 3, 2, 0};
        for (int i = 0; i < 4; ++i)
            out.line(c[order[i]].x, c[order[i]].y, c[order[i + 1]].x, c[order[i + 1]].y, kSquare,
                     2);
        for (const auto& k : p.res->nir_key) {
            out.line(k.x - 7, k.y - 7, k.x + 7, k.y + 7, kKey, 3);
            out.line(k.x - 7, k.y + 7, k.x + 7, k.y - 7, kKey, 3);
        }
    }
    out.text(10, 10, p.word, 3);
    if (!p.notes.empty())
        out.text(10, h - 26, p.notes, 2);
    if (!out.write(path)) {
        error = "cannot write " + path;
        return false;
    }
    return true;
}

}  // namespace palm_tool
