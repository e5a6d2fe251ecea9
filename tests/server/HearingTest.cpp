// SPDX-License-Identifier: Apache-2.0
//
// The effect of settings on the sound: a client of the library changes a setting, others play a
// tone, and the server's WAV file is measured.
#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/server/Playing.h"
#include "tests/server/RawClient.h"
#include "tests/server/RawRecorder.h"
#include "tests/support/ProcessState.h"
#include "tests/support/Row.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

using namespace audio;

constexpr unsigned RATE = 48000;
constexpr std::size_t PERIOD = 48;  // frames of the tone, and of the others some whole ones
constexpr double FREQUENCY = 1000;
constexpr double AMPLITUDE = 0.05;  // 24 dB more are below full scale
constexpr double SILENT = -std::numeric_limits<double>::infinity();
constexpr double TOLERANCE = 0.1;  // dB

// Values of the stream parameter.
constexpr int BY_TAG = 0;
constexpr int NAVIGATION = 2;
constexpr int ALARM = 5;

/// All settings that are heard.
struct Settings {
    ClientVolumeSetting volume;
    ClientMixerSetting mixer;
    ClientSourceSetting source;
    ClientAppSetting app;
};

using Samples = std::vector<std::int32_t>;

Samples tone(std::size_t frames, unsigned channels, double frequency = FREQUENCY) {
    Samples samples(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / RATE;
        samples[i] = static_cast<std::int32_t>(std::lround(0x1p31 * AMPLITUDE * std::sin(phase)));
    }
    return repeated(samples, channels);
}

/// A playback stream of any tag, with 32-bit samples.
class Stream {
public:
    Stream(const std::string& name, AudioTagType tag, unsigned channels, int type = BY_TAG)
        : mTag(tag), mFormat(pcm(RATE, channels, 32)) {
        mTrack =
            tag == AUDIO_TAG_MAIN ? make<ClientSink>(name, type) : make<ClientTrack>(name, type);
        mTrack->setCallback(&mFinished);
        if (mTrack->start() != AUDIO_NO_ERROR) throw std::runtime_error(name + ": start");
        if (!hasRing(true)) throw std::runtime_error(name + ": ring");
    }

    /// Waits until it has a ring, or none. @return whether that happened
    bool hasRing(bool expected) {
        return eventually([&] { return (mTrack->getTotalBufferSize() > 0) == expected; },
                          std::chrono::minutes(1));
    }
    bool write(Samples samples) {
        return mTrack->write(bytesPointer(samples), byteCount(samples), true) == byteCount(samples);
    }
    /// Waits until the server has taken what was written.
    bool isTaken() {
        return eventually(
            [this] { return mTrack->bytesFree() == mTrack->getTotalBufferSize() - 1; },
            std::chrono::minutes(1));
    }
    /// Waits until all of it has been played.
    bool end() {
        if (mTag == AUDIO_TAG_ALTERNATIVE) return isTaken();  // its end is not announced
        return mTrack->writeDone() == AUDIO_NO_ERROR && mFinished.wait();
    }
    bool play(Samples samples) { return write(std::move(samples)) && end(); }

private:
    template <typename Track>
    std::unique_ptr<QVAudioTrack> make(const std::string& name, int type) {
        auto track = std::make_unique<Track>(name.c_str(), mTag, mFormat, type);
        if (track->initCheck() != AUDIO_NO_ERROR) throw std::runtime_error(name + ": initCheck");
        return track;
    }

    AudioTagType mTag;
    AudioFormatDesc mFormat;
    FinishWaiter mFinished;
    std::unique_ptr<QVAudioTrack> mTrack;
};

/// A server whose output is exact enough for these measurements.
class MeasuredServer : public RecordingServer {
public:
    explicit MeasuredServer(unsigned channels, std::vector<std::string> more = {"--fast"})
        : RecordingServer(with(std::move(more), channels)) {}

    /// Where the only run of a stream begins, in frames of the output.
    [[nodiscard]] std::size_t startOf(const std::string& name) const {
        const auto& segments = stream(name).at("segments");
        if (segments.size() != 1) throw std::runtime_error(name + ": " + segments.dump());
        return segments.at(0).at("output_frame").get<std::size_t>();
    }

private:
    static std::vector<std::string> with(std::vector<std::string> more, unsigned channels) {
        more.insert(more.end(), {"--channels", std::to_string(channels), "--format", "s32"});
        return more;
    }
};

