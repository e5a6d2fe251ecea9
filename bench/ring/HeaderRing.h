// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/ring/Stamped.h"
#include "bench/support/Bytes.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>

namespace cabinaudio::bench {

/// The fields of our ring's header that a transfer needs, in one cache line as there.
struct alignas(CACHE_LINE) RingHeader {
    std::atomic<std::uint32_t> written{0};
    std::atomic<std::uint32_t> read{0};
    std::atomic<std::uint32_t> time{0};  // ms
};

/// As our exported class: the object has a pointer to this, and this one to the header.
struct RingHandle {
    RingHeader* header;
    std::uint32_t size;
};

/// A minimal ring with our header: the way to the bytes leads from the object to the
/// handle, to the header and to an offset in it, and a write stores the time. It checks for space
/// and for bytes and nothing else; chunks of one length never continue at the begin.
template <bool IS_STAMPED>
class HeaderRing {
public:
    /// The bytes are behind the header.
    HeaderRing(RingHeader* header, std::uint32_t size) : mHandle(new RingHandle{header, size}) {}

    std::uint32_t write(const unsigned char* src, std::uint32_t length) {
        RingHeader& header = *mHandle->header;
        const std::uint32_t at = header.written.load(std::memory_order_relaxed);
        const std::uint32_t next = after(at, length);
        if (next == header.read.load(std::memory_order_acquire)) return 0;
        std::memcpy(bytesBehind(header) + at, src, length);
        if constexpr (!IS_STAMPED) {
            header.written.store(next, std::memory_order_release);
        } else {
            const std::uint32_t time = nowMs();
            header.written.store(next, std::memory_order_release);
            header.time.store(time, std::memory_order_relaxed);
        }
        return length;
    }
    std::uint32_t read(unsigned char* dst, std::uint32_t length) {
        RingHeader& header = *mHandle->header;
        const std::uint32_t at = header.read.load(std::memory_order_relaxed);
        if (at == header.written.load(std::memory_order_acquire)) return 0;
        std::memcpy(dst, bytesBehind(header) + at, length);
        header.read.store(after(at, length), std::memory_order_release);
        return length;
    }

private:
    static unsigned char* bytesBehind(RingHeader& header) {
        return reinterpret_cast<unsigned char*>(&header + 1);
    }
    [[nodiscard]] std::uint32_t after(std::uint32_t at, std::uint32_t length) const {
        at += length;
        return at + length > mHandle->size ? 0 : at;
    }
    static std::uint32_t nowMs() {
        struct timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        return static_cast<std::uint32_t>(now.tv_sec) * 1000 +
               static_cast<std::uint32_t>(now.tv_nsec) / 1'000'000;
    }

    std::unique_ptr<RingHandle> mHandle;
};

/// The same with memory of its own, for one process.
template <bool IS_STAMPED>
class OwnHeaderRing {
public:
    explicit OwnHeaderRing(std::uint32_t size)
        : mBytes(sizeof(RingHeader) + size), mRing(new (mBytes.data()) RingHeader, size) {}

    void write(const unsigned char* src, std::uint32_t length) { mRing.write(src, length); }
    void read(unsigned char* dst, std::uint32_t length) { mRing.read(dst, length); }

private:
    Bytes mBytes;
    HeaderRing<IS_STAMPED> mRing;
};

/// The interface of Copies, without the time.
using Header = OwnHeaderRing<false>;

/// Stores the time instead of only taking it.
template <>
class Stamped<Header> : public OwnHeaderRing<true> {
public:
    using OwnHeaderRing::OwnHeaderRing;
};

}  // namespace cabinaudio::bench
