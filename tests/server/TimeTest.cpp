// SPDX-License-Identifier: Apache-2.0
//
// Time that a test owns: options, commands, bounds and what the server says about them.
#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/link/LinkPolicy.h>

#include "tests/server/Ensemble.h"
#include "tests/server/Playing.h"
#include "tests/server/RawRecorder.h"
#include "tests/server/ServerRun.h"
#include "tests/server/State.h"
#include "tests/support/ProcessState.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace cabinaudio::test {
namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr unsigned SECOND = 48000;
constexpr int TIME_ERROR = 5;

std::vector<std::string> operator+(std::vector<std::string> first,
                                   const std::vector<std::string>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// A thread of this process that never waits.
class BusyThread {
public:
    BusyThread() {
        while (!mIsBusy)  // at its start a thread may rest
            std::this_thread::yield();
    }
    ~BusyThread() {
        mIsOver = true;
        mThread.join();
    }

private:
    std::atomic<bool> mIsBusy{false};
    std::atomic<bool> mIsOver{false};
    std::thread mThread{[this] {
        mIsBusy = true;
        while (!mIsOver) {
        }
    }};
};

/// A server that owns its time, and the streams of this process.
class OwnTime : public ::testing::Test {
protected:
    OwnTime() { setLinkPolicy({.replyTimeout = std::chrono::seconds(60)}); }
    ~OwnTime() override { setLinkPolicy({}); }

    void serve(const std::vector<std::string>& arguments, const std::string& mode = "lockstep") {
        const bool isPatient =
            std::find(arguments.begin(), arguments.end(), "--patience") != arguments.end();
        const auto patience =
            isPatient ? std::vector<std::string>{} : std::vector<std::string>{"--patience", "1000"};
        mServer = std::make_unique<RecordingServer>(std::vector<std::string>{"--time", mode} +
                                                    patience + arguments);
    }

    std::string command(const std::string& line) { return mServer->server().command(line); }
    /// The answer to a command that comes when it is done.
    std::future<std::string> later(const std::string& line) {
        return std::async(std::launch::async, [this, line] { return command(line); });
    }
    json time() {
        const json time = json::parse(command("time"));
        expectSchema("time", time);
        return time;
    }
    [[nodiscard]] bool reaches(const std::string& state) {
        return eventually([&] { return time().at("state") == state; }, std::chrono::minutes(1));
    }
    /// A run that waits at 20 ms for a prompt, which nobody plays yet.
    std::future<std::string> runAsFarAsThePrompt(const std::string& line,
                                                 const std::string& mode = "lockstep") {
        serve({"--await", "prompt@20", "--patience", "60000"}, mode);
        auto run = later(line);
        EXPECT_TRUE(reaches("waiting"));
        return run;
    }
    [[nodiscard]] bool hasError() {
        return eventually([this] { return !time().at("errors").empty(); }, std::chrono::minutes(1));
    }

    /// Ends the server. @return the texts of its errors
    std::vector<std::string> errors() {
        mServer->server().kill(SIGTERM);
        const int status = mServer->server().wait();
        const json report = json::parse(contentsOf(mServer->directory().file("report.json")));
        expectSchema("report", report);
        std::vector<std::string> texts;
        for (const json& error : report.at("time").at("errors"))
            texts.push_back(error.at("text"));
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), texts.empty() ? 0 : TIME_ERROR);
        for (const std::string& text : texts)
            EXPECT_THAT(mServer->server().output(), HasSubstr(text)) << "one line in the log";
        mReport = report;
        return texts;
    }
    [[nodiscard]] const json& report() const { return mReport; }
    [[nodiscard]] Wav heard() const { return readWav(mServer->directory().file("heard.wav")); }

    /// The frames at which something happened to a stream.
    [[nodiscard]] std::vector<std::uint64_t> framesOf(const std::string& what,
                                                      const std::string& stream = "") const {
        std::vector<std::uint64_t> frames;
        for (const json& change : mReport.at("changes"))
            if (change.at("what") == what && change.value("stream", "") == stream)
                frames.push_back(change.at("frame"));
        return frames;
    }

private:
    std::unique_ptr<RecordingServer> mServer;
    json mReport;
};

const AudioFormatDesc STEREO = pcm(48000, 2, 16);

/// Time passes in periods of 768 frames.
unsigned wholePeriods(unsigned frames) {
    return (frames + 767) / 768 * 768;
}

