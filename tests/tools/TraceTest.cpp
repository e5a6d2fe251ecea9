// SPDX-License-Identifier: Apache-2.0
// The wire of a running server, and captures, shown by name.
#include "tests/tools/ToolTest.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <stdexcept>
#include <thread>

namespace cabinaudio::test {

namespace {

using testing::AllOf;
using testing::Contains;
using testing::EndsWith;

class TraceCommand : public ToolTest {
protected:
    /// Sets a volume and plays a short sound under the name "radio", with a server that records
    /// everything in all.pcapng and shows it on stdout.
    void converse() {
        serve({"--fast", "--trace", "--trace-to", all()});
        runExpecting(0, {"set", "volume.master=-6dB"});
        writeSound(file("radio.wav"), {.frames = 12000});
        runExpecting(0, {"play", "--name", "radio", "--tag", "auxiliary", file("radio.wav")});
        ASSERT_EQ(mServer->stop(), 0);
    }
    [[nodiscard]] std::string all() const { return file("all.pcapng"); }

    /// Starts `trace` of the running server and waits until the server sends to it.
    std::unique_ptr<ToolProcess> attach(const Words& arguments) const {
        auto process = std::make_unique<ToolProcess>(with({"trace"}, arguments));
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (json::parse(mServer->command("state")).at("trace_readers").empty()) {
            if (std::chrono::steady_clock::now() > deadline)
                throw std::runtime_error("the trace does not begin");
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return process;
    }
};

/// Lines without what depends on the clock: the time and the microseconds.
Words timeless(const Words& lines) {
    static const std::regex clock("^ *[0-9]+[.][0-9]{6} | \\[[0-9]+ us\\]");
    Words result;
    for (const std::string& line : lines)
        result.push_back(std::regex_replace(line, clock, ""));
    return result;
}

/// Without the lines of rings, which the server itself does not show.
Words withoutRings(Words lines) {
    std::erase_if(
        lines, [](const std::string& line) { return line.find("\" ring: ") != std::string::npos; });
    return lines;
}

/// The lines of the server's trace in what it has printed.
Words traceLines(const std::string& output) {
    Words lines = linesOf(output);
    std::erase_if(lines, [](const std::string& line) {
        return line.empty() || line.find("cabinaudio-server:") == 0;
    });
    return lines;
}

std::vector<json> objectsOf(const std::string& text) {
    std::vector<json> objects;
    for (const std::string& line : linesOf(text))
        objects.push_back(json::parse(line));
    return objects;
}

}  // namespace

TEST_F(TraceCommand, ShowsACaptureInTheWordsOfTheServer) {
    converse();
    const Outcome shown = runExpecting(0, {"trace", all()});
    EXPECT_EQ(shown.err, "");
    const Words lines = timeless(linesOf(shown.out));
    EXPECT_EQ(withoutRings(lines), timeless(traceLines(mServer->output())));
    EXPECT_THAT(lines, Contains(HasSubstr("setMasterVolume(-6 dB) -> ok")));
    EXPECT_THAT(lines, Contains(HasSubstr("auxiliary \"radio\" ring: ")));
}

TEST_F(TraceCommand, PrintsJsonAsTheSchemaHasIt) {
    converse();
    const Outcome shown = runExpecting(0, {"trace", all(), "--json"});
    const std::vector<json> objects = objectsOf(shown.out);
    const json& end = objects.back();
    EXPECT_EQ(end.at("exit"), 0);
    EXPECT_EQ(end.at("error"), nullptr);
    EXPECT_EQ(end.at("text"), "the capture ends");
    std::set<std::string> kinds;
    const json* gain = nullptr;
    for (const json& object : objects) {
        if (object.contains("kind")) kinds.insert(object.at("kind").get<std::string>());
        if (object.value("function", 0) == 20 && object.at("type") == "volume") gain = &object;
    }
    EXPECT_EQ(kinds, (std::set<std::string>{"connected", "disconnected", "notification",
                                            "registration", "request", "ring"}));
    ASSERT_NE(gain, nullptr);
    EXPECT_EQ(gain->at("request").at("gain").at("value"), -6.0);
    EXPECT_EQ(gain->at("status_name"), "AUDIO_NO_ERROR");
}

TEST_F(TraceCommand, CopiesACaptureByteForByteAndFiltersIt) {
    converse();
    const Outcome copied = runExpecting(
        0, {"trace", all(), "--format", "pcapng", "--output", file("copy.pcapng"), "--json"});
    EXPECT_EQ(contentsOf(file("copy.pcapng")), contentsOf(all()));
    EXPECT_EQ(jsonOf(copied).at("file"), file("copy.pcapng"));
    const Outcome filtered = runExpecting(0, {"trace", all(), "--name", "radio", "--format",
                                              "pcapng", "--output", file("radio.pcapng")});
    EXPECT_THAT(filtered.out, AllOf(StartsWith(file("radio.pcapng") + ": "),
                                    HasSubstr(" of 1 connection; the capture ends")));
    const Words lines = linesOf(runExpecting(0, {"trace", file("radio.pcapng")}).out);
    EXPECT_THAT(lines.front(), EndsWith("auxiliary \"radio\" registered"));
    EXPECT_THAT(lines, testing::Each(HasSubstr(" auxiliary \"radio\" ")));
    EXPECT_EQ(timeless(lines),
              timeless(linesOf(runExpecting(0, {"trace", all(), "--type", "auxiliary"}).out)));
}

TEST_F(TraceCommand, OfACutOffFileShowsWhatIsThereAndFails) {
    converse();
    std::filesystem::resize_file(all(), std::filesystem::file_size(all()) - 10);
    const Outcome shown = runExpecting(1, {"trace", all(), "--json"});
    EXPECT_THAT(shown.err, HasSubstr("all.pcapng: cut off at byte "));
    expectOneLine(shown.err);
    const std::vector<json> objects = objectsOf(shown.out);
    EXPECT_GT(objects.size(), 10U);
    EXPECT_EQ(objects.back().at("ended"), "cut");
    EXPECT_EQ(objects.back().at("exit"), 1);
    EXPECT_THAT(objects.back().at("error"), HasSubstr("cut off"));
}

TEST_F(TraceCommand, RefusesWithOneLine) {
    std::ofstream(file("text")) << "This is a text and no capture.\n";
    const auto refused = [&](int status, const Words& words, const ToolSetup& setup = {}) {
        const Outcome outcome = runExpecting(status, with({"trace"}, words), setup);
        expectOneLine(outcome.err);
        return outcome.err;
    };
    EXPECT_THAT(refused(1, {file("none")}), HasSubstr("none: No such file or directory"));
    EXPECT_THAT(refused(1, {file("text")}), HasSubstr("text: at byte 0: no pcapng capture"));
    EXPECT_THAT(refused(2, {file("text"), "--for", "1"}), HasSubstr("--for needs a running"));
    EXPECT_THAT(refused(2, {file("text"), "--json", "--format", "text"}), HasSubstr("--output"));
    EXPECT_THAT(refused(2, {file("text"), "--output", file("text")}), HasSubstr("is read"));
    EXPECT_THAT(refused(2, {file("text"), "--type", "radio"}), HasSubstr("--type"));
    EXPECT_THAT(refused(3, {}), HasSubstr("no "));
    ToolSetup terminal;
    terminal.outOnTerminal = true;
    EXPECT_THAT(refused(2, {file("text"), "--format", "pcapng"}, terminal),
                HasSubstr("pcapng is not for terminals"));
}

TEST_F(TraceCommand, OfAFileThatCannotBeWrittenFails) {
    converse();
    for (const Words& words :
         {Words{"trace", all()}, Words{"trace", all(), "--format", "pcapng"}}) {
        const Outcome outcome = runExpecting(1, with(words, {"--output", "/dev/full"}));
        expectOneLine(outcome.err);
        EXPECT_THAT(outcome.err,
                    AllOf(HasSubstr("/dev/full: "), HasSubstr("No space left on device")));
    }
}

TEST_F(TraceCommand, FollowsARunningServerUntilItEndsOrTheUserDoes) {
    serve({"--fast"});
    const auto first = attach({"--output", file("first.pcapng"), "--format", "pcapng", "--sound"});
    ToolProcess second({"trace", "--json"});
    ToolProcess third({"trace"});
    while (json::parse(mServer->command("state")).at("trace_readers").size() < 3)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    writeSound(file("radio.wav"), {.frames = 12000});
    runExpecting(0, {"play", "--name", "radio", file("radio.wav")});
    third.send(SIGINT);
    const Outcome interrupted = third.finishExpecting(0);
    EXPECT_THAT(interrupted.out, HasSubstr("\"radio\" registered"));
    ASSERT_EQ(mServer->stop(), 0);
    EXPECT_THAT(first->finishExpecting(0).out, HasSubstr("; the server ended"));
    EXPECT_EQ(objectsOf(second.finishExpecting(0).out).back().at("text"), "the server ended");
    const std::string sound =
        runExpecting(0, {"trace", file("first.pcapng"), "--sound", "--name", "radio"}).out;
    EXPECT_THAT(sound, HasSubstr("sound to the server: "));
    EXPECT_THAT(runExpecting(0, {"trace", file("first.pcapng"), "--name", "radio"}).out,
                Not(HasSubstr("sound to the server: ")));
}

TEST_F(TraceCommand, EndsAfterItsTime) {
    serve();
    const Outcome timed = runExpecting(0, {"trace", "--for", "0.05", "--json"});
    EXPECT_EQ(objectsOf(timed.out).back().at("text"), "the time is over");
    const auto waiting = attach({"--for", "1000", "--json"});
    mServer->kill(SIGKILL);
    (void)mServer->wait();
    const Outcome lost = waiting->finishExpecting(3);
    EXPECT_EQ(objectsOf(lost.out).back().at("ended"), "lost");
}

}  // namespace cabinaudio::test
