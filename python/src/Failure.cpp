// SPDX-License-Identifier: Apache-2.0
#include "python/src/Failure.h"

#include "python/src/Python.h"

namespace cabinaudio::python {

namespace {

void raise(const Failure& failure) {
    const py::object error = py::module_::import("cabinaudio._errors")
                                 .attr("make")(failure.status(), failure.call(), failure.done());
    PyErr_SetObject(py::type::of(error).ptr(), error.ptr());
}

}  // namespace

void translateFailures() {
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(std::move(thrown));
        } catch (const Failure& failure) {
            raise(failure);
        }
    });
}

}  // namespace cabinaudio::python
