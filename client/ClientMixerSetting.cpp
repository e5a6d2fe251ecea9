// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/link/RemoteCall.h>

#include "client/Setting.h"
#include "foundation/Make.h"

#include <algorithm>
#include <iterator>

using namespace cabinaudio::setting;
using Function = cabinaudio::wire::MixerFunction;

namespace {

constexpr int CHANNEL_MAX = 65534;
constexpr std::uint8_t STEP_MAX = 100;

bool isValid(const audio::audio_mixer_gain_t* gain) {
    return gain != nullptr && std::all_of(std::begin(gain->gain), std::end(gain->gain),
                                          [](std::uint8_t step) { return step <= STEP_MAX; });
}

bool isValid(const audio::audio_mixer_matrix_t* matrix) {
    // Words 1, 2, 4 and 3 of the record. Kept as is.
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
    return set<Function::SetUpMixMode>(*mRc, {.value = number(mode)});
}

int ClientMixerSetting::mixExtGps(unsigned mode) {
    return set<Function::MixExtGps>(*mRc, {.value = number(mode)});
}

int ClientMixerSetting::setGpsMixerGain(audio::audio_mixer_gain_t* gain) {
    if (!isValid(gain)) return refuse();
    return setRecord<Function::SetGpsGain>(*mRc, *gain);
}

int ClientMixerSetting::setGpsMixerGain(audio::audio_mixer_matrix_t* matrix) {
    if (!isValid(matrix)) return refuse();
    return setRecord<Function::SetGpsMatrix>(*mRc, *matrix);
}

int ClientMixerSetting::setEffectMixerGain(audio::audio_mixer_gain_t* /*gain*/) {
    return deprecated();
}

int ClientMixerSetting::setEffectMixerGain(audio::audio_mixer_matrix_t* /*matrix*/) {
    return deprecated();
}

int ClientMixerSetting::setAlternativeAudioMixerGain(audio::audio_mixer_gain_t* gain) {
    if (!isValid(gain)) return refuse();
    return setRecord<Function::SetAlternativeGain>(*mRc, *gain);
}

int ClientMixerSetting::setAlternativeAudioMixerGain(audio::audio_mixer_matrix_t* matrix) {
    if (!isValid(matrix)) return refuse();
    return setRecord<Function::SetAlternativeMatrix>(*mRc, *matrix);
}

int ClientMixerSetting::mixRearAudioWithFrontAudio(bool /*on*/) {
    return deprecated();
}

int ClientMixerSetting::setHwAlternativeAudioMixerWithMain(audio::audio_ext_channel_idx_e channel,
                                                           bool on) {
    if (static_cast<int>(channel) > CHANNEL_MAX) return refuse();
    return call<Function::MixAlternativeInHardware>(*mRc, channel, on);
}

int ClientMixerSetting::getUpMixMode(unsigned* mode) {
    return get<Function::GetUpMixMode>(*mRc, {}, mode);
}
