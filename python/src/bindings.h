// The parts of the extension module, one function per family of bindings.
#ifndef PALM_PYTHON_BINDINGS_H_
#define PALM_PYTHON_BINDINGS_H_

#include <pybind11/pybind11.h>

namespace palm_python {

namespace py = pybind11;

void bind_records(py::module_& m);
void bind_coding(py::module_& m);
void bind_localisation(py::module_& m);
void bind_service(py::module_& m);
// A part of a sharded gallery and the selection among its parts' verdicts.
void bind_shard(py::module_& m);
void bind_workflow(py::module_& m);
void bind_images(py::module_& m);
// Synthetic palms and frames for evaluations and tests, as a private submodule.
void bind_synthetic(py::module_& m);

}  // namespace palm_python

#endif  // PALM_PYTHON_BINDINGS_H_
