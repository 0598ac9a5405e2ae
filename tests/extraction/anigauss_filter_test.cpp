#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "palm/extraction/anigauss.h"
#include "palm/extraction/anigauss_coef.h"

namespace {

using namespace palm_share;
using image = std::vector<int>;

// ---------------------------------------------------------------------------
// A literal second reading of the filters, element by element, with the wrap
// formed through 64-bit products cut to their low 32 bits and sparse history
// lines. Slow; for small images only.

int32_t low32(int64_t v) {
    return static_cast<int32_t>(static_cast<uint32_t>(v & 0xffffffff));
}
int32_t R(int64_t a, int64_t b) {
    const int32_t p = low32(a * b);
    return (p >> 12) + ((p >> 11) & 1);
}
int32_t S(std::initializer_list<int32_t> terms) {
    int64_t s = 0;
    for (int32_t t : terms)
        s += t;
    return low32(s);
}

struct row_coef {
    int b1, b2, b3, B, P;
    const int* M;
};
row_coef coef(int row) {
    const int* c = g_piFilterCoef + 7 * row;
    return {c[2], c[1], c[0], c[3], g_piBCoef[row], g_piMCoef + 9 * row};
}

void ref_end(const row_coef& q, int32_t y1, int32_t y2, int32_t y3, int32_t u, int32_t out[3]) {
    const int32_t d0 = low32(int64_t(y1) - u), d1 = low32(int64_t(y2) - u),
                  d2 = low32(int64_t(y3) - u);
    const int32_t v = R(q.P, u);
    for (int j = 0; j < 3; ++j) {
        out[j] = R(q.B, S({R(q.M[3 * j], d0), R(q.M[3 * j + 1], d1), R(q.M[3 * j + 2], d2), v}));
    }
}

std::vector<int32_t> ref_line(const row_coef& q, const std::vector<int32_t>& x) {
    const int n = static_cast<int>(x.size());
    std::vector<int32_t> y(n + 3), z(n + 3);  // y[i] at i + 3, z[i] at i
    y[0] = y[1] = y[2] = x[0];
    for (int i = 0; i < n; ++i) {
        y[i + 3] = S({R(q.B, x[i]), R(q.b1, y[i + 2]), R(q.b2, y[i + 1]), R(q.b3, y[i])});
    }
    const int32_t u = R(q.P, R(q.B, x[n - 1]));
    int32_t e[3];
    ref_end(q, y[n + 2], y[n + 1], y[n], u, e);
    z[n - 1] = e[0];
    z[n] = e[1];
    z[n + 1] = e[2];
    for (int i = n - 2; i >= 0; --i) {
        z[i] = S({R(q.B, y[i + 3]), R(q.b1, z[i + 1]), R(q.b2, z[i + 2]), R(q.b3, z[i + 3])});
    }
    z.resize(n);
    return z;
}

void ref_xline(image& img, int w, int h, int k) {
    for (int y = 0; y < h; ++y) {
        std::vector<int32_t> line(img.begin() + y * w, img.begin() + (y + 1) * w);
        line = ref_line(coef(2 * k), line);
        std::copy(line.begin(), line.end(), img.begin() + y * w);
    }
}

void ref_yline(image& img, int w, int h, int k) {
    for (int x = 0; x < w; ++x) {
        std::vector<int32_t> line(h);
        for (int y = 0; y < h; ++y)
            line[y] = img[y * w + x];
        line = ref_line(coef(2 * k + 1), line);
        for (int y = 0; y < h; ++y)
            img[y * w + x] = line[y];
    }
}

void ref_tline(image& img, int w, int h, int k) {
    const row_coef q = coef(2 * k + 1);
    const bool positive = TAN_P[k] > 0.0f;
    const float t = std::fabs(TAN_P[k]);
    std::map<int, int32_t> H1, H2, H3, C;
    std::vector<int32_t> u(w);
    for (int c = 0; c < w; ++c) {
        u[c] = R(q.P, R(q.B, img[(h - 1) * w + c]));
        H1[c] = H2[c] = H3[c] = img[c];
    }
    auto weights = [&](int y, int& ip, int& wf, int& w1) {
        const float pos = static_cast<float>(y) * t;
        ip = static_cast<int>(pos);
        const float f = pos - static_cast<float>(ip);
        wf = static_cast<int>(f * 4096.0f);
        w1 = static_cast<int>((1.0f - f) * 4096.0f);
    };
    auto rotate = [&]() {
        std::map<int, int32_t> old3 = H3;
        H3 = H2;
        H2 = H1;
        H1 = C;
        C = old3;
    };
    int prev = 0;
    for (int y = 1; y < h; ++y) {
        int ip, wf, w1;
        weights(y, ip, wf, w1);
        const int base = positive ? ip : -ip;
        for (int d = 1; d <= ip - prev; ++d) {
            for (auto* H : {&H1, &H2, &H3}) {
                if (positive) {
                    (*H)[prev + w - 1 + d] = (*H)[prev + w - 1];
                } else {
                    (*H)[-prev - d] = (*H)[-prev];
                }
            }
        }
        prev = ip;
        const int wa = positive ? wf : w1, wb = positive ? w1 : wf;
        const int32_t A = R(wa, q.B), D = R(wb, q.B);
        std::vector<int32_t> in(img.begin() + y * w, img.begin() + (y + 1) * w);
        std::vector<int32_t> s(w + 1);  // s[c] at c + 1
        s[0] = S({R(q.B, in[0]), R(q.b1, H1[base]), R(q.b2, H2[base]), R(q.b3, H3[base])});
        for (int c = 0; c < w; ++c) {
            const int32_t left = c == 0 ? in[0] : in[c - 1];
            s[c + 1] = S({R(A, left), R(D, in[c]), R(q.b1, H1[base + c]), R(q.b2, H2[base + c]),
                          R(q.b3, H3[base + c])});
            C[base + c] = s[c + 1];
            img[y * w + c] = S({R(wa, s[c + 1]), R(wb, s[c])});
        }
        rotate();
    }
    {
        int ip, wf, w1;
        weights(h - 1, ip, wf, w1);
        const int base = positive ? ip : -ip;
        for (int c = w - 1; c >= 0; --c) {
            int32_t e[3];
            ref_end(q, H1[base + c], H2[base + c], H3[base + c], u[c], e);
            H1[base + c] = e[0];
            img[(h - 1) * w + c] = e[0];
            H2[base + c] = e[1];
            H3[base + c] = e[2];
        }
        prev = ip;
    }
    for (int y = h - 2; y >= 0; --y) {
        int ip, wf, w1;
        weights(y, ip, wf, w1);
        const int base = positive ? ip : -ip;
        for (int d = 1; d <= prev - ip; ++d) {
            for (auto* H : {&H1, &H2, &H3}) {
                if (positive) {
                    (*H)[prev - d] = (*H)[prev];
                } else {
                    (*H)[-prev + w - 1 + d] = (*H)[-prev + w - 1];
                }
            }
        }
        prev = ip;
        const int32_t Ba = R(q.B, wf), Bb = R(q.B, w1);
        const int32_t gn = positive ? Bb : Ba, gc = positive ? Ba : Bb;
        const int wn = positive ? wf : w1, wc = positive ? w1 : wf;
        std::vector<int32_t> in(img.begin() + y * w, img.begin() + (y + 1) * w);
        std::vector<int32_t> s(w + 1);
        const int e = base + w - 1;
        s[w] = S({R(q.B, in[w - 1]), R(q.b1, H1[e]), R(q.b2, H2[e]), R(q.b3, H3[e])});
        for (int c = w - 1; c >= 0; --c) {
            const int32_t right = c + 1 < w ? in[c + 1] : in[w - 1];
            s[c] = S({R(q.b1, H1[base + c]), R(q.b2, H2[base + c]), R(q.b3, H3[base + c]),
                      R(gn, right), R(gc, in[c])});
            C[base + c] = s[c];
            img[y * w + c] = S({R(wc, s[c]), R(wn, s[c + 1])});
        }
        rotate();
    }
}

void ref_derivative(image& img, int w, int h, int k) {
    const image in = img;
    auto at = [&](int x, int y) {
        x = x < 0 ? 0 : (x >= w ? w - 1 : x);
        y = y < 0 ? 0 : (y >= h ? h - 1 : y);
        return in[y * w + x];
    };
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            img[y * w + x] = S({R(SIN_P[k], low32(int64_t(at(x, y - 1)) - at(x, y + 1))),
                                R(COS_P[k], low32(int64_t(at(x + 1, y)) - at(x - 1, y)))});
        }
    }
}

