// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

namespace cabinaudio {

/// Whether a thread that may not be a real-time one is to be an ordinary one instead of none.
/// Alone in its meaning, so relaxed accesses do.
inline std::atomic<bool> gAllowsOrdinaryThreads{false};

}  // namespace cabinaudio
