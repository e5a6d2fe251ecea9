// SPDX-License-Identifier: Apache-2.0
// Changes of settings as the tool prints them.
#include <cabinaudio/foundation/AudioConnectType.h>

#include "tests/tools/ToolTest.h"
#include "wire/Settings.h"

#include <atomic>
#include <csignal>
#include <ctime>
#include <fstream>

namespace cabinaudio::test {

TEST(Monitor, PrintsChangesByAnotherProcess) {
    const RealServer server;
    ToolProcess monitor({"monitor", "--interval", "20", "--count", "1"});
    ASSERT_TRUE(monitor.waitForErr("; Ctrl-C ends it"));
    runExpecting(0, {"set", "volume.master=-3dB"});
    const Outcome result = monitor.finishExpecting(0);
    EXPECT_THAT(
        result.out,
        testing::MatchesRegex("[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\\.[0-9]+ volume\\.master=-3dB\n"));
}

TEST(Monitor, WatchesOnlyTheGivenNames) {
    const RealServer server;
    ToolProcess monitor({"monitor", "volume.type.*", "--json", "--interval", "20", "--count", "1"});
    ASSERT_TRUE(monitor.waitForErr("watching 6 settings"));
    runExpecting(0, {"set", "volume.master=-3dB", "volume.type.alarm=90"});
    const Outcome result = monitor.finishExpecting(0);
    const Words lines = linesOf(result.out);
    ASSERT_EQ(lines.size(), 2u) << result.out;
    const json change = json::parse(lines[0]);
    EXPECT_EQ(change["name"], "volume.type.alarm");
    EXPECT_EQ(change["value"], -5);
    EXPECT_EQ(change["time"].get<std::string>().size(),
              std::string("2000-01-01T00:00:00.000").size());
    EXPECT_EQ(json::parse(lines[1]),
              json::parse(R"({"changes":1,"ended":"done","error":null,"exit":0})"));
}

TEST(Monitor, PrintsStreamsThatComeAndGo) {
    const TemporaryDirectory directory;
    const std::string file = directory.file("sound.wav");
    writeSound(file, {.frames = 960000});
    const RealServer server;
    const Words watch = {"monitor", "volume.*", "--interval", "20", "--count", "1"};
    ToolProcess coming(watch);
    ASSERT_TRUE(coming.waitForErr("; Ctrl-C ends it"));
    ToolProcess player({"play", file, "--tag", "auxiliary", "--name", "a beep"});
    const Outcome come = coming.finishExpecting(0);
    EXPECT_THAT(come.out, HasSubstr(" volume.track.auxiliary.a%20beep=0dB\n"));
    ToolProcess going(watch);
    ASSERT_TRUE(going.waitForErr("; Ctrl-C ends it"));
    player.send(SIGINT);
    const Outcome gone = going.finishExpecting(0);
    EXPECT_THAT(gone.out, HasSubstr(" volume.track.auxiliary.a%20beep is gone\n"));
}

/// Without the times.
Words changesIn(const std::string& printed) {
    Words lines = linesOf(printed);
    for (std::string& line : lines)
        line.erase(0, line.find(' ') + 1);
    return lines;
}

TEST(Monitor, PrintsEveryChangeInOrderHoweverSeldomItPolls) {
    const RealServer server;
    ToolProcess monitor({"monitor", "volume.master", "mixer.navigation.mode", "--interval",
                         "3600000", "--count", "5"});
    ASSERT_TRUE(monitor.waitForErr("watching 2 settings"));
    const Words changes = {"volume.master=-3dB", "volume.master=0dB", "mixer.navigation.mode=0",
                           "volume.master=-3dB", "mixer.navigation.mode=1"};
    runExpecting(0, with({"set"}, changes));
    EXPECT_EQ(changesIn(monitor.finishExpecting(0).out), changes);
}

TEST(Monitor, PrintsWhatSetWasGiven) {
    const Words given = {"volume.master=-6.5dB",
                         "volume.second=-103.5dB",
                         "volume.alternative=24dB",
                         "volume.type.media=-7dB",
                         "volume.track.main.a%20b=-1dB",
                         "track.auxiliary.nav.channels=0dB,-1dB,-2dB,-3dB,-4dB,-5dB,-6dB,-7dB",
                         "volume.channel.CF=-5dB",
                         "volume.ramp=30ms,40ms",
                         "mute.second=on",
                         "duck=25%",
                         "duck=off",
                         "ducking.mode=1",
                         "ducking.target=-12dB",
                         "uplink.gain=3dB",
                         "mic.op.1=1dB,2dB",
                         "mic.pga.1=3dB,4dB",
                         "mixer.navigation=-1dB,-2dB,-3dB,-4dB",
                         "mixer.navigation.mode=0",
                         "mixer.alternative=-4dB,-3dB,-2dB,-1dB",
                         "mixer.upmix=1",
                         "destination.uplink=recorder",
                         "source.front=3",
                         "source.rear=4",
                         "seat.front=1",
                         "seat.rear=2",
                         "adc.pin.1=7",
                         "adc.swap=on",
                         "dac.map=5,4,3,2,1,0",
                         "i2s.map=7,6,5,4,3,2,1,0",
                         "pcm.interface=1,2,3,4,5",
                         "pcm.interface.enabled=on",
                         "speaker.output=LF+RF",
                         "handsfree.delay=6",
                         "samplerate.capability=2",
                         "ramp.auto=off",
                         "speaker.delay.L1=1.5ms",
                         "aec.quality=1",
                         "aec.duplex=2",
                         "nr.attenuation=3",
                         "bypass=on",
                         "reverb.mode=4",
                         "dac.gain=5",
                         "effect.main.hall=on",
                         "effect.main.hall.parameter=0102ff",
                         "capture-effect.input0.gate=a0"};
    const RealServer server;
    Words command = {"monitor", "--interval", "3600000", "--count", std::to_string(given.size())};
    for (const std::string& line : given)
        command.push_back(line.substr(0, line.find('=')));
    ToolProcess monitor(command);
    ASSERT_TRUE(monitor.waitForErr("; Ctrl-C ends it"));
    runExpecting(0, with({"set"}, given));
    EXPECT_EQ(changesIn(monitor.finishExpecting(0).out), given);
    // The library reads the same.
    for (const std::string& line : given) {
        const Outcome read = runTool({"get", line.substr(0, line.find('='))});
        if (read.exitCode == 0) {
            EXPECT_EQ(read.out, line + "\n");
        }
    }
}

TEST(Monitor, FindsFadeBalanceAndMicrophoneGainAsTheLibraryDoes) {
    const RealServer server;
    ToolProcess monitor({"monitor", "fade", "balance", "mic.gain", "--interval", "3600000"});
    ASSERT_TRUE(monitor.waitForErr("watching 3 settings"));
    runExpecting(0, {"set", "fade=10", "balance=-20", "mic.gain=3dB,4dB"});
    while (monitor.readLine().find("mic.gain=3dB,4dB") == std::string::npos) {
    }
    runExpecting(0, {"set", "fade=0"});
    std::string line;
    do
        line = monitor.readLine();
    while (line.find("fade=0") == std::string::npos && !line.empty());
    EXPECT_THAT(line, HasSubstr(" fade=0"));
    EXPECT_EQ(runTool({"get", "balance"}).out, "balance=-20\n");
}

TEST(Monitor, PrintsTheServersTime) {
    const RealServer server;
    ToolProcess monitor({"monitor", "volume.master", "--json", "--count", "1"},
                        {.environment = {{"TZ", "XXX-5:45"}}});
    ASSERT_TRUE(monitor.waitForErr("watching 1 settings"));
    runExpecting(0, {"set", "volume.master=-3dB"});
    const json change = json::parse(linesOf(monitor.finishExpecting(0).out)[0]);
    struct tm printed = {};
    ASSERT_NE(strptime(change["time"].get<std::string>().c_str(), "%Y-%m-%dT%H:%M:%S", &printed),
              nullptr);
    printed.tm_isdst = -1;
    EXPECT_NEAR(std::difftime(std::mktime(&printed), std::time(nullptr)), 0, 300);
}

TEST(Monitor, WaitsForStreamsThatDoNotPlayYet) {
    const TemporaryDirectory directory;
    const std::string file = directory.file("sound.wav");
    writeSound(file, {.frames = 4800});
    const RealServer server;
    ToolProcess monitor({"monitor", "volume.track.*", "--interval", "3600000", "--count", "2"});
    ASSERT_TRUE(monitor.waitForErr("watching 0 settings"));
    runExpecting(0, {"play", file, "--name", "beep"});
    EXPECT_EQ(
        changesIn(monitor.finishExpecting(0).out),
        (Words{"volume.track.alternative.beep=0dB", "volume.track.alternative.beep is gone"}));
}

TEST(Monitor, ThatIsSuspendedForLongSaysThatItWasDropped) {
    const RealServer server;
    ToolProcess monitor({"monitor", "effect.main.hall"});
    ASSERT_TRUE(monitor.waitForErr("watching 1 settings"));
    monitor.send(SIGSTOP);
    const TemporaryDirectory directory;
    const std::string file = directory.file("settings");
    std::ofstream lines(file);
    for (int i = 0; i < 26; ++i)
        lines << "effect.main.hall.parameter=" << std::string(65000, i % 2 != 0 ? 'a' : 'b')
              << "\n";
    lines.close();
    runExpecting(0, {"set", "--file", file});
    monitor.send(SIGCONT);
    const Outcome result = monitor.finishExpecting(1);
    EXPECT_THAT(result.err, HasSubstr("cabinaudio: the server says: this subscriber has not read "
                                      "the changes, and is dropped\n"));
    EXPECT_THAT(server.output(), HasSubstr("a subscriber to changes does not read them"));
}

TEST(Monitor, PollsAServerThatDoesNotNotify) {
    ScriptedServer server;
    std::atomic<float> gain{0};
    server.on(AUDIO_CONNECT_VOLUME_SETTING, id(wire::VolumeFunction::GetMasterGain),
              [&](const Request&) { return Answer::words(0, gain.load()); });
    ToolProcess monitor({"monitor", "volume.master", "--interval", "5", "--count", "1"});
    ASSERT_TRUE(monitor.waitForErr("watching 1 settings"));
    gain = -3;
    EXPECT_EQ(changesIn(monitor.finishExpecting(0).out), Words{"volume.master=-3dB"});
}

class MonitorSignal : public testing::TestWithParam<int> {};

TEST_P(MonitorSignal, EndsWithStatusZero) {
    const RealServer server;
    ToolProcess monitor({"monitor", "volume.master"});
    ASSERT_TRUE(monitor.waitForErr("watching 1 settings"));
    monitor.send(GetParam());
    const Outcome result = monitor.finishExpecting(0);
    EXPECT_THAT(result.out, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Any, MonitorSignal, testing::Values(SIGINT, SIGTERM), nameOfSignal);

TEST(Monitor, EndsWhenTheServerDies) {
    RealServer server;
    ToolProcess monitor({"monitor", "--interval", "20"});
    ASSERT_TRUE(monitor.waitForErr("; Ctrl-C ends it"));
    server.kill(SIGKILL);
    (void)server.wait();
    const Outcome result = monitor.finishExpecting(3);
    EXPECT_THAT(result.err, testing::AnyOf(HasSubstr("cabinaudio: the server went away\n"),
                                           HasSubstr("cabinaudio: no server")));
}

TEST(Monitor, RefusesSettingsThatCannotBeReadFromOtherServers) {
    const ScriptedServer server;
    const Outcome result = runExpecting(2, {"monitor", "mixer.navigation"});
    EXPECT_THAT(result.err, HasSubstr("mixer.navigation can only be set"));
}

}  // namespace cabinaudio::test
