// SPDX-License-Identifier: Apache-2.0
#include "bench/ring/Yardstick.h"

#include <cstring>

namespace cabinaudio::bench {

Yardstick::Yardstick(unsigned size) : mBuffer(new unsigned char[size]()), mSize(size) {}

int Yardstick::write(const unsigned char* src, unsigned len) {
    std::memcpy(&mBuffer[mWriteAt], src, len);
    mWriteAt += len;
    if (mWriteAt + len > mSize) mWriteAt = 0;
    clock_gettime(CLOCK_MONOTONIC, &mStamp);
    return static_cast<int>(len);
}

int Yardstick::read(unsigned char* dst, unsigned len) {
    std::memcpy(dst, &mBuffer[mReadAt], len);
    mReadAt += len;
    if (mReadAt + len > mSize) mReadAt = 0;
    return static_cast<int>(len);
}

}  // namespace cabinaudio::bench