image ref_anigauss(const image& src, int w, int h, int k, int orderv, int orderu) {
    image img = src;
    ref_xline(img, w, h, k);
    if (k == 0) {
        ref_yline(img, w, h, k);
    } else {
        ref_tline(img, w, h, k);
    }
    for (int i = 0; i < orderv + orderu; ++i)
        ref_derivative(img, w, h, k);
    return img;
}

// ---------------------------------------------------------------------------

image random_image(int w, int h, int amplitude, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> grey(-amplitude, amplitude);
    image img(w * h);
    for (int& v : img)
        v = grey(rng);
    return img;
}

image run(const image& src, int w, int h, int k, int orderv = 2, int orderu = 0) {
    image in = src, out(w * h, 12345);
    anigauss(in.data(), out.data(), w, h, k, orderv, orderu);
    EXPECT_EQ(in, src) << "the source is only read";
    return out;
}

TEST(Anigauss, MatchesElementwiseReadingOnRandomImages) {
    const int sizes[3][2] = {{23, 17}, {9, 31}, {40, 40}};
    for (int k = 0; k < 6; ++k) {
        for (const auto& s : sizes) {
            // Grey levels with 10 fractional bits, as the coder prepares them.
            image src = random_image(s[0], s[1], 128 * 1024, 7 * k + s[0]);
            EXPECT_EQ(run(src, s[0], s[1], k), ref_anigauss(src, s[0], s[1], k, 2, 0))
                << "k=" << k << " size " << s[0] << "x" << s[1];
        }
    }
}

