// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Check.h"

namespace cabinaudio::hear {

/// Where a sound is most like a part of another one.
struct Alignment {
    std::ptrdiff_t offset = 0;  // frames of the view from its begin to the sound's first frame
    double likeness = 0;        // normalised correlation there, 0 to 1; 0 where one is silent
};

/// Finds `sound` in the view, by the cross-correlation of the means of the channels. The sound may
/// begin before the view, and end behind it. Of several equal places, the one nearest to offset 0.
/// @param sound  of the rate of the view
[[nodiscard]] Alignment align(const View& view, const Sound& sound);

}  // namespace cabinaudio::hear
