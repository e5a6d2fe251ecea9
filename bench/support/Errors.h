// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <system_error>

namespace cabinaudio::bench {

/// Ends the program with a message: without its preconditions a benchmark cannot measure.
[[noreturn]] inline void raise(int error, const char* what) {
    throw std::system_error(error, std::generic_category(), what);
}

/// Passes on a system call's result; -1 raises errno.
template <typename Result>
Result checked(Result result, const char* what) {
    if (result == static_cast<Result>(-1)) raise(errno, what);
    return result;
}

}  // namespace cabinaudio::bench
