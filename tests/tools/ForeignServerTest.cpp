// SPDX-License-Identifier: Apache-2.0
//
// Another user has taken the server's name.
#include <cabinaudio/foundation/AudioConnectType.h>

#include "tests/server/UserProcess.h"
#include "tests/support/RealServer.h"
#include "tests/support/ScriptedServer.h"
#include "tests/tools/ToolProcess.h"
#include "wire/Frame.h"
#include "wire/Settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>

namespace cabinaudio::test {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

/// One line, of the tool or, where the test starts it through the launcher, of that.
constexpr char kWarning[] =
    "cabinaudio(-run)?: warning: the server belongs to user 65534, who can hear and change what is "
    "played and recorded\n";

[[noreturn]] void answerForEver(int listener) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    while (true) {
        const int connection = accept(listener, nullptr, nullptr);
        std::array<char, 100> line;
        if (recv(connection, line.data(), line.size(), 0) > 0) {
            constexpr char answer[] = "{\"output\":{},\"streams\":[]}\n";
            (void)!send(connection, answer, sizeof answer - 1, MSG_NOSIGNAL);
        }
        close(connection);
    }
}

std::string take(const std::string& name) {
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.data(), name.size());
    const auto length =
        static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) + 1 + name.size());
    if (bind(listener, reinterpret_cast<struct sockaddr*>(&address), length) != 0) return "bind";
    if (listen(listener, 10) != 0) return "listen";
    if (fork() == 0) answerForEver(listener);
    return "listens";
}

class AnotherUsersServer : public testing::Test {
protected:
    void SetUp() override {
        if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
        mServer.emplace(User{}, [] { return take("/tmp/cabinaudio_control"); });
        ASSERT_EQ(mServer->report(), "listens");
    }

    std::optional<UserProcess> mServer;
};

}  // namespace

TEST_F(AnotherUsersServer, IsWarnedOfByACommandToIt) {
    const ToolResult result = runTool({"server", "state", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_TRUE(json::parse(result.out).is_object());
    EXPECT_THAT(result.err, MatchesRegex(kWarning));
}

TEST_F(AnotherUsersServer, IsWarnedOfByAClient) {
    ScriptedServer server;
    server.on(AUDIO_CONNECT_VERSION_SETTING,
              static_cast<std::uint32_t>(wire::VersionFunction::GetServerVersions),
              Answer::words(0, 2, 24, 7, 1, 2, 3, 99));
    const ToolResult result = runTool({"version", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_TRUE(json::parse(result.out).is_object());
    EXPECT_THAT(result.err, MatchesRegex(kWarning));
}

TEST_F(AnotherUsersServer, IsWarnedOfOnceByLauncherAndTool) {
    if (toolIsEmulated()) GTEST_SKIP() << "there it is always started by the launcher";
    const std::filesystem::path tool = toolPath();
    ToolSetup setup;
    setup.program = tool.parent_path().parent_path() / "devkit" / "board" / "cabinaudio-run";
    const ToolResult result = runTool({"--", tool, "server", "state", "--json"}, setup);
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_TRUE(json::parse(result.out).is_object());
    EXPECT_THAT(result.err, MatchesRegex(kWarning));
    EXPECT_THAT(result.err, HasSubstr("cabinaudio-run: warning"));
}

/// Enough for getting all that is played; the true server cannot start then.
TEST(AnotherUser, IsWarnedOfWhoHasTakenTheClientsNameOnly) {
    if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
    UserProcess server(User{}, [] { return take(wire::SERVER_SOCKET); });
    ASSERT_EQ(server.report(), "listens");
    const ToolResult result = runTool({"version", "--timeout", "5"});
    EXPECT_THAT(result.err, testing::ContainsRegex("warning: the server belongs to user 65534"));
}

TEST(RootsServer, IsNotWarnedOf) {
    if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
    if (toolIsEmulated()) GTEST_SKIP() << "others may not run the emulator's launcher";
    const RealServer server({"--output", "null", "--allow-all"});
    const std::string said = asUser(User{}, [] {
        if (access(toolPath().c_str(), X_OK) != 0) return std::string("no access");
        const ToolResult result = runTool({"server", "state", "--json"});
        return std::to_string(result.exitCode) + result.err;
    });
    if (said == "no access") GTEST_SKIP() << "others may not run " << toolPath();
    EXPECT_EQ(said, "0");
}

TEST(OnesOwnServer, IsNotWarnedOf) {
    const RealServer server;
    EXPECT_THAT(runTool({"server", "state", "--json"}).err, IsEmpty());
    EXPECT_THAT(runTool({"version", "--json"}).err, IsEmpty());
}

/// The server has said why before it hung up.
TEST(ARefusedTool, SaysWhatTheServerSays) {
    if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
    if (toolIsEmulated()) GTEST_SKIP() << "others may not run the emulator's launcher";
    const RealServer server;
    const std::string said = asUser(User{}, [] {
        if (access(toolPath().c_str(), X_OK) != 0) return std::string("no access");
        const ToolResult result = runTool({"server", "state"});
        return std::to_string(result.exitCode) + " " + result.err;
    });
    if (said == "no access") GTEST_SKIP() << "others may not run " << toolPath();
    EXPECT_EQ(said, "1 cabinaudio: user 65534 may not use this server; it runs as user 0\n");
}

}  // namespace cabinaudio::test
