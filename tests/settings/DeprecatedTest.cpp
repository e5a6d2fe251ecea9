// SPDX-License-Identifier: Apache-2.0
//
// Operations without effect, which only keep their slots in the interfaces.
#include "tests/settings/SilentClient.h"

namespace cabinaudio::test {
namespace {

using namespace audio;

struct DeprecatedVolume : SilentClient<ClientVolumeSetting> {
    DeprecatedVolume() : SilentClient("ClientVolumeSetting") {}
    QVAudioSetting::Volume& volume = client;
};

TEST_F(DeprecatedVolume, WarnsAndSendsNothing) {
    expectNoEffect("setSourceLevel", volume.setSourceLevel(nullptr, nullptr, 1.0F));
    expectNoEffect("getSourceLevel", volume.getSourceLevel(nullptr, nullptr, nullptr));
}

struct DeprecatedSource : SilentClient<ClientSourceSetting> {
    DeprecatedSource() : SilentClient("ClientSourceSetting") {}
    QVAudioSetting::Source& source = client;
};

TEST_F(DeprecatedSource, WarnsAndSendsNothing) {
    expectNoEffect("setExtAdcEnable", source.setExtAdcEnable(audio_input_mux_id_e{7}, 1));
    expectNoEffect("setAdcPrcMode", source.setAdcPrcMode(true));
    expectNoEffect("setAdcPinIntoGPIO", source.setAdcPinIntoGPIO(true));
    expectNoEffect("setAlterLatency", source.setAlterLatency(-1));
}

struct DeprecatedMixer : SilentClient<ClientMixerSetting> {
    DeprecatedMixer() : SilentClient("ClientMixerSetting") {}
    QVAudioSetting::Mixer& mixer = client;
};

TEST_F(DeprecatedMixer, WarnsAndSendsNothing) {
    audio_mixer_gain_t* const noSteps = nullptr;
    audio_mixer_matrix_t* const noGains = nullptr;
    expectNoEffect("setEffectMixerGain", mixer.setEffectMixerGain(noSteps));
    expectNoEffect("setEffectMixerGain", mixer.setEffectMixerGain(noGains));
    expectNoEffect("mixRearAudioWithFrontAudio", mixer.mixRearAudioWithFrontAudio(true));
}

struct DeprecatedApp : SilentClient<ClientAppSetting> {
    DeprecatedApp() : SilentClient("ClientAppSetting") {}
    QVAudioSetting::App& app = client;
};

TEST_F(DeprecatedApp, WarnsAndSendsNothing) {
    audio_loudness_parameter_t* const noLoudness = nullptr;
    audio_ext_loudness_parameter_t* const noExtLoudness = nullptr;
    audio_eq_parameter_t* const noEqualizer = nullptr;
    expectNoEffect("setFilter", app.setFilter(nullptr));
    expectNoEffect("getFilter", app.getFilter(nullptr));
    expectNoEffect("setBassTreble", app.setBassTreble(nullptr));
    expectNoEffect("getBassTreble", app.getBassTreble(nullptr));
    expectNoEffect("setLoudness", app.setLoudness(noLoudness));
    expectNoEffect("setLoudness", app.setLoudness(noExtLoudness));
    expectNoEffect("getLoudness", app.getLoudness(nullptr));
    expectNoEffect("setEqualizer", app.setEqualizer(noEqualizer));
    expectNoEffect("getEqualizer", app.getEqualizer(noEqualizer));
    expectNoEffect("getEqualizerQValueTable", app.getEqualizerQValueTable(nullptr));
    expectNoEffect("getEqualizerCfTable", app.getEqualizerCfTable(nullptr));
    expectNoEffect("enableDps", app.enableDps());
    expectNoEffect("disableDps", app.disableDps());
    expectNoEffect("setDpsProfile", app.setDpsProfile(audio_dps_profile_id_e{1}));
    expectNoEffect("enableDpsStereoCtrl", app.enableDpsStereoCtrl());
    expectNoEffect("disableDpsStereoCtrl", app.disableDpsStereoCtrl());
    expectNoEffect("setDpsUserGain", app.setDpsUserGain(1.0F));
    expectNoEffect("getDpsUserGain", app.getDpsUserGain(nullptr));
    expectNoEffect("setDpsUserEq", app.setDpsUserEq(nullptr));
    expectNoEffect("getDpsUserEq", app.getDpsUserEq(nullptr));
    expectNoEffect("setQualityOfSound", app.setQualityOfSound(nullptr));
    expectNoEffect("getQualityOfSound", app.getQualityOfSound(nullptr));
    expectNoEffect("setUplinkConfig", app.setUplinkConfig(nullptr));
    expectNoEffect("setEqualizerType", app.setEqualizerType(audio_eq_type{1}));
    expectNoEffect("setSurround", app.setSurround(true));
    expectNoEffect("setDACSampleRateCtrl",
                   app.setDACSampleRateCtrl(audio_int_dac_sample_rate_e{1}));
}

}  // namespace
}  // namespace cabinaudio::test
