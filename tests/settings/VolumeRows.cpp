// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/Row.h"

namespace cabinaudio::test {
namespace {

using U8 = unsigned char;
using Mux = audio::audio_input_mux_id_e;
using Channel = audio::audio_channel_idx_e;

const std::string LONGEST(63, 'n');
const std::string FULL(64, 't');

int streamTypes(const Clients& clients, Outputs& outputs) {
    outputs.texts = {"kept"};
    return clients.volume().getStreamTypeList(outputs.texts);
}

int trackChannelGains(const Clients& clients, Outputs&) {
    float gains[] = {-103.5F, -1.0F, 0.0F, 1.5F, 3.0F, 6.0F, 12.0F, 24.0F};
    return clients.volume().setTrackChannelGain("auxiliary", "radio", gains);
}

std::vector<Row> outputRows() {
    return {
        {"SetMainAudioDunkingMode", 198, joined({word(2), word(0x12345678)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().setMainAudioDunkingMode(0x12345678); }},
        {"SetMainAudioDunkingTargetGainInSteps", 198, joined({word(3), byte(100)}), 4,
         [](const Clients& c, Outputs&) {
             return c.volume().setMainAudioDunkingTargetGain(U8{100});
         }},
        {"SetMainAudioDunkingTargetGainInDecibels", 198, joined({word(26), word(0xc2cf0000)}), 4,
         [](const Clients& c, Outputs&) {
             return c.volume().setMainAudioDunkingTargetGain(-103.5F);
         }},
        {"Duck", 198, joined({word(37), word(100)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().duck(100); }},
        {"DuckByNothing", 198, joined({word(37), word(0)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().duck(0); }},
        {"Unduck", 198, word(38), 4,
         [](const Clients& c, Outputs&) { return c.volume().unduck(); }},

        {"SetMasterVolumeInSteps", 198, joined({word(4), byte(148)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().setMasterVolume(U8{148}); }},
        {"SetMasterVolumeInDecibels", 198, joined({word(20), word(0x41c00000)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().setMasterVolume(24.0F); }},
        {.test = "GetMasterVolumeInSteps",
         .command = 198,
         .request = word(5),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.volume().getMasterVolume(out.at<U8>()); },
         .results = {147, 1, 2, 3},
         .stored = {147}},
        {.test = "GetMasterVolumeInDecibels",
         .command = 198,
         .request = word(21),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.volume().getMasterVolume(out.at<float>()); },
         .results = real(-10.5F),
         .stored = real(-10.5F)},
        {"SetMasterVolumeRampDuration", 198, joined({word(44), real(1.5F), real(-2.0F)}), 4,
         [](const Clients& c, Outputs&) {
             return c.volume().setMasterVolumeRampDuration(1.5F, -2.0F);
         }},
        {.test = "GetMasterVolumeRampDuration",
         .command = 198,
         .request = word(45),
         .replySize = 12,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.volume().getMasterVolumeRampDuration(*out.at<float>(0),
                                                               *out.at<float>(4));
             },
         .results = joined({real(250.0F), real(500.0F)}),
         .stored = joined({real(250.0F), real(500.0F)})},

        {"SetSecondAudioVolumeInSteps", 198, joined({word(16), byte(1)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().setSecondAudioVolume(U8{1}); }},
        {"SetSecondAudioVolumeInDecibels", 198, joined({word(22), real(-0.5F)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().setSecondAudioVolume(-0.5F); }},
        {.test = "GetSecondAudioVolumeInSteps",
         .command = 198,
         .request = word(17),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.volume().getSecondAudioVolume(out.at<U8>()); },
         .results = {12, 34, 56, 78},
         .stored = {12}},
        {.test = "GetSecondAudioVolumeInDecibels",
         .command = 198,
         .request = word(23),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.volume().getSecondAudioVolume(out.at<float>()); },
         .results = real(3.5F),
         .stored = real(3.5F)},
        {"SetAlterAudioVolumeInSteps", 198, joined({word(29), byte(90)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().setAlterAudioVolume(U8{90}); }},
        {"SetAlterAudioVolumeInDecibels", 198, joined({word(31), real(-60.0F)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().setAlterAudioVolume(-60.0F); }},
        {.test = "GetAlterAudioVolumeInSteps",
         .command = 198,
         .request = word(30),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.volume().getAlterAudioVolume(out.at<U8>()); },
         .results = {98, 7, 6, 5},
         .stored = {98}},
        {.test = "GetAlterAudioVolumeInDecibels",
         .command = 198,
         .request = word(32),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.volume().getAlterAudioVolume(out.at<float>()); },
         .results = real(-59.5F),
         .stored = real(-59.5F)},
    };
}

std::vector<Row> channelAndTrackRows() {
    return {
        {"SetChannelGainInSteps", 198, joined({word(6), word(4), {148, 9, 8, 7}}), 4,
         [](const Clients& c, Outputs&) {
             audio::audio_channel_gain_t gain{4, 148, {9, 8, 7}};
             return c.volume().setChannelGain(&gain);
         }},
        {"SetChannelGainInDecibels", 198, joined({word(27), word(8), real(-103.5F)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().setChannelGain(Channel{8}, -103.5F); }},
        {.test = "GetChannelGainInSteps",
         .command = 198,
         .request = joined({word(7), word(65534)}),
         .replySize = 12,
         .call =
             [](const Clients& c, Outputs& out) {
                 out.prepare(0, word(65534));
                 return c.volume().getChannelGain(out.at<audio::audio_channel_gain_t>());
             },
         .results = joined({word(2), {80, 1, 2, 3}}),
         .stored = joined({word(2), {80, 1, 2, 3}})},
        {.test = "GetChannelGainInDecibels",
         .command = 198,
         .request = joined({word(28), word(16)}),
         .replySize = 12,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.volume().getChannelGain(Channel{16}, out.at<float>());
             },
         .results = joined({word(0x01020304), real(-7.5F)}),
         .stored = real(-7.5F)},

        {"SetTrackVolumeInSteps", 198, joined({word(18), text("main"), text("radio"), byte(148)}),
         4,
         [](const Clients& c, Outputs&) {
             return c.volume().setTrackVolume("main", "radio", U8{148});
         }},
        {"SetTrackVolumeInStepsOfALongName", 198,
         joined({word(18), text("alternative"), text(LONGEST), byte(0)}), 4,
         [](const Clients& c, Outputs&) {
             return c.volume().setTrackVolume("alternative", LONGEST.c_str(), U8{0});
         }},
        {"SetTrackVolumeInDecibels", 198,
         joined({word(24), text("auxiliary"), text("phone"), real(-12.25F)}), 4,
         [](const Clients& c, Outputs&) {
             return c.volume().setTrackVolume("auxiliary", "phone", -12.25F);
         }},
        {.test = "GetTrackVolumeInSteps",
         .command = 198,
         .request = joined({word(19), text("main"), text("radio")}),
         .replySize = 8,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.volume().getTrackVolume("main", "radio", out.at<U8>());
             },
         .results = {200, 1, 1, 1},
         .stored = {200}},
        {.test = "GetTrackVolumeInDecibels",
         .command = 198,
         .request = joined({word(25), text("alternative"), text("")}),
         .replySize = 8,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.volume().getTrackVolume("alternative", "", out.at<float>());
             },
         .results = real(99.0F),
         .stored = real(99.0F)},
        {"SetTrackChannelGain", 198,
         joined({word(43), text("auxiliary"), text("radio"), real(-103.5F), real(-1.0F), real(0.0F),
                 real(1.5F), real(3.0F), real(6.0F), real(12.0F), real(24.0F)}),
         4, trackChannelGains},
        {"SetTrackChannelGainOfACutName", 198,
         joined({word(43), text("auxiliary"), text(std::string(63, 't')), Bytes(32)}), 4,
         [](const Clients& c, Outputs&) {
             float silence[8] = {};
             return c.volume().setTrackChannelGain("auxiliary", FULL.c_str(), silence);
         }},
        {"SetVolumeByStreamType", 198, joined({word(34), text("music"), byte(148)}), 4,
         [](const Clients& c, Outputs&) {
             return c.volume().setVolumeByStreamType("music", U8{148});
         }},
        {"SetVolumeByStreamTypeOfSixtyFourBytes", 198, joined({word(34), text(FULL), byte(3)}), 4,
         [](const Clients& c, Outputs&) {
             return c.volume().setVolumeByStreamType((FULL + "cut").c_str(), U8{3});
         }},
        {.test = "GetVolumeByStreamType",
         .command = 198,
         .request = joined({word(35), text(FULL.substr(1))}),
         .replySize = 8,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.volume().getVolumeByStreamType(FULL.c_str(), *out.at<U8>());
             },
         .results = {33, 1, 1, 1},
         .stored = {33}},
        {"SetGainByStreamType", 198, joined({word(39), text(FULL), real(24.0F)}), 4,
         [](const Clients& c, Outputs&) {
             return c.volume().setGainByStreamType(FULL.c_str(), 24.0F);
         }},
        {.test = "GetGainByStreamType",
         .command = 198,
         .request = joined({word(40), text(FULL.substr(1))}),
         .replySize = 8,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.volume().getGainByStreamType((FULL + "cut").c_str(), *out.at<float>());
             },
         .results = real(-33.5F),
         .stored = real(-33.5F)},
        {.test = "GetStreamTypeList",
         .command = 198,
         .request = word(36),
         .replySize = 2056,
         .call = streamTypes,
         .results = joined({word(2), text("music"), text("navigation")}),
         .texts = {"kept", "music", "navigation"},
         .textsOnFailure = {"kept"}},
    };
}

