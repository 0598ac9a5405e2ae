// The crop object: from a frame pair to the two regions of interest. Its
// state is process-wide: the calibration record and the lens look-up tables
// that every crop reads.
#ifndef PALM_LOCALISATION_PALM_CROP_H_
#define PALM_LOCALISATION_PALM_CROP_H_

#include <cstdint>
#include <string>
#include <vector>

#include "palm/image/cy_image.h"
#include "palm/image/point.h"
#include "palm/localisation/calib_data.h"
#include "palm/localisation/i_palm_crop.h"
#include "palm/localisation/valley_info.h"
#include "palm/palm_export.h"

namespace palm_algorithm {

class PALM_EXPORT CPalmCrop : public i_palm_crop {
  public:
    // Fractional bits of the lens table entries.
    static const int P_LUT = 6;
    // Fractional bits of the walk across a region.
    static const int P_BLI = 10;
    static const int VL_IMG_MAX_GRAY_VALUE = 230;
    static const int VL_IMG_MIN_GRAY_VALUE = 20;
    static const int MIN_CENTRAL_REGION_SIZE = 500;
    static const int MIN_EDGE_ARRAY_SIZE = 50;
    static const int MIN_KEYPOINT_NUMBER = 5;
    static const int ROI_RADIUS = 300;
    static const int SUB_IMG_WIDTH = 110;
    static const int SUB_IMG_HEIGHT = 110;
    static const int MAX_DIST_TO_CENTER = 100;
    static const int MEAN_FILTER_LENGTH = 19;
    static const int MEAN_FILTER_CENTER = 10;
    static const int THRES_KEY_POINT_PEAK = 15;
    static const int THRES_KEY_POINT_ANGLE = 0;
    static constexpr double OFFSET_RATIO = 0.13;
    static constexpr double SIN_AFFINE = 0.17364817766693;
    static constexpr double COS_AFFINE = 0.984807753012208;
    static const int FRAME_WIDTH = 640;
    static const int FRAME_HEIGHT = 480;
    static const std::size_t TABLE_ENTRIES = 640 * 480;
    static const std::size_t TABLE_BLOCK_BYTES = 4 * TABLE_ENTRIES * sizeof(std::uint16_t);

    CPalmCrop();
    // Frees the table block and clears the four table pointers.
    virtual ~CPalmCrop();

    // Copies the camera parameters and the homography (not `reserved`, not
    // `calibrated`); with `generate` also rebuilds the tables.
    static void set_calib_para(const palm_struct::calib_data& data, bool generate);
    static void GenerateMappingTable();

    // Normal to raw, absolute coordinates, scaled by 2^shift and rounded
    // half away from zero.
    static void MappingForward(const palm_struct::_point<int>& in, palm_struct::_point<int>& out,
                               const palm_struct::cp_single& cp, int shift);
    // Raw to normal, absolute coordinates, rounded half away from zero.
    static void MappingBackward(const palm_struct::_point<int>& in, palm_struct::_point<int>& out,
                                const palm_struct::cp_single& cp);
    static void Normal2Distort(const palm_struct::_point<int>& in, palm_struct::_point<int>& out,
                               bool nir);
    static void Distort2Normal(const palm_struct::_point<int>& in, palm_struct::_point<int>& out,
                               bool nir);
    // From the NIR normal plane to the VL normal plane.
    static void NIR2VL_Normal(const palm_struct::_point<int>& in, palm_struct::_point<int>& out);
    // The table look-up: raw position in 1/64 pixel of a normal position.
    // Both upper limits are inclusive, one past the table; outside them the
    // input comes back unscaled.
    static void MappingForward(const palm_struct::_point<int>& in, palm_struct::_point<int>& out,
                               bool nir);

    // The pipeline from a frame pair to out[0]; codes 0 to 11.
    int Crop(const palm_share::image_pair& in, std::vector<palm_share::image_pair>& out,
             palm_struct::_crop_results& res) override;
    // Four views of the region tilted by 10 degrees: X+, X-, Y+, Y-.
    void AffineTransform(const palm_share::palm_image& src,
                         std::vector<palm_share::palm_image>& out, bool nir,
                         const palm_struct::_crop_results& res) override;
    palm_position GetPalmPos(const palm_struct::_crop_results& res) override;

