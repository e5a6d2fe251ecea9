// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ExitCode.h"
#include "tools/Interruption.h"
#include "tools/Watchdog.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <type_traits>

namespace cabinaudio::tool {

/// How playing or recording came to its end.
enum class StreamEnd {
    Done,         // all that was asked for
    TimedOut,     // waiting for something
    Removed,      // by the server
    Lost,         // the server went away
    Interrupted,  // by the user
    NoServer,     // from the start
    Refused,      // the server answered an operation with a status
    Failed,       // the file, or a misuse of the library
};

[[nodiscard]] ExitCode exitCode(StreamEnd end);

/// In JSON. @param done  what a good end is called
[[nodiscard]] const char* endName(StreamEnd end, const char* done);

/// An end and what is said about it. Thrown to leave a stream early.
struct Ending {
    StreamEnd how = StreamEnd::Failed;
    std::string text = {};       // for people; without the file
    std::int32_t status = 0;     // of the library or server, behind the end
    std::string waitedFor = {};  // when it timed out
};

/// What a stream's operations and waits need: deadlines, and an end at an interruption.
class StreamControl {
public:
    using Clock = std::chrono::steady_clock;

    /// The shortest and the longest sleep between two looks at what nobody waits on.
    static constexpr std::chrono::nanoseconds kShortestRest = std::chrono::milliseconds(1);
    static constexpr std::chrono::nanoseconds kLongestRest = std::chrono::milliseconds(100);

    /// @param timeout  for each wait that makes no progress
    StreamControl(const Interruption& interruption, Watchdog& watchdog,
                  std::chrono::milliseconds timeout)
        : mInterruption(interruption), mWatchdog(watchdog), mTimeout(timeout) {}

    [[nodiscard]] const Interruption& interruption() const { return mInterruption; }
    [[nodiscard]] std::chrono::milliseconds timeout() const { return mTimeout; }

    /// Runs `call`, which has a deadline of `bound`; the process ends there. @return what it
    /// returns
    template <typename Call>
    auto limit(const char* what, std::chrono::milliseconds bound, Call call) {
        return mWatchdog.limit(what, bound, call);
    }

    // All of these throw an Ending.
    /// Runs `call`, whose requests the library ends after the time-out. @return what it returns
    template <typename Call>
    auto request(const char* what, Call call) {
        const Clock::time_point since = Clock::now();
        if constexpr (std::is_void_v<decltype(call())>) {
            mWatchdog.limit(what, mTimeout + Watchdog::GRACE, call);
            endIfOverdue(since, what);
        } else {
            const auto result = mWatchdog.limit(what, mTimeout + Watchdog::GRACE, call);
            endIfOverdue(since, what);
            return result;
        }
    }
    /// Sleeps for about `bound`, within the limits above.
    void rest(std::chrono::nanoseconds bound) const;
    void endIfInterrupted() const;
    /// Ends when a request that began then has lasted as long as requests may.
    void endIfOverdue(Clock::time_point since, const char* what) const;
    /// Ends when a request with this status has had no answer: its connection is lost.
    void endIfUnanswered(std::int32_t status) const;
    void endIfStalled(Clock::time_point since, const char* what) const;
    /// Ends unless the status is 0. @param operation  "start the stream"
    void demand(std::int32_t status, const std::string& operation) const;
    /// A stream that could not be created has one status for all reasons.
    [[noreturn]] void endByCreation(std::int32_t status) const;
    /// The stream does not exist any more.
    [[noreturn]] void endByRemoval(std::int32_t status) const;

    /// The end of a stream whose thread is stuck in a request, for the watchdog's thread.
    [[nodiscard]] static Ending overdue(const Interruption& interruption,
                                        std::chrono::milliseconds timeout, const std::string& what);

private:
    const Interruption& mInterruption;
    Watchdog& mWatchdog;
    const std::chrono::milliseconds mTimeout;
};

}  // namespace cabinaudio::tool
