// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/link/RemoteCall.h>

#include "client/Setting.h"
#include "client/SettingList.h"
#include "foundation/Make.h"
#include "wire/Settings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace wire = cabinaudio::wire;
using namespace cabinaudio::setting;
using cabinaudio::id;
using cabinaudio::LogSite;
using Function = wire::SourceFunction;

namespace {

constexpr std::int32_t MAPPING_MAX = 10;
constexpr int FREQUENCY_MAX = 47999;
constexpr unsigned CAPABILITY_MAX = 5;
constexpr std::uint32_t OUTPUT_MASK = 3;
constexpr std::uint32_t OUTPUT_TRACKS = 20;
constexpr std::uint32_t TRACKS = 32;

std::int32_t refuseName(const LogSite& site) {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "bad source name\n");
    return AUDIO_BAD_VALUE;
}

std::int32_t refuseNull(const LogSite& site, const char* what) {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "%s is null\n", what);
    return AUDIO_BAD_VALUE;
}

template <std::size_t SIZE>
bool isMapping(const std::int32_t (&entries)[SIZE]) {
    return std::all_of(std::begin(entries), std::end(entries),
                       [](std::int32_t entry) { return entry <= MAPPING_MAX; });
}

std::int32_t refuseMapping(const LogSite& site) {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "invalid input parameter\n");
    return AUDIO_BAD_VALUE;
}

/// Asks for a name and keeps it in the object's `buffer`, zeros behind it. A server that refuses
/// yields its empty name: the status is not looked at. @return `buffer`, or null when nothing
/// arrived
const char* getName(RemoteCall& rc, const LogSite& site, Function function, const char* tag,
                    char (&buffer)[64]) {
    const auto answer =
        ask(rc, site, function, sent(Text{tag}), received<wire::Name>([&](const wire::Name& name) {
                std::memset(buffer, 0, sizeof buffer);
                std::memcpy(buffer, name.text, strnlen(name.text, sizeof buffer - 1));
            }));
    return answer.arrived ? buffer : nullptr;
}

/// AUDIO_NO_ERROR when the server has answered, whatever it said; else why it has not.
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
    if (!fitsField(source) || !fitsField(tag)) return refuseName(AUDIO_LOG_SITE);
    // Deliberate: the tag goes first.
    return set(*mRc, AUDIO_LOG_SITE, Function::SetOutputSource, Text{tag}, Text{source});
}

const char* ClientSourceSetting::getOutPutSource(const char* tag) {
    if (!fitsField(tag)) {
        (void)refuseName(AUDIO_LOG_SITE);
        return nullptr;
    }
    return getName(*mRc, AUDIO_LOG_SITE, Function::GetOutputSource, tag, mOutPutSourceName);
}

int ClientSourceSetting::setInputDestination(const char* tag, const char* destination) {
    if (!fitsField(tag) || !fitsField(destination)) return refuseName(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetInputDestination, Text{tag}, Text{destination});
}

const char* ClientSourceSetting::getInputDestination(const char* tag) {
    if (!fitsField(tag)) {
        (void)refuseName(AUDIO_LOG_SITE);
        return nullptr;
    }
    if (std::strcmp(tag, "uplink") != 0) {
        AUDIO_LOGE("input source tag only support:uplink\n");
        return nullptr;
    }
    return getName(*mRc, AUDIO_LOG_SITE, Function::GetInputDestination, tag, mInputDestinationName);
}

int ClientSourceSetting::dumpOutPutSourceList(const char* tag) {
    if (!fitsField(tag)) return refuseName(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::DumpOutputSources, Text{tag});
}

int ClientSourceSetting::dumpInputDestinationList(const char* tag) {
    if (!fitsField(tag)) return refuseName(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::DumpInputDestinations, Text{tag});
}

