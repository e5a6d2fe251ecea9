// SPDX-License-Identifier: Apache-2.0
// Comparisons with files: sample for sample, or alike, at a place that is found.
#include "tests/hear/Synth.h"
#include "tests/support/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

namespace cabinaudio::test {

namespace {

using testing::HasSubstr;

class FileCheck : public testing::Test {
protected:
    /// In quotes, as a path may have blanks.
    [[nodiscard]] std::string written(const std::string& name, const Sound& sound,
                                      int format = FLOAT) {
        writeWav(mDirectory.file(name), sound, format);
        return "'" + mDirectory.file(name) + "'";
    }

    static constexpr int FLOAT = SF_FORMAT_FLOAT;
    TemporaryDirectory mDirectory;
};

std::vector<float> shifted(const std::vector<float>& samples, std::ptrdiff_t by,
                           std::size_t frames) {
    std::vector<float> result(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        const std::ptrdiff_t from = static_cast<std::ptrdiff_t>(i) - by;
        if (from >= 0 && from < static_cast<std::ptrdiff_t>(samples.size()))
            result[i] = samples[static_cast<std::size_t>(from)];
    }
    return result;
}

TEST_F(FileCheck, SameNamesTheFirstFrameThatDiffers) {
    std::vector<float> samples = noise(5000, 0.5F);
    const std::string file = written("a sound.wav", soundOf(samples, 2));
    EXPECT_TRUE(isMet(recordingOf(samples, 2), "same " + file));
    samples[3000] += 1e-6F;
    const Verdict verdict = verdictOf(recordingOf(samples, 2), "same " + file);
    EXPECT_FALSE(verdict.isMet);
    EXPECT_THAT(verdict.measured, HasSubstr("differs from frame 3000 on"));
    EXPECT_EQ(verdict.at, 3000.0 / RATE);
    EXPECT_TRUE(isMet(recordingOf(samples, 2), "same " + file + " [0f..3000f]"));
    samples.resize(3000);
    EXPECT_FALSE(isMet(recordingOf(samples, 2), "same " + file));
}

TEST_F(FileCheck, SameComparesARangeWithTheFilesBegin) {
    const std::vector<float> samples = noise(5000, 0.5F);
    const std::string file =
        written("part.wav", soundOf({samples.begin() + 1000, samples.begin() + 2000}));
    const Recording recording = recordingOf(samples);
    EXPECT_TRUE(isMet(recording, "same " + file + " [1000f..2000f]"));
    EXPECT_TRUE(isMet(recording, "same " + file + " [1000f..1500f]"));
    EXPECT_FALSE(isMet(recording, "same " + file + " [1000f..2001f]"));
    EXPECT_FALSE(isMet(recording, "same " + file + " [1001f..2000f]"));
    EXPECT_FALSE(isMet(recording, "same " + file));
}

TEST_F(FileCheck, SameNeedsTheSameForm) {
    const std::vector<float> samples = noise(500, 0.5F);
    const std::string mono = written("mono.wav", soundOf(samples));
    const Verdict verdict = verdictOf(recordingOf(samples, 2), "same " + mono);
    EXPECT_FALSE(verdict.isMet);
    EXPECT_EQ(verdict.measured, "2 channels at 48000 Hz instead of 1 channel at 48000 Hz");
    EXPECT_TRUE(isMet(recordingOf(samples, 2), "same " + mono + " on RF"));
    EXPECT_FALSE(isMet(recordingOf(soundOf(samples, 1, 44100)), "same " + mono));
}

TEST_F(FileCheck, MissingEmptyAndForeignFilesAreErrors) {
    const Recording recording = recordingOf(noise(500, 0.5F));
    EXPECT_THAT(errorOf(recording, "same /nowhere/a.wav"), HasSubstr("/nowhere/a.wav: "));
    const std::string empty = written("empty.wav", soundOf({}));
    EXPECT_THAT(errorOf(recording, "same " + empty), HasSubstr("nothing to compare with"));
    EXPECT_THAT(errorOf(recording, "like " + empty), HasSubstr("nothing to compare with"));
    EXPECT_NE(errorOf(recording, "like /dev/null"), "");
}

TEST_F(FileCheck, EqualRunsNameTheOneThatDiffers) {
    std::vector<float> samples = noise(500, 0.5F);
    const std::string first = written("1.wav", soundOf(samples));
    const std::string second = written("2.wav", soundOf(samples));
    const Recording recording = recordingOf(samples);
    EXPECT_TRUE(isMet(recording, "equal-runs " + first + " " + second));
    samples[77] = 0;
    const std::string third = written("3.wav", soundOf(samples));
    const Verdict verdict = verdictOf(recording, "equal-runs " + first + " " + third);
    EXPECT_FALSE(verdict.isMet);
    EXPECT_THAT(verdict.measured, HasSubstr("3.wav: differs from frame 77 on"));
}

TEST_F(FileCheck, LikeAllowsASmallDifference) {
    const std::vector<float> samples = noise(10000, 0.5F);
    const std::string file = written("a.wav", soundOf(samples));
    const auto disturbed = [&](float amplitude) {
        std::vector<float> sum = samples;
        const std::vector<float> other = noise(10000, amplitude, 2);
        for (std::size_t i = 0; i < sum.size(); ++i)
            sum[i] += other[i];
        return recordingOf(sum);
    };
    EXPECT_TRUE(isMet(disturbed(0.0045F), "like " + file));   // 41 dB
    EXPECT_FALSE(isMet(disturbed(0.0056F), "like " + file));  // 39 dB
    EXPECT_TRUE(isMet(disturbed(0.0056F), "like " + file + " by=38dB"));
    EXPECT_FALSE(isMet(recordingOf(noise(10000, 0.5F, 3)), "like " + file));
    EXPECT_FALSE(isMet(recordingOf(std::vector<float>(10000)), "like " + file));
}

class Shift : public FileCheck, public testing::WithParamInterface<int> {};

TEST_P(Shift, IsFoundAndReported) {
    const std::ptrdiff_t shift = GetParam();
    const std::vector<float> samples = noise(9600, 0.5F);
    const std::string file = written("a.wav", soundOf(samples));
    // The whole file must be heard for a shift to the right, and the rest of it to the left.
    const Recording recording = recordingOf(shifted(samples, shift, 20000), 2);
    const std::string ms = std::to_string(1000.0 * static_cast<double>(shift) / RATE);
    const std::string range = shift < 0 ? " [0..0.1]" : "";
    EXPECT_TRUE(isMet(recording, "like " + file + " shift=" + ms + range));
    EXPECT_TRUE(isMet(recording, "like " + file + " shift=any" + range));
    const Verdict verdict = verdictOf(recording, "like " + file + range);
    EXPECT_EQ(verdict.isMet, shift == 0);
    EXPECT_THAT(verdict.measured, HasSubstr("without any difference at a shift of "));
    EXPECT_TRUE(isMet(recording, "like " + file + range + " tol=200ms"));
    EXPECT_TRUE(isMet(recording, "like " + file + range + " gain=any shift=any"));
}

INSTANTIATE_TEST_SUITE_P(All, Shift, testing::Values(-4800, -480, -1, 0, 1, 777, 9600));

TEST_F(FileCheck, ShiftBeyondBothSoundsIsAnError) {
    const std::vector<float> samples = noise(RATE / 10, 0.5F);
    const std::string file = written("a.wav", soundOf(samples));
    const Recording recording = recordingOf(samples);
    EXPECT_EQ(errorOf(recording, "like " + file + " shift=200ms"), "");
    for (const char* shift : {"200.1ms", "-200.1ms", "1000000s", "99999999999999999999s"})
        EXPECT_THAT(errorOf(recording, "like " + file + " shift=" + shift),
                    HasSubstr(" ms is longer than the sound and the file together, 0.200 s"))
            << shift;
    EXPECT_TRUE(isMet(recording, "like " + file + " tol=99999999999999999999s"));
}

TEST_F(FileCheck, LikeConvertsRateAndChannels) {
    const std::vector<float> heard = tone(440, -12, RATE);
    const std::string file = written("a.wav", soundOf(tone(440, -12, 44100, 44100), 1, 44100));
    EXPECT_TRUE(isMet(recordingOf(heard, 2), "like " + file + " by=30"))
        << verdictOf(recordingOf(heard, 2), "like " + file + " by=30").text;
    EXPECT_TRUE(isMet(recordingOf(heard, 2), "like " + file + " by=30 on RF"));
}

TEST_F(FileCheck, LikeComparesTheGain) {
    std::vector<float> samples = noise(10000, 0.5F);
    const std::string file = written("a.wav", soundOf(samples));
    for (float& sample : samples)
        sample *= 0.1F;
    const Recording recording = recordingOf(samples);
    EXPECT_FALSE(isMet(recording, "like " + file));
    EXPECT_TRUE(isMet(recording, "like " + file + " gain=-20dB"));
    EXPECT_FALSE(isMet(recording, "like " + file + " gain=-19dB"));
    EXPECT_THAT(verdictOf(recording, "like " + file + " gain=any").measured, HasSubstr("-20 dB"));
    EXPECT_TRUE(isMet(recording, "like " + file + " gain=any"));
}

}  // namespace

}  // namespace cabinaudio::test
