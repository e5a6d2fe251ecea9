// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/wavcheck/Report.h"
#include "devkit/wavcheck/Sound.h"

#include <cstddef>
#include <vector>

namespace cabinaudio::wavcheck {

/// What a stream alone should have made of the output: its frames at the places that the report
/// names, silence elsewhere. Channels go where the server's ChannelMatrix sends them.
/// @param form    has the output's rate and channels
/// @param frames  length of the output
/// @throws std::runtime_error when the report names places outside stem or output
Sound placed(const StreamReport& stream, const Sound& stem, const Sound& form, std::size_t frames);

/// Whether placed() is exact for a stem: nothing had to be converted.
bool isPlacedExactly(const Sound& stem, const Sound& form);

/// The sum, clipped to what samples of `form` can hold.
Sound sumOf(const std::vector<Sound>& sounds, const Sound& form);

}  // namespace cabinaudio::wavcheck
