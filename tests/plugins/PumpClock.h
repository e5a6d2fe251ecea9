// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace cabinaudio::test {

/// The time of a pump under test, in microseconds; only the test moves it.
inline std::uint64_t gNow = 0;

inline std::uint64_t testNow() {
    return gNow;
}

}  // namespace cabinaudio::test
