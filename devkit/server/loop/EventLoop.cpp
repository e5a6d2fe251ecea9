// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/loop/EventLoop.h"

#include "devkit/server/base/Log.h"
#include "devkit/server/base/SystemError.h"

#include <sys/epoll.h>

#include <array>
#include <cerrno>
#include <exception>
#include <utility>

namespace cabinaudio::server {

namespace {

// Events handled per turn, before the clocks are checked again. A client's event is at most one
// message.
constexpr int IN_ORDER_AT_ONCE = 8;
constexpr int MOST_AT_ONCE = 32;
// Number of mInOrder itself; no watch has it.
constexpr std::uint64_t NESTED = 0;

void control(const UniqueFd& epoll, int fd, std::uint32_t events, std::uint64_t number) {
    epoll_event event = {};
    event.events = events;
    event.data.u64 = number;
    if (epoll_ctl(epoll.get(), EPOLL_CTL_ADD, fd, &event) != 0) throw systemError("epoll_ctl");
}

}  // namespace

EventLoop::EventLoop()
    : mEpoll(epoll_create1(EPOLL_CLOEXEC)), mInOrder(epoll_create1(EPOLL_CLOEXEC)) {
    if (!mEpoll || !mInOrder) throw systemError("epoll_create1");
    control(mEpoll, mInOrder.get(), EPOLLIN, NESTED);
}

const UniqueFd& EventLoop::epollOf(Turn turn) const {
    return turn == Turn::First ? mEpoll : mInOrder;
}

void EventLoop::add(int fd, std::uint32_t events, Handler handler, Turn turn) {
    const std::uint64_t number = ++mLastWatch;
    control(epollOf(turn), fd, events, number);
    mWatches.emplace(number, Watch{fd, std::move(handler), turn});
    mNumbers[fd] = number;
}

void EventLoop::remove(int fd) {
    const auto number = mNumbers.find(fd);
    if (number == mNumbers.end()) return;
    const auto watch = mWatches.find(number->second);
    epoll_ctl(epollOf(watch->second.turn).get(), EPOLL_CTL_DEL, fd, nullptr);
    mWatches.erase(watch);
    mNumbers.erase(number);
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
    for (const Task& task : tasks)
        call(task);
}

void EventLoop::call(const Task& task) {
    try {
        task();
    } catch (const std::exception& error) {
        log::error("%s", error.what());
    }
}

void EventLoop::wait() {
    const bool isAnyInOrder = handle(mEpoll, MOST_AT_ONCE, mTasks.empty() ? -1 : 0);
    if (isAnyInOrder) (void)handle(mInOrder, IN_ORDER_AT_ONCE, 0);
}

/// @return whether mInOrder was among the ready descriptors
bool EventLoop::handle(const UniqueFd& epoll, int most, int timeout) {
    std::array<epoll_event, MOST_AT_ONCE> events;
    const int count = epoll_wait(epoll.get(), events.data(), most, timeout);
    if (count < 0 && errno != EINTR) throw systemError("epoll_wait");
    bool isNestedReady = false;
    for (int i = 0; i < count; ++i) {
        const auto& event = events[static_cast<std::size_t>(i)];
        const std::uint64_t number = event.data.u64;  // a copy: epoll_event is packed
        isNestedReady |= number == NESTED;
        const auto watch = mWatches.find(number);
        if (watch == mWatches.end()) continue;  // a copy: it may remove its own watch
        const Handler handler =
            watch->second.handler;  // a copy: the handler may remove its own watch
        call([&] { handler(event.events); });
    }
    return isNestedReady;
}

}  // namespace cabinaudio::server
