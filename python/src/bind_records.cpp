// Records and feature text: a record is a list of cells, each a tuple
// (print, vein) of two 384-byte palm codes.
#include <cstdint>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>

#include "arguments.h"
#include "bindings.h"
#include "palm/feature/basic_imemstream.h"
#include "palm/feature/crypt_feature.h"
#include "palm/feature/unpack_feature.h"
#include "palm/feature/user_palm_feature.h"

namespace palm_python {

namespace {

using palm_feature::user_palm_feature;

// Why a stream would be refused by the reader, in words; only called after
// the reader has refused it.
std::string stream_refusal(char const* data, std::size_t size) {
    if (size < 4)
        return "it is shorter than the 4-byte cell count";
    std::int32_t count;
    std::memcpy(&count, data, 4);
    if (count < 1 || count > palm_feature::MAX_USER_CELLS) {
        return "its cell count " + std::to_string(count) + " is outside 1 to " +
               std::to_string(palm_feature::MAX_USER_CELLS);
    }
    return "it holds " + std::to_string(size) + " bytes, a record of " + std::to_string(count) +
           " cells needs " + std::to_string(4 + 2 * CODE_BYTES * std::size_t(count));
}

py::list read_record(py::handle data) {
    argument const arg{"read_record", "data"};
    if (data.is_none() || !PyObject_CheckBuffer(data.ptr()))
        throw py::type_error(arg.where() + ": expected bytes");
    Py_buffer view;
    if (PyObject_GetBuffer(data.ptr(), &view, PyBUF_C_CONTIGUOUS) != 0) {
        PyErr_Clear();
        throw py::value_error(arg.where() + ": the data is not a C-contiguous buffer");
    }
    std::string bytes(static_cast<char const*>(view.buf), static_cast<std::size_t>(view.len));
    PyBuffer_Release(&view);
    user_palm_feature record;
    palm_feature::imemstream in(&bytes[0], bytes.size());
    if (bytes.empty() || !record.read(in)) {
        throw py::value_error(
            arg.where() + ": not a record stream: " + stream_refusal(bytes.data(), bytes.size()));
    }
    return record_cells(record);
}

py::bytes write_record(py::handle cells) {
    user_palm_feature const record = record_argument(cells, argument{"write_record", "cells"});
    std::ostringstream out(std::ios::binary);
    if (!record.write(out))
        throw std::runtime_error("write_record: the record could not be written");
    return py::bytes(out.str());
}

py::tuple crypt(py::handle cells) {
    argument const arg{"crypt_feature", "cells"};
    user_palm_feature const record = record_argument(cells, arg);
    std::string text, digest;
    if (!crypt_feature(record, text, digest))
        throw py::value_error(arg.where() + ": a record needs at least one cell");
    return py::make_tuple(py::str(text), py::str(digest));
}

py::list unpack(py::handle text_object) {
    argument const arg{"unpack_feature", "text"};
    std::string const text = text_argument(text_object, arg, palm_feature::MAX_FEATURE_TEXT_LENGTH);
    user_palm_feature record;
    if (!palm_feature::unpack_feature(text.c_str(), record)) {
        throw py::value_error(arg.where() +
                              ": not a feature text (Base64 of a record stream, at least " +
                              std::to_string(palm_feature::MIN_FEATURE_TEXT_LENGTH) +
                              " characters, a multiple of 4, of 1 to 133 cells)");
    }
    return record_cells(record);
}

}  // namespace

void bind_records(py::module_& m) {
    m.attr("FEATURE_DATA_SIZE") = CODE_BYTES;
    m.attr("MAX_USER_CELLS") = int(palm_feature::MAX_USER_CELLS);
    m.attr("MAX_FEATURE_TEXT_LENGTH") = palm_feature::MAX_FEATURE_TEXT_LENGTH;
    m.def("read_record", &read_record, py::arg("data"),
          "Cells of a record stream (4-byte cell count, then print and vein code of each\n"
          "cell) as a list of (print, vein) tuples of 384 bytes each. Bytes after the last\n"
          "cell are ignored. ValueError for a count outside 1 to 1024 or a short stream.");
    m.def("write_record", &write_record, py::arg("cells"),
          "The record stream of a list of (print, vein) tuples of 384-byte codes. Any\n"
          "number of cells is written, although a reader accepts only 1 to 1024.");
    m.def("crypt_feature", &crypt, py::arg("cells"),
          "(text, md5) of a record: its feature text (Base64 of the record stream) and\n"
          "the MD5 digest of that text as 32 lower-case hex digits. ValueError for an\n"
          "empty record.");
    m.def("unpack_feature", &unpack, py::arg("text"),
          "Cells of a feature text as a list of (print, vein) tuples. ValueError when\n"
          "the text does not decode to a record.");
}

}  // namespace palm_python
