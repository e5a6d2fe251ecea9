// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/EventLoop.h"
#include "devkit/server/UniqueFd.h"

#include <functional>

namespace cabinaudio::server {

/// A listening socket in the abstract namespace.
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

    /// New connections wait until resume().
    void pause();
    /// Tries again after a pause, or after descriptors had run out; to be called when one was
    /// closed.
    void resume();

private:
    void acceptOne();
    void watch();

    EventLoop& mLoop;
    Handler mHandler;
    UniqueFd mSocket;
    bool mPaused = false;
};

}  // namespace cabinaudio::server
