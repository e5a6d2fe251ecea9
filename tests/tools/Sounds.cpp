// SPDX-License-Identifier: Apache-2.0
#include "tests/tools/Sounds.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace cabinaudio::test {

namespace {

struct Close {
    void operator()(SNDFILE* file) const { sf_close(file); }
};

std::unique_ptr<SNDFILE, Close> openSound(const std::string& path, int mode, SF_INFO& info) {
    std::unique_ptr<SNDFILE, Close> file(sf_open(path.c_str(), mode, &info));
    if (file == nullptr) throw std::runtime_error(path + ": " + sf_strerror(nullptr));
    return file;
}

bool isFloating(int format) {
    const int kind = format & SF_FORMAT_SUBMASK;
    return kind == SF_FORMAT_FLOAT || kind == SF_FORMAT_DOUBLE || kind == SF_FORMAT_VORBIS ||
           kind == SF_FORMAT_OPUS || kind == SF_FORMAT_MPEG_LAYER_III;
}

/// Bit 24 is always set, so that the sample is not 0 even with 8 bits.
std::int32_t noise(std::uint32_t& state) {
    state = state * 1664525u + 1013904223u;
    return static_cast<std::int32_t>((state & 0x7fffffffu) | 0x01000000u) - 0x40000000;
}

std::vector<float> readFloats(const std::string& path, SF_INFO& info) {
    const auto file = openSound(path, SFM_READ, info);
    std::vector<float> samples(static_cast<std::size_t>(info.frames * info.channels));
    const sf_count_t frames = sf_readf_float(file.get(), samples.data(), info.frames);
    samples.resize(static_cast<std::size_t>(frames * info.channels));
    return samples;
}

}  // namespace

void writeSound(const std::string& path, const SoundShape& shape) {
    SF_INFO info = {};
    info.format = shape.format;
    info.samplerate = shape.rate;
    info.channels = shape.channels;
    const auto file = openSound(path, SFM_WRITE, info);
    std::uint32_t state = 1;
    std::vector<std::int32_t> samples(shape.frames * static_cast<std::size_t>(shape.channels));
    std::generate(samples.begin(), samples.end(), [&] { return noise(state); });
    const auto frames = static_cast<sf_count_t>(shape.frames);
    bool written = false;
    if (isFloating(shape.format)) {
        std::vector<float> floats(samples.size());
        std::transform(samples.begin(), samples.end(), floats.begin(), [](std::int32_t sample) {
            return static_cast<float>(std::ldexp(static_cast<double>(sample), -31));
        });
        written = sf_writef_float(file.get(), floats.data(), frames) == frames;
    } else {
        written = sf_writef_int(file.get(), samples.data(), frames) == frames;
    }
    if (!written) throw std::runtime_error(path + ": cannot be written");
}

Sound readSound(const std::string& path) {
    Sound sound = {};
    if (SF_INFO info = {}; openSound(path, SFM_READ, info) != nullptr && isFloating(info.format)) {
        for (const float sample : readFloats(path, sound.info))
            sound.samples.push_back(static_cast<std::int32_t>(std::clamp(
                std::ldexp(static_cast<double>(sample), 31), -2147483648.0, 2147483647.0)));
        return sound;
    }
    const auto file = openSound(path, SFM_READ, sound.info);
    sound.samples.resize(static_cast<std::size_t>(sound.info.frames * sound.info.channels));
    const sf_count_t frames = sf_readf_int(file.get(), sound.samples.data(), sound.info.frames);
    sound.samples.resize(static_cast<std::size_t>(frames * sound.info.channels));
    return sound;
}

std::vector<std::int32_t> decodedTo16Bits(const std::string& path) {
    std::vector<std::int32_t> samples;
    SF_INFO info = {};
    for (const float sample : readFloats(path, info)) {
        const double step = std::nearbyint(static_cast<double>(sample) * 32768);
        samples.push_back(static_cast<std::int32_t>(std::clamp(step, -32768.0, 32767.0)) * 65536);
    }
    return samples;
}

std::vector<std::int32_t> withoutSilence(std::vector<std::int32_t> sound) {
    const auto sounds = [](std::int32_t sample) { return sample != 0; };
    sound.erase(std::find_if(sound.rbegin(), sound.rend(), sounds).base(), sound.end());
    sound.erase(sound.begin(), std::find_if(sound.begin(), sound.end(), sounds));
    return sound;
}

}  // namespace cabinaudio::test
