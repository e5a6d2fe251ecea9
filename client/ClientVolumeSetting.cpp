// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioMath.h>
#include <cabinaudio/link/RemoteCall.h>

#include "client/Setting.h"
#include "client/SettingList.h"
#include "foundation/Make.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace wire = cabinaudio::wire;
using namespace cabinaudio::setting;
using cabinaudio::LogSite;
using Function = wire::VolumeFunction;

namespace {

constexpr unsigned STEP_MAX = 148;
constexpr unsigned PERCENT_MAX = 100;
constexpr std::uint32_t NO_CHANNEL = 65535;
constexpr int CHANNELS = 8;  // of a track
constexpr std::size_t FIELD = sizeof(wire::Name);

constexpr float MIC_MIN_DB = -24.0F;
constexpr float MIC_MAX_DB = 46.0F;

bool is(const char* tag, const char* name) {
    return std::strcmp(tag, name) == 0;
}

/// Whether tag and name can identify a track with a volume of its own; the second audio has none.
bool isTrack(const char* tag, const char* name) {
    return fitsField(tag) && fitsField(name) &&
           (is(tag, "main") || is(tag, "alternative") || is(tag, "auxiliary"));
}

/// The output path of a tag, or AUDIO_OUT_PATH_NONE, which is logged.
audio::audio_out_path_id_e pathOf(const char* tag, const LogSite& site = here()) {
    if (tag == nullptr) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "Invalid param, tag=NULL.\n");
        return audio::AUDIO_OUT_PATH_NONE;
    }
    if (is(tag, "main")) return audio::AUDIO_OUT_PATH_MAIN;
    if (is(tag, "second")) return audio::AUDIO_OUT_PATH_SECOND;
    if (is(tag, "alternative")) return audio::AUDIO_OUT_PATH_ALTERNATIVE;
    if (is(tag, "auxiliary")) return audio::AUDIO_OUT_PATH_AUXILIARY;
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "Invalid param, tag=%s.\n", tag);
    return audio::AUDIO_OUT_PATH_NONE;
}

const char* printable(const char* text) {
    return text != nullptr ? text : "NULL";
}

std::int32_t refuseInput(audio::audio_input_mux_id_e input, const LogSite& site = here()) {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "invalid input param, id=%d.\n", static_cast<int>(input));
    return AUDIO_BAD_VALUE;
}

std::int32_t refuseType(const char* type, const LogSite& site = here()) {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "Invalid input param(streamtype:%s)\n", printable(type));
    return AUDIO_BAD_VALUE;
}

/// Row of the microphone's gain table; fractions are truncated.
const GmicGain& micGain(float dB) {
    return gmic_gain_table[static_cast<int>(dB - MIC_MIN_DB)];
}

unsigned magnitude(int value) {
    return value < 0 ? 0U - static_cast<unsigned>(value) : static_cast<unsigned>(value);
}

/// Percent of `stepMax`, rounded half up, with the sign of `value`.
int percentOf(int value, unsigned stepMax) {
    const auto percent = static_cast<int>((stepMax / 2 + 100 * magnitude(value)) / stepMax);
    return value < 0 ? -percent : percent;
}

}  // namespace

ClientVolumeSetting::ClientVolumeSetting() noexcept
    : mRc(cabinaudio::make<RemoteCall>(AUDIO_CONNECT_VOLUME_SETTING, nullptr, nullptr, nullptr)) {}

ClientVolumeSetting::~ClientVolumeSetting() {
    delete mRc;
}

// ---- Ducking ------------------------------------------------------------------------------------

int ClientVolumeSetting::setMainAudioDunkingMode(unsigned mode) {
    return set<Function::SetDuckingMode>(*mRc, {.value = number(mode)});
}

int ClientVolumeSetting::setMainAudioDunkingTargetGain(unsigned char volume) {
    if (volume > PERCENT_MAX) return refuse();
    return set<Function::SetDuckingTargetStep>(*mRc, {.step = volume});
}

