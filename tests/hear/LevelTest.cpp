// SPDX-License-Identifier: Apache-2.0
// Checks of amplitudes.
#include "tests/hear/Synth.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace cabinaudio::test {

namespace {

using testing::HasSubstr;

std::vector<float> joined(std::initializer_list<std::vector<float>> parts) {
    std::vector<float> all;
    for (const auto& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

TEST(LevelCheck, IsTheRootOfTheMeanSquare) {
    const Recording recording = recordingOf(tone(1000, -12, RATE));
    EXPECT_TRUE(isMet(recording, "level -12"));
    EXPECT_TRUE(isMet(recording, "level -11.6"));
    EXPECT_FALSE(isMet(recording, "level -11.4"));
    EXPECT_FALSE(isMet(recording, "level -12.6dB"));
    EXPECT_TRUE(isMet(recording, "level -12.6dBFS +-1dB"));
    EXPECT_TRUE(isMet(recording, "level -12.6 tol=1"));
    EXPECT_TRUE(isMet(recording, "level -12.6 \u00b11dB"));
}

TEST(LevelCheck, LooksAtItsRangeOnly) {
    const Recording recording = recordingOf(joined({tone(1000, -40, RATE), tone(1000, -12, RATE)}));
    EXPECT_TRUE(isMet(recording, "level -40 [0..1]"));
    EXPECT_TRUE(isMet(recording, "level -12 [1..2]"));
    EXPECT_TRUE(isMet(recording, "level -12 [1..]"));
    EXPECT_TRUE(isMet(recording, "level -40 [..48000f]"));
    EXPECT_TRUE(isMet(recording, "level -12 [ 1000ms .. 96000f ]"));
    const Verdict verdict = verdictOf(recording, "level -12 [0.25..0.75]");
    EXPECT_FALSE(verdict.isMet);
    EXPECT_EQ(verdict.from, 0.25);
    EXPECT_EQ(verdict.to, 0.75);
    EXPECT_EQ(verdict.measured, "-40.00 dBFS");
    EXPECT_EQ(verdict.required, "-12 dBFS +-0.5 dB");
    EXPECT_EQ(verdict.text,
              "level -12 [0.25..0.75]: -40.00 dBFS (required: -12 dBFS +-0.5 dB), 0.250 s to 0.750 "
              "s");
}

TEST(LevelCheck, TakesTheLoudestChannelUnlessItIsGiven) {
    Sound sound = soundOf(tone(1000, -12, RATE), 8);
    for (std::size_t i = 0; i < sound.samples.size(); ++i)
        if (i % 8 != 3) sound.samples[i] *= 0.1F;
    const Recording recording = recordingOf(sound);
    EXPECT_TRUE(isMet(recording, "level -12"));
    EXPECT_TRUE(isMet(recording, "level -12 on RS"));
    EXPECT_TRUE(isMet(recording, "level -12 on 3"));
    EXPECT_TRUE(isMet(recording, "level -32 on=7"));
    EXPECT_FALSE(isMet(recording, "level -12 on LF"));
}

TEST(LevelCheck, OptionGivesTheChannelOfChecksWithoutOne) {
    Sound sound = soundOf(tone(1000, -12, RATE), 2);
    for (std::size_t i = 0; i < sound.samples.size(); i += 2)
        sound.samples[i] = 0;
    const Recording recording = recordingOf(sound);
    EXPECT_TRUE(hear::judge(recording, {"silence"}, {0}).at(0).isMet);
    EXPECT_FALSE(hear::judge(recording, {"silence"}, {1}).at(0).isMet);
    EXPECT_TRUE(hear::judge(recording, {"silence on LF"}, {1}).at(0).isMet);
    EXPECT_THAT(errorOf(recording, "silence on LS"), HasSubstr("the sound has 2 channels, no LS"));
}

TEST(LevelCheck, MonoFeedsBothFrontLoudspeakers) {
    const Recording recording = recordingOf(tone(1000, -12, RATE));
    EXPECT_TRUE(isMet(recording, "level -12 on LF"));
    EXPECT_TRUE(isMet(recording, "level -12 on RF"));
}

TEST(PeakCheck, MustNotBeAbove) {
    std::vector<float> samples(100);
    samples[40] = -0.5F;
    const Recording recording = recordingOf(samples, 2);
    EXPECT_TRUE(isMet(recording, "peak -6"));
    const Verdict verdict = verdictOf(recording, "peak -6.03");
    EXPECT_FALSE(verdict.isMet);
    EXPECT_EQ(verdict.at, 40.0 / RATE);
}

TEST(ClippingCheck, FindsASampleAtTheLimit) {
    std::vector<float> samples(100, 0.9F);
    Recording recording = recordingOf(samples);
    EXPECT_TRUE(isMet(recording, "clipping"));
    EXPECT_TRUE(isMet(recording, "clip-free"));
    recording.heard.bits = 16;
    recording.heard.samples[7] = 32766.0F / 32768;
    EXPECT_TRUE(isMet(recording, "clip-free"));
    recording.heard.samples[8] = 32767.0F / 32768;
    EXPECT_EQ(verdictOf(recording, "clip-free").at, 8.0 / RATE);
    recording.heard.bits = 0;
    EXPECT_TRUE(isMet(recording, "clip-free"));
    recording.heard.samples[9] = -1.0F;
    EXPECT_FALSE(isMet(recording, "clip-free"));
}

TEST(SilenceCheck, AcceptsWhatIsBelowTheLimit) {
    std::vector<float> samples(RATE, 3.1e-5F);  // -90.2 dBFS
    Recording recording = recordingOf(samples, 2);
    EXPECT_TRUE(isMet(recording, "silence"));
    EXPECT_FALSE(isMet(recording, "silence below=-91"));
    recording.heard.samples[2 * 24000] = 3.2e-5F;  // -89.9 dBFS
    const Verdict verdict = verdictOf(recording, "silence");
    EXPECT_FALSE(verdict.isMet);
    EXPECT_EQ(verdict.at, 0.5);
    EXPECT_TRUE(isMet(recording, "silence [0..0.5]"));
    EXPECT_TRUE(isMet(recording, "silence on RF"));
}

TEST(SilenceCheck, ContinuesBehindTheEnd) {
    EXPECT_TRUE(isMet(recordingOf(std::vector<float>(10)), "silence [0..1]"));
    EXPECT_TRUE(isMet(recordingOf(std::vector<float>{}), "silence"));
    EXPECT_TRUE(isMet(recordingOf(tone(100, -10, RATE)), "silence [1..2]"));
    EXPECT_FALSE(isMet(recordingOf(tone(100, -10, RATE)), "silence [0.9..2]"));
}

TEST(GapCheck, FindsTheLongestRunOfSilence) {
    std::vector<float> samples = tone(440, -12, RATE);
    EXPECT_TRUE(isMet(recordingOf(samples, 2), "gap-free"));
    std::fill_n(samples.begin() + 10000, 48, 0.0F);
    EXPECT_TRUE(isMet(recordingOf(samples), "gap-free"));
    std::fill_n(samples.begin() + 20000, 96, 0.0F);
    const Recording recording = recordingOf(samples, 6);
    const Verdict verdict = verdictOf(recording, "gap-free");
    EXPECT_FALSE(verdict.isMet);
    EXPECT_NEAR(verdict.at.value_or(0), 20000.0 / RATE, 0.0001);
    EXPECT_FALSE(isMet(recording, "sound"));
    EXPECT_TRUE(isMet(recording, "gap-free max=3ms"));
    EXPECT_TRUE(isMet(recording, "gap-free max=0.003s"));
    EXPECT_TRUE(isMet(recording, "gap-free [0..0.4]"));
    EXPECT_FALSE(isMet(recordingOf(std::vector<float>(RATE)), "sound"));
}

TEST(GapCheck, NeedsSilenceInAllChannels) {
    Sound sound = soundOf(tone(440, -12, RATE), 2);
    for (std::size_t i = 0; i < sound.samples.size(); i += 2)
        sound.samples[i] = 0;
    EXPECT_TRUE(isMet(recordingOf(sound), "gap-free"));
    EXPECT_FALSE(isMet(recordingOf(sound), "gap-free on LF"));
}

class EveryCheckOfSamples : public testing::TestWithParam<const char*> {};

/// A range that the sound does not fill must not pass by accident.
TEST_P(EveryCheckOfSamples, FailsBeyondTheEndOfTheSound) {
    const std::string check = GetParam();
    const Recording recording = recordingOf(tone(1000, -12, RATE));
    for (const char* range : {" [0.5..1.1]", " [1..]", " [2..3]", " [48000f..48001f]"}) {
        const Verdict verdict = verdictOf(recording, check + range);
        EXPECT_FALSE(verdict.isMet) << range;
        EXPECT_EQ(verdict.measured, "the sound ends at 1.000 s");
    }
    EXPECT_FALSE(isMet(recordingOf(std::vector<float>{}), check));
}

TEST_P(EveryCheckOfSamples, FailsForSamplesThatAreNoNumbers) {
    for (const float odd :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        Recording recording = recordingOf(tone(1000, -12, RATE), 2);
        recording.heard.samples[2 * 12000 + 1] = odd;
        const Verdict verdict = verdictOf(recording, GetParam());
        EXPECT_FALSE(verdict.isMet);
        EXPECT_EQ(verdict.measured, "a sample that is no finite number");
        EXPECT_EQ(verdict.at, 0.25);
    }
}

TEST_P(EveryCheckOfSamples, GivesAVerdictOnASingleFrame) {
    for (const float sample : {0.0F, 0.25F})
        EXPECT_FALSE(verdictOf(recordingOf(std::vector<float>{sample}), GetParam()).text.empty());
}

INSTANTIATE_TEST_SUITE_P(All, EveryCheckOfSamples,
                         testing::Values("level -12", "peak 0", "clip-free", "gap-free",
                                         "tone 1000", "click-free"));

}  // namespace

}  // namespace cabinaudio::test
