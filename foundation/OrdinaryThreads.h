// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

namespace cabinaudio {

/// Whether a thread that may not be a real-time one is created as an ordinary one instead of not at
/// all. No other data depends on this flag, so relaxed order is enough.
inline std::atomic<bool> gAllowsOrdinaryThreads{false};

}  // namespace cabinaudio
