// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/link/RemoteCall.h>

#include "client/EffectBlock.h"
#include "client/Setting.h"
#include "foundation/Make.h"
#include "wire/Settings.h"

namespace wire = cabinaudio::wire;
using namespace cabinaudio::setting;
using cabinaudio::id;
using cabinaudio::LogSite;
using Function = wire::AppFunction;

namespace {

constexpr float US_PER_MS = 1000.0F;

/// The lower half of a number cut towards zero. One that no 64 bits hold, or none, gives 0.
std::int32_t lowWord(float value) {
    constexpr float LIMIT = 9223372036854775808.0F;
    const auto whole =
        value > -LIMIT && value < LIMIT ? static_cast<std::int64_t>(value) : std::int64_t{0};
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(whole));
}

/// The gain control's request, which logs a line once it has its block and before it is sent.
struct DacGain {
    const LogSite& site;
    const audio::audio_dacgain_ctrl_t& control;

    static constexpr std::uint32_t SIZE = 2 * sizeof(std::uint32_t);
    static void fill(std::uint8_t* at, const void* self) {
        const auto& gain = *static_cast<const DacGain*>(self);
        AUDIO_LOG_AT(ANDROID_LOG_INFO, gain.site, "client end\n");
        put(at, formOf(gain.control));
    }
};

std::int32_t refusePointer(const LogSite& site, const void* pointer) {
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
    if (spectrum == nullptr) return refusePointer(AUDIO_LOG_SITE, spectrum);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetSpectrum, sent(), *spectrum);
}

int ClientAppSetting::setEqualizer(audio::audio_ext_eq_parameter_t* equalizer) {
    if (equalizer == nullptr) return refusePointer(AUDIO_LOG_SITE, equalizer);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetEqualizer, *equalizer);
}

int ClientAppSetting::getEqualizer(audio::audio_ext_eq_parameter_t* equalizer) {
    if (equalizer == nullptr) return refusePointer(AUDIO_LOG_SITE, equalizer);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetEqualizer, sent(equalizer->selector), *equalizer);
}

int ClientAppSetting::getOutPutDataEnergy(audio::audio_out_data_energy_t* energy) {
    if (energy == nullptr) return refuse(AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetOutputEnergy, sent(), *energy);
}

int ClientAppSetting::enableByPassMode() {
    return mRc->callFuncId(id(Function::EnableBypass), true);
}

int ClientAppSetting::disableByPassMode() {
    return mRc->callFuncId(id(Function::DisableBypass), true);
}

int ClientAppSetting::setReverbMode(audio::audio_reverb_mode_e mode) {
    return mRc->callFuncId(id(Function::SetReverbMode), mode, true);
}

// ---- Delays -------------------------------------------------------------------------------------

int ClientAppSetting::setSpeakerDelay(audio::audio_channel_idx_e channel, float ms) {
    AUDIO_LOGI("delay %f ms\n", static_cast<double>(ms));
    return mRc->callFuncId(id(Function::SetSpeakerDelay), channel, lowWord(ms * US_PER_MS), true);
}

/// The number is the server's, not in microseconds as the one that was set.
int ClientAppSetting::getSpeakerDelay(audio::audio_channel_idx_e channel, float* delay) {
    if (delay == nullptr) return refuse(AUDIO_LOG_SITE);
    const LogSite site = AUDIO_LOG_SITE;
    const auto answer = ask(
        *mRc, site, Function::GetSpeakerDelay, sent(channel), received<float>([&](float replied) {
            *delay = replied;
            AUDIO_LOG_AT(ANDROID_LOG_INFO, site, "delay %f\n", static_cast<double>(replied));
        }));
    return answer.arrived ? AUDIO_NO_ERROR : answer.status;  // deliberate: whatever the server says
}

int ClientAppSetting::setDownlinkDelayEstimation() {
    return mRc->callFuncId(id(Function::SetDelayEstimation), true);
}

int ClientAppSetting::getDownlinkDelayEstimation(short* delay) {
    // Deliberate: a whole word, of which the caller's `short` is the lower half. It can lie where a
    // word may not. Without an answer the word keeps the caller's value.
    std::int32_t word = 0;
    if (delay != nullptr) std::memcpy(&word, delay, sizeof word);
    const std::int32_t status = mRc->callFuncId(id(Function::GetDelayEstimation), &word, true);
    if (delay != nullptr) std::memcpy(delay, &word, sizeof word);
    return status;
}

// ---- Calls --------------------------------------------------------------------------------------

int ClientAppSetting::setQualityOfAEC(audio::audio_aec_quality_e quality) {
    return mRc->callFuncId(id(Function::SetEchoQuality), quality, true);
}

int ClientAppSetting::getQualityOfAEC(audio::audio_aec_quality_e* quality) {
    if (quality == nullptr) return refuse(AUDIO_LOG_SITE);
    return mRc->callFuncId(id(Function::GetEchoQuality), reinterpret_cast<std::int32_t*>(quality),
                           true);
}

int ClientAppSetting::setDuplexOfAEC(int value) {
    return mRc->callFuncId(id(Function::SetDuplex), value, false);
}