TEST(Anigauss, MatchesElementwiseReadingOnFullRegion) {
    image src = random_image(128, 128, 128 * 1024, 99);
    for (int k : {1, 3})
        EXPECT_EQ(run(src, 128, 128, k), ref_anigauss(src, 128, 128, k, 2, 0));
}

TEST(Anigauss, TinyImagesRunAsLines) {
    for (int k = 0; k < 6; ++k) {
        image one = {5000};
        EXPECT_EQ(run(one, 1, 1, k), ref_anigauss(one, 1, 1, k, 2, 0));
        image row = random_image(7, 1, 100000, k);
        EXPECT_EQ(run(row, 7, 1, k), ref_anigauss(row, 7, 1, k, 2, 0));
        image col = random_image(1, 6, 100000, k + 10);
        EXPECT_EQ(run(col, 1, 6, k), ref_anigauss(col, 1, 6, k, 2, 0));
    }
}

TEST(Anigauss, AllZeroImageStaysZero) {
    image zero(128 * 128, 0);
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(run(zero, 128, 128, k), zero) << k;
}

TEST(Anigauss, SmallConstantSurvivesGaussAndGivesNoDifference) {
    const int w = 48, h = 40, c = 1000;  // P * u stays far from the wrap
    image src(w * h, c);
    for (int k = 0; k < 6; ++k) {
        image g = run(src, w, h, k, 0, 0);
        // Rounding of each product and of the coefficients: within 2 %.
        for (int v : g)
            EXPECT_NEAR(v, c, 20) << k;
        image d = run(src, w, h, k, 2, 0);
        // Against responses of thousands for a line of a few grey levels.
        for (int v : d)
            EXPECT_LE(std::abs(v), 16) << k;
    }
}

TEST(Anigauss, WrappingConstantGivesResponse) {
    // 60 grey levels above 128: the end-of-line products of both passes wrap.
    const int w = 64, h = 64, c = 60 * 1024;
    image src(w * h, c);
    for (int k = 0; k < 6; ++k) {
        image d = run(src, w, h, k);
        int big = 0, big_inside = 0;
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                if (std::abs(d[y * w + x]) > 1000) {
                    ++big;
                    if (x < w - 8 && y < h - 8)
                        ++big_inside;
                }
            }
        }
        EXPECT_GT(big, 0) << k;
        EXPECT_GT(big_inside, 0) << k;
    }
}

TEST(Anigauss, Orientation0UsesTheVerticalPass) {
    const int w = 30, h = 20;
    image src = random_image(w, h, 50000, 3);
    image expect = src;
    ref_xline(expect, w, h, 0);
    ref_yline(expect, w, h, 0);
    ref_derivative(expect, w, h, 0);
    ref_derivative(expect, w, h, 0);
    EXPECT_EQ(run(src, w, h, 0), expect);
}

TEST(Anigauss, Orientation3UsesTheSlantedPassAndDiffersSlightly) {
    // A smooth image of small amplitude, so that no product wraps; the
    // slanted pass then stays close to the vertical one.
    const int w = 30, h = 20;
    image src(w * h);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            src[y * w + x] = static_cast<int>(1500 * std::sin(x * 0.1) * std::cos(y * 0.1));
        }
    }
    image vertical = src;
    image tmp(w * h);
    f_iir_xline_filter(src.data(), tmp.data(), w, h, 3);
    vertical = tmp;
    f_iir_yline_filter(vertical.data(), vertical.data(), w, h, 3);
    image slanted = tmp;
    f_iir_tline_filter(slanted.data(), slanted.data(), w, h, 3);
    int differ = 0;
    long long total = 0;
    for (int i = 0; i < w * h; ++i) {
        differ += vertical[i] != slanted[i];
        total += std::abs(vertical[i]);
    }
    EXPECT_GT(differ, 0);
    // Slight: the weights 4095 and 0 against 4096 and 0.
    long long diff = 0;
    for (int i = 0; i < w * h; ++i)
        diff += std::abs(vertical[i] - slanted[i]);
    EXPECT_LT(diff * 10, total);
}

