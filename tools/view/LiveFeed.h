// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/top/ServerPoll.h"
#include "tools/view/Snapshot.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>

namespace cabinaudio::tool::view {

/// The development server's levels, streams and last requests, asked for as often as they are
/// shown. Used on one thread.
class LiveFeed {
public:
    /// @param timeout  for an answer
    explicit LiveFeed(std::chrono::milliseconds timeout) : mPoll(timeout) {}

    /// Sends the question, unless an answer is still awaited.
    void ask();
    /// Call when the descriptor is readable. @return whether there is something new to show
    [[nodiscard]] bool receive();
    /// To wait for; -1 while nothing can come.
    [[nodiscard]] int descriptor() const { return mPoll.descriptor(); }

    /// Waits for the first answer. @return false when the server has no such command
    [[nodiscard]] bool begin(std::chrono::milliseconds bound);

    /// Null before the first answer.
    [[nodiscard]] const std::shared_ptr<const Live>& live() const { return mLive; }
    /// The last answer, with all of its members.
    [[nodiscard]] const Json& state() const { return mState; }

private:
    using Clock = std::chrono::steady_clock;

    void takeRequests();

    top::ServerPoll mPoll;
    Json mState;
    std::shared_ptr<const Live> mLive;
    std::deque<AnsweredRequest> mRequests;
    std::uint64_t mLastRequest = 0;
    std::string mShown;  // the members without the time, as published last
    Clock::time_point mShownAt;
};

}  // namespace cabinaudio::tool::view
