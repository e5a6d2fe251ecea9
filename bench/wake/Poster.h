// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include <semaphore.h>
#include <sys/types.h>

#include <cstdint>

namespace cabinaudio::bench {

/// The server's side of the rings, in a process of its own: SCHED_RR at the highest priority where
/// that is permitted. Does what it is told, one order at a time.
///
/// Make it before any thread is started: it forks.
class Poster {
public:
    enum class Deed : std::uint32_t {
        MapRing,    ///< map a ring as its creator
        FillChunk,  ///< move a ring's write offset on, and post
        TakeChunk,  ///< move a ring's read offset on, and post
        WakeWord,   ///< count up word() and wake who sleeps on it
        PostSem,    ///< post semaphore()
    };

    /// How far an offset moves, bytes. They are filled or taken before the time is taken: how long
    /// a server copies is not of interest.
    static constexpr std::uint32_t CHUNK = 64;
    static constexpr int MOST_RINGS = 8;

    Poster();
    ~Poster();
    Poster(const Poster&) = delete;
    Poster& operator=(const Poster&) = delete;

    /// @param ring     number, below MOST_RINGS
    /// @param address  of the data, 0 for a POSIX object
    void mapRing(int ring, const char* name, std::uint32_t address, std::uint32_t size);

    /// Does it now, and returns when it is done.
    void doNow(Deed deed, int ring);

    /// Returns at once. The deed follows in 100 us, when the caller sleeps.
    void doSoon(Deed deed, int ring);

    /// When the last deed began, nowNs().
    [[nodiscard]] std::uint64_t postedAt() const;

    /// In memory that is shared with the poster; both begin with 0.
    [[nodiscard]] std::uint32_t* word();
    [[nodiscard]] sem_t* semaphore();

private:
    struct Shared;
    class Process;

    void order(Deed deed, int ring, bool isAwaited);

    Shared* mShared;
    pid_t mProcess;
};

}  // namespace cabinaudio::bench
