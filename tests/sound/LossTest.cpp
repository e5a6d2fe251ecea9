// SPDX-License-Identifier: Apache-2.0
//
// Sound servers that restart or stand still while something is played or recorded.
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/server/RawRecorder.h"
#include "tests/sound/Heard.h"

#include <csignal>
#include <cstdlib>
#include <fstream>

namespace cabinaudio::test {
namespace {

using std::chrono::milliseconds;

class RestartingSoundServer : public SoundTest {
protected:
    void SetUp() override {
        if (!haveAll(SoundServer::programsOf(SoundServer::Kind::PulseAudio)))
            GTEST_SKIP() << "needs pulseaudio, pactl and parec";
        if (!isBuiltWith("pulse")) GTEST_SKIP() << "the server has no pulse";
        mDesktop = std::make_unique<SoundServer>(SoundServer::Kind::PulseAudio);
    }
    void serve(const Words& arguments) { mServer = std::make_unique<RealServer>(arguments); }
    /// Starts to play the sound, and waits until some of it has been mixed.
    void beginPlaying(milliseconds length) {
        makeSound(length);
        mPlayer = std::make_unique<ToolProcess>(Words{"play", soundFile()});
        ASSERT_TRUE(eventually([&] { return output().at("frames") > 4800; }));
    }
    /// The last tenth of a second of the sound.
    [[nodiscard]] std::vector<std::int16_t> tail() const {
        return {mSent.end() - RATE / 10 * CHANNELS, mSent.end()};
    }
    [[nodiscard]] bool becomes(const char* state) const {
        return eventually([&] { return output().at("state") == state; });
    }

