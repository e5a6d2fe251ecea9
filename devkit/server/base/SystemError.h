// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <string>
#include <system_error>

namespace cabinaudio::server {

/// Exception for the system call that has just failed, from errno.
inline std::system_error systemError(const std::string& what) {
    return std::system_error(errno, std::generic_category(), what);
}

}  // namespace cabinaudio::server
