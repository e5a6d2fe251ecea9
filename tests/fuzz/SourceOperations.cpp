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
        {"setOutPutSource", Requests::ONE, setName<&S::setOutPutSource>},
        {"getOutPutSource", Requests::ONE, getName<&S::getOutPutSource>},
        {"getActiveTracksName", Requests::ONE, getActiveTracksName},
        {"getTrackStreamType", Requests::ONE, getTrackStreamType},
        {"setInputDestination", Requests::ONE, setName<&S::setInputDestination>},
        {"getInputDestination", Requests::ONE,
         [](S& s, Input& in, Peer& peer) {
             if (in.flag())
                 s.getInputDestination("uplink");
             else
                 getName<&S::getInputDestination>(s, in, peer);
         }},
        {"dumpOutPutSourceList", Requests::ONE, callTag<&S::dumpOutPutSourceList>},
        {"dumpInputDestinationList", Requests::ONE, callTag<&S::dumpInputDestinationList>},
        {"setInputMuxPin", Requests::ONE, setPin<&S::setInputMuxPin>},
        {"getInputMuxPin", Requests::ONE, getPin<&S::getInputMuxPin>},
        {"setExtAdcEnable", Requests::NONE,
         [](S& s, Input& in, Peer&) {
             s.setExtAdcEnable(in.enumerator<audio_input_mux_id_e>(), 'x');
         }},
        {"setDacOutPutMapping", Requests::ONE,
         callRecord<audio_dac_output_mapping_tbl_t, &S::setDacOutPutMapping>},
        {"getDacOutPutMapping", Requests::ONE,
         callRecord<audio_dac_output_mapping_tbl_t, &S::getDacOutPutMapping>},
        {"setI2sOutPutMapping", Requests::ONE,
         callRecord<audio_i2s_output_mapping_tbl_t, &S::setI2sOutPutMapping>},
        {"getI2sOutPutMapping", Requests::ONE,
         callRecord<audio_i2s_output_mapping_tbl_t, &S::getI2sOutPutMapping>},
        {"setAdcLeftRightSwitch", Requests::ONE, setFlag<&S::setAdcLeftRightSwitch>},
        {"setMainAudioSpeakerTestPattern(pattern)", Requests::ONE,
         [](S& s, Input& in, Peer&) {
             const auto channel = in.enumerator<audio_channel_idx_e>();
             s.setMainAudioSpeakerTestPattern(channel,
                                              in.enumerator<audio::audio_speaker_test_pattern_e>());
         }},
        {"setMainAudioSpeakerTestPattern(int)", Requests::ONE,
         [](S& s, Input& in, Peer&) {
             const auto channel = in.enumerator<audio_channel_idx_e>();
             s.setMainAudioSpeakerTestPattern(channel, int{in.number<std::uint16_t>()});
         }},
        {"configurePcmHwInterface", Requests::ONE,
         callRecord<audio::audio_pcm_hw_intf_cfg_t, &S::configurePcmHwInterface>},
        {"enablePcmHwInterface", Requests::ONE, setFlag<&S::enablePcmHwInterface>},
        {"setSpeakerOutPut", Requests::ONE, setState<audio_channel_idx_e, &S::setSpeakerOutPut>},
        {"getActivedSourceNumber", Requests::ONE, callTag<&S::getActivedSourceNumber>},
        {"setHandsfreeDelay", Requests::ONE, setNumber<&S::setHandsfreeDelay>},
        {"setSamplerateCapability", Requests::ONE,
         [](S& s, Input& in, Peer&) {
             s.setSamplerateCapability(
                 static_cast<audio::audio_samplerate_capability_e>(in.number<std::int8_t>() % 8));
         }},
        {"setAdcPrcMode", Requests::NONE, setFlag<&S::setAdcPrcMode>},
        {"setI2sFormatAndConfig", Requests::ONE, setI2sFormat},
        {"setAdcPinIntoGPIO", Requests::NONE, setFlag<&S::setAdcPinIntoGPIO>},
        {"getOutPutTrackInfoList", Requests::ONE, getOutputTracks},
        {"getHWSignalEnergy", Requests::ONE, getSignalEnergy},
        {"setAlterLatency", Requests::NONE, setNumber<&S::setAlterLatency>},
        {"setHwAutoRampMode", Requests::ONE, setFlag<&S::setHwAutoRampMode>},
        {"getSpeakerOutPut", Requests::ONE, getSpeakerOutPut},
        {"getActiveTracksInfo", Requests::ONE, getActiveTracks},
        {"selectSource", Requests::ONE,
         [](S& s, Input& in, Peer&) {
             const auto seat = in.enumerator<audio_seat_id_e>();
             s.selectSource(seat, in.enumerator<audio_source_id_e>());
         }},
        {"setFrontAudioState", Requests::ONE, setState<audio_seat_state_e, &S::setFrontAudioState>},
        {"setRearAudioState", Requests::ONE, setState<audio_seat_state_e, &S::setRearAudioState>},
        {"setAdcMuxPin", Requests::ONE, setPin<&S::setAdcMuxPin>},
        {"getAdcMuxPin", Requests::ONE, getPin<&S::getAdcMuxPin>},
        {"getOutputTrackInfo", Requests::ONE, getOutputTrackInfo},
    };
    return OPERATIONS;
}

}  // namespace cabinaudio::fuzz
