// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/UniqueFd.h"

#include <string>

/// Stream sockets with names in the abstract name space, which are given without the leading zero.
namespace cabinaudio::test {

/// The name of the development server's control socket.
inline constexpr char CONTROL_SOCKET[] = "/tmp/cabinaudio_control";

/// @throws std::runtime_error when nobody listens there
[[nodiscard]] server::UniqueFd connectTo(const std::string& name);

/// @throws std::runtime_error when the name is taken
[[nodiscard]] server::UniqueFd listenAt(const std::string& name, int backlog = 10);

/// Whether there are bytes or the end of the stream, now or within the time.
[[nodiscard]] bool isReadable(int fd, int timeoutMs);

/// A connection to the development server's control socket.
class ControlClient {
public:
    ControlClient() : mFd(connectTo(CONTROL_SOCKET)) {}

    /// Does not wait; a server that has refused may be gone already.
    void say(const std::string& text) const;
    /// The next line; what has come and "(closed)" when the connection ends before it does.
    [[nodiscard]] std::string line() const;
    [[nodiscard]] std::string ask(const std::string& text) const;

private:
    server::UniqueFd mFd;
};

}  // namespace cabinaudio::test
