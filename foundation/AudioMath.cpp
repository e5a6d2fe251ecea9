// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioMath.h>

#include <array>
#include <atomic>

namespace {

constexpr unsigned LAST_STEP = 255;
constexpr float LOWEST_DB = -103.5F;
constexpr float DB_PER_STEP = 0.5F;

/// std::lround() is not constexpr.
constexpr double roundedTo8Decimals(double amplitude) {
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): of positive numbers, far below 2^52
    return static_cast<double>(static_cast<std::int64_t>(amplitude * 1e8 + 0.5)) / 1e8;
}

/// Linear amplitudes of -103.5 to +24.0 dB in steps of 0.5 dB, that is 10^((0.5 i - 103.5) / 20).
constexpr std::array<float, LAST_STEP + 1> amplitudes() {
    constexpr unsigned UNITY = 207;                      // 0 dB
    constexpr double PER_STEP = 1.05925372517728884816;  // 10^(1/40)
    std::array<float, LAST_STEP + 1> table{};
    double amplitude = 1.0;
    for (unsigned i = UNITY; i <= LAST_STEP; ++i, amplitude *= PER_STEP)
        table[i] = static_cast<float>(roundedTo8Decimals(amplitude));
    amplitude = 1.0;
    for (unsigned i = UNITY; i > 0; --i, amplitude /= PER_STEP)
        table[i] = static_cast<float>(roundedTo8Decimals(amplitude));
    table[0] = 0.0F;                // deliberate: the lowest step is silence
    table[LAST_STEP] = 15.848933F;  // deliberate: slightly above the formula
    return table;
}

constexpr std::array<float, LAST_STEP + 1> AMPLITUDES = amplitudes();
static_assert(AMPLITUDES[1] == 0.00000708F);
static_assert(AMPLITUDES[207] == 1.0F);
static_assert(AMPLITUDES[255] == 15.848933F);

// Concurrent threads may draw the same number, which does not matter for noise.
constinit std::atomic<double> gNoiseState{868346455.0};
static_assert(std::atomic<double>::is_always_lock_free);

}  // namespace

/// Always ends with two neighbours, because each pass shrinks an interval of more than one step.
float audioMathLog10Extend(float amplitude) {
    unsigned low = 0;
    unsigned high = LAST_STEP;
    for (unsigned distance = high - low; distance > 1; distance = high - low) {
        const unsigned middle = low + distance / 2;
        if (amplitude > AMPLITUDES[middle])
            low = middle;
        else
            high -= distance / 2;
    }
    const bool belowMidpoint = AMPLITUDES[low] + AMPLITUDES[high] - 2.0F * amplitude > 0.0F;
    return static_cast<float>(belowMidpoint ? low : high) * DB_PER_STEP + LOWEST_DB;
}

float audioMathPow10Extend(float decibel) {
    const float step = (decibel - LOWEST_DB) / DB_PER_STEP;
    if (!(step >= 0.0F)) return AMPLITUDES[0];  // NaN, too
    if (step >= static_cast<float>(LAST_STEP)) return AMPLITUDES[LAST_STEP];
    return AMPLITUDES[static_cast<unsigned>(step)];
}

/// A step of the Park-Miller generator. The state stays a positive integer below 2^31, so
/// truncation rounds down, and every double here except the last product is exact.
std::int32_t audioMathRandn() {
    const double state = gNoiseState.load(std::memory_order_relaxed);
    const double high = static_cast<std::int32_t>(state * 16807.0 * 4.656612873077393e-10);
    double next = (state - high * 127773.0) * 16807.0 - high * 2836.0;
    if (next > 2147483647.0) next = 4294967296.0 - next;
    gNoiseState.store(next, std::memory_order_relaxed);
    return static_cast<std::int32_t>((next - 1073741824.0) * 0.005);
}

// Deliberate: the rows of 28 and 29 dB give half a decibel less, because of the amplifier's steps.
const GmicGain gmic_gain_table[71] = {
    // clang-format off
    // -24 to 6 dB
    {0, -24}, {0, -23}, {0, -22}, {0, -21}, {0, -20}, {0, -19}, {0, -18}, {0, -17}, {0, -16},
    {0, -15}, {0, -14}, {0, -13}, {0, -12}, {0, -11}, {0, -10}, {0, -9}, {0, -8}, {0, -7},
    {0, -6}, {0, -5}, {0, -4}, {0, -3}, {0, -2}, {0, -1}, {0, 0}, {0, 1}, {0, 2}, {0, 3}, {0, 4},
    {0, 5}, {0, 6},
    // 7 to 11 dB
    {9, -2}, {9, -1}, {9, 0}, {9, 1}, {9, 2},
    // 12 to 18 dB
    {12, 0}, {12, 1}, {12, 2}, {12, 3}, {12, 4}, {12, 5}, {12, 6},
    // 19 to 27 dB
    {21, -2}, {21, -1}, {21, 0}, {21, 1}, {21, 2}, {21, 3}, {21, 4}, {21, 5}, {21, 6},
    // 28 to 29 dB
    {27.5F, 0}, {27.5F, 1},
    // 30 to 36 dB
    {30, 0}, {30, 1}, {30, 2}, {30, 3}, {30, 4}, {30, 5}, {30, 6},
    // 37 to 46 dB
    {40, -3}, {40, -2}, {40, -1}, {40, 0}, {40, 1}, {40, 2}, {40, 3}, {40, 4}, {40, 5}, {40, 6},
    // clang-format on
};
