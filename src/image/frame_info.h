// frame_info: one capture of the two cameras with the record of what was
// located in it. Workflows take a frame by const reference and still write
// its crop record, which is the mutable part of a frame. A copy copies both
// images through CYImage assignment (pointers only for attached camera
// buffers) and the record bytewise.
#ifndef PALM_IMAGE_FRAME_INFO_H_
#define PALM_IMAGE_FRAME_INFO_H_

#include "palm/image/crop_results.h"
#include "palm/image/palm_image.h"

namespace palm_struct {

struct frame_info {
    palm_share::palm_image vl;   // visible-light frame
    palm_share::palm_image nir;  // near-infrared frame
    mutable _crop_results crop;
};

}  // namespace palm_struct

#endif  // PALM_IMAGE_FRAME_INFO_H_
