// palm_position: the one word of guidance a frame yields, from the pre-check
// (size) or from the located palm (where it lies against the frame centre).
#ifndef PALM_LOCALISATION_PALM_POSITION_H_
#define PALM_LOCALISATION_PALM_POSITION_H_

namespace palm_algorithm {

enum palm_position {
    POS_OK = 0,
    POS_TOO_SMALL = 1,
    POS_TOO_LARGE = 2,
    POS_LEFT = 3,
    POS_RIGHT = 4,
    POS_UP = 5,
    POS_DOWN = 6,
    POS_UNKNOWN = 65535
};

}  // namespace palm_algorithm

#endif  // PALM_LOCALISATION_PALM_POSITION_H_
