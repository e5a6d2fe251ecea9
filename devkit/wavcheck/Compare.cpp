// SPDX-License-Identifier: Apache-2.0
#include "devkit/wavcheck/Compare.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace cabinaudio::wavcheck {
namespace {

/// Both sounds have the same form; the shorter one is extended with silence.
double signalToNoiseDb(const Sound& expected, const Sound& heard) {
    const auto at = [](const Sound& sound, std::size_t i) {
        return i < sound.samples.size() ? sound.samples[i] : 0.0;
    };
    double signal = 0;
    double noise = 0;
    for (std::size_t i = 0; i < std::max(expected.samples.size(), heard.samples.size()); ++i) {
        const double error = at(heard, i) - at(expected, i);
        signal += at(expected, i) * at(expected, i);
        noise += error * error;
    }
    if (noise == 0) return std::numeric_limits<double>::infinity();
    return 10 * std::log10(signal / noise);
}

std::string formOf(const Sound& sound) {
    return std::to_string(sound.channels) + " channels at " + std::to_string(sound.rate) + " Hz";
}

Verdict compareExactly(const Sound& expected, const Sound& heard) {
    const auto [wanted, found] = std::mismatch(expected.samples.begin(), expected.samples.end(),
                                               heard.samples.begin(), heard.samples.end());
    const bool isEqual = wanted == expected.samples.end() && found == heard.samples.end();
    if (isEqual)
        return {true, "sample for sample, " + std::to_string(expected.frames()) + " frames"};
    const auto frame = static_cast<std::size_t>(wanted - expected.samples.begin()) /
                       static_cast<std::size_t>(expected.channels);
    return {false, "differs from frame " + std::to_string(frame) + " on (" +
                       std::to_string(expected.frames()) + " frames expected, " +
                       std::to_string(heard.frames()) + " heard)"};
}

Verdict compareRoughly(const Sound& expected, const Sound& heard) {
    const double db = signalToNoiseDb(expected, heard);
    char text[80];
    std::snprintf(text, sizeof text, "%.1f dB above the difference (required: %.1f)", db,
                  REQUIRED_DB);
    return {db >= REQUIRED_DB, text};
}

}  // namespace

Verdict compare(const Sound& expected, const Sound& heard, bool mustBeExact) {
    if (expected.samples.empty()) return {false, "there is nothing to compare with"};
    if (expected.rate != heard.rate || expected.channels != heard.channels)
        return {false, formOf(heard) + " instead of " + formOf(expected)};
    return mustBeExact ? compareExactly(expected, heard) : compareRoughly(expected, heard);
}

}  // namespace cabinaudio::wavcheck
