// CPalmExtract: competitive orientation coding of a 110 x 110 region. At each
// point of a 32 x 32 grid the strongest of six oriented line filters wins,
// and its orientation is written as three bits into three bit planes. The six
// three-bit patterns form a ring in which neighbouring orientations differ in
// one bit, so that a Hamming distance between codes is an angular distance.
#ifndef PALM_EXTRACTION_FEATURE_EXTRACT_H_
#define PALM_EXTRACTION_FEATURE_EXTRACT_H_

#include <utility>
#include <vector>

#include "palm/extraction/i_feature_extractor.h"
#include "palm/image/cy_image.h"
#include "palm/palm_export.h"

namespace palm_algorithm {

class PALM_EXPORT CPalmExtract : public i_feature_extractor {
  public:
    static constexpr int SUB_IMG_WIDTH = 110;
    static constexpr int SUB_IMG_HEIGHT = 110;
    static constexpr int PADDING_IMG_WIDTH = 128;
    static constexpr int PADDING_IMG_HEIGHT = 128;
    static constexpr int CODING_START_POS = 18;
    static constexpr int CODING_STOP_POS = 112;
    static constexpr int CODING_STEP = 3;
    static constexpr int ORIENT_NUM = 6;
    static constexpr int SIGMA_U = 5;
    static constexpr int SIGMA_V = 3;
    static constexpr int ORDER_U = 0;
    static constexpr int ORDER_V = 2;

    // Grid points per row and column: (112 - 18) / 3 rounded up.
    static constexpr int GRID_SIZE = 32;
    // Response given to the samples of the outer two grid rings by
    // extract_test, which ranks them last.
    static constexpr int RING_RESPONSE = -100000;

    ~CPalmExtract() override {}

    bool extract(const palm_share::palm_image& image,
                 palm_feature::single_feature& feature) override;
    bool extract_test(const palm_share::palm_image& image, palm_feature::single_feature& feature,
                      std::vector<std::pair<int, int>>& responses) override;

    // Fills `dest` (128 x 128 values) from the 110 x 110 image: the image in
    // the top left corner, its last row and column replicated to the right
    // and below. Does nothing for another size or a null `dest`.
    void Padding(const palm_share::CYImage& image, int* dest);
};

// Three bits (planes 0, 1, 2) of orientation k, 0 to 5, as bits 2, 1, 0.
int orientation_code(int k);

extern CPalmExtract g_feature_extract_inst;

}  // namespace palm_algorithm

#endif  // PALM_EXTRACTION_FEATURE_EXTRACT_H_
