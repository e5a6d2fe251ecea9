// SPDX-License-Identifier: Apache-2.0
// The sub-command check: on files, on what a server has written, and on a running server.
#include "tests/support/BrokenOutput.h"
#include "tests/tools/ToolTest.h"

#include <sndfile.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace cabinaudio::test {

namespace {

using testing::EndsWith;
using testing::MatchesRegex;

/// A second of 440 Hz, at -12 dBFS in the left and -18 dBFS in the right channel.
void writeTone(const std::string& path) {
    constexpr double PI = 3.14159265358979323846;
    constexpr int RATE = 48000;
    std::vector<std::int16_t> samples;
    for (int i = 0; i < RATE; ++i) {
        const double value =
            std::sqrt(2.0) * std::pow(10, -12.0 / 20) * std::sin(2 * PI * 440 * i / RATE);
        for (const double factor : {1.0, std::pow(10, -6.0 / 20)})
            samples.push_back(static_cast<std::int16_t>(std::lround(32768 * factor * value)));
    }
    SF_INFO info{0, RATE, 2, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 0, 0};
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (file == nullptr || sf_writef_short(file, samples.data(), RATE) != RATE)
        throw std::runtime_error(path + " cannot be written");
    sf_close(file);
}

class Check : public ToolTest {
protected:
    Check() : mTone(file("tone.wav")) { writeTone(mTone); }

    /// Runs the sub-command on the tone.
    [[nodiscard]] Outcome check(int status, const Words& words) const {
        Words all = {"check", mTone};
        all.insert(all.end(), words.begin(), words.end());
        return runExpecting(status, all);
    }
    [[nodiscard]] json jsonOf(int status, Words words) const {
        words.emplace_back("--json");
        return json::parse(check(status, words).out);
    }

