// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Rows.h"

#include <algorithm>
#include <iterator>

namespace cabinaudio::tool {

namespace {

using namespace rows;
using F = wire::MixerFunction;
using audio::QVAudioSetting::Mixer;

Setting gains(const char* name, const char* what, Functions functions,
              int (Mixer::*setSteps)(audio::audio_mixer_gain_t*),
              int (Mixer::*setGains)(audio::audio_mixer_matrix_t*)) {
    return {.name = name,
            .type = attenuation(4),
            .what = what,
            .functions = std::move(functions),
            .set = [=](Clients& c, const Names&, const Value& value) {
                if (const auto* steps = std::get_if<Steps>(&value)) {
                    audio::audio_mixer_gain_t record{};
                    std::copy(steps->steps.begin(), steps->steps.end(), std::begin(record.gain));
                    return (c.mixer().*setSteps)(&record);
                }
                const auto& reals = std::get<Reals>(value);
                audio::audio_mixer_matrix_t record{};
                std::copy(reals.begin(), reals.end(), std::begin(record.gain));
                return (c.mixer().*setGains)(&record);
            }};
}

}  // namespace

void addMixerSettings(std::vector<Setting>& table) {
    table.push_back(gains("mixer.navigation",
                          "How loud navigation is over music at LF, RF, LS, RS, apart from its "
                          "volumes",
                          functions(F::SetGpsMatrix, F::SetGpsGain), &Mixer::setGpsMixerGain,
                          &Mixer::setGpsMixerGain));
    table.push_back({.name = "mixer.navigation.mode",
                     .type = anyUnsigned(),
                     .what = "Whether navigation is mixed into music; cabinaudio-server knows 0 "
                             "off, 1 on",
                     .functions = functions(F::MixExtGps),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         return c.mixer().mixExtGps(integerOf<unsigned>(value));
                     }});
    table.push_back(gains("mixer.alternative",
                          "How loud alternative audio is over music at LF, RF, LS, RS, apart from "
                          "its volumes",
                          functions(F::SetAlternativeMatrix, F::SetAlternativeGain),
                          &Mixer::setAlternativeAudioMixerGain,
                          &Mixer::setAlternativeAudioMixerGain));
    table.push_back({.name = "mixer.upmix",
                     .type = anyUnsigned(),
                     .what = "How a source of few channels is spread over many; cabinaudio-server "
                             "knows 0 not, 1 stereo also at the back",
                     .functions = functions(F::SetUpMixMode, F::GetUpMixMode),
                     .get =
                         [](Clients& c, const Names&) {
                             return readInteger<unsigned>(
                                 [&](unsigned& mode) { return c.mixer().getUpMixMode(&mode); });
                         },
                     .set =
                         [](Clients& c, const Names&, const Value& value) {
                             return c.mixer().setUpMixMode(integerOf<unsigned>(value));
                         }});
    table.push_back({.name = "mixer.hardware.<number>",
                     .type = onOff(),
                     .what = "Mixes alternative with main audio in hardware, by channel",
                     .functions = functions(F::MixAlternativeInHardware),
                     .set = [](Clients& c, const Names& names, const Value& value) {
                         return c.mixer().setHwAlternativeAudioMixerWithMain(
                             static_cast<audio::audio_ext_channel_idx_e>(numberOf(names[0])),
                             std::get<bool>(value));
                     }});
}

}  // namespace cabinaudio::tool
