// SPDX-License-Identifier: Apache-2.0
// Scenarios as their users run them: real programs, real servers.
#include "tests/support/ProcessState.h"
#include "tests/tools/ToolTest.h"

#include <dirent.h>
#include <sys/types.h>

#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <vector>

namespace cabinaudio::test {

namespace {

namespace fs = std::filesystem;

using testing::AllOf;
using testing::ContainsRegex;

/// A tone with a peak of half of full scale, in both channels.
void writeTone(const std::string& path, double hz, double seconds) {
    SF_INFO info = {};
    info.samplerate = 48000;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    std::vector<float> samples;
    for (int i = 0; i < static_cast<int>(seconds * 48000); ++i)
        samples.insert(samples.end(), 2,
                       0.5f * static_cast<float>(std::sin(2 * M_PI * hz * i / 48000)));
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << path;
    sf_writef_float(file, samples.data(), static_cast<sf_count_t>(samples.size() / 2));
    sf_close(file);
}

/// Processes whose command line contains a text.
std::vector<pid_t> processesNamed(const std::string& text) {
    std::vector<pid_t> processes;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") != std::string::npos) continue;
        if (contentsOf(entry.path() / "cmdline").find(text) != std::string::npos)
            processes.push_back(std::stoi(name));
    }
    return processes;
}

std::size_t processesWith(const std::string& text) {
    return processesNamed(text).size();
}

class Scenario : public ToolTest {
protected:
    void SetUp() override {
        writeTone(file("music.wav"), 440, 2);
        writeTone(file("prompt.wav"), 1000, 0.5);
        fs::create_directory(file("tmp"));
    }

    /// Writes the scenario; `@` stands for the test's directory. @return its path
    std::string write(std::string text, const std::string& name = "test.scenario") const {
        for (std::size_t at = 0; (at = text.find('@', at)) != std::string::npos;)
            if (text.compare(at, 2, "@/") == 0)
                text.replace(at, 1, mDirectory.path());
            else
                ++at;
        std::ofstream(file(name)) << text;
        return file(name);
    }

    [[nodiscard]] ToolSetup setup() const {
        ToolSetup setup;
        setup.environment = {
            {"CABINAUDIO_SERVER", RealServer::path()},
            {"LSAN_OPTIONS",
             "print_suppressions=0:suppressions=" CABINAUDIO_TEST_LEAK_SUPPRESSIONS},
            {"CABINAUDIO_LAUNCHER", CABINAUDIO_TEST_LAUNCHER},
            {"TMPDIR", file("tmp")}};
        return setup;
    }

    Outcome play(int status, const std::string& text, const Words& options = {}) const {
        Outcome outcome = runTool(with({"scenario", write(text)}, options), setup());
        EXPECT_EQ(outcome.exitCode, status) << outcome.text() << logs();
        return outcome;
    }

    /// What a failure has left, for messages.
    [[nodiscard]] std::string logs() const {
        std::string all;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(file("tmp")))
            if (entry.path().extension() == ".log" || entry.path().extension() == ".txt")
                all += "--- " + entry.path().string() + ":\n" + contentsOf(entry.path());
        return all;
    }

    /// The only directory of results.
    [[nodiscard]] fs::path kept() const {
        for (const fs::directory_entry& entry : fs::directory_iterator(file("tmp")))
            return entry.path();
        ADD_FAILURE() << "nothing is kept";
        return {};
    }

    [[nodiscard]] bool isNothingKept() const { return fs::is_empty(file("tmp")); }
};

constexpr char MUSIC[] =
    "server --hold 1\n"
    "run music cabinaudio play --tag main --name music @/music.wav\n";

constexpr char MUSIC_AND_PROMPT[] =
    "server --hold 2\n"
    "set ducking.mode=1\n"
    "run music cabinaudio play --tag main --name music @/music.wav\n"
    "run nav cabinaudio play --tag alternative --name prompt @/prompt.wav\n"
    "await prompt 1000\n";

}  // namespace