    std::string mTone;
};

TEST_F(Check, PrintsALineForEachCheck) {
    const Outcome outcome = check(5, {"tone 440 level=-12", "silence", "lasts 1"});
    std::istringstream lines(outcome.out);
    std::string line;
    std::getline(lines, line);
    EXPECT_THAT(line, MatchesRegex("ok      tone 440 level=-12: 440 Hz at -12.00 dBFS on LF, .*"));
    std::getline(lines, line);
    EXPECT_THAT(line,
                MatchesRegex("NOT MET silence: peak -8.99 dBFS \\(required: below -90 dBFS\\), "
                             "0.000 s to 1.000 s, at 0.000 s"));
    std::getline(lines, line);
    EXPECT_THAT(line, StartsWith("ok      lasts 1: 1.000 s, 48000 frames"));
    EXPECT_FALSE(std::getline(lines, line));
    EXPECT_THAT(outcome.err, IsEmpty());
}

TEST_F(Check, IsDoneWhenAllAreMet) {
    EXPECT_THAT(check(0, {"tone 440", "click-free", "gap-free"}).err, IsEmpty());
}

TEST_F(Check, ChannelAppliesToChecksWithoutOne) {
    (void)check(0, {"level -12", "--channel", "LF"});
    (void)check(0, {"level -18", "level -12 on 0", "--channel", "1"});
    EXPECT_THAT(check(1, {"level -12", "--channel", "7"}).err,
                HasSubstr("the sound has 2 channels, no channel 7"));
    EXPECT_THAT(check(2, {"level -12", "--channel", "8"}).err, HasSubstr("--channel: must be LF"));
}

TEST_F(Check, JsonHasEveryNumber) {
    const json report = jsonOf(5, {"tone 440", "level -20 [0.25..0.5]"});
    EXPECT_EQ(report.at("file"), mTone);
    EXPECT_EQ(report.at("rate_hz"), 48000);
    EXPECT_EQ(report.at("channels"), 2);
    EXPECT_EQ(report.at("frames"), 48000);
    EXPECT_EQ(report.at("met"), false);
    EXPECT_EQ(report.at("checks").at(0).at("met"), true);
    const json& level = report.at("checks").at(1);
    EXPECT_EQ(level.at("check"), "level -20 [0.25..0.5]");
    EXPECT_EQ(level.at("from"), 0.25);
    EXPECT_EQ(level.at("to"), 0.5);
    EXPECT_EQ(level.at("met"), false);
    EXPECT_EQ(level.at("measured"), "-12.00 dBFS");
    EXPECT_EQ(level.at("required"), "-20 dBFS +-0.5 dB");
    EXPECT_EQ(report.at("error"), "1 of 2 checks not met");
    EXPECT_EQ(report.at("exit"), 5);
    EXPECT_TRUE(jsonOf(0, {"tone 440"}).at("error").is_null());
}

TEST_F(Check, ReadsChecksFromAFile) {
    const std::string checks = file("checks");
    std::ofstream(checks) << "# what must be heard\n\n  tone 440\r\nlasts 1 tol=1ms\n";
    EXPECT_EQ(jsonOf(0, {"--checks", checks}).at("checks").size(), 2U);
    EXPECT_EQ(jsonOf(0, {"level -12", "--checks", checks}).at("checks").size(), 3U);
    std::ofstream(checks) << "tone 440\n\ntone high\n";
    EXPECT_THAT(check(2, {"--checks", checks}).err,
                HasSubstr(checks + ":3: check \"tone high\": word 2, \"high\": a frequency must be "
                                   "a number"));
    std::ofstream(checks) << "# nothing\n";
    EXPECT_THAT(check(1, {"--checks", checks}).err, HasSubstr("has no check"));
    EXPECT_THAT(check(1, {"--checks", "/nowhere/checks"}).err, HasSubstr("No such file"));
    EXPECT_THAT(check(1, {"--checks", "/"}).err, HasSubstr("cannot read '/'"));
}

TEST_F(Check, WrongUsageIsNamed) {
    EXPECT_THAT(runExpecting(2, {"check"}).err, HasSubstr("FILE is required, or --live"));
    EXPECT_THAT(runExpecting(2, {"check", "--live"}).err, HasSubstr("CHECK is required"));
    EXPECT_THAT(runExpecting(2, {"check", mTone}).err, HasSubstr("CHECK is required"));
    EXPECT_THAT(check(2, {"tone"}).err, HasSubstr("a frequency is missing at the end"));
    EXPECT_THAT(check(2, {"tone 440", "--seconds", "1"}).err, HasSubstr("--seconds needs --live"));
    EXPECT_THAT(runExpecting(2, {"check", "--live", "silence", "--report", "a"}).err,
                HasSubstr("--live takes neither --report nor --stems"));
    EXPECT_EQ(json::parse(runExpecting(2, {"check", "--json"}).out).at("ended"), "wrong_usage");
}

TEST_F(Check, ThatCannotBeMadeFails) {
    EXPECT_EQ(runExpecting(1, {"check", "/nowhere/a.wav", "silence"}).err,
              "cabinaudio: /nowhere/a.wav: No such file or directory\n");
    EXPECT_THAT(check(1, {"mix"}).err, HasSubstr("there is no report"));
    EXPECT_THAT(check(1, {"same /nowhere/b.wav"}).err, HasSubstr("/nowhere/b.wav: "));
    EXPECT_THAT(check(1, {"silence", "--report", "/nowhere/r"}).err, HasSubstr("/nowhere/r: "));
    EXPECT_THAT(check(1, {"silence", "--stems", "/nowhere/s"}).err, HasSubstr("/nowhere/s: "));
}

TEST_F(Check, JunitHasACaseForEachCheck) {
    const std::string junit = file("checks.xml");
    (void)check(5, {"tone 440", "level -20", "--junit", junit});
    const std::string xml = contentsOf(junit);
    EXPECT_THAT(xml, HasSubstr("tests=\"2\" failures=\"1\" errors=\"0\""));
    EXPECT_THAT(xml, HasSubstr("<testcase classname=\"cabinaudio.check\" name=\"tone 440\"/>"));
    EXPECT_THAT(xml, HasSubstr("<failure message=\"level -20: -12.00 dBFS (required: "));
    EXPECT_THAT(xml, Not(HasSubstr("ATTACHMENT")));
}

TEST_F(Check, VerdictsComeBeforeAJunitFileThatCannotBeWritten) {
    const Outcome result = check(1, {"tone 440", "level -20", "--junit", FULL_DISK});
    EXPECT_THAT(result.out, StartsWith("ok      tone 440: "));
    EXPECT_THAT(result.out, HasSubstr("\nNOT MET level -20: "));
    EXPECT_EQ(result.err, "cabinaudio: cannot write '/dev/full': No space left on device\n");
    EXPECT_THAT(check(1, {"mix", "--junit", FULL_DISK}).err,
                AllOf(HasSubstr("cannot write '/dev/full'"), HasSubstr("there is no report")));
}

#ifdef CABINAUDIO_TEST_CAIRO
TEST_F(Check, DrawsAPictureAndTellsWhere) {
    setenv("LSAN_OPTIONS", "suppressions=" CABINAUDIO_TEST_LEAK_SUPPRESSIONS, 1);
    const std::string junit = file("checks.xml");
    const std::string picture = file("heard.png");
    (void)check(5, {"level -20", "--junit", junit, "--picture", picture});
    EXPECT_THAT(contentsOf(junit), HasSubstr("[[ATTACHMENT|" + picture + "]]"));
    EXPECT_THAT(contentsOf(picture), StartsWith("\x89PNG"));
    EXPECT_EQ(jsonOf(0, {"tone 440", "--picture", picture}).at("picture"), picture);
    EXPECT_TRUE(jsonOf(0, {"tone 440"}).at("picture").is_null());
}

TEST_F(Check, VerdictsAreNotLostWithAPictureThatCannotBeWritten) {
    setenv("LSAN_OPTIONS", "suppressions=" CABINAUDIO_TEST_LEAK_SUPPRESSIONS, 1);
    const std::string junit = file("checks.xml");
    const Outcome text =
        check(1, {"tone 440", "level -20", "--junit", junit, "--picture", FULL_DISK});
    EXPECT_THAT(text.out, AllOf(HasSubstr("ok      tone 440"), HasSubstr("NOT MET level -20")));
    EXPECT_THAT(text.err, HasSubstr("/dev/full: the picture cannot be written"));
    EXPECT_THAT(contentsOf(junit), HasSubstr("level -20: "));
    const Outcome json = check(1, {"--json", "tone 440", "--picture", FULL_DISK});
    EXPECT_THAT(json.out, AllOf(HasSubstr("\"met\":true"), HasSubstr("\"error\":\"/dev/full: ")));
}
#else
TEST_F(Check, BuildWithoutCairoDrawsNoPicture) {
    EXPECT_THAT(check(1, {"tone 440", "--picture", file("heard.png")}).err,
                HasSubstr("built without Cairo"));
}
#endif

TEST_F(Check, JunitIsWellFormedWhateverTheNames) {
    const std::string junit = file("checks.xml");
    const std::string odd = file("<&\"\x01\xff>.wav");
    writeTone(odd);
    runExpecting(5, {"check", odd, "same '" + odd + "'", "silence", "--junit", junit});
    const Outcome parsed =
        Process({.words = {"/usr/bin/python3", "-c",
                           "import sys, xml.dom.minidom as m; m.parse(sys.argv[1])", junit}})
            .finish();
    EXPECT_EQ(parsed.exitCode, 0) << parsed.text();
}

TEST_F(Check, JunitTellsWhyChecksCannotBeMade) {
    const std::string junit = file("checks.xml");
    (void)check(1, {"mix", "silence", "--junit", junit});
    const std::string xml = contentsOf(junit);
    EXPECT_THAT(xml, HasSubstr("tests=\"2\" failures=\"0\" errors=\"2\""));
    EXPECT_THAT(xml, HasSubstr("<error message=\"check &quot;mix&quot;: there is no report\">"));
}

TEST_F(Check, FilesThatCannotBeWrittenFail) {
    EXPECT_THAT(check(1, {"tone 440", "--junit", "/nowhere/a.xml"}).err,
                HasSubstr("cannot write '/nowhere/a.xml'"));
    EXPECT_THAT(check(1, {"tone 440", "--junit", FULL_DISK}).err,
                HasSubstr("cannot write '/dev/full'"));
    for (const char* format : {"-v", "--json"}) {
        const Outcome outcome =
            runTool({"check", mTone, "tone 440", format}, {.inChild = printToFullDisk});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.err,
                    EndsWith("cannot write to standard output: No space left on device\n"));
    }
}

