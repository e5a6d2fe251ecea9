// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/settings/Rows.h"
#include "tools/settings/TrackRecords.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <tuple>

namespace cabinaudio::tool {

namespace {

using namespace rows;
using F = wire::SourceFunction;

constexpr std::int32_t MAPPING_MAX = 10;
// Bytes of the record that are transferred.
constexpr std::size_t I2S_FORMAT_SIZE = 6;

/// A null name means that the request was not answered.
Reading readName(const char* name) {
    if (name == nullptr) return {1, {}};
    return {AUDIO_NO_ERROR, std::string(name)};
}

void addRouting(std::vector<Setting>& table) {
    table.push_back({.name = "source.<output>",
                     .type = text(),
                     .what = "Name of the source that an output plays",
                     .functions = functions(F::SetOutputSource, F::GetOutputSource),
                     .get =
                         [](Clients& c, const Names& names) {
                             return readName(c.source().getOutPutSource(names[0].c_str()));
                         },
                     .set =
                         [](Clients& c, const Names& names, const Value& value) {
                             return c.source().setOutPutSource(std::get<std::string>(value).c_str(),
                                                               names[0].c_str());
                         }});
    table.push_back(
        {.name = "destination.uplink",
         .type = text(),
         .what = "Name of where the microphone of a call goes",
         .functions = functions(F::SetInputDestination, F::GetInputDestination),
         .get = [](Clients& c,
                   const Names&) { return readName(c.source().getInputDestination("uplink")); },
         .set =
             [](Clients& c, const Names&, const Value& value) {
                 return c.source().setInputDestination("uplink",
                                                       std::get<std::string>(value).c_str());
             }});
    const auto select = [](Clients& c, std::int32_t seat, const Value& value) {
        return c.source().selectSource(static_cast<audio_seat_id_e>(seat),
                                       integerOf<audio_source_id_e>(value));
    };
    for (const auto& [name, seat, what] :
         {std::tuple{"source.front", 0, "Number of the source of the front seats, seat 0"},
          std::tuple{"source.rear", 1, "Number of the source of the rear seats, seat 1"}})
        table.push_back({.name = name,
                         .type = anyInteger(),
                         .what = what,
                         .functions = functions(F::SelectSource),
                         .set = [select, seat = seat](Clients& c, const Names&, const Value& v) {
                             return select(c, seat, v);
                         }});
    table.push_back({.name = "source.seat.<number>",
                     .type = anyInteger(),
                     .what = "Number of the source of any seat",
                     .functions = functions(F::SelectSource),
                     .set = [select](Clients& c, const Names& names, const Value& value) {
                         return select(c, static_cast<std::int32_t>(numberOf(names[0])), value);
                     }});
    table.push_back({.name = "seat.front",
                     .type = anyInteger(),
                     .what = "State of the audio at the front seats",
                     .functions = functions(F::SetFrontState),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         return c.source().setFrontAudioState(integerOf<audio_seat_state_e>(value));
                     }});
    table.push_back({.name = "seat.rear",
                     .type = anyInteger(),
                     .what = "State of the audio at the rear seats",
                     .functions = functions(F::SetRearState),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         return c.source().setRearAudioState(integerOf<audio_seat_state_e>(value));
                     }});
}

void addTrackLists(std::vector<Setting>& table) {
    table.push_back({.name = "tracks",
                     .type = list(),
                     .what = "What plays: tag/track/type/rate/channels",
                     .functions = functions(F::GetActiveTracks),
                     .get = [](Clients& c, const Names&) {
                         std::vector<audio::audio_track_info_t> records;
                         const int status = c.source().getActiveTracksInfo(records);
                         return Reading{status, trackTexts(records)};
                     }});
    table.push_back({.name = "tracks.<output>",
                     .type = list(),
                     .what = "Names of what plays on an output",
                     .functions = functions(F::GetActiveTrackNames),
                     .get = [](Clients& c, const Names& names) {
                         Texts tracks;
                         const int status =
                             c.source().getActiveTracksName(names[0].c_str(), tracks);
                         return Reading{status, tracks};
                     }});
    table.push_back({.name = "tracks.count.<output>",
                     .type = anyInteger(),
                     .what = "How many sources an output has",
                     .functions = functions(F::GetSourceNumber),
                     .get = [](Clients& c, const Names& names) {
                         const int count = c.source().getActivedSourceNumber(names[0].c_str());
                         return Reading{std::min(count, 0), Integers{std::max(count, 0)}};
                     }});
    table.push_back({.name = "tracks.all",
                     .type = list(),
                     .what = "All streams, playing or not: tag/track/rate/channels/bits/on or off",
                     .functions = functions(F::GetOutputTrackInfo),
                     .get = [](Clients& c, const Names&) {
                         constexpr auto ALL = static_cast<audio::audio_output_src_tag_e>(
                             wire::MAIN_OUTPUT | wire::OTHER_OUTPUTS);
                         std::vector<audio::audio_output_src_parameter_t> records;
                         const int status = c.source().getOutPutTrackInfoList(ALL, records);
                         return Reading{status, trackTexts(records)};
                     }});
    table.push_back({.name = "track.<tag>.<track>.type",
                     .type = text(),
                     .what = "Stream type of a stream",
                     .functions = functions(F::GetTrackStreamType),
                     .get = [](Clients& c, const Names& names) {
                         std::string type;
                         const int status = c.source().getTrackStreamType(names[0].c_str(),
                                                                          names[1].c_str(), type);
                         return Reading{status, type};
                     }});
    table.push_back({.name = "dump.sources",
                     .type = text(),
                     .what = "Has the server write the sources of this output into its log",
                     .functions = functions(F::DumpOutputSources),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         return c.source().dumpOutPutSourceList(
                             std::get<std::string>(value).c_str());
                     }});
    table.push_back({.name = "dump.destinations",
                     .type = text(),
                     .what = "Has the server write the destinations of this input, uplink, into "
                             "its log",
                     .functions = functions(F::DumpInputDestinations),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         return c.source().dumpInputDestinationList(
                             std::get<std::string>(value).c_str());
                     }});
}

