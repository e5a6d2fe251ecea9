// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioMath.h>
#include <cabinaudio/link/RemoteCall.h>

#include "client/Setting.h"
#include "client/SettingList.h"
#include "foundation/Make.h"
#include "wire/Settings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace wire = cabinaudio::wire;
using namespace cabinaudio::setting;
using cabinaudio::id;
using Function = wire::VolumeFunction;

namespace {

constexpr unsigned STEP_MAX = 148;
constexpr unsigned PERCENT_MAX = 100;
constexpr std::uint32_t NO_CHANNEL = 65535;
constexpr int CHANNELS = 8;  // of a track

constexpr float MIC_MIN_DB = -24.0F;
constexpr float MIC_MAX_DB = 46.0F;

bool is(const char* tag, const char* name) {
    return std::strcmp(tag, name) == 0;
}

/// Whether a track can have a volume of its own; the second audio has none.
bool isTrack(const char* tag, const char* name) {
    return fitsField(tag) && fitsField(name) &&
           (is(tag, "main") || is(tag, "alternative") || is(tag, "auxiliary"));
}

/// The output path of a tag, or AUDIO_OUT_PATH_NONE with a line about it.
audio::audio_out_path_id_e pathOf(const char* tag, const cabinaudio::LogSite& site) {
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

std::int32_t refuseInput(audio::audio_input_mux_id_e input, const cabinaudio::LogSite& site) {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "invalid input param, id=%d.\n", static_cast<int>(input));
    return AUDIO_BAD_VALUE;
}

std::int32_t refuseType(const char* type, const cabinaudio::LogSite& site) {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "Invalid input param(streamtype:%s)\n", printable(type));
    return AUDIO_BAD_VALUE;
}

/// Row of the microphone's gain table; fractions are cut off.
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
    return set(*mRc, AUDIO_LOG_SITE, Function::SetDuckingMode, mode);
}

int ClientVolumeSetting::setMainAudioDunkingTargetGain(unsigned char volume) {
    if (volume > PERCENT_MAX) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetDuckingTargetStep, Byte{volume});
}

int ClientVolumeSetting::setMainAudioDunkingTargetGain(float dB) {
    if (!isAttenuation(dB)) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetDuckingTargetGain, dB);
}

int ClientVolumeSetting::duck(int percent) {
    if (static_cast<unsigned>(percent) > PERCENT_MAX) {
        AUDIO_LOGE("Invalid input param(percent:%d), the legal percent range is [0, 100]\n",
                   percent);
        return AUDIO_BAD_VALUE;
    }
    return set(*mRc, AUDIO_LOG_SITE, Function::Duck, percent);
}

int ClientVolumeSetting::unduck() {
    return set(*mRc, AUDIO_LOG_SITE, Function::Unduck);
}

// ---- Volumes of the outputs ---------------------------------------------------------------------

int ClientVolumeSetting::setMasterVolume(unsigned char volume) {
    if (volume > STEP_MAX) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetMasterStep, Byte{volume});
}

int ClientVolumeSetting::setMasterVolume(float dB) {
    if (!isGain(dB)) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetMasterGain, dB);
}

int ClientVolumeSetting::getMasterVolume(unsigned char* volume) {
    if (volume == nullptr) return refuse(AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetMasterStep, sent(), *volume);
}

int ClientVolumeSetting::getMasterVolume(float* dB) {
    if (dB == nullptr) return refuse(AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetMasterGain, sent(), *dB);
}

int ClientVolumeSetting::setMasterVolumeRampDuration(float first, float second) {
    return set(*mRc, AUDIO_LOG_SITE, Function::SetMasterRamp, first, second);
}

int ClientVolumeSetting::getMasterVolumeRampDuration(float& first, float& second) {
    return get(*mRc, AUDIO_LOG_SITE, Function::GetMasterRamp, sent(), first, second);
}

int ClientVolumeSetting::setSecondAudioVolume(unsigned char volume) {
    if (volume > STEP_MAX) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetSecondStep, Byte{volume});
}

int ClientVolumeSetting::setSecondAudioVolume(float dB) {
    if (!isGain(dB)) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetSecondGain, dB);
}

int ClientVolumeSetting::getSecondAudioVolume(unsigned char* volume) {
    if (volume == nullptr) return refuse(AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetSecondStep, sent(), *volume);
}

int ClientVolumeSetting::getSecondAudioVolume(float* dB) {
    if (dB == nullptr) return refuse(AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetSecondGain, sent(), *dB);
}

