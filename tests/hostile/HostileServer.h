// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/ScriptedServer.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace cabinaudio::test {

/// What a server sends about one message of a client, and how it goes on.
struct Move {
    enum class End { GOES_ON, CLOSES, STALLS };
    Bytes bytes;
    End end = End::GOES_ON;
};

/// Called for each message of one client: which one it is, from 0, the registration, and all that a
/// good server would send about it, the announcement of a ring behind its start included.
using Plan = std::function<Move(std::size_t message, const Bytes& good)>;

/// Sends `budget` bytes of what a good server would, and then no more.
[[nodiscard]] Plan cutAfter(std::size_t budget, Move::End end);

/// A server of many clients at once, each with a thread and, by the name that it registers with, a
/// plan of its own. Clients without a plan are served well, and so are their rings, whose data lies
/// in one place of the physical memory.
class HostileServer {
public:
    static constexpr std::uint32_t RING_BYTES = 4096;

    HostileServer();
    /// Closes everything, and waits for the threads.
    ~HostileServer();
    HostileServer(const HostileServer&) = delete;
    HostileServer& operator=(const HostileServer&) = delete;

    /// Before this client connects.
    void plan(const std::string& name, Plan plan);
    /// For clients whose name has none.
    void planOthers(Plan plan);

private:
    struct Serving {
        std::thread thread;
        std::atomic<bool> isDone{false};
    };

    void run();
    void joinEnded();
    void serve(int connection);
    void converse(int connection);
    [[nodiscard]] Plan planOf(const std::string& name);

    std::mutex mLock;
    std::map<std::string, Plan> mPlans;
    Plan mOthers;
    std::set<int> mConnections;
    bool mEnds = false;
    int mListener;
    std::list<Serving> mServing;  // of mThread's until that has ended
    std::thread mThread;
};

}  // namespace cabinaudio::test
