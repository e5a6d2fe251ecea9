// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/UniqueFd.h"

#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

namespace cabinaudio::server {

/// The server's main loop. Requests, the mixing clock and commands are handled one after another on
/// one thread, so the server's data needs no locks. Not thread-safe; handlers must not block. An
/// exception of a handler is logged and ends that handler only, so that one client's fault does not
/// affect others.
class EventLoop {
public:
    /// Receives the descriptor's EPOLL* events.
    using Handler = std::function<void(std::uint32_t events)>;
    using Task = std::function<void()>;

    /// Clients must not delay the clocks, however many have events.
    enum class Turn {
        First,    // before all others: clocks and signals
        InOrder,  // a few per turn, one after another
    };

    /// @throws std::system_error
    EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Watches `fd`, level-triggered, until remove().
    /// @throws std::system_error
    void add(int fd, std::uint32_t events, Handler handler, Turn turn = Turn::InOrder);
    /// Delivers no more events of `fd`, not even events that have already happened. A handler may
    /// remove its own descriptor. Unknown descriptors are ignored.
    void remove(int fd);

    /// Runs `task` after the current handler has returned, before the next wait.
    void post(Task task);

    /// Handles events until stop().
    void run();
    void stop() { mStopped = true; }

private:
    struct Watch {
        int fd;
        Handler handler;
        Turn turn;
    };

    static void call(const Task& task);
    [[nodiscard]] const UniqueFd& epollOf(Turn turn) const;
    void runTasks();
    void wait();
    [[nodiscard]] bool handle(const UniqueFd& epoll, int most, int timeout);

    UniqueFd mEpoll;                                    // the First descriptors, and mInOrder
    UniqueFd mInOrder;                                  // the others; readable when one of them is
    std::unordered_map<std::uint64_t, Watch> mWatches;  // by a number that is never reused
    std::unordered_map<int, std::uint64_t> mNumbers;    // watch number by descriptor
    std::uint64_t mLastWatch = 0;
    std::vector<Task> mTasks;
    bool mStopped = false;
};

}  // namespace cabinaudio::server
