// Shared by the bindings that crop.
#ifndef PALM_PYTHON_LOCALISATION_H_
#define PALM_PYTHON_LOCALISATION_H_

#include <pybind11/pybind11.h>

#include <mutex>

#include "palm/image/crop_results.h"

namespace palm_python {

namespace py = pybind11;

// What one crop found: the code, each field of the record, the guidance word
// and the two regions; `res` keeps the record itself for the guidance.
struct crop_result {
    int code = 0;
    py::tuple nir_key_normal, nir_corner_normal, nir_key, nir_corner;
    py::tuple vl_key_normal, vl_corner_normal, vl_key, vl_corner;
    double area_percent = 0.0;
    double rotate_angle = 0.0;
    int palm_offset_x = 0;
    int palm_offset_y = 0;
    int palm_position = 0;
    py::object vl_roi = py::none();
    py::object nir_roi = py::none();
    palm_struct::_crop_results res;
};

// The device workflow's objects are for one thread: every call into them
// from Python holds this lock.
std::mutex& device_mutex();

// Builds the crop's lens tables from the calibration in force, once per
// process: the crop reads them without testing that they exist.
void ensure_lens_tables();

}  // namespace palm_python

#endif  // PALM_PYTHON_LOCALISATION_H_
