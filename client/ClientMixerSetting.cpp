// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/link/RemoteCall.h>

#include "client/Setting.h"
#include "foundation/Make.h"
#include "wire/Settings.h"

#include <algorithm>
#include <iterator>

using namespace cabinaudio::setting;
using cabinaudio::id;
using Function = cabinaudio::wire::MixerFunction;

namespace {

constexpr int CHANNEL_MAX = 65534;
constexpr std::uint8_t STEP_MAX = 100;

bool isValid(const audio::audio_mixer_gain_t* gain) {
    return gain != nullptr && std::all_of(std::begin(gain->gain), std::end(gain->gain),
                                          [](std::uint8_t step) { return step <= STEP_MAX; });
}

bool isValid(const audio::audio_mixer_matrix_t* matrix) {
    // Words 1, 2, 4 and 3 of the record. The order is kept as it is.
    return matrix != nullptr && isAttenuation(matrix->gain[0]) && isAttenuation(matrix->gain[1]) &&
           isAttenuation(matrix->gain[3]) && isAttenuation(matrix->gain[2]);
}

}  // namespace

ClientMixerSetting::ClientMixerSetting() noexcept
    : mRc(cabinaudio::make<RemoteCall>(AUDIO_CONNECT_MIXER_SETTING, nullptr, nullptr, nullptr)) {}

ClientMixerSetting::~ClientMixerSetting() {
    delete mRc;
}

int ClientMixerSetting::setUpMixMode(unsigned mode) {
    return set(*mRc, AUDIO_LOG_SITE, Function::SetUpMixMode, mode);
}

int ClientMixerSetting::mixExtGps(unsigned mode) {
    return set(*mRc, AUDIO_LOG_SITE, Function::MixExtGps, mode);
}

int ClientMixerSetting::setGpsMixerGain(audio::audio_mixer_gain_t* gain) {
    if (!isValid(gain)) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetGpsGain, *gain);
}

int ClientMixerSetting::setGpsMixerGain(audio::audio_mixer_matrix_t* matrix) {
    if (!isValid(matrix)) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetGpsMatrix, *matrix);
}

int ClientMixerSetting::setEffectMixerGain(audio::audio_mixer_gain_t* /*gain*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientMixerSetting::setEffectMixerGain(audio::audio_mixer_matrix_t* /*matrix*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientMixerSetting::setAlternativeAudioMixerGain(audio::audio_mixer_gain_t* gain) {
    if (!isValid(gain)) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetAlternativeGain, *gain);
}

int ClientMixerSetting::setAlternativeAudioMixerGain(audio::audio_mixer_matrix_t* matrix) {
    if (!isValid(matrix)) return refuse(AUDIO_LOG_SITE);
    return set(*mRc, AUDIO_LOG_SITE, Function::SetAlternativeMatrix, *matrix);
}

int ClientMixerSetting::mixRearAudioWithFrontAudio(bool /*on*/) {
    return deprecated(AUDIO_LOG_SITE);
}

int ClientMixerSetting::setHwAlternativeAudioMixerWithMain(audio::audio_ext_channel_idx_e channel,
                                                           bool on) {
    if (static_cast<int>(channel) > CHANNEL_MAX) return refuse(AUDIO_LOG_SITE);
    return mRc->callFuncId(id(Function::MixAlternativeInHardware), channel, on, true);
}

int ClientMixerSetting::getUpMixMode(unsigned* mode) {
    return get(*mRc, AUDIO_LOG_SITE, Function::GetUpMixMode, sent(), mode);
}
