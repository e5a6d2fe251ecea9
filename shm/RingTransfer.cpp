// SPDX-License-Identifier: Apache-2.0
// The operations of a ring between construction and destruction.
#include <cabinaudio/foundation/AudioTime.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "foundation/LibraryClock.h"
#include "shm/CacheMaintenance.h"
#include "shm/RingAccess.h"
#include "shm/RingCore.h"
#include "shm/RingLog.h"
#include "shm/ShareMemoryHandle.h"
#include "shm/SharedSemaphore.h"
#include "wire/Ring.h"

#include <time.h>

#include <cerrno>
#include <cstring>

namespace cabinaudio {
namespace {

using wire::RingHeader;

void copyBytes(unsigned char* to, const unsigned char* from, std::uint32_t length) {
    if (length != 0) std::memcpy(to, from, length);  // the caller's pointer may be null then
}

/// With 32-bit divisions only.
inline std::uint64_t inMilliseconds(const struct timespec& time) {
    return static_cast<std::uint64_t>(time.tv_sec) * 1000 +
           static_cast<std::uint32_t>(time.tv_nsec) / 1000000;
}

/// Has a time of its own, because the address of the caller's would take up a register on the way
/// of every write.
[[gnu::noinline, gnu::cold]] std::uint64_t millisecondsOfBrokenClock() {
    struct timespec now = {};
    AudioTime::now(&now);  // logs the failure
    return inMilliseconds(now);
}

/// AudioTime::now() in milliseconds.
inline std::uint64_t milliseconds() {
    struct timespec now;
    if (clock_gettime(gLibraryClock.load(std::memory_order_relaxed), &now) != 0) [[unlikely]]
        return millisecondsOfBrokenClock();
    return inMilliseconds(now);
}

inline void stampUpdate(RingHeader& ring) {
    storeRelaxed(ring.updateTime, milliseconds());
}

/// Stores one of the ring's offsets and the time of this update. The clock is read first: the other
/// side polls the offset, so a later store of the time would fetch the cache line of both again.
inline void storeStamped(RingHeader& ring, std::uint32_t& offset, std::uint32_t value) {
    const std::uint64_t now = milliseconds();
    storeRelease(offset, value);
    storeRelaxed(ring.updateTime, now);
}

/// @param function  operation that the failure is logged for
[[gnu::noinline]] void post(wire::SemaphoreSlot& slot, const char* function) {
    if (sem_post(semaphoreIn(slot)) == 0) return;
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, ringSite(function), "sem_post failed:%s\n",
                 std::strerror(errno));
}

/// Copies out of a ring of any kind. taken(offset) is called with the end of each piece once the
/// piece has been copied.
template <typename Taken>
inline std::uint32_t copyOut(const ShareMemoryHandle* hdl, RingState state, unsigned char* dst,
                             std::uint32_t len, Taken taken) {
    if (!state.isPossible(hdl->len)) return 0;
    const std::uint32_t count = std::min(state.used(), len);
    forEachPiece(state.read, count, state.size,
                 [&](std::uint32_t offset, std::uint32_t bytes, std::uint32_t next) {
                     const unsigned char* const from = hdl->data + offset;
                     if (hdl->needCache) cache_invalidate(hdl, from, bytes);
                     copyBytes(dst, from, bytes);
                     dst += bytes;
                     taken(next);
                 });
    return count;
}

std::uint32_t readInPieces(const ShareMemoryHandle* hdl, RingState state, unsigned char* dst,
                           std::uint32_t len) {
    return copyOut(hdl, state, dst, len,
                   [hdl](std::uint32_t next) { storeRelease(hdl->hdr->readOffset, next); });
}

/// Copies into a ring of any kind.
std::uint32_t writeInPieces(const ShareMemoryHandle* hdl, RingState state, const unsigned char* src,
                            std::uint32_t len) {
    if (!state.isPossible(hdl->len)) return 0;
    const std::uint32_t count = std::min(state.free(), len);
    forEachPiece(state.write, count, state.size,
                 [&](std::uint32_t offset, std::uint32_t bytes, std::uint32_t next) {
                     unsigned char* const to = hdl->data + offset;
                     copyBytes(to, src, bytes);
                     if (hdl->needCache) cache_clean(hdl, to, bytes);
                     src += bytes;
                     storeRelease(hdl->hdr->writeOffset, next);
                 });
    return count;
}

// Last step of a transfer of `count` bytes; each returns the operation's result.

inline int finishRead(RingHeader& ring, std::uint32_t count) {
    if (loadRelaxed(ring.writeNotify) != 0) [[unlikely]]
        post(ring.writeSem, "read");
    return static_cast<int>(count);
}

inline int finishWrite(RingHeader& ring, std::uint32_t count) {
    if (loadRelaxed(ring.readNotify) != 0) [[unlikely]]
        post(ring.readSem, "write");
    return static_cast<int>(count);
}

// read() and write() for a ring of any kind. They load the header again.

[[gnu::noinline]] int readAnyRing(const ShareMemoryHandle* hdl, unsigned char* dst,
                                  std::uint32_t len) {
    if (!hdl->isMapped()) return 0;
    return finishRead(*hdl->hdr, readInPieces(hdl, RingState::of(*hdl->hdr), dst, len));
}

[[gnu::noinline]] int writeAnyRing(const ShareMemoryHandle* hdl, const unsigned char* src,
                                   std::uint32_t len) {
    if (!hdl->isMapped()) return 0;
    RingHeader& ring = *hdl->hdr;
    const std::uint32_t count = writeInPieces(hdl, RingState::of(ring), src, len);
    stampUpdate(ring);
    return finishWrite(ring, count);
}

/// Hides the value's origin from a 64-bit compiler, which otherwise keeps both the value and its
/// lower half across a call, or computes that half twice: six more instructions for a write and a
/// read.
inline std::size_t opaque(std::size_t value) {
    if constexpr (sizeof(value) > sizeof(std::uint32_t)) asm("" : "+r"(value));
    return value;
}

/// Whether the sum of an offset and a length has wrapped around.
inline bool wrapped(std::size_t sum, std::uint32_t offset) {
    return sizeof(sum) == sizeof(offset) && sum < offset;
}

/// Start of the data that lies behind the header.
inline unsigned char* dataBehind(RingHeader& ring) {
    return reinterpret_cast<unsigned char*>(&ring + 1);
}

}  // namespace
}  // namespace cabinaudio

