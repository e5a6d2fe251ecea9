// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/link/LinkPolicy.h>
#include <cabinaudio/testing/Testing.h>

#include "tests/support/Files.h"
#include "tests/support/ProcessState.h"
#include "tests/testing/helpers/MessageOf.h"
#include "tests/testing/helpers/Playing.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <thread>

using namespace cabinaudio::testing;
using kit::messageOf;
using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

namespace fs = std::filesystem;

ServerOptions inRealTime() {
    ServerOptions options;
    options.time = Time::Real;
    return options;
}

ServerOptions asFastAsWritten() {
    ServerOptions options;
    options.time = Time::Fast;
    return options;
}

fs::path physicalMemoryOf(const TestServer& server) {
    return "/dev/shm/cabinaudio-physmem-" + std::to_string(geteuid()) + "-" + server.instance();
}

/// Sets a variable until the end of the scope.
class Variable {
public:
    Variable(const char* name, const std::string& value)
        : mName(name), mBefore(std::getenv(name) != nullptr ? std::getenv(name) : "") {
        setenv(name, value.c_str(), 1);
    }
    ~Variable() { setenv(mName, mBefore.c_str(), 1); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* mName;
    std::string mBefore;
};

}  // namespace

TEST(TestServer, IsReachedByTheLibraryInThisProcess) {
    const TestServer server(inRealTime());
    float db = 1;
    EXPECT_EQ(ClientVolumeSetting().getMasterVolume(&db), 0);
    EXPECT_EQ(db, 0.0F);
}

TEST(TestServer, HasAnInstanceOfItsOwnWhileItLives) {
    const std::string before = std::getenv("CABINAUDIO_INSTANCE");
    {
        const TestServer server(inRealTime());
        EXPECT_NE(server.instance(), before);
        EXPECT_EQ(std::getenv("CABINAUDIO_INSTANCE"), server.instance());
        EXPECT_TRUE(server.isRunning());
    }
    EXPECT_EQ(std::getenv("CABINAUDIO_INSTANCE"), before);
}

TEST(TestServer, KeepsTheUsersDiagnosticsSettingsAway) {
    const Variable variable("CABINAUDIO_CONFIG_DIR", "/nowhere/of/the/user");
    {
        const TestServer server(inRealTime());
        EXPECT_EQ(std::getenv("CABINAUDIO_CONFIG_DIR"), server.directory() + "/config");
    }
    EXPECT_STREQ(std::getenv("CABINAUDIO_CONFIG_DIR"), "/nowhere/of/the/user");
}

TEST(TestServer, LimitsTheWaitsOfTheLibrary) {
    const TestServer server(inRealTime());
    EXPECT_EQ(cabinaudio::linkPolicy().replyTimeout, 60s);
    EXPECT_TRUE(cabinaudio::linkPolicy().wakesOnServerLoss);
}

TEST(TestServer, GivesWhatWasHeard) {
    TestServer server(asFastAsWritten());
    EXPECT_EQ(kit::play("chime", kit::tone(440, 0.5)), "");
    const Result result = server.stop();
    EXPECT_EQ(result.exitStatus(), 0) << result.log();
    EXPECT_EQ(result.signal(), 0);
    EXPECT_FALSE(server.isRunning());
    const Heard heard = result.heard();
    EXPECT_THAT(heard, HasTone(440).between(0.1, 0.4));
    EXPECT_THAT(heard.streams(), ::testing::ElementsAre("chime"));
    const std::vector<Segment> segments = heard.segments("chime");
    ASSERT_FALSE(segments.empty());
    EXPECT_NEAR(segments.back().to - segments.front().from, 0.5, 0.1);
    EXPECT_EQ(result.stem("chime").frames(), kit::RATE / 2);
    EXPECT_THAT(messageOf([&] { (void)result.stem("bell"); }), HasSubstr("\"bell\""));
    EXPECT_THAT(result.errors(), ::testing::IsEmpty());
    EXPECT_THAT(result.report(), HasSubstr("\"chime\""));
}

