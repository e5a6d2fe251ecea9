// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cabinaudio::server {

/// printf into a string.
std::string format(const char* text, ...) __attribute__((format(printf, 1, 2)));

/// Text from a client or a file, escaped for display, also between double quotes.
std::string printable(std::string_view text);

/// The same between double quotes, as names are shown in sentences.
std::string inQuotes(std::string_view text);

/// The decimal number that is the whole text; empty if there is none, or it is above `most`.
std::optional<std::uint64_t> numberIn(std::string_view text, std::uint64_t most);

/// A client's name for use in a file name: letters, digits, '-', '_' and '.' only; never empty,
/// never a hidden file, never longer than a client's name can be.
std::string fileName(std::string_view name);

}  // namespace cabinaudio::server
