// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/EffectBlock.h"
#include "tools/settings/Rows.h"

#include <cmath>
#include <cstring>
#include <iterator>

namespace cabinaudio::tool {

namespace {

using namespace rows;
using F = wire::AppFunction;
using audio::QVAudioSetting::App;

/// The server's records: a selector, which is part of the setting's name, and the bytes after it.
template <typename Record>
Setting record(const char* name, const char* what, const Functions& functions,
               int (App::*set)(Record*), int (App::*get)(Record*)) {
    constexpr std::size_t HEAD = sizeof(Record::selector);
    return {.name = name,
            .type = bytes(sizeof(Record) - HEAD),
            .what = what,
            .functions = functions,
            .get =
                [get](Clients& c, const Names& names) {
                    Record value{};
                    value.selector = static_cast<std::uint32_t>(numberOf(names[0]));
                    const int status = (c.app().*get)(&value);
                    Octets data(sizeof value - HEAD);
                    std::memcpy(data.data(), reinterpret_cast<const std::uint8_t*>(&value) + HEAD,
                                data.size());
                    // Drop trailing zeros: most of the record is unused.
                    while (data.size() > 1 && data.back() == 0)
                        data.pop_back();
                    return Reading{status, data};
                },
            .set =
                [set](Clients& c, const Names& names, const Value& value) {
                    Record all{};
                    all.selector = static_cast<std::uint32_t>(numberOf(names[0]));
                    const auto& data = std::get<Octets>(value);
                    std::memcpy(reinterpret_cast<std::uint8_t*>(&all) + HEAD, data.data(),
                                data.size());
                    return (c.app().*set)(&all);
                }};
}

/// The library truncates to whole microseconds; this avoids ending up one below the wanted delay.
float exactDelay(float ms) {
    constexpr float US_PER_MS = 1000.0F;
    const float us = std::round(ms * US_PER_MS);
    float exact = us / US_PER_MS;
    while (exact * US_PER_MS < us)
        exact = std::nextafter(exact, 2 * exact);
    return exact;
}

void addDelays(std::vector<Setting>& table) {
    table.push_back({.name = "speaker.delay.<loudspeaker>",
                     .type = real(0, 1000, "ms"),
                     .what = "How much later a loudspeaker sounds",
                     .functions = functions(F::SetSpeakerDelay, F::GetSpeakerDelay),
                     .get =
                         [](Clients& c, const Names& names) {
                             return readReal([&](float& ms) {
                                 return c.app().getSpeakerDelay(channelOf(names[0]), &ms);
                             });
                         },
                     .set =
                         [](Clients& c, const Names& names, const Value& value) {
                             return c.app().setSpeakerDelay(channelOf(names[0]),
                                                            exactDelay(realOf(value)));
                         }});
    table.push_back({.name = "downlink.estimation",
                     .type = action("start"),
                     .what = "Begins to measure the delay of the downlink",
                     .functions = functions(F::SetDelayEstimation),
                     .set = [](Clients& c, const Names&, const Value&) {
                         return c.app().setDownlinkDelayEstimation();
                     }});
    table.push_back({.name = "downlink.delay",
                     .type = anyInteger(),
                     .what = "Delay of the downlink as last measured; of cabinaudio-server in ms",
                     .functions = functions(F::GetDelayEstimation),
                     .get = [](Clients& c, const Names&) {
                         short words[2] = {};  // the library stores four bytes through the pointer
                         const int status = c.app().getDownlinkDelayEstimation(words);
                         return Reading{status, Integers{words[0]}};
                     }});
}

Setting number(const char* name, const char* what, Functions functions, int (App::*set)(int),
               int (App::*get)(int*)) {
    return {.name = name,
            .type = anyInteger(),
            .what = what,
            .functions = std::move(functions),
            .get =
                [get](Clients& c, const Names&) {
                    return readInteger<int>([&](int& value) { return (c.app().*get)(&value); });
                },
            .set = [set](Clients& c, const Names&,
                         const Value& value) { return (c.app().*set)(integerOf<int>(value)); }};
}

void addCalls(std::vector<Setting>& table) {
    table.push_back({.name = "aec.quality",
                     .type = anyInteger(),
                     .what = "Quality of the echo cancellation of calls",
                     .functions = functions(F::SetEchoQuality, F::GetEchoQuality),
                     .get =
                         [](Clients& c, const Names&) {
                             return readInteger<audio::audio_aec_quality_e>(
                                 [&](auto& quality) { return c.app().getQualityOfAEC(&quality); });
                         },
                     .set =
                         [](Clients& c, const Names&, const Value& value) {
                             return c.app().setQualityOfAEC(
                                 integerOf<audio::audio_aec_quality_e>(value));
                         }});
    table.push_back(number("aec.duplex", "How much both sides of a call may speak at once",
                           functions(F::SetDuplex, F::GetDuplex), &App::setDuplexOfAEC,
                           &App::getDuplexOfAEC));
    table.push_back(number("nr.attenuation", "How much the noise reduction of calls takes away",
                           functions(F::SetNoiseReduction, F::GetNoiseReduction),
                           &App::setNRAttenuation, &App::getNRAttenuation));
    table.push_back(record<audio::audio_nlp_config_t>(
        "nlp.<number>", "Non-linear processing of the uplink, by selector; the server's record",
        functions(F::SetNonLinear, F::GetNonLinear), &App::setNLPConfig, &App::getNLPConfig));
    table.push_back(record<audio::audio_handsfree_eq_t>(
        "handsfree.eq.<number>", "Equaliser of calls, by selector; the server's record",
        functions(F::SetHandsfreeEqualizer, F::GetHandsfreeEqualizer), &App::setHandsfreeEQ,
        &App::getHandsfreeEQ));
}

void addSound(std::vector<Setting>& table) {
    table.push_back({.name = "bypass",
                     .type = onOff(),
                     .what = "Passes the sound by all effects",
                     .functions = functions(F::EnableBypass, F::DisableBypass),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         return std::get<bool>(value) ? c.app().enableByPassMode()
                                                      : c.app().disableByPassMode();
                     }});
    table.push_back(record<audio::audio_ext_eq_parameter_t>(
        "eq.<number>", "Equaliser, by selector; the server's record",
        functions(F::SetEqualizer, F::GetEqualizer), &App::setEqualizer, &App::getEqualizer));
    table.push_back({.name = "reverb.mode",
                     .type = anyInteger(),
                     .what = "Kind of reverberation",
                     .functions = functions(F::SetReverbMode),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         return c.app().setReverbMode(integerOf<audio::audio_reverb_mode_e>(value));
                     }});
    table.push_back({.name = "dac.gain",
                     .type = anyUnsigned(),
                     .what = "Gain control of the converter; the server's record",
                     .functions = functions(F::SetDacGain),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         audio::audio_dacgain_ctrl_t control{integerOf<std::uint32_t>(value)};
                         return c.app().setDACGainControl(&control);
                     }});
    table.push_back({.name = "spectrum",
                     .type = level(4),
                     .what = "Level of four bands of the main output; dB of servers that count "
                             "millionths of full scale, as cabinaudio-server does",
                     .functions = functions(F::GetSpectrum),
                     .get =
                         [](Clients& c, const Names&) {
                             audio::audio_eq_spectrum_t bands{};
                             const int status = c.app().getEqualizerSpectrum(&bands);
                             return Reading{status, Integers(std::begin(bands.opaque0),
                                                             std::end(bands.opaque0))};
                         },
                     .isMeter = true});
    table.push_back({.name = "energy.output",
                     .type = level(4),
                     .what = "Level of the loudspeakers LF, RF, LS, RS; dB of servers that count "
                             "millionths of full scale, as cabinaudio-server does",
                     .functions = functions(F::GetOutputEnergy),
                     .get =
                         [](Clients& c, const Names&) {
                             audio::audio_out_data_energy_t energy{};
                             const int status = c.app().getOutPutDataEnergy(&energy);
                             return Reading{status, Integers(std::begin(energy.opaque0),
                                                             std::end(energy.opaque0))};
                         },
                     .isMeter = true});
}

