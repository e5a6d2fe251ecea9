// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/loop/Timer.h"

#include "devkit/server/base/SystemError.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <ctime>
#include <utility>

namespace cabinaudio::server {
namespace {

struct timespec toTimespec(std::chrono::nanoseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    struct timespec result = {};
    result.tv_sec = static_cast<time_t>(seconds.count());
    result.tv_nsec = static_cast<long>((time - seconds).count());
    return result;
}

}  // namespace

Timer::Timer(EventLoop& loop, Handler handler)
    : mLoop(loop), mFd(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (!mFd) throw systemError("timerfd_create");
    const int fd = mFd.get();
    mLoop.add(
        fd, EPOLLIN,
        [fd, call = std::move(handler)](std::uint32_t) {
            std::uint64_t deadlines = 0;
            if (read(fd, &deadlines, sizeof deadlines) == sizeof deadlines) call(deadlines);
        },
        EventLoop::Turn::First);
}

Timer::~Timer() {
    mLoop.remove(mFd.get());
}

void Timer::once(std::chrono::nanoseconds delay) {
    set(delay, std::chrono::nanoseconds(0));
}

void Timer::every(std::chrono::nanoseconds interval) {
    set(interval, interval);
}

void Timer::stop() {
    const itimerspec never = {};
    timerfd_settime(mFd.get(), 0, &never, nullptr);
}

void Timer::set(std::chrono::nanoseconds first, std::chrono::nanoseconds interval) {
    itimerspec times = {};
    times.it_interval = toTimespec(interval);
    times.it_value = toTimespec(std::max(first, std::chrono::nanoseconds(1)));  // 0 would disarm
    if (timerfd_settime(mFd.get(), 0, &times, nullptr) != 0) throw systemError("timerfd_settime");
}

}  // namespace cabinaudio::server
