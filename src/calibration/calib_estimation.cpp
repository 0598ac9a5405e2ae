#include "palm/calibration/calib_estimation.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "palm/calibration/lm_optimize.h"
#include "palm/localisation/lens_mapping.h"

using namespace palm_geometry;

namespace palm_calib {

namespace {

const int FAMILY_CURVES = 8;
const int INIT_PARAMETERS = 10;  // 4 + six curves

_point<double> plus(_point<double> p, _point<double> q) {
    return _point<double>{p.x + q.x, p.y + q.y};
}

bool has_label(const palm_image& img, int x, int y, int label) {
    return x >= 0 && y >= 0 && x < img.GetWidth() && y < img.GetHeight() && img[y][x] == label;
}

}  // namespace

int EstimateCircle(const palm_image& labels, int label, SCircle& c) {
    if (!labels.IsValid() || label <= 0 || label > 255)
        return 0;
    int const w = labels.GetWidth(), h = labels.GetHeight();
    int x0 = w, x1 = -1, y0 = h, y1 = -1;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            if (labels[y][x] != label)
                continue;
            x0 = std::min(x0, x);
            x1 = std::max(x1, x);
            y0 = std::min(y0, y);
            y1 = std::max(y1, y);
        }
    }
    if (x1 < 0)
        return 0;
    // v runs along the longer side of the box (y when it is at most as wide
    // as high, else x) and u across it.
    bool const tall = x1 - x0 <= y1 - y0;
    auto at = [&](int u, int v) {
        return tall ? has_label(labels, u, v, label) : has_label(labels, v, u, label);
    };
    auto point = [tall](int u, int v) {
        return tall ? _point<double>{double(u), double(v)} : _point<double>{double(v), double(u)};
    };
    int const u0 = tall ? x0 : y0, v0 = tall ? y0 : x0, v1 = tall ? y1 : x1;
    int const u_count = tall ? w : h;
    // The first pixel on each end of the box; both exist.
    int first = u0, second = u0;
    while (!at(first, v0))
        ++first;
    while (!at(second, v1))
        ++second;
    _point<double> const p1 = point(first, v0), p2 = point(second, v1);
    _point<double> p3{0, 0};
    bool found = false;
    int const m = (v0 + v1) / 2;
    for (int d = 1; d < m && !found; ++d) {
        for (int u = 0; u < u_count; ++u) {
            if (at(u, m + d)) {
                p3 = point(u, m + d);
            } else if (at(u, m - d)) {
                p3 = point(u, m - d);
            } else {
                continue;
            }
            found = true;
            break;
        }
    }
    if (!found || IsCollinear(p1, p2, p3))
        return 0;
    CalcCircle(p1, p2, p3, c);
    return 1;
}

int EstimateInitPara(const palm_image& labels, int* flags, int n, matrix<double>& p) {
    if (flags == nullptr || n < 6 || n > 255)
        return 0;
    for (int i = 0; i < n; ++i)
        flags[i] = 1;
    flags[3] = 0;
    flags[4] = 0;
    // Curves 1, 2, 3, n-2, n-1, n; pairs (1, n), (2, n-1), (3, n-2).
    int const used[6] = {1, 2, 3, n - 2, n - 1, n};
    SCircle circles[6] = {};
    bool ok[6];
    for (int k = 0; k < 3; ++k) {
        for (int side = 0; side < 2; ++side) {
            int const i = side == 0 ? k : 5 - k;
            ok[i] = EstimateCircle(labels, used[i], circles[i]) != 0;
            if (!ok[i])
                flags[used[i] - 1] = 0;
        }
    }
    _point<double> pts[3][2] = {};
    for (int k = 0; k < 3; ++k) {
        if (ok[k] && ok[5 - k])
            CircleCircleIntersectPoint(circles[k], circles[5 - k], pts[k]);
    }
    _point<double> e0 = pts[0][0], e1 = pts[0][1];
    for (int k = 1; k < 3; ++k) {
        if (Dist(pts[k][0], pts[0][0]) < Dist(pts[k][1], pts[0][0])) {
            e0 = plus(e0, pts[k][0]);
            e1 = plus(e1, pts[k][1]);
        } else {
            e0 = plus(e0, pts[k][1]);
            e1 = plus(e1, pts[k][0]);
        }
    }
    e0 = _point<double>{e0.x * 0.3333333333333333, e0.y * 0.3333333333333333};
    e1 = _point<double>{e1.x * 0.3333333333333333, e1.y * 0.3333333333333333};
    _point<double> const M = MidPoint(e0, e1);
    double const a = Dist(e0, e1) / 2;
    double const t = CalcAngle(e0, e1);
    p.reallocate_matrix(INIT_PARAMETERS, 1);
    if (p.data == nullptr)
        return 0;
    p.data[0] = M.x;
    p.data[1] = M.y;
    p.data[2] = -t * RAD_TO_DEG;
    p.data[3] = a;
    // Each circle's centre lies on the perpendicular through M, on one side
    // or the other: the sign of R says which.
    for (int c = 0; c < 6; ++c) {
        _point<double> const centre{circles[c].x, circles[c].y};
        double const R = Dist(centre, M);
        _point<double> up{0, 0}, down{0, 0};
        RotatePoint(_point<double>{0, R}, t, up);
        RotatePoint(_point<double>{0, -R}, t, down);
        up = plus(up, M);
        down = plus(down, M);
        p.data[4 + c] = Dist(up, centre) < Dist(down, centre) ? R : -R;
    }
    return 1;
}