int ClientVolumeSetting::setMainAudioDunkingTargetGain(float dB) {
    if (!isAttenuation(dB)) return refuse();
    return set<Function::SetDuckingTargetGain>(*mRc, {.gain = dB});
}

int ClientVolumeSetting::duck(int percent) {
    if (static_cast<unsigned>(percent) > PERCENT_MAX) {
        AUDIO_LOGE("Invalid input param(percent:%d), the legal percent range is [0, 100]\n",
                   percent);
        return AUDIO_BAD_VALUE;
    }
    return set<Function::Duck>(*mRc, {.value = percent});
}

int ClientVolumeSetting::unduck() {
    return set<Function::Unduck>(*mRc);
}

// ---- Volumes of the outputs ---------------------------------------------------------------------

int ClientVolumeSetting::setMasterVolume(unsigned char volume) {
    if (volume > STEP_MAX) return refuse();
    return set<Function::SetMasterStep>(*mRc, {.step = volume});
}

int ClientVolumeSetting::setMasterVolume(float dB) {
    if (!isGain(dB)) return refuse();
    return set<Function::SetMasterGain>(*mRc, {.gain = dB});
}

int ClientVolumeSetting::getMasterVolume(unsigned char* volume) {
    if (volume == nullptr) return refuse();
    return get<Function::GetMasterStep>(*mRc, {}, *volume);
}

int ClientVolumeSetting::getMasterVolume(float* dB) {
    if (dB == nullptr) return refuse();
    return get<Function::GetMasterGain>(*mRc, {}, *dB);
}

int ClientVolumeSetting::setMasterVolumeRampDuration(float first, float second) {
    return set<Function::SetMasterRamp>(*mRc, {.up = first, .down = second});
}

int ClientVolumeSetting::getMasterVolumeRampDuration(float& first, float& second) {
    return get<Function::GetMasterRamp>(*mRc, {}, first, second);
}

int ClientVolumeSetting::setSecondAudioVolume(unsigned char volume) {
    if (volume > STEP_MAX) return refuse();
    return set<Function::SetSecondStep>(*mRc, {.step = volume});
}

int ClientVolumeSetting::setSecondAudioVolume(float dB) {
    if (!isGain(dB)) return refuse();
    return set<Function::SetSecondGain>(*mRc, {.gain = dB});
}

int ClientVolumeSetting::getSecondAudioVolume(unsigned char* volume) {
    if (volume == nullptr) return refuse();
    return get<Function::GetSecondStep>(*mRc, {}, *volume);
}

int ClientVolumeSetting::getSecondAudioVolume(float* dB) {
    if (dB == nullptr) return refuse();
    return get<Function::GetSecondGain>(*mRc, {}, *dB);
}

int ClientVolumeSetting::setAlterAudioVolume(unsigned char volume) {
    if (volume > STEP_MAX) return refuse();
    return set<Function::SetAlternativeStep>(*mRc, {.step = volume});
}

int ClientVolumeSetting::setAlterAudioVolume(float dB) {
    if (!isGain(dB)) return refuse();
    return set<Function::SetAlternativeGain>(*mRc, {.gain = dB});
}

int ClientVolumeSetting::getAlterAudioVolume(unsigned char* volume) {
    if (volume == nullptr) return refuse();
    return get<Function::GetAlternativeStep>(*mRc, {}, *volume);
}

int ClientVolumeSetting::getAlterAudioVolume(float* dB) {
    if (dB == nullptr) return refuse();
    return get<Function::GetAlternativeGain>(*mRc, {}, *dB);
}

// ---- Channels, fade and balance -----------------------------------------------------------------

int ClientVolumeSetting::setChannelGain(audio::audio_channel_gain_t* gain) {
    if (gain == nullptr || gain->volume > STEP_MAX) return refuse();
    return setRecord<Function::SetChannelStep>(*mRc, *gain);
}

