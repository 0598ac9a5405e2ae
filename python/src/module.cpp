// The extension module palm._palm; the package palm re-exports it.
#include <pybind11/numpy.h>

#include "bindings.h"

PYBIND11_MODULE(_palm, m) {
    m.doc() =
        "Palm print and vein recognition: coding, matching, cropping, records and the\n"
        "server-side matching service.";
    // pybind11 reaches numpy through a function-local static that imports it
    // on first use; two threads meeting there while one waits for the
    // interpreter lock would deadlock, so it is set up here, once. Without
    // numpy the module still loads, and whatever takes an array raises
    // ImportError when called.
    try {
        pybind11::detail::npy_api::get();
    } catch (pybind11::error_already_set const&) {
    }
    palm_python::bind_records(m);
    palm_python::bind_coding(m);
    palm_python::bind_localisation(m);
    palm_python::bind_service(m);
    palm_python::bind_shard(m);
    palm_python::bind_workflow(m);
    palm_python::bind_images(m);
    palm_python::bind_synthetic(m);
}
