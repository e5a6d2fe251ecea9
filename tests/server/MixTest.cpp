// SPDX-License-Identifier: Apache-2.0
//
// The effect of settings on the parts of the server's mix, without the server.
#include <cabinaudio/QVAudioTypes.h>
#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/mix/DelayLine.h"
#include "devkit/server/mix/Ducking.h"
#include "devkit/server/mix/GainMatrix.h"
#include "devkit/server/mix/InputGain.h"
#include "devkit/server/mix/LoudspeakerPath.h"
#include "devkit/server/mix/Meter.h"
#include "devkit/server/mix/Ramp.h"
#include "devkit/server/mix/SpeakerTest.h"
#include "devkit/server/mix/Spectrum.h"
#include "devkit/server/mix/StreamGains.h"
#include "devkit/server/settings/GainCurve.h"
#include "tests/support/Row.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <numeric>
#include <string>
#include <vector>

namespace cabinaudio::server {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::FloatEq;
using ::testing::FloatNear;

constexpr float HALF = -6.0206F;  // dB
constexpr float SILENT = 0.0F;
constexpr std::uint32_t RATE = 48000;

// ---- The curve ----------------------------------------------------------------------------------

TEST(GainCurve, IsHalfADecibelAStepAroundStepHundred) {
    EXPECT_EQ(gain::ofStep(0), -103.5F);
    EXPECT_EQ(gain::ofStep(1), -49.5F);
    EXPECT_EQ(gain::ofStep(40), -30.0F);
    EXPECT_EQ(gain::ofStep(99), -0.5F);
    EXPECT_EQ(gain::ofStep(100), 0.0F);
    EXPECT_EQ(gain::ofStep(148), 24.0F);
}

TEST(GainCurve, MapsEachStepToADbValueAndBack) {
    for (int step = 0; step <= 148; ++step) {
        const auto narrow = static_cast<std::uint8_t>(step);
        EXPECT_EQ(gain::stepOf(gain::ofStep(narrow)), narrow);
    }
    EXPECT_EQ(gain::stepOf(-0.2F), 100);
    EXPECT_EQ(gain::stepOf(-0.3F), 99);
    EXPECT_EQ(gain::stepOf(-60.0F), 0);
    EXPECT_EQ(gain::stepOf(30.0F), 148);
}

TEST(GainCurve, EndsInSilenceAndKeepsUnityExact) {
    EXPECT_EQ(gain::factorOf(0.0F), 1.0F);
    EXPECT_EQ(gain::factorOf(-103.5F), 0.0F);
    EXPECT_EQ(gain::factorOf(-200.0F), 0.0F);
    EXPECT_GT(gain::factorOf(-103.4F), 0.0F);
    EXPECT_FLOAT_EQ(gain::factorOf(-20.0F), 0.1F);
    EXPECT_FLOAT_EQ(gain::factorOf(20.0F), 10.0F);
}

// ---- Gains of a stream --------------------------------------------------------------------------

StreamRecord streamOf(AudioTagType tag, const std::string& type) {
    StreamRecord stream;
    stream.name = "stream";
    stream.tag = tag;
    stream.type = type;
    return stream;
}

const StreamRecord MUSIC = streamOf(AUDIO_TAG_MAIN, "media");
const StreamRecord PROMPT = streamOf(AUDIO_TAG_ALTERNATIVE, "navigation");
const StreamRecord CHIME = streamOf(AUDIO_TAG_AUXILIARY, "system");
const StreamRecord CALL = streamOf(AUDIO_TAG_OUTPUT_INVOCATION, "voice");

/// Gains of four channels in a four-channel output, each in its own.
std::array<float, 4> heard(const StreamRecord& stream, const SettingsData& settings,
                           bool isPromptHeard = false) {
    const StreamGains gains = gainsOf(stream, settings, isPromptHeard);
    std::array<float, 4> factors{};
    for (std::size_t i = 0; i < factors.size(); ++i)
        factors[i] = gains.factor(i, i, factors.size());
    return factors;
}

struct GainRow : test::Row {
    std::function<void(SettingsData&)> set;
    // The factors of all four channels, or those of each.
    float music, prompt, chime, call;
};

class EveryStream : public ::testing::TestWithParam<GainRow> {};

TEST_P(EveryStream, HasItsGain) {
    SettingsData settings;
    GetParam().set(settings);
    EXPECT_THAT(heard(MUSIC, settings), Each(FloatNear(GetParam().music, 1e-5F)));
    EXPECT_THAT(heard(PROMPT, settings), Each(FloatNear(GetParam().prompt, 1e-5F)));
    EXPECT_THAT(heard(CHIME, settings), Each(FloatNear(GetParam().chime, 1e-5F)));
    EXPECT_THAT(heard(CALL, settings), Each(FloatNear(GetParam().call, 1e-5F)));
}

const GainRow GAIN_ROWS[] = {
    {"nothing", [](SettingsData&) {}, 1, 1, 1, 1},
    {"master", [](SettingsData& s) { s.volume.master = HALF; }, 0.5F, 0.5F, 0.5F, 0.5F},
    {"silent_master", [](SettingsData& s) { s.volume.master = -103.5F; }, 0, 0, 0, 0},
    {"alternative", [](SettingsData& s) { s.volume.alternative = HALF; }, 1, 0.5F, 1, 1},
    {"second", [](SettingsData& s) { s.volume.second = HALF; }, 1, 1, 1, 0.5F},
    {"type_media", [](SettingsData& s) { s.volume.streamTypes["media"] = HALF; }, 0.5F, 1, 1, 1},
    {"type_voice", [](SettingsData& s) { s.volume.streamTypes["voice"] = 20; }, 1, 1, 1, 10},
    {"track",
     [](SettingsData& s) {
         s.volume.tracks[{"auxiliary", "stream"}].gain = HALF;
     },
     1, 1, 0.5F, 1},
    {"another_track",
     [](SettingsData& s) {
         s.volume.tracks[{"main", "x"}].gain = HALF;
     },
     1, 1, 1, 1},
    {"mute_main", [](SettingsData& s) { s.volume.mutedPaths = 1; }, 0, 1, 1, 1},
    {"mute_alternative", [](SettingsData& s) { s.volume.mutedPaths = 2; }, 1, 0, 1, 1},
    {"mute_second", [](SettingsData& s) { s.volume.mutedPaths = 4; }, 1, 1, 1, 0},
    {"mute_auxiliary", [](SettingsData& s) { s.volume.mutedPaths = 8; }, 1, 1, 0, 1},
    {"mute_all", [](SettingsData& s) { s.volume.mutedPaths = 15; }, 0, 0, 0, 0},
    {"duck", [](SettingsData& s) { s.volume.duckPercent = 30; }, 0.7F, 1, 1, 1},
    {"duck_all", [](SettingsData& s) { s.volume.duckPercent = 100; }, 0, 1, 1, 1},
    {"channels", [](SettingsData& s) { s.volume.channels.fill(HALF); }, 0.5F, 1, 1, 1},
    {"navigation", [](SettingsData& s) { s.mixer.navigation.fill(HALF); }, 1, 0.5F, 1, 1},
    {"no_navigation", [](SettingsData& s) { s.mixer.navigationMode = 0; }, 1, 0, 1, 1},
    {"mixed_alternative", [](SettingsData& s) { s.mixer.alternative.fill(HALF); }, 1, 0.5F, 1, 1},
    {"all_at_once",
     [](SettingsData& s) {
         s.volume.master = s.volume.alternative = s.volume.streamTypes["navigation"] = HALF;
         s.mixer.navigation.fill(HALF);
         s.mixer.alternative.fill(HALF);
         s.volume.duckPercent = 50;
     },
     0.25F, 0.03125F, 0.5F, 0.5F},
};

INSTANTIATE_TEST_SUITE_P(By, EveryStream, ::testing::ValuesIn(GAIN_ROWS), test::ROW_NAME);

TEST(StreamGains, FollowTheGainsOfTheLoudspeakers) {
    SettingsData settings;
    settings.volume.channels = {HALF, 0, -103.5F, 20, 0, 0};
    EXPECT_THAT(heard(MUSIC, settings), ElementsAre(FloatNear(0.5F, 1e-5F), 1, SILENT, 10));
    EXPECT_THAT(heard(PROMPT, settings), Each(1.0F));
    settings.mixer.navigation = {-103.5F, 0, HALF, 0};
    settings.mixer.alternative = {0, HALF, HALF, 0};
    EXPECT_THAT(heard(PROMPT, settings),
                ElementsAre(SILENT, FloatNear(0.5F, 1e-5F), FloatNear(0.25F, 1e-5F), 1));
}

TEST(StreamGains, FollowTheGainsOfItsChannels) {
    SettingsData settings;
    settings.volume.tracks[{"auxiliary", "stream"}].channels = {HALF, -103.5F, 0, 20};
    EXPECT_THAT(heard(CHIME, settings), ElementsAre(FloatNear(0.5F, 1e-5F), SILENT, 1, 10));
    const StreamGains gains = gainsOf(CHIME, settings, false);
    EXPECT_FLOAT_EQ(gains.factor(3, 0, 2), 10) << "wherever it is folded to";
}

TEST(StreamGains, AreZeroOnLoudspeakersThatAreOff) {
    SettingsData settings;
    settings.source.speakers = audio::AUDIO_CHANNEL_RF | audio::AUDIO_CHANNEL_LS;
    EXPECT_THAT(heard(MUSIC, settings), ElementsAre(SILENT, 1, 1, SILENT));
    EXPECT_THAT(heard(PROMPT, settings), ElementsAre(SILENT, 1, 1, SILENT));
}

TEST(StreamGains, AreTheFrontMeanInAMonoOutput) {
    SettingsData settings;
    settings.volume.channels[0] = -103.5F;
    EXPECT_EQ(gainsOf(MUSIC, settings, false).factor(0, 0, 1), 0.5F);
    settings.volume.channels[1] = 20;
    EXPECT_FLOAT_EQ(gainsOf(MUSIC, settings, false).factor(0, 0, 1), 5);
}

TEST(StreamGains, AreUnityOnChannelsWithoutALoudspeaker) {
    SettingsData settings;
    settings.volume.channels.fill(-103.5F);
    settings.source.speakers = 0;
    EXPECT_EQ(gainsOf(MUSIC, settings, false).factor(0, 6, 8), 1.0F);
    EXPECT_EQ(gainsOf(MUSIC, settings, false).factor(0, 5, 8), SILENT);
}

TEST(MainAudio, IsDuckedByPromptsInModeOne) {
    SettingsData settings;
    settings.volume.duckingTarget = -20;
    EXPECT_THAT(heard(MUSIC, settings, true), Each(1.0F)) << "not in mode 0";
    settings.volume.duckingMode = 1;
    EXPECT_THAT(heard(MUSIC, settings, true), Each(FloatEq(0.1F)));
    EXPECT_THAT(heard(MUSIC, settings, false), Each(1.0F));
    EXPECT_THAT(heard(PROMPT, settings, true), Each(1.0F));
    EXPECT_THAT(heard(CHIME, settings, true), Each(1.0F));
}

TEST(MainAudio, IsDuckedByTheSofterOfTwoGains) {
    VolumeSettings volume;
    volume.duckingMode = 1;
    volume.duckingTarget = -20;
    volume.duckPercent = 50;
    EXPECT_FLOAT_EQ(duckingOf(volume, true), 0.1F);
    EXPECT_FLOAT_EQ(duckingOf(volume, false), 0.5F);
    volume.duckPercent = 95;
    EXPECT_FLOAT_EQ(duckingOf(volume, true), 0.05F);
}

TEST(Prompt, IsAlternativeOrNavigation) {
    EXPECT_TRUE(isPrompt(PROMPT));
    EXPECT_TRUE(isPrompt(streamOf(AUDIO_TAG_ALTERNATIVE, "media")));
    EXPECT_TRUE(isPrompt(streamOf(AUDIO_TAG_AUXILIARY, "navigation")));
    EXPECT_FALSE(isPrompt(MUSIC));
    EXPECT_FALSE(isPrompt(streamOf(AUDIO_TAG_MAIN, "navigation"))) << "it gives way itself";
    EXPECT_FALSE(isPrompt(CHIME));
}

TEST(RampLength, DependsOnTheDirection) {
    SettingsData settings;
    settings.volume.rampUpMs = 300;
    settings.volume.rampDownMs = 50;
    EXPECT_EQ(rampOf(settings, RATE).up, 14400U);
    EXPECT_EQ(rampOf(settings, RATE).down, 2400U);
    settings.source.isAutoRamped = false;
    EXPECT_EQ(rampOf(settings, RATE).up, 0U);
    EXPECT_EQ(rampOf(settings, RATE).down, 0U);
}

TEST(RampLength, IsBoundedForExtremeSettings) {
    SettingsData settings;
    settings.volume.rampUpMs = std::numeric_limits<float>::infinity();
    settings.volume.rampDownMs = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(rampOf(settings, RATE).up, 60U * RATE);
    EXPECT_EQ(rampOf(settings, RATE).down, 0U);
    settings.volume.rampUpMs = -1;
    EXPECT_EQ(rampOf(settings, RATE).up, 0U);
}

// ---- Gains of what is recorded ------------------------------------------------------------------

TEST(RecordedInput, HasTheGainOfItsInput) {
    VolumeSettings volume;
    for (const AudioTagType tag : {AUDIO_TAG_UPLINK, AUDIO_TAG_INPUT0, AUDIO_TAG_INPUT1,
                                   AUDIO_TAG_INPUT2, AUDIO_TAG_INPUT_FRONT_FEEDBACK}) {
        EXPECT_EQ(inputGainOf(tag, 0, volume), 1.0F);
    }
    volume.uplink = 20;
    volume.inputs[0] = {{HALF, 20}, {HALF, 0}};
    volume.inputs[1] = {{0, -20}, {0, -103.5F}};
    EXPECT_NEAR(inputGainOf(AUDIO_TAG_UPLINK, 0, volume), 2.5F, 1e-4F);
    EXPECT_NEAR(inputGainOf(AUDIO_TAG_UPLINK, 1, volume), 100, 1e-3F);
    EXPECT_NEAR(inputGainOf(AUDIO_TAG_UPLINK, 2, volume), 2.5F, 1e-4F);
    EXPECT_NEAR(inputGainOf(AUDIO_TAG_INPUT0, 0, volume), 0.25F, 1e-5F);
    EXPECT_EQ(inputGainOf(AUDIO_TAG_INPUT1, 0, volume), 1.0F);
    EXPECT_EQ(inputGainOf(AUDIO_TAG_INPUT1, 1, volume), SILENT);
    EXPECT_EQ(inputGainOf(AUDIO_TAG_INPUT2, 0, volume), 1.0F);
}

// ---- Ramps --------------------------------------------------------------------------------------

std::vector<float> next(Ramp& ramp, std::size_t count) {
    std::vector<float> values(count);
    std::generate(values.begin(), values.end(), [&] { return ramp.next(); });
    return values;
}

TEST(Ramp, IsLinearAndMeetsItsTargetExactly) {
    Ramp ramp(1);
    ramp.aim(0, {10, 4});
    EXPECT_THAT(next(ramp, 5), ElementsAre(0.75F, 0.5F, 0.25F, 0, 0));
    ramp.aim(1, {5, 1});
    EXPECT_THAT(next(ramp, 6),
                ElementsAre(FloatEq(0.2F), FloatEq(0.4F), FloatEq(0.6F), FloatEq(0.8F), 1, 1));
    EXPECT_FALSE(ramp.isMoving());
}

TEST(Ramp, ReachesItsTargetAtOnceWithoutFrames) {
    Ramp ramp(1);
    ramp.aim(0.25F, {10, 0});
    EXPECT_FALSE(ramp.isMoving());
    EXPECT_EQ(ramp.next(), 0.25F);
}

TEST(Ramp, ContinuesFromItsValueWhenTheTargetChanges) {
    Ramp ramp(0);
    ramp.aim(1, {4, 4});
    next(ramp, 2);
    ramp.aim(0, {4, 2});
    EXPECT_THAT(next(ramp, 3), ElementsAre(0.25F, 0, 0));
}

TEST(Ramp, IsNotDelayedByTheSameTarget) {
    Ramp ramp(0);
    ramp.aim(1, {4, 4});
    next(ramp, 3);
    ramp.aim(1, {4, 4});
    EXPECT_EQ(ramp.next(), 1.0F);
    ramp.aim(0, {4, 4});
    ramp.aim(0, {});
    EXPECT_EQ(ramp.value(), 0.0F) << "without frames it ends";
}

TEST(Ramp, MeetsItsTargetAfterMillionsOfFrames) {
    Ramp ramp(0.1F);
    ramp.aim(0.7F, {2'880'000, 0});
    const auto values = next(ramp, 2'880'000);
    EXPECT_NEAR(values[1'439'999], 0.4F, 1e-6F);
    EXPECT_LT(values[2'879'998], 0.7F);
    EXPECT_EQ(values.back(), 0.7F);
}

// ---- The matrix with gains ----------------------------------------------------------------------

std::vector<float> added(GainMatrix& matrix, std::size_t outputs, std::vector<float> in,
                         std::size_t frames = 1) {
    std::vector<float> out(frames * outputs, 0.0F);
    matrix.add(in.data(), frames, out.data());
    return out;
}

TEST(GainMatrix, PassesSamplesUnchangedAtUnityGain) {
    GainMatrix matrix(2, 2);
    const std::vector<float> in = {1.0F / 3, -1.0F / 32768, 0.999969F, 1e-20F};
    EXPECT_EQ(added(matrix, 2, in, 2), in);
    StreamGains half;
    half.common = 0.5F;
    matrix.set(half, {});
    EXPECT_THAT(added(matrix, 2, {0.5F, 1}), ElementsAre(0.25F, 0.5F));
    matrix.set({}, {});
    EXPECT_EQ(added(matrix, 2, in, 2), in);
}

TEST(GainMatrix, ChangesFrameByFrame) {
    GainMatrix matrix(1, 2);
    StreamGains gains;
    gains.loudspeakers[1] = 0.0F;
    matrix.set(gains, {0, 4});
    EXPECT_THAT(added(matrix, 2, {1, 1, 1, 1, 1}, 5),
                ElementsAre(1, 0.75F, 1, 0.5F, 1, 0.25F, 1, 0, 1, 0));
    EXPECT_FALSE(matrix.isSilent());
    gains.common = 0.0F;
    matrix.set(gains, {});
    EXPECT_TRUE(matrix.isSilent());
    EXPECT_THAT(added(matrix, 2, {1}), ElementsAre(0, 0));
}

TEST(GainMatrix, UpMixesMonoAndStereoToTheBack) {
    StreamGains upMixed;
    upMixed.isUpMixed = true;
    GainMatrix mono(1, 4);
    mono.set(upMixed, {});
    EXPECT_THAT(added(mono, 4, {0.5F}), Each(0.5F));
    GainMatrix stereo(2, 6);
    stereo.set(upMixed, {});
    EXPECT_THAT(added(stereo, 6, {0.5F, 0.25F}), ElementsAre(0.5F, 0.25F, 0.5F, 0.25F, 0, 0));
    GainMatrix front(2, 2);
    front.set(upMixed, {});
    EXPECT_THAT(added(front, 2, {0.5F, 0.25F}), ElementsAre(0.5F, 0.25F));
    GainMatrix quad(4, 4);
    quad.set(upMixed, {});
    EXPECT_THAT(added(quad, 4, {1, 0, 0, 0}), ElementsAre(1, 0, 0, 0));
}

// ---- Ducking ------------------------------------------------------------------------------------

TEST(Ducking, HoldsFor200Milliseconds) {
    Ducking ducking(RATE);
    EXPECT_FALSE(ducking.mixed(false, 768));
    EXPECT_TRUE(ducking.mixed(true, 768)) << "changed";
    EXPECT_TRUE(ducking.isPromptHeard());
    EXPECT_FALSE(ducking.mixed(true, 768)) << "did not change";
    EXPECT_FALSE(ducking.mixed(false, 9599));
    EXPECT_TRUE(ducking.isPromptHeard());
    EXPECT_TRUE(ducking.mixed(false, 1));
    EXPECT_FALSE(ducking.isPromptHeard());
    ducking.mixed(true, 1);
    ducking.reset();
    EXPECT_FALSE(ducking.isPromptHeard());
}

// ---- Delays -------------------------------------------------------------------------------------

std::vector<float> delayed(DelayLine& line, std::vector<float> samples) {
    for (float& sample : samples)
        sample = line.next(sample);
    return samples;
}

TEST(DelayLine, ReturnsSamplesAfterItsDelay) {
    DelayLine line(3);
    EXPECT_THAT(delayed(line, {1, 2, 3}), ElementsAre(1, 2, 3)) << "without a delay";
    line.set(2);
    EXPECT_THAT(delayed(line, {4, 5, 6, 7, 8, 9}), ElementsAre(0, 0, 4, 5, 6, 7));
    line.set(3);
    EXPECT_THAT(delayed(line, {10}), ElementsAre(7));
    line.set(100);
    EXPECT_EQ(line.delay(), 3U);
    line.set(0);
    EXPECT_THAT(delayed(line, {11}), ElementsAre(11));
    line.set(3);
    line.clear();
    EXPECT_THAT(delayed(line, {12, 13, 14, 15}), ElementsAre(0, 0, 0, 12));
}

std::vector<float> processed(LoudspeakerPath& path, std::vector<float> mix) {
    path.process(mix);
    return mix;
}

TEST(LoudspeakerPath, DelaysEachLoudspeaker) {
    LoudspeakerPath path(1000, 2);
    SettingsData settings;
    settings.app.speakerDelaysUs = {0, 1400, 5000, 0, 0, 0};  // the output has no LS
    path.set(settings);
    EXPECT_EQ(path.heldFrames(), 0U) << "nothing came in";
    EXPECT_THAT(processed(path, {1, 2, 3, 4}), ElementsAre(1, 0, 3, 2));
    EXPECT_EQ(path.heldFrames(), 1U);
    EXPECT_THAT(processed(path, {0, 0}), ElementsAre(0, 4));
    EXPECT_EQ(path.heldFrames(), 0U);
}

TEST(LoudspeakerPath, LeavesDelaysOutWhenBypassed) {
    LoudspeakerPath path(1000, 1);
    SettingsData settings;
    settings.app.speakerDelaysUs.fill(2'000'000'000);
    path.set(settings);
    processed(path, {1});
    EXPECT_EQ(path.heldFrames(), 1000U) << "a second at most";
    settings.app.isBypassed = true;
    path.set(settings);
    EXPECT_EQ(path.heldFrames(), 0U);
    EXPECT_THAT(processed(path, {0.5F}), ElementsAre(0.5F));
}

TEST(LoudspeakerPath, ForgetsHeldSamplesWhenCleared) {
    LoudspeakerPath path(1000, 1);
    SettingsData settings;
    settings.app.speakerDelaysUs.fill(3000);
    path.set(settings);
    processed(path, {1, 1, 1});
    path.clear();
    EXPECT_EQ(path.heldFrames(), 0U);
    EXPECT_THAT(processed(path, {0, 0, 0}), Each(0.0F));
    EXPECT_EQ(path.meter().levels().rms[0], 0.0F);
}

// ---- Sounds to be measured ----------------------------------------------------------------------

std::vector<float> sine(double frequency, float amplitude, std::size_t count,
                        std::uint32_t rate = RATE) {
    std::vector<float> samples(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double turns = frequency * static_cast<double>(i) / rate;
        samples[i] = amplitude * static_cast<float>(std::sin(2 * std::numbers::pi * turns));
    }
    return samples;
}

float rmsOf(const std::vector<float>& samples, std::size_t channel, std::size_t channels) {
    double sum = 0;
    for (std::size_t i = channel; i < samples.size(); i += channels)
        sum += static_cast<double>(samples[i]) * samples[i];
    return static_cast<float>(
        std::sqrt(sum * static_cast<double>(channels) / static_cast<double>(samples.size())));
}

// ---- The test of loudspeakers -------------------------------------------------------------------

std::vector<float> tested(const SourceSettings& source, unsigned channels) {
    SpeakerTest test(RATE, channels);
    test.set(source);
    std::vector<float> mix(std::size_t{RATE} * channels);
    test.addTo(mix);
    return mix;
}

TEST(SpeakerTest, IsATwentyDecibelTone) {
    SourceSettings source;
    source.test = {audio::AUDIO_CHANNEL_RF, 0, 480};
    const auto mix = tested(source, 2);
    const auto expected = sine(480, 0.1F, RATE);
    for (std::size_t i = 0; i < RATE; ++i) {
        ASSERT_EQ(mix[2 * i], 0.0F);
        ASSERT_NEAR(mix[2 * i + 1], expected[i], 1e-5F) << i;
    }
}

TEST(SpeakerTest, IsNoiseOfTheSamePower) {
    SourceSettings source;
    source.test = {audio::AUDIO_CHANNEL_LF | audio::AUDIO_CHANNEL_LS, 1, 0};
    const auto mix = tested(source, 4);
    EXPECT_NEAR(rmsOf(mix, 0, 4), 0.0707F, 0.001F);
    EXPECT_EQ(rmsOf(mix, 1, 4), 0.0F);
    EXPECT_EQ(rmsOf(mix, 2, 4), rmsOf(mix, 0, 4));
    EXPECT_EQ(rmsOf(mix, 3, 4), 0.0F);
    double next = 0;
    for (std::size_t i = 4; i < mix.size(); i += 4)
        next += static_cast<double>(mix[i]) * mix[i - 4];
    EXPECT_LT(std::fabs(next / RATE), 0.0001) << "neighbours have nothing to do with each other";
}

TEST(SpeakerTest, PlaysFromAFrontLoudspeakerInAMonoOutput) {
    SourceSettings source;
    source.test = {audio::AUDIO_CHANNEL_RF, 0, 1000};
    EXPECT_NEAR(rmsOf(tested(source, 1), 0, 1), 0.0707F, 0.0001F);
    source.test.channels = audio::AUDIO_CHANNEL_LS;
    EXPECT_EQ(rmsOf(tested(source, 1), 0, 1), 0.0F);
}

TEST(SpeakerTest, IsSilentWithoutALoudspeakerOrAPlayableTone) {
    SourceSettings source;
    source.test = {audio::AUDIO_CHANNEL_LF, 0, 1000};
    EXPECT_GT(rmsOf(tested(source, 2), 0, 2), 0.0F);
    source.speakers = audio::AUDIO_CHANNEL_RF;
    EXPECT_EQ(rmsOf(tested(source, 2), 0, 2), 0.0F);
    source.speakers = 0x3F;
    source.test.frequency = 24000;
    EXPECT_EQ(rmsOf(tested(source, 2), 0, 2), 0.0F);
    source.test = {};
    EXPECT_EQ(rmsOf(tested(source, 2), 0, 2), 0.0F);
}

// ---- Meters -------------------------------------------------------------------------------------

TEST(Spectrum, HoldsThePowerOfASound) {
    Spectrum spectrum(4096);
    const auto powers = spectrum.powersOf(sine(1000, 0.5F, 4096));
    ASSERT_EQ(powers.size(), 2049U);
    EXPECT_NEAR(std::accumulate(powers.begin(), powers.end(), 0.0), 0.125, 0.0005);
    const auto peak = std::max_element(powers.begin(), powers.end()) - powers.begin();
    EXPECT_EQ(peak, 85) << "1000 Hz";
    const auto constant = spectrum.powersOf(std::vector<float>(4096, 0.5F));
    EXPECT_NEAR(std::accumulate(constant.begin(), constant.end(), 0.0), 0.25, 0.0005);
}

TEST(Meter, MeasuresEachLoudspeaker) {
    Meter meter(RATE, 4);
    const auto tone = sine(1500, 1, RATE);
    std::vector<float> mix;
    for (const float sample : tone)
        mix.insert(mix.end(), {sample, sample * 0.5F, 0, sample * -0.1F});
    meter.add(mix);
    EXPECT_THAT(meter.levels().rms,
                ElementsAre(FloatNear(0.7071F, 0.001F), FloatNear(0.3536F, 0.001F), 0,
                            FloatNear(0.0707F, 0.001F)));
}

struct BandRow {
    double frequency;
    std::size_t band;
};

TEST(Meter, SortsTonesIntoFourBands) {
    for (const auto& [frequency, band] :
         {BandRow{60, 0}, BandRow{200, 0}, BandRow{330, 1}, BandRow{900, 1}, BandRow{1100, 2},
          BandRow{3800, 2}, BandRow{4200, 3}, BandRow{15000, 3}}) {
        Meter meter(RATE, 1);
        meter.add(sine(frequency, 0.8F, RATE));
        const Levels levels = meter.levels();
        for (std::size_t i = 0; i < levels.bands.size(); ++i) {
            EXPECT_NEAR(levels.bands[i], i == band ? 0.5657F : 0.0F, 0.006F)
                << frequency << " Hz in band " << i;
        }
    }
}

TEST(Meter, HasTheMeanPowerOfTheLoudspeakersInItsBands) {
    Meter meter(RATE, 2);
    const auto low = sine(100, 1, RATE);
    const auto high = sine(8000, 1, RATE);
    std::vector<float> mix;
    for (std::size_t i = 0; i < RATE; ++i)
        mix.insert(mix.end(), {low[i], high[i]});
    meter.add(mix);
    EXPECT_THAT(meter.levels().bands, ElementsAre(FloatNear(0.5F, 0.01F), FloatNear(0, 0.01F),
                                                  FloatNear(0, 0.01F), FloatNear(0.5F, 0.01F)));
}

TEST(Meter, FallsToZeroInSilence) {
    Meter meter(RATE, 2);
    meter.add(std::vector<float>(9600, 0.5F));
    EXPECT_FLOAT_EQ(meter.levels().rms[0], 0.5F);
    meter.add(std::vector<float>(2 * 4096, 0.0F));
    EXPECT_THAT(meter.levels().rms, Each(0.0F));
    EXPECT_THAT(meter.levels().bands, Each(0.0F));
    meter.add(std::vector<float>(9600, 0.5F));
    meter.clear();
    EXPECT_THAT(meter.levels().rms, Each(0.0F));
}

TEST(Meter, ShowsAMonoOutputAsBothFrontLoudspeakers) {
    Meter meter(8000, 1);
    meter.add(std::vector<float>(8000, 0.25F));
    EXPECT_THAT(meter.levels().rms, ElementsAre(0.25F, 0.25F, 0, 0));
}

TEST(Meter, ShowsFourOfSixChannels) {
    Meter meter(RATE, 6);
    std::vector<float> mix;
    for (int i = 0; i < 4800; ++i)
        mix.insert(mix.end(), {0.1F, 0.2F, 0.3F, 0.4F, 0.5F, 0.6F});
    meter.add(mix);
    EXPECT_THAT(meter.levels().rms,
                ElementsAre(FloatEq(0.1F), FloatEq(0.2F), FloatEq(0.3F), FloatEq(0.4F)));
}

}  // namespace
}  // namespace cabinaudio::server
