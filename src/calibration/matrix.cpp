#include "palm/calibration/matrix.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace palm_calib {

void conv2(matrix<double>& m, const matrix<double>& k) {
    if (k.rows % 2 == 0 || k.cols % 2 == 0 || k.data == nullptr || m.data == nullptr)
        return;
    unsigned int const hr = k.rows / 2;
    unsigned int const hc = k.cols / 2;
    if (m.rows < k.rows || m.cols < k.cols)
        return;  // all border
    matrix<double> const in(m);
    if (in.data == nullptr)
        return;
    for (unsigned int r = hr; r + hr < m.rows; ++r) {
        for (unsigned int c = hc; c + hc < m.cols; ++c) {
            double sum = 0;
            for (unsigned int i = 0; i < k.rows; ++i) {
                const double* src = in[r + hr - i];
                for (unsigned int j = 0; j < k.cols; ++j) {
                    sum += k.data[i * k.cols + j] * src[c + hc - j];
                }
            }
            m.data[std::size_t(r) * m.cols + c] = sum;
        }
    }
}

void gradient(const matrix<double>& m, matrix<double>& gx, matrix<double>& gy) {
    matrix<double> x(m.rows, m.cols);
    matrix<double> y(m.rows, m.cols);
    if (m.data != nullptr && x.data != nullptr && y.data != nullptr) {
        unsigned int const R = m.rows;
        unsigned int const C = m.cols;
        for (unsigned int r = 0; r < R; ++r) {
            const double* row = m[r];
            double* out = x[r];
            if (C < 2)
                break;
            out[0] = row[1] - row[0];
            for (unsigned int c = 1; c + 1 < C; ++c)
                out[c] = (row[c + 1] - row[c - 1]) * 0.5;
            out[C - 1] = row[C - 1] - row[C - 2];
        }
        if (R >= 2) {
            for (unsigned int c = 0; c < C; ++c) {
                y[0][c] = m[1][c] - m[0][c];
                for (unsigned int r = 1; r + 1 < R; ++r)
                    y[r][c] = (m[r + 1][c] - m[r - 1][c]) * 0.5;
                y[R - 1][c] = m[R - 1][c] - m[R - 2][c];
            }
        }
    }
    gx = std::move(x);
    gy = std::move(y);
}

void sss(double* fg, double* cs) {
    double const f = fg[0];
    double const g = fg[1];
    if (std::fabs(f) + std::fabs(g) == 0.0) {
        cs[0] = 1.0;
        cs[1] = 0.0;
        fg[0] = 0.0;
        fg[1] = 0.0;
        return;
    }
    double r = std::sqrt(f * f + g * g);
    double const larger = std::fabs(f) > std::fabs(g) ? f : g;
    if (larger < 0)
        r = -r;
    double const c = f / r;
    double const s = g / r;
    double z = 1.0;
    if (std::fabs(f) > std::fabs(g)) {
        z = s;
    } else if (c != 0.0) {
        z = 1.0 / c;
    }
    cs[0] = c;
    cs[1] = s;
    fg[0] = r;
    fg[1] = z;
}

void ppp(double* a, double* e, double* s, double* v, int m, int n) {
    int const k = std::min(m, n);
    for (int i = 0; i < k; ++i) {
        a[i * n + i] = s[i];
        if (i + 1 < n)
            a[i * n + i + 1] = e[i];
    }
    for (int i = 0; i < n; ++i) {
        for (int j = i + 1; j < n; ++j)
            std::swap(v[i * n + j], v[j * n + i]);
    }
}

namespace {

// Applies the rotation (c, s) to the pair of columns x and y of a row-major
// matrix with `stride` columns, over `count` rows.
void rotate_columns(double* base, int stride, int count, int x, int y, double c, double s) {
    for (int i = 0; i < count; ++i) {
        double& xi = base[i * stride + x];
        double& yi = base[i * stride + y];
        double const t = c * xi + s * yi;
        yi = c * yi - s * xi;
        xi = t;
    }
}

void swap_columns(double* base, int stride, int count, int x, int y) {
    for (int i = 0; i < count; ++i)
        std::swap(base[i * stride + x], base[i * stride + y]);
}

}  // namespace

