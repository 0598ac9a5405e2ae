// The pieces of one recursive filter line shared by the reference filters and
// their wide-register form: a row of the coefficient tables, one step of the
// recursion, the end-of-line condition and the position of a slanted line.
#ifndef PALM_EXTRACTION_ANIGAUSS_LINE_H_
#define PALM_EXTRACTION_ANIGAUSS_LINE_H_

#include <cstdint>

#include "palm/extraction/anigauss_coef.h"
#include "palm/extraction/fixed_point.h"

namespace palm_share {
namespace iir {

// One row of the coefficient tables.
struct line_coef {
    int32_t b1, b2, b3, B, P;
    const int* M;
};

inline line_coef coef_row(int row) {
    const int* c = g_piFilterCoef + 7 * row;
    line_coef q = {c[2], c[1], c[0], c[3], g_piBCoef[row], g_piMCoef + 9 * row};
    return q;
}

// One step of the recursion: input term plus the three history terms.
inline int32_t step(const line_coef& q, int32_t input_term, int32_t h1, int32_t h2, int32_t h3) {
    using fixed::mul_round;
    return fixed::sum(input_term, mul_round(q.b1, h1), mul_round(q.b2, h2), mul_round(q.b3, h3));
}

// End of a line: from the last three forward values y1 = y[n-1], y2, y3 and
// the steady state u, the backward values z[n-1], z[n], z[n+1].
inline void line_end(const line_coef& q, int32_t y1, int32_t y2, int32_t y3, int32_t u, int32_t& z0,
                     int32_t& z1, int32_t& z2) {
    using fixed::mul_round;
    using fixed::sum;
    const int32_t d0 = fixed::sub(y1, u), d1 = fixed::sub(y2, u), d2 = fixed::sub(y3, u);
    const int32_t v = mul_round(q.P, u);
    const int* M = q.M;
    z0 = mul_round(q.B, sum(mul_round(M[0], d0), mul_round(M[1], d1), mul_round(M[2], d2), v));
    z1 = mul_round(q.B, sum(mul_round(M[3], d0), mul_round(M[4], d1), mul_round(M[5], d2), v));
    z2 = mul_round(q.B, sum(mul_round(M[6], d0), mul_round(M[7], d1), mul_round(M[8], d2), v));
}

// Steady state of a line that ends in x: the forward recursion run on for
// ever on a constant x.
inline int32_t steady(const line_coef& q, int32_t x) {
    return fixed::mul_round(q.P, fixed::mul_round(q.B, x));
}

// Position of the slanted line in row y: whole offset and the two
// interpolation weights, each truncated on its own in single precision.
struct slant {
    int ip;
    int32_t w_f;
    int32_t w_1;
};

inline slant slant_at(int y, float t) {
    const float pos = static_cast<float>(y) * t;
    const int ip = static_cast<int>(pos);
    const float f = pos - static_cast<float>(ip);
    slant s = {ip, static_cast<int32_t>(f * 4096.0f), static_cast<int32_t>((1.0f - f) * 4096.0f)};
    return s;
}

}  // namespace iir
}  // namespace palm_share

#endif  // PALM_EXTRACTION_ANIGAUSS_LINE_H_
