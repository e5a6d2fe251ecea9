// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/mix/Ramp.h"
#include "devkit/server/mix/StreamRecord.h"
#include "devkit/server/settings/Settings.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace cabinaudio::server {

/// What the settings do to the sound of one stream, in factors.
struct StreamGains {
    float common = 1.0F;                                       // of all of it
    std::array<float, VolumeSettings::TRACK_CHANNELS> inputs;  // of the stream's channels
    std::array<float, VolumeSettings::CHANNELS> loudspeakers;
    bool isUpMixed = false;  // one or two channels also play at the back

    /// Nothing is changed.
    StreamGains() {
        inputs.fill(1.0F);
        loudspeakers.fill(1.0F);
    }

    /// From a channel of the stream to a channel of an output with so many. A mono output takes the
    /// mean of the front loudspeakers. Channels without a loudspeaker have no gain of their own.
    [[nodiscard]] float factor(std::size_t input, std::size_t output, std::size_t outputs) const;
};

/// @param isPromptHeard  see duckingOf()
[[nodiscard]] StreamGains gainsOf(const StreamRecord& stream, const SettingsData& settings,
                                  bool isPromptHeard);

/// What is left of the main audio.
/// @param isPromptHeard  now; matters in ducking mode 1
[[nodiscard]] float duckingOf(const VolumeSettings& volume, bool isPromptHeard);

/// Whether the main audio gives way to a stream, in ducking mode 1.
[[nodiscard]] bool isPrompt(const StreamRecord& stream);

/// How long changes take.
[[nodiscard]] RampFrames rampOf(const SettingsData& settings, std::uint32_t rate);

}  // namespace cabinaudio::server