/// Level of the tone against the played one; only zeros count as silent.
double levelOf(const std::vector<float>& samples, std::size_t from, std::size_t count,
               double frequency = FREQUENCY) {
    if (from + count > samples.size()) throw std::runtime_error("the sound is too short");
    const float* const first = samples.data() + from;
    if (std::all_of(first, first + count, [](float sample) { return sample == 0.0F; }))
        return SILENT;
    return 20 * std::log10(amplitudeOf(frequency, RATE, first, count) / AMPLITUDE);
}

unsigned char step(int value) {
    return static_cast<unsigned char>(value);
}

// ---- Levels -------------------------------------------------------------------------------------

constexpr unsigned CHANNELS = 4;  // LF, RF, LS, RS

/// Of each loudspeaker, in dB.
using Levels = std::array<double, CHANNELS>;

constexpr Levels all(double level) {
    return {level, level, level, level};
}
constexpr Levels each(double lf, double rf, double ls, double rs) {
    return {lf, rf, ls, rs};
}

using Set = std::function<int(Settings&)>;

struct Row : test::Row {
    AudioTagType tag;
    Set set;
    Levels levels;
    int type = BY_TAG;
};

/// Checks what is heard of 200 periods of the tone.
void expectLevels(const MeasuredServer& server, std::size_t start, const Levels& levels) {
    for (unsigned i = 0; i < CHANNELS; ++i) {
        const double level = levelOf(server.wav().channel(i), start, 200 * PERIOD);
        if (levels[i] == SILENT) {
            EXPECT_EQ(level, SILENT) << "loudspeaker " << i;
        } else {
            EXPECT_NEAR(level, levels[i], TOLERANCE) << "loudspeaker " << i;
        }
    }
}

class ToneOnFourLoudspeakers : public ::testing::TestWithParam<Row> {};

TEST_P(ToneOnFourLoudspeakers, HasTheLevelsOfTheSettings) {
    const Row& row = GetParam();
    MeasuredServer server(CHANNELS);
    Settings settings;
    ASSERT_EQ(row.set(settings), 0);
    Stream stream("tone", row.tag, CHANNELS, row.type);
    ASSERT_TRUE(stream.play(tone(200 * PERIOD, CHANNELS)));
    ASSERT_TRUE(server.stop());
    // From the beginning: a new stream has no ramp.
    expectLevels(server, server.startOf("tone"), row.levels);
}

int channelSteps(Settings& settings, audio_channel_idx_e channel, int steps) {
    audio_channel_gain_t gain = {};
    gain.channel = static_cast<std::uint32_t>(channel);
    gain.volume = step(steps);
    return settings.volume.setChannelGain(&gain);
}

int trackChannels(Settings& settings, const char* name) {
    std::array<float, 8> gains = {-3, -103.5F, 0, 12, 0, 0, 0, 0};
    return settings.volume.setTrackChannelGain("auxiliary", name, gains.data());
}

int nothing(Settings&) {
    return 0;
}
Set mute(const char* path) {
    return [path](Settings& s) { return s.volume.mute(path, true); };
}
Set duck(int percent) {
    return [percent](Settings& s) { return s.volume.duck(percent); };
}
Set fadeBalance(int fade, int balance, unsigned most) {
    return [=](Settings& s) { return s.volume.setFadeBalance(fade, balance, most); };
}

audio_mixer_gain_t steps(int lf, int rf, int ls, int rs) {
    return {0, {step(lf), step(rf), step(ls), step(rs)}};
}
audio_mixer_matrix_t gains(float lf, float rf, float ls, float rs) {
    return {0, {lf, rf, ls, rs}};
}
template <typename Mix>
Set mixNavigation(Mix mix) {
    return [mix](Settings& s) mutable { return s.mixer.setGpsMixerGain(&mix); };
}
template <typename Mix>
Set mixAlternative(Mix mix) {
    return [mix](Settings& s) mutable { return s.mixer.setAlternativeAudioMixerGain(&mix); };
}

constexpr AudioTagType MAIN = AUDIO_TAG_MAIN;
constexpr AudioTagType ALTERNATIVE = AUDIO_TAG_ALTERNATIVE;
constexpr AudioTagType AUXILIARY = AUDIO_TAG_AUXILIARY;
constexpr AudioTagType SECOND = AUDIO_TAG_OUTPUT_INVOCATION;

const Row NOTHING_SET[] = {{"main", MAIN, nothing, all(0)},
                           {"alternative", ALTERNATIVE, nothing, all(0)},
                           {"auxiliary", AUXILIARY, nothing, all(0)},
                           {"second", SECOND, nothing, all(0)}};

