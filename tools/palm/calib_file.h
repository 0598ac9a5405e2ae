// The text form of a calibration record that "palm calibrate" writes and
// the --calib options read: three lines
//   nir CX CY FX FY LX LY RX RY TX TY BX BY
//   vl  CX CY FX FY LX LY RX RY TX TY BX BY
//   nir_to_vl H0 H1 H2 H3 H4 H5 H6 H7 H8
// with every number written by %.17g, so that a record survives the trip.
#ifndef PALM_TOOLS_PALM_CALIB_FILE_H_
#define PALM_TOOLS_PALM_CALIB_FILE_H_

#include <string>

#include "palm/localisation/calib_data.h"

namespace palm_tool {

// The three lines, each ending in a newline.
std::string format_calibration(palm_struct::calib_data const& data);

// Reads a file in that form. A missing line or field, an extra one, a
// field that is not a number, and a NaN or an infinite value are refused
// with a message in `error`; `data` is written only on success.
bool read_calibration(std::string const& path, palm_struct::calib_data& data, std::string& error);

// Loads `path` (when not empty) and makes it the crop's calibration, its
// tables built; otherwise builds the tables of the calibration in force.
// False with a message when the file is refused: nothing is set then.
bool use_calibration(std::string const& path, std::string& error);

}  // namespace palm_tool

#endif  // PALM_TOOLS_PALM_CALIB_FILE_H_
