// Synthetic palms for tests and benchmarks of the coder: a few deep principal
// lines and many faint wrinkles, drawn as smooth dark curves on a lighter,
// slowly varying ground. Views of one palm differ by a shift and by noise,
// like two captures of the same hand.
#ifndef PALM_SIM_SYNTHETIC_PALM_H_
#define PALM_SIM_SYNTHETIC_PALM_H_

#include <random>
#include <vector>

#include "palm/image/palm_image.h"

namespace palm_test {

// One dark curve: a quadratic Bezier from p0 through the pull of p1 to p2.
struct palm_line {
    double x0, y0, x1, y1, x2, y2;
    double width;  // Gaussian profile, pixels
    double depth;  // grey levels at the centre of the line
};

struct synthetic_palm {
    double ground;   // grey level at the centre
    double slope_x;  // grey levels per pixel
    double slope_y;
    std::vector<palm_line> lines;
};

// A random palm: 3 principal lines and 15 to 25 wrinkles over an area a
// little larger than a region of interest, so that shifted views still see
// lines everywhere.
synthetic_palm make_palm(std::mt19937& rng);

// A 110 x 110 view of `palm`, its content moved by (dx, dy) pixels, with
// Gaussian noise of `noise` grey levels (0 for none).
palm_share::palm_image render_roi(const synthetic_palm& palm, double dx, double dy, double noise,
                                  std::mt19937& rng);

// A straight dark line of the given direction (degrees counter-clockwise
// from +x as the image is seen) through (cx, cy), 110 x 110.
palm_share::palm_image line_roi(double degrees, double cx, double cy, double half_width = 1.6);

}  // namespace palm_test

#endif  // PALM_SIM_SYNTHETIC_PALM_H_
