// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/contract/Bytes.h"
#include "wire/Settings.h"

/// Names of functions and connection types, and bytes of values, for the tables of settings.
namespace cabinaudio::contract {

using App = wire::AppFunction;
using Mixer = wire::MixerFunction;
using Source = wire::SourceFunction;
using Volume = wire::VolumeFunction;
using Record = wire::RecordControlFunction;

inline constexpr auto APP = AUDIO_CONNECT_APP_SETTING;
inline constexpr auto MIXER = AUDIO_CONNECT_MIXER_SETTING;
inline constexpr auto SOURCE = AUDIO_CONNECT_SOURCE_SETTING;
inline constexpr auto VOLUME = AUDIO_CONNECT_VOLUME_SETTING;
inline constexpr auto RECORD = AUDIO_CONNECT_RECORD_CONTROL;

inline constexpr bool NO_FLAG = false;

inline constexpr std::uint32_t FRONT_LEFT = 1;  // loudspeaker LF

/// Name of the streams and effects whose settings are changed; no real one has it.
inline constexpr char OWN_NAME[] = "contract";

/// One byte, then three unused ones.
[[nodiscard]] inline Bytes step(std::uint8_t value) {
    return join(std::uint32_t{value});
}

[[nodiscard]] inline Bytes number(std::int32_t value) {
    return join(value);
}

[[nodiscard]] inline Bytes ownTrack() {
    return join(name64("auxiliary"), name64(OWN_NAME));
}

/// Bytes that count up.
[[nodiscard]] inline Bytes pattern(std::size_t size, std::uint8_t first) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(first + i);
    return bytes;
}

}  // namespace cabinaudio::contract
