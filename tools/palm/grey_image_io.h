// Reading and writing 8-bit grey images for the tool: binary or plain PGM,
// and PNG and BMP (converted to grey on reading). Other formats are refused.
#ifndef PALM_TOOLS_PALM_GREY_IMAGE_IO_H_
#define PALM_TOOLS_PALM_GREY_IMAGE_IO_H_

#include <string>

#include "palm/image/palm_image.h"

namespace palm_tool {

// Loads `path` into `image`; on failure returns false with a message in
// `error`.
bool read_grey_image(std::string const& path, palm_share::palm_image& image, std::string& error);

// Writes `image` as PNG if `path` ends in .png, as BMP if it ends in .bmp,
// and as binary PGM otherwise.
bool write_grey_image(std::string const& path, palm_share::CYImage const& image,
                      std::string& error);

}  // namespace palm_tool

#endif  // PALM_TOOLS_PALM_GREY_IMAGE_IO_H_
