// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/replay/Conversation.h"
#include "devkit/replay/Waker.h"

#include <cstddef>
#include <vector>

namespace cabinaudio::replay {

/// How far the application has come in all of its connections.
class Progress {
public:
    explicit Progress(const Conversation& conversation);

    /// The application has sent the request of this step, or left it out.
    void received(std::size_t step);
    /// Anything has happened.
    void touch() { mLast = Clock::now(); }
    [[nodiscard]] Clock::duration idle() const { return Clock::now() - mLast; }

    /// Whether everything has come that was recorded before this step, on any connection. Threads
    /// of the application may take turns in another order: after a while without any request the
    /// rest is no longer waited for.
    [[nodiscard]] bool isReached(std::size_t step) const;

private:
    std::vector<bool> mIsAwaited;  // by step
    std::size_t mFirst = 0;        // step that is awaited
    Clock::time_point mLast = Clock::now();
};

}  // namespace cabinaudio::replay
