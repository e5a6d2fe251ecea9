// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioMutex.h>

#include <atomic>
#include <cstdint>

namespace cabinaudio {

/// Progress of the threads of a connection, in one atomic byte: each transition is a single step
/// for all of them. `lock` is the lock that the requester holds for its whole receive.
class ConnectionState {
public:
    // ---- Transitions ----------------------------------------------------------------------------

    /// The receive thread has been started. Called before other threads can reach the connection.
    void startWorker() { mFlags |= WORKER_STARTED; }
    /// The receive thread has stopped reading.
    void endWorker([[maybe_unused]] AudioMutex& lock) CABINAUDIO_REQUIRES(lock) {
        mFlags |= WORKER_GONE;
    }
    /// A reply's body waits in the socket.
    void offerBody([[maybe_unused]] AudioMutex& lock) CABINAUDIO_REQUIRES(lock) {
        mFlags &= static_cast<std::uint8_t>(~BODY_TAKEN);
    }
    /// The requester has finished reading the body.
    void takeBody([[maybe_unused]] AudioMutex& lock) CABINAUDIO_REQUIRES(lock) {
        mFlags |= BODY_TAKEN;
    }
    /// A requester has given the connection up.
    void breakOff([[maybe_unused]] AudioMutex& lock) CABINAUDIO_REQUIRES(lock) { mFlags |= BROKEN; }
    /// The owner is about to be destroyed. @return whether the receive thread had already ended
    [[nodiscard]] bool abandon() { return (mFlags.fetch_or(ABANDONED) & WORKER_GONE) != 0; }

    // ---- Questions ------------------------------------------------------------------------------

    /// @return false if the receive thread could not be started
    [[nodiscard]] bool hasWorkerStarted() const { return is(WORKER_STARTED); }
    [[nodiscard]] bool isWorkerGone() const { return is(WORKER_GONE); }
    /// @return whether the last body that was offered has been read
    [[nodiscard]] bool isBodyTaken() const { return is(BODY_TAKEN); }
    [[nodiscard]] bool isBroken() const { return is(BROKEN); }
    [[nodiscard]] bool isAbandoned() const { return is(ABANDONED); }

private:
    static constexpr std::uint8_t WORKER_STARTED = 1;
    static constexpr std::uint8_t WORKER_GONE = 2;
    static constexpr std::uint8_t BODY_TAKEN = 4;
    static constexpr std::uint8_t BROKEN = 8;
    static constexpr std::uint8_t ABANDONED = 16;

    [[nodiscard]] bool is(std::uint8_t flag) const { return (mFlags & flag) != 0; }

    std::atomic<std::uint8_t> mFlags{0};
};

}  // namespace cabinaudio
