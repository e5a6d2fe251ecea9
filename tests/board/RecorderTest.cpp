// SPDX-License-Identifier: Apache-2.0
// The recorder in programs of every kind, against a server that keeps all that it receives.
#include "devkit/trace/CaptureReader.h"
#include "tests/board/Capture.h"
#include "tests/board/Launcher.h"
#include "tests/support/BrokenOutput.h"
#include "tests/support/Row.h"
#include "tests/support/ScriptedServer.h"

#include <sys/resource.h>

#include <csignal>
#include <fstream>
#include <map>
#include <set>

namespace cabinaudio::test {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using trace::Kind;
using trace::Record;
using trace::UNKNOWN;

constexpr char TALKER[] = RECORDER_TEST_TALKER;
// Bytes of the body of each reply that the server is told to send.
constexpr std::size_t BODY = 12;

class Recorder : public WithTheLauncher {
protected:
    Recorder() {
        // Function and length of the request: no two replies are alike.
        mServer.onOther([](const Request& request) {
            return Answer::words(0, request.function(), request.header.length);
        });
    }

    /// The launcher's words for a program that talks to the server.
    Words recording(const Words& program) const {
        Words words = {"--trace", capture(), "--"};
        words.insert(words.end(), program.begin(), program.end());
        return words;
    }
    Words talking(const Words& task, const std::string& talker = TALKER) const {
        Words words = {talker, mSocket};
        words.insert(words.end(), task.begin(), task.end());
        return words;
    }
    std::string capture() const { return directory() / "capture.pcapng"; }
    Capture captured() const { return readCapture(capture()); }

    /// Expects that the capture has every message of this client as the server has received it, and
    /// a reply to each, and that the connection ends last.
    void expectWhole(const Capture& capture, const std::string& name) const;

    const std::string mSocket = "/tmp/as_internal_file." + mInstance.name();
    ScriptedServer mServer{mSocket};

private:
    std::size_t clientNamed(const std::string& name) const {
        for (const Request& request : mServer.requests())
            if (request.isRegistration() && request.header.name == name) return request.client;
        ADD_FAILURE() << "no client " << name;
        return 0;
    }
};

void Recorder::expectWhole(const Capture& capture, const std::string& name) const {
    SCOPED_TRACE(name);
    const std::size_t client = clientNamed(name);
    const std::vector<Record> records = capture.connectionNamed(name);
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records.front().kind, Kind::Connected);
    EXPECT_EQ(records.back().kind, Kind::Disconnected);
    EXPECT_EQ(joined(records, Kind::ToServer), mServer.received(client));
    std::vector<Request> requests;
    for (const Request& request : mServer.requests())
        if (request.client == client) requests.push_back(request);
    const std::vector<Record> messages = ofKind(records, Kind::ToServer);
    const std::vector<Record> replies = ofKind(records, Kind::ToClient);
    ASSERT_EQ(messages.size(), requests.size());
    ASSERT_EQ(replies.size(), requests.size());
    for (std::size_t i = 1; i < requests.size(); ++i) {
        EXPECT_EQ(messages[i].function, requests[i].function());
        EXPECT_EQ(messages[i].type, requests[i].header.type);
        EXPECT_EQ(replies[i].function, requests[i].function());
        ASSERT_EQ(replies[i].bytes.size(), sizeof(SocketFrameHeader) + BODY);
        EXPECT_EQ(wordAt(replies[i].bytes, sizeof(SocketFrameHeader) + 4), requests[i].function());
        EXPECT_EQ(wordAt(replies[i].bytes, sizeof(SocketFrameHeader) + 8),
                  requests[i].header.length);
        EXPECT_GE(replies[i].timeNs, messages[i].timeNs);
    }
}

// ---- Programs of every kind ---------------------------------------------------------------------

struct TalkerKind : Row {
    const char* program;
    const char* library;  // for a foreign machine, else ""
};

class RecorderIn : public Recorder, public ::testing::WithParamInterface<TalkerKind> {
protected:
    /// Also expects that the program ends well and prints nothing else: no report of a sanitizer.
    void talk(const Words& task) const {
        Start start = launching(recording(talking(task, GetParam().program)));
        start.variables.emplace_back("CABINAUDIO_ARMHF_BOARD_LIB", GetParam().library);
        // Leaks cannot be looked for where the emulator or a tracer stands in between.
        start.variables.emplace_back("ASAN_OPTIONS", "detect_leaks=0");
        const Outcome outcome = Process(start).finishExpecting(0);
        EXPECT_EQ(outcome.out, "board: yes\n");
        EXPECT_EQ(outcome.err, "");
    }
};

INSTANTIATE_TEST_SUITE_P(BuiltAs, RecorderIn,
                         ::testing::ValuesIn(std::vector<TalkerKind>{{"Plain", TALKER, ""},
                                                                     RECORDER_TEST_KINDS}),
                         ROW_NAME);

TEST_P(RecorderIn, PutsMessagesTogetherWhateverCallsMoveThem) {
    talk({"calls"});
    const Capture capture = captured();
    expectWhole(capture, "calls");
    EXPECT_EQ(capture.connections(), 1U);
}

