// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/EventLoop.h"
#include "devkit/server/Listener.h"
#include "devkit/server/UniqueFd.h"

#include <functional>
#include <string>
#include <unordered_map>

namespace cabinaudio::server {

/// Takes commands to the running server: one line each, answered by one line, in
/// order. Nothing more is read from who does not take an answer.
class ControlSocket {
public:
    /// Abstract name, without the leading zero byte.
    static constexpr char NAME[] = "/tmp/cabinaudio_control";
    /// Longer lines end the connection.
    static constexpr std::size_t MAXIMUM_LINE = 4096;

    /// Gets a line and gives the answer, both without the line end.
    using Handler = std::function<std::string(const std::string& line)>;

    /// @throws std::system_error
    ControlSocket(EventLoop& loop, Handler handler);
    ~ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

private:
    struct Connection {
        UniqueFd socket;
        std::string input;
        std::string output;      // that the other side has not taken yet
        bool isSending = false;  // and is waited for
    };

    void accept(UniqueFd socket);
    void onReadable(int fd);
    void serve(int fd);
    bool answerLines(Connection& connection);
    static bool send(Connection& connection);
    void watch(int fd, Connection& connection);
    void close(int fd);

    EventLoop& mLoop;
    Handler mHandler;
    std::unordered_map<int, Connection> mConnections;
    Listener mListener;
};

}  // namespace cabinaudio::server
