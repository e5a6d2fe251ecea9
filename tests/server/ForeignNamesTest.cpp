// SPDX-License-Identifier: Apache-2.0
//
// Clients whose names contain control sequences for the terminal that shows the server's log.
#include "tests/server/RawClient.h"
#include "tests/server/SettingsClient.h"
#include "tests/support/Files.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"
#include "tests/support/TerminalText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>

namespace cabinaudio::test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

// Sets a title, rings, clears the screen, begins a line of its own, ends the quotes. After that,
// in UTF-8, a name that may be shown.
constexpr char NAME[] =
    "A\x1b]0;x\x07"
    "B\xc2\x9b"
    "2JC\x9b"
    "D\x7f"
    "E\nF\" \xe6\x97\xa5\xc3\xbc";
constexpr char SHOWN[] = R"(A\x1b]0;x\x07B\u009b2JC\x9bD\x7fE\nF\" )"
                         "\xe6\x97\xa5\xc3\xbc";

bool isSaid(const RealServer& server, const std::string& text) {
    return eventually([&] { return server.output().find(text) != std::string::npos; });
}

TEST(ClientName, IsEscapedInLogAndTrace) {
    const RealServer server({"--output", "null", "-v", "--trace"});
    {
        RawClient client(AUDIO_CONNECT_ALTERNATIVE, NAME);
        client.create(AUDIO_CONNECT_ALTERNATIVE, pcm(48000, 2, 16));
        RawClient twin(AUDIO_CONNECT_ALTERNATIVE, NAME);
        twin.create(AUDIO_CONNECT_ALTERNATIVE, pcm(48000, 2, 16));
    }
    const std::string quoted = '"' + std::string(SHOWN) + '"';
    EXPECT_TRUE(isSaid(server, quoted + " plays 48000 Hz"));
    EXPECT_TRUE(isSaid(server, "there is a ring " + quoted + " already"));
    EXPECT_TRUE(isSaid(server, quoted + " disconnected"));
    expectNoControls(server.output());
}

TEST(StreamName, IsCompleteInTheState) {
    const RealServer server;
    const std::string name =
        "A\x1b]0;x\x07"
        "B\xc2\x9b"
        "2JD\x7f"
        "E\n\"\\\xe6\x97\xa5";
    RawClient client(AUDIO_CONNECT_ALTERNATIVE, name);
    client.create(AUDIO_CONNECT_ALTERNATIVE, pcm(48000, 2, 16));
    const std::string state = server.command("state");
    expectNoControls(state);
    EXPECT_THAT(state, HasSubstr("\xe6\x97\xa5")) << "readable";
    EXPECT_EQ(json::parse(state).at("streams").at(0).at("name"), name);
}

TEST(SettingNames, AreEscapedInTheTrace) {
    const RealServer server({"--output", "null", "--trace"});
    SettingsClients clients;
    clients.tell(VOLUME, Message(24).text("main").text(NAME).real(-4.5F));
    EXPECT_TRUE(isSaid(server, SHOWN));
    clients.tell(VOLUME, Message(24).text(NAME).text("a").real(-4.5F));
    EXPECT_TRUE(isSaid(server, SHOWN + std::string(" \"a\"")));
    expectNoControls(server.output());
}

TEST(Command, IsEscapedInTheAnswer) {
    const RealServer server;
    const std::string answer = server.command("say \x1b]0;x\x07 \xc2\x9b");
    EXPECT_THAT(answer, HasSubstr(R"(say \x1b]0;x\x07 \u009b)"));
    expectNoControls(answer);
}

TEST(FileName, IsEscapedInTheLog) {
    const TemporaryDirectory directory;
    const std::string path = directory.file(
        "A\x1b]0;x\x07"
        "C\x9b");
    std::ofstream(path) << R"({"B)"
                           "\xc2\x9b"
                           R"(": 1, "E\n": 2, "\u001b": 3})";
    const RealServer server({"--output", "null", "--state", path});
    EXPECT_TRUE(isSaid(server, R"(A\x1b]0;x\x07C\x9b: \x1b is not known)"));
    EXPECT_TRUE(isSaid(server, R"(B\u009b is not known)"));
    EXPECT_TRUE(isSaid(server, R"(E\n is not known)"));
    expectNoControls(server.output());
}

}  // namespace
}  // namespace cabinaudio::test
