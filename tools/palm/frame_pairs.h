// Frame pairs of a folder for the device commands: NAME_vl.EXT and
// NAME_nir.EXT (png, pgm or bmp), read whole before any frame is used so that
// bad input stops a command before it prints anything.
#ifndef PALM_TOOLS_PALM_FRAME_PAIRS_H_
#define PALM_TOOLS_PALM_FRAME_PAIRS_H_

#include <string>
#include <vector>

#include "palm/image/frame_info.h"

namespace palm_tool {

struct named_frame {
    std::string name;
    palm_struct::frame_info frame;
};

// All pairs of `dir` in byte-wise NAME order, every image 640 x 480. On
// failure returns false with a message naming the offending file.
bool read_frame_pairs(std::string const& dir, std::vector<named_frame>& frames, std::string& error);

// The names in a folder, sorted byte-wise; false when it can't be read.
bool list_dir(std::string const& dir, std::vector<std::string>& names, std::string& error);

}  // namespace palm_tool

#endif  // PALM_TOOLS_PALM_FRAME_PAIRS_H_
