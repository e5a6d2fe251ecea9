// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <atomic>
#include <ctime>

namespace cabinaudio {

constexpr clockid_t CLOCK_NOT_CHOSEN = -1;

/// Clock of all time stamps of this process. Chosen once, so that no two stamps are of different
/// clocks. Read directly only after a call of chosenClock().
CABINAUDIO_LOCAL extern std::atomic<clockid_t> gLibraryClock;

/// Makes the choice. Several threads may; they choose the same.
clockid_t chooseClock();

inline clockid_t chosenClock() {
    const clockid_t clock = gLibraryClock.load(std::memory_order_relaxed);
    return clock != CLOCK_NOT_CHOSEN ? clock : chooseClock();
}

}  // namespace cabinaudio
