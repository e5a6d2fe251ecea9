// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/Bytes.h"

#include <cstdint>
#include <cstring>

namespace cabinaudio::bench {

/// Lower bound for a ring: copies the same bytes into a buffer of the same size and out again.
/// Single-threaded; a chunk is read immediately after it was written.
class Copies {
public:
    explicit Copies(std::uint32_t size) : mBuffer(size), mSize(size) {}

    void write(const unsigned char* src, std::uint32_t length) {
        std::memcpy(&mBuffer[mAt], src, length);
    }
    void read(unsigned char* dst, std::uint32_t length) {
        std::memcpy(dst, &mBuffer[mAt], length);
        mAt += length;
        if (mAt + length > mSize) mAt = 0;
    }

private:
    Bytes mBuffer;
    std::uint32_t mSize;
    std::uint32_t mAt = 0;
};

}  // namespace cabinaudio::bench
