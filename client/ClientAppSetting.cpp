// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/link/RemoteCall.h>

#include "client/EffectBlock.h"
#include "foundation/Make.h"

namespace wire = cabinaudio::wire;
using namespace cabinaudio::setting;
using cabinaudio::LogSite;
using Function = wire::AppFunction;

namespace {

constexpr float US_PER_MS = 1000.0F;

/// The low 32 bits of a number truncated towards zero. NaN and numbers beyond 64 bits give 0.
std::int32_t lowWord(float value) {
    constexpr float LIMIT = 9223372036854775808.0F;
    const auto whole =
        value > -LIMIT && value < LIMIT ? static_cast<std::int64_t>(value) : std::int64_t{0};
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(whole));
}

std::int32_t refusePointer(const void* pointer, const LogSite& site = here()) {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "Invalid params, param=%X.\n",
                 static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(pointer)));
    return AUDIO_BAD_VALUE;
}

}  // namespace

ClientAppSetting::ClientAppSetting() noexcept
    : mRc(cabinaudio::make<RemoteCall>(AUDIO_CONNECT_APP_SETTING, nullptr, nullptr, nullptr)) {}

ClientAppSetting::~ClientAppSetting() {
    delete mRc;
}

// ---- Equalisers and what they show --------------------------------------------------------------

int ClientAppSetting::getEqualizerSpectrum(audio::audio_eq_spectrum_t* spectrum) {
    if (spectrum == nullptr) return refusePointer(spectrum);
    return get<Function::GetSpectrum>(*mRc, {}, *spectrum);
}

int ClientAppSetting::setEqualizer(audio::audio_ext_eq_parameter_t* equalizer) {
    if (equalizer == nullptr) return refusePointer(equalizer);
    return setRecord<Function::SetEqualizer>(*mRc, *equalizer);
}

int ClientAppSetting::getEqualizer(audio::audio_ext_eq_parameter_t* equalizer) {
    if (equalizer == nullptr) return refusePointer(equalizer);
    return get<Function::GetEqualizer>(*mRc, {.value = number(equalizer->selector)}, *equalizer);
}

int ClientAppSetting::getOutPutDataEnergy(audio::audio_out_data_energy_t* energy) {
    if (energy == nullptr) return refuse();
    return get<Function::GetOutputEnergy>(*mRc, {}, *energy);
}

int ClientAppSetting::enableByPassMode() {
    return call<Function::EnableBypass>(*mRc);
}

int ClientAppSetting::disableByPassMode() {
    return call<Function::DisableBypass>(*mRc);
}

int ClientAppSetting::setReverbMode(audio::audio_reverb_mode_e mode) {
    return call<Function::SetReverbMode>(*mRc, mode);
}

// ---- Delays -------------------------------------------------------------------------------------

int ClientAppSetting::setSpeakerDelay(audio::audio_channel_idx_e channel, float ms) {
    AUDIO_LOGI("delay %f ms\n", static_cast<double>(ms));
    return call<Function::SetSpeakerDelay>(*mRc, channel, lowWord(ms * US_PER_MS));
}

/// The server defines the unit of the result; it is not the microseconds that are set.
int ClientAppSetting::getSpeakerDelay(audio::audio_channel_idx_e channel, float* delay) {
    if (delay == nullptr) return refuse();
    const LogSite site = here();
    const auto answer = ask<Function::GetSpeakerDelay>(
        *mRc, {.channels = word(channel)}, [&](const wire::DelayReply& reply) {
            *delay = reply.delay;
            AUDIO_LOG_AT(ANDROID_LOG_INFO, site, "delay %f\n", static_cast<double>(reply.delay));
        });
    return answer.arrived ? AUDIO_NO_ERROR : answer.status;  // deliberate: for any status
}

int ClientAppSetting::setDownlinkDelayEstimation() {
    return call<Function::SetDelayEstimation>(*mRc);
}

