// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/codecs/FrameEncoder.h"

#include <cstddef>
#include <span>
#include <vector>

namespace cabinaudio::server {

/// Encoder for a codec whose block of samples differs from the server's period.
class BlockEncoder : public FrameEncoder {
public:
    void encode(std::span<const float> samples, const Output& output) final {
        mWaiting.insert(mWaiting.end(), samples.begin(), samples.end());
        std::size_t done = 0;
        for (; mWaiting.size() - done >= mBlockSamples; done += mBlockSamples)
            encodeBlock(std::span<const float>(mWaiting).subspan(done, mBlockSamples), output);
        mWaiting.erase(mWaiting.begin(), mWaiting.begin() + static_cast<std::ptrdiff_t>(done));
    }

protected:
    /// @param blockSamples  of all channels together
    explicit BlockEncoder(std::size_t blockSamples) : mBlockSamples(blockSamples) {}

    virtual void encodeBlock(std::span<const float> block, const Output& output) = 0;

private:
    std::size_t mBlockSamples;
    std::vector<float> mWaiting;  // an incomplete block
};

}  // namespace cabinaudio::server
