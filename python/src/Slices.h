// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "python/src/Python.h"

#include <chrono>

namespace cabinaudio::python {

/// Lets Python handle signals during a long call that has released the interpreter lock: Ctrl-C
/// ends it.
class SignalCheck {
public:
    /// Takes the lock when enough time has passed since the last look.
    /// @throws py::error_already_set  what a signal handler has raised
    void look() {
        const auto now = std::chrono::steady_clock::now();
        if (now - mLast < std::chrono::milliseconds(50)) return;
        mLast = now;
        const py::gil_scoped_acquire lock;
        if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    }

private:
    std::chrono::steady_clock::time_point mLast = std::chrono::steady_clock::now();
};

}  // namespace cabinaudio::python
