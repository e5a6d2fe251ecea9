// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/UniqueFd.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"

#include <functional>

namespace cabinaudio::server {

/// A listening socket in the abstract namespace. When descriptors run out, connections wait until
/// one is free. A descriptor may be closed anywhere in the process, so the listener also polls.
class Listener {
public:
    /// Receives a new connection, non-blocking and close-on-exec.
    using Handler = std::function<void(UniqueFd connection)>;

    /// Listens at once; connections wait until the event loop runs.
    /// @throws std::system_error EADDRINUSE when the name is already in use
    Listener(EventLoop& loop, const char* name, Handler handler);
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// Keeps new connections waiting until resume(), even if descriptors are free.
    void pause();
    void resume();
    /// A descriptor was closed: retries if there were none.
    void descriptorClosed();

private:
    void acceptOne();
    void waitForDescriptor(int error);
    void watch();

    EventLoop& mLoop;
    Handler mHandler;
    UniqueFd mSocket;
    Timer mRetry;
    bool mIsPaused = false;
    bool mIsWaiting = false;  // for a free descriptor
    bool mIsShort = false;    // no descriptor was free since the last connection
    bool mIsWatched = false;
};

}  // namespace cabinaudio::server
