// valley_info: one finger web found on the polar profile of the hand
// outline, with the outline indices of the extrema on either side of it.
#ifndef PALM_LOCALISATION_VALLEY_INFO_H_
#define PALM_LOCALISATION_VALLEY_INFO_H_

#include "palm/image/point.h"

namespace palm_algorithm {

struct valley_info {
    int valley;                  // outline index; 0 marks an entry deleted while thinning
    int left_peak;               // outline index of the extremum before it
    int right_peak;              // outline index of the extremum after it
    palm_struct::_position pos;  // the unfiltered outline sample
};

}  // namespace palm_algorithm

#endif  // PALM_LOCALISATION_VALLEY_INFO_H_
