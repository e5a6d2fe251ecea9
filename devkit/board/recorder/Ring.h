// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/recorder/Lock.h"
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

/// A ring that the application has mapped. Its offsets are sampled: no call of the application
/// shows that bytes were written or read. Every function needs the lock.
struct Ring {
    Lock lock;
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
    std::uint32_t readOffset;
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

    std::uint8_t* sound;  // room for one record's sound; null unless sound is recorded
    std::uint64_t soundPosition;
};

/// Reads the offsets and counts what has changed.
void sampleRing(Ring& ring) noexcept;

/// Counts a call that shows a notification, or a wait for one.
void countCall(Ring& ring, trace::RingEvent event, std::uint64_t waitedUs) noexcept;

/// Writes the sound since the last time.
void writeSound(Ring& ring) noexcept;

/// Writes a summary of each kind of event that has happened, if the last one is old enough.
void writeSummaries(Ring& ring, bool atOnce) noexcept;

}  // namespace cabinaudio::recorder
