#include "palm/image/angle_helpers.h"

#include <cmath>
#include <cstdlib>

namespace palm_share {

double CartToAngle(int x, int y) {
    if (x == 0 && y == 0)
        return 0.0;
    if (x == 0 && y > 0)
        return ANGLE_HALF_PI;
    if (x == 0 && y < 0)
        return ANGLE_THREE_HALVES_PI;
    if (y == 0 && x > 0)
        return 0.0;
    if (y == 0 && x < 0)
        return ANGLE_PI;
    if (y > 0)
        return std::atan2(static_cast<double>(y), static_cast<double>(x));
    return std::atan2(static_cast<double>(y), static_cast<double>(x)) + ANGLE_TWO_PI;
}

void ConvertToPloar(std::vector<palm_struct::_position>& edge,
                    const palm_struct::_point<int>& centre) {
    for (palm_struct::_position& p : edge) {
        const long long dx = static_cast<long long>(p.x) - centre.x;
        const long long dy = static_cast<long long>(p.y) - centre.y;
        p.radius = std::sqrt(static_cast<double>(dy * dy) + static_cast<double>(dx * dx));
        // Swapped and negated: 0 points up the image, angles rise to the left.
        p.angle = CartToAngle(static_cast<int>(-dy), static_cast<int>(-dx));
    }
}

double GetRotateAngle(const palm_struct::_point<int>& a, const palm_struct::_point<int>& b) {
    if (a.y == b.y)
        return 0.0;
    if (a.x == b.x)
        return ANGLE_HALF_PI;
    const long long rise = std::llabs(static_cast<long long>(a.y) - b.y);
    const long long run = std::llabs(static_cast<long long>(b.x) - a.x);
    const double slope = static_cast<double>(rise) / static_cast<double>(run);
    const double angle = std::atan(slope);
    return a.y > b.y ? angle : -angle;
}

}  // namespace palm_share