TEST_F(Scenario, DuckingIsHeardAtItsFrames) {
    const Outcome result = play(0, std::string(MUSIC_AND_PROMPT) +
                                       "expect exit music 0\n"
                                       "expect exit nav 0\n"
                                       "expect check 'starts prompt@1000'\n"
                                       "expect check 'ducked music by -20dB during prompt'\n"
                                       "expect check 'lasts 2'\n");
    EXPECT_EQ(linesOf(result.out).size(), 6u) << result.out;
    EXPECT_THAT(result.out, AllOf(StartsWith("ok       exit music 0: ended with status 0\n"),
                                  HasSubstr("\nok       check 'starts prompt@1000': "),
                                  HasSubstr("\nok       time: ")));
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_TRUE(isNothingKept());
}

TEST_F(Scenario, EqualRunsGiveEqualBytes) {
    const std::string text = std::string(MUSIC_AND_PROMPT) +
                             "at 500 set volume.master=-6dB\n"
                             "at 700 set balance=50\n"
                             "at 1100 signal nav CONT\n"
                             "until finished prompt\n";
    std::string first;
    std::string firstReport;
    for (int i = 0; i < 10; ++i) {
        play(0, text, {"--keep", file("kept")});
        const std::string heard = contentsOf(file("kept/heard.wav"));
        const std::string report =
            json::parse(contentsOf(file("kept/report.json")))["streams"].dump();
        if (i == 0) first = heard, firstReport = report;
        // The prompt ends at 1.5 s, and the period after 93.75 ones.
        EXPECT_EQ(heard.size(), 44u + 94 * 768 * 4);
        EXPECT_TRUE(heard == first) << "run " << i;
        EXPECT_EQ(report, firstReport) << "run " << i;
    }
}

TEST_F(Scenario, TimeEndsAtTheFrameOfUntil) {
    play(0, std::string(MUSIC) + "until 48000f\nexpect check 'lasts 1'\n",
         {"--keep", file("kept")});
    EXPECT_EQ(contentsOf(file("kept/heard.wav")).size(), 44u + 48000 * 4);
}

TEST_F(Scenario, SettingsChangeWhileTimeStands) {
    play(0, std::string(MUSIC) +
                "at 1000 set volume.master=-20dB\n"
                "expect check 'level -9 tol=1 [0.1..1]'\n"
                "expect check 'level -29 tol=1 [1.05..2]'\n");
}

TEST_F(Scenario, EachActionHappensAtItsOwnTime) {
    play(0, std::string(MUSIC) +
                "at 500 set volume.master=-20dB\n"
                "at 1000 set volume.master=0dB\n"
                "at 1000 set volume.master=-40dB\n"
                "at 1500 set volume.master=0dB\n"
                "expect check 'level -9 tol=1 [0.1..0.5]'\n"
                "expect check 'level -29 tol=1 [0.55..1]'\n"
                "expect check 'level -49 tol=1 [1.05..1.5]'\n"
                "expect check 'level -9 tol=1 [1.55..2]'\n");
}

TEST_F(Scenario, AProgramStartsAtATime) {
    play(0, std::string(MUSIC) +
                "await prompt 1000\n"
                "at 1000 run nav cabinaudio play --tag alternative --name prompt @/prompt.wav\n"
                "expect check 'starts prompt@1000'\n"
                "expect exit nav 0\n");
}

TEST_F(Scenario, ASignalReachesTheProgram) {
    play(0, std::string(MUSIC) +
                "at 1000 signal music KILL\n"
                "expect exit music SIGKILL\n"
                "expect check 'lasts 1'\n");
}

TEST_F(Scenario, AWithdrawnSourceIsSilent) {
    play(0, std::string(MUSIC) +
                "at 500 source withdraw music\n"
                "at 1000 source activate music\n"
                "until 1500\n"
                "expect check 'tone 440 [0..0.5]'\n"
                "expect check 'silence [0.5..1]'\n"
                "expect check 'tone 440 [1.1..1.5]'\n");
}

