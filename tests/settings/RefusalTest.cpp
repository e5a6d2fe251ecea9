// SPDX-License-Identifier: Apache-2.0
//
// Arguments that no operation takes: a line that says why, a result, and nothing sent. Ranges of
// gains are in RangeTest.cpp.
#include "tests/settings/Row.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

namespace cabinaudio::test {
namespace {

using U8 = unsigned char;
using Mux = audio::audio_input_mux_id_e;
using Pin = audio::audio_input_select_pin_e;
using Channel = audio::audio_channel_idx_e;

constexpr const char* INVALID = "invalid input param\n";
const std::string FULL(64, 'f');

struct Refusal {
    const char* operation;  // as its log line calls it
    std::string message;
    std::function<int(const Clients&)> call;
    int result = REFUSED;
};

class ARefusedArgument : public ::testing::Test {
protected:
    void expectRefused(const char* file, std::uint32_t type, const std::vector<Refusal>& refusals) {
        const Clients clients(type);
        std::size_t at = 0;
        for (const auto& [operation, message, call, result] : refusals) {
            SCOPED_TRACE(std::string(operation) + ", case " + std::to_string(at++));
            log.clear();
            EXPECT_EQ(call(clients), result);
            EXPECT_EQ(log.lines().size(), 1U) << log.dump();
            EXPECT_EQ(log.count(ERROR, file, operation, message), 1U) << message << log.dump();
        }
        EXPECT_EQ(server.requests().size(), 1U) << "sent more than the registration";
    }

