// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioMath.h>

#include "tests/foundation/Child.h"
#include "tests/support/OnThreads.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace cabinaudio::test {
namespace {

constexpr float INFINITE = std::numeric_limits<float>::infinity();

/// Decibels of a table row.
float stepDb(int row) {
    return static_cast<float>(row) * 0.5F - 103.5F;
}

/// The row as one would write it down: the formula with eight decimals, but for the two ends.
float writtenAmplitude(int row) {
    if (row == 0) return 0.0F;
    if (row == 255) return 15.848933F;
    char text[32];
    std::snprintf(text, sizeof(text), "%.8f", std::pow(10.0, (0.5 * row - 103.5) / 20.0));
    return std::strtof(text, nullptr);
}

float tableAmplitude(int row) {
    return audioMathPow10Extend(stepDb(row));
}

/// Decibels by a walk through all rows instead of a search.
float nearestDb(float amplitude) {
    for (int row = 0; row < 255; ++row) {
        const float next = tableAmplitude(row + 1);
        if (amplitude > next) continue;
        const bool below = tableAmplitude(row) + next - 2.0F * amplitude > 0.0F;
        return stepDb(below ? row : row + 1);
    }
    return 24.0F;
}

/// The noise generator in other words: whole numbers, rest by rest.
class NoiseModel {
public:
    std::int32_t next() {
        const std::int64_t high = mState * 16807 / 2147483648;
        mState = (mState - high * 127773) * 16807 - high * 2836;
        if (mState > 2147483647) mState = 4294967296 - mState;
        return static_cast<std::int32_t>(static_cast<double>(mState - 1073741824) * 0.005);
    }

private:
    std::int64_t mState = 868346455;
};

TEST(AmplitudeTable, HoldsTheFormulaRoundedToEightDecimals) {
    for (int row = 0; row < 256; ++row)
        EXPECT_EQ(tableAmplitude(row), writtenAmplitude(row)) << "row " << row;
}

TEST(AmplitudeTable, HasSilenceUnityAndTheMaximumInTheirRows) {
    EXPECT_EQ(tableAmplitude(0), 0.0F);
    EXPECT_EQ(tableAmplitude(1), 0.00000708F);
    EXPECT_EQ(tableAmplitude(207), 1.0F);
    EXPECT_EQ(tableAmplitude(255), 15.848933F);
}

TEST(AmplitudeOfDecibels, IsSilenceAtTheLowestAndUnityAtZeroDecibels) {
    EXPECT_EQ(audioMathPow10Extend(-103.5F), 0.0F);
    EXPECT_EQ(audioMathPow10Extend(0.0F), 1.0F);
    EXPECT_EQ(audioMathPow10Extend(24.0F), 15.848933F);
}

TEST(AmplitudeOfDecibels, IsThatOfTheLowerStepBetweenTwoSteps) {
    EXPECT_EQ(audioMathPow10Extend(-0.3F), tableAmplitude(206));
    EXPECT_EQ(audioMathPow10Extend(-0.01F), tableAmplitude(206));
    EXPECT_EQ(audioMathPow10Extend(0.49F), 1.0F);
    EXPECT_EQ(audioMathPow10Extend(-103.01F), 0.0F);
}

TEST(AmplitudeOfDecibels, IsLimitedToTheTableOutsideItsRange) {
    for (const float low : {-103.6F, -104.0F, -1e9F, -INFINITE})
        EXPECT_EQ(audioMathPow10Extend(low), 0.0F) << low;
    for (const float high : {24.1F, 24.5F, 1e9F, INFINITE})
        EXPECT_EQ(audioMathPow10Extend(high), 15.848933F) << high;
    EXPECT_EQ(audioMathPow10Extend(std::numeric_limits<float>::quiet_NaN()), 0.0F);
}

TEST(DecibelsOfAmplitude, AreExactOnEveryStep) {
    for (int row = 0; row < 256; ++row)
        EXPECT_EQ(audioMathLog10Extend(tableAmplitude(row)), stepDb(row)) << "row " << row;
}

TEST(DecibelsOfAmplitude, AreKnownForSilenceUnityAndTheMaximum) {
    EXPECT_EQ(audioMathLog10Extend(0.0F), -103.5F);
    EXPECT_EQ(audioMathLog10Extend(1.0F), 0.0F);
    EXPECT_EQ(audioMathLog10Extend(100.0F), 24.0F);
}

TEST(DecibelsOfAmplitude, AreThoseOfTheNearerStepAndOfTheUpperAtMidpoints) {
    for (int row = 0; row < 255; ++row) {
        const float low = tableAmplitude(row);
        const float high = tableAmplitude(row + 1);
        for (const float share : {0.01F, 0.25F, 0.49F, 0.5F, 0.51F, 0.75F, 0.99F}) {
            const float between = low + (high - low) * share;
            EXPECT_EQ(audioMathLog10Extend(between), nearestDb(between)) << row << " " << share;
        }
    }
    // Halves of a power of two are exact, so this one is the midpoint of silence and step 1.
    const float midpoint = tableAmplitude(1) / 2.0F;
    EXPECT_EQ(audioMathLog10Extend(midpoint), -103.0F);
    EXPECT_EQ(audioMathLog10Extend(std::nextafter(midpoint, 0.0F)), -103.5F);
}

TEST(DecibelsOfAmplitude, AreLimitedToTheTableOutsideItsRange) {
    EXPECT_EQ(audioMathLog10Extend(-1.0F), -103.5F);
    EXPECT_EQ(audioMathLog10Extend(-INFINITE), -103.5F);
    EXPECT_EQ(audioMathLog10Extend(15.9F), 24.0F);
    EXPECT_EQ(audioMathLog10Extend(INFINITE), 24.0F);
    const float unknown = audioMathLog10Extend(std::numeric_limits<float>::quiet_NaN());
    EXPECT_GE(unknown, -103.5F);
    EXPECT_LE(unknown, 24.0F);
}

TEST(Noise, StartsWithTheSameNumbersInEveryProcess) {
    const ChildEnd end = runInChild([] {
        for (const std::int32_t first : {5368688, 5018199, -1547416, -1393704, 5049805})
            EXPECT_EQ(audioMathRandn(), first);
    });
    EXPECT_TRUE(end.passed()) << end.output;
}

TEST(Noise, EqualsItsModelFor200000Numbers) {
    const ChildEnd end = runInChild([] {
        NoiseModel model;
        for (int i = 0; i < 200000; ++i) {
            const std::int32_t number = audioMathRandn();
            ASSERT_EQ(number, model.next()) << i;
            ASSERT_LE(std::abs(number), 5400000) << i;
        }
    });
    EXPECT_TRUE(end.passed()) << end.output;
}

TEST(Noise, StaysInItsRangeWhenThreadsDrawAtTheSameTime) {
    const ChildEnd end = runInChild([] {
        onThreads(4, [](int) {
            for (int i = 0; i < 10000; ++i)
                EXPECT_LE(std::abs(audioMathRandn()), 5400000);
        });
    });
    EXPECT_TRUE(end.passed()) << end.output;
}

TEST(MicrophoneGainTable, HasARowForEachWholeDecibel) {
    ASSERT_EQ(sizeof(gmic_gain_table), 568U);
    for (int gain = -24; gain <= 46; ++gain) {
        const GmicGain& row = gmic_gain_table[gain + 24];
        float op = 40.0F;
        if (gain <= 6)
            op = 0.0F;
        else if (gain <= 11)
            op = 9.0F;
        else if (gain <= 18)
            op = 12.0F;
        else if (gain <= 27)
            op = 21.0F;
        else if (gain <= 29)
            op = 27.5F;
        else if (gain <= 36)
            op = 30.0F;
        EXPECT_EQ(row.op, op) << gain;
        // The two rows behind 27.5 are half a decibel short.
        const float total = gain == 28 ? 27.5F : gain == 29 ? 28.5F : static_cast<float>(gain);
        EXPECT_EQ(row.op + row.pga, total) << gain;
    }
}

}  // namespace
}  // namespace cabinaudio::test
