// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/Row.h"

namespace cabinaudio::test {
namespace {

using V = audio::QVAudioSetting::Volume;
using U8 = unsigned char;
using Mux = audio::audio_input_mux_id_e;
using Channel = audio::audio_channel_idx_e;

const std::string FULL(64, 't');

int streamTypes(V& volume, Outputs& outputs) {
    outputs.texts = {"kept"};
    return volume.getStreamTypeList(outputs.texts);
}

int trackChannelGains(V& volume) {
    float gains[] = {-103.5F, -1.0F, 0.0F, 1.5F, 3.0F, 6.0F, 12.0F, 24.0F};
    return volume.setTrackChannelGain("auxiliary", "radio", gains);
}

std::vector<OperationRow> outputRows() {
    return {
        setter("SetMainAudioDunkingMode", 198, {word(2), word(0x12345678)},
               [](V& v) { return v.setMainAudioDunkingMode(0x12345678); }),
        setter("SetMainAudioDunkingTargetGainInSteps", 198, {word(3), byte(100)},
               [](V& v) { return v.setMainAudioDunkingTargetGain(U8{100}); }),
        setter("SetMainAudioDunkingTargetGainInDecibels", 198, {word(26), word(0xc2cf0000)},
               [](V& v) { return v.setMainAudioDunkingTargetGain(-103.5F); }),
        setter("Duck", 198, {word(37), word(100)}, [](V& v) { return v.duck(100); }),
        setter("DuckByNothing", 198, {word(37), word(0)}, [](V& v) { return v.duck(0); }),
        setter("Unduck", 198, {word(38)}, [](V& v) { return v.unduck(); }),

        setter("SetMasterVolumeInSteps", 198, {word(4), byte(148)},
               [](V& v) { return v.setMasterVolume(U8{148}); }),
        setter("SetMasterVolumeInDecibels", 198, {word(20), word(0x41c00000)},
               [](V& v) { return v.setMasterVolume(24.0F); }),
        getter("GetMasterVolumeInSteps", 198, {word(5)}, {147, 1, 2, 3}, {147},
               [](V& v, Outputs& out) { return v.getMasterVolume(out.at<U8>()); }),
        getter("GetMasterVolumeInDecibels", 198, {word(21)}, real(-10.5F),
               [](V& v, Outputs& out) { return v.getMasterVolume(out.at<float>()); }),
        setter("SetMasterVolumeRampDuration", 198, {word(44), real(1.5F), real(-2.0F)},
               [](V& v) { return v.setMasterVolumeRampDuration(1.5F, -2.0F); }),
        getter("GetMasterVolumeRampDuration", 198, {word(45)}, joined({real(250.0F), real(500.0F)}),
               [](V& v, Outputs& out) {
                   return v.getMasterVolumeRampDuration(*out.at<float>(0), *out.at<float>(4));
               }),

        setter("SetSecondAudioVolumeInSteps", 198, {word(16), byte(1)},
               [](V& v) { return v.setSecondAudioVolume(U8{1}); }),
        setter("SetSecondAudioVolumeInDecibels", 198, {word(22), real(-0.5F)},
               [](V& v) { return v.setSecondAudioVolume(-0.5F); }),
        getter("GetSecondAudioVolumeInSteps", 198, {word(17)}, {12, 34, 56, 78}, {12},
               [](V& v, Outputs& out) { return v.getSecondAudioVolume(out.at<U8>()); }),
        getter("GetSecondAudioVolumeInDecibels", 198, {word(23)}, real(3.5F),
               [](V& v, Outputs& out) { return v.getSecondAudioVolume(out.at<float>()); }),
        setter("SetAlterAudioVolumeInSteps", 198, {word(29), byte(90)},
               [](V& v) { return v.setAlterAudioVolume(U8{90}); }),
        setter("SetAlterAudioVolumeInDecibels", 198, {word(31), real(-60.0F)},
               [](V& v) { return v.setAlterAudioVolume(-60.0F); }),
        getter("GetAlterAudioVolumeInSteps", 198, {word(30)}, {98, 7, 6, 5}, {98},
               [](V& v, Outputs& out) { return v.getAlterAudioVolume(out.at<U8>()); }),
        getter("GetAlterAudioVolumeInDecibels", 198, {word(32)}, real(-59.5F),
               [](V& v, Outputs& out) { return v.getAlterAudioVolume(out.at<float>()); }),
    };
}

std::vector<OperationRow> channelAndTrackRows() {
    return {
        setter("SetChannelGainInSteps", 198, {word(6), word(4), {148, 9, 8, 7}},
               [](V& v) {
                   audio::audio_channel_gain_t gain{4, 148, {9, 8, 7}};
                   return v.setChannelGain(&gain);
               }),
        setter("SetChannelGainInDecibels", 198, {word(27), word(8), real(-103.5F)},
               [](V& v) { return v.setChannelGain(Channel{8}, -103.5F); }),
        getter("GetChannelGainInSteps", 198, {word(7), word(65534)},
               joined({word(2), {80, 1, 2, 3}}),
               [](V& v, Outputs& out) {
                   out.prepare(0, word(65534));
                   return v.getChannelGain(out.at<audio::audio_channel_gain_t>());
               }),
        getter("GetChannelGainInDecibels", 198, {word(28), word(16)},
               joined({word(0x01020304), real(-7.5F)}), real(-7.5F),
               [](V& v, Outputs& out) { return v.getChannelGain(Channel{16}, out.at<float>()); }),

        setter("SetTrackVolumeInSteps", 198, {word(18), text("main"), text("radio"), byte(148)},
               [](V& v) { return v.setTrackVolume("main", "radio", U8{148}); }),
        setter("SetTrackVolumeInStepsOfALongName", 198,
               {word(18), text("alternative"), text(LONGEST), byte(0)},
               [](V& v) { return v.setTrackVolume("alternative", LONGEST.c_str(), U8{0}); }),
        setter("SetTrackVolumeInDecibels", 198,
               {word(24), text("auxiliary"), text("phone"), real(-12.25F)},
               [](V& v) { return v.setTrackVolume("auxiliary", "phone", -12.25F); }),
        getter("GetTrackVolumeInSteps", 198, {word(19), text("main"), text("radio")},
               {200, 1, 1, 1}, {200},
               [](V& v, Outputs& out) { return v.getTrackVolume("main", "radio", out.at<U8>()); }),
        getter("GetTrackVolumeInDecibels", 198, {word(25), text("alternative"), text("")},
               real(99.0F),
               [](V& v, Outputs& out) {
                   return v.getTrackVolume("alternative", "", out.at<float>());
               }),
        setter("SetTrackChannelGain", 198,
               {word(43), text("auxiliary"), text("radio"), real(-103.5F), real(-1.0F), real(0.0F),
                real(1.5F), real(3.0F), real(6.0F), real(12.0F), real(24.0F)},
               trackChannelGains),
        setter("SetTrackChannelGainOfACutName", 198,
               {word(43), text("auxiliary"), text(std::string(63, 't')), Bytes(32)},
               [](V& v) {
                   float silence[8] = {};
                   return v.setTrackChannelGain("auxiliary", FULL.c_str(), silence);
               }),
        setter("SetVolumeByStreamType", 198, {word(34), text("music"), byte(148)},
               [](V& v) { return v.setVolumeByStreamType("music", U8{148}); }),
        setter("SetVolumeByStreamTypeOfSixtyFourBytes", 198, {word(34), text(FULL), byte(3)},
               [](V& v) { return v.setVolumeByStreamType((FULL + "cut").c_str(), U8{3}); }),
        getter("GetVolumeByStreamType", 198, {word(35), text(FULL.substr(1))}, {33, 1, 1, 1}, {33},
               [](V& v, Outputs& out) {
                   return v.getVolumeByStreamType(FULL.c_str(), *out.at<U8>());
               }),
        setter("SetGainByStreamType", 198, {word(39), text(FULL), real(24.0F)},
               [](V& v) { return v.setGainByStreamType(FULL.c_str(), 24.0F); }),
        getter("GetGainByStreamType", 198, {word(40), text(FULL.substr(1))}, real(-33.5F),
               [](V& v, Outputs& out) {
                   return v.getGainByStreamType((FULL + "cut").c_str(), *out.at<float>());
               }),
        getter("GetStreamTypeList", 198, {word(36)},
               joined({word(2), text("music"), text("navigation")}), {}, streamTypes,
               {.replySize = 2056,
                .texts = {"kept", "music", "navigation"},
                .textsOnFailure = {"kept"}}),
    };
}

std::vector<OperationRow> muteRows() {
    return {
        setter("MuteMain", 198, {word(8), word(1), word(1)},
               [](V& v) { return v.mute("main", true); }),
        setter("MuteSecond", 198, {word(8), word(4), word(0)},
               [](V& v) { return v.mute("second", false); }),
        setter("MuteAlternative", 198, {word(8), word(2), word(1)},
               [](V& v) { return v.mute("alternative", true); }),
        setter("MuteAuxiliary", 198, {word(8), word(8), word(1)},
               [](V& v) { return v.mute("auxiliary", true); }),
        setter("MuteAPath", 198, {word(8), word(0xfedcba98), word(0)},
               [](ClientVolumeSetting& v) { return v.mute(0xfedcba98U, false); }),
        setter("DemuteMain", 198, {word(9), word(1), word(0)},
               [](V& v) { return v.demute("main", false); }),
        setter("DemuteSecond", 198, {word(9), word(4), word(1)},
               [](V& v) { return v.demute("second", true); }),
        setter("DemuteAlternative", 198, {word(9), word(2), word(1)},
               [](V& v) { return v.demute("alternative", true); }),
        setter("DemuteAuxiliary", 198, {word(9), word(8), word(1)},
               [](V& v) { return v.demute("auxiliary", true); }),
        setter("DemuteAPath", 198, {word(9), word(0), word(1)},
               [](ClientVolumeSetting& v) { return v.demute(0U, true); }),
        setter("SetMute", 198, {word(8), word(5), word(1)},
               [](V& v) { return v.setMute(5, true); }),
        setter("SetMuteOff", 198, {word(9), word(10), word(1)},
               [](V& v) { return v.setMute(10, false); }),
        getter("GetMuteStateOfMain", 198, {word(33), word(1)}, {1, 2, 3, 4}, {1},
               [](V& v, Outputs& out) { return v.getMuteState("main", *out.at<bool>()); }),
        getter("GetMuteStateOfSecond", 198, {word(33), word(4)}, {0, 1, 1, 1}, {0},
               [](V& v, Outputs& out) { return v.getMuteState("second", *out.at<bool>()); }),
        getter("GetMuteStateOfAlternativeInAnUnusualByte", 198, {word(33), word(2)}, {200, 0, 0, 0},
               {1},
               [](V& v, Outputs& out) { return v.getMuteState("alternative", *out.at<bool>()); }),
        getter("GetMuteStateOfAuxiliary", 198, {word(33), word(8)}, byte(1), {1},
               [](V& v, Outputs& out) { return v.getMuteState("auxiliary", *out.at<bool>()); }),
        getter("GetMuteStateOfAPath", 198, {word(33), word(77)}, byte(1), {1},
               [](ClientVolumeSetting& v, Outputs& out) {
                   return v.getMuteState(audio::audio_out_path_id_e{77}, *out.at<bool>());
               }),
    };
}

std::vector<OperationRow> microphoneRows() {
    return {
        setter("SetUpLinkGain", 198, {word(14), real(1e30F)},
               [](V& v) { return v.setUpLinkGain(1e30F); }),
        getter("GetUpLinkGain", 198, {word(15)}, real(4.5F),
               [](V& v, Outputs& out) { return v.getUpLinkGain(out.at<float>()); }),
        setter("SetAdcPgaGain", 198, {word(10), word(1), real(2.5F), real(-3.5F)},
               [](V& v) { return v.setAdcPgaGain(Mux{1}, 2.5F, -3.5F); }),
        getter("GetAdcPgaGain", 198, {word(11), word(1)}, joined({real(1.25F), real(2.25F)}),
               [](V& v, Outputs& out) {
                   return v.getAdcPgaGain(Mux{1}, out.at<float>(0), out.at<float>(4));
               }),
        setter("SetAdcOpGain", 198, {word(12), word(0), real(9.0F), real(12.0F)},
               [](V& v) { return v.setAdcOpGain(Mux{0}, 9.0F, 12.0F); }),
        getter("GetAdcOpGain", 198, {word(13), word(0)}, joined({real(21.0F), real(30.0F)}),
               [](V& v, Outputs& out) {
                   return v.getAdcOpGain(Mux{0}, out.at<float>(0), out.at<float>(4));
               }),
        getter("GetAdcOpGainOfTheRightSide", 198, {word(13), word(1)},
               joined({real(21.0F), real(30.0F)}), real(30.0F),
               [](V& v, Outputs& out) { return v.getAdcOpGain(Mux{1}, nullptr, out.at<float>()); }),
        setter("StartMicGainCalibration", 195, {word(41)},
               [](V& v) { return v.startMicGainCalibration(); }),
        getter("GetMicGainCalibrationResult", 198, {word(42)}, joined({real(17.5F), number(-5)}),
               joined({number(-5), real(17.5F)}),
               [](V& v, Outputs& out) {
                   return v.getMicGainCalibrationResult(*out.at<int>(0), *out.at<float>(4));
               }),
    };
}

}  // namespace

std::vector<OperationRow> volumeRows() {
    return ofType(131, {outputRows(), channelAndTrackRows(), muteRows(), microphoneRows()});
}

}  // namespace cabinaudio::test
