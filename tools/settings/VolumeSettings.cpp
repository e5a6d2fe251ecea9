// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/settings/FadeBalance.h"
#include "tools/settings/Rows.h"

#include <array>
#include <optional>

namespace cabinaudio::tool {

namespace {

using namespace rows;
using F = wire::VolumeFunction;

constexpr audio::audio_channel_idx_e CORNERS[] = {audio::AUDIO_CHANNEL_LF, audio::AUDIO_CHANNEL_RF,
                                                  audio::AUDIO_CHANNEL_LS, audio::AUDIO_CHANNEL_RS};

/// @return a status; with status 0 `position` may still be empty
int readPosition(Clients& clients, std::optional<Position>& position) {
    std::array<float, 4> gains{};
    for (std::size_t i = 0; i < gains.size(); ++i)
        if (const int status = clients.volume().getChannelGain(CORNERS[i], &gains[i]); status != 0)
            return status;
    position = positionOf(gains);
    return AUDIO_NO_ERROR;
}

Reading readPosition(Clients& clients, int Position::*part) {
    std::optional<Position> position;
    const int status = readPosition(clients, position);
    if (status == AUDIO_NO_ERROR && !position) return {AUDIO_INVALID_STATE, {}};
    return {status, Integers{position ? (*position).*part : 0}};
}

/// Sets fade or balance; the other keeps its value, or becomes 0 when it cannot be determined.
int setPosition(Clients& clients, int Position::*part, const Value& value) {
    std::optional<Position> position;
    if (const int status = readPosition(clients, position); status != AUDIO_NO_ERROR) return status;
    if (!position) position.emplace();
    (*position).*part = integerOf<int>(value);
    return clients.volume().setFadeBalance(position->fade, position->balance, 100);
}

void addVolumes(std::vector<Setting>& table) {
    table.push_back(
        {.name = "volume.master",
         .type = gain(),
         .what = "Volume of everything that is heard",
         .functions =
             functions(F::SetMasterGain, F::GetMasterGain, F::SetMasterStep, F::GetMasterStep),
         .get =
             [](Clients& c, const Names&) {
                 return readReal([&](float& dB) { return c.volume().getMasterVolume(&dB); });
             },
         .set =
             [](Clients& c, const Names&, const Value& value) {
                 return setGain(value, [&](auto v) { return c.volume().setMasterVolume(v); });
             },
         .getSteps =
             [](Clients& c, const Names&) {
                 return readStep([&](auto& step) { return c.volume().getMasterVolume(&step); });
             }});
    table.push_back(
        {.name = "volume.second",
         .type = gain(),
         .what = "Volume of the second audio, the invocation outputs",
         .functions =
             functions(F::SetSecondGain, F::GetSecondGain, F::SetSecondStep, F::GetSecondStep),
         .get =
             [](Clients& c, const Names&) {
                 return readReal([&](float& dB) { return c.volume().getSecondAudioVolume(&dB); });
             },
         .set =
             [](Clients& c, const Names&, const Value& value) {
                 return setGain(value, [&](auto v) { return c.volume().setSecondAudioVolume(v); });
             },
         .getSteps =
             [](Clients& c, const Names&) {
                 return readStep(
                     [&](auto& step) { return c.volume().getSecondAudioVolume(&step); });
             }});
    table.push_back(
        {.name = "volume.alternative",
         .type = gain(),
         .what = "Volume of the alternative audio, such as navigation prompts",
         .functions = functions(F::SetAlternativeGain, F::GetAlternativeGain, F::SetAlternativeStep,
                                F::GetAlternativeStep),
         .get =
             [](Clients& c, const Names&) {
                 return readReal([&](float& dB) { return c.volume().getAlterAudioVolume(&dB); });
             },
         .set =
             [](Clients& c, const Names&, const Value& value) {
                 return setGain(value, [&](auto v) { return c.volume().setAlterAudioVolume(v); });
             },
         .getSteps =
             [](Clients& c, const Names&) {
                 return readStep([&](auto& step) { return c.volume().getAlterAudioVolume(&step); });
             }});
    table.push_back({.name = "volume.type.<type>",
                     .type = gain(),
                     .what = "Volume of all streams of a type, such as media (music), navigation",
                     .functions = functions(F::SetStreamTypeGain, F::GetStreamTypeGain,
                                            F::SetStreamTypeStep, F::GetStreamTypeStep),
                     .get =
                         [](Clients& c, const Names& names) {
                             return readReal([&](float& dB) {
                                 return c.volume().getGainByStreamType(names[0].c_str(), dB);
                             });
                         },
                     .set =
                         [](Clients& c, const Names& names, const Value& value) {
                             const char* type = names[0].c_str();
                             if (const auto* steps = std::get_if<Steps>(&value))
                                 return c.volume().setVolumeByStreamType(type, steps->steps[0]);
                             return c.volume().setGainByStreamType(type, realOf(value));
                         },
                     .getSteps =
                         [](Clients& c, const Names& names) {
                             return readStep([&](auto& step) {
                                 return c.volume().getVolumeByStreamType(names[0].c_str(), step);
                             });
                         }});
}

void addTracks(std::vector<Setting>& table) {
    table.push_back(
        {.name = "volume.track.<tag>.<track>",
         .type = gain(),
         .what = "Volume of one stream, playing or not; tags main, alternative, auxiliary",
         .functions = functions(F::SetTrackGain, F::GetTrackGain, F::SetTrackStep, F::GetTrackStep),
         .get =
             [](Clients& c, const Names& names) {
                 return readReal([&](float& dB) {
                     return c.volume().getTrackVolume(names[0].c_str(), names[1].c_str(), &dB);
                 });
             },
         .set =
             [](Clients& c, const Names& names, const Value& value) {
                 return setGain(value, [&](auto v) {
                     return c.volume().setTrackVolume(names[0].c_str(), names[1].c_str(), v);
                 });
             },
         .getSteps =
             [](Clients& c, const Names& names) {
                 return readStep([&](auto& step) {
                     return c.volume().getTrackVolume(names[0].c_str(), names[1].c_str(), &step);
                 });
             }});
    table.push_back({.name = "track.auxiliary.<track>.channels",
                     .type = real(LOWEST_GAIN, 24, "dB", 8),
                     .what = "Gains of the channels of an auxiliary stream",
                     .functions = functions(F::SetTrackChannelGains),
                     .set = [](Clients& c, const Names& names, const Value& value) {
                         Reals gains = std::get<Reals>(value);
                         return c.volume().setTrackChannelGain("auxiliary", names[0].c_str(),
                                                               gains.data());
                     }});
}

void addLoudspeakers(std::vector<Setting>& table) {
    const Functions channels =
        functions(F::SetChannelStep, F::GetChannelGain, F::SetChannelGain, F::GetChannelStep);
    table.push_back(
        {.name = "fade",
         .type = integer(-100, 100),
         .what = "Front or rear: -100 all at the back, 100 all at the front; found from the "
                 "loudspeakers' volumes",
         .functions = channels,
         .get = [](Clients& c, const Names&) { return readPosition(c, &Position::fade); },
         .set = [](Clients& c, const Names&,
                   const Value& value) { return setPosition(c, &Position::fade, value); },
         .partner = "balance",
         .setBoth =
             [](Clients& c, const Value& fade, const Value& balance) {
                 return c.volume().setFadeBalance(integerOf<int>(fade), integerOf<int>(balance),
                                                  100);
             }});
    table.push_back(
        {.name = "balance",
         .type = integer(-100, 100),
         .what = "Left or right: -100 all at the left, 100 all at the right; found from the "
                 "loudspeakers' volumes",
         .functions = channels,
         .get = [](Clients& c, const Names&) { return readPosition(c, &Position::balance); },
         .set = [](Clients& c, const Names&,
                   const Value& value) { return setPosition(c, &Position::balance, value); },
         .partner = "fade",
         .setBoth =
             [](Clients& c, const Value& balance, const Value& fade) {
                 return c.volume().setFadeBalance(integerOf<int>(fade), integerOf<int>(balance),
                                                  100);
             }});
    table.push_back({.name = "volume.channel.<loudspeaker>",
                     .type = gain(),
                     .what = "Volume of the main audio at one loudspeaker",
                     .functions = channels,
                     .get =
                         [](Clients& c, const Names& names) {
                             return readReal([&](float& dB) {
                                 return c.volume().getChannelGain(channelOf(names[0]), &dB);
                             });
                         },
                     .set =
                         [](Clients& c, const Names& names, const Value& value) {
                             const auto channel = channelOf(names[0]);
                             const auto* steps = std::get_if<Steps>(&value);
                             if (steps == nullptr)
                                 return c.volume().setChannelGain(channel, realOf(value));
                             audio::audio_channel_gain_t record{
                                 static_cast<std::uint32_t>(channel), steps->steps[0], {}};
                             return c.volume().setChannelGain(&record);
                         },
                     .getSteps =
                         [](Clients& c, const Names& names) {
                             return readStep([&](auto& step) {
                                 audio::audio_channel_gain_t record{
                                     static_cast<std::uint32_t>(channelOf(names[0])), 0, {}};
                                 const int status = c.volume().getChannelGain(&record);
                                 step = record.volume;
                                 return status;
                             });
                         }});
}

void addMutesAndDucking(std::vector<Setting>& table) {
    table.push_back({.name = "volume.ramp",
                     .type = real(0, 10000, "ms", 2),
                     .what = "How long a change of the volume takes: louder, softer",
                     .functions = functions(F::SetMasterRamp, F::GetMasterRamp),
                     .get =
                         [](Clients& c, const Names&) {
                             return readTwoReals([&](float& up, float& down) {
                                 return c.volume().getMasterVolumeRampDuration(up, down);
                             });
                         },
                     .set =
                         [](Clients& c, const Names&, const Value& value) {
                             return c.volume().setMasterVolumeRampDuration(realOf(value, 0),
                                                                           realOf(value, 1));
                         }});
    table.push_back({.name = "mute.<path>",
                     .type = onOff(),
                     .what = "Silences an output path",
                     .functions = functions(F::Mute, F::Demute, F::GetMuteState),
                     .get =
                         [](Clients& c, const Names& names) {
                             return readSwitch([&](bool& muted) {
                                 return c.volume().getMuteState(names[0].c_str(), muted);
                             });
                         },
                     .set =
                         [](Clients& c, const Names& names, const Value& value) {
                             const char* path = names[0].c_str();
                             return std::get<bool>(value) ? c.volume().mute(path, true)
                                                          : c.volume().demute(path, true);
                         }});
    Type percent = integer(0, 100, "%");
    percent.words = {{"off", -1}};
    table.push_back({.name = "duck",
                     .type = percent,
                     .what = "Lowers music and all else that is no prompt by so much, until off",
                     .functions = functions(F::Duck, F::Unduck),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         const auto percentage = integerOf<int>(value);
                         return percentage < 0 ? c.volume().unduck() : c.volume().duck(percentage);
                     }});
    table.push_back({.name = "ducking.mode",
                     .type = anyUnsigned(),
                     .what = "When music gives way to prompts; cabinaudio-server knows 0 never, 1 "
                             "while navigation sounds",
                     .functions = functions(F::SetDuckingMode),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         return c.volume().setMainAudioDunkingMode(integerOf<unsigned>(value));
                     }});
    table.push_back({.name = "ducking.target",
                     .type = attenuation(),
                     .what = "How soft music is while it gives way by ducking.mode",
                     .functions = functions(F::SetDuckingTargetGain, F::SetDuckingTargetStep),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         return setGain(value, [&](auto v) {
                             return c.volume().setMainAudioDunkingTargetGain(v);
                         });
                     }});
}

