// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "devkit/server/base/UniqueFd.h"
#include "devkit/server/loop/EventLoop.h"

#include <functional>

namespace cabinaudio::server {

/// Lets another thread trigger a function on the event loop's thread. As a ring's callback it tells
/// the server that a client has written. Wake-ups that arrive before the function runs are merged.
class Waker : public ShareMemoryUpdateNotificationCallback {
public:
    /// @throws std::system_error
    Waker(EventLoop& loop, std::function<void()> handler);
    ~Waker() override;
    Waker(const Waker&) = delete;
    Waker& operator=(const Waker&) = delete;

    /// Any thread.
    void notify() override;

private:
    EventLoop& mLoop;
    UniqueFd mFd;
};

}  // namespace cabinaudio::server
