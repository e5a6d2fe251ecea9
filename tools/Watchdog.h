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

/// Gives a deadline to calls that have none, or several in a row: files, and operations that make
/// more than one request, each of which the library ends by itself. A call that is overdue cannot
/// be cancelled, so the process reports and ends.
///
/// One thread makes the watched calls; another one, the watchdog's, waits beside it and is the
/// thread that signals arrive in. After an interruption a call gets only a short time more.
class Watchdog {
public:
    using Clock = std::chrono::steady_clock;

    /// What a call gets beyond the time-out of its requests, so that the library ends it.
    static constexpr std::chrono::milliseconds GRACE{500};

    /// Called on the watchdog's thread, while the watched call is stuck for good; `what` is what it
    /// was waiting for. Must not return; what the stuck thread wrote before the call is visible.
    using Overdue = std::function<void(const std::string& what)>;

    Watchdog(const Interruption& interruption, Overdue overdue);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// Runs `call` with a deadline. @return what it returns
    template <typename Call>
    auto limit(const char* what, std::chrono::milliseconds bound, Call call) {
        const Watch watch(*this, what, bound);
        return call();
    }

private:
    class Watch {
    public:
        Watch(Watchdog& dog, const char* what, std::chrono::milliseconds bound);
        ~Watch();
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

    private:
        Watchdog& mDog;
    };

    void run();
    Clock::time_point look(bool interrupted);

    const Interruption& mInterruption;
    const Overdue mOverdue;
    Event mEnd;
    Event mRearmed;  // there is an earlier deadline than the thread sleeps for

    // Guarded by mLock
    std::mutex mLock;
    const char* mWhat = nullptr;  // null while nothing is watched
    Clock::time_point mDeadline;
    Clock::time_point mNextLook = Clock::time_point::max();

    std::thread mThread;  // last: it uses all of the above
};

}  // namespace cabinaudio::tool
