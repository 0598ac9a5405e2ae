// Coding a region, comparing codes, and the accept rule of each match policy.
// The coder and the matcher keep their work areas per thread, so both run
// with the interpreter lock released.
#include <pybind11/numpy.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "arguments.h"
#include "bindings.h"
#include "palm/extraction/i_feature_extractor.h"
#include "palm/matching/i_feature_match.h"
#include "palm/recognition/decision.h"
#include "palm/recognition/match_distance_login.h"

namespace palm_python {

namespace {

using palm_algorithm::i_feature_match;
using palm_feature::single_feature;
using palm_recognition::MATCH_DISTANCE_LOGIN;
using palm_recognition::MATCH_POLICY_COUNT;

const int REGION_SIDE = 110;

py::bytes extract(py::handle roi) {
    palm_share::palm_image const image =
        image_argument(roi, argument{"extract", "roi"}, REGION_SIDE, REGION_SIDE);
    single_feature code;
    bool ok;
    {
        py::gil_scoped_release unlocked;
        ok = palm_algorithm::get_extractor_inst()->extract(image, code);
    }
    if (!ok)
        throw std::runtime_error("extract: the region could not be coded");
    return code_bytes(code);
}

int degree_argument(py::handle degree, char const* function) {
    return int_argument(degree, argument{function, "degree"}, INT32_MIN, INT32_MAX);
}

float match(py::handle a, py::handle b, py::handle degree_object) {
    single_feature first, second;
    code_argument(a, argument{"match", "a"}, first);
    code_argument(b, argument{"match", "b"}, second);
    int const degree = degree_argument(degree_object, "match");
    py::gil_scoped_release unlocked;
    return palm_algorithm::get_feature_match_inst()->match(
        first, second, static_cast<i_feature_match::Match_Degree>(degree));
}

// A 1-D array of integers as int64, C-ordered.
py::array_t<std::int64_t> index_argument(py::handle object, argument const& arg) {
    if (!py::isinstance<py::array>(object)) {
        throw py::type_error(arg.where() + ": expected a 1-D numpy.ndarray of integers, got " +
                             std::string(Py_TYPE(object.ptr())->tp_name));
    }
    py::array a = py::reinterpret_borrow<py::array>(object);
    char const kind = a.dtype().kind();
    if (kind != 'i' && kind != 'u')
        throw py::type_error(arg.where() + ": expected an integer dtype, got " +
                             std::string(py::str(a.dtype())));
    if (a.ndim() != 1)
        throw py::value_error(arg.where() + ": expected a 1-D array");
    return py::array_t<std::int64_t, py::array::c_style | py::array::forcecast>::ensure(a);
}

py::array_t<float> match_pairs(py::handle codes_object, py::handle first_object,
                               py::handle second_object, py::handle degree_object) {
    argument const codes_arg{"match_pairs", "codes"};
    if (!py::isinstance<py::array>(codes_object)) {
        throw py::type_error(codes_arg.where() +
                             ": expected a numpy.ndarray of uint8 of shape (N, 384)");
    }
    py::array codes = py::reinterpret_borrow<py::array>(codes_object);
    if (codes.dtype().kind() != 'u' || codes.itemsize() != 1)
        throw py::type_error(codes_arg.where() + ": expected dtype uint8");
    if (codes.ndim() != 2 || static_cast<std::size_t>(codes.shape(1)) != CODE_BYTES)
        throw py::value_error(codes_arg.where() + ": expected shape (N, 384)");
    if (!(codes.flags() & py::array::c_style))
        throw py::value_error(codes_arg.where() + ": the array is not C-contiguous");
    py::array_t<std::int64_t> const first = index_argument(first_object, {"match_pairs", "first"});
    py::array_t<std::int64_t> const second =
        index_argument(second_object, {"match_pairs", "second"});
    if (first.size() != second.size())
        throw py::value_error("match_pairs: first and second differ in length");
    int const degree = degree_argument(degree_object, "match_pairs");
    py::ssize_t const n = codes.shape(0), pairs = first.size();
    std::int64_t const* fi = first.data();
    std::int64_t const* si = second.data();
    for (py::ssize_t k = 0; k < pairs; ++k) {
        if (fi[k] < 0 || fi[k] >= n || si[k] < 0 || si[k] >= n) {
            throw py::value_error("match_pairs: pair " + std::to_string(k) + " (" +
                                  std::to_string(fi[k]) + ", " + std::to_string(si[k]) +
                                  ") indexes outside the " + std::to_string(n) + " codes");
        }
    }
    std::vector<single_feature> features(static_cast<std::size_t>(n));
    unsigned char const* bytes = static_cast<unsigned char const*>(codes.data());
    for (py::ssize_t i = 0; i < n; ++i)
        std::memcpy(features[i].data, bytes + i * CODE_BYTES, CODE_BYTES);
    py::array_t<float> distances(pairs);
    float* out = distances.mutable_data();
    {
        py::gil_scoped_release unlocked;
        i_feature_match* matcher = palm_algorithm::get_feature_match_inst();
        auto const d = static_cast<i_feature_match::Match_Degree>(degree);
        for (py::ssize_t k = 0; k < pairs; ++k)
            out[k] = matcher->match(features[fi[k]], features[si[k]], d);
    }
    return distances;
}

int policy_argument(py::handle policy, char const* function) {
    return int_argument(policy, argument{function, "policy"}, 0, MATCH_POLICY_COUNT - 1);
}

float distance_argument(py::handle object, argument const& arg) {
    if (PyUnicode_Check(object.ptr()) || PyBytes_Check(object.ptr()) || object.is_none() ||
        PyBool_Check(object.ptr())) {
        throw py::type_error(arg.where() + ": expected a float, got " +
                             std::string(Py_TYPE(object.ptr())->tp_name));
    }
    double const v = PyFloat_AsDouble(object.ptr());
    if (v == -1.0 && PyErr_Occurred()) {
        PyErr_Clear();
        throw py::type_error(arg.where() + ": expected a float, got " +
                             std::string(Py_TYPE(object.ptr())->tp_name));
    }
    // The rule works in single precision; a distance from match() is a float
    // and passes through unchanged.
    return static_cast<float>(v);
}

bool decision(py::handle print, py::handle vein, py::handle policy_object) {
    int const policy = policy_argument(policy_object, "decision");
    float const p = distance_argument(print, argument{"decision", "print_distance"});
    float const v = distance_argument(vein, argument{"decision", "vein_distance"});
    float const* row = MATCH_DISTANCE_LOGIN[policy];
    return palm_recognition::decision(std::make_pair(p, v), row[0], row[1], row[2]);
}

py::array_t<float> distance_array(py::handle object, argument const& arg) {
    if (!py::isinstance<py::array>(object))
        throw py::type_error(arg.where() + ": expected a 1-D numpy.ndarray of float32");
    py::array a = py::reinterpret_borrow<py::array>(object);
    if (a.dtype().kind() != 'f')
        throw py::type_error(arg.where() + ": expected a floating dtype, got " +
                             std::string(py::str(a.dtype())));
    if (a.ndim() != 1)
        throw py::value_error(arg.where() + ": expected a 1-D array");
    return py::array_t<float, py::array::c_style | py::array::forcecast>::ensure(a);
}

py::array_t<bool> decisions(py::handle print_object, py::handle vein_object,
                            py::handle policy_object) {
    int const policy = policy_argument(policy_object, "decisions");
    py::array_t<float> const print = distance_array(print_object, {"decisions", "print"});
    py::array_t<float> const vein = distance_array(vein_object, {"decisions", "vein"});
    if (print.size() != vein.size())
        throw py::value_error("decisions: print and vein differ in length");
    py::array_t<bool> accepted(print.size());
    bool* out = accepted.mutable_data();
    float const* p = print.data();
    float const* v = vein.data();
    float const* row = MATCH_DISTANCE_LOGIN[policy];
    for (py::ssize_t k = 0; k < print.size(); ++k)
        out[k] = palm_recognition::decision(std::make_pair(p[k], v[k]), row[0], row[1], row[2]);
    return accepted;
}

py::tuple policy_limits(py::handle policy_object) {
    int const policy = policy_argument(policy_object, "policy_limits");
    float const* row = MATCH_DISTANCE_LOGIN[policy];
    return py::make_tuple(row[0], row[1], row[2]);
}

}  // namespace

void bind_coding(py::module_& m) {
    m.attr("DEGREE_LIGHT") = int(i_feature_match::DEGREE_LIGHT);
    m.attr("DEGREE_HEAVY") = int(i_feature_match::DEGREE_HEAVY);
    m.attr("DEGREE_ALL") = int(i_feature_match::DEGREE_ALL);
    m.attr("MATCH_POLICY_COUNT") = MATCH_POLICY_COUNT;
    m.attr("DEFAULT_MATCH_POLICY") = palm_recognition::DEFAULT_MATCH_POLICY;

    m.def("extract", &extract, py::arg("roi"),
          "The 384-byte palm code of a 110x110 region (numpy uint8 array of shape\n"
          "(110, 110)). Runs without the interpreter lock.");
    m.def("match", &match, py::arg("a"), py::arg("b"), py::arg("degree") = 2,
          "Distance of two palm codes of the same light, 0.0 (equal) to 1.0: the\n"
          "smallest fraction of differing bits over the translations of `degree`\n"
          "(DEGREE_LIGHT 0, DEGREE_HEAVY 1, DEGREE_ALL 2, what the server uses); any\n"
          "other degree gives 1.0. Runs without the interpreter lock.");
    m.def("match_pairs", &match_pairs, py::arg("codes"), py::arg("first"), py::arg("second"),
          py::arg("degree") = 2,
          "Distances of many pairs at once: codes is a uint8 array of shape (N, 384),\n"
          "first and second are integer arrays of indices into it; element k of the\n"
          "float32 result is match(codes[first[k]], codes[second[k]], degree). Runs\n"
          "without the interpreter lock.");
    m.def("decision", &decision, py::arg("print_distance"), py::arg("vein_distance"),
          py::arg("policy") = palm_recognition::DEFAULT_MATCH_POLICY,
          "The server's accept rule of match policy 0 to 5, in single precision:\n"
          "(-print - vein) + bias > 0, print <= print limit and vein <= vein limit.");
    m.def("decisions", &decisions, py::arg("print"), py::arg("vein"),
          py::arg("policy") = palm_recognition::DEFAULT_MATCH_POLICY,
          "decision() over two float32 arrays of distances; a bool array.");
    m.def("policy_limits", &policy_limits, py::arg("policy"),
          "(print_limit, vein_limit, bias) of match policy 0 to 5.");
}

}  // namespace palm_python