const Row VOLUMES[] = {
    {"master_80", MAIN, [](auto& s) { return s.volume.setMasterVolume(step(80)); }, all(-10)},
    {"master_148", ALTERNATIVE, [](auto& s) { return s.volume.setMasterVolume(step(148)); },
     all(24)},
    {"master_0", MAIN, [](auto& s) { return s.volume.setMasterVolume(step(0)); }, all(SILENT)},
    {"master_minus_7_3_dB", AUXILIARY, [](auto& s) { return s.volume.setMasterVolume(-7.3F); },
     all(-7.3)},
    {"master_12_dB", SECOND, [](auto& s) { return s.volume.setMasterVolume(12.0F); }, all(12)},
    {"second_60", SECOND, [](auto& s) { return s.volume.setSecondAudioVolume(step(60)); },
     all(-20)},
    {"second_minus_4_dB", SECOND, [](auto& s) { return s.volume.setSecondAudioVolume(-4.0F); },
     all(-4)},
    {"second_for_others", AUXILIARY, [](auto& s) { return s.volume.setSecondAudioVolume(-4.0F); },
     all(0)},
    {"alternative_60", ALTERNATIVE, [](auto& s) { return s.volume.setAlterAudioVolume(step(60)); },
     all(-20)},
    {"alternative_minus_4_dB", ALTERNATIVE,
     [](auto& s) { return s.volume.setAlterAudioVolume(-4.0F); }, all(-4)},
    {"alternative_for_others", MAIN, [](auto& s) { return s.volume.setAlterAudioVolume(-4.0F); },
     all(0)},
    {"track_90", MAIN, [](auto& s) { return s.volume.setTrackVolume("main", "tone", step(90)); },
     all(-5)},
    {"track_3_dB", ALTERNATIVE,
     [](auto& s) { return s.volume.setTrackVolume("alternative", "tone", 3.0F); }, all(3)},
    {"track_minus_3_dB", AUXILIARY,
     [](auto& s) { return s.volume.setTrackVolume("auxiliary", "tone", -3.0F); }, all(-3)},
    {"track_of_another_name", MAIN,
     [](auto& s) { return s.volume.setTrackVolume("main", "other", -3.0F); }, all(0)},
    {"track_of_another_tag", MAIN,
     [](auto& s) { return s.volume.setTrackVolume("auxiliary", "tone", -3.0F); }, all(0)},
    {"stream_type_70", MAIN,
     [](auto& s) { return s.volume.setVolumeByStreamType("media", step(70)); }, all(-15)},
    {"stream_type_minus_9_dB", AUXILIARY,
     [](auto& s) { return s.volume.setGainByStreamType("alarm", -9.0F); }, all(-9), ALARM},
    {"stream_type_of_others", AUXILIARY,
     [](auto& s) { return s.volume.setGainByStreamType("system", -9.0F); }, all(0), ALARM},
    {"channel_steps", MAIN,
     [](auto& s) {
         return channelSteps(s, AUDIO_CHANNEL_RF, 80) | channelSteps(s, AUDIO_CHANNEL_LS, 0);
     },
     each(0, -10, SILENT, 0)},
    {"channel_dB", MAIN,
     [](auto& s) {
         return s.volume.setChannelGain(AUDIO_CHANNEL_LF, -1.5F) |
                s.volume.setChannelGain(AUDIO_CHANNEL_RS, 6.0F);
     },
     each(-1.5, 0, 0, 6)},
    {"channels_for_others", AUXILIARY,
     [](auto& s) { return s.volume.setChannelGain(AUDIO_CHANNEL_LF, -1.5F); }, all(0)},
    {"track_channels", AUXILIARY, [](auto& s) { return trackChannels(s, "tone"); },
     each(-3, SILENT, 0, 12)},
    {"several_at_once", ALTERNATIVE,
     [](auto& s) {
         auto matrix = gains(-1, -2, -3, -4);
         return s.volume.setMasterVolume(step(90)) | s.volume.setAlterAudioVolume(3.0F) |
                s.volume.setTrackVolume("alternative", "tone", -6.0F) |
                s.volume.setGainByStreamType("navigation", -2.5F) |
                s.mixer.setAlternativeAudioMixerGain(&matrix);
     },
     each(-11.5, -12.5, -13.5, -14.5)},
};

