// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/server/RawClient.h"

#include <cstdint>
#include <memory>
#include <vector>

// The codecs' own decoders, one channel each. Broken data throws std::runtime_error.
namespace cabinaudio::test {

class OpusDecoding {
public:
    explicit OpusDecoding(unsigned rate);
    ~OpusDecoding();
    /// @param packet  without the header that the ring has in front of it
    std::vector<std::int16_t> decode(const Bytes& packet);

private:
    struct State;
    std::unique_ptr<State> mState;
};

class MsbcDecoding {
public:
    MsbcDecoding();
    ~MsbcDecoding();
    std::vector<std::int16_t> decode(const Bytes& frame);

private:
    struct State;
    std::unique_ptr<State> mState;
};

class AacDecoding {
public:
    /// False when it was left out of the build; nothing else may be called then.
    static bool exists();

    AacDecoding();
    ~AacDecoding();
    /// @param frame  of LOAS
    std::vector<std::int16_t> decode(const Bytes& frame);
    /// Hz, once something has been decoded.
    [[nodiscard]] unsigned rate() const;

private:
    struct State;
    std::unique_ptr<State> mState;
};

}  // namespace cabinaudio::test
