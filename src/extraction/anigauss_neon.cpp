// NEON form of the six oriented filters, for aarch64. Independent lines
// run side by side in the four lanes of a register: the row filter as a
// column filter on the transposed image, the vertical and slanted passes
// across the columns of a row, the differences likewise. Every element sees
// the same wrapping products, roundings and sums as in anigauss; the layout
// follows the AVX2 form with half as many lanes.
#include "palm/cpu_arch.h"
#if PALM_ARCH_AARCH64

#include <arm_neon.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "palm/extraction/anigauss.h"
#include "palm/extraction/anigauss_fast.h"
#include "palm/extraction/anigauss_line.h"
#include "palm/extraction/fixed_point.h"

namespace palm_share {

namespace {

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

// Raw views of the work areas.
struct work_ptrs {
    int32_t *transposed, *scratch, *lines, *rowbuf, *sbuf, *above, *here;
};

}  // namespace

namespace {

using fixed::mul_round;
using iir::coef_row;
using iir::line_coef;

// Wrapping 32-bit product, rounded to nearest with halves upward.
inline int32x4_t vmr(int32x4_t a, int32x4_t b) {
    const int32x4_t p = vmulq_s32(a, b);
    return vaddq_s32(vshrq_n_s32(p, 12), vandq_s32(vshrq_n_s32(p, 11), vdupq_n_s32(1)));
}
inline int32x4_t ld(const int32_t* p) {
    return vld1q_s32(p);
}
inline void st(int32_t* p, int32x4_t v) {
    vst1q_s32(p, v);
}
inline int32x4_t add(int32x4_t a, int32x4_t b) {
    return vaddq_s32(a, b);
}
inline int32x4_t sub(int32x4_t a, int32x4_t b) {
    return vsubq_s32(a, b);
}
inline int32x4_t set1(int32_t v) {
    return vdupq_n_s32(v);
}

inline int32_t sadd(int32_t a, int32_t b) {
    return fixed::add(a, b);
}
inline int32_t ssub(int32_t a, int32_t b) {
    return fixed::sub(a, b);
}

// out (h x w) = transpose of in (w wide, h high): out[x * h + y] = in[y * w + x].
void transpose(const int32_t* in, int32_t* out, int w, int h) {
    int y0 = 0;
    for (; y0 + 4 <= h; y0 += 4) {
        int x0 = 0;
        for (; x0 + 4 <= w; x0 += 4) {
            const int32_t* src = in + static_cast<size_t>(y0) * w + x0;
            const int32x4x2_t t01 = vtrnq_s32(ld(src), ld(src + w));
            const int32x4x2_t t23 = vtrnq_s32(ld(src + 2 * static_cast<size_t>(w)),
                                              ld(src + 3 * static_cast<size_t>(w)));
            int32_t* dst = out + static_cast<size_t>(x0) * h + y0;
            const size_t H = static_cast<size_t>(h);
            st(dst, vcombine_s32(vget_low_s32(t01.val[0]), vget_low_s32(t23.val[0])));
            st(dst + H, vcombine_s32(vget_low_s32(t01.val[1]), vget_low_s32(t23.val[1])));
            st(dst + 2 * H, vcombine_s32(vget_high_s32(t01.val[0]), vget_high_s32(t23.val[0])));
            st(dst + 3 * H, vcombine_s32(vget_high_s32(t01.val[1]), vget_high_s32(t23.val[1])));
        }
        for (int x = x0; x < w; ++x) {
            for (int y = y0; y < y0 + 4; ++y)
                out[static_cast<size_t>(x) * h + y] = in[static_cast<size_t>(y) * w + x];
        }
    }
    for (int y = y0; y < h; ++y) {
        for (int x = 0; x < w; ++x)
            out[static_cast<size_t>(x) * h + y] = in[static_cast<size_t>(y) * w + x];
    }
}

// End of a line for four lanes.
inline void vend(const line_coef& q, int32x4_t y1, int32x4_t y2, int32x4_t y3, int32x4_t u,
                 int32x4_t& z0, int32x4_t& z1, int32x4_t& z2) {
    const int32x4_t d0 = sub(y1, u), d1 = sub(y2, u), d2 = sub(y3, u);
    const int32x4_t v = vmr(set1(q.P), u);
    const int32x4_t B = set1(q.B);
    const int* M = q.M;
    z0 = vmr(B, add(add(vmr(set1(M[0]), d0), vmr(set1(M[1]), d1)), add(vmr(set1(M[2]), d2), v)));
    z1 = vmr(B, add(add(vmr(set1(M[3]), d0), vmr(set1(M[4]), d1)), add(vmr(set1(M[5]), d2), v)));
    z2 = vmr(B, add(add(vmr(set1(M[6]), d0), vmr(set1(M[7]), d1)), add(vmr(set1(M[8]), d2), v)));
}

// The recursive line down every column of img (w wide, h high), in place.
// Sixteen columns at a time keep their history in registers.
void column_pass(int32_t* img, int w, int h, const line_coef& q) {
    const int32x4_t B = set1(q.B), b1 = set1(q.b1), b2 = set1(q.b2), b3 = set1(q.b3), P = set1(q.P);
    const size_t W = static_cast<size_t>(w);
    int c = 0;
    for (; c + 16 <= w; c += 16) {
        int32x4_t h1[4], h2[4], h3[4], u[4];
        for (int l = 0; l < 4; ++l) {
            h1[l] = h2[l] = h3[l] = ld(img + c + 4 * l);
            u[l] = vmr(P, vmr(B, ld(img + (h - 1) * W + c + 4 * l)));
        }
        // Runs the recursion over rows first, first + step, ... up to last.
        auto recurse = [&](int first, int last, int step) {
            for (int y = first; y != last + step; y += step) {
                int32_t* row = img + y * W + c;
                for (int l = 0; l < 4; ++l) {
                    const int32x4_t v = add(add(vmr(B, ld(row + 4 * l)), vmr(b1, h1[l])),
                                            add(vmr(b2, h2[l]), vmr(b3, h3[l])));
                    st(row + 4 * l, v);
                    h3[l] = h2[l];
                    h2[l] = h1[l];
                    h1[l] = v;
                }
            }
        };
        recurse(0, h - 1, 1);
        for (int l = 0; l < 4; ++l) {
            int32x4_t z0, z1, z2;
            vend(q, h1[l], h2[l], h3[l], u[l], z0, z1, z2);
            st(img + (h - 1) * W + c + 4 * l, z0);
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
void tline_pass(int32_t* img, int w, int h, int k, work_ptrs& work) {
    const line_coef q = coef_row(2 * k + 1);
    const bool positive = TAN_P[k] > 0.0f;
    const float t = std::fabs(TAN_P[k]);
    const int L = static_cast<int>(t * static_cast<float>(h));
    const size_t len = static_cast<size_t>(w) + L + 2;
    int32_t* block = work.lines;
    std::memset(block, 0, sizeof(int32_t) * (4 * len + w));
    const int origin = positive ? 0 : L + 1;
    int32_t* H1 = block + origin;
    int32_t* H2 = H1 + len;
    int32_t* H3 = H2 + len;
    int32_t* C = H3 + len;
    int32_t* u = block + 4 * len;
    int32_t* rowbuf = work.rowbuf;
    int32_t* sbuf = work.sbuf;
    const size_t W = static_cast<size_t>(w);
    const int32x4_t b1 = set1(q.b1), b2 = set1(q.b2), b3 = set1(q.b3);

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
        const int32x4_t vA = set1(A), vD = set1(D);
        int c = 0;
        for (; c + 4 <= w; c += 4) {
            const int i = base + c;
            const int32x4_t s = add(add(add(vmr(vA, ld(rowbuf + c)), vmr(vD, ld(rowbuf + c + 1))),
                                        add(vmr(b1, ld(H1 + i)), vmr(b2, ld(H2 + i)))),
                                    vmr(b3, ld(H3 + i)));
            st(C + i, s);
            st(sbuf + c + 1, s);
        }
        for (; c < w; ++c) {
            const int i = base + c;
            const int32_t s = iir::step(
                q, sadd(mul_round(A, rowbuf[c]), mul_round(D, rowbuf[c + 1])), H1[i], H2[i], H3[i]);
            C[i] = s;
            sbuf[c + 1] = s;
        }
        const int32x4_t vwa = set1(wa), vwb = set1(wb);
        c = 0;
        for (; c + 4 <= w; c += 4) {
            st(row + c, add(vmr(vwa, ld(sbuf + c + 1)), vmr(vwb, ld(sbuf + c))));
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
        const int32x4_t vgn = set1(gn), vgc = set1(gc);
        int c = 0;
        for (; c + 4 <= w; c += 4) {
            const int i = base + c;
            const int32x4_t s = add(add(add(vmr(b1, ld(H1 + i)), vmr(b2, ld(H2 + i))),
                                        add(vmr(b3, ld(H3 + i)), vmr(vgn, ld(rowbuf + c + 1)))),
                                    vmr(vgc, ld(rowbuf + c)));
            st(C + i, s);
            st(sbuf + c, s);
        }
        for (; c < w; ++c) {
            const int i = base + c;
            const int32_t s =
                iir::step(q, sadd(mul_round(gn, rowbuf[c + 1]), mul_round(gc, rowbuf[c])), H1[i],
                          H2[i], H3[i]);
            C[i] = s;
            sbuf[c] = s;
        }
        const int32x4_t vwc = set1(wc), vwn = set1(wn);
        c = 0;
        for (; c + 4 <= w; c += 4) {
            st(row + c, add(vmr(vwc, ld(sbuf + c)), vmr(vwn, ld(sbuf + c + 1))));
        }
        for (; c < w; ++c)
            row[c] = sadd(mul_round(wc, sbuf[c]), mul_round(wn, sbuf[c + 1]));
        rotate();
    }
}

// One central difference across the line, in place.
void derivative_pass(int32_t* img, int w, int h, int k, work_ptrs& work) {
    const int32_t sp = SIN_P[k], cp = COS_P[k];
    const int32x4_t vsp = set1(sp), vcp = set1(cp);
    int32_t* above = work.above;
    int32_t* here = work.here;
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
        for (; x + 4 <= w - 1; x += 4) {
            st(row + x, add(vmr(vsp, sub(ld(above + x), ld(below + x))),
                            vmr(vcp, sub(ld(here + x + 1), ld(here + x - 1)))));
        }
        for (; x < w; ++x)
            one(x);
        int32_t* tmp = above;
        above = here;
        here = tmp;
    }
}

void six_neon(const int32_t* src, int32_t* dst, int w, int h, int orders, work_ptrs& work) {
    const size_t plane = static_cast<size_t>(w) * h;
    int32_t* T = work.transposed;
    int32_t* S = work.scratch;
    transpose(src, T, w, h);  // T is h wide and w high
    for (int k = 0; k < 6; ++k) {
        int32_t* out = dst + k * plane;
        std::memcpy(S, T, sizeof(int32_t) * plane);
        column_pass(S, h, w, coef_row(2 * k));  // the row filter, on the columns of T
        transpose(S, out, h, w);
        if (k == 0) {
            column_pass(out, w, h, coef_row(1));
        } else {
            tline_pass(out, w, h, k, work);
        }
        for (int i = 0; i < orders; ++i)
            derivative_pass(out, w, h, k, work);
    }
}

}  // namespace

void anigauss_six_neon(const int* src, int* dst, int sizex, int sizey, int orderv, int orderu) {
    if (src == nullptr || dst == nullptr || sizex < 1 || sizey < 1)
        return;
    work_areas work(sizex, sizey);
    work_ptrs ptrs = {work.transposed.data(), work.scratch.data(), work.lines.data(),
                      work.rowbuf.data(),     work.sbuf.data(),    work.above.data(),
                      work.here.data()};
    const int orders = (orderv > 0 ? orderv : 0) + (orderu > 0 ? orderu : 0);
    six_neon(src, dst, sizex, sizey, orders, ptrs);
}

}  // namespace palm_share

#endif  // PALM_ARCH_AARCH64
