// The guidance picture for a person: a near-infrared frame in colour with
// the prompt rectangle, the key points, the region square, the guidance
// outline and the guidance word drawn over it.
#ifndef PALM_TOOLS_PALM_GUIDE_OVERLAY_H_
#define PALM_TOOLS_PALM_GUIDE_OVERLAY_H_

#include <string>

#include "palm/image/crop_results.h"
#include "palm/image/palm_image.h"

namespace palm_tool {

struct guide_picture {
    const palm_share::palm_image* frame;   // near-infrared frame, the background
    const palm_share::palm_image* canvas;  // guidance canvas, drawn from the top-left corner
    const palm_struct::_crop_results* res;
    bool located;       // key points and corners hold a located palm
    std::string word;   // the palm_position word
    std::string notes;  // a second, smaller line of text
};

// Writes the picture as a PNG; false with a message in `error` on failure.
bool write_guide_overlay(std::string const& path, guide_picture const& picture, std::string& error);

// The name of a palm_position value, e.g. "POS_LEFT".
std::string position_word(int position);

}  // namespace palm_tool

#endif  // PALM_TOOLS_PALM_GUIDE_OVERLAY_H_
