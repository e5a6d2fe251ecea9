// SPDX-License-Identifier: Apache-2.0
// Settings through the tool and the real server: set, and read back.
#include "tests/tools/ToolTest.h"

#include <algorithm>
#include <fstream>
#include <set>

namespace cabinaudio::test {

namespace {

std::string joined(const Words& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

class SettingsRoundTrip : public ToolTest {
protected:
    void SetUp() override { serve(); }

    static std::string get(const Words& names = {}) {
        const Outcome result = runExpecting(0, with({"get"}, names));
        EXPECT_THAT(result.err, IsEmpty());
        return result.out;
    }

    static void set(const Words& assignments) {
        const Outcome result = runExpecting(0, with({"set"}, assignments));
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_THAT(result.err, IsEmpty());
    }

    [[nodiscard]] json state() const { return json::parse(mServer->command("state"))["settings"]; }
};

/// One value that is not the default for every setting that can be set and read.
const Words CHANGED = {
    "volume.master=-1dB",
    "volume.second=-2.5dB",
    "volume.alternative=24dB",
    "volume.type.media=-103.5dB",
    "volume.type.navigation=-6dB",
    "volume.type.call=0.3dB",
    "volume.type.voice=-0.1dB",
    "volume.type.alarm=1.1234567dB",
    "volume.type.system=-50.25dB",
    "fade=20",
    "balance=-10",
    "volume.channel.LF=-7dB",
    "volume.channel.RF=-8dB",
    "volume.channel.LS=-9dB",
    "volume.channel.RS=-10dB",
    "volume.channel.CF=-11dB",
    "volume.channel.L1=-12dB",
    "volume.ramp=30ms,4.5ms",
    "mute.main=on",
    "mute.second=on",
    "mute.alternative=on",
    "mute.auxiliary=on",
    "uplink.gain=-4dB",
    "mic.gain=10dB,-5dB",
    "mic.op.0=3dB,4dB",
    "mic.op.1=5dB,6dB",
    "mic.pga.0=7dB,8dB",
    "mic.pga.1=9dB,10dB",
    "mixer.upmix=1",
    "source.main=radio",
    "source.alternative=a%20b%3D%25",
    "source.auxiliary=beep",
    "destination.uplink=recorder",
    "adc.pin.0=2",
    "adc.pin.1=-3",
    "dac.map=5,4,3,2,1,0",
    "i2s.map=7,6,5,4,3,2,1,-1",
    "speaker.output=LF+CF",
    "speaker.delay.LF=0.009ms",
    "speaker.delay.RF=1ms",
    "speaker.delay.LS=2.001ms",
    "speaker.delay.RS=3.3ms",
    "speaker.delay.CF=999.999ms",
    "speaker.delay.L1=1000ms",
    "aec.quality=3",
    "aec.duplex=-4",
    "nr.attenuation=5",
};

/// Settings that their neighbours in the list change, too.
bool isOverridden(const std::string& line) {
    for (const char* name : {"fade=", "balance=", "mic.gain="})
        if (line.rfind(name, 0) == 0) return true;
    return false;
}

Words withoutOverridden(Words lines) {
    lines.erase(std::remove_if(lines.begin(), lines.end(), isOverridden), lines.end());
    return lines;
}

}  // namespace

TEST_F(SettingsRoundTrip, OutputOfGetRestoresAllSettings) {
    set(CHANGED);
    set({"volume.track.main.my radio=-3.2dB"});
    const std::string before = get();
    const std::string file = mDirectory.file("settings");
    std::ofstream(file) << before;
    set({"volume.master=0dB", "adc.pin.0=9", "mic.pga.0=0dB,0dB", "volume.channel.LF=0dB"});
    ASSERT_NE(get(), before);
    set({"--file", file});
    EXPECT_EQ(get(), before);
    runExpecting(0, {"set", "-"}, {.input = file});
    EXPECT_EQ(get(), before);
}

TEST_F(SettingsRoundTrip, OutputOfGetGoesThroughXargs) {
    if (toolIsEmulated()) GTEST_SKIP() << "the launcher stands between the shell and the tool";
    set(CHANGED);
    const std::string before = get();
    const Outcome result =
        runExpecting(0, {"-c", "\"$TOOL\" get | xargs \"$TOOL\" set"},
                     {.environment = {{"TOOL", toolPath()}}, .program = "/bin/sh"});
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_EQ(get(), before);
}

TEST_F(SettingsRoundTrip, EverySettingIsReadBack) {
    // All of them: none may be forgotten here.
    const Outcome names = runTool({"list", "--names", "--readable", "--settable"});
    std::set<std::string> known;
    for (const std::string& line : CHANGED)
        known.insert(line.substr(0, line.find('=')));
    const Words all = linesOf(names.out);
    EXPECT_EQ(std::set<std::string>(all.begin(), all.end()), known);

    const std::string defaults = get(Words(known.begin(), known.end()));
    for (const std::string& line : CHANGED)
        EXPECT_THAT("\n" + defaults, Not(HasSubstr("\n" + line + "\n")));
    set(withoutOverridden(CHANGED));
    Words asked;
    for (const std::string& line : withoutOverridden(CHANGED))
        asked.push_back(line.substr(0, line.find('=')));
    EXPECT_EQ(get(asked), joined(withoutOverridden(CHANGED)));
    set({"mic.gain=10dB,-5dB"});
    EXPECT_EQ(get({"mic.gain"}), "mic.gain=10dB,-5dB\n");
}

TEST_F(SettingsRoundTrip, FadeAndBalanceAreSetTogetherAndAlone) {
    set({"fade=20", "balance=-10"});
    EXPECT_EQ(get({"fade", "balance", "volume.channel.L?", "volume.channel.R?"}),
              "fade=20\nbalance=-10\nvolume.channel.LF=0dB\nvolume.channel.LS=-5dB\n"
              "volume.channel.L1=0dB\nvolume.channel.RF=0dB\nvolume.channel.RS=-15dB\n");
    set({"fade=-30"});
    EXPECT_EQ(get({"fade", "balance"}), "fade=-30\nbalance=-10\n");
    set({"balance=0"});
    EXPECT_EQ(get({"fade", "balance"}), "fade=-30\nbalance=0\n");
}

TEST_F(SettingsRoundTrip, FadeIsUnknownForOtherChannelVolumes) {
    set({"volume.channel.LF=0.3dB"});
    EXPECT_THAT(get(), Not(HasSubstr("fade=")));
    const Outcome result = runExpecting(1, {"get", "fade"});
    EXPECT_EQ(result.err,
              "cabinaudio: cannot read fade: the loudspeakers' volumes are of no fade and "
              "balance\n");
}

TEST_F(SettingsRoundTrip, StepsAndGainsAreEquivalent) {
    set({"volume.master=87", "volume.type.media=0", "volume.channel.RF=148"});
    EXPECT_EQ(get({"volume.master", "volume.type.media", "volume.channel.RF"}),
              "volume.master=-6.5dB\nvolume.type.media=-103.5dB\nvolume.channel.RF=24dB\n");
    EXPECT_EQ(get({"--steps", "volume.master", "volume.type.media", "volume.channel.RF"}),
              "volume.master=87\nvolume.type.media=0\nvolume.channel.RF=148\n");
    EXPECT_EQ(get({"--value", "volume.master"}), "-6.5dB\n");
}

TEST_F(SettingsRoundTrip, WriteOnlySettingsReachTheServer) {
    set({"duck=30%",
         "ducking.mode=1",
         "ducking.target=-12dB",
         "mixer.navigation=-1dB,-2dB,-3dB,-4dB",
         "mixer.navigation.mode=0",
         "mixer.alternative=90,80,70,0",
         "mixer.hardware.5=on",
         "source.front=3",
         "source.rear=4",
         "source.seat.7=5",
         "seat.front=1",
         "seat.rear=2",
         "adc.swap=on",
         "i2s.format.2=010203040506",
         "pcm.interface=1,2,3,4,0xFFFFFFFF",
         "pcm.interface.enabled=on",
         "handsfree.delay=40",
         "samplerate.capability=5",
         "ramp.auto=off",
         "bypass=on",
         "reverb.mode=2",
         "dac.gain=6",
         "track.auxiliary.beep.channels=-1dB,-2dB,-3dB,-4dB,-5dB,-6dB,-7dB,-8dB",
         "dump.sources=main",
         "dump.destinations=uplink",
         "downlink.estimation=start",
         "mic.calibration=start",
         "speaker.test.tone.LF=440",
         "speaker.test.pattern.LF=0"});
    const json all = state();
    const json& volume = all["volume"];
    EXPECT_EQ(volume["duck_percent"], 30);
    EXPECT_EQ(volume["ducking_mode"], 1);
    EXPECT_EQ(volume["ducking_target_db"], -12.0);
    EXPECT_EQ(volume["tracks"][0]["channels_db"], json({-1, -2, -3, -4, -5, -6, -7, -8}));
    const json& mixer = all["mixer"];
    EXPECT_EQ(mixer["navigation_db"], json({-1, -2, -3, -4}));
    EXPECT_EQ(mixer["alternative_db"], json({-5, -10, -15, -103.5}));
    EXPECT_EQ(mixer["navigation_mode"], 0);
    EXPECT_EQ(mixer["hardware_mix"], 5);
    const json& source = all["source"];
    EXPECT_EQ(source["seat_sources"], json({{"0", 3}, {"1", 4}, {"7", 5}})) << source;
    EXPECT_EQ(source["front_state"], 1);
    EXPECT_EQ(source["rear_state"], 2);
    EXPECT_EQ(source["adc_switched"], true);
    EXPECT_EQ(source["i2s_formats"]["2"], json({0x04030201, 0x0605})) << source;
    EXPECT_EQ(source["pcm_interface"], json({1, 2, 3, 4, 0xFFFFFFFF}));
    EXPECT_EQ(source["pcm_interface_enabled"], true);
    EXPECT_EQ(source["handsfree_delay"], 40);
    EXPECT_EQ(source["sample_rate_capability"], 5);
    EXPECT_EQ(source["auto_ramp"], false);
    EXPECT_EQ(all["app"]["bypass"], true);
    EXPECT_EQ(all["app"]["reverb_mode"], 2);
    EXPECT_EQ(all["app"]["dac_gain"], 6);
    set({"duck=off", "bypass=off", "mixer.navigation=-7dB", "mixer.alternative=50"});
    EXPECT_EQ(state()["mixer"]["navigation_db"], json({-7, -7, -7, -7}));
    EXPECT_EQ(state()["mixer"]["alternative_db"], json({-25, -25, -25, -25}));
    EXPECT_EQ(state()["volume"]["duck_percent"], 0);
    EXPECT_EQ(state()["app"]["bypass"], false);
}

TEST_F(SettingsRoundTrip, SettingsWithNumbersAndNamesAreReadBack) {
    const std::string file = mDirectory.file("parameter");
    std::ofstream(file) << "abc";
    set({"effect.main.re.verb=on", "effect.main.re.verb.parameter=00ff10",
         "effect.second.a b.parameter=@" + file, "capture-effect.input0.agc=01", "eq.3=0102",
         "nlp.0=0a", "handsfree.eq.4294967295=ff"});
    EXPECT_EQ(get({"effect.main.re.verb", "effect.main.re.verb.parameter",
                   "effect.second.a%20b.parameter", "capture-effect.input0.agc", "eq.3", "eq.4",
                   "nlp.0", "handsfree.eq.4294967295"}),
              "effect.main.re.verb=on\neffect.main.re.verb.parameter=00ff10\n"
              "effect.second.a%20b.parameter=616263\ncapture-effect.input0.agc=01\n"
              "eq.3=0102\neq.4=00\nnlp.0=0a\nhandsfree.eq.4294967295=ff\n");
}

TEST_F(SettingsRoundTrip, SettingsOfAnyStreamNameAreReadBack) {
    set({"volume.track.main.a%3Db, c\"d=-3dB"});
    EXPECT_EQ(get({"volume.track.main.a=b, c\"d"}), "volume.track.main.a%3Db%2C%20c%22d=-3dB\n");
    EXPECT_EQ(state()["volume"]["tracks"][0]["name"], "a=b, c\"d");
}

TEST_F(SettingsRoundTrip, ValuesAreTypedInJson) {
    set({"volume.master=-6.4dB", "fade=20"});
    const json all = jsonOf(
        runExpecting(0, {"get", "--json", "volume.master", "volume.ramp", "mute.main", "fade",
                         "types", "speaker.output", "mic.calibration.result", "source.main"}));
    EXPECT_EQ(all["ended"], "done");
    EXPECT_TRUE(all["error"].is_null());
    const json& list = all["settings"];
    ASSERT_EQ(list.size(), 8u);
    EXPECT_EQ(list[0], json::parse(R"({"name":"volume.master","value":-6.4,"unit":"dB",
                                       "settable":true,"text":"-6.4dB"})"));
    EXPECT_EQ(list[1]["value"], json({20, 20}));
    EXPECT_EQ(list[2]["value"], false);
    EXPECT_EQ(list[3]["value"], 20);
    EXPECT_EQ(list[4]["value"][1], "navigation");
    EXPECT_EQ(list[4]["settable"], false);
    EXPECT_EQ(list[5]["value"], "LF+RF+LS+RS+CF+L1");
    EXPECT_EQ(list[6]["value"], "none");
    EXPECT_EQ(list[7]["value"], "");
    const json done = json::parse(runTool({"set", "--json", "volume.master=-5dB"}).out);
    EXPECT_EQ(
        done,
        json::parse(
            R"({"set":["volume.master=-5dB"],"changes":[],"ended":"done","error":null,"exit":0})"));
}

TEST_F(SettingsRoundTrip, MetersAreSilentWithoutSound) {
    EXPECT_EQ(get({"energy.output", "spectrum", "energy.hardware.0"}),
              "#energy.output=silence,silence,silence,silence\n"
              "#spectrum=silence,silence,silence,silence\n#energy.hardware.0=silence\n");
}

TEST_F(SettingsRoundTrip, MetersShowTheLevelOfATone) {
    set({"speaker.test.tone.LF=500"});  // a peak of 0.1
    json level = {{"value", {0}}};
    // Each request takes a few milliseconds; the tone is there after one or two periods.
    for (int i = 0; i < 1000 && level["value"][0] < 70000; ++i)
        level = jsonOf(runTool({"get", "--json", "energy.output"}))["settings"][0];
    ASSERT_GE(level["value"][0], 70000) << level;
    EXPECT_NEAR(level["value_db"][0], -23.0, 0.11) << level;
    EXPECT_TRUE(level["value_db"][1].is_null()) << level;
}

TEST_F(SettingsRoundTrip, SetIgnoresReadOnlyLines) {
    EXPECT_THAT(get(), HasSubstr("\n#types=media,navigation,call,voice,alarm,system\n"));
    EXPECT_EQ(get({"types"}), "#types=media,navigation,call,voice,alarm,system\n");
    set({"#types=nonsense", "volume.master=-2dB"});
    EXPECT_EQ(get({"volume.master"}), "volume.master=-2dB\n");
}

TEST_F(SettingsRoundTrip, GetPrintsTheOthersWhenOneCannotBeRead) {
    const Outcome result = runExpecting(1, {"get", "volume.type.navigation", "mixer.navigation"});
    EXPECT_EQ(result.out, "volume.type.navigation=0dB\n");
    EXPECT_EQ(result.err,
              "cabinaudio: mixer.navigation can only be set: servers have no operation that tells "
              "it\n");
}

TEST_F(SettingsRoundTrip, SetStopsAtTheOneThatTheServerRefuses) {
    const Outcome result =
        runExpecting(1, {"set", "volume.master=-1dB", "ducking.mode=7", "volume.second=-3dB"});
    EXPECT_EQ(result.err,
              "cabinaudio: cannot set ducking.mode=7: the server refused it: AUDIO_BAD_VALUE "
              "(-3000); set: volume.master=-1dB; not set: volume.second=-3dB\n");
    EXPECT_EQ(get({"volume.master", "volume.second"}), "volume.master=-1dB\nvolume.second=0dB\n");
    const json all =
        json::parse(runTool({"set", "--json", "volume.master=-2dB", "ducking.mode=7"}).out);
    EXPECT_EQ(all["set"], json({"volume.master=-2dB"}));
    EXPECT_EQ(all["ended"], "failed");
    EXPECT_THAT(all["error"].get<std::string>(), HasSubstr("ducking.mode=7"));
}

}  // namespace cabinaudio::test
