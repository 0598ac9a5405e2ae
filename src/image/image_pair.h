// image_pair: the two simultaneous camera images of one capture. The first is
// always visible light (palm print), the second near-infrared (palm vein),
// for full frames and for the 110 x 110 regions alike.
#ifndef PALM_IMAGE_IMAGE_PAIR_H_
#define PALM_IMAGE_IMAGE_PAIR_H_

#include "palm/image/palm_image.h"

namespace palm_share {

struct image_pair {
    palm_image vl;
    palm_image nir;
};

}  // namespace palm_share

#endif  // PALM_IMAGE_IMAGE_PAIR_H_
