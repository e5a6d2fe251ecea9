// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/Row.h"

namespace cabinaudio::test {
namespace {

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

std::vector<Row> mixerRows() {
    return ofType(
        129,
        {{
            setter("SetUpMixMode", 198, {word(2), word(0x80000001)},
                   [](auto& c, auto&) { return c.mixer().setUpMixMode(0x80000001); }),
            setter("MixExtGps", 198, {word(3), word(7)},
                   [](auto& c, auto&) { return c.mixer().mixExtGps(7); }),
            setter("SetGpsMixerGainInSteps", 198, {word(4), STEPS},
                   [](auto& c, auto&) {
                       audio::audio_mixer_gain_t gain = steps();
                       return c.mixer().setGpsMixerGain(&gain);
                   }),
            setter("SetGpsMixerGainInDecibels", 198, {word(8), DECIBELS},
                   [](auto& c, auto&) {
                       audio::audio_mixer_matrix_t matrix = decibels();
                       return c.mixer().setGpsMixerGain(&matrix);
                   }),
            setter("SetAlternativeAudioMixerGainInSteps", 198, {word(7), STEPS},
                   [](auto& c, auto&) {
                       audio::audio_mixer_gain_t gain = steps();
                       return c.mixer().setAlternativeAudioMixerGain(&gain);
                   }),
            setter("SetAlternativeAudioMixerGainInDecibels", 198, {word(10), DECIBELS},
                   [](auto& c, auto&) {
                       audio::audio_mixer_matrix_t matrix = decibels();
                       return c.mixer().setAlternativeAudioMixerGain(&matrix);
                   }),
            setter("SetHwAlternativeAudioMixerWithMain", 198, {word(11), word(65534), word(1)},
                   [](auto& c, auto&) {
                       return c.mixer().setHwAlternativeAudioMixerWithMain(ExtChannel{65534}, true);
                   }),
            setter("SetHwAlternativeAudioMixerWithMainOfANegativeChannel", 198,
                   {word(11), number(-2147483647 - 1), word(0)},
                   [](auto& c, auto&) {
                       return c.mixer().setHwAlternativeAudioMixerWithMain(
                           ExtChannel{-2147483647 - 1}, false);
                   }),
            getter(
                "GetUpMixMode", 198, {word(12)}, word(0x9abcdef0),
                [](auto& c, Outputs& out) { return c.mixer().getUpMixMode(out.at<unsigned>()); }),
            getter("GetUpMixModeIntoNothing", 198, {word(12)}, word(1), {},
                   [](auto& c, auto&) { return c.mixer().getUpMixMode(nullptr); }),
        }});
}

}  // namespace cabinaudio::test
