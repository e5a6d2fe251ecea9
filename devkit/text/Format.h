// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace cabinaudio::text {

/// printf into a string of up to 511 bytes.
[[nodiscard]] std::string format(const char* text, ...) __attribute__((format(printf, 1, 2)));

/// Like printableInQuotes(), with the double quotes, as names are shown in sentences.
[[nodiscard]] std::string inQuotes(std::string_view text);

}  // namespace cabinaudio::text