TEST(TestServer, RemovesItsDirectory) {
    std::string directory;
    {
        TestServer server(asFastAsWritten());
        directory = server.directory();
        EXPECT_TRUE(fs::exists(directory));
    }
    EXPECT_FALSE(fs::exists(directory));
}

TEST(TestServer, WritesIntoADirectoryOfTheTest) {
    const TestDirectory directory;
    {
        const TestServer server(asFastAsWritten(), directory.path());
        EXPECT_EQ(server.directory(), directory.path());
    }
    EXPECT_TRUE(fs::exists(directory.file("heard.wav")));
    EXPECT_TRUE(fs::exists(directory.file("report.json")));
}

TEST(TestServer, TakesArgumentsAndInputs) {
    ServerOptions options = asFastAsWritten();
    options.arguments = {"--channels", "6"};
    options.inputs = {{"", "silence"}, {"input0", "tone:440"}};
    TestServer server(options);
    const std::string file = "/proc/" + std::to_string(server.pid()) + "/cmdline";
    std::string words = cabinaudio::test::contentsOf(file);
    std::replace(words.begin(), words.end(), '\0', ' ');
    EXPECT_THAT(words, HasSubstr(" --input silence --input input0=tone:440 "));
    EXPECT_THAT(server.state(), HasSubstr("\"channels\":6"));
    EXPECT_EQ(server.stop().heard().sound().channels, 6U);
}

TEST(TestServer, RefusedCommandThrowsTheAnswer) {
    TestServer server(inRealTime());
    EXPECT_THAT(messageOf([&] { server.command("dance"); }), StartsWith("command 'dance': "));
    EXPECT_THAT(messageOf([&] { server.remove("nothing"); }),
                StartsWith("command 'stream remove nothing': "));
}

TEST(TestServer, RefusedOptionThrowsWithTheWordsOfTheServer) {
    ServerOptions options = inRealTime();
    options.arguments = {"--dance"};
    EXPECT_THAT(messageOf([&] { const TestServer server(options); }),
                AllOf(HasSubstr("did not come up"), HasSubstr("--dance")));
}

TEST(TestServer, NamesAProgramThatIsMissing) {
    const Variable variable("CABINAUDIO_SERVER", "/nowhere/server");
    EXPECT_EQ(messageOf([&] { const TestServer server(inRealTime()); }),
              "CABINAUDIO_SERVER=/nowhere/server: No such file or directory");
}

TEST(TestServer, SaysWhatToInstallWhenNothingIsInThePath) {
    const Variable variable("CABINAUDIO_SERVER", "");
    const Variable path("PATH", "/nowhere");
    EXPECT_EQ(messageOf([&] { const TestServer server(inRealTime()); }),
              "cabinaudio-server is not found in PATH: install the development kit, or set "
              "CABINAUDIO_SERVER");
}

TEST(TestServer, CrashLeavesNoPhysicalMemoryAndASignal) {
    TestServer server(inRealTime());
    const fs::path memory = physicalMemoryOf(server);
    EXPECT_TRUE(fs::exists(memory));
    server.crash();
    EXPECT_FALSE(fs::exists(memory));
    EXPECT_FALSE(server.isRunning());
    EXPECT_EQ(server.stop().signal(), SIGKILL);
    EXPECT_EQ(server.stop().exitStatus(), -1);
    EXPECT_THAT(messageOf([&] { (void)server.stop().report(); }),
                HasSubstr("report.json: the server has written no report"));
    EXPECT_THAT(messageOf([&] { server.command("state"); }),
                HasSubstr("the server does not listen for commands"));
}

