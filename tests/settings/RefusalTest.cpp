// SPDX-License-Identifier: Apache-2.0
//
// Arguments that operations refuse: one log line with the reason, a result, and no request. The
// ranges of gains are in RangeTest.cpp.
#include "tests/settings/SilentClient.h"

#include <gtest/gtest.h>

namespace cabinaudio::test {
namespace {

using U8 = unsigned char;
using Mux = audio::audio_input_mux_id_e;
using Channel = audio::audio_channel_idx_e;

constexpr int LOWEST = -2147483647 - 1;
const std::string TOO_LONG(64, 'f');

// ---- Volumes ------------------------------------------------------------------------------------

class VolumeSetting : public SilentClient<ClientVolumeSetting> {
protected:
    VolumeSetting() : SilentClient("ClientVolumeSetting") {}

    audio::QVAudioSetting::Volume& volume = client;
    U8* const noStep = nullptr;
    float* const noGain = nullptr;
};

TEST_F(VolumeSetting, RefusesBadOutputVolumes) {
    expectInvalid("setMainAudioDunkingTargetGain", volume.setMainAudioDunkingTargetGain(U8{101}));
    expectInvalid("setMainAudioDunkingTargetGain", volume.setMainAudioDunkingTargetGain(U8{255}));
    expectInvalid("setMasterVolume", volume.setMasterVolume(U8{149}));
    expectInvalid("setMasterVolume", volume.setMasterVolume(U8{255}));
    expectInvalid("getMasterVolume", volume.getMasterVolume(noStep));
    expectInvalid("getMasterVolume", volume.getMasterVolume(noGain));
    expectInvalid("setSecondAudioVolume", volume.setSecondAudioVolume(U8{149}));
    expectInvalid("getSecondAudioVolume", volume.getSecondAudioVolume(noStep));
    expectInvalid("getSecondAudioVolume", volume.getSecondAudioVolume(noGain));
    expectInvalid("setAlterAudioVolume", volume.setAlterAudioVolume(U8{149}));
    expectInvalid("getAlterAudioVolume", volume.getAlterAudioVolume(noStep));
    expectInvalid("getAlterAudioVolume", volume.getAlterAudioVolume(noGain));
    expectInvalid("getUpLinkGain", volume.getUpLinkGain(nullptr));
}

TEST_F(VolumeSetting, RefusesBadChannelGains) {
    audio::audio_channel_gain_t over{1, 149, {}};
    audio::audio_channel_gain_t none{65535, 5, {}};
    expectInvalid("setChannelGain", volume.setChannelGain(nullptr));
    expectInvalid("setChannelGain", volume.setChannelGain(&over));
    expectInvalid("getChannelGain", volume.getChannelGain(nullptr));
    expectInvalid("getChannelGain", volume.getChannelGain(&none));
    expectInvalid("getChannelGain", volume.getChannelGain(Channel{1}, nullptr));
}

TEST_F(VolumeSetting, RefusesBadDuckingPercents) {
    const std::string range = "), the legal percent range is [0, 100]\n";
    for (const int percent : {-1, 101, LOWEST})
        expectRefused("duck", "Invalid input param(percent:" + std::to_string(percent) + range,
                      volume.duck(percent));
}

TEST_F(VolumeSetting, RefusesUnknownTagsOfMutes) {
    expectRefused("mute", "Invalid param, tag=NULL.\n", volume.mute(nullptr, true));
    expectRefused("mute", "Invalid param, tag=Main.\n", volume.mute("Main", true));
    expectRefused("mute", "Invalid param, tag=.\n", volume.mute("", true));
    expectRefused("demute", "Invalid param, tag=NULL.\n", volume.demute(nullptr, true));
    expectRefused("demute", "Invalid param, tag=main .\n", volume.demute("main ", true));
    bool muted = true;
    expectRefused("getMuteState", "Invalid param, tag=NULL.\n",
                  volume.getMuteState(nullptr, muted));
    expectRefused("getMuteState", "Invalid param, tag=" + TOO_LONG + ".\n",
                  volume.getMuteState(TOO_LONG.c_str(), muted));
    EXPECT_TRUE(muted);
}

TEST_F(VolumeSetting, RefusesBadTrackVolumes) {
    struct Names {
        const char* tag;
        const char* name;
    };
    // "second" has no tracks. Texts of 64 bytes or more do not fit their fields.
    for (const auto& [tag, name] :
         {Names{nullptr, "radio"}, Names{"main", nullptr}, Names{"second", "radio"},
          Names{"Main", "radio"}, Names{"", "radio"}, Names{"main", TOO_LONG.c_str()},
          Names{TOO_LONG.c_str(), "radio"}}) {
        SCOPED_TRACE(testing::Message() << "tag " << tag << ", name " << name);
        U8 step = 5;
        float gain = 5;
        expectInvalid("setTrackVolume", volume.setTrackVolume(tag, name, U8{1}));
        expectInvalid("setTrackVolume", volume.setTrackVolume(tag, name, 1.0F));
        expectInvalid("getTrackVolume", volume.getTrackVolume(tag, name, &step));
        expectInvalid("getTrackVolume", volume.getTrackVolume(tag, name, &gain));
        EXPECT_EQ(step, 5);
        EXPECT_EQ(gain, 5.0F);
    }
    expectInvalid("setTrackVolume", volume.setTrackVolume("main", "radio", U8{149}));
    expectInvalid("getTrackVolume", volume.getTrackVolume("main", "radio", noStep));
    expectInvalid("getTrackVolume", volume.getTrackVolume("main", "radio", noGain));
}

TEST_F(VolumeSetting, RefusesBadTrackChannels) {
    const std::string only = "input tag is bad param, only support 'auxiliary', input tag:";
    float gains[8] = {};
    expectRefused("setTrackChannelGain", only + "NULL \n",
                  volume.setTrackChannelGain(nullptr, "radio", gains));
    expectRefused("setTrackChannelGain", only + "main \n",
                  volume.setTrackChannelGain("main", "radio", gains));
    expectRefused("setTrackChannelGain", only + "main \n",
                  volume.setTrackChannelGain("main", nullptr, nullptr));
    expectInvalid("setTrackChannelGain", volume.setTrackChannelGain("auxiliary", nullptr, gains));
    expectInvalid("setTrackChannelGain", volume.setTrackChannelGain("auxiliary", "radio", nullptr));
}

TEST_F(VolumeSetting, RefusesBadStreamTypes) {
    U8 step = 5;
    float gain = 5;
    expectRefused("setVolumeByStreamType", "Invalid input param(volume:149, streamtype:music)\n",
                  volume.setVolumeByStreamType("music", U8{149}));
    expectRefused("setVolumeByStreamType", "Invalid input param(volume:7, streamtype:NULL)\n",
                  volume.setVolumeByStreamType(nullptr, U8{7}));
    expectRefused("getVolumeByStreamType", "Invalid input param(streamtype:NULL)\n",
                  volume.getVolumeByStreamType(nullptr, step));
    expectRefused("setGainByStreamType", "Invalid input param(gain:24.500000, streamtype:music)\n",
                  volume.setGainByStreamType("music", 24.5F));
    expectRefused("setGainByStreamType", "Invalid input param(gain:1.000000, streamtype:NULL)\n",
                  volume.setGainByStreamType(nullptr, 1.0F));
    expectRefused("getGainByStreamType", "Invalid input param(streamtype:NULL)\n",
                  volume.getGainByStreamType(nullptr, gain));
    EXPECT_EQ(step, 5);
    EXPECT_EQ(gain, 5.0F);
}

TEST_F(VolumeSetting, RefusesUnknownConverters) {
    expectRefused("setAdcPgaGain", "invalid input param, id=2.\n",
                  volume.setAdcPgaGain(Mux{2}, 1, 2));
    expectRefused("getAdcPgaGain", "invalid input param, id=2.\n",
                  volume.getAdcPgaGain(Mux{2}, nullptr, nullptr));
    expectRefused("setAdcOpGain", "invalid input param, id=-1.\n",
                  volume.setAdcOpGain(Mux{0xffffffff}, 1, 2));
    expectRefused("getAdcOpGain", "invalid input param, id=3.\n",
                  volume.getAdcOpGain(Mux{3}, nullptr, nullptr));
}

// ---- Sources ------------------------------------------------------------------------------------

class SourceSetting : public SilentClient<ClientSourceSetting> {
protected:
    SourceSetting() : SilentClient("ClientSourceSetting") {}

