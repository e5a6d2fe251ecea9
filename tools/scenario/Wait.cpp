// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Wait.h"

#include "tools/Duration.h"

#include <thread>

namespace cabinaudio::tool::scenario {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds PROGRESS_PAUSE{2};

}  // namespace

void Wait::until(unsigned line, const std::string& what, const std::function<bool()>& progress,
                 const std::function<bool()>& condition) const {
    Clock::time_point last = Clock::now();
    for (;;) {
        if (progress()) last = Clock::now();
        if (condition()) return;
        if (Clock::now() - last > mBound)
            throw Overdue(line, "waited " + secondsText(mBound) + " for " + what);
        pause();
    }
}

bool Wait::atMost(std::chrono::milliseconds bound, const std::function<bool()>& condition) const {
    const Clock::time_point deadline = Clock::now() + bound;
    while (!condition()) {
        if (Clock::now() > deadline) return false;
        pause();
    }
    return true;
}

bool Wait::regardless(std::chrono::milliseconds bound, const std::function<bool()>& condition) {
    const Clock::time_point deadline = Clock::now() + bound;
    while (!condition()) {
        if (Clock::now() > deadline) return false;
        std::this_thread::sleep_for(PROGRESS_PAUSE);
    }
    return true;
}

void Wait::requireNoInterruption() const {
    if (mInterruption.hasHappened())
        throw Interrupted("interrupted by " + mInterruption.signalName());
}

void Wait::pause() const {
    requireNoInterruption();
    waitForAny({&mInterruption.event()}, PROGRESS_PAUSE);
}

}  // namespace cabinaudio::tool::scenario
