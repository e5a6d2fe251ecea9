// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bitset>

namespace cabinaudio::tool {

/// Bit n (0 to 2) is set if descriptor n is closed.
using ClosedDescriptors = std::bitset<3>;

[[nodiscard]] ClosedDescriptors closedStandardDescriptors();

/// Opens /dev/null for each closed standard descriptor: the library refuses sockets with these
/// numbers, and the tool's output must not end up in a socket.
void fillStandardDescriptors();

}  // namespace cabinaudio::tool