/// What is heard of a sound: silence fills the last period.
std::vector<std::int32_t> heardOf(const std::vector<std::int16_t>& sound) {
    std::vector<std::int32_t> samples = wide(sound);
    samples.resize(std::size_t{wholePeriods(static_cast<unsigned>(sound.size() / 2))} * 2);
    return samples;
}

std::vector<std::int16_t> sound(unsigned frames, std::uint32_t seed = 1) {
    auto samples = noise16(std::size_t{frames} * 2, seed);
    for (auto& sample : samples)
        sample = static_cast<std::int16_t>(sample / 8);
    return samples;
}

/// Plays to the end on a thread of its own.
std::future<bool> playing(const std::string& name, unsigned frames,
                          AudioTagType tag = AUDIO_TAG_AUXILIARY) {
    return std::async(std::launch::async, [=] {
        Player player(name, tag, STEREO);
        return player.write(sound(frames)) && player.end();
    });
}

// ---- Options ------------------------------------------------------------------------------------

TEST(TimeOptions, NeedAnOutputWithoutAClock) {
    EXPECT_THAT(refusal(2, "--output pulse --time lockstep"),
                HasSubstr("--time lockstep needs --output wav:FILE or null"));
    EXPECT_THAT(refusal(2, "--time stepped"),
                HasSubstr("--time stepped needs --output wav:FILE or null"));
    EXPECT_THAT(refusal(2, "--time fast"),
                HasSubstr("--time fast needs --output wav:FILE or null"));
}

TEST(TimeOptions, NeedThreePeriodsInTheRings) {
    EXPECT_THAT(refusal(2, "--output null --time lockstep --ring-periods 2"),
                HasSubstr("--time lockstep needs --ring-periods 3 or more"));
}

TEST(TimeOptions, AreRefusedWhereTimePassesByItself) {
    for (const std::string option :
         {"--hold 1", "--await a", "--at 5:crash", "--patience 2000", "--tail 9", "--strict"})
        EXPECT_THAT(refusal(2, "--output null --time real " + option),
                    HasSubstr("needs --time lockstep or stepped"))
            << option;
    EXPECT_THAT(refusal(2, "--output null --fast --time lockstep"),
                HasSubstr("--fast excludes --time"));
}

TEST(TimeOptions, AreRefusedWithImpossibleValues) {
    const std::string lockstep = "--output null --time lockstep ";
    EXPECT_THAT(refusal(2, lockstep + "--patience 999"), HasSubstr("--patience"));
    EXPECT_THAT(refusal(2, lockstep + "--patience 1000 --tail 1000"),
                HasSubstr("--tail must be less than --patience"));
    EXPECT_THAT(refusal(2, lockstep + "--await prompt@soon"), HasSubstr("prompt@soon"));
    EXPECT_THAT(refusal(2, lockstep + "--at crash"), HasSubstr("not MS:COMMAND: crash"));
    EXPECT_THAT(refusal(2, "--output null --time slow"), HasSubstr("no such mode of time: slow"));
    EXPECT_THAT(refusal(1, lockstep + "--at 5:dance"), HasSubstr("--at 5:dance: no such command"));
}

// ---- Commands -----------------------------------------------------------------------------------

TEST(TimeByTheClock, IsDescribedAndTakesNoCommands) {
    const RealServer server;
    const json time = json::parse(server.command("time"));
    expectSchema("time", time);
    EXPECT_EQ(time.at("mode"), "real");
    EXPECT_EQ(time.at("state"), "standing");
    for (const std::string line : {"time run 5", "time stop", "time go", "time await a",
                                   "time until a", "time hold 1", "time settle", "at 5 crash"})
        EXPECT_EQ(server.command(line),
                  "error: time passes by itself; only --time lockstep and stepped take commands")
            << line;
}

