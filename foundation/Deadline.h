// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTime.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace cabinaudio {

/// The deadline `ms` milliseconds from now. A span beyond 64 bits of microseconds is clamped to the
/// longest one, so that an endless wait does not overflow.
inline AudioTime deadlineIn(std::uint64_t ms) {
    constexpr std::uint64_t LONGEST_MS = std::numeric_limits<std::int64_t>::max() / 1000;
    AudioTime deadline;
    deadline.travel(static_cast<std::int64_t>(std::min(ms, LONGEST_MS) * 1000));
    return deadline;
}

}  // namespace cabinaudio
