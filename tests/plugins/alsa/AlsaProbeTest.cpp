// SPDX-License-Identifier: Apache-2.0
// A program that does with the PCM what no program of the machine does; see probe.cpp.
#include "tests/plugins/alsa/Programs.h"
#include "tests/support/Generous.h"
#include "tests/support/Row.h"

#include <csignal>

namespace cabinaudio::test {

using namespace std::chrono_literals;

namespace {

class AlsaProbe : public Programs {
protected:
    [[nodiscard]] Outcome probe(const char* deed) const {
        return run({CABINAUDIO_TEST_PROBE, deed});
    }
    /// Its server is killed while it plays.
    [[nodiscard]] Outcome probeWithALoss(const char* deed) const {
        RealServer server;
        Process probe(start({CABINAUDIO_TEST_PROBE, deed}));
        EXPECT_EQ(probe.readLine(), "plays");
        server.kill(SIGKILL);
        server.wait();
        return probe.finish(10s);
    }
};

struct DeedRow : Row {
    const char* deed;
};

class AlsaProbeAtRest : public AlsaProbe, public testing::WithParamInterface<DeedRow> {};

/// A rest takes 300 ms: that many microseconds are two percent of a processor.
constexpr int LITTLE = 6000;

}  // namespace

TEST_P(AlsaProbeAtRest, UsesNoProcessor) {
    const RealServer server;
    const Outcome outcome = probe(GetParam().deed);
    ASSERT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_LT(std::stoi(outcome.out), LITTLE);
}

INSTANTIATE_TEST_SUITE_P(State, AlsaProbeAtRest,
                         testing::Values(DeedRow{"Prepared", "rest-prepared"},
                                         DeedRow{"Paused", "rest-paused"},
                                         DeedRow{"Drained", "rest-drained"},
                                         DeedRow{"AfterAnUnderrun", "rest-after-an-underrun"}),
                         ROW_NAME);

TEST_F(AlsaProbe, UsesNoProcessorAfterALoss) {
    const Outcome outcome = probeWithALoss("rest-lost");
    ASSERT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_LT(std::stoi(outcome.out), LITTLE);
}

TEST_F(AlsaProbe, LearnsOfALossWhilePreparing) {
    const Outcome outcome = probeWithALoss("prepare-until-lost");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
}

TEST_F(AlsaProbe, EndsWithoutAClose) {
    const RealServer server;
    for (const char* deed : {"leave-open", "drain-and-leave-open"}) {
        const Outcome outcome = probe(deed);
        EXPECT_EQ(outcome.exitCode, 0) << deed << outcome.text();
        EXPECT_LT(outcome.took, generous(2s)) << deed;
    }
    EXPECT_TRUE(comes([&] { return stateOf(server).at("streams").empty(); }));
}

TEST_F(AlsaProbe, IsNotDisturbedByAChildThatExitsWithoutAClose) {
    RecordingServer server;
    const Outcome outcome = probe("leave-open-in-a-child");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    ASSERT_TRUE(server.stop());
    ASSERT_EQ(server.report().at("streams").size(), 1U);
    EXPECT_EQ(server.report().at("streams")[0].at("frames"), 9000);
    EXPECT_EQ(server.report().at("streams")[0].at("underruns"), 0);
}

TEST_F(AlsaProbe, PlaysBytesAsAlsasExampleDoes) {
    const RealServer server({"--output", "null", "--stems", mDirectory.path()});
    const Outcome outcome = probe("play-bytes");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    const Wav stem = readWav(
        mDirectory.file("auxiliary-alsa-alsa-probe-" + std::to_string(outcome.pid) + "-1.wav"));
    ASSERT_EQ(stem.frames(), 3U * 16384);
    for (std::size_t i = 0; i < stem.frames(); ++i) {
        const std::size_t place = i % 16384;
        const auto byte = static_cast<unsigned char>(place * 7 + place / 256);
        ASSERT_EQ(stem.samples[i], (int{byte} - 128) * (1 << 24)) << i;
    }
}

/// From the server's input to its output.
TEST_F(AlsaProbe, LoopsCaptureToPlaybackAsAlsasExampleDoes) {
    RecordingServer server({"--input", mSoundFile});
    const Outcome outcome = probe("loop");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    ASSERT_TRUE(server.stop());
    const auto& stream = server.report().at("streams")[0];
    EXPECT_EQ(stream.at("frames"), 12000 + 2 * 2048);
    EXPECT_EQ(stream.at("underruns"), 0);
    const std::vector<std::int32_t>& heard = server.wav().samples;
    const auto begin =
        std::find_if(heard.begin(), heard.end(), [](int sample) { return sample != 0; });
    ASSERT_GE(heard.end() - begin, 2 * 11990);
    EXPECT_TRUE(contains(looped(mSound), {begin, begin + 2 * 11990}));
}

}  // namespace cabinaudio::test
