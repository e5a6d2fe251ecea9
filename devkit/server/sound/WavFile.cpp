// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/sound/WavFile.h"

#include "devkit/server/base/Log.h"

#include <stdexcept>

namespace cabinaudio::server {
namespace {

int subformatOf(SampleType type) {
    switch (type) {
        case SampleType::S16:
            return SF_FORMAT_PCM_16;
        case SampleType::S24:
            return SF_FORMAT_PCM_24;
        case SampleType::S32:
            return SF_FORMAT_PCM_32;
        case SampleType::Float:
            break;
    }
    return SF_FORMAT_FLOAT;
}

int subformatOf(unsigned bytesPerSample) {
    switch (bytesPerSample) {
        case 1:
            return SF_FORMAT_PCM_U8;
        case 2:
            return SF_FORMAT_PCM_16;
        case 3:
            return SF_FORMAT_PCM_24;
        default:
            return SF_FORMAT_PCM_32;
    }
}

}  // namespace

WavFile::WavFile(const std::string& path, std::uint32_t rate, unsigned channels, SampleType type)
    : WavFile(path, rate, channels, subformatOf(type), channels * sizeOf(type)) {}

WavFile::WavFile(const std::string& path, const StreamFormat& format)
    : WavFile(path, format.rate, format.channels, subformatOf(format.bytesPerSample),
              format.frameBytes()) {}

WavFile::WavFile(const std::string& path, std::uint32_t rate, unsigned channels, int subformat,
                 std::size_t frameBytes)
    : mPath(path), mBytesPerSecond(rate * frameBytes) {
    SF_INFO info = {};
    info.samplerate = static_cast<int>(rate);
    info.channels = static_cast<int>(channels);
    info.format = SF_FORMAT_WAV | subformat;
    mFile.reset(sf_open(path.c_str(), SFM_WRITE, &info));
    if (!mFile) throw std::runtime_error(path + ": " + sf_strerror(nullptr));
    // The peaks' chunk of float files holds the time of day: equal sound must give equal files.
    sf_command(mFile.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    sf_command(mFile.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
}

void WavFile::write(std::span<const std::uint8_t> frames) {
    const auto length = static_cast<sf_count_t>(frames.size());
    if (sf_write_raw(mFile.get(), frames.data(), length) != length && !mHasFailed) {
        log::error("%s: %s", mPath.c_str(), sf_strerror(mFile.get()));
        mHasFailed = true;
    }
    mBytesSinceUpdate += frames.size();
    if (mBytesSinceUpdate >= mBytesPerSecond) {
        sf_command(mFile.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
        mBytesSinceUpdate = 0;
    }
}

}  // namespace cabinaudio::server
