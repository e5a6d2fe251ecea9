// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bitset>

namespace cabinaudio::tool {

/// Bit n: descriptor n of 0 to 2 is closed.
using ClosedDescriptors = std::bitset<3>;

[[nodiscard]] ClosedDescriptors closedStandardDescriptors();

/// Opens /dev/null for each closed one. The library refuses a socket with such a number, and what
/// the tool prints must not reach one.
void fillStandardDescriptors();

}  // namespace cabinaudio::tool