TEST_F(Scenario, TimePassesForASinkThatIsWithdrawnAlone) {
    play(0, std::string(MUSIC) +
                "at 500 source withdraw music\n"
                "at 1000 set volume.master=-20dB\n"
                "at 1000 source activate music\n"
                "until 1500\n"
                "expect check 'silence [0.5..1]'\n"
                "expect check 'lasts 1.5'\n");
}

TEST_F(Scenario, ARemovedStreamEnds) {
    play(0, std::string(MUSIC) +
                "at 1000 stream remove music\n"
                "expect exit music 1\n"
                "expect output music 'removed'\n"
                "expect check 'lasts 1'\n");
}

TEST_F(Scenario, AStallChangesNothing) {
    play(0, std::string(MUSIC) +
                "at 1000 stall 300\n"
                "expect exit music 0\n"
                "expect check 'lasts 2'\n"
                "expect check 'gap-free'\n");
}

TEST_F(Scenario, ADamagedReplyReachesTheProgram) {
    const std::string begin =
        "server --hold 2\n"
        "run music cabinaudio play --tag main --name music @/music.wav\n"
        "run nav cabinaudio play --name prompt @/prompt.wav\n"
        "await prompt 500\n";
    // A reply to `stop` that is too short has all that matters.
    play(0,
         begin + "at 500 fault short-reply stop prompt\nexpect exit music 0\nexpect exit nav 0\n");
    play(0, begin +
                "at 500 fault wrong-magic stop prompt\n"
                "expect exit music 0\n"
                "expect exit nav 3\n"
                "expect output nav 'the server has closed the connection'\n");
}

TEST_F(Scenario, ACrashEndsTheServerAtItsFrame) {
    play(0, std::string(MUSIC) +
                "at 1000 crash\n"
                "expect exit music 3\n"
                "expect check 'tone 440'\n"
                "expect check 'lasts 1'\n");
}

TEST_F(Scenario, ARestartKeepsSettingsAndBeginsANewTime) {
    if (toolIsEmulated()) GTEST_SKIP() << "the shell would be started in the emulator";
    // The program plays again when the server has gone.
    const Outcome result =
        play(0,
             "server --hold 1\n"
             "set volume.master=-20dB\n"
             "run music sh -c 'cabinaudio play --name music @/music.wav; exec cabinaudio play "
             "--wait 20 --name again @/prompt.wav'\n"
             "at 1000 restart\n"
             "expect exit music 0\n"
             "expect check 'tone 1000 level=-29 tol=1'\n",
             {"--keep", file("kept")});
    // The last period is whole.
    EXPECT_EQ(contentsOf(file("kept/heard-1.wav")).size(), 44u + 48000 * 4);
    EXPECT_EQ(contentsOf(file("kept/heard-2.wav")).size(), 44u + 24576 * 4) << result.text();
}

TEST_F(Scenario, ACrashedServerIsReplaced) {
    if (toolIsEmulated()) GTEST_SKIP() << "the shell would be started in the emulator";
    play(0,
         "server --hold 1\n"
         "run music sh -c 'cabinaudio play --name music @/music.wav; exec cabinaudio play "
         "--wait 20 --name again @/prompt.wav'\n"
         "at 1000 crash\n"
         "at 1000 restart\n"
         "expect exit music 0\n"
         "expect check 'tone 1000'\n"
         "expect check 'lasts 0.5'\n");
}

TEST_F(Scenario, AProgramBeginsWithTheServerThatReplacesAnother) {
    const Outcome result = play(0,
                                "server --hold 1\n"
                                "set volume.master=-20dB\n"
                                "run music cabinaudio play --name music @/music.wav\n"
                                "at 1000 restart\n"
                                "at 0 set volume.master=-6dB\n"
                                "at 0 run again cabinaudio play --name again @/prompt.wav\n"
                                "expect exit music 3\n"
                                "expect exit again 0\n"
                                "expect check 'tone 1000 [0..0.45] level=-15 tol=1'\n"
                                "expect check 'lasts 0.5'\n");
    EXPECT_THAT(result.out, HasSubstr("exit again 0: ended with status 0"));
}