using namespace cabinaudio;

unsigned ShareMemoryEx::getTotalSize() {
    return loadAcquire(mHandle->ring->size);
}

unsigned ShareMemoryEx::getUsedSize() {
    const RingState state = RingState::of(*mHandle->ring);
    return state.isPossible(mHandle->len) ? state.used() : 0;
}

unsigned ShareMemoryEx::getFreeSize() {
    const RingState state = RingState::of(*mHandle->ring);
    return state.isPossible(mHandle->len) ? state.free() : 0;
}

unsigned ShareMemoryEx::getReadOffset() {
    return loadAcquire(mHandle->ring->readOffset);
}

unsigned ShareMemoryEx::getWriteOffset() {
    return loadAcquire(mHandle->ring->writeOffset);
}

// Here and in write(): a copy of 0 bytes may have a null address.
__attribute__((no_sanitize("nonnull-attribute"))) int ShareMemoryEx::read(unsigned char* dst,
                                                                          unsigned len) {
    const ShareMemoryHandle* const hdl = mHandle;
    RingHeader& ring = *hdl->ring;
    const std::size_t count = opaque(len);
    const std::uint32_t size = loadAcquire(ring.size);
    const std::uint32_t r = loadRelaxed(ring.readOffset);
    const std::uint32_t w = loadAcquire(ring.writeOffset);
    const auto inPieces = [=] { return readAnyRing(hdl, dst, static_cast<std::uint32_t>(count)); };
    // Fast path: a plain ring, and all `len` bytes lie in one piece between the offsets, which also
    // shows that the offsets are possible. Joined by ||, the conditions take more instructions on
    // the target.
    const std::size_t end = opaque(r + count);
    if (wrapped(end, r)) return inPieces();
    if (end > w) return inPieces();
    if (w >= size) return inPieces();
    if (size > hdl->plainLimit) return inPieces();
    std::memcpy(dst, dataBehind(ring) + r, count);
    storeRelease(ring.readOffset, static_cast<std::uint32_t>(end));
    return finishRead(ring, static_cast<std::uint32_t>(count));
}

