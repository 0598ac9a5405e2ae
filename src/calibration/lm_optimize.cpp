#include "palm/calibration/lm_optimize.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace palm_calib {

namespace {

// Calls fn(i, c) for each pixel i of curve c, curve after curve. A count is
// truncated; counts that are negative, not finite or run past the points are
// bounded by them, and curves without a parameter row of their own are
// skipped, leaving their pixels at 0.
template <typename Fn>
void for_each_pixel(const matrix<double>& p, const matrix<double>& points,
                    const matrix<double>& counts, Fn fn) {
    std::size_t const params = p.element_count();
    if (params < 4 || points.rows < 2 || points.data == nullptr)
        return;
    std::size_t const n = points.cols;
    std::size_t i = 0;
    for (std::size_t c = 0; c < counts.element_count() && i < n; ++c) {
        double const v = counts.data[c];
        std::size_t count = 0;
        if (v >= 1.0)
            count = v >= double(n - i) ? n - i : std::size_t(v);
        if (4 + c < params) {
            for (std::size_t k = 0; k < count; ++k)
                fn(i + k, c);
        }
        i += count;
    }
}

}  // namespace

namespace {

// The terms of one pixel i of curve c at p: its offset from the midpoint,
// d (its distance from the curve's centre) and q (the curve's radius).
struct pixel_terms {
    double x, y, x0, y0, a, R, s, co, dx, dy, d, q;
};

pixel_terms terms(const matrix<double>& p, const matrix<double>& points, std::size_t i,
                  std::size_t c) {
    pixel_terms k;
    k.x0 = p.data[0];
    k.y0 = p.data[1];
    double const t = p.data[2] * DEG_TO_RAD;
    k.a = p.data[3];
    k.R = p.data[4 + c];
    k.x = points.data[i];
    k.y = points.data[points.cols + i];
    k.dx = k.x - k.x0;
    k.dy = k.y - k.y0;
    k.s = std::sin(t);
    k.co = std::cos(t);
    k.d = std::sqrt(k.dy * k.dy + k.dx * k.dx + k.R * k.R - 2 * k.R * (k.dy * k.co + k.dx * k.s));
    k.q = std::sqrt(k.R * k.R + k.a * k.a);
    return k;
}

}  // namespace

void CalcVector_f(const matrix<double>& p, const matrix<double>& points,
                  const matrix<double>& counts, matrix<double>& f) {
    matrix<double> out(points.cols, 1);
    if (out.data != nullptr) {
        for_each_pixel(p, points, counts, [&](std::size_t i, std::size_t c) {
            pixel_terms const k = terms(p, points, i, c);
            out.data[i] = k.d - k.q;
        });
    }
    f = std::move(out);
}

void CalcMatrix_J(const matrix<double>& p, const matrix<double>& points,
                  const matrix<double>& counts, matrix<double>& J) {
    unsigned int const params = unsigned(p.element_count());
    matrix<double> out(points.cols, params);
    if (out.data != nullptr) {
        for_each_pixel(p, points, counts, [&](std::size_t i, std::size_t c) {
            pixel_terms const k = terms(p, points, i, c);
            double* row = out[unsigned(i)];
            row[0] = (k.x0 + k.R * k.s - k.x) / k.d;
            row[1] = (k.y0 + k.R * k.co - k.y) / k.d;
            row[2] = k.R * DEG_TO_RAD * (k.dy * k.s - k.dx * k.co) / k.d;
            row[3] = -k.a / k.q;
            row[4 + c] = (k.R - k.dx * k.s - k.dy * k.co) / k.d - k.R / k.q;
        });
    }
    J = std::move(out);
}

namespace {

double sum_of_squares(const matrix<double>& v) {
    double sum = 0;
    for (std::size_t i = 0; i < v.element_count(); ++i)
        sum += v.data[i] * v.data[i];
    return sum;
}

matrix<double> transposed(const matrix<double>& m) {
    matrix<double> t(m);
    t.transpose();
    return t;
}

}  // namespace

double CalcResidue(const matrix<double>& p, const matrix<double>& points,
                   const matrix<double>& counts) {
    matrix<double> f;
    CalcVector_f(p, points, counts, f);
    return sum_of_squares(f);
}

double CalcValue_F(const matrix<double>& p, const matrix<double>& points,
                   const matrix<double>& counts) {
    return 0.5 * CalcResidue(p, points, counts);
}

void CalcMatrix_A(const matrix<double>& p, const matrix<double>& points,
                  const matrix<double>& counts, matrix<double>& A) {
    matrix<double> J;
    CalcMatrix_J(p, points, counts, J);
    A = transposed(J) * J;
}

void CalcVector_g(const matrix<double>& p, const matrix<double>& points,
                  const matrix<double>& counts, matrix<double>& g) {
    matrix<double> J, f;
    CalcMatrix_J(p, points, counts, J);
    CalcVector_f(p, points, counts, f);
    g = transposed(J) * f;
}

double GetMaxDiagElement(const matrix<double>& A) {
    if (A.rows != A.cols || A.data == nullptr)
        return 0;
    double best = A.data[0];
    for (unsigned int i = 1; i < A.rows; ++i)
        best = std::max(best, A[i][i]);
    return best;
}