void addEffects(std::vector<Setting>& table) {
    table.push_back({.name = "effect.<tag>.<effect>",
                     .type = onOff(),
                     .what = "Switches an effect of the streams of a tag",
                     .functions = functions(F::SetEffectEnabled, F::GetEffectEnabled),
                     .get =
                         [](Clients& c, const Names& names) {
                             return readSwitch([&](bool& on) {
                                 return c.app().getEffectEnabled(names[0].c_str(), names[1].c_str(),
                                                                 on);
                             });
                         },
                     .set =
                         [](Clients& c, const Names& names, const Value& value) {
                             return c.app().setEffectEnabled(names[0].c_str(), names[1].c_str(),
                                                             std::get<bool>(value));
                         }});
    table.push_back({.name = "effect.<tag>.<effect>.parameter",
                     .type = bytes(LARGEST_EFFECT),
                     .what = "Parameter of an effect of the streams of a tag",
                     .functions = functions(F::SetEffectParameter, F::GetEffectParameter),
                     .get =
                         [](Clients& c, const Names& names) {
                             return readEffect([&](audio::effect_param_t& head) {
                                 return c.app().getEffectParameter(names[0].c_str(),
                                                                   names[1].c_str(), head);
                             });
                         },
                     .set =
                         [](Clients& c, const Names& names, const Value& value) {
                             EffectBlock block(std::get<Octets>(value));
                             return c.app().setEffectParameter(names[0].c_str(), names[1].c_str(),
                                                               block.head());
                         }});
    using C = wire::RecordControlFunction;
    table.push_back(
        {.name = "capture-effect.<tag>.<effect>",
         .type = bytes(LARGEST_EFFECT),
         .what = "Parameter of an effect of the captures of a tag, such as input0",
         .functions = functions(C::Set, C::Get),
         .get =
             [](Clients& c, const Names& names) {
                 return readEffect([&](audio::effect_param_t& head) {
                     return c.recordControl().get(names[0].c_str(), names[1].c_str(), head);
                 });
             },
         .set =
             [](Clients& c, const Names& names, const Value& value) {
                 EffectBlock block(std::get<Octets>(value));
                 return c.recordControl().set(names[0].c_str(), names[1].c_str(), block.head());
             }});
}

}  // namespace

void addAppSettings(std::vector<Setting>& table) {
    addDelays(table);
    addCalls(table);
    addSound(table);
    addEffects(table);
}

}  // namespace cabinaudio::tool
