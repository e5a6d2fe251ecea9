// SPDX-License-Identifier: Apache-2.0
#include "devkit/wavcheck/Mix.h"

#include "devkit/server/sound/ChannelMatrix.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>

namespace cabinaudio::wavcheck {
namespace {

using server::ChannelMatrix;

/// Adds one frame to another; channels are mapped by the server's rules.
void addFrame(const Sound& source, std::size_t from, const ChannelMatrix& matrix, Sound& output,
              std::size_t to) {
    const auto inputs = static_cast<std::size_t>(source.channels);
    const auto outputs = static_cast<std::size_t>(output.channels);
    for (std::size_t out = 0; out < outputs; ++out) {
        for (std::size_t in = 0; in < inputs; ++in) {
            output.samples[to * outputs + out] +=
                matrix.factor(in, out) * source.samples[from * inputs + in];
        }
    }
}

}  // namespace

Sound placed(const StreamReport& stream, const Sound& stem, const Sound& form, std::size_t frames) {
    const bool isConverted = stem.rate != form.rate;
    const Sound source = isConverted ? atRate(stem, form.rate) : stem;
    Sound output{form.rate, form.channels, form.bits, {}};
    output.samples.resize(frames * static_cast<std::size_t>(form.channels));
    const ChannelMatrix matrix(static_cast<std::size_t>(stem.channels),
                               static_cast<std::size_t>(form.channels));
    std::size_t follows = 0;  // a converted stream is one sound in successive pieces
    for (const Segment& segment : stream.segments) {
        const std::size_t begin = isConverted ? follows : segment.streamFrame;
        // The server's converter may round the end by one frame.
        const std::size_t slack = isConverted ? 1 : 0;
        if (begin + segment.frames > source.frames() + slack ||
            segment.outputFrame + segment.frames > frames) {
            throw std::runtime_error(stream.name + ": reported where there is nothing");
        }
        const std::size_t count = std::min(segment.frames, source.frames() - begin);
        for (std::size_t i = 0; i < count; ++i)
            addFrame(source, begin + i, matrix, output, segment.outputFrame + i);
        follows += segment.frames;
    }
    return output;
}

bool isPlacedExactly(const Sound& stem, const Sound& form) {
    const bool isFolded = stem.channels != 1 && stem.channels > form.channels;
    return stem.rate == form.rate && !isFolded && stem.bits != 0 && stem.bits <= form.bits;
}

Sound sumOf(const std::vector<Sound>& sounds, const Sound& form) {
    Sound sum{form.rate, form.channels, form.bits, {}};
    for (const Sound& sound : sounds) {
        sum.samples.resize(std::max(sum.samples.size(), sound.samples.size()));
        std::transform(sound.samples.begin(), sound.samples.end(), sum.samples.begin(),
                       sum.samples.begin(), std::plus<>());
    }
    if (form.bits != 0) {
        const double largest = 1.0 - std::ldexp(1.0, 1 - form.bits);
        for (double& sample : sum.samples)
            sample = std::clamp(sample, -1.0, largest);
    }
    return sum;
}

}  // namespace cabinaudio::wavcheck
