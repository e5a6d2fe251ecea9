// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioTrack.h>

#include <cstddef>

namespace cabinaudio::plugin {

/// Fill of a playback stream's ring in whole frames. All zero while there is no ring.
struct Fill {
    std::size_t total = 0;
    std::size_t used = 0;  // rounded up: a frame that is partly played is not played
    std::size_t free = 0;  // rounded down
};

/// Takes no lock of the stream.
[[nodiscard]] Fill fillOf(audio::QVAudioTrack& track, std::size_t frameBytes);

}  // namespace cabinaudio::plugin
