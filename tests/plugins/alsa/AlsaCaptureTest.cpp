// SPDX-License-Identifier: Apache-2.0
#include "tests/plugins/alsa/AlsaPcm.h"
#include "tests/server/Sound.h"
#include "tests/support/Files.h"
#include "tests/support/Generous.h"
#include "tests/support/RealServer.h"
#include "tests/support/Row.h"
#include "tests/support/SmallBuffers.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

namespace cabinaudio::test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::size_t LOOP = 24000;  // frames of the input, which the server repeats

class AlsaCapture : public testing::Test, private SmallBuffers {
protected:
    AlsaCapture() { writeWav(mInput, 48000, 2, mSound); }

    /// Reads frames. @return 0, or the first error
    static int read(AlsaPcm& pcm, std::size_t frames, std::vector<std::int16_t>& samples) {
        for (std::size_t done = 0; done < frames;) {
            const std::size_t old = samples.size();
            samples.resize(old + 2 * (frames - done));
            const snd_pcm_sframes_t count = snd_pcm_readi(pcm.get(), &samples[old], frames - done);
            samples.resize(old + 2 * static_cast<std::size_t>(std::max(count, 0L)));
            if (count < 0) return static_cast<int>(count);
            done += static_cast<std::size_t>(count);
        }
        return 0;
    }
    /// Whether the samples are a piece of the input without a gap.
    [[nodiscard]] bool isPiece(const std::vector<std::int16_t>& samples) const {
        std::vector<std::int16_t> twice = mSound;
        twice.insert(twice.end(), mSound.begin(), mSound.end());
        return std::search(twice.begin(), twice.end(), samples.begin(), samples.end()) !=
               twice.end();
    }

    const std::vector<std::int16_t> mSound = noise16(2 * LOOP);
    TemporaryDirectory mDirectory;
    const std::string mInput = mDirectory.file("input.wav");
};

struct AccessRow : Row {
    const char* keys;
    snd_pcm_access_t access;
};

class AlsaCaptureOfAnyKind : public AlsaCapture, public testing::WithParamInterface<AccessRow> {};

}  // namespace

TEST_P(AlsaCaptureOfAnyKind, IsTheServersInputSampleForSample) {
    const RealServer server({"--output", "null", "--input", mInput});
    AlsaPcm pcm(GetParam().keys, SND_PCM_STREAM_CAPTURE);
    PcmShape shape;
    shape.access = GetParam().access;
    ASSERT_EQ(pcm.set(shape), 0);
    std::vector<std::int16_t> samples(2 * 9600);
    for (std::size_t done = 0; done < 9600;) {
        const auto readSome =
            shape.access == SND_PCM_ACCESS_MMAP_INTERLEAVED ? snd_pcm_mmap_readi : snd_pcm_readi;
        const snd_pcm_sframes_t count = readSome(pcm.get(), &samples[2 * done], 9600 - done);
        ASSERT_GT(count, 0);
        done += static_cast<std::size_t>(count);
    }
    EXPECT_TRUE(isPiece(samples));
}

INSTANTIATE_TEST_SUITE_P(
    Kind, AlsaCaptureOfAnyKind,
    testing::Values(AccessRow{"Read", "name ear", SND_PCM_ACCESS_RW_INTERLEAVED},
                    AccessRow{"Mapped", "name ear", SND_PCM_ACCESS_MMAP_INTERLEAVED},
                    AccessRow{"OfAnotherInput", "name ear tag input2",
                              SND_PCM_ACCESS_RW_INTERLEAVED}),
    ROW_NAME);

TEST_F(AlsaCapture, LateApplicationLosesNothingBeforeAnOverrun) {
    const RealServer server({"--output", "null", "--input", mInput});
    AlsaPcm pcm("name ear", SND_PCM_STREAM_CAPTURE);
    PcmShape shape;
    shape.buffer = 2400;
    shape.period = 600;
    ASSERT_EQ(pcm.set(shape), 0);
    std::vector<std::int16_t> samples;
    ASSERT_EQ(read(pcm, 600, samples), 0);
    const auto deadline = Clock::now() + 10s;
    while (snd_pcm_avail_update(pcm.get()) < 2400 && Clock::now() < deadline)
        std::this_thread::yield();
    ASSERT_EQ(read(pcm, 6000, samples), 0);
    EXPECT_TRUE(isPiece(samples));
}