const Row MUTES[] = {
    {"main", MAIN, mute("main"), all(SILENT)},
    {"alternative", ALTERNATIVE, mute("alternative"), all(SILENT)},
    {"auxiliary", AUXILIARY, mute("auxiliary"), all(SILENT)},
    {"second", SECOND, mute("second"), all(SILENT)},
    {"all_but_main", MAIN,
     [](auto& s) {
         return s.volume.mute("alternative", true) | s.volume.mute("auxiliary", true) |
                s.volume.mute("second", true);
     },
     all(0)},
    {"main_only", AUXILIARY, mute("main"), all(0)},
    {"by_path", ALTERNATIVE,
     [](auto& s) {
         return s.volume.setMute(static_cast<unsigned>(AUDIO_OUT_PATH_ALTERNATIVE), true);
     },
     all(SILENT)},
    {"demuted", SECOND,
     [](auto& s) { return s.volume.mute("second", true) | s.volume.demute("second", true); },
     all(0)},
};

const Row DUCKS[] = {
    {"half", MAIN, duck(50), all(-6.02)},
    {"ninety", MAIN, duck(90), all(-20)},
    {"all", MAIN, duck(100), all(SILENT)},
    {"prompts_not", ALTERNATIVE, duck(90), all(0)},
    {"chimes_not", AUXILIARY, duck(90), all(0)},
    {"unducked", MAIN, [](auto& s) { return s.volume.duck(90) | s.volume.unduck(); }, all(0)},
    {"by_mode_without_a_prompt", MAIN, [](auto& s) { return s.volume.setMainAudioDunkingMode(1); },
     all(0)},
};

// A loudspeaker's steps: 100 - balance + fade (LF), 100 + balance + fade (RF), 100 - balance - fade
// (LS), 100 + balance - fade (RS), between 0 and 100.
const Row FADES_AND_BALANCES[] = {
    {"middle", MAIN, fadeBalance(0, 0, 100), all(0)},
    {"right", MAIN, fadeBalance(0, 50, 100), each(-25, 0, -25, 0)},
    {"left", MAIN, fadeBalance(0, -20, 100), each(0, -10, 0, -10)},
    {"all_right", MAIN, fadeBalance(0, 10, 10), each(SILENT, 0, SILENT, 0)},
    {"front", MAIN, fadeBalance(3, 0, 10), each(0, 0, -15, -15)},
    {"back", MAIN, fadeBalance(-3, 0, 10), each(-15, -15, 0, 0)},
    {"all_front", MAIN, fadeBalance(2, 0, 2), each(0, 0, SILENT, SILENT)},
    {"front_right", MAIN, fadeBalance(10, 30, 100), each(-10, 0, -20, 0)},
    {"back_left", MAIN, fadeBalance(-15, -10, 50), each(-5, -25, 0, 0)},
    {"prompts_not", ALTERNATIVE, fadeBalance(10, 30, 100), all(0)},
};

const Row MIXERS[] = {
    {"navigation_steps", ALTERNATIVE, mixNavigation(steps(100, 90, 80, 0)),
     each(0, -5, -10, SILENT)},
    {"navigation_dB", AUXILIARY, mixNavigation(gains(-1, -2.5F, -103.5F, 0)),
     each(-1, -2.5, SILENT, 0), NAVIGATION},
    {"navigation_for_others", AUXILIARY, mixNavigation(gains(-1, -2.5F, -103.5F, 0)), all(0),
     ALARM},
    {"no_navigation", AUXILIARY, [](auto& s) { return s.mixer.mixExtGps(0); }, all(SILENT),
     NAVIGATION},
    {"alternative_steps", ALTERNATIVE, mixAlternative(steps(60, 100, 100, 98)), each(-20, 0, 0, -1),
     ALARM},
    {"alternative_dB", ALTERNATIVE, mixAlternative(gains(-12, -0.5F, 0, -6)),
     each(-12, -0.5, 0, -6), ALARM},
    {"alternative_for_others", MAIN, mixAlternative(gains(-12, -0.5F, 0, -6)), all(0)},
    {"two_loudspeakers", AUXILIARY,
     [](auto& s) {
         return s.source.setSpeakerOutPut(
             static_cast<audio_channel_idx_e>(AUDIO_CHANNEL_LF | AUDIO_CHANNEL_RS));
     },
     each(0, SILENT, SILENT, 0)},
};

INSTANTIATE_TEST_SUITE_P(Untouched, ToneOnFourLoudspeakers, ::testing::ValuesIn(NOTHING_SET),
                         ROW_NAME);
INSTANTIATE_TEST_SUITE_P(Volume, ToneOnFourLoudspeakers, ::testing::ValuesIn(VOLUMES), ROW_NAME);
INSTANTIATE_TEST_SUITE_P(Mute, ToneOnFourLoudspeakers, ::testing::ValuesIn(MUTES), ROW_NAME);
INSTANTIATE_TEST_SUITE_P(Duck, ToneOnFourLoudspeakers, ::testing::ValuesIn(DUCKS), ROW_NAME);
INSTANTIATE_TEST_SUITE_P(FadeAndBalance, ToneOnFourLoudspeakers,
                         ::testing::ValuesIn(FADES_AND_BALANCES), ROW_NAME);
