// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/base/Log.h"
#include "devkit/server/base/Text.h"
#include "devkit/server/codecs/BlockEncoder.h"
#include "devkit/server/sound/SampleCodec.h"

#include <sbc/sbc.h>

#include <cstring>
#include <stdexcept>

namespace cabinaudio::server {
namespace {

constexpr std::uint32_t RATE = 16000;
constexpr std::size_t BLOCK_SAMPLES = 120;
constexpr std::size_t FRAME = 57;

class MsbcFrames : public BlockEncoder {
public:
    MsbcFrames() : BlockEncoder(BLOCK_SAMPLES) {
        if (const int error = sbc_init_msbc(&mCodec, 0); error != 0)
            throw std::runtime_error(std::string("msbc: ") + std::strerror(-error));
        mCodec.endian = SBC_LE;
    }
    ~MsbcFrames() override { sbc_finish(&mCodec); }
    MsbcFrames(const MsbcFrames&) = delete;
    MsbcFrames& operator=(const MsbcFrames&) = delete;

protected:
    void encodeBlock(std::span<const float> block, const Output& output) override {
        std::vector<std::uint8_t> samples;
        encodeSamples(SampleType::S16, block, samples);
        std::vector<std::uint8_t> frame(FRAME);
        ssize_t written = 0;
        const ssize_t taken = sbc_encode(&mCodec, samples.data(), samples.size(), frame.data(),
                                         frame.size(), &written);
        if (taken != static_cast<ssize_t>(samples.size()) || written != FRAME) {
            log::error("msbc: took %zd bytes, gave %zd", taken, written);
            return;
        }
        output(std::move(frame));
    }

private:
    sbc_t mCodec = {};
};

}  // namespace

std::unique_ptr<FrameEncoder> makeMsbcEncoder(const StreamFormat& stream) {
    if (stream.rate != RATE || stream.channels != 1) {
        throw std::invalid_argument(
            format("msbc: 16000 Hz in one channel, not %u Hz in %u", stream.rate, stream.channels));
    }
    return std::make_unique<MsbcFrames>();
}

}  // namespace cabinaudio::server
