// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>

namespace cabinaudio::plugin {

/// Microseconds of a clock that never jumps.
[[nodiscard]] inline std::uint64_t steadyNow() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

/// Source of the time; tests have their own.
using Clock = std::uint64_t (*)();

}  // namespace cabinaudio::plugin