    std::unique_ptr<SoundServer> mDesktop;
    std::unique_ptr<ToolProcess> mPlayer;
};

TEST_F(RestartingSoundServer, IsHeardAgainWhileAStreamPlays) {
    serve({"--output", "pulse"});
    beginPlaying(milliseconds(2500));
    mDesktop->kill();
    ASSERT_TRUE(becomes("lost"));
    const json lost = output();
    // The reason of the loss, or of the last attempt to connect.
    EXPECT_THAT(lost.at("problem").get<std::string>(),
                testing::MatchesRegex("pulse: Connection (terminated|refused)"));
    EXPECT_THAT(lost.at("since").get<std::string>(),
                testing::MatchesRegex("20..-..-..T..:..:..\\....\\+00:00"));
    EXPECT_GE(lost.at("lost_ms"), 0);
    EXPECT_GE(lost.at("recent_errors"), 1);
    EXPECT_EQ(lost.at("latency_ms"), nullptr);
    EXPECT_THAT(runTool({"server", "state"}).out, HasSubstr("\noutput  lost for "));
    EXPECT_TRUE(eventually([&] { return output().at("frames") > lost.at("frames"); }))
        << "the mix continues";

    mDesktop->start();
    ASSERT_TRUE(becomes("open")) << mServer->output();
    const Monitor monitor(*mDesktop);
    const Outcome outcome = mPlayer->finish();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_LT(outcome.took, milliseconds(2500 + 2000)) << outcome.text();
    const json open = output();
    EXPECT_EQ(open.at("losses"), 1);
    EXPECT_EQ(open.at("problem"), nullptr);
    EXPECT_EQ(open.at("since"), nullptr);
    EXPECT_EQ(open.at("lost_ms"), nullptr);
    EXPECT_EQ(mServer->stop(), 0);
    EXPECT_TRUE(eventually([&] { return contains(monitor.heard(), tail()); }));
    EXPECT_THAT(mServer->output(),
                HasSubstr("pulse: Connection terminated: nothing is heard; tries again"));
    EXPECT_THAT(mServer->output(), HasSubstr("pulse is heard again; nothing was heard for "));
}

TEST_F(RestartingSoundServer, LosesOnlyTheRestOfAStreamWhenItStandsStill) {
    serve({"--output", "pulse"});
    beginPlaying(milliseconds(1800));
    mDesktop->send(SIGSTOP);
    // The queue is full, and a fifth of a second more is lost.
    const bool isDropped = eventually([&] { return output().at("dropped_frames") > RATE / 5; });
    mDesktop->send(SIGCONT);
    EXPECT_TRUE(isDropped);
    const Outcome outcome = mPlayer->finish();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_LT(outcome.took, milliseconds(1800 + 2000)) << outcome.text();
    EXPECT_EQ(output().at("losses"), 0);
    EXPECT_TRUE(logs("pulse was held up: "));
    EXPECT_THAT(mServer->output(), HasSubstr(" ms) did not fit and are not heard\n"));
}

TEST_F(RestartingSoundServer, DoesNotHoldTheEndOfTheServer) {
    serve({"--output", "pulse"});
    beginPlaying(milliseconds(300));
    EXPECT_EQ(mPlayer->finish().exitCode, 0);
    mDesktop->send(SIGSTOP);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(mServer->stop(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    mDesktop->send(SIGCONT);
}

TEST_F(RestartingSoundServer, RecordsAgainWhenItIsBack) {
    serve({"--output", "pulse", "--input", "mic"});
    RawRecorder recorder("voice", AUDIO_TAG_INPUT0, pcm(48000, 2, 16));
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    const auto input = [&] { return stateOf(*mServer).at("inputs").at(0); };
    mDesktop->kill();
    ASSERT_TRUE(eventually([&] { return input().at("state") == "lost"; }));
    ASSERT_TRUE(becomes("lost"));
    mDesktop->start();
    ASSERT_TRUE(eventually([&] { return input().at("state") == "open"; }));
    ASSERT_TRUE(becomes("open"));
    // The source is the monitor of the sink.
    beginPlaying(milliseconds(1000));
    bool isHeard = false;
    for (int i = 0; i < 20 && !isHeard; ++i) {
        const auto samples = recorder.readSamples(RATE / 10);
        isHeard =
            std::any_of(samples.begin(), samples.end(), [](auto sample) { return sample != 0; });
    }
    EXPECT_TRUE(isHeard);
    EXPECT_EQ(mPlayer->finish().exitCode, 0);
}

TEST_F(RestartingSoundServer, GivesSilenceToARecordingUntilItIsBack) {
    serve({"--output", "null", "--input", "mic"});
    RawRecorder recorder("voice", AUDIO_TAG_INPUT0, pcm(48000, 2, 16));
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    const auto input = [&] { return stateOf(*mServer).at("inputs").at(0); };
    EXPECT_TRUE(eventually([&] { return input().at("state") == "open"; }));
    EXPECT_EQ(input().at("name"), "pulse");
    EXPECT_EQ(input().at("stream"), "voice");

    mDesktop->kill();
    ASSERT_TRUE(eventually([&] { return input().at("state") == "lost"; }));
    EXPECT_THAT(input().at("problem").get<std::string>(), testing::StartsWith("pulse: "));
    EXPECT_GE(input().at("lost_ms"), 0);
    EXPECT_THAT(runTool({"server", "state"}).out, HasSubstr("\nmicrophone  lost for "));
    EXPECT_EQ(recorder.readSamples(4800).size(), 4800U) << "the recording continues";

    mDesktop->start();
    ASSERT_TRUE(eventually([&] { return input().at("state") == "open"; }));
    EXPECT_EQ(input().at("losses"), 1);
    EXPECT_EQ(recorder.stop(), AUDIO_NO_ERROR);
    EXPECT_THAT(stateOf(*mServer).at("inputs"), testing::IsEmpty());
    EXPECT_TRUE(logs("the microphone pulse records again; nothing was recorded for "));
}

TEST_F(RestartingSoundServer, MakesAutomaticOutputHeardOnceItIsThere) {
    std::ofstream(mDirectory.file("asound.conf")) << "# no devices\n";
    setenv("ALSA_CONFIG_PATH", mDirectory.file("asound.conf").c_str(), 1);
    mDesktop->kill();
    serve({"--output", "auto"});
    unsetenv("ALSA_CONFIG_PATH");
    EXPECT_EQ(output().at("requested"), "auto");
    EXPECT_EQ(output().at("name"), "nothing");
    EXPECT_EQ(output().at("state"), "open");
    EXPECT_THAT(output().at("warning").get<std::string>(),
                testing::MatchesRegex("no sound card works \\(pulse: Connection refused.*\\): "
                                      "plays to nothing"));
    EXPECT_THAT(runTool({"server", "state"}).out, HasSubstr("\nwarning  no sound card works"));
    EXPECT_TRUE(logs("cabinaudio-server: no sound card works (pulse: Connection refused"));
    mDesktop->start();
    ASSERT_TRUE(eventually([&] { return output().at("name") == "pulse"; }));
    EXPECT_TRUE(eventually([&] { return output().at("warning") == nullptr; }));
    EXPECT_TRUE(logs("a sound card works now: plays to pulse"));
}

TEST(MissingSoundServer, IsAnErrorAtTheStart) {
    if (!isBuiltWith("pulse")) GTEST_SKIP() << "the server has no pulse";
    Start start = {{RealServer::path(), "--output", "pulse"}};
    start.variables = {{"PULSE_SERVER", "unix:/nonexistent"}};
    const Outcome outcome = runProgram(start);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "cabinaudio-server: pulse: Connection refused\n");
}

}  // namespace
}  // namespace cabinaudio::test
