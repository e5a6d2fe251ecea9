// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace cabinaudio::server {

/// What a volume connection sets. Gains are in dB, see GainCurve.h.
struct VolumeSettings {
    static constexpr std::size_t CHANNELS = 6;        // LF, RF, LS, RS, CF, L1
    static constexpr std::size_t TRACK_CHANNELS = 8;  // of a track's own channel gains

    struct Track {
        float gain = 0.0F;
        std::array<float, TRACK_CHANNELS> channels{};
    };
    /// Left and right.
    using Pair = std::array<float, 2>;
    struct Input {
        Pair pga{};
        Pair op{};
    };
    using TrackName = std::pair<std::string, std::string>;  // tag, name

    float master = 0.0F;                     // of everything
    float second = 0.0F;                     // of the invocation outputs
    float alternative = 0.0F;                // of the tag "alternative"
    std::array<float, CHANNELS> channels{};  // of the loudspeakers, for the main audio
    std::map<TrackName, Track> tracks;       // also of tracks that do not exist (any more)
    std::map<std::string, float> streamTypes;
    std::uint32_t mutedPaths = 0;  // mask of audio_out_path_id_e

    /// 0: only when a client says so; 1: also while an alternative or navigation stream sounds.
    std::uint32_t duckingMode = 0;
    float duckingTarget = -20.0F;   // of the main audio while ducked by the mode
    std::uint32_t duckPercent = 0;  // amplitude that duck() takes from the main audio

    float rampUpMs = 20.0F;    // a change of the mix that makes it louder takes so long
    float rampDownMs = 20.0F;  // or softer

    float uplink = 0.0F;  // of what is recorded as the uplink
    std::array<Input, 2> inputs;
};

}  // namespace cabinaudio::server
