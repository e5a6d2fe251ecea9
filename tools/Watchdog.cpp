// SPDX-License-Identifier: Apache-2.0
#include "tools/Watchdog.h"

#include <algorithm>
#include <utility>

namespace cabinaudio::tool {

namespace {

/// Time left after an interruption for the current call, or for calls that end the stream.
constexpr std::chrono::milliseconds INTERRUPTED_GRACE{1000};

}  // namespace

Watchdog::Watchdog(const Interruption& interruption, Overdue overdue)
    : mInterruption(interruption), mOverdue(std::move(overdue)), mThread(&Watchdog::run, this) {}

Watchdog::~Watchdog() {
    mEnd.set();
    mThread.join();
}

Watchdog::Watch::Watch(Watchdog& watchdog, const char* what, std::chrono::milliseconds bound)
    : mWatchdog(watchdog) {
    if (watchdog.mInterruption.hasHappened()) bound = std::min(bound, INTERRUPTED_GRACE);
    const std::lock_guard lock(watchdog.mLock);
    watchdog.mWatchedCall = what;
    watchdog.mDeadline = Clock::now() + bound;
    if (watchdog.mDeadline < watchdog.mNextCheck) watchdog.mRearmed.set();
}

Watchdog::Watch::~Watch() {
    // Held forever by the watchdog's thread once the call is overdue.
    const std::lock_guard lock(mWatchdog.mLock);
    mWatchdog.mWatchedCall = nullptr;
}

void Watchdog::run() {
    Interruption::receiveHere();
    bool interrupted = false;
    while (!mEnd.isSet()) {
        const bool nowInterrupted = mInterruption.hasHappened();
        const Clock::time_point next = check(nowInterrupted && !interrupted);
        interrupted = nowInterrupted;
        const auto pause = std::min<Clock::duration>(next - Clock::now(), std::chrono::hours(1));
        if (interrupted)
            waitForAny({&mEnd, &mRearmed}, pause);
        else
            waitForAny({&mEnd, &mRearmed, &mInterruption.event()}, pause);
        mRearmed.clear();
    }
}

/// @param interrupted  the interruption has just been seen for the first time
/// @return deadline of the next check
Watchdog::Clock::time_point Watchdog::check(bool interrupted) {
    const std::lock_guard lock(mLock);
    const Clock::time_point now = Clock::now();
    if (interrupted) mDeadline = std::min(mDeadline, now + INTERRUPTED_GRACE);
    if (mWatchedCall != nullptr && now >= mDeadline) mOverdue(mWatchedCall);
    mNextCheck = mWatchedCall != nullptr ? mDeadline : Clock::time_point::max();
    return mNextCheck;
}

}  // namespace cabinaudio::tool
