// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/recorder/Ring.h"

#include "devkit/board/recorder/CaptureFile.h"
#include "devkit/board/recorder/Memory.h"

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

/// Position behind the sound that has gone through the ring. Sound for the client counts when the
/// client has read it: before that, the cache may hold older bytes.
std::uint64_t soundEnd(const Ring& ring) noexcept {
    return ring.isToServer ? ring.writePosition : ring.readPosition;
}

/// The oldest position whose bytes are still in the ring. A writer may be writing behind its
/// position; no write is expected to fill more than half of the ring.
std::uint64_t oldestIntact(const Ring& ring) noexcept {
    const std::uint64_t half = ring.capacity / 2;
    const std::uint64_t notOverwritten =
        ring.writePosition > half ? ring.writePosition - half : std::uint64_t{0};
    return std::min(notOverwritten, ring.readPosition);
}

/// Copies from the ring, which may end and begin again in between.
void copyFromRing(const Ring& ring, std::uint64_t position, std::uint32_t count) noexcept {
    const std::uint64_t back = ring.writePosition - position;
    const auto offset = static_cast<std::uint32_t>(
        (ring.writeOffset + std::uint64_t{ring.capacity} - back) % ring.capacity);
    const std::uint32_t first = std::min(count, ring.capacity - offset);
    copyBytes(ring.sound, ring.data + offset, first);
    copyBytes(ring.sound + first, ring.data, count - first);
}

}  // namespace

void sampleRing(Ring& ring) noexcept {
    const wire::RingHeader& header = headerOf(ring);
    const std::uint32_t size = shared(header.size);
    const std::uint32_t read = shared(header.readOffset);
    const std::uint32_t write = shared(header.writeOffset);
    // Not initialised yet, or nonsense: the application does not use the ring either.
    if (size == 0 || size > ring.capacity || read >= size || write >= size) return;
    if (!ring.hasBegun) {
        ring.hasBegun = true;
        ring.capacity = size;
        ring.readOffset = read;
        ring.writeOffset = read;
    }
    const auto moved = [&](std::uint32_t from, std::uint32_t to) {
        return to >= from ? to - from : size - from + to;
    };
    const std::uint32_t written = moved(ring.writeOffset, write);
    countMoved(ring, RingEvent::Write, written);
    ring.writePosition += written;
    ring.writeOffset = write;
    // The reader's offset was loaded first, so it is not ahead of the writer's.
    const std::uint32_t taken = moved(ring.readOffset, read);
    countMoved(ring, RingEvent::Read, taken);
    ring.readPosition += taken;
    ring.readOffset = read;
    sampleWait(ring);
}

void countCall(Ring& ring, RingEvent event, std::uint64_t waitedUs) noexcept {
    Ring::Events& events = eventsOf(ring, event);
    ++events.count;
    events.longestWait = std::max(events.longestWait, waitedUs);
}

void writeSound(Ring& ring) noexcept {
    if (ring.sound == nullptr || !ring.hasBegun) return;
    while (ring.soundPosition < soundEnd(ring)) {
        ring.soundPosition = std::max(ring.soundPosition, oldestIntact(ring));
        const auto count = static_cast<std::uint32_t>(
            std::min<std::uint64_t>(soundEnd(ring) - ring.soundPosition, trace::MAXIMUM_SOUND));
        const std::uint64_t position = ring.soundPosition;
        copyFromRing(ring, position, count);
        sampleRing(ring);
        ring.soundPosition += count;
        // What was overwritten during the copy is left out; the position of the next record tells.
        const std::uint64_t intact = std::max(position, oldestIntact(ring));
        if (intact >= ring.soundPosition) continue;
        const auto skipped = static_cast<std::uint32_t>(intact - position);
        const trace::SoundHeader header = {
            ring.base + intact,
            static_cast<std::uint32_t>(ring.isToServer ? trace::Direction::ToServer
                                                       : trace::Direction::ToClient),
            0};
        writeRecord(fieldsOf(ring, Kind::Sound), timeNow(), {&header, sizeof header},
                    {ring.sound + skipped, count - skipped});
    }
}

void writeSummaries(Ring& ring, bool atOnce) noexcept {
    const std::uint64_t now = timeNow();
    // The clock may have been set back.
    const bool isDue = now - ring.summaryTime >= SUMMARY_INTERVAL_NS || now < ring.summaryTime;
    if (!isDue && !atOnce) return;
    ring.summaryTime = now;
    for (std::uint32_t i = 0; i < Ring::KINDS; ++i) {
        Ring::Events& events = ring.events[i];
        if (events.count == 0) continue;
        const auto event = static_cast<RingEvent>(i + 1);
        const bool isWriters =
            event == RingEvent::Write || (event != RingEvent::Read && ring.isToServer);
        const trace::RingSummary summary = {
            i + 1,
            events.count,
            events.bytes,
            isWriters ? ring.writePosition : ring.readPosition,
            events.longestWait,
            static_cast<std::uint32_t>(ring.writePosition - ring.readPosition),
            ring.capacity};
        events.count = 0;
        events.bytes = 0;
        events.longestWait = 0;
        writeRecord(fieldsOf(ring, Kind::Ring), now, {&summary, sizeof summary});
    }
}

}  // namespace cabinaudio::recorder