    ScriptedServer server;
    LogCapture log;
};

/// 0 as callers of an operation that returns a text see it.
int isNull(const char* text) {
    return text == nullptr ? 0 : 1;
}

TEST_F(ARefusedArgument, OfAnOutputsVolumeIsLoggedAndNothingIsSent) {
    const auto volume = [](const Clients& c) -> auto& {
        return c.volume();
    };
    expectRefused(
        "ClientVolumeSetting", 131,
        {{"setMainAudioDunkingTargetGain", INVALID,
          [=](const Clients& c) { return volume(c).setMainAudioDunkingTargetGain(U8{101}); }},
         {"setMainAudioDunkingTargetGain", INVALID,
          [=](const Clients& c) { return volume(c).setMainAudioDunkingTargetGain(U8{255}); }},
         {"setMasterVolume", INVALID,
          [=](const Clients& c) { return volume(c).setMasterVolume(U8{149}); }},
         {"setMasterVolume", INVALID,
          [=](const Clients& c) { return volume(c).setMasterVolume(U8{255}); }},
         {"getMasterVolume", INVALID,
          [=](const Clients& c) { return volume(c).getMasterVolume(static_cast<U8*>(nullptr)); }},
         {"getMasterVolume", INVALID,
          [=](const Clients& c) {
              return volume(c).getMasterVolume(static_cast<float*>(nullptr));
          }},
         {"setSecondAudioVolume", INVALID,
          [=](const Clients& c) { return volume(c).setSecondAudioVolume(U8{149}); }},
         {"getSecondAudioVolume", INVALID,
          [=](const Clients& c) {
              return volume(c).getSecondAudioVolume(static_cast<U8*>(nullptr));
          }},
         {"getSecondAudioVolume", INVALID,
          [=](const Clients& c) {
              return volume(c).getSecondAudioVolume(static_cast<float*>(nullptr));
          }},
         {"setAlterAudioVolume", INVALID,
          [=](const Clients& c) { return volume(c).setAlterAudioVolume(U8{149}); }},
         {"getAlterAudioVolume", INVALID,
          [=](const Clients& c) {
              return volume(c).getAlterAudioVolume(static_cast<U8*>(nullptr));
          }},
         {"getAlterAudioVolume", INVALID,
          [=](const Clients& c) {
              return volume(c).getAlterAudioVolume(static_cast<float*>(nullptr));
          }},
         {"getUpLinkGain", INVALID,
          [=](const Clients& c) { return volume(c).getUpLinkGain(nullptr); }},
         {"setChannelGain", INVALID,
          [=](const Clients& c) { return volume(c).setChannelGain(nullptr); }},
         {"setChannelGain", INVALID,
          [=](const Clients& c) {
              audio::audio_channel_gain_t over{1, 149, {}};
              return volume(c).setChannelGain(&over);
          }},
         {"getChannelGain", INVALID,
          [=](const Clients& c) { return volume(c).getChannelGain(nullptr); }},
         {"getChannelGain", INVALID,
          [=](const Clients& c) {
              audio::audio_channel_gain_t none{65535, 5, {}};
              return volume(c).getChannelGain(&none);
          }},
         {"getChannelGain", INVALID,
          [=](const Clients& c) { return volume(c).getChannelGain(Channel{1}, nullptr); }},
         {"duck", "Invalid input param(percent:-1), the legal percent range is [0, 100]\n",
          [=](const Clients& c) { return volume(c).duck(-1); }},
         {"duck", "Invalid input param(percent:101), the legal percent range is [0, 100]\n",
          [=](const Clients& c) { return volume(c).duck(101); }},
         {"duck", "Invalid input param(percent:-2147483648), the legal percent range is [0, 100]\n",
          [=](const Clients& c) { return volume(c).duck(-2147483647 - 1); }},
         {"mute", "Invalid param, tag=NULL.\n",
          [=](const Clients& c) { return volume(c).mute(nullptr, true); }},
         {"mute", "Invalid param, tag=Main.\n",
          [=](const Clients& c) { return volume(c).mute("Main", true); }},
         {"mute", "Invalid param, tag=.\n",
          [=](const Clients& c) { return volume(c).mute("", true); }},
         {"demute", "Invalid param, tag=NULL.\n",
          [=](const Clients& c) { return volume(c).demute(nullptr, true); }},
         {"demute", "Invalid param, tag=main .\n",
          [=](const Clients& c) { return volume(c).demute("main ", true); }},
         {"getMuteState", "Invalid param, tag=NULL.\n",
          [=](const Clients& c) {
              static bool muted = true;
              return volume(c).getMuteState(nullptr, muted);
          }},
         {"getMuteState", "Invalid param, tag=" + FULL + ".\n", [=](const Clients& c) {
              static bool muted = true;
              const int result = volume(c).getMuteState(FULL.c_str(), muted);
              EXPECT_TRUE(muted);
              return result;
          }}});
}

TEST_F(ARefusedArgument, OfATracksVolumeIsLoggedAndNothingIsSent) {
    struct Names {
        const char* tag;
        const char* name;
    };
    // "second" has no tracks. What is 64 bytes long or longer does not fit.
    static const std::vector<Names> all = {
        {nullptr, "radio"}, {"main", nullptr},      {"second", "radio"},    {"Main", "radio"},
        {"", "radio"},      {"main", FULL.c_str()}, {FULL.c_str(), "radio"}};
    std::vector<Refusal> refusals;
    for (const Names& names : all) {
        const char* const tag = names.tag;
        const char* const name = names.name;
        refusals.push_back({"setTrackVolume", INVALID, [=](const Clients& c) {
                                return c.volume().setTrackVolume(tag, name, U8{1});
                            }});
        refusals.push_back({"setTrackVolume", INVALID, [=](const Clients& c) {
                                return c.volume().setTrackVolume(tag, name, 1.0F);
                            }});
        refusals.push_back({"getTrackVolume", INVALID, [=](const Clients& c) {
                                U8 steps = 5;
                                const int result = c.volume().getTrackVolume(tag, name, &steps);
                                EXPECT_EQ(steps, 5);
                                return result;
                            }});
        refusals.push_back({"getTrackVolume", INVALID, [=](const Clients& c) {
                                float gain = 5;
                                const int result = c.volume().getTrackVolume(tag, name, &gain);
                                EXPECT_EQ(gain, 5.0F);
                                return result;
                            }});
    }
    refusals.push_back({"setTrackVolume", INVALID, [](const Clients& c) {
                            return c.volume().setTrackVolume("main", "radio", U8{149});
                        }});
    refusals.push_back({"getTrackVolume", INVALID, [](const Clients& c) {
                            return c.volume().getTrackVolume("main", "radio",
                                                             static_cast<U8*>(nullptr));
                        }});
    refusals.push_back({"getTrackVolume", INVALID, [](const Clients& c) {
                            return c.volume().getTrackVolume("main", "radio",
                                                             static_cast<float*>(nullptr));
                        }});
    expectRefused("ClientVolumeSetting", 131, refusals);
}

TEST_F(ARefusedArgument, OfATracksChannelsIsLoggedAndNothingIsSent) {
    const std::string only = "input tag is bad param, only support 'auxiliary', input tag:";
    static float gains[8] = {};
    expectRefused(
        "ClientVolumeSetting", 131,
        {{"setTrackChannelGain", only + "NULL \n",
          [](const Clients& c) { return c.volume().setTrackChannelGain(nullptr, "radio", gains); }},
         {"setTrackChannelGain", only + "main \n",
          [](const Clients& c) { return c.volume().setTrackChannelGain("main", "radio", gains); }},
         {"setTrackChannelGain", only + "main \n",
          [](const Clients& c) {
              return c.volume().setTrackChannelGain("main", nullptr, nullptr);
          }},
         {"setTrackChannelGain", INVALID,
          [](const Clients& c) {
              return c.volume().setTrackChannelGain("auxiliary", nullptr, gains);
          }},
         {"setTrackChannelGain", INVALID, [](const Clients& c) {
              return c.volume().setTrackChannelGain("auxiliary", "radio", nullptr);
          }}});
}

TEST_F(ARefusedArgument, OfAStreamTypeIsLoggedAndNothingIsSent) {
    expectRefused(
        "ClientVolumeSetting", 131,
        {{"setVolumeByStreamType", "Invalid input param(volume:149, streamtype:music)\n",
          [](const Clients& c) { return c.volume().setVolumeByStreamType("music", U8{149}); }},
         {"setVolumeByStreamType", "Invalid input param(volume:7, streamtype:NULL)\n",
          [](const Clients& c) { return c.volume().setVolumeByStreamType(nullptr, U8{7}); }},
         {"getVolumeByStreamType", "Invalid input param(streamtype:NULL)\n",
          [](const Clients& c) {
              U8 steps = 5;
              const int result = c.volume().getVolumeByStreamType(nullptr, steps);
              EXPECT_EQ(steps, 5);
              return result;
          }},
         {"setGainByStreamType", "Invalid input param(gain:24.500000, streamtype:music)\n",
          [](const Clients& c) { return c.volume().setGainByStreamType("music", 24.5F); }},
         {"setGainByStreamType", "Invalid input param(gain:1.000000, streamtype:NULL)\n",
          [](const Clients& c) { return c.volume().setGainByStreamType(nullptr, 1.0F); }},
         {"getGainByStreamType", "Invalid input param(streamtype:NULL)\n", [](const Clients& c) {
              float gain = 5;
              const int result = c.volume().getGainByStreamType(nullptr, gain);
              EXPECT_EQ(gain, 5.0F);
              return result;
          }}});
}

TEST_F(ARefusedArgument, OfAConverterIsLoggedAndNothingIsSent) {
    expectRefused(
        "ClientVolumeSetting", 131,
        {{"setAdcPgaGain", "invalid input param, id=2.\n",
          [](const Clients& c) { return c.volume().setAdcPgaGain(Mux{2}, 1, 2); }},
         {"getAdcPgaGain", "invalid input param, id=2.\n",
          [](const Clients& c) { return c.volume().getAdcPgaGain(Mux{2}, nullptr, nullptr); }},
         {"setAdcOpGain", "invalid input param, id=-1.\n",
          [](const Clients& c) { return c.volume().setAdcOpGain(Mux{0xffffffff}, 1, 2); }},
         {"getAdcOpGain", "invalid input param, id=3.\n",
          [](const Clients& c) { return c.volume().getAdcOpGain(Mux{3}, nullptr, nullptr); }}});
}

TEST_F(ARefusedArgument, OfASourceNameIsLoggedAndNothingIsSent) {
    std::vector<Refusal> refusals;
    for (const char* const bad : {static_cast<const char*>(nullptr), FULL.c_str()}) {
        const char* const message = "bad source name\n";
        refusals.push_back({"setOutPutSource", message, [=](const Clients& c) {
                                return c.source().setOutPutSource(bad, "main");
                            }});
        refusals.push_back({"setOutPutSource", message, [=](const Clients& c) {
                                return c.source().setOutPutSource("radio", bad);
                            }});
        refusals.push_back({"setInputDestination", message, [=](const Clients& c) {
                                return c.source().setInputDestination(bad, "phone");
                            }});
        refusals.push_back({"setInputDestination", message, [=](const Clients& c) {
                                return c.source().setInputDestination("uplink", bad);
                            }});
        refusals.push_back(
            {"getOutPutSource", message,
             [=](const Clients& c) { return isNull(c.source().getOutPutSource(bad)); }, 0});
        refusals.push_back(
            {"getInputDestination", message,
             [=](const Clients& c) { return isNull(c.source().getInputDestination(bad)); }, 0});
        refusals.push_back({"dumpOutPutSourceList", message, [=](const Clients& c) {
                                return c.source().dumpOutPutSourceList(bad);
                            }});
        refusals.push_back({"dumpInputDestinationList", message, [=](const Clients& c) {
                                return c.source().dumpInputDestinationList(bad);
                            }});
        refusals.push_back({"getActivedSourceNumber", message, [=](const Clients& c) {
                                return c.source().getActivedSourceNumber(bad);
                            }});
    }
    for (const char* const input : {"main", "", "Uplink", "uplink2"})
        refusals.push_back(
            {"getInputDestination", "input source tag only support:uplink\n",
             [=](const Clients& c) { return isNull(c.source().getInputDestination(input)); }, 0});
    expectRefused("ClientSourceSetting", 130, refusals);
}

TEST_F(ARefusedArgument, OfAnActiveTrackIsLoggedAndNothingIsSent) {
    static std::vector<std::string> names = {"kept"};
    static std::string type = "kept";
    static audio::audio_output_src_parameter_t records[20];
    static int count = 5;
    using Tag = audio::audio_output_src_tag_e;
    const auto list = [](Tag tag) {
        return [tag](const Clients& c) {
            std::vector<audio::audio_output_src_parameter_t> tracks(3);
            const int result = c.source().getOutPutTrackInfoList(tag, tracks);
            EXPECT_EQ(tracks.size(), 3U);
            return result;
        };
    };
    expectRefused(
        "ClientSourceSetting", 130,
        {{"getActiveTracksName", "tag is NULL\n",
          [](const Clients& c) { return c.source().getActiveTracksName(nullptr, names); }},
         {"getTrackStreamType", "tag is NULL\n",
          [](const Clients& c) { return c.source().getTrackStreamType(nullptr, "radio", type); }},
         {"getTrackStreamType", "name is NULL\n",
          [](const Clients& c) { return c.source().getTrackStreamType("main", nullptr, type); }},
         {"getTrackStreamType", "tag is NULL\n",
          [](const Clients& c) { return c.source().getTrackStreamType(nullptr, nullptr, type); }},
         {"getOutputTrackInfo", "input param error\n",
          [](const Clients& c) { return c.seats().getOutputTrackInfo(Tag{1}, nullptr, &count); }},
         {"getOutputTrackInfo", "input param error\n",
          [](const Clients& c) { return c.seats().getOutputTrackInfo(Tag{4}, nullptr, &count); }},
         {"getOutputTrackInfo", "input tag(0x4) error\n",
          [](const Clients& c) { return c.seats().getOutputTrackInfo(Tag{4}, records, &count); },
          0},
         {"getOutputTrackInfo", "input tag(0xfffffffc) error\n",
          [](const Clients& c) {
              return c.seats().getOutputTrackInfo(Tag{0xfffffffc}, records, nullptr);
          },
          0},
         {"getOutputTrackInfo", "input tag(0x0) error\n", list(Tag{0}), 0}});
    EXPECT_EQ(names, std::vector<std::string>{"kept"});
    EXPECT_EQ(type, "kept");
    EXPECT_EQ(count, 5);
}

TEST_F(ARefusedArgument, OfTheHardwareIsLoggedAndNothingIsSent) {
    using Capability = audio::audio_samplerate_capability_e;
    const auto dac = [](int at) {
        return [at](const Clients& c) {
            audio::audio_dac_output_mapping_tbl_t table{};
            table.entry[at] = 11;
            return c.source().setDacOutPutMapping(&table);
        };
    };
    const auto i2s = [](int at) {
        return [at](const Clients& c) {
            audio::audio_i2s_output_mapping_tbl_t table{};
            table.entry[at] = 0x7fffffff;
            return c.source().setI2sOutPutMapping(&table);
        };
    };
    std::vector<Refusal> refusals = {
        {"setDacOutPutMapping", "tbl is null\n",
         [](const Clients& c) { return c.source().setDacOutPutMapping(nullptr); }},
        {"getDacOutPutMapping", "tbl is null\n",
         [](const Clients& c) { return c.source().getDacOutPutMapping(nullptr); }},
        {"setI2sOutPutMapping", "tbl is null\n",
         [](const Clients& c) { return c.source().setI2sOutPutMapping(nullptr); }},
        {"getI2sOutPutMapping", "tbl is null\n",
         [](const Clients& c) { return c.source().getI2sOutPutMapping(nullptr); }},
        {"configurePcmHwInterface", "cfg is null\n",
         [](const Clients& c) { return c.source().configurePcmHwInterface(nullptr); }},
        {"setI2sFormatAndConfig", "dcp is null\n",
         [](const Clients& c) {
             return c.source().setI2sFormatAndConfig(audio::audio_i2s_select_param_e{1}, nullptr);
         }},
        {"getHWSignalEnergy", "energy is null\n",
         [](const Clients& c) {
             return c.source().getHWSignalEnergy(audio::audio_hw_type_e{1}, nullptr);
         }},
        {"getAdcMuxPin", "pin is null\n",
         [](const Clients& c) { return c.seats().getAdcMuxPin(Mux{0}, nullptr); }},
        {"getAdcMuxPin", "pin is null\n",
         [](const Clients& c) { return c.source().getInputMuxPin(Mux{0}, nullptr); }},
        {"setMainAudioSpeakerTestPattern", " invalid frequency(0)\n",
         [](const Clients& c) { return c.source().setMainAudioSpeakerTestPattern(Channel{1}, 0); }},
        {"setMainAudioSpeakerTestPattern", " invalid frequency(48000)\n",
         [](const Clients& c) {
             return c.source().setMainAudioSpeakerTestPattern(Channel{1}, 48000);
         }},
        {"setMainAudioSpeakerTestPattern", " invalid frequency(-2147483648)\n",
         [](const Clients& c) {
             return c.source().setMainAudioSpeakerTestPattern(Channel{1}, -2147483647 - 1);
         }},
        {"setSamplerateCapability", "invalid cap(6)\n",
         [](const Clients& c) { return c.source().setSamplerateCapability(Capability{6}); }},
        {"setSamplerateCapability", "invalid cap(-1)\n",
         [](const Clients& c) { return c.source().setSamplerateCapability(Capability{-1}); }},
    };
    for (int i = 0; i < 6; ++i)
        refusals.push_back({"setDacOutPutMapping", "invalid input parameter\n", dac(i)});
    for (int i = 0; i < 8; ++i)
        refusals.push_back({"setI2sOutPutMapping", "invalid input parameter\n", i2s(i)});
    expectRefused("ClientSourceSetting", 130, refusals);
}

TEST_F(ARefusedArgument, OfAnEffectIsLoggedAndNothingIsSent) {
    const char* const pointer = "Invalid params, param=0.\n";
    static audio::effect_param_t empty{0};
    std::vector<Refusal> refusals = {
        {"getEqualizerSpectrum", pointer,
         [](const Clients& c) { return c.app().getEqualizerSpectrum(nullptr); }},
        {"setEqualizer", pointer,
         [](const Clients& c) {
             return c.app().setEqualizer(static_cast<audio::audio_ext_eq_parameter_t*>(nullptr));
         }},
        {"getEqualizer", pointer,
         [](const Clients& c) {
             return c.app().getEqualizer(static_cast<audio::audio_ext_eq_parameter_t*>(nullptr));
         }},
        {"getSpeakerDelay", INVALID,
         [](const Clients& c) { return c.app().getSpeakerDelay(Channel{1}, nullptr); }},
        {"getQualityOfAEC", INVALID,
         [](const Clients& c) { return c.app().getQualityOfAEC(nullptr); }},
        {"setNLPConfig", INVALID, [](const Clients& c) { return c.app().setNLPConfig(nullptr); }},
        {"getNLPConfig", INVALID, [](const Clients& c) { return c.app().getNLPConfig(nullptr); }},
        {"setHandsfreeEQ", INVALID,
         [](const Clients& c) { return c.app().setHandsfreeEQ(nullptr); }},
        {"getHandsfreeEQ", INVALID,
         [](const Clients& c) { return c.app().getHandsfreeEQ(nullptr); }},
        {"setDACGainControl", INVALID,
         [](const Clients& c) { return c.app().setDACGainControl(nullptr); }},
        {"getOutPutDataEnergy", INVALID,
         [](const Clients& c) { return c.app().getOutPutDataEnergy(nullptr); }},
    };
    for (const char* const tag : {static_cast<const char*>(nullptr), "main"}) {
        const char* const effect = tag == nullptr ? "reverb" : nullptr;
        refusals.push_back({"setEffectEnabled", INVALID, [=](const Clients& c) {
                                return c.app().setEffectEnabled(tag, effect, true);
                            }});
        refusals.push_back({"getEffectEnabled", INVALID, [=](const Clients& c) {
                                bool on = true;
                                const int result = c.app().getEffectEnabled(tag, effect, on);
                                EXPECT_TRUE(on);
                                return result;
                            }});
        refusals.push_back({"setEffectParameter", INVALID, [=](const Clients& c) {
                                return c.app().setEffectParameter(tag, effect, empty);
                            }});
        refusals.push_back({"getEffectParameter", INVALID, [=](const Clients& c) {
                                return c.app().getEffectParameter(tag, effect, empty);
                            }});
    }
    expectRefused("ClientAppSetting", 128, refusals);
}

TEST_F(ARefusedArgument, OfTheMixerIsLoggedAndNothingIsSent) {
    using ExtChannel = audio::audio_ext_channel_idx_e;
    std::vector<Refusal> refusals = {
        {"setGpsMixerGain", INVALID,
         [](const Clients& c) {
             return c.mixer().setGpsMixerGain(static_cast<audio::audio_mixer_gain_t*>(nullptr));
         }},
        {"setGpsMixerGain", INVALID,
         [](const Clients& c) {
             return c.mixer().setGpsMixerGain(static_cast<audio::audio_mixer_matrix_t*>(nullptr));
         }},
        {"setAlternativeAudioMixerGain", INVALID,
         [](const Clients& c) {
             return c.mixer().setAlternativeAudioMixerGain(
                 static_cast<audio::audio_mixer_gain_t*>(nullptr));
         }},
        {"setAlternativeAudioMixerGain", INVALID,
         [](const Clients& c) {
             return c.mixer().setAlternativeAudioMixerGain(
                 static_cast<audio::audio_mixer_matrix_t*>(nullptr));
         }},
        {"setHwAlternativeAudioMixerWithMain", INVALID,
         [](const Clients& c) {
             return c.mixer().setHwAlternativeAudioMixerWithMain(ExtChannel{65535}, true);
         }},
        {"setHwAlternativeAudioMixerWithMain", INVALID,
         [](const Clients& c) {
             return c.mixer().setHwAlternativeAudioMixerWithMain(ExtChannel{0x7fffffff}, true);
         }},
    };
    for (int i = 0; i < 4; ++i)
        for (const U8 step : {U8{101}, U8{255}}) {
            const auto gain = [=] {
                audio::audio_mixer_gain_t all{1, {}};
                all.gain[i] = step;
                return all;
            };
            refusals.push_back({"setGpsMixerGain", INVALID, [=](const Clients& c) {
                                    audio::audio_mixer_gain_t one = gain();
                                    return c.mixer().setGpsMixerGain(&one);
                                }});
            refusals.push_back({"setAlternativeAudioMixerGain", INVALID, [=](const Clients& c) {
                                    audio::audio_mixer_gain_t one = gain();
                                    return c.mixer().setAlternativeAudioMixerGain(&one);
                                }});
        }
    expectRefused("ClientMixerSetting", 129, refusals);
}

TEST_F(ARefusedArgument, OfACaptureEffectIsLoggedAndNothingIsSent) {
    static audio::effect_param_t empty{0};
    expectRefused(
        "ClientRecordControl", 133,
        {{"set", INVALID, [](const Clients& c) { return c.record().set(nullptr, "noise", empty); }},
         {"set", INVALID,
          [](const Clients& c) { return c.record().set("uplink", nullptr, empty); }},
         {"get", INVALID, [](const Clients& c) { return c.record().get(nullptr, "noise", empty); }},
         {"get", INVALID,
          [](const Clients& c) { return c.record().get("uplink", nullptr, empty); }}});
}

}  // namespace
}  // namespace cabinaudio::test