__attribute__((no_sanitize("nonnull-attribute"))) int ShareMemoryEx::write(const unsigned char* src,
                                                                           unsigned len) {
    const ShareMemoryHandle* const hdl = mHandle;
    RingHeader& ring = *hdl->ring;
    const std::size_t count = opaque(len);
    const std::uint32_t size = loadAcquire(ring.size);
    const std::uint32_t r = loadAcquire(ring.readOffset);
    const std::uint32_t w = loadRelaxed(ring.writeOffset);
    const auto inPieces = [=] { return writeAnyRing(hdl, src, static_cast<std::uint32_t>(count)); };
    // Fast path: a plain ring, and `len` bytes fit behind the data without reaching the ring's end.
    if (r > w) return inPieces();
    const std::size_t end = opaque(w + count);
    if (wrapped(end, w)) return inPieces();
    if (end >= size) return inPieces();
    if (size > hdl->plainLimit) return inPieces();
    std::memcpy(dataBehind(ring) + w, src, count);
    storeStamped(ring, ring.writeOffset, static_cast<std::uint32_t>(end));
    return finishWrite(ring, static_cast<std::uint32_t>(count));
}

unsigned RingAccess::peek(const ShareMemoryEx& ring, unsigned char* dst, unsigned len) {
    const ShareMemoryHandle* const hdl = ring.mHandle;
    if (!hdl->isMapped()) return 0;
    return copyOut(hdl, RingState::of(*hdl->ring), dst, len, [](std::uint32_t) {});
}

void ShareMemoryEx::updateReadOffset(unsigned offset) {
    if (!mHandle->isMapped()) return;
    RingHeader& ring = *mHandle->ring;
    storeStamped(ring, ring.readOffset, offset);
    // Pairs with setWait(): either this side sees the flag or the writing side sees the space.
    std::atomic_thread_fence(std::memory_order_seq_cst);
    // Deliberate: unlike read(), posts only if `wait` is set.
    if (loadRelaxed(ring.writeNotify) != 0 && loadRelaxed(ring.wait) != 0)
        post(ring.writeSem, __func__);
}

void ShareMemoryEx::updateWriteOffset(unsigned offset) {
    if (!mHandle->isMapped()) return;
    RingHeader& ring = *mHandle->ring;
    storeStamped(ring, ring.writeOffset, offset);
    if (loadRelaxed(ring.readNotify) != 0) post(ring.readSem, __func__);
}

void ShareMemoryEx::getNextBuffer(audio_buffer_provider_t& buffer) {
    if (!mHandle->isMapped()) return;
    const RingState state = RingState::of(*mHandle->ring);
    const bool isPossible = state.isPossible(mHandle->len);
    buffer.data = mHandle->data + (isPossible ? state.read : 0);
    buffer.length = isPossible ? state.usedInOnePiece() : 0;
}

void ShareMemoryEx::releaseBuffer(const audio_buffer_provider_t& buffer) {
    if (!mHandle->isMapped()) return;
    RingHeader& ring = *mHandle->ring;
    const std::uint32_t size = loadAcquire(ring.size);
    if (size == 0) return;
    std::uint32_t offset = loadRelaxed(ring.readOffset) + buffer.length;
    if (offset >= size) offset -= size;
    if (offset >= size) offset %= size;  // lengths that getNextBuffer() never returns
    storeRelease(ring.readOffset, offset);
}

void ShareMemoryEx::clear() {
    if (!mHandle->isMapped()) return;
    storeRelease<std::uint32_t>(mHandle->ring->readOffset, 0);
    storeRelease<std::uint32_t>(mHandle->ring->writeOffset, 0);
}

bool ShareMemoryEx::isUsable() {
    return mHandle->isMapped();
}

std::uint64_t ShareMemoryEx::getUpdateTime() {
    return loadRelaxed(mHandle->hdr->updateTime);
}

void ShareMemoryEx::setWait(bool wait) {
    storeRelaxed<std::uint8_t>(mHandle->hdr->wait, wait ? 1 : 0);
    // Pairs with updateReadOffset(): the caller tests the free space next.
    std::atomic_thread_fence(std::memory_order_seq_cst);
}

bool ShareMemoryEx::getWait() {
    return loadRelaxed(mHandle->hdr->wait) != 0;
}
