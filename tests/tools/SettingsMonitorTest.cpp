// SPDX-License-Identifier: Apache-2.0
// Changes of settings as the tool prints them.
#include "tests/tools/ToolTest.h"

#include <csignal>

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

TEST(Monitor, RefusesSettingsThatCannotBeRead) {
    const RealServer server;
    const Outcome result = runExpecting(2, {"monitor", "mixer.navigation"});
    EXPECT_THAT(result.err, HasSubstr("mixer.navigation can only be set"));
}

}  // namespace cabinaudio::test