TEST_F(AlsaCapture, VeryLateApplicationHasAnOverrunAndGoesOn) {
    const RealServer server({"--output", "null", "--input", mInput});
    AlsaPcm pcm("name ear", SND_PCM_STREAM_CAPTURE);
    PcmShape shape;
    shape.buffer = 1200;
    shape.period = 600;
    ASSERT_EQ(pcm.set(shape), 0);
    std::vector<std::int16_t> samples;
    ASSERT_EQ(read(pcm, 600, samples), 0);
    snd_pcm_sframes_t available = 0;
    const auto deadline = Clock::now() + 10s;
    while (available >= 0 && Clock::now() < deadline) {
        available = snd_pcm_avail_update(pcm.get());
        std::this_thread::yield();
    }
    ASSERT_EQ(available, -EPIPE);
    ASSERT_EQ(snd_pcm_recover(pcm.get(), -EPIPE, 1), 0);
    samples.clear();
    ASSERT_EQ(read(pcm, 1200, samples), 0);
    EXPECT_TRUE(isPiece(samples));
}

TEST_F(AlsaCapture, PollEndsWhenAPeriodIsThere) {
    const RealServer server({"--output", "null", "--input", mInput});
    AlsaPcm pcm("name ear", SND_PCM_STREAM_CAPTURE, SND_PCM_NONBLOCK);
    ASSERT_EQ(pcm.set({}), 0);
    EXPECT_EQ(snd_pcm_wait(pcm.get(), 0), 0) << "not started";
    ASSERT_EQ(snd_pcm_start(pcm.get()), 0);
    int wakes = 0;
    for (snd_pcm_sframes_t available = 0; available < 2400; ++wakes) {
        ASSERT_EQ(snd_pcm_wait(pcm.get(), 10000), 1);
        available = snd_pcm_avail_update(pcm.get());
    }
    EXPECT_EQ(wakes, 1);
}

TEST_F(AlsaCapture, EndsWhenTheServerIsKilled) {
    RealServer server({"--output", "null", "--input", mInput});
    AlsaPcm pcm("name ear", SND_PCM_STREAM_CAPTURE);
    ASSERT_EQ(pcm.set({}), 0);
    std::vector<std::int16_t> samples;
    ASSERT_EQ(read(pcm, 1200, samples), 0);
    server.kill(SIGKILL);
    server.wait();
    const auto begin = Clock::now();
    EXPECT_EQ(read(pcm, 480000, samples), -ENODEV);
    EXPECT_LT(Clock::now() - begin, generous(2s));
}

TEST_F(AlsaCapture, ClosesSoonWhileTheServerStandsStill) {
    const RealServer server({"--output", "null", "--input", mInput});
    AlsaPcm pcm("name ear", SND_PCM_STREAM_CAPTURE);
    ASSERT_EQ(pcm.set({}), 0);
    std::vector<std::int16_t> samples;
    ASSERT_EQ(read(pcm, 1200, samples), 0);
    server.kill(SIGSTOP);
    const auto begin = Clock::now();
    pcm.close();
    EXPECT_LT(Clock::now() - begin, generous(3s));
    server.kill(SIGCONT);
}

TEST_F(AlsaCapture, OfTheUplinkComes) {
    const RealServer server({"--output", "null", "--input", mInput});
    AlsaPcm pcm("name ear tag uplink", SND_PCM_STREAM_CAPTURE);
    PcmShape shape;
    shape.channels = 1;
    shape.rate = 16000;
    shape.buffer = shape.period = 0;
    ASSERT_EQ(pcm.set(shape), 0);
    std::vector<std::int16_t> samples(8000);
    ASSERT_EQ(snd_pcm_readi(pcm.get(), samples.data(), samples.size()), 8000);
    EXPECT_TRUE(
        std::any_of(samples.begin(), samples.end(), [](int sample) { return sample != 0; }));
}

TEST_F(AlsaCapture, DrainEndsAtOnce) {
    const RealServer server({"--output", "null", "--input", mInput});
    AlsaPcm pcm("name ear", SND_PCM_STREAM_CAPTURE);
    ASSERT_EQ(pcm.set({}), 0);
    ASSERT_EQ(snd_pcm_start(pcm.get()), 0);
    EXPECT_EQ(snd_pcm_drain(pcm.get()), 0);
}

}  // namespace cabinaudio::test
