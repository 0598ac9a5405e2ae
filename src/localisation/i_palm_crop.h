// i_palm_crop: from a frame pair to the two regions of interest, the tilted
// views of a region, and the guidance word of a located palm. The process has
// one crop object, reached by get_crop_inst(); callers never free it.
#ifndef PALM_LOCALISATION_I_PALM_CROP_H_
#define PALM_LOCALISATION_I_PALM_CROP_H_

#include <vector>

#include "palm/i_debug_interface.h"
#include "palm/image/crop_results.h"
#include "palm/image/image_pair.h"
#include "palm/image/palm_image.h"
#include "palm/localisation/palm_position.h"
#include "palm/palm_export.h"

namespace palm_algorithm {

class PALM_EXPORT i_palm_crop : public i_debug_interface {
  public:
    ~i_palm_crop() override {}
    // 0 on success, else the code of the first failing step.
    virtual int Crop(const palm_share::image_pair& in, std::vector<palm_share::image_pair>& out,
                     palm_struct::_crop_results& res) = 0;
    // Appends four views of the region as if the palm were tilted.
    virtual void AffineTransform(const palm_share::palm_image& src,
                                 std::vector<palm_share::palm_image>& out, bool nir,
                                 const palm_struct::_crop_results& res) = 0;
    virtual palm_position GetPalmPos(const palm_struct::_crop_results& res) = 0;
};

PALM_EXPORT i_palm_crop* get_crop_inst();
// Does nothing: the crop object lives as long as the process.
PALM_EXPORT void release_crop_inst();

}  // namespace palm_algorithm

#endif  // PALM_LOCALISATION_I_PALM_CROP_H_
