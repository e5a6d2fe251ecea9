// SPDX-License-Identifier: Apache-2.0
// Values as people write them: percentages, words of switches, and changes of the present value.
#include "tests/tools/ToolTest.h"

#include <fstream>

namespace cabinaudio::test {

namespace {

class SettingsChange : public ToolTest {
protected:
    void SetUp() override { serve(); }

    static std::string get(const Words& names) {
        return runExpecting(0, with({"get", "--value"}, names)).out;
    }

    static void set(const Words& assignments) {
        const Outcome result = runExpecting(0, with({"set"}, assignments));
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_THAT(result.err, IsEmpty());
    }
};

}  // namespace

TEST_F(SettingsChange, PercentageIsTheAmplitude) {
    set({"volume.master=50%", "volume.second=0%", "volume.alternative=200%",
         "volume.channel.LF=1585%", "volume.channel.RF=0.0001%", "volume.channel.LS=100%",
         "mixer.navigation=50%,100%,10%,0%"});
    EXPECT_EQ(get({"volume.master", "volume.second", "volume.alternative", "volume.channel.LF",
                   "volume.channel.RF", "volume.channel.LS"}),
              "-6.02dB\n-103.5dB\n6.02dB\n24dB\n-103.5dB\n0dB\n");
    const json all = json::parse(mServer->command("state"))["settings"];
    EXPECT_NEAR(all["mixer"]["navigation_db"][0].get<double>(), -6.02, 0.0001);
    EXPECT_NEAR(all["mixer"]["navigation_db"][3].get<double>(), -103.5, 0.0001);
}

TEST_F(SettingsChange, LeadingSignIsAbsoluteWithDbAndOnScalesWithNegativeNumbers) {
    set({"volume.master=+3dB", "volume.second=-3dB", "fade=+20", "balance=-20", "uplink.gain=+4",
         "mic.gain=-5", "adc.pin.0=+7"});
    EXPECT_EQ(get({"volume.master", "volume.second", "fade", "balance", "uplink.gain", "mic.gain",
                   "adc.pin.0"}),
              "3dB\n-3dB\n20\n-20\n4dB\n-5dB,-5dB\n7\n");
}

TEST_F(SettingsChange, StartsFromThePresentValueInAllNotations) {
    set({"volume.master=-6.4dB", "volume.second=90", "volume.alternative=-6.02dB", "fade=20",
         "balance=-20", "mic.gain=1dB,2dB", "mic.op.1=0dB", "speaker.delay.LF=3ms"});
    set({"volume.master=3dB+", "volume.second=5-", "volume.alternative=10%+", "fade=7+",
         "balance-=7", "mic.gain=3dB+,1dB-", "mic.op.1+=2", "speaker.delay.LF=1.5ms-"});
    EXPECT_EQ(get({"volume.master", "volume.second", "volume.alternative", "fade", "balance",
                   "mic.gain", "mic.op.1", "speaker.delay.LF"}),
              "-3.4dB\n-7.5dB\n-4.44dB\n27\n-27\n4dB,1dB\n2dB,2dB\n1.5ms\n");
    set({"volume.second+=3dB", "volume.master-=10%", "volume.alternative+=2"});
    EXPECT_EQ(get({"volume.second"}), "-4.5dB\n");
    EXPECT_EQ(get({"--steps", "volume.alternative"}), "93\n");
}

TEST_F(SettingsChange, AddsUpWithinACommand) {
    set({"volume.master=3dB-", "volume.master=3dB-", "volume.master-=1.5dB"});
    EXPECT_EQ(get({"volume.master"}), "-7.5dB\n");
    set({"volume.master=-20dB", "volume.master=3dB+", "volume.second=3dB+"});
    EXPECT_EQ(get({"volume.master", "volume.second"}), "-17dB\n3dB\n");
    // Fade follows from the loudspeakers' volumes; the change sees those of the same command.
    set({"fade=10", "balance=20", "fade=5+", "balance=5-"});
    EXPECT_EQ(get({"fade", "balance"}), "15\n15\n");
    set({"mute.main=toggle", "mute.main=!", "mute.main=!"});
    EXPECT_EQ(get({"mute.main"}), "on\n");
}

TEST_F(SettingsChange, StopsAtTheLimitAndSaysSo) {
    const Outcome result =
        runExpecting(0, {"set", "--json", "volume.master=30dB+", "volume.second=5+",
                         "volume.alternative=200%-", "fade=300-", "volume.channel.LF=200-"});
    EXPECT_EQ(linesOf(result.err),
              Words({"cabinaudio: volume.master=30dB+ stops at the limit, 24dB",
                     "cabinaudio: volume.alternative=200%- stops at the limit, -103.5dB",
                     "cabinaudio: fade=300- stops at the limit, -100",
                     "cabinaudio: volume.channel.LF=200- stops at the limit, 0"}));
    const json changes = json::parse(result.out)["changes"];
    ASSERT_EQ(changes.size(), 5u);
    EXPECT_EQ(changes[0], json::parse(R"({"name":"volume.master","from":0,"to":24,"unit":"dB",
                                          "limited":true})"));
    EXPECT_EQ(changes[1], json::parse(R"({"name":"volume.second","from":100,"to":105,
                                          "unit":"step","limited":false})"));
    EXPECT_EQ(changes[3], json::parse(R"({"name":"fade","from":0,"to":-100,"unit":null,
                                          "limited":true})"));
    EXPECT_EQ(get({"volume.master", "volume.second", "volume.alternative"}),
              "24dB\n2.5dB\n-103.5dB\n");
    // A change that ends exactly at the limit is complete.
    set({"volume.master=24dB-", "volume.master=24dB+"});
}

TEST_F(SettingsChange, SwitchesTakeTheUsualWords) {
    const Words paths = {"mute.main", "mute.second", "mute.alternative", "mute.auxiliary"};
    set({"mute.main=on", "mute.second=true", "mute.alternative=1", "mute.auxiliary=ON"});
    EXPECT_EQ(get(paths), "on\non\non\non\n");
    set({"mute.main=off", "mute.second=false", "mute.alternative=0", "mute.auxiliary=toggle"});
    EXPECT_EQ(get(paths), "off\noff\noff\noff\n");
    set({"mute.main=!", "mute.second=Toggle", "ramp.auto=0", "bypass=True"});
    EXPECT_EQ(get(paths), "on\non\noff\noff\n");
}

TEST_F(SettingsChange, ComesFromFilesAndStandardInput) {
    const std::string file = mDirectory.file("changes");
    std::ofstream(file) << "volume.master=3dB-\n# louder\nvolume.second+=1.5dB\nmute.main=!\n";
    set({"--file", file});
    runExpecting(0, {"set", "-"}, {.input = file});
    EXPECT_EQ(get({"volume.master", "volume.second", "mute.main"}), "-6dB\n3dB\noff\n");
}

TEST_F(SettingsChange, NeedsAPresentValue) {
    set({"volume.channel.LF=0.3dB"});
    const Outcome result = runExpecting(1, {"set", "volume.master=-1dB", "fade=5+"});
    EXPECT_EQ(result.err,
              "cabinaudio: cannot read fade: the loudspeakers' volumes are of no fade and balance, "
              "which 'fade=5+' needs; nothing was set\n");
    EXPECT_EQ(get({"volume.master"}), "0dB\n");
}

TEST_F(SettingsChange, LeavesNamesThatEndInASignToEscapes) {
    set({"volume.track.main.radio%2D=-3dB", "volume.track.main.a-b=-4dB"});
    EXPECT_EQ(runTool({"get", "volume.track.main.radio-", "volume.track.main.a-b"}).out,
              "volume.track.main.radio%2D=-3dB\nvolume.track.main.a-b=-4dB\n");
    set({"volume.track.main.radio%2D-=3dB"});
    EXPECT_EQ(get({"volume.track.main.radio%2D"}), "-6dB\n");
}

}  // namespace cabinaudio::test
