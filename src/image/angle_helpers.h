// Polar profile of a traced outline around the palm centre, and the
// inclination of the line between two key points. Radians throughout.
#ifndef PALM_IMAGE_ANGLE_HELPERS_H_
#define PALM_IMAGE_ANGLE_HELPERS_H_

#include <vector>

#include "palm/image/point.h"
#include "palm/palm_export.h"

namespace palm_share {

// These stand for pi/2, pi, 3pi/2 and 2pi as they have always been written;
// they are not the nearest doubles of the true values, and results rely on
// them as they are.
constexpr double ANGLE_HALF_PI = 1.570796326795;
constexpr double ANGLE_PI = 3.14159265359;
constexpr double ANGLE_THREE_HALVES_PI = 4.712388980385;
constexpr double ANGLE_TWO_PI = 6.28318530718;

// Angle of the vector (x, y), from 0 up to just below 2 pi.
PALM_EXPORT double CartToAngle(int x, int y);

// Fills radius and angle of each sample around `centre`. In image
// coordinates the angle is 0 straight above the centre, pi/2 to the left, and
// grows the way Trace walks an outline.
PALM_EXPORT void ConvertToPloar(std::vector<palm_struct::_position>& edge,
                                const palm_struct::_point<int>& centre);

// Inclination of the line from a to b, from -pi/2 to pi/2: positive when b
// lies above a on the screen, +pi/2 for any vertical pair.
PALM_EXPORT double GetRotateAngle(const palm_struct::_point<int>& a,
                                  const palm_struct::_point<int>& b);

}  // namespace palm_share

#endif  // PALM_IMAGE_ANGLE_HELPERS_H_
