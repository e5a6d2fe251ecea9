// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/text/Format.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cabinaudio::server {

using text::format;
using text::inQuotes;

/// Text from a client or a file, escaped for display, also between double quotes.
std::string printable(std::string_view text);

/// The decimal number that is the whole text; empty if there is none, or it is above `most`.
std::optional<std::uint64_t> numberIn(std::string_view text, std::uint64_t most);

/// A client's name for use in a file name: letters, digits, '-', '_' and '.' only; never empty,
/// never a hidden file, never longer than a client's name can be.
std::string fileName(std::string_view name);

}  // namespace cabinaudio::server