int ClientVolumeSetting::setAlterAudioVolume(unsigned char volume) {
    if (volume > STEP_MAX) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetAlternativeStep, Byte{volume});
}

int ClientVolumeSetting::setAlterAudioVolume(float dB) {
    if (!isGain(dB)) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetAlternativeGain, dB);
}

int ClientVolumeSetting::getAlterAudioVolume(unsigned char* volume) {
    if (volume == nullptr) return refuse(AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetAlternativeStep, sent(), *volume);
}

int ClientVolumeSetting::getAlterAudioVolume(float* dB) {
    if (dB == nullptr) return refuse(AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetAlternativeGain, sent(), *dB);
}

// ---- Channels, fade and balance -----------------------------------------------------------------

int ClientVolumeSetting::setChannelGain(audio::audio_channel_gain_t* gain) {
    if (gain == nullptr || gain->volume > STEP_MAX) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetChannelStep, *gain);
}

int ClientVolumeSetting::setChannelGain(audio::audio_channel_idx_e channel, float dB) {
    if (!isGain(dB)) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetChannelGain, channel, dB);
}

int ClientVolumeSetting::getChannelGain(audio::audio_channel_gain_t* gain) {
    if (gain == nullptr || gain->channel == NO_CHANNEL) return refuse(AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetChannelStep, sent(gain->channel), *gain);
}

int ClientVolumeSetting::getChannelGain(audio::audio_channel_idx_e channel, float* dB) {
    if (dB == nullptr) return refuse(AUDIO_LOG_SITE);
    std::uint32_t unused = 0;
    return get(*mRc, AUDIO_LOG_SITE, Function::GetChannelGain, sent(channel), unused, *dB);
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
    unsigned status = 0;  // of all: callers only ask whether it is 0
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
    if (!isTrack(tag, name) || volume > STEP_MAX) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetTrackStep, Text{tag}, Text{name}, Byte{volume});
}

int ClientVolumeSetting::setTrackVolume(const char* tag, const char* name, float dB) {
    if (!isGain(dB) || !isTrack(tag, name)) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetTrackGain, Text{tag}, Text{name}, dB);
}

int ClientVolumeSetting::getTrackVolume(const char* tag, const char* name, unsigned char* volume) {
    if (!isTrack(tag, name) || volume == nullptr) return refuse(AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetTrackStep, sent(Text{tag}, Text{name}), *volume);
}

int ClientVolumeSetting::getTrackVolume(const char* tag, const char* name, float* dB) {
    if (!isTrack(tag, name) || dB == nullptr) return refuse(AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetTrackGain, sent(Text{tag}, Text{name}), *dB);
}

int ClientVolumeSetting::setTrackChannelGain(const char* tag, const char* name, float* gains) {
    if (tag == nullptr || !is(tag, "auxiliary")) {
        AUDIO_LOGE("input tag is bad param, only support 'auxiliary', input tag:%s \n",
                   printable(tag));
        return AUDIO_BAD_VALUE;
    }
    if (name == nullptr || gains == nullptr) return refuse(AUDIO_LOG_SITE);
    std::array<float, CHANNELS> channels{};
    for (int i = 0; i < CHANNELS; ++i) {
        const float gain = gains[i];
        if (!isGain(gain)) {
            AUDIO_LOGE("invalid channelGain[%d]:%.1f\n", i, static_cast<double>(gain));
            return AUDIO_BAD_VALUE;
        }
        channels[static_cast<std::size_t>(i)] = gain;
    }
    return set(*mRc, AUDIO_LOG_SITE, Function::SetTrackChannelGains, Text{tag}, Text{name},
               channels);
}

int ClientVolumeSetting::setSourceLevel(const char* /*tag*/, const char* /*name*/,
                                        float /*level*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientVolumeSetting::getSourceLevel(const char* /*tag*/, const char* /*name*/,
                                        float* /*level*/) {
    return deprecated(AUDIO_LOG_SITE);
}

// Setters of a type send up to 64 bytes of its name, getters up to 63.

int ClientVolumeSetting::setVolumeByStreamType(const char* type, unsigned char volume) {
    if (type == nullptr || volume > STEP_MAX) {
        AUDIO_LOGE("Invalid input param(volume:%u, streamtype:%s)\n", unsigned{volume},
                   printable(type));
        return AUDIO_BAD_VALUE;
    }
    return set(*mRc, AUDIO_LOG_SITE, Function::SetStreamTypeStep, Text{type, Text::FIELD},
               Byte{volume});
}

