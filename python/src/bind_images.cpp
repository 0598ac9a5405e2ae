// Image helpers for datasets whose regions are not 110 x 110.
#include <cmath>
#include <vector>

#include "arguments.h"
#include "bindings.h"

namespace palm_python {

namespace {

// Source pixels under one destination pixel along one axis, with the share
// of each that the destination pixel covers.
struct span {
    int first;
    std::vector<double> weights;
};

std::vector<span> spans(int source, int destination) {
    std::vector<span> out(static_cast<std::size_t>(destination));
    double const step = static_cast<double>(source) / destination;
    for (int d = 0; d < destination; ++d) {
        double const begin = d * step, end = (d + 1) * step;
        int const first = static_cast<int>(std::floor(begin));
        int const last = std::min(source - 1, static_cast<int>(std::ceil(end)) - 1);
        out[d].first = first;
        for (int s = first; s <= last; ++s) {
            double const covered = std::min(end, s + 1.0) - std::max(begin, static_cast<double>(s));
            out[d].weights.push_back(covered > 0 ? covered : 0.0);
        }
    }
    return out;
}

py::object resize_area(py::handle image_object, py::handle width_object, py::handle height_object) {
    palm_share::palm_image const src = image_argument(image_object, {"resize_area", "image"});
    int const width = int_argument(width_object, {"resize_area", "width"}, 1, MAX_IMAGE_SIDE);
    int const height = int_argument(height_object, {"resize_area", "height"}, 1, MAX_IMAGE_SIDE);
    palm_share::palm_image dst(width, height);
    {
        py::gil_scoped_release unlocked;
        std::vector<span> const xs = spans(src.GetWidth(), width);
        std::vector<span> const ys = spans(src.GetHeight(), height);
        double const area = (static_cast<double>(src.GetWidth()) / width) *
                            (static_cast<double>(src.GetHeight()) / height);
        std::vector<double> row(static_cast<std::size_t>(width));
        for (int y = 0; y < height; ++y) {
            std::fill(row.begin(), row.end(), 0.0);
            span const& sy = ys[y];
            for (std::size_t j = 0; j < sy.weights.size(); ++j) {
                unsigned char const* line = src[sy.first + static_cast<int>(j)];
                for (int x = 0; x < width; ++x) {
                    span const& sx = xs[x];
                    double sum = 0.0;
                    for (std::size_t i = 0; i < sx.weights.size(); ++i)
                        sum += sx.weights[i] * line[sx.first + static_cast<int>(i)];
                    row[x] += sy.weights[j] * sum;
                }
            }
            unsigned char* out = dst[y];
            for (int x = 0; x < width; ++x) {
                double const v = std::floor(row[x] / area + 0.5);
                out[x] = static_cast<unsigned char>(v < 0 ? 0 : (v > 255 ? 255 : v));
            }
        }
    }
    return image_array(dst);
}

}  // namespace

void bind_images(py::module_& m) {
    m.def("resize_area", &resize_area, py::arg("image"), py::arg("width"), py::arg("height"),
          "The image resampled to width x height by area averaging: each new pixel is\n"
          "the mean of the source pixels it covers, weighted by the part covered,\n"
          "rounded to nearest.");
}

}  // namespace palm_python
