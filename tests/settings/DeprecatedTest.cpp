// SPDX-License-Identifier: Apache-2.0
//
// Operations that are kept for their places in the interfaces.
#include "tests/settings/Row.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

namespace cabinaudio::test {
namespace {

struct Kept {
    const char* name;
    std::function<int(const Clients&)> call;
};

class AKeptOperation : public ::testing::Test {
protected:
    void expectNoEffect(const char* file, std::uint32_t type, const std::vector<Kept>& kept) {
        const Clients clients(type);
        for (const auto& [name, call] : kept) {
            log.clear();
            EXPECT_EQ(call(clients), 0) << name;
            EXPECT_EQ(log.lines().size(), 1U) << log.dump();
            const std::string message = std::string("Deprecated API[") + name + "] is called. \n";
            EXPECT_EQ(log.count(WARN, file, name, message), 1U) << log.dump();
        }
        EXPECT_EQ(server.requests().size(), 1U) << "sent more than the registration";
    }

    ScriptedServer server;
    LogCapture log;
};

TEST_F(AKeptOperation, OfVolumesWarnsAndSendsNothing) {
    const std::vector<Kept> kept = {
        {"setSourceLevel",
         [](const Clients& c) { return c.volume().setSourceLevel(nullptr, nullptr, 1.0F); }},
        {"getSourceLevel",
         [](const Clients& c) { return c.volume().getSourceLevel(nullptr, nullptr, nullptr); }},
    };
    ASSERT_EQ(kept.size(), 2U);
    expectNoEffect("ClientVolumeSetting", 131, kept);
}

TEST_F(AKeptOperation, OfSourcesWarnsAndSendsNothing) {
    const std::vector<Kept> kept = {
        {"setExtAdcEnable",
         [](const Clients& c) {
             return c.source().setExtAdcEnable(audio::audio_input_mux_id_e{7}, 1);
         }},
        {"setAdcPrcMode", [](const Clients& c) { return c.source().setAdcPrcMode(true); }},
        {"setAdcPinIntoGPIO", [](const Clients& c) { return c.source().setAdcPinIntoGPIO(true); }},
        {"setAlterLatency", [](const Clients& c) { return c.source().setAlterLatency(-1); }},
    };
    ASSERT_EQ(kept.size(), 4U);
    expectNoEffect("ClientSourceSetting", 130, kept);
}

TEST_F(AKeptOperation, OfTheMixerWarnsAndSendsNothing) {
    const std::vector<Kept> kept = {
        {"setEffectMixerGain",
         [](const Clients& c) {
             return c.mixer().setEffectMixerGain(static_cast<audio::audio_mixer_gain_t*>(nullptr));
         }},
        {"setEffectMixerGain",
         [](const Clients& c) {
             return c.mixer().setEffectMixerGain(
                 static_cast<audio::audio_mixer_matrix_t*>(nullptr));
         }},
        {"mixRearAudioWithFrontAudio",
         [](const Clients& c) { return c.mixer().mixRearAudioWithFrontAudio(true); }},
    };
    ASSERT_EQ(kept.size(), 3U);
    expectNoEffect("ClientMixerSetting", 129, kept);
}

TEST_F(AKeptOperation, OfEffectsWarnsAndSendsNothing) {
    const std::vector<Kept> kept = {
        {"setFilter", [](const Clients& c) { return c.app().setFilter(nullptr); }},
        {"getFilter", [](const Clients& c) { return c.app().getFilter(nullptr); }},
        {"setBassTreble", [](const Clients& c) { return c.app().setBassTreble(nullptr); }},
        {"getBassTreble", [](const Clients& c) { return c.app().getBassTreble(nullptr); }},
        {"setLoudness",
         [](const Clients& c) {
             return c.app().setLoudness(static_cast<audio::audio_loudness_parameter_t*>(nullptr));
         }},
        {"setLoudness",
         [](const Clients& c) {
             return c.app().setLoudness(
                 static_cast<audio::audio_ext_loudness_parameter_t*>(nullptr));
         }},
        {"getLoudness", [](const Clients& c) { return c.app().getLoudness(nullptr); }},
        {"setEqualizer",
         [](const Clients& c) {
             return c.app().setEqualizer(static_cast<audio::audio_eq_parameter_t*>(nullptr));
         }},
        {"getEqualizer",
         [](const Clients& c) {
             return c.app().getEqualizer(static_cast<audio::audio_eq_parameter_t*>(nullptr));
         }},
        {"getEqualizerQValueTable",
         [](const Clients& c) { return c.app().getEqualizerQValueTable(nullptr); }},
        {"getEqualizerCfTable",
         [](const Clients& c) { return c.app().getEqualizerCfTable(nullptr); }},
        {"enableDps", [](const Clients& c) { return c.app().enableDps(); }},
        {"disableDps", [](const Clients& c) { return c.app().disableDps(); }},
        {"setDpsProfile",
         [](const Clients& c) { return c.app().setDpsProfile(audio::audio_dps_profile_id_e{1}); }},
        {"enableDpsStereoCtrl", [](const Clients& c) { return c.app().enableDpsStereoCtrl(); }},
        {"disableDpsStereoCtrl", [](const Clients& c) { return c.app().disableDpsStereoCtrl(); }},
        {"setDpsUserGain", [](const Clients& c) { return c.app().setDpsUserGain(1.0F); }},
        {"getDpsUserGain", [](const Clients& c) { return c.app().getDpsUserGain(nullptr); }},
        {"setDpsUserEq", [](const Clients& c) { return c.app().setDpsUserEq(nullptr); }},
        {"getDpsUserEq", [](const Clients& c) { return c.app().getDpsUserEq(nullptr); }},
        {"setQualityOfSound", [](const Clients& c) { return c.app().setQualityOfSound(nullptr); }},
        {"getQualityOfSound", [](const Clients& c) { return c.app().getQualityOfSound(nullptr); }},
        {"setUplinkConfig", [](const Clients& c) { return c.app().setUplinkConfig(nullptr); }},
        {"setEqualizerType",
         [](const Clients& c) { return c.app().setEqualizerType(audio::audio_eq_type{1}); }},
        {"setSurround", [](const Clients& c) { return c.app().setSurround(true); }},
        {"setDACSampleRateCtrl",
         [](const Clients& c) {
             return c.app().setDACSampleRateCtrl(audio::audio_int_dac_sample_rate_e{1});
         }},
    };
    ASSERT_EQ(kept.size(), 26U);
    expectNoEffect("ClientAppSetting", 128, kept);
}

}  // namespace
}  // namespace cabinaudio::test
