// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/UniqueFd.h"

#include <poll.h>

#include <chrono>
#include <vector>

namespace cabinaudio::replay {

using server::UniqueFd;
using Clock = std::chrono::steady_clock;

/// Waits for descriptors and for wake() of other threads.
class Waker {
public:
    /// @param interruption  descriptor that is readable once the user wants to end; -1: none
    explicit Waker(int interruption);

    /// From any thread.
    void wake() const;

    /// Until one of the descriptors is ready, wake() was called, or the time is over.
    /// @param descriptors  their revents are set
    /// @throws Error  the user wants to end
    void wait(std::vector<pollfd>& descriptors, Clock::time_point until);

private:
    int mInterruption;
    UniqueFd mEvent;
};

}  // namespace cabinaudio::replay
