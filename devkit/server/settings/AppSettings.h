// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::server {

/// An effect's switch and parameters, as opaque as the client gave them.
struct Effect {
    bool isEnabled = false;
    std::vector<std::uint8_t> parameter;
};

/// Effects by tag and name.
using Effects = std::map<std::pair<std::string, std::string>, Effect>;

/// What an application-setting connection sets. Equalisers, the hands-free processing and effects
/// are remembered and given back; delays of loudspeakers and the bypass are heard.
struct AppSettings {
    static constexpr std::size_t CHANNELS = 6;  // LF, RF, LS, RS, CF, L1

    std::array<std::uint32_t, CHANNELS> speakerDelaysUs{};
    bool isBypassed = false;  // delays of loudspeakers are left out
    std::int32_t echoQuality = 0;
    std::int32_t duplex = 0;
    std::int32_t noiseReduction = 0;
    std::int32_t reverbMode = 0;
    std::uint32_t dacGain = 0;
    std::int32_t downlinkDelayMs = 0;  // the last estimate
    // Whole records by their first word.
    std::map<std::uint32_t, std::vector<std::uint8_t>> equalizers;
    std::map<std::uint32_t, std::vector<std::uint8_t>> nonLinear;
    std::map<std::uint32_t, std::vector<std::uint8_t>> handsfreeEqualizers;
    Effects effects;
};

}  // namespace cabinaudio::server