    /// For an operation that returns a text, which is null after a refusal.
    void expectNoName(const char* operation, const std::string& message, const char* name,
                      int line = __builtin_LINE()) {
        expectRefused(operation, message, name == nullptr ? 0 : 1, 0, line);
    }

    audio::QVAudioSetting::Source& source = client;
};

TEST_F(SourceSetting, RefusesBadSourceNames) {
    const char* const message = "bad source name\n";
    for (const char* const bad : {static_cast<const char*>(nullptr), TOO_LONG.c_str()}) {
        expectRefused("setOutPutSource", message, source.setOutPutSource(bad, "main"));
        expectRefused("setOutPutSource", message, source.setOutPutSource("radio", bad));
        expectRefused("setInputDestination", message, source.setInputDestination(bad, "phone"));
        expectRefused("setInputDestination", message, source.setInputDestination("uplink", bad));
        expectNoName("getOutPutSource", message, source.getOutPutSource(bad));
        expectNoName("getInputDestination", message, source.getInputDestination(bad));
        expectRefused("dumpOutPutSourceList", message, source.dumpOutPutSourceList(bad));
        expectRefused("dumpInputDestinationList", message, source.dumpInputDestinationList(bad));
        expectRefused("getActivedSourceNumber", message, source.getActivedSourceNumber(bad));
    }
    for (const char* const input : {"main", "", "Uplink", "uplink2"})
        expectNoName("getInputDestination", "input source tag only support:uplink\n",
                     source.getInputDestination(input));
}

TEST_F(SourceSetting, RefusesBadTracks) {
    std::vector<std::string> names = {"kept"};
    std::string type = "kept";
    expectRefused("getActiveTracksName", "tag is NULL\n",
                  source.getActiveTracksName(nullptr, names));
    expectRefused("getTrackStreamType", "tag is NULL\n",
                  source.getTrackStreamType(nullptr, "radio", type));
    expectRefused("getTrackStreamType", "name is NULL\n",
                  source.getTrackStreamType("main", nullptr, type));
    expectRefused("getTrackStreamType", "tag is NULL\n",
                  source.getTrackStreamType(nullptr, nullptr, type));
    EXPECT_EQ(names, std::vector<std::string>{"kept"});
    EXPECT_EQ(type, "kept");
}

TEST_F(SourceSetting, RefusesBadOutputs) {
    using Tag = audio::audio_output_src_tag_e;
    using Track = audio::audio_output_src_parameter_t;
    Track records[20];
    int count = 5;
    std::vector<Track> list(3);
    expectRefused("getOutputTrackInfo", "input param error\n",
                  client.getOutputTrackInfo(Tag{1}, nullptr, &count));
    expectRefused("getOutputTrackInfo", "input param error\n",
                  client.getOutputTrackInfo(Tag{4}, nullptr, &count));
    expectRefused("getOutputTrackInfo", "input tag(0x4) error\n",
                  client.getOutputTrackInfo(Tag{4}, records, &count), 0);
    expectRefused("getOutputTrackInfo", "input tag(0xfffffffc) error\n",
                  client.getOutputTrackInfo(Tag{0xfffffffc}, records, nullptr), 0);
    expectRefused("getOutputTrackInfo", "input tag(0x0) error\n",
                  source.getOutPutTrackInfoList(Tag{0}, list), 0);
    EXPECT_EQ(count, 5);
    EXPECT_EQ(list.size(), 3U);
}

TEST_F(SourceSetting, RefusesBadHardware) {
    expectRefused("setDacOutPutMapping", "tbl is null\n", source.setDacOutPutMapping(nullptr));
    expectRefused("getDacOutPutMapping", "tbl is null\n", source.getDacOutPutMapping(nullptr));
    expectRefused("setI2sOutPutMapping", "tbl is null\n", source.setI2sOutPutMapping(nullptr));
    expectRefused("getI2sOutPutMapping", "tbl is null\n", source.getI2sOutPutMapping(nullptr));
    expectRefused("configurePcmHwInterface", "cfg is null\n",
                  source.configurePcmHwInterface(nullptr));
    expectRefused("setI2sFormatAndConfig", "dcp is null\n",
                  source.setI2sFormatAndConfig(audio::audio_i2s_select_param_e{1}, nullptr));
    expectRefused("getHWSignalEnergy", "energy is null\n",
                  source.getHWSignalEnergy(audio::audio_hw_type_e{1}, nullptr));
    expectRefused("getAdcMuxPin", "pin is null\n", client.getAdcMuxPin(Mux{0}, nullptr));
    expectRefused("getAdcMuxPin", "pin is null\n", source.getInputMuxPin(Mux{0}, nullptr));
}

TEST_F(SourceSetting, RefusesNumbersOutsideTheirRange) {
    using Capability = audio::audio_samplerate_capability_e;
    for (const int frequency : {0, 48000, LOWEST})
        expectRefused("setMainAudioSpeakerTestPattern",
                      " invalid frequency(" + std::to_string(frequency) + ")\n",
                      source.setMainAudioSpeakerTestPattern(Channel{1}, frequency));
    expectRefused("setSamplerateCapability", "invalid cap(6)\n",
                  source.setSamplerateCapability(Capability{6}));
    expectRefused("setSamplerateCapability", "invalid cap(-1)\n",
                  source.setSamplerateCapability(Capability{-1}));
    for (int at = 0; at < 6; ++at) {
        SCOPED_TRACE(at);
        audio::audio_dac_output_mapping_tbl_t table{};
        table.entry[at] = 11;
        expectRefused("setDacOutPutMapping", "invalid input parameter\n",
                      source.setDacOutPutMapping(&table));
    }
    for (int at = 0; at < 8; ++at) {
        SCOPED_TRACE(at);
        audio::audio_i2s_output_mapping_tbl_t table{};
        table.entry[at] = 0x7fffffff;
        expectRefused("setI2sOutPutMapping", "invalid input parameter\n",
                      source.setI2sOutPutMapping(&table));
    }
}

// ---- Effects, mixer, capture --------------------------------------------------------------------

class AppSetting : public SilentClient<ClientAppSetting> {
protected:
    AppSetting() : SilentClient("ClientAppSetting") {}

