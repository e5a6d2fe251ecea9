// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <system_error>

namespace cabinaudio::bench {

/// A benchmark without its preconditions has nothing to measure: the program ends with the message.
[[noreturn]] inline void raise(int error, const char* what) {
    throw std::system_error(error, std::generic_category(), what);
}

/// Hands on the result of a system call; -1 raises errno.
template <typename Result>
Result checked(Result result, const char* what) {
    if (result == static_cast<Result>(-1)) raise(errno, what);
    return result;
}

}  // namespace cabinaudio::bench
