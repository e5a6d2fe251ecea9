// SPDX-License-Identifier: Apache-2.0
// An application's PCM against the real server, in the process of the test.
#include "tests/plugins/alsa/AlsaPcm.h"
#include "tests/plugins/alsa/Formats.h"
#include "tests/server/Playing.h"
#include "tests/support/Generous.h"
#include "tests/support/Row.h"
#include "tests/support/SmallBuffers.h"

#include <gmock/gmock.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <future>
#include <optional>
#include <utility>

namespace cabinaudio::test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::size_t FRAMES = 12000;  // 250 ms

class AlsaPlayback : public testing::Test, private SmallBuffers {
protected:
    /// Stereo noise without a silent sample.
    static std::vector<std::int16_t> sound(std::size_t frames = FRAMES, std::uint32_t seed = 1) {
        return noise16(2 * frames, seed);
    }
    static std::vector<std::int16_t> joined(std::vector<std::int16_t> first,
                                            const std::vector<std::int16_t>& second) {
        first.insert(first.end(), second.begin(), second.end());
        return first;
    }

    [[nodiscard]] int underruns(const std::string& name) const {
        return mServer.stream(name).at("underruns");
    }

    RecordingServer mServer;
};

/// Opens and sets a PCM, or fails the test.
void open(AlsaPcm& pcm, const PcmShape& shape = {}) {
    ASSERT_EQ(pcm.error, 0);
    ASSERT_EQ(pcm.set(shape), 0);
}

bool isReadableWithin(snd_pcm_t* pcm, int ms, unsigned short& events) {
    pollfd entry = {};
    snd_pcm_poll_descriptors(pcm, &entry, 1);
    const bool isReadable = ::poll(&entry, 1, ms) == 1;
    snd_pcm_poll_descriptors_revents(pcm, &entry, 1, &events);
    return isReadable;
}

}  // namespace

struct TagRow : Row {
    const char* tag;
};

class AlsaPlaybackOfTag : public AlsaPlayback, public testing::WithParamInterface<TagRow> {};

