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
        {"setMainAudioDunkingMode", Requests::ONE,
         [](V& v, Input& in, Peer&) { v.setMainAudioDunkingMode(in.number<unsigned>()); }},
        {"setMainAudioDunkingTargetGain(unsigned char)", Requests::ONE,
         setStep<&V::setMainAudioDunkingTargetGain>},
        {"setMainAudioDunkingTargetGain(float)", Requests::ONE,
         setGain<&V::setMainAudioDunkingTargetGain>},
        {"setMasterVolume(unsigned char)", Requests::ONE, setStep<&V::setMasterVolume>},
        {"setMasterVolume(float)", Requests::ONE, setGain<&V::setMasterVolume>},
        {"getMasterVolume(unsigned char*)", Requests::ONE, getStep<&V::getMasterVolume>},
        {"getMasterVolume(float*)", Requests::ONE, getGain<&V::getMasterVolume>},
        {"setChannelGain(record)", Requests::ONE, setChannelStep},
        {"setChannelGain(float)", Requests::ONE, setChannelGain},
        {"getChannelGain(record)", Requests::ONE, getChannelStep},
        {"getChannelGain(float*)", Requests::ONE, getChannelGain},
        {"setTrackVolume(unsigned char)", Requests::ONE, setTrackStep},
        {"setTrackVolume(float)", Requests::ONE, setTrackGain},
        {"getTrackVolume(unsigned char*)", Requests::ONE, getTrackStep},
        {"getTrackVolume(float*)", Requests::ONE, getTrackGain},
        {"setSourceLevel", Requests::NONE,
         [](V& v, Input& in, Peer&) { v.setSourceLevel(nullptr, in.text(), in.gain()); }},
        {"getSourceLevel", Requests::NONE,
         [](V& v, Input& in, Peer&) { v.getSourceLevel(in.text(), nullptr, nullptr); }},
        {"mute", Requests::ONE,
         [](V& v, Input& in, Peer&) { v.mute(in.orNull(in.tag()), in.flag()); }},
        {"demute", Requests::ONE,
         [](V& v, Input& in, Peer&) { v.demute(in.orNull(in.tag()), in.flag()); }},
        {"setFadeBalance", Requests::SEVERAL, setFadeBalance},
        {"setUpLinkGain", Requests::ONE,
         [](V& v, Input& in, Peer&) { v.setUpLinkGain(in.number<float>()); }},
        {"setAdcPgaGain", Requests::ONE, setConverter<&V::setAdcPgaGain>},
        {"getAdcPgaGain", Requests::ONE, getConverter<&V::getAdcPgaGain>},
        {"setAdcOpGain", Requests::ONE, setConverter<&V::setAdcOpGain>},
        {"getAdcOpGain", Requests::ONE, getConverter<&V::getAdcOpGain>},
        {"setMicAnalogGain", Requests::SEVERAL,
         [](V& v, Input& in, Peer&) {
             const float left = in.gain(-24, 46);
             v.setMicAnalogGain(left, in.gain(-24, 46));
         }},
        {"getMicAnalogGain", Requests::SEVERAL,
         [](V& v, Input& in, Peer&) {
             float left = 0;
             float right = 0;
             v.getMicAnalogGain(in.orNull(&left), in.orNull(&right));
         }},
        {"setSecondAudioVolume(unsigned char)", Requests::ONE, setStep<&V::setSecondAudioVolume>},
        {"setSecondAudioVolume(float)", Requests::ONE, setGain<&V::setSecondAudioVolume>},
        {"getSecondAudioVolume(unsigned char*)", Requests::ONE, getStep<&V::getSecondAudioVolume>},
        {"getSecondAudioVolume(float*)", Requests::ONE, getGain<&V::getSecondAudioVolume>},
        {"setAlterAudioVolume(unsigned char)", Requests::ONE, setStep<&V::setAlterAudioVolume>},
        {"setAlterAudioVolume(float)", Requests::ONE, setGain<&V::setAlterAudioVolume>},
        {"getAlterAudioVolume(unsigned char*)", Requests::ONE, getStep<&V::getAlterAudioVolume>},
        {"getAlterAudioVolume(float*)", Requests::ONE, getGain<&V::getAlterAudioVolume>},
        {"getUpLinkGain", Requests::ONE, getGain<&V::getUpLinkGain>},
        {"getMuteState", Requests::ONE,
         [](V& v, Input& in, Peer&) {
             bool muted = false;
             v.getMuteState(in.orNull(in.tag()), muted);
         }},
        {"setVolumeByStreamType", Requests::ONE,
         [](V& v, Input& in, Peer&) {
             const char* const type = in.orNull(in.text());
             v.setVolumeByStreamType(type, in.step());
         }},
        {"getVolumeByStreamType", Requests::ONE, getStreamTypeStep},
        {"getStreamTypeList", Requests::ONE, getStreamTypeList},
        {"duck", Requests::ONE, [](V& v, Input& in, Peer&) { v.duck(in.number<std::int8_t>()); }},
        {"unduck", Requests::ONE, [](V& v, Input&, Peer&) { v.unduck(); }},
        {"setMute", Requests::ONE,
         [](V& v, Input& in, Peer&) { v.setMute(in.number<unsigned>(), in.flag()); }},
        {"setGainByStreamType", Requests::ONE,
         [](V& v, Input& in, Peer&) {
             const char* const type = in.orNull(in.text());
             v.setGainByStreamType(type, in.gain());
         }},
        {"getGainByStreamType", Requests::ONE, getStreamTypeGain},
        {"startMicGainCalibration", Requests::ONE,
         [](V& v, Input&, Peer&) { v.startMicGainCalibration(); }},
        {"getMicGainCalibrationResult", Requests::ONE,
         [](V& v, Input&, Peer&) {
             int result = 0;
             float gain = 0;
             v.getMicGainCalibrationResult(result, gain);
         }},
        {"setTrackChannelGain", Requests::ONE, setTrackChannelGain},
        {"setMasterVolumeRampDuration", Requests::ONE,
         [](V& v, Input& in, Peer&) {
             const auto first = in.number<float>();
             v.setMasterVolumeRampDuration(first, in.number<float>());
         }},
        {"getMasterVolumeRampDuration", Requests::ONE,
         [](V& v, Input&, Peer&) {
             float first = 0;
             float second = 0;
             v.getMasterVolumeRampDuration(first, second);
         }},
        {"mute(unsigned)", Requests::ONE,
         [](V& v, Input& in, Peer&) { v.mute(in.number<unsigned>(), in.flag()); }},
        {"demute(unsigned)", Requests::ONE,
         [](V& v, Input& in, Peer&) { v.demute(in.number<unsigned>(), in.flag()); }},
        {"getMuteState(path)", Requests::ONE,
         [](V& v, Input& in, Peer&) {
             bool muted = false;
             v.getMuteState(in.enumerator<audio::audio_out_path_id_e>(), muted);
         }},
    };
    return OPERATIONS;
}

}  // namespace cabinaudio::fuzz