TEST_F(Scenario, AnUplinkLosesItsRing) {
    play(0,
         "server --hold 1 --input uplink=tone:440\n"
         "run call cabinaudio record --tag uplink --name call --seconds 1 @/call.wav\n"
         "at 320 uplink ring off\n"
         "at 640 uplink ring on\n"
         "expect exit call 0\n");
}

TEST_F(Scenario, AnExpectationThatIsNotMetKeepsTheResults) {
    const Outcome result = play(5, std::string(MUSIC) +
                                       "expect exit music 7\n"
                                       "expect check 'tone 441 tol=0.1'\n"
                                       "expect output music 'hello'\n"
                                       "expect error 'nothing'\n"
                                       "expect check 'tone 440'\n");
    const Words lines = linesOf(result.out);
    ASSERT_EQ(lines.size(), 7u) << result.out;
    EXPECT_THAT(lines[0],
                StartsWith("NOT MET  exit music 7: ended with status 0; its last line: "));
    EXPECT_THAT(lines[1], StartsWith("NOT MET  check 'tone 441 tol=0.1': "));
    EXPECT_THAT(lines[2], StartsWith("NOT MET  output music hello: not in what it printed"));
    EXPECT_EQ(lines[3], "NOT MET  error nothing: time had no such error");
    EXPECT_THAT(lines[4], StartsWith("ok       check 'tone 440': "));
    EXPECT_THAT(lines[6], StartsWith("kept in " + kept().string() + ": heard.wav music.log "));
    for (const char* name : {"heard.wav", "report.json", "server.log", "music.log", "trace.txt"})
        EXPECT_GT(fs::file_size(kept() / name), 0u) << name;
}

TEST_F(Scenario, AnErrorOfTimeIsNotMet) {
    const Outcome result = play(5,
                                "server --hold 2 --patience 1000\n"
                                "run music cabinaudio play --name music @/music.wav\n"
                                "expect exit music 0\n");
    EXPECT_THAT(result.out, HasSubstr("\nNOT MET  time: waited 1000 ms for 2 streams to be started "
                                      "(1 is), at 0 ms\n"));
}

TEST_F(Scenario, AnExpectedErrorOfTimeIsNone) {
    play(0,
         "server --hold 2 --patience 1000\n"
         "run music cabinaudio play --name music @/music.wav\n"
         "expect error 'waited 1000 ms for 2 streams to be started (1 is)'\n"
         "expect exit music 0\n");
}

TEST_F(Scenario, AHangingProgramIsNamed) {
    const Outcome result = play(5,
                                "server --patience 1000\n"
                                "run player sleep 1000\n"
                                "expect exit player 0\n");
    EXPECT_THAT(result.out, HasSubstr("NOT MET  exit player 0: it had not ended by itself\n"));
    EXPECT_THAT(result.out, HasSubstr("NOT MET  run: waited 2 s for the programs' ends; time "
                                      "stands at 0 ms, still running: \"player\"\n"));
    EXPECT_EQ(processesWith(mDirectory.path()), 0u);
}

TEST_F(Scenario, ATimeThatNeverComesIsNamed) {
    const Outcome result = play(5,
                                "server --patience 1000 --hold 1\n"
                                "run music cabinaudio play --name music @/music.wav\n"
                                "at 5000 signal music USR1\n");
    EXPECT_THAT(result.out, HasSubstr("NOT MET  run: waited 2 s for time 5000; time stands at "));
    EXPECT_THAT(result.out, HasSubstr("no program runs"));
}

