// SPDX-License-Identifier: Apache-2.0
//
// The operations of the settings by their places in the tables, as programs that other compilers
// built call them.
#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>

#include "tests/abi/Slots.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <iterator>
#include <new>
#include <string>
#include <vector>

namespace {

using cabinaudio::test::called;
using cabinaudio::test::expectDestructorsSideBySide;
using cabinaudio::test::gCalled;
using cabinaudio::test::LogCapture;
using cabinaudio::test::Plain;
using cabinaudio::test::slot;

// Each says which operation was reached.

class RecordingVolume : public ClientVolumeSetting {
public:
    ~RecordingVolume() override { called("destructor"); }
    int setMainAudioDunkingMode(unsigned) override { return called("setMainAudioDunkingMode"); }
    int setMainAudioDunkingTargetGain(unsigned char) override {
        return called("setMainAudioDunkingTargetGain(unsigned char)");
    }
    int setMainAudioDunkingTargetGain(float) override {
        return called("setMainAudioDunkingTargetGain(float)");
    }
    int setMasterVolume(unsigned char) override { return called("setMasterVolume(unsigned char)"); }
    int setMasterVolume(float) override { return called("setMasterVolume(float)"); }
    int getMasterVolume(unsigned char*) override {
        return called("getMasterVolume(unsigned char*)");
    }
    int getMasterVolume(float*) override { return called("getMasterVolume(float*)"); }
    int setChannelGain(audio::audio_channel_gain_t*) override {
        return called("setChannelGain(audio_channel_gain_t*)");
    }
    int setChannelGain(audio::audio_channel_idx_e, float) override {
        return called("setChannelGain(audio_channel_idx_e, float)");
    }
    int getChannelGain(audio::audio_channel_gain_t*) override {
        return called("getChannelGain(audio_channel_gain_t*)");
    }
    int getChannelGain(audio::audio_channel_idx_e, float*) override {
        return called("getChannelGain(audio_channel_idx_e, float*)");
    }
    int setTrackVolume(const char*, const char*, unsigned char) override {
        return called("setTrackVolume(unsigned char)");
    }
    int setTrackVolume(const char*, const char*, float) override {
        return called("setTrackVolume(float)");
    }
    int getTrackVolume(const char*, const char*, unsigned char*) override {
        return called("getTrackVolume(unsigned char*)");
    }
    int getTrackVolume(const char*, const char*, float*) override {
        return called("getTrackVolume(float*)");
    }
    int setSourceLevel(const char*, const char*, float) override {
        return called("setSourceLevel");
    }
    int getSourceLevel(const char*, const char*, float*) override {
        return called("getSourceLevel");
    }
    int mute(const char*, bool) override { return called("mute"); }
    int demute(const char*, bool) override { return called("demute"); }
    int setFadeBalance(int, int, unsigned) override { return called("setFadeBalance"); }
    int setUpLinkGain(float) override { return called("setUpLinkGain"); }
    int setAdcPgaGain(audio::audio_input_mux_id_e, float, float) override {
        return called("setAdcPgaGain");
    }
    int getAdcPgaGain(audio::audio_input_mux_id_e, float*, float*) override {
        return called("getAdcPgaGain");
    }
    int setAdcOpGain(audio::audio_input_mux_id_e, float, float) override {
        return called("setAdcOpGain");
    }
    int getAdcOpGain(audio::audio_input_mux_id_e, float*, float*) override {
        return called("getAdcOpGain");
    }
    int setMicAnalogGain(float, float) override { return called("setMicAnalogGain"); }
    int getMicAnalogGain(float*, float*) override { return called("getMicAnalogGain"); }
    int setSecondAudioVolume(unsigned char) override {
        return called("setSecondAudioVolume(unsigned char)");
    }
    int setSecondAudioVolume(float) override { return called("setSecondAudioVolume(float)"); }
    int getSecondAudioVolume(unsigned char*) override {
        return called("getSecondAudioVolume(unsigned char*)");
    }
    int getSecondAudioVolume(float*) override { return called("getSecondAudioVolume(float*)"); }
    int setAlterAudioVolume(unsigned char) override {
        return called("setAlterAudioVolume(unsigned char)");
    }
    int setAlterAudioVolume(float) override { return called("setAlterAudioVolume(float)"); }
    int getAlterAudioVolume(unsigned char*) override {
        return called("getAlterAudioVolume(unsigned char*)");
    }
    int getAlterAudioVolume(float*) override { return called("getAlterAudioVolume(float*)"); }
    int getUpLinkGain(float*) override { return called("getUpLinkGain"); }
    int getMuteState(const char*, bool&) override { return called("getMuteState"); }
    int setVolumeByStreamType(const char*, unsigned char) override {
        return called("setVolumeByStreamType");
    }
    int getVolumeByStreamType(const char*, unsigned char&) override {
        return called("getVolumeByStreamType");
    }
    int getStreamTypeList(std::vector<std::string>&) override {
        return called("getStreamTypeList");
    }
    int duck(int) override { return called("duck"); }
    int unduck() override { return called("unduck"); }
    int setMute(unsigned, bool) override { return called("setMute"); }
    int setGainByStreamType(const char*, float) override { return called("setGainByStreamType"); }
    int getGainByStreamType(const char*, float&) override { return called("getGainByStreamType"); }
    int startMicGainCalibration() override { return called("startMicGainCalibration"); }
    int getMicGainCalibrationResult(int&, float&) override {
        return called("getMicGainCalibrationResult");
    }
    int setTrackChannelGain(const char*, const char*, float*) override {
        return called("setTrackChannelGain");
    }
    int setMasterVolumeRampDuration(float, float) override {
        return called("setMasterVolumeRampDuration");
    }
    int getMasterVolumeRampDuration(float&, float&) override {
        return called("getMasterVolumeRampDuration");
    }

