// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/UniqueFd.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"

#include <functional>

namespace cabinaudio::server {

/// A listening socket in the abstract namespace. When descriptors run out, connections wait until
/// one is free: a descriptor may be closed anywhere in the process, so it also looks by itself.
class Listener {
public:
    /// Gets a new connection, non-blocking and closed on exec.
    using Handler = std::function<void(UniqueFd connection)>;

    /// Listens from now on; connections wait until the event loop runs.
    /// @throws std::system_error, EADDRINUSE when somebody listens under this name already
    Listener(EventLoop& loop, const char* name, Handler handler);
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// New connections wait until resume(), whether there are descriptors or not.
    void pause();
    void resume();
    /// A descriptor was closed: tries again if there were none.
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
    bool mIsWaiting = false;  // for a descriptor
    bool mIsShort = false;    // of descriptors, since the last connection
    bool mIsWatched = false;
};

}  // namespace cabinaudio::server
