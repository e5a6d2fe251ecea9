// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Happening.h"

#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::trace {

/// One line of text, without its end, safe for a terminal. Empty for a new connection, which its
/// registration shows, and for the end of a connection that has not registered.
/// @param beginNs  the beginning of the trace, nanoseconds since 1970; empty: the line begins with
///                 the date instead
[[nodiscard]] std::string textOf(const Happening& happening, std::optional<std::uint64_t> beginNs);

}  // namespace cabinaudio::trace
