// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/recorder/Ring.h"

#include "devkit/board/recorder/CaptureFile.h"

#include <algorithm>
#include <atomic>

namespace cabinaudio::recorder {
namespace {

using trace::Kind;
using trace::RingEvent;

constexpr std::uint64_t SUMMARY_INTERVAL_NS = 250'000'000;

template <typename Number>
Number shared(const Number& word) noexcept {
    return std::atomic_ref<Number>(const_cast<Number&>(word)).load(std::memory_order_acquire);
}

Ring::Events& eventsOf(Ring& ring, RingEvent event) noexcept {
    return ring.events[static_cast<std::uint32_t>(event) - 1];
}

void countMoved(Ring& ring, RingEvent event, std::uint32_t bytes) noexcept {
    if (bytes == 0) return;
    Ring::Events& events = eventsOf(ring, event);
    ++events.count;
    events.bytes += bytes;
}

const wire::RingHeader& headerOf(const Ring& ring) noexcept {
    return *static_cast<const wire::RingHeader*>(ring.header.at);
}

/// The writer sets the flag while it waits for space.
void sampleWait(Ring& ring) noexcept {
    const bool waits = shared(headerOf(ring).wait) != 0;
    if (waits == (ring.waitingSince != 0)) return;
    const std::uint64_t now = timeNow();
    if (!waits) countCall(ring, RingEvent::Wait, (now - ring.waitingSince) / 1000);
    ring.waitingSince = waits ? now : 0;
}

RecordFields fieldsOf(const Ring& ring, Kind kind) noexcept {
    return {kind, ring.connection, ring.type, trace::UNKNOWN, 0};
}

/// Position behind the sound that has gone through the ring. Sound in physical memory for the
/// client counts when the client reads it: before that, the cache may hold older bytes.
std::uint64_t soundEnd(const Ring& ring) noexcept {
    const bool isCached = ring.memory.at != nullptr;
    return ring.isToServer || !isCached ? ring.writePosition : ring.readPosition;
}

/// The oldest position whose bytes are still in the ring. While the writer may be writing behind
/// its position, only what is unread is sure, and what no write of half a ring would reach.
std::uint64_t oldestIntact(const Ring& ring, bool mayBeWriting) noexcept {
    const std::uint64_t kept = mayBeWriting ? ring.capacity / 2 : ring.capacity;
    const std::uint64_t written =
        ring.writePosition > kept ? ring.writePosition - kept : std::uint64_t{0};
    return std::min(written, ring.readPosition);
}

SoundQueue::Piece pieceOf(const Ring& ring, std::uint32_t offset, std::uint32_t count) noexcept {
    return {ring.data + offset, count};
}

/// Queues the sound that has gone through the ring. The sampler's sound may be overwritten while it
/// is copied; the ring is then sampled again, and the sound counts as lost.
void queueSound(Ring& ring, Caller caller) noexcept {
    const bool mayBeWriting = caller == Caller::Sampler || !ring.isToServer;
    const std::uint64_t end = soundEnd(ring);
    const std::uint64_t begin = std::max(ring.sound.end(), oldestIntact(ring, mayBeWriting));
    if (!ring.sound.isOpen() || begin >= end) return;
    const auto count = static_cast<std::uint32_t>(end - begin);
    const auto back = static_cast<std::uint32_t>(ring.writePosition - begin);
    const std::uint32_t offset = (ring.writeOffset + ring.capacity - back) % ring.capacity;
    const std::uint32_t first = std::min(count, ring.capacity - offset);
    ring.sound.add(begin, pieceOf(ring, offset, first), pieceOf(ring, 0, count - first));
}

bool isPossible(const Ring& ring, std::uint32_t size, std::uint32_t read,
                std::uint32_t write) noexcept {
    return size != 0 && size <= ring.capacity && read < size && write < size;
}

std::uint32_t distance(const Ring& ring, std::uint32_t from, std::uint32_t to) noexcept {
    return to >= from ? to - from : ring.capacity - from + to;
}

void begin(Ring& ring, std::uint32_t size, std::uint32_t read) noexcept {
    ring.hasBegun = true;
    ring.capacity = size;
    ring.writeOffset = read;
}

/// The summaries of the events since the last time.
/// @return how many
std::size_t takeSummaries(Ring& ring, trace::RingSummary (&summaries)[Ring::KINDS]) noexcept {
    std::size_t taken = 0;
    for (std::uint32_t i = 0; i < Ring::KINDS; ++i) {
        Ring::Events& events = ring.events[i];
        if (events.count == 0) continue;
        const auto event = static_cast<RingEvent>(i + 1);
        const bool isWriters =
            event == RingEvent::Write || (event != RingEvent::Read && ring.isToServer);
        trace::RingSummary& summary = summaries[taken++];
        summary.event = i + 1;
        summary.count = events.count;
        summary.bytes = events.bytes;
        summary.position = isWriters ? ring.writePosition : ring.readPosition;
        summary.longestWait = events.longestWait;
        summary.fill = static_cast<std::uint32_t>(ring.writePosition - ring.readPosition);
        summary.size = ring.capacity;
        events.count = 0;
        events.bytes = 0;
        events.longestWait = 0;
    }
    return taken;
}

/// @return whether there may be more
bool writeSound(Ring& ring) noexcept {
    SoundQueue::Taken taken = {0, nullptr, 0};
    {
        const Hold hold(ring.lock);
        if (hold && ring.sound.isOpen()) taken = ring.sound.take();
    }
    if (taken.count == 0) return false;
    const auto direction =
        ring.isToServer ? trace::Direction::ToServer : trace::Direction::ToClient;
    const trace::SoundHeader header = {ring.base + taken.position,
                                       static_cast<std::uint32_t>(direction), 0};
    writeRecord(fieldsOf(ring, Kind::Sound), timeNow(), {&header, sizeof header},
                {taken.bytes, taken.count});
    return true;
}

/// The clock may have been set back.
bool isDue(const Ring& ring, std::uint64_t now) noexcept {
    return now - ring.summaryTime >= SUMMARY_INTERVAL_NS || now < ring.summaryTime;
}

}  // namespace

void sampleRing(Ring& ring, Caller caller) noexcept {
    const wire::RingHeader& header = headerOf(ring);
    const std::uint32_t size = shared(header.size);
    // Loaded first, so that it is not ahead of the writer's.
    const std::uint32_t read = shared(header.readOffset);
    const std::uint32_t write = shared(header.writeOffset);
    // Not initialised yet, or nonsense: the application does not use the ring either.
    if (!isPossible(ring, size, read, write)) return;
    if (!ring.hasBegun) begin(ring, size, read);
    const std::uint32_t written = distance(ring, ring.writeOffset, write);
    countMoved(ring, RingEvent::Write, written);
    ring.writePosition += written;
    ring.writeOffset = write;
    // By the fill level: the reader may have moved by more than the ring's size since the last
    // time.
    const std::uint64_t position = ring.writePosition - distance(ring, read, write);
    if (position > ring.readPosition) {
        countMoved(ring, RingEvent::Read, static_cast<std::uint32_t>(position - ring.readPosition));
        ring.readPosition = position;
    }
    sampleWait(ring);
    queueSound(ring, caller);
}

void notePiece(Ring& ring, std::uint32_t offset, std::uint32_t length) noexcept {
    if (!ring.hasBegun || offset >= ring.capacity || length > ring.capacity - offset) return;
    const std::uint64_t position =
        ring.isToServer ? ring.writePosition + distance(ring, ring.writeOffset, offset)
                        : ring.writePosition - distance(ring, offset, ring.writeOffset);
    ring.sound.add(position, pieceOf(ring, offset, length), {nullptr, 0});
}

void countCall(Ring& ring, RingEvent event, std::uint64_t waitedUs) noexcept {
    Ring::Events& events = eventsOf(ring, event);
    ++events.count;
    events.longestWait = std::max(events.longestWait, waitedUs);
}

void recordRing(Ring& ring, Caller caller, bool isLast) noexcept {
    trace::RingSummary summaries[Ring::KINDS];
    std::size_t count = 0;
    const std::uint64_t now = timeNow();
    {
        const Hold hold(ring.lock);
        if (!hold) return;
        sampleRing(ring, caller);
        if (isLast || isDue(ring, now)) {
            ring.summaryTime = now;
            count = takeSummaries(ring, summaries);
        }
    }
    while (writeSound(ring)) {
    }
    for (std::size_t i = 0; i < count; ++i)
        writeRecord(fieldsOf(ring, Kind::Ring), now, {&summaries[i], sizeof summaries[i]});
}

}  // namespace cabinaudio::recorder