TEST_F(Scenario, AProgramThatFailedIsNamedWithItsLastWords) {
    const Outcome result = play(5,
                                "server --patience 1000 --hold 1\n"
                                "run music cabinaudio play --loud @/music.wav\n"
                                "at 1000 signal music USR1\n");
    EXPECT_THAT(result.out, HasSubstr("no program runs; \"music\" has ended with status 2: "));
}

TEST_F(Scenario, AServerThatDiesLeavesWhatItHas) {
    const std::string text =
        "run player sh -c 'cabinaudio play --name m @/music.wav; echo played; exec sleep 1000'\n"
        "at 60000 run late true\n"
        "expect exit player 0\n"
        "expect check 'tone 440 [0..0.5]'\n"
        "expect output player played\n"
        "expect output late hello\n";
    ToolProcess tool({"scenario", write(text), "--junit", file("junit.xml")}, setup());
    ASSERT_TRUE(eventually([&] { return logs().find("played\n") != std::string::npos; },
                           std::chrono::seconds(60)));
    for (const pid_t server : processesNamed("wav:" + kept().string()))
        kill(server, SIGKILL);
    const Outcome result = tool.finish();
    EXPECT_EQ(result.exitCode, 1) << result.text();
    const std::string problem = "the server ended by itself with SIGKILL";
    EXPECT_THAT(result.err, StartsWith("cabinaudio: " + problem));
    expectOneLine(result.err);
    EXPECT_THAT(result.out,
                AllOf(StartsWith("NOT MET  exit player 0: it had not ended by itself\n"),
                      HasSubstr("\nok       output player played: "),
                      HasSubstr("\nNOT MET  output late hello: it was not started\n"),
                      HasSubstr("\nNOT MET  time: the server did not tell all its errors\n"),
                      HasSubstr("\nNOT MET  run: " + problem)));
    for (const char* name : {"heard.wav", "server.log", "player.log", "trace.txt"})
        EXPECT_TRUE(fs::exists(kept() / name)) << name;
    const std::string xml = contentsOf(file("junit.xml"));
    EXPECT_THAT(xml, HasSubstr("<failure message=\"run: " + problem));
    EXPECT_THAT(xml, HasSubstr("tests=\"6\""));
}

TEST_F(Scenario, AServerThatDiesIsAFailureInJsonToo) {
    const std::string text =
        "run player sh -c 'cabinaudio play --name m @/music.wav; echo played; exec sleep 1000'\n";
    ToolProcess tool({"scenario", write(text), "--json"}, setup());
    ASSERT_TRUE(eventually([&] { return logs().find("played\n") != std::string::npos; },
                           std::chrono::seconds(60)));
    for (const pid_t server : processesNamed("wav:" + kept().string()))
        kill(server, SIGKILL);
    const json report = jsonOf(tool.finishExpecting(1));
    EXPECT_EQ(report["ended"], "failed");
    EXPECT_EQ(report["exit"], 1);
    EXPECT_THAT(report["error"].get<std::string>(), StartsWith("the server ended by itself"));
    EXPECT_EQ(report["directory"], kept().string());
}

TEST_F(Scenario, AServerThatHangsIsTheProblemThatIsTold) {
    const Outcome result = play(5,
                                "server --hold 1 --patience 1000\n"
                                "run music cabinaudio play --name music @/music.wav\n"
                                "at 500 stall 20000\n"
                                "expect exit music 0\n",
                                {"--junit", file("junit.xml")});
    EXPECT_THAT(
        result.out,
        AllOf(StartsWith("NOT MET  exit music 0: it had not ended by itself\n"),
              HasSubstr("\nNOT MET  run: waited 2 s for the answer to 'time'; time stands "),
              Not(HasSubstr("'time stop'"))));
    EXPECT_TRUE(fs::exists(kept() / "server.log"));
    EXPECT_THAT(contentsOf(file("junit.xml")), HasSubstr("tests=\"3\" failures=\"3\""));
}

