// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::bench {

/// Name of the PCM that is measured, in every system's definitions.
inline constexpr char PCM[] = "measured";

/// Where a peer's plug-in is: the line of alsa-lib's definitions for one that was unpacked for the
/// benchmarks, "" for one that is installed.
/// @throws std::runtime_error when it is in neither place
std::string moduleOf(const std::string& type, const std::string& package);

/// Sends programs of ALSA to these definitions, and to no others.
void useDefinitions(const std::string& file, const std::string& text);

}  // namespace cabinaudio::bench
