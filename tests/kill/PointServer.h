// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/kill/Point.h"

#include <sys/types.h>

#include <string>

namespace cabinaudio::test {

/// No message: the server stands still only before it has accepted anybody.
constexpr int NO_MESSAGE = -1;

/// A server in a process of its own that stands still at one point, see KillServer.cpp. At first it
/// listens and stands still. Killed at the end.
class PointServer {
public:
    PointServer(const std::string& kind, int message, Cut cut);
    ~PointServer();
    PointServer(const PointServer&) = delete;
    PointServer& operator=(const PointServer&) = delete;

    /// Waits until it stands still, for a minute at most. @return whether it does
    [[nodiscard]] bool standsStill();
    /// The same, but without waiting.
    [[nodiscard]] bool standsStillNow();
    void stop();
    void goOn();
    /// With SIGKILL; returns once it is gone.
    void kill();

private:
    pid_t mPid = -1;
    int mInput = -1;
};

}  // namespace cabinaudio::test
