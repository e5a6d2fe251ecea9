// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Event.h"
#include "tools/Interruption.h"

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace cabinaudio::tool {

/// Adds a deadline to calls without one: file operations, and operations of several requests, each
/// of which the library bounds by itself. An overdue call cannot be cancelled, so the process
/// reports it and ends.
///
/// One thread makes the watched calls; the watchdog's thread waits beside it and also receives the
/// signals. After an interruption a call gets only a short time more.
class Watchdog {
public:
    using Clock = std::chrono::steady_clock;

    /// Extra time beyond the timeout of a call's requests, so that the library ends it first.
    static constexpr std::chrono::milliseconds GRACE{500};

    /// Called on the watchdog's thread while the watched call is stuck; `what` names what it waits
    /// for. Must not return. Writes of the stuck thread from before the call are visible.
    using Overdue = std::function<void(const std::string& what)>;

    Watchdog(const Interruption& interruption, Overdue overdue);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// Runs `call` with a deadline. @return the call's result
    template <typename Call>
    auto limit(const char* what, std::chrono::milliseconds bound, Call call) {
        const Watch watch(*this, what, bound);
        return call();
    }

private:
    class Watch {
    public:
        Watch(Watchdog& watchdog, const char* what, std::chrono::milliseconds bound);
        ~Watch();
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

    private:
        Watchdog& mWatchdog;
    };

    void run();
    Clock::time_point check(bool interrupted);

    const Interruption& mInterruption;
    const Overdue mOverdue;
    Event mEnd;
    Event mRearmed;  // a deadline earlier than the thread's sleep was set

    // Guarded by mLock
    std::mutex mLock;
    const char* mWatchedCall = nullptr;  // null while no call is watched
    Clock::time_point mDeadline;
    Clock::time_point mNextCheck = Clock::time_point::max();

    std::thread mThread;  // last: uses all members above
};

}  // namespace cabinaudio::tool
