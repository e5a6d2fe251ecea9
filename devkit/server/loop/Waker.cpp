// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/loop/Waker.h"

#include "devkit/server/base/SystemError.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <utility>

namespace cabinaudio::server {

Waker::Waker(EventLoop& loop, std::function<void()> handler)
    : mLoop(loop), mFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!mFd) throw systemError("eventfd");
    const int fd = mFd.get();
    mLoop.add(fd, EPOLLIN, [fd, call = std::move(handler)](std::uint32_t) {
        eventfd_t wakeUps = 0;
        if (eventfd_read(fd, &wakeUps) == 0) call();
    });
}

Waker::~Waker() {
    mLoop.remove(mFd.get());
}

void Waker::notify() {
    eventfd_write(mFd.get(), 1);  // fails only when a wake-up is already pending
}

}  // namespace cabinaudio::server
