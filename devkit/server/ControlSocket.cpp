// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/ControlSocket.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

namespace cabinaudio::server {

ControlSocket::ControlSocket(EventLoop& loop, Handler handler)
    : mLoop(loop),
      mHandler(std::move(handler)),
      mListener(loop, NAME, [this](UniqueFd socket) { accept(std::move(socket)); }) {}

ControlSocket::~ControlSocket() {
    for (const auto& [fd, connection] : mConnections) {
        mLoop.remove(fd);
    }
}

void ControlSocket::accept(UniqueFd socket) {
    const int fd = socket.get();
    mConnections[fd].socket = std::move(socket);
    mLoop.add(fd, EPOLLIN, [this, fd](std::uint32_t) { onReadable(fd); });
}

void ControlSocket::onReadable(int fd) {
    Connection& connection = mConnections.at(fd);
    std::array<char, 1024> chunk;
    const ssize_t count = recv(fd, chunk.data(), chunk.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count > 0) {
        connection.input.append(chunk.data(), static_cast<std::size_t>(count));
        if (answerLines(connection) && connection.input.size() <= MAXIMUM_LINE) return;
    }
    close(fd);
}

// @return false when the answers are not read
bool ControlSocket::answerLines(Connection& connection) {
    std::size_t end = 0;
    while ((end = connection.input.find('\n')) != std::string::npos) {
        const std::string answer = mHandler(connection.input.substr(0, end)) + "\n";
        connection.input.erase(0, end + 1);
        const ssize_t sent = send(connection.socket.get(), answer.data(), answer.size(),
                                  MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent != static_cast<ssize_t>(answer.size())) return false;
    }
    return true;
}

void ControlSocket::close(int fd) {
    mLoop.remove(fd);
    mConnections.erase(fd);
    mListener.resume();
}

}  // namespace cabinaudio::server
