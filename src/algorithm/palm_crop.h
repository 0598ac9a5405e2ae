// The crop object: from a frame pair to the two regions of interest. Its
// state is process-wide: the calibration record and the lens look-up tables
// that every crop reads.
#ifndef PALM_ALGORITHM_PALM_CROP_H_
#define PALM_ALGORITHM_PALM_CROP_H_

#include <cstdint>
#include <string>

#include "algorithm/calib_data.h"
#include "image/point.h"
#include "palm_export.h"

namespace palm_algorithm {

class PALM_EXPORT CPalmCrop {
public:
    // Fractional bits of the lens table entries.
    static const int P_LUT = 6;
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

}  // namespace palm_algorithm

#endif  // PALM_ALGORITHM_PALM_CROP_H_
