// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/ring/Stamped.h"
#include "bench/support/Bytes.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <ctime>

namespace cabinaudio::bench {

/// The fields of our ring's header that a transfer needs, in one cache line as there.
struct alignas(CACHE_LINE) RingHeader {
    std::atomic<std::uint32_t> written{0};
    std::atomic<std::uint32_t> read{0};
    std::atomic<std::uint32_t> time{0};  // ms
};

/// Lower bound for a ring with our header: both offsets are in memory, the bytes are at an offset
/// that is loaded from there, and a write stores the time. It checks for space and for bytes and
/// nothing else; chunks of one length never continue at the begin.
template <bool IS_STAMPED>
class HeaderRing {
public:
    HeaderRing(RingHeader& header, unsigned char* data, std::uint32_t size)
        : mHeader(header), mData(data), mSize(size) {}

    std::uint32_t write(const unsigned char* src, std::uint32_t length) {
        const std::uint32_t at = mHeader.written.load(std::memory_order_relaxed);
        const std::uint32_t next = after(at, length);
        if (next == mHeader.read.load(std::memory_order_acquire)) return 0;
        std::memcpy(mData + at, src, length);
        if constexpr (!IS_STAMPED) {
            mHeader.written.store(next, std::memory_order_release);
        } else {
            const std::uint32_t time = nowMs();
            mHeader.written.store(next, std::memory_order_release);
            mHeader.time.store(time, std::memory_order_relaxed);
        }
        return length;
    }
    std::uint32_t read(unsigned char* dst, std::uint32_t length) {
        const std::uint32_t at = mHeader.read.load(std::memory_order_relaxed);
        if (at == mHeader.written.load(std::memory_order_acquire)) return 0;
        std::memcpy(dst, mData + at, length);
        mHeader.read.store(after(at, length), std::memory_order_release);
        return length;
    }

private:
    [[nodiscard]] std::uint32_t after(std::uint32_t at, std::uint32_t length) const {
        at += length;
        return at + length > mSize ? 0 : at;
    }
    static std::uint32_t nowMs() {
        struct timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        return static_cast<std::uint32_t>(now.tv_sec) * 1000 +
               static_cast<std::uint32_t>(now.tv_nsec) / 1'000'000;
    }

    RingHeader& mHeader;
    unsigned char* mData;
    std::uint32_t mSize;
};

/// The same with memory of its own, for one process.
template <bool IS_STAMPED>
class OwnHeaderRing {
public:
    explicit OwnHeaderRing(std::uint32_t size)
        : mBytes(size), mRing(mHeader, mBytes.data(), size) {}

    void write(const unsigned char* src, std::uint32_t length) { mRing.write(src, length); }
    void read(unsigned char* dst, std::uint32_t length) { mRing.read(dst, length); }

private:
    RingHeader mHeader;
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
