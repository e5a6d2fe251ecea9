// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/control/ControlSocket.h"

#include "devkit/server/base/SystemError.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <exception>
#include <utility>
#include <vector>

namespace cabinaudio::server {
namespace {

constexpr std::chrono::seconds TICK_INTERVAL{1};

/// Best effort: the other side may not be reading.
void refuse(const UniqueFd& socket, const std::string& reason) {
    const std::string line = "error: " + reason + "\n";
    (void)!send(socket.get(), line.data(), line.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

}  // namespace

ControlSocket::ControlSocket(EventLoop& loop, Admission& admission, Handler handler,
                             std::function<void()> onClosed)
    : mLoop(loop),
      mAdmission(admission),
      mHandler(std::move(handler)),
      mOnClosed(std::move(onClosed)),
      mTurn(eventfd(1, EFD_CLOEXEC)),
      mClock(loop, [this](std::uint64_t) { countTicks(); }),
      mListener(loop, NAME, [this](UniqueFd socket) { accept(std::move(socket)); }) {
    if (!mTurn) throw systemError("eventfd");
}

ControlSocket::~ControlSocket() {
    mLoop.remove(mTurn.get());
    for (const auto& [fd, connection] : mConnections)
        mLoop.remove(fd);
}

void ControlSocket::accept(UniqueFd socket) {
    std::string reason;
    auto admitted = mAdmission.admitControl(socket.get(), reason);
    if (!admitted) {
        refuse(socket, reason);
        return;
    }
    const int fd = socket.get();
    Connection& connection = mConnections[fd];
    connection.number = ++mLastNumber;
    connection.socket = std::move(socket);
    connection.admitted = std::move(*admitted);
    try {
        watch(fd, Watch::Input);
    } catch (...) {
        mConnections.erase(fd);
        throw;
    }
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
    selectWait(fd);
}

void ControlSocket::onWritable(int fd) {
    if (send(mConnections.at(fd)))
        selectWait(fd);
    else
        close(fd);
}

/// Selects what the connection waits for: room for its answer, its turn, or the rest of a line.
void ControlSocket::selectWait(int fd) {
    Connection& connection = mConnections.at(fd);
    const std::size_t end = connection.input.find('\n');
    if (!connection.output.empty()) {
        watch(fd, Watch::Output);
    } else if (end != std::string::npos && end <= MAXIMUM_LINE) {
        watch(fd, Watch::Nothing);
        enqueue(fd);
    } else if (end == std::string::npos && connection.input.size() <= MAXIMUM_LINE) {
        watch(fd, Watch::Input);
    } else {
        close(fd);
        return;
    }
    const bool isUnfinished = !connection.output.empty() || !connection.input.empty();
    if (isUnfinished && !std::exchange(mIsTicking, true)) mClock.every(TICK_INTERVAL);
}

void ControlSocket::enqueue(int fd) {
    if (mLines.empty()) mLoop.add(mTurn.get(), EPOLLIN, [this](std::uint32_t) { answerOne(); });
    mLines.push_back(fd);
}

void ControlSocket::answerOne() {
    const int fd = mLines.front();
    mLines.pop_front();
    if (mLines.empty()) mLoop.remove(mTurn.get());
    Connection& connection = mConnections.at(fd);
    const std::size_t end = connection.input.find('\n');
    const std::string line = connection.input.substr(0, end);
    connection.input.erase(0, end + 1);
    connection.ticks = 0;
    const auto takes = [&](const Taker& taker) {
        return taker(line, connection.socket, connection.admitted);
    };
    if (std::any_of(mTakers.begin(), mTakers.end(), takes)) {
        mConnections.erase(fd);
        return;
    }
    answerTo(line, connection.number);
}

void ControlSocket::answerTo(const std::string& line, std::uint64_t number) {
    const Later later = [this, number](const std::string& text) { answer(number, text); };
    try {
        mHandler(line, later);
    } catch (const std::exception& error) {
        later(std::string("error: ") + error.what());
    }
}

void ControlSocket::answer(std::uint64_t number, const std::string& text) {
    const auto found =
        std::find_if(mConnections.begin(), mConnections.end(),
                     [number](const auto& item) { return item.second.number == number; });
    if (found == mConnections.end()) return;
    found->second.output = text + "\n";
    onWritable(found->first);
}

bool ControlSocket::send(Connection& connection) {
    std::string& output = connection.output;
    const ssize_t sent =
        ::send(connection.socket.get(), output.data(), output.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0) return errno == EAGAIN || errno == EINTR;
    output.erase(0, static_cast<std::size_t>(sent));
    return true;
}

void ControlSocket::watch(int fd, Watch wanted) {
    Connection& connection = mConnections.at(fd);
    if (connection.watch == wanted) return;
    connection.watch = wanted;
    mLoop.remove(fd);
    if (wanted == Watch::Output)
        mLoop.add(fd, EPOLLOUT, [this, fd](std::uint32_t) { onWritable(fd); });
    else if (wanted == Watch::Input)
        mLoop.add(fd, EPOLLIN, [this, fd](std::uint32_t) { onReadable(fd); });
}

/// Ticks are counted instead of time: after a pause of this process the other side's data may have
/// arrived but not been read yet.
void ControlSocket::countTicks() {
    std::vector<int> overdue;
    bool isAnyUnfinished = false;
    for (auto& [fd, connection] : mConnections) {
        // A connection that is not watched waits for the server, not for the other side.
        const bool isUnfinished = !connection.input.empty() || !connection.output.empty();
        isAnyUnfinished |= isUnfinished;
        if (!isUnfinished || connection.watch == Watch::Nothing)
            connection.ticks = 0;
        else if (++connection.ticks > PATIENCE)
            overdue.push_back(fd);
    }
    for (const int fd : overdue)
        close(fd);
    if (isAnyUnfinished) return;
    mIsTicking = false;
    mClock.stop();
}

void ControlSocket::close(int fd) {
    mLoop.remove(fd);
    mConnections.erase(fd);
    mOnClosed();
}

}  // namespace cabinaudio::server
