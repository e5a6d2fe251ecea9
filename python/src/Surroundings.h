// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "python/src/Python.h"

namespace cabinaudio::python {

/// Link policy, log, fork, end of the interpreter, and whether a server listens.
void bindSurroundings(py::module_& module);

}  // namespace cabinaudio::python
