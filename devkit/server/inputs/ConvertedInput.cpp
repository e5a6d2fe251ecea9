// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/inputs/InputSource.h"
#include "devkit/server/sound/ChannelMatrix.h"
#include "devkit/server/sound/RateConverter.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace cabinaudio::server {
namespace {

constexpr std::size_t SOURCE_PIECE_FRAMES = 256;

class ConvertedInput : public InputSource {
public:
    ConvertedInput(std::unique_ptr<InputSource> source, std::uint32_t rate, unsigned channels)
        : mSource(std::move(source)),
          mRate(rate),
          mChannels(channels),
          mMatrix(mSource->channels(), channels),
          mPiece(SOURCE_PIECE_FRAMES * mSource->channels()) {
        if (mSource->rate() != rate) mConverter.emplace(mSource->channels(), mSource->rate(), rate);
    }

    [[nodiscard]] std::uint32_t rate() const override { return mRate; }
    [[nodiscard]] unsigned channels() const override { return mChannels; }

    [[nodiscard]] std::optional<InputDevice> device() const override { return mSource->device(); }

    void read(std::span<float> frames) override {
        const std::size_t count = frames.size() / mChannels;
        mRead.assign(count * mSource->channels(), 0.0F);
        if (mConverter)
            readConverted(count);
        else
            mSource->read(mRead);
        std::fill(frames.begin(), frames.end(), 0.0F);
        mMatrix.add(mRead.data(), count, frames.data());
    }

private:
    void readConverted(std::size_t count) {
        const std::size_t channels = mSource->channels();
        std::size_t done = 0;
        while (done < count) {
            if (mPieceFrames == 0) {
                mSource->read(mPiece);
                mPieceFrames = SOURCE_PIECE_FRAMES;
            }
            const float* in = &mPiece[(SOURCE_PIECE_FRAMES - mPieceFrames) * channels];
            const auto progress =
                mConverter->convert(in, mPieceFrames, &mRead[done * channels], count - done);
            if (progress.taken + progress.written == 0) return;  // would loop forever
            mPieceFrames -= progress.taken;
            done += progress.written;
        }
    }

    std::unique_ptr<InputSource> mSource;
    std::uint32_t mRate;
    unsigned mChannels;
    ChannelMatrix mMatrix;
    std::optional<RateConverter> mConverter;
    std::vector<float> mPiece;     // of the source
    std::size_t mPieceFrames = 0;  // at its end, not yet taken by the converter
    std::vector<float> mRead;      // at the new rate, in the source's channels
};

}  // namespace

std::unique_ptr<InputSource> convertInput(std::unique_ptr<InputSource> source, std::uint32_t rate,
                                          unsigned channels) {
    if (source->rate() == rate && source->channels() == channels) return source;
    return std::make_unique<ConvertedInput>(std::move(source), rate, channels);
}

}  // namespace cabinaudio::server
