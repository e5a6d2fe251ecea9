// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>

namespace cabinaudio::test {

/// Threads for conversations that mostly wait for their server.
inline constexpr unsigned AT_ONCE = 32;

/// Calls `body(0)` to `body(count - 1)` on `threads` threads.
void inParallel(std::size_t count, unsigned threads, const std::function<void(std::size_t)>& body);

/// Rounds of a test: fewer where a round takes long, and as many percent of the default as
/// CABINAUDIO_TEST_SCALE says.
[[nodiscard]] unsigned scaled(unsigned rounds);

/// Distance between the cases that are tried where all of them would take long; smaller with a
/// larger scale.
[[nodiscard]] std::size_t stride(std::size_t here);

}  // namespace cabinaudio::test
