// Small builders shared by the calibration tests.
#ifndef PALM_TESTS_CALIBRATION_CALIB_TEST_HELPERS_H_
#define PALM_TESTS_CALIBRATION_CALIB_TEST_HELPERS_H_

#include <vector>

#include "palm/calibration/board_extraction.h"
#include "palm/calibration/matrix.h"
#include "palm/image/palm_image.h"
#include "sim/synthetic_board.h"

namespace calib_test {

// An image of one grey level.
inline palm_share::palm_image Image(int w, int h, unsigned char v = 0) {
    palm_share::palm_image img(w, h);
    img.SetData(v);
    return img;
}

// A column vector of the values.
inline palm_struct::matrix<double> Column(const std::vector<double>& v) {
    palm_struct::matrix<double> m(unsigned(v.size()), 1);
    for (std::size_t i = 0; i < v.size(); ++i)
        m.data[i] = v[i];
    return m;
}

// The curves and crossings of the NIR frame of the standard board seen
// through the default calibration.
struct board_extract {
    palm_share::palm_image hori = Image(640, 480), vert = Image(640, 480);
    palm_struct::matrix<double> points{64, 2};
    int result = 0;
};

inline board_extract ExtractDefaultBoard() {
    palm_test::board_frames const f = palm_test::render_board(nullptr, palm_test::board_options());
    palm_share::palm_image src(f.nir);
    palm_calib::GrayStretch(src);
    board_extract b;
    b.result = palm_calib::ExtractCurveAndPoints(src, b.hori, b.vert, b.points);
    return b;
}

}  // namespace calib_test

#endif  // PALM_TESTS_CALIBRATION_CALIB_TEST_HELPERS_H_
