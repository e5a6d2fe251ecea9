// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>

namespace cabinaudio::server {

/// What a source connection sets. What has no loudspeaker or converter to work on here is
/// remembered and given back.
struct SourceSettings {
    /// A tone on some loudspeakers; nothing when `channels` is 0.
    struct Test {
        std::uint32_t channels = 0;   // mask of audio_channel_idx_e
        std::uint32_t pattern = 0;    // 1: noise; else a tone
        std::uint32_t frequency = 0;  // Hz
    };

    std::map<std::string, std::string> outputSources;  // by tag; the empty name is "no choice"
    std::string uplinkDestination = "telephone";
    std::map<std::int32_t, std::int32_t> seatSources;  // seat to source
    std::int32_t frontState = 0;
    std::int32_t rearState = 0;
    std::array<std::int32_t, 2> adcPins{};
    std::array<std::int32_t, 6> dacMapping{0, 1, 2, 3, 4, 5};
    std::array<std::int32_t, 8> i2sMapping{0, 1, 2, 3, 4, 5, 6, 7};
    bool isAdcSwitched = false;
    std::array<std::uint32_t, 5> pcmInterface{};
    bool isPcmInterfaceEnabled = false;
    std::uint32_t speakers = 0x3F;  // mask of audio_channel_idx_e that are heard
    std::int32_t handsfreeDelay = 0;
    std::int32_t sampleRateCapability = 0;
    std::map<std::uint32_t, std::array<std::uint32_t, 2>> i2sFormats;  // by selection
    bool isAutoRamped = true;  // false: changes of the mix are made at once
    Test test;                 // is not kept across restarts
};

}  // namespace cabinaudio::server
