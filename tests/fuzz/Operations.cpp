// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/Operations.h"

namespace cabinaudio::fuzz {

using namespace audio;

namespace {

/// The table of these gains ends above the range of other gains.
void setMicAnalogGain(ClientVolumeSetting& volume, Input& in) {
    const float left = in.gain(-24, 46);
    volume.setMicAnalogGain(left, in.gain(-24, 46));
}

/// Refuses all but small numbers that fit each other.
void setFadeBalance(ClientVolumeSetting& volume, Input& in) {
    const bool isSmall = in.flag();
    const auto fade = isSmall ? std::int32_t{in.number<std::int8_t>()} : in.number<std::int32_t>();
    const auto balance =
        isSmall ? std::int32_t{in.number<std::int8_t>()} : in.number<std::int32_t>();
    volume.setFadeBalance(fade, balance, in.byte());
}

/// Takes eight gains, and mostly refuses other tags than this one.
void setTrackChannelGain(ClientVolumeSetting& volume, Input& in) {
    const auto gains = std::make_unique<float[]>(8);
    for (int i = 0; i < 8; ++i)
        gains[i] = in.gain();
    const char* const tag = in.flag() ? "auxiliary" : in.orNull(in.name());
    const char* const name = in.orNull(in.text());
    volume.setTrackChannelGain(tag, name, in.orNull(gains.get()));
}

}  // namespace

const std::vector<Operation<ClientVolumeSetting>>& operationsOf(const ClientVolumeSetting*) {
    using V = ClientVolumeSetting;
    using O = Operation<V>;
    static const std::vector<O> OPERATIONS = {
        O::one<&V::setMainAudioDunkingMode>(),
        O::one<int (V::*)(unsigned char), &V::setMainAudioDunkingTargetGain>(),
        O::one<int (V::*)(float), &V::setMainAudioDunkingTargetGain>(),
        O::one<int (V::*)(unsigned char), &V::setMasterVolume>(),
        O::one<int (V::*)(float), &V::setMasterVolume>(),
        O::one<int (V::*)(unsigned char*), &V::getMasterVolume>(),
        O::one<int (V::*)(float*), &V::getMasterVolume>(),
        O::one<int (V::*)(audio_channel_gain_t*), &V::setChannelGain>(),
        O::one<int (V::*)(audio_channel_idx_e, float), &V::setChannelGain>(),
        O::one<int (V::*)(audio_channel_gain_t*), &V::getChannelGain>(),
        O::one<int (V::*)(audio_channel_idx_e, float*), &V::getChannelGain>(),
        O::one<int (V::*)(const char*, const char*, unsigned char), &V::setTrackVolume>(),
        O::one<int (V::*)(const char*, const char*, float), &V::setTrackVolume>(),
        O::one<int (V::*)(const char*, const char*, unsigned char*), &V::getTrackVolume>(),
        O::one<int (V::*)(const char*, const char*, float*), &V::getTrackVolume>(),
        O::none<&V::setSourceLevel>(),
        O::none<&V::getSourceLevel>(),
        O::one<int (V::*)(const char*, bool), &V::mute>(),
        O::one<int (V::*)(const char*, bool), &V::demute>(),
        {"setFadeBalance", Requests::Several, setFadeBalance},
        O::one<&V::setUpLinkGain>(),
        O::one<&V::setAdcPgaGain>(),
        O::one<&V::getAdcPgaGain>(),
        O::one<&V::setAdcOpGain>(),
        O::one<&V::getAdcOpGain>(),
        {"setMicAnalogGain", Requests::Several, setMicAnalogGain},
        O::several<&V::getMicAnalogGain>(),
        O::one<int (V::*)(unsigned char), &V::setSecondAudioVolume>(),
        O::one<int (V::*)(float), &V::setSecondAudioVolume>(),
        O::one<int (V::*)(unsigned char*), &V::getSecondAudioVolume>(),
        O::one<int (V::*)(float*), &V::getSecondAudioVolume>(),
        O::one<int (V::*)(unsigned char), &V::setAlterAudioVolume>(),
        O::one<int (V::*)(float), &V::setAlterAudioVolume>(),
        O::one<int (V::*)(unsigned char*), &V::getAlterAudioVolume>(),
        O::one<int (V::*)(float*), &V::getAlterAudioVolume>(),
        O::one<&V::getUpLinkGain>(),
        O::one<int (V::*)(const char*, bool&), &V::getMuteState>(),
        O::one<int (V::*)(const char*, unsigned char), &V::setVolumeByStreamType>(),
        O::one<&V::getVolumeByStreamType>(),
        O::one<&V::getStreamTypeList>(),
        O::one<&V::duck>(),
        O::one<&V::unduck>(),
        O::one<&V::setMute>(),
        O::one<&V::setGainByStreamType>(),
        O::one<&V::getGainByStreamType>(),
        O::one<&V::startMicGainCalibration>(),
        O::one<&V::getMicGainCalibrationResult>(),
        {"setTrackChannelGain", Requests::One, setTrackChannelGain},
        O::one<&V::setMasterVolumeRampDuration>(),
        O::one<&V::getMasterVolumeRampDuration>(),
        O::one<int (V::*)(unsigned, bool), &V::mute>(),
        O::one<int (V::*)(unsigned, bool), &V::demute>(),
        O::one<int (V::*)(audio_out_path_id_e, bool&), &V::getMuteState>(),
    };
    return OPERATIONS;
}

const std::vector<Operation<ClientSourceSetting>>& operationsOf(const ClientSourceSetting*) {
    using S = ClientSourceSetting;
    using O = Operation<S>;
    static const std::vector<O> OPERATIONS = {
        O::one<&S::setOutPutSource>(),
        O::one<&S::getOutPutSource>(),
        O::one<&S::getActiveTracksName>(),
        O::one<&S::getTrackStreamType>(),
        O::one<&S::setInputDestination>(),
        O::one<&S::getInputDestination>(),
        O::one<&S::dumpOutPutSourceList>(),
        O::one<&S::dumpInputDestinationList>(),
        O::one<&S::setInputMuxPin>(),
        O::one<&S::getInputMuxPin>(),
        O::none<&S::setExtAdcEnable>(),
        O::one<&S::setDacOutPutMapping>(),
        O::one<&S::getDacOutPutMapping>(),
        O::one<&S::setI2sOutPutMapping>(),
        O::one<&S::getI2sOutPutMapping>(),
        O::one<&S::setAdcLeftRightSwitch>(),
        O::one<int (S::*)(audio_channel_idx_e, audio_speaker_test_pattern_e),
               &S::setMainAudioSpeakerTestPattern>(),
        O::one<int (S::*)(audio_channel_idx_e, int), &S::setMainAudioSpeakerTestPattern>(),
        O::one<&S::configurePcmHwInterface>(),
        O::one<&S::enablePcmHwInterface>(),
        O::one<&S::setSpeakerOutPut>(),
        O::one<&S::getActivedSourceNumber>(),
        O::one<&S::setHandsfreeDelay>(),
        O::one<&S::setSamplerateCapability>(),
        O::none<&S::setAdcPrcMode>(),
        O::one<&S::setI2sFormatAndConfig>(),
        O::none<&S::setAdcPinIntoGPIO>(),
        O::one<&S::getOutPutTrackInfoList>(),
        O::one<&S::getHWSignalEnergy>(),
        O::none<&S::setAlterLatency>(),
        O::one<&S::setHwAutoRampMode>(),
        O::one<&S::getSpeakerOutPut>(),
        O::one<&S::getActiveTracksInfo>(),
        O::one<&S::selectSource>(),
        O::one<&S::setFrontAudioState>(),
        O::one<&S::setRearAudioState>(),
        O::one<&S::setAdcMuxPin>(),
        O::one<&S::getAdcMuxPin>(),
        O::one<&S::getOutputTrackInfo>(),
    };
    return OPERATIONS;
}

const std::vector<Operation<ClientAppSetting>>& operationsOf(const ClientAppSetting*) {
    using A = ClientAppSetting;
    using O = Operation<A>;
    static const std::vector<O> OPERATIONS = {
        O::none<&A::setFilter>(),
        O::none<&A::getFilter>(),
        O::none<&A::setBassTreble>(),
        O::none<&A::getBassTreble>(),
        O::none<int (A::*)(audio_loudness_parameter_t*), &A::setLoudness>(),
        O::none<int (A::*)(audio_ext_loudness_parameter_t*), &A::setLoudness>(),
        O::none<&A::getLoudness>(),
        O::none<int (A::*)(audio_eq_parameter_t*), &A::setEqualizer>(),
        O::none<int (A::*)(audio_eq_parameter_t*), &A::getEqualizer>(),
        O::none<&A::getEqualizerQValueTable>(),
        O::none<&A::getEqualizerCfTable>(),
        O::one<&A::getEqualizerSpectrum>(),
        O::none<&A::enableDps>(),
        O::none<&A::disableDps>(),
        O::none<&A::setDpsProfile>(),
        O::none<&A::enableDpsStereoCtrl>(),
        O::none<&A::disableDpsStereoCtrl>(),
        O::none<&A::setDpsUserGain>(),
        O::none<&A::getDpsUserGain>(),
        O::none<&A::setDpsUserEq>(),
        O::none<&A::getDpsUserEq>(),
        O::none<&A::setQualityOfSound>(),
        O::none<&A::getQualityOfSound>(),
        O::one<&A::setSpeakerDelay>(),
        O::one<&A::getSpeakerDelay>(),
        O::one<&A::setQualityOfAEC>(),
        O::one<&A::getQualityOfAEC>(),
        O::none<&A::setUplinkConfig>(),
        O::none<&A::setEqualizerType>(),
        O::one<&A::enableByPassMode>(),
        O::one<&A::disableByPassMode>(),
        O::one<int (A::*)(audio_ext_eq_parameter_t*), &A::setEqualizer>(),
        O::one<int (A::*)(audio_ext_eq_parameter_t*), &A::getEqualizer>(),
        O::one<&A::setDownlinkDelayEstimation>(),
        O::one<&A::getDownlinkDelayEstimation>(),
        O::none<&A::setSurround>(),
        O::one<&A::setDuplexOfAEC>(),
        O::one<&A::getDuplexOfAEC>(),
        O::one<&A::setNRAttenuation>(),
        O::one<&A::getNRAttenuation>(),
        O::one<&A::setNLPConfig>(),
        O::one<&A::getNLPConfig>(),
        O::one<&A::setHandsfreeEQ>(),
        O::one<&A::getHandsfreeEQ>(),
        O::one<&A::setDACGainControl>(),
        O::none<&A::setDACSampleRateCtrl>(),
        O::one<&A::getOutPutDataEnergy>(),
        O::one<&A::setReverbMode>(),
        O::one<&A::setEffectEnabled>(),
        O::one<&A::getEffectEnabled>(),
        O::one<&A::setEffectParameter>(),
        O::one<&A::getEffectParameter>(),
    };
    return OPERATIONS;
}

const std::vector<Operation<ClientMixerSetting>>& operationsOf(const ClientMixerSetting*) {
    using M = ClientMixerSetting;
    using O = Operation<M>;
    static const std::vector<O> OPERATIONS = {
        O::one<&M::setUpMixMode>(),
        O::one<&M::mixExtGps>(),
        O::one<int (M::*)(audio_mixer_gain_t*), &M::setGpsMixerGain>(),
        O::one<int (M::*)(audio_mixer_matrix_t*), &M::setGpsMixerGain>(),
        O::none<int (M::*)(audio_mixer_gain_t*), &M::setEffectMixerGain>(),
        O::none<int (M::*)(audio_mixer_matrix_t*), &M::setEffectMixerGain>(),
        O::one<int (M::*)(audio_mixer_gain_t*), &M::setAlternativeAudioMixerGain>(),
        O::one<int (M::*)(audio_mixer_matrix_t*), &M::setAlternativeAudioMixerGain>(),
        O::none<&M::mixRearAudioWithFrontAudio>(),
        O::one<&M::setHwAlternativeAudioMixerWithMain>(),
        O::one<&M::getUpMixMode>(),
    };
    return OPERATIONS;
}

const std::vector<Operation<ClientAudioRecordControl>>& operationsOf(
    const ClientAudioRecordControl*) {
    using R = ClientAudioRecordControl;
    using O = Operation<R>;
    static const std::vector<O> OPERATIONS = {
        O::one<&R::set>(),
        O::one<&R::get>(),
    };
    return OPERATIONS;
}

}  // namespace cabinaudio::fuzz
