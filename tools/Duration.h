// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace cabinaudio::tool {

/// A duration in milliseconds, with fractions.
[[nodiscard]] double milliseconds(std::chrono::nanoseconds duration);

/// "5 s", "0.25 s".
[[nodiscard]] std::string secondsText(std::chrono::milliseconds duration);

/// A position in a stream, "0:12.3" or "1:02:03.4".
[[nodiscard]] std::string clockText(double seconds);

}  // namespace cabinaudio::tool
