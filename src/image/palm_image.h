// palm_image: a CYImage with the operators that find a hand in a dark
// near-infrared frame: threshold, edge clean-up of the mask, small
// morphology, region selection and outline tracing. A binary image holds
// only 0 and 255. An operator whose precondition fails returns and leaves its
// output as it stands; none reports an error.
#ifndef PALM_IMAGE_PALM_IMAGE_H_
#define PALM_IMAGE_PALM_IMAGE_H_

#include <vector>

#include "palm/image/cy_image.h"
#include "palm/image/point.h"
#include "palm/palm_export.h"

namespace palm_share {

class PALM_EXPORT palm_image : public CYImage {
  public:
    palm_image() {}
    palm_image(int width, int height, const unsigned char* src = nullptr)
        : CYImage(width, height, src) {}
    palm_image(const CYImage& other) : CYImage(other) {}
    palm_image(const palm_image& other) : CYImage(other) {}
    palm_image& operator=(const palm_image& other) {
        CYImage::operator=(other);
        return *this;
    }
    palm_image& operator=(const CYImage& other) {
        CYImage::operator=(other);
        return *this;
    }

    // Iterative two-means threshold biased to the dark side; grey to binary.
    void AdaptiveThreshold();
    // The level AdaptiveThreshold settles at (pixels above it become white);
    // -1 for an invalid image. Kept apart so that the level itself can be seen.
    int GetAdaptiveThreshold() const;
    // Clears the white pixels of `mask` that lie on a brightness edge of this
    // grey image (SUSAN similarity over a 37-pixel disc).
    void SusanSmooth(palm_image& mask) const;
    void CloseImage_3_1();
    void OpenImage_3_3();
    void CloseImage_3_3();
    // Keeps the inner boundary of white regions; connectivity 4 or 8.
    void Contour(int connectivity);
    // Mean column and row of the pixels at 255, or (-1, -1) if there are none.
    palm_struct::_point<int> GetCentroid() const;
    // Writes 255 into `dest` where this mask is visible from (x, y) along a
    // fan of straight rays; `dest` comes in cleared.
    void FindCentralRegion(int x, int y, palm_image& dest) const;
    // Clears white pixels whose eight neighbours are all 0.
    void FilterDot();
    // Keeps the largest 8-connected nonzero region; returns its area.
    int RetainLargestRegion();
    // dest(i, j) = this(2i, 2j); dest must measure width/2 by height/2.
    void DownSampling2(palm_image& dest) const;
    // Walks a one-pixel-wide outline as Contour leaves it.
    void Trace(std::vector<palm_struct::_position>& edge) const;
};

}  // namespace palm_share

#endif  // PALM_IMAGE_PALM_IMAGE_H_
