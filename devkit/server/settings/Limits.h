// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/settings/GainCurve.h"

#include <cstddef>
#include <cstdint>

namespace cabinaudio::server {

/// Both limits are inclusive.
struct Range {
    float low;
    float high;

    /// False for NaN.
    [[nodiscard]] constexpr bool holds(float value) const { return value >= low && value <= high; }
};

// Limits for clients and for the state file.
inline constexpr Range GAIN_RANGE = {gain::SILENCE_DB, gain::MAXIMUM_DB};
inline constexpr Range ATTENUATION_RANGE = {gain::SILENCE_DB, 0.0F};
inline constexpr Range MICROPHONE_RANGE = {-24.0F, 46.0F};  // of either amplifier, in dB
inline constexpr Range RAMP_RANGE = {0.0F, 10000.0F};       // ms

inline constexpr std::int32_t DUCKING_MODE_MAX = 1;
inline constexpr std::int32_t DUCK_PERCENT_MAX = 100;
inline constexpr std::int32_t UP_MIX_MODE_MAX = 1;
inline constexpr std::int32_t NAVIGATION_MODE_MAX = 1;
inline constexpr std::int32_t HARDWARE_CHANNEL_MAX = 65534;
inline constexpr std::int32_t MAPPING_MAX = 10;
inline constexpr std::int32_t FREQUENCY_MAX = 47999;  // Hz
inline constexpr std::int32_t TEST_PATTERN_MAX = 2;
inline constexpr std::int32_t CAPABILITY_MAX = 5;
inline constexpr std::int32_t SPEAKER_DELAY_MAX_US = 1000000;

/// Clients choose names and selectors freely; this many of each kind are stored.
inline constexpr std::size_t MOST_REMEMBERED = 256;

}  // namespace cabinaudio::server
