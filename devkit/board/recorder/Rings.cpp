// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/recorder/Rings.h"

#include "devkit/board/recorder/CaptureFile.h"
#include "devkit/board/recorder/Connections.h"
#include "devkit/board/recorder/LibraryCalls.h"
#include "devkit/board/recorder/Memory.h"
#include "devkit/board/recorder/Sampler.h"

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

namespace cabinaudio::recorder {
namespace {

constexpr std::size_t MOST_RINGS = 64;
constexpr std::size_t MOST_OBJECTS = 32;

/// A stream that a mapping belongs to.
struct Stream {
    std::uint32_t connection = 0;
    std::uint32_t type = 0;
    std::uint64_t ringBytes = 0;
    std::uint32_t ringAddress = 0;
    std::uint32_t ringSize = 0;
};

/// An open shared-memory object with a stream's name.
struct Object {
    int descriptor;  // 0: unused
    Stream stream;
};

constinit Lock gTableLock;
constinit Object gObjects[MOST_OBJECTS] = {};
constinit Ring gRings[MOST_RINGS] = {};
constinit std::atomic<int> gRingCount{0};
// Most calls of close() and munmap() need not look at the tables.
constinit std::atomic<int> gObjectCount{0};
constinit std::atomic<int> gMappingCount{0};

Stream streamOf(const Conversation& conversation) noexcept {
    return {conversation.number(), conversation.type(), conversation.ringBytes(),
            conversation.ringAddress(), conversation.ringSize()};
}

/// "NAME" or "NAME_0xADDRESS".
bool isRingOf(const char* object, const Conversation& conversation) noexcept {
    const std::size_t length = strnlen(conversation.name(), Conversation::NAME_SIZE);
    if (length == 0 || strncmp(object, conversation.name(), length) != 0) return false;
    const char* rest = object + length;
    return *rest == '\0' || strncmp(rest, "_0x", 3) == 0 || length == Conversation::NAME_SIZE - 1;
}

/// Whether the pages are those of the ring in physical memory that the server has named.
bool isMemoryOf(const Stream& stream, std::size_t length, off64_t offset,
                std::uint32_t page) noexcept {
    const std::uint32_t within = stream.ringAddress % page;
    return stream.ringSize != 0 && offset == off64_t{stream.ringAddress - within} &&
           length >= std::uint64_t{stream.ringSize} + within;
}

template <typename Matches>
bool findStream(Stream& stream, Matches matches) noexcept {
    bool isFound = false;
    visitConnections([&](const Conversation& conversation) {
        isFound = matches(conversation);
        if (isFound) stream = streamOf(conversation);
        return isFound;
    });
    return isFound;
}

bool makeOwn(OwnMapping& mapping, const void* at, std::size_t length, int descriptor,
             off64_t offset, std::size_t dataOffset) noexcept {
    void* const made =
        libc::mmap64.find()(nullptr, length, PROT_READ, MAP_SHARED, descriptor, offset);
    if (made == MAP_FAILED) return false;
    mapping.at = made;
    mapping.length = length;
    mapping.dataOffset = dataOffset;
    mapping.ofApplication = at;
    gMappingCount.fetch_add(1);
    return true;
}

void dropOwn(OwnMapping& mapping) noexcept {
    if (mapping.at == nullptr) return;
    libc::munmap.find()(mapping.at, mapping.length);
    gMappingCount.fetch_sub(1);
    mapping.at = nullptr;
    mapping.ofApplication = nullptr;
}

/// The place of the stream's ring: one that has its physical memory already, or an unused one.
/// Call with the table's lock.
Ring* placeOf(const Stream& stream, bool isHeader) noexcept {
    Ring* unused = nullptr;
    for (Ring& ring : gRings) {
        const bool isHalf = ring.memory.at != nullptr && ring.header.at == nullptr;
        if (isHeader && isHalf && ring.connection == stream.connection) return &ring;
        if (!ring.isUsed && !isHalf && unused == nullptr) unused = &ring;
    }
    return unused;
}

/// Physical memory is mapped first; the header makes it a ring.
void addMemory(const Stream& stream, void* at, std::size_t length, int descriptor, off64_t offset,
               std::size_t dataOffset) noexcept {
    const Hold hold(gTableLock);
    Ring* const ring = hold ? placeOf(stream, false) : nullptr;
    if (ring == nullptr) return;
    ring->connection = stream.connection;
    makeOwn(ring->memory, at, length, descriptor, offset, dataOffset);
}

void clearCounts(Ring& ring) noexcept {
    ring.hasBegun = false;
    ring.readPosition = 0;
    ring.writePosition = 0;
    ring.waitingSince = 0;
    for (Ring::Events& events : ring.events) {
        events.count = 0;
        events.bytes = 0;
        events.longestWait = 0;
    }
    ring.summaryTime = timeNow();
}

/// @return whether the ring is complete
bool beginRing(Ring& ring, const Stream& stream, const void* at, std::size_t length,
               int descriptor) noexcept {
    const Hold holdUse(ring.use);
    const Hold hold(ring.lock);
    const bool isPhysical = ring.memory.at != nullptr;
    const std::size_t behindHeader = length - sizeof(wire::RingHeader);
    if (!holdUse || !hold || (!isPhysical && behindHeader == 0)) return false;
    if (!makeOwn(ring.header, at, length, descriptor, 0, sizeof(wire::RingHeader))) return false;
    const OwnMapping& place = isPhysical ? ring.memory : ring.header;
    ring.data = static_cast<const std::uint8_t*>(place.at) + place.dataOffset;
    ring.capacity = isPhysical ? stream.ringSize : static_cast<std::uint32_t>(behindHeader);
    ring.connection = stream.connection;
    ring.type = stream.type;
    ring.isToServer = stream.type <= LAST_PLAYBACK_TYPE;
    ring.base = stream.ringBytes;
    clearCounts(ring);
    if (recordsSound()) ring.sound.open();
    ring.isUsed = true;
    sampleRing(ring, Caller::Application);
    return true;
}

void addRing(const Stream& stream, const void* at, std::size_t length, int descriptor) noexcept {
    if (length < sizeof(wire::RingHeader)) return;
    {
        const Hold hold(gTableLock);
        Ring* const ring = hold ? placeOf(stream, true) : nullptr;
        if (ring == nullptr || !beginRing(*ring, stream, at, length, descriptor)) return;
        gRingCount.fetch_add(1);
    }
    startSampler();
}

/// The stream's next ring continues to count.
void keepBytes(const Ring& ring) noexcept {
    const std::uint64_t bytes = ring.base + ring.writePosition;
    visitConnections([&](Conversation& conversation) {
        const bool isTheStream = conversation.number() == ring.connection;
        if (isTheStream) conversation.setRingBytes(bytes);
        return isTheStream;
    });
}

void endRing(Ring& ring) noexcept {
    // A ring that is being unmapped is not written to.
    recordRing(ring, Caller::Application, true);
    keepBytes(ring);
    const Hold hold(ring.lock);
    ring.isUsed = false;
    dropOwn(ring.header);
    dropOwn(ring.memory);
    ring.sound.close();
    gRingCount.fetch_sub(1);
}

bool isIn(const OwnMapping& mapping, const void* address, std::size_t length) noexcept {
    const auto begin = reinterpret_cast<std::uintptr_t>(mapping.ofApplication);
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    return mapping.ofApplication != nullptr && at >= begin && at - begin < length;
}

/// The object that the descriptor refers to; connection 0 for any other file.
Stream objectOf(int descriptor) noexcept {
    const Hold hold(gTableLock);
    if (hold)
        for (const Object& object : gObjects)
            if (object.descriptor == descriptor) return object.stream;
    return {};
}

}  // namespace

bool hasRings() noexcept {
    return gRingCount.load(std::memory_order_relaxed) > 0;
}

void noteObject(int descriptor, const char* name) noexcept {
    // Descriptor 0 marks an unused place. The library never uses it either.
    if (descriptor <= 0 || name == nullptr || !isRecording()) return;
    const char* object = name + strspn(name, "/");
    Stream stream;
    const auto hasName = [&](const Conversation& other) { return isRingOf(object, other); };
    if (!findStream(stream, hasName)) return;
    const Hold hold(gTableLock);
    if (!hold) return;
    for (Object& place : gObjects) {
        if (place.descriptor != 0 && place.descriptor != descriptor) continue;
        if (place.descriptor == 0) gObjectCount.fetch_add(1);
        place.stream = stream;
        place.descriptor = descriptor;
        return;
    }
}

void forgetObject(int descriptor) noexcept {
    if (gObjectCount.load(std::memory_order_relaxed) == 0 || !isRecording()) return;
    const Hold hold(gTableLock);
    if (!hold || descriptor == 0) return;
    for (Object& place : gObjects) {
        if (place.descriptor != descriptor) continue;
        place.descriptor = 0;
        gObjectCount.fetch_sub(1);
    }
}

void noteMapping(void* at, std::size_t length, int descriptor, off64_t offset) noexcept {
    if (descriptor <= 0 || !isRecording()) return;
    Stream stream = objectOf(descriptor);
    if (stream.connection != 0) return addRing(stream, at, length, descriptor);
    const std::uint32_t page = static_cast<std::uint32_t>(getpagesize());
    const auto isThere = [&](const Conversation& other) {
        return isMemoryOf(streamOf(other), length, offset, page);
    };
    if (findStream(stream, isThere))
        addMemory(stream, at, length, descriptor, offset, stream.ringAddress % page);
}

void endMapping(const void* at) noexcept {
    if (gMappingCount.load(std::memory_order_relaxed) == 0 || !isRecording()) return;
    const KeepErrno keep;
    const Hold hold(gTableLock);
    if (!hold) return;
    for (Ring& ring : gRings) {
        if (ring.header.ofApplication != at && ring.memory.ofApplication != at) continue;
        const Hold holdUse(ring.use);
        if (!holdUse) continue;
        if (ring.isUsed)
            endRing(ring);
        else
            dropOwn(ring.memory);  // its header could not be mapped
    }
}

void noteCacheRequest(std::uint32_t start, std::uint32_t length) noexcept {
    if (!hasRings() || !isRecording()) return;
    const KeepErrno keep;
    for (Ring& ring : gRings) {
        if (!ring.isUsed) continue;
        const Hold hold(ring.lock);
        if (!hold || !ring.isUsed || ring.memory.at == nullptr) continue;
        const auto data = static_cast<std::uint32_t>(
            reinterpret_cast<std::uintptr_t>(ring.memory.ofApplication) + ring.memory.dataOffset);
        const std::uint32_t offset = start - data;
        if (offset >= ring.capacity) continue;
        sampleRing(ring, Caller::Application);
        notePiece(ring, offset, length);
        return;
    }
}

void noteSemaphoreCall(const void* semaphore, trace::RingEvent event,
                       std::uint64_t waitedUs) noexcept {
    if (!isRecording()) return;
    const KeepErrno keep;
    for (Ring& ring : gRings) {
        if (!ring.isUsed || !isIn(ring.header, semaphore, sizeof(wire::RingHeader))) continue;
        const Hold hold(ring.lock);
        if (!hold || !ring.isUsed) return;
        // A writer's wait for space is seen in the header.
        const bool isSampled = event == trace::RingEvent::Wait && ring.isToServer;
        if (!isSampled) countCall(ring, event, waitedUs);
        // Only the thread that posts is sure to write nothing now.
        sampleRing(ring, event == trace::RingEvent::Notify ? Caller::Application : Caller::Sampler);
        return;
    }
}

void recordRings(bool isLast) noexcept {
    if (!isRecording()) return;
    for (Ring& ring : gRings) {
        if (!ring.isUsed) continue;
        const Hold hold(ring.use);
        if (hold && ring.isUsed) recordRing(ring, Caller::Sampler, isLast);
    }
}

void dropRings() noexcept {
    gTableLock.reset();
    for (Object& object : gObjects)
        object.descriptor = 0;
    gObjectCount = 0;
    for (Ring& ring : gRings) {
        ring.use.reset();
        ring.lock.reset();
        dropOwn(ring.header);
        dropOwn(ring.memory);
        ring.sound.close();
        ring.isUsed = false;
    }
    gRingCount = 0;
}

}  // namespace cabinaudio::recorder