TEST(TestServer, RestartKeepsTheInstanceAndTheOptions) {
    TestServer server(asFastAsWritten());
    ClientVolumeSetting volume;
    EXPECT_EQ(kit::play("chime", kit::tone(440, 0.5)), "");
    ASSERT_EQ(volume.setMasterVolume(-20.0F), 0);
    const std::string instance = server.instance();
    const pid_t before = server.pid();
    const Result first = server.restart();
    EXPECT_EQ(first.exitStatus(), 0) << first.log();
    EXPECT_THAT(first.heard().streams(), ::testing::ElementsAre("chime"));
    EXPECT_NE(server.pid(), before);
    EXPECT_EQ(server.instance(), instance);
    float db = 1;
    EXPECT_NE(volume.getMasterVolume(&db), 0) << "the object is of the first run";
    EXPECT_EQ(ClientVolumeSetting().getMasterVolume(&db), 0);
    EXPECT_EQ(db, 0.0F) << "initial value";
    EXPECT_EQ(kit::play("bell", kit::tone(880, 0.5)), "");
    const Result second = server.stop();
    EXPECT_THAT(second.heard().streams(), ::testing::ElementsAre("bell"));
    EXPECT_THAT(second.heard(), HasTone(880).between(0.1, 0.4));
    EXPECT_EQ(second.directory(), server.directory() + "/run2");
    EXPECT_EQ(server.results().size(), 2U);
}

TEST(TestServer, StartsAgainAfterACrash) {
    TestServer server(inRealTime());
    server.crash();
    const Result crash = server.restart();
    EXPECT_TRUE(crash.isCrash());
    EXPECT_EQ(crash.signal(), SIGKILL);
    EXPECT_TRUE(server.isRunning());
    float db = 1;
    EXPECT_EQ(ClientVolumeSetting().getMasterVolume(&db), 0);
    EXPECT_EQ(server.stop().exitStatus(), 0);
    EXPECT_FALSE(server.stop().isCrash());
}

TEST(TestServer, DamagesOneReply) {
    TestServer server(inRealTime());
    ClientVolumeSetting volume;
    ASSERT_EQ(volume.setMasterVolume(-20.0F), 0);
    float db = 1;
    server.damageReply(Damage::ShortReply, "getMasterVolume");
    (void)volume.getMasterVolume(&db);
    EXPECT_NE(db, -20.0F);
    EXPECT_EQ(volume.getMasterVolume(&db), 0);
    EXPECT_EQ(db, -20.0F);
    server.damageReply(Damage::WrongMagic, "any");
    EXPECT_NE(volume.setMasterVolume(-10.0F), 0);
    EXPECT_NE(volume.setMasterVolume(-10.0F), 0) << "the library has left the connection";
    EXPECT_EQ(messageOf([&] { server.damageReply(Damage::ShortReply, "dance"); }),
              "command 'fault short-reply dance': no request \"dance\"");
}

TEST(TestServer, StalledServerAnswersLater) {
    TestServer server(inRealTime());
    const auto before = std::chrono::steady_clock::now();
    server.stall(100ms);
    (void)server.state();
    EXPECT_GE(std::chrono::steady_clock::now() - before, 100ms);
}

TEST(TestServer, EndsWithTheThreadThatMadeIt) {
    std::unique_ptr<TestServer> server;
    // As when a test program is killed: nothing ends the server.
    std::thread([&] { server = std::make_unique<TestServer>(inRealTime()); }).join();
    const fs::path memory = physicalMemoryOf(*server);
    // A thread can be joined before the kernel has noticed its end.
    EXPECT_TRUE(cabinaudio::test::eventually([&] { return !server->isRunning(); }));
    EXPECT_EQ(server->stop().signal(), SIGKILL);
    EXPECT_FALSE(fs::exists(memory));
}

TEST(TestServer, WaitForTheEndOfAStreamHasABound) {
    TestServer server(inRealTime());
    EXPECT_EQ(messageOf([&] { server.untilFinished("music", 20ms); }),
              "stream \"music\" has not finished within 20 ms: it does not exist");
}

TEST(TestServer, WaitsForTheEndOfAStream) {
    TestServer server(inRealTime());
    auto player =
        std::async(std::launch::async, [] { return kit::play("chime", kit::tone(440, 0.2)); });
    server.untilFinished("chime");
    EXPECT_EQ(player.get(), "");
}
