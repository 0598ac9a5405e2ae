// The crossings of the board curves: a first estimate from the overlap of
// the curve labels, then a sub-pixel corner search in the grey image.
#include <cmath>

#include "palm/calibration/board_extraction.h"

namespace palm_calib {

int GetCrossPoint(const palm_image& hori, const palm_image& vert, matrix<double>& points) {
    int const n = board_constants::CURVES;
    if (!hori.IsValid() || !vert.IsValid() || hori.GetWidth() != vert.GetWidth() ||
        hori.GetHeight() != vert.GetHeight()) {
        return 0;
    }
    if (points.rows != unsigned(n * n) || points.cols != 2 || points.data == nullptr)
        return 0;
    int counts[64] = {0};
    for (unsigned int r = 0; r < points.rows; ++r)
        points[r][0] = points[r][1] = 0;
    for (int y = 0; y < hori.GetHeight(); ++y) {
        const unsigned char* hr = hori[y];
        const unsigned char* vr = vert[y];
        for (int x = 0; x < hori.GetWidth(); ++x) {
            int const h = hr[x], v = vr[x];
            if (h == 0 || v == 0 || h > n || v > n)
                continue;
            int const row = (h - 1) * n + (v - 1);
            points[row][0] += x;
            points[row][1] += y;
            ++counts[row];
        }
    }
    for (int row = 0; row < n * n; ++row) {
        if (counts[row] == 0)
            return 0;
    }
    for (int row = 0; row < n * n; ++row) {
        points[row][0] /= counts[row];
        points[row][1] /= counts[row];
    }
    return 1;
}

namespace {

const int PATCH = 15;
const int WINDOW = 11;
const int HALF_WINDOW = WINDOW / 2;

// The interpolation kernel for the fractional part t of a coordinate.
void interpolation_kernel(double t, double k[3]) {
    if (t > 0) {
        k[0] = t;
        k[1] = 1 - t;
        k[2] = 0;
    } else {
        k[0] = 0;
        k[1] = 1 + t;
        k[2] = -t;
    }
}

double sum_of(const matrix<double>& m) {
    double s = 0;
    for (std::size_t i = 0; i < m.element_count(); ++i)
        s += m.data[i];
    return s;
}

struct refine_masks {
    matrix<double> W, X, Y;
    refine_masks() : W(WINDOW, WINDOW), X(WINDOW, WINDOW), Y(WINDOW, WINDOW) {
        for (int r = 0; r < WINDOW; ++r) {
            for (int c = 0; c < WINDOW; ++c) {
                int const i = r - HALF_WINDOW, j = c - HALF_WINDOW;
                W[r][c] = std::exp(-(i * i + j * j) * 0.04000000000000001);
                X[r][c] = c - HALF_WINDOW;
                Y[r][c] = r - HALF_WINDOW;
            }
        }
    }
};

// Coordinates beyond this cannot address a patch of any image; the passes
// for such a point (and for a non-finite one) end.
bool usable(double v) {
    return std::fabs(v) < 1e6;
}

// One pass of the corner search at xc; returns the new estimate.
void refine_once(const palm_image& src, const refine_masks& masks, const double xc[2],
                 double out[2]) {
    int const rx = int(xc[0] + 0.5), ry = int(xc[1] + 0.5);
    double const tx = xc[0] - rx, ty = xc[1] - ry;
    matrix<double> row(1, 3), col(3, 1);
    interpolation_kernel(tx, row.data);
    interpolation_kernel(ty, col.data);

    matrix<double> patch(PATCH, PATCH);
    int const half = PATCH / 2;
    for (int r = 0; r < PATCH; ++r) {
        int const y = ry - half + r;
        if (y < 0 || y >= src.GetHeight())
            continue;
        for (int c = 0; c < PATCH; ++c) {
            int const x = rx - half + c;
            if (x >= 0 && x < src.GetWidth())
                patch[r][c] = src[y][x];
        }
    }
    conv2(patch, row);
    conv2(patch, col);
    matrix<double> const inner = patch.sub_matrix(1, 1, PATCH - 2, PATCH - 2);
    matrix<double> gx, gy;
    gradient(inner, gx, gy);
    gx = gx.sub_matrix(1, 1, WINDOW, WINDOW);
    gy = gy.sub_matrix(1, 1, WINDOW, WINDOW);

    matrix<double> const gxx = gx.dot_multiple(gx).dot_multiple(masks.W);
    matrix<double> const gyy = gy.dot_multiple(gy).dot_multiple(masks.W);
    matrix<double> const gxy = gx.dot_multiple(gy).dot_multiple(masks.W);
    matrix<double> const px = masks.X + xc[0];
    matrix<double> const py = masks.Y + xc[1];
    double const b1 = sum_of(gxx.dot_multiple(px) + gxy.dot_multiple(py));
    double const b2 = sum_of(gxy.dot_multiple(px) + gyy.dot_multiple(py));
    double const a = sum_of(gxx);
    double const b = sum_of(gxy);
    double const c = sum_of(gyy);
    double const d = a * c - b * b;
    out[0] = (c * b1 - b * b2) / d;
    out[1] = (a * b2 - b * b1) / d;

    // A window that sees one straight edge only fixes the point across the
    // edge: move it along the edge direction instead.
    double m[4] = {a, b, b, c}, u[4], v[4];
    int const ok = svd_real_matrix(m, 2, 2, u, v, 1e-6);
    matrix<double> right(2, 2);
    for (int i = 0; i < 4; ++i)
        right.data[i] = v[i];
    right.transpose();
    double const big = m[0], small = m[3];
    if (ok < 0 || small == 0 || big / small > board_constants::EDGE_RATIO) {
        matrix<double> q(1, 2), diff(1, 2);
        q.data[0] = right[0][1];
        q.data[1] = right[1][1];
        diff.data[0] = xc[0] - out[0];
        diff.data[1] = xc[1] - out[1];
        double const t = diff.dot_multiple(q).norm1();
        out[0] = out[0] + t * q.data[0];
        out[1] = out[1] + t * q.data[1];
    }
}

}  // namespace

int RefineCrossPoint(const palm_image& src, const matrix<double>& init, matrix<double>& points) {
    if (init.cols != 2 || init.data == nullptr || !src.IsValid())
        return 1;
    static const refine_masks masks;
    matrix<double> out(init);
    for (unsigned int r = 0; r < init.rows; ++r) {
        double xc[2] = {init[r][0], init[r][1]};
        double e[2] = {1, 1};
        for (int pass = 0; pass < board_constants::REFINE_PASSES; ++pass) {
            if (!(std::sqrt(e[0] * e[0] + e[1] * e[1]) >= board_constants::REFINE_CONVERGED))
                break;
            if (!usable(xc[0]) || !usable(xc[1]))
                break;
            double n[2];
            refine_once(src, masks, xc, n);
            e[0] = xc[0] - n[0];
            e[1] = xc[1] - n[1];
            xc[0] = n[0];
            xc[1] = n[1];
        }
        if (std::fabs(xc[0] - init[r][0]) > board_constants::REFINE_MAX_MOVE ||
            std::fabs(xc[1] - init[r][1]) > board_constants::REFINE_MAX_MOVE) {
            continue;  // out keeps the initial row
        }
        out[r][0] = xc[0];
        out[r][1] = xc[1];
    }
    points = std::move(out);
    return 1;
}

}  // namespace palm_calib
