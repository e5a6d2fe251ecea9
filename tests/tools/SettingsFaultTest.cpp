// SPDX-License-Identifier: Apache-2.0
// Wrong names, wrong values and failing servers.
#include <cabinaudio/foundation/AudioConnectType.h>

#include "tests/tools/ToolTest.h"
#include "wire/Settings.h"

#include <csignal>

namespace cabinaudio::test {

namespace {

using wire::VolumeFunction;

struct Wrong {
    std::string assignment;
    std::string says;
};

void PrintTo(const Wrong& wrong, std::ostream* out) {
    *out << wrong.assignment;
}

constexpr std::uint32_t VOLUME = AUDIO_CONNECT_VOLUME_SETTING;

}  // namespace

class WrongAssignment : public testing::TestWithParam<Wrong> {};

TEST_P(WrongAssignment, PreventsAllRequests) {
    ScriptedServer server;
    const Outcome result = runExpecting(2, {"set", "volume.master=-1dB", GetParam().assignment});
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, StartsWith("cabinaudio: " + GetParam().says));
    expectOneLine(result.err);
    EXPECT_THAT(server.requests(VOLUME, id(VolumeFunction::SetMasterGain)), IsEmpty());
}

const std::string OUT_OF_RANGE = "volume.second: must be -103.5dB to 24dB, or 0 to 148";

INSTANTIATE_TEST_SUITE_P(
    Any, WrongAssignment,
    testing::Values(
        Wrong{"volume.master", "'volume.master' is no NAME=VALUE; nothing was set"},
        Wrong{"volume.mastre=1", "unknown setting 'volume.mastre'; did you mean volume.master"},
        Wrong{"navigation=1", "unknown setting 'navigation'; did you mean "},
        Wrong{"=1", "unknown setting ''"}, Wrong{"volume.channel.XX=1", "unknown setting"},
        Wrong{"mic.op.2=0dB,0dB", "unknown setting 'mic.op.2'"},
        Wrong{"eq.4294967296=00", "unknown setting 'eq.4294967296'"},
        Wrong{"eq.-1=00", "unknown setting 'eq.-1'"},
        Wrong{"volume.track.main.=1", "unknown setting 'volume.track.main.'"},
        Wrong{"volume.*=1", "no setting"}, Wrong{"tracks=1", "tracks can only be read"},
        Wrong{"volume.second=149", OUT_OF_RANGE},
        Wrong{"volume.second=-1",
              OUT_OF_RANGE + "; a step has no sign: write -1dB for a gain, 1- for 1 less; "},
        Wrong{"volume.second=+5", OUT_OF_RANGE +
                                      "; a step has no sign: write 5 for the step, +5dB for a "
                                      "gain, 5+ for 5 more; nothing was set"},
        Wrong{"volume.second=+50%",
              OUT_OF_RANGE + "; a percentage has no sign: write 50% for the value, 50%+ for 50% "},
        Wrong{"volume.second=-6.5", OUT_OF_RANGE + "; a number without dB is a volume step"},
        Wrong{"volume.second=+-3dB", OUT_OF_RANGE}, Wrong{"volume.second=nan%", OUT_OF_RANGE},
        Wrong{"volume.second=1586%", OUT_OF_RANGE + "; 100% is 0dB"},
        Wrong{"volume.second=24.1dB", OUT_OF_RANGE}, Wrong{"volume.second=-103.6dB", OUT_OF_RANGE},
        Wrong{"volume.second=nandB", OUT_OF_RANGE}, Wrong{"volume.second=infdB", OUT_OF_RANGE},
        Wrong{"volume.second=", OUT_OF_RANGE}, Wrong{"volume.second=1x", OUT_OF_RANGE},
        Wrong{"volume.second=1dB,2dB", OUT_OF_RANGE},
        Wrong{"ducking.target=0.5dB", "ducking.target: must be -103.5dB to 0dB, or 0 to 100"},
        Wrong{"ducking.target=101", "ducking.target: must be -103.5dB to 0dB, or 0 to 100"},
        Wrong{"mixer.navigation=-1dB,-2dB", "mixer.navigation: must be 4 x -103.5dB to 0dB"},
        Wrong{"mixer.navigation=-1dB,5,5,5", "mixer.navigation: must be all gains in dB or %, or"},
        Wrong{"duck=101", "duck: must be off, or 0% to 100%"},
        Wrong{"duck=-1", "duck: must be off, or 0% to 100%; nothing was set"},
        Wrong{"duck=+1%",
              "duck: must be off, or 0% to 100%; this value has no sign: write 1% for the value; "
              "nothing was set"},
        Wrong{"speaker.delay.LF=-5ms",
              "speaker.delay.LF: must be 0ms to 1000ms; this value has no sign: write 5ms- for 5ms "
              "less; nothing was set"},
        Wrong{"fade=101", "fade: must be -100 to 100"},
        Wrong{"mute.main=2", "mute.main: must be on or off"},
        Wrong{"mute.main=", "mute.main: must be on or off"},
        Wrong{"mic.calibration=1", "mic.calibration: must be start"},
        Wrong{"aec.quality=2147483648", "aec.quality: must be -2147483648 to 2147483647"},
        Wrong{"dac.map=0,1,2,3,4,11", "dac.map: must be 6 x -2147483648 to 10"},
        Wrong{"speaker.output=LF+XX", "speaker.output: must be none, or some of LF+RF"},
        Wrong{"source.main=" + std::string(64, 'x'), "source.main: must be a text of at most 63"},
        Wrong{"eq.0=123", "eq.0: has an odd number of hex digits"},
        Wrong{"eq.0=xy", "eq.0: must be hex digits, or @ and the name of a file"},
        Wrong{"eq.0=@/nonsense/file", "eq.0: cannot open file /nonsense/file"},
        Wrong{"nlp.0=" + std::string(26, '0'), "nlp.0: has 13 bytes; 12 is the most"}));

