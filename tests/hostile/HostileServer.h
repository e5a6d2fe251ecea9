// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/kinds/StreamKinds.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace cabinaudio::test {

/// Bytes of the header of each frame that a server sends.
inline constexpr std::size_t FRAME = 32;

/// A server's bytes about one message of a client, and its behaviour behind them.
struct Move {
    enum class End { GoesOn, Closes, Stalls };
    Bytes bytes;
    End end = End::GoesOn;
};

/// Called for each message of one client: its number, from 0, the registration, and all that a good
/// server would send about it, including the announcement of a ring behind its start.
using Plan = std::function<Move(std::size_t message, const Bytes& good)>;

/// Sends `budget` bytes of a good server's, and then no more.
[[nodiscard]] Plan cutAfter(std::size_t budget, Move::End end);

/// A server of many clients at once, each with a plan of its own by the name that it registers
/// with. Clients without a plan are served well, and so are their rings, whose data lies in one
/// place of the physical memory.
class HostileServer {
public:
    static constexpr std::uint32_t RING_BYTES = RING_SIZE;

    HostileServer() { renew(); }

    /// Before this client connects.
    void plan(const std::string& name, Plan plan);
    /// For clients whose name has none.
    void planOthers(Plan plan);

private:
    /// With one client.
    struct Conversation {
        Plan plan;
        std::size_t messages = 0;
        bool isOver = false;
    };

    void renew();
    [[nodiscard]] Answer answer(const Request& request);
    [[nodiscard]] Plan planOf(const std::string& name);

    std::mutex mLock;
    std::map<std::string, Plan> mPlans;
    Plan mOthers = [](std::size_t, const Bytes& good) { return Move{good}; };
    std::map<std::size_t, Conversation> mConversations;  // by client; of the server's thread
    std::unique_ptr<ScriptedServer> mServer;             // last: its thread uses all of the above
};

}  // namespace cabinaudio::test
