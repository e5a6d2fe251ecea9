// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::bench {

/// Name of the program in the results.
inline constexpr char CONSTRUCTION_PARTS[] = "parts of minimal track alternative";

/// Registers a benchmark that divides the construction of the minimal stream with a ring into its
/// parts: three thread starts, three thread names, the connection, two requests, and the reserving
/// of the ring's memory; the rest is the remaining time.
void addConstructionParts(int repeats);

}  // namespace cabinaudio::bench
