// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <atomic>
#include <ctime>

namespace cabinaudio {

/// Clock of all time stamps of this process, for a caller that made the choice with chosenClock()
/// and then reads the clock often. Chosen once, so that no two stamps are of different clocks.
CABINAUDIO_LOCAL extern std::atomic<clockid_t> gLibraryClock;

/// The same, from any caller; the first one chooses.
clockid_t chosenClock();

}  // namespace cabinaudio
