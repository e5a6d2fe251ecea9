// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/wavcheck/Report.h"
#include "devkit/wavcheck/Sound.h"

#include <cstddef>
#include <vector>

namespace cabinaudio::wavcheck {

/// The expected output of a stream alone: its frames at the positions from the report, silence
/// elsewhere. Channels are mapped by the server's ChannelMatrix.
/// @param form    has the output's rate and channels
/// @param frames  length of the output
/// @throws std::runtime_error when a position in the report is outside stem or output
Sound placed(const StreamReport& stream, const Sound& stem, const Sound& form, std::size_t frames);

/// Whether placed() is exact for a stem: nothing was converted.
bool isPlacedExactly(const Sound& stem, const Sound& form);

/// The sum, clipped to the sample range of `form`.
Sound sumOf(const std::vector<Sound>& sounds, const Sound& form);

}  // namespace cabinaudio::wavcheck
