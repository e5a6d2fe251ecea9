// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/ring/HeaderRing.h"
#include "bench/ring/Stamped.h"
#include "bench/support/Bytes.h"
#include "bench/support/Errors.h"

#include <boost/lockfree/spsc_queue.hpp>
#include <jack/ringbuffer.h>
#include <spa/utils/ringbuffer.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>

// Rings in memory that a process shares with its child: created before the fork; then one process
// writes and the other reads. Both functions return the number of bytes moved: `length`, or less
// when no more is available. Each takes the time once per write, and its bytes begin on a cache
// line, as ours do.

namespace cabinaudio::bench {

inline constexpr std::uint32_t RING_BYTES = 1 << 16;

/// Pages shared with a child, at the same address.
inline void* sharedPages(std::size_t bytes) {
    void* const at =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (at == MAP_FAILED) raise(errno, "mmap");
    return at;
}

/// An object shared with a child.
template <typename Content>
class Shared {
public:
    Shared() : mContent(new (sharedPages(sizeof(Content))) Content) {}
    ~Shared() {
        mContent->~Content();
        munmap(mContent, sizeof(Content));
    }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;
    Content* operator->() { return mContent; }

private:
    Content* mContent;
};

/// Allocates whole pages shared with a child.
template <typename T>
struct SharedAllocator {
    using value_type = T;

    SharedAllocator() = default;
    template <typename Other>
    explicit SharedAllocator(const SharedAllocator<Other>&) {}

    T* allocate(std::size_t count) { return static_cast<T*>(sharedPages(count * sizeof(T))); }
    void deallocate(T* at, std::size_t count) { munmap(at, count * sizeof(T)); }

    bool operator==(const SharedAllocator&) const { return true; }
};

/// A minimal ring with our header.
class HeaderShared {
public:
    std::uint32_t write(const unsigned char* from, std::uint32_t length) {
        return mRing.write(from, length);
    }
    std::uint32_t read(unsigned char* to, std::uint32_t length) { return mRing.read(to, length); }

private:
    struct Content {
        RingHeader header;
        alignas(CACHE_LINE) unsigned char data[RING_BYTES];
    };
    Shared<Content> mContent;
    HeaderRing<true> mRing{&mContent->header, RING_BYTES};
};

class SpaShared {
public:
    SpaShared() { spa_ringbuffer_init(&mContent->ring); }
    std::uint32_t write(const unsigned char* from, std::uint32_t length) {
        std::uint32_t index;
        const std::int32_t filled = spa_ringbuffer_get_write_index(&mContent->ring, &index);
        if (RING_BYTES - static_cast<std::uint32_t>(filled) < length) return 0;
        spa_ringbuffer_write_data(&mContent->ring, mContent->data, RING_BYTES,
                                  index & (RING_BYTES - 1), from, length);
        spa_ringbuffer_write_update(&mContent->ring, static_cast<std::int32_t>(index + length));
        takeTime();
        return length;
    }
    std::uint32_t read(unsigned char* to, std::uint32_t length) {
        std::uint32_t index;
        const std::int32_t filled = spa_ringbuffer_get_read_index(&mContent->ring, &index);
        const std::uint32_t count = std::min(length, static_cast<std::uint32_t>(filled));
        if (count == 0) return 0;
        spa_ringbuffer_read_data(&mContent->ring, mContent->data, RING_BYTES,
                                 index & (RING_BYTES - 1), to, count);
        spa_ringbuffer_read_update(&mContent->ring, static_cast<std::int32_t>(index + count));
        return count;
    }

private:
    struct Content {
        spa_ringbuffer ring;
        alignas(CACHE_LINE) unsigned char data[RING_BYTES];
    };
    Shared<Content> mContent;
};

class JackShared {
public:
    JackShared() {
        jack_ringbuffer_t* const made = jack_ringbuffer_create(RING_BYTES);
        mContent->ring = *made;
        mContent->ring.buf = mContent->data;
        jack_ringbuffer_free(made);
    }
    std::uint32_t write(const unsigned char* from, std::uint32_t length) {
        if (jack_ringbuffer_write_space(&mContent->ring) < length) return 0;
        jack_ringbuffer_write(&mContent->ring, reinterpret_cast<const char*>(from), length);
        takeTime();
        return length;
    }
    std::uint32_t read(unsigned char* to, std::uint32_t length) {
        return static_cast<std::uint32_t>(
            jack_ringbuffer_read(&mContent->ring, reinterpret_cast<char*>(to), length));
    }

private:
    struct Content {
        jack_ringbuffer_t ring;
        alignas(CACHE_LINE) char data[RING_BYTES];
    };
    Shared<Content> mContent;
};

class BoostShared {
public:
    std::uint32_t write(const unsigned char* from, std::uint32_t length) {
        if (mQueue->write_available() < length) return 0;
        const auto count = static_cast<std::uint32_t>(mQueue->push(from, length));
        takeTime();
        return count;
    }
    std::uint32_t read(unsigned char* to, std::uint32_t length) {
        return static_cast<std::uint32_t>(mQueue->pop(to, length));
    }

private:
    // A capacity of the type would place the bytes into the object, eight bytes behind a line.
    using Base =
        boost::lockfree::spsc_queue<unsigned char,
                                    boost::lockfree::allocator<SharedAllocator<unsigned char>>>;
    struct Queue : Base {
        Queue() : Base(RING_BYTES - 1) {}
    };
    Shared<Queue> mQueue;
};

}  // namespace cabinaudio::bench
