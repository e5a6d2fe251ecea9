// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <exception>
#include <new>
#include <system_error>

namespace cabinaudio::alsa {

/// Calls a function for C callers. @return its result, or a negative error number for an exception
template <typename Function>
auto guarded(const Function& function) noexcept -> decltype(function()) {
    try {
        return function();
    } catch (const std::bad_alloc&) {
        return -ENOMEM;
    } catch (const std::exception&) {
        return -EIO;
    }
}

}  // namespace cabinaudio::alsa