int ClientVolumeSetting::setChannelGain(audio::audio_channel_idx_e channel, float dB) {
    if (!isGain(dB)) return refuse();
    return set<Function::SetChannelGain>(*mRc, {.channel = word(channel), .gain = dB});
}

int ClientVolumeSetting::getChannelGain(audio::audio_channel_gain_t* gain) {
    if (gain == nullptr || gain->channel == NO_CHANNEL) return refuse();
    return get<Function::GetChannelStep>(*mRc, {.channels = gain->channel}, *gain);
}

int ClientVolumeSetting::getChannelGain(audio::audio_channel_idx_e channel, float* dB) {
    if (dB == nullptr) return refuse();
    std::uint32_t unused = 0;
    return get<Function::GetChannelGain>(*mRc, {.channels = word(channel)}, unused, *dB);
}

int ClientVolumeSetting::setFadeBalance(int fade, int balance, unsigned stepMax) {
    if (stepMax < 2 || stepMax > PERCENT_MAX || magnitude(balance) > stepMax ||
        magnitude(fade) > stepMax) {
        AUDIO_LOGE("Invalid param, stepMax=%u, balance=%d, fade=%d.\n", stepMax, balance, fade);
        return AUDIO_BAD_VALUE;
    }
    const int b = percentOf(balance, stepMax);
    const int f = percentOf(fade, stepMax);
    struct Channel {
        audio::audio_channel_idx_e index;
        int volume;
    };
    const Channel channels[] = {{audio::AUDIO_CHANNEL_LF, 100 - b + f},
                                {audio::AUDIO_CHANNEL_RF, 100 + b + f},
                                {audio::AUDIO_CHANNEL_LS, 100 - b - f},
                                {audio::AUDIO_CHANNEL_RS, 100 + b - f}};
    unsigned status = 0;  // of all requests: callers only test it against 0
    for (const auto& [index, volume] : channels) {
        audio::audio_channel_gain_t gain{static_cast<std::uint32_t>(index),
                                         static_cast<std::uint8_t>(std::clamp(volume, 0, 100)),
                                         {}};
        status |= static_cast<unsigned>(setChannelGain(&gain));
    }
    const auto result = static_cast<int>(status);
    if (result != AUDIO_NO_ERROR) AUDIO_LOGW("Fail to set channels' gain, ret=%d.\n", result);
    return result;
}

// ---- Tracks and stream types --------------------------------------------------------------------

int ClientVolumeSetting::setTrackVolume(const char* tag, const char* name, unsigned char volume) {
    if (!isTrack(tag, name) || volume > STEP_MAX) return refuse();
    return set<Function::SetTrackStep>(*mRc,
                                       {.tag = text(tag), .name = text(name), .step = volume});
}

int ClientVolumeSetting::setTrackVolume(const char* tag, const char* name, float dB) {
    if (!isGain(dB) || !isTrack(tag, name)) return refuse();
    return set<Function::SetTrackGain>(*mRc, {.tag = text(tag), .name = text(name), .gain = dB});
}

int ClientVolumeSetting::getTrackVolume(const char* tag, const char* name, unsigned char* volume) {
    if (!isTrack(tag, name) || volume == nullptr) return refuse();
    return get<Function::GetTrackStep>(*mRc, {.tag = text(tag), .name = text(name)}, *volume);
}

int ClientVolumeSetting::getTrackVolume(const char* tag, const char* name, float* dB) {
    if (!isTrack(tag, name) || dB == nullptr) return refuse();
    return get<Function::GetTrackGain>(*mRc, {.tag = text(tag), .name = text(name)}, *dB);
}

