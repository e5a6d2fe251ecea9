// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSettingTypes.h>

#include "devkit/server/settings/Accepted.h"
#include "devkit/server/settings/Names.h"
#include "wire/SettingRecords.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::server {

/// An effect's switch and parameters, stored as the client gave them.
struct Effect {
    bool isEnabled = false;
    std::vector<std::uint8_t> parameter;
};

/// Effects by tag and name.
using Effects = std::map<std::pair<std::string, std::string>, Effect>;

/// Settings of application-setting connections. Equalisers, hands-free processing and effects are
/// only stored; loudspeaker delays and the bypass are applied.
struct AppSettings {
    static constexpr std::size_t CHANNELS = 6;  // LF, RF, LS, RS, CF, L1

    std::array<std::uint32_t, CHANNELS> speakerDelaysUs{};
    bool isBypassed = false;  // loudspeaker delays are not applied
    std::int32_t echoQuality = 0;
    std::int32_t duplex = 0;
    std::int32_t noiseReduction = 0;
    std::int32_t reverbMode = 0;
    std::uint32_t dacGain = 0;
    std::int32_t downlinkDelayMs = 0;  // last estimate
    // Complete records, by their first word.
    std::map<std::uint32_t, std::vector<std::uint8_t>> equalizers;
    std::map<std::uint32_t, std::vector<std::uint8_t>> nonLinear;
    std::map<std::uint32_t, std::vector<std::uint8_t>> handsfreeEqualizers;
    Effects effects;
};

template <std::size_t SIZE>
bool areRecords(const std::map<std::uint32_t, std::vector<std::uint8_t>>& records) {
    return isCountWithinLimit(records) &&
           std::all_of(records.begin(), records.end(),
                       [](const auto& row) { return row.second.size() == SIZE; });
}

inline bool areEffects(const Effects& effects, bool (*isTag)(const std::string& tag)) {
    return isCountWithinLimit(effects) &&
           std::all_of(effects.begin(), effects.end(),
                       [isTag](const auto& row) { return isTag(row.first.first); });
}

template <typename Fields>
void visit(Fields& fields, Is<Effect> auto& effect) {
    fields("enabled", effect.isEnabled, [](bool) { return true; });
    fields("parameter", effect.parameter,
           [](const auto& bytes) { return bytes.size() <= wire::LARGEST_EFFECT; });
}

template <typename Fields>
void visit(Fields& fields, Is<AppSettings> auto& app) {
    fields("speaker_delays_us", app.speakerDelaysUs, areUpTo(SPEAKER_DELAY_MAX_US));
    fields("bypass", app.isBypassed, isAny);
    fields("echo_quality", app.echoQuality, isAny);
    fields("duplex", app.duplex, isAny);
    fields("noise_reduction", app.noiseReduction, isAny);
    fields("reverb_mode", app.reverbMode, isAny);
    fields("dac_gain", app.dacGain, isAny);
    fields("downlink_delay_ms", app.downlinkDelayMs, isAny);
    fields("equalizers", app.equalizers, areRecords<sizeof(audio::audio_ext_eq_parameter_t)>);
    fields("non_linear", app.nonLinear, areRecords<sizeof(audio::audio_nlp_config_t)>);
    fields("handsfree_equalizers", app.handsfreeEqualizers,
           areRecords<sizeof(audio::audio_handsfree_eq_t)>);
    fields("effects", app.effects,
           [](const Effects& all) { return areEffects(all, hasPlaybackEffects); });
}

}  // namespace cabinaudio::server