    // Steps of the pipeline.
    static int CheckValidity(const palm_share::image_pair& in);
    static int CheckBrightness(const palm_share::palm_image& image);
    static int CheckKeyPoint(const palm_struct::_point<int>& key0,
                             const palm_struct::_point<int>& key1, int width, int height);
    static void GenerateExtendedPoints();

    // Finger webs on the polar profile of the outline.
    static void MeanFilter(std::vector<palm_struct::_position>& edge);
    static void FindValley(const std::vector<palm_struct::_position>& filtered,
                           const std::vector<palm_struct::_position>& origin,
                           std::vector<valley_info>& out);
    static int FindKeyPoint(std::vector<valley_info>& valleys, palm_struct::_point<int>& key0,
                            palm_struct::_point<int>& key1, const palm_struct::_point<int>& centre);

    // Region geometry and resampling.
    static void FindROICorner(palm_struct::_point<int>* key, palm_struct::_point<int>* corner);
    static void FindROICornerBoth(const palm_struct::_point<int>& key0,
                                  const palm_struct::_point<int>& key1,
                                  palm_struct::_crop_results& res);
    static int CheckROICorner(int width, int height, const palm_struct::_crop_results& res);
    static int GetCropSize(const palm_struct::_point<int>& a, const palm_struct::_point<int>& b);
    static void GetCropStep(int size, double angle, int& step_cos, int& step_sin);
    static void CropRectify(const palm_share::CYImage& src, palm_share::CYImage& dst, bool nir,
                            const palm_struct::_crop_results& res);
    static bool CropRectify_General(const palm_share::palm_image& src, palm_share::palm_image& dst,
                                    palm_struct::_point<int>* corner, bool nir);
    static void Incline2Standard_X(const palm_struct::_point<int>& in,
                                   palm_struct::_point<int>& out, int sign,
                                   const palm_struct::cp_single& cp);
    static void Standard2Incline_X(const palm_struct::_point<int>& in,
                                   palm_struct::_point<int>& out, int sign,
                                   const palm_struct::cp_single& cp);
    static void Incline2Standard_Y(const palm_struct::_point<int>& in,
                                   palm_struct::_point<int>& out, int sign,
                                   const palm_struct::cp_single& cp);
    static void Standard2Incline_Y(const palm_struct::_point<int>& in,
                                   palm_struct::_point<int>& out, int sign,
                                   const palm_struct::cp_single& cp);
    static void GetPalmCenter(palm_struct::_crop_results& res, int half_width, int half_height);

    static palm_struct::calib_data _calibPara;
    static std::uint16_t* piMapNIRx;
    static std::uint16_t* piMapNIRy;
    static std::uint16_t* piMapVLx;
    static std::uint16_t* piMapVLy;

    // Allocates the table block if there is none.
    static void AllocateMappingTable();
    static void ReleaseMappingTable();
};

// The default calibration of the device, in force until set_calib_para.
PALM_EXPORT palm_struct::calib_data default_calib_data();

PALM_EXPORT void set_calib_para(const palm_struct::calib_data& data, bool generate);
// The mapping file: the caller's 8-byte tag, then the four tables.
PALM_EXPORT bool load_calib_mapping_file(const std::string& path, const unsigned char* tag);
PALM_EXPORT bool store_calib_mapping_file(const std::string& path, const unsigned char* tag);

// Guidance tables: 1024 sin and cos of (i - 90) degrees, and 102400/(i + 50),
// each rounded to nearest.
PALM_EXPORT extern const int piSin[181];
PALM_EXPORT extern const int piCos[181];
PALM_EXPORT extern const int piScale[151];

extern CPalmCrop g_crop_inst;

}  // namespace palm_algorithm

#endif  // PALM_LOCALISATION_PALM_CROP_H_
