// SPDX-License-Identifier: Apache-2.0
#include "tools/Failure.h"
#include "tools/record/Target.h"

#include <sbc/sbc.h>

#include <array>
#include <cstring>
#include <utility>

namespace cabinaudio::tool {

namespace {

class MsbcTarget : public Target {
public:
    explicit MsbcTarget(std::unique_ptr<Target> samples) : mSamples(std::move(samples)) {
        if (const int error = sbc_init_msbc(&mCodec, 0); error != 0)
            throw Failure(std::string("no mSBC decoder: ") + std::strerror(-error));
        mCodec.endian = SBC_LE;
    }
    ~MsbcTarget() override { sbc_finish(&mCodec); }
    MsbcTarget(const MsbcTarget&) = delete;
    MsbcTarget& operator=(const MsbcTarget&) = delete;

    void write(Bytes frame) override {
        std::array<std::uint8_t, 240> samples;  // 120 samples of 16 bits
        std::size_t size = 0;
        const ssize_t taken =
            sbc_decode(&mCodec, frame.data(), frame.size(), samples.data(), samples.size(), &size);
        if (taken != static_cast<ssize_t>(frame.size()) || size != samples.size())
            throw Failure("the server has sent what is no mSBC frame; --raw keeps it as it is");
        mSamples->write(samples);
    }

    void close() override { mSamples->close(); }
    Level takeLevel() override { return mSamples->takeLevel(); }

private:
    std::unique_ptr<Target> mSamples;
    sbc_t mCodec = {};
};

}  // namespace

std::unique_ptr<Target> decodeMsbcFor(std::unique_ptr<Target> target) {
    return std::make_unique<MsbcTarget>(std::move(target));
}

}  // namespace cabinaudio::tool
