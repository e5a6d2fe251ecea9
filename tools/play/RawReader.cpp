// SPDX-License-Identifier: Apache-2.0
#include "tools/play/InputBytes.h"
#include "tools/play/SoundReader.h"
#include "tools/record/WideSamples.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace cabinaudio::tool {

namespace {

using Samples = RawFormat::Samples;

std::size_t sampleBytes(Samples samples) {
    switch (samples) {
        case Samples::U8:
            return 1;
        case Samples::S16:
            return 2;
        case Samples::S24:
            return 3;
        case Samples::S32:
        case Samples::Float:
            return 4;
        case Samples::Double:
            break;
    }
    return 8;
}

SamplePlan rawPlan(Samples samples) {
    switch (samples) {
        case Samples::U8:
            return {SampleSource::Int, AUDIO_BIT_DEPTH_8};
        case Samples::S16:
            return {SampleSource::Int, AUDIO_BIT_DEPTH_16};
        case Samples::S24:
            return {SampleSource::Int, AUDIO_BIT_DEPTH_24};
        case Samples::S32:
            return {SampleSource::Int, AUDIO_BIT_DEPTH_32};
        case Samples::Float:
        case Samples::Double:
            break;
    }
    return {SampleSource::Float, AUDIO_BIT_DEPTH_32};
}

class RawReader : public SoundReader {
public:
    RawReader(std::unique_ptr<InputBytes> input, const RawFormat& format,
              std::optional<std::uint64_t> bytes)
        : mInput(std::move(input)), mFormat(format), mAnnounced(bytes) {}

    [[nodiscard]] Shape shape() const override {
        const std::optional<std::uint64_t> bytes = mAnnounced ? mAnnounced : mInput->left();
        Shape shape{mFormat.channels, mFormat.rate, rawPlan(mFormat.samples), std::nullopt};
        if (bytes) shape.frames = static_cast<std::int64_t>(*bytes / mFormat.frameBytes());
        return shape;
    }

    std::size_t read(void* to, std::size_t frames) override {
        const std::size_t frame = mFormat.frameBytes();
        const std::uint64_t left = mAnnounced ? (*mAnnounced - mTaken) / frame : UINT64_MAX;
        mBytes.resize(frame * static_cast<std::size_t>(std::min<std::uint64_t>(frames, left)));
        const std::size_t got = mInput->read(mBytes);
        mTaken += got;
        mBytes.resize(got - got % frame);
        decode(to);
        return mBytes.size() / frame;
    }

    [[nodiscard]] std::optional<Cut> cut() const override {
        const std::size_t frame = mFormat.frameBytes();
        if (mAnnounced && mTaken / frame < *mAnnounced / frame)
            return Cut{static_cast<std::int64_t>(*mAnnounced / frame - mTaken / frame), ""};
        if (!mAnnounced && mTaken % frame != 0) return Cut{1, "it ends within a frame"};
        return std::nullopt;
    }

private:
    void decode(void* to) {
        if (mFormat.samples == Samples::Float) {
            std::memcpy(to, mBytes.data(), mBytes.size());
        } else if (mFormat.samples == Samples::Double) {
            for (std::size_t i = 0; i < mBytes.size() / sizeof(double); ++i) {
                double sample = 0;
                std::memcpy(&sample, &mBytes[i * sizeof sample], sizeof sample);
                static_cast<float*>(to)[i] = static_cast<float>(sample);
            }
        } else {
            widen(rawPlan(mFormat.samples).depth, mBytes, mWide);
            std::copy(mWide.begin(), mWide.end(), static_cast<std::int32_t*>(to));
        }
    }

    const std::unique_ptr<InputBytes> mInput;
    const RawFormat mFormat;
    const std::optional<std::uint64_t> mAnnounced;  // bytes of samples
    std::uint64_t mTaken = 0;                       // of them
    std::vector<std::uint8_t> mBytes;
    std::vector<std::int32_t> mWide;
};

}  // namespace

std::size_t RawFormat::frameBytes() const {
    return static_cast<std::size_t>(channels) * sampleBytes(samples);
}

std::unique_ptr<SoundReader> openRaw(std::unique_ptr<InputBytes> input, const RawFormat& format,
                                     std::optional<std::uint64_t> bytes) {
    return std::make_unique<RawReader>(std::move(input), format, bytes);
}

}  // namespace cabinaudio::tool
