// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioConnectType.h>

#include "tests/tools/ToolTest.h"
#include "wire/Settings.h"

#include <fstream>

namespace cabinaudio::test {

namespace {

/// A server that answers the version query with a status and the numbers of its versions.
class ServerOfVersions : public ScriptedServer {
public:
    template <typename... Numbers>
    explicit ServerOfVersions(Numbers... numbers) {
        on(AUDIO_CONNECT_VERSION_SETTING, id(wire::VersionFunction::GetServerVersions),
           Answer::words(numbers...));
    }
};

constexpr char WITHOUT_SERVER[] =
    "        client      server\n"
    "first   2.24.25     -\n"
    "second  0.0.0       -\n"
    "third   -           -\n";

}  // namespace

TEST(Version, ShowsClientAndServerSideBySide) {
    const ServerOfVersions server(0, 2, 24, 7, 1, 2, 3, 99);
    const Outcome result = runExpecting(0, {"version"});
    EXPECT_EQ(result.out,
              "        client      server\n"
              "first   2.24.25     2.24.7\n"
              "second  0.0.0       1.2.3\n"
              "third   -           99\n");
    EXPECT_THAT(result.err, IsEmpty());
}

TEST(Version, OfTheDevelopmentServerEqualsThatOfTheLibrary) {
    const RealServer server;
    const Outcome result = runExpecting(0, {"version"});
    EXPECT_THAT(result.out, HasSubstr("first   2.24.25     2.24.25\n"));
    EXPECT_THAT(result.err, IsEmpty());
}

TEST(Version, IsTypedInJson) {
    const ServerOfVersions server(0, 2, 24, 7, 1, 2, 3, 99);
    const Outcome result = runExpecting(0, {"version", "--json"});
    EXPECT_THAT(result.err, IsEmpty());
    const json value = json::parse(result.out);
    EXPECT_EQ(value["client"], json::parse(R"({"first":[2,24,25],"second":[0,0,0]})"));
    EXPECT_EQ(value["server"], json::parse(R"({"first":[2,24,7],"second":[1,2,3],"third":99})"));
    EXPECT_EQ(value["ended"], "answered");
    EXPECT_EQ(value["status"], 0);
    EXPECT_TRUE(value["answer_ms"].is_number());
}

TEST(Version, WithoutAServerShowsTheClientsAndEndsWithStatusThree) {
    const Outcome result = runExpecting(3, {"version"});
    EXPECT_EQ(result.out, WITHOUT_SERVER);
    EXPECT_THAT(result.err, StartsWith("cabinaudio: no server"));
    EXPECT_THAT(result.err, HasSubstr("cabinaudio-server --instance"));
}

TEST(Version, OfAServerThatNeverAnswersTimesOut) {
    SilentServer silent;
    const Outcome result = runExpecting(4, {"version", "--timeout", "1"});
    EXPECT_EQ(result.out, WITHOUT_SERVER);
    EXPECT_EQ(result.err, "cabinaudio: timed out after 1 s waiting for the server's version\n");
    EXPECT_GE(result.took, std::chrono::milliseconds(1000));
}

TEST(Version, OfAServerThatRegistersButDoesNotAnswerTheQueryTimesOut) {
    ScriptedServer server;
    server.onOther(Answer::none());
    const Outcome result = runExpecting(4, {"version", "--timeout", "1", "--json"});
    EXPECT_EQ(json::parse(result.out)["ended"], "timed_out");
    EXPECT_TRUE(json::parse(result.out)["server"].is_null());
}

TEST(Version, OfAServerThatRefusesTheClientFails) {
    ScriptedServer server;
    server.onRegistration(Answer::handle(0));
    const Outcome result = runExpecting(1, {"version", "--json"});
    EXPECT_EQ(json::parse(result.out)["ended"], "refused");
    EXPECT_THAT(result.err, HasSubstr("did not register this client"));
}

TEST(Version, ShowsTheAnswerOfAFailingQuery) {
    const ServerOfVersions server(-77, 1, 2, 3, 4, 5, 6, 7);
    const Outcome result = runExpecting(1, {"version"});
    EXPECT_THAT(result.out, HasSubstr("first   2.24.25     1.2.3\n"));
    EXPECT_EQ(result.err, "cabinaudio: the version query failed: status -77\n");
}

TEST(LibraryLog, GoesToStderrWithVerbose) {
    ScriptedServer server;
    const Outcome result = runExpecting(0, {"version", "-v"});
    EXPECT_THAT(result.err, HasSubstr(" D AS [AudioConnection][connect]["));
    // The library's own version is read first, without a connection, and logs nothing.
    EXPECT_THAT(result.err, Not(HasSubstr("create socket failed")));
}

TEST(LibraryLog, IsAppendedToTheGivenFile) {
    const TemporaryDirectory directory;
    const std::string log = directory.file("log");
    std::ofstream(log) << "before\n";
    ScriptedServer server;
    const Outcome result = runExpecting(0, {"version", "--log", log});
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_THAT(contentsOf(log), StartsWith("before\n"));
    EXPECT_THAT(contentsOf(log), HasSubstr("connect ok\n"));
}

}  // namespace cabinaudio::test
