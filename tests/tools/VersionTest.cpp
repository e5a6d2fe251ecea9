// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioConnectType.h>

#include "tests/server/TemporaryDirectory.h"
#include "tests/support/RealServer.h"
#include "tests/support/ScriptedServer.h"
#include "tests/tools/Surroundings.h"
#include "tests/tools/ToolProcess.h"
#include "wire/Settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>

namespace cabinaudio::test {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr auto kGetVersions = static_cast<std::uint32_t>(wire::VersionFunction::GetServerVersions);

constexpr char kWithoutServer[] =
    "        client      server\n"
    "first   2.24.25     -\n"
    "second  0.0.0       -\n"
    "third   -           -\n";

}  // namespace

TEST(Version, ShowsClientAndServerSideBySide) {
    ScriptedServer server;
    server.on(AUDIO_CONNECT_VERSION_SETTING, kGetVersions, Answer::words(0, 2, 24, 7, 1, 2, 3, 99));
    const ToolResult result = runTool({"version"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_EQ(result.out,
              "        client      server\n"
              "first   2.24.25     2.24.7\n"
              "second  0.0.0       1.2.3\n"
              "third   -           99\n");
    EXPECT_THAT(result.err, IsEmpty());
}

TEST(Version, OfTheDevelopmentServerIsTheLibrarysOwn) {
    const RealServer server;
    const ToolResult result = runTool({"version"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.out, HasSubstr("first   2.24.25     2.24.25\n"));
    EXPECT_THAT(result.err, IsEmpty());
}

TEST(Version, IsTypedInJson) {
    ScriptedServer server;
    server.on(AUDIO_CONNECT_VERSION_SETTING, kGetVersions, Answer::words(0, 2, 24, 7, 1, 2, 3, 99));
    const ToolResult result = runTool({"version", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.err, IsEmpty());
    const json value = json::parse(result.out);
    EXPECT_EQ(value["client"], json::parse(R"({"first":[2,24,25],"second":[0,0,0]})"));
    EXPECT_EQ(value["server"], json::parse(R"({"first":[2,24,7],"second":[1,2,3],"third":99})"));
    EXPECT_EQ(value["ended"], "answered");
    EXPECT_EQ(value["status"], 0);
    EXPECT_TRUE(value["answer_ms"].is_number());
}

TEST(Version, WithoutAServerShowsTheClientsAndEndsWithStatusThree) {
    const ToolResult result = runTool({"version"});
    EXPECT_EQ(result.exitCode, 3) << result.text();
    EXPECT_EQ(result.out, kWithoutServer);
    EXPECT_THAT(result.err, StartsWith("cabinaudio: no server"));
    EXPECT_THAT(result.err, HasSubstr("cabinaudio-server --instance"));
}

TEST(Version, OfAServerThatNeverAnswersTimesOut) {
    SilentServer silent;
    const ToolResult result = runTool({"version", "--timeout", "1"});
    EXPECT_EQ(result.exitCode, 4) << result.text();
    EXPECT_EQ(result.out, kWithoutServer);
    EXPECT_EQ(result.err, "cabinaudio: timed out after 1 s waiting for the server's version\n");
    EXPECT_GE(result.took, std::chrono::milliseconds(1000));
}

TEST(Version, OfAServerThatRegistersButDoesNotAnswerTheQueryTimesOut) {
    ScriptedServer server;
    server.onOther(Answer::none());
    const ToolResult result = runTool({"version", "--timeout", "1", "--json"});
    EXPECT_EQ(result.exitCode, 4) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "timed_out");
    EXPECT_TRUE(json::parse(result.out)["server"].is_null());
}

TEST(Version, OfAServerThatRefusesTheClientFails) {
    ScriptedServer server;
    server.onRegistration(Answer::handle(0));
    const ToolResult result = runTool({"version", "--json"});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "refused");
    EXPECT_THAT(result.err, HasSubstr("did not register this client"));
}

TEST(Version, ShowsWhatAFailingQueryAnswered) {
    ScriptedServer server;
    server.on(AUDIO_CONNECT_VERSION_SETTING, kGetVersions, Answer::words(-77, 1, 2, 3, 4, 5, 6, 7));
    const ToolResult result = runTool({"version"});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_THAT(result.out, HasSubstr("first   2.24.25     1.2.3\n"));
    EXPECT_EQ(result.err, "cabinaudio: the version query failed: status -77\n");
}

TEST(TheLibrarysLog, GoesToStderrWhenAskedFor) {
    ScriptedServer server;
    const ToolResult result = runTool({"version", "-v"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.err, HasSubstr(" D AS [AudioConnection][connect]["));
    // The library is asked for its own version first, unconnected; that is no news.
    EXPECT_THAT(result.err, testing::Not(HasSubstr("create socket failed")));
}

TEST(TheLibrarysLog, IsAppendedToAFileWhenAskedFor) {
    const TemporaryDirectory directory;
    const std::string log = directory.file("log");
    std::ofstream(log) << "before\n";
    ScriptedServer server;
    const ToolResult result = runTool({"version", "--log", log});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.err, IsEmpty());
    std::ifstream file(log);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_THAT(text, StartsWith("before\n"));
    EXPECT_THAT(text, HasSubstr("connect ok\n"));
}

}  // namespace cabinaudio::test
