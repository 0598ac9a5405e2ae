// Coordinates passed between image operators, the crop and their callers.
#ifndef PALM_IMAGE_POINT_H_
#define PALM_IMAGE_POINT_H_

namespace palm_struct {

template <typename T>
struct _point {
    T x;
    T y;
};

// One sample of a traced outline; radius and angle stay 0 until the outline
// has been converted to polar form around the palm centre.
struct _position {
    int x;
    int y;
    double radius;
    double angle;
};

}  // namespace palm_struct

#endif  // PALM_IMAGE_POINT_H_
