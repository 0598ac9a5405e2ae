// The crop pipeline: segmentation of the hand on the near-infrared frame at
// half resolution, its outline and finger webs, the two key points, and the
// two regions resampled from both frames.
#include "palm/localisation/palm_crop.h"

#include "palm/image/angle_helpers.h"

using palm_share::image_pair;
using palm_share::palm_image;
using palm_struct::_crop_results;
using palm_struct::_point;
using palm_struct::_position;

namespace palm_algorithm {

namespace {

const int NO_PALM_OFFSET = -10000;

bool no_centroid(const _point<int>& c) {
    return c.x == -1 && c.y == -1;
}

// Working images of the pipeline, built once per thread at half the size of
// the first frame that thread crops, and never rebuilt: the pipeline serves
// one fixed frame size. One set per thread keeps crops on different threads
// apart without changing what a single thread computes.
struct crop_work {
    palm_image small_image;
    palm_image bw_image;
    palm_image refined_image;
    bool built = false;
};

crop_work& work_images(int half_width, int half_height) {
    thread_local crop_work work;
    if (!work.built) {
        work.small_image = palm_image(half_width, half_height);
        work.bw_image = palm_image(half_width, half_height);
        work.refined_image = palm_image(half_width, half_height);
        work.built = true;
    }
    return work;
}

}  // namespace

int CPalmCrop::CheckValidity(const image_pair& in) {
    if (!in.vl.IsValid() || !in.nir.IsValid())
        return 1;
    if (in.nir.GetWidth() != in.vl.GetWidth() || in.nir.GetHeight() != in.vl.GetHeight())
        return 2;
    return 0;
}

int CPalmCrop::CheckBrightness(const palm_image& image) {
    int const mean = image.Mean();
    if (mean > VL_IMG_MIN_GRAY_VALUE && mean < VL_IMG_MAX_GRAY_VALUE)
        return 0;
    return 11;
}

// A hook kept in the sequence; its result is honoured.
int CPalmCrop::CheckKeyPoint(const _point<int>&, const _point<int>&, int, int) {
    return 0;
}

void CPalmCrop::GenerateExtendedPoints() {}

int CPalmCrop::Crop(const image_pair& in, std::vector<image_pair>& out, _crop_results& res) {
    res.palm_offset_x = NO_PALM_OFFSET;
    res.palm_offset_y = NO_PALM_OFFSET;
    int code = CheckValidity(in);
    if (code != 0)
        return code;
    int const w = in.nir.GetWidth();
    int const h = in.nir.GetHeight();
    crop_work& work = work_images(w / 2, h / 2);
    palm_image& small_image = work.small_image;
    palm_image& bw_image = work.bw_image;
    palm_image& refined_image = work.refined_image;

    small_image.SetData(0);
    in.nir.DownSampling2(small_image);
    bw_image = small_image;
    bw_image.AdaptiveThreshold();
    small_image.SusanSmooth(bw_image);
    bw_image.OpenImage_3_3();
    bw_image.CloseImage_3_1();
    if (bw_image.RetainLargestRegion() <= MIN_CENTRAL_REGION_SIZE)
        return 3;

    bw_image.OpenImage_3_3();
    _point<int> centroid = bw_image.GetCentroid();
    if (no_centroid(centroid))
        return 4;

    refined_image.SetData(0);
    bw_image.FindCentralRegion(centroid.x, centroid.y, refined_image);
    refined_image.CloseImage_3_3();
    refined_image.OpenImage_3_3();
    centroid = refined_image.GetCentroid();
    if (no_centroid(centroid))
        return 5;

    refined_image.Contour(8);
    std::vector<_position> edge;
    refined_image.Trace(edge);
    if (static_cast<int>(edge.size()) <= MIN_EDGE_ARRAY_SIZE)
        return 6;
    palm_share::ConvertToPloar(edge, centroid);
    std::vector<_position> origin(edge);
    MeanFilter(edge);

    std::vector<valley_info> valleys;
    FindValley(edge, origin, valleys);
    if (static_cast<int>(valleys.size()) < MIN_KEYPOINT_NUMBER)
        return 7;
    _point<int> key0{0, 0}, key1{0, 0};
    if (FindKeyPoint(valleys, key0, key1, centroid) == 0)
        return 8;
    key0 = _point<int>{key0.x * 2, key0.y * 2};
    key1 = _point<int>{key1.x * 2, key1.y * 2};
    code = CheckKeyPoint(key0, key1, w, h);
    if (code != 0)
        return code;

    res.rotate_angle = palm_share::GetRotateAngle(key0, key1);
    FindROICornerBoth(key0, key1, res);
    code = CheckROICorner(w, h, res);
    if (code != 0)
        return code;

    // Always written into the first pair, whatever the caller's vector held.
    out.push_back(image_pair());
    CropRectify(in.vl, out[0].vl, false, res);
    code = CheckBrightness(out[0].vl);
    if (code != 0)
        return code;
    CropRectify(in.nir, out[0].nir, true, res);
    GenerateExtendedPoints();
    GetPalmCenter(res, w / 2, h / 2);
    return 0;
}

}  // namespace palm_algorithm
