// SPDX-License-Identifier: Apache-2.0
#include "python/src/Capture.h"
#include "python/src/Failure.h"
#include "python/src/Playback.h"
#include "python/src/Python.h"
#include "python/src/Settings.h"
#include "python/src/Surroundings.h"

// The macro names the module's entry point.
PYBIND11_MODULE(_cabinaudio, module) {  // NOLINT
    module.doc() = "The client library of the cabin audio server; use the package cabinaudio.";
    cabinaudio::python::translateFailures();
    cabinaudio::python::bindPlayback(module);
    cabinaudio::python::bindCapture(module);
    cabinaudio::python::bindSettings(module);
    cabinaudio::python::bindSurroundings(module);
}