void GetCurveData(const palm_image& labels, int* flags, int n, matrix<double>& points,
                  matrix<double>& counts) {
    points.release();
    counts.release();
    if (!labels.IsValid() || flags == nullptr || n <= 0 || n > 255)
        return;
    std::vector<std::size_t> per_label(n + 1, 0);
    int const size = labels.GetSize();
    const unsigned char* px = labels.GetBuffer();
    for (int i = 0; i < size; ++i) {
        int const l = px[i];
        if (l >= 1 && l <= n && flags[l - 1])
            ++per_label[l];
    }
    std::vector<std::size_t> start(n + 2, 0);
    unsigned int curves = 0;
    for (int l = 1; l <= n; ++l) {
        start[l + 1] = start[l] + per_label[l];
        if (flags[l - 1])
            ++curves;
    }
    std::size_t const total = start[n + 1];
    if (!counts.reallocate_matrix(curves, 1) || !points.reallocate_matrix(2, unsigned(total))) {
        points.release();
        counts.release();
        return;
    }
    unsigned int row = 0;
    for (int l = 1; l <= n; ++l) {
        if (flags[l - 1])
            counts.data[row++] = double(per_label[l]);
    }
    std::vector<std::size_t> next(start.begin(), start.end());
    int const w = labels.GetWidth();
    for (int i = 0; i < size; ++i) {
        int const l = px[i];
        if (l < 1 || l > n || !flags[l - 1])
            continue;
        std::size_t const k = next[l]++;
        points.data[k] = i % w;
        points.data[total + k] = i / w;
    }
}

bool CheckOptimizeResult(const matrix<double>& points, double residue) {
    return 5.0 * points.cols >= residue;
}

void CalcVanishPoint(const matrix<double>& p, _point<double>* out) {
    if (out == nullptr || p.element_count() < 4)
        return;
    _point<double> const m{p.data[0], p.data[1]};
    // The angle is kept in degrees; the rotation takes radians.
    double const angle = p.data[2] * DEG_TO_RAD;
    double const a = p.data[3];
    RotatePoint(_point<double>{-a, 0}, -angle, out[0]);
    RotatePoint(_point<double>{a, 0}, -angle, out[1]);
    out[0] = plus(out[0], m);
    out[1] = plus(out[1], m);
}

void CalcIntrinsicPara(const matrix<double>& hori_p, const matrix<double>& vert_p, cp_single& cp) {
    _point<double> h[2] = {cp.left, cp.right};
    _point<double> v[2] = {cp.top, cp.bottom};
    CalcVanishPoint(hori_p, h);
    CalcVanishPoint(vert_p, v);
    if (h[0].x > h[1].x)
        std::swap(h[0], h[1]);
    if (v[0].y > v[1].y)
        std::swap(v[0], v[1]);
    SLine l1{0, 0, 0}, l2{0, 0, 0};
    CalcLine(h[0], h[1], l1);
    CalcLine(v[0], v[1], l2);
    _point<double> c{cp.center_x, cp.center_y};
    LineLineIntersectPoint(l1, l2, c);
    cp.center_x = c.x;
    cp.center_y = c.y;
    cp.focal_x = Dist(h[0], h[1]) * INV_PI;
    cp.focal_y = Dist(v[0], v[1]) * INV_PI;
    cp.left = _point<double>{h[0].x - c.x, h[0].y - c.y};
    cp.right = _point<double>{h[1].x - c.x, h[1].y - c.y};
    cp.top = _point<double>{v[0].x - c.x, v[0].y - c.y};
    cp.bottom = _point<double>{v[1].x - c.x, v[1].y - c.y};
}

