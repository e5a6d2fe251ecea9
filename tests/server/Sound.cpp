// SPDX-License-Identifier: Apache-2.0
#include "tests/server/Sound.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <stdexcept>

namespace cabinaudio::test {

std::vector<float> Wav::channel(unsigned index) const {
    std::vector<float> result;
    for (std::size_t i = index; i < samples.size(); i += channels)
        result.push_back(static_cast<float>(samples[i] / 2147483648.0));
    return result;
}

Wav readWav(const std::string& path) {
    SF_INFO info = {};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr) throw std::runtime_error(path + ": " + sf_strerror(nullptr));
    Wav wav;
    wav.rate = static_cast<unsigned>(info.samplerate);
    wav.channels = static_cast<unsigned>(info.channels);
    wav.subformat = info.format & SF_FORMAT_SUBMASK;
    wav.samples.resize(static_cast<std::size_t>(info.frames) * wav.channels);
    const sf_count_t frames = sf_readf_int(file, wav.samples.data(), info.frames);
    sf_close(file);
    if (frames != info.frames) throw std::runtime_error(path + ": shorter than its header says");
    return wav;
}

void writeWav(const std::string& path, unsigned rate, unsigned channels,
              const std::vector<std::int16_t>& samples) {
    SF_INFO info = {};
    info.samplerate = static_cast<int>(rate);
    info.channels = static_cast<int>(channels);
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (file == nullptr) throw std::runtime_error(path + ": " + sf_strerror(nullptr));
    const auto count = static_cast<sf_count_t>(samples.size());
    const sf_count_t written = sf_write_short(file, samples.data(), count);
    sf_close(file);
    if (written != count) throw std::runtime_error(path + ": not written");
}

std::vector<std::int16_t> speech16(unsigned rate, std::size_t count) {
    constexpr double SYLLABLES_PER_SECOND = 4;
    std::vector<std::int16_t> samples(count);
    double turn = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const double time = static_cast<double>(i) / rate;
        turn += (140 + 30 * std::sin(2 * std::numbers::pi * 0.7 * time)) / rate;
        double voice = 0;
        for (int harmonic = 1; harmonic <= 12; ++harmonic) {
            const double distance = (harmonic - 4) / 3.0;  // from the formant
            voice +=
                std::exp(-distance * distance) * std::sin(2 * std::numbers::pi * harmonic * turn);
        }
        const double loudness =
            0.5 - 0.5 * std::cos(2 * std::numbers::pi * SYLLABLES_PER_SECOND * time);
        samples[i] = static_cast<std::int16_t>(std::lround(4000 * loudness * voice));
    }
    return samples;
}

double correlation(const std::vector<std::int16_t>& sooner, const std::vector<std::int16_t>& later,
                   std::size_t maximumLag) {
    double best = 0;
    for (std::size_t lag = 0; lag <= maximumLag && lag < later.size(); ++lag) {
        const std::size_t count = std::min(sooner.size(), later.size() - lag);
        double product = 0;
        double left = 0;
        double right = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const double a = sooner[i];
            const double b = later[i + lag];
            product += a * b;
            left += a * a;
            right += b * b;
        }
        if (left > 0 && right > 0) best = std::max(best, product / std::sqrt(left * right));
    }
    return best;
}

std::vector<std::int16_t> noise16(std::size_t count, std::uint32_t seed) {
    std::vector<std::int16_t> samples(count);
    std::uint32_t state = seed;
    for (auto& sample : samples) {
        state = state * 1664525U + 1013904223U;
        sample = static_cast<std::int16_t>(state >> 16);
    }
    return samples;
}

std::vector<std::int16_t> sine16(double frequency, unsigned rate, std::size_t count,
                                 double amplitude) {
    std::vector<std::int16_t> samples(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
        samples[i] = static_cast<std::int16_t>(std::lround(32767 * amplitude * std::sin(phase)));
    }
    return samples;
}

double amplitudeOf(double frequency, unsigned rate, const float* samples, std::size_t count) {
    std::complex<double> sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
        sum += std::polar<double>(samples[i], -phase);
    }
    return 2 * std::abs(sum) / static_cast<double>(count);
}

}  // namespace cabinaudio::test
