// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/UniqueFd.h"
#include "devkit/server/loop/EventLoop.h"

#include <csignal>
#include <functional>

namespace cabinaudio::server {

/// Turns SIGTERM and SIGINT into a call on the event loop's thread. A second signal ends the
/// process at once. Must be created before any other thread, because other threads would receive
/// the signals.
class EndSignals {
public:
    /// @throws std::system_error
    EndSignals(EventLoop& loop, std::function<void(int signal)> handler);
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

private:
    void onReadable();

    EventLoop& mLoop;
    std::function<void(int signal)> mHandler;
    sigset_t mSignals;
    UniqueFd mFd;
};

}  // namespace cabinaudio::server