    static constexpr std::size_t DESTRUCTOR = 50;
    static constexpr const char* ORDER[] = {"setMainAudioDunkingMode",
                                            "setMainAudioDunkingTargetGain(unsigned char)",
                                            "setMainAudioDunkingTargetGain(float)",
                                            "setMasterVolume(unsigned char)",
                                            "setMasterVolume(float)",
                                            "getMasterVolume(unsigned char*)",
                                            "getMasterVolume(float*)",
                                            "setChannelGain(audio_channel_gain_t*)",
                                            "setChannelGain(audio_channel_idx_e, float)",
                                            "getChannelGain(audio_channel_gain_t*)",
                                            "getChannelGain(audio_channel_idx_e, float*)",
                                            "setTrackVolume(unsigned char)",
                                            "setTrackVolume(float)",
                                            "getTrackVolume(unsigned char*)",
                                            "getTrackVolume(float*)",
                                            "setSourceLevel",
                                            "getSourceLevel",
                                            "mute",
                                            "demute",
                                            "setFadeBalance",
                                            "setUpLinkGain",
                                            "setAdcPgaGain",
                                            "getAdcPgaGain",
                                            "setAdcOpGain",
                                            "getAdcOpGain",
                                            "setMicAnalogGain",
                                            "getMicAnalogGain",
                                            "setSecondAudioVolume(unsigned char)",
                                            "setSecondAudioVolume(float)",
                                            "getSecondAudioVolume(unsigned char*)",
                                            "getSecondAudioVolume(float*)",
                                            "setAlterAudioVolume(unsigned char)",
                                            "setAlterAudioVolume(float)",
                                            "getAlterAudioVolume(unsigned char*)",
                                            "getAlterAudioVolume(float*)",
                                            "getUpLinkGain",
                                            "getMuteState",
                                            "setVolumeByStreamType",
                                            "getVolumeByStreamType",
                                            "getStreamTypeList",
                                            "duck",
                                            "unduck",
                                            "setMute",
                                            "setGainByStreamType",
                                            "getGainByStreamType",
                                            "startMicGainCalibration",
                                            "getMicGainCalibrationResult",
                                            "setTrackChannelGain",
                                            "setMasterVolumeRampDuration",
                                            "getMasterVolumeRampDuration",
                                            "",
                                            ""};
};

class RecordingSource : public ClientSourceSetting {
public:
    ~RecordingSource() override { called("destructor"); }
    int setOutPutSource(const char*, const char*) override { return called("setOutPutSource"); }
    const char* getOutPutSource(const char*) override {
        called("getOutPutSource");
        return nullptr;
    }
    int getActiveTracksName(const char*, std::vector<std::string>&) override {
        return called("getActiveTracksName");
    }
    int getTrackStreamType(const char*, const char*, std::string&) override {
        return called("getTrackStreamType");
    }
    int setInputDestination(const char*, const char*) override {
        return called("setInputDestination");
    }
    const char* getInputDestination(const char*) override {
        called("getInputDestination");
        return nullptr;
    }
    int dumpOutPutSourceList(const char*) override { return called("dumpOutPutSourceList"); }
    int dumpInputDestinationList(const char*) override {
        return called("dumpInputDestinationList");
    }
    int setInputMuxPin(audio::audio_input_mux_id_e, audio::audio_input_select_pin_e) override {
        return called("setInputMuxPin");
    }
    int getInputMuxPin(audio::audio_input_mux_id_e, audio::audio_input_select_pin_e*) override {
        return called("getInputMuxPin");
    }
    int setExtAdcEnable(audio::audio_input_mux_id_e, char) override {
        return called("setExtAdcEnable");
    }
    int setDacOutPutMapping(audio::audio_dac_output_mapping_tbl_t*) override {
        return called("setDacOutPutMapping");
    }
    int getDacOutPutMapping(audio::audio_dac_output_mapping_tbl_t*) override {
        return called("getDacOutPutMapping");
    }
    int setI2sOutPutMapping(audio::audio_i2s_output_mapping_tbl_t*) override {
        return called("setI2sOutPutMapping");
    }
    int getI2sOutPutMapping(audio::audio_i2s_output_mapping_tbl_t*) override {
        return called("getI2sOutPutMapping");
    }
    int setAdcLeftRightSwitch(bool) override { return called("setAdcLeftRightSwitch"); }
    int setMainAudioSpeakerTestPattern(audio::audio_channel_idx_e,
                                       audio::audio_speaker_test_pattern_e) override {
        return called("setMainAudioSpeakerTestPattern(audio_speaker_test_pattern_e)");
    }
    int setMainAudioSpeakerTestPattern(audio::audio_channel_idx_e, int) override {
        return called("setMainAudioSpeakerTestPattern(int)");
    }
    int configurePcmHwInterface(audio::audio_pcm_hw_intf_cfg_t*) override {
        return called("configurePcmHwInterface");
    }
    int enablePcmHwInterface(bool) override { return called("enablePcmHwInterface"); }
    int setSpeakerOutPut(audio::audio_channel_idx_e) override { return called("setSpeakerOutPut"); }
    int getActivedSourceNumber(const char*) override { return called("getActivedSourceNumber"); }
    int setHandsfreeDelay(int) override { return called("setHandsfreeDelay"); }
    int setSamplerateCapability(audio::audio_samplerate_capability_e) override {
        return called("setSamplerateCapability");
    }
    int setAdcPrcMode(bool) override { return called("setAdcPrcMode"); }
    int setI2sFormatAndConfig(audio::audio_i2s_select_param_e,
                              audio::audio_i2s_format_parameter_t*) override {
        return called("setI2sFormatAndConfig");
    }
    int setAdcPinIntoGPIO(bool) override { return called("setAdcPinIntoGPIO"); }
    int getOutPutTrackInfoList(audio::audio_output_src_tag_e,
                               std::vector<audio::audio_output_src_parameter_t>&) override {
        return called("getOutPutTrackInfoList");
    }
    int getHWSignalEnergy(audio::audio_hw_type_e, unsigned*) override {
        return called("getHWSignalEnergy");
    }
    int setAlterLatency(int) override { return called("setAlterLatency"); }
    int setHwAutoRampMode(bool) override { return called("setHwAutoRampMode"); }
    int getSpeakerOutPut(audio::audio_channel_idx_e*) override {
        return called("getSpeakerOutPut");
    }
    int getActiveTracksInfo(std::vector<audio::audio_track_info_t>&) override {
        return called("getActiveTracksInfo");
    }
    int selectSource(audio_seat_id_e, audio_source_id_e) override { return called("selectSource"); }
    int setFrontAudioState(audio_seat_state_e) override { return called("setFrontAudioState"); }
    int setRearAudioState(audio_seat_state_e) override { return called("setRearAudioState"); }
    int setAdcMuxPin(audio::audio_input_mux_id_e, audio::audio_input_select_pin_e) override {
        return called("setAdcMuxPin");
    }
    int getAdcMuxPin(audio::audio_input_mux_id_e, audio::audio_input_select_pin_e*) override {
        return called("getAdcMuxPin");
    }
    int getOutputTrackInfo(audio::audio_output_src_tag_e, audio::audio_output_src_parameter_t*,
                           int*) override {
        return called("getOutputTrackInfo");
    }

