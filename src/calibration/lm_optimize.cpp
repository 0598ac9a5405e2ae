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

// What every pixel's terms share at p: the angle's sine and cosine and the
// midpoint. Computed once per evaluation; the values are those each pixel
// would compute for itself.
struct pencil {
    double x0, y0, a, s, co;
    explicit pencil(const matrix<double>& p)
        : x0(p.data[0]),
          y0(p.data[1]),
          a(p.data[3]),
          s(std::sin(p.data[2] * DEG_TO_RAD)),
          co(std::cos(p.data[2] * DEG_TO_RAD)) {}
};

// The terms of one pixel i of curve c: its offset from the midpoint, d (its
// distance from the curve's centre) and q (the curve's radius).
struct pixel_terms {
    double x, y, R, dx, dy, d, q;
};

pixel_terms terms(const pencil& k, const matrix<double>& p, const matrix<double>& points,
                  std::size_t i, std::size_t c) {
    pixel_terms t;
    t.R = p.data[4 + c];
    t.x = points.data[i];
    t.y = points.data[points.cols + i];
    t.dx = t.x - k.x0;
    t.dy = t.y - k.y0;
    t.d = std::sqrt(t.dy * t.dy + t.dx * t.dx + t.R * t.R - 2 * t.R * (t.dy * k.co + t.dx * k.s));
    t.q = std::sqrt(t.R * t.R + k.a * k.a);
    return t;
}

// The five columns of a row of J that can differ from 0: the four shared
// parameters and the pixel's own curve.
struct jacobian_row {
    double v[5];
    std::size_t curve;
    bool used;
};

void jacobian_values(const pencil& k, const pixel_terms& t, double* v) {
    v[0] = (k.x0 + t.R * k.s - t.x) / t.d;
    v[1] = (k.y0 + t.R * k.co - t.y) / t.d;
    v[2] = t.R * DEG_TO_RAD * (t.dy * k.s - t.dx * k.co) / t.d;
    v[3] = -k.a / t.q;
    v[4] = (t.R - t.dx * k.s - t.dy * k.co) / t.d - t.R / t.q;
}

// f and the rows of J at p, with whether every value is finite.
struct evaluation {
    matrix<double> f;
    std::vector<jacobian_row> rows;
    bool finite = true;
};

void evaluate(const matrix<double>& p, const matrix<double>& points, const matrix<double>& counts,
              bool with_jacobian, evaluation& e) {
    e.f = matrix<double>(points.cols, 1);
    if (with_jacobian)
        e.rows.assign(points.cols, jacobian_row{{0, 0, 0, 0, 0}, 0, false});
    if (e.f.data == nullptr || p.element_count() < 4)
        return;
    pencil const k(p);
    for_each_pixel(p, points, counts, [&](std::size_t i, std::size_t c) {
        pixel_terms const t = terms(k, p, points, i, c);
        e.f.data[i] = t.d - t.q;
        if (with_jacobian) {
            jacobian_row& r = e.rows[i];
            jacobian_values(k, t, r.v);
            r.curve = c;
            r.used = true;
        }
    });
    for (std::size_t i = 0; i < e.f.element_count(); ++i) {
        if (!std::isfinite(e.f.data[i]))
            e.finite = false;
    }
    for (const jacobian_row& r : e.rows) {
        for (double v : r.v) {
            if (!std::isfinite(v))
                e.finite = false;
        }
    }
}

// The column of J that entry j of a row stands in.
std::size_t column(const jacobian_row& r, int j) {
    return j < 4 ? std::size_t(j) : 4 + r.curve;
}

}  // namespace

void CalcVector_f(const matrix<double>& p, const matrix<double>& points,
                  const matrix<double>& counts, matrix<double>& f) {
    evaluation e;
    evaluate(p, points, counts, false, e);
    f = std::move(e.f);
}

