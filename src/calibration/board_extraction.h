// Finds the calibration board in one grey frame: eight curves across and
// eight curves down the image, bent by the lens, and their 64 crossings at
// sub-pixel accuracy. The label images hold the thinned curves numbered 1
// to 8 in image order (across-curve 1 topmost, down-curve 1 leftmost); row
// (h - 1) * 8 + (v - 1) of the point matrix holds the crossing of
// across-curve h and down-curve v, x in column 0 and y in column 1.
#ifndef PALM_CALIBRATION_BOARD_EXTRACTION_H_
#define PALM_CALIBRATION_BOARD_EXTRACTION_H_

#include <vector>

#include "palm/calibration/matrix.h"
#include "palm/image/palm_image.h"

namespace palm_calib {

using palm_share::palm_image;

// Board geometry and the fixed numbers of the search.
struct board_constants {
    static const int CURVES = 8;  // per direction
    static const int CROSSINGS = 64;
    static const int EDGE_THRESHOLD = 80;  // least edge response
    static const int MIN_REGION = 20;      // smallest edge region kept
    static const int MAX_REGIONS = 49;     // most regions one image may hold
    static const int REFINE_PASSES = 10;
    static constexpr double REFINE_CONVERGED = 0.005;  // pixels
    static constexpr double REFINE_MAX_MOVE = 5.0;     // pixels per coordinate
    static constexpr double EDGE_RATIO = 50.0;         // singular values, edge not corner
};

// 1 on success, 0 on failure; hori and vert must have the size of src and
// points must be 64 by 2.
int ExtractCurveAndPoints(const palm_image& src, palm_image& hori, palm_image& vert,
                          matrix<double>& points);
// Stretches the grey levels to 0..255 (integer division); a flat image stays.
void GrayStretch(palm_image& img);
// Edge pixels by the three-pixel row and column difference sums: across
// edges into hori, down edges into vert, 255 or 0; the border is not written.
void HoriVertEdge(const palm_image& src, palm_image& hori, palm_image& vert);
// Erases 8-connected white regions of fewer than 20 pixels.
void RemoveSmallRegion(palm_image& img);
// Fills each 0 pixel away from the border with the first non-zero value of
// the width by height window around it, read from a copy.
void Dilate(palm_image& img, int width, int height);
// Numbers the 8-connected regions of src from 1 in raster order of their
// first pixel; 0 when there are more than 49 (or the sizes differ).
int LabelRegion(const palm_image& src, palm_image& labels);
// Labels both edge images and keeps the eight curves of each direction that
// cross the other; 1 on success.
int CurveGrouping(const palm_image& hori_edge, const palm_image& vert_edge, palm_image& hori,
                  palm_image& vert);
// Deletes the kept across-curves that reach beyond the rows of the down-curves.
int DeleteExtraHoriLine(palm_image& hori, const palm_image& vert, int& count,
                        std::vector<int>& keep);
// Deletes the kept down-curves with a pixel whose row lies outside the range
// of columns of the across-curves. Rows against columns is the rule.
int DeleteExtraVertLine(const palm_image& hori, palm_image& vert, int& count,
                        std::vector<int>& keep);
// Renumbers the kept curves 1 to 8 by ascending mean row (across) or mean
// column (down).
void ReorderHoriLabel(palm_image& hori, std::vector<int> keep);
void ReorderVertLabel(palm_image& vert, std::vector<int> keep);
// Mean position of the pixels where both labels are set, per pair; 0 if a
// pair never meets.
int GetCrossPoint(const palm_image& hori, const palm_image& vert, matrix<double>& points);
// Moves each point to the corner its gradients point at; a point that would
// move more than 5 pixels in x or y keeps its initial value. Always 1.
int RefineCrossPoint(const palm_image& src, const matrix<double>& init, matrix<double>& points);
// Two-sub-iteration thinning of the white pixels to one-pixel skeletons.
void Thinning(palm_image& img);
// 0-to-255 transitions clockwise around (x, y) from the pixel above.
int PT(const palm_image& img, int x, int y);
// White neighbours of (x, y).
int PN(const palm_image& img, int x, int y);

}  // namespace palm_calib

#endif  // PALM_CALIBRATION_BOARD_EXTRACTION_H_
