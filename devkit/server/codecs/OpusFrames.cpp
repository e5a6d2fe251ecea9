// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/base/Log.h"
#include "devkit/server/base/Text.h"
#include "devkit/server/codecs/BlockEncoder.h"

#include <opus/opus.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace cabinaudio::server {
namespace {

constexpr std::array<std::uint32_t, 4> RATES = {8000, 16000, 24000, 48000};
constexpr std::uint32_t PACKETS_PER_SECOND = 50;
constexpr std::size_t LARGEST_PACKET = 1275;  // of a single codec frame
// High enough that the waveform, not only the sound, is preserved for speech.
constexpr std::uint32_t BIT_RATE_OF_A_CHANNEL = 32000;
// Fixed bytes that clients expect after the length.
constexpr std::array<std::uint8_t, 4> MARK = {1, 2, 3, 4};
constexpr std::size_t FRAME_HEADER = 4 + MARK.size();

class OpusFrames : public BlockEncoder {
public:
    OpusFrames(const StreamFormat& format, std::uint32_t bitRate)
        : BlockEncoder(std::size_t{format.rate / PACKETS_PER_SECOND} * format.channels),
          mFrames(static_cast<int>(format.rate / PACKETS_PER_SECOND)) {
        int error = OPUS_OK;
        mEncoder.reset(opus_encoder_create(static_cast<opus_int32>(format.rate),
                                           static_cast<int>(format.channels),
                                           OPUS_APPLICATION_AUDIO, &error));
        if (error != OPUS_OK) throw std::runtime_error(opus_strerror(error));
        const std::uint32_t rate = bitRate != 0 ? bitRate : BIT_RATE_OF_A_CHANNEL * format.channels;
        opus_encoder_ctl(mEncoder.get(), OPUS_SET_BITRATE(static_cast<opus_int32>(rate)));
    }

protected:
    void encodeBlock(std::span<const float> block, const Output& output) override {
        std::vector<std::uint8_t> frame(FRAME_HEADER + LARGEST_PACKET);
        const opus_int32 size = opus_encode_float(mEncoder.get(), block.data(), mFrames,
                                                  frame.data() + FRAME_HEADER, LARGEST_PACKET);
        if (size < 0) {
            log::error("opus: %s", opus_strerror(size));
            return;
        }
        for (unsigned i = 0; i < 4; ++i)
            frame[i] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(size) >> (24 - 8 * i));
        std::copy(MARK.begin(), MARK.end(), frame.begin() + 4);
        frame.resize(FRAME_HEADER + static_cast<std::size_t>(size));
        output(std::move(frame));
    }

private:
    struct Destroy {
        void operator()(OpusEncoder* encoder) const { opus_encoder_destroy(encoder); }
    };
    int mFrames;
    std::unique_ptr<OpusEncoder, Destroy> mEncoder;
};

}  // namespace

std::unique_ptr<FrameEncoder> makeOpusEncoder(const StreamFormat& stream, std::uint32_t bitRate) {
    const bool isKnown = std::find(RATES.begin(), RATES.end(), stream.rate) != RATES.end();
    if (!isKnown || stream.channels > 2) {
        throw std::invalid_argument(
            format("opus: 8000, 16000, 24000 or 48000 Hz in one or two channels, not %u Hz in %u",
                   stream.rate, stream.channels));
    }
    return std::make_unique<OpusFrames>(stream, bitRate);
}

}  // namespace cabinaudio::server