bool EstimateIntrinsicPara(const palm_image& hori, const palm_image& vert, cp_single& cp) {
    int flags1[FAMILY_CURVES], flags2[FAMILY_CURVES];
    matrix<double> p1, p2;
    if (!EstimateInitPara(hori, flags1, FAMILY_CURVES, p1))
        return false;
    if (!EstimateInitPara(vert, flags2, FAMILY_CURVES, p2))
        return false;
    matrix<double> points1, counts1, points2, counts2;
    GetCurveData(hori, flags1, FAMILY_CURVES, points1, counts1);
    GetCurveData(vert, flags2, FAMILY_CURVES, points2, counts2);
    matrix<double> fitted1, fitted2;
    double const r0 = CalcResidue(p1, points1, counts1);
    double const r1 = LM_Optimize(points1, counts1, p1, fitted1, 1e-6, 1e-6, 1000);
    if (!CheckOptimizeResult(points1, std::min(r0, r1)))
        return false;
    double const s0 = CalcResidue(p2, points2, counts2);
    double const s1 = LM_Optimize(points2, counts2, p2, fitted2, 1e-6, 1e-6, 1000);
    if (!CheckOptimizeResult(points2, std::min(s0, s1)))
        return false;
    CalcIntrinsicPara(fitted1, fitted2, cp);
    return true;
}

void NormalizePts(const matrix<double>& points, matrix<double>& out, const cp_single& cp) {
    matrix<double> result(points.rows, points.cols);
    if (points.cols >= 2 && result.data != nullptr) {
        for (unsigned int r = 0; r < points.rows; ++r) {
            _point<double> const rel{points[r][0] - cp.center_x, points[r][1] - cp.center_y};
            _point<double> normal{0, 0};
            ::MappingBackward(rel, normal, cp);
            result[r][0] = normal.x / cp.focal_x;
            result[r][1] = normal.y / cp.focal_y;
        }
    }
    out = std::move(result);
}

bool CheckHomoMatrix(const matrix<double>& from, const matrix<double>& to,
                     const matrix<double>& h) {
    if (h.element_count() < 9 || from.cols < 2 || to.cols < 2 || from.rows != to.rows)
        return false;
    const double* H = h.data;
    double sum = 0;
    for (unsigned int r = 0; r < from.rows; ++r) {
        double const x = from[r][0], y = from[r][1];
        double const w = H[6] * x + H[7] * y + H[8];
        _point<double> const image{(H[0] * x + H[1] * y + H[2]) / w,
                                   (H[3] * x + H[4] * y + H[5]) / w};
        sum += Dist(_point<double>{to[r][0], to[r][1]}, image);
    }
    return 0.1 * from.rows >= sum;
}

bool EstimateHomography(const matrix<double>& nir_pts, const matrix<double>& vl_pts,
                        const cp_single& nir, const cp_single& vl, double* h) {
    if (h == nullptr || nir_pts.rows != vl_pts.rows || nir_pts.rows == 0 || nir_pts.cols != 2 ||
        vl_pts.cols != 2 || nir_pts.data == nullptr || vl_pts.data == nullptr ||
        nir_pts.rows > 1024) {
        return false;
    }
    matrix<double> from, to;
    NormalizePts(nir_pts, from, nir);
    NormalizePts(vl_pts, to, vl);
    int const rows = 2 * int(from.rows);
    matrix<double> a(rows, 9), u(rows, rows), v(9, 9);
    if (a.data == nullptr || u.data == nullptr || v.data == nullptr)
        return false;
    for (unsigned int r = 0; r < from.rows; ++r) {
        double const x = from[r][0], y = from[r][1];
        double const U = to[r][0], V = to[r][1];
        double const first[9] = {-x, -y, -1, 0, 0, 0, U * x, U * y, U};
        double const second[9] = {0, 0, 0, -x, -y, -1, V * x, V * y, V};
        std::copy(first, first + 9, a[2 * r]);
        std::copy(second, second + 9, a[2 * r + 1]);
    }
    if (svd_real_matrix(a.data, rows, 9, u.data, v.data, 1e-12) < 0)
        return false;
    // The last right singular vector, row 8 of the transposed factor.
    matrix<double> hm(3, 3);
    std::copy(v[8], v[8] + 9, hm.data);
    if (!CheckHomoMatrix(from, to, hm))
        return false;
    std::copy(hm.data, hm.data + 9, h);
    return true;
}

}  // namespace palm_calib