TEST_P(AlsaPlaybackOfTag, IsHeardSampleForSample) {
    {
        AlsaPcm pcm(std::string("name sound tag ") + GetParam().tag);
        open(pcm);
        ASSERT_EQ(pcm.write(sound()), 0);
        ASSERT_EQ(snd_pcm_drain(pcm.get()), 0);
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(mServer.heard("sound", wide(sound())));
    EXPECT_EQ(underruns("sound"), 0);
    EXPECT_EQ(mServer.stream("sound").at("tag"), GetParam().tag);
}

INSTANTIATE_TEST_SUITE_P(Tag, AlsaPlaybackOfTag,
                         testing::Values(TagRow{"Auxiliary", "auxiliary"},
                                         TagRow{"Alternative", "alternative"}),
                         ROW_NAME);

struct BufferRow : Row {
    snd_pcm_uframes_t buffer;
    snd_pcm_uframes_t period;
    snd_pcm_access_t access;
};

class AlsaPlaybackWithBuffer : public AlsaPlayback,
                               public testing::WithParamInterface<BufferRow> {};

TEST_P(AlsaPlaybackWithBuffer, IsHeardWithoutAGap) {
    PcmShape shape;
    shape.buffer = GetParam().buffer;
    shape.period = GetParam().period;
    shape.startThreshold = shape.buffer;
    shape.access = GetParam().access;
    const bool isMapped = shape.access == SND_PCM_ACCESS_MMAP_INTERLEAVED;
    const std::vector<std::int16_t> samples = sound();
    {
        AlsaPcm pcm("name sound");
        open(pcm, shape);
        for (std::size_t done = 0; done < FRAMES;) {
            const auto write = isMapped ? snd_pcm_mmap_writei : snd_pcm_writei;
            const snd_pcm_sframes_t count = write(
                pcm.get(), &samples[2 * done], std::min<std::size_t>(FRAMES - done, shape.period));
            ASSERT_GT(count, 0);
            done += static_cast<std::size_t>(count);
        }
        ASSERT_EQ(snd_pcm_drain(pcm.get()), 0);
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(mServer.heard("sound", wide(samples)));
    EXPECT_EQ(underruns("sound"), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Size, AlsaPlaybackWithBuffer,
    testing::Values(BufferRow{"OnePeriodOfTheServer", 768, 256, SND_PCM_ACCESS_RW_INTERLEAVED},
                    BufferRow{"Twenty", 960, 240, SND_PCM_ACCESS_RW_INTERLEAVED},
                    BufferRow{"Large", 96000, 6000, SND_PCM_ACCESS_RW_INTERLEAVED},
                    BufferRow{"SmallMapped", 1536, 384, SND_PCM_ACCESS_MMAP_INTERLEAVED},
                    BufferRow{"LargeMapped", 24000, 6000, SND_PCM_ACCESS_MMAP_INTERLEAVED}),
    ROW_NAME);

struct FormatRow : Row {
    snd_pcm_format_t format;
    unsigned channels;
    unsigned rate;
    unsigned bits;
};

class AlsaPlaybackOfFormat : public testing::TestWithParam<FormatRow> {};

TEST_P(AlsaPlaybackOfFormat, ReachesTheServerByteForByte) {
    const TemporaryDirectory directory;
    RealServer server({"--output", "null", "--stems", directory.path()});
    PcmShape shape;
    shape.format = GetParam().format;
    shape.channels = GetParam().channels;
    shape.rate = GetParam().rate;
    shape.buffer = shape.period = 0;
    const std::size_t width = GetParam().bits / 8;
    const auto data = noiseBytes(width * shape.channels * shape.rate / 10);
    {
        AlsaPcm pcm("name sound");
        open(pcm, shape);
        ASSERT_EQ(pcm.write(data), 0);
        ASSERT_EQ(snd_pcm_drain(pcm.get()), 0);
    }
    server.stop();
    EXPECT_TRUE(holds(readWav(directory.file("auxiliary-sound.wav")), shape.rate, shape.channels,
                      wideBytes(data, width)));
}

INSTANTIATE_TEST_SUITE_P(Format, AlsaPlaybackOfFormat,
                         testing::Values(FormatRow{"U8", SND_PCM_FORMAT_U8, 1, 8000, 8},
                                         FormatRow{"S16", SND_PCM_FORMAT_S16_LE, 2, 44100, 16},
                                         FormatRow{"S24", SND_PCM_FORMAT_S24_3LE, 6, 48000, 24},
                                         FormatRow{"S32", SND_PCM_FORMAT_S32_LE, 2, 96000, 32}),
                         ROW_NAME);

TEST_F(AlsaPlayback, OfASoundShorterThanTheThresholdIsHeardByDraining) {
    {
        AlsaPcm pcm("name sound");
        PcmShape shape;
        shape.startThreshold = shape.buffer;
        open(pcm, shape);
        ASSERT_EQ(pcm.write(sound(480)), 0);
        EXPECT_EQ(snd_pcm_state(pcm.get()), SND_PCM_STATE_PREPARED);
        ASSERT_EQ(snd_pcm_drain(pcm.get()), 0);
        EXPECT_EQ(snd_pcm_state(pcm.get()), SND_PCM_STATE_SETUP);
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(mServer.heard("sound", wide(sound(480))));
}

TEST_F(AlsaPlayback, PausedGoesOnWithTheNextFrame) {
    {
        AlsaPcm pcm("name sound");
        open(pcm);
        ASSERT_EQ(pcm.write(sound(9000)), 0);
        ASSERT_EQ(snd_pcm_pause(pcm.get(), 1), 0);
        EXPECT_EQ(snd_pcm_state(pcm.get()), SND_PCM_STATE_PAUSED);
        const std::uint64_t begin = outputFrames(mServer.server());
        while (outputFrames(mServer.server()) < begin + 3 * 768)
            std::this_thread::yield();
        ASSERT_EQ(snd_pcm_pause(pcm.get(), 0), 0);
        ASSERT_EQ(snd_pcm_drain(pcm.get()), 0);
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(mServer.heard("sound", wide(sound(9000))));
}

TEST_F(AlsaPlayback, DroppedDiscardsTheRest) {
    const std::vector<std::int16_t> second = sound(4800, 2);
    {
        AlsaPcm pcm("name sound");
        open(pcm);
        ASSERT_EQ(pcm.write(sound(9000)), 0);
        ASSERT_EQ(snd_pcm_drop(pcm.get()), 0);
        EXPECT_EQ(snd_pcm_state(pcm.get()), SND_PCM_STATE_SETUP);
        ASSERT_EQ(snd_pcm_prepare(pcm.get()), 0);
        ASSERT_EQ(pcm.write(second), 0);
        ASSERT_EQ(snd_pcm_drain(pcm.get()), 0);
    }
    ASSERT_TRUE(mServer.stop());
    const std::vector<std::int32_t> expected = wide(second);
    const auto& heard = mServer.wav().samples;
    EXPECT_EQ(std::search(heard.begin(), heard.end(), expected.end() - 100, expected.end()) -
                  std::search(heard.begin(), heard.end(), expected.begin(), expected.begin() + 100),
              static_cast<std::ptrdiff_t>(expected.size() - 100));
    EXPECT_LT(mServer.stream("sound").at("frames").get<std::size_t>(), 9000U + 4800U);
}

TEST_F(AlsaPlayback, ThatRunsDryIsAnUnderrunFromWhichItRecovers) {
    {
        AlsaPcm pcm("name sound");
        open(pcm);
        ASSERT_EQ(pcm.write(sound(2400)), 0);
        ASSERT_EQ(snd_pcm_wait(pcm.get(), 10000), 1);
        int error = 0;
        const auto deadline = Clock::now() + 10s;
        while (error == 0 && Clock::now() < deadline) {
            const snd_pcm_sframes_t room = snd_pcm_avail(pcm.get());
            error = room < 0 ? static_cast<int>(room) : 0;
            std::this_thread::yield();
        }
        ASSERT_EQ(error, -EPIPE);
        EXPECT_EQ(snd_pcm_state(pcm.get()), SND_PCM_STATE_XRUN);
        ASSERT_EQ(snd_pcm_recover(pcm.get(), error, 1), 0);
        ASSERT_EQ(pcm.write(sound(2400, 2)), 0);
        ASSERT_EQ(snd_pcm_drain(pcm.get()), 0);
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(mServer.heard("sound", wide(joined(sound(2400), sound(2400, 2)))));
}

TEST_F(AlsaPlayback, ReplacesFramesThatTheApplicationRewindsOver) {
    const std::vector<std::int16_t> replacement = sound(1000, 2);
    std::vector<std::int16_t> expected = sound(9000);
    std::copy(replacement.begin(), replacement.end(), expected.end() - 2000);
    {
        AlsaPcm pcm("name sound");
        PcmShape shape;
        shape.startThreshold = shape.buffer;
        open(pcm, shape);
        ASSERT_EQ(pcm.write(sound(9000)), 0);
        ASSERT_EQ(snd_pcm_rewind(pcm.get(), 1000), 1000);
        ASSERT_EQ(pcm.write(replacement), 0);
        ASSERT_EQ(snd_pcm_drain(pcm.get()), 0);
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(mServer.heard("sound", wide(expected)));
}

TEST_F(AlsaPlayback, OfTwoStreamsOfOneProcessIsHeardOfBoth) {
    {
        AlsaPcm one("name sound");
        AlsaPcm two("name sound tag alternative");
        open(one);
        open(two);
        ASSERT_EQ(one.write(sound(4800)), 0);
        ASSERT_EQ(two.write(sound(4800, 2)), 0);
        ASSERT_EQ(snd_pcm_drain(one.get()), 0);
        ASSERT_EQ(snd_pcm_drain(two.get()), 0);
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_EQ(mServer.stream("sound").at("frames"), 4800);
    EXPECT_EQ(mServer.stream("sound-2").at("frames"), 4800);
}

TEST_F(AlsaPlayback, PolledWithoutBlockingWakesAFewTimesAndIsExact) {
    const std::vector<std::int16_t> samples = sound();
    {
        AlsaPcm pcm("name sound", SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK);
        PcmShape shape;
        shape.buffer = 4800;
        shape.period = 1200;
        open(pcm, shape);
        unsigned short events = 0;
        int wakes = 0;
        for (std::size_t done = 0; done < FRAMES; ++wakes) {
            ASSERT_TRUE(isReadableWithin(pcm.get(), 10000, events));
            if ((events & POLLOUT) == 0) continue;
            const snd_pcm_sframes_t count =
                snd_pcm_writei(pcm.get(), &samples[2 * done], FRAMES - done);
            if (count == -EAGAIN) continue;
            ASSERT_GT(count, 0);
            done += static_cast<std::size_t>(count);
        }
        EXPECT_LE(wakes, 40);
        EXPECT_EQ(snd_pcm_drain(pcm.get()), -EAGAIN);
        const auto deadline = Clock::now() + 10s;
        while (snd_pcm_state(pcm.get()) == SND_PCM_STATE_DRAINING && Clock::now() < deadline) {
            ASSERT_TRUE(isReadableWithin(pcm.get(), 10000, events));
            snd_pcm_avail_update(pcm.get());
        }
        EXPECT_EQ(snd_pcm_state(pcm.get()), SND_PCM_STATE_SETUP);
        EXPECT_TRUE(isReadableWithin(pcm.get(), 0, events)) << "a poll after the drain ends";
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(mServer.heard("sound", wide(samples)));
}

TEST_F(AlsaPlayback, IsExactWhileAnotherThreadPolls) {
    const std::vector<std::int16_t> samples = sound();
    {
        AlsaPcm pcm("name sound");
        open(pcm);
        std::atomic<bool> isOver{false};
        auto polling = std::async(std::launch::async, [&] {
            unsigned short events = 0;
            while (!isOver)
                isReadableWithin(pcm.get(), 0, events);
        });
        for (std::size_t done = 0; done < FRAMES; ++done)
            EXPECT_EQ(snd_pcm_writei(pcm.get(), &samples[2 * done], 1), 1);
        isOver = true;
        polling.get();
        ASSERT_EQ(snd_pcm_drain(pcm.get()), 0);
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(mServer.heard("sound", wide(samples)));
}

TEST_F(AlsaPlayback, IsReadyBeforeTheStartAlthoughTheBufferIsNearlyFull) {
    AlsaPcm pcm("name sound");
    PcmShape shape;
    shape.startThreshold = shape.buffer + 1;
    open(pcm, shape);
    ASSERT_EQ(pcm.write(sound(9000)), 0);
    unsigned short events = 0;
    EXPECT_TRUE(isReadableWithin(pcm.get(), 0, events));
    EXPECT_EQ(events, POLLOUT);
}

TEST_F(AlsaPlayback, DelayIsTheRestOfTheSound) {
    AlsaPcm pcm("name sound");
    PcmShape shape;
    shape.startThreshold = shape.buffer;
    open(pcm, shape);
    snd_pcm_sframes_t delay = -1;
    ASSERT_EQ(snd_pcm_delay(pcm.get(), &delay), 0);
    EXPECT_EQ(delay, 0);
    ASSERT_EQ(pcm.write(sound(9000)), 0);
    ASSERT_EQ(snd_pcm_delay(pcm.get(), &delay), 0);
    EXPECT_EQ(delay, 9000);
    ASSERT_EQ(snd_pcm_start(pcm.get()), 0);
    const auto start = Clock::now();
    while (snd_pcm_delay(pcm.get(), &delay) == 0 && delay > 4500)
        std::this_thread::yield();
    // The server begins up to a period later, and may be late.
    EXPECT_GE(Clock::now() - start, 93ms - 17ms);
    ASSERT_EQ(snd_pcm_drain(pcm.get()), 0);
    ASSERT_EQ(snd_pcm_delay(pcm.get(), &delay), 0);
    EXPECT_EQ(delay, 0);
}

/// A player that shows pictures to its sound takes the delay for the way to the ear.
TEST_F(AlsaPlayback, DelayFallsAsTheClockRuns) {
    AlsaPcm pcm("name sound");
    PcmShape shape;
    shape.buffer = 24000;
    shape.period = 6000;
    shape.startThreshold = shape.buffer;
    open(pcm, shape);
    ASSERT_EQ(pcm.write(sound(24000)), 0);
    snd_pcm_sframes_t delay = 24000;
    std::vector<snd_pcm_sframes_t> delays;
    while (delay > 4800) {
        std::this_thread::sleep_for(2ms);
        ASSERT_EQ(snd_pcm_delay(pcm.get(), &delay), 0);
        delays.push_back(delay);
    }
    // Without the clock it would fall every 16 ms only, when the server takes a period. The first
    // answers are those before the server has begun.
    delays.erase(delays.begin(),
                 delays.begin() + std::min<std::ptrdiff_t>(8, std::ssize(delays) - 1));
    const auto repeated = std::count_if(delays.begin() + 1, delays.end(),
                                        [last = delays[0]](snd_pcm_sframes_t now) mutable {
                                            return now == std::exchange(last, now);
                                        });
    EXPECT_LT(repeated * 2, std::ssize(delays));
}

TEST_F(AlsaPlayback, EndsWhenTheServerIsKilled) {
    AlsaPcm pcm("name sound");
    open(pcm);
    ASSERT_EQ(pcm.write(sound(4800)), 0);
    mServer.server().kill(SIGKILL);
    const auto begin = Clock::now();
    int error = 0;
    while (error == 0)
        error = pcm.write(sound(1200));
    EXPECT_EQ(error, -ENODEV);
    EXPECT_LT(Clock::now() - begin, generous(2s));
    EXPECT_EQ(snd_pcm_state(pcm.get()), SND_PCM_STATE_DISCONNECTED);
    unsigned short events = 0;
    EXPECT_TRUE(isReadableWithin(pcm.get(), 0, events));
    EXPECT_EQ(events, POLLERR | POLLHUP);
    const auto closing = Clock::now();
    pcm.close();
    EXPECT_LT(Clock::now() - closing, generous(2s));
}

TEST_F(AlsaPlayback, EndsADrainWhenTheServerIsKilled) {
    AlsaPcm pcm("name sound");
    open(pcm);
    ASSERT_EQ(pcm.write(sound(9000)), 0);
    auto drain = std::async(std::launch::async, [&pcm] { return snd_pcm_drain(pcm.get()); });
    mServer.server().kill(SIGKILL);
    ASSERT_EQ(drain.wait_for(2s), std::future_status::ready);
    EXPECT_EQ(drain.get(), -ENODEV);
}

TEST_F(AlsaPlayback, ClosesSoonWhileTheServerStandsStill) {
    AlsaPcm pcm("name sound");
    open(pcm);
    ASSERT_EQ(pcm.write(sound(4800)), 0);
    mServer.server().kill(SIGSTOP);
    const auto begin = Clock::now();
    pcm.close();
    EXPECT_LT(Clock::now() - begin, generous(3s));
    mServer.server().kill(SIGCONT);
}

TEST_F(AlsaPlayback, DropEndsTheDrainOfAnotherThread) {
    AlsaPcm pcm("name sound");
    PcmShape shape;
    shape.buffer = 96000;
    shape.period = 24000;
    open(pcm, shape);
    ASSERT_EQ(pcm.write(sound(90000)), 0);
    auto drain = std::async(std::launch::async, [&pcm] { return snd_pcm_drain(pcm.get()); });
    EXPECT_EQ(drain.wait_for(20ms), std::future_status::timeout);
    ASSERT_EQ(snd_pcm_drop(pcm.get()), 0);
    EXPECT_EQ(drain.wait_for(1s), std::future_status::ready) << "long before the sound's end";
    EXPECT_EQ(snd_pcm_state(pcm.get()), SND_PCM_STATE_SETUP);
}

TEST_F(AlsaPlayback, OfAParentIsNotDisturbedByAChildThatCloses) {
    {
        AlsaPcm pcm("name sound");
        open(pcm);
        ASSERT_EQ(pcm.write(sound(9000)), 0);
        const pid_t child = fork();
        if (child == 0) {
            snd_pcm_avail(pcm.get());
            const bool isDisconnected = snd_pcm_state(pcm.get()) == SND_PCM_STATE_DISCONNECTED &&
                                        pcm.write(sound(1)) == -ENODEV;
            pcm.close();
            _exit(isDisconnected ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        ASSERT_EQ(snd_pcm_drain(pcm.get()), 0);
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(mServer.heard("sound", wide(sound(9000))));
}

TEST_F(AlsaPlayback, GoesOnWhileTheServerStandsStillForAMoment) {
    {
        AlsaPcm pcm("name sound");
        open(pcm);
        ASSERT_EQ(pcm.write(sound(4800)), 0);
        mServer.server().kill(SIGSTOP);
        auto rest = std::async(std::launch::async, [&pcm] { return pcm.write(sound(FRAMES, 2)); });
        EXPECT_EQ(rest.wait_for(300ms), std::future_status::timeout);
        mServer.server().kill(SIGCONT);
        EXPECT_EQ(rest.get(), 0);
        ASSERT_EQ(snd_pcm_drain(pcm.get()), 0);
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(mServer.heard("sound", wide(joined(sound(4800), sound(FRAMES, 2)))));
}

TEST_F(AlsaPlayback, ChannelMapIsTheServersOrder) {
    AlsaPcm pcm("name sound");
    PcmShape shape;
    shape.channels = 6;
    open(pcm, shape);
    snd_pcm_chmap_t* const map = snd_pcm_get_chmap(pcm.get());
    ASSERT_NE(map, nullptr);
    std::array<char, 80> text = {};
    snd_pcm_chmap_print(map, text.size(), text.data());
    EXPECT_STREQ(text.data(), "FL FR RL RR FC LFE");
    free(map);
    snd_pcm_chmap_query_t** const maps = snd_pcm_query_chmaps(pcm.get());
    ASSERT_NE(maps, nullptr);
    std::size_t count = 0;
    for (; maps[count] != nullptr; ++count)
        EXPECT_EQ(maps[count]->map.channels, count + 1);
    EXPECT_EQ(count, 6U);
    snd_pcm_free_chmaps(maps);
}

TEST_F(AlsaPlayback, LimitsTheBuffer) {
    AlsaPcm pcm("name sound");
    PcmShape shape;
    shape.buffer = shape.period = 0;
    open(pcm, shape);
    snd_pcm_uframes_t buffer = 0;
    snd_pcm_uframes_t period = 0;
    ASSERT_EQ(snd_pcm_get_params(pcm.get(), &buffer, &period), 0);
    EXPECT_LE(buffer, 131072U);
    shape.channels = 7;
    EXPECT_LT(pcm.set(shape), 0);
}

TEST_F(AlsaPlayback, TakesItsParametersSeveralTimes) {
    {
        AlsaPcm pcm("name sound");
        PcmShape shape;
        shape.rate = 16000;
        shape.buffer = shape.period = 0;
        open(pcm, shape);
        open(pcm);
        ASSERT_EQ(snd_pcm_hw_free(pcm.get()), 0);
        open(pcm);
        ASSERT_EQ(pcm.write(sound(4800)), 0);
        ASSERT_EQ(snd_pcm_drain(pcm.get()), 0);
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_EQ(mServer.report().at("streams").size(), 3U);
    const std::vector<std::int32_t> expected = wide(sound(4800));
    const auto& heard = mServer.wav().samples;
    EXPECT_NE(std::search(heard.begin(), heard.end(), expected.begin(), expected.end()),
              heard.end());
}

struct KeysRow : Row {
    const char* keys;
    int error;
};

class AlsaDefinition : public testing::TestWithParam<KeysRow> {};

TEST_P(AlsaDefinition, IsRefused) {
    const RealServer server;
    const AlsaPcm pcm(GetParam().keys);
    EXPECT_EQ(pcm.error, GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(Keys, AlsaDefinition,
                         testing::Values(KeysRow{"UnknownKey", "colour blue", -EINVAL},
                                         KeysRow{"UnknownTag", "tag nothing", -EINVAL},
                                         KeysRow{"TagOfTheOtherDirection", "tag input0", -EINVAL},
                                         KeysRow{"NegativeParameter", "stream_param -1", -EINVAL},
                                         KeysRow{"ParameterThatIsNoNumber", "stream_param many",
                                                 -EINVAL},
                                         KeysRow{"NegativeWait", "wait -1", -EINVAL},
                                         KeysRow{"OtherInstance", "instance another", -EBUSY}),
                         ROW_NAME);

TEST(AlsaOpening, WithoutAServerIsRefused) {
    const AlsaPcm pcm("name sound");
    EXPECT_EQ(pcm.error, -ECONNREFUSED);
}

TEST(AlsaOpening, WithoutAServerTakesTheFallback) {
    AlsaPcm pcm("name sound fallback nothing }\npcm.nothing { type null");
    ASSERT_EQ(pcm.error, 0);
    EXPECT_EQ(snd_pcm_type(pcm.get()), SND_PCM_TYPE_NULL);
}

TEST(AlsaOpening, WaitsForAServer) {
    auto opening = std::async(std::launch::async, [] { return AlsaPcm("wait 60000").error; });
    EXPECT_EQ(opening.wait_for(50ms), std::future_status::timeout);
    const RealServer server;
    EXPECT_EQ(opening.get(), 0);
}

TEST_F(AlsaPlayback, OfTheMainTagIsHeard) {
    {
        AlsaPcm pcm("name sound tag main");
        open(pcm);
        ASSERT_EQ(pcm.write(sound()), 0);
        ASSERT_EQ(snd_pcm_drain(pcm.get()), 0);
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(mServer.heard("sound", wide(sound())));
}

TEST_F(AlsaPlayback, OfTheMainTagGoesOnWithoutItsSource) {
    AlsaPcm pcm("name sound tag main");
    open(pcm);
    ASSERT_EQ(pcm.write(sound(4800)), 0);
    EXPECT_THAT(mServer.server().command("source withdraw sound"), testing::HasSubstr("ok"));
    const auto begin = Clock::now();
    ASSERT_EQ(pcm.write(sound(24000)), 0);
    EXPECT_GT(Clock::now() - begin, 200ms) << "at the pace of the clock";
    EXPECT_LT(Clock::now() - begin, generous(2s));
}

}  // namespace cabinaudio::test
