// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/EventLoop.h"

#include "devkit/server/Log.h"
#include "devkit/server/SystemError.h"

#include <sys/epoll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <utility>

namespace cabinaudio::server {

EventLoop::EventLoop() : mEpoll(epoll_create1(EPOLL_CLOEXEC)) {
    if (!mEpoll) throw systemError("epoll_create1");
}

void EventLoop::add(int fd, std::uint32_t events, Handler handler) {
    epoll_event event = {};
    event.events = events;
    const std::uint64_t number = ++mLastWatch;
    event.data.u64 = number;
    if (epoll_ctl(mEpoll.get(), EPOLL_CTL_ADD, fd, &event) != 0) throw systemError("epoll_ctl");
    mWatches.emplace(number, Watch{fd, std::move(handler)});
}

void EventLoop::remove(int fd) {
    const auto watch = std::find_if(mWatches.begin(), mWatches.end(),
                                    [fd](const auto& entry) { return entry.second.fd == fd; });
    if (watch == mWatches.end()) return;
    mWatches.erase(watch);
    epoll_ctl(mEpoll.get(), EPOLL_CTL_DEL, fd, nullptr);
}

void EventLoop::post(Task task) {
    mTasks.push_back(std::move(task));
}

void EventLoop::run() {
    while (!mStopped) {
        wait();
        runTasks();
    }
}

void EventLoop::runTasks() {
    const auto tasks = std::exchange(mTasks, {});
    for (const Task& task : tasks) {
        call(task);
    }
}

void EventLoop::call(const Task& task) {
    try {
        task();
    } catch (const std::exception& error) {
        log::error("%s", error.what());
    }
}

void EventLoop::wait() {
    std::array<epoll_event, 32> events;
    const int timeout = mTasks.empty() ? -1 : 0;
    const int count =
        epoll_wait(mEpoll.get(), events.data(), static_cast<int>(events.size()), timeout);
    if (count < 0 && errno != EINTR) throw systemError("epoll_wait");
    for (int i = 0; i < count; ++i) {
        const auto& event = events[static_cast<std::size_t>(i)];
        const std::uint64_t number = event.data.u64;  // the record is packed
        const auto watch = mWatches.find(number);
        if (watch == mWatches.end()) continue;          // removed by a handler before it
        const Handler handler = watch->second.handler;  // a copy outlives its removal of itself
        call([&] { handler(event.events); });
    }
}

}  // namespace cabinaudio::server
