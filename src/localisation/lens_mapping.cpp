#include "palm/localisation/lens_mapping.h"

#include <cmath>

#include "palm/calibration/geometry.h"

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

namespace {

// Signed position of a raw point along one axis of the model: where the arc
// of the other family through the point (the arc through p and q, or their
// straight line near it) meets `axis`, as a distance from the centre,
// negative on the side of `negative_end`.
double axis_position(_point<double> const& in, SLine const& through_pq, _point<double> const& p,
                     _point<double> const& q, SLine const& axis, _point<double> const& centre,
                     _point<double> const& negative_end) {
    _point<double> m = centre;
    if (Point2LineDist(in, through_pq) >= AXIS_TOLERANCE) {
        SCircle k;
        CalcCircle(p, q, in, k);
        _point<double> c[2] = {{0, 0}, {0, 0}};
        CircleLineIntersectPoint(k, axis, c[0], c[1]);
        m = nearer(c[0], c[1], in, false);
    }
    _point<double> const origin{0, 0};
    double const v = Dist(m, origin);
    return Dist(negative_end, origin) >= Dist(negative_end, m) ? -v : v;
}

}  // namespace

void MappingBackward(const _point<double>& in, _point<double>& out, const cp_single& cp) {
    SLine l1, l2;
    CalcLine(cp.left, cp.right, l1);
    CalcLine(cp.top, cp.bottom, l2);
    _point<double> centre{0, 0};
    LineLineIntersectPoint(l1, l2, centre);

    // The horizontal arc through the point gives y, the vertical one x. Both
    // are computed before `out` is written, so `in` and `out` may be one.
    double const vy = axis_position(in, l1, cp.left, cp.right, l2, centre, cp.top);
    double const vx = axis_position(in, l2, cp.top, cp.bottom, l1, centre, cp.left);
    double const y = std::tan(vy / cp.focal_y) * cp.focal_y;
    out.x = std::tan(vx / cp.focal_x) * cp.focal_x;
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