INSTANTIATE_TEST_SUITE_P(Mixer, ToneOnFourLoudspeakers, ::testing::ValuesIn(MIXERS), ROW_NAME);

TEST(StereoTone, PlaysAtTheBackOnlyWithUpMix) {
    for (const unsigned mode : {0U, 1U}) {
        SCOPED_TRACE(mode);
        MeasuredServer server(CHANNELS);
        Settings settings;
        ASSERT_EQ(settings.mixer.setUpMixMode(mode), 0);
        {
            Stream stream("tone", MAIN, 2);
            ASSERT_TRUE(stream.play(tone(200 * PERIOD, 2)));
        }
        ASSERT_TRUE(server.stop());
        expectLevels(server, server.startOf("tone"),
                     mode == 0 ? each(0, 0, SILENT, SILENT) : all(0));
    }
}

// ---- Changes while it plays ---------------------------------------------------------------------

/// Level of a tone, period by period, when a setting changes in the middle: 12000 frames before the
/// change, 36000 after it.
class GainChange : public ::testing::Test {
protected:
    static constexpr std::size_t BEFORE = 250;  // periods
    static constexpr std::size_t AFTER = 750;

    void hear(const std::function<int()>& set) {
        Stream stream("tone", MAIN, 1);
        ASSERT_TRUE(stream.write(tone(BEFORE * PERIOD, 1)));
        ASSERT_TRUE(stream.isTaken());
        ASSERT_EQ(set(), 0);
        ASSERT_TRUE(stream.play(tone(AFTER * PERIOD, 1)));
        ASSERT_TRUE(server.stop());
        const auto samples = server.wav().channel(0);
        const std::size_t start = server.startOf("tone");
        ASSERT_GE(samples.size(), start + (BEFORE + AFTER) * PERIOD);
        for (std::size_t i = 0; i < BEFORE + AFTER; ++i) {
            const float* const period = samples.data() + start + i * PERIOD;
            mAmplitudes.push_back(amplitudeOf(FREQUENCY, RATE, period, PERIOD) / AMPLITUDE);
        }
    }

    /// Checks that the tone goes in a straight line from one amplitude to another, beginning with
    /// the change.
    void expectRamp(double from, double to, std::size_t periods) const {
        for (std::size_t i = 0; i < mAmplitudes.size(); ++i) {
            const double middle = static_cast<double>(i) + 0.5 - BEFORE;
            const double way = std::clamp(middle / static_cast<double>(periods), 0.0, 1.0);
            EXPECT_NEAR(mAmplitudes[i], from + (to - from) * way, 0.004) << "period " << i;
        }
        const std::size_t begin = firstAwayFrom(from);
        const auto end =
            std::find_if(mAmplitudes.begin() + static_cast<std::ptrdiff_t>(begin),
                         mAmplitudes.end(), [to](double a) { return std::fabs(a - to) < 1e-4; });
        EXPECT_NEAR(static_cast<double>(end - mAmplitudes.begin()) - static_cast<double>(begin),
                    static_cast<double>(periods), 2.0);
    }
    [[nodiscard]] std::size_t firstAwayFrom(double amplitude) const {
        const auto found =
            std::find_if(mAmplitudes.begin(), mAmplitudes.end(),
                         [amplitude](double a) { return std::fabs(a - amplitude) > 1e-4; });
        return static_cast<std::size_t>(found - mAmplitudes.begin());
    }

    MeasuredServer server{1};
    Settings settings;
    std::vector<double> mAmplitudes;
};

TEST_F(GainChange, DownwardsTakesTheTimeThatIsSet) {
    ASSERT_EQ(settings.volume.setMasterVolumeRampDuration(100, 300), 0);
    hear([this] { return settings.volume.setMasterVolume(-20.0F); });
    expectRamp(1, 0.1, 300);
}

TEST_F(GainChange, UpwardsTakesTheTimeThatIsSet) {
    ASSERT_EQ(settings.volume.setMasterVolumeRampDuration(150, 10), 0);
    ASSERT_EQ(settings.volume.setMasterVolume(-20.0F), 0);
    hear([this] { return settings.volume.setMasterVolume(6.0206F); });
    expectRamp(0.1, 2, 150);
}

TEST_F(GainChange, TakesTwentyMillisecondsByDefault) {
    hear([this] { return settings.volume.mute("main", true); });
    expectRamp(1, 0, 20);
}