// Operation for one of the two amplifiers of a converter input.
using SetPair = int (audio::QVAudioSetting::Volume::*)(audio::audio_input_mux_id_e, float, float);
using GetPair = int (audio::QVAudioSetting::Volume::*)(audio::audio_input_mux_id_e, float*, float*);

Setting amplifier(const char* name, const char* what, Functions functions, SetPair set,
                  GetPair get) {
    const auto inputOf = [](const Names& names) {
        return static_cast<audio::audio_input_mux_id_e>(numberOf(names[0]));
    };
    return {.name = name,
            .type = real(-24, 46, "dB", 2),
            .what = what,
            .functions = std::move(functions),
            .get =
                [=](Clients& c, const Names& names) {
                    return readTwoReals([&](float& left, float& right) {
                        return (c.volume().*get)(inputOf(names), &left, &right);
                    });
                },
            .set =
                [=](Clients& c, const Names& names, const Value& value) {
                    return (c.volume().*set)(inputOf(names), realOf(value, 0), realOf(value, 1));
                }};
}

void addMicrophones(std::vector<Setting>& table) {
    using audio::QVAudioSetting::Volume;
    table.push_back(
        {.name = "uplink.gain",
         .type = real(LOWEST_GAIN, 24, "dB"),
         .what = "Gain of what is sent to the other side of a call",
         .functions = functions(F::SetUpLinkGain, F::GetUpLinkGain),
         .get =
             [](Clients& c, const Names&) {
                 return readReal([&](float& dB) { return c.volume().getUpLinkGain(&dB); });
             },
         .set = [](Clients& c, const Names&,
                   const Value& value) { return c.volume().setUpLinkGain(realOf(value)); }});
    table.push_back({.name = "mic.gain",
                     .type = real(-24, 46, "dB", 2),
                     .what = "Gains of the microphones in whole dB: left, right; both amplifiers "
                             "of input 0 together",
                     .functions = functions(F::SetAdcOpGain, F::SetAdcPgaGain, F::GetAdcOpGain,
                                            F::GetAdcPgaGain),
                     .get =
                         [](Clients& c, const Names&) {
                             return readTwoReals([&](float& left, float& right) {
                                 return c.volume().getMicAnalogGain(&left, &right);
                             });
                         },
                     .set =
                         [](Clients& c, const Names&, const Value& value) {
                             return c.volume().setMicAnalogGain(realOf(value, 0), realOf(value, 1));
                         }});
    table.push_back(amplifier(
        "mic.op.<input>", "Gains of the amplifier in front of a converter's input: left, right",
        functions(F::SetAdcOpGain, F::GetAdcOpGain), &Volume::setAdcOpGain, &Volume::getAdcOpGain));
    table.push_back(amplifier("mic.pga.<input>",
                              "Gains of the programmable amplifier of a converter's input: left, "
                              "right",
                              functions(F::SetAdcPgaGain, F::GetAdcPgaGain), &Volume::setAdcPgaGain,
                              &Volume::getAdcPgaGain));
    table.push_back({.name = "mic.calibration",
                     .type = action("start"),
                     .what = "Begins to measure which gain the microphones need",
                     .functions = functions(F::StartMicCalibration),
                     .set = [](Clients& c, const Names&, const Value&) {
                         return c.volume().startMicGainCalibration();
                     }});
    Type result = anyInteger();
    result.words = {{"none", -1}, {"done", 0}, {"running", 1}};
    table.push_back({.name = "mic.calibration.result",
                     .type = result,
                     .what = "How the measuring of the microphones' gain went",
                     .functions = functions(F::GetMicCalibration),
                     .get = [](Clients& c, const Names&) {
                         return readInteger<int>([&](int& number) {
                             float dB = 0;
                             return c.volume().getMicGainCalibrationResult(number, dB);
                         });
                     }});
    table.push_back({.name = "mic.calibration.gain",
                     .type = real(-24, 46, "dB"),
                     .what = "Which gain the microphones need",
                     .functions = functions(F::GetMicCalibration),
                     .get = [](Clients& c, const Names&) {
                         return readReal([&](float& dB) {
                             int number = 0;
                             return c.volume().getMicGainCalibrationResult(number, dB);
                         });
                     }});
    table.push_back({.name = "types",
                     .type = list(),
                     .what = "Names of the stream types",
                     .functions = functions(F::GetStreamTypes),
                     .get = [](Clients& c, const Names&) {
                         Texts types;
                         const int status = c.volume().getStreamTypeList(types);
                         return Reading{status, types};
                     }});
}

}  // namespace

void addVolumeSettings(std::vector<Setting>& table) {
    addVolumes(table);
    addTracks(table);
    addLoudspeakers(table);
    addMutesAndDucking(table);
    addMicrophones(table);
}

}  // namespace cabinaudio::tool
