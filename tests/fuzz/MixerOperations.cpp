// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/Operations.h"

namespace cabinaudio::fuzz {

namespace {

using M = ClientMixerSetting;
using audio::audio_mixer_gain_t;
using audio::audio_mixer_matrix_t;

template <int (M::*SET)(audio_mixer_gain_t*)>
void setSteps(M& mixer, Input& in, Peer&) {
    audio_mixer_gain_t gain{in.number<std::uint32_t>(), {}};
    for (std::uint8_t& step : gain.gain)
        step = in.step(100);
    (mixer.*SET)(in.orNull(&gain));
}

template <int (M::*SET)(audio_mixer_matrix_t*)>
void setMatrix(M& mixer, Input& in, Peer&) {
    audio_mixer_matrix_t matrix{in.number<std::uint32_t>(), {}};
    for (float& gain : matrix.gain)
        gain = in.gain(-103.5F, 0);
    (mixer.*SET)(in.orNull(&matrix));
}

void mixInHardware(M& mixer, Input& in, Peer&) {
    const auto channel = in.enumerator<audio::audio_ext_channel_idx_e>();
    mixer.setHwAlternativeAudioMixerWithMain(channel, in.flag());
}

void getUpMixMode(M& mixer, Input& in, Peer&) {
    unsigned mode = 0;
    mixer.getUpMixMode(in.orNull(&mode));
}

}  // namespace

const std::vector<Operation<ClientMixerSetting>>& operationsOf(const ClientMixerSetting*) {
    static const std::vector<Operation<ClientMixerSetting>> OPERATIONS = {
        {"setUpMixMode", Requests::ONE,
         [](M& m, Input& in, Peer&) { m.setUpMixMode(in.number<unsigned>()); }},
        {"mixExtGps", Requests::ONE,
         [](M& m, Input& in, Peer&) { m.mixExtGps(in.number<unsigned>()); }},
        {"setGpsMixerGain(steps)", Requests::ONE, setSteps<&M::setGpsMixerGain>},
        {"setGpsMixerGain(matrix)", Requests::ONE, setMatrix<&M::setGpsMixerGain>},
        {"setEffectMixerGain(steps)", Requests::NONE, setSteps<&M::setEffectMixerGain>},
        {"setEffectMixerGain(matrix)", Requests::NONE, setMatrix<&M::setEffectMixerGain>},
        {"setAlternativeAudioMixerGain(steps)", Requests::ONE,
         setSteps<&M::setAlternativeAudioMixerGain>},
        {"setAlternativeAudioMixerGain(matrix)", Requests::ONE,
         setMatrix<&M::setAlternativeAudioMixerGain>},
        {"mixRearAudioWithFrontAudio", Requests::NONE,
         [](M& m, Input& in, Peer&) { m.mixRearAudioWithFrontAudio(in.flag()); }},
        {"setHwAlternativeAudioMixerWithMain", Requests::ONE, mixInHardware},
        {"getUpMixMode", Requests::ONE, getUpMixMode},
    };
    return OPERATIONS;
}

}  // namespace cabinaudio::fuzz
