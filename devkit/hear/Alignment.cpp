// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Alignment.h"

#include "devkit/hear/Fourier.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>

namespace cabinaudio::hear {
namespace {

// Correlations that differ by less are equal: single precision.
constexpr double EQUAL = 1e-5;

std::vector<float> meanOf(const View& view, std::size_t size) {
    std::vector<float> mean(size);
    for (std::size_t frame = view.begin; frame < view.end; ++frame)
        for (unsigned channel = view.firstChannel(); channel < view.lastChannel(); ++channel)
            mean[frame - view.begin] += view.at(frame, channel);
    return mean;
}

std::size_t fastSize(std::size_t least) {
    std::size_t size = 1;
    while (size < least)
        size *= 2;
    return size;
}

double energyOf(const std::vector<float>& values) {
    return std::inner_product(values.begin(), values.end(), values.begin(), 0.0);
}

/// The correlation at each offset; negative offsets are at the end, as in a circle.
std::vector<float> correlation(const std::vector<float>& in, const std::vector<float>& what) {
    const Fourier fourier(in.size());
    std::vector<std::complex<float>> product = fourier.forward(in);
    const std::vector<std::complex<float>> other = fourier.forward(what);
    for (std::size_t i = 0; i < product.size(); ++i)
        product[i] *= std::conj(other[i]);
    return fourier.backward(product);
}

}  // namespace

Alignment align(const View& view, const Sound& sound) {
    const std::size_t frames = sound.frames();
    if (frames == 0 || view.frames() == 0) return {};
    const std::size_t size = fastSize(view.frames() + frames);
    const View whole{sound, 0, frames,
                     view.channel && sound.channels > 1 ? view.channel : std::nullopt};
    const std::vector<float> in = meanOf(view, size);
    const std::vector<float> what = meanOf(whole, size);
    const double scale = std::sqrt(energyOf(in) * energyOf(what)) * static_cast<double>(size);
    if (scale <= 0) return {};
    const std::vector<float> likeness = correlation(in, what);
    const auto at = [&](std::ptrdiff_t offset) {
        return static_cast<double>(likeness[static_cast<std::size_t>(
                   offset < 0 ? offset + static_cast<std::ptrdiff_t>(size) : offset)]) /
               scale;
    };
    Alignment best{0, at(0)};
    const auto before = static_cast<std::ptrdiff_t>(frames);
    const auto behind = static_cast<std::ptrdiff_t>(view.frames());
    for (std::ptrdiff_t distance = 1; distance < std::max(before, behind); ++distance) {
        for (const std::ptrdiff_t offset : {distance, -distance}) {
            const bool isThere = offset < behind && offset > -before;
            if (isThere && at(offset) > best.likeness + EQUAL) best = {offset, at(offset)};
        }
    }
    best.likeness = std::clamp(best.likeness, 0.0, 1.0);
    return best;
}

}  // namespace cabinaudio::hear
