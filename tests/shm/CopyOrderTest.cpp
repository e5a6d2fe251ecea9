// SPDX-License-Identifier: Apache-2.0
// A ring's offsets at the moment of the copy: neither side publishes a byte that is not copied yet.
#include "tests/shm/RingFixture.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstring>

namespace cabinaudio::test {
namespace {

/// An application's buffer whose first access is a fault, at which the ring's offsets are noted.
class WatchedBuffer {
public:
    explicit WatchedBuffer(wire::RingHeader& ring) {
        page = static_cast<std::size_t>(getpagesize());
        void* const at =
            mmap(nullptr, page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(at, MAP_FAILED);
        memory = static_cast<unsigned char*>(at);
        header = &ring;
        faults = 0;
        struct sigaction action = {};
        action.sa_handler = onFault;
        EXPECT_EQ(sigaction(SIGSEGV, &action, &mPrevious), 0);
        EXPECT_EQ(sigaction(SIGBUS, &action, &mPreviousBus), 0);
    }
    ~WatchedBuffer() {
        EXPECT_EQ(sigaction(SIGSEGV, &mPrevious, nullptr), 0);
        EXPECT_EQ(sigaction(SIGBUS, &mPreviousBus, nullptr), 0);
        munmap(memory, page);
    }
    WatchedBuffer(const WatchedBuffer&) = delete;
    WatchedBuffer& operator=(const WatchedBuffer&) = delete;

    unsigned char* watch() {
        EXPECT_EQ(mprotect(memory, page, PROT_NONE), 0);
        return memory;
    }

    static inline std::size_t page = 0;
    static inline unsigned char* memory = nullptr;
    static inline wire::RingHeader* header = nullptr;
    static inline volatile int faults = 0;
    static inline volatile std::uint32_t readOffset = 0;
    static inline volatile std::uint32_t writeOffset = 0;

private:
    static void onFault(int) {
        if (faults != 0 || mprotect(memory, page, PROT_READ | PROT_WRITE) != 0) _exit(99);
        faults = 1;
        readOffset = std::atomic_ref(header->readOffset).load(std::memory_order_relaxed);
        writeOffset = std::atomic_ref(header->writeOffset).load(std::memory_order_relaxed);
    }

    struct sigaction mPrevious = {};
    struct sigaction mPreviousBus = {};
};

/// A ring in physical memory and one behind its header, whose operations have ways of their own.
class CopyOrder : public RingFixture, public ::testing::WithParamInterface<bool> {
protected:
    static constexpr unsigned SIZE = 64;

    const std::unique_ptr<ShareMemoryEx> ring = either(GetParam(), SIZE);
    const Object object{nameOf(GetParam()), sizeof(wire::RingHeader)};
};

TEST_P(CopyOrder, ReadPublishesItsOffsetAfterTheCopy) {
    const auto bytes = pattern(40, 1);
    ASSERT_EQ(ring->write(bytes.data(), 40), 40);
    WatchedBuffer buffer(object.header());
    ASSERT_EQ(ring->read(buffer.watch(), 24), 24);
    EXPECT_EQ(WatchedBuffer::faults, 1);
    EXPECT_EQ(WatchedBuffer::readOffset, 0U);
    EXPECT_EQ(std::memcmp(WatchedBuffer::memory, bytes.data(), 24), 0);
    EXPECT_EQ(ring->getReadOffset(), 24U);
}

TEST_P(CopyOrder, WritePublishesItsOffsetAfterTheCopy) {
    WatchedBuffer buffer(object.header());
    ASSERT_EQ(ring->write(buffer.watch(), 24), 24);
    EXPECT_EQ(WatchedBuffer::faults, 1);
    EXPECT_EQ(WatchedBuffer::writeOffset, 0U);
    EXPECT_EQ(ring->getWriteOffset(), 24U);
}

INSTANTIATE_TEST_SUITE_P(Rings, CopyOrder, ::testing::Bool(),
                         [](const auto& ring) { return ring.param ? "Physical" : "Posix"; });

}  // namespace
}  // namespace cabinaudio::test
