// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/RecordHeader.h"

#include <cstddef>
#include <cstdint>

namespace cabinaudio::recorder {

/// Sound on its way from a ring to the capture: threads of the application add to it what would
/// soon be overwritten, and need not wait for the file. Not synchronised.
///
/// All members are numbers without constructors: the queues lie in a table that exists before the
/// first constructor of the process runs.
class SoundQueue {
public:
    /// Allocates the memory. Without memory, nothing is queued.
    void open() noexcept;
    void close() noexcept;
    [[nodiscard]] bool isOpen() const noexcept { return mBytes != nullptr; }

    /// Position behind the newest sound.
    [[nodiscard]] std::uint64_t end() const noexcept { return mEnd; }

    /// Adds sound from a position on, in up to two pieces. Older sound is left out. What does not
    /// fit, or lies behind a gap while the queue is not empty, is lost: the positions show that.
    struct Piece {
        const std::uint8_t* bytes;
        std::uint32_t count;
    };
    void add(std::uint64_t position, Piece first, Piece second) noexcept;

    struct Taken {
        std::uint64_t position;
        const std::uint8_t* bytes;  // valid until the next call
        std::uint32_t count;        // at most trace::MAXIMUM_SOUND
    };
    /// Removes the oldest sound.
    Taken take() noexcept;

private:
    static constexpr std::uint32_t SIZE = 1 << 20;

    void append(const std::uint8_t* bytes, std::uint32_t count) noexcept;

    std::uint8_t* mBytes;  // SIZE for the queue, then room for what take() returns
    std::uint64_t mBegin;  // position of the oldest sound
    std::uint64_t mEnd;
};

}  // namespace cabinaudio::recorder