TEST_F(GainChange, OfSeveralGainsIsOneRamp) {
    ASSERT_EQ(settings.volume.setMasterVolumeRampDuration(100, 200), 0);
    hear([this] {
        return settings.volume.setTrackVolume("main", "tone", -6.0206F) | settings.volume.duck(50);
    });
    expectRamp(1, 0.25, 200);
}

TEST_F(GainChange, IsImmediateWithoutARampTime) {
    ASSERT_EQ(settings.volume.setMasterVolumeRampDuration(0, 0), 0);
    hear([this] { return settings.volume.setMasterVolume(-20.0F); });
    EXPECT_NEAR(mAmplitudes[BEFORE - 1], 1, 1e-4);
    EXPECT_NEAR(mAmplitudes[BEFORE], 0.1, 1e-4);
}

TEST_F(GainChange, IsImmediateWhenRampsAreOff) {
    ASSERT_EQ(settings.volume.setMasterVolumeRampDuration(300, 300), 0);
    ASSERT_EQ(settings.source.setHwAutoRampMode(false), 0);
    hear([this] { return settings.volume.setMasterVolume(-20.0F); });
    EXPECT_NEAR(mAmplitudes[BEFORE - 1], 1, 1e-4);
    EXPECT_NEAR(mAmplitudes[BEFORE], 0.1, 1e-4);
}

// ---- Ducking by mode ----------------------------------------------------------------------------

/// Music at the server's own pace, with a prompt of half a second in it. Rings hold all of it, and
/// more music than is needed, so that a slow machine tears nothing.
class MusicDuringPrompt : public ::testing::Test {
protected:
    static constexpr std::size_t PROMPT_FRAMES = RATE / 2;
    static constexpr double PROMPT_FREQUENCY = 3000;

    void hear(AudioTagType tag, int type) {
        Stream music("music", MAIN, 2);
        ASSERT_TRUE(music.write(tone(std::size_t{4} * RATE, 2)));
        waitForMusic(RATE / 4);
        Stream prompt("prompt", tag, 2, type);
        ASSERT_TRUE(prompt.play(tone(PROMPT_FRAMES, 2, PROMPT_FREQUENCY)));
        waitForMusic(musicFrames() + RATE * 2 / 5);
        ASSERT_TRUE(server.stop());
        mSamples = server.wav().channel(1);
        mPrompt = server.startOf("prompt");
    }

    /// Of the music, 20 ms long, so many ms after the prompt began.
    [[nodiscard]] double musicAt(int ms) const { return levelAt(ms, FREQUENCY); }
    [[nodiscard]] double promptAt(int ms) const { return levelAt(ms, PROMPT_FREQUENCY); }

    MeasuredServer server{2, {"--ring-periods", "256"}};
    Settings settings;

private:
    [[nodiscard]] std::size_t musicFrames() {
        return streamOf(server.server(), "music").at("frames").get<std::size_t>();
    }
    void waitForMusic(std::size_t frames) {
        EXPECT_TRUE(eventually([&] { return musicFrames() >= frames; }, std::chrono::minutes(1)));
    }
    [[nodiscard]] double levelAt(int ms, double frequency) const {
        const auto from = static_cast<std::ptrdiff_t>(mPrompt) + ms * std::ptrdiff_t{PERIOD};
        return levelOf(mSamples, static_cast<std::size_t>(from), 20 * PERIOD, frequency);
    }

    std::vector<float> mSamples;
    std::size_t mPrompt = 0;
};

TEST_F(MusicDuringPrompt, IsDuckedInModeOne) {
    ASSERT_EQ(settings.volume.setMainAudioDunkingMode(1), 0);
    ASSERT_EQ(settings.volume.setMainAudioDunkingTargetGain(-14.0F), 0);
    hear(ALTERNATIVE, BY_TAG);
    EXPECT_NEAR(musicAt(-20), 0, TOLERANCE);
    for (int ms = 40; ms < 680; ms += 20)
        EXPECT_NEAR(musicAt(ms), -14, TOLERANCE) << ms << " ms after the prompt began";
    EXPECT_NEAR(musicAt(760), 0, TOLERANCE) << "the prompt has been over for a fifth of a second";
    EXPECT_NEAR(promptAt(240), 0, TOLERANCE);
}

