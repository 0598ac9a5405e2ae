// The six oriented filters on independent lines run side by side in the lanes
// of a wide register, written once over a set of lane operations. Each wide
// form (NEON, AVX2) supplies its operations and entry point; the passes below
// are the same for all: the row filter as a column filter on the transposed
// image, the vertical and slanted passes across the columns of a row, the
// differences likewise. Every element sees the same wrapping products,
// roundings and sums as in anigauss.
//
// A set of lane operations V gives:
//   V::vec                       the register type of V::width 32-bit lanes;
//   V::ld(p), V::st(p, v)        unaligned load and store of V::width values;
//   V::add, V::sub               wrapping lane sums and differences;
//   V::vmr(a, b)                 the wrapping product rounded as fixed::mul_round;
//   V::set1(x)                   x in every lane;
//   V::transpose_block(src, src_stride, dst, dst_stride)
//                                a V::width square block, dst[x][y] = src[y][x].
//
// Everything here has internal linkage: a file that includes this header gets
// its own copy, compiled with that file's target options. A file compiled for
// wider instructions than the library's baseline includes it inside its
// target region, with the standard and library headers this one names already
// included before that region, so that only this file's own functions carry
// the wider instructions and none of them can be shared with another file.
#ifndef PALM_EXTRACTION_ANIGAUSS_LANES_H_
#define PALM_EXTRACTION_ANIGAUSS_LANES_H_

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "palm/extraction/anigauss.h"
#include "palm/extraction/anigauss_line.h"
#include "palm/extraction/fixed_point.h"

