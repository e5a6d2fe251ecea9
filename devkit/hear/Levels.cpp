// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Levels.h"

#include <cmath>

namespace cabinaudio::hear {

Peak peakOf(const View& view) {
    Peak peak{0, view.begin};
    for (std::size_t frame = view.begin; frame < view.end; ++frame) {
        for (unsigned channel = view.firstChannel(); channel < view.lastChannel(); ++channel) {
            const double amplitude = std::abs(view.at(frame, channel));
            if (amplitude > peak.amplitude) peak = {amplitude, frame};
        }
    }
    return peak;
}

double rmsOf(const View& view, unsigned channel) {
    double sum = 0;
    for (std::size_t frame = view.begin; frame < view.end; ++frame) {
        const double sample = view.at(frame, channel);
        sum += sample * sample;
    }
    return view.frames() == 0 ? 0 : std::sqrt(sum / static_cast<double>(view.frames()));
}

unsigned loudestChannel(const View& view) {
    unsigned loudest = view.firstChannel();
    double level = rmsOf(view, loudest);
    for (unsigned channel = loudest + 1; channel < view.lastChannel(); ++channel) {
        const double other = rmsOf(view, channel);
        if (other <= level) continue;
        level = other;
        loudest = channel;
    }
    return loudest;
}

bool isBelow(const View& view, std::size_t frame, float amplitude) {
    for (unsigned channel = view.firstChannel(); channel < view.lastChannel(); ++channel)
        if (std::abs(view.at(frame, channel)) >= amplitude) return false;
    return true;
}

std::size_t firstAtLeast(const View& view, double amplitude) {
    std::size_t frame = view.begin;
    while (frame < view.end && isBelow(view, frame, static_cast<float>(amplitude)))
        ++frame;
    return frame;
}

}  // namespace cabinaudio::hear
