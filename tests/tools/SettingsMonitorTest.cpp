// SPDX-License-Identifier: Apache-2.0
// Changes of settings as they are seen by the tool.
#include "tests/server/TemporaryDirectory.h"
#include "tests/support/RealServer.h"
#include "tests/tools/Sounds.h"
#include "tests/tools/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <sstream>

namespace cabinaudio::test {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

}  // namespace

TEST(TheMonitor, SeesWhatAnotherProcessChanges) {
    const RealServer server;
    ToolProcess monitor({"monitor", "--interval", "20", "--count", "1"});
    ASSERT_TRUE(monitor.waitForErr("; Ctrl-C ends it"));
    EXPECT_EQ(runTool({"set", "volume.master=-3dB"}).exitCode, 0);
    const ToolResult result = monitor.wait();
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.out,
                MatchesRegex("[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\\.[0-9]+ volume\\.master=-3dB\n"));
}

TEST(TheMonitor, WatchesOnlyWhatItIsToldTo) {
    const RealServer server;
    ToolProcess monitor({"monitor", "volume.type.*", "--json", "--interval", "20", "--count", "1"});
    ASSERT_TRUE(monitor.waitForErr("watching 6 settings"));
    EXPECT_EQ(runTool({"set", "volume.master=-3dB", "volume.type.alarm=90"}).exitCode, 0);
    const ToolResult result = monitor.wait();
    EXPECT_EQ(result.exitCode, 0) << result.text();
    std::istringstream lines(result.out);
    std::string line;
    ASSERT_TRUE(std::getline(lines, line));
    const json change = json::parse(line);
    EXPECT_EQ(change["name"], "volume.type.alarm");
    EXPECT_EQ(change["value"], -5);
    EXPECT_EQ(change["time"].get<std::string>().size(),
              std::string("2000-01-01T00:00:00.000").size());
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_EQ(json::parse(line), json::parse(R"({"changes":1,"ended":"done","error":null})"));
    EXPECT_FALSE(std::getline(lines, line));
}

TEST(TheMonitor, SeesStreamsComeAndGo) {
    const TemporaryDirectory directory;
    const std::string file = directory.file("sound.wav");
    writeSound(file, {.frames = 960000});
    const RealServer server;
    const std::vector<std::string> watch = {"monitor", "volume.*", "--interval",
                                            "20",      "--count",  "1"};
    ToolProcess coming(watch);
    ASSERT_TRUE(coming.waitForErr("; Ctrl-C ends it"));
    ToolProcess player({"play", file, "--tag", "auxiliary", "--name", "a beep"});
    const ToolResult come = coming.wait();
    EXPECT_EQ(come.exitCode, 0) << come.text();
    EXPECT_THAT(come.out, HasSubstr(" volume.track.auxiliary.a%20beep=0dB\n"));
    ToolProcess going(watch);
    ASSERT_TRUE(going.waitForErr("; Ctrl-C ends it"));
    player.send(SIGINT);
    const ToolResult gone = going.wait();
    EXPECT_EQ(gone.exitCode, 0) << gone.text();
    EXPECT_THAT(gone.out, HasSubstr(" volume.track.auxiliary.a%20beep is gone\n"));
}

class AMonitorSignal : public testing::TestWithParam<int> {};

TEST_P(AMonitorSignal, EndsItWell) {
    const RealServer server;
    ToolProcess monitor({"monitor", "volume.master"});
    ASSERT_TRUE(monitor.waitForErr("watching 1 settings"));
    monitor.send(GetParam());
    const ToolResult result = monitor.wait();
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.out, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Any, AMonitorSignal, testing::Values(SIGINT, SIGTERM),
                         [](const auto& test) { return test.param == SIGINT ? "Int" : "Term"; });

TEST(TheMonitor, EndsWhenTheServerDies) {
    RealServer server;
    ToolProcess monitor({"monitor", "--interval", "20"});
    ASSERT_TRUE(monitor.waitForErr("; Ctrl-C ends it"));
    server.kill(SIGKILL);
    (void)server.wait();
    const ToolResult result = monitor.wait();
    EXPECT_EQ(result.exitCode, 3) << result.text();
    EXPECT_THAT(result.err, testing::AnyOf(HasSubstr("cabinaudio: the server went away\n"),
                                           HasSubstr("cabinaudio: no server")));
}

TEST(TheMonitor, RefusesWhatCanOnlyBeSet) {
    const RealServer server;
    const ToolResult result = runTool({"monitor", "mixer.navigation"});
    EXPECT_EQ(result.exitCode, 2) << result.text();
    EXPECT_THAT(result.err, HasSubstr("mixer.navigation can only be set"));
}

}  // namespace cabinaudio::test
