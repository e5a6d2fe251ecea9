// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <atomic>
#include <ctime>

namespace cabinaudio {

constexpr clockid_t CLOCK_NOT_CHOSEN = -1;

/// Clock of all timestamps of this process, chosen once so that all of them are comparable. Read it
/// directly only after a call to chosenClock().
CABINAUDIO_LOCAL extern std::atomic<clockid_t> gLibraryClock;

/// Chooses the clock. Concurrent calls choose the same one.
clockid_t chooseClock();

inline clockid_t chosenClock() {
    const clockid_t clock = gLibraryClock.load(std::memory_order_relaxed);
    return clock != CLOCK_NOT_CHOSEN ? clock : chooseClock();
}

}  // namespace cabinaudio
