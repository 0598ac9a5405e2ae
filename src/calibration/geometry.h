// Plane geometry in double precision for the lens model and the calibration:
// a straight world line becomes a circular arc in the image, so lines and
// circles are crossed with each other all the time. Degenerate cases leave
// outputs as the caller initialised them; callers zero them first.
#ifndef PALM_CALIBRATION_GEOMETRY_H_
#define PALM_CALIBRATION_GEOMETRY_H_

#include "palm/image/point.h"
#include "palm/palm_export.h"

namespace palm_struct {

// The line a*x + b*y + c = 0, not normalised; a = b = 0 is no line.
struct SLine {
    double a;
    double b;
    double c;
};

struct SCircle {
    double x;
    double y;
    double r;
};

}  // namespace palm_struct

namespace palm_geometry {

using palm_struct::_point;
using palm_struct::SCircle;
using palm_struct::SLine;

PALM_EXPORT void CalcLine(const _point<double>& p, const _point<double>& q, SLine& l);
PALM_EXPORT void CalcPerpendicularLine(const SLine& l, const _point<double>& p, SLine& out);
PALM_EXPORT void LineLineIntersectPoint(const SLine& l1, const SLine& l2, _point<double>& out);
PALM_EXPORT _point<double> MidPoint(_point<double> p, _point<double> q);
PALM_EXPORT double Dist(_point<double> p, _point<double> q);
PALM_EXPORT void RotatePoint(_point<double> p, double angle, _point<double>& out);
PALM_EXPORT double Point2LineDist(_point<double> p, const SLine& l);
PALM_EXPORT void CalcCircle(const _point<double>& p1, const _point<double>& p2,
                            const _point<double>& p3, SCircle& out);
PALM_EXPORT bool IsCollinear(const _point<double>& p1, const _point<double>& p2,
                             const _point<double>& p3);
PALM_EXPORT double CalcAngle(const _point<double>& p, const _point<double>& q);
// Two points into out[0] and out[1].
PALM_EXPORT void CircleCircleIntersectPoint(const SCircle& c1, const SCircle& c2,
                                            _point<double>* out);
PALM_EXPORT void CircleLineIntersectPoint(const SCircle& c, const SLine& l, _point<double>& out1,
                                          _point<double>& out2);

}  // namespace palm_geometry

#endif  // PALM_CALIBRATION_GEOMETRY_H_