void CalcMatrix_J(const matrix<double>& p, const matrix<double>& points,
                  const matrix<double>& counts, matrix<double>& J) {
    evaluation e;
    evaluate(p, points, counts, true, e);
    matrix<double> out(points.cols, unsigned(p.element_count()));
    if (out.data != nullptr) {
        for (std::size_t i = 0; i < e.rows.size(); ++i) {
            const jacobian_row& r = e.rows[i];
            if (!r.used)
                continue;
            for (int j = 0; j < 5; ++j)
                out[unsigned(i)][column(r, j)] = r.v[j];
        }
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

// The products below skip the entries of J that are 0 because their pixel
// belongs to another curve. With every value finite such a product is a
// signed zero, and adding a signed zero to a sum that starts at +0 leaves
// it as it was, so the results are those of the full matrix products, bit
// for bit. Otherwise the full products run as written.

// A = J^T J, summed over the rows in order.
matrix<double> normal_matrix(const evaluation& e, unsigned params) {
    matrix<double> A(params, params);
    if (A.data == nullptr)
        return A;
    for (const jacobian_row& r : e.rows) {
        if (!r.used)
            continue;
        for (int i = 0; i < 5; ++i) {
            for (int j = i; j < 5; ++j)
                A[unsigned(column(r, i))][column(r, j)] += r.v[i] * r.v[j];
        }
    }
    for (unsigned i = 0; i < params; ++i) {
        for (unsigned j = 0; j < i; ++j)
            A[i][j] = A[j][i];
    }
    return A;
}

// g = J^T f.
matrix<double> gradient_vector(const evaluation& e, unsigned params) {
    matrix<double> g(params, 1);
    if (g.data == nullptr)
        return g;
    for (std::size_t k = 0; k < e.rows.size(); ++k) {
        const jacobian_row& r = e.rows[k];
        if (!r.used)
            continue;
        for (int j = 0; j < 5; ++j)
            g.data[column(r, j)] += r.v[j] * e.f.data[k];
    }
    return g;
}

// Entry k of l = f + J h.
double l_entry(const evaluation& e, std::size_t k, const matrix<double>& h) {
    const jacobian_row& r = e.rows[k];
    double step = 0;
    if (r.used) {
        for (int j = 0; j < 5; ++j)
            step += r.v[j] * h.data[column(r, j)];
    }
    return e.f.data[k] + step;
}

bool all_finite(const matrix<double>& m) {
    for (std::size_t i = 0; i < m.element_count(); ++i) {
        if (!std::isfinite(m.data[i]))
            return false;
    }
    return true;
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

namespace {

// J^T J (A) or J^T f (g) at p: from the rows of J when all is finite,
// otherwise by the full products.
matrix<double> normal_product(const matrix<double>& p, const matrix<double>& points,
                              const matrix<double>& counts, bool with_f) {
    evaluation e;
    evaluate(p, points, counts, true, e);
    unsigned const params = unsigned(p.element_count());
    if (e.finite && params >= 4)
        return with_f ? gradient_vector(e, params) : normal_matrix(e, params);
    matrix<double> J;
    CalcMatrix_J(p, points, counts, J);
    return transposed(J) * (with_f ? e.f : J);
}

}  // namespace

void CalcMatrix_A(const matrix<double>& p, const matrix<double>& points,
                  const matrix<double>& counts, matrix<double>& A) {
    A = normal_product(p, points, counts, false);
}

void CalcVector_g(const matrix<double>& p, const matrix<double>& points,
                  const matrix<double>& counts, matrix<double>& g) {
    g = normal_product(p, points, counts, true);
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
    evaluation e;
    evaluate(p, points, counts, true, e);
    unsigned const params = unsigned(p.element_count());
    if (e.finite && params >= 4 && h.rows == params && h.cols == 1 && all_finite(h)) {
        matrix<double> out(e.f);
        for (std::size_t k = 0; k < e.rows.size(); ++k)
            out.data[k] = l_entry(e, k, h);
        l = std::move(out);
        return;
    }
    matrix<double> J;
    CalcMatrix_J(p, points, counts, J);
    l = e.f + J * h;
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

namespace {

// A and g at p from its evaluation, as CalcMatrix_A and CalcVector_g give them.
void normal_equations(const evaluation& e, const matrix<double>& p, const matrix<double>& points,
                      const matrix<double>& counts, matrix<double>& A, matrix<double>& g) {
    unsigned const params = unsigned(p.element_count());
    if (e.finite && params >= 4) {
        A = normal_matrix(e, params);
        g = gradient_vector(e, params);
        return;
    }
    CalcMatrix_A(p, points, counts, A);
    CalcVector_g(p, points, counts, g);
}

// CalcValue_rou from the evaluations at p and p_new. With everything finite,
// l at p for a zero step is f itself (each entry plus a signed zero), so
// L(p, 0) is F(p), and f at p_new serves both F(p_new) and L(p_new, h).
double gain_ratio(const evaluation& at_p, const evaluation& at_new, const matrix<double>& p,
                  const matrix<double>& p_new, const matrix<double>& points,
                  const matrix<double>& counts, const matrix<double>& h) {
    unsigned const params = unsigned(p.element_count());
    if (!at_p.finite || !at_new.finite || params < 4 || h.rows != params || h.cols != 1 ||
        !all_finite(h) || p_new.element_count() != params) {
        return CalcValue_rou(p, p_new, points, counts, h);
    }
    double const F_p = 0.5 * sum_of_squares(at_p.f);
    double const F_new = 0.5 * sum_of_squares(at_new.f);
    double l_sum = 0;
    for (std::size_t k = 0; k < at_new.rows.size(); ++k) {
        double const l = l_entry(at_new, k, h);
        l_sum += l * l;
    }
    double const den = F_p - 0.5 * l_sum;
    if (den == 0)
        return 0;
    double const dF = F_p - F_new;
    if (den < 0 || dF < 0)
        return -1;
    return dF / den;
}

}  // namespace

double LM_Optimize(const matrix<double>& points, const matrix<double>& counts,
                   const matrix<double>& init, matrix<double>& result, double eps1, double eps2,
                   int kmax) {
    // Each quantity is what the functions above give at that point; one
    // evaluation of f and J per point serves them all.
    matrix<double> x(init);
    double nu = 2;
    evaluation at_x;
    evaluate(x, points, counts, true, at_x);
    matrix<double> A, g, h;
    normal_equations(at_x, x, points, counts, A, g);
    double mu = 0.001 * GetMaxDiagElement(A);
    if (g.norminf() > eps1 && kmax > 0) {
        for (int k = 0; k < kmax; ++k) {
            CalcVector_h(A, mu, g, h);
            if (h.norm1() <= (x.norm1() + eps2) * eps2)
                break;
            matrix<double> x_new = x + h;
            evaluation at_new;
            evaluate(x_new, points, counts, true, at_new);
            double const rho = gain_ratio(at_x, at_new, x, x_new, points, counts, h);
            if (rho == 0)
                break;
            if (rho > 0) {
                x = std::move(x_new);
                at_x = std::move(at_new);
                normal_equations(at_x, x, points, counts, A, g);
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
