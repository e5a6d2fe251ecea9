// SPDX-License-Identifier: Apache-2.0
//
// Programs built with other compilers call the operations of the settings by their slots.
#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>

#include "tests/abi/Slots.h"
#include "tests/support/Logged.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

/// The operations of a settings client by their slots, and the slot of its first destructor.
template <typename Setting>
struct Table;

template <>
struct Table<ClientVolumeSetting> {
    static constexpr std::size_t DESTRUCTORS = 50;
    static std::vector<Operation> operations() {
        using namespace audio;
        using V = ClientVolumeSetting;
        return {
            operation<0, int (V::*)(unsigned), &V::setMainAudioDunkingMode>(),
            operation<1, int (V::*)(unsigned char), &V::setMainAudioDunkingTargetGain>(),
            operation<2, int (V::*)(float), &V::setMainAudioDunkingTargetGain>(),
            operation<3, int (V::*)(unsigned char), &V::setMasterVolume>(),
            operation<4, int (V::*)(float), &V::setMasterVolume>(),
            operation<5, int (V::*)(unsigned char*), &V::getMasterVolume>(),
            operation<6, int (V::*)(float*), &V::getMasterVolume>(),
            operation<7, int (V::*)(audio_channel_gain_t*), &V::setChannelGain>(),
            operation<8, int (V::*)(audio_channel_idx_e, float), &V::setChannelGain>(),
            operation<9, int (V::*)(audio_channel_gain_t*), &V::getChannelGain>(),
            operation<10, int (V::*)(audio_channel_idx_e, float*), &V::getChannelGain>(),
            operation<11, int (V::*)(const char*, const char*, unsigned char),
                      &V::setTrackVolume>(),
            operation<12, int (V::*)(const char*, const char*, float), &V::setTrackVolume>(),
            operation<13, int (V::*)(const char*, const char*, unsigned char*),
                      &V::getTrackVolume>(),
            operation<14, int (V::*)(const char*, const char*, float*), &V::getTrackVolume>(),
            operation<15, int (V::*)(const char*, const char*, float), &V::setSourceLevel>(),
            operation<16, int (V::*)(const char*, const char*, float*), &V::getSourceLevel>(),
            operation<17, int (V::*)(const char*, bool), &V::mute>(),
            operation<18, int (V::*)(const char*, bool), &V::demute>(),
            operation<19, int (V::*)(int, int, unsigned), &V::setFadeBalance>(),
            operation<20, int (V::*)(float), &V::setUpLinkGain>(),
            operation<21, int (V::*)(audio_input_mux_id_e, float, float), &V::setAdcPgaGain>(),
            operation<22, int (V::*)(audio_input_mux_id_e, float*, float*), &V::getAdcPgaGain>(),
            operation<23, int (V::*)(audio_input_mux_id_e, float, float), &V::setAdcOpGain>(),
            operation<24, int (V::*)(audio_input_mux_id_e, float*, float*), &V::getAdcOpGain>(),
            operation<25, int (V::*)(float, float), &V::setMicAnalogGain>(),
            operation<26, int (V::*)(float*, float*), &V::getMicAnalogGain>(),
            operation<27, int (V::*)(unsigned char), &V::setSecondAudioVolume>(),
            operation<28, int (V::*)(float), &V::setSecondAudioVolume>(),
            operation<29, int (V::*)(unsigned char*), &V::getSecondAudioVolume>(),
            operation<30, int (V::*)(float*), &V::getSecondAudioVolume>(),
            operation<31, int (V::*)(unsigned char), &V::setAlterAudioVolume>(),
            operation<32, int (V::*)(float), &V::setAlterAudioVolume>(),
            operation<33, int (V::*)(unsigned char*), &V::getAlterAudioVolume>(),
            operation<34, int (V::*)(float*), &V::getAlterAudioVolume>(),
            operation<35, int (V::*)(float*), &V::getUpLinkGain>(),
            operation<36, int (V::*)(const char*, bool&), &V::getMuteState>(),
            operation<37, int (V::*)(const char*, unsigned char), &V::setVolumeByStreamType>(),
            operation<38, int (V::*)(const char*, unsigned char&), &V::getVolumeByStreamType>(),
            operation<39, int (V::*)(std::vector<std::string>&), &V::getStreamTypeList>(),
            operation<40, int (V::*)(int), &V::duck>(),
            operation<41, int (V::*)(), &V::unduck>(),
            operation<42, int (V::*)(unsigned, bool), &V::setMute>(),
            operation<43, int (V::*)(const char*, float), &V::setGainByStreamType>(),
            operation<44, int (V::*)(const char*, float&), &V::getGainByStreamType>(),
            operation<45, int (V::*)(), &V::startMicGainCalibration>(),
            operation<46, int (V::*)(int&, float&), &V::getMicGainCalibrationResult>(),
            operation<47, int (V::*)(const char*, const char*, float*), &V::setTrackChannelGain>(),
            operation<48, int (V::*)(float, float), &V::setMasterVolumeRampDuration>(),
            operation<49, int (V::*)(float&, float&), &V::getMasterVolumeRampDuration>(),
        };
    }
};