INSTANTIATE_TEST_SUITE_P(
    OfChanges, WrongAssignment,
    testing::Values(
        Wrong{"duck=5+",
              "duck can only be set: servers have no operation that tells it, and a "
              "change needs the present value; write NAME=VALUE; nothing was set"},
        Wrong{"bypass=toggle", "bypass can only be set"},
        Wrong{"volume.second=5.5+", "volume.second: '5.5' is no amount of a change; a number "},
        Wrong{"volume.second=+5+", "volume.second: an amount has no sign of its own"},
        Wrong{"volume.second+=-5", "volume.second: an amount has no sign of its own"},
        Wrong{"volume.second+=5+", "volume.second: '5+' is no amount of a change"},
        Wrong{"volume.second=infdB+", "volume.second: 'infdB' is no amount of a change"},
        Wrong{"volume.second+=", "volume.second: '' is no amount of a change"},
        Wrong{"volume.second+=toggle", "volume.second: 'toggle' is no amount of a change"},
        Wrong{"fade+=1.5", "fade: '1.5' is no amount of a change"},
        Wrong{"volume.ramp=5ms+,1ms", "volume.ramp: must be all values, or all changes"},
        Wrong{"mic.gain+=1dB,2dB,3dB", "mic.gain: must be one amount, or 2 of them"},
        Wrong{"mute.main+=1", "mute.main: is no number, and takes no +=: it must be on or off"},
        Wrong{"source.main-=x", "source.main: is no number, and takes no -=: it must be a text"},
        Wrong{"tracks+=1", "tracks can only be read"}));

TEST(Change, OfAnUnreadableValuePreventsAllRequests) {
    ScriptedServer server;
    server.on(VOLUME, id(VolumeFunction::GetSecondGain), Answer::status(-77));
    const Outcome result =
        runExpecting(1, {"set", "volume.master=-1dB", "volume.second=3dB+", "--json"});
    EXPECT_EQ(
        result.err,
        "cabinaudio: cannot read volume.second: status -77, which 'volume.second=3dB+' needs; "
        "nothing was set\n");
    EXPECT_THAT(json::parse(result.out)["set"], IsEmpty());
    EXPECT_THAT(server.requests(VOLUME, id(VolumeFunction::SetMasterGain)), IsEmpty());
}

TEST(Meter, ShowsDbAndKeepsTheServersNumbersInJson) {
    ScriptedServer server;
    server.on(AUDIO_CONNECT_APP_SETTING, id(wire::AppFunction::GetOutputEnergy),
              Answer::words(0, 1000000, 500000, 0, 1));
    const Outcome text = runExpecting(0, {"get", "energy.output"});
    EXPECT_EQ(text.out, "#energy.output=0dB,-6dB,silence,-120dB\n");
    const json all = jsonOf(runExpecting(0, {"get", "--json", "energy.output"}));
    EXPECT_EQ(all["settings"][0],
              json::parse(R"({"name":"energy.output","value":[1000000,500000,0,1],
                              "unit":"millionth","value_db":[0,-6,null,-120],"settable":false,
                              "text":"0dB,-6dB,silence,-120dB"})"));
}

TEST(FadeAndBalance, AreSentAsOneOperation) {
    ScriptedServer server;
    runExpecting(0, {"set", "fade=20", "volume.master=-1dB", "balance=-10"});
    const auto requests = server.requests(VOLUME, id(VolumeFunction::SetChannelStep));
    ASSERT_EQ(requests.size(), 4u);
    EXPECT_THAT(server.requests(VOLUME, id(VolumeFunction::GetChannelGain)), IsEmpty());
    EXPECT_EQ(requests[2].word(2), 90u);  // LS
    EXPECT_EQ(requests[3].word(2), 70u);  // RS
}

