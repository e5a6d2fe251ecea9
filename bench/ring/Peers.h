// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/Bytes.h"

#include <boost/lockfree/spsc_queue.hpp>
#include <jack/ringbuffer.h>
#include <spa/utils/ringbuffer.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

// Other rings behind the interface of Copies: write(src, length), read(dst, length). Their bytes
// begin on a cache line, as ours do.

namespace cabinaudio::bench {

class Jack {
public:
    explicit Jack(std::uint32_t size) : mRing(jack_ringbuffer_create(size)) {
        // Its own buffer is aligned to 16 bytes. jack_ringbuffer_free() frees the new one.
        std::free(mRing->buf);
        mRing->buf = static_cast<char*>(std::aligned_alloc(CACHE_LINE, size));
    }
    ~Jack() { jack_ringbuffer_free(mRing); }
    Jack(const Jack&) = delete;
    Jack& operator=(const Jack&) = delete;

    void write(const unsigned char* src, std::uint32_t length) {
        jack_ringbuffer_write(mRing, reinterpret_cast<const char*>(src), length);
    }
    void read(unsigned char* dst, std::uint32_t length) {
        jack_ringbuffer_read(mRing, reinterpret_cast<char*>(dst), length);
    }

private:
    jack_ringbuffer_t* mRing;
};

/// Used as documented; the size is a power of two.
class Spa {
public:
    explicit Spa(std::uint32_t size) : mBuffer(size), mSize(size) { spa_ringbuffer_init(&mRing); }

    void write(const unsigned char* src, std::uint32_t length) {
        std::uint32_t index;
        const std::int32_t filled = spa_ringbuffer_get_write_index(&mRing, &index);
        const std::uint32_t count = std::min(length, mSize - static_cast<std::uint32_t>(filled));
        spa_ringbuffer_write_data(&mRing, mBuffer.data(), mSize, index & (mSize - 1), src, count);
        spa_ringbuffer_write_update(&mRing, static_cast<std::int32_t>(index + count));
    }
    void read(unsigned char* dst, std::uint32_t length) {
        std::uint32_t index;
        const std::int32_t filled = spa_ringbuffer_get_read_index(&mRing, &index);
        const std::uint32_t count = std::min(length, static_cast<std::uint32_t>(filled));
        spa_ringbuffer_read_data(&mRing, mBuffer.data(), mSize, index & (mSize - 1), dst, count);
        spa_ringbuffer_read_update(&mRing, static_cast<std::int32_t>(index + count));
    }

private:
    Bytes mBuffer;
    std::uint32_t mSize;
    struct spa_ringbuffer mRing;
};

class Boost {
public:
    explicit Boost(std::uint32_t size) : mQueue(size) {}

    void write(const unsigned char* src, std::uint32_t length) { mQueue.push(src, length); }
    void read(unsigned char* dst, std::uint32_t length) { mQueue.pop(dst, length); }

private:
    boost::lockfree::spsc_queue<unsigned char,
                                boost::lockfree::allocator<LineAllocator<unsigned char>>>
        mQueue;
};

}  // namespace cabinaudio::bench
