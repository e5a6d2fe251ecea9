// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include <semaphore.h>
#include <sys/types.h>

#include <cstdint>

namespace cabinaudio::bench {

/// The server's side of the rings, in its own process: SCHED_RR at the highest priority if
/// permitted. Executes orders one at a time.
///
/// Create it before any thread is started, because it forks.
class Poster {
public:
    enum class Action : std::uint32_t {
        MapRing,    // map a ring as its creator
        FillChunk,  // advance a ring's write offset, and post
        TakeChunk,  // advance a ring's read offset, and post
        WakeWord,   // increment word() and wake its waiters
        PostSem,    // post semaphore()
    };

    /// Bytes that an offset advances. They are filled or taken before the time is taken, because
    /// the server's copying is not part of the measurement.
    static constexpr std::uint32_t CHUNK = 64;
    static constexpr int MOST_RINGS = 8;

    Poster();
    ~Poster();
    Poster(const Poster&) = delete;
    Poster& operator=(const Poster&) = delete;

    /// @param ring     number, below MOST_RINGS
    /// @param address  of the data, 0 for a POSIX object
    void mapRing(int ring, const char* name, std::uint32_t address, std::uint32_t size);

    /// Executes the order now, and returns when it is complete.
    void execute(Action action, int ring);

    /// Returns at once. The order is executed after 100 us, when the caller sleeps.
    void executeSoon(Action action, int ring);

    /// When the last order began, as nowNs().
    [[nodiscard]] std::uint64_t postedAt() const;

    /// In memory shared with the poster; both start at 0.
    [[nodiscard]] std::uint32_t* word();
    [[nodiscard]] sem_t* semaphore();

private:
    struct Shared;
    class Process;

    void order(Action action, int ring, bool isAwaited);

    Shared* mShared;
    pid_t mProcess;
};

}  // namespace cabinaudio::bench
