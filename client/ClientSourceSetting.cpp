// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/link/RemoteCall.h>

#include "client/Setting.h"
#include "client/SettingList.h"
#include "foundation/Make.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace wire = cabinaudio::wire;
using namespace cabinaudio::setting;
using cabinaudio::LogSite;
using Function = wire::SourceFunction;

namespace {

constexpr std::int32_t MAPPING_MAX = 10;
constexpr int FREQUENCY_MAX = 47999;
constexpr unsigned CAPABILITY_MAX = 5;
constexpr std::uint32_t OUTPUT_MASK = 3;
constexpr std::uint32_t OUTPUT_TRACKS = 20;

std::int32_t refuseName(const LogSite& site = here()) {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "bad source name\n");
    return AUDIO_BAD_VALUE;
}

std::int32_t refuseNull(const char* what, const LogSite& site = here()) {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "%s is null\n", what);
    return AUDIO_BAD_VALUE;
}

template <std::size_t SIZE>
bool isMapping(const std::int32_t (&entries)[SIZE]) {
    return std::all_of(std::begin(entries), std::end(entries),
                       [](std::int32_t entry) { return entry <= MAPPING_MAX; });
}

std::int32_t refuseMapping(const LogSite& site = here()) {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "invalid input parameter\n");
    return AUDIO_BAD_VALUE;
}

void keep(const wire::Name& name, char (&buffer)[64]) {
    std::memset(buffer, 0, sizeof buffer);
    std::memcpy(buffer, name.text, strnlen(name.text, sizeof buffer - 1));
}

/// Asks for a name and stores it in the object's `buffer`, followed by zeros. The status is
/// ignored: a refusal gives an empty name. @return `buffer`, or null when no reply arrived
template <Function FUNCTION>
const char* getName(const From& from, const char* tag, char (&buffer)[64]) {
    const auto answer = ask<FUNCTION>(
        from, {.name = text(tag)}, [&](const wire::NameReply& reply) { keep(reply.name, buffer); });
    return answer.arrived ? buffer : nullptr;
}

/// AUDIO_NO_ERROR when the server has answered, whatever its status; else the reason why it has
/// not.
std::int32_t transport(const cabinaudio::Answer& answer) {
    return answer.arrived ? AUDIO_NO_ERROR : answer.status;
}

}  // namespace

int AudioSourceSetting::setInputMuxPin(audio::audio_input_mux_id_e input,
                                       audio::audio_input_select_pin_e pin) {
    return setAdcMuxPin(input, pin);
}

int AudioSourceSetting::getInputMuxPin(audio::audio_input_mux_id_e input,
                                       audio::audio_input_select_pin_e* pin) {
    return getAdcMuxPin(input, pin);
}

ClientSourceSetting::ClientSourceSetting() noexcept
    : mRc(cabinaudio::make<RemoteCall>(AUDIO_CONNECT_SOURCE_SETTING, nullptr, nullptr, nullptr)),
      mOutPutSourceName{},
      mInputDestinationName{} {}

ClientSourceSetting::~ClientSourceSetting() {
    delete mRc;
}

// ---- Sources and destinations -------------------------------------------------------------------

int ClientSourceSetting::setOutPutSource(const char* source, const char* tag) {
    if (!fitsField(source) || !fitsField(tag)) return refuseName();
    // Deliberate: the tag is sent first.
    return set<Function::SetOutputSource>(*mRc, {.tag = text(tag), .name = text(source)});
}

const char* ClientSourceSetting::getOutPutSource(const char* tag) {
    if (!fitsField(tag)) {
        (void)refuseName();
        return nullptr;
    }
    return getName<Function::GetOutputSource>(*mRc, tag, mOutPutSourceName);
}

int ClientSourceSetting::setInputDestination(const char* tag, const char* destination) {
    if (!fitsField(tag) || !fitsField(destination)) return refuseName();
    return set<Function::SetInputDestination>(*mRc, {.tag = text(tag), .name = text(destination)});
}

const char* ClientSourceSetting::getInputDestination(const char* tag) {
    if (!fitsField(tag)) {
        (void)refuseName();
        return nullptr;
    }
    if (std::strcmp(tag, "uplink") != 0) {
        AUDIO_LOGE("input source tag only support:uplink\n");
        return nullptr;
    }
    return getName<Function::GetInputDestination>(*mRc, tag, mInputDestinationName);
}

int ClientSourceSetting::dumpOutPutSourceList(const char* tag) {
    if (!fitsField(tag)) return refuseName();
    return set<Function::DumpOutputSources>(*mRc, {.name = text(tag)});
}

int ClientSourceSetting::dumpInputDestinationList(const char* tag) {
    if (!fitsField(tag)) return refuseName();
    return set<Function::DumpInputDestinations>(*mRc, {.name = text(tag)});
}