int ClientSourceSetting::getActivedSourceNumber(const char* tag) {
    if (!fitsField(tag)) return refuseName(AUDIO_LOG_SITE);
    std::int32_t number = 0;
    const std::int32_t status =
        get(*mRc, AUDIO_LOG_SITE, Function::GetSourceNumber, sent(Text{tag}), number);
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
    return set(*mRc, AUDIO_LOG_SITE, Function::SelectSource, seat, source);
}

int ClientSourceSetting::setFrontAudioState(audio_seat_state_e state) {
    return set(*mRc, AUDIO_LOG_SITE, Function::SetFrontState, state);
}

int ClientSourceSetting::setRearAudioState(audio_seat_state_e state) {
    return set(*mRc, AUDIO_LOG_SITE, Function::SetRearState, state);
}

// ---- Tracks -------------------------------------------------------------------------------------

int ClientSourceSetting::getActiveTracksName(const char* tag, std::vector<std::string>& names) {
    if (tag == nullptr) {
        AUDIO_LOGE("tag is NULL\n");
        return AUDIO_BAD_VALUE;
    }
    return transport(ask(*mRc, AUDIO_LOG_SITE, Function::GetActiveTrackNames, sent(Text{tag}),
                         appendedTo<wire::Name, TRACKS>(names)));
}

int ClientSourceSetting::getTrackStreamType(const char* tag, const char* name, std::string& type) {
    if (tag == nullptr || name == nullptr) {
        AUDIO_LOGE("%s is NULL\n", tag == nullptr ? "tag" : "name");
        return AUDIO_BAD_VALUE;
    }
    return transport(
        ask(*mRc, AUDIO_LOG_SITE, Function::GetTrackStreamType, sent(Text{tag}, Text{name}),
            received<wire::Name>([&](const wire::Name& replied) { assign(type, replied); })));
}

int ClientSourceSetting::getActiveTracksInfo(std::vector<audio::audio_track_info_t>& list) {
    return transport(ask(*mRc, AUDIO_LOG_SITE, Function::GetActiveTracks, sent(),
                         appendedTo<audio::audio_track_info_t, TRACKS>(list)));
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
    using Tracks = wire::List<audio::audio_output_src_parameter_t, OUTPUT_TRACKS>;
    const LogSite site = AUDIO_LOG_SITE;
    return get(*mRc, site, Function::GetOutputTrackInfo, sent(tag),
               received<Tracks>([&](const Tracks& tracks) {
                   if (count != nullptr) *count = tracks.count;
                   AUDIO_LOG_AT(ANDROID_LOG_INFO, site, "get track info size: %d\n", tracks.count);
                   std::memcpy(parameters, tracks.slots, sizeof tracks.slots);
               }));
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
    return set(*mRc, AUDIO_LOG_SITE, Function::SetAdcMuxPin, input, pin);
}

int ClientSourceSetting::getAdcMuxPin(audio::audio_input_mux_id_e input,
                                      audio::audio_input_select_pin_e* pin) {
    if (pin == nullptr) return refuseNull(AUDIO_LOG_SITE, "pin");
    return get(*mRc, AUDIO_LOG_SITE, Function::GetAdcMuxPin, sent(input), *pin);
}

