// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/LocalSocket.h"
#include "wire/Frame.h"

#include <cstdint>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace cabinaudio::fuzz {

class Input;

/// The socket that the library's clients connect to.
class Listener {
public:
    [[nodiscard]] int accept() const;

private:
    server::UniqueFd mSocket = test::listenAt(wire::SERVER_SOCKET, 16);
};

/// What a peer does with a request, besides the bytes of its answer. Whatever it does, a frame of a
/// reply comes: the library waits for one without a time limit.
enum class Manner {
    Whole,             ///< as many bytes as the client wants
    Short,             ///< fewer, but some
    Notified,          ///< with notifications in front
    ThenClosed,        ///< and closes the connection
    ThenNoise,         ///< sends what is no frame, and closes the connection
    ClosedBeforeBody,  ///< closes the connection behind the frame
};

/// How one operation is answered. The body begins with `head`; all other bytes that do not decide
/// over the conversation are pseudo-random ones that `seed` chooses.
struct Script {
    Script() = default;
    explicit Script(Input& input);

    Manner manner = Manner::Whole;
    std::uint8_t head[12] = {};  ///< status, and behind it the count of a list or values
    std::uint32_t seed = 0;
};

/// Connection type and function id.
using Function = std::pair<std::uint32_t, std::uint32_t>;

/// The server's side of one connection: a thread that answers by its script.
class Peer {
public:
    /// Waits for a client in its thread.
    explicit Peer(const Listener& listener);
    /// Waits for the end of the connection: destroy the client first.
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    /// How the next operation's requests are answered. The catalogue has the sizes of the bodies.
    /// @param mayClose  only after the operation's last request: the next one would wait for ever
    void prepare(const Script& script, bool mayClose);

    /// Requests that were answered since prepare().
    [[nodiscard]] unsigned answered() const;
    /// Their functions.
    [[nodiscard]] std::vector<Function> functions() const;
    /// Whether the connection has ended, or ends without further ado.
    [[nodiscard]] bool isClosing() const;

private:
    void run(const Listener& listener);
    void answer(std::uint32_t type);

    mutable std::mutex mLock;
    Script mScript;
    bool mMayClose = false;
    bool mIsClosing = false;
    std::vector<Function> mFunctions;    // answered since prepare()
    std::vector<std::uint8_t> mPayload;  // of the thread; here, where leak checks find them
    std::vector<std::uint8_t> mAnswer;
    std::thread mThread;  // the last member: it uses the others
};

}  // namespace cabinaudio::fuzz
