// Small builders shared by the calibration tests.
#ifndef PALM_TESTS_CALIBRATION_CALIB_TEST_HELPERS_H_
#define PALM_TESTS_CALIBRATION_CALIB_TEST_HELPERS_H_

#include <vector>

#include "palm/calibration/matrix.h"
#include "palm/image/palm_image.h"

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

}  // namespace calib_test

#endif  // PALM_TESTS_CALIBRATION_CALIB_TEST_HELPERS_H_
