// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Difference.h"

#include "devkit/hear/Channels.h"
#include "devkit/hear/Error.h"
#include "devkit/hear/Numbers.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace cabinaudio::hear {
namespace {

unsigned channelsOf(const View& view) {
    return view.lastChannel() - view.firstChannel();
}

/// Calls take(heard sample, expected sample) for every frame that either of two sounds has; the
/// other one is silent there.
template <typename Take>
void forEachSample(const View& heard, const View& expected, std::ptrdiff_t offset, Take take) {
    const auto frames = static_cast<std::ptrdiff_t>(heard.frames());
    const auto length = static_cast<std::ptrdiff_t>(expected.frames());
    const auto sample = [](const View& view, std::ptrdiff_t frame, unsigned channel) -> double {
        if (frame < 0 || frame >= static_cast<std::ptrdiff_t>(view.frames())) return 0;
        return view.at(view.begin + static_cast<std::size_t>(frame), view.firstChannel() + channel);
    };
    const std::ptrdiff_t end = std::max(frames, offset + length);
    for (std::ptrdiff_t i = std::min<std::ptrdiff_t>(0, offset); i < end; ++i)
        for (unsigned channel = 0; channel < channelsOf(heard); ++channel)
            take(sample(heard, i, channel), sample(expected, i - offset, channel));
}

}  // namespace

std::string formOf(const Sound& sound) {
    return std::to_string(sound.channels) + (sound.channels == 1 ? " channel" : " channels") +
           " at " + std::to_string(sound.rate) + " Hz";
}

View referenceTo(const View& view, const Sound& reference, const std::string& path) {
    if (reference.frames() == 0) throw Error(path + ": there is nothing to compare with");
    View result{reference, 0, reference.frames(), {}};
    if (view.channel && reference.channels > 1) result.channel = view.channel;
    if (result.channel && *result.channel >= reference.channels)
        throw Error(path + ": has " + std::to_string(reference.channels) + " channels, no " +
                    channelName(*result.channel));
    return result;
}

std::string formFault(const View& heard, const View& expected) {
    if (heard.sound.rate == expected.sound.rate && channelsOf(heard) == channelsOf(expected))
        return "";
    return formOf(heard.sound) + " instead of " + formOf(expected.sound);
}

std::optional<std::size_t> firstDifference(const View& heard, const View& expected) {
    const std::size_t frames = std::min(heard.frames(), expected.frames());
    for (std::size_t i = 0; i < frames; ++i)
        for (unsigned channel = 0; channel < channelsOf(heard); ++channel)
            if (heard.at(heard.begin + i, heard.firstChannel() + channel) !=
                expected.at(expected.begin + i, expected.firstChannel() + channel))
                return i;
    if (heard.frames() != expected.frames()) return frames;
    return {};
}

double signalToDifference(const View& heard, const View& expected, std::ptrdiff_t offset,
                          double gain) {
    double signal = 0;
    double noise = 0;
    forEachSample(heard, expected, offset, [&](double found, double wanted) {
        signal += gain * gain * wanted * wanted;
        noise += (found - gain * wanted) * (found - gain * wanted);
    });
    if (noise == 0) return std::numeric_limits<double>::infinity();
    if (signal == 0) return -std::numeric_limits<double>::infinity();
    return 10 * std::log10(signal / noise);
}

double bestGain(const View& heard, const View& expected, std::ptrdiff_t offset) {
    double both = 0;
    double energy = 0;
    forEachSample(heard, expected, offset, [&](double found, double wanted) {
        both += found * wanted;
        energy += wanted * wanted;
    });
    return energy > 0 ? both / energy : 0;
}

std::string differenceText(double db) {
    if (std::isinf(db)) return db > 0 ? "without any difference" : "nothing to compare with";
    return numberText(db, 1) + " dB above the difference";
}

}  // namespace cabinaudio::hear
