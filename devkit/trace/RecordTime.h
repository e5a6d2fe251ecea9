// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace cabinaudio::trace {

/// A packet's time in nanoseconds since 1970.
/// @param units       as in the packet
/// @param resolution  as in the interface's option: a power of 10, or with bit 7 a power of 2
/// @param offset      seconds to add
[[nodiscard]] std::uint64_t nanosecondsOf(std::uint64_t units, std::uint8_t resolution,
                                          std::int64_t offset);

/// "2026-11-23T09:31:32.123456789Z"
[[nodiscard]] std::string isoTime(std::uint64_t nanoseconds);

/// Now, nanoseconds since 1970. Any thread.
[[nodiscard]] std::uint64_t nanosecondsNow();

}  // namespace cabinaudio::trace
