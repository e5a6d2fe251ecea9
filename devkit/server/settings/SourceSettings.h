// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/settings/Accepted.h"
#include "devkit/server/settings/Names.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <string>

namespace cabinaudio::server {

/// Settings of source connections. Settings for hardware that is missing here are only stored.
struct SourceSettings {
    /// A tone on some loudspeakers; off when `channels` is 0.
    struct Test {
        std::uint32_t channels = 0;   // mask of audio_channel_idx_e
        std::uint32_t pattern = 0;    // 1: noise; else a tone
        std::uint32_t frequency = 0;  // Hz
    };

    std::map<std::string, std::string> outputSources;  // by tag; an empty name means no choice
    std::string uplinkDestination = "telephone";
    std::map<std::int32_t, std::int32_t> seatSources;  // source by seat
    std::int32_t frontState = 0;
    std::int32_t rearState = 0;
    std::array<std::int32_t, 2> adcPins{};
    std::array<std::int32_t, 6> dacMapping{0, 1, 2, 3, 4, 5};
    std::array<std::int32_t, 8> i2sMapping{0, 1, 2, 3, 4, 5, 6, 7};
    bool isAdcSwitched = false;
    std::array<std::uint32_t, 5> pcmInterface{};
    bool isPcmInterfaceEnabled = false;
    std::uint32_t speakers = 0x3F;  // loudspeakers that are on, a mask of audio_channel_idx_e
    std::int32_t handsfreeDelay = 0;
    std::int32_t sampleRateCapability = 0;
    std::map<std::uint32_t, std::array<std::uint32_t, 2>> i2sFormats;  // by selection
    bool isAutoRamped = true;  // false: changes of the mix take effect at once
    Test test;                 // not kept across restarts
};

inline bool areOutputs(const std::map<std::string, std::string>& sources) {
    return std::all_of(sources.begin(), sources.end(),
                       [](const auto& row) { return isTrackTag(row.first); });
}

template <typename Fields>
void visit(Fields& fields, Is<SourceSettings> auto& source) {
    fields("output_sources", source.outputSources, areOutputs);
    fields("uplink_destination", source.uplinkDestination, isAny);
    fields("seat_sources", source.seatSources,
           [](const auto& all) { return isCountWithinLimit(all); });
    fields("front_state", source.frontState, isAny);
    fields("rear_state", source.rearState, isAny);
    fields("adc_pins", source.adcPins, isAny);
    fields("dac_mapping", source.dacMapping, areUpTo(MAPPING_MAX));
    fields("i2s_mapping", source.i2sMapping, areUpTo(MAPPING_MAX));
    fields("adc_switched", source.isAdcSwitched, isAny);
    fields("pcm_interface", source.pcmInterface, isAny);
    fields("pcm_interface_enabled", source.isPcmInterfaceEnabled, isAny);
    fields("speakers", source.speakers, isUpTo(ALL_LOUDSPEAKERS));
    fields("handsfree_delay", source.handsfreeDelay, isAny);
    fields("sample_rate_capability", source.sampleRateCapability, isUpTo(CAPABILITY_MAX));
    fields("i2s_formats", source.i2sFormats,
           [](const auto& all) { return isCountWithinLimit(all); });
    fields("auto_ramp", source.isAutoRamped, isAny);
}

}  // namespace cabinaudio::server