/// What the server has written: its mix, its report and the stems.
TEST_F(Check, FindsWhatWasPlayedInTheMix) {
    RealServer server({"--output", "wav:" + file("heard.wav"), "--report", file("report.json"),
                       "--stems", file("stems")});
    runExpecting(0, {"play", "--tag", "auxiliary", "--name", "chime", mTone});
    EXPECT_EQ(server.stop(), 0);
    const Words base = {"check", file("heard.wav"), "--report", file("report.json")};
    const auto checked = [&](int status, const std::string& text) {
        Words words = base;
        words.push_back(text);
        return runExpecting(status, words).out;
    };
    EXPECT_THAT(checked(0, "played chime='" + mTone + "'"), HasSubstr("48000 equal frames"));
    EXPECT_THAT(checked(0, "mix"), HasSubstr("the sum of 1 streams"));
    EXPECT_THAT(checked(0, "lasts chime 1"), HasSubstr("48000 frames"));
    EXPECT_THAT(checked(0, "click-free"), StartsWith("ok"));
    EXPECT_THAT(checked(1, "order chime radio"), IsEmpty());
    runExpecting(0,
                 {"check", file("heard.wav"), "--stems", file("stems"), "starts chime@0 tol=1s"});
}

class LiveCheck : public Check {
protected:
    void SetUp() override { serve(); }

