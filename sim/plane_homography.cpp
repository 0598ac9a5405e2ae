#include "sim/plane_homography.h"

using palm_struct::_point;

namespace palm_test {

_point<double> apply_homography(const double* h, _point<double> p) {
    double const den = h[6] * p.x + h[7] * p.y + h[8];
    return {(h[0] * p.x + h[1] * p.y + h[2]) / den, (h[3] * p.x + h[4] * p.y + h[5]) / den};
}

_point<double> apply_inverse_homography(const double* h, _point<double> p) {
    double const adj[9] = {
        h[4] * h[8] - h[5] * h[7], h[2] * h[7] - h[1] * h[8], h[1] * h[5] - h[2] * h[4],
        h[5] * h[6] - h[3] * h[8], h[0] * h[8] - h[2] * h[6], h[2] * h[3] - h[0] * h[5],
        h[3] * h[7] - h[4] * h[6], h[1] * h[6] - h[0] * h[7], h[0] * h[4] - h[1] * h[3]};
    return apply_homography(adj, p);
}

}  // namespace palm_test
