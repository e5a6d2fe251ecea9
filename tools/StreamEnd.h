// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "tools/ExitCode.h"
#include "tools/Interruption.h"
#include "tools/Watchdog.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <type_traits>

namespace cabinaudio::tool {

/// How playback or recording ended.
enum class StreamEnd {
    Done,         // completed as requested
    TimedOut,     // a wait timed out
    Removed,      // by the server
    Lost,         // the server went away
    Interrupted,  // by the user
    NoServer,     // no server at the start
    Refused,      // the server answered an operation with an error status
    Cut,          // the file ends before its end; what there is has been played
    Failed,       // file error, or misuse of the library
};

[[nodiscard]] ExitCode exitCode(StreamEnd end);

/// Name for JSON. @param done  the name of a successful end
[[nodiscard]] const char* endName(StreamEnd end, const char* done);

/// After this time without progress, check whether the stream still exists.
inline constexpr std::chrono::milliseconds SUSPICION{500};

/// An end and its description. Thrown to leave a stream early.
struct Ending {
    StreamEnd kind = StreamEnd::Failed;
    std::string text = {};       // for display; without the file name
    std::int32_t status = 0;     // of the library or server, if it caused the end
    std::string waitedFor = {};  // what the timed-out wait waited for
};

/// Support for a stream's operations and waits: deadlines, and an end on interruption.
class StreamControl {
public:
    using Clock = std::chrono::steady_clock;

    /// Limits of the sleep between two polls of a state that sends no notification.
    static constexpr std::chrono::nanoseconds SHORTEST_REST = std::chrono::milliseconds(1);
    static constexpr std::chrono::nanoseconds LONGEST_REST = std::chrono::milliseconds(100);

    /// @param timeout  for each wait without progress
    StreamControl(const Interruption& interruption, Watchdog& watchdog,
                  std::chrono::milliseconds timeout)
        : mInterruption(interruption), mWatchdog(watchdog), mTimeout(timeout) {}

    [[nodiscard]] const Interruption& interruption() const { return mInterruption; }
    [[nodiscard]] std::chrono::milliseconds timeout() const { return mTimeout; }

    /// Runs `call` with a deadline of `bound`; the process ends when it passes. @return the call's
    /// result
    template <typename Call>
    auto limit(const char* what, std::chrono::milliseconds bound, Call call) {
        return mWatchdog.limit(what, bound, call);
    }

    // All of these throw an Ending.
    // Runs `call`, whose requests the library ends after the timeout. @return the call's result
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
    /// Ends the stream if a request started at `since` has exceeded the time limit of requests.
    void endIfOverdue(Clock::time_point since, const char* what) const;
    /// Ends the stream if this status means that a request had no answer: its connection is lost.
    void endIfUnanswered(std::int32_t status) const;
    void endIfStalled(Clock::time_point since, const char* what) const;
    /// Ends the stream unless the status is 0. @param operation  for example "start the stream"
    void require(std::int32_t status, const std::string& operation) const;
    /// A failed creation has one status for all reasons; this tells a missing server, a name in
    /// use, and other refusals apart.
    [[noreturn]] void endByCreation(std::int32_t status, AudioTagType tag,
                                    const std::string& name) const;
    /// The stream no longer exists.
    [[noreturn]] void endByRemoval(std::int32_t status) const;

    /// How a stream ends whose thread is stuck in a request; for the watchdog's thread.
    [[nodiscard]] static Ending overdue(const Interruption& interruption,
                                        std::chrono::milliseconds timeout, const std::string& what);

private:
    const Interruption& mInterruption;
    Watchdog& mWatchdog;
    const std::chrono::milliseconds mTimeout;
};

}  // namespace cabinaudio::tool
