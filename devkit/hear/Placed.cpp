// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Placed.h"

#include "devkit/hear/Error.h"
#include "devkit/server/sound/ChannelMatrix.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace cabinaudio::hear {
namespace {

// Bits that a float holds exactly.
constexpr unsigned FLOAT_BITS = 24;

unsigned bitsOf(const Sound& sound) {
    return sound.bits == 0 ? FLOAT_BITS : sound.bits;
}

/// Whether `count` frames from `begin` on are among the first `frames`. A sum might wrap.
bool holds(std::size_t frames, std::size_t begin, std::size_t count) {
    return begin <= frames && count <= frames - begin;
}

Sound emptyLike(const Sound& form, std::size_t frames) {
    Sound sound{form.rate, form.channels, {}, form.bits};
    sound.samples.resize(frames * form.channels);
    return sound;
}

}  // namespace

Sound placed(const StreamReport& stream, const Sound& stem, const Sound& form) {
    const bool isConverted = stem.rate != form.rate;
    const Sound converted = isConverted ? atRate(stem, form.rate) : Sound{};
    const Sound& source = isConverted ? converted : stem;
    Sound output = emptyLike(form, form.frames());
    const server::ChannelMatrix matrix(stem.channels, form.channels);
    std::size_t follows = 0;  // a converted stream is one sound in successive pieces
    for (const Segment& segment : stream.segments) {
        const std::size_t begin = isConverted ? follows : segment.streamFrame;
        // The server's converter may round the end by one frame.
        const std::size_t slack = isConverted ? 1 : 0;
        if (!holds(source.frames() + slack, begin, segment.frames) ||
            !holds(form.frames(), segment.outputFrame, segment.frames)) {
            throw Error("stream \"" + stream.name +
                        "\": the report places it where its stem or "
                        "the sound has nothing");
        }
        const std::size_t there = source.frames() - std::min(begin, source.frames());
        const std::size_t count = std::min(segment.frames, there);
        matrix.add(source.samples.data() + begin * source.channels, count,
                   output.samples.data() + segment.outputFrame * output.channels);
        follows += segment.frames;
    }
    return output;
}

bool isPlacedExactly(const Sound& stem, const Sound& form) {
    const bool isFolded = stem.channels != 1 && stem.channels > form.channels;
    return stem.rate == form.rate && !isFolded && stem.bits != 0 && stem.bits <= bitsOf(form);
}

Sound sumOf(const std::vector<Sound>& sounds, const Sound& form) {
    Sound sum = emptyLike(form, form.frames());
    for (const Sound& sound : sounds)
        std::transform(sound.samples.begin(), sound.samples.end(), sum.samples.begin(),
                       sum.samples.begin(), std::plus<>());
    if (form.bits != 0) {
        const float largest =
            1.0F - std::ldexp(1.0F, 1 - static_cast<int>(std::min(form.bits, FLOAT_BITS)));
        for (float& sample : sum.samples)
            sample = std::clamp(sample, -1.0F, largest);
    }
    return sum;
}

}  // namespace cabinaudio::hear
