// A guidance template for the device's screen: the outline of the nominal
// synthetic hand, white on black, as a device application would hand it to
// the guidance object once.
#ifndef PALM_SIM_GUIDANCE_CARD_H_
#define PALM_SIM_GUIDANCE_CARD_H_

#include "palm/image/palm_image.h"

namespace palm_test {

// The outline of the synthetic hand of `identity`, straight and centred,
// `line` pixels wide, over its bounding box enlarged by `zoom` (a zoom of 1
// keeps the hand's size in the frame).
palm_share::palm_image make_guidance_card(unsigned identity, double zoom, int line);

}  // namespace palm_test

#endif  // PALM_SIM_GUIDANCE_CARD_H_
