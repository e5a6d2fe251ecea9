// SPDX-License-Identifier: Apache-2.0
//
// The first stream of a freshly started server is heard whole, whatever the server plays to.
#include "tests/sound/Heard.h"

#include <cstdlib>
#include <fstream>

namespace cabinaudio::test {
namespace {

class FirstStream : public SoundTest {
protected:
    FirstStream() { makeSound(std::chrono::milliseconds(400)); }

    /// Plays the sound to its end: nothing holds it up.
    void play() {
        const Outcome outcome = runTool({"play", soundFile()});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.text() << mServer->output();
        EXPECT_THAT(outcome.out + outcome.err, Not(HasSubstr("timed out")));
        EXPECT_EQ(output().at("errors"), 0) << output().dump();
        EXPECT_EQ(output().at("dropped_frames"), 0) << output().dump();
    }
};

class FirstStreamOf : public FirstStream, public testing::WithParamInterface<SoundServer::Kind> {
protected:
    void SetUp() override {
        if (!haveAll(SoundServer::programsOf(GetParam())))
            GTEST_SKIP() << "needs " << testing::PrintToString(SoundServer::programsOf(GetParam()));
        if (!isBuiltWith("pulse")) GTEST_SKIP() << "the server has no pulse";
    }
};

TEST_P(FirstStreamOf, IsHeardWhole) {
    const SoundServer desktop(GetParam());
    const Monitor monitor(desktop);
    mServer = std::make_unique<RealServer>(Words{"--output", "pulse"});
    play();
    EXPECT_EQ(output().at("state"), "open");
    EXPECT_EQ(output().at("requested"), "pulse");
    EXPECT_EQ(output().at("losses"), 0);
    EXPECT_GT(output().at("latency_ms"), 0) << output().dump();
    EXPECT_EQ(mServer->stop(), 0);
    EXPECT_TRUE(eventually([&] { return contains(monitor.heard(), mSent); }));
}

std::string nameOf(const testing::TestParamInfo<SoundServer::Kind>& kind) {
    return kind.param == SoundServer::Kind::PulseAudio ? "PulseAudio" : "PipeWire";
}

INSTANTIATE_TEST_SUITE_P(SoundServers, FirstStreamOf,
                         testing::Values(SoundServer::Kind::PulseAudio,
                                         SoundServer::Kind::PipeWire),
                         nameOf);

/// PulseAudio's null sink as it is by default asks for nothing for two seconds after its start.
TEST_F(FirstStream, IsNotHeldUpByASinkThatStartsSlowly) {
    if (!haveAll(SoundServer::programsOf(SoundServer::Kind::PulseAudio)) || !isBuiltWith("pulse"))
        GTEST_SKIP() << "needs pulseaudio, pactl and parec, and a server with pulse";
    const SoundServer desktop(SoundServer::Kind::PulseAudio, "");
    mServer = std::make_unique<RealServer>(Words{"--output", "pulse"});
    play();
}

/// ALSA devices of this test only.
class FirstStreamOfAlsa : public FirstStream {
protected:
    FirstStreamOfAlsa() {
        std::ofstream(mDirectory.file("asound.conf"))
            << "pcm.silent { type null }\n"
               "pcm.written { type file slave.pcm silent format raw file \""
            << mDirectory.file("written.raw") << "\" }\n";
        setenv("ALSA_CONFIG_PATH", mDirectory.file("asound.conf").c_str(), 1);
    }
    ~FirstStreamOfAlsa() override { unsetenv("ALSA_CONFIG_PATH"); }

    void SetUp() override {
        if (!isBuiltWith("alsa:no_such_device")) GTEST_SKIP() << "the server has no ALSA";
    }
};

TEST_F(FirstStreamOfAlsa, IsTakenByTheNullDevice) {
    mServer = std::make_unique<RealServer>(Words{"--output", "alsa:silent"});
    play();
    EXPECT_GE(output().at("frames"), mSent.size() / CHANNELS);
}

TEST_F(FirstStreamOfAlsa, IsHeardWholeFromTheFileDevice) {
    mServer = std::make_unique<RealServer>(Words{"--output", "alsa:written"});
    play();
    EXPECT_EQ(mServer->stop(), 0);
    EXPECT_TRUE(contains(rawSamples(mDirectory.file("written.raw")), mSent));
}

}  // namespace
}  // namespace cabinaudio::test