    static constexpr std::size_t DESTRUCTOR = 33;
    static constexpr const char* ORDER[] = {
        "setOutPutSource",
        "getOutPutSource",
        "getActiveTracksName",
        "getTrackStreamType",
        "setInputDestination",
        "getInputDestination",
        "dumpOutPutSourceList",
        "dumpInputDestinationList",
        "setInputMuxPin",
        "getInputMuxPin",
        "setExtAdcEnable",
        "setDacOutPutMapping",
        "getDacOutPutMapping",
        "setI2sOutPutMapping",
        "getI2sOutPutMapping",
        "setAdcLeftRightSwitch",
        "setMainAudioSpeakerTestPattern(audio_speaker_test_pattern_e)",
        "setMainAudioSpeakerTestPattern(int)",
        "configurePcmHwInterface",
        "enablePcmHwInterface",
        "setSpeakerOutPut",
        "getActivedSourceNumber",
        "setHandsfreeDelay",
        "setSamplerateCapability",
        "setAdcPrcMode",
        "setI2sFormatAndConfig",
        "setAdcPinIntoGPIO",
        "getOutPutTrackInfoList",
        "getHWSignalEnergy",
        "setAlterLatency",
        "setHwAutoRampMode",
        "getSpeakerOutPut",
        "getActiveTracksInfo",
        "",
        "",
        "selectSource",
        "setFrontAudioState",
        "setRearAudioState",
        "setAdcMuxPin",
        "getAdcMuxPin",
        "getOutputTrackInfo"};
};

class RecordingApp : public ClientAppSetting {
public:
    ~RecordingApp() override { called("destructor"); }
    int setFilter(audio::audio_filter_parameter_t*) override { return called("setFilter"); }
    int getFilter(audio::audio_filter_parameter_t*) override { return called("getFilter"); }
    int setBassTreble(audio::audio_bt_parameter_t*) override { return called("setBassTreble"); }
    int getBassTreble(audio::audio_bt_parameter_t*) override { return called("getBassTreble"); }
    int setLoudness(audio::audio_loudness_parameter_t*) override {
        return called("setLoudness(audio_loudness_parameter_t*)");
    }
    int setLoudness(audio::audio_ext_loudness_parameter_t*) override {
        return called("setLoudness(audio_ext_loudness_parameter_t*)");
    }
    int getLoudness(audio::audio_loudness_parameter_t*) override { return called("getLoudness"); }
    int setEqualizer(audio::audio_eq_parameter_t*) override {
        return called("setEqualizer(audio_eq_parameter_t*)");
    }
    int getEqualizer(audio::audio_eq_parameter_t*) override {
        return called("getEqualizer(audio_eq_parameter_t*)");
    }
    int getEqualizerQValueTable(audio::audio_eq_qvalue_table_t*) override {
        return called("getEqualizerQValueTable");
    }
    int getEqualizerCfTable(audio::audio_eq_cf_table_t*) override {
        return called("getEqualizerCfTable");
    }
    int getEqualizerSpectrum(audio::audio_eq_spectrum_t*) override {
        return called("getEqualizerSpectrum");
    }
    int enableDps() override { return called("enableDps"); }
    int disableDps() override { return called("disableDps"); }
    int setDpsProfile(audio::audio_dps_profile_id_e) override { return called("setDpsProfile"); }
    int enableDpsStereoCtrl() override { return called("enableDpsStereoCtrl"); }
    int disableDpsStereoCtrl() override { return called("disableDpsStereoCtrl"); }
    int setDpsUserGain(float) override { return called("setDpsUserGain"); }
    int getDpsUserGain(float*) override { return called("getDpsUserGain"); }
    int setDpsUserEq(audio::audio_dps_user_eq_parameter_t*) override {
        return called("setDpsUserEq");
    }
    int getDpsUserEq(audio::audio_dps_user_eq_parameter_t*) override {
        return called("getDpsUserEq");
    }
    int setQualityOfSound(audio::audio_sound_quality_t*) override {
        return called("setQualityOfSound");
    }
    int getQualityOfSound(audio::audio_sound_quality_t*) override {
        return called("getQualityOfSound");
    }
    int setSpeakerDelay(audio::audio_channel_idx_e, float) override {
        return called("setSpeakerDelay");
    }
    int getSpeakerDelay(audio::audio_channel_idx_e, float*) override {
        return called("getSpeakerDelay");
    }
    int setQualityOfAEC(audio::audio_aec_quality_e) override { return called("setQualityOfAEC"); }
    int getQualityOfAEC(audio::audio_aec_quality_e*) override { return called("getQualityOfAEC"); }
    int setUplinkConfig(audio::audio_uplink_config_t*) override {
        return called("setUplinkConfig");
    }
    int setEqualizerType(audio::audio_eq_type) override { return called("setEqualizerType"); }
    int enableByPassMode() override { return called("enableByPassMode"); }
    int disableByPassMode() override { return called("disableByPassMode"); }
    int setEqualizer(audio::audio_ext_eq_parameter_t*) override {
        return called("setEqualizer(audio_ext_eq_parameter_t*)");
    }
    int getEqualizer(audio::audio_ext_eq_parameter_t*) override {
        return called("getEqualizer(audio_ext_eq_parameter_t*)");
    }
    int setDownlinkDelayEstimation() override { return called("setDownlinkDelayEstimation"); }
    int getDownlinkDelayEstimation(short*) override { return called("getDownlinkDelayEstimation"); }
    int setSurround(bool) override { return called("setSurround"); }
    int setDuplexOfAEC(int) override { return called("setDuplexOfAEC"); }
    int getDuplexOfAEC(int*) override { return called("getDuplexOfAEC"); }
    int setNRAttenuation(int) override { return called("setNRAttenuation"); }
    int getNRAttenuation(int*) override { return called("getNRAttenuation"); }
    int setNLPConfig(audio::audio_nlp_config_t*) override { return called("setNLPConfig"); }
    int getNLPConfig(audio::audio_nlp_config_t*) override { return called("getNLPConfig"); }
    int setHandsfreeEQ(audio::audio_handsfree_eq_t*) override { return called("setHandsfreeEQ"); }
    int getHandsfreeEQ(audio::audio_handsfree_eq_t*) override { return called("getHandsfreeEQ"); }
    int setDACGainControl(audio::audio_dacgain_ctrl_t*) override {
        return called("setDACGainControl");
    }
    int setDACSampleRateCtrl(audio::audio_int_dac_sample_rate_e) override {
        return called("setDACSampleRateCtrl");
    }
    int getOutPutDataEnergy(audio::audio_out_data_energy_t*) override {
        return called("getOutPutDataEnergy");
    }
    int setReverbMode(audio::audio_reverb_mode_e) override { return called("setReverbMode"); }
    int setEffectEnabled(const char*, const char*, bool) override {
        return called("setEffectEnabled");
    }
    int getEffectEnabled(const char*, const char*, bool&) override {
        return called("getEffectEnabled");
    }
    int setEffectParameter(const char*, const char*, const audio::effect_param_t&) override {
        return called("setEffectParameter");
    }
    int getEffectParameter(const char*, const char*, audio::effect_param_t&) override {
        return called("getEffectParameter");
    }