int ClientVolumeSetting::getVolumeByStreamType(const char* type, unsigned char& volume) {
    if (type == nullptr) return refuseType(type, AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetStreamTypeStep, sent(Text{type}), volume);
}

int ClientVolumeSetting::setGainByStreamType(const char* type, float dB) {
    if (!isGain(dB) || type == nullptr) {
        AUDIO_LOGE("Invalid input param(gain:%f, streamtype:%s)\n", static_cast<double>(dB),
                   printable(type));
        return AUDIO_BAD_VALUE;
    }
    return set(*mRc, AUDIO_LOG_SITE, Function::SetStreamTypeGain, Text{type, Text::FIELD}, dB);
}

int ClientVolumeSetting::getGainByStreamType(const char* type, float& dB) {
    if (type == nullptr) return refuseType(type, AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetStreamTypeGain, sent(Text{type}), dB);
}

int ClientVolumeSetting::getStreamTypeList(std::vector<std::string>& list) {
    return get(*mRc, AUDIO_LOG_SITE, Function::GetStreamTypes, sent(),
               appendedTo<wire::Name, 32>(list));
}

// ---- Mutes --------------------------------------------------------------------------------------

int ClientVolumeSetting::mute(const char* tag, bool option) {
    const auto path = pathOf(tag, AUDIO_LOG_SITE);
    if (path == audio::AUDIO_OUT_PATH_NONE) return AUDIO_BAD_VALUE;
    return mute(static_cast<unsigned>(path), option);
}

int ClientVolumeSetting::demute(const char* tag, bool option) {
    const auto path = pathOf(tag, AUDIO_LOG_SITE);
    if (path == audio::AUDIO_OUT_PATH_NONE) return AUDIO_BAD_VALUE;
    return demute(static_cast<unsigned>(path), option);
}

int ClientVolumeSetting::getMuteState(const char* tag, bool& muted) {
    const auto path = pathOf(tag, AUDIO_LOG_SITE);
    if (path == audio::AUDIO_OUT_PATH_NONE) return AUDIO_BAD_VALUE;
    return getMuteState(path, muted);
}

int ClientVolumeSetting::mute(unsigned path, bool option) {
    return mRc->callFuncId(id(Function::Mute), static_cast<int>(path), option, true);
}

int ClientVolumeSetting::demute(unsigned path, bool option) {
    return mRc->callFuncId(id(Function::Demute), static_cast<int>(path), option, true);
}

int ClientVolumeSetting::getMuteState(audio::audio_out_path_id_e path, bool& muted) {
    return get(*mRc, AUDIO_LOG_SITE, Function::GetMuteState, sent(path), muted);
}

int ClientVolumeSetting::setMute(unsigned path, bool muted) {
    return muted ? mute(path, true) : demute(path, true);
}

// ---- Uplink and microphones ---------------------------------------------------------------------

int ClientVolumeSetting::setUpLinkGain(float dB) {
    return set(*mRc, AUDIO_LOG_SITE, Function::SetUpLinkGain, dB);
}

int ClientVolumeSetting::getUpLinkGain(float* dB) {
    if (dB == nullptr) return refuse(AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetUpLinkGain, sent(), *dB);
}

int ClientVolumeSetting::setAdcPgaGain(audio::audio_input_mux_id_e input, float left, float right) {
    if (input > audio::AUDIO_INPUT_MUX_1) return refuseInput(input, AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetAdcPgaGain, input, left, right);
}

int ClientVolumeSetting::getAdcPgaGain(audio::audio_input_mux_id_e input, float* left,
                                       float* right) {
    if (input > audio::AUDIO_INPUT_MUX_1) return refuseInput(input, AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetAdcPgaGain, sent(input), left, right);
}

int ClientVolumeSetting::setAdcOpGain(audio::audio_input_mux_id_e input, float left, float right) {
    if (input > audio::AUDIO_INPUT_MUX_1) return refuseInput(input, AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetAdcOpGain, input, left, right);
}

int ClientVolumeSetting::getAdcOpGain(audio::audio_input_mux_id_e input, float* left,
                                      float* right) {
    if (input > audio::AUDIO_INPUT_MUX_1) return refuseInput(input, AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetAdcOpGain, sent(input), left, right);
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
    return mRc->callFuncId(id(Function::StartMicCalibration), false);
}

int ClientVolumeSetting::getMicGainCalibrationResult(int& result, float& gain) {
    return get(*mRc, AUDIO_LOG_SITE, Function::GetMicCalibration, sent(), gain, result);
}
