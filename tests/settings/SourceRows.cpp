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
        {"SetOutPutSource", 198, joined({word(14), text("main"), text("radio")}), 4,
         [](const Clients& c, Outputs&) { return c.source().setOutPutSource("radio", "main"); }},
        {"SetOutPutSourceWithTheLongestNames", 198,
         joined({word(14), text(LONGEST), text(LONGEST)}), 4,
         [](const Clients& c, Outputs&) {
             return c.source().setOutPutSource(LONGEST.c_str(), LONGEST.c_str());
         }},
        {.test = "GetOutPutSource",
         .command = 198,
         .request = joined({word(24), text("main")}),
         .replySize = 68,
         .call = [](const Clients& c,
                    Outputs& out) { return shown(c.source().getOutPutSource("main"), out); },
         .results = text("radio"),
         .result = Result::Name,
         .texts = {"radio"},
         .textsOnFailure = {"(null)"}},
        {"SetInputDestination", 198, joined({word(15), text("uplink"), text("phone")}), 4,
         [](const Clients& c, Outputs&) {
             return c.source().setInputDestination("uplink", "phone");
         }},
        {"SetInputDestinationWithTheLongestNames", 198,
         joined({word(15), text(LONGEST), text(LONGEST)}), 4,
         [](const Clients& c, Outputs&) {
             return c.source().setInputDestination(LONGEST.c_str(), LONGEST.c_str());
         }},
        {.test = "GetInputDestination",
         .command = 198,
         .request = joined({word(25), text("uplink")}),
         .replySize = 68,
         .call = [](const Clients& c,
                    Outputs& out) { return shown(c.source().getInputDestination("uplink"), out); },
         .results = text("phone"),
         .result = Result::Name,
         .texts = {"phone"},
         .textsOnFailure = {"(null)"}},
        {"DumpOutPutSourceList", 198, joined({word(16), text(LONGEST)}), 4,
         [](const Clients& c, Outputs&) {
             return c.source().dumpOutPutSourceList(LONGEST.c_str());
         }},
        {"DumpInputDestinationList", 198, joined({word(17), text("uplink")}), 4,
         [](const Clients& c, Outputs&) { return c.source().dumpInputDestinationList("uplink"); }},
        {.test = "GetActivedSourceNumber",
         .command = 198,
         .request = joined({word(26), text("main")}),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs&) { return c.source().getActivedSourceNumber("main"); },
         .results = word(3),
         .result = Result::Count},
        {"SelectSource", 198, joined({word(2), number(-2), word(9)}), 4,
         [](const Clients& c, Outputs&) {
             return c.seats().selectSource(audio_seat_id_e{-2}, audio_source_id_e{9});
         }},
        {"SetFrontAudioState", 198, joined({word(3), word(4)}), 4,
         [](const Clients& c, Outputs&) {
             return c.seats().setFrontAudioState(audio_seat_state_e{4});
         }},
        {"SetRearAudioState", 198, joined({word(4), number(-1)}), 4,
         [](const Clients& c, Outputs&) {
             return c.seats().setRearAudioState(audio_seat_state_e{-1});
         }},
    };
}

