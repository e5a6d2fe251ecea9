// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTime.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace cabinaudio {

/// The moment `ms` milliseconds from now. Spans that 64 bits of microseconds cannot hold end with
/// the clock, so that a wait without an end has none.
inline AudioTime deadlineIn(std::uint64_t ms) {
    constexpr std::uint64_t longestMs = std::numeric_limits<std::int64_t>::max() / 1000;
    AudioTime deadline;
    deadline.travel(static_cast<std::int64_t>(std::min(ms, longestMs) * 1000));
    return deadline;
}

}  // namespace cabinaudio