int ClientVolumeSetting::setTrackChannelGain(const char* tag, const char* name, float* gains) {
    if (tag == nullptr || !is(tag, "auxiliary")) {
        AUDIO_LOGE("input tag is bad param, only support 'auxiliary', input tag:%s \n",
                   printable(tag));
        return AUDIO_BAD_VALUE;
    }
    if (name == nullptr || gains == nullptr) return refuse();
    wire::TrackChannelsRequest request{.tag = text(tag), .name = text(name), .gains = {}};
    for (int i = 0; i < CHANNELS; ++i) {
        const float gain = gains[i];
        if (!isGain(gain)) {
            AUDIO_LOGE("invalid channelGain[%d]:%.1f\n", i, static_cast<double>(gain));
            return AUDIO_BAD_VALUE;
        }
        request.gains[i] = gain;
    }
    return set<Function::SetTrackChannelGains>(*mRc, request);
}

int ClientVolumeSetting::setSourceLevel(const char* /*tag*/, const char* /*name*/,
                                        float /*level*/) {
    return deprecated();
}

int ClientVolumeSetting::getSourceLevel(const char* /*tag*/, const char* /*name*/,
                                        float* /*level*/) {
    return deprecated();
}

// Setters of a type send up to 64 bytes of its name, getters up to 63.

int ClientVolumeSetting::setVolumeByStreamType(const char* type, unsigned char volume) {
    if (type == nullptr || volume > STEP_MAX) {
        AUDIO_LOGE("Invalid input param(volume:%u, streamtype:%s)\n", unsigned{volume},
                   printable(type));
        return AUDIO_BAD_VALUE;
    }
    return set<Function::SetStreamTypeStep>(*mRc, {.name = text(type, FIELD), .step = volume});
}

int ClientVolumeSetting::getVolumeByStreamType(const char* type, unsigned char& volume) {
    if (type == nullptr) return refuseType(type);
    return get<Function::GetStreamTypeStep>(*mRc, {.name = text(type)}, volume);
}

int ClientVolumeSetting::setGainByStreamType(const char* type, float dB) {
    if (!isGain(dB) || type == nullptr) {
        AUDIO_LOGE("Invalid input param(gain:%f, streamtype:%s)\n", static_cast<double>(dB),
                   printable(type));
        return AUDIO_BAD_VALUE;
    }
    return set<Function::SetStreamTypeGain>(*mRc, {.name = text(type, FIELD), .gain = dB});
}

int ClientVolumeSetting::getGainByStreamType(const char* type, float& dB) {
    if (type == nullptr) return refuseType(type);
    return get<Function::GetStreamTypeGain>(*mRc, {.name = text(type)}, dB);
}

int ClientVolumeSetting::getStreamTypeList(std::vector<std::string>& list) {
    return ask<Function::GetStreamTypes>(*mRc, {},
                                         [&](const wire::NamesReply& reply) {
                                             append(reply.list.slots, reply.list.count, list);
                                         })
        .status;
}

// ---- Mutes --------------------------------------------------------------------------------------

int ClientVolumeSetting::mute(const char* tag, bool option) {
    const auto path = pathOf(tag);
    if (path == audio::AUDIO_OUT_PATH_NONE) return AUDIO_BAD_VALUE;
    return mute(static_cast<unsigned>(path), option);
}

int ClientVolumeSetting::demute(const char* tag, bool option) {
    const auto path = pathOf(tag);
    if (path == audio::AUDIO_OUT_PATH_NONE) return AUDIO_BAD_VALUE;
    return demute(static_cast<unsigned>(path), option);
}

int ClientVolumeSetting::getMuteState(const char* tag, bool& muted) {
    const auto path = pathOf(tag);
    if (path == audio::AUDIO_OUT_PATH_NONE) return AUDIO_BAD_VALUE;
    return getMuteState(path, muted);
}

int ClientVolumeSetting::mute(unsigned path, bool option) {
    return call<Function::Mute>(*mRc, static_cast<int>(path), option);
}

int ClientVolumeSetting::demute(unsigned path, bool option) {
    return call<Function::Demute>(*mRc, static_cast<int>(path), option);
}

int ClientVolumeSetting::getMuteState(audio::audio_out_path_id_e path, bool& muted) {
    return ask<Function::GetMuteState>(
               *mRc, {.path = word(path)},
               [&](const wire::SwitchReply& reply) { muted = reply.isOn != 0; })
        .status;
}