int ClientSourceSetting::setExtAdcEnable(audio::audio_input_mux_id_e /*input*/, char /*on*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientSourceSetting::setDacOutPutMapping(audio::audio_dac_output_mapping_tbl_t* table) {
    if (table == nullptr) return refuseNull(AUDIO_LOG_SITE, "tbl");
    if (!isMapping(table->entry)) return refuseMapping(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetDacMapping, *table);
}

int ClientSourceSetting::getDacOutPutMapping(audio::audio_dac_output_mapping_tbl_t* table) {
    if (table == nullptr) return refuseNull(AUDIO_LOG_SITE, "tbl");
    return get(*mRc, AUDIO_LOG_SITE, Function::GetDacMapping, sent(), *table);
}

int ClientSourceSetting::setI2sOutPutMapping(audio::audio_i2s_output_mapping_tbl_t* table) {
    if (table == nullptr) return refuseNull(AUDIO_LOG_SITE, "tbl");
    if (!isMapping(table->entry)) return refuseMapping(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetI2sMapping, *table);
}

int ClientSourceSetting::getI2sOutPutMapping(audio::audio_i2s_output_mapping_tbl_t* table) {
    if (table == nullptr) return refuseNull(AUDIO_LOG_SITE, "tbl");
    return get(*mRc, AUDIO_LOG_SITE, Function::GetI2sMapping, sent(), *table);
}

int ClientSourceSetting::setAdcLeftRightSwitch(bool on) {
    return mRc->callFuncId(id(Function::SetAdcLeftRightSwitch), on, false);
}

int ClientSourceSetting::setMainAudioSpeakerTestPattern(
    audio::audio_channel_idx_e channel, audio::audio_speaker_test_pattern_e pattern) {
    return mRc->callFuncId(id(Function::SetSpeakerPattern), channel, pattern, false);
}

int ClientSourceSetting::setMainAudioSpeakerTestPattern(audio::audio_channel_idx_e channel,
                                                        int frequency) {
    if (frequency < 1 || frequency > FREQUENCY_MAX) {
        AUDIO_LOGE(" invalid frequency(%d)\n", frequency);
        return AUDIO_BAD_VALUE;
    }
    return mRc->callFuncId(id(Function::SetSpeakerTone), channel, frequency, false);
}

int ClientSourceSetting::configurePcmHwInterface(audio::audio_pcm_hw_intf_cfg_t* configuration) {
    if (configuration == nullptr) return refuseNull(AUDIO_LOG_SITE, "cfg");
    return set(*mRc, AUDIO_LOG_SITE, Function::ConfigurePcmInterface, *configuration);
}

int ClientSourceSetting::enablePcmHwInterface(bool on) {
    return mRc->callFuncId(id(Function::EnablePcmInterface), on, false);
}

int ClientSourceSetting::setSpeakerOutPut(audio::audio_channel_idx_e channel) {
    return mRc->callFuncId(id(Function::SetSpeakerOutput), channel, false);
}

int ClientSourceSetting::getSpeakerOutPut(audio::audio_channel_idx_e* channel) {
    return mRc->callFuncId(id(Function::GetSpeakerOutput), reinterpret_cast<std::int32_t*>(channel),
                           false);
}

int ClientSourceSetting::setHandsfreeDelay(int delay) {
    return mRc->callFuncId(id(Function::SetHandsfreeDelay), delay, false);
}

int ClientSourceSetting::setSamplerateCapability(audio::audio_samplerate_capability_e capability) {
    if (static_cast<unsigned>(capability) > CAPABILITY_MAX) {
        AUDIO_LOGE("invalid cap(%d)\n", static_cast<int>(capability));
        return AUDIO_BAD_VALUE;
    }
    return mRc->callFuncId(id(Function::SetSampleRateCapability), capability, false);
}

int ClientSourceSetting::setAdcPrcMode(bool /*on*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientSourceSetting::setI2sFormatAndConfig(audio::audio_i2s_select_param_e select,
                                               audio::audio_i2s_format_parameter_t* format) {
    if (format == nullptr) return refuseNull(AUDIO_LOG_SITE, "dcp");
    const std::uint32_t half = format->opaque4;  // alone in its word
    return set(*mRc, AUDIO_LOG_SITE, Function::SetI2sFormat, select, format->opaque0, half);
}

int ClientSourceSetting::setAdcPinIntoGPIO(bool /*on*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientSourceSetting::getHWSignalEnergy(audio::audio_hw_type_e hardware, unsigned* energy) {
    if (energy == nullptr) return refuseNull(AUDIO_LOG_SITE, "energy");
    return get(*mRc, AUDIO_LOG_SITE, Function::GetSignalEnergy, sent(hardware), *energy);
}

int ClientSourceSetting::setAlterLatency(int /*latency*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientSourceSetting::setHwAutoRampMode(bool on) {
    return mRc->callFuncId(id(Function::SetAutoRamp), on, false);
}