// Golub-Kahan-Reinsch. The indices below count from 1, as the textbook
// presentation does: A(i, j), U(i, j), V(i, j) are the elements of row i and
// column j; s, e and w are used from index 1.
int svd_real_matrix(double* a, int m, int n, double* u, double* v, double eps) {
    if (a == nullptr || u == nullptr || v == nullptr || m <= 0 || n <= 0)
        return -1;
    if (std::size_t(m) * std::size_t(n) > matrix<double>::MAX_ELEMENTS ||
        std::size_t(m) * std::size_t(m) > matrix<double>::MAX_ELEMENTS ||
        std::size_t(n) * std::size_t(n) > matrix<double>::MAX_ELEMENTS) {
        return -1;
    }
    auto A = [a, n](int i, int j) -> double& { return a[(i - 1) * n + (j - 1)]; };
    auto U = [u, m](int i, int j) -> double& { return u[(i - 1) * m + (j - 1)]; };
    auto V = [v, n](int i, int j) -> double& { return v[(i - 1) * n + (j - 1)]; };
    int const ka = std::max(m, n) + 1;
    std::vector<double> s(ka, 0.0), e(ka, 0.0), w(ka, 0.0);

    // Householder reduction to bidiagonal form.
    int const nct = std::min(m - 1, n);
    int const nrt = std::max(0, std::min(n - 2, m));
    int const lu = std::max(nct, nrt);
    for (int l = 1; l <= lu; ++l) {
        if (l <= nct) {
            double norm = 0;
            for (int i = l; i <= m; ++i)
                norm += A(i, l) * A(i, l);
            s[l] = std::sqrt(norm);
            if (s[l] != 0.0) {
                if (A(l, l) != 0.0)
                    s[l] = std::copysign(std::fabs(s[l]), A(l, l));
                for (int i = l; i <= m; ++i)
                    A(i, l) = A(i, l) / s[l];
                A(l, l) = 1.0 + A(l, l);
            }
            s[l] = -s[l];
        }
        for (int j = l + 1; j <= n; ++j) {
            if (l <= nct && s[l] != 0.0) {
                double dot = 0;
                for (int i = l; i <= m; ++i)
                    dot += A(i, l) * A(i, j);
                double const t = -dot / A(l, l);
                for (int i = l; i <= m; ++i)
                    A(i, j) += t * A(i, l);
            }
            e[j] = A(l, j);
        }
        if (l <= nct) {
            for (int i = l; i <= m; ++i)
                U(i, l) = A(i, l);
        }
        if (l <= nrt) {
            double norm = 0;
            for (int j = l + 1; j <= n; ++j)
                norm += e[j] * e[j];
            e[l] = std::sqrt(norm);
            if (e[l] != 0.0) {
                if (e[l + 1] != 0.0)
                    e[l] = std::copysign(std::fabs(e[l]), e[l + 1]);
                for (int j = l + 1; j <= n; ++j)
                    e[j] = e[j] / e[l];
                e[l + 1] = 1.0 + e[l + 1];
            }
            e[l] = -e[l];
            if (l + 1 <= m && e[l] != 0.0) {
                for (int i = l + 1; i <= m; ++i)
                    w[i] = 0.0;
                for (int j = l + 1; j <= n; ++j) {
                    for (int i = l + 1; i <= m; ++i)
                        w[i] += e[j] * A(i, j);
                }
                for (int j = l + 1; j <= n; ++j) {
                    double const t = -e[j] / e[l + 1];
                    for (int i = l + 1; i <= m; ++i)
                        A(i, j) += t * w[i];
                }
            }
            for (int i = l + 1; i <= n; ++i)
                V(i, l) = e[i];
        }
    }

    // The bidiagonal matrix of order mm.
    int mm = std::min(n, m + 1);
    if (nct < n)
        s[nct + 1] = A(nct + 1, nct + 1);
    if (m < mm)
        s[mm] = 0.0;
    if (nrt + 1 < mm)
        e[nrt + 1] = A(nrt + 1, mm);
    e[mm] = 0.0;

    // Accumulate the left factor.
    for (int j = nct + 1; j <= m; ++j) {
        for (int i = 1; i <= m; ++i)
            U(i, j) = 0.0;
        U(j, j) = 1.0;
    }
    for (int l = nct; l >= 1; --l) {
        if (s[l] != 0.0) {
            for (int j = l + 1; j <= m; ++j) {
                double dot = 0;
                for (int i = l; i <= m; ++i)
                    dot += U(i, l) * U(i, j);
                double const t = -dot / U(l, l);
                for (int i = l; i <= m; ++i)
                    U(i, j) += t * U(i, l);
            }
            for (int i = l; i <= m; ++i)
                U(i, l) = -U(i, l);
            U(l, l) = 1.0 + U(l, l);
            for (int i = 1; i < l; ++i)
                U(i, l) = 0.0;
        } else {
            for (int i = 1; i <= m; ++i)
                U(i, l) = 0.0;
            U(l, l) = 1.0;
        }
    }

    // Accumulate the right factor.
    for (int l = n; l >= 1; --l) {
        if (l <= nrt && e[l] != 0.0) {
            for (int j = l + 1; j <= n; ++j) {
                double dot = 0;
                for (int i = l + 1; i <= n; ++i)
                    dot += V(i, l) * V(i, j);
                double const t = -dot / V(l + 1, l);
                for (int i = l + 1; i <= n; ++i)
                    V(i, j) += t * V(i, l);
            }
        }
        for (int i = 1; i <= n; ++i)
            V(i, l) = 0.0;
        V(l, l) = 1.0;
    }

    // Implicitly shifted QR sweeps on the bidiagonal matrix.
    int const order = mm;
    int sweeps_left = 60;
    double fg[2];
    double cs[2];
    while (mm > 0) {
        // The largest l below mm whose superdiagonal element is negligible.
        int l = mm - 1;
        for (; l >= 1; --l) {
            double const test = std::fabs(s[l]) + std::fabs(s[l + 1]);
            if (std::fabs(e[l]) <= eps * test) {
                e[l] = 0.0;
                break;
            }
        }
        int kase;
        if (l == mm - 1) {
            kase = 4;
        } else {
            int ls = mm;
            for (; ls > l; --ls) {
                double test = 0.0;
                if (ls != mm)
                    test += std::fabs(e[ls]);
                if (ls != l + 1)
                    test += std::fabs(e[ls - 1]);
                if (std::fabs(s[ls]) <= eps * test) {
                    s[ls] = 0.0;
                    break;
                }
            }
            if (ls == l) {
                kase = 3;
            } else if (ls == mm) {
                kase = 1;
            } else {
                kase = 2;
                l = ls;
            }
        }
        l = l + 1;

        if (kase == 1) {
            // Deflate a negligible s[mm].
            double f = e[mm - 1];
            e[mm - 1] = 0.0;
            for (int k = mm - 1; k >= l; --k) {
                fg[0] = s[k];
                fg[1] = f;
                sss(fg, cs);
                s[k] = fg[0];
                if (k != l) {
                    f = -cs[1] * e[k - 1];
                    e[k - 1] = cs[0] * e[k - 1];
                }
                rotate_columns(v, n, n, k - 1, mm - 1, cs[0], cs[1]);
            }
        } else if (kase == 2) {
            // Split at a negligible s[l - 1].
            double f = e[l - 1];
            e[l - 1] = 0.0;
            for (int k = l; k <= mm; ++k) {
                fg[0] = s[k];
                fg[1] = f;
                sss(fg, cs);
                s[k] = fg[0];
                f = -cs[1] * e[k];
                e[k] = cs[0] * e[k];
                rotate_columns(u, m, m, k - 1, l - 2, cs[0], cs[1]);
            }
        } else if (kase == 3) {
            if (sweeps_left == 0)
                return -1;
            --sweeps_left;
            double scale = std::fabs(s[mm]);
            scale = std::max(scale, std::fabs(s[mm - 1]));
            scale = std::max(scale, std::fabs(e[mm - 1]));
            scale = std::max(scale, std::fabs(s[l]));
            scale = std::max(scale, std::fabs(e[l]));
            double const sm = s[mm] / scale;
            double const smm1 = s[mm - 1] / scale;
            double const emm1 = e[mm - 1] / scale;
            double const sl = s[l] / scale;
            double const el = e[l] / scale;
            double const b = ((smm1 + sm) * (smm1 - sm) + emm1 * emm1) / 2.0;
            double const c = (sm * emm1) * (sm * emm1);
            double shift = 0.0;
            if (b != 0.0 || c != 0.0) {
                shift = std::sqrt(b * b + c);
                if (b < 0.0)
                    shift = -shift;
                shift = c / (b + shift);
            }
            double f = (sl + sm) * (sl - sm) + shift;
            double g = sl * el;
            for (int k = l; k <= mm - 1; ++k) {
                fg[0] = f;
                fg[1] = g;
                sss(fg, cs);
                if (k != l)
                    e[k - 1] = fg[0];
                f = cs[0] * s[k] + cs[1] * e[k];
                e[k] = cs[0] * e[k] - cs[1] * s[k];
                g = cs[1] * s[k + 1];
                s[k + 1] = cs[0] * s[k + 1];
                rotate_columns(v, n, n, k - 1, k, cs[0], cs[1]);
                fg[0] = f;
                fg[1] = g;
                sss(fg, cs);
                s[k] = fg[0];
                f = cs[0] * e[k] + cs[1] * s[k + 1];
                s[k + 1] = -cs[1] * e[k] + cs[0] * s[k + 1];
                g = cs[1] * e[k + 1];
                e[k + 1] = cs[0] * e[k + 1];
                if (k < m)
                    rotate_columns(u, m, m, k - 1, k, cs[0], cs[1]);
            }
            e[mm - 1] = f;
        } else {
            // s[l] has converged: make it non-negative and sort it into place.
            if (s[l] < 0.0) {
                s[l] = -s[l];
                for (int i = 1; i <= n; ++i)
                    V(i, l) = -V(i, l);
            }
            while (l != order && s[l] < s[l + 1]) {
                std::swap(s[l], s[l + 1]);
                if (l < n)
                    swap_columns(v, n, n, l - 1, l);
                if (l < m)
                    swap_columns(u, m, m, l - 1, l);
                ++l;
            }
            --mm;
        }
    }

    for (int i = 0; i < m * n; ++i)
        a[i] = 0.0;
    ppp(a, e.data() + 1, s.data() + 1, v, m, n);
    return 1;
}

}  // namespace palm_calib