TEST(Settings, MissingInTheServerAreReported) {
    ScriptedServer server;
    server.onOther(Answer::words(-8000, 0, 0));
    const Outcome all = runExpecting(1, {"get", "volume.master"});
    EXPECT_EQ(all.err, "cabinaudio: cannot read volume.master: this server does not have it\n");
    const Outcome set = runExpecting(1, {"set", "volume.master=-1dB"});
    EXPECT_EQ(set.err,
              "cabinaudio: cannot set volume.master=-1dB: this server does not have it; nothing "
              "was set\n");
}

TEST(Settings, TimeOutWithTheListOfThoseThatWereSet) {
    ScriptedServer server;
    server.on(VOLUME, id(VolumeFunction::SetSecondGain), Answer::none());
    const Outcome result = runExpecting(4, {"set", "volume.master=-1dB", "volume.second=-2dB",
                                            "mute.main=on", "--timeout", "0.5", "--json"});
    EXPECT_EQ(result.err,
              "cabinaudio: timed out after 0.5 s waiting for the server's answer about "
              "volume.second; set: volume.master=-1dB; not set: mute.main=on\n");
    EXPECT_EQ(json::parse(result.out)["set"], json({"volume.master=-1dB"}));
}

TEST(Settings, EndWithStatusThreeWhenTheServerDies) {
    RealServer server;
    // The server stalls by command and is killed while the tool waits.
    runExpecting(0, {"server", "stall", "60000"});
    ToolProcess tool({"set", "volume.master=-1dB", "--timeout", "3", "-v"});
    ASSERT_TRUE(tool.waitForErr("connect ok"));
    server.kill(SIGKILL);
    (void)server.wait();
    const Outcome result = tool.finishExpecting(3);
    EXPECT_THAT(result.err, HasSubstr("cabinaudio: the server went away"));
}

TEST(Settings, BehindARefusedOneAreNotSet) {
    ScriptedServer server;
    server.on(VOLUME, id(VolumeFunction::SetSecondGain), Answer::status(-77));
    const Outcome result =
        runExpecting(1, {"set", "volume.master=-1dB", "volume.second=-2dB", "mute.main=on"});
    EXPECT_EQ(result.err,
              "cabinaudio: cannot set volume.second=-2dB: the server refused it: status -77; set: "
              "volume.master=-1dB; not set: mute.main=on\n");
    EXPECT_EQ(server.requests(VOLUME, id(VolumeFunction::SetMasterGain)).size(), 1u);
    EXPECT_THAT(server.requests(VOLUME, id(VolumeFunction::Mute)), IsEmpty());
}

class SettingsCommand : public testing::TestWithParam<Words> {};

TEST_P(SettingsCommand, WithoutAServerEndsWithStatusThree) {
    const Outcome result = runExpecting(3, GetParam());
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, StartsWith("cabinaudio: no server"));
    EXPECT_THAT(result.err, HasSubstr("cabinaudio-server --instance"));
}

TEST_P(SettingsCommand, WithoutAServerReportsNoServerInJson) {
    const json all = jsonOf(runExpecting(3, with(GetParam(), {"--json"})));
    EXPECT_EQ(all["ended"], "no_server");
    EXPECT_THAT(all["error"].get<std::string>(), StartsWith("no server"));
}

TEST_P(SettingsCommand, TimesOutWithASilentServer) {
    SilentServer server;
    const Outcome result = runExpecting(4, with(GetParam(), {"--timeout", "0.3", "--json"}));
    EXPECT_THAT(result.err, StartsWith("cabinaudio: timed out after 0.3 s waiting for the "));
    EXPECT_EQ(json::parse(result.out)["ended"], "timed_out");
}

INSTANTIATE_TEST_SUITE_P(Any, SettingsCommand,
                         testing::Values(Words{"get"}, Words{"set", "volume.master=1"},
                                         Words{"monitor"}));

TEST(WrongUsage, OfSettingsIsReportedInJson) {
    const RealServer server;
    const json all = jsonOf(runExpecting(2, {"set", "volume.mastre=1", "--json"}));
    EXPECT_EQ(all["ended"], "wrong_usage");
    EXPECT_THAT(all["set"], IsEmpty());
    EXPECT_THAT(all["error"].get<std::string>(), HasSubstr("volume.master"));
    EXPECT_THAT(runTool({"set", "volume.type.navigatoin=5"}).err,
                HasSubstr("did you mean volume.type.navigation"));
    EXPECT_THAT(runTool({"get", "nonsense*"}).err, HasSubstr("no setting matches 'nonsense*'"));
    runExpecting(1, {"set", "--file", "/nonsense/file"});
}

}  // namespace cabinaudio::test