TEST(Anigauss, Row0IsLeftToTheBackwardPass) {
    // Row 0 enters the slanted pass as its own history and is not filtered
    // forward; the element-wise reading does the same. A forward pass over
    // row 0 would change its result.
    const int w = 16, h = 12;
    image src = random_image(w, h, 80000, 5);
    for (int k = 1; k < 6; ++k) {
        image a = src, b = src;
        f_iir_tline_filter(a.data(), a.data(), w, h, k);
        ref_tline(b, w, h, k);
        EXPECT_EQ(a, b) << k;
        // With row 0 filtered along its row first (as a forward step would
        // scale it), the result changes.
        image c = src;
        for (int x = 0; x < w; ++x)
            c[x] = R(g_piFilterCoef[7 * (2 * k + 1) + 3], src[x]);
        f_iir_tline_filter(c.data(), c.data(), w, h, k);
        EXPECT_NE(a, c) << k;
    }
}

TEST(Anigauss, SlopeTableByBitPattern) {
    const uint32_t bits[6] = {0x00000000, 0x3f086eb1, 0x3ea8ea7d,
                              0xb3d6bf95, 0xbea8ea7d, 0xbf086eb1};
    for (int k = 0; k < 6; ++k) {
        uint32_t b;
        std::memcpy(&b, &TAN_P[k], 4);
        EXPECT_EQ(b, bits[k]) << k;
    }
    EXPECT_LT(TAN_P[3], 0.0f);
}

TEST(Anigauss, DerivativeTablesAreCutNotRounded) {
    const int sin_p[6] = {-2048, -1773, -1024, 0, 1024, 1773};
    const int cos_p[6] = {0, 1024, 1773, 2048, 1773, 1024};
    for (int k = 0; k < 6; ++k) {
        EXPECT_EQ(SIN_P[k], sin_p[k]);
        EXPECT_EQ(COS_P[k], cos_p[k]);
        const double phi = (30.0 * k - 90.0) * 3.14159265358979323846 / 180.0;
        // Cut toward zero; the nudge keeps exact halves such as sin(-30)
        // from falling below their value in double precision.
        auto cut = [](double v) { return static_cast<int>(v + (v > 0 ? 1e-9 : -1e-9)); };
        EXPECT_EQ(SIN_P[k], cut(std::sin(phi) * 2048.0)) << k;
        EXPECT_EQ(COS_P[k], cut(std::cos(phi) * 2048.0)) << k;
    }
}

TEST(Anigauss, DerivativeOfOneColumnImageHasNoHorizontalTerm) {
    image col = {0, 4096, 8192, 4096};
    image out(4);
    f_iir_derivative_filter(col.data(), out.data(), 1, 4, 3);  // cos = 2048, sin = 0
    EXPECT_EQ(out, image({0, 0, 0, 0}));
    f_iir_derivative_filter(col.data(), out.data(), 1, 4, 0);  // sin = -2048
    // -2048 * (up - down) / 4096, borders clamped.
    EXPECT_EQ(out, image({2048, 4096, 0, -2048}));
}

TEST(Anigauss, BadArgumentsLeaveDestinationAlone) {
    image src(16, 7), dst(16, 3);
    anigauss(nullptr, dst.data(), 4, 4, 0, 2, 0);
    anigauss(src.data(), nullptr, 4, 4, 0, 2, 0);
    anigauss(src.data(), dst.data(), 0, 4, 0, 2, 0);
    anigauss(src.data(), dst.data(), 4, -1, 0, 2, 0);
    anigauss(src.data(), dst.data(), 4, 4, 6, 2, 0);
    anigauss(src.data(), dst.data(), 4, 4, -1, 2, 0);
    f_iir_xline_filter(src.data(), dst.data(), 4, 0, 0);
    f_iir_yline_filter(src.data(), dst.data(), 0, 4, 0);
    f_iir_tline_filter(src.data(), dst.data(), 4, 0, 1);
    f_iir_derivative_filter(src.data(), dst.data(), 0, 0, 1);
    EXPECT_EQ(dst, image(16, 3));
}

}  // namespace
