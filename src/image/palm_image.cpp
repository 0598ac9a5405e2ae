#include "palm/image/palm_image.h"

#include <cstring>
#include <new>

#include "palm/image/palm_tables.h"

namespace palm_share {

using palm_struct::_point;
using palm_struct::_position;

namespace {

// Three quarters of 37 x 1024: a pixel whose disc is less similar than this
// lies on an edge.
const int SUSAN_EDGE_LIMIT = 28416;

bool any_above_254_3x3(const unsigned char* p, int w) {
    for (int dy = -1; dy <= 1; ++dy) {
        const unsigned char* r = p + dy * w;
        if (r[-1] > 254 || r[0] > 254 || r[1] > 254)
            return true;
    }
    return false;
}

bool all_nonzero_3x3(const unsigned char* p, int w) {
    for (int dy = -1; dy <= 1; ++dy) {
        const unsigned char* r = p + dy * w;
        if (r[-1] == 0 || r[0] == 0 || r[1] == 0)
            return false;
    }
    return true;
}

enum class morph { dilate, erode };

// One morphology step over the interior of `src` into the interior of `dst`;
// the caller has cleared `dst`.
void morph_3x3(const palm_image& src, palm_image& dst, morph op) {
    const int w = src.GetWidth(), h = src.GetHeight();
    const unsigned char* s = src.GetBuffer();
    unsigned char* d = dst.GetBuffer();
    for (int y = 1; y < h - 1; ++y) {
        for (int x = 1; x < w - 1; ++x) {
            const unsigned char* p = s + y * w + x;
            bool on = op == morph::dilate ? any_above_254_3x3(p, w) : all_nonzero_3x3(p, w);
            d[y * w + x] = on ? 255 : 0;
        }
    }
}

// The scratch image of the 3 x 3 steps is kept from call to call so that a
// frame costs no allocation. Each thread has its own, and it follows the size
// of the image it serves.
palm_image& scratch_for(palm_image& scratch, const palm_image& image) {
    if (scratch.GetWidth() != image.GetWidth() || scratch.GetHeight() != image.GetHeight()) {
        scratch.Create(image.GetWidth(), image.GetHeight(), static_cast<unsigned char>(0));
    }
    return scratch;
}

// Two steps through a scratch image kept by the caller: first from the image
// into the scratch, then, with the image cleared, back into it.
void two_step_3x3(palm_image& image, palm_image& kept, morph first, morph second) {
    if (!image.IsValid() || image.GetWidth() < 3 || image.GetHeight() < 3)
        return;
    palm_image& scratch = scratch_for(kept, image);
    if (!scratch.IsValid())
        return;
    scratch.SetData(0);
    morph_3x3(image, scratch, first);
    image.SetData(0);
    morph_3x3(scratch, image, second);
}

}  // namespace

int palm_image::GetAdaptiveThreshold() const {
    if (!IsValid())
        return -1;
    int hist[256] = {0};
    int acc[256] = {0};
    const int size = GetSize();
    int lo = 255, hi = 0;
    for (int i = 0; i < size; ++i) {
        int v = buffer[i];
        ++hist[v];
        if (v < lo)
            lo = v;
        if (v > hi)
            hi = v;
    }
    for (int i = lo; i <= hi; ++i)
        acc[i] = i * hist[i];

    // Mean grey level of [a, b], with one extra pixel in the count.
    auto mean = [&](int a, int b) -> int {
        long long sum = 0, count = 1;
        for (int i = a; i <= b; ++i) {
            sum += acc[i];
            count += hist[i];
        }
        return static_cast<int>(sum / count) & 255;
    };

    int t = (lo + hi) >> 1;
    if (t != 0) {
        for (int pass = 1; pass <= 100; ++pass) {
            int m1 = t < lo ? 0 : mean(lo, t);
            int m2 = t + 1 > hi ? 0 : mean(t + 1, hi);
            // Divided by 2.8, not 2: the level settles below the midpoint.
            int n = (((m1 + m2) * 10) / 28) & 255;
            if (n == t || pass == 100)
                break;
            t = n;
        }
    }
    return t;
}

void palm_image::AdaptiveThreshold() {
    int const t = GetAdaptiveThreshold();
    if (t < 0)
        return;
    const int size = GetSize();
    for (int i = 0; i < size; ++i)
        buffer[i] = buffer[i] > t ? 255 : 0;
}

void palm_image::SusanSmooth(palm_image& mask) const {
    if (!IsValid() || width < 7 || height < 7)
        return;
    if (!mask.IsValid() || mask.width != width || mask.height != height)
        return;
    // Half-widths of the 37-pixel disc, rows -3 to 3.
    static const int kHalf[7] = {1, 2, 3, 3, 3, 2, 1};
    for (int y = 3; y <= height - 4; ++y) {
        unsigned char* m = mask.buffer + y * width;
        for (int x = 3; x <= width - 4; ++x) {
            if (m[x] <= 254)
                continue;
            const int c = buffer[y * width + x];
            const int* sim = g_piExpMatrix + 255 - c;
            int sum = 0;
            for (int dy = -3; dy <= 3; ++dy) {
                const unsigned char* r = buffer + (y + dy) * width + x;
                const int half = kHalf[dy + 3];
                for (int dx = -half; dx <= half; ++dx)
                    sum += sim[r[dx]];
            }
            sum += g_piExpMatrix_12[255 - c];
            if (sum <= SUSAN_EDGE_LIMIT)
                m[x] = 0;
        }
    }
}

void palm_image::CloseImage_3_1() {
    if (!IsValid() || width < 3 || height < 3)
        return;
    palm_image scratch(width, height, nullptr);
    if (!scratch.IsValid())
        return;
    const int w = width;
    unsigned char* s = scratch.buffer;
    for (int y = 1; y < height - 1; ++y) {
        for (int x = 1; x < w - 1; ++x) {
            const unsigned char* p = buffer + y * w + x;
            s[y * w + x] = (p[-w] > 254 || p[0] > 254 || p[w] > 254) ? 255 : 0;
        }
    }
    SetData(0);
    for (int y = 1; y < height - 1; ++y) {
        for (int x = 1; x < w - 1; ++x) {
            const unsigned char* p = s + y * w + x;
            buffer[y * w + x] = (p[-w] != 0 && p[0] != 0 && p[w] != 0) ? 255 : 0;
        }
    }
}

void palm_image::OpenImage_3_3() {
    static thread_local palm_image destImage;
    two_step_3x3(*this, destImage, morph::erode, morph::dilate);
}

void palm_image::CloseImage_3_3() {
    static thread_local palm_image destImage;
    two_step_3x3(*this, destImage, morph::dilate, morph::erode);
}

void palm_image::Contour(int connectivity) {
    if (!IsValid() || width < 3 || height < 3)
        return;
    if (connectivity != 4 && connectivity != 8)
        return;
    palm_image copy(*this);
    if (!copy.IsValid())
        return;
    std::memset(buffer, 0, GetSize());
    const int w = width;
    for (int y = 1; y < height - 1; ++y) {
        for (int x = 1; x < w - 1; ++x) {
            const unsigned char* p = copy.buffer + y * w + x;
            if (p[0] != 255)
                continue;
            bool edge = p[-w] < 255 || p[-1] < 255 || p[1] < 255 || p[w] < 255;
            if (connectivity == 8 && !edge) {
                edge = p[-w - 1] < 255 || p[-w + 1] < 255 || p[w - 1] < 255 || p[w + 1] < 255;
            }
            if (edge)
                buffer[y * w + x] = 255;
        }
    }
}

_point<int> palm_image::GetCentroid() const {
    _point<int> none = {-1, -1};
    if (!IsValid())
        return none;
    long long sx = 0, sy = 0, n = 0;
    for (int y = 0; y < height; ++y) {
        const unsigned char* r = buffer + y * width;
        for (int x = 0; x < width; ++x) {
            if (r[x] == 255) {
                sx += x;
                sy += y;
                ++n;
            }
        }
    }
    if (n == 0)
        return none;
    _point<int> c = {static_cast<int>(sx / n), static_cast<int>(sy / n)};
    return c;
}

void palm_image::FindCentralRegion(int x, int y, palm_image& dest) const {
    if (!IsValid() || !dest.IsValid())
        return;
    if (dest.width != width || dest.height != height)
        return;
    if (x < 0 || y < 0 || x >= width || y >= height)
        return;
    const int W = width, H = height;
    // The fan is centred one pixel up and to the left of (x, y).
    const int cx = x - 1, cy = y - 1;

    // One family of rays. For ray n the lateral offset after k steps is
    // trunc(a) or trunc(a + 0.5), with a the tangent added up k times.
    struct family {
        int first_n;  // 0 (offsets cut) or 1 (offsets rounded)
        int steps;    // k runs from 1 to this
        int run_x;    // step of the running coordinate along x ...
        int run_y;    // ... or along y
        int side_x;   // sign of the lateral offset along x ...
        int side_y;   // ... or along y
    };
    const family families[8] = {
        {0, H - y - 1, 0, 1, -1, 0},  // down, leaning left
        {1, x - 2, -1, 0, 0, 1},      // left, leaning down
        {0, x - 2, -1, 0, 0, -1},     // left, leaning up
        {1, y - 2, 0, -1, -1, 0},     // up, leaning left
        {0, y - 2, 0, -1, 1, 0},      // up, leaning right
        {1, W - x - 1, 1, 0, 0, -1},  // right, leaning up
        {0, W - x - 1, 1, 0, 0, 1},   // right, leaning down
        {1, H - y - 1, 0, 1, 1, 0},   // down, leaning right
    };
    for (const family& f : families) {
        const bool rounded = f.first_n == 1;
        for (int n = f.first_n; n <= f.first_n + 44; ++n) {
            const double t = g_pfTanTable[n];
            double a = 0.0;
            for (int k = 1; k <= f.steps; ++k) {
                a += t;
                const int off = rounded ? static_cast<int>(a + 0.5) : static_cast<int>(a);
                const int px = cx + f.run_x * k + f.side_x * off;
                const int py = cy + f.run_y * k + f.side_y * off;
                // A ray that would leave the image ends there, as it ends on
                // the zero border of a proper mask.
                if (px < 0 || py < 0 || px >= W || py >= H)
                    break;
                if (buffer[py * W + px] == 0)
                    break;
                dest.buffer[py * W + px] = 255;
            }
        }
    }
}

void palm_image::FilterDot() {
    if (!IsValid() || width < 3 || height < 3)
        return;
    const int w = width;
    for (int y = 1; y < height - 1; ++y) {
        for (int x = 1; x < w - 1; ++x) {
            unsigned char* p = buffer + y * w + x;
            if (p[0] != 255)
                continue;
            if (p[-w - 1] == 0 && p[-w] == 0 && p[-w + 1] == 0 && p[-1] == 0 && p[1] == 0 &&
                p[w - 1] == 0 && p[w] == 0 && p[w + 1] == 0) {
                p[0] = 0;
            }
        }
    }
}

int palm_image::RetainLargestRegion() {
    if (!IsValid())
        return 0;
    const int w = width, h = height;
    const long long size = static_cast<long long>(w) * h;
    int* block = new (std::nothrow) int[3 * size];
    if (block == nullptr)
        return 0;
    std::memset(block, 0, sizeof(int) * 3 * size);
    int* queue = block;  // (row, column) pairs
    int* label = block + 2 * size;

    static const int kDy[8] = {-1, -1, -1, 0, 0, 1, 1, 1};
    static const int kDx[8] = {-1, 0, 1, -1, 1, -1, 0, 1};
    int next_label = 0, best_label = 0;
    long long best_area = 0;
    for (int r0 = 0; r0 < h; ++r0) {
        for (int c0 = 0; c0 < w; ++c0) {
            if (buffer[r0 * w + c0] == 0 || label[r0 * w + c0] != 0)
                continue;
            ++next_label;
            long long head = 0, tail = 0;
            bool full = false;
            auto push = [&](int r, int c) {
                label[r * w + c] = next_label;
                queue[2 * tail] = r;
                queue[2 * tail + 1] = c;
                ++tail;
                full = tail == size;
            };
            push(r0, c0);
            while (!full && head < tail) {
                const int r = queue[2 * head], c = queue[2 * head + 1];
                ++head;
                for (int i = 0; i < 8 && !full; ++i) {
                    const int rr = r + kDy[i], cc = c + kDx[i];
                    if (rr < 0 || cc < 0 || rr >= h || cc >= w)
                        continue;
                    if (buffer[rr * w + cc] == 0 || label[rr * w + cc] != 0)
                        continue;
                    push(rr, cc);
                }
            }
            if (full) {
                // A region as large as the whole image: nothing to choose.
                delete[] block;
                return 0;
            }
            // Among equal areas the region found last wins.
            if (tail >= best_area) {
                best_area = tail;
                best_label = next_label;
            }
        }
    }
    for (long long i = 0; i < size; ++i) {
        if (label[i] != best_label)
            buffer[i] = 0;
    }
    delete[] block;
    return static_cast<int>(best_area);
}

void palm_image::DownSampling2(palm_image& dest) const {
    if (!IsValid() || !dest.IsValid())
        return;
    const int dw = width / 2, dh = height / 2;
    if (dest.width != dw || dest.height != dh)
        return;
    for (int j = 0; j < dh; ++j) {
        const unsigned char* s = buffer + 2 * j * width;
        unsigned char* d = dest.buffer + j * dw;
        for (int i = 0; i < dw; ++i)
            d[i] = s[2 * i];
    }
}

void palm_image::Trace(std::vector<_position>& edge) const {
    edge.clear();
    if (!IsValid())
        return;
    const int size = GetSize();
    int start = 0;
    while (start < size && buffer[start] != 255)
        ++start;
    if (start == size)
        return;
    const int sx = start % width, sy = start / width;
    if (sx == 0 || sy == 0)
        return;

    static const int kDx[8] = {-1, 0, 1, 1, 1, 0, -1, -1};
    static const int kDy[8] = {1, 1, 1, 0, -1, -1, -1, 0};
    auto white = [&](int x, int y) {
        return x >= 0 && y >= 0 && x < width && y < height && buffer[y * width + x] == 255;
    };
    // A proper outline closes at its start. The walk also ends on an
    // isolated pixel and, should it fall into a loop that misses the start,
    // once it has taken more steps than (pixel, direction) states exist.
    const long long max_steps = 8LL * size;
    int x = sx, y = sy, d = 0;
    while (static_cast<long long>(edge.size()) <= max_steps) {
        int turns = 0;
        while (!white(x + kDx[d], y + kDy[d])) {
            d = (d + 1) & 7;
            if (++turns == 8)
                return;
        }
        const int nx = x + kDx[d], ny = y + kDy[d];
        if (nx == sx && ny == sy)
            return;
        _position p = {nx, ny, 0.0, 0.0};
        edge.push_back(p);
        x = nx;
        y = ny;
        d = (d + 6) & 7;
    }
}

}  // namespace palm_share
