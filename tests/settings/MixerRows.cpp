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
    std::vector<Row> rows = {
        {"SetUpMixMode", 198, joined({word(2), word(0x80000001)}), 4,
         [](const Clients& c, Outputs&) { return c.mixer().setUpMixMode(0x80000001); }},
        {"MixExtGps", 198, joined({word(3), word(7)}), 4,
         [](const Clients& c, Outputs&) { return c.mixer().mixExtGps(7); }},
        {"SetGpsMixerGainInSteps", 198, joined({word(4), STEPS}), 4,
         [](const Clients& c, Outputs&) {
             audio::audio_mixer_gain_t gain = steps();
             return c.mixer().setGpsMixerGain(&gain);
         }},
        {"SetGpsMixerGainInDecibels", 198, joined({word(8), DECIBELS}), 4,
         [](const Clients& c, Outputs&) {
             audio::audio_mixer_matrix_t matrix = decibels();
             return c.mixer().setGpsMixerGain(&matrix);
         }},
        {"SetAlternativeAudioMixerGainInSteps", 198, joined({word(7), STEPS}), 4,
         [](const Clients& c, Outputs&) {
             audio::audio_mixer_gain_t gain = steps();
             return c.mixer().setAlternativeAudioMixerGain(&gain);
         }},
        {"SetAlternativeAudioMixerGainInDecibels", 198, joined({word(10), DECIBELS}), 4,
         [](const Clients& c, Outputs&) {
             audio::audio_mixer_matrix_t matrix = decibels();
             return c.mixer().setAlternativeAudioMixerGain(&matrix);
         }},
        {"SetHwAlternativeAudioMixerWithMain", 198, joined({word(11), word(65534), word(1)}), 4,
         [](const Clients& c, Outputs&) {
             return c.mixer().setHwAlternativeAudioMixerWithMain(ExtChannel{65534}, true);
         }},
        {"SetHwAlternativeAudioMixerWithMainOfANegativeChannel", 198,
         joined({word(11), number(-2147483647 - 1), word(0)}), 4,
         [](const Clients& c, Outputs&) {
             return c.mixer().setHwAlternativeAudioMixerWithMain(ExtChannel{-2147483647 - 1},
                                                                 false);
         }},
        {.test = "GetUpMixMode",
         .command = 198,
         .request = word(12),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.mixer().getUpMixMode(out.at<unsigned>()); },
         .results = word(0x9abcdef0),
         .stored = word(0x9abcdef0)},
        {.test = "GetUpMixModeIntoNothing",
         .command = 198,
         .request = word(12),
         .replySize = 8,
         .call = [](const Clients& c, Outputs&) { return c.mixer().getUpMixMode(nullptr); },
         .results = word(1)},
    };
    for (Row& row : rows)
        row.type = 129;
    return rows;
}

}  // namespace cabinaudio::test
