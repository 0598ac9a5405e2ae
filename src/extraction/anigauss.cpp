#include "palm/extraction/anigauss.h"

#include <cmath>
#include <cstring>
#include <vector>

#include "palm/extraction/anigauss_line.h"

namespace palm_share {

using fixed::mul_round;
using fixed::sub;
using fixed::sum;
using iir::coef_row;
using iir::line_coef;
using iir::line_end;
using iir::slant;
using iir::slant_at;
using iir::steady;
using iir::step;

const float TAN_P[6] = {0x0.0p+0f,         // 0x00000000
                        0x1.10dd62p-1f,    // 0x3f086eb1
                        0x1.51d4fap-2f,    // 0x3ea8ea7d
                        -0x1.ad7f2ap-24f,  // 0xb3d6bf95
                        -0x1.51d4fap-2f,   // 0xbea8ea7d
                        -0x1.10dd62p-1f};  // 0xbf086eb1
const int SIN_P[6] = {-2048, -1773, -1024, 0, 1024, 1773};
const int COS_P[6] = {0, 1024, 1773, 2048, 1773, 1024};

namespace {

bool valid_args(const int* src, const int* dst, int sizex, int sizey, int k) {
    return src != nullptr && dst != nullptr && sizex >= 1 && sizey >= 1 && k >= 0 && k <= 5;
}

// One recursive line: x[0..n-1] into z[0..n-1]; z may be x.
void filter_line(const line_coef& q, const int32_t* x, int32_t* z, int n) {
    const int32_t u = steady(q, x[n - 1]);
    int32_t h1 = x[0], h2 = x[0], h3 = x[0];
    for (int i = 0; i < n; ++i) {
        const int32_t y = step(q, mul_round(q.B, x[i]), h1, h2, h3);
        z[i] = y;  // the forward values wait here for the backward pass
        h3 = h2;
        h2 = h1;
        h1 = y;
    }
    int32_t z0, z1, z2;
    line_end(q, h1, h2, h3, u, z0, z1, z2);
    z[n - 1] = z0;
    h1 = z0;
    h2 = z1;
    h3 = z2;
    for (int i = n - 2; i >= 0; --i) {
        const int32_t v = step(q, mul_round(q.B, z[i]), h1, h2, h3);
        z[i] = v;
        h3 = h2;
        h2 = h1;
        h1 = v;
    }
}

void copy_if_distinct(const int* src, int* dst, int sizex, int sizey) {
    if (src != dst)
        std::memmove(dst, src, sizeof(int) * sizex * sizey);
}

}  // namespace

void f_iir_xline_filter(int* src, int* dst, int sizex, int sizey, int k) {
    if (!valid_args(src, dst, sizex, sizey, k))
        return;
    const line_coef q = coef_row(2 * k);
    for (int y = 0; y < sizey; ++y) {
        filter_line(q, src + y * sizex, dst + y * sizex, sizex);
    }
}

void f_iir_yline_filter(int* src, int* dst, int sizex, int sizey, int k) {
    if (!valid_args(src, dst, sizex, sizey, k))
        return;
    copy_if_distinct(src, dst, sizex, sizey);
    const line_coef q = coef_row(2 * k + 1);
    // All columns advance together, row by row, through three history rows.
    std::vector<int32_t> block(4 * static_cast<size_t>(sizex));
    int32_t* h1 = block.data();
    int32_t* h2 = h1 + sizex;
    int32_t* h3 = h2 + sizex;
    int32_t* u = h3 + sizex;
    int32_t* img = dst;
    const int32_t* last = img + static_cast<size_t>(sizey - 1) * sizex;
    for (int c = 0; c < sizex; ++c) {
        u[c] = steady(q, last[c]);
        h1[c] = h2[c] = h3[c] = img[c];
    }
    // Runs the recursion over rows first, first + dir, ... up to last.
    auto recurse = [&](int first, int last, int dir) {
        for (int y = first; y != last + dir; y += dir) {
            int32_t* row = img + static_cast<size_t>(y) * sizex;
            for (int c = 0; c < sizex; ++c) {
                const int32_t v = step(q, mul_round(q.B, row[c]), h1[c], h2[c], h3[c]);
                row[c] = v;
                h3[c] = v;  // the oldest history row becomes the newest
            }
            int32_t* t = h3;
            h3 = h2;
            h2 = h1;
            h1 = t;
        }
    };
    recurse(0, sizey - 1, 1);
    int32_t* lastw = img + static_cast<size_t>(sizey - 1) * sizex;
    for (int c = 0; c < sizex; ++c) {
        int32_t z0, z1, z2;
        line_end(q, h1[c], h2[c], h3[c], u[c], z0, z1, z2);
        lastw[c] = z0;
        h1[c] = z0;
        h2[c] = z1;
        h3[c] = z2;
    }
    if (sizey >= 2)
        recurse(sizey - 2, 0, -1);
}

void f_iir_tline_filter(int* src, int* dst, int sizex, int sizey, int k) {
    if (!valid_args(src, dst, sizex, sizey, k))
        return;
    copy_if_distinct(src, dst, sizex, sizey);
    const line_coef q = coef_row(2 * k + 1);
    const bool positive = TAN_P[k] > 0.0f;
    const float t = std::fabs(TAN_P[k]);
    const int L = static_cast<int>(t * static_cast<float>(sizey));

    // Lines are held in sheared coordinates: one slanted line is one index of
    // the history buffers, which therefore reach L + 1 elements beyond the
    // image on the side the lines drift to.
    const size_t len = static_cast<size_t>(sizex) + L + 2;
    std::vector<int32_t> block(4 * len + sizex);
    const int origin = positive ? 0 : L + 1;
    int32_t* H1 = block.data() + origin;
    int32_t* H2 = H1 + len;
    int32_t* H3 = H2 + len;
    int32_t* C = H3 + len;
    int32_t* u = block.data() + 4 * len;
    int32_t* img = dst;

    const int32_t* last = img + static_cast<size_t>(sizey - 1) * sizex;
    for (int c = 0; c < sizex; ++c) {
        u[c] = steady(q, last[c]);
        H1[c] = H2[c] = H3[c] = img[c];
    }
    auto rotate = [&]() {
        int32_t* tmp = H3;
        H3 = H2;
        H2 = H1;
        H1 = C;
        C = tmp;
    };
    // Replicates the outermost value of each history line over d new cells.
    auto extend_up = [&](int from, int d) {  // cells from+1 .. from+d take cell from
        for (int32_t* H : {H1, H2, H3}) {
            for (int e = 1; e <= d; ++e)
                H[from + e] = H[from];
        }
    };
    auto extend_down = [&](int from, int d) {  // cells from-1 .. from-d take cell from
        for (int32_t* H : {H1, H2, H3}) {
            for (int e = 1; e <= d; ++e)
                H[from - e] = H[from];
        }
    };

    // Forward. Row 0 stays as it is.
    int prev = 0;
    for (int y = 1; y < sizey; ++y) {
        const slant sl = slant_at(y, t);
        const int base = positive ? sl.ip : -sl.ip;
        const int d = sl.ip - prev;
        if (d > 0) {
            if (positive) {
                extend_up(prev + sizex - 1, d);
            } else {
                extend_down(-prev, d);
            }
        }
        prev = sl.ip;
        const int32_t wa = positive ? sl.w_f : sl.w_1;
        const int32_t wb = positive ? sl.w_1 : sl.w_f;
        const int32_t A = mul_round(wa, q.B), D = mul_round(wb, q.B);
        int32_t* row = img + static_cast<size_t>(y) * sizex;
        int32_t in_prev = row[0];
        int32_t s_prev = step(q, mul_round(q.B, row[0]), H1[base], H2[base], H3[base]);
        for (int c = 0; c < sizex; ++c) {
            const int32_t in_c = row[c];
            const int32_t s = step(q, fixed::add(mul_round(A, in_prev), mul_round(D, in_c)),
                                   H1[base + c], H2[base + c], H3[base + c]);
            C[base + c] = s;
            row[c] = fixed::add(mul_round(wa, s), mul_round(wb, s_prev));
            s_prev = s;
            in_prev = in_c;
        }
        rotate();
    }

    // End of the slanted lines, in the last row.
    {
        const slant sl = slant_at(sizey - 1, t);
        const int base = positive ? sl.ip : -sl.ip;
        int32_t* row = img + static_cast<size_t>(sizey - 1) * sizex;
        for (int c = sizex - 1; c >= 0; --c) {
            const int i = base + c;
            int32_t z0, z1, z2;
            line_end(q, H1[i], H2[i], H3[i], u[c], z0, z1, z2);
            H1[i] = z0;
            row[c] = z0;
            H2[i] = z1;
            H3[i] = z2;
        }
        prev = sl.ip;
    }

    // Backward, row 0 included.
    for (int y = sizey - 2; y >= 0; --y) {
        const slant sl = slant_at(y, t);
        const int base = positive ? sl.ip : -sl.ip;
        const int d = prev - sl.ip;
        if (d > 0) {
            if (positive) {
                extend_down(prev, d);
            } else {
                extend_up(-prev + sizex - 1, d);
            }
        }
        prev = sl.ip;
        const int32_t Ba = mul_round(q.B, sl.w_f), Bb = mul_round(q.B, sl.w_1);
        const int32_t gn = positive ? Bb : Ba, gc = positive ? Ba : Bb;
        const int32_t wn = positive ? sl.w_f : sl.w_1, wc = positive ? sl.w_1 : sl.w_f;
        int32_t* row = img + static_cast<size_t>(y) * sizex;
        const int e = base + sizex - 1;
        int32_t in_next = row[sizex - 1];
        int32_t s_next = step(q, mul_round(q.B, row[sizex - 1]), H1[e], H2[e], H3[e]);
        for (int c = sizex - 1; c >= 0; --c) {
            const int32_t in_c = row[c];
            const int32_t s = step(q, fixed::add(mul_round(gn, in_next), mul_round(gc, in_c)),
                                   H1[base + c], H2[base + c], H3[base + c]);
            C[base + c] = s;
            row[c] = fixed::add(mul_round(wc, s), mul_round(wn, s_next));
            s_next = s;
            in_next = in_c;
        }
        rotate();
    }
}

void f_iir_derivative_filter(int* src, int* dst, int sizex, int sizey, int k) {
    if (!valid_args(src, dst, sizex, sizey, k))
        return;
    copy_if_distinct(src, dst, sizex, sizey);
    const int32_t sp = SIN_P[k], cp = COS_P[k];
    // The rows above and at the current one, as they were before the call.
    std::vector<int32_t> block(2 * static_cast<size_t>(sizex));
    int32_t* above = block.data();
    int32_t* here = above + sizex;
    std::memcpy(above, dst, sizeof(int32_t) * sizex);  // row -1 clamps to row 0
    for (int y = 0; y < sizey; ++y) {
        int32_t* row = dst + static_cast<size_t>(y) * sizex;
        std::memcpy(here, row, sizeof(int32_t) * sizex);
        const int32_t* below = y + 1 < sizey ? row + sizex : here;
        for (int x = 0; x < sizex; ++x) {
            const int32_t left = here[x > 0 ? x - 1 : 0];
            const int32_t right = here[x + 1 < sizex ? x + 1 : sizex - 1];
            row[x] =
                fixed::add(mul_round(sp, sub(above[x], below[x])), mul_round(cp, sub(right, left)));
        }
        int32_t* t = above;
        above = here;
        here = t;
    }
}

void anigauss(int* src, int* dst, int sizex, int sizey, int k, int orderv, int orderu) {
    if (!valid_args(src, dst, sizex, sizey, k))
        return;
    f_iir_xline_filter(src, dst, sizex, sizey, k);
    if (k == 0) {
        f_iir_yline_filter(dst, dst, sizex, sizey, k);
    } else {
        f_iir_tline_filter(dst, dst, sizex, sizey, k);
    }
    for (int i = 0; i < orderv; ++i)
        f_iir_derivative_filter(dst, dst, sizex, sizey, k);
    for (int i = 0; i < orderu; ++i)
        f_iir_derivative_filter(dst, dst, sizex, sizey, k);
}

}  // namespace palm_share
