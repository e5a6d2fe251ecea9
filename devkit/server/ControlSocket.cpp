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
    std::array<char, 1024> chunk;
    const ssize_t count = recv(fd, chunk.data(), chunk.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count <= 0) {
        close(fd);
        return;
    }
    mConnections.at(fd).input.append(chunk.data(), static_cast<std::size_t>(count));
    serve(fd);
}

void ControlSocket::serve(int fd) {
    Connection& connection = mConnections.at(fd);
    if (answerLines(connection) && connection.input.size() <= MAXIMUM_LINE) {
        watch(fd, connection);
    } else {
        close(fd);
    }
}

// As far as the answers are taken. @return false when the other side has gone
bool ControlSocket::answerLines(Connection& connection) {
    while (send(connection)) {
        const std::size_t end = connection.input.find('\n');
        if (!connection.output.empty() || end == std::string::npos) return true;
        connection.output = mHandler(connection.input.substr(0, end)) + "\n";
        connection.input.erase(0, end + 1);
    }
    return false;
}

bool ControlSocket::send(Connection& connection) {
    std::string& output = connection.output;
    if (output.empty()) return true;
    const ssize_t sent =
        ::send(connection.socket.get(), output.data(), output.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0) return errno == EAGAIN || errno == EINTR;
    output.erase(0, static_cast<std::size_t>(sent));
    return true;
}

// For what it needs next.
void ControlSocket::watch(int fd, Connection& connection) {
    const bool isSending = !connection.output.empty();
    if (isSending == connection.isSending) return;
    connection.isSending = isSending;
    mLoop.remove(fd);
    if (isSending) {
        mLoop.add(fd, EPOLLOUT, [this, fd](std::uint32_t) { serve(fd); });
    } else {
        mLoop.add(fd, EPOLLIN, [this, fd](std::uint32_t) { onReadable(fd); });
    }
}

void ControlSocket::close(int fd) {
    mLoop.remove(fd);
    mConnections.erase(fd);
    mListener.resume();
}

}  // namespace cabinaudio::server