TEST_F(MusicDuringPrompt, IsDuckedByNavigationOfAnyTag) {
    ASSERT_EQ(settings.volume.setMainAudioDunkingMode(1), 0);
    ASSERT_EQ(settings.volume.setMainAudioDunkingTargetGain(step(60)), 0);
    ASSERT_EQ(settings.volume.duck(50), 0);
    hear(AUXILIARY, NAVIGATION);
    EXPECT_NEAR(musicAt(-20), -6.02, TOLERANCE);
    EXPECT_NEAR(musicAt(240), -20, TOLERANCE) << "the softer of both";
    EXPECT_NEAR(musicAt(760), -6.02, TOLERANCE);
}

TEST_F(MusicDuringPrompt, IsNotDuckedByAMutedPrompt) {
    ASSERT_EQ(settings.volume.setMainAudioDunkingMode(1), 0);
    ASSERT_EQ(settings.volume.mute("alternative", true), 0);
    hear(ALTERNATIVE, BY_TAG);
    EXPECT_NEAR(musicAt(240), 0, TOLERANCE);
}

TEST_F(MusicDuringPrompt, IsNotDuckedInModeZero) {
    hear(ALTERNATIVE, BY_TAG);
    EXPECT_NEAR(musicAt(240), 0, TOLERANCE);
    EXPECT_NEAR(promptAt(240), 0, TOLERANCE);
}

// ---- Sources ------------------------------------------------------------------------------------

TEST(MainOutput, PlaysTheSelectedSource) {
    MeasuredServer server(2);
    Settings settings;
    Stream radio("radio", MAIN, 2);
    Stream music("music", MAIN, 2);  // takes the source
    EXPECT_TRUE(radio.hasRing(false));
    ASSERT_TRUE(music.play(tone(200 * PERIOD, 2, 3000)));
    ASSERT_EQ(settings.source.setOutPutSource("radio", "main"), 0);
    EXPECT_TRUE(radio.hasRing(true));
    EXPECT_TRUE(music.hasRing(false));
    ASSERT_TRUE(radio.play(tone(200 * PERIOD, 2)));
    ASSERT_TRUE(server.stop());
    const auto heard = server.wav().channel(0);
    const std::size_t start = server.startOf("radio");
    EXPECT_EQ(start, server.startOf("music") + 200 * PERIOD);
    EXPECT_NEAR(levelOf(heard, start, 200 * PERIOD), 0, TOLERANCE);
    EXPECT_LT(levelOf(heard, start, 200 * PERIOD, 3000), -100);
    EXPECT_NEAR(levelOf(heard, start - 200 * PERIOD, 200 * PERIOD, 3000), 0, TOLERANCE);
}

// ---- Loudspeakers -------------------------------------------------------------------------------

TEST(Loudspeaker, PlaysLaterWithADelay) {
    MeasuredServer server(2);
    Settings settings;
    ASSERT_EQ(settings.app.setSpeakerDelay(AUDIO_CHANNEL_RF, 5.0F), 0);
    {
        Stream stream("click", MAIN, 2);
        Samples click(2000);
        click[100] = click[101] = 1 << 30;
        click[1998] = click[1999] = 1 << 29;  // the last frame
        ASSERT_TRUE(stream.play(click));
    }
    EXPECT_TRUE(
        eventually([&] { return outputFrames(server.server()) == 1240; }, std::chrono::minutes(1)));
    ASSERT_TRUE(server.stop());
    std::vector<float> left(1240);
    left[50] = 0.5F;
    left[999] = 0.25F;
    std::vector<float> right(1240);
    right[290] = 0.5F;
    right[1239] = 0.25F;
    EXPECT_EQ(server.wav().channel(0), left);
    EXPECT_EQ(server.wav().channel(1), right);
}

TEST(Loudspeaker, HasNoDelayInBypassMode) {
    MeasuredServer server(2);
    Settings settings;
    ASSERT_EQ(settings.app.setSpeakerDelay(AUDIO_CHANNEL_RF, 5.0F), 0);
    ASSERT_EQ(settings.app.enableByPassMode(), 0);
    Stream stream("click", MAIN, 2);
    Samples click(2000);
    click[100] = click[101] = 1 << 30;
    ASSERT_TRUE(stream.play(click));
    ASSERT_TRUE(server.stop());
    EXPECT_EQ(server.wav().channel(0), server.wav().channel(1));
    EXPECT_EQ(server.wav().channel(1)[50], 0.5F);
}

TEST(Loudspeaker, PlaysItsTestToneAlone) {
    MeasuredServer server(CHANNELS, {});
    Settings settings;
    ASSERT_EQ(settings.source.setMainAudioSpeakerTestPattern(AUDIO_CHANNEL_LS, 440), 0);
    ASSERT_TRUE(eventually([&] { return outputFrames(server.server()) >= RATE / 2; },
                           std::chrono::minutes(1)))
        << "no stream is needed";
    ASSERT_TRUE(server.stop());
    EXPECT_NEAR(amplitudeOf(440, RATE, server.wav().channel(2).data(), RATE / 4), 0.1, 0.0005);
    for (const unsigned channel : {0U, 1U, 3U})
        EXPECT_EQ(levelOf(server.wav().channel(channel), 0, RATE / 4), SILENT);
}