    static constexpr std::size_t DESTRUCTOR = 52;
    static constexpr const char* ORDER[] = {"setFilter",
                                            "getFilter",
                                            "setBassTreble",
                                            "getBassTreble",
                                            "setLoudness(audio_loudness_parameter_t*)",
                                            "setLoudness(audio_ext_loudness_parameter_t*)",
                                            "getLoudness",
                                            "setEqualizer(audio_eq_parameter_t*)",
                                            "getEqualizer(audio_eq_parameter_t*)",
                                            "getEqualizerQValueTable",
                                            "getEqualizerCfTable",
                                            "getEqualizerSpectrum",
                                            "enableDps",
                                            "disableDps",
                                            "setDpsProfile",
                                            "enableDpsStereoCtrl",
                                            "disableDpsStereoCtrl",
                                            "setDpsUserGain",
                                            "getDpsUserGain",
                                            "setDpsUserEq",
                                            "getDpsUserEq",
                                            "setQualityOfSound",
                                            "getQualityOfSound",
                                            "setSpeakerDelay",
                                            "getSpeakerDelay",
                                            "setQualityOfAEC",
                                            "getQualityOfAEC",
                                            "setUplinkConfig",
                                            "setEqualizerType",
                                            "enableByPassMode",
                                            "disableByPassMode",
                                            "setEqualizer(audio_ext_eq_parameter_t*)",
                                            "getEqualizer(audio_ext_eq_parameter_t*)",
                                            "setDownlinkDelayEstimation",
                                            "getDownlinkDelayEstimation",
                                            "setSurround",
                                            "setDuplexOfAEC",
                                            "getDuplexOfAEC",
                                            "setNRAttenuation",
                                            "getNRAttenuation",
                                            "setNLPConfig",
                                            "getNLPConfig",
                                            "setHandsfreeEQ",
                                            "getHandsfreeEQ",
                                            "setDACGainControl",
                                            "setDACSampleRateCtrl",
                                            "getOutPutDataEnergy",
                                            "setReverbMode",
                                            "setEffectEnabled",
                                            "getEffectEnabled",
                                            "setEffectParameter",
                                            "getEffectParameter",
                                            "",
                                            ""};
};

class RecordingMixer : public ClientMixerSetting {
public:
    ~RecordingMixer() override { called("destructor"); }
    int setUpMixMode(unsigned) override { return called("setUpMixMode"); }
    int mixExtGps(unsigned) override { return called("mixExtGps"); }
    int setGpsMixerGain(audio::audio_mixer_gain_t*) override {
        return called("setGpsMixerGain(audio_mixer_gain_t*)");
    }
    int setGpsMixerGain(audio::audio_mixer_matrix_t*) override {
        return called("setGpsMixerGain(audio_mixer_matrix_t*)");
    }
    int setEffectMixerGain(audio::audio_mixer_gain_t*) override {
        return called("setEffectMixerGain(audio_mixer_gain_t*)");
    }
    int setEffectMixerGain(audio::audio_mixer_matrix_t*) override {
        return called("setEffectMixerGain(audio_mixer_matrix_t*)");
    }
    int setAlternativeAudioMixerGain(audio::audio_mixer_gain_t*) override {
        return called("setAlternativeAudioMixerGain(audio_mixer_gain_t*)");
    }
    int setAlternativeAudioMixerGain(audio::audio_mixer_matrix_t*) override {
        return called("setAlternativeAudioMixerGain(audio_mixer_matrix_t*)");
    }
    int mixRearAudioWithFrontAudio(bool) override { return called("mixRearAudioWithFrontAudio"); }
    int setHwAlternativeAudioMixerWithMain(audio::audio_ext_channel_idx_e, bool) override {
        return called("setHwAlternativeAudioMixerWithMain");
    }
    int getUpMixMode(unsigned*) override { return called("getUpMixMode"); }

