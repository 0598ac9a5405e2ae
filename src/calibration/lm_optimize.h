// Fits a pencil of circles to the pixels of several curves by
// Levenberg-Marquardt with gain-ratio damping control. The lens model maps a
// family of parallel straight world lines to circles through two common
// points, the family's vanishing points; one call fits one family.
//
// Parameters p, (4 + n) by 1: p[0], p[1] the midpoint (x0, y0) of the two
// common points, p[2] the direction angle in degrees, p[3] half their
// distance a, p[4 + c] the signed distance R of the centre of curve c from
// the midpoint. With t = p[2] in radians the centre of curve c is
// (x0 + R sin t, y0 + R cos t) and its radius sqrt(R^2 + a^2).
// points is 2 by N (x in row 0, y in row 1), curve after curve; counts is
// n by 1, the pixels of each curve as doubles, truncated in use.
#ifndef PALM_CALIBRATION_LM_OPTIMIZE_H_
#define PALM_CALIBRATION_LM_OPTIMIZE_H_

#include "palm/calibration/matrix.h"

namespace palm_calib {

// Degrees to radians with pi written as 3.14159265359.
const double DEG_TO_RAD = 0.017453292519944444;

// N by 1: each pixel's distance from its curve's circle, signed.
void CalcVector_f(const matrix<double>& p, const matrix<double>& points,
                  const matrix<double>& counts, matrix<double>& f);
// N by (4 + n): the analytic Jacobian of f.
void CalcMatrix_J(const matrix<double>& p, const matrix<double>& points,
                  const matrix<double>& counts, matrix<double>& J);
// Sum of f squared.
double CalcResidue(const matrix<double>& p, const matrix<double>& points,
                   const matrix<double>& counts);
// Half the sum of f squared.
double CalcValue_F(const matrix<double>& p, const matrix<double>& points,
                   const matrix<double>& counts);
// J transposed times J.
void CalcMatrix_A(const matrix<double>& p, const matrix<double>& points,
                  const matrix<double>& counts, matrix<double>& A);
// J transposed times f.
void CalcVector_g(const matrix<double>& p, const matrix<double>& points,
                  const matrix<double>& counts, matrix<double>& g);
// Largest diagonal element; 0 when A is not square.
double GetMaxDiagElement(const matrix<double>& A);
// h = -(A + mu I)^-1 g, the inverse by Gauss-Jordan elimination with full
// pivoting. A zero pivot stops the elimination and the partly reduced matrix
// is used as it stands; a matrix that is not square is used unchanged.
void CalcVector_h(const matrix<double>& A, double mu, const matrix<double>& g, matrix<double>& h);
// l = f + J h at p.
void CalcVector_l(const matrix<double>& p, const matrix<double>& points,
                  const matrix<double>& counts, const matrix<double>& h, matrix<double>& l);
// Half the sum of squares of l.
double CalcValue_L(const matrix<double>& p, const matrix<double>& points,
                   const matrix<double>& counts, const matrix<double>& h);
// Gain ratio of the step h from p to p_new: 0 when the predicted gain is 0,
// -1 when it or the actual gain is negative. The prediction evaluates L at
// p_new rather than at p, and that stands.
double CalcValue_rou(const matrix<double>& p, const matrix<double>& p_new,
                     const matrix<double>& points, const matrix<double>& counts,
                     const matrix<double>& h);
// The damping update after a step with gain ratio rho: an accepted step
// (rho > 0) scales mu by max(1/3, 1 - (2 rho - 1)^3) and resets nu to 2, a
// rejected one scales mu by nu and doubles nu.
void UpdateDamping(double rho, double& mu, double& nu);
// The iteration from init; result receives the final parameters and the
// return value is their CalcResidue.
double LM_Optimize(const matrix<double>& points, const matrix<double>& counts,
                   const matrix<double>& init, matrix<double>& result, double eps1, double eps2,
                   int kmax);

}  // namespace palm_calib

#endif  // PALM_CALIBRATION_LM_OPTIMIZE_H_
