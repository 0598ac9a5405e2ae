// A synthetic calibration board seen by both device cameras. The board is
// flat and faces the cameras square on, its edges parallel to the axes of
// the near-infrared normal plane: eight edges across and eight down, with
// the grey level changing side at each, so that they form a chequer whose
// outer cells run out of the frame. The visible-light camera sees the same
// board through the NIR-to-VL homography. Each raw pixel is mapped through
// the lens model of the calibration record given and shaded by the share of
// its footprint on the bright cells; blur, uneven light and noise are options.
#ifndef PALM_SIM_SYNTHETIC_BOARD_H_
#define PALM_SIM_SYNTHETIC_BOARD_H_

#include <cstdint>

#include "palm/image/palm_image.h"
#include "palm/image/point.h"
#include "palm/localisation/calib_data.h"

namespace palm_test {

// Where the edges of a board lie, in normalised NIR coordinates, ascending;
// wave bends every edge by that amplitude (normalised units) along a sine
// of the other coordinate, which no lens makes of a straight line.
struct board_layout {
    double across[8];  // normalised y of the across edges
    double down[8];    // normalised x of the down edges
    double wave = 0;
};

// The board of the device maker: uniform steps, straight edges.
board_layout standard_board();

struct board_options {
    double blur = 0;         // Gaussian sigma, raw pixels; 0 for none
    double light = 0;        // uneven light: brightness falls by this share toward the corners
    double noise = 0;        // sensor noise, grey levels (standard deviation)
    std::uint32_t seed = 1;  // of the noise
    int dark = 40;           // grey levels of the two kinds of cell
    int bright = 210;
    // What each camera sees; the VL camera sees the same board unless a
    // test gives it another (one no homography can map the NIR board to).
    board_layout nir_board = standard_board();
    board_layout vl_board = standard_board();
};

struct board_frames {
    palm_share::palm_image nir;  // 640 x 480
    palm_share::palm_image vl;
};

// Edge positions of the board in normalised NIR coordinates (normal-plane
// offset from the lens centre divided by the focal scale), ascending.
extern const double BOARD_ACROSS[8];  // normalised y of the across edges
extern const double BOARD_DOWN[8];    // normalised x of the down edges

// Renders the board through `calib` (the default calibration when null).
board_frames render_board(const palm_struct::calib_data* calib, const board_options& options);

// Crossing of across edge h and down edge v (0-based), in the normalised
// NIR plane, in the normalised VL plane, and in each camera's raw frame.
palm_struct::_point<double> board_crossing_nir_normalised(int h, int v);
palm_struct::_point<double> nir_to_vl_normalised(const palm_struct::calib_data& calib,
                                                 palm_struct::_point<double> p);
palm_struct::_point<double> normalised_to_raw(const palm_struct::cp_single& cp,
                                              palm_struct::_point<double> p);

}  // namespace palm_test

#endif  // PALM_SIM_SYNTHETIC_BOARD_H_