std::vector<Row> trackRows() {
    return {
        {.test = "GetActiveTracksName",
         .command = 198,
         .request = joined({word(36), text(CUT)}),
         .replySize = 2056,
         .call =
             [](const Clients& c, Outputs& out) {
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
             [](const Clients& c, Outputs& out) {
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
             [](const Clients& c, Outputs& out) {
                 std::vector<audio::audio_track_info_t> tracks(1);
                 const int result = c.source().getActiveTracksInfo(tracks);
                 return shown(tracks, result, out);
             },
         .results = joined({word(2), Bytes(200, 'a'), Bytes(200, 'b')}),
         .result = Result::Ignored,
         .texts = {std::string(200, '\0'), std::string(200, 'a'), std::string(200, 'b')},
         .textsOnFailure = {std::string(200, '\0')}},
        {.test = "GetOutputTrackInfo",
         .command = 198,
         .request = joined({word(32), word(0x80000002)}),
         .replySize = 1048,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.seats().getOutputTrackInfo(OutputTag{0x80000002}, out.at<OutputTrack>(4),
                                                     out.at<int>());
             },
         .results = joined({word(20), pattern(1040)}),
         .stored = joined({word(20), pattern(1040)})},
        {.test = "GetOutputTrackInfoWithoutTheirNumber",
         .command = 198,
         .request = joined({word(32), word(1)}),
         .replySize = 1048,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.seats().getOutputTrackInfo(OutputTag{1}, out.at<OutputTrack>(), nullptr);
             },
         .results = joined({word(20), pattern(1040)}),
         .stored = pattern(1040)},
        {.test = "GetOutPutTrackInfoList",
         .command = 198,
         .request = joined({word(32), word(3)}),
         .replySize = 1048,
         .call =
             [](const Clients& c, Outputs& out) {
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
         .call = [](const Clients& c,
                    Outputs&) { return c.source().setInputMuxPin(Mux{1}, Pin{-6}); },
         .logged = "setAdcMuxPin"},
        {"SetAdcMuxPin", 198, joined({word(5), word(9), word(6)}), 4,
         [](const Clients& c, Outputs&) { return c.seats().setAdcMuxPin(Mux{9}, Pin{6}); }},
        {.test = "GetInputMuxPin",
         .command = 198,
         .request = joined({word(6), word(1)}),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.source().getInputMuxPin(Mux{1}, out.at<Pin>()); },
         .results = word(5),
         .stored = word(5),
         .logged = "getAdcMuxPin"},
        {.test = "GetAdcMuxPin",
         .command = 198,
         .request = joined({word(6), word(0)}),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.seats().getAdcMuxPin(Mux{0}, out.at<Pin>()); },
         .results = number(-5),
         .stored = number(-5)},
        {"SetDacOutPutMapping", 198,
         joined({word(8), number(10), number(-1), number(0), number(-2147483647 - 1), number(3),
                 number(10)}),
         4,
         [](const Clients& c, Outputs&) {
             audio::audio_dac_output_mapping_tbl_t table{{10, -1, 0, -2147483647 - 1, 3, 10}};
             return c.source().setDacOutPutMapping(&table);
         }},
        {.test = "GetDacOutPutMapping",
         .command = 198,
         .request = word(9),
         .replySize = 28,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.source().getDacOutPutMapping(
                     out.at<audio::audio_dac_output_mapping_tbl_t>());
             },
         .results = pattern(24),
         .stored = pattern(24)},
        {"SetI2sOutPutMapping", 198,
         joined({word(10), number(1), number(2), number(3), number(4), number(5), number(-6),
                 number(7), number(10)}),
         4,
         [](const Clients& c, Outputs&) {
             audio::audio_i2s_output_mapping_tbl_t table{{1, 2, 3, 4, 5, -6, 7, 10}};
             return c.source().setI2sOutPutMapping(&table);
         }},
        {.test = "GetI2sOutPutMapping",
         .command = 198,
         .request = word(11),
         .replySize = 36,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.source().getI2sOutPutMapping(
                     out.at<audio::audio_i2s_output_mapping_tbl_t>());
             },
         .results = pattern(32),
         .stored = pattern(32)},
        {"SetAdcLeftRightSwitch", 195, joined({word(12), word(1)}), 4,
         [](const Clients& c, Outputs&) { return c.source().setAdcLeftRightSwitch(true); }},
        {"SetMainAudioSpeakerTestPattern", 195, joined({word(18), word(2), number(-4)}), 4,
         [](const Clients& c, Outputs&) {
             return c.source().setMainAudioSpeakerTestPattern(
                 Channel{2}, audio::audio_speaker_test_pattern_e{-4});
         }},
        {"SetMainAudioSpeakerTestPatternOfOneHertz", 195, joined({word(19), word(8), word(1)}), 4,
         [](const Clients& c, Outputs&) {
             return c.source().setMainAudioSpeakerTestPattern(Channel{8}, 1);
         }},
        {"SetMainAudioSpeakerTestPatternOfTheHighestTone", 195,
         joined({word(19), number(-8), word(47999)}), 4,
         [](const Clients& c, Outputs&) {
             return c.source().setMainAudioSpeakerTestPattern(Channel{-8}, 47999);
         }},
        {"ConfigurePcmHwInterface", 198, joined({word(20), pattern(20)}), 4,
         [](const Clients& c, Outputs&) {
             auto configuration = recordOf<audio::audio_pcm_hw_intf_cfg_t>(pattern(20));
             return c.source().configurePcmHwInterface(&configuration);
         }},
        {"EnablePcmHwInterface", 195, joined({word(21), word(0)}), 4,
         [](const Clients& c, Outputs&) { return c.source().enablePcmHwInterface(false); }},
        {"SetSpeakerOutPut", 195, joined({word(22), word(32)}), 4,
         [](const Clients& c, Outputs&) { return c.source().setSpeakerOutPut(Channel{32}); }},
        {.test = "GetSpeakerOutPut",
         .command = 195,
         .request = word(23),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.source().getSpeakerOutPut(out.at<Channel>()); },
         .results = number(-16),
         .stored = number(-16)},
        {.test = "GetSpeakerOutPutIntoNothing",
         .command = 195,
         .request = word(23),
         .replySize = 8,
         .call = [](const Clients& c, Outputs&) { return c.source().getSpeakerOutPut(nullptr); },
         .results = number(-16)},
        {"SetHandsfreeDelay", 195, joined({word(27), number(-40)}), 4,
         [](const Clients& c, Outputs&) { return c.source().setHandsfreeDelay(-40); }},
        {"SetSamplerateCapability", 195, joined({word(28), word(5)}), 4,
         [](const Clients& c, Outputs&) {
             return c.source().setSamplerateCapability(audio::audio_samplerate_capability_e{5});
         }},
        {"SetI2sFormatAndConfig", 198,
         joined({word(30), word(0x80000007), word(0x01020304), {0xb1, 0xa1, 0, 0}}), 4,
         [](const Clients& c, Outputs&) {
             // What lies behind the second field does not travel.
             auto format = recordOf<audio::audio_i2s_format_parameter_t>(
                 joined({word(0x01020304), {0xb1, 0xa1, 0xff, 0xff}}));
             return c.source().setI2sFormatAndConfig(audio::audio_i2s_select_param_e{0x80000007},
                                                     &format);
         }},
        {.test = "GetHWSignalEnergy",
         .command = 198,
         .request = joined({word(37), word(0xfffffffe)}),
         .replySize = 8,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.source().getHWSignalEnergy(audio::audio_hw_type_e{0xfffffffe},
                                                     out.at<unsigned>());
             },
         .results = word(0xdeadbeef),
         .stored = word(0xdeadbeef)},
        {"SetHwAutoRampMode", 195, joined({word(34), word(1)}), 4,
         [](const Clients& c, Outputs&) { return c.source().setHwAutoRampMode(true); }},
    };
}

}  // namespace

std::vector<Row> sourceRows() {
    std::vector<Row> rows;
    for (const auto& part : {nameRows(), trackRows(), hardwareRows()})
        rows.insert(rows.end(), part.begin(), part.end());
    for (Row& row : rows)
        row.type = 130;
    return rows;
}

}  // namespace cabinaudio::test
