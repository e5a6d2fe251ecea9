// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/Row.h"

namespace cabinaudio::test {
namespace {

using M = audio::QVAudioSetting::Mixer;
using ExtChannel = audio::audio_ext_channel_idx_e;

audio::audio_mixer_gain_t steps() {
    return {0x11223344, {0, 100, 1, 99}};
}
audio::audio_mixer_matrix_t decibels() {
    return {0x55667788, {-103.5F, 0.0F, -0.5F, -50.25F}};
}
const Bytes STEPS = joined({word(0x11223344), {0, 100, 1, 99}});
const Bytes DECIBELS =
    joined({word(0x55667788), real(-103.5F), real(0.0F), real(-0.5F), real(-50.25F)});

}  // namespace

std::vector<OperationRow> mixerRows() {
    return ofType(
        129, {{
                 setter("SetUpMixMode", 198, {word(2), word(0x80000001)},
                        [](M& m) { return m.setUpMixMode(0x80000001); }),
                 setter("MixExtGps", 198, {word(3), word(7)}, [](M& m) { return m.mixExtGps(7); }),
                 setter("SetGpsMixerGainInSteps", 198, {word(4), STEPS},
                        [](M& m) {
                            audio::audio_mixer_gain_t gain = steps();
                            return m.setGpsMixerGain(&gain);
                        }),
                 setter("SetGpsMixerGainInDecibels", 198, {word(8), DECIBELS},
                        [](M& m) {
                            audio::audio_mixer_matrix_t matrix = decibels();
                            return m.setGpsMixerGain(&matrix);
                        }),
                 setter("SetAlternativeAudioMixerGainInSteps", 198, {word(7), STEPS},
                        [](M& m) {
                            audio::audio_mixer_gain_t gain = steps();
                            return m.setAlternativeAudioMixerGain(&gain);
                        }),
                 setter("SetAlternativeAudioMixerGainInDecibels", 198, {word(10), DECIBELS},
                        [](M& m) {
                            audio::audio_mixer_matrix_t matrix = decibels();
                            return m.setAlternativeAudioMixerGain(&matrix);
                        }),
                 setter("SetHwAlternativeAudioMixerWithMain", 198, {word(11), word(65534), word(1)},
                        [](M& m) {
                            return m.setHwAlternativeAudioMixerWithMain(ExtChannel{65534}, true);
                        }),
                 setter("SetHwAlternativeAudioMixerWithMainOfANegativeChannel", 198,
                        {word(11), number(-2147483647 - 1), word(0)},
                        [](M& m) {
                            return m.setHwAlternativeAudioMixerWithMain(ExtChannel{-2147483647 - 1},
                                                                        false);
                        }),
                 getter("GetUpMixMode", 198, {word(12)}, word(0x9abcdef0),
                        [](M& m, Outputs& out) { return m.getUpMixMode(out.at<unsigned>()); }),
                 getter("GetUpMixModeIntoNothing", 198, {word(12)}, word(1), {},
                        [](M& m) { return m.getUpMixMode(nullptr); }),
             }});
}

}  // namespace cabinaudio::test