int ClientVolumeSetting::setMute(unsigned path, bool muted) {
    return muted ? mute(path, true) : demute(path, true);
}

// ---- Uplink and microphones ---------------------------------------------------------------------

int ClientVolumeSetting::setUpLinkGain(float dB) {
    return set<Function::SetUpLinkGain>(*mRc, {.gain = dB});
}

int ClientVolumeSetting::getUpLinkGain(float* dB) {
    if (dB == nullptr) return refuse();
    return get<Function::GetUpLinkGain>(*mRc, {}, *dB);
}

int ClientVolumeSetting::setAdcPgaGain(audio::audio_input_mux_id_e input, float left, float right) {
    if (input > audio::AUDIO_INPUT_MUX_1) return refuseInput(input);
    return set<Function::SetAdcPgaGain>(*mRc, {.input = input, .left = left, .right = right});
}

int ClientVolumeSetting::getAdcPgaGain(audio::audio_input_mux_id_e input, float* left,
                                       float* right) {
    if (input > audio::AUDIO_INPUT_MUX_1) return refuseInput(input);
    return get<Function::GetAdcPgaGain>(*mRc, {.value = number(input)}, left, right);
}

int ClientVolumeSetting::setAdcOpGain(audio::audio_input_mux_id_e input, float left, float right) {
    if (input > audio::AUDIO_INPUT_MUX_1) return refuseInput(input);
    return set<Function::SetAdcOpGain>(*mRc, {.input = input, .left = left, .right = right});
}

int ClientVolumeSetting::getAdcOpGain(audio::audio_input_mux_id_e input, float* left,
                                      float* right) {
    if (input > audio::AUDIO_INPUT_MUX_1) return refuseInput(input);
    return get<Function::GetAdcOpGain>(*mRc, {.value = number(input)}, left, right);
}

int ClientVolumeSetting::setMicAnalogGain(float left, float right) {
    if (!isWithin(left, MIC_MIN_DB, MIC_MAX_DB)) {
        AUDIO_LOGE("invalid input param lch_gain:%f\n", static_cast<double>(left));
        return AUDIO_BAD_VALUE;
    }
    if (!isWithin(right, MIC_MIN_DB, MIC_MAX_DB)) {
        AUDIO_LOGE("invalid input param rch_gain:%f\n", static_cast<double>(right));
        return AUDIO_BAD_VALUE;
    }
    const GmicGain& l = micGain(left);
    const GmicGain& r = micGain(right);
    const int status = setAdcOpGain(audio::AUDIO_INPUT_MUX_0, l.op, r.op);
    if (status != AUDIO_NO_ERROR) return status;
    return setAdcPgaGain(audio::AUDIO_INPUT_MUX_0, l.pga, r.pga);
}

int ClientVolumeSetting::getMicAnalogGain(float* left, float* right) {
    float opLeft = 0;
    float opRight = 0;
    int status = getAdcOpGain(audio::AUDIO_INPUT_MUX_0, &opLeft, &opRight);
    if (status != AUDIO_NO_ERROR) return status;
    float pgaLeft = 0;
    float pgaRight = 0;
    status = getAdcPgaGain(audio::AUDIO_INPUT_MUX_0, &pgaLeft, &pgaRight);
    if (status != AUDIO_NO_ERROR) return status;
    if (left != nullptr) *left = std::ceil(opLeft + pgaLeft);
    if (right != nullptr) *right = std::ceil(opRight + pgaRight);
    return AUDIO_NO_ERROR;
}

int ClientVolumeSetting::startMicGainCalibration() {
    return call<Function::StartMicCalibration>(*mRc);
}

int ClientVolumeSetting::getMicGainCalibrationResult(int& result, float& gain) {
    return get<Function::GetMicCalibration>(*mRc, {}, gain, result);
}