TEST(Meters, FollowTheOutputAndFallToZero) {
    const RealServer server({"--output", "null", "--channels", "2"});
    Settings settings;
    const auto energy = [&] {
        audio_out_data_energy_t result = {};
        EXPECT_EQ(settings.app.getOutPutDataEnergy(&result), 0);
        return result;
    };
    EXPECT_EQ(energy().opaque0[0], 0U);
    ASSERT_EQ(settings.source.setMainAudioSpeakerTestPattern(AUDIO_CHANNEL_LF, 600), 0);
    const double rms = 0.1 / std::numbers::sqrt2;
    const auto isThere = [&] { return energy().opaque0[0] > 0.999e6 * rms; };
    ASSERT_TRUE(eventually(isThere, std::chrono::minutes(1)));
    EXPECT_NEAR(energy().opaque0[0], 1e6 * rms, 500);
    EXPECT_EQ(energy().opaque0[1], 0U);

    audio_eq_spectrum_t spectrum = {};
    ASSERT_EQ(settings.app.getEqualizerSpectrum(&spectrum), 0);
    EXPECT_NEAR(spectrum.opaque0[1], 1e6 * rms / std::numbers::sqrt2, 500)
        << "250 to 1000 Hz, the mean of two loudspeakers";
    for (const std::size_t band : {0U, 2U, 3U})
        EXPECT_LT(spectrum.opaque0[band], 500U) << band;

    const auto none = static_cast<audio_speaker_test_pattern_e>(0);
    ASSERT_EQ(settings.source.setMainAudioSpeakerTestPattern(AUDIO_CHANNEL_LF, none), 0);
    EXPECT_TRUE(eventually([&] { return energy().opaque0[0] == 0; }, std::chrono::minutes(1)));
}

// ---- What is recorded ---------------------------------------------------------------------------

struct RecordedRow {
    AudioTagType tag;
    std::function<int(Settings&)> set;
    std::array<double, 2> levels;  // against the tone of half full scale
};

TEST(RecordedInput, HasTheGainOfItsInput) {
    const auto mux0 = AUDIO_INPUT_MUX_0;
    const RecordedRow rows[] = {
        {AUDIO_TAG_UPLINK, [](Settings&) { return 0; }, {0, 0}},
        {AUDIO_TAG_UPLINK, [](Settings& s) { return s.volume.setUpLinkGain(-12.0F); }, {-12, -12}},
        {AUDIO_TAG_UPLINK,
         [](Settings& s) { return s.volume.setAdcPgaGain(mux0, -6.0F, 3.0F); },
         {-6, 3}},
        {AUDIO_TAG_UPLINK,
         [](Settings& s) { return s.volume.setMicAnalogGain(-10, -20); },
         {-10, -20}},
        {AUDIO_TAG_INPUT0,
         [](Settings& s) { return s.volume.setAdcOpGain(mux0, -9.0F, 0.0F); },
         {-9, 0}},
        {AUDIO_TAG_INPUT0, [](Settings& s) { return s.volume.setUpLinkGain(-12.0F); }, {0, 0}},
    };
    for (const RecordedRow& row : rows) {
        SCOPED_TRACE(&row - rows);
        const RealServer server({"--output", "null", "--fast", "--input", "tone:1000"});
        Settings settings;
        ASSERT_EQ(row.set(settings), 0);
        RawRecorder recorder("recorder", row.tag, pcm(RATE, 2, 16));
        ASSERT_EQ(recorder.start(), 0);
        if (row.tag == AUDIO_TAG_UPLINK) {
            ASSERT_TRUE(recorder.mapWhenReady());
        }
        const auto samples = recorder.readSamples(2 * 100 * PERIOD);
        for (std::size_t channel = 0; channel < 2; ++channel) {
            std::vector<float> one;
            for (std::size_t i = channel; i < samples.size(); i += 2)
                one.push_back(static_cast<float>(samples[i]) / 32768.0F);
            const double amplitude = amplitudeOf(FREQUENCY, RATE, one.data(), one.size());
            EXPECT_NEAR(20 * std::log10(amplitude / 0.5), row.levels[channel], TOLERANCE);
        }
    }
}

}  // namespace
}  // namespace cabinaudio::test
