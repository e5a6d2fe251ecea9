// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/Row.h"

namespace cabinaudio::test {
namespace {

using Mux = audio::audio_input_mux_id_e;
using Pin = audio::audio_input_select_pin_e;
using Channel = audio::audio_channel_idx_e;
using OutputTag = audio::audio_output_src_tag_e;
using OutputTrack = audio::audio_output_src_parameter_t;

const std::string LONGEST(63, 'n');
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

std::vector<Row> nameRows() {
    return {
        setter("SetOutPutSource", 198, {word(14), text("main"), text("radio")},
               [](auto& c, auto&) { return c.source().setOutPutSource("radio", "main"); }),
        setter("SetOutPutSourceWithTheLongestNames", 198, {word(14), text(LONGEST), text(LONGEST)},
               [](auto& c, auto&) {
                   return c.source().setOutPutSource(LONGEST.c_str(), LONGEST.c_str());
               }),
        {.test = "GetOutPutSource",
         .command = 198,
         .request = joined({word(24), text("main")}),
         .replySize = 68,
         .call = [](auto& c,
                    Outputs& out) { return shown(c.source().getOutPutSource("main"), out); },
         .results = text("radio"),
         .result = Result::Name,
         .texts = {"radio"},
         .textsOnFailure = {"(null)"}},
        setter("SetInputDestination", 198, {word(15), text("uplink"), text("phone")},
               [](auto& c, auto&) { return c.source().setInputDestination("uplink", "phone"); }),
        setter("SetInputDestinationWithTheLongestNames", 198,
               {word(15), text(LONGEST), text(LONGEST)},
               [](auto& c, auto&) {
                   return c.source().setInputDestination(LONGEST.c_str(), LONGEST.c_str());
               }),
        {.test = "GetInputDestination",
         .command = 198,
         .request = joined({word(25), text("uplink")}),
         .replySize = 68,
         .call = [](auto& c,
                    Outputs& out) { return shown(c.source().getInputDestination("uplink"), out); },
         .results = text("phone"),
         .result = Result::Name,
         .texts = {"phone"},
         .textsOnFailure = {"(null)"}},
        setter("DumpOutPutSourceList", 198, {word(16), text(LONGEST)},
               [](auto& c, auto&) { return c.source().dumpOutPutSourceList(LONGEST.c_str()); }),
        setter("DumpInputDestinationList", 198, {word(17), text("uplink")},
               [](auto& c, auto&) { return c.source().dumpInputDestinationList("uplink"); }),
        {.test = "GetActivedSourceNumber",
         .command = 198,
         .request = joined({word(26), text("main")}),
         .replySize = 8,
         .call = [](auto& c, auto&) { return c.source().getActivedSourceNumber("main"); },
         .results = word(3),
         .result = Result::Count},
        setter("SelectSource", 198, {word(2), number(-2), word(9)},
               [](auto& c, auto&) {
                   return c.seats().selectSource(audio_seat_id_e{-2}, audio_source_id_e{9});
               }),
        setter("SetFrontAudioState", 198, {word(3), word(4)},
               [](auto& c, auto&) { return c.seats().setFrontAudioState(audio_seat_state_e{4}); }),
        setter("SetRearAudioState", 198, {word(4), number(-1)},
               [](auto& c, auto&) { return c.seats().setRearAudioState(audio_seat_state_e{-1}); }),
    };
}

std::vector<Row> trackRows() {
    return {
        {.test = "GetActiveTracksName",
         .command = 198,
         .request = joined({word(36), text(CUT)}),
         .replySize = 2056,
         .call =
             [](auto& c, Outputs& out) {
                 out.texts = {"kept"};
                 return c.source().getActiveTracksName(LONG.c_str(), out.texts);
             },
         .results = joined({word(2), text("radio"), text("phone")}),
         .result = Result::Ignored,
         .texts = {"kept", "radio", "phone"},
         .textsOnFailure = {"kept"}},
        {.test = "GetTrackStreamType",
         .command = 198,
         .request = joined({word(35), text(CUT), text(CUT)}),
         .replySize = 68,
         .call =
             [](auto& c, Outputs& out) {
                 out.texts = {"before"};
                 return c.source().getTrackStreamType(LONG.c_str(), LONG.c_str(), out.texts[0]);
             },
         .results = text("music"),
         .result = Result::Ignored,
         .texts = {"music"},
         .textsOnFailure = {"before"}},
        {.test = "GetActiveTracksInfo",
         .command = 198,
         .request = word(38),
         .replySize = 6408,
         .call =
             [](auto& c, Outputs& out) {
                 std::vector<audio::audio_track_info_t> tracks(1);
                 const int result = c.source().getActiveTracksInfo(tracks);
                 return shown(tracks, result, out);
             },
         .results = joined({word(2), Bytes(200, 'a'), Bytes(200, 'b')}),
         .result = Result::Ignored,
         .texts = {std::string(200, '\0'), std::string(200, 'a'), std::string(200, 'b')},
         .textsOnFailure = {std::string(200, '\0')}},
        getter("GetOutputTrackInfo", 198, {word(32), word(0x80000002)},
               joined({word(20), pattern(1040)}),
               [](auto& c, Outputs& out) {
                   return c.seats().getOutputTrackInfo(OutputTag{0x80000002},
                                                       out.at<OutputTrack>(4), out.at<int>());
               }),
        getter("GetOutputTrackInfoWithoutTheirNumber", 198, {word(32), word(1)},
               joined({word(20), pattern(1040)}), pattern(1040),
               [](auto& c, Outputs& out) {
                   return c.seats().getOutputTrackInfo(OutputTag{1}, out.at<OutputTrack>(),
                                                       nullptr);
               }),
        {.test = "GetOutPutTrackInfoList",
         .command = 198,
         .request = joined({word(32), word(3)}),
         .replySize = 1048,
         .call =
             [](auto& c, Outputs& out) {
                 std::vector<OutputTrack> tracks(1);
                 const int result = c.source().getOutPutTrackInfoList(OutputTag{3}, tracks);
                 return shown(tracks, result, out);
             },
         .results = joined({word(2), Bytes(52, 'a'), Bytes(52, 'b')}),
         .texts = {std::string(52, '\0'), std::string(52, 'a'), std::string(52, 'b')},
         .textsOnFailure = {std::string(52, '\0')},
         .logged = "getOutputTrackInfo"},
    };
}

std::vector<Row> hardwareRows() {
    return {
        {.test = "SetInputMuxPin",
         .command = 198,
         .request = joined({word(5), word(1), number(-6)}),
         .replySize = 4,
         .call = [](auto& c, auto&) { return c.source().setInputMuxPin(Mux{1}, Pin{-6}); },
         .logged = "setAdcMuxPin"},
        setter("SetAdcMuxPin", 198, {word(5), word(9), word(6)},
               [](auto& c, auto&) { return c.seats().setAdcMuxPin(Mux{9}, Pin{6}); }),
        {.test = "GetInputMuxPin",
         .command = 198,
         .request = joined({word(6), word(1)}),
         .replySize = 8,
         .call = [](auto& c,
                    Outputs& out) { return c.source().getInputMuxPin(Mux{1}, out.at<Pin>()); },
         .results = word(5),
         .stored = word(5),
         .logged = "getAdcMuxPin"},
        getter("GetAdcMuxPin", 198, {word(6), word(0)}, number(-5),
               [](auto& c, Outputs& out) { return c.seats().getAdcMuxPin(Mux{0}, out.at<Pin>()); }),
        setter("SetDacOutPutMapping", 198,
               {word(8), number(10), number(-1), number(0), number(-2147483647 - 1), number(3),
                number(10)},
               [](auto& c, auto&) {
                   audio::audio_dac_output_mapping_tbl_t table{{10, -1, 0, -2147483647 - 1, 3, 10}};
                   return c.source().setDacOutPutMapping(&table);
               }),
        getter("GetDacOutPutMapping", 198, {word(9)}, pattern(24),
               [](auto& c, Outputs& out) {
                   return c.source().getDacOutPutMapping(
                       out.at<audio::audio_dac_output_mapping_tbl_t>());
               }),
        setter("SetI2sOutPutMapping", 198,
               {word(10), number(1), number(2), number(3), number(4), number(5), number(-6),
                number(7), number(10)},
               [](auto& c, auto&) {
                   audio::audio_i2s_output_mapping_tbl_t table{{1, 2, 3, 4, 5, -6, 7, 10}};
                   return c.source().setI2sOutPutMapping(&table);
               }),
        getter("GetI2sOutPutMapping", 198, {word(11)}, pattern(32),
               [](auto& c, Outputs& out) {
                   return c.source().getI2sOutPutMapping(
                       out.at<audio::audio_i2s_output_mapping_tbl_t>());
               }),
        setter("SetAdcLeftRightSwitch", 195, {word(12), word(1)},
               [](auto& c, auto&) { return c.source().setAdcLeftRightSwitch(true); }),
        setter("SetMainAudioSpeakerTestPattern", 195, {word(18), word(2), number(-4)},
               [](auto& c, auto&) {
                   return c.source().setMainAudioSpeakerTestPattern(
                       Channel{2}, audio::audio_speaker_test_pattern_e{-4});
               }),
        setter("SetMainAudioSpeakerTestPatternOfOneHertz", 195, {word(19), word(8), word(1)},
               [](auto& c, auto&) {
                   return c.source().setMainAudioSpeakerTestPattern(Channel{8}, 1);
               }),
        setter("SetMainAudioSpeakerTestPatternOfTheHighestTone", 195,
               {word(19), number(-8), word(47999)},
               [](auto& c, auto&) {
                   return c.source().setMainAudioSpeakerTestPattern(Channel{-8}, 47999);
               }),
        setter("ConfigurePcmHwInterface", 198, {word(20), pattern(20)},
               [](auto& c, auto&) {
                   auto configuration = recordOf<audio::audio_pcm_hw_intf_cfg_t>(pattern(20));
                   return c.source().configurePcmHwInterface(&configuration);
               }),
        setter("EnablePcmHwInterface", 195, {word(21), word(0)},
               [](auto& c, auto&) { return c.source().enablePcmHwInterface(false); }),
        setter("SetSpeakerOutPut", 195, {word(22), word(32)},
               [](auto& c, auto&) { return c.source().setSpeakerOutPut(Channel{32}); }),
        getter(
            "GetSpeakerOutPut", 195, {word(23)}, number(-16),
            [](auto& c, Outputs& out) { return c.source().getSpeakerOutPut(out.at<Channel>()); }),
        getter("GetSpeakerOutPutIntoNothing", 195, {word(23)}, number(-16), {},
               [](auto& c, auto&) { return c.source().getSpeakerOutPut(nullptr); }),
        setter("SetHandsfreeDelay", 195, {word(27), number(-40)},
               [](auto& c, auto&) { return c.source().setHandsfreeDelay(-40); }),
        setter("SetSamplerateCapability", 195, {word(28), word(5)},
               [](auto& c, auto&) {
                   return c.source().setSamplerateCapability(
                       audio::audio_samplerate_capability_e{5});
               }),
        setter("SetI2sFormatAndConfig", 198,
               {word(30), word(0x80000007), word(0x01020304), {0xb1, 0xa1, 0, 0}},
               [](auto& c, auto&) {
                   // What lies behind the second field does not travel.
                   auto format = recordOf<audio::audio_i2s_format_parameter_t>(
                       joined({word(0x01020304), {0xb1, 0xa1, 0xff, 0xff}}));
                   return c.source().setI2sFormatAndConfig(
                       audio::audio_i2s_select_param_e{0x80000007}, &format);
               }),
        getter("GetHWSignalEnergy", 198, {word(37), word(0xfffffffe)}, word(0xdeadbeef),
               [](auto& c, Outputs& out) {
                   return c.source().getHWSignalEnergy(audio::audio_hw_type_e{0xfffffffe},
                                                       out.at<unsigned>());
               }),
        setter("SetHwAutoRampMode", 195, {word(34), word(1)},
               [](auto& c, auto&) { return c.source().setHwAutoRampMode(true); }),
    };
}

}  // namespace

std::vector<Row> sourceRows() {
    return ofType(130, {nameRows(), trackRows(), hardwareRows()});
}

}  // namespace cabinaudio::test