namespace {

// In-place inverse by Gauss-Jordan elimination with full pivoting. A zero
// pivot ends the elimination where it stands, without undoing the exchanges.
void invert_in_place(matrix<double>& m) {
    if (m.rows != m.cols || m.data == nullptr)
        return;
    int const n = int(m.rows);
    std::vector<int> prow(n), pcol(n);
    auto at = [&m, n](int r, int c) -> double& { return m.data[r * n + c]; };
    auto swap_rows = [&](int a, int b) {
        for (int j = 0; j < n; ++j)
            std::swap(at(a, j), at(b, j));
    };
    auto swap_cols = [&](int a, int b) {
        for (int i = 0; i < n; ++i)
            std::swap(at(i, a), at(i, b));
    };
    for (int k = 0; k < n; ++k) {
        double big = 0;
        for (int i = k; i < n; ++i) {
            for (int j = k; j < n; ++j) {
                if (std::fabs(at(i, j)) > big) {
                    big = std::fabs(at(i, j));
                    prow[k] = i;
                    pcol[k] = j;
                }
            }
        }
        if (big == 0)
            return;
        swap_rows(k, prow[k]);
        swap_cols(k, pcol[k]);
        at(k, k) = 1.0 / at(k, k);
        for (int j = 0; j < n; ++j) {
            if (j != k)
                at(k, j) = at(k, j) * at(k, k);
        }
        for (int i = 0; i < n; ++i) {
            if (i == k)
                continue;
            for (int j = 0; j < n; ++j) {
                if (j != k)
                    at(i, j) = at(i, j) - at(i, k) * at(k, j);
            }
        }
        for (int i = 0; i < n; ++i) {
            if (i != k)
                at(i, k) = -at(i, k) * at(k, k);
        }
    }
    for (int k = n - 1; k >= 0; --k) {
        swap_rows(k, pcol[k]);
        swap_cols(k, prow[k]);
    }
}

}  // namespace

void CalcVector_h(const matrix<double>& A, double mu, const matrix<double>& g, matrix<double>& h) {
    matrix<double> damped(A);
    for (unsigned int i = 0; i < damped.rows && i < damped.cols; ++i)
        damped[i][i] += mu;
    invert_in_place(damped);
    h = (damped * g) * -1.0;
}

void CalcVector_l(const matrix<double>& p, const matrix<double>& points,
                  const matrix<double>& counts, const matrix<double>& h, matrix<double>& l) {
    matrix<double> f, J;
    CalcVector_f(p, points, counts, f);
    CalcMatrix_J(p, points, counts, J);
    l = f + J * h;
}

double CalcValue_L(const matrix<double>& p, const matrix<double>& points,
                   const matrix<double>& counts, const matrix<double>& h) {
    matrix<double> l;
    CalcVector_l(p, points, counts, h, l);
    return 0.5 * sum_of_squares(l);
}

double CalcValue_rou(const matrix<double>& p, const matrix<double>& p_new,
                     const matrix<double>& points, const matrix<double>& counts,
                     const matrix<double>& h) {
    matrix<double> const zero(h.rows, h.cols);
    double const den = CalcValue_L(p, points, counts, zero) - CalcValue_L(p_new, points, counts, h);
    if (den == 0)
        return 0;
    double const dF = CalcValue_F(p, points, counts) - CalcValue_F(p_new, points, counts);
    if (den < 0 || dF < 0)
        return -1;
    return dF / den;
}

void UpdateDamping(double rho, double& mu, double& nu) {
    if (rho > 0) {
        double const s = 2 * rho - 1;
        mu = mu * std::max(0.3333333333333333, 1 - s * s * s);
        nu = 2;
    } else {
        mu = mu * nu;
        nu = 2 * nu;
    }
}

double LM_Optimize(const matrix<double>& points, const matrix<double>& counts,
                   const matrix<double>& init, matrix<double>& result, double eps1, double eps2,
                   int kmax) {
    matrix<double> x(init);
    double nu = 2;
    matrix<double> A, g, h;
    CalcMatrix_A(x, points, counts, A);
    CalcVector_g(x, points, counts, g);
    double mu = 0.001 * GetMaxDiagElement(A);
    if (g.norminf() > eps1 && kmax > 0) {
        for (int k = 0; k < kmax; ++k) {
            CalcVector_h(A, mu, g, h);
            if (h.norm1() <= (x.norm1() + eps2) * eps2)
                break;
            matrix<double> x_new = x + h;
            double const rho = CalcValue_rou(x, x_new, points, counts, h);
            if (rho == 0)
                break;
            if (rho > 0) {
                x = std::move(x_new);
                CalcMatrix_A(x, points, counts, A);
                CalcVector_g(x, points, counts, g);
                UpdateDamping(rho, mu, nu);
                if (g.norminf() <= eps1)
                    break;
            } else {
                UpdateDamping(rho, mu, nu);
            }
        }
    }
    result = x;
    return CalcResidue(x, points, counts);
}

}  // namespace palm_calib
