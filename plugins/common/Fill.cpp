// SPDX-License-Identifier: Apache-2.0
#include "plugins/common/Fill.h"

#include <algorithm>

namespace cabinaudio::plugin {

Fill fillOf(audio::QVAudioTrack& track, std::size_t frameBytes) {
    const int total = track.getTotalBufferSize();
    if (total <= 0) return {};
    // One byte of a ring always stays free, so the free part is no whole number of frames.
    const int free = std::clamp(track.bytesFree(), 0, total - 1);
    const auto used = static_cast<std::size_t>(total - 1 - free);
    return {static_cast<std::size_t>(total) / frameBytes, (used + frameBytes - 1) / frameBytes,
            static_cast<std::size_t>(free) / frameBytes};
}

}  // namespace cabinaudio::plugin