    /// Waits until the server sends to the tool.
    void waitForListener() const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (json::parse(mServer->command("state")).at("listeners").empty()) {
            if (std::chrono::steady_clock::now() > deadline)
                throw std::runtime_error("the tool does not listen");
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    /// Plays the tone while the tool listens.
    [[nodiscard]] Outcome hear(int status, Words words) const {
        words.insert(words.begin(), {"check", "--live", "--timeout", "60"});
        ToolProcess tool(words);
        waitForListener();
        runExpecting(0, {"play", "--tag", "auxiliary", mTone});
        return tool.finishExpecting(status);
    }
};

TEST_F(LiveCheck, HearsARunningServer) {
    const Outcome outcome = hear(5, {"tone 440 level=-12 [0.1..0.4]", "silence [0.1..0.4]"});
    EXPECT_THAT(outcome.out, StartsWith("ok      tone 440 level=-12 [0.1..0.4]: 440 Hz"));
    EXPECT_THAT(outcome.out, HasSubstr("NOT MET silence [0.1..0.4]: peak -8.9"));
}

TEST_F(LiveCheck, LastsForTheSecondsThatAreGiven) {
    const json report = json::parse(hear(0, {"tone 440", "--seconds", "0.25", "--json"}).out);
    EXPECT_EQ(report.at("file"), "live");
    EXPECT_EQ(report.at("frames"), 12000);
}

TEST_F(LiveCheck, NeedsToKnowHowLong) {
    EXPECT_THAT(runExpecting(2, {"check", "--live", "silence"}).err,
                HasSubstr("--live needs --seconds, or a range [FROM..TO] in check \"silence\""));
}

TEST_F(LiveCheck, TimesOutWhenNothingIsPlayed) {
    EXPECT_THAT(runExpecting(4, {"check", "--live", "silence [0..1]", "--timeout", "0.1"}).err,
                HasSubstr("nothing was played for 0.1 s"));
}

TEST_F(LiveCheck, EndsWithTheServer) {
    ToolProcess tool({"check", "--live", "silence [0..1]", "--timeout", "60"});
    waitForListener();
    mServer->stop();
    EXPECT_THAT(tool.finishExpecting(3).err, HasSubstr("the server went away"));
}

TEST_F(LiveCheck, EndsAtASignal) {
    ToolProcess tool({"check", "--live", "silence [0..1]", "--timeout", "60"});
    waitForListener();
    tool.send(SIGINT);
    EXPECT_THAT(tool.finishExpecting(1).err, HasSubstr("interrupted by SIGINT"));
}

TEST_F(Check, LiveWithoutAServerSaysSo) {
    EXPECT_NE(runExpecting(3, {"check", "--live", "silence [0..1]"}).err, "");
}

}  // namespace

}  // namespace cabinaudio::test
