// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

namespace cabinaudio {

/// Whether a thread is created with ordinary scheduling when real-time scheduling is not permitted;
/// otherwise its creation fails. No other data depends on this flag, so relaxed order is enough.
inline std::atomic<bool> gAllowsOrdinaryThreads{false};

}  // namespace cabinaudio