    static constexpr std::size_t DESTRUCTOR = 11;
    static constexpr const char* ORDER[] = {"setUpMixMode",
                                            "mixExtGps",
                                            "setGpsMixerGain(audio_mixer_gain_t*)",
                                            "setGpsMixerGain(audio_mixer_matrix_t*)",
                                            "setEffectMixerGain(audio_mixer_gain_t*)",
                                            "setEffectMixerGain(audio_mixer_matrix_t*)",
                                            "setAlternativeAudioMixerGain(audio_mixer_gain_t*)",
                                            "setAlternativeAudioMixerGain(audio_mixer_matrix_t*)",
                                            "mixRearAudioWithFrontAudio",
                                            "setHwAlternativeAudioMixerWithMain",
                                            "getUpMixMode",
                                            "",
                                            ""};
};

class RecordingRecordControl : public ClientAudioRecordControl {
public:
    ~RecordingRecordControl() override { called("destructor"); }
    int set(const char*, const char*, const audio::effect_param_t&) override {
        return called("set");
    }
    int get(const char*, const char*, audio::effect_param_t&) override { return called("get"); }

    static constexpr std::size_t DESTRUCTOR = 2;
    static constexpr const char* ORDER[] = {"set", "get", "", ""};
};

template <typename Recording>
class ASettingsVirtualTable : public ::testing::Test {};

using EverySetting = ::testing::Types<RecordingVolume, RecordingSource, RecordingApp,
                                      RecordingMixer, RecordingRecordControl>;
TYPED_TEST_SUITE(ASettingsVirtualTable, EverySetting);

TYPED_TEST(ASettingsVirtualTable, HasTheOperationsInTheirSlots) {
    TypeParam setting;
    for (std::size_t i = 0; i < std::size(TypeParam::ORDER); ++i) {
        const std::string expected = TypeParam::ORDER[i];
        if (expected.empty()) continue;  // a destructor
        slot<Plain>(&setting, i)(&setting);
        EXPECT_EQ(gCalled, expected) << "slot " << i;
    }
}

TYPED_TEST(ASettingsVirtualTable, HasItsDestructorsSideBySide) {
    expectDestructorsSideBySide<TypeParam>();
}

// The interfaces are the only base, at the beginning: one pointer serves all of them.
static_assert(sizeof(RecordingVolume) == sizeof(ClientVolumeSetting));
static_assert(sizeof(RecordingSource) == sizeof(ClientSourceSetting));

TEST(AnInterfaceOfTheSettings, LiesWhereItsClientLies) {
    ClientVolumeSetting volume;
    ClientSourceSetting source;
    ClientAppSetting app;
    ClientMixerSetting mixer;
    ClientAudioRecordControl record;
    EXPECT_EQ(static_cast<void*>(static_cast<audio::QVAudioSetting::Volume*>(&volume)), &volume);
    EXPECT_EQ(static_cast<void*>(static_cast<audio::QVAudioSetting::Source*>(&source)), &source);
    EXPECT_EQ(static_cast<void*>(static_cast<AudioSourceSetting*>(&source)), &source);
    EXPECT_EQ(static_cast<void*>(static_cast<audio::QVAudioSetting::App*>(&app)), &app);
    EXPECT_EQ(static_cast<void*>(static_cast<audio::QVAudioSetting::Mixer*>(&mixer)), &mixer);
    EXPECT_EQ(
        static_cast<void*>(static_cast<audio::QVAudioRecordControl::AudioRecordControl*>(&record)),
        &record);
}

// The library's own tables, not ones that this test compiled: operations that say their name
// without a server, because they have no effect or refuse what they are given. All arguments are
// null pointers; no operation with a floating-point argument is among them.

struct Place {
    std::size_t slot;
    const char* operation;
    const char* line;  // empty: that of an operation without effect
    int result = 0;
};

constexpr int REFUSED = -3000;

using WithPointers = int(void*, void*, void*, void*, void*);

void expectLines(void* object, const char* file, const std::vector<Place>& places) {
    for (const Place& place : places) {
        const std::string line = *place.line != '\0' ? place.line
                                                     : std::string("Deprecated API[") +
                                                           place.operation + "] is called. ";
        const int priority = *place.line != '\0' ? 6 : 5;
        LogCapture log;
        EXPECT_EQ(
            (slot<WithPointers>(object, place.slot)(object, nullptr, nullptr, nullptr, nullptr)),
            place.result)
            << "slot " << place.slot;
        EXPECT_EQ(log.count(priority, file, place.operation, line + "\n"), 1U)
            << "slot " << place.slot << "\n"
            << log.dump();
    }
}

TEST(TheVolumesOfTheLibrary, AnswerCallsBySlot) {
    const char* const INVALID = "invalid input param";
    const char* const NO_TAG = "Invalid param, tag=NULL.";
    ClientVolumeSetting volume;
    expectLines(
        &volume, "ClientVolumeSetting",
        {{5, "getMasterVolume", INVALID, REFUSED},
         {6, "getMasterVolume", INVALID, REFUSED},
         {7, "setChannelGain", INVALID, REFUSED},
         {9, "getChannelGain", INVALID, REFUSED},
         {10, "getChannelGain", INVALID, REFUSED},
         {11, "setTrackVolume", INVALID, REFUSED},
         {13, "getTrackVolume", INVALID, REFUSED},
         {14, "getTrackVolume", INVALID, REFUSED},
         {16, "getSourceLevel", ""},
         {17, "mute", NO_TAG, REFUSED},
         {18, "demute", NO_TAG, REFUSED},
         {19, "setFadeBalance", "Invalid param, stepMax=0, balance=0, fade=0.", REFUSED},
         {29, "getSecondAudioVolume", INVALID, REFUSED},
         {30, "getSecondAudioVolume", INVALID, REFUSED},
         {33, "getAlterAudioVolume", INVALID, REFUSED},
         {34, "getAlterAudioVolume", INVALID, REFUSED},
         {35, "getUpLinkGain", INVALID, REFUSED},
         {36, "getMuteState", NO_TAG, REFUSED},
         {37, "setVolumeByStreamType", "Invalid input param(volume:0, streamtype:NULL)", REFUSED},
         {38, "getVolumeByStreamType", "Invalid input param(streamtype:NULL)", REFUSED},
         {44, "getGainByStreamType", "Invalid input param(streamtype:NULL)", REFUSED},
         {47, "setTrackChannelGain",
          "input tag is bad param, only support 'auxiliary', input tag:NULL ", REFUSED}});
}

TEST(TheSourcesOfTheLibrary, AnswerCallsBySlot) {
    const char* const BAD_NAME = "bad source name";
    ClientSourceSetting source;
    expectLines(&source, "ClientSourceSetting",
                {{0, "setOutPutSource", BAD_NAME, REFUSED},
                 {2, "getActiveTracksName", "tag is NULL", REFUSED},
                 {3, "getTrackStreamType", "tag is NULL", REFUSED},
                 {4, "setInputDestination", BAD_NAME, REFUSED},
                 {6, "dumpOutPutSourceList", BAD_NAME, REFUSED},
                 {7, "dumpInputDestinationList", BAD_NAME, REFUSED},
                 {9, "getAdcMuxPin", "pin is null", REFUSED},  // by way of slot 39
                 {10, "setExtAdcEnable", ""},
                 {11, "setDacOutPutMapping", "tbl is null", REFUSED},
                 {12, "getDacOutPutMapping", "tbl is null", REFUSED},
                 {13, "setI2sOutPutMapping", "tbl is null", REFUSED},
                 {14, "getI2sOutPutMapping", "tbl is null", REFUSED},
                 {17, "setMainAudioSpeakerTestPattern", " invalid frequency(0)", REFUSED},
                 {18, "configurePcmHwInterface", "cfg is null", REFUSED},
                 {21, "getActivedSourceNumber", BAD_NAME, REFUSED},
                 {24, "setAdcPrcMode", ""},
                 {25, "setI2sFormatAndConfig", "dcp is null", REFUSED},
                 {26, "setAdcPinIntoGPIO", ""},
                 {28, "getHWSignalEnergy", "energy is null", REFUSED},
                 {29, "setAlterLatency", ""},
                 {39, "getAdcMuxPin", "pin is null", REFUSED},
                 {40, "getOutputTrackInfo", "input param error", REFUSED}});
}

TEST(TheSourcesOfTheLibrary, AnswerAskedForNamesBySlot) {
    using Getter = const char*(void*, const char*);
    ClientSourceSetting source;
    LogCapture log;
    EXPECT_EQ(slot<Getter>(&source, 1)(&source, nullptr), nullptr);
    EXPECT_EQ(log.count(6, "ClientSourceSetting", "getOutPutSource", "bad source name\n"), 1U);
    EXPECT_EQ(slot<Getter>(&source, 5)(&source, "main"), nullptr);
    EXPECT_EQ(log.count(6, "ClientSourceSetting", "getInputDestination",
                        "input source tag only support:uplink\n"),
              1U)
        << log.dump();
}

TEST(TheEffectsOfTheLibrary, AnswerCallsBySlot) {
    const char* const INVALID = "invalid input param";
    const char* const NULL_RECORD = "Invalid params, param=0.";
    ClientAppSetting app;
    expectLines(&app, "ClientAppSetting",
                {{0, "setFilter", ""},
                 {1, "getFilter", ""},
                 {2, "setBassTreble", ""},
                 {3, "getBassTreble", ""},
                 {4, "setLoudness", ""},
                 {5, "setLoudness", ""},
                 {6, "getLoudness", ""},
                 {7, "setEqualizer", ""},
                 {8, "getEqualizer", ""},
                 {9, "getEqualizerQValueTable", ""},
                 {10, "getEqualizerCfTable", ""},
                 {11, "getEqualizerSpectrum", NULL_RECORD, REFUSED},
                 {12, "enableDps", ""},
                 {13, "disableDps", ""},
                 {14, "setDpsProfile", ""},
                 {15, "enableDpsStereoCtrl", ""},
                 {16, "disableDpsStereoCtrl", ""},
                 {18, "getDpsUserGain", ""},
                 {19, "setDpsUserEq", ""},
                 {20, "getDpsUserEq", ""},
                 {21, "setQualityOfSound", ""},
                 {22, "getQualityOfSound", ""},
                 {24, "getSpeakerDelay", INVALID, REFUSED},
                 {26, "getQualityOfAEC", INVALID, REFUSED},
                 {27, "setUplinkConfig", ""},
                 {28, "setEqualizerType", ""},
                 {31, "setEqualizer", NULL_RECORD, REFUSED},
                 {32, "getEqualizer", NULL_RECORD, REFUSED},
                 {35, "setSurround", ""},
                 {40, "setNLPConfig", INVALID, REFUSED},
                 {41, "getNLPConfig", INVALID, REFUSED},
                 {42, "setHandsfreeEQ", INVALID, REFUSED},
                 {43, "getHandsfreeEQ", INVALID, REFUSED},
                 {44, "setDACGainControl", INVALID, REFUSED},
                 {45, "setDACSampleRateCtrl", ""},
                 {46, "getOutPutDataEnergy", INVALID, REFUSED}});
}

TEST(TheMixerOfTheLibrary, AnswersCallsBySlot) {
    const char* const INVALID = "invalid input param";
    ClientMixerSetting mixer;
    expectLines(&mixer, "ClientMixerSetting",
                {{2, "setGpsMixerGain", INVALID, REFUSED},
                 {3, "setGpsMixerGain", INVALID, REFUSED},
                 {4, "setEffectMixerGain", ""},
                 {5, "setEffectMixerGain", ""},
                 {6, "setAlternativeAudioMixerGain", INVALID, REFUSED},
                 {7, "setAlternativeAudioMixerGain", INVALID, REFUSED},
                 {8, "mixRearAudioWithFrontAudio", ""}});
}

TEST(TheCaptureEffectsOfTheLibrary, AnswerCallsBySlot) {
    const char* const INVALID = "invalid input param";
    ClientAudioRecordControl record;
    expectLines(&record, "ClientRecordControl",
                {{0, "set", INVALID, REFUSED}, {1, "get", INVALID, REFUSED}});
}

}  // namespace
