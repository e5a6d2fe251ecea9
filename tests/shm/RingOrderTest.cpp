// SPDX-License-Identifier: Apache-2.0
// The order of a ring's visible steps: requests to the cache device, without which the processor's
// caches and the memory differ, and wake-ups of the other side's threads.
#include "tests/shm/RingFixture.h"
#include "tests/shm/Witness.h"
#include "tests/support/ProcessState.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <vector>

namespace cabinaudio::test {
namespace {

constexpr unsigned SIZE = 16;
constexpr std::uint64_t CLEAN = 0x40084303;
constexpr std::uint64_t INVALIDATE = 0x40084304;

using Data = std::vector<unsigned char>;

/// A request to the cache device, and the ring at that moment.
struct Moment {
    std::uint64_t request;
    std::uint32_t length;
    std::uint32_t readOffset;
    std::uint32_t writeOffset;
    Data memory;  // all of the ring's
};

class RingCache : public RingFixture {
protected:
    RingCache() {
        // Eight bytes reach over the end from here.
        ring->updateReadOffset(10);
        ring->updateWriteOffset(10);
    }

    [[nodiscard]] Data memory() const { return {device.bytes(), device.bytes() + SIZE}; }
    [[nodiscard]] Moment now(const Shown& shown) const {
        return {shown.request, shown.length, std::atomic_ref(object.header().readOffset).load(),
                std::atomic_ref(object.header().writeOffset).load(), memory()};
    }
    /// Bytes as they would lie in the ring from offset 10 on.
    [[nodiscard]] static Data from10(const Data& bytes, std::size_t count) {
        Data all(SIZE, 0);
        for (std::size_t i = 0; i < count; ++i)
            all[(10 + i) % SIZE] = bytes[i];
        return all;
    }

    const std::unique_ptr<ShareMemoryEx> ring = physical(SIZE);
    const Physical device{PHYSICAL, SIZE};
    const Object object{physicalName(), sizeof(wire::RingHeader)};
};

TEST_F(RingCache, IsCleanedBetweenTheCopyAndTheOffsetOfEachPiece) {
    std::memset(device.bytes(), 0, SIZE);
    const Data bytes = pattern(8, 1);
    std::vector<Moment> moments;
    {
        const Witness witness([&](const Shown& shown) {
            if (!shown.isWakeUp) moments.push_back(now(shown));
        });
        ASSERT_EQ(ring->write(bytes.data(), 8), 8);
    }
    ASSERT_EQ(moments.size(), 2U);
    for (const Moment& moment : moments)
        EXPECT_EQ(moment.request, CLEAN);
    EXPECT_EQ(moments[0].length, 6U);
    EXPECT_EQ(moments[0].memory, from10(bytes, 6)) << "the first piece is copied before";
    EXPECT_EQ(moments[0].writeOffset, 10U) << "and published behind";
    EXPECT_EQ(moments[1].length, 2U);
    EXPECT_EQ(moments[1].memory, from10(bytes, 8)) << "the second piece is copied before";
    EXPECT_EQ(moments[1].writeOffset, 0U) << "and published behind";
    EXPECT_EQ(ring->getWriteOffset(), 2U);
}

TEST_F(RingCache, IsInvalidatedBeforeEachPieceIsCopied) {
    const Data stale(8, 0xee);
    ASSERT_EQ(ring->write(stale.data(), 8), 8);
    const Data bytes = pattern(8, 1);
    std::vector<Moment> moments;
    Data got(8);
    {
        /// The memory behind the cache lines shows up with the request.
        const Witness witness([&](const Shown& shown) {
            if (shown.isWakeUp) return;
            moments.push_back(now(shown));
            const bool isFirst = moments.size() == 1;
            std::memcpy(device.bytes() + (isFirst ? 10 : 0), bytes.data() + (isFirst ? 0 : 6),
                        isFirst ? 6 : 2);
        });
        ASSERT_EQ(ring->read(got.data(), 8), 8);
    }
    EXPECT_EQ(got, bytes) << "read from lines that were not invalidated yet";
    ASSERT_EQ(moments.size(), 2U);
    for (const Moment& moment : moments)
        EXPECT_EQ(moment.request, INVALIDATE);
    EXPECT_EQ(moments[0].readOffset, 10U);
    EXPECT_EQ(moments[1].readOffset, 0U) << "the first piece is given back before the second";
    EXPECT_EQ(ring->getReadOffset(), 2U);
}

/// The other side's thread sleeps on its semaphore; the ring is looked at when it is woken.
class RingWakeUp : public RingFixture {
protected:
    void expectWakeUp(const std::function<void()>& operation,
                      const std::function<void(wire::RingHeader&)>& expectation) {
        const Object object(posixName(), SIZE + sizeof(wire::RingHeader));
        wire::RingHeader& header = object.header();
        ASSERT_TRUE(eventually([&] {
            return std::atomic_ref(semaphore(header).word[3]).load() == 1 && threadsSleep("AS-");
        }));
        std::atomic_ref(header.updateTime) = 0;
        unsigned wakeUps = 0;
        {
            const Witness witness([&](const Shown& shown) {
                if (shown.isWakeUp && wakeUps++ == 0) expectation(header);
            });
            operation();
        }
        EXPECT_EQ(wakeUps, 1U);
        EXPECT_TRUE(notifications.waitFor(1));
    }
    [[nodiscard]] wire::SemaphoreSlot& semaphore(wire::RingHeader& header) const {
        return isReader ? header.readSem : header.writeSem;
    }

