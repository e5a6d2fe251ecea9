// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/clients/Listener.h"

#include "devkit/server/base/Log.h"
#include "devkit/server/base/SystemError.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <utility>

namespace cabinaudio::server {
namespace {

/// Abstract names have a length and no terminator.
void bindAbstract(int fd, const char* name) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::size_t length = std::strlen(name);
    std::memcpy(address.sun_path + 1, name, length);
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
    if (bind(fd, reinterpret_cast<const sockaddr*>(&address), size) != 0) throw systemError(name);
}

constexpr std::chrono::milliseconds RETRY{100};

bool outOfResources(int error) {
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

}  // namespace

Listener::Listener(EventLoop& loop, const char* name, Handler handler)
    : mLoop(loop),
      mHandler(std::move(handler)),
      mSocket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)),
      mRetry(loop, [this](std::uint64_t) { descriptorClosed(); }) {
    if (!mSocket) throw systemError("socket");
    bindAbstract(mSocket.get(), name);
    // Clients give up after a few immediate attempts, so the backlog must hold many of them.
    if (listen(mSocket.get(), SOMAXCONN) != 0) throw systemError(name);
    watch();
}

Listener::~Listener() {
    mLoop.remove(mSocket.get());
}

void Listener::watch() {
    const bool isWanted = !mIsPaused && !mIsWaiting;
    if (isWanted == mIsWatched) return;
    mIsWatched = isWanted;
    if (isWanted)
        mLoop.add(mSocket.get(), EPOLLIN, [this](std::uint32_t) { acceptOne(); });
    else
        mLoop.remove(mSocket.get());
}

void Listener::acceptOne() {
    UniqueFd connection(accept4(mSocket.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (connection) {
        mIsShort = false;
        mHandler(std::move(connection));
    } else if (outOfResources(errno)) {
        waitForDescriptor(errno);
    }
}

/// The connection stays in the backlog, so the watch is removed: the loop would spin on it.
void Listener::waitForDescriptor(int error) {
    if (!std::exchange(mIsShort, true))
        log::warning("accept: %s; new connections wait", strerror(error));
    mIsWaiting = true;
    mRetry.once(RETRY);
    watch();
}

void Listener::descriptorClosed() {
    mIsWaiting = false;
    watch();
}

void Listener::pause() {
    mIsPaused = true;
    watch();
}

void Listener::resume() {
    mIsPaused = false;
    watch();
}

}  // namespace cabinaudio::server
