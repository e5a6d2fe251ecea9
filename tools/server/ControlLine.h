// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace cabinaudio::tool {

/// The server's answer to a successful command.
inline constexpr char SERVER_DONE[] = "ok";
/// What the answer to another one begins with.
inline constexpr char SERVER_ERROR[] = "error: ";

/// A connection to the development server's control socket, non-blocking.
class ControlSocket {
public:
    /// @throws Failure  with ExitCode::NoServer when no server listens there
    ControlSocket();
    ~ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

    [[nodiscard]] int descriptor() const { return mDescriptor; }
    /// Tells the user if the server belongs to somebody else.
    void warnOfForeignServer() const;
    /// Sends a line with its end, which fits any socket's buffer. A server that refuses has sent
    /// its reason and closed, which is no error here.
    void send(const std::string& line) const;

private:
    int mDescriptor;
};

/// How askServer() continues after a successful command.
enum class AfterCommand { Return, WaitForServerEnd };

/// Sends one line to the development server's control socket. @return its answer, one line
/// @throws Failure  with ExitCode::NoServer when no server listens there; with ExitCode::TimedOut
///         when the answer, or the server's end, does not come in time
[[nodiscard]] std::string askServer(const std::string& line, std::chrono::milliseconds bound,
                                    AfterCommand after = AfterCommand::Return);

}  // namespace cabinaudio::tool