    Notifications notifications;
    bool isReader = true;
    const Data bytes = pattern(4, 1);
};

TEST_F(RingWakeUp, ByAWriteFollowsTheDataAndTheTime) {
    const auto writer = posix(SIZE);
    const auto reader = posix(SIZE, SHM_MODE_READER, &notifications);
    expectWakeUp([&] { EXPECT_EQ(writer->write(bytes.data(), 4), 4); },
                 [&](wire::RingHeader& header) {
                     EXPECT_NE(std::atomic_ref(header.updateTime).load(), 0U);
                     EXPECT_EQ(std::atomic_ref(header.writeOffset).load(), 4U);
                     EXPECT_EQ(std::memcmp(&header + 1, bytes.data(), 4), 0);
                 });
}

TEST_F(RingWakeUp, ByAWriteAroundTheEndFollowsTheDataAndTheTime) {
    const auto writer = posix(SIZE);
    writer->updateReadOffset(14);
    writer->updateWriteOffset(14);
    const auto reader = posix(SIZE, SHM_MODE_READER, &notifications);
    expectWakeUp([&] { EXPECT_EQ(writer->write(bytes.data(), 4), 4); },
                 [&](wire::RingHeader& header) {
                     EXPECT_NE(std::atomic_ref(header.updateTime).load(), 0U);
                     EXPECT_EQ(std::atomic_ref(header.writeOffset).load(), 2U);
                     const auto* const memory = reinterpret_cast<unsigned char*>(&header + 1);
                     EXPECT_EQ(std::memcmp(memory + 14, bytes.data(), 2), 0);
                     EXPECT_EQ(std::memcmp(memory, bytes.data() + 2, 2), 0);
                 });
}

TEST_F(RingWakeUp, ByAWriteOffsetFollowsTheOffsetAndTheTime) {
    const auto writer = posix(SIZE);
    const auto reader = posix(SIZE, SHM_MODE_READER, &notifications);
    expectWakeUp([&] { writer->updateWriteOffset(5); },
                 [&](wire::RingHeader& header) {
                     EXPECT_NE(std::atomic_ref(header.updateTime).load(), 0U);
                     EXPECT_EQ(std::atomic_ref(header.writeOffset).load(), 5U);
                 });
}

TEST_F(RingWakeUp, ByAReadOffsetFollowsTheOffsetAndTheTime) {
    isReader = false;
    const auto reader = posix(SIZE);
    const auto writer = posix(SIZE, SHM_MODE_WRITER, &notifications);
    writer->setWait(true);
    expectWakeUp([&] { reader->updateReadOffset(7); },
                 [&](wire::RingHeader& header) {
                     EXPECT_NE(std::atomic_ref(header.updateTime).load(), 0U);
                     EXPECT_EQ(std::atomic_ref(header.readOffset).load(), 7U);
                 });
}

TEST_F(RingWakeUp, ByAReadFollowsTheOffset) {
    isReader = false;
    const auto reader = posix(SIZE);
    const auto writer = posix(SIZE, SHM_MODE_WRITER, &notifications);
    ASSERT_EQ(writer->write(bytes.data(), 4), 4);
    Data got(4);
    expectWakeUp([&] { EXPECT_EQ(reader->read(got.data(), 3), 3); },
                 [&](wire::RingHeader& header) {
                     EXPECT_EQ(std::atomic_ref(header.readOffset).load(), 3U);
                     EXPECT_EQ(got, (Data{bytes[0], bytes[1], bytes[2], 0}));
                 });
}

/// Word 1 of a semaphore of the 32-bit C library is 128 when other processes may use it.
constexpr std::uint32_t SHARED = 128;

std::uint32_t kindOf(wire::SemaphoreSlot& slot) {
    return std::atomic_ref(slot.word[1]).load();
}

using Ring = RingFixture;

TEST_F(Ring, CreatorSharesBothSemaphoresBetweenProcesses) {
    const auto ring = posix(SIZE);
    const Object object(posixName(), SIZE + sizeof(wire::RingHeader));
    EXPECT_EQ(kindOf(object.header().readSem), SHARED);
    EXPECT_EQ(kindOf(object.header().writeSem), SHARED);
}

TEST_F(Ring, ReceiverSharesItsSemaphoreBeforeTheCreatorExists) {
    Notifications notifications;
    {
        const auto reader = posix(SIZE, SHM_MODE_READER, &notifications);
        const Object object(posixName(), SIZE + sizeof(wire::RingHeader));
        EXPECT_EQ(kindOf(object.header().readSem), SHARED);
        EXPECT_EQ(kindOf(object.header().writeSem), 0U) << "it has no waiter";
    }
    const auto writer = posix(SIZE, SHM_MODE_WRITER, &notifications);
    const Object object(posixName(), SIZE + sizeof(wire::RingHeader));
    EXPECT_EQ(kindOf(object.header().writeSem), SHARED);
}

}  // namespace
}  // namespace cabinaudio::test