int ClientSourceSetting::getActivedSourceNumber(const char* tag) {
    if (!fitsField(tag)) return refuseName();
    std::int32_t number = 0;
    const std::int32_t status = get<Function::GetSourceNumber>(*mRc, {.name = text(tag)}, number);
    return status != AUDIO_NO_ERROR ? status : number;
}

int ClientSourceSetting::selectSource(audio_seat_id_e seat, audio_source_id_e source) {
    const char* const management = std::getenv("USE_NEW_MAIN_AUDIO_SOURCE_MANAGEMENT");
    if (management != nullptr && std::strtol(management, nullptr, 10) == 1) {
        AUDIO_LOGW(
            "USE_NEW_MAIN_AUDIO_SOURCE_MANAGEMENT is defined, plz call setOutPutSource API to "
            "change source\n");
        return AUDIO_NO_ERROR;
    }
    return set<Function::SelectSource>(*mRc, {.first = seat, .second = source});
}

int ClientSourceSetting::setFrontAudioState(audio_seat_state_e state) {
    return set<Function::SetFrontState>(*mRc, {.value = state});
}

int ClientSourceSetting::setRearAudioState(audio_seat_state_e state) {
    return set<Function::SetRearState>(*mRc, {.value = state});
}

// ---- Tracks -------------------------------------------------------------------------------------

int ClientSourceSetting::getActiveTracksName(const char* tag, std::vector<std::string>& names) {
    if (tag == nullptr) {
        AUDIO_LOGE("tag is NULL\n");
        return AUDIO_BAD_VALUE;
    }
    return transport(ask<Function::GetActiveTrackNames>(
        *mRc, {.name = text(tag)},
        [&](const wire::NamesReply& reply) { append(reply.list.slots, reply.list.count, names); }));
}

int ClientSourceSetting::getTrackStreamType(const char* tag, const char* name, std::string& type) {
    if (tag == nullptr || name == nullptr) {
        AUDIO_LOGE("%s is NULL\n", tag == nullptr ? "tag" : "name");
        return AUDIO_BAD_VALUE;
    }
    return transport(ask<Function::GetTrackStreamType>(
        *mRc, {.tag = text(tag), .name = text(name)},
        [&](const wire::NameReply& reply) { assign(type, reply.name); }));
}

int ClientSourceSetting::getActiveTracksInfo(std::vector<audio::audio_track_info_t>& list) {
    return transport(ask<Function::GetActiveTracks>(*mRc, {}, [&](const wire::TracksReply& reply) {
        append(reply.list.slots, reply.list.count, list);
    }));
}

int ClientSourceSetting::getOutputTrackInfo(audio::audio_output_src_tag_e tag,
                                            audio::audio_output_src_parameter_t* parameters,
                                            int* count) {
    if (parameters == nullptr) {
        AUDIO_LOGE("input param error\n");
        return AUDIO_BAD_VALUE;
    }
    if ((tag & OUTPUT_MASK) == 0) {
        AUDIO_LOGE("input tag(0x%x) error\n", static_cast<unsigned>(tag));
        return 0;  // deliberate: no outputs, no tracks
    }
    const LogSite site = here();
    return ask<Function::GetOutputTrackInfo>(*mRc, {.value = number(tag)},
                                             [&](const wire::OutputTracksReply& reply) {
                                                 const auto& [number, tracks] = reply.list;
                                                 if (count != nullptr) *count = number;
                                                 AUDIO_LOG_AT(ANDROID_LOG_INFO, site,
                                                              "get track info size: %d\n", number);
                                                 std::memcpy(parameters, tracks, sizeof tracks);
                                             })
        .status;
}

int ClientSourceSetting::getOutPutTrackInfoList(
    audio::audio_output_src_tag_e tag, std::vector<audio::audio_output_src_parameter_t>& list) {
    audio::audio_output_src_parameter_t tracks[OUTPUT_TRACKS] = {};
    int count = 0;
    const int status = getOutputTrackInfo(tag, tracks, &count);
    append(tracks, count, list);
    return status;
}

// ---- Converters, buses and loudspeakers ---------------------------------------------------------

int ClientSourceSetting::setAdcMuxPin(audio::audio_input_mux_id_e input,
                                      audio::audio_input_select_pin_e pin) {
    return set<Function::SetAdcMuxPin>(*mRc, {.first = number(input), .second = number(pin)});
}

int ClientSourceSetting::getAdcMuxPin(audio::audio_input_mux_id_e input,
                                      audio::audio_input_select_pin_e* pin) {
    if (pin == nullptr) return refuseNull("pin");
    return get<Function::GetAdcMuxPin>(*mRc, {.value = number(input)}, *pin);
}