TEST_F(Scenario, ARefusedActionIsTheProblemOfItsLine) {
    const json report = jsonOf(play(5,
                                    std::string(MUSIC) + "at 500 set volume.master=-20dB\n"
                                                         "at 500 source withdraw none\n"
                                                         "expect check 'tone 440'\n",
                                    {"--json"}));
    EXPECT_EQ(report["expectations"][0]["met"], true);
    EXPECT_EQ(report["expectations"].back()["line"], 4);
    EXPECT_THAT(report["expectations"].back()["detail"].get<std::string>(),
                ContainsRegex("the server answered 'error: .*' to 'source withdraw none'"));
}

TEST_F(Scenario, TheEndOfAStreamThatNeverWasIsNotMet) {
    const Outcome result = play(5,
                                "server --hold 1 --patience 1000\n"
                                "run music cabinaudio play --name music @/music.wav\n"
                                "until finished typo\n"
                                "expect exit music 0\n");
    EXPECT_THAT(result.out, HasSubstr("ok       exit music 0: ended with status 0\n"));
    EXPECT_THAT(result.out, HasSubstr("NOT MET  run: all programs have ended, but no stream "
                                      "\"typo\" has ended\n"));
}

TEST_F(Scenario, TimesAreAddedAtEveryRate) {
    play(0,
         "server --hold 1 --rate 44100\n"
         "run music cabinaudio play --tag main --name music @/music.wav\n"
         "at 505 set volume.master=-20dB\n"
         "at +505 source withdraw music\n"
         "until 1515\n"
         "expect check 'level -29 tol=1 [0.55..1]'\n"
         "expect check 'silence [1.01..1.5]'\n");
}

TEST_F(Scenario, ProgramsThatIgnoreSigtermAreKilled) {
    play(0, std::string(MUSIC) +
                "run deaf sh -c \"trap '' TERM; while :; do sleep 1; done # @/deaf\"\n"
                "until 500\n");
    EXPECT_EQ(processesWith(file("deaf")), 0u);
}

TEST_F(Scenario, AnInterruptionEndsEverything) {
    const std::string text =
        "run player sh -c 'cabinaudio play --name m @/music.wav; echo played; "
        "sleep 1000'\nexpect exit player 0\n";
    for (const int signal : {SIGINT, SIGTERM}) {
        ToolProcess tool({"scenario", write(text)}, setup());
        const auto hasPlayed = [&] { return logs().find("played\n") != std::string::npos; };
        ASSERT_TRUE(eventually(hasPlayed, std::chrono::seconds(60)));
        tool.send(signal);
        const Outcome result = tool.finish();
        EXPECT_EQ(result.exitCode, 1) << result.text();
        EXPECT_EQ(result.err,
                  std::string("cabinaudio: interrupted by SIG") + sigabbrev_np(signal) + "\n");
        EXPECT_EQ(processesWith(mDirectory.path()), 0u);
        EXPECT_TRUE(isNothingKept());
    }
}

TEST_F(Scenario, AnInterruptionLetsProgramsEnd) {
    const std::string text =
        "server --hold 2\n"
        "run player sh -c 'trap \"echo saved >@/saved; exit 0\" TERM; echo ready; "
        "while :; do sleep 0.05; done'\n";
    ToolProcess tool({"scenario", write(text)}, setup());
    ASSERT_TRUE(eventually([&] { return logs().find("ready\n") != std::string::npos; },
                           std::chrono::seconds(60)));
    tool.send(SIGINT);
    EXPECT_EQ(tool.finish().exitCode, 1);
    EXPECT_EQ(contentsOf(file("saved")), "saved\n");
    EXPECT_TRUE(isNothingKept());
}

TEST_F(Scenario, NoChildOutlivesAKilledTool) {
    const std::string text =
        "run player sh -c 'cabinaudio play --name m @/music.wav; echo played; "
        "exec sleep 1000'\n";
    ToolProcess tool({"scenario", write(text)}, setup());
    ASSERT_TRUE(eventually([&] { return logs().find("played\n") != std::string::npos; },
                           std::chrono::seconds(60)));
    tool.send(SIGKILL);
    (void)tool.finish();
    EXPECT_TRUE(eventually([&] { return processesWith(mDirectory.path()) == 0; },
                           std::chrono::seconds(60)));
}

