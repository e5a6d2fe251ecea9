// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/UniqueFd.h"

#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

namespace cabinaudio::server {

/// The server's one thread waits here. Requests, the mixing clock and commands are handled one
/// after the other, which is why nothing in the server needs a lock. Not thread-safe; handlers must
/// not block. An exception of a handler is logged and ends that handler only: one client's trouble
/// must not become everybody's.
class EventLoop {
public:
    /// Gets the descriptor's EPOLL* events.
    using Handler = std::function<void(std::uint32_t events)>;
    using Task = std::function<void()>;

    /// Clients must not keep the clock waiting, however many of them want something.
    enum class Turn {
        First,    ///< before any of the others: clocks and signals
        InOrder,  ///< a few at a time, one after the other
    };

    /// @throws std::system_error
    EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Watches `fd`, level-triggered, until remove().
    /// @throws std::system_error
    void add(int fd, std::uint32_t events, Handler handler, Turn turn = Turn::InOrder);
    /// No event of `fd` is delivered from now on, also none that has already happened. A handler
    /// may remove itself. Unknown descriptors are ignored.
    void remove(int fd);

    /// Runs `task` after the present handler has returned, before the next wait.
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

    UniqueFd mEpoll;                                    // of those that come first, and of mInOrder
    UniqueFd mInOrder;                                  // readable when one of the others is
    std::unordered_map<std::uint64_t, Watch> mWatches;  // by a number that is never used again
    std::unordered_map<int, std::uint64_t> mNumbers;    // of a descriptor's watch
    std::uint64_t mLastWatch = 0;
    std::vector<Task> mTasks;
    bool mStopped = false;
};

}  // namespace cabinaudio::server
