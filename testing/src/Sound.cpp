// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Sound.h"

#include <cabinaudio/testing/Failure.h>
#include <cabinaudio/testing/Sound.h>

#include "devkit/hear/Error.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <utility>

namespace cabinaudio::testing {

double Sound::peakDb() const {
    float peak = 0;
    for (const float sample : samples)
        peak = std::max(peak, std::fabs(sample));
    return 20.0 * std::log10(static_cast<double>(peak));
}

Sound Sound::channel(unsigned number) const {
    if (number >= channels)
        throw Failure("a sound of " + std::to_string(channels) + " channels has no channel " +
                      std::to_string(number));
    Sound one{rate, 1, {}, path};
    one.samples.reserve(frames());
    for (std::size_t at = number; at < samples.size(); at += channels)
        one.samples.push_back(samples[at]);
    return one;
}

Sound readSound(const std::string& path) {
    try {
        hear::Sound sound = hear::readSound(path);
        return {sound.rate, sound.channels, std::move(sound.samples), path};
    } catch (const hear::Error& error) {
        throw Failure(error.what());
    }
}

void PrintTo(const Sound& sound, std::ostream* out) {
    char text[100];
    std::snprintf(text, sizeof text, "%.3f s, %u Hz, %u %s, ", sound.seconds(), sound.rate,
                  sound.channels, sound.channels == 1 ? "channel" : "channels");
    *out << text;
    const double peak = sound.peakDb();
    std::snprintf(text, sizeof text, "peak %.1f dBFS", peak);
    *out << (std::isinf(peak) ? "silent" : text);
}

}  // namespace cabinaudio::testing