    audio::QVAudioSetting::App& app = client;
};

TEST_F(AppSetting, RefusesNullPointers) {
    const char* const pointer = "Invalid params, param=0.\n";
    audio::audio_ext_eq_parameter_t* const noEqualizer = nullptr;
    expectRefused("getEqualizerSpectrum", pointer, app.getEqualizerSpectrum(nullptr));
    expectRefused("setEqualizer", pointer, app.setEqualizer(noEqualizer));
    expectRefused("getEqualizer", pointer, app.getEqualizer(noEqualizer));
    expectInvalid("getSpeakerDelay", app.getSpeakerDelay(Channel{1}, nullptr));
    expectInvalid("getQualityOfAEC", app.getQualityOfAEC(nullptr));
    expectInvalid("setNLPConfig", app.setNLPConfig(nullptr));
    expectInvalid("getNLPConfig", app.getNLPConfig(nullptr));
    expectInvalid("setHandsfreeEQ", app.setHandsfreeEQ(nullptr));
    expectInvalid("getHandsfreeEQ", app.getHandsfreeEQ(nullptr));
    expectInvalid("setDACGainControl", app.setDACGainControl(nullptr));
    expectInvalid("getOutPutDataEnergy", app.getOutPutDataEnergy(nullptr));
}

TEST_F(AppSetting, RefusesEffectsWithoutTagOrName) {
    audio::effect_param_t empty{0};
    for (const char* const tag : {static_cast<const char*>(nullptr), "main"}) {
        const char* const effect = tag == nullptr ? "reverb" : nullptr;
        bool on = true;
        expectInvalid("setEffectEnabled", app.setEffectEnabled(tag, effect, true));
        expectInvalid("getEffectEnabled", app.getEffectEnabled(tag, effect, on));
        expectInvalid("setEffectParameter", app.setEffectParameter(tag, effect, empty));
        expectInvalid("getEffectParameter", app.getEffectParameter(tag, effect, empty));
        EXPECT_TRUE(on);
    }
}

class MixerSetting : public SilentClient<ClientMixerSetting> {
protected:
    MixerSetting() : SilentClient("ClientMixerSetting") {}

