// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/settings/Accepted.h"
#include "devkit/server/settings/Names.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace cabinaudio::server {

/// Settings of volume connections. Gains are in dB, see GainCurve.h.
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
    std::map<TrackName, Track> tracks;       // also of tracks that do not exist (any longer)
    std::map<std::string, float> streamTypes;
    std::uint32_t mutedPaths = 0;  // mask of audio_out_path_id_e

    /// 0: ducked only on a client's request; 1: also while an alternative or navigation stream
    /// sounds.
    std::uint32_t duckingMode = 0;
    float duckingTarget = -20.0F;   // of the main audio while mode 1 ducks it
    std::uint32_t duckPercent = 0;  // amplitude that duck() removes from the main audio

    float rampUpMs = 20.0F;    // length of a change that makes the mix louder
    float rampDownMs = 20.0F;  // ... or softer

    float uplink = 0.0F;  // of the recorded uplink
    std::array<Input, 2> inputs;
};

inline bool areStreamTypes(const std::map<std::string, float>& gains) {
    return std::all_of(gains.begin(), gains.end(), [](const auto& row) {
        return isStreamType(row.first) && GAIN_RANGE.holds(row.second);
    });
}

inline bool areTracks(const std::map<VolumeSettings::TrackName, VolumeSettings::Track>& tracks) {
    return isCountWithinLimit(tracks) &&
           std::all_of(tracks.begin(), tracks.end(),
                       [](const auto& row) { return isTrackTag(row.first.first); });
}

template <typename Fields>
void visit(Fields& fields, Is<VolumeSettings::Track> auto& track) {
    fields("gain_db", track.gain, isIn(GAIN_RANGE));
    fields("channels_db", track.channels, areIn(GAIN_RANGE));
}

template <typename Fields>
void visit(Fields& fields, Is<VolumeSettings::Input> auto& input) {
    fields("pga_db", input.pga, areIn(MICROPHONE_RANGE));
    fields("op_db", input.op, areIn(MICROPHONE_RANGE));
}

template <typename Fields>
void visit(Fields& fields, Is<VolumeSettings> auto& volume) {
    fields("master_db", volume.master, isIn(GAIN_RANGE));
    fields("second_db", volume.second, isIn(GAIN_RANGE));
    fields("alternative_db", volume.alternative, isIn(GAIN_RANGE));
    fields("channels_db", volume.channels, areIn(GAIN_RANGE));
    fields("tracks", volume.tracks, areTracks);
    fields("stream_types_db", volume.streamTypes, areStreamTypes);
    fields("muted_paths", volume.mutedPaths, isUpTo(ALL_PATHS));
    fields("ducking_mode", volume.duckingMode, isUpTo(DUCKING_MODE_MAX));
    fields("ducking_target_db", volume.duckingTarget, isIn(ATTENUATION_RANGE));
    fields("duck_percent", volume.duckPercent, isUpTo(DUCK_PERCENT_MAX));
    fields("ramp_up_ms", volume.rampUpMs, isIn(RAMP_RANGE));
    fields("ramp_down_ms", volume.rampDownMs, isIn(RAMP_RANGE));
    fields("uplink_db", volume.uplink, isIn(GAIN_RANGE));
    fields("inputs", volume.inputs, isAny);
}

}  // namespace cabinaudio::server