int ClientAppSetting::getDuplexOfAEC(int* value) {
    return mRc->callFuncId(id(Function::GetDuplex), value, false);
}

int ClientAppSetting::setNRAttenuation(int value) {
    return mRc->callFuncId(id(Function::SetNoiseReduction), value, false);
}

int ClientAppSetting::getNRAttenuation(int* value) {
    return mRc->callFuncId(id(Function::GetNoiseReduction), value, false);
}

int ClientAppSetting::setNLPConfig(audio::audio_nlp_config_t* configuration) {
    if (configuration == nullptr) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetNonLinear, *configuration);
}

int ClientAppSetting::getNLPConfig(audio::audio_nlp_config_t* configuration) {
    if (configuration == nullptr) return refuse(AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetNonLinear, sent(configuration->selector),
               *configuration);
}

int ClientAppSetting::setHandsfreeEQ(audio::audio_handsfree_eq_t* equalizer) {
    if (equalizer == nullptr) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetHandsfreeEqualizer, *equalizer);
}

int ClientAppSetting::getHandsfreeEQ(audio::audio_handsfree_eq_t* equalizer) {
    if (equalizer == nullptr) return refuse(AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetHandsfreeEqualizer, sent(equalizer->selector),
               *equalizer);
}

int ClientAppSetting::setDACGainControl(audio::audio_dacgain_ctrl_t* control) {
    const LogSite site = AUDIO_LOG_SITE;
    if (control == nullptr) return refuse(site);
    AUDIO_LOG_AT(ANDROID_LOG_INFO, site, "client begin\n");
    const DacGain gain{site, *control};
    const std::tuple nothing;
    return exchange(*mRc, site, {id(Function::SetDacGain), DacGain::SIZE, DacGain::fill, &gain},
                    {sizeof(std::int32_t), takeAll<>, &nothing})
        .status;
}

// ---- Effects by name ----------------------------------------------------------------------------

int ClientAppSetting::setEffectEnabled(const char* tag, const char* effect, bool on) {
    if (tag == nullptr || effect == nullptr) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetEffectEnabled, Text{tag}, Text{effect}, Byte{on});
}

int ClientAppSetting::getEffectEnabled(const char* tag, const char* effect, bool& on) {
    if (tag == nullptr || effect == nullptr) return refuse(AUDIO_LOG_SITE);
    return get(*mRc, AUDIO_LOG_SITE, Function::GetEffectEnabled, sent(Text{tag}, Text{effect}), on);
}

int ClientAppSetting::setEffectParameter(const char* tag, const char* effect,
                                         const audio::effect_param_t& parameter) {
    if (tag == nullptr || effect == nullptr) return refuse(AUDIO_LOG_SITE);
    return setEffect(*mRc, AUDIO_LOG_SITE, id(Function::SetEffectParameter), tag, effect,
                     parameter);
}

int ClientAppSetting::getEffectParameter(const char* tag, const char* effect,
                                         audio::effect_param_t& parameter) {
    if (tag == nullptr || effect == nullptr) return refuse(AUDIO_LOG_SITE);
    return getEffect(*mRc, AUDIO_LOG_SITE, id(Function::GetEffectParameter), tag, effect,
                     parameter);
}

// ---- Kept for their places in the interface -----------------------------------------------------

int ClientAppSetting::setFilter(audio::audio_filter_parameter_t* /*parameter*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::getFilter(audio::audio_filter_parameter_t* /*parameter*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::setBassTreble(audio::audio_bt_parameter_t* /*parameter*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::getBassTreble(audio::audio_bt_parameter_t* /*parameter*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::setLoudness(audio::audio_loudness_parameter_t* /*parameter*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::setLoudness(audio::audio_ext_loudness_parameter_t* /*parameter*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::getLoudness(audio::audio_loudness_parameter_t* /*parameter*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::setEqualizer(audio::audio_eq_parameter_t* /*parameter*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::getEqualizer(audio::audio_eq_parameter_t* /*parameter*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::getEqualizerQValueTable(audio::audio_eq_qvalue_table_t* /*table*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::getEqualizerCfTable(audio::audio_eq_cf_table_t* /*table*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::enableDps() {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::disableDps() {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::setDpsProfile(audio::audio_dps_profile_id_e /*profile*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::enableDpsStereoCtrl() {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::disableDpsStereoCtrl() {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::setDpsUserGain(float /*gain*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::getDpsUserGain(float* /*gain*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::setDpsUserEq(audio::audio_dps_user_eq_parameter_t* /*parameter*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::getDpsUserEq(audio::audio_dps_user_eq_parameter_t* /*parameter*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::setQualityOfSound(audio::audio_sound_quality_t* /*quality*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::getQualityOfSound(audio::audio_sound_quality_t* /*quality*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::setUplinkConfig(audio::audio_uplink_config_t* /*configuration*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::setEqualizerType(audio::audio_eq_type /*type*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::setSurround(bool /*on*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientAppSetting::setDACSampleRateCtrl(audio::audio_int_dac_sample_rate_e /*rate*/) {
    return deprecated(AUDIO_LOG_SITE);
}
