// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/recorder/Lock.h"
#include "devkit/board/recorder/SoundQueue.h"
#include "devkit/trace/RecordHeader.h"
#include "wire/Ring.h"

#include <cstddef>
#include <cstdint>

namespace cabinaudio::recorder {

/// A mapping of the recorder's own. It outlives the application's, and sanitizers do not see the
/// recorder read what the application writes.
struct OwnMapping {
    void* at;
    std::size_t length;
    std::size_t dataOffset;
    const void* ofApplication;  // the application's mapping of the same pages
};

/// A ring that the application has mapped. Its offsets are sampled: the transfers themselves are no
/// calls that could be seen.
struct Ring {
    Lock use;   // held while records are written, and by the thread that ends the ring
    Lock lock;  // for the rest; never held while records are written

    bool isUsed;
    std::uint32_t connection;
    std::uint32_t type;
    bool isToServer;
    std::uint64_t base;  // bytes that went through the stream's earlier rings
    OwnMapping header;
    OwnMapping memory;  // physical memory; without an address when the data is behind the header
    const std::uint8_t* data;
    std::uint32_t capacity;

    // As of the last sample.
    bool hasBegun;
    std::uint32_t writeOffset;
    std::uint64_t readPosition;
    std::uint64_t writePosition;
    std::uint64_t waitingSince;  // 0: the writer does not wait for space

    struct Events {
        std::uint32_t count;
        std::uint64_t bytes;
        std::uint64_t longestWait;  // microseconds
    };
    static constexpr std::size_t KINDS = 4;
    Events events[KINDS];  // since the last summary; RingEvent less one
    std::uint64_t summaryTime;

    SoundQueue sound;
};

/// The thread that reads the ring's memory, and so whether the application may be writing to it.
enum class Caller { Application, Sampler };

/// Reads the offsets, counts what has changed and queues the sound. Call with `lock`.
void sampleRing(Ring& ring, Caller caller) noexcept;

/// The application has written a piece of the ring, or will read it. Call with `lock`.
/// @param offset  of the piece in the ring
void notePiece(Ring& ring, std::uint32_t offset, std::uint32_t length) noexcept;

/// Counts a call that shows a notification, or a wait for one. Call with `lock`.
void countCall(Ring& ring, trace::RingEvent event, std::uint64_t waitedUs) noexcept;

/// Writes what has happened since the last time: the sound, and summaries if they are due. Call
/// with `use`.
void recordRing(Ring& ring, Caller caller, bool isLast) noexcept;

}  // namespace cabinaudio::recorder
