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
        setter("SetMainAudioDunkingMode", 198, {word(2), word(0x12345678)},
               [](auto& c, auto&) { return c.volume().setMainAudioDunkingMode(0x12345678); }),
        setter("SetMainAudioDunkingTargetGainInSteps", 198, {word(3), byte(100)},
               [](auto& c, auto&) { return c.volume().setMainAudioDunkingTargetGain(U8{100}); }),
        setter("SetMainAudioDunkingTargetGainInDecibels", 198, {word(26), word(0xc2cf0000)},
               [](auto& c, auto&) { return c.volume().setMainAudioDunkingTargetGain(-103.5F); }),
        setter("Duck", 198, {word(37), word(100)},
               [](auto& c, auto&) { return c.volume().duck(100); }),
        setter("DuckByNothing", 198, {word(37), word(0)},
               [](auto& c, auto&) { return c.volume().duck(0); }),
        setter("Unduck", 198, {word(38)}, [](auto& c, auto&) { return c.volume().unduck(); }),

        setter("SetMasterVolumeInSteps", 198, {word(4), byte(148)},
               [](auto& c, auto&) { return c.volume().setMasterVolume(U8{148}); }),
        setter("SetMasterVolumeInDecibels", 198, {word(20), word(0x41c00000)},
               [](auto& c, auto&) { return c.volume().setMasterVolume(24.0F); }),
        getter("GetMasterVolumeInSteps", 198, {word(5)}, {147, 1, 2, 3}, {147},
               [](auto& c, Outputs& out) { return c.volume().getMasterVolume(out.at<U8>()); }),
        getter("GetMasterVolumeInDecibels", 198, {word(21)}, real(-10.5F),
               [](auto& c, Outputs& out) { return c.volume().getMasterVolume(out.at<float>()); }),
        setter("SetMasterVolumeRampDuration", 198, {word(44), real(1.5F), real(-2.0F)},
               [](auto& c, auto&) { return c.volume().setMasterVolumeRampDuration(1.5F, -2.0F); }),
        getter("GetMasterVolumeRampDuration", 198, {word(45)}, joined({real(250.0F), real(500.0F)}),
               [](auto& c, Outputs& out) {
                   return c.volume().getMasterVolumeRampDuration(*out.at<float>(0),
                                                                 *out.at<float>(4));
               }),

        setter("SetSecondAudioVolumeInSteps", 198, {word(16), byte(1)},
               [](auto& c, auto&) { return c.volume().setSecondAudioVolume(U8{1}); }),
        setter("SetSecondAudioVolumeInDecibels", 198, {word(22), real(-0.5F)},
               [](auto& c, auto&) { return c.volume().setSecondAudioVolume(-0.5F); }),
        getter("GetSecondAudioVolumeInSteps", 198, {word(17)}, {12, 34, 56, 78}, {12},
               [](auto& c, Outputs& out) { return c.volume().getSecondAudioVolume(out.at<U8>()); }),
        getter(
            "GetSecondAudioVolumeInDecibels", 198, {word(23)}, real(3.5F),
            [](auto& c, Outputs& out) { return c.volume().getSecondAudioVolume(out.at<float>()); }),
        setter("SetAlterAudioVolumeInSteps", 198, {word(29), byte(90)},
               [](auto& c, auto&) { return c.volume().setAlterAudioVolume(U8{90}); }),
        setter("SetAlterAudioVolumeInDecibels", 198, {word(31), real(-60.0F)},
               [](auto& c, auto&) { return c.volume().setAlterAudioVolume(-60.0F); }),
        getter("GetAlterAudioVolumeInSteps", 198, {word(30)}, {98, 7, 6, 5}, {98},
               [](auto& c, Outputs& out) { return c.volume().getAlterAudioVolume(out.at<U8>()); }),
        getter(
            "GetAlterAudioVolumeInDecibels", 198, {word(32)}, real(-59.5F),
            [](auto& c, Outputs& out) { return c.volume().getAlterAudioVolume(out.at<float>()); }),
    };
}

