// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Report.h"
#include "devkit/hear/Sound.h"

#include <cstddef>
#include <vector>

namespace cabinaudio::hear {

/// The expected output of a stream alone: its frames at the positions from the report, silence
/// elsewhere. Channels are mapped by the server's ChannelMatrix.
/// @param form  has the output's rate, channels and length
/// @throws Error when a position in the report is outside stem or output
[[nodiscard]] Sound placed(const StreamReport& stream, const Sound& stem, const Sound& form);

/// Whether placed() is exact for a stem: nothing was converted.
[[nodiscard]] bool isPlacedExactly(const Sound& stem, const Sound& form);

/// The sum, clipped to the sample range of `form`.
[[nodiscard]] Sound sumOf(const std::vector<Sound>& sounds, const Sound& form);

}  // namespace cabinaudio::hear
