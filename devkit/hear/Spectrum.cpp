// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Spectrum.h"

#include "devkit/hear/Fourier.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace cabinaudio::hear {
namespace {

// Half the width of a line under a Hann window; what leaks further is 50 dB below the line.
constexpr std::size_t LINE_BINS = 4;

constexpr double PI = 3.14159265358979323846;

std::vector<float> hannWindow(std::size_t size) {
    std::vector<float> window(size);
    for (std::size_t i = 0; i < size; ++i)
        window[i] =
            static_cast<float>(0.5 - 0.5 * std::cos(2 * PI * (static_cast<double>(i) + 0.5) /
                                                    static_cast<double>(size)));
    return window;
}

/// Adds the power of a piece, both sides of the spectrum together.
void addPiece(const View& view, unsigned channel, std::size_t begin, const Fourier& fourier,
              const std::vector<float>& window, std::vector<double>& power) {
    std::vector<float> piece(window.size());
    for (std::size_t i = 0; i < piece.size(); ++i)
        piece[i] = view.at(begin + i, channel) * window[i];
    const std::vector<std::complex<float>> bins = fourier.forward(piece);
    for (std::size_t i = 0; i < bins.size(); ++i) {
        const bool isSingle = i == 0 || 2 * i == piece.size();
        power[i] += (isSingle ? 1 : 2) * static_cast<double>(std::norm(bins[i]));
    }
}

/// Frequency of a line between two bins, exact for a single sine under a Hann window.
double refined(const Spectrum& spectrum, std::size_t top) {
    const auto amplitude = [&](std::size_t bin) {
        return bin < spectrum.power.size() ? std::sqrt(spectrum.power[bin]) : 0.0;
    };
    const double before = top > 0 ? amplitude(top - 1) : 0;
    const double after = amplitude(top + 1);
    const double side = std::max(before, after);
    const double ratio = side / amplitude(top);
    const double shift = (2 * ratio - 1) / (1 + ratio);
    return spectrum.binHz * (static_cast<double>(top) + (after >= before ? shift : -shift));
}

}  // namespace

Spectrum spectrumOf(const View& view, unsigned channel, std::size_t piece) {
    const std::size_t size = std::min(piece, view.frames());
    const std::vector<float> window = hannWindow(size);
    const Fourier fourier(size);
    Spectrum spectrum{static_cast<double>(view.sound.rate) / static_cast<double>(size),
                      std::vector<double>(size / 2 + 1)};
    const std::size_t step = std::max<std::size_t>(size / 2, 1);
    std::size_t pieces = 0;
    for (std::size_t begin = view.begin; begin + size <= view.end; begin += step, ++pieces)
        addPiece(view, channel, begin, fourier, window, spectrum.power);
    if ((view.frames() - size) % step != 0) {  // so that the end counts too
        addPiece(view, channel, view.end - size, fourier, window, spectrum.power);
        ++pieces;
    }
    const double energy = std::inner_product(window.begin(), window.end(), window.begin(), 0.0);
    const double scale = 1 / (energy * static_cast<double>(size) *
                              static_cast<double>(std::max<std::size_t>(pieces, 1)));
    for (double& power : spectrum.power)
        power *= scale;
    return spectrum;
}

Line strongestLine(const Spectrum& spectrum) {
    const std::vector<double>& power = spectrum.power;
    const auto top =
        static_cast<std::size_t>(std::max_element(power.begin(), power.end()) - power.begin());
    if (power[top] <= 0) return {};
    const std::size_t first = top - std::min(top, LINE_BINS);
    const std::size_t last = std::min(top + LINE_BINS + 1, power.size());
    double line = 0;
    double rest = 0;
    for (std::size_t i = 0; i < power.size(); ++i)
        (i >= first && i < last ? line : rest) += power[i];
    return {top == 0 ? 0 : refined(spectrum, top), std::sqrt(line), std::sqrt(rest)};
}

}  // namespace cabinaudio::hear
