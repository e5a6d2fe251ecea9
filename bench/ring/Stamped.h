// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <ctime>

namespace cabinaudio::bench {

inline void takeTime() {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    asm volatile("" : : "r"(&now) : "memory");
}

/// A ring that takes the time once per write, as ours does for its header.
template <typename Ring>
class Stamped {
public:
    explicit Stamped(std::uint32_t size) : mRing(size) {}

    void write(const unsigned char* src, std::uint32_t length) {
        mRing.write(src, length);
        takeTime();
    }
    void read(unsigned char* dst, std::uint32_t length) { mRing.read(dst, length); }

private:
    Ring mRing;
};

}  // namespace cabinaudio::bench