TEST_F(Scenario, NothingStaysInSharedMemory) {
    play(0,
         std::string(MUSIC) +
             "run shell sh -c 'echo $CABINAUDIO_INSTANCE'\n"
             "at 1000 crash\n"
             "expect exit music 3\n",
         {"--keep", file("kept")});
    const Words instance = linesOf(contentsOf(file("kept/shell.log")));
    // In the emulator, the loader has complained about the board's library before.
    ASSERT_FALSE(instance.empty());
    ASSERT_GE(instance.back().size(), 16u);
    for (const fs::directory_entry& entry : fs::directory_iterator("/dev/shm"))
        EXPECT_THAT(entry.path().filename().string(), Not(HasSubstr(instance.back())));
}

TEST_F(Scenario, JsonHasEveryExpectation) {
    const json good = jsonOf(play(0, std::string(MUSIC) + "expect exit music 0\n", {"--json"}));
    EXPECT_EQ(good["met"], true);
    EXPECT_EQ(good["error"], nullptr);
    EXPECT_EQ(good["directory"], nullptr);
    EXPECT_EQ(good["expectations"][0]["line"], 3);
    EXPECT_EQ(good["expectations"][0]["text"], "exit music 0");
    const json bad = jsonOf(play(5, std::string(MUSIC) + "expect exit music 1\n", {"--json"}));
    EXPECT_EQ(bad["met"], false);
    EXPECT_EQ(bad["exit"], 5);
    EXPECT_EQ(bad["error"], "1 of 2 expectations not met");
    EXPECT_EQ(bad["parts"][0]["heard"], (kept() / "heard.wav").string());
    EXPECT_EQ(bad["logs"]["music"], (kept() / "music.log").string());
}

TEST_F(Scenario, JUnitHasACaseForEachExpectation) {
    play(5,
         std::string(MUSIC) +
             "expect exit music 0\n"
             "expect output music '<\"no\" & \\t>'\n",
         {"--junit", file("junit.xml")});
    const std::string xml = contentsOf(file("junit.xml"));
    EXPECT_THAT(xml, HasSubstr("tests=\"3\" failures=\"1\" errors=\"0\""));
    EXPECT_THAT(xml, HasSubstr("classname=\"test\" name=\"exit music 0\""));
    EXPECT_THAT(xml, HasSubstr("line=\"3\"/>"));
    EXPECT_THAT(xml, HasSubstr("&lt;&quot;no&quot; &amp; "));
    EXPECT_THAT(xml, HasSubstr("[[ATTACHMENT|" + (kept() / "heard.wav").string() + "]]"));
}

TEST_F(Scenario, AllErrorsOfAFileAreTold) {
    const Outcome result = play(2, "run p\nfoo\n");
    EXPECT_EQ(result.err, "cabinaudio: " + file("test.scenario") + ":1: 'run p' lacks a command\n" +
                              "cabinaudio: " + file("test.scenario") +
                              ":2: 'foo' is no keyword; expected server, set, run, await, at, "
                              "until, expect\n");
    EXPECT_TRUE(isNothingKept());
}

TEST_F(Scenario, AnUnreadableFileIsWrongUsage) {
    const Outcome missing = runExpecting(2, {"scenario", file("none")}, setup());
    EXPECT_EQ(missing.err,
              "cabinaudio: cannot read " + file("none") + ": No such file or directory\n");
    const Outcome directory = runExpecting(2, {"scenario", file("tmp"), "--json"}, setup());
    EXPECT_EQ(jsonOf(directory)["error"], "cannot read " + file("tmp") + ": it is a directory");
}