TEST_P(RecorderIn, KeepsThreadsAndChildrenApart) {
    talk({"parallel"});
    const Capture capture = captured();
    for (const char* name : {"first", "second", "child", "shared"})
        expectWhole(capture, name);
    EXPECT_EQ(capture.connections(), 4U);
    const std::vector<Record> parents = capture.connectionNamed("first");
    const std::vector<Record> childs = capture.connectionNamed("child");
    EXPECT_NE(parents.front().pid, childs.front().pid);
    // The child's request on its parent's connection.
    for (const Record& record : ofKind(capture.connectionNamed("shared"), Kind::ToServer))
        EXPECT_EQ(record.pid, (record.function == 7 ? childs : parents).front().pid);
}

// ---- Ends ---------------------------------------------------------------------------------------

TEST_F(Recorder, LeavesAllAnsweredRequestsWhenTheProgramIsKilled) {
    Process program(launching(recording(talking({"often", "1000000"}))));
    ASSERT_TRUE(mServer.waitForRequest(300));
    program.send(SIGKILL);
    EXPECT_EQ(program.finish().signal, SIGKILL);
    ASSERT_TRUE(mServer.waitForEndOf());
    const std::vector<Record> records = captured().connectionNamed("often");
    const std::vector<Record> sent = ofKind(records, Kind::ToServer);
    // The program may have been killed between a send and its record.
    ASSERT_GE(sent.size() + 1, mServer.requests().size());
    EXPECT_GE(sent.size(), 200U);
}

TEST_F(Recorder, EndsAtTheLimitOfTheFileWithoutHarmToTheProgram) {
    Start start = launching(recording(talking({"often", "100"})));
    start.inChild = [] {
        const rlimit limit = {4000, 4000};
        setrlimit(RLIMIT_FSIZE, &limit);
    };
    const Outcome outcome = Process(start).finishExpecting(0);
    EXPECT_THAT(outcome.err,
                AllOf(IsOneLine(), HasSubstr(capture()), EndsWith("; nothing more is recorded\n")));
    EXPECT_EQ(mServer.requests().size(), 101U);
    EXPECT_GT(captured().records.size(), 10U);
    EXPECT_FALSE(captured().isCut);
    EXPECT_LE(fs::file_size(capture()), 4000U);
}

TEST_F(Recorder, FindsItsFileAgainWhenTheProgramClosesIt) {
    launchExpecting(0, recording(talking({"close", directory() / "own"})));
    expectWhole(captured(), "closer");
}

TEST_F(Recorder, RefusesAFileThatItCannotWrite) {
    const std::string missing = directory() / "missing" / "file";
    const std::map<std::string, std::string> lines{
        {missing, "cannot write to " + missing + ": No such file or directory\n"},
        {directory(), "cannot write to " + directory().string() + ": Is a directory\n"},
        {"/dev/null", "cannot record to /dev/null: it is not a regular file\n"}};
    for (const auto& [file, line] : lines) {
        const Outcome refused = launchExpecting(1, {"--trace", file, TALKER, mSocket, "calls"});
        EXPECT_EQ(refused.err, "cabinaudio-run: " + line);
        EXPECT_EQ(refused.out, "");
    }
    EXPECT_THAT(mServer.requests(), IsEmpty());
}

TEST_F(Recorder, KeepsAnOlderCaptureWhenTheProgramIsNotFound) {
    std::ofstream(capture()) << "older";
    launchExpecting(127, {"--trace", capture(), "no-such-program"});
    EXPECT_EQ(fs::file_size(capture()), 5U);
}

// ---- Programs that a program starts -------------------------------------------------------------

TEST_F(Recorder, FollowsProgramsThatTheProgramStarts) {
    const std::string one = std::string(TALKER) + " " + mSocket + " ";
    launchExpecting(0, recording({"sh", "-c", one + "calls; " + one + "often 2"}));
    const Capture capture = captured();
    expectWhole(capture, "calls");
    expectWhole(capture, "often");
    EXPECT_EQ(capture.connections(), 2U);
}

TEST_F(Recorder, ContinuesUnderALauncherFurtherInside) {
    Words words = recording({mLauncher, "--"});
    const Words talker = talking({"calls"});
    words.insert(words.end(), talker.begin(), talker.end());
    launchExpecting(0, words);
    // The launcher inside, which is recorded as well, only looks whether there is a server.
    const Capture capture = captured();
    expectWhole(capture, "calls");
    EXPECT_EQ(joined(capture.records, Kind::ToServer), mServer.received(mServer.clients() - 1));
}

TEST_F(Recorder, SaysThatAFileIsNoCaptureOfTheLauncher) {
    std::ofstream(capture()) << "text";
    Start start = launching(talking({"calls"}));
    start.variables.emplace_back("CABINAUDIO_TRACE", capture());
    const Outcome outcome = Process(start).finishExpecting(0);
    EXPECT_THAT(outcome.err, AllOf(IsOneLine(), HasSubstr("is no capture")));
    EXPECT_EQ(fs::file_size(capture()), 4U);
}

// ---- On a board ---------------------------------------------------------------------------------

TEST_F(Recorder, WorksWithoutTheStandIn) {
    Words words = {"--no-board"};
    for (const std::string& word : recording(talking({"calls"})))
        words.push_back(word);
    EXPECT_EQ(launchExpecting(0, words).out, "board: no\n");
    expectWhole(captured(), "calls");
}

}  // namespace
}  // namespace cabinaudio::test