int ClientAppSetting::getDownlinkDelayEstimation(short* delay) {
    // Deliberate: stores a whole word, whose lower half is the caller's `short`. Copied, because a
    // `short` may not be aligned for a word. Without a reply the word keeps the caller's value.
    std::int32_t word = 0;
    if (delay != nullptr) std::memcpy(&word, delay, sizeof word);
    const std::int32_t status = callForNumber<Function::GetDelayEstimation>(*mRc, &word);
    if (delay != nullptr) std::memcpy(delay, &word, sizeof word);
    return status;
}

// ---- Calls --------------------------------------------------------------------------------------

int ClientAppSetting::setQualityOfAEC(audio::audio_aec_quality_e quality) {
    return call<Function::SetEchoQuality>(*mRc, quality);
}

int ClientAppSetting::getQualityOfAEC(audio::audio_aec_quality_e* quality) {
    if (quality == nullptr) return refuse();
    return callForNumber<Function::GetEchoQuality>(*mRc, reinterpret_cast<std::int32_t*>(quality));
}

int ClientAppSetting::setDuplexOfAEC(int value) {
    return call<Function::SetDuplex>(*mRc, value);
}

int ClientAppSetting::getDuplexOfAEC(int* value) {
    return callForNumber<Function::GetDuplex>(*mRc, value);
}

int ClientAppSetting::setNRAttenuation(int value) {
    return call<Function::SetNoiseReduction>(*mRc, value);
}

int ClientAppSetting::getNRAttenuation(int* value) {
    return callForNumber<Function::GetNoiseReduction>(*mRc, value);
}

int ClientAppSetting::setNLPConfig(audio::audio_nlp_config_t* configuration) {
    if (configuration == nullptr) return refuse();
    return setRecord<Function::SetNonLinear>(*mRc, *configuration);
}

int ClientAppSetting::getNLPConfig(audio::audio_nlp_config_t* configuration) {
    if (configuration == nullptr) return refuse();
    return get<Function::GetNonLinear>(*mRc, {.value = number(configuration->selector)},
                                       *configuration);
}

int ClientAppSetting::setHandsfreeEQ(audio::audio_handsfree_eq_t* equalizer) {
    if (equalizer == nullptr) return refuse();
    return setRecord<Function::SetHandsfreeEqualizer>(*mRc, *equalizer);
}

int ClientAppSetting::getHandsfreeEQ(audio::audio_handsfree_eq_t* equalizer) {
    if (equalizer == nullptr) return refuse();
    return get<Function::GetHandsfreeEqualizer>(*mRc, {.value = number(equalizer->selector)},
                                                *equalizer);
}

int ClientAppSetting::setDACGainControl(audio::audio_dacgain_ctrl_t* control) {
    if (control == nullptr) return refuse();
    AUDIO_LOGI("client begin\n");
    const wire::RequestOf<Function::SetDacGain> record{.function = word(Function::SetDacGain),
                                                       .value = number(control->opaque0)};
    const auto logEnd = [](const LogSite& site) {
        AUDIO_LOG_AT(ANDROID_LOG_INFO, site, "client end\n");
    };
    const Request request{.record = {&record, sizeof record}, .allocated = logEnd};
    return sendRequest(From(*mRc), request, {}).status;
}

// ---- Effects by name ----------------------------------------------------------------------------

int ClientAppSetting::setEffectEnabled(const char* tag, const char* effect, bool on) {
    if (tag == nullptr || effect == nullptr) return refuse();
    return set<Function::SetEffectEnabled>(*mRc,
                                           {.tag = text(tag), .effect = text(effect), .isOn = on});
}

int ClientAppSetting::getEffectEnabled(const char* tag, const char* effect, bool& on) {
    if (tag == nullptr || effect == nullptr) return refuse();
    return ask<Function::GetEffectEnabled>(
               *mRc, {.tag = text(tag), .name = text(effect)},
               [&](const wire::SwitchReply& reply) { on = reply.isOn != 0; })
        .status;
}

