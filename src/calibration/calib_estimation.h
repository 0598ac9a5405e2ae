// From the board curves and crossings of both cameras to a calib_data
// record: a pencil of circles fitted to each curve family gives the
// vanishing points, the lens centre and the focal scales of a camera; the
// crossings seen by both cameras give the homography between their
// normalised planes.
#ifndef PALM_CALIBRATION_CALIB_ESTIMATION_H_
#define PALM_CALIBRATION_CALIB_ESTIMATION_H_

#include "palm/calibration/geometry.h"
#include "palm/calibration/matrix.h"
#include "palm/image/palm_image.h"
#include "palm/image/point.h"
#include "palm/localisation/calib_data.h"

namespace palm_calib {

using palm_share::palm_image;
using palm_struct::_point;
using palm_struct::cp_single;
using palm_struct::SCircle;

// Radians to degrees and 1/pi, with pi written as 3.14159265359.
const double RAD_TO_DEG = 57.29577951307855;
const double INV_PI = 0.3183098861837697;

// Lens centre, focal scales and vanishing points of one camera from its two
// label images; false when a family cannot be fitted well enough.
bool EstimateIntrinsicPara(const palm_image& hori, const palm_image& vert, cp_single& cp);
// Starting parameters (10 by 1) of one family from the circles through
// curves 1, 2, 3 and n-2, n-1, n; flags (n entries) mark the curves used.
// 1, or 0 for n below 6 or a null flags array.
int EstimateInitPara(const palm_image& labels, int* flags, int n, matrix<double>& p);
// The circle through three pixels of the curve; 0 if none can be fitted.
int EstimateCircle(const palm_image& labels, int label, SCircle& c);
// The pixels of the flagged curves, 2 by N, by label and in raster order,
// and their counts per curve.
void GetCurveData(const palm_image& labels, int* flags, int n, matrix<double>& points,
                  matrix<double>& counts);
// A mean squared distance of at most 5 square pixels.
bool CheckOptimizeResult(const matrix<double>& points, double residue);
// The two common points of a fitted family.
void CalcVanishPoint(const matrix<double>& p, _point<double>* out);
// Centre, focal scales and vanishing points (relative to the centre).
void CalcIntrinsicPara(const matrix<double>& hori_p, const matrix<double>& vert_p, cp_single& cp);
// Raw points to the normalised plane of cp.
void NormalizePts(const matrix<double>& points, matrix<double>& out, const cp_single& cp);
// The normalised NIR to VL homography by the direct linear transform, unit
// length, row-major into h[9]; false when not found or rejected.
bool EstimateHomography(const matrix<double>& nir_pts, const matrix<double>& vl_pts,
                        const cp_single& nir, const cp_single& vl, double* h);
// Accepts a mean transfer error of at most 0.1 normalised units.
bool CheckHomoMatrix(const matrix<double>& from, const matrix<double>& to, const matrix<double>& h);
// Sobel gradient energy per pixel of a window, with the system's own row
// addressing, summed in single precision. 0 for a window of no area.
float img_definition_Tenengrad(const palm_image& img, int top, int bottom, int left, int right);
// Contrast (H - L)/(H + L) of the means above 1.1 and below 0.9 times the mean.
float img_definition1(const palm_image& img);

}  // namespace palm_calib

#endif  // PALM_CALIBRATION_CALIB_ESTIMATION_H_