template <typename Table>
Integers entriesOf(const Table& table) {
    return {std::begin(table.entry), std::end(table.entry)};
}
template <typename Table>
Table tableOf(const Value& value) {
    Table table{};
    for (std::size_t i = 0; i < std::size(table.entry); ++i)
        table.entry[i] = integerOf<std::int32_t>(value, i);
    return table;
}

void addMappings(std::vector<Setting>& table) {
    const Type mapping = integer(anyInteger().low, MAPPING_MAX);
    using Dac = audio::audio_dac_output_mapping_tbl_t;
    Type six = mapping;
    six.count = std::size(Dac{}.entry);
    table.push_back({.name = "dac.map",
                     .type = six,
                     .what = "What each output of the converter plays",
                     .functions = functions(F::SetDacMapping, F::GetDacMapping),
                     .get =
                         [](Clients& c, const Names&) {
                             Dac map{};
                             const int status = c.source().getDacOutPutMapping(&map);
                             return Reading{status, entriesOf(map)};
                         },
                     .set =
                         [](Clients& c, const Names&, const Value& value) {
                             auto map = tableOf<Dac>(value);
                             return c.source().setDacOutPutMapping(&map);
                         }});
    using I2s = audio::audio_i2s_output_mapping_tbl_t;
    Type eight = mapping;
    eight.count = std::size(I2s{}.entry);
    table.push_back({.name = "i2s.map",
                     .type = eight,
                     .what = "What each slot of the serial bus plays",
                     .functions = functions(F::SetI2sMapping, F::GetI2sMapping),
                     .get =
                         [](Clients& c, const Names&) {
                             I2s map{};
                             const int status = c.source().getI2sOutPutMapping(&map);
                             return Reading{status, entriesOf(map)};
                         },
                     .set =
                         [](Clients& c, const Names&, const Value& value) {
                             auto map = tableOf<I2s>(value);
                             return c.source().setI2sOutPutMapping(&map);
                         }});
}

void addConverters(std::vector<Setting>& table) {
    const auto inputOf = [](const Names& names) {
        return static_cast<audio::audio_input_mux_id_e>(numberOf(names[0]));
    };
    table.push_back({.name = "adc.pin.<input>",
                     .type = anyInteger(),
                     .what = "Pin of an input of the converter",
                     .functions = functions(F::SetAdcMuxPin, F::GetAdcMuxPin),
                     .get =
                         [inputOf](Clients& c, const Names& names) {
                             return readInteger<audio::audio_input_select_pin_e>([&](auto& pin) {
                                 return c.source().getInputMuxPin(inputOf(names), &pin);
                             });
                         },
                     .set =
                         [inputOf](Clients& c, const Names& names, const Value& value) {
                             return c.source().setInputMuxPin(
                                 inputOf(names), integerOf<audio::audio_input_select_pin_e>(value));
                         }});
    table.push_back({.name = "adc.swap",
                     .type = onOff(),
                     .what = "Exchanges left and right of the converter's input",
                     .functions = functions(F::SetAdcLeftRightSwitch),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         return c.source().setAdcLeftRightSwitch(std::get<bool>(value));
                     }});
    addMappings(table);
    table.push_back({.name = "i2s.format.<number>",
                     .type = bytes(I2S_FORMAT_SIZE),
                     .what = "Format of the serial bus, by selection; the server's record",
                     .functions = functions(F::SetI2sFormat),
                     .set = [](Clients& c, const Names& names, const Value& value) {
                         const auto& data = std::get<Octets>(value);
                         audio::audio_i2s_format_parameter_t format{};
                         std::memcpy(&format, data.data(), data.size());
                         return c.source().setI2sFormatAndConfig(
                             static_cast<audio::audio_i2s_select_param_e>(numberOf(names[0])),
                             &format);
                     }});
    table.push_back({.name = "pcm.interface",
                     .type = anyUnsigned(5),
                     .what = "Configuration of the PCM hardware interface",
                     .functions = functions(F::ConfigurePcmInterface),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         audio::audio_pcm_hw_intf_cfg_t configuration{};
                         for (std::size_t i = 0; i < std::size(configuration.opaque0); ++i)
                             configuration.opaque0[i] = integerOf<std::uint32_t>(value, i);
                         return c.source().configurePcmHwInterface(&configuration);
                     }});
    table.push_back({.name = "pcm.interface.enabled",
                     .type = onOff(),
                     .what = "Switches the PCM hardware interface",
                     .functions = functions(F::EnablePcmInterface),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         return c.source().enablePcmHwInterface(std::get<bool>(value));
                     }});
}

