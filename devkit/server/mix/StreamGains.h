// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/mix/Ramp.h"
#include "devkit/server/mix/StreamRecord.h"
#include "devkit/server/settings/Settings.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace cabinaudio::server {

/// Factors that the settings apply to one stream.
struct StreamGains {
    float common = 1.0F;                                       // for all channels
    std::array<float, VolumeSettings::TRACK_CHANNELS> inputs;  // for the stream's channels
    std::array<float, VolumeSettings::CHANNELS> loudspeakers;
    bool isUpMixed = false;  // one or two channels also play in the rear loudspeakers

    /// Leaves the sound unchanged.
    StreamGains() {
        inputs.fill(1.0F);
        loudspeakers.fill(1.0F);
    }

    /// Applies other factors as well.
    StreamGains& operator*=(const StreamGains& other);

    /// From a stream channel to a channel of an output with `outputs` channels. A mono output uses
    /// the mean of the front loudspeakers. Channels without a loudspeaker have no gain of their
    /// own.
    [[nodiscard]] float factor(std::size_t input, std::size_t output, std::size_t outputs) const;
};

/// The settings that act on a stream, in the order in which the sound passes them.
enum class GainStage : std::uint8_t {
    Track,
    Type,
    Path,  // volume of the alternative audio, or of the second audio
    Master,
    Mute,  // of a path
    Mixer,
    Ducking,
    FadeBalance,
    Loudspeakers,  // that are on
};
inline constexpr std::size_t GAIN_STAGES = 9;

/// Factors of each stage, indexed by GainStage.
using StagedGains = std::array<StreamGains, GAIN_STAGES>;

/// @param isPromptHeard  see duckingOf()
[[nodiscard]] StagedGains stagesOf(const StreamRecord& stream, const SettingsData& settings,
                                   bool isPromptHeard);

/// The product of all stages. @param isPromptHeard  see duckingOf()
[[nodiscard]] StreamGains gainsOf(const StreamRecord& stream, const SettingsData& settings,
                                  bool isPromptHeard);

/// Factor that ducking leaves of the main audio.
/// @param isPromptHeard  matters in ducking mode 1 only
[[nodiscard]] float duckingOf(const VolumeSettings& volume, bool isPromptHeard);

/// Whether the stream ducks the main audio in ducking mode 1.
[[nodiscard]] bool isPrompt(const StreamRecord& stream);

/// Length of gain changes.
[[nodiscard]] RampFrames rampOf(const SettingsData& settings, std::uint32_t rate);

}  // namespace cabinaudio::server
