// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <ctime>
#include <memory>

namespace cabinaudio::bench {

/// The least that a class with our interface can do: copies in and out of a buffer of the ring's
/// size, one chunk behind the other, and takes the time once per write. No shared state, no tests
/// of what is free. Lives in a shared library, so that it is called as our ring is.
class __attribute__((visibility("default"))) Yardstick {
public:
    explicit Yardstick(unsigned size);
    int write(const unsigned char* src, unsigned len);
    int read(unsigned char* dst, unsigned len);

private:
    std::unique_ptr<unsigned char[]> mBuffer;
    std::uint32_t mSize;
    std::uint32_t mReadAt = 0;
    std::uint32_t mWriteAt = 0;
    struct timespec mStamp = {};
};

}  // namespace cabinaudio::bench