template <>
struct Table<ClientSourceSetting> {
    static constexpr std::size_t DESTRUCTORS = 33;
    static std::vector<Operation> operations() {
        using namespace audio;
        using S = ClientSourceSetting;
        return {
            operation<0, int (S::*)(const char*, const char*), &S::setOutPutSource>(),
            operation<1, const char* (S::*)(const char*), &S::getOutPutSource>(),
            operation<2, int (S::*)(const char*, std::vector<std::string>&),
                      &S::getActiveTracksName>(),
            operation<3, int (S::*)(const char*, const char*, std::string&),
                      &S::getTrackStreamType>(),
            operation<4, int (S::*)(const char*, const char*), &S::setInputDestination>(),
            operation<5, const char* (S::*)(const char*), &S::getInputDestination>(),
            operation<6, int (S::*)(const char*), &S::dumpOutPutSourceList>(),
            operation<7, int (S::*)(const char*), &S::dumpInputDestinationList>(),
            operation<8,
                      int (AudioSourceSetting::*)(audio_input_mux_id_e, audio_input_select_pin_e),
                      &S::setInputMuxPin>(),
            operation<9,
                      int (AudioSourceSetting::*)(audio_input_mux_id_e, audio_input_select_pin_e*),
                      &S::getInputMuxPin>(),
            operation<10, int (S::*)(audio_input_mux_id_e, char), &S::setExtAdcEnable>(),
            operation<11, int (S::*)(audio_dac_output_mapping_tbl_t*), &S::setDacOutPutMapping>(),
            operation<12, int (S::*)(audio_dac_output_mapping_tbl_t*), &S::getDacOutPutMapping>(),
            operation<13, int (S::*)(audio_i2s_output_mapping_tbl_t*), &S::setI2sOutPutMapping>(),
            operation<14, int (S::*)(audio_i2s_output_mapping_tbl_t*), &S::getI2sOutPutMapping>(),
            operation<15, int (S::*)(bool), &S::setAdcLeftRightSwitch>(),
            operation<16, int (S::*)(audio_channel_idx_e, audio_speaker_test_pattern_e),
                      &S::setMainAudioSpeakerTestPattern>(),
            operation<17, int (S::*)(audio_channel_idx_e, int),
                      &S::setMainAudioSpeakerTestPattern>(),
            operation<18, int (S::*)(audio_pcm_hw_intf_cfg_t*), &S::configurePcmHwInterface>(),
            operation<19, int (S::*)(bool), &S::enablePcmHwInterface>(),
            operation<20, int (S::*)(audio_channel_idx_e), &S::setSpeakerOutPut>(),
            operation<21, int (S::*)(const char*), &S::getActivedSourceNumber>(),
            operation<22, int (S::*)(int), &S::setHandsfreeDelay>(),
            operation<23, int (S::*)(audio_samplerate_capability_e), &S::setSamplerateCapability>(),
            operation<24, int (S::*)(bool), &S::setAdcPrcMode>(),
            operation<25, int (S::*)(audio_i2s_select_param_e, audio_i2s_format_parameter_t*),
                      &S::setI2sFormatAndConfig>(),
            operation<26, int (S::*)(bool), &S::setAdcPinIntoGPIO>(),
            operation<
                27, int (S::*)(audio_output_src_tag_e, std::vector<audio_output_src_parameter_t>&),
                &S::getOutPutTrackInfoList>(),
            operation<28, int (S::*)(audio_hw_type_e, unsigned*), &S::getHWSignalEnergy>(),
            operation<29, int (S::*)(int), &S::setAlterLatency>(),
            operation<30, int (S::*)(bool), &S::setHwAutoRampMode>(),
            operation<31, int (S::*)(audio_channel_idx_e*), &S::getSpeakerOutPut>(),
            operation<32, int (S::*)(std::vector<audio_track_info_t>&), &S::getActiveTracksInfo>(),
            operation<35, int (S::*)(audio_seat_id_e, audio_source_id_e), &S::selectSource>(),
            operation<36, int (S::*)(audio_seat_state_e), &S::setFrontAudioState>(),
            operation<37, int (S::*)(audio_seat_state_e), &S::setRearAudioState>(),
            operation<38, int (S::*)(audio_input_mux_id_e, audio_input_select_pin_e),
                      &S::setAdcMuxPin>(),
            operation<39, int (S::*)(audio_input_mux_id_e, audio_input_select_pin_e*),
                      &S::getAdcMuxPin>(),
            operation<40, int (S::*)(audio_output_src_tag_e, audio_output_src_parameter_t*, int*),
                      &S::getOutputTrackInfo>(),
        };
    }
};

