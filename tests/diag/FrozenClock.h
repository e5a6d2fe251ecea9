// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace cabinaudio::test {

/// While it lives, this thread reads the same time from every clock.
class FrozenClock {
public:
    explicit FrozenClock(std::uint64_t microseconds);
    ~FrozenClock();
    FrozenClock(const FrozenClock&) = delete;
    FrozenClock& operator=(const FrozenClock&) = delete;
};

}  // namespace cabinaudio::test
