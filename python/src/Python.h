// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

namespace cabinaudio::python {

namespace py = pybind11;

}  // namespace cabinaudio::python
