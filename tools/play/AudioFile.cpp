// SPDX-License-Identifier: Apache-2.0
#include "tools/play/AudioFile.h"

#include "tools/Failure.h"
#include "tools/play/InputBytes.h"

namespace cabinaudio::tool {

namespace {

constexpr int MAXIMAL_CHANNELS = 6;
constexpr int LOWEST_RATE = 8000;
constexpr int HIGHEST_RATE = 192000;

std::unique_ptr<SoundReader> openReader(const std::string& path,
                                        const std::optional<RawFormat>& raw) {
    auto input = std::make_unique<InputBytes>(path);
    if (!raw) return openSound(std::move(input));
    return openRaw(std::move(input), *raw, std::nullopt);
}

}  // namespace

AudioFile::AudioFile(const std::string& path, const std::optional<RawFormat>& raw)
    : mReader(openReader(path, raw)), mShape(mReader->shape()) {
    check();
    mFormat.sampleRate = static_cast<std::uint32_t>(mShape.rate);
    mFormat.channelMap = AudioTypes::getChannelMapType(mShape.channels);
    mFormat.bitDepth = mShape.plan.depth;
    mFrameBytes = static_cast<std::size_t>(mShape.channels) *
                  static_cast<std::size_t>(AudioTypes::getBytesPerSample(mFormat.bitDepth));
}

void AudioFile::check() const {
    if (mShape.channels < 1 || mShape.channels > MAXIMAL_CHANNELS)
        throw Failure("has " + std::to_string(mShape.channels) +
                      " channels; a stream carries 1 to " + std::to_string(MAXIMAL_CHANNELS));
    if (mShape.rate < LOWEST_RATE || mShape.rate > HIGHEST_RATE)
        throw Failure("has a rate of " + std::to_string(mShape.rate) + " Hz; a stream carries " +
                      std::to_string(LOWEST_RATE) + " to " + std::to_string(HIGHEST_RATE) + " Hz");
    if (mShape.frames == 0) throw Failure("holds no sound");
}

double AudioFile::seconds(std::uint64_t bytes) const {
    return static_cast<double>(bytes) / static_cast<double>(bytesPerSecond());
}

std::size_t AudioFile::read(std::vector<unsigned char>& buffer) {
    const auto channels = static_cast<std::size_t>(mShape.channels);
    const std::size_t frames = buffer.size() / mFrameBytes;
    mScratch.resize(frames * channels * sourceBytes(mShape.plan.source));
    const std::size_t got = mReader->read(mScratch.data(), frames);
    convertSamples(mShape.plan, mScratch.data(), got * channels, buffer.data());
    return got * mFrameBytes;
}

}  // namespace cabinaudio::tool
