// Checking and converting the arguments that cross from Python: grey images
// as numpy arrays, palm codes as bytes, texts as str. Every refusal raises
// TypeError (wrong kind of object) or ValueError (right kind, unusable
// value), with the name of the function and of the argument in the message.
#ifndef PALM_PYTHON_ARGUMENTS_H_
#define PALM_PYTHON_ARGUMENTS_H_

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <string>

#include "palm/feature/single_feature.h"
#include "palm/feature/user_palm_feature.h"
#include "palm/image/palm_image.h"

namespace palm_python {

namespace py = pybind11;

// Largest side of an image the binding accepts; a frame of the device is
// 640 x 480, a region 110 x 110.
const int MAX_IMAGE_SIDE = 8192;

// Bytes of one palm code.
const std::size_t CODE_BYTES = palm_feature::FEATURE_DATA_SIZE;

// Where an argument came from, for messages: "extract(roi)".
struct argument {
    char const* function;
    char const* name;
    std::string where() const;
};

// A 2-D, C-ordered numpy array of uint8, copied into a new image.
palm_share::palm_image image_argument(py::handle object, argument const& arg);

// The same with a required size.
palm_share::palm_image image_argument(py::handle object, argument const& arg, int width,
                                      int height);

// A new uint8 array of the image's shape holding a copy of its pixels; None
// for an image that holds nothing.
py::object image_array(palm_share::CYImage const& image);

// A palm code: bytes, bytearray or any C-contiguous buffer of exactly 384
// bytes, copied into `code`.
void code_argument(py::handle object, argument const& arg, palm_feature::single_feature& code);

// A palm code as bytes.
py::bytes code_bytes(palm_feature::single_feature const& code);

// A record: a sequence of (print, vein) pairs of palm codes.
palm_feature::user_palm_feature record_argument(py::handle cells, argument const& arg);

// The cells of a record as a list of (print, vein) tuples of bytes.
py::list record_cells(palm_feature::user_palm_feature const& record);

// A string for the C interface: str (taken as UTF-8) or bytes, without NUL
// characters and at most `max_length` bytes long.
std::string text_argument(py::handle object, argument const& arg,
                          std::size_t max_length = static_cast<std::size_t>(-1));

// An integer argument that must lie in [low, high].
long long integer_argument(py::handle object, argument const& arg, long long low, long long high);
// The same for limits within int.
int int_argument(py::handle object, argument const& arg, int low, int high);

}  // namespace palm_python

#endif  // PALM_PYTHON_ARGUMENTS_H_
