// AVX2 form of the six oriented filters. Independent lines run side by side
// in the eight lanes of a register: the row filter as a column filter on the
// transposed image, the vertical and slanted passes across the columns of a
// row, the differences likewise. Every element sees the same wrapping
// products, roundings and sums as in anigauss.
//
// Only this file is compiled for AVX2, and only functions of internal
// linkage and no library template are defined in that part, so that no
// AVX2 code can reach a processor without it.
#include "palm/cpu_arch.h"
#if PALM_ARCH_X86

#include <immintrin.h>

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

// Raw views of the work areas: the AVX2 part touches no library template.
struct work_ptrs {
    int32_t *transposed, *scratch, *lines, *rowbuf, *sbuf, *above, *here;
};

}  // namespace

#pragma GCC push_options
#pragma GCC target("avx2")

namespace {

using fixed::mul_round;
using iir::coef_row;
using iir::line_coef;

inline __m256i vmr(__m256i a, __m256i b) {
    const __m256i p = _mm256_mullo_epi32(a, b);
    return _mm256_add_epi32(_mm256_srai_epi32(p, 12),
                            _mm256_and_si256(_mm256_srai_epi32(p, 11), _mm256_set1_epi32(1)));
}
inline __m256i ld(const int32_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
inline void st(int32_t* p, __m256i v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}
inline __m256i add(__m256i a, __m256i b) {
    return _mm256_add_epi32(a, b);
}
inline __m256i sub(__m256i a, __m256i b) {
    return _mm256_sub_epi32(a, b);
}
inline __m256i set1(int32_t v) {
    return _mm256_set1_epi32(v);
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
    for (; y0 + 8 <= h; y0 += 8) {
        int x0 = 0;
        for (; x0 + 8 <= w; x0 += 8) {
            const int32_t* src = in + static_cast<size_t>(y0) * w + x0;
            __m256i r[8], t[8], s[8];
            for (int i = 0; i < 8; ++i)
                r[i] = ld(src + static_cast<size_t>(i) * w);
            for (int i = 0; i < 8; i += 2) {
                t[i] = _mm256_unpacklo_epi32(r[i], r[i + 1]);
                t[i + 1] = _mm256_unpackhi_epi32(r[i], r[i + 1]);
            }
            for (int g = 0; g < 8; g += 4) {
                s[g] = _mm256_unpacklo_epi64(t[g], t[g + 2]);
                s[g + 1] = _mm256_unpackhi_epi64(t[g], t[g + 2]);
                s[g + 2] = _mm256_unpacklo_epi64(t[g + 1], t[g + 3]);
                s[g + 3] = _mm256_unpackhi_epi64(t[g + 1], t[g + 3]);
            }
            int32_t* dst = out + static_cast<size_t>(x0) * h + y0;
            for (int i = 0; i < 4; ++i) {
                st(dst + static_cast<size_t>(i) * h,
                   _mm256_permute2x128_si256(s[i], s[i + 4], 0x20));
                st(dst + static_cast<size_t>(i + 4) * h,
                   _mm256_permute2x128_si256(s[i], s[i + 4], 0x31));
            }
        }
        for (int x = x0; x < w; ++x) {
            for (int y = y0; y < y0 + 8; ++y)
                out[static_cast<size_t>(x) * h + y] = in[static_cast<size_t>(y) * w + x];
        }
    }
    for (int y = y0; y < h; ++y) {
        for (int x = 0; x < w; ++x)
            out[static_cast<size_t>(x) * h + y] = in[static_cast<size_t>(y) * w + x];
    }
}

// End of a line for eight lanes.
inline void vend(const line_coef& q, __m256i y1, __m256i y2, __m256i y3, __m256i u, __m256i& z0,
                 __m256i& z1, __m256i& z2) {
    const __m256i d0 = sub(y1, u), d1 = sub(y2, u), d2 = sub(y3, u);
    const __m256i v = vmr(set1(q.P), u);
    const __m256i B = set1(q.B);
    const int* M = q.M;
    z0 = vmr(B, add(add(vmr(set1(M[0]), d0), vmr(set1(M[1]), d1)), add(vmr(set1(M[2]), d2), v)));
    z1 = vmr(B, add(add(vmr(set1(M[3]), d0), vmr(set1(M[4]), d1)), add(vmr(set1(M[5]), d2), v)));
    z2 = vmr(B, add(add(vmr(set1(M[6]), d0), vmr(set1(M[7]), d1)), add(vmr(set1(M[8]), d2), v)));
}

// The recursive line down every column of img (w wide, h high), in place.
// Sixteen columns at a time keep their history in registers.
void column_pass(int32_t* img, int w, int h, const line_coef& q) {
    const __m256i B = set1(q.B), b1 = set1(q.b1), b2 = set1(q.b2), b3 = set1(q.b3), P = set1(q.P);
    const size_t W = static_cast<size_t>(w);
    int c = 0;
    for (; c + 16 <= w; c += 16) {
        __m256i h1[2], h2[2], h3[2], u[2];
        for (int l = 0; l < 2; ++l) {
            h1[l] = h2[l] = h3[l] = ld(img + c + 8 * l);
            u[l] = vmr(P, vmr(B, ld(img + (h - 1) * W + c + 8 * l)));
        }
        // Runs the recursion over rows first, first + step, ... up to last.
        auto recurse = [&](int first, int last, int step) {
            for (int y = first; y != last + step; y += step) {
                int32_t* row = img + y * W + c;
                for (int l = 0; l < 2; ++l) {
                    const __m256i v = add(add(vmr(B, ld(row + 8 * l)), vmr(b1, h1[l])),
                                          add(vmr(b2, h2[l]), vmr(b3, h3[l])));
                    st(row + 8 * l, v);
                    h3[l] = h2[l];
                    h2[l] = h1[l];
                    h1[l] = v;
                }
            }
        };
        recurse(0, h - 1, 1);
        for (int l = 0; l < 2; ++l) {
            __m256i z0, z1, z2;
            vend(q, h1[l], h2[l], h3[l], u[l], z0, z1, z2);
            st(img + (h - 1) * W + c + 8 * l, z0);
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
    const __m256i b1 = set1(q.b1), b2 = set1(q.b2), b3 = set1(q.b3);

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
        const __m256i vA = set1(A), vD = set1(D);
        int c = 0;
        for (; c + 8 <= w; c += 8) {
            const int i = base + c;
            const __m256i s = add(add(add(vmr(vA, ld(rowbuf + c)), vmr(vD, ld(rowbuf + c + 1))),
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
        const __m256i vwa = set1(wa), vwb = set1(wb);
        c = 0;
        for (; c + 8 <= w; c += 8) {
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
        const __m256i vgn = set1(gn), vgc = set1(gc);
        int c = 0;
        for (; c + 8 <= w; c += 8) {
            const int i = base + c;
            const __m256i s = add(add(add(vmr(b1, ld(H1 + i)), vmr(b2, ld(H2 + i))),
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
        const __m256i vwc = set1(wc), vwn = set1(wn);
        c = 0;
        for (; c + 8 <= w; c += 8) {
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
    const __m256i vsp = set1(sp), vcp = set1(cp);
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
        for (; x + 8 <= w - 1; x += 8) {
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

void six_avx2(const int32_t* src, int32_t* dst, int w, int h, int orders, work_ptrs& work) {
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

#pragma GCC pop_options

bool anigauss_six_avx2(const int* src, int* dst, int sizex, int sizey, int orderv, int orderu) {
    if (!__builtin_cpu_supports("avx2"))
        return false;
    if (src == nullptr || dst == nullptr || sizex < 1 || sizey < 1)
        return true;
    work_areas work(sizex, sizey);
    work_ptrs ptrs = {work.transposed.data(), work.scratch.data(), work.lines.data(),
                      work.rowbuf.data(),     work.sbuf.data(),    work.above.data(),
                      work.here.data()};
    const int orders = (orderv > 0 ? orderv : 0) + (orderu > 0 ? orderu : 0);
    six_avx2(src, dst, sizex, sizey, orders, ptrs);
    return true;
}

}  // namespace palm_share

#endif  // PALM_ARCH_X86
