// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include <unistd.h>

#include <cstdint>
#include <string>

namespace cabinaudio::bench {

/// Our ring, with both sides in one process and without receivers.
class Ours {
public:
    explicit Ours(std::uint32_t size)
        : mRing(SHM_TYPE_POSIX_SHM, ("cabinaudio-bench-" + std::to_string(getpid())).c_str(),
                nullptr, size, SHM_MODE_CREATOR, nullptr) {}

    void write(const unsigned char* src, std::uint32_t length) { mRing.write(src, length); }
    void read(unsigned char* dst, std::uint32_t length) { mRing.read(dst, length); }

private:
    ShareMemoryEx mRing;
};

}  // namespace cabinaudio::bench
