// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/link/LinkPolicy.h>

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace cabinaudio {

/// Deadline, by the policy of this process, of a wait for the server that begins now. Without a
/// policy there is none, and the clock is not read.
class ReplyDeadline {
public:
    using Clock = std::chrono::steady_clock;

    ReplyDeadline() noexcept : mTimeout(linkPolicy().replyTimeout) {
        if (isSet()) mEnd = Clock::now() + std::min(mTimeout, LONGEST);
    }

    [[nodiscard]] bool isSet() const { return mTimeout.count() != 0; }
    [[nodiscard]] bool isOver() const { return isSet() && Clock::now() >= mEnd; }
    /// Rounded up; 0 once the deadline has passed. Only if isSet().
    [[nodiscard]] std::uint64_t remainingMs() const {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(mEnd - Clock::now());
        return left.count() > 0 ? static_cast<std::uint64_t>(left.count()) : 0;
    }
    [[nodiscard]] std::chrono::milliseconds timeout() const { return mTimeout; }

private:
    // Keeps the deadline within the range of the clock, whatever timeout an application sets.
    static constexpr std::chrono::milliseconds LONGEST = std::chrono::hours(24 * 365);

    std::chrono::milliseconds mTimeout;
    Clock::time_point mEnd;
};

}  // namespace cabinaudio
