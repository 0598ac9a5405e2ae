#include "algorithm/lens_mapping.h"

#include <cmath>

#include "calibration/geometry.h"

using palm_struct::_point;
using palm_struct::cp_single;
using palm_struct::SCircle;
using palm_struct::SLine;
using namespace palm_geometry;

namespace palm_algorithm {

namespace {

const double AXIS_TOLERANCE = 0.01;

// The nearer of two candidates; `strict` picks the first only when it is
// strictly nearer, otherwise also on a tie.
_point<double> nearer(_point<double> const& first, _point<double> const& second,
                      _point<double> const& to, bool strict) {
    double const d0 = Dist(first, to);
    double const d1 = Dist(second, to);
    return (strict ? d0 < d1 : d0 <= d1) ? first : second;
}

}  // namespace

void MappingForward(const _point<double>& in, _point<double>& out, const cp_single& cp) {
    _point<double> const& A = cp.left;
    _point<double> const& B = cp.right;
    _point<double> const& C = cp.top;
    _point<double> const& D = cp.bottom;

    // Each world coordinate is compressed to an arc length along its axis.
    double const t = cp.focal_x * std::atan(in.x / cp.focal_x) / Dist(A, B);
    _point<double> px;
    px.x = t * (B.x - A.x);
    px.y = B.y != A.y ? t * (B.y - A.y) : B.y;  // B.y itself, not 0: kept so
    double const u = cp.focal_y * std::atan(in.y / cp.focal_y) / Dist(C, D);
    _point<double> py;
    py.y = u * (D.y - C.y);
    py.x = D.x != C.x ? u * (D.x - C.x) : D.x;

    SLine l1, l2;
    CalcLine(A, B, l1);
    CalcLine(C, D, l2);
    double const d1 = Point2LineDist(px, l2);
    double const d2 = Point2LineDist(py, l1);

    _point<double> candidates[2] = {{0, 0}, {0, 0}};
    if (d1 < AXIS_TOLERANCE && d2 < AXIS_TOLERANCE) {
        _point<double> centre{0, 0};
        LineLineIntersectPoint(l1, l2, centre);
        out = centre;
        return;
    }
    if (d1 < AXIS_TOLERANCE) {
        SCircle k1;
        CalcCircle(A, B, py, k1);
        CircleLineIntersectPoint(k1, l2, candidates[0], candidates[1]);
    } else if (d2 < AXIS_TOLERANCE) {
        SCircle k2;
        CalcCircle(C, D, px, k2);
        CircleLineIntersectPoint(k2, l1, candidates[0], candidates[1]);
    } else {
        SCircle k1, k2;
        CalcCircle(C, D, px, k2);
        CalcCircle(A, B, py, k1);
        CircleCircleIntersectPoint(k2, k1, candidates);
    }
    out = nearer(candidates[0], candidates[1], in, true);
}

void MappingBackward(const _point<double>& in, _point<double>& out, const cp_single& cp) {
    _point<double> const& A = cp.left;
    _point<double> const& B = cp.right;
    _point<double> const& C = cp.top;
    _point<double> const& D = cp.bottom;
    _point<double> const origin{0, 0};

    SLine l1, l2;
    CalcLine(A, B, l1);
    CalcLine(C, D, l2);
    double const e2 = Point2LineDist(in, l2);
    double const e1 = Point2LineDist(in, l1);

    // Where the horizontal arc through the point meets the vertical axis.
    _point<double> m1{0, 0};
    if (e1 < AXIS_TOLERANCE) {
        LineLineIntersectPoint(l1, l2, m1);
    } else {
        SCircle k;
        CalcCircle(A, B, in, k);
        _point<double> c[2] = {{0, 0}, {0, 0}};
        CircleLineIntersectPoint(k, l2, c[0], c[1]);
        m1 = nearer(c[0], c[1], in, false);
    }
    double v = Dist(m1, origin);
    if (Dist(C, origin) >= Dist(C, m1)) v = -v;
    double const y = std::tan(v / cp.focal_y) * cp.focal_y;

    // Where the vertical arc through the point meets the horizontal axis.
    _point<double> m2{0, 0};
    if (e2 < AXIS_TOLERANCE) {
        LineLineIntersectPoint(l1, l2, m2);
    } else {
        SCircle k;
        CalcCircle(C, D, in, k);
        _point<double> c[2] = {{0, 0}, {0, 0}};
        CircleLineIntersectPoint(k, l1, c[0], c[1]);
        m2 = nearer(c[0], c[1], in, false);
    }
    v = Dist(m2, origin);
    if (Dist(A, origin) >= Dist(A, m2)) v = -v;
    out.x = std::tan(v / cp.focal_x) * cp.focal_x;
    out.y = y;
}

}  // namespace palm_algorithm

void MappingForward(const palm_struct::_point<double>& in, palm_struct::_point<double>& out,
                    const palm_struct::cp_single& cp) {
    palm_algorithm::MappingForward(in, out, cp);
}

void MappingBackward(const palm_struct::_point<double>& in, palm_struct::_point<double>& out,
                     const palm_struct::cp_single& cp) {
    palm_algorithm::MappingBackward(in, out, cp);
}