int ClientAppSetting::setEffectParameter(const char* tag, const char* effect,
                                         const audio::effect_param_t& parameter) {
    if (tag == nullptr || effect == nullptr) return refuse();
    return setEffect<Function::SetEffectParameter>(*mRc, tag, effect, parameter);
}

int ClientAppSetting::getEffectParameter(const char* tag, const char* effect,
                                         audio::effect_param_t& parameter) {
    if (tag == nullptr || effect == nullptr) return refuse();
    return getEffect<Function::GetEffectParameter>(*mRc, tag, effect, parameter);
}

// ---- Kept for their places in the interface -----------------------------------------------------

int ClientAppSetting::setFilter(audio::audio_filter_parameter_t* /*parameter*/) {
    return deprecated();
}

int ClientAppSetting::getFilter(audio::audio_filter_parameter_t* /*parameter*/) {
    return deprecated();
}

int ClientAppSetting::setBassTreble(audio::audio_bt_parameter_t* /*parameter*/) {
    return deprecated();
}

int ClientAppSetting::getBassTreble(audio::audio_bt_parameter_t* /*parameter*/) {
    return deprecated();
}

int ClientAppSetting::setLoudness(audio::audio_loudness_parameter_t* /*parameter*/) {
    return deprecated();
}

int ClientAppSetting::setLoudness(audio::audio_ext_loudness_parameter_t* /*parameter*/) {
    return deprecated();
}

int ClientAppSetting::getLoudness(audio::audio_loudness_parameter_t* /*parameter*/) {
    return deprecated();
}

int ClientAppSetting::setEqualizer(audio::audio_eq_parameter_t* /*parameter*/) {
    return deprecated();
}

int ClientAppSetting::getEqualizer(audio::audio_eq_parameter_t* /*parameter*/) {
    return deprecated();
}

int ClientAppSetting::getEqualizerQValueTable(audio::audio_eq_qvalue_table_t* /*table*/) {
    return deprecated();
}

int ClientAppSetting::getEqualizerCfTable(audio::audio_eq_cf_table_t* /*table*/) {
    return deprecated();
}

int ClientAppSetting::enableDps() {
    return deprecated();
}

int ClientAppSetting::disableDps() {
    return deprecated();
}

int ClientAppSetting::setDpsProfile(audio::audio_dps_profile_id_e /*profile*/) {
    return deprecated();
}

int ClientAppSetting::enableDpsStereoCtrl() {
    return deprecated();
}

int ClientAppSetting::disableDpsStereoCtrl() {
    return deprecated();
}

int ClientAppSetting::setDpsUserGain(float /*gain*/) {
    return deprecated();
}

int ClientAppSetting::getDpsUserGain(float* /*gain*/) {
    return deprecated();
}

int ClientAppSetting::setDpsUserEq(audio::audio_dps_user_eq_parameter_t* /*parameter*/) {
    return deprecated();
}

int ClientAppSetting::getDpsUserEq(audio::audio_dps_user_eq_parameter_t* /*parameter*/) {
    return deprecated();
}

int ClientAppSetting::setQualityOfSound(audio::audio_sound_quality_t* /*quality*/) {
    return deprecated();
}

int ClientAppSetting::getQualityOfSound(audio::audio_sound_quality_t* /*quality*/) {
    return deprecated();
}

int ClientAppSetting::setUplinkConfig(audio::audio_uplink_config_t* /*configuration*/) {
    return deprecated();
}

int ClientAppSetting::setEqualizerType(audio::audio_eq_type /*type*/) {
    return deprecated();
}

int ClientAppSetting::setSurround(bool /*on*/) {
    return deprecated();
}

int ClientAppSetting::setDACSampleRateCtrl(audio::audio_int_dac_sample_rate_e /*rate*/) {
    return deprecated();
}
