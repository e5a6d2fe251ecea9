// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace cabinaudio::server {

/// printf into a string.
std::string format(const char* text, ...) __attribute__((format(printf, 1, 2)));

/// A client's name as it may be shown: control characters and quotes become '?'.
std::string printable(std::string_view name);

/// A client's name as part of a file name: letters, digits, '-', '_' and '.'; never hidden, empty
/// or longer than a client's name can be.
std::string fileName(std::string_view name);

}  // namespace cabinaudio::server