    audio::QVAudioSetting::Mixer& mixer = client;
};

TEST_F(MixerSetting, RefusesBadGainsAndChannels) {
    using ExtChannel = audio::audio_ext_channel_idx_e;
    audio::audio_mixer_gain_t* const noSteps = nullptr;
    audio::audio_mixer_matrix_t* const noGains = nullptr;
    expectInvalid("setGpsMixerGain", mixer.setGpsMixerGain(noSteps));
    expectInvalid("setGpsMixerGain", mixer.setGpsMixerGain(noGains));
    expectInvalid("setAlternativeAudioMixerGain", mixer.setAlternativeAudioMixerGain(noSteps));
    expectInvalid("setAlternativeAudioMixerGain", mixer.setAlternativeAudioMixerGain(noGains));
    expectInvalid("setHwAlternativeAudioMixerWithMain",
                  mixer.setHwAlternativeAudioMixerWithMain(ExtChannel{65535}, true));
    expectInvalid("setHwAlternativeAudioMixerWithMain",
                  mixer.setHwAlternativeAudioMixerWithMain(ExtChannel{0x7fffffff}, true));
    for (int at = 0; at < 4; ++at)
        for (const U8 step : {U8{101}, U8{255}}) {
            SCOPED_TRACE(testing::Message() << "step " << int{step} << " at " << at);
            audio::audio_mixer_gain_t gain{1, {}};
            gain.gain[at] = step;
            expectInvalid("setGpsMixerGain", mixer.setGpsMixerGain(&gain));
            expectInvalid("setAlternativeAudioMixerGain",
                          mixer.setAlternativeAudioMixerGain(&gain));
        }
}

class RecordControl : public SilentClient<ClientAudioRecordControl> {
protected:
    RecordControl() : SilentClient("ClientRecordControl") {}
};

TEST_F(RecordControl, RefusesEffectsWithoutTagOrName) {
    audio::effect_param_t empty{0};
    audio::QVAudioRecordControl::AudioRecordControl& record = client;
    expectInvalid("set", record.set(nullptr, "noise", empty));
    expectInvalid("set", record.set("uplink", nullptr, empty));
    expectInvalid("get", record.get(nullptr, "noise", empty));
    expectInvalid("get", record.get("uplink", nullptr, empty));
}

}  // namespace
}  // namespace cabinaudio::test