template <>
struct Table<ClientAppSetting> {
    static constexpr std::size_t DESTRUCTORS = 52;
    static std::vector<Operation> operations() {
        using namespace audio;
        using A = ClientAppSetting;
        return {
            operation<0, int (A::*)(audio_filter_parameter_t*), &A::setFilter>(),
            operation<1, int (A::*)(audio_filter_parameter_t*), &A::getFilter>(),
            operation<2, int (A::*)(audio_bt_parameter_t*), &A::setBassTreble>(),
            operation<3, int (A::*)(audio_bt_parameter_t*), &A::getBassTreble>(),
            operation<4, int (A::*)(audio_loudness_parameter_t*), &A::setLoudness>(),
            operation<5, int (A::*)(audio_ext_loudness_parameter_t*), &A::setLoudness>(),
            operation<6, int (A::*)(audio_loudness_parameter_t*), &A::getLoudness>(),
            operation<7, int (A::*)(audio_eq_parameter_t*), &A::setEqualizer>(),
            operation<8, int (A::*)(audio_eq_parameter_t*), &A::getEqualizer>(),
            operation<9, int (A::*)(audio_eq_qvalue_table_t*), &A::getEqualizerQValueTable>(),
            operation<10, int (A::*)(audio_eq_cf_table_t*), &A::getEqualizerCfTable>(),
            operation<11, int (A::*)(audio_eq_spectrum_t*), &A::getEqualizerSpectrum>(),
            operation<12, int (A::*)(), &A::enableDps>(),
            operation<13, int (A::*)(), &A::disableDps>(),
            operation<14, int (A::*)(audio_dps_profile_id_e), &A::setDpsProfile>(),
            operation<15, int (A::*)(), &A::enableDpsStereoCtrl>(),
            operation<16, int (A::*)(), &A::disableDpsStereoCtrl>(),
            operation<17, int (A::*)(float), &A::setDpsUserGain>(),
            operation<18, int (A::*)(float*), &A::getDpsUserGain>(),
            operation<19, int (A::*)(audio_dps_user_eq_parameter_t*), &A::setDpsUserEq>(),
            operation<20, int (A::*)(audio_dps_user_eq_parameter_t*), &A::getDpsUserEq>(),
            operation<21, int (A::*)(audio_sound_quality_t*), &A::setQualityOfSound>(),
            operation<22, int (A::*)(audio_sound_quality_t*), &A::getQualityOfSound>(),
            operation<23, int (A::*)(audio_channel_idx_e, float), &A::setSpeakerDelay>(),
            operation<24, int (A::*)(audio_channel_idx_e, float*), &A::getSpeakerDelay>(),
            operation<25, int (A::*)(audio_aec_quality_e), &A::setQualityOfAEC>(),
            operation<26, int (A::*)(audio_aec_quality_e*), &A::getQualityOfAEC>(),
            operation<27, int (A::*)(audio_uplink_config_t*), &A::setUplinkConfig>(),
            operation<28, int (A::*)(audio_eq_type), &A::setEqualizerType>(),
            operation<29, int (A::*)(), &A::enableByPassMode>(),
            operation<30, int (A::*)(), &A::disableByPassMode>(),
            operation<31, int (A::*)(audio_ext_eq_parameter_t*), &A::setEqualizer>(),
            operation<32, int (A::*)(audio_ext_eq_parameter_t*), &A::getEqualizer>(),
            operation<33, int (A::*)(), &A::setDownlinkDelayEstimation>(),
            operation<34, int (A::*)(short*), &A::getDownlinkDelayEstimation>(),
            operation<35, int (A::*)(bool), &A::setSurround>(),
            operation<36, int (A::*)(int), &A::setDuplexOfAEC>(),
            operation<37, int (A::*)(int*), &A::getDuplexOfAEC>(),
            operation<38, int (A::*)(int), &A::setNRAttenuation>(),
            operation<39, int (A::*)(int*), &A::getNRAttenuation>(),
            operation<40, int (A::*)(audio_nlp_config_t*), &A::setNLPConfig>(),
            operation<41, int (A::*)(audio_nlp_config_t*), &A::getNLPConfig>(),
            operation<42, int (A::*)(audio_handsfree_eq_t*), &A::setHandsfreeEQ>(),
            operation<43, int (A::*)(audio_handsfree_eq_t*), &A::getHandsfreeEQ>(),
            operation<44, int (A::*)(audio_dacgain_ctrl_t*), &A::setDACGainControl>(),
            operation<45, int (A::*)(audio_int_dac_sample_rate_e), &A::setDACSampleRateCtrl>(),
            operation<46, int (A::*)(audio_out_data_energy_t*), &A::getOutPutDataEnergy>(),
            operation<47, int (A::*)(audio_reverb_mode_e), &A::setReverbMode>(),
            operation<48, int (A::*)(const char*, const char*, bool), &A::setEffectEnabled>(),
            operation<49, int (A::*)(const char*, const char*, bool&), &A::getEffectEnabled>(),
            operation<50, int (A::*)(const char*, const char*, const effect_param_t&),
                      &A::setEffectParameter>(),
            operation<51, int (A::*)(const char*, const char*, effect_param_t&),
                      &A::getEffectParameter>(),
        };
    }
};

