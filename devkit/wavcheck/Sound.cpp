// SPDX-License-Identifier: Apache-2.0
#include "devkit/wavcheck/Sound.h"

#include <samplerate.h>

#include <cmath>
#include <sndfile.hh>
#include <stdexcept>

namespace cabinaudio::wavcheck {
namespace {

int bitsOf(int format) {
    switch (format & SF_FORMAT_SUBMASK) {
        case SF_FORMAT_PCM_U8:
        case SF_FORMAT_PCM_S8:
            return 8;
        case SF_FORMAT_PCM_16:
            return 16;
        case SF_FORMAT_PCM_24:
            return 24;
        case SF_FORMAT_PCM_32:
            return 32;
        default:
            return 0;
    }
}

}  // namespace

Sound readSound(const std::string& path) {
    SndfileHandle file(path);
    // The handle's operator! does not report a file that could not be opened.
    if (file.error() != SF_ERR_NO_ERROR) throw std::runtime_error(path + ": " + file.strError());
    if (file.frames() == 0) throw std::runtime_error(path + ": no sound in it");
    Sound sound{file.samplerate(), file.channels(), bitsOf(file.format()), {}};
    const auto samples = static_cast<std::size_t>(file.frames() * file.channels());
    sound.samples.resize(samples);
    if (file.readf(sound.samples.data(), file.frames()) != file.frames())
        throw std::runtime_error(path + ": shorter than its header says");
    return sound;
}

Sound atRate(const Sound& sound, int rate) {
    const std::vector<float> in(sound.samples.begin(), sound.samples.end());
    const double ratio = static_cast<double>(rate) / sound.rate;
    const auto frames = static_cast<long>(std::ceil(static_cast<double>(sound.frames()) * ratio));
    std::vector<float> out(static_cast<std::size_t>(frames * sound.channels));
    SRC_DATA data{};
    data.data_in = in.data();
    data.data_out = out.data();
    data.input_frames = static_cast<long>(sound.frames());
    data.output_frames = frames;
    data.src_ratio = ratio;
    if (const int error = src_simple(&data, SRC_SINC_BEST_QUALITY, sound.channels); error != 0)
        throw std::runtime_error(src_strerror(error));
    out.resize(static_cast<std::size_t>(data.output_frames_gen * sound.channels));
    return {rate, sound.channels, 0, {out.begin(), out.end()}};
}

}  // namespace cabinaudio::wavcheck
