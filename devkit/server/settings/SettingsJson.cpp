// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/settings/SettingsJson.h"

#include "devkit/server/settings/JsonFields.h"
#include "devkit/server/settings/Limits.h"
#include "devkit/server/settings/Names.h"
#include "wire/SettingRecords.h"

#include <algorithm>
#include <stdexcept>
#include <type_traits>

namespace cabinaudio::server {
namespace {

// ---- What is accepted ---------------------------------------------------------------------------

auto isIn(const Range& range) {
    return [&range](float value) { return range.holds(value); };
}

auto areIn(const Range& range) {
    return [&range](const auto& values) {
        return std::all_of(values.begin(), values.end(), isIn(range));
    };
}

auto isUpTo(std::int64_t maximum) {
    return [maximum](auto value) {
        return std::int64_t{value} >= 0 && std::int64_t{value} <= maximum;
    };
}

auto areUpTo(std::int64_t maximum) {
    return [maximum](const auto& values) {
        return std::all_of(values.begin(), values.end(),
                           [maximum](std::int64_t value) { return value <= maximum; });
    };
}

bool isFewEnough(const auto& values) {
    return values.size() <= MOST_REMEMBERED;
}

template <std::size_t SIZE>
bool areRecords(const std::map<std::uint32_t, std::vector<std::uint8_t>>& records) {
    return isFewEnough(records) && std::all_of(records.begin(), records.end(), [](const auto& row) {
               return row.second.size() == SIZE;
           });
}

bool areStreamTypes(const std::map<std::string, float>& gains) {
    return std::all_of(gains.begin(), gains.end(), [](const auto& row) {
        return isStreamType(row.first) && GAIN_RANGE.holds(row.second);
    });
}

bool areOutputs(const std::map<std::string, std::string>& sources) {
    return std::all_of(sources.begin(), sources.end(),
                       [](const auto& row) { return isTrackTag(row.first); });
}

bool areTracks(const std::map<VolumeSettings::TrackName, VolumeSettings::Track>& tracks) {
    return isFewEnough(tracks) && std::all_of(tracks.begin(), tracks.end(), [](const auto& row) {
               return isTrackTag(row.first.first);
           });
}

bool areEffects(const Effects& effects, bool (*isTag)(const std::string& tag)) {
    return isFewEnough(effects) &&
           std::all_of(effects.begin(), effects.end(),
                       [isTag](const auto& row) { return isTag(row.first.first); });
}

}  // namespace

// ---- The fields ---------------------------------------------------------------------------------

// Found by the codecs, which know the types of their arguments only.
namespace json_fields {

template <typename Record, typename Type>
concept Is = std::is_same_v<std::remove_const_t<Record>, Type>;

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
    const auto isAny = [](const auto&) { return true; };
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

template <typename Fields>
void visit(Fields& fields, Is<SourceSettings> auto& source) {
    const auto isAny = [](const auto&) { return true; };
    fields("output_sources", source.outputSources, areOutputs);
    fields("uplink_destination", source.uplinkDestination, isAny);
    fields("seat_sources", source.seatSources, [](const auto& all) { return isFewEnough(all); });
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
    fields("i2s_formats", source.i2sFormats, [](const auto& all) { return isFewEnough(all); });
    fields("auto_ramp", source.isAutoRamped, isAny);
}

template <typename Fields>
void visit(Fields& fields, Is<Effect> auto& effect) {
    fields("enabled", effect.isEnabled, [](bool) { return true; });
    fields("parameter", effect.parameter,
           [](const auto& bytes) { return bytes.size() <= wire::LARGEST_EFFECT; });
}

template <typename Fields>
void visit(Fields& fields, Is<AppSettings> auto& app) {
    const auto isAny = [](const auto&) { return true; };
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

template <typename Fields>
void visit(Fields& fields, Is<MixerSettings> auto& mixer) {
    fields("up_mix_mode", mixer.upMixMode, isUpTo(UP_MIX_MODE_MAX));
    fields("navigation_mode", mixer.navigationMode, isUpTo(NAVIGATION_MODE_MAX));
    fields("navigation_db", mixer.navigation, areIn(ATTENUATION_RANGE));
    fields("alternative_db", mixer.alternative, areIn(ATTENUATION_RANGE));
    fields("hardware_mix", mixer.hardwareMix, [](std::uint32_t mask) { return mask <= 65535; });
}

template <typename Fields>
void visit(Fields& fields, Is<SettingsData> auto& settings) {
    const auto isAny = [](const auto&) { return true; };
    fields("volume", settings.volume, isAny);
    fields("source", settings.source, isAny);
    fields("app", settings.app, isAny);
    fields("mixer", settings.mixer, isAny);
    fields("capture_effects", settings.captureEffects,
           [](const Effects& all) { return areEffects(all, hasCaptureEffects); });
}

}  // namespace json_fields

nlohmann::json jsonOf(const SettingsData& settings) {
    return json_fields::encode(settings);
}

std::vector<std::string> takeJson(const nlohmann::json& json, SettingsData& settings) {
    json_fields::Reading reading;
    try {
        settings = json_fields::decode<SettingsData>(json, reading);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error((reading.path.empty() ? "the document" : reading.path) + " " +
                                 error.what());
    }
    return reading.unknown;
}

}  // namespace cabinaudio::server
