// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>

#include <cstddef>

/// Every virtual operation of the settings classes: its slot, its type, which selects among
/// overloads, and the requests that it makes.
namespace cabinaudio::test::slots {

using namespace audio;

enum class Requests { None, One, Several };

template <Requests REQUESTS_OF, std::size_t PLACE, typename Member, Member POINTER>
struct Operation {
    static constexpr Requests REQUESTS = REQUESTS_OF;
    static constexpr std::size_t SLOT = PLACE;
    static constexpr Member MEMBER = POINTER;
};
template <std::size_t SLOT, typename Member, Member MEMBER>
using None = Operation<Requests::None, SLOT, Member, MEMBER>;
template <std::size_t SLOT, typename Member, Member MEMBER>
using One = Operation<Requests::One, SLOT, Member, MEMBER>;
template <std::size_t SLOT, typename Member, Member MEMBER>
using Several = Operation<Requests::Several, SLOT, Member, MEMBER>;

template <typename... Operation>
struct OperationList {};

/// The operations of a class, and the slot of its first destructor.
template <typename Setting>
struct Operations;

template <>
struct Operations<ClientVolumeSetting> {
    using V = ClientVolumeSetting;
    static constexpr std::size_t DESTRUCTORS = 50;
    using All = OperationList<
        One<0, int (V::*)(unsigned), &V::setMainAudioDunkingMode>,
        One<1, int (V::*)(unsigned char), &V::setMainAudioDunkingTargetGain>,
        One<2, int (V::*)(float), &V::setMainAudioDunkingTargetGain>,
        One<3, int (V::*)(unsigned char), &V::setMasterVolume>,
        One<4, int (V::*)(float), &V::setMasterVolume>,
        One<5, int (V::*)(unsigned char*), &V::getMasterVolume>,
        One<6, int (V::*)(float*), &V::getMasterVolume>,
        One<7, int (V::*)(audio_channel_gain_t*), &V::setChannelGain>,
        One<8, int (V::*)(audio_channel_idx_e, float), &V::setChannelGain>,
        One<9, int (V::*)(audio_channel_gain_t*), &V::getChannelGain>,
        One<10, int (V::*)(audio_channel_idx_e, float*), &V::getChannelGain>,
        One<11, int (V::*)(const char*, const char*, unsigned char), &V::setTrackVolume>,
        One<12, int (V::*)(const char*, const char*, float), &V::setTrackVolume>,
        One<13, int (V::*)(const char*, const char*, unsigned char*), &V::getTrackVolume>,
        One<14, int (V::*)(const char*, const char*, float*), &V::getTrackVolume>,
        None<15, int (V::*)(const char*, const char*, float), &V::setSourceLevel>,
        None<16, int (V::*)(const char*, const char*, float*), &V::getSourceLevel>,
        One<17, int (V::*)(const char*, bool), &V::mute>,
        One<18, int (V::*)(const char*, bool), &V::demute>,
        Several<19, int (V::*)(int, int, unsigned), &V::setFadeBalance>,
        One<20, int (V::*)(float), &V::setUpLinkGain>,
        One<21, int (V::*)(audio_input_mux_id_e, float, float), &V::setAdcPgaGain>,
        One<22, int (V::*)(audio_input_mux_id_e, float*, float*), &V::getAdcPgaGain>,
        One<23, int (V::*)(audio_input_mux_id_e, float, float), &V::setAdcOpGain>,
        One<24, int (V::*)(audio_input_mux_id_e, float*, float*), &V::getAdcOpGain>,
        Several<25, int (V::*)(float, float), &V::setMicAnalogGain>,
        Several<26, int (V::*)(float*, float*), &V::getMicAnalogGain>,
        One<27, int (V::*)(unsigned char), &V::setSecondAudioVolume>,
        One<28, int (V::*)(float), &V::setSecondAudioVolume>,
        One<29, int (V::*)(unsigned char*), &V::getSecondAudioVolume>,
        One<30, int (V::*)(float*), &V::getSecondAudioVolume>,
        One<31, int (V::*)(unsigned char), &V::setAlterAudioVolume>,
        One<32, int (V::*)(float), &V::setAlterAudioVolume>,
        One<33, int (V::*)(unsigned char*), &V::getAlterAudioVolume>,
        One<34, int (V::*)(float*), &V::getAlterAudioVolume>,
        One<35, int (V::*)(float*), &V::getUpLinkGain>,
        One<36, int (V::*)(const char*, bool&), &V::getMuteState>,
        One<37, int (V::*)(const char*, unsigned char), &V::setVolumeByStreamType>,
        One<38, int (V::*)(const char*, unsigned char&), &V::getVolumeByStreamType>,
        One<39, int (V::*)(std::vector<std::string>&), &V::getStreamTypeList>,
        One<40, int (V::*)(int), &V::duck>, One<41, int (V::*)(), &V::unduck>,
        One<42, int (V::*)(unsigned, bool), &V::setMute>,
        One<43, int (V::*)(const char*, float), &V::setGainByStreamType>,
        One<44, int (V::*)(const char*, float&), &V::getGainByStreamType>,
        One<45, int (V::*)(), &V::startMicGainCalibration>,
        One<46, int (V::*)(int&, float&), &V::getMicGainCalibrationResult>,
        One<47, int (V::*)(const char*, const char*, float*), &V::setTrackChannelGain>,
        One<48, int (V::*)(float, float), &V::setMasterVolumeRampDuration>,
        One<49, int (V::*)(float&, float&), &V::getMasterVolumeRampDuration>>;
};

template <>
struct Operations<ClientSourceSetting> {
    using S = ClientSourceSetting;
    static constexpr std::size_t DESTRUCTORS = 33;
    using All = OperationList<
        One<0, int (S::*)(const char*, const char*), &S::setOutPutSource>,
        One<1, const char* (S::*)(const char*), &S::getOutPutSource>,
        One<2, int (S::*)(const char*, std::vector<std::string>&), &S::getActiveTracksName>,
        One<3, int (S::*)(const char*, const char*, std::string&), &S::getTrackStreamType>,
        One<4, int (S::*)(const char*, const char*), &S::setInputDestination>,
        One<5, const char* (S::*)(const char*), &S::getInputDestination>,
        One<6, int (S::*)(const char*), &S::dumpOutPutSourceList>,
        One<7, int (S::*)(const char*), &S::dumpInputDestinationList>,
        One<8, int (AudioSourceSetting::*)(audio_input_mux_id_e, audio_input_select_pin_e),
            &S::setInputMuxPin>,
        One<9, int (AudioSourceSetting::*)(audio_input_mux_id_e, audio_input_select_pin_e*),
            &S::getInputMuxPin>,
        None<10, int (S::*)(audio_input_mux_id_e, char), &S::setExtAdcEnable>,
        One<11, int (S::*)(audio_dac_output_mapping_tbl_t*), &S::setDacOutPutMapping>,
        One<12, int (S::*)(audio_dac_output_mapping_tbl_t*), &S::getDacOutPutMapping>,
        One<13, int (S::*)(audio_i2s_output_mapping_tbl_t*), &S::setI2sOutPutMapping>,
        One<14, int (S::*)(audio_i2s_output_mapping_tbl_t*), &S::getI2sOutPutMapping>,
        One<15, int (S::*)(bool), &S::setAdcLeftRightSwitch>,
        One<16, int (S::*)(audio_channel_idx_e, audio_speaker_test_pattern_e),
            &S::setMainAudioSpeakerTestPattern>,
        One<17, int (S::*)(audio_channel_idx_e, int), &S::setMainAudioSpeakerTestPattern>,
        One<18, int (S::*)(audio_pcm_hw_intf_cfg_t*), &S::configurePcmHwInterface>,
        One<19, int (S::*)(bool), &S::enablePcmHwInterface>,
        One<20, int (S::*)(audio_channel_idx_e), &S::setSpeakerOutPut>,
        One<21, int (S::*)(const char*), &S::getActivedSourceNumber>,
        One<22, int (S::*)(int), &S::setHandsfreeDelay>,
        One<23, int (S::*)(audio_samplerate_capability_e), &S::setSamplerateCapability>,
        None<24, int (S::*)(bool), &S::setAdcPrcMode>,
        One<25, int (S::*)(audio_i2s_select_param_e, audio_i2s_format_parameter_t*),
            &S::setI2sFormatAndConfig>,
        None<26, int (S::*)(bool), &S::setAdcPinIntoGPIO>,
        One<27, int (S::*)(audio_output_src_tag_e, std::vector<audio_output_src_parameter_t>&),
            &S::getOutPutTrackInfoList>,
        One<28, int (S::*)(audio_hw_type_e, unsigned*), &S::getHWSignalEnergy>,
        None<29, int (S::*)(int), &S::setAlterLatency>,
        One<30, int (S::*)(bool), &S::setHwAutoRampMode>,
        One<31, int (S::*)(audio_channel_idx_e*), &S::getSpeakerOutPut>,
        One<32, int (S::*)(std::vector<audio_track_info_t>&), &S::getActiveTracksInfo>,
        One<35, int (S::*)(audio_seat_id_e, audio_source_id_e), &S::selectSource>,
        One<36, int (S::*)(audio_seat_state_e), &S::setFrontAudioState>,
        One<37, int (S::*)(audio_seat_state_e), &S::setRearAudioState>,
        One<38, int (S::*)(audio_input_mux_id_e, audio_input_select_pin_e), &S::setAdcMuxPin>,
        One<39, int (S::*)(audio_input_mux_id_e, audio_input_select_pin_e*), &S::getAdcMuxPin>,
        One<40, int (S::*)(audio_output_src_tag_e, audio_output_src_parameter_t*, int*),
            &S::getOutputTrackInfo>>;
};

template <>
struct Operations<ClientAppSetting> {
    using A = ClientAppSetting;
    static constexpr std::size_t DESTRUCTORS = 52;
    using All = OperationList<
        None<0, int (A::*)(audio_filter_parameter_t*), &A::setFilter>,
        None<1, int (A::*)(audio_filter_parameter_t*), &A::getFilter>,
        None<2, int (A::*)(audio_bt_parameter_t*), &A::setBassTreble>,
        None<3, int (A::*)(audio_bt_parameter_t*), &A::getBassTreble>,
        None<4, int (A::*)(audio_loudness_parameter_t*), &A::setLoudness>,
        None<5, int (A::*)(audio_ext_loudness_parameter_t*), &A::setLoudness>,
        None<6, int (A::*)(audio_loudness_parameter_t*), &A::getLoudness>,
        None<7, int (A::*)(audio_eq_parameter_t*), &A::setEqualizer>,
        None<8, int (A::*)(audio_eq_parameter_t*), &A::getEqualizer>,
        None<9, int (A::*)(audio_eq_qvalue_table_t*), &A::getEqualizerQValueTable>,
        None<10, int (A::*)(audio_eq_cf_table_t*), &A::getEqualizerCfTable>,
        One<11, int (A::*)(audio_eq_spectrum_t*), &A::getEqualizerSpectrum>,
        None<12, int (A::*)(), &A::enableDps>, None<13, int (A::*)(), &A::disableDps>,
        None<14, int (A::*)(audio_dps_profile_id_e), &A::setDpsProfile>,
        None<15, int (A::*)(), &A::enableDpsStereoCtrl>,
        None<16, int (A::*)(), &A::disableDpsStereoCtrl>,
        None<17, int (A::*)(float), &A::setDpsUserGain>,
        None<18, int (A::*)(float*), &A::getDpsUserGain>,
        None<19, int (A::*)(audio_dps_user_eq_parameter_t*), &A::setDpsUserEq>,
        None<20, int (A::*)(audio_dps_user_eq_parameter_t*), &A::getDpsUserEq>,
        None<21, int (A::*)(audio_sound_quality_t*), &A::setQualityOfSound>,
        None<22, int (A::*)(audio_sound_quality_t*), &A::getQualityOfSound>,
        One<23, int (A::*)(audio_channel_idx_e, float), &A::setSpeakerDelay>,
        One<24, int (A::*)(audio_channel_idx_e, float*), &A::getSpeakerDelay>,
        One<25, int (A::*)(audio_aec_quality_e), &A::setQualityOfAEC>,
        One<26, int (A::*)(audio_aec_quality_e*), &A::getQualityOfAEC>,
        None<27, int (A::*)(audio_uplink_config_t*), &A::setUplinkConfig>,
        None<28, int (A::*)(audio_eq_type), &A::setEqualizerType>,
        One<29, int (A::*)(), &A::enableByPassMode>, One<30, int (A::*)(), &A::disableByPassMode>,
        One<31, int (A::*)(audio_ext_eq_parameter_t*), &A::setEqualizer>,
        One<32, int (A::*)(audio_ext_eq_parameter_t*), &A::getEqualizer>,
        One<33, int (A::*)(), &A::setDownlinkDelayEstimation>,
        One<34, int (A::*)(short*), &A::getDownlinkDelayEstimation>,
        None<35, int (A::*)(bool), &A::setSurround>, One<36, int (A::*)(int), &A::setDuplexOfAEC>,
        One<37, int (A::*)(int*), &A::getDuplexOfAEC>,
        One<38, int (A::*)(int), &A::setNRAttenuation>,
        One<39, int (A::*)(int*), &A::getNRAttenuation>,
        One<40, int (A::*)(audio_nlp_config_t*), &A::setNLPConfig>,
        One<41, int (A::*)(audio_nlp_config_t*), &A::getNLPConfig>,
        One<42, int (A::*)(audio_handsfree_eq_t*), &A::setHandsfreeEQ>,
        One<43, int (A::*)(audio_handsfree_eq_t*), &A::getHandsfreeEQ>,
        One<44, int (A::*)(audio_dacgain_ctrl_t*), &A::setDACGainControl>,
        None<45, int (A::*)(audio_int_dac_sample_rate_e), &A::setDACSampleRateCtrl>,
        One<46, int (A::*)(audio_out_data_energy_t*), &A::getOutPutDataEnergy>,
        One<47, int (A::*)(audio_reverb_mode_e), &A::setReverbMode>,
        One<48, int (A::*)(const char*, const char*, bool), &A::setEffectEnabled>,
        One<49, int (A::*)(const char*, const char*, bool&), &A::getEffectEnabled>,
        One<50, int (A::*)(const char*, const char*, const effect_param_t&),
            &A::setEffectParameter>,
        One<51, int (A::*)(const char*, const char*, effect_param_t&), &A::getEffectParameter>>;
};

template <>
struct Operations<ClientMixerSetting> {
    using M = ClientMixerSetting;
    static constexpr std::size_t DESTRUCTORS = 11;
    using All = OperationList<
        One<0, int (M::*)(unsigned), &M::setUpMixMode>, One<1, int (M::*)(unsigned), &M::mixExtGps>,
        One<2, int (M::*)(audio_mixer_gain_t*), &M::setGpsMixerGain>,
        One<3, int (M::*)(audio_mixer_matrix_t*), &M::setGpsMixerGain>,
        None<4, int (M::*)(audio_mixer_gain_t*), &M::setEffectMixerGain>,
        None<5, int (M::*)(audio_mixer_matrix_t*), &M::setEffectMixerGain>,
        One<6, int (M::*)(audio_mixer_gain_t*), &M::setAlternativeAudioMixerGain>,
        One<7, int (M::*)(audio_mixer_matrix_t*), &M::setAlternativeAudioMixerGain>,
        None<8, int (M::*)(bool), &M::mixRearAudioWithFrontAudio>,
        One<9, int (M::*)(audio_ext_channel_idx_e, bool), &M::setHwAlternativeAudioMixerWithMain>,
        One<10, int (M::*)(unsigned*), &M::getUpMixMode>>;
};

template <>
struct Operations<ClientAudioRecordControl> {
    using R = ClientAudioRecordControl;
    static constexpr std::size_t DESTRUCTORS = 2;
    using All =
        OperationList<One<0, int (R::*)(const char*, const char*, const effect_param_t&), &R::set>,
                      One<1, int (R::*)(const char*, const char*, effect_param_t&), &R::get>>;
};

}  // namespace cabinaudio::test::slots
