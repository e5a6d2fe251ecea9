// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/Operations.h"

#include <array>
#include <cstring>
#include <memory>
#include <string>

namespace cabinaudio::fuzz {

namespace {

using V = ClientVolumeSetting;
using audio::audio_channel_idx_e;
using audio::audio_input_mux_id_e;

audio_input_mux_id_e muxOf(Input& in) {
    return static_cast<audio_input_mux_id_e>(in.byte() % 3);
}

/// Eight gains at the end of their heap block.
std::unique_ptr<float[]> gainsOf(Input& in) {
    auto gains = std::make_unique<float[]>(8);
    for (int i = 0; i < 8; ++i)
        gains[i] = in.gain();
    return gains;
}

void demandNames(const std::vector<std::string>& names) {
    demand(names.size() <= 32, "a list has no more names than the reply");
    for (const std::string& name : names)
        demand(name.size() <= 64 && std::strlen(name.c_str()) == name.size(),
               "a name ends with its field");
}

template <int (V::*GET)(unsigned char*)>
void getStep(V& volume, Input& in, Peer&) {
    unsigned char value = 0;
    (volume.*GET)(in.orNull(&value));
}

template <int (V::*GET)(float*)>
void getGain(V& volume, Input& in, Peer&) {
    float value = 0;
    (volume.*GET)(in.orNull(&value));
}

template <int (V::*SET)(unsigned char)>
void setStep(V& volume, Input& in, Peer&) {
    (volume.*SET)(in.step());
}

template <int (V::*SET)(float)>
void setGain(V& volume, Input& in, Peer&) {
    (volume.*SET)(in.gain());
}

template <int (V::*GET)(audio_input_mux_id_e, float*, float*)>
void getConverter(V& volume, Input& in, Peer&) {
    float left = 0;
    float right = 0;
    (volume.*GET)(muxOf(in), in.orNull(&left), in.orNull(&right));
}

template <int (V::*SET)(audio_input_mux_id_e, float, float)>
void setConverter(V& volume, Input& in, Peer&) {
    const auto input = muxOf(in);
    const float left = in.number<float>();
    (volume.*SET)(input, left, in.number<float>());
}

void setFadeBalance(V& volume, Input& in, Peer&) {
    const bool inRange = in.flag();
    const auto fade = inRange ? std::int32_t{in.number<std::int8_t>()} : in.number<std::int32_t>();
    const auto balance =
        inRange ? std::int32_t{in.number<std::int8_t>()} : in.number<std::int32_t>();
    volume.setFadeBalance(fade, balance, in.byte());
}

void setTrackStep(V& volume, Input& in, Peer&) {
    const char* const tag = in.orNull(in.tag());
    const char* const name = in.orNull(in.text());
    volume.setTrackVolume(tag, name, in.step());
}

void setTrackGain(V& volume, Input& in, Peer&) {
    const char* const tag = in.orNull(in.tag());
    const char* const name = in.orNull(in.text());
    volume.setTrackVolume(tag, name, in.gain());
}

void getTrackStep(V& volume, Input& in, Peer&) {
    unsigned char value = 0;
    const char* const tag = in.orNull(in.tag());
    const char* const name = in.orNull(in.text());
    volume.getTrackVolume(tag, name, in.orNull(&value));
}

void getTrackGain(V& volume, Input& in, Peer&) {
    float value = 0;
    const char* const tag = in.orNull(in.tag());
    const char* const name = in.orNull(in.text());
    volume.getTrackVolume(tag, name, in.orNull(&value));
}

void setChannelStep(V& volume, Input& in, Peer&) {
    auto gain = in.number<audio::audio_channel_gain_t>();
    volume.setChannelGain(in.orNull(&gain));
}

void getChannelStep(V& volume, Input& in, Peer&) {
    auto gain = in.number<audio::audio_channel_gain_t>();
    volume.getChannelGain(in.orNull(&gain));
}

void setChannelGain(V& volume, Input& in, Peer&) {
    const auto channel = in.enumerator<audio_channel_idx_e>();
    volume.setChannelGain(channel, in.gain());
}

void getChannelGain(V& volume, Input& in, Peer&) {
    float value = 0;
    const auto channel = in.enumerator<audio_channel_idx_e>();
    volume.getChannelGain(channel, in.orNull(&value));
}

void getStreamTypeList(V& volume, Input&, Peer&) {
    std::vector<std::string> names;
    volume.getStreamTypeList(names);
    demandNames(names);
}

void setTrackChannelGain(V& volume, Input& in, Peer&) {
    const auto gains = gainsOf(in);
    const char* const tag = in.flag() ? "auxiliary" : in.orNull(in.tag());
    const char* const name = in.orNull(in.text());
    volume.setTrackChannelGain(tag, name, in.orNull(gains.get()));
}

void getStreamTypeStep(V& volume, Input& in, Peer&) {
    unsigned char value = 0;
    volume.getVolumeByStreamType(in.orNull(in.text()), value);
}

void getStreamTypeGain(V& volume, Input& in, Peer&) {
    float value = 0;
    volume.getGainByStreamType(in.orNull(in.text()), value);
}

}  // namespace

const std::vector<Operation<ClientVolumeSetting>>& operationsOf(const ClientVolumeSetting*) {
    static const std::vector<Operation<ClientVolumeSetting>> OPERATIONS = {
        {"setMainAudioDunkingMode", 4, true,
         [](V& v, Input& in, Peer&) { v.setMainAudioDunkingMode(in.number<unsigned>()); }},
        {"setMainAudioDunkingTargetGain(unsigned char)", 4, true,
         setStep<&V::setMainAudioDunkingTargetGain>},
        {"setMainAudioDunkingTargetGain(float)", 4, true,
         setGain<&V::setMainAudioDunkingTargetGain>},
        {"setMasterVolume(unsigned char)", 4, true, setStep<&V::setMasterVolume>},
        {"setMasterVolume(float)", 4, true, setGain<&V::setMasterVolume>},
        {"getMasterVolume(unsigned char*)", 8, true, getStep<&V::getMasterVolume>},
        {"getMasterVolume(float*)", 8, true, getGain<&V::getMasterVolume>},
        {"setChannelGain(record)", 4, true, setChannelStep},
        {"setChannelGain(float)", 4, true, setChannelGain},
        {"getChannelGain(record)", 12, true, getChannelStep},
        {"getChannelGain(float*)", 12, true, getChannelGain},
        {"setTrackVolume(unsigned char)", 4, true, setTrackStep},
        {"setTrackVolume(float)", 4, true, setTrackGain},
        {"getTrackVolume(unsigned char*)", 8, true, getTrackStep},
        {"getTrackVolume(float*)", 8, true, getTrackGain},
        {"setSourceLevel", 0, true,
         [](V& v, Input& in, Peer&) { v.setSourceLevel(nullptr, in.text(), in.gain()); }},
        {"getSourceLevel", 0, true,
         [](V& v, Input& in, Peer&) { v.getSourceLevel(in.text(), nullptr, nullptr); }},
        {"mute", 4, true, [](V& v, Input& in, Peer&) { v.mute(in.orNull(in.tag()), in.flag()); }},
        {"demute", 4, true,
         [](V& v, Input& in, Peer&) { v.demute(in.orNull(in.tag()), in.flag()); }},
        {"setFadeBalance", 4, false, setFadeBalance},
        {"setUpLinkGain", 4, true,
         [](V& v, Input& in, Peer&) { v.setUpLinkGain(in.number<float>()); }},
        {"setAdcPgaGain", 4, true, setConverter<&V::setAdcPgaGain>},
        {"getAdcPgaGain", 12, true, getConverter<&V::getAdcPgaGain>},
        {"setAdcOpGain", 4, true, setConverter<&V::setAdcOpGain>},
        {"getAdcOpGain", 12, true, getConverter<&V::getAdcOpGain>},
        {"setMicAnalogGain", 4, false,
         [](V& v, Input& in, Peer&) {
             const float left = in.gain(-24, 46);
             v.setMicAnalogGain(left, in.gain(-24, 46));
         }},
        {"getMicAnalogGain", 12, false,
         [](V& v, Input& in, Peer&) {
             float left = 0;
             float right = 0;
             v.getMicAnalogGain(in.orNull(&left), in.orNull(&right));
         }},
        {"setSecondAudioVolume(unsigned char)", 4, true, setStep<&V::setSecondAudioVolume>},
        {"setSecondAudioVolume(float)", 4, true, setGain<&V::setSecondAudioVolume>},
        {"getSecondAudioVolume(unsigned char*)", 8, true, getStep<&V::getSecondAudioVolume>},
        {"getSecondAudioVolume(float*)", 8, true, getGain<&V::getSecondAudioVolume>},
        {"setAlterAudioVolume(unsigned char)", 4, true, setStep<&V::setAlterAudioVolume>},
        {"setAlterAudioVolume(float)", 4, true, setGain<&V::setAlterAudioVolume>},
        {"getAlterAudioVolume(unsigned char*)", 8, true, getStep<&V::getAlterAudioVolume>},
        {"getAlterAudioVolume(float*)", 8, true, getGain<&V::getAlterAudioVolume>},
        {"getUpLinkGain", 8, true, getGain<&V::getUpLinkGain>},
        {"getMuteState", 8, true,
         [](V& v, Input& in, Peer&) {
             bool muted = false;
             v.getMuteState(in.orNull(in.tag()), muted);
         }},
        {"setVolumeByStreamType", 4, true,
         [](V& v, Input& in, Peer&) {
             const char* const type = in.orNull(in.text());
             v.setVolumeByStreamType(type, in.step());
         }},
        {"getVolumeByStreamType", 8, true, getStreamTypeStep},
        {"getStreamTypeList", 2056, true, getStreamTypeList},
        {"duck", 4, true, [](V& v, Input& in, Peer&) { v.duck(in.number<std::int8_t>()); }},
        {"unduck", 4, true, [](V& v, Input&, Peer&) { v.unduck(); }},
        {"setMute", 4, true,
         [](V& v, Input& in, Peer&) { v.setMute(in.number<unsigned>(), in.flag()); }},
        {"setGainByStreamType", 4, true,
         [](V& v, Input& in, Peer&) {
             const char* const type = in.orNull(in.text());
             v.setGainByStreamType(type, in.gain());
         }},
        {"getGainByStreamType", 8, true, getStreamTypeGain},
        {"startMicGainCalibration", 4, true,
         [](V& v, Input&, Peer&) { v.startMicGainCalibration(); }},
        {"getMicGainCalibrationResult", 12, true,
         [](V& v, Input&, Peer&) {
             int result = 0;
             float gain = 0;
             v.getMicGainCalibrationResult(result, gain);
         }},
        {"setTrackChannelGain", 4, true, setTrackChannelGain},
        {"setMasterVolumeRampDuration", 4, true,
         [](V& v, Input& in, Peer&) {
             const auto first = in.number<float>();
             v.setMasterVolumeRampDuration(first, in.number<float>());
         }},
        {"getMasterVolumeRampDuration", 12, true,
         [](V& v, Input&, Peer&) {
             float first = 0;
             float second = 0;
             v.getMasterVolumeRampDuration(first, second);
         }},
        {"mute(unsigned)", 4, true,
         [](V& v, Input& in, Peer&) { v.mute(in.number<unsigned>(), in.flag()); }},
        {"demute(unsigned)", 4, true,
         [](V& v, Input& in, Peer&) { v.demute(in.number<unsigned>(), in.flag()); }},
        {"getMuteState(path)", 8, true,
         [](V& v, Input& in, Peer&) {
             bool muted = false;
             v.getMuteState(in.enumerator<audio::audio_out_path_id_e>(), muted);
         }},
    };
    return OPERATIONS;
}

}  // namespace cabinaudio::fuzz
