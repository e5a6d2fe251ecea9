// SPDX-License-Identifier: Apache-2.0
#include "tests/tools/Likeness.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace cabinaudio::test {

namespace {

/// Where both are compared: half a sample is a small part of a tune's wave.
constexpr int COMPARED_RATE = 8000;

/// A sample of each block's mean: filters well enough for what is compared.
std::vector<double> thinned(const Sound& sound) {
    const auto block = static_cast<std::size_t>(sound.info.samplerate / COMPARED_RATE);
    std::vector<double> thin(sound.samples.size() / block);
    for (std::size_t i = 0; i < thin.size(); ++i)
        for (std::size_t j = 0; j < block; ++j)
            thin[i] += static_cast<double>(sound.samples[i * block + j]) / 2147483648.0;
    return thin;
}

double correlation(const double* a, const double* b, std::size_t count) {
    double ab = 0;
    double aa = 0;
    double bb = 0;
    for (std::size_t i = 0; i < count; ++i) {
        ab += a[i] * b[i];
        aa += a[i] * a[i];
        bb += b[i] * b[i];
    }
    return ab / std::sqrt(std::max(aa * bb, 1e-12));
}

}  // namespace

void writeTune(const std::string& path, int rate, int seconds) {
    constexpr double TURN = 6.283185307179586;
    std::vector<float> samples(static_cast<std::size_t>(rate * seconds));
    double phase = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const std::size_t note = i * 10 / static_cast<std::size_t>(rate);
        phase += TURN * (150.0 + static_cast<double>(note * 37 % 23) * 15.0) / rate;
        samples[i] = static_cast<float>(0.5 * std::sin(phase));
    }
    SF_INFO info = {};
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    info.samplerate = rate;
    info.channels = 1;
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (file == nullptr) throw std::runtime_error(path + ": " + sf_strerror(nullptr));
    sf_writef_float(file, samples.data(), static_cast<sf_count_t>(samples.size()));
    sf_close(file);
}

namespace {

struct Match {
    double likeness = 0;
    std::size_t quietBefore = 0;  // thinned samples of the recording
    std::size_t shift = 0;        // of the original, where the loud part of the recording begins
};

Match matchOf(const Sound& recorded, const Sound& original) {
    const std::vector<double> heard = thinned(recorded);
    const std::vector<double> played = thinned(original);
    constexpr double LOUD = 0.1;
    const auto begin = std::find_if(heard.begin(), heard.end(),
                                    [](double sample) { return std::abs(sample) > LOUD; });
    constexpr std::size_t SLACK = COMPARED_RATE / 5;
    const auto length = static_cast<std::size_t>(heard.end() - begin);
    if (length < COMPARED_RATE / 4 || played.size() < SLACK) return {};
    Match best{0, heard.size() - length, 0};
    const std::size_t count = std::min(length, played.size() - SLACK);
    for (std::size_t shift = 0; shift < SLACK; ++shift) {
        const double here = correlation(&*begin, played.data() + shift, count);
        if (here <= best.likeness) continue;
        best.likeness = here;
        best.shift = shift;
    }
    return best;
}

}  // namespace

double likeness(const Sound& recorded, const Sound& original) {
    return matchOf(recorded, original).likeness;
}

double millisecondsCut(const Sound& recorded, const Sound& original) {
    const Match match = matchOf(recorded, original);
    if (match.likeness == 0) throw std::runtime_error("a recording of something else");
    const double samples =
        static_cast<double>(match.shift) - static_cast<double>(match.quietBefore);
    return 1000 * samples / COMPARED_RATE;
}

}  // namespace cabinaudio::test
