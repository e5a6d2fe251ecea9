// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::board {

/// The instance of this process, "" for the common one. When the environment holds a name
/// that is not allowed, nullptr: errno is EINVAL then, and once in a process a line on
/// stderr says why.
const char* instanceOrRefuse() noexcept;

/// Told by our constructor: the C library has set the environment up.
void environmentIsThere() noexcept;

}  // namespace cabinaudio::board