std::vector<Row> channelAndTrackRows() {
    return {
        setter("SetChannelGainInSteps", 198, {word(6), word(4), {148, 9, 8, 7}},
               [](auto& c, auto&) {
                   audio::audio_channel_gain_t gain{4, 148, {9, 8, 7}};
                   return c.volume().setChannelGain(&gain);
               }),
        setter("SetChannelGainInDecibels", 198, {word(27), word(8), real(-103.5F)},
               [](auto& c, auto&) { return c.volume().setChannelGain(Channel{8}, -103.5F); }),
        getter("GetChannelGainInSteps", 198, {word(7), word(65534)},
               joined({word(2), {80, 1, 2, 3}}),
               [](auto& c, Outputs& out) {
                   out.prepare(0, word(65534));
                   return c.volume().getChannelGain(out.at<audio::audio_channel_gain_t>());
               }),
        getter("GetChannelGainInDecibels", 198, {word(28), word(16)},
               joined({word(0x01020304), real(-7.5F)}), real(-7.5F),
               [](auto& c, Outputs& out) {
                   return c.volume().getChannelGain(Channel{16}, out.at<float>());
               }),

        setter("SetTrackVolumeInSteps", 198, {word(18), text("main"), text("radio"), byte(148)},
               [](auto& c, auto&) { return c.volume().setTrackVolume("main", "radio", U8{148}); }),
        setter("SetTrackVolumeInStepsOfALongName", 198,
               {word(18), text("alternative"), text(LONGEST), byte(0)},
               [](auto& c, auto&) {
                   return c.volume().setTrackVolume("alternative", LONGEST.c_str(), U8{0});
               }),
        setter("SetTrackVolumeInDecibels", 198,
               {word(24), text("auxiliary"), text("phone"), real(-12.25F)},
               [](auto& c, auto&) {
                   return c.volume().setTrackVolume("auxiliary", "phone", -12.25F);
               }),
        getter("GetTrackVolumeInSteps", 198, {word(19), text("main"), text("radio")},
               {200, 1, 1, 1}, {200},
               [](auto& c, Outputs& out) {
                   return c.volume().getTrackVolume("main", "radio", out.at<U8>());
               }),
        getter("GetTrackVolumeInDecibels", 198, {word(25), text("alternative"), text("")},
               real(99.0F),
               [](auto& c, Outputs& out) {
                   return c.volume().getTrackVolume("alternative", "", out.at<float>());
               }),
        setter("SetTrackChannelGain", 198,
               {word(43), text("auxiliary"), text("radio"), real(-103.5F), real(-1.0F), real(0.0F),
                real(1.5F), real(3.0F), real(6.0F), real(12.0F), real(24.0F)},
               trackChannelGains),
        setter("SetTrackChannelGainOfACutName", 198,
               {word(43), text("auxiliary"), text(std::string(63, 't')), Bytes(32)},
               [](auto& c, auto&) {
                   float silence[8] = {};
                   return c.volume().setTrackChannelGain("auxiliary", FULL.c_str(), silence);
               }),
        setter("SetVolumeByStreamType", 198, {word(34), text("music"), byte(148)},
               [](auto& c, auto&) { return c.volume().setVolumeByStreamType("music", U8{148}); }),
        setter("SetVolumeByStreamTypeOfSixtyFourBytes", 198, {word(34), text(FULL), byte(3)},
               [](auto& c, auto&) {
                   return c.volume().setVolumeByStreamType((FULL + "cut").c_str(), U8{3});
               }),
        getter("GetVolumeByStreamType", 198, {word(35), text(FULL.substr(1))}, {33, 1, 1, 1}, {33},
               [](auto& c, Outputs& out) {
                   return c.volume().getVolumeByStreamType(FULL.c_str(), *out.at<U8>());
               }),
        setter("SetGainByStreamType", 198, {word(39), text(FULL), real(24.0F)},
               [](auto& c, auto&) { return c.volume().setGainByStreamType(FULL.c_str(), 24.0F); }),
        getter("GetGainByStreamType", 198, {word(40), text(FULL.substr(1))}, real(-33.5F),
               [](auto& c, Outputs& out) {
                   return c.volume().getGainByStreamType((FULL + "cut").c_str(), *out.at<float>());
               }),
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
        setter("MuteMain", 198, {word(8), word(1), word(1)},
               [](auto& c, auto&) { return c.volume().mute("main", true); }),
        setter("MuteSecond", 198, {word(8), word(4), word(0)},
               [](auto& c, auto&) { return c.volume().mute("second", false); }),
        setter("MuteAlternative", 198, {word(8), word(2), word(1)},
               [](auto& c, auto&) { return c.volume().mute("alternative", true); }),
        setter("MuteAuxiliary", 198, {word(8), word(8), word(1)},
               [](auto& c, auto&) { return c.volume().mute("auxiliary", true); }),
        setter("MuteAPath", 198, {word(8), word(0xfedcba98), word(0)},
               [](auto& c, auto&) { return c.paths().mute(0xfedcba98U, false); }),
        setter("DemuteMain", 198, {word(9), word(1), word(0)},
               [](auto& c, auto&) { return c.volume().demute("main", false); }),
        setter("DemuteSecond", 198, {word(9), word(4), word(1)},
               [](auto& c, auto&) { return c.volume().demute("second", true); }),
        setter("DemuteAlternative", 198, {word(9), word(2), word(1)},
               [](auto& c, auto&) { return c.volume().demute("alternative", true); }),
        setter("DemuteAuxiliary", 198, {word(9), word(8), word(1)},
               [](auto& c, auto&) { return c.volume().demute("auxiliary", true); }),
        setter("DemuteAPath", 198, {word(9), word(0), word(1)},
               [](auto& c, auto&) { return c.paths().demute(0U, true); }),
        setter("SetMute", 198, {word(8), word(5), word(1)},
               [](auto& c, auto&) { return c.volume().setMute(5, true); }),
        setter("SetMuteOff", 198, {word(9), word(10), word(1)},
               [](auto& c, auto&) { return c.volume().setMute(10, false); }),
        getter(
            "GetMuteStateOfMain", 198, {word(33), word(1)}, {1, 2, 3, 4}, {1},
            [](auto& c, Outputs& out) { return c.volume().getMuteState("main", *out.at<bool>()); }),
        getter("GetMuteStateOfSecond", 198, {word(33), word(4)}, {0, 1, 1, 1}, {0},
               [](auto& c, Outputs& out) {
                   return c.volume().getMuteState("second", *out.at<bool>());
               }),
        getter("GetMuteStateOfAlternativeInAnUnusualByte", 198, {word(33), word(2)}, {200, 0, 0, 0},
               {1},
               [](auto& c, Outputs& out) {
                   return c.volume().getMuteState("alternative", *out.at<bool>());
               }),
        getter("GetMuteStateOfAuxiliary", 198, {word(33), word(8)}, byte(1), {1},
               [](auto& c, Outputs& out) {
                   return c.volume().getMuteState("auxiliary", *out.at<bool>());
               }),
        getter("GetMuteStateOfAPath", 198, {word(33), word(77)}, byte(1), {1},
               [](auto& c, Outputs& out) {
                   return c.paths().getMuteState(audio::audio_out_path_id_e{77}, *out.at<bool>());
               }),
    };
}

