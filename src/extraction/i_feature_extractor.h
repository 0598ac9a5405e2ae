// i_feature_extractor: codes a 110 x 110 region of interest into a palm code.
// The process has one extractor, reached by get_extractor_inst(); callers
// never free it.
#ifndef PALM_EXTRACTION_I_FEATURE_EXTRACTOR_H_
#define PALM_EXTRACTION_I_FEATURE_EXTRACTOR_H_

#include <utility>
#include <vector>

#include "palm/feature/single_feature.h"
#include "palm/i_debug_interface.h"
#include "palm/image/palm_image.h"
#include "palm/palm_export.h"

namespace palm_algorithm {

class PALM_EXPORT i_feature_extractor : public i_debug_interface {
  public:
    ~i_feature_extractor() override {}
    // Codes `image` into `feature`; false, with `feature` unchanged, unless
    // the image measures exactly 110 x 110.
    virtual bool extract(const palm_share::palm_image& image,
                         palm_feature::single_feature& feature) = 0;
    // The same code, and besides a ranking of the grid samples by response.
    virtual bool extract_test(const palm_share::palm_image& image,
                              palm_feature::single_feature& feature,
                              std::vector<std::pair<int, int>>& responses) = 0;
};

PALM_EXPORT i_feature_extractor* get_extractor_inst();
// Does nothing: the extractor lives as long as the process.
PALM_EXPORT void release_extractor_inst();

}  // namespace palm_algorithm

#endif  // PALM_EXTRACTION_I_FEATURE_EXTRACTOR_H_
