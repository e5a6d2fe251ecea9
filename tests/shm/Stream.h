// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "tests/shm/RingFixture.h"

#include <cstdint>
#include <optional>
#include <string>

// A stream of known bytes through a ring, in pieces of random length, for tests and their peers.

namespace cabinaudio::test {

struct StreamPlan {
    shm_type_t type;
    std::string name;
    unsigned size;        // of the ring
    bool creator;         // this side makes the ring
    std::uint64_t bytes;  // to move
    unsigned seed;        // of the bytes and of the lengths
};

/// This side's end of the stream.
class StreamEnd {
public:
    enum Direction { READS, WRITES };

    StreamEnd(const StreamPlan& plan, Direction direction);

    /// Moves all bytes, waiting for the other side where it must; a reading end compares each.
    /// @return the checksum of the bytes; nothing when one was wrong or the other side did not come
    [[nodiscard]] std::optional<std::uint64_t> run();

private:
    bool write(std::uint64_t at, std::uint32_t count);
    bool read(std::uint64_t at, std::uint32_t count);
    bool take(std::uint64_t at, const unsigned char* bytes, std::uint32_t count);
    void account(const unsigned char* bytes, std::uint32_t count);

    StreamPlan mPlan;
    Direction mDirection;
    Notifications mNotifications;
    ShareMemoryEx mRing;
    std::uint64_t mMoved = 0;
    std::uint64_t mChecksum = 0xcbf29ce484222325;
};

}  // namespace cabinaudio::test