int ClientSourceSetting::setExtAdcEnable(audio::audio_input_mux_id_e /*input*/, char /*on*/) {
    return deprecated();
}

int ClientSourceSetting::setDacOutPutMapping(audio::audio_dac_output_mapping_tbl_t* table) {
    if (table == nullptr) return refuseNull("tbl");
    if (!isMapping(table->entry)) return refuseMapping();
    return setRecord<Function::SetDacMapping>(*mRc, *table);
}

int ClientSourceSetting::getDacOutPutMapping(audio::audio_dac_output_mapping_tbl_t* table) {
    if (table == nullptr) return refuseNull("tbl");
    return get<Function::GetDacMapping>(*mRc, {}, *table);
}

int ClientSourceSetting::setI2sOutPutMapping(audio::audio_i2s_output_mapping_tbl_t* table) {
    if (table == nullptr) return refuseNull("tbl");
    if (!isMapping(table->entry)) return refuseMapping();
    return setRecord<Function::SetI2sMapping>(*mRc, *table);
}

int ClientSourceSetting::getI2sOutPutMapping(audio::audio_i2s_output_mapping_tbl_t* table) {
    if (table == nullptr) return refuseNull("tbl");
    return get<Function::GetI2sMapping>(*mRc, {}, *table);
}

int ClientSourceSetting::setAdcLeftRightSwitch(bool on) {
    return call<Function::SetAdcLeftRightSwitch>(*mRc, on);
}

int ClientSourceSetting::setMainAudioSpeakerTestPattern(
    audio::audio_channel_idx_e channel, audio::audio_speaker_test_pattern_e pattern) {
    return call<Function::SetSpeakerPattern>(*mRc, channel, pattern);
}

int ClientSourceSetting::setMainAudioSpeakerTestPattern(audio::audio_channel_idx_e channel,
                                                        int frequency) {
    if (frequency < 1 || frequency > FREQUENCY_MAX) {
        AUDIO_LOGE(" invalid frequency(%d)\n", frequency);
        return AUDIO_BAD_VALUE;
    }
    return call<Function::SetSpeakerTone>(*mRc, channel, frequency);
}

int ClientSourceSetting::configurePcmHwInterface(audio::audio_pcm_hw_intf_cfg_t* configuration) {
    if (configuration == nullptr) return refuseNull("cfg");
    return setRecord<Function::ConfigurePcmInterface>(*mRc, *configuration);
}

int ClientSourceSetting::enablePcmHwInterface(bool on) {
    return call<Function::EnablePcmInterface>(*mRc, on);
}

int ClientSourceSetting::setSpeakerOutPut(audio::audio_channel_idx_e channel) {
    return call<Function::SetSpeakerOutput>(*mRc, channel);
}

int ClientSourceSetting::getSpeakerOutPut(audio::audio_channel_idx_e* channel) {
    return callForNumber<Function::GetSpeakerOutput>(*mRc,
                                                     reinterpret_cast<std::int32_t*>(channel));
}

int ClientSourceSetting::setHandsfreeDelay(int delay) {
    return call<Function::SetHandsfreeDelay>(*mRc, delay);
}

int ClientSourceSetting::setSamplerateCapability(audio::audio_samplerate_capability_e capability) {
    if (static_cast<unsigned>(capability) > CAPABILITY_MAX) {
        AUDIO_LOGE("invalid cap(%d)\n", static_cast<int>(capability));
        return AUDIO_BAD_VALUE;
    }
    return call<Function::SetSampleRateCapability>(*mRc, capability);
}

int ClientSourceSetting::setAdcPrcMode(bool /*on*/) {
    return deprecated();
}

int ClientSourceSetting::setI2sFormatAndConfig(audio::audio_i2s_select_param_e select,
                                               audio::audio_i2s_format_parameter_t* format) {
    if (format == nullptr) return refuseNull("dcp");
    return set<Function::SetI2sFormat>(
        *mRc, {.selection = select, .first = format->opaque0, .second = format->opaque4});
}

int ClientSourceSetting::setAdcPinIntoGPIO(bool /*on*/) {
    return deprecated();
}

int ClientSourceSetting::getHWSignalEnergy(audio::audio_hw_type_e hardware, unsigned* energy) {
    if (energy == nullptr) return refuseNull("energy");
    return get<Function::GetSignalEnergy>(*mRc, {.value = number(hardware)}, *energy);
}

int ClientSourceSetting::setAlterLatency(int /*latency*/) {
    return deprecated();
}

int ClientSourceSetting::setHwAutoRampMode(bool on) {
    return call<Function::SetAutoRamp>(*mRc, on);
}
