// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>

/// This program's own definitions of the platform functions through which a ring shows to others
/// what it has done: requests to the cache device, and posts of the 32-bit C library or the
/// kernel's wake-ups of the other builds' semaphores. They pass every call on.
namespace cabinaudio::test {

struct Shown {
    bool isWakeUp;          // else a request to the cache device
    std::uint64_t request;  // number of that
    std::uint32_t start;    // of its range: lower half of the address
    std::uint32_t length;
};

/// While it lives, looks at the memory just before each such call of this thread; one at a time.
class Witness {
public:
    explicit Witness(std::function<void(const Shown&)> look);
    ~Witness();
    Witness(const Witness&) = delete;
    Witness& operator=(const Witness&) = delete;

private:
    std::function<void(const Shown&)> mLook;
};

}  // namespace cabinaudio::test