namespace palm_share {
namespace {
namespace lanes {

using fixed::mul_round;
using iir::coef_row;
using iir::line_coef;

inline int32_t sadd(int32_t a, int32_t b) {
    return fixed::add(a, b);
}
inline int32_t ssub(int32_t a, int32_t b) {
    return fixed::sub(a, b);
}

// Work areas of one call, sized for the largest slant.
struct work_areas {
    std::vector<int32_t> transposed, scratch, lines, rowbuf, sbuf, above, here;
    work_areas(int sizex, int sizey) {
        const size_t plane = static_cast<size_t>(sizex) * sizey;
        const size_t len = static_cast<size_t>(sizex) + sizey + 2;
        transposed.resize(plane);
        scratch.resize(plane);
        lines.resize(4 * len + sizex);
        rowbuf.resize(sizex + 2);
        sbuf.resize(sizex + 2);
        above.resize(sizex);
        here.resize(sizex);
    }
};

// out (h x w) = transpose of in (w wide, h high): out[x * h + y] = in[y * w + x].
template <class V>
void transpose(const int32_t* in, int32_t* out, int w, int h) {
    constexpr int n = V::width;
    int y0 = 0;
    for (; y0 + n <= h; y0 += n) {
        int x0 = 0;
        for (; x0 + n <= w; x0 += n) {
            V::transpose_block(in + static_cast<size_t>(y0) * w + x0, static_cast<size_t>(w),
                               out + static_cast<size_t>(x0) * h + y0, static_cast<size_t>(h));
        }
        for (int x = x0; x < w; ++x) {
            for (int y = y0; y < y0 + n; ++y)
                out[static_cast<size_t>(x) * h + y] = in[static_cast<size_t>(y) * w + x];
        }
    }
    for (int y = y0; y < h; ++y) {
        for (int x = 0; x < w; ++x)
            out[static_cast<size_t>(x) * h + y] = in[static_cast<size_t>(y) * w + x];
    }
}

// End of a line for every lane.
template <class V>
inline void vend(const line_coef& q, typename V::vec y1, typename V::vec y2, typename V::vec y3,
                 typename V::vec u, typename V::vec& z0, typename V::vec& z1, typename V::vec& z2) {
    using vec = typename V::vec;
    const vec d0 = V::sub(y1, u), d1 = V::sub(y2, u), d2 = V::sub(y3, u);
    const vec v = V::vmr(V::set1(q.P), u);
    const vec B = V::set1(q.B);
    const int* M = q.M;
    auto row = [&](int r) {
        return V::vmr(B, V::add(V::add(V::vmr(V::set1(M[r]), d0), V::vmr(V::set1(M[r + 1]), d1)),
                                V::add(V::vmr(V::set1(M[r + 2]), d2), v)));
    };
    z0 = row(0);
    z1 = row(3);
    z2 = row(6);
}

// The recursive line down every column of img (w wide, h high), in place.
// Sixteen columns at a time keep their history in registers.
template <class V>
void column_pass(int32_t* img, int w, int h, const line_coef& q) {
    using vec = typename V::vec;
    constexpr int n = V::width;
    constexpr int groups = 16 / n;
    const vec B = V::set1(q.B), b1 = V::set1(q.b1), b2 = V::set1(q.b2), b3 = V::set1(q.b3),
              P = V::set1(q.P);
    const size_t W = static_cast<size_t>(w);
    int c = 0;
    for (; c + 16 <= w; c += 16) {
        vec h1[groups], h2[groups], h3[groups], u[groups];
        for (int l = 0; l < groups; ++l) {
            h1[l] = h2[l] = h3[l] = V::ld(img + c + n * l);
            u[l] = V::vmr(P, V::vmr(B, V::ld(img + (h - 1) * W + c + n * l)));
        }
        // Runs the recursion over rows first, first + step, ... up to last.
        auto recurse = [&](int first, int last, int step) {
            for (int y = first; y != last + step; y += step) {
                int32_t* row = img + y * W + c;
                for (int l = 0; l < groups; ++l) {
                    const vec v = V::add(V::add(V::vmr(B, V::ld(row + n * l)), V::vmr(b1, h1[l])),
                                         V::add(V::vmr(b2, h2[l]), V::vmr(b3, h3[l])));
                    V::st(row + n * l, v);
                    h3[l] = h2[l];
                    h2[l] = h1[l];
                    h1[l] = v;
                }
            }
        };
        recurse(0, h - 1, 1);
        for (int l = 0; l < groups; ++l) {
            vec z0, z1, z2;
            vend<V>(q, h1[l], h2[l], h3[l], u[l], z0, z1, z2);
            V::st(img + (h - 1) * W + c + n * l, z0);
            h1[l] = z0;
            h2[l] = z1;
            h3[l] = z2;
        }
        if (h >= 2)
            recurse(h - 2, 0, -1);
    }
    for (; c < w; ++c) {
        int32_t h1 = img[c], h2 = img[c], h3 = img[c];
        const int32_t u = mul_round(q.P, mul_round(q.B, img[(h - 1) * W + c]));
        auto recurse = [&](int first, int last, int step) {
            for (int y = first; y != last + step; y += step) {
                int32_t& x = img[y * W + c];
                const int32_t v = iir::step(q, mul_round(q.B, x), h1, h2, h3);
                x = v;
                h3 = h2;
                h2 = h1;
                h1 = v;
            }
        };
        recurse(0, h - 1, 1);
        int32_t z0, z1, z2;
        iir::line_end(q, h1, h2, h3, u, z0, z1, z2);
        img[(h - 1) * W + c] = z0;
        h1 = z0;
        h2 = z1;
        h3 = z2;
        if (h >= 2)
            recurse(h - 2, 0, -1);
    }
}

// The slanted pass of orientation k, in place, each row across its columns.
template <class V>
void tline_pass(int32_t* img, int w, int h, int k, work_areas& work) {
    using vec = typename V::vec;
    constexpr int n = V::width;
    const line_coef q = coef_row(2 * k + 1);
    const bool positive = TAN_P[k] > 0.0f;
    const float t = std::fabs(TAN_P[k]);
    const int L = static_cast<int>(t * static_cast<float>(h));
    const size_t len = static_cast<size_t>(w) + L + 2;
    int32_t* block = work.lines.data();
    std::memset(block, 0, sizeof(int32_t) * (4 * len + w));
    const int origin = positive ? 0 : L + 1;
    int32_t* H1 = block + origin;
    int32_t* H2 = H1 + len;
    int32_t* H3 = H2 + len;
    int32_t* C = H3 + len;
    int32_t* u = block + 4 * len;
    int32_t* rowbuf = work.rowbuf.data();
    int32_t* sbuf = work.sbuf.data();
    const size_t W = static_cast<size_t>(w);
    const vec b1 = V::set1(q.b1), b2 = V::set1(q.b2), b3 = V::set1(q.b3);

    for (int c = 0; c < w; ++c) {
        u[c] = mul_round(q.P, mul_round(q.B, img[(h - 1) * W + c]));
        H1[c] = H2[c] = H3[c] = img[c];
    }
    auto rotate = [&]() {
        int32_t* tmp = H3;
        H3 = H2;
        H2 = H1;
        H1 = C;
        C = tmp;
    };
    auto extend = [&](int from, int step, int d) {
        for (int32_t* H : {H1, H2, H3}) {
            for (int e = 1; e <= d; ++e)
                H[from + step * e] = H[from];
        }
    };

    int prev = 0;
    for (int y = 1; y < h; ++y) {
        const iir::slant sl = iir::slant_at(y, t);
        const int ip = sl.ip;
        const int32_t w_f = sl.w_f, w_1 = sl.w_1;
        const int base = positive ? ip : -ip;
        const int d = ip - prev;
        if (d > 0) {
            if (positive) {
                extend(prev + w - 1, 1, d);
            } else {
                extend(-prev, -1, d);
            }
        }
        prev = ip;
        const int32_t wa = positive ? w_f : w_1, wb = positive ? w_1 : w_f;
        const int32_t A = mul_round(wa, q.B), D = mul_round(wb, q.B);
        int32_t* row = img + y * W;
        rowbuf[0] = row[0];  // in[-1] stands for in[0]
        std::memcpy(rowbuf + 1, row, sizeof(int32_t) * w);
        sbuf[0] = iir::step(q, mul_round(q.B, row[0]), H1[base], H2[base], H3[base]);
        const vec vA = V::set1(A), vD = V::set1(D);
        int c = 0;
        for (; c + n <= w; c += n) {
            const int i = base + c;
            const vec s = V::add(
                V::add(V::add(V::vmr(vA, V::ld(rowbuf + c)), V::vmr(vD, V::ld(rowbuf + c + 1))),
                       V::add(V::vmr(b1, V::ld(H1 + i)), V::vmr(b2, V::ld(H2 + i)))),
                V::vmr(b3, V::ld(H3 + i)));
            V::st(C + i, s);
            V::st(sbuf + c + 1, s);
        }
        for (; c < w; ++c) {
            const int i = base + c;
            const int32_t s = iir::step(
                q, sadd(mul_round(A, rowbuf[c]), mul_round(D, rowbuf[c + 1])), H1[i], H2[i], H3[i]);
            C[i] = s;
            sbuf[c + 1] = s;
        }
        const vec vwa = V::set1(wa), vwb = V::set1(wb);
        c = 0;
        for (; c + n <= w; c += n) {
            V::st(row + c, V::add(V::vmr(vwa, V::ld(sbuf + c + 1)), V::vmr(vwb, V::ld(sbuf + c))));
        }
        for (; c < w; ++c)
            row[c] = sadd(mul_round(wa, sbuf[c + 1]), mul_round(wb, sbuf[c]));
        rotate();
    }

    {
        const int ip = iir::slant_at(h - 1, t).ip;
        const int base = positive ? ip : -ip;
        int32_t* row = img + (h - 1) * W;
        for (int c = w - 1; c >= 0; --c) {
            const int i = base + c;
            int32_t z0, z1, z2;
            iir::line_end(q, H1[i], H2[i], H3[i], u[c], z0, z1, z2);
            H1[i] = z0;
            row[c] = z0;
            H2[i] = z1;
            H3[i] = z2;
        }
        prev = ip;
    }

    for (int y = h - 2; y >= 0; --y) {
        const iir::slant sl = iir::slant_at(y, t);
        const int ip = sl.ip;
        const int32_t w_f = sl.w_f, w_1 = sl.w_1;
        const int base = positive ? ip : -ip;
        const int d = prev - ip;
        if (d > 0) {
            if (positive) {
                extend(prev, -1, d);
            } else {
                extend(-prev + w - 1, 1, d);
            }
        }
        prev = ip;
        const int32_t Ba = mul_round(q.B, w_f), Bb = mul_round(q.B, w_1);
        const int32_t gn = positive ? Bb : Ba, gc = positive ? Ba : Bb;
        const int32_t wn = positive ? w_f : w_1, wc = positive ? w_1 : w_f;
        int32_t* row = img + y * W;
        std::memcpy(rowbuf, row, sizeof(int32_t) * w);
        rowbuf[w] = row[w - 1];  // in[w] stands for in[w - 1]
        const int e = base + w - 1;
        sbuf[w] = iir::step(q, mul_round(q.B, row[w - 1]), H1[e], H2[e], H3[e]);
        const vec vgn = V::set1(gn), vgc = V::set1(gc);
        int c = 0;
        for (; c + n <= w; c += n) {
            const int i = base + c;
            const vec s = V::add(
                V::add(V::add(V::vmr(b1, V::ld(H1 + i)), V::vmr(b2, V::ld(H2 + i))),
                       V::add(V::vmr(b3, V::ld(H3 + i)), V::vmr(vgn, V::ld(rowbuf + c + 1)))),
                V::vmr(vgc, V::ld(rowbuf + c)));
            V::st(C + i, s);
            V::st(sbuf + c, s);
        }
        for (; c < w; ++c) {
            const int i = base + c;
            const int32_t s =
                iir::step(q, sadd(mul_round(gn, rowbuf[c + 1]), mul_round(gc, rowbuf[c])), H1[i],
                          H2[i], H3[i]);
            C[i] = s;
            sbuf[c] = s;
        }
        const vec vwc = V::set1(wc), vwn = V::set1(wn);
        c = 0;
        for (; c + n <= w; c += n) {
            V::st(row + c, V::add(V::vmr(vwc, V::ld(sbuf + c)), V::vmr(vwn, V::ld(sbuf + c + 1))));
        }
        for (; c < w; ++c)
            row[c] = sadd(mul_round(wc, sbuf[c]), mul_round(wn, sbuf[c + 1]));
        rotate();
    }
}

// One central difference across the line, in place.
template <class V>
void derivative_pass(int32_t* img, int w, int h, int k, work_areas& work) {
    using vec = typename V::vec;
    constexpr int n = V::width;
    const int32_t sp = SIN_P[k], cp = COS_P[k];
    const vec vsp = V::set1(sp), vcp = V::set1(cp);
    int32_t* above = work.above.data();
    int32_t* here = work.here.data();
    const size_t W = static_cast<size_t>(w);
    std::memcpy(above, img, sizeof(int32_t) * w);
    for (int y = 0; y < h; ++y) {
        int32_t* row = img + y * W;
        std::memcpy(here, row, sizeof(int32_t) * w);
        const int32_t* below = y + 1 < h ? row + W : here;
        auto one = [&](int x) {
            const int32_t left = here[x > 0 ? x - 1 : 0];
            const int32_t right = here[x + 1 < w ? x + 1 : w - 1];
            row[x] =
                sadd(mul_round(sp, ssub(above[x], below[x])), mul_round(cp, ssub(right, left)));
        };
        one(0);
        int x = 1;
        for (; x + n <= w - 1; x += n) {
            V::st(row + x, V::add(V::vmr(vsp, V::sub(V::ld(above + x), V::ld(below + x))),
                                  V::vmr(vcp, V::sub(V::ld(here + x + 1), V::ld(here + x - 1)))));
        }
        for (; x < w; ++x)
            one(x);
        int32_t* tmp = above;
        above = here;
        here = tmp;
    }
}

// anigauss_six through the lane operations V.
template <class V>
void six(const int* src, int* dst, int sizex, int sizey, int orderv, int orderu) {
    if (src == nullptr || dst == nullptr || sizex < 1 || sizey < 1)
        return;
    const int w = sizex, h = sizey;
    const int orders = (orderv > 0 ? orderv : 0) + (orderu > 0 ? orderu : 0);
    work_areas work(w, h);
    const size_t plane = static_cast<size_t>(w) * h;
    int32_t* T = work.transposed.data();
    int32_t* S = work.scratch.data();
    transpose<V>(src, T, w, h);  // T is h wide and w high
    for (int k = 0; k < 6; ++k) {
        int32_t* out = dst + k * plane;
        std::memcpy(S, T, sizeof(int32_t) * plane);
        column_pass<V>(S, h, w, coef_row(2 * k));  // the row filter, on the columns of T
        transpose<V>(S, out, h, w);
        if (k == 0) {
            column_pass<V>(out, w, h, coef_row(1));
        } else {
            tline_pass<V>(out, w, h, k, work);
        }
        for (int i = 0; i < orders; ++i)
            derivative_pass<V>(out, w, h, k, work);
    }
}

}  // namespace lanes
}  // namespace
}  // namespace palm_share

#endif  // PALM_EXTRACTION_ANIGAUSS_LANES_H_
