#include "arguments.h"

#include <climits>
#include <cstring>
#include <new>

namespace palm_python {

namespace {

std::string type_name(py::handle object) {
    if (object.is_none())
        return "None";
    return Py_TYPE(object.ptr())->tp_name;
}

std::string shape_text(py::array const& a) {
    std::string s = "(";
    for (py::ssize_t i = 0; i < a.ndim(); ++i) {
        if (i > 0)
            s += ", ";
        s += std::to_string(a.shape(i));
    }
    return s + (a.ndim() == 1 ? ",)" : ")");
}

// Releases a buffer view on every way out.
struct buffer_view {
    Py_buffer view{};
    bool held = false;
    ~buffer_view() {
        if (held)
            PyBuffer_Release(&view);
    }
};

}  // namespace

std::string argument::where() const {
    return std::string(function) + "(" + name + ")";
}

palm_share::palm_image image_argument(py::handle object, argument const& arg) {
    if (!py::isinstance<py::array>(object)) {
        throw py::type_error(arg.where() + ": expected a 2-D numpy.ndarray of dtype uint8, got " +
                             type_name(object));
    }
    py::array a = py::reinterpret_borrow<py::array>(object);
    if (a.dtype().kind() != 'u' || a.itemsize() != 1) {
        throw py::type_error(arg.where() + ": expected dtype uint8, got " +
                             std::string(py::str(a.dtype())) +
                             " (convert with numpy.asarray(image, dtype=numpy.uint8))");
    }
    if (a.ndim() != 2) {
        throw py::value_error(arg.where() + ": expected a 2-D array (rows, columns), got shape " +
                              shape_text(a));
    }
    if (!(a.flags() & py::array::c_style)) {
        throw py::value_error(arg.where() +
                              ": the array is not C-contiguous; pass numpy.ascontiguousarray(...)");
    }
    py::ssize_t const height = a.shape(0), width = a.shape(1);
    if (width < 1 || height < 1)
        throw py::value_error(arg.where() + ": the image is empty, shape " + shape_text(a));
    if (width > MAX_IMAGE_SIDE || height > MAX_IMAGE_SIDE) {
        throw py::value_error(arg.where() + ": shape " + shape_text(a) +
                              " is too large; each side may be at most " +
                              std::to_string(MAX_IMAGE_SIDE));
    }
    palm_share::palm_image image(static_cast<int>(width), static_cast<int>(height),
                                 static_cast<unsigned char const*>(a.data()));
    if (!image.IsValid())
        throw std::bad_alloc();
    return image;
}

palm_share::palm_image image_argument(py::handle object, argument const& arg, int width,
                                      int height) {
    palm_share::palm_image image = image_argument(object, arg);
    if (image.GetWidth() != width || image.GetHeight() != height) {
        throw py::value_error(arg.where() + ": expected shape (" + std::to_string(height) + ", " +
                              std::to_string(width) + "), got (" +
                              std::to_string(image.GetHeight()) + ", " +
                              std::to_string(image.GetWidth()) + ")");
    }
    return image;
}

py::object image_array(palm_share::CYImage const& image) {
    if (!image.IsValid())
        return py::none();
    py::array_t<unsigned char> a({image.GetHeight(), image.GetWidth()});
    std::memcpy(a.mutable_data(), image.GetBuffer(), static_cast<std::size_t>(image.GetSize()));
    return std::move(a);
}

void code_argument(py::handle object, argument const& arg, palm_feature::single_feature& code) {
    if (object.is_none() || !PyObject_CheckBuffer(object.ptr()) || PyUnicode_Check(object.ptr())) {
        throw py::type_error(arg.where() + ": expected a palm code as bytes (" +
                             std::to_string(CODE_BYTES) + " of them), got " + type_name(object));
    }
    buffer_view b;
    if (PyObject_GetBuffer(object.ptr(), &b.view, PyBUF_C_CONTIGUOUS) != 0) {
        PyErr_Clear();
        throw py::value_error(arg.where() + ": the palm code is not a C-contiguous buffer");
    }
    b.held = true;
    if (b.view.itemsize != 1 || static_cast<std::size_t>(b.view.len) != CODE_BYTES) {
        throw py::value_error(
            arg.where() + ": a palm code is " + std::to_string(CODE_BYTES) + " bytes, got " +
            std::to_string(b.view.len / (b.view.itemsize > 0 ? b.view.itemsize : 1)) +
            " items of " + std::to_string(b.view.itemsize) + " bytes");
    }
    std::memcpy(code.data, b.view.buf, CODE_BYTES);
}

py::bytes code_bytes(palm_feature::single_feature const& code) {
    return py::bytes(reinterpret_cast<char const*>(code.data), CODE_BYTES);
}

std::string text_argument(py::handle object, argument const& arg, std::size_t max_length) {
    char const* data = nullptr;
    Py_ssize_t length = 0;
    if (PyUnicode_Check(object.ptr())) {
        data = PyUnicode_AsUTF8AndSize(object.ptr(), &length);
        if (data == nullptr) {
            PyErr_Clear();
            throw py::value_error(arg.where() + ": the text cannot be encoded as UTF-8");
        }
    } else if (PyBytes_Check(object.ptr())) {
        data = PyBytes_AS_STRING(object.ptr());
        length = PyBytes_GET_SIZE(object.ptr());
    } else {
        throw py::type_error(arg.where() + ": expected str, got " + type_name(object));
    }
    std::size_t const n = static_cast<std::size_t>(length);
    if (n > max_length) {
        throw py::value_error(arg.where() + ": the text is " + std::to_string(n) +
                              " characters long, at most " + std::to_string(max_length) +
                              " are accepted");
    }
    if (std::memchr(data, '\0', n) != nullptr)
        throw py::value_error(arg.where() + ": the text contains a NUL character");
    return std::string(data, n);
}

long long integer_argument(py::handle object, argument const& arg, long long low, long long high) {
    if (!PyLong_Check(object.ptr()))
        throw py::type_error(arg.where() + ": expected int, got " + type_name(object));
    int overflow = 0;
    long long const v = PyLong_AsLongLongAndOverflow(object.ptr(), &overflow);
    if (v == -1 && PyErr_Occurred())
        throw py::error_already_set();
    if (overflow != 0 || v < low || v > high) {
        throw py::value_error(arg.where() + ": " + std::string(py::str(object)) +
                              " is out of range, expected " + std::to_string(low) + " to " +
                              std::to_string(high));
    }
    return v;
}

palm_feature::user_palm_feature record_argument(py::handle cells, argument const& arg) {
    if (!py::isinstance<py::sequence>(cells) || py::isinstance<py::str>(cells) ||
        py::isinstance<py::bytes>(cells)) {
        throw py::type_error(arg.where() +
                             ": expected a list of (print, vein) tuples of 384-byte codes");
    }
    py::sequence seq = py::reinterpret_borrow<py::sequence>(cells);
    palm_feature::user_palm_feature record;
    record.cells.reserve(seq.size());
    std::string const label = std::string(arg.name) + "[";
    for (std::size_t i = 0; i < seq.size(); ++i) {
        py::object cell = seq[i];
        std::string const at = label + std::to_string(i) + "]";
        argument const here{arg.function, at.c_str()};
        if (!py::isinstance<py::sequence>(cell) || py::isinstance<py::str>(cell) ||
            PyObject_CheckBuffer(cell.ptr())) {
            throw py::type_error(here.where() + ": expected a (print, vein) tuple");
        }
        py::sequence pair = py::reinterpret_borrow<py::sequence>(cell);
        if (pair.size() != 2) {
            throw py::value_error(here.where() + ": expected a (print, vein) tuple, got " +
                                  std::to_string(pair.size()) + " items");
        }
        record.cells.emplace_back();
        std::string const print_at = at + "[0]", vein_at = at + "[1]";
        code_argument(pair[0], argument{arg.function, print_at.c_str()}, record.cells.back().first);
        code_argument(pair[1], argument{arg.function, vein_at.c_str()}, record.cells.back().second);
    }
    return record;
}

py::list record_cells(palm_feature::user_palm_feature const& record) {
    py::list cells;
    for (auto const& cell : record.cells)
        cells.append(py::make_tuple(code_bytes(cell.first), code_bytes(cell.second)));
    return cells;
}

int int_argument(py::handle object, argument const& arg, int low, int high) {
    return static_cast<int>(integer_argument(object, arg, low, high));
}

}  // namespace palm_python
