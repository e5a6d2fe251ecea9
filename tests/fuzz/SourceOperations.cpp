// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/Operations.h"

#include <cstring>
#include <memory>
#include <string>

namespace cabinaudio::fuzz {

namespace {

using S = ClientSourceSetting;
using audio::audio_channel_idx_e;
using audio::audio_input_mux_id_e;
using audio::audio_input_select_pin_e;
using audio::audio_output_src_parameter_t;
using audio::audio_output_src_tag_e;

constexpr std::uint32_t NAME = 4 + 64;
constexpr std::uint32_t NAMES = 8 + 32 * 64;
constexpr std::uint32_t TRACKS = 8 + 32 * 200;
constexpr std::uint32_t OUTPUT_TRACKS = 8 + 20 * 52;

/// A function of two texts, each of which may be null.
template <int (S::*SET)(const char*, const char*)>
void setName(S& source, Input& in, Peer&) {
    const char* const first = in.orNull(in.tag());
    (source.*SET)(first, in.orNull(in.text()));
}

template <const char* (S::*GET)(const char*)>
void getName(S& source, Input& in, Peer&) {
    const char* const name = (source.*GET)(in.orNull(in.tag()));
    if (name != nullptr) demand(strnlen(name, 64) < 64, "a name ends in its field");
}

template <int (S::*CALL)(const char*)>
void callTag(S& source, Input& in, Peer&) {
    (source.*CALL)(in.orNull(in.tag()));
}

template <int (S::*SET)(bool)>
void setFlag(S& source, Input& in, Peer&) {
    (source.*SET)(in.flag());
}

template <int (S::*SET)(int)>
void setNumber(S& source, Input& in, Peer&) {
    (source.*SET)(in.number<std::int32_t>());
}

template <typename State, int (S::*SET)(State)>
void setState(S& source, Input& in, Peer&) {
    (source.*SET)(in.enumerator<State>());
}

template <typename Record, int (S::*CALL)(Record*)>
void callRecord(S& source, Input& in, Peer&) {
    auto record = std::make_unique<Record>(in.number<Record>());
    (source.*CALL)(in.orNull(record.get()));
}

// The old and the new names of these are of different classes.

template <auto SET>
void setPin(S& source, Input& in, Peer&) {
    const auto input = in.enumerator<audio_input_mux_id_e>();
    (source.*SET)(input, in.enumerator<audio_input_select_pin_e>());
}

template <auto GET>
void getPin(S& source, Input& in, Peer&) {
    audio_input_select_pin_e pin{};
    const auto input = in.enumerator<audio_input_mux_id_e>();
    (source.*GET)(input, in.orNull(&pin));
}

void getActiveTracksName(S& source, Input& in, Peer&) {
    std::vector<std::string> names;
    source.getActiveTracksName(in.orNull(in.tag()), names);
    demand(names.size() <= 32, "a list has no more names than the reply");
    for (const std::string& name : names)
        demand(name.size() <= 64, "a name ends with its field");
}

void getTrackStreamType(S& source, Input& in, Peer&) {
    std::string type;
    const char* const tag = in.orNull(in.tag());
    source.getTrackStreamType(tag, in.orNull(in.text()), type);
    demand(type.size() <= 64, "a name ends with its field");
}

void setI2sFormat(S& source, Input& in, Peer&) {
    auto format = in.number<audio::audio_i2s_format_parameter_t>();
    const auto select = in.enumerator<audio::audio_i2s_select_param_e>();
    source.setI2sFormatAndConfig(select, in.orNull(&format));
}

void getOutputTracks(S& source, Input& in, Peer&) {
    std::vector<audio_output_src_parameter_t> list;
    source.getOutPutTrackInfoList(in.enumerator<audio_output_src_tag_e>(), list);
    demand(list.size() <= 20, "a list has no more records than the reply");
}

void getOutputTrackInfo(S& source, Input& in, Peer&) {
    const auto records = std::make_unique<audio_output_src_parameter_t[]>(20);
    int count = 0;
    const auto tag = in.enumerator<audio_output_src_tag_e>();
    source.getOutputTrackInfo(tag, in.orNull(records.get()), in.orNull(&count));
}

void getActiveTracks(S& source, Input&, Peer&) {
    std::vector<audio::audio_track_info_t> list;
    source.getActiveTracksInfo(list);
    demand(list.size() <= 32, "a list has no more records than the reply");
}

void getSignalEnergy(S& source, Input& in, Peer&) {
    unsigned energy = 0;
    const auto hardware = in.enumerator<audio::audio_hw_type_e>();
    source.getHWSignalEnergy(hardware, in.orNull(&energy));
}

void getSpeakerOutPut(S& source, Input& in, Peer&) {
    audio_channel_idx_e channel{};
    source.getSpeakerOutPut(in.orNull(&channel));
}

}  // namespace

const std::vector<Operation<ClientSourceSetting>>& operationsOf(const ClientSourceSetting*) {
    using audio::audio_dac_output_mapping_tbl_t;
    using audio::audio_i2s_output_mapping_tbl_t;
    static const std::vector<Operation<ClientSourceSetting>> OPERATIONS = {
        {"setOutPutSource", 4, true, setName<&S::setOutPutSource>},
        {"getOutPutSource", NAME, true, getName<&S::getOutPutSource>},
        {"getActiveTracksName", NAMES, true, getActiveTracksName},
        {"getTrackStreamType", NAME, true, getTrackStreamType},
        {"setInputDestination", 4, true, setName<&S::setInputDestination>},
        {"getInputDestination", NAME, true,
         [](S& s, Input& in, Peer& peer) {
             if (in.flag())
                 s.getInputDestination("uplink");
             else
                 getName<&S::getInputDestination>(s, in, peer);
         }},
        {"dumpOutPutSourceList", 4, true, callTag<&S::dumpOutPutSourceList>},
        {"dumpInputDestinationList", 4, true, callTag<&S::dumpInputDestinationList>},
        {"setInputMuxPin", 4, true, setPin<&S::setInputMuxPin>},
        {"getInputMuxPin", 8, true, getPin<&S::getInputMuxPin>},
        {"setExtAdcEnable", 0, true,
         [](S& s, Input& in, Peer&) {
             s.setExtAdcEnable(in.enumerator<audio_input_mux_id_e>(), 'x');
         }},
        {"setDacOutPutMapping", 4, true,
         callRecord<audio_dac_output_mapping_tbl_t, &S::setDacOutPutMapping>},
        {"getDacOutPutMapping", 28, true,
         callRecord<audio_dac_output_mapping_tbl_t, &S::getDacOutPutMapping>},
        {"setI2sOutPutMapping", 4, true,
         callRecord<audio_i2s_output_mapping_tbl_t, &S::setI2sOutPutMapping>},
        {"getI2sOutPutMapping", 36, true,
         callRecord<audio_i2s_output_mapping_tbl_t, &S::getI2sOutPutMapping>},
        {"setAdcLeftRightSwitch", 4, true, setFlag<&S::setAdcLeftRightSwitch>},
        {"setMainAudioSpeakerTestPattern(pattern)", 4, true,
         [](S& s, Input& in, Peer&) {
             const auto channel = in.enumerator<audio_channel_idx_e>();
             s.setMainAudioSpeakerTestPattern(channel,
                                              in.enumerator<audio::audio_speaker_test_pattern_e>());
         }},
        {"setMainAudioSpeakerTestPattern(int)", 4, true,
         [](S& s, Input& in, Peer&) {
             const auto channel = in.enumerator<audio_channel_idx_e>();
             s.setMainAudioSpeakerTestPattern(channel, int{in.number<std::uint16_t>()});
         }},
        {"configurePcmHwInterface", 4, true,
         callRecord<audio::audio_pcm_hw_intf_cfg_t, &S::configurePcmHwInterface>},
        {"enablePcmHwInterface", 4, true, setFlag<&S::enablePcmHwInterface>},
        {"setSpeakerOutPut", 4, true, setState<audio_channel_idx_e, &S::setSpeakerOutPut>},
        {"getActivedSourceNumber", 8, true, callTag<&S::getActivedSourceNumber>},
        {"setHandsfreeDelay", 4, true, setNumber<&S::setHandsfreeDelay>},
        {"setSamplerateCapability", 4, true,
         [](S& s, Input& in, Peer&) {
             s.setSamplerateCapability(
                 static_cast<audio::audio_samplerate_capability_e>(in.number<std::int8_t>() % 8));
         }},
        {"setAdcPrcMode", 0, true, setFlag<&S::setAdcPrcMode>},
        {"setI2sFormatAndConfig", 4, true, setI2sFormat},
        {"setAdcPinIntoGPIO", 0, true, setFlag<&S::setAdcPinIntoGPIO>},
        {"getOutPutTrackInfoList", OUTPUT_TRACKS, true, getOutputTracks},
        {"getHWSignalEnergy", 8, true, getSignalEnergy},
        {"setAlterLatency", 0, true, setNumber<&S::setAlterLatency>},
        {"setHwAutoRampMode", 4, true, setFlag<&S::setHwAutoRampMode>},
        {"getSpeakerOutPut", 8, true, getSpeakerOutPut},
        {"getActiveTracksInfo", TRACKS, true, getActiveTracks},
        {"selectSource", 4, true,
         [](S& s, Input& in, Peer&) {
             const auto seat = in.enumerator<audio_seat_id_e>();
             s.selectSource(seat, in.enumerator<audio_source_id_e>());
         }},
        {"setFrontAudioState", 4, true, setState<audio_seat_state_e, &S::setFrontAudioState>},
        {"setRearAudioState", 4, true, setState<audio_seat_state_e, &S::setRearAudioState>},
        {"setAdcMuxPin", 4, true, setPin<&S::setAdcMuxPin>},
        {"getAdcMuxPin", 8, true, getPin<&S::getAdcMuxPin>},
        {"getOutputTrackInfo", OUTPUT_TRACKS, true, getOutputTrackInfo},
    };
    return OPERATIONS;
}

}  // namespace cabinaudio::fuzz
