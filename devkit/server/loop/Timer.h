// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/UniqueFd.h"
#include "devkit/server/loop/EventLoop.h"

#include <chrono>
#include <cstdint>
#include <functional>

namespace cabinaudio::server {

/// Calls a function on the event loop's thread, once or at every tick of a clock that does not
/// drift (CLOCK_MONOTONIC; each deadline is the previous one plus the interval).
class Timer {
public:
    /// Receives the number of deadlines that have passed since the last call; 1 when in time.
    using Handler = std::function<void(std::uint64_t deadlines)>;

    /// @throws std::system_error
    Timer(EventLoop& loop, Handler handler);
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// Once, `delay` from now.
    void once(std::chrono::nanoseconds delay);
    /// Every `interval`, the first time `interval` from now.
    void every(std::chrono::nanoseconds interval);
    void stop();

private:
    void set(std::chrono::nanoseconds first, std::chrono::nanoseconds interval);

    EventLoop& mLoop;
    UniqueFd mFd;
};

}  // namespace cabinaudio::server