std::vector<Row> microphoneRows() {
    return {
        setter("SetUpLinkGain", 198, {word(14), real(1e30F)},
               [](auto& c, auto&) { return c.volume().setUpLinkGain(1e30F); }),
        getter("GetUpLinkGain", 198, {word(15)}, real(4.5F),
               [](auto& c, Outputs& out) { return c.volume().getUpLinkGain(out.at<float>()); }),
        setter("SetAdcPgaGain", 198, {word(10), word(1), real(2.5F), real(-3.5F)},
               [](auto& c, auto&) { return c.volume().setAdcPgaGain(Mux{1}, 2.5F, -3.5F); }),
        getter("GetAdcPgaGain", 198, {word(11), word(1)}, joined({real(1.25F), real(2.25F)}),
               [](auto& c, Outputs& out) {
                   return c.volume().getAdcPgaGain(Mux{1}, out.at<float>(0), out.at<float>(4));
               }),
        setter("SetAdcOpGain", 198, {word(12), word(0), real(9.0F), real(12.0F)},
               [](auto& c, auto&) { return c.volume().setAdcOpGain(Mux{0}, 9.0F, 12.0F); }),
        getter("GetAdcOpGain", 198, {word(13), word(0)}, joined({real(21.0F), real(30.0F)}),
               [](auto& c, Outputs& out) {
                   return c.volume().getAdcOpGain(Mux{0}, out.at<float>(0), out.at<float>(4));
               }),
        getter("GetAdcOpGainOfTheRightSide", 198, {word(13), word(1)},
               joined({real(21.0F), real(30.0F)}), real(30.0F),
               [](auto& c, Outputs& out) {
                   return c.volume().getAdcOpGain(Mux{1}, nullptr, out.at<float>());
               }),
        setter("StartMicGainCalibration", 195, {word(41)},
               [](auto& c, auto&) { return c.volume().startMicGainCalibration(); }),
        getter("GetMicGainCalibrationResult", 198, {word(42)}, joined({real(17.5F), number(-5)}),
               joined({number(-5), real(17.5F)}),
               [](auto& c, Outputs& out) {
                   return c.volume().getMicGainCalibrationResult(*out.at<int>(0),
                                                                 *out.at<float>(4));
               }),
    };
}

}  // namespace

std::vector<Row> volumeRows() {
    return ofType(131, {outputRows(), channelAndTrackRows(), muteRows(), microphoneRows()});
}

}  // namespace cabinaudio::test
