// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/settings/Accepted.h"

#include <array>
#include <cstdint>

namespace cabinaudio::server {

/// Settings of mixer connections.
struct MixerSettings {
    /// Gains into LF, RF, LS and RS, in dB.
    using Gains = std::array<float, 4>;

    std::uint32_t upMixMode = 0;       // 1: stereo also plays in the rear
    std::uint32_t navigationMode = 1;  // 0: navigation streams are silent
    Gains navigation{};                // of the stream type "navigation"
    Gains alternative{};               // of the tag "alternative"
    std::uint32_t hardwareMix = 0;     // mask of channels; only stored
};

template <typename Fields>
void visit(Fields& fields, Is<MixerSettings> auto& mixer) {
    fields("up_mix_mode", mixer.upMixMode, isUpTo(UP_MIX_MODE_MAX));
    fields("navigation_mode", mixer.navigationMode, isUpTo(NAVIGATION_MODE_MAX));
    fields("navigation_db", mixer.navigation, areIn(ATTENUATION_RANGE));
    fields("alternative_db", mixer.alternative, areIn(ATTENUATION_RANGE));
    fields("hardware_mix", mixer.hardwareMix, [](std::uint32_t mask) { return mask <= 65535; });
}

}  // namespace cabinaudio::server
