// SPDX-License-Identifier: Apache-2.0
#include "tests/hear/Synth.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace cabinaudio::test {

namespace {

using testing::HasSubstr;

std::vector<float> sumOf(std::vector<float> one, const std::vector<float>& other) {
    for (std::size_t i = 0; i < one.size(); ++i)
        one[i] += other[i];
    return one;
}

class ToneOf : public testing::TestWithParam<double> {};

TEST_P(ToneOf, IsFoundWithItsLevel) {
    const double hz = GetParam();
    for (const std::size_t frames : {std::size_t{4800}, std::size_t{4801}, std::size_t{100000}}) {
        const Recording recording = recordingOf(tone(hz, -12, frames), 2);
        const std::string number = std::to_string(hz);
        EXPECT_TRUE(isMet(recording, "tone " + number + " level=-12"))
            << verdictOf(recording, "tone " + number + " level=-12").text;
        const double wrong = hz + std::max(1.0, hz * 0.0051) + 0.5;
        EXPECT_FALSE(isMet(recording, "tone " + std::to_string(wrong)));
        EXPECT_FALSE(isMet(recording, "tone " + number + " level=-11.4"));
        EXPECT_TRUE(isMet(recording, "tone " + number + " level=-11.4 level-tol=1"));
    }
}

INSTANTIATE_TEST_SUITE_P(All, ToneOf, testing::Values(60.0, 440.0, 997.3, 5000.0, 20000.0));

TEST(ToneCheck, FrequencyIsExactInLongSounds) {
    const Recording recording = recordingOf(tone(440.3, -20, 2 * RATE));
    EXPECT_TRUE(isMet(recording, "tone 440.3 +-0.1Hz"));
    EXPECT_FALSE(isMet(recording, "tone 440 tol=0.2"));
    EXPECT_TRUE(isMet(recording, "tone 0.4403kHz"));
}

TEST(ToneCheck, NeedsToBeTheStrongest) {
    const Recording recording = recordingOf(sumOf(tone(440, -12, RATE), tone(1000, -20, RATE)));
    EXPECT_FALSE(isMet(recording, "tone 440"));
    EXPECT_TRUE(isMet(recording, "tone 440 by=7"));
    EXPECT_FALSE(isMet(recording, "tone 440 by=9"));
    EXPECT_FALSE(isMet(recording, "tone 1000 by=-20"));
}

TEST(ToneCheck, IsNotFoundInNoiseOrSilence) {
    EXPECT_FALSE(isMet(recordingOf(noise(RATE, 0.5F)), "tone 1000"));
    EXPECT_EQ(verdictOf(recordingOf(std::vector<float>(RATE)), "tone 1000").measured, "silence");
    EXPECT_FALSE(isMet(recordingOf(std::vector<float>(RATE, 0.5F)), "tone 1000"));
}

TEST(ToneCheck, EachLoudspeakerHasItsOwn) {
    Sound sound = soundOf(tone(440, -12, RATE), 6);
    const std::vector<float> other = tone(880, -18, RATE);
    for (std::size_t i = 0; i < other.size(); ++i)
        sound.samples[6 * i + 2] = other[i];
    const Recording recording = recordingOf(sound);
    EXPECT_TRUE(isMet(recording, "tone 880 level=-18 on 2"));
    EXPECT_TRUE(isMet(recording, "tone 880 on LS"));
    EXPECT_FALSE(isMet(recording, "tone 440 on LS"));
    EXPECT_TRUE(isMet(recording, "tone 440 on L1"));
    EXPECT_TRUE(isMet(recording, "tone 440"));
}

TEST(ToneCheck, NeedsSomePeriods) {
    const Recording recording = recordingOf(tone(100, -12, RATE));
    EXPECT_TRUE(isMet(recording, "tone 100 [0..0.05]"));
    const Verdict verdict = verdictOf(recording, "tone 100 [0..0.04]");
    EXPECT_FALSE(verdict.isMet);
    EXPECT_EQ(verdict.measured, "only 4 periods of it in the range");
}

TEST(ToneCheck, RefusesFrequenciesThatTheSoundCannotHave) {
    const Recording recording = recordingOf(soundOf(tone(100, -12, 8000, 8000), 1, 8000));
    EXPECT_THAT(errorOf(recording, "tone 4000"), HasSubstr("no such frequency"));
    EXPECT_THAT(errorOf(recording, "tone 0"), HasSubstr("above 0 Hz"));
    EXPECT_EQ(errorOf(recording, "tone 3999"), "");
}

}  // namespace

}  // namespace cabinaudio::test