std::vector<Row> muteRows() {
    return {
        {"MuteMain", 198, joined({word(8), word(1), word(1)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().mute("main", true); }},
        {"MuteSecond", 198, joined({word(8), word(4), word(0)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().mute("second", false); }},
        {"MuteAlternative", 198, joined({word(8), word(2), word(1)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().mute("alternative", true); }},
        {"MuteAuxiliary", 198, joined({word(8), word(8), word(1)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().mute("auxiliary", true); }},
        {"MuteAPath", 198, joined({word(8), word(0xfedcba98), word(0)}), 4,
         [](const Clients& c, Outputs&) { return c.paths().mute(0xfedcba98U, false); }},
        {"DemuteMain", 198, joined({word(9), word(1), word(0)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().demute("main", false); }},
        {"DemuteSecond", 198, joined({word(9), word(4), word(1)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().demute("second", true); }},
        {"DemuteAlternative", 198, joined({word(9), word(2), word(1)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().demute("alternative", true); }},
        {"DemuteAuxiliary", 198, joined({word(9), word(8), word(1)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().demute("auxiliary", true); }},
        {"DemuteAPath", 198, joined({word(9), word(0), word(1)}), 4,
         [](const Clients& c, Outputs&) { return c.paths().demute(0U, true); }},
        {"SetMute", 198, joined({word(8), word(5), word(1)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().setMute(5, true); }},
        {"SetMuteOff", 198, joined({word(9), word(10), word(1)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().setMute(10, false); }},
        {.test = "GetMuteStateOfMain",
         .command = 198,
         .request = joined({word(33), word(1)}),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.volume().getMuteState("main", *out.at<bool>()); },
         .results = {1, 2, 3, 4},
         .stored = {1}},
        {.test = "GetMuteStateOfSecond",
         .command = 198,
         .request = joined({word(33), word(4)}),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.volume().getMuteState("second", *out.at<bool>()); },
         .results = {0, 1, 1, 1},
         .stored = {0}},
        {.test = "GetMuteStateOfAlternativeInAnUnusualByte",
         .command = 198,
         .request = joined({word(33), word(2)}),
         .replySize = 8,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.volume().getMuteState("alternative", *out.at<bool>());
             },
         .results = {200, 0, 0, 0},
         .stored = {1}},
        {.test = "GetMuteStateOfAuxiliary",
         .command = 198,
         .request = joined({word(33), word(8)}),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.volume().getMuteState("auxiliary", *out.at<bool>()); },
         .results = byte(1),
         .stored = {1}},
        {.test = "GetMuteStateOfAPath",
         .command = 198,
         .request = joined({word(33), word(77)}),
         .replySize = 8,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.paths().getMuteState(audio::audio_out_path_id_e{77}, *out.at<bool>());
             },
         .results = byte(1),
         .stored = {1}},
    };
}

std::vector<Row> microphoneRows() {
    return {
        {"SetUpLinkGain", 198, joined({word(14), real(1e30F)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().setUpLinkGain(1e30F); }},
        {.test = "GetUpLinkGain",
         .command = 198,
         .request = word(15),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.volume().getUpLinkGain(out.at<float>()); },
         .results = real(4.5F),
         .stored = real(4.5F)},
        {"SetAdcPgaGain", 198, joined({word(10), word(1), real(2.5F), real(-3.5F)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().setAdcPgaGain(Mux{1}, 2.5F, -3.5F); }},
        {.test = "GetAdcPgaGain",
         .command = 198,
         .request = joined({word(11), word(1)}),
         .replySize = 12,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.volume().getAdcPgaGain(Mux{1}, out.at<float>(0), out.at<float>(4));
             },
         .results = joined({real(1.25F), real(2.25F)}),
         .stored = joined({real(1.25F), real(2.25F)})},
        {"SetAdcOpGain", 198, joined({word(12), word(0), real(9.0F), real(12.0F)}), 4,
         [](const Clients& c, Outputs&) { return c.volume().setAdcOpGain(Mux{0}, 9.0F, 12.0F); }},
        {.test = "GetAdcOpGain",
         .command = 198,
         .request = joined({word(13), word(0)}),
         .replySize = 12,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.volume().getAdcOpGain(Mux{0}, out.at<float>(0), out.at<float>(4));
             },
         .results = joined({real(21.0F), real(30.0F)}),
         .stored = joined({real(21.0F), real(30.0F)})},
        {.test = "GetAdcOpGainOfTheRightSide",
         .command = 198,
         .request = joined({word(13), word(1)}),
         .replySize = 12,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.volume().getAdcOpGain(Mux{1}, nullptr, out.at<float>());
             },
         .results = joined({real(21.0F), real(30.0F)}),
         .stored = real(30.0F)},
        {"StartMicGainCalibration", 195, word(41), 4,
         [](const Clients& c, Outputs&) { return c.volume().startMicGainCalibration(); }},
        {.test = "GetMicGainCalibrationResult",
         .command = 198,
         .request = word(42),
         .replySize = 12,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.volume().getMicGainCalibrationResult(*out.at<int>(0), *out.at<float>(4));
             },
         .results = joined({real(17.5F), number(-5)}),
         .stored = joined({number(-5), real(17.5F)})},
    };
}

}  // namespace

std::vector<Row> volumeRows() {
    std::vector<Row> rows;
    for (const auto& part : {outputRows(), channelAndTrackRows(), muteRows(), microphoneRows()})
        rows.insert(rows.end(), part.begin(), part.end());
    for (Row& row : rows)
        row.type = 131;
    return rows;
}

}  // namespace cabinaudio::test
