// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Sound.h"

#include "devkit/hear/Error.h"

#include <samplerate.h>

#include <cmath>
#include <sndfile.hh>

namespace cabinaudio::hear {
namespace {

unsigned bitsOf(int format) {
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

/// Without the words that libsndfile puts around the system's reason.
std::string reasonOf(SndfileHandle& file) {
    std::string reason = file.strError();
    constexpr char PREFIX[] = "System error : ";
    if (reason.rfind(PREFIX, 0) == 0) reason.erase(0, sizeof PREFIX - 1);
    if (!reason.empty() && reason.back() == '.') reason.pop_back();
    return reason;
}

}  // namespace

Sound readSound(const std::string& path) {
    SndfileHandle file(path);
    // The handle's operator! does not report a file that could not be opened.
    if (file.error() != SF_ERR_NO_ERROR) throw Error(path + ": " + reasonOf(file));
    Sound sound{static_cast<unsigned>(file.samplerate()),
                static_cast<unsigned>(file.channels()),
                {},
                bitsOf(file.format())};
    if (sound.rate == 0 || sound.channels == 0) throw Error(path + ": no sound in it");
    sound.samples.resize(static_cast<std::size_t>(file.frames()) * sound.channels);
    if (file.readf(sound.samples.data(), file.frames()) != file.frames())
        throw Error(path + ": shorter than its header says");
    return sound;
}

Sound atRate(const Sound& sound, unsigned rate) {
    const double ratio = static_cast<double>(rate) / sound.rate;
    const auto frames = static_cast<long>(std::ceil(static_cast<double>(sound.frames()) * ratio));
    Sound result{rate, sound.channels, {}};
    result.samples.resize(static_cast<std::size_t>(frames) * sound.channels);
    if (frames == 0) return result;
    SRC_DATA data{};
    data.data_in = sound.samples.data();
    data.data_out = result.samples.data();
    data.input_frames = static_cast<long>(sound.frames());
    data.output_frames = frames;
    data.src_ratio = ratio;
    const int channels = static_cast<int>(sound.channels);
    if (const int error = src_simple(&data, SRC_SINC_BEST_QUALITY, channels); error != 0)
        throw Error(std::string("rate conversion: ") + src_strerror(error));
    result.samples.resize(static_cast<std::size_t>(data.output_frames_gen) * sound.channels);
    return result;
}

}  // namespace cabinaudio::hear