TEST_F(Scenario, WhatTheServerRefusesHasItsLine) {
    const Outcome result = play(2, "server --hold -3\nrun p true\n");
    EXPECT_THAT(result.err, StartsWith("cabinaudio: " + file("test.scenario") + ":1: "));
    EXPECT_THAT(result.err, HasSubstr("--hold"));
    expectOneLine(result.err);
    const Outcome second = play(2, "server --hold 1\nserver --bogus\nrun p true\n");
    EXPECT_THAT(second.err, StartsWith("cabinaudio: " + file("test.scenario") + ":2: "));
    EXPECT_THAT(second.err, HasSubstr("--bogus"));
    const Outcome both = play(2, "server --hold 1\nserver --hold=-3\nrun p true\n");
    EXPECT_THAT(both.err,
                StartsWith("cabinaudio: " + file("test.scenario") + ":1: options of lines 1, 2: "));
}

TEST_F(Scenario, AServerThatCannotStartSaysHowItEnded) {
    const std::string program = file("server");
    std::ofstream(program) << "#!/bin/sh\nkill -KILL $$\n";
    fs::permissions(program, fs::perms::owner_all);
    ToolSetup other = setup();
    other.environment[0].second = program;
    const Outcome result = runExpecting(1, {"scenario", write("run p true\n")}, other);
    // In the emulator, what the loader said of the board's library follows.
    EXPECT_THAT(result.err,
                StartsWith("cabinaudio: the server has not started, it ended with SIGKILL"));
}

TEST_F(Scenario, AWrongSettingHasItsLine) {
    const Outcome early = play(2, "set volume.mister=1\nrun p true\n");
    EXPECT_THAT(early.err, StartsWith("cabinaudio: " + file("test.scenario") + ":1: "));
    EXPECT_THAT(early.err, HasSubstr("volume.mister"));
    const Outcome late = play(2, std::string(MUSIC) + "at 500 set volume.master=loud\n");
    EXPECT_THAT(late.err, StartsWith("cabinaudio: " + file("test.scenario") + ":3: "));
    EXPECT_TRUE(isNothingKept());
}

TEST_F(Scenario, AProgramThatDoesNotExistEndsWith127) {
    play(0, "run p @/none\nexpect exit p 127\nexpect output p none\n");
}

TEST_F(Scenario, AMissingServerIsAFailure) {
    ToolSetup other = setup();
    other.environment[0].second = file("none");
    const Outcome result = runExpecting(1, {"scenario", write("run p true\n")}, other);
    EXPECT_EQ(result.err, "cabinaudio: CABINAUDIO_SERVER=" + file("none") + " is no program\n");
}

TEST_F(Scenario, OnlyDirectoriesOfScenariosAreUsedAgain) {
    const std::string text = "run p true\nexpect exit p 0\n";
    play(0, text, {"--keep", file("a/b")});
    std::ofstream(file("a/b/mine.txt")) << "mine";
    std::ofstream(file("a/b/old.log")) << "old";
    play(0, text, {"--keep", file("a/b")});
    EXPECT_EQ(contentsOf(file("a/b/mine.txt")), "mine");
    EXPECT_FALSE(fs::exists(file("a/b/old.log")));
    fs::create_directory(file("other"));
    std::ofstream(file("other/mine.log")) << "mine";
    const Outcome result = play(2, text, {"--keep", file("other")});
    EXPECT_EQ(result.err, "cabinaudio: the directory " + file("other") +
                              " has files that are not of a scenario; name a new one\n");
    EXPECT_EQ(contentsOf(file("other/mine.log")), "mine");
}

TEST_F(Scenario, AFullDiskIsAFailure) {
    const Outcome result = play(1, "run p true\nexpect exit p 0\n", {"--junit", "/dev/full"});
    EXPECT_EQ(result.err, "cabinaudio: cannot write '/dev/full': No space left on device\n");
    EXPECT_THAT(result.out, StartsWith("ok       exit p 0: ended with status 0\n"));
}

}  // namespace cabinaudio::test
