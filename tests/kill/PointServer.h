// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/kill/Point.h"

#include <sys/types.h>

#include <string>

namespace cabinaudio::test {

/// No message: the server stops only before it has accepted a client.
constexpr int NO_MESSAGE = -1;

/// A server in a process of its own that stops at one point, see KillServer.cpp. It listens and is
/// stopped at first. The destructor kills it.
class PointServer {
public:
    PointServer(const std::string& kind, int message, Cut cut);
    ~PointServer();
    PointServer(const PointServer&) = delete;
    PointServer& operator=(const PointServer&) = delete;

    /// Waits until it is stopped, for a minute at most. @return whether it is
    [[nodiscard]] bool isSuspended();
    /// The same, but without waiting.
    [[nodiscard]] bool isSuspendedNow();
    void stop();
    void resume();
    /// With SIGKILL; returns once it is gone.
    void kill();

private:
    pid_t mPid = -1;
    int mInput = -1;
};

}  // namespace cabinaudio::test