template <>
struct Table<ClientMixerSetting> {
    static constexpr std::size_t DESTRUCTORS = 11;
    static std::vector<Operation> operations() {
        using namespace audio;
        using M = ClientMixerSetting;
        return {
            operation<0, int (M::*)(unsigned), &M::setUpMixMode>(),
            operation<1, int (M::*)(unsigned), &M::mixExtGps>(),
            operation<2, int (M::*)(audio_mixer_gain_t*), &M::setGpsMixerGain>(),
            operation<3, int (M::*)(audio_mixer_matrix_t*), &M::setGpsMixerGain>(),
            operation<4, int (M::*)(audio_mixer_gain_t*), &M::setEffectMixerGain>(),
            operation<5, int (M::*)(audio_mixer_matrix_t*), &M::setEffectMixerGain>(),
            operation<6, int (M::*)(audio_mixer_gain_t*), &M::setAlternativeAudioMixerGain>(),
            operation<7, int (M::*)(audio_mixer_matrix_t*), &M::setAlternativeAudioMixerGain>(),
            operation<8, int (M::*)(bool), &M::mixRearAudioWithFrontAudio>(),
            operation<9, int (M::*)(audio_ext_channel_idx_e, bool),
                      &M::setHwAlternativeAudioMixerWithMain>(),
            operation<10, int (M::*)(unsigned*), &M::getUpMixMode>(),
        };
    }
};

