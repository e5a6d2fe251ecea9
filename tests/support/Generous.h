// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace cabinaudio::test {

/// The bound to judge a promised time by: a busy machine, an emulator or a sanitizer makes
/// everything several times as slow, and what hangs takes longer than that.
template <typename Rep, typename Period>
[[nodiscard]] constexpr std::chrono::duration<Rep, Period> generous(
    std::chrono::duration<Rep, Period> promised) {
    constexpr int TIMES = 5;
    return promised * TIMES;
}

}  // namespace cabinaudio::test
