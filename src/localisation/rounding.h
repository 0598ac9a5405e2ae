// Rounding of the crop's double results to integer pixels.
#ifndef PALM_LOCALISATION_ROUNDING_H_
#define PALM_LOCALISATION_ROUNDING_H_

#include <cmath>

namespace palm_algorithm {

// Half away from zero. A degenerate model can give not-a-number or values
// beyond int; they have no integer, and become 0 or the nearest limit.
inline int round_half_away(double v) {
    if (!(v == v))
        return 0;
    double const r = std::round(v);
    if (r >= 2147483647.0)
        return 2147483647;
    if (r <= -2147483648.0)
        return -2147483647 - 1;
    return static_cast<int>(r);
}

}  // namespace palm_algorithm

#endif  // PALM_LOCALISATION_ROUNDING_H_
