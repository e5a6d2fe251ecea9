// SPDX-License-Identifier: Apache-2.0
#include "tests/hear/Synth.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace cabinaudio::test {

namespace {

TEST(ClickCheck, CleanSoundsHaveNone) {
    for (const double hz : {25.0, 60.0, 440.0, 5000.0, 15000.0})
        EXPECT_TRUE(isMet(recordingOf(tone(hz, -12, RATE), 2), "click-free")) << hz;
    EXPECT_TRUE(isMet(recordingOf(noise(RATE, 0.5F)), "click-free"));
    EXPECT_TRUE(isMet(recordingOf(std::vector<float>(RATE)), "click-free"));
}

/// Linear in the factor, as those of the server.
TEST(ClickCheck, CleanRampsHaveNone) {
    for (const std::size_t frames : {48U, 240U, 960U, 4800U}) {
        std::vector<float> samples = tone(440, -6, RATE);
        for (std::size_t i = 0; i < frames; ++i) {
            const float factor = 1 - static_cast<float>(i) / static_cast<float>(frames);
            samples[20000 + i] *= 0.1F + 0.9F * factor;
        }
        for (std::size_t i = 20000 + frames; i < samples.size(); ++i)
            samples[i] *= 0.1F;
        EXPECT_TRUE(isMet(recordingOf(samples), "click-free"))
            << frames << ": " << verdictOf(recordingOf(samples), "click-free").text;
    }
}

TEST(ClickCheck, TonesThatBeginAtZeroHaveNone) {
    std::vector<float> samples(2 * RATE);
    const std::vector<float> begun = tone(440, -6, RATE);
    std::copy(begun.begin(), begun.end(), samples.begin() + RATE);
    EXPECT_TRUE(isMet(recordingOf(samples), "click-free"));
}

TEST(ClickCheck, FindsAWrongSample) {
    std::vector<float> samples = tone(440, -12, RATE);
    samples[24000] += 0.3F;
    const Recording recording = recordingOf(samples, 2);
    const Verdict verdict = verdictOf(recording, "click-free");
    EXPECT_FALSE(verdict.isMet);
    EXPECT_NEAR(verdict.at.value_or(0), 0.5, 2.0 / RATE);
    EXPECT_TRUE(isMet(recording, "click-free [0..0.5]"));
    EXPECT_TRUE(isMet(recording, "click-free by=40"));
    EXPECT_TRUE(isMet(recording, "click-free below=-6"));
}

TEST(ClickCheck, FindsOneAtBothEnds) {
    for (const std::size_t frame : {std::size_t{1}, std::size_t{RATE - 2}}) {
        std::vector<float> samples = tone(440, -12, RATE);
        samples[frame] += 0.3F;
        EXPECT_FALSE(isMet(recordingOf(samples), "click-free")) << frame;
    }
}

TEST(ClickCheck, FindsAToneThatIsCutOff) {
    std::vector<float> samples = tone(440, -12, RATE);
    // A quarter of a period behind a zero: the tone is at its peak.
    std::fill(samples.begin() + 24027, samples.end(), 0.0F);
    EXPECT_FALSE(isMet(recordingOf(samples), "click-free"));
}

TEST(ClickCheck, FindsAJumpInOneOfManyChannels) {
    Sound sound = soundOf(tone(440, -12, RATE), 8);
    sound.samples[8 * 30000 + 7] = -0.4F;
    EXPECT_FALSE(isMet(recordingOf(sound), "click-free"));
    EXPECT_TRUE(isMet(recordingOf(sound), "click-free on 6"));
    EXPECT_FALSE(isMet(recordingOf(sound), "click-free on 7"));
}

TEST(ClickCheck, StepsOfCoarseSamplesAreNone) {
    Recording recording = recordingOf(std::vector<float>(RATE));
    std::fill(recording.heard.samples.begin() + 1000, recording.heard.samples.end(), 1.0F / 128);
    EXPECT_FALSE(isMet(recording, "click-free"));
    recording.heard.bits = 8;
    EXPECT_TRUE(isMet(recording, "click-free"));
}

}  // namespace

}  // namespace cabinaudio::test