template <>
struct Table<ClientAudioRecordControl> {
    static constexpr std::size_t DESTRUCTORS = 2;
    static std::vector<Operation> operations() {
        using namespace audio;
        using R = ClientAudioRecordControl;
        return {
            operation<0, int (R::*)(const char*, const char*, const effect_param_t&), &R::set>(),
            operation<1, int (R::*)(const char*, const char*, effect_param_t&), &R::get>(),
        };
    }
};

template <typename Setting>
class SettingTable : public ::testing::Test {};

using EverySetting = ::testing::Types<ClientVolumeSetting, ClientSourceSetting, ClientAppSetting,
                                      ClientMixerSetting, ClientAudioRecordControl>;
TYPED_TEST_SUITE(SettingTable, EverySetting);

TYPED_TEST(SettingTable, HasEachOperationInItsSlot) {
    expectSlots(Table<TypeParam>::operations(), Table<TypeParam>::DESTRUCTORS);
}

TYPED_TEST(SettingTable, HasItsDestructorsSideBySide) {
    expectSlots(Table<TypeParam>::operations(), Table<TypeParam>::DESTRUCTORS);
    if (this->HasFailure()) return;
    expectDestructorsSideBySide<TypeParam>(Table<TypeParam>::DESTRUCTORS);
}

// The interfaces are the only base, at the beginning: one pointer serves all of them.
static_assert(sizeof(Recording<ClientVolumeSetting>) == sizeof(ClientVolumeSetting));
static_assert(sizeof(Recording<ClientSourceSetting>) == sizeof(ClientSourceSetting));

TEST(SettingInterface, LiesAtTheAddressOfItsClient) {
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

// The tables of the library itself, not of this test's compiler: operations that log their name
// without a server, because they have no effect or refuse their arguments. All arguments are null
// pointers; no operation here takes a floating-point argument.

struct Place {
    std::size_t slot;
    const char* operation;
    const char* line;  // empty: the line of an operation without effect
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
        EXPECT_TRUE(logged(log, priority, file, place.operation, line + "\n"))
            << "slot " << place.slot;
    }
}

TEST(VolumeSettingInTheLibrary, AnswersCallsBySlot) {
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

TEST(SourceSettingInTheLibrary, AnswersCallsBySlot) {
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

TEST(SourceSettingInTheLibrary, AnswersNameGettersBySlot) {
    using Getter = const char*(void*, const char*);
    ClientSourceSetting source;
    LogCapture log;
    EXPECT_EQ(slot<Getter>(&source, 1)(&source, nullptr), nullptr);
    EXPECT_TRUE(logged(log, ERROR, "ClientSourceSetting", "getOutPutSource", "bad source name\n"));
    EXPECT_EQ(slot<Getter>(&source, 5)(&source, "main"), nullptr);
    EXPECT_TRUE(logged(log, ERROR, "ClientSourceSetting", "getInputDestination",
                       "input source tag only support:uplink\n"));
}

TEST(AppSettingInTheLibrary, AnswersCallsBySlot) {
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

TEST(MixerSettingInTheLibrary, AnswersCallsBySlot) {
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

TEST(RecordControlInTheLibrary, AnswersCallsBySlot) {
    const char* const INVALID = "invalid input param";
    ClientAudioRecordControl record;
    expectLines(&record, "ClientRecordControl",
                {{0, "set", INVALID, REFUSED}, {1, "get", INVALID, REFUSED}});
}

}  // namespace
}  // namespace cabinaudio::test
