// Focus and contrast measures of a grey image.
#include <cmath>
#include <cstdint>

#include "palm/calibration/calib_estimation.h"

namespace palm_calib {

float img_definition_Tenengrad(const palm_image& img, int top, int bottom, int left, int right) {
    if (!img.IsValid())
        return 0;
    int const width = img.GetWidth();
    if (img.GetHeight() < bottom || top < 1 || width < right || left < 1)
        return 0;
    std::int64_t const area = std::int64_t(right - left) * (bottom - top);
    if (area < 1)
        return 0;
    // The three row starts are offset by the window's top without scaling it
    // by the row length, so the window read is not the rectangle named by
    // the arguments. That addressing is the measure's own and is kept; a
    // window whose reads would run past the last pixel is cut off there, and
    // every term that lies inside the image is summed as before.
    std::int64_t const size = std::int64_t(width) * img.GetHeight();
    std::int64_t const T0 = std::int64_t(top) - 1;
    std::int64_t const M0 = T0 + width + top;
    std::int64_t const B0 = M0 + width + top + 1;
    const unsigned char* base = img.GetBuffer();
    float sum = 0;
    for (int i = 0; i < bottom - top; ++i) {
        std::int64_t const row = std::int64_t(i) * width;
        const unsigned char* T = base + T0 + row;
        const unsigned char* M = base + M0 + row;
        const unsigned char* B = base + B0 + row;
        for (int j = left; j < right; ++j) {
            if (B0 + row + j + 1 >= size)
                return sum / float(area);
            int const gy = B[j - 1] + 2 * B[j] + B[j + 1] - T[j - 1] - 2 * T[j] - T[j + 1];
            int const gx = T[j + 1] + 2 * M[j + 1] + B[j] - T[j - 1] - 2 * M[j - 1] - B[j - 1];
            sum += std::sqrt(float(gx * gx + gy * gy));
        }
    }
    return sum / float(area);
}

float img_definition1(const palm_image& img) {
    if (!img.IsValid())
        return 0;
    const unsigned char* p = img.GetBuffer();
    int const n = img.GetSize();
    double total = 0;
    for (int i = 0; i < n; ++i)
        total += p[i];
    double const m = total / n;
    double high = 0, low = 0;
    int nh = 0, nl = 0;
    for (int i = 0; i < n; ++i) {
        if (p[i] > 1.1 * m) {
            high += p[i];
            ++nh;
        } else if (p[i] < 0.9 * m) {
            low += p[i];
            ++nl;
        }
    }
    if (nh == 0 || nl == 0)
        return 0;
    double const H = high / nh, L = low / nl;
    if (H == 0 && L == 0)
        return 0;
    return float((H - L) / (H + L));
}

}  // namespace palm_calib