void addSpeakers(std::vector<Setting>& table) {
    table.push_back(
        {.name = "speaker.output",
         .type = loudspeakers(),
         .what = "The loudspeakers that are heard",
         .functions = functions(F::SetSpeakerOutput, F::GetSpeakerOutput),
         .get =
             [](Clients& c, const Names&) {
                 return readInteger<audio::audio_channel_idx_e>(
                     [&](auto& channels) { return c.source().getSpeakerOutPut(&channels); });
             },
         .set =
             [](Clients& c, const Names&, const Value& value) {
                 return c.source().setSpeakerOutPut(integerOf<audio::audio_channel_idx_e>(value));
             }});
    table.push_back({.name = "speaker.test.tone.<loudspeaker>",
                     .type = integer(1, 47999, "Hz"),
                     .what = "Plays a tone on a loudspeaker, until speaker.test.pattern is 0",
                     .functions = functions(F::SetSpeakerTone),
                     .set = [](Clients& c, const Names& names, const Value& value) {
                         return c.source().setMainAudioSpeakerTestPattern(channelOf(names[0]),
                                                                          integerOf<int>(value));
                     }});
    table.push_back({.name = "speaker.test.pattern.<loudspeaker>",
                     .type = anyInteger(),
                     .what = "Plays a test pattern on a loudspeaker; cabinaudio-server knows 0 "
                             "none, 1 noise, 2 a tone",
                     .functions = functions(F::SetSpeakerPattern),
                     .set = [](Clients& c, const Names& names, const Value& value) {
                         return c.source().setMainAudioSpeakerTestPattern(
                             channelOf(names[0]),
                             integerOf<audio::audio_speaker_test_pattern_e>(value));
                     }});
    table.push_back({.name = "handsfree.delay",
                     .type = anyInteger(),
                     .what = "Delay of hands-free calls, in the server's unit",
                     .functions = functions(F::SetHandsfreeDelay),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         return c.source().setHandsfreeDelay(integerOf<int>(value));
                     }});
    table.push_back({.name = "samplerate.capability",
                     .type = integer(0, 5),
                     .what = "Sample rates that the output may take",
                     .functions = functions(F::SetSampleRateCapability),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         return c.source().setSamplerateCapability(
                             integerOf<audio::audio_samplerate_capability_e>(value));
                     }});
    table.push_back({.name = "ramp.auto",
                     .type = onOff(),
                     .what = "Whether changes of volumes are ramped; off makes them at once",
                     .functions = functions(F::SetAutoRamp),
                     .set = [](Clients& c, const Names&, const Value& value) {
                         return c.source().setHwAutoRampMode(std::get<bool>(value));
                     }});
    table.push_back(
        {.name = "energy.hardware.<number>",
         .type = level(),
         .what = "Level of a piece of hardware; 0 is the mix of cabinaudio-server, which "
                 "counts millionths of full scale",
         .functions = functions(F::GetSignalEnergy),
         .get =
             [](Clients& c, const Names& names) {
                 const auto hardware = static_cast<audio::audio_hw_type_e>(numberOf(names[0]));
                 return readInteger<unsigned>([&](unsigned& energy) {
                     return c.source().getHWSignalEnergy(hardware, &energy);
                 });
             },
         .isMeter = true});
}

}  // namespace

void addSourceSettings(std::vector<Setting>& table) {
    addRouting(table);
    addTrackLists(table);
    addConverters(table);
    addSpeakers(table);
}

}  // namespace cabinaudio::tool
