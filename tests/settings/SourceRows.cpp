// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/Row.h"

namespace cabinaudio::test {
namespace {

using S = audio::QVAudioSetting::Source;
using Mux = audio::audio_input_mux_id_e;
using Pin = audio::audio_input_select_pin_e;
using Channel = audio::audio_channel_idx_e;
using OutputTag = audio::audio_output_src_tag_e;
using OutputTrack = audio::audio_output_src_parameter_t;

const std::string LONG(80, 'o');
const std::string CUT(63, 'o');

int shown(const char* name, Outputs& outputs) {
    outputs.texts = {name != nullptr ? name : "(null)"};
    return name != nullptr ? 0 : 1;
}

/// Records as texts of their bytes.
template <typename Record>
int shown(const std::vector<Record>& records, int result, Outputs& outputs) {
    for (const Record& record : records)
        outputs.texts.emplace_back(reinterpret_cast<const char*>(&record), sizeof record);
    return result;
}

std::vector<OperationRow> nameRows() {
    return {
        setter("SetOutPutSource", 198, {word(14), text("main"), text("radio")},
               [](S& s) { return s.setOutPutSource("radio", "main"); }),
        setter("SetOutPutSourceWithTheLongestNames", 198, {word(14), text(LONGEST), text(LONGEST)},
               [](S& s) { return s.setOutPutSource(LONGEST.c_str(), LONGEST.c_str()); }),
        getter("GetOutPutSource", 198, {word(24), text("main")}, text("radio"), {},
               [](S& s, Outputs& out) { return shown(s.getOutPutSource("main"), out); },
               {.result = Result::Name, .texts = {"radio"}, .textsOnFailure = {"(null)"}}),
        setter("SetInputDestination", 198, {word(15), text("uplink"), text("phone")},
               [](S& s) { return s.setInputDestination("uplink", "phone"); }),
        setter("SetInputDestinationWithTheLongestNames", 198,
               {word(15), text(LONGEST), text(LONGEST)},
               [](S& s) { return s.setInputDestination(LONGEST.c_str(), LONGEST.c_str()); }),
        getter("GetInputDestination", 198, {word(25), text("uplink")}, text("phone"), {},
               [](S& s, Outputs& out) { return shown(s.getInputDestination("uplink"), out); },
               {.result = Result::Name, .texts = {"phone"}, .textsOnFailure = {"(null)"}}),
        setter("DumpOutPutSourceList", 198, {word(16), text(LONGEST)},
               [](S& s) { return s.dumpOutPutSourceList(LONGEST.c_str()); }),
        setter("DumpInputDestinationList", 198, {word(17), text("uplink")},
               [](S& s) { return s.dumpInputDestinationList("uplink"); }),
        getter("GetActivedSourceNumber", 198, {word(26), text("main")}, word(3), {},
               [](S& s) { return s.getActivedSourceNumber("main"); }, {.result = Result::Count}),
        setter("SelectSource", 198, {word(2), number(-2), word(9)},
               [](ClientSourceSetting& s) {
                   return s.selectSource(audio_seat_id_e{-2}, audio_source_id_e{9});
               }),
        setter("SetFrontAudioState", 198, {word(3), word(4)},
               [](ClientSourceSetting& s) { return s.setFrontAudioState(audio_seat_state_e{4}); }),
        setter("SetRearAudioState", 198, {word(4), number(-1)},
               [](ClientSourceSetting& s) { return s.setRearAudioState(audio_seat_state_e{-1}); }),
    };
}

std::vector<OperationRow> trackRows() {
    return {
        getter("GetActiveTracksName", 198, {word(36), text(CUT)},
               joined({word(2), text("radio"), text("phone")}), {},
               [](S& s, Outputs& out) {
                   out.texts = {"kept"};
                   return s.getActiveTracksName(LONG.c_str(), out.texts);
               },
               {.replySize = 2056,
                .result = Result::Ignored,
                .texts = {"kept", "radio", "phone"},
                .textsOnFailure = {"kept"}}),
        getter("GetTrackStreamType", 198, {word(35), text(CUT), text(CUT)}, text("music"), {},
               [](S& s, Outputs& out) {
                   out.texts = {"before"};
                   return s.getTrackStreamType(LONG.c_str(), LONG.c_str(), out.texts[0]);
               },
               {.result = Result::Ignored, .texts = {"music"}, .textsOnFailure = {"before"}}),
        getter("GetActiveTracksInfo", 198, {word(38)},
               joined({word(2), Bytes(200, 'a'), Bytes(200, 'b')}), {},
               [](S& s, Outputs& out) {
                   std::vector<audio::audio_track_info_t> tracks(1);
                   const int result = s.getActiveTracksInfo(tracks);
                   return shown(tracks, result, out);
               },
               {.replySize = 6408,
                .result = Result::Ignored,
                .texts = {std::string(200, '\0'), std::string(200, 'a'), std::string(200, 'b')},
                .textsOnFailure = {std::string(200, '\0')}}),
        getter("GetOutputTrackInfo", 198, {word(32), word(0x80000002)},
               joined({word(20), pattern(1040)}),
               [](ClientSourceSetting& s, Outputs& out) {
                   return s.getOutputTrackInfo(OutputTag{0x80000002}, out.at<OutputTrack>(4),
                                               out.at<int>());
               }),
        getter("GetOutputTrackInfoWithoutTheirNumber", 198, {word(32), word(1)},
               joined({word(20), pattern(1040)}), pattern(1040),
               [](ClientSourceSetting& s, Outputs& out) {
                   return s.getOutputTrackInfo(OutputTag{1}, out.at<OutputTrack>(), nullptr);
               }),
        getter("GetOutPutTrackInfoList", 198, {word(32), word(3)},
               joined({word(2), Bytes(52, 'a'), Bytes(52, 'b')}), {},
               [](S& s, Outputs& out) {
                   std::vector<OutputTrack> tracks(1);
                   const int result = s.getOutPutTrackInfoList(OutputTag{3}, tracks);
                   return shown(tracks, result, out);
               },
               {.replySize = 1048,
                .texts = {std::string(52, '\0'), std::string(52, 'a'), std::string(52, 'b')},
                .textsOnFailure = {std::string(52, '\0')},
                .logged = "getOutputTrackInfo"}),
    };
}

std::vector<OperationRow> hardwareRows() {
    return {
        setter("SetInputMuxPin", 198, {word(5), word(1), number(-6)},
               [](S& s) { return s.setInputMuxPin(Mux{1}, Pin{-6}); }, {.logged = "setAdcMuxPin"}),
        setter("SetAdcMuxPin", 198, {word(5), word(9), word(6)},
               [](ClientSourceSetting& s) { return s.setAdcMuxPin(Mux{9}, Pin{6}); }),
        getter("GetInputMuxPin", 198, {word(6), word(1)}, word(5),
               [](S& s, Outputs& out) { return s.getInputMuxPin(Mux{1}, out.at<Pin>()); },
               {.logged = "getAdcMuxPin"}),
        getter("GetAdcMuxPin", 198, {word(6), word(0)}, number(-5),
               [](ClientSourceSetting& s, Outputs& out) {
                   return s.getAdcMuxPin(Mux{0}, out.at<Pin>());
               }),
        setter("SetDacOutPutMapping", 198,
               {word(8), number(10), number(-1), number(0), number(-2147483647 - 1), number(3),
                number(10)},
               [](S& s) {
                   audio::audio_dac_output_mapping_tbl_t table{{10, -1, 0, -2147483647 - 1, 3, 10}};
                   return s.setDacOutPutMapping(&table);
               }),
        getter("GetDacOutPutMapping", 198, {word(9)}, pattern(24),
               [](S& s, Outputs& out) {
                   return s.getDacOutPutMapping(out.at<audio::audio_dac_output_mapping_tbl_t>());
               }),
        setter("SetI2sOutPutMapping", 198,
               {word(10), number(1), number(2), number(3), number(4), number(5), number(-6),
                number(7), number(10)},
               [](S& s) {
                   audio::audio_i2s_output_mapping_tbl_t table{{1, 2, 3, 4, 5, -6, 7, 10}};
                   return s.setI2sOutPutMapping(&table);
               }),
        getter("GetI2sOutPutMapping", 198, {word(11)}, pattern(32),
               [](S& s, Outputs& out) {
                   return s.getI2sOutPutMapping(out.at<audio::audio_i2s_output_mapping_tbl_t>());
               }),
        setter("SetAdcLeftRightSwitch", 195, {word(12), word(1)},
               [](S& s) { return s.setAdcLeftRightSwitch(true); }),
        setter("SetMainAudioSpeakerTestPattern", 195, {word(18), word(2), number(-4)},
               [](S& s) {
                   return s.setMainAudioSpeakerTestPattern(Channel{2},
                                                           audio::audio_speaker_test_pattern_e{-4});
               }),
        setter("SetMainAudioSpeakerTestPatternOfOneHertz", 195, {word(19), word(8), word(1)},
               [](S& s) { return s.setMainAudioSpeakerTestPattern(Channel{8}, 1); }),
        setter("SetMainAudioSpeakerTestPatternOfTheHighestTone", 195,
               {word(19), number(-8), word(47999)},
               [](S& s) { return s.setMainAudioSpeakerTestPattern(Channel{-8}, 47999); }),
        setter("ConfigurePcmHwInterface", 198, {word(20), pattern(20)},
               [](S& s) {
                   auto configuration = recordOf<audio::audio_pcm_hw_intf_cfg_t>(pattern(20));
                   return s.configurePcmHwInterface(&configuration);
               }),
        setter("EnablePcmHwInterface", 195, {word(21), word(0)},
               [](S& s) { return s.enablePcmHwInterface(false); }),
        setter("SetSpeakerOutPut", 195, {word(22), word(32)},
               [](S& s) { return s.setSpeakerOutPut(Channel{32}); }),
        getter("GetSpeakerOutPut", 195, {word(23)}, number(-16),
               [](S& s, Outputs& out) { return s.getSpeakerOutPut(out.at<Channel>()); }),
        getter("GetSpeakerOutPutIntoNothing", 195, {word(23)}, number(-16), {},
               [](S& s) { return s.getSpeakerOutPut(nullptr); }),
        setter("SetHandsfreeDelay", 195, {word(27), number(-40)},
               [](S& s) { return s.setHandsfreeDelay(-40); }),
        setter("SetSamplerateCapability", 195, {word(28), word(5)},
               [](S& s) {
                   return s.setSamplerateCapability(audio::audio_samplerate_capability_e{5});
               }),
        setter("SetI2sFormatAndConfig", 198,
               {word(30), word(0x80000007), word(0x01020304), {0xb1, 0xa1, 0, 0}},
               [](S& s) {
                   // What lies behind the second field does not travel.
                   auto format = recordOf<audio::audio_i2s_format_parameter_t>(
                       joined({word(0x01020304), {0xb1, 0xa1, 0xff, 0xff}}));
                   return s.setI2sFormatAndConfig(audio::audio_i2s_select_param_e{0x80000007},
                                                  &format);
               }),
        getter("GetHWSignalEnergy", 198, {word(37), word(0xfffffffe)}, word(0xdeadbeef),
               [](S& s, Outputs& out) {
                   return s.getHWSignalEnergy(audio::audio_hw_type_e{0xfffffffe},
                                              out.at<unsigned>());
               }),
        setter("SetHwAutoRampMode", 195, {word(34), word(1)},
               [](S& s) { return s.setHwAutoRampMode(true); }),
    };
}

}  // namespace

std::vector<OperationRow> sourceRows() {
    return ofType(130, {nameRows(), trackRows(), hardwareRows()});
}

}  // namespace cabinaudio::test
