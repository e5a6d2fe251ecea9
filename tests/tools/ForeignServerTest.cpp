// SPDX-License-Identifier: Apache-2.0
//
// Another user has taken the server's name.
#include <cabinaudio/foundation/AudioConnectType.h>

#include "tests/support/LocalSocket.h"
#include "tests/support/UserProcess.h"
#include "tests/tools/ToolTest.h"
#include "wire/Frame.h"
#include "wire/Settings.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace cabinaudio::test {

namespace {

using testing::MatchesRegex;

/// One line of the tool or of the launcher, whichever the test starts.
constexpr char WARNING[] =
    "cabinaudio(-run)?: warning: the server belongs to user 65534, who can hear and change what is "
    "played and recorded\n";

[[noreturn]] void answerForEver(int listener) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    while (true) {
        const int connection = accept(listener, nullptr, nullptr);
        std::array<char, 100> line;
        if (recv(connection, line.data(), line.size(), 0) > 0) {
            constexpr char ANSWER[] = "{\"output\":{},\"streams\":[]}\n";
            (void)!send(connection, ANSWER, sizeof ANSWER - 1, MSG_NOSIGNAL);
        }
        close(connection);
    }
}

std::string take(const std::string& name) {
    const server::UniqueFd listener = listenAt(name);
    if (fork() == 0) answerForEver(listener.get());
    return "listens";
}

json serverUserIn(const std::string& checks) {
    for (const json& check : json::parse(checks))
        if (check["name"] == "server_user") return check;
    return nullptr;
}

class AnotherUsersServer : public testing::Test {
protected:
    void SetUp() override {
        if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
        mServer.emplace(User{}, [] { return take(CONTROL_SOCKET); });
        ASSERT_EQ(mServer->report(), "listens");
    }

    std::optional<UserProcess> mServer;
};

}  // namespace

TEST_F(AnotherUsersServer, CausesAWarningForAServerCommand) {
    const Outcome result =
        runExpecting(0, {"server", "state", "--json"}, {.isStateScripted = true});
    EXPECT_TRUE(json::parse(result.out).is_object());
    EXPECT_THAT(result.err, MatchesRegex(WARNING));
}

TEST_F(AnotherUsersServer, CausesAWarningForAClient) {
    ScriptedServer server;
    server.on(AUDIO_CONNECT_VERSION_SETTING,
              static_cast<std::uint32_t>(wire::VersionFunction::GetServerVersions),
              Answer::words(0, 2, 24, 7, 1, 2, 3, 99));
    const Outcome result = runExpecting(0, {"version", "--json"});
    EXPECT_TRUE(json::parse(result.out).is_object());
    EXPECT_THAT(result.err, MatchesRegex(WARNING));
}

TEST_F(AnotherUsersServer, IsNamedByTheDoctorWithACure) {
    ScriptedServer server;
    server.on(AUDIO_CONNECT_VERSION_SETTING,
              static_cast<std::uint32_t>(wire::VersionFunction::GetServerVersions),
              Answer::words(0, 2, 24, 7, 1, 2, 3, 99));
    const json check = serverUserIn(runTool({"doctor", "--json", "--timeout", "0.5"}).out);
    EXPECT_EQ(check["level"], "warning");
    EXPECT_EQ(check["user_number"], 65534);
    EXPECT_THAT(check["detail"].get<std::string>(),
                MatchesRegex("the server belongs to user [a-z0-9]+, this is user root, whose sound "
                             "the other user can hear and change"));
    EXPECT_THAT(check["cure"].get<std::string>(), HasSubstr("cabinaudio-server --instance"));
}

TEST_F(AnotherUsersServer, CausesOneWarningFromLauncherAndTool) {
    if (toolIsEmulated()) GTEST_SKIP() << "there it is always started by the launcher";
    const std::filesystem::path tool = toolPath();
    ToolSetup setup;
    setup.isStateScripted = true;
    setup.program = tool.parent_path().parent_path() / "devkit" / "board" / "cabinaudio-run";
    const Outcome result = runExpecting(0, {"--", tool, "server", "state", "--json"}, setup);
    EXPECT_TRUE(json::parse(result.out).is_object());
    EXPECT_THAT(result.err, MatchesRegex(WARNING));
    EXPECT_THAT(result.err, HasSubstr("cabinaudio-run: warning"));
}

/// This socket alone receives all that is played; the real server cannot start then.
TEST(AnotherUser, WithOnlyTheClientSocketCausesAWarning) {
    if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
    UserProcess server(User{}, [] { return take(wire::SERVER_SOCKET); });
    ASSERT_EQ(server.report(), "listens");
    const Outcome result = runTool({"version", "--timeout", "5"});
    EXPECT_THAT(result.err, testing::ContainsRegex("warning: the server belongs to user 65534"));
}

TEST(RootServer, CausesNoWarning) {
    if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
    if (toolIsEmulated()) GTEST_SKIP() << "others may not run the emulator's launcher";
    const RealServer server({"--output", "null", "--allow-all"});
    const std::string said = asUser(User{}, [] {
        if (access(toolPath().c_str(), X_OK) != 0) return std::string("no access");
        const Outcome result = runTool({"server", "state", "--json"});
        return std::to_string(result.exitCode) + result.err;
    });
    if (said == "no access") GTEST_SKIP() << "others may not run " << toolPath();
    EXPECT_EQ(said, "0");
}

TEST(OwnServer, CausesNoWarning) {
    const RealServer server;
    EXPECT_THAT(runTool({"server", "state", "--json"}).err, IsEmpty());
    EXPECT_THAT(runTool({"version", "--json"}).err, IsEmpty());
}

/// The server sends its reason before it closes the connection.
TEST(RefusedTool, PrintsTheReasonOfTheServer) {
    if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
    if (toolIsEmulated()) GTEST_SKIP() << "others may not run the emulator's launcher";
    const RealServer server;
    const std::string said = asUser(User{}, [] {
        if (access(toolPath().c_str(), X_OK) != 0) return std::string("no access");
        const Outcome result = runTool({"server", "state"});
        return std::to_string(result.exitCode) + " " + result.err;
    });
    if (said == "no access") GTEST_SKIP() << "others may not run " << toolPath();
    EXPECT_EQ(said, "1 cabinaudio: user 65534 may not use this server; it runs as user 0\n");
}

TEST(RefusedTool, LearnsFromTheDoctorWhoseServerItIs) {
    if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
    if (toolIsEmulated()) GTEST_SKIP() << "others may not run the emulator's launcher";
    const RealServer server;
    const std::string said = asUser(User{}, [] {
        if (access(toolPath().c_str(), X_OK) != 0) return std::string("no access");
        const Outcome result = runTool({"doctor", "--json"});
        // The check of physical memory makes this user's, which no server removes.
        const char* const instance = std::getenv("CABINAUDIO_INSTANCE");
        if (instance != nullptr)
            std::filesystem::remove("/dev/shm/cabinaudio-physmem-" + std::to_string(getuid()) +
                                    "-" + instance);
        return std::to_string(result.exitCode) + serverUserIn(result.out).dump();
    });
    if (said == "no access") GTEST_SKIP() << "others may not run " << toolPath();
    EXPECT_THAT(said, StartsWith("1{"));
    EXPECT_THAT(said, HasSubstr("the server belongs to user root, this is user "));
    EXPECT_THAT(said, HasSubstr(", who may not use it"));
    EXPECT_THAT(said, HasSubstr("--allow-group"));
}

}  // namespace cabinaudio::test
