// SPDX-License-Identifier: Apache-2.0
//
// Tracks of the library and the server's output.
#include <cabinaudio/shm/ShareMemory.h>

#include "tests/server/Playing.h"
#include "tests/server/RawClient.h"
#include "tests/server/Sound.h"
#include "tests/support/ProcessState.h"

#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <thread>

namespace cabinaudio::test {
namespace {

constexpr std::size_t SECOND = 48000;  // in frames of the output
constexpr std::size_t PLAYBACK_PERIOD = 768;

/// Samples of so many stereo frames.
constexpr std::size_t stereo(std::size_t frames) {
    return 2 * frames;
}

class TrackThroughServer : public ::testing::TestWithParam<AudioTagType> {};

TEST_P(TrackThroughServer, PlaysToTheLastSampleInTheFormatOfTheOutput) {
    RecordingServer recording;
    const auto samples = noise16(stereo(24000));
    const auto begin = std::chrono::steady_clock::now();
    {
        Player player("music", GetParam(), pcm(48000, 2, 16));
        EXPECT_EQ(player.track().getPerLoopSize(), 768 * 4);
        ASSERT_TRUE(player.write(samples));
        ASSERT_TRUE(player.end());
    }
    const auto duration = std::chrono::steady_clock::now() - begin;
    ASSERT_TRUE(recording.stop());
    EXPECT_EQ(recording.wav().rate, 48000U);
    EXPECT_EQ(recording.wav().channels, 2U);
    EXPECT_EQ(recording.wav().subformat, SF_FORMAT_PCM_16);
    EXPECT_TRUE(recording.heard("music", wide(samples)));
    EXPECT_EQ(recording.stream("music").at("frames"), 24000);
    EXPECT_EQ(recording.report().at("output").at("clipped_samples"), 0);
    // Half a second of sound, less what one period and the start of a period make up.
    EXPECT_GE(duration, std::chrono::milliseconds(500 - 2 * 16));
}

TEST_P(TrackThroughServer, PlaysAsFastAsItWritesWithoutAClock) {
    RecordingServer recording({"--fast"});
    const auto samples = noise16(stereo(20 * SECOND));
    ASSERT_TRUE(recording.play(pcm(48000, 2, 16), samples, GetParam()));
    EXPECT_TRUE(recording.heard("sound", wide(samples)));
    EXPECT_EQ(recording.wav().frames(), samples.size() / 2) << "nothing else is in the file";
    EXPECT_EQ(recording.stream("sound").at("segments").size(), 1U);
    EXPECT_EQ(recording.stream("sound").at("underruns"), 0);
}

INSTANTIATE_TEST_SUITE_P(Tags, TrackThroughServer,
                         ::testing::Values(AUDIO_TAG_ALTERNATIVE, AUDIO_TAG_AUXILIARY,
                                           AUDIO_TAG_OUTPUT_INVOCATION));

TEST(FinishMessage, ComesOnceAndOnlyAfterTheLastSample) {
    RecordingServer recording;
    Player player("prompt", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
    const auto samples = noise16(stereo(20 * PLAYBACK_PERIOD + 100));
    ASSERT_TRUE(player.write(samples));
    ASSERT_EQ(player.track().writeDone(), AUDIO_NO_ERROR);
    // The ring is nearly full now; its seven periods last longer than a hundred milliseconds.
    const auto announced = std::chrono::steady_clock::now();
    ASSERT_TRUE(player.finished().wait());
    EXPECT_GE(std::chrono::steady_clock::now() - announced, std::chrono::milliseconds(90));
    const auto state = stateOf(recording.server());
    EXPECT_EQ(state.at("streams").at(0).at("queued_frames"), 0);
    EXPECT_GE(state.at("output").at("frames"), samples.size() / 2);
    EXPECT_EQ(player.track().stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(player.finished().count(), 1);
    ASSERT_TRUE(recording.stop());
    EXPECT_TRUE(recording.heard("prompt", wide(samples)));
}

TEST(FinishMessage, ComesAtOnceWhenNothingWasWritten) {
    RecordingServer recording;
    Player player("prompt", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
    EXPECT_TRUE(player.end());
}

TEST(FinishMessage, ComesForEveryRoundOfAStream) {
    RecordingServer recording({"--fast"});
    Player player("prompt", AUDIO_TAG_AUXILIARY, pcm(16000, 1, 16));
    for (int round = 1; round <= 3; ++round) {
        ASSERT_TRUE(player.write(noise16(1000)));
        ASSERT_TRUE(player.end(round));
        ASSERT_EQ(player.track().stop(), AUDIO_NO_ERROR);
        ASSERT_EQ(player.track().start(), AUDIO_NO_ERROR);
    }
    ASSERT_TRUE(recording.stop());
    EXPECT_EQ(recording.stream("prompt").at("finishes"), 3);
    EXPECT_EQ(recording.stream("prompt").at("frames"), 3000);
}

TEST(StoppedStream, PlaysTheRestOfItsRingAfterTheNextStart) {
    RecordingServer recording;
    const auto samples = noise16(stereo(4 * PLAYBACK_PERIOD));
    {
        Player player("music", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
        ASSERT_TRUE(player.write(samples));
        ASSERT_EQ(player.track().stop(), AUDIO_NO_ERROR);
        ASSERT_EQ(player.track().start(), AUDIO_NO_ERROR);
        ASSERT_TRUE(player.end());
    }
    ASSERT_TRUE(recording.stop());
    EXPECT_TRUE(recording.heard("music", wide(samples)));
}

TEST(ClearedRing, IsNotPlayed) {
    RecordingServer recording({"--fast"});
    const auto first = noise16(stereo(PLAYBACK_PERIOD), 1);
    const auto second = noise16(stereo(PLAYBACK_PERIOD), 2);
    {
        AudioFormatDesc format = pcm(48000, 2, 16);
        ClientTrack idle("music", AUDIO_TAG_ALTERNATIVE, format, 0);
        ASSERT_EQ(idle.initCheck(), AUDIO_NO_ERROR);
        ASSERT_EQ(idle.start(), AUDIO_NO_ERROR);
        ASSERT_EQ(idle.stop(), AUDIO_NO_ERROR);
        // Only started tracks write, so the ring is filled as another process would fill it.
        ShareMemoryEx ring(SHM_TYPE_POSIX_SHM, "music", nullptr,
                           static_cast<unsigned>(idle.getTotalBufferSize()), 0, nullptr);
        auto bytes = first;
        ASSERT_EQ(ring.write(bytesPointer(bytes), static_cast<unsigned>(byteCount(bytes))),
                  byteCount(bytes));
        ASSERT_EQ(idle.clear(), AUDIO_NO_ERROR);
        ASSERT_EQ(idle.start(), AUDIO_NO_ERROR);
        bytes = second;
        ASSERT_EQ(idle.write(bytesPointer(bytes), byteCount(bytes), true), byteCount(bytes));
        ASSERT_TRUE(eventually([&] { return idle.bytesFree() == idle.getTotalBufferSize() - 1; }));
    }
    ASSERT_TRUE(recording.stop());
    EXPECT_TRUE(recording.heard("music", wide(second)));
}

TEST(TwoStreams, AreMixedToTheirSum) {
    RecordingServer recording;
    auto first = noise16(stereo(9600), 3);
    auto second = noise16(stereo(9600), 4);
    for (std::size_t i = 0; i < first.size(); ++i) {
        first[i] = static_cast<std::int16_t>(first[i] / 2);
        second[i] = static_cast<std::int16_t>(second[i] / 2);
    }
    {
        Player one("one", AUDIO_TAG_ALTERNATIVE, pcm(48000, 2, 16));
        Player two("two", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
        // Both fit their rings only in part, so they really play at once.
        std::thread other([&] { EXPECT_TRUE(two.write(second) && two.end()); });
        EXPECT_TRUE(one.write(first) && one.end());
        other.join();
    }
    ASSERT_TRUE(recording.stop());
    // The report says where each lies; what is left after taking both away is silence.
    auto rest = recording.wav().samples;
    const auto subtract = [&](const std::string& name, const std::vector<std::int16_t>& samples) {
        std::size_t frames = 0;
        for (const auto& segment : recording.stream(name).at("segments")) {
            const std::size_t output = segment.at("output_frame").get<std::size_t>() * 2;
            const std::size_t start = segment.at("stream_frame").get<std::size_t>() * 2;
            const std::size_t length = segment.at("frames").get<std::size_t>() * 2;
            for (std::size_t i = 0; i < length; ++i)
                rest.at(output + i) -= samples.at(start + i) * 65536;
            frames += length / 2;
        }
        EXPECT_EQ(frames, samples.size() / 2);
    };
    subtract("one", first);
    subtract("two", second);
    EXPECT_EQ(rest, std::vector<std::int32_t>(rest.size(), 0));
    EXPECT_EQ(recording.report().at("output").at("clipped_samples"), 0);
}

TEST(MixBeyondFullScale, IsClippedAndCounted) {
    constexpr std::size_t PERIODS = 5;
    constexpr std::int32_t LOUD = 30000;
    constexpr std::int32_t FULL_SCALE = 32767 * 65536;
    RecordingServer recording({"--fast"});
    const std::vector<std::int16_t> loud(stereo(PERIODS * PLAYBACK_PERIOD), LOUD);
    {
        Player one("one", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
        Player two("two", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
        ASSERT_TRUE(one.hasRing() && two.hasRing());
        // Held back until both have their data, so that they meet.
        recording.server().kill(SIGSTOP);
        int status = 0;
        ASSERT_EQ(waitpid(recording.server().pid(), &status, WUNTRACED), recording.server().pid());
        ASSERT_TRUE(WIFSTOPPED(status));
        EXPECT_TRUE(one.write(loud));
        EXPECT_TRUE(two.write(loud));
        recording.server().kill(SIGCONT);
        EXPECT_TRUE(one.end());
        EXPECT_TRUE(two.end());
    }
    ASSERT_TRUE(recording.stop());
    const auto& samples = recording.wav().samples;
    const auto clipped = std::count(samples.begin(), samples.end(), FULL_SCALE);
    const auto alone = std::count(samples.begin(), samples.end(), LOUD * 65536);
    // A server that was stopped between reading the two rings plays one period of each alone.
    EXPECT_GE(clipped, static_cast<std::ptrdiff_t>(stereo((PERIODS - 1) * PLAYBACK_PERIOD)));
    EXPECT_EQ(2 * clipped + alone, static_cast<std::ptrdiff_t>(2 * loud.size()));
    EXPECT_EQ(recording.report().at("output").at("clipped_samples"), clipped);
}

TEST(MonoSound, PlaysOnBothSides) {
    RecordingServer recording({"--fast"});
    const auto samples = noise16(4800);
    ASSERT_TRUE(recording.play(pcm(48000, 1, 16), samples));
    EXPECT_TRUE(recording.heard("sound", wide(repeated(samples, 2))));
}

TEST(StereoSound, IsAveragedInAMonoOutput) {
    RecordingServer recording({"--fast", "--channels", "1"});
    const std::vector<std::int16_t> samples = {100, 200, -100, -300, 32767, 32767, 8, -8};
    ASSERT_TRUE(recording.play(pcm(48000, 2, 16), samples));
    EXPECT_EQ(recording.wav().channels, 1U);
    EXPECT_TRUE(recording.heard("sound", wide({150, -200, 32767, 0})));
}

TEST(EightBitSound, IsUnsigned) {
    RecordingServer recording({"--fast"});
    const std::vector<std::uint8_t> samples = {0, 1, 127, 128, 129, 255};
    ASSERT_TRUE(recording.play(pcm(48000, 1, 8), samples));
    EXPECT_TRUE(recording.heard(
        "sound", wide(repeated<std::int16_t>({-32768, -32512, -256, 0, 256, 32512}, 2))));
}

TEST(TwentyFourBitSound, IsPackedAndKeepsAllItsBits) {
    RecordingServer recording({"--fast", "--format", "s24"});
    const std::vector<std::int32_t> values = {0, 1, -1, 8388607, -8388608, 1193046, -1193046};
    std::vector<std::uint8_t> packed;
    std::vector<std::int32_t> expected;
    for (const std::int32_t value : values) {
        for (const int shift : {0, 8, 16})
            packed.push_back(static_cast<std::uint8_t>(value >> shift));
        expected.push_back(value * 256);
    }
    ASSERT_TRUE(recording.play(pcm(48000, 1, 24), packed));
    EXPECT_EQ(recording.wav().subformat, SF_FORMAT_PCM_24);
    EXPECT_TRUE(recording.heard("sound", repeated(expected, 2)));
}

TEST(ThirtyTwoBitSound, KeepsTheUpperTwentyFourBits) {
    RecordingServer recording({"--fast", "--format", "s32"});
    const std::vector<std::int32_t> samples = {0,        256, -256, 2147483392, -2147483647 - 1,
                                               305419776};
    ASSERT_TRUE(recording.play(pcm(48000, 1, 32), samples));
    EXPECT_EQ(recording.wav().subformat, SF_FORMAT_PCM_32);
    EXPECT_TRUE(recording.heard("sound", repeated(samples, 2)));
}

class SoundOfAnotherRate : public ::testing::TestWithParam<unsigned> {};

TEST_P(SoundOfAnotherRate, KeepsItsPitchLoudnessAndLength) {
    RecordingServer recording({"--fast"});
    const unsigned rate = GetParam();
    constexpr double FREQUENCY = 1000;
    ASSERT_TRUE(recording.play(pcm(rate, 1, 16), sine16(FREQUENCY, rate, rate)));
    const auto left = recording.wav().channel(0);
    // A second of sound; the filter may add or lose some samples at the ends.
    EXPECT_NEAR(static_cast<double>(left.size()), 48000, 100);
    ASSERT_GT(left.size(), 2 * 4800U);
    const float* middle = left.data() + 4800;
    const std::size_t count = 33600;  // whole waves
    EXPECT_NEAR(amplitudeOf(FREQUENCY, 48000, middle, count), 0.5, 0.002);
    double energy = 0;
    for (std::size_t i = 0; i < count; ++i)
        energy += static_cast<double>(middle[i]) * static_cast<double>(middle[i]);
    EXPECT_NEAR(energy / count, 0.125, 0.001) << "there is something beside the tone";
    EXPECT_EQ(recording.stream("sound").at("segments").size(), 1U);
    EXPECT_EQ(recording.wav().channel(0), recording.wav().channel(1));
}

INSTANTIATE_TEST_SUITE_P(Rates, SoundOfAnotherRate,
                         ::testing::Values(8000U, 16000U, 22050U, 44100U, 96000U, 192000U));

TEST(SoundOfAnotherRate, LeavesTheRingAtItsOwnPace) {
    RecordingServer recording;
    {
        Player player("tone", AUDIO_TAG_ALTERNATIVE, pcm(44100, 2, 16));
        ASSERT_TRUE(player.write(repeated(sine16(441, 44100, 22050), 2)));
        // The ring is full but for what left it during the last periods.
        EXPECT_GE(streamOf(recording.server(), "tone").at("queued_frames"), 706);
        ASSERT_TRUE(player.end());
        const std::uint64_t dry = outputFrames(recording.server());
        ASSERT_TRUE(eventually(
            [&] { return outputFrames(recording.server()) > dry + 2 * PLAYBACK_PERIOD; }));
    }
    ASSERT_TRUE(recording.stop());
    EXPECT_EQ(recording.stream("tone").at("frames"), 22050);
    const auto left = recording.wav().channel(0);
    std::size_t heard = 0;
    for (const auto& segment : recording.stream("tone").at("segments")) {
        const auto first = segment.at("output_frame").get<std::size_t>();
        const auto count = segment.at("frames").get<std::size_t>();
        heard += count;
        // The report says where the tone lies, however late this machine is.
        const std::size_t waves = count / 4800 * 4800;
        if (waves == 0) continue;
        EXPECT_NEAR(amplitudeOf(441, 48000, left.data() + first, waves), 0.5, 0.02);
    }
    // The end was not announced, so the filter keeps the last samples for those that follow.
    EXPECT_NEAR(static_cast<double>(heard), 24000, 100);
}

TEST(OutputOf44100Hz, DoesNotDriftAgainstTheClock) {
    RecordingServer recording({"--rate", "44100"});
    const auto samples = noise16(44100);
    ASSERT_TRUE(recording.play(pcm(44100, 1, 16), samples));
    EXPECT_TRUE(recording.heard("sound", wide(repeated(samples, 2))));
    const auto& output = recording.report().at("output");
    EXPECT_EQ(output.at("frames"), output.at("periods").get<std::uint64_t>() * 44100 * 16 / 1000);
}

TEST(Stem, HoldsTheFramesOfOneStreamAsTheyWere) {
    const TemporaryDirectory stems;
    RecordingServer recording({"--fast", "--stems", stems.path()});
    const auto samples = noise16(3000);
    const std::vector<std::uint8_t> bytes(500, 17);
    {
        Player voice("voice", AUDIO_TAG_AUXILIARY, pcm(16000, 1, 16));
        ASSERT_TRUE(voice.write(samples) && voice.end());
        Player odd("a:b\nc", AUDIO_TAG_ALTERNATIVE, pcm(8000, 1, 8));
        ASSERT_TRUE(odd.write(bytes) && odd.end());
    }
    {
        Player again("voice", AUDIO_TAG_AUXILIARY, pcm(16000, 1, 16));
        ASSERT_TRUE(again.write(samples) && again.end());
    }
    ASSERT_TRUE(recording.stop());
    const Wav voice = readWav(stems.file("auxiliary-voice.wav"));
    EXPECT_EQ(voice.rate, 16000U);
    EXPECT_EQ(voice.channels, 1U);
    EXPECT_EQ(voice.samples, wide(samples));
    EXPECT_EQ(readWav(stems.file("auxiliary-voice-2.wav")).samples, wide(samples));
    const Wav odd = readWav(stems.file("alternative-a_b_c.wav"));
    EXPECT_EQ(odd.subformat, SF_FORMAT_PCM_U8);
    EXPECT_EQ(odd.frames(), 500U);
    EXPECT_EQ(recording.stream("voice").at("stem"), stems.file("auxiliary-voice.wav"));
}

TEST(OutputFile, GrowsOnlyWhileAStreamExists) {
    RecordingServer recording;
    const auto frames = [&] { return outputFrames(recording.server()); };
    EXPECT_EQ(frames(), 0U);
    {
        AudioFormatDesc format = pcm(48000, 2, 16);
        ClientTrack idle("music", AUDIO_TAG_ALTERNATIVE, format, 0);
        EXPECT_EQ(idle.initCheck(), AUDIO_NO_ERROR);
        EXPECT_EQ(frames(), 0U) << "begins with the first start";
        ASSERT_EQ(idle.start(), AUDIO_NO_ERROR);
        EXPECT_TRUE(eventually([&] { return frames() > 0; }));
        ASSERT_EQ(idle.stop(), AUDIO_NO_ERROR);
        const std::uint64_t stopped = frames();
        EXPECT_TRUE(eventually([&] { return frames() > stopped; }));
    }
    ASSERT_TRUE(eventually([&] { return stateOf(recording.server()).at("streams").empty(); }));
    const std::uint64_t before = frames();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // three ticks that must not be
    EXPECT_EQ(frames(), before);
    ASSERT_TRUE(recording.stop());
    EXPECT_EQ(recording.wav().frames(), before);
}

TEST(OutputFile, IsAValidWavFileWhileTheServerRuns) {
    RecordingServer recording({"--fast"});
    Player player("music", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
    ASSERT_TRUE(player.write(noise16(stereo(3 * SECOND))) && player.end());
    recording.server().kill(SIGKILL);
    // Two whole seconds at least are in the header already.
    EXPECT_GE(readWav(recording.directory().file("heard.wav")).frames(), 2 * 48000U);
}

TEST(GapInTheMiddle, PlaysSilenceAndCountsOneUnderrun) {
    RecordingServer recording;
    const auto samples = noise16(stereo(6 * PLAYBACK_PERIOD));
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    const std::vector<std::int16_t> first(samples.begin(), middle);
    const std::vector<std::int16_t> second(middle, samples.end());
    Player player("music", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
    ASSERT_TRUE(player.write(first));
    ASSERT_TRUE(
        eventually([&] { return streamOf(recording.server(), "music").at("queued_frames") == 0; }));
    const std::uint64_t dry = outputFrames(recording.server());
    ASSERT_TRUE(
        eventually([&] { return outputFrames(recording.server()) > dry + PLAYBACK_PERIOD; }));
    ASSERT_TRUE(player.write(second) && player.end());
    ASSERT_TRUE(recording.stop());
    EXPECT_TRUE(recording.heard("music", wide(samples)));
    EXPECT_GE(recording.stream("music").at("segments").size(), 2U);
    EXPECT_EQ(recording.stream("music").at("underruns"),
              recording.stream("music").at("segments").size() - 1);
}

}  // namespace
}  // namespace cabinaudio::test
