// SPDX-License-Identifier: Apache-2.0
#include "tests/call/Speech.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>

namespace cabinaudio::test {

std::string speechFile() {
    return "/usr/share/sounds/alsa/Front_Center.wav";
}

std::vector<std::int16_t> samplesOf(const std::string& path) {
    SF_INFO info = {};
    const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file(sf_open(path.c_str(), SFM_READ, &info),
                                                           sf_close);
    if (file == nullptr || info.channels != 1) return {};
    std::vector<std::int16_t> samples(static_cast<std::size_t>(info.frames));
    samples.resize(
        static_cast<std::size_t>(sf_read_short(file.get(), samples.data(), info.frames)));
    return samples;
}

std::vector<double> thinned(const std::vector<std::int16_t>& samples, std::size_t factor) {
    std::vector<double> result;
    for (std::size_t at = 0; at + factor <= samples.size(); at += factor) {
        const auto* const begin = samples.data() + at;
        result.push_back(std::accumulate(begin, begin + factor, 0.0) / static_cast<double>(factor));
    }
    return result;
}

double correlation(const std::vector<double>& part, const std::vector<double>& loop) {
    const auto energy = [](double sum, double sample) { return sum + sample * sample; };
    const double own = std::accumulate(part.begin(), part.end(), 0.0, energy);
    double best = -1.0;
    for (std::size_t lag = 0; lag < loop.size(); ++lag) {
        double product = 0.0;
        double other = 0.0;
        for (std::size_t i = 0, at = lag; i < part.size(); ++i, ++at) {
            if (at == loop.size()) at = 0;
            product += part[i] * loop[at];
            other += loop[at] * loop[at];
        }
        if (own > 0.0 && other > 0.0) best = std::max(best, product / std::sqrt(own * other));
    }
    return best;
}

}  // namespace cabinaudio::test
