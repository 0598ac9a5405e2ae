#include "palm/calibration/geometry.h"

#include <cmath>

namespace palm_geometry {

namespace {
// pi as the system has always written it.
const double PI = 3.14159265359;
}  // namespace

void CalcLine(const _point<double>& p, const _point<double>& q, SLine& l) {
    if (p.x == q.x) {
        l = SLine{1.0, 0.0, -p.x};
    } else if (p.y == q.y) {
        l = SLine{0.0, 1.0, -p.y};
    } else {
        double const k = (q.y - p.y) / (q.x - p.x);
        l = SLine{k, -1.0, p.y - k * p.x};
    }
}

void CalcPerpendicularLine(const SLine& l, const _point<double>& p, SLine& out) {
    if (l.a == 0 && l.b != 0) {
        out = SLine{1.0, 0.0, -p.x};
    } else if (l.a != 0 && l.b == 0) {
        out = SLine{0.0, 1.0, -p.y};
    } else if (l.a != 0 && l.b != 0) {
        double const m = -l.a / l.b;
        out = SLine{1.0, m, -(p.x + m * p.y)};
    }
}

void LineLineIntersectPoint(const SLine& l1, const SLine& l2, _point<double>& out) {
    if ((l1.a == 0 && l1.b == 0) || (l2.a == 0 && l2.b == 0))
        return;
    if (l1.a * l2.b == l1.b * l2.a)
        return;  // parallel
    double x, y;
    if (l1.a == 0) {
        y = -l1.c / l1.b;
        x = (-l2.c - l2.b * y) / l2.a;
    } else if (l1.b == 0) {
        x = -l1.c / l1.a;
        y = (-l2.c - l2.a * x) / l2.b;
    } else if (l2.a == 0) {
        y = -l2.c / l2.b;
        x = (-l1.c - l1.b * y) / l1.a;
    } else if (l2.b == 0) {
        x = -l2.c / l2.a;
        y = (-l1.c - l1.a * x) / l1.b;
    } else {
        double const d = l1.b * l2.a - l2.b * l1.a;
        x = (l2.b * l1.c - l2.c * l1.b) / d;
        y = (l1.a * l2.c - l1.c * l2.a) / d;
    }
    out.x = x;
    out.y = y;
}

_point<double> MidPoint(_point<double> p, _point<double> q) {
    return _point<double>{(p.x + q.x) * 0.5, (p.y + q.y) * 0.5};
}

double Dist(_point<double> p, _point<double> q) {
    double const dx = p.x - q.x;
    double const dy = p.y - q.y;
    return std::sqrt(dx * dx + dy * dy);
}

void RotatePoint(_point<double> p, double angle, _point<double>& out) {
    double const c = std::cos(angle);
    double const s = std::sin(angle);
    out.x = c * p.x - s * p.y;
    out.y = s * p.x + c * p.y;
}

double Point2LineDist(_point<double> p, const SLine& l) {
    if (l.a == 0 && l.b == 0)
        return 0;
    return std::fabs(l.a * p.x + l.b * p.y + l.c) / Dist(_point<double>{l.a, l.b}, {0.0, 0.0});
}

void CalcCircle(const _point<double>& p1, const _point<double>& p2, const _point<double>& p3,
                SCircle& out) {
    out = SCircle{0.0, 0.0, 0.0};
    SLine l1, l2, n1, n2;
    CalcLine(p1, p2, l1);
    CalcLine(p2, p3, l2);
    // Both perpendiculars are always written: a line from CalcLine is a line.
    CalcPerpendicularLine(l1, MidPoint(p1, p2), n1);
    CalcPerpendicularLine(l2, MidPoint(p2, p3), n2);
    _point<double> centre{0.0, 0.0};
    LineLineIntersectPoint(n1, n2, centre);  // collinear points: stays at the origin
    out.x = centre.x;
    out.y = centre.y;
    out.r = (Dist(centre, p2) + Dist(centre, p1) + Dist(centre, p3)) * 0.3333333333333333;
}

bool IsCollinear(const _point<double>& p1, const _point<double>& p2, const _point<double>& p3) {
    SLine l1, l2;
    CalcLine(p1, p2, l1);
    CalcLine(p2, p3, l2);
    return l1.a * l2.b == l2.a * l1.b;
}

double CalcAngle(const _point<double>& p, const _point<double>& q) {
    if (p.x == q.x)
        return PI / 2;
    if (p.y == q.y)
        return 0;
    return std::atan((q.y - p.y) / (q.x - p.x));
}

void CircleCircleIntersectPoint(const SCircle& c1, const SCircle& c2, _point<double>* out) {
    double const x1 = c1.x, y1 = c1.y, r1 = c1.r;
    double const x2 = c2.x, y2 = c2.y, r2 = c2.r;
    if (y1 != y2) {
        double const n =
            0.5 * (x1 * x1 + r2 * r2 + y1 * y1 - y2 * y2 - r1 * r1 - x2 * x2) / (y1 - y2);
        double const m = (x2 - x1) / (y1 - y2);
        double const e = n - y1;
        double const A = 1 + m * m;
        double const B = 2 * (-x1 + e * m);
        // Circles that do not meet give not-a-number here; callers live with it.
        double const D = std::sqrt(B * B - 4 * A * (x1 * x1 + e * e - r1 * r1));
        out[0].x = -(B + D) / (2 * A);
        out[1].x = (D - B) / (2 * A);
        out[0].y = n + m * out[0].x;
        out[1].y = n + m * out[1].x;
        return;
    }
    double const d = std::fabs(x1 - x2);
    if (d > r1 + r2)
        return;
    // u is added whichever side the second circle lies on; kept so.
    double const u = (r1 * r1 + d * d - r2 * r2) / (2 * d);
    double const h = std::sqrt(r1 * r1 - u * u);
    out[0] = _point<double>{x1 + u, y1 + h};
    out[1] = _point<double>{x1 + u, y1 - h};
}

void CircleLineIntersectPoint(const SCircle& c, const SLine& l, _point<double>& out1,
                              _point<double>& out2) {
    double const cx = c.x, cy = c.y, r = c.r;
    double const a = l.a, b = l.b, k = l.c;
    if (a == 0 && b == 0)
        return;
    if (a == 0) {
        double const y = -k / b;
        double const p = -2 * cx;
        double const q = (y - cy) * (y - cy) + cx * cx - r * r;
        double const D = p * p - 4 * q;
        if (D < 0)
            return;
        out1 = _point<double>{-(std::sqrt(D) + p) / 2, y};
        out2 = _point<double>{(std::sqrt(D) - p) / 2, y};
        return;
    }
    if (b == 0) {
        double const x = -k / a;
        double const p = -2 * cy;
        double const q = (x - cx) * (x - cx) + cy * cy - r * r;
        double const D = p * p - 4 * q;
        if (D < 0)
            return;
        out1 = _point<double>{x, -(std::sqrt(D) + p) / 2};
        out2 = _point<double>{x, (std::sqrt(D) - p) / 2};
        return;
    }
    double const A = 1 + b * b / (a * a);
    double const B = 2 * (-cy + k * b / (a * a)) + 2 * b * cx / a;
    double const Q = cy * cy + cx * cx + 2 * k * cx / a - r * r + k * k / (a * a);
    double const s = std::sqrt(B * B - 4 * A * Q);  // not tested: may be not-a-number
    out1.y = -(B + s) / (2 * A);
    out2.y = (s - B) / (2 * A);
    out1.x = (-k - b * out1.y) / a;
    out2.x = (-k - b * out2.y) / a;
}

}  // namespace palm_geometry
