// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace cabinaudio::server {

/// printf into a string.
std::string format(const char* text, ...) __attribute__((format(printf, 1, 2)));

/// Text from a client or a file, escaped for display, also between double quotes.
std::string printable(std::string_view text);

/// A client's name for use in a file name: letters, digits, '-', '_' and '.' only; never empty,
/// never a hidden file, never longer than a client's name can be.
std::string fileName(std::string_view name);

}  // namespace cabinaudio::server