TEST_F(OwnTime, PassesAsFarAsTheBudgetWhenStepped) {
    serve({}, "stepped");
    EXPECT_EQ(time().at("budget_ms"), 0);
    EXPECT_EQ(command("time run 100"), "ok");
    EXPECT_EQ(time().at("frame"), 4800);
    EXPECT_EQ(time().at("state"), "standing");
    EXPECT_EQ(command("time run 5"), "ok");
    EXPECT_EQ(time().at("ms"), 105);
    EXPECT_EQ(command("time await a 104"), "error: it is 105 ms already");
    EXPECT_EQ(command("time hold 2"), "error: it is 105 ms already");
    EXPECT_EQ(command("at 104 crash"), "error: it is 105 ms already");
    EXPECT_EQ(command("time settle"), "ok");
    EXPECT_THAT(command("time go"), HasSubstr("time run only"));
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(OwnTime, RefusesWhatIsNoCommand) {
    serve({});
    EXPECT_EQ(command("time run"), "error: time run MS");
    EXPECT_EQ(command("time run soon"), "error: time run MS");
    EXPECT_EQ(command("time stop soon"), "error: time stop [MS]");
    EXPECT_EQ(command("time await"), "error: time await NAME [MS]");
    for (const std::string ms : {"86400001", "99999999999", "99999999999999999999999"})
        EXPECT_EQ(command("time await x " + ms), "error: time await NAME [MS], MS up to a day");
    EXPECT_EQ(command("time await x 86400000"), "ok");
    EXPECT_EQ(command("time await 86400001"), "ok") << "a name";
    EXPECT_EQ(command("time hold"), "error: time hold N, 0 to 1000");
    EXPECT_EQ(command("time travel"), "error: time [run|stop|go|await|until|hold|settle]");
    EXPECT_EQ(command("at 5"), "error: at MS COMMAND");
    EXPECT_EQ(command("at 5 dance"), "error: no such command: dance");
    EXPECT_EQ(command("at 5 time go"), "error: cannot be run at a time: time go");
}

TEST_F(OwnTime, RunsOnceAtATime) {
    auto run = runAsFarAsThePrompt("time run 100", "stepped");
    EXPECT_EQ(command("time run 1"), "error: time runs already");
    EXPECT_EQ(command("time stop"), "ok");
    EXPECT_EQ(run.get(), "error: stopped at 20 ms");
}

TEST_F(OwnTime, EndsTheRunAtAnEarlierStop) {
    auto run = runAsFarAsThePrompt("time run 100");
    EXPECT_EQ(command("time stop 50"), "ok");
    auto prompt = playing("prompt", SECOND / 4);
    EXPECT_EQ(run.get(), "error: stopped at 50 ms");
    EXPECT_EQ(time().at("ms"), 50);
    EXPECT_EQ(command("time run 5"), "ok") << "the next one is possible";
    EXPECT_EQ(time().at("ms"), 55);
    EXPECT_EQ(command("time go"), "ok");
    EXPECT_TRUE(prompt.get());
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(OwnTime, EndsTheRunBeforeALaterStop) {
    auto run = runAsFarAsThePrompt("time run 50");
    EXPECT_EQ(command("time stop 1000"), "ok");
    auto prompt = playing("prompt", SECOND / 4);
    EXPECT_EQ(run.get(), "ok");
    EXPECT_EQ(time().at("ms"), 50) << "not at the end of the period";
    EXPECT_EQ(command("time go"), "ok");
    EXPECT_TRUE(prompt.get());
}

TEST_F(OwnTime, DoesNotSettleWhileItPasses) {
    serve({"--hold", "1"});
    std::atomic_bool isOver = false;
    auto music = std::async(std::launch::async, [&isOver] {
        Player player("music", AUDIO_TAG_AUXILIARY, STEREO);
        bool isWritten = true;
        while (!isOver && isWritten)
            isWritten = player.write(sound(SECOND / 10));
        return isWritten && player.end();
    });
    ASSERT_TRUE(eventually([this] { return time().at("ms") > 0; }, std::chrono::minutes(1)));
    EXPECT_EQ(command("time settle"), "error: time passes; time stop first");
    EXPECT_EQ(command("time stop"), "ok");
    EXPECT_EQ(command("time settle"), "ok");
    EXPECT_EQ(command("time go"), "ok");
    isOver = true;
    EXPECT_TRUE(music.get());
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(OwnTime, SettlesOnItsWayToAStop) {
    serve({"--hold", "1"});
    EXPECT_EQ(command("time stop 250"), "ok");
    auto settled = later("time settle");
    auto music = playing("music", SECOND / 2);
    EXPECT_EQ(settled.get(), "ok");
    EXPECT_EQ(command("time go"), "ok");
    EXPECT_TRUE(music.get());
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(OwnTime, StandsForGoodAfterAStreamsEnd) {
    serve({"--hold", "2"});
    EXPECT_EQ(command("time until prompt"), "ok");
    auto music = playing("music", SECOND);
    EXPECT_TRUE(playing("prompt", SECOND / 4).get());
    ASSERT_TRUE(reaches("standing"));
    const json stands = time();
    EXPECT_GE(stands.at("frame"), SECOND / 4);
    EXPECT_LE(stands.at("frame"), wholePeriods(SECOND / 4)) << "in the period of the end";
    EXPECT_EQ(command("time go"), "ok");
    EXPECT_EQ(command("time run 100"),
              "error: stopped at " + std::to_string(stands.at("ms").get<int>()) + " ms");
    EXPECT_EQ(time().at("frame"), stands.at("frame"));
    EXPECT_EQ(command("time until"), "ok") << "no longer";
    EXPECT_EQ(command("time go"), "ok");
    EXPECT_TRUE(music.get());
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(OwnTime, EndsTheRunAfterAStreamsEnd) {
    serve({"--hold", "1"}, "stepped");
    EXPECT_EQ(command("time until prompt"), "ok");
    auto run = later("time run 5000");
    EXPECT_TRUE(playing("prompt", SECOND / 4).get());
    EXPECT_THAT(run.get(), HasSubstr("error: stopped at 25"));
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(OwnTime, StopsAndGoesOn) {
    serve({"--hold", "1"});
    EXPECT_EQ(command("time stop 250"), "ok");
    auto music = playing("music", SECOND);
    ASSERT_TRUE(eventually([this] { return time().at("ms") == 250; }, std::chrono::minutes(1)));
    EXPECT_EQ(time().at("state"), "standing");
    EXPECT_EQ(command("time run 10"), "ok");
    EXPECT_EQ(time().at("ms"), 260);
    EXPECT_EQ(command("time go"), "ok");
    EXPECT_TRUE(music.get());
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_EQ(heard().frames(), wholePeriods(SECOND));
}

TEST_F(OwnTime, LastsExactlyAsLongAsTheSound) {
    serve({"--hold", "1"});
    EXPECT_TRUE(playing("music", SECOND).get());
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_TRUE(heard().samples == heardOf(sound(SECOND)));
    EXPECT_THAT(framesOf("start", "music"), ElementsAre(0));
    EXPECT_THAT(framesOf("end", "music"), ElementsAre(SECOND));
    EXPECT_FALSE(report().at("streams").at(0).contains("process"));
}

TEST_F(OwnTime, LetsAnAwaitedStreamBeHeardAtItsFrame) {
    serve({"--hold", "2", "--await", "prompt@500", "--strict"});
    ASSERT_EQ(command("time"), command("time"));
    auto music = playing("music", SECOND);
    auto prompt = playing("prompt", SECOND / 4, AUDIO_TAG_ALTERNATIVE);
    EXPECT_TRUE(music.get());
    EXPECT_TRUE(prompt.get());
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_THAT(framesOf("start", "prompt"), ElementsAre(SECOND / 2));
    EXPECT_THAT(framesOf("end", "prompt"), ElementsAre(SECOND * 3 / 4));
    EXPECT_EQ(streamIn(report(), "prompt").at("started_at_frame"), SECOND / 2);
    EXPECT_EQ(heard().frames(), wholePeriods(SECOND));
}

TEST_F(OwnTime, AwaitsEachStartOfAName) {
    serve({"--hold", "2", "--await", "prompt@250", "--await", "prompt@600", "--strict"});
    auto music = playing("music", SECOND);
    EXPECT_TRUE(playing("prompt", SECOND / 10).get());
    EXPECT_TRUE(playing("prompt", SECOND / 10).get());
    EXPECT_TRUE(music.get());
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_THAT(framesOf("start", "prompt"), ElementsAre(SECOND / 4, SECOND * 6 / 10));
    EXPECT_THAT(framesOf("end", "prompt"), ElementsAre(SECOND * 35 / 100, SECOND * 7 / 10));
    EXPECT_EQ(heard().frames(), wholePeriods(SECOND));
}

TEST_F(OwnTime, RunsCommandsAtTheirFrames) {
    serve(
        {"--hold", "1", "--at", "101:source withdraw music", "--at", "203:source activate music"});
    const auto results = perform({{"music", AUDIO_TAG_MAIN, 48000, 2, 1, SECOND, 1000, 0}});
    EXPECT_THAT(results, ElementsAre("music: played"));
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_THAT(framesOf("withdrawn", "music"), ElementsAre(101 * 48));
    EXPECT_THAT(framesOf("activated", "music"), ElementsAre(0, 203 * 48));
}

TEST_F(OwnTime, DucksAtTheNextPeriodAndSaysWhere) {
    const TemporaryDirectory directory;
    std::ofstream(directory.file("state.json")) << R"({"volume": {"ducking_mode": 1}})";
    serve({"--hold", "2", "--await", "prompt@500", "--state", directory.file("state.json")});
    auto music = std::async(std::launch::async, [] {
        return perform({{"music", AUDIO_TAG_MAIN, 48000, 2, 1, SECOND, 1000, 0}});
    });
    auto prompt = playing("prompt", SECOND / 4, AUDIO_TAG_ALTERNATIVE);
    EXPECT_THAT(music.get(), ElementsAre("music: played"));
    EXPECT_TRUE(prompt.get());
    EXPECT_THAT(errors(), IsEmpty());
    // 500 ms lies in the period from 496 to 512 ms; the prompt ends at 750 ms, in the period until
    // 752 ms, and is held for 200 ms after that period, rounded up to a period.
    EXPECT_THAT(framesOf("ducking"), ElementsAre(512 * 48, 960 * 48));
}

TEST_F(OwnTime, ChangesSettingsWhileItStands) {
    serve({"--hold", "1", "--strict"});
    EXPECT_EQ(command("time stop 250"), "ok");
    auto music = playing("music", SECOND);
    ASSERT_TRUE(eventually([this] { return time().at("ms") == 250; }, std::chrono::minutes(1)));
    EXPECT_EQ(command("time settle"), "ok");
    ClientVolumeSetting volume;
    EXPECT_EQ(volume.setMasterVolume(-20.0F), AUDIO_NO_ERROR);
    EXPECT_EQ(command("time go"), "ok");
    EXPECT_TRUE(music.get());
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_THAT(framesOf("setting"), ElementsAre(250 * 48));
    const auto samples = heard().samples;
    const auto original = wide(sound(SECOND));
    EXPECT_EQ(samples[2 * 250 * 48 - 1], original[2 * 250 * 48 - 1]);
    EXPECT_NE(samples[2 * 260 * 48], original[2 * 260 * 48]);
}

TEST_F(OwnTime, FillsTheUplinksRingBeforeItIsMapped) {
    serve({"--hold", "1", "--input", "tone:500"});
    RawRecorder uplink("call", AUDIO_TAG_UPLINK, pcm(16000, 1, 16));
    ASSERT_EQ(uplink.start(), AUDIO_NO_ERROR);
    ASSERT_TRUE(uplink.mapWhenReady());
    EXPECT_EQ(uplink.ring().getUsedSize(), 7U * 512) << "whole periods, and a byte stays free";
    EXPECT_EQ(time().at("ms"), 0);
    EXPECT_EQ(uplink.readSamples(8000).size(), 8000U);
    EXPECT_EQ(uplink.stop(), AUDIO_NO_ERROR);
    EXPECT_THAT(errors(), IsEmpty());
}

// ---- Bounds -------------------------------------------------------------------------------------

TEST_F(OwnTime, NamesTheNumberOfStreamsThatDidNotStart) {
    serve({"--hold", "3"});
    auto music = playing("music", SECOND / 4);
    auto news = playing("news", SECOND / 4);
    EXPECT_TRUE(music.get());
    EXPECT_TRUE(news.get());
    EXPECT_THAT(errors(),
                ElementsAre("time: waited 1000 ms for 3 streams to be started (2 are), at 0 ms"));
}

TEST_F(OwnTime, NamesTheStreamThatDidNotStart) {
    serve({"--hold", "1", "--await", "prompt@100"});
    EXPECT_TRUE(playing("music", SECOND / 4).get());
    EXPECT_THAT(errors(),
                ElementsAre("time: waited 1000 ms for the start of \"prompt\", at 100 ms"));
}

TEST_F(OwnTime, AnswersARunWithTheWaitThatEndedIt) {
    serve({"--await", "prompt@100"}, "stepped");
    EXPECT_EQ(command("time run 500"),
              "error: waited 1000 ms for the start of \"prompt\", at 100 ms");
    EXPECT_EQ(time().at("ms"), 100);
    EXPECT_EQ(command("time run 500"), "ok") << "it is no longer waited for";
    EXPECT_THAT(errors(), ElementsAre(HasSubstr("\"prompt\"")));
}

TEST_F(OwnTime, NamesTheStreamThatWritesNothing) {
    serve({"--hold", "2"});
    Player silent("mu\"sic", AUDIO_TAG_AUXILIARY, STEREO);
    auto news = playing("news", SECOND / 4);
    ASSERT_TRUE(silent.write(sound(96)));
    EXPECT_TRUE(news.get());
    EXPECT_THAT(errors(), ElementsAre("time: stream \"mu\\\"sic\" was started and writes nothing "
                                      "for 1000 ms (96 of 768 frames queued), at 0 ms"));
    EXPECT_EQ(heard().frames(), wholePeriods(SECOND / 4));
}

TEST_F(OwnTime, PaysForAStreamThatWritesNothingOnce) {
    serve({"--hold", "2"});
    Player silent("silent", AUDIO_TAG_AUXILIARY, STEREO);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(playing("news", SECOND / 2).get());  // 32 periods
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    EXPECT_EQ(errors().size(), 1U);
}

TEST_F(OwnTime, ForgivesAPauseBelowThePatience) {
    serve({"--hold", "1", "--patience", "60000"});
    Player player("music", AUDIO_TAG_AUXILIARY, STEREO);
    const auto samples = sound(SECOND / 2);
    const auto half = samples.begin() + SECOND / 2;
    ASSERT_TRUE(player.write(std::vector<std::int16_t>(samples.begin(), half)));
    std::this_thread::sleep_for(std::chrono::milliseconds(700));  // the pause itself
    ASSERT_TRUE(player.write(std::vector<std::int16_t>(half, samples.end())));
    EXPECT_TRUE(player.end());
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_TRUE(heard().samples == heardOf(samples));
}

TEST_F(OwnTime, NamesTheAlternativeStreamThatWentOnAfterItsTail) {
    serve({"--hold", "2", "--tail", "50"});
    Player chime("chime", AUDIO_TAG_ALTERNATIVE, STEREO);
    auto music = playing("music", SECOND * 2);
    ASSERT_TRUE(chime.write(sound(SECOND / 10)));
    // Time has passed without it once it is later than its sound is long.
    ASSERT_TRUE(eventually([this] { return time().at("ms") > 200; }, std::chrono::minutes(1)));
    EXPECT_EQ(command("time stop"), "ok");
    ASSERT_TRUE(chime.write(sound(SECOND / 20)));
    EXPECT_EQ(command("time go"), "ok");
    EXPECT_TRUE(music.get());
    const auto texts = errors();
    if (streamIn(report(), "chime").at("frames") == SECOND / 10) return;  // the music was over
    EXPECT_THAT(texts, ElementsAre(HasSubstr(
                           "time: stream \"chime\" stopped writing for 50 ms and went on: raise "
                           "--tail, at ")));
}

TEST_F(OwnTime, TailDoesNotCountWhileTheProgramGoesOn) {
    // More than the longest pause of the server that counts as waiting.
    serve({"--hold", "2", "--tail", "200", "--patience", "60000"});
    Player chime("chime", AUDIO_TAG_ALTERNATIVE, STEREO);
    {
        const BusyThread busy;  // as a program that gets no processor
        auto music = playing("music", SECOND / 2);
        ASSERT_TRUE(chime.write(sound(SECOND / 10)));
        ASSERT_TRUE(eventually([this] { return time().at("ms") >= 96; }, std::chrono::minutes(1)));
        std::this_thread::sleep_for(std::chrono::milliseconds(500));  // much more than a tail
        EXPECT_EQ(time().at("ms"), 96) << "the last whole period";
        ASSERT_TRUE(chime.write(sound(SECOND / 2)));
        EXPECT_TRUE(music.get());
    }
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_EQ(streamIn(report(), "chime").at("underruns"), 0);
}

TEST_F(OwnTime, TailEndsAfterThePatienceOfAProgramThatNeverRests) {
    serve({"--hold", "2", "--tail", "50"});
    const BusyThread busy;
    Player chime("chime", AUDIO_TAG_ALTERNATIVE, STEREO);
    auto music = playing("music", SECOND / 2);
    ASSERT_TRUE(chime.write(sound(SECOND / 10)));
    EXPECT_TRUE(music.get());
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_EQ(streamIn(report(), "chime").at("frames"), SECOND / 10);
}

TEST_F(OwnTime, NamesTheRecordingThatIsNotRead) {
    serve({"--hold", "1"});
    RawRecorder mic("mic", AUDIO_TAG_INPUT0, pcm(16000, 1, 16));
    ASSERT_EQ(mic.start(), AUDIO_NO_ERROR);
    ASSERT_TRUE(hasError());
    EXPECT_EQ(mic.read(7 * 512).size(), 7U * 512) << "nothing is lost";
    // Seven periods fit into the ring, the eighth waits for room, and so does the ninth's time.
    EXPECT_THAT(errors(),
                ElementsAre("time: capture stream \"mic\" is not read for 1000 ms, at 128 ms"));
}

TEST_F(OwnTime, NamesTheUplinkThatDoesNotAskForItsRing) {
    serve({"--hold", "1"});
    RawRecorder uplink("call", AUDIO_TAG_UPLINK, pcm(16000, 1, 16));
    ASSERT_EQ(uplink.start(), AUDIO_NO_ERROR);
    ASSERT_TRUE(hasError());
    EXPECT_THAT(errors(), ElementsAre("time: capture stream \"call\" does not ask for its ring for "
                                      "1000 ms, at 0 ms"));
}

TEST_F(OwnTime, NamesTheStreamThatKeepsItsRing) {
    serve({"--at", "0:source withdraw music"});
    RawClient sink(AUDIO_CONNECT_MAIN, "music");
    ASSERT_EQ(sink.create(AUDIO_TAG_MAIN, STEREO).status, AUDIO_NO_ERROR);
    ASSERT_EQ(command("time await other 50"), "ok");  // time passes towards it
    ASSERT_EQ(sink.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
    ASSERT_TRUE(hasError());
    const auto texts = errors();
    EXPECT_THAT(texts, ::testing::Contains("time: stream \"music\" does not let go of its ring for "
                                           "1000 ms, at 0 ms"));
}

TEST_F(OwnTime, SaysWhichCommandFailed) {
    serve({"--hold", "1", "--at", "100:source withdraw radio"});
    EXPECT_TRUE(playing("music", SECOND / 4).get());
    EXPECT_THAT(errors(),
                ElementsAre("time: \"source withdraw radio\": no sink \"radio\", at 100 ms"));
}

// ---- Strict -------------------------------------------------------------------------------------

class StrictTime : public OwnTime {
protected:
    /// Music plays, and time waits for its next frames.
    void SetUp() override {
        serve({"--hold", "1", "--strict", "--patience", "60000"});
        mMusic = std::make_unique<Player>("music", AUDIO_TAG_AUXILIARY, STEREO);
        ASSERT_TRUE(mMusic->write(sound(SECOND / 10)));
        ASSERT_TRUE(eventually([this] { return time().at("ms") == 96; }, std::chrono::minutes(1)));
    }
    std::unique_ptr<Player> mMusic;
};

TEST_F(StrictTime, NamesTheStreamThatIsStarted) {
    EXPECT_TRUE(std::make_unique<Player>("prompt", AUDIO_TAG_AUXILIARY, STEREO) != nullptr);
    ASSERT_TRUE(mMusic->end());
    EXPECT_THAT(errors(), ::testing::Contains("time: stream \"prompt\" was started while time "
                                              "passes: add --await prompt@MS, at 96 ms"));
}

TEST_F(StrictTime, NamesTheStreamThatIsStopped) {
    Player prompt("prompt", AUDIO_TAG_AUXILIARY, STEREO);
    EXPECT_EQ(mMusic->track().stop(), AUDIO_NO_ERROR);
    EXPECT_THAT(errors(), ::testing::Contains(
                              "time: stream \"music\" was stopped while time passes, at 96 ms"));
}

TEST_F(StrictTime, NamesTheStreamThatIsRemoved) {
    Player prompt("prompt", AUDIO_TAG_AUXILIARY, STEREO);
    mMusic.reset();
    const auto isNoticed = [this] { return time().at("errors").size() == 2; };
    EXPECT_TRUE(eventually(isNoticed, std::chrono::minutes(1)));
    EXPECT_THAT(errors(), ::testing::Contains(
                              "time: stream \"music\" was removed while time passes, at 96 ms"));
}

TEST_F(StrictTime, NamesTheSettingThatIsChanged) {
    ClientVolumeSetting volume;
    EXPECT_EQ(volume.setMasterVolume(-20.0F), AUDIO_NO_ERROR);
    ASSERT_TRUE(mMusic->end());
    EXPECT_THAT(errors(), ElementsAre(AllOf(HasSubstr("setMasterVolume"),
                                            HasSubstr(" was called while time passes, at 96 ms"))));
}

TEST_F(StrictTime, AllowsAStopAfterTheEnd) {
    ASSERT_TRUE(mMusic->end());
    EXPECT_EQ(mMusic->track().stop(), AUDIO_NO_ERROR);
    EXPECT_THAT(errors(), IsEmpty());
}

// ---- Clients that vanish or freeze --------------------------------------------------------------

/// A process that starts a track and writes nothing.
class SilentProcess {
public:
    explicit SilentProcess(const std::string& name) : mPid(fork()) {
        if (mPid != 0) return;
        const Player player(name, AUDIO_TAG_AUXILIARY, STEREO);
        for (;;)
            pause();
    }
    ~SilentProcess() {
        send(SIGKILL);
        waitpid(mPid, nullptr, 0);
    }
    SilentProcess(const SilentProcess&) = delete;
    SilentProcess& operator=(const SilentProcess&) = delete;

    void send(int signal) const { kill(mPid, signal); }

private:
    pid_t mPid;
};

TEST_F(OwnTime, GoesOnWhenAClientIsKilledThatIsWaitedFor) {
    serve({"--patience", "60000"});
    const SilentProcess silent("silent");
    ASSERT_TRUE(reaches("waiting"));
    auto music = playing("music", SECOND / 4);
    silent.send(SIGKILL);
    EXPECT_TRUE(music.get());
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(OwnTime, GoesOnWithoutAFrozenClient) {
    serve({});
    const SilentProcess silent("silent");
    ASSERT_TRUE(reaches("waiting"));
    silent.send(SIGSTOP);
    EXPECT_TRUE(playing("music", SECOND / 4).get());
    EXPECT_THAT(errors(), ElementsAre(HasSubstr("\"silent\" was started and writes nothing")));
}

TEST_F(OwnTime, EndsWhileItWaits) {
    auto run = runAsFarAsThePrompt("time run 100", "stepped");
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_EQ(run.get(), "error: the server ends");
}

TEST_F(OwnTime, ReadsOnAfterTheAnswerThatCameLater) {
    serve({"--hold", "1"}, "stepped");
    auto run = later("time run 1000");
    ASSERT_TRUE(reaches("holding"));
    EXPECT_TRUE(playing("music", SECOND / 4).get());
    EXPECT_EQ(run.get(), "ok");
    EXPECT_EQ(time().at("ms"), 1000);
    EXPECT_THAT(errors(), IsEmpty());
}

// ---- Faults -------------------------------------------------------------------------------------

TEST_F(OwnTime, DamagesTheNextReplyOfARequest) {
    serve({});
    EXPECT_EQ(command("fault short-reply dance"), "error: no request \"dance\"");
    EXPECT_THAT(command("fault wrong-magic"), HasSubstr("error: fault short-reply|wrong-magic"));
    EXPECT_EQ(command("fault wrong-magic start music"), "ok");
    RawClient other(AUDIO_CONNECT_AUXILIARY, "other");
    ASSERT_EQ(other.create(AUDIO_TAG_AUXILIARY, STEREO).status, AUDIO_NO_ERROR);
    EXPECT_EQ(other.status(wire::StreamFunction::Start), AUDIO_NO_ERROR) << "another client";
    RawClient music(AUDIO_CONNECT_AUXILIARY, "music");
    ASSERT_EQ(music.create(AUDIO_TAG_AUXILIARY, STEREO).status, AUDIO_NO_ERROR);
    EXPECT_EQ(music.status(wire::StreamFunction::InitCheck), AUDIO_NO_ERROR) << "another request";
    EXPECT_ANY_THROW((void)music.status(wire::StreamFunction::Start));
}

TEST_F(OwnTime, ShortensTheNextReply) {
    serve({});
    EXPECT_EQ(command("fault short-reply getVolume mic"), "ok");
    AudioFormatDesc format = pcm(16000, 1, 16);
    ClientRecord record("mic", AUDIO_TAG_INPUT0, format, 0);
    ASSERT_EQ(record.initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(record.getVolume(), 0) << "the library reads missing bytes as zeros";
    ClientRecord another("mic2", AUDIO_TAG_INPUT1, format, 0);
    ASSERT_EQ(another.initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(another.getVolume(), 100) << "the next reply is whole";
}

TEST_F(OwnTime, StallsAtAFrameWithoutPassing) {
    serve({"--hold", "1", "--at", "100:stall 300"});
    EXPECT_TRUE(playing("music", SECOND / 4).get());
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_TRUE(heard().samples == heardOf(sound(SECOND / 4)));
}

TEST_F(OwnTime, CrashesAtAFrame) {
    const RealServer server{{"--output", "null", "--time", "stepped", "--at", "50:crash"}};
    EXPECT_ANY_THROW((void)server.command("time run 100"));
}

}  // namespace
}  // namespace cabinaudio::test
