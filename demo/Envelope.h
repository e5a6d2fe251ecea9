// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Sound.h"

#include <string>
#include <vector>

namespace cabinaudio::demo {

/// Writes plot data of sounds: for each one lines "seconds lowest highest" that cover all channels,
/// and two empty lines, which end a block for gnuplot.
/// @throws std::runtime_error when the file cannot be written
void writeEnvelopes(const std::string& path, const std::vector<const hear::Sound*>& sounds);

}  // namespace cabinaudio::demo
