// SPDX-License-Identifier: Apache-2.0
// A ring in normal use: its bytes in shared memory, arithmetic, posts and times.
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/shm/Platform.h"
#include "tests/shm/RingFixture.h"
#include "tests/support/Logged.h"
#include "tests/support/ProcessState.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstring>

namespace cabinaudio::test {
namespace {

using ::testing::ElementsAreArray;
using ::testing::StartsWith;

constexpr unsigned HEADER = 64;

/// A ring of 16 bytes and its shared memory.
class Ring : public RingFixture {
protected:
    std::unique_ptr<ShareMemoryEx> ring = posix(16);
    Object object{posixName(), HEADER + 16};
    wire::RingHeader& header = object.header();

    void setOffsets(std::uint32_t r, std::uint32_t w) {
        ring->updateReadOffset(r);
        ring->updateWriteOffset(w);
    }
    int write(unsigned count, unsigned start = 0) {
        const auto bytes = pattern(count, start);
        return ring->write(bytes.data(), count);
    }
    std::vector<unsigned char> read(unsigned count) {
        std::vector<unsigned char> bytes(count);
        bytes.resize(static_cast<std::size_t>(ring->read(bytes.data(), count)));
        return bytes;
    }
};

using RingMapping = RingFixture;
using RingInPhysicalMemory = RingFixture;

// ---- Construction -------------------------------------------------------------------------------

TEST_F(Ring, StartsEmptyAndKeepsOneByteFree) {
    EXPECT_TRUE(ring->isUsable());
    EXPECT_EQ(ring->getTotalSize(), 16u);
    EXPECT_EQ(ring->getUsedSize(), 0u);
    EXPECT_EQ(ring->getFreeSize(), 15u);
    EXPECT_EQ(ring->getReadOffset(), 0u);
    EXPECT_EQ(ring->getWriteOffset(), 0u);
    EXPECT_EQ(ring->getUpdateTime(), 0u);
    EXPECT_FALSE(ring->getWait());
}

TEST_F(Ring, OfACreatorHasAnInitialisedHeader) {
    const unsigned char expected[HEADER] = {
        16, 0, 0, 0,                                        // size
        0,  0, 0, 0, 0,   0, 0, 0,                          // offsets
        0,  0, 0, 0, 128, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // readSem
        0,  0, 0, 0, 128, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // writeSem
    };                                                      // the rest is zeros
    EXPECT_THAT(object.copy(0, HEADER), ElementsAreArray(expected));
}

TEST_F(Ring, IsOneObjectOfHeaderAndData) {
    EXPECT_EQ(object.size(), HEADER + 16u);
    EXPECT_EQ(write(3), 3);
    EXPECT_EQ(object.copy(HEADER, 3), pattern(3));
}

TEST_F(Ring, ConsistsOfItsHandle) {
    EXPECT_EQ(sizeof(ShareMemoryEx), sizeof(void*));
}

TEST_F(Ring, LogsItsMapping) {
    const LogCapture log;
    const ShareMemoryEx another(SHM_TYPE_POSIX_SHM, "another", nullptr, 256, 0, nullptr);
    ASSERT_TRUE(loggedLike(log, INFO,
                           "\\[another\\] shared memory mmap success: virAddr:0x[0-9a-f]+ "
                           "size:256 virAddrEnd:0x[0-9a-f]+\n"));
    EXPECT_THAT(log.lines().at(0).text, StartsWith("[ShareMemory][createShmMap]["));
    unsigned long start = 0;
    unsigned long end = 0;
    const std::string text = log.lines().at(0).text;
    ASSERT_EQ(std::sscanf(text.c_str() + text.find("virAddr:"),
                          "virAddr:%lx size:256 virAddrEnd:%lx", &start, &end),
              2);
    EXPECT_EQ(end - start, 256u);
    EXPECT_EQ(start % 64, 0u);
}

TEST_F(RingMapping, LeavesTheNotifyFlagsOfAnOlderObjectAlone) {
    auto older = posix(16);
    Object object(posixName(), HEADER);
    object.header().readNotify = 1;
    object.header().writeNotify = 2;
    object.header().readOffset = 9;
    object.header().writeOffset = 8;
    object.header().updateTime = 77;
    object.header().wait = 1;
    object.header().readSem.word[0] = 10;

    const auto newer = posix(32);
    EXPECT_EQ(object.header().size, 32u);
    EXPECT_EQ(object.header().readOffset, 0u);
    EXPECT_EQ(object.header().writeOffset, 0u);
    EXPECT_EQ(object.header().updateTime, 0u);
    EXPECT_EQ(object.header().wait, 0);
    EXPECT_EQ(object.header().readSem.word[0], 0u);
    EXPECT_EQ(object.header().readNotify, 1);
    EXPECT_EQ(object.header().writeNotify, 2);
    object.header().readNotify = 0;
    object.header().writeNotify = 0;
}

TEST_F(RingMapping, OfAClientLeavesTheHeaderAlone) {
    const auto creator = posix(16);
    creator->updateWriteOffset(5);
    Object object(posixName(), HEADER);
    const auto before = object.copy(0, HEADER);
    const auto client = posix(16, 0);
    EXPECT_EQ(object.copy(0, HEADER), before);
    EXPECT_EQ(client->getUsedSize(), 5u);
}

TEST_F(RingMapping, OfAClientWorksOnceTheCreatorFollows) {
    const auto client = posix(16, 0);
    EXPECT_TRUE(client->isUsable());
    EXPECT_EQ(client->getTotalSize(), 0u);
    EXPECT_EQ(client->getUsedSize(), 0u);
    EXPECT_EQ(client->getFreeSize(), 0u);
    const auto bytes = pattern(4);
    EXPECT_EQ(client->write(bytes.data(), 4), 0);

    const auto creator = posix(16);
    EXPECT_EQ(client->getFreeSize(), 15u);
    EXPECT_EQ(client->write(bytes.data(), 4), 4);
    EXPECT_EQ(creator->getUsedSize(), 4u);
}

TEST_F(RingMapping, OpensItsObjectForItsUserOnly) {
    const Calls calls;
    const auto ring = posix(16);
    const auto opened = calls.of("shm_open");
    ASSERT_EQ(opened.size(), 1u);
    EXPECT_EQ(opened[0].first, unsigned{O_RDWR | O_CREAT});
    EXPECT_EQ(opened[0].second, 0600u);
}

TEST_F(RingMapping, SetsTheLengthReservesItAndMapsIt) {
    const Calls calls;
    const auto ring = posix(1000);
    for (const char* const function : {"ftruncate", "mmap", "fallocate"}) {
        const auto made = calls.of(function);
        ASSERT_EQ(made.size(), 1u) << function;
        EXPECT_EQ(made[0].first, 1064u) << function;
    }
}

TEST_F(RingMapping, ComputesWithTheSharedSize) {
    const auto creator = posix(16);
    const auto client = posix(100, 0);
    EXPECT_EQ(client->getTotalSize(), 16u);
    const auto bytes = pattern(20);
    EXPECT_EQ(client->write(bytes.data(), 20), 15);
    EXPECT_EQ(client->getFreeSize(), 0u);
}

TEST_F(RingMapping, HasTheAddressInItsNameInPhysicalMemory) {
    const LogCapture log;
    { const ShareMemoryEx ring(SHM_TYPE_POSIX_SHM, "trk", nullptr, 16, 1, nullptr); }
    { const ShareMemoryEx ring(SHM_TYPE_PHYS_MEM, "trk", addressOf(0x1000), 16, 1, nullptr); }
    EXPECT_TRUE(logged(log, DEBUG, "delete shared memory name:trk\n"));
    EXPECT_TRUE(logged(log, DEBUG, "delete shared memory name:trk_0x1000\n"));
    EXPECT_TRUE(loggedLike(log, INFO, "\\[trk\\] shared memory mmap success.*\n", 2));
}

TEST_F(RingMapping, CutsItsNameTo63Characters) {
    const std::string name(70, 'n');
    const LogCapture log;
    const std::string cut(63, 'n');
    {
        const ShareMemoryEx ring(SHM_TYPE_POSIX_SHM, name.c_str(), nullptr, 16, 1, nullptr);
        EXPECT_TRUE(Object::exists(cut));
    }
    EXPECT_TRUE(logged(log, DEBUG, "ShareMemory", "~ShareMemoryEx",
                       "delete shared memory name:" + cut + "\n"));
    EXPECT_TRUE(loggedLike(log, INFO, "\\[" + name + "\\] shared memory mmap success.*\n"));
    EXPECT_FALSE(Object::exists(cut));
}

// ---- Arithmetic ---------------------------------------------------------------------------------

TEST_F(Ring, AcceptsOneByteLessThanItsSize) {
    EXPECT_EQ(write(20), 15);
    EXPECT_EQ(ring->getFreeSize(), 0u);
    EXPECT_EQ(ring->getUsedSize(), 15u);
    EXPECT_EQ(write(1), 0);
    EXPECT_EQ(object.copy(HEADER, 15), pattern(15));
}

TEST_F(Ring, TransferContinuesAtTheStart) {
    setOffsets(10, 10);
    EXPECT_EQ(write(8), 8);
    EXPECT_EQ(header.writeOffset, 2u);
    const auto bytes = pattern(8);
    EXPECT_THAT(object.copy(HEADER + 10, 6), ElementsAreArray(bytes.data(), 6));
    EXPECT_THAT(object.copy(HEADER, 2), ElementsAreArray(bytes.data() + 6, 2));

    EXPECT_EQ(read(8), bytes);
    EXPECT_EQ(header.readOffset, 2u);
}

TEST_F(Ring, TransferWrapsExactlyAtTheEnd) {
    setOffsets(10, 10);
    EXPECT_EQ(write(6), 6);
    EXPECT_EQ(header.writeOffset, 0u);
    EXPECT_EQ(ring->getUsedSize(), 6u);
    EXPECT_EQ(read(16), pattern(6));
    EXPECT_EQ(header.readOffset, 0u);
}

TEST_F(Ring, WriteEndsBeforeTheByteAtTheReadOffset) {
    setOffsets(5, 2);
    EXPECT_EQ(ring->getFreeSize(), 2u);
    EXPECT_EQ(write(9), 2);
    EXPECT_EQ(header.writeOffset, 4u);
    setOffsets(0, 12);
    EXPECT_EQ(ring->getFreeSize(), 3u);
    EXPECT_EQ(write(9), 3);
    EXPECT_EQ(header.writeOffset, 15u);
    setOffsets(2, 12);
    EXPECT_EQ(write(9), 5);
    EXPECT_EQ(header.writeOffset, 1u);
}

TEST_F(Ring, ReadReturnsNoMoreThanTheFillLevel) {
    EXPECT_EQ(write(5), 5);
    EXPECT_EQ(read(2), pattern(2));
    EXPECT_EQ(read(9), pattern(3, 2));
    EXPECT_TRUE(read(9).empty());
    EXPECT_EQ(header.readOffset, 5u);
}

TEST_F(Ring, AcceptsEmptyTransfersWithoutAnAddress) {
    EXPECT_EQ(ring->write(nullptr, 0), 0);
    EXPECT_EQ(ring->read(nullptr, 0), 0);
    EXPECT_EQ(ring->read(nullptr, 4), 0);
    EXPECT_EQ(write(15), 15);
    EXPECT_EQ(ring->write(nullptr, 0), 0);
    EXPECT_EQ(ring->read(nullptr, 0), 0);
    EXPECT_EQ(ring->getUsedSize(), 15u);
}

TEST_F(Ring, TransferOfTheLargestLengthIsLimitedToTheRing) {
    const auto bytes = pattern(16);
    EXPECT_EQ(ring->write(bytes.data(), 0xffffffff), 15);
    std::vector<unsigned char> out(16);
    EXPECT_EQ(ring->read(out.data(), 0xffffffff), 15);
    out.resize(15);
    EXPECT_EQ(out, pattern(15));
}

TEST_F(Ring, OfOneByteHoldsNoData) {
    const auto tiny =
        std::make_unique<ShareMemoryEx>(SHM_TYPE_POSIX_SHM, "tiny", nullptr, 1, 1, nullptr);
    unsigned char byte = 1;
    EXPECT_EQ(tiny->getFreeSize(), 0u);
    EXPECT_EQ(tiny->write(&byte, 1), 0);
    EXPECT_EQ(tiny->read(&byte, 1), 0);
}

TEST_F(Ring, OfNoBytesIsUsableWithoutDataAndSpace) {
    ShareMemoryEx none(SHM_TYPE_POSIX_SHM, "none", nullptr, 0, 1, nullptr);
    unsigned char byte = 1;
    EXPECT_TRUE(none.isUsable());
    EXPECT_EQ(none.getUsedSize(), 0u);
    EXPECT_EQ(none.getFreeSize(), 0u);
    EXPECT_EQ(none.write(&byte, 1), 0);
    EXPECT_EQ(none.read(&byte, 1), 0);
    none.releaseBuffer({&byte, 1});
    EXPECT_EQ(none.getReadOffset(), 0u);
}

TEST_F(Ring, ZeroCopyReadingShowsTheDataInPieces) {
    setOffsets(12, 4);
    audio_buffer_provider_t buffer = {};
    ring->getNextBuffer(buffer);
    EXPECT_EQ(buffer.length, 4u);
    const unsigned char* const last = buffer.data;
    ring->releaseBuffer(buffer);
    EXPECT_EQ(header.readOffset, 0u);

    ring->getNextBuffer(buffer);
    EXPECT_EQ(buffer.length, 4u);
    EXPECT_EQ(buffer.data, last - 12);
    ring->releaseBuffer(buffer);
    EXPECT_EQ(header.readOffset, 4u);

    ring->getNextBuffer(buffer);
    EXPECT_EQ(buffer.length, 0u);
    EXPECT_EQ(buffer.data, last - 8);
}

TEST_F(Ring, ZeroCopyReadingShowsTheBytesWritten) {
    EXPECT_EQ(write(9), 9);
    audio_buffer_provider_t buffer = {};
    ring->getNextBuffer(buffer);
    EXPECT_EQ(std::vector<unsigned char>(buffer.data, buffer.data + buffer.length), pattern(9));
}

TEST_F(Ring, ReleaseCountsModuloTheSize) {
    setOffsets(3, 3);
    ring->releaseBuffer({nullptr, 16});
    EXPECT_EQ(header.readOffset, 3u);
    ring->releaseBuffer({nullptr, 61});
    EXPECT_EQ(header.readOffset, 0u);
}

TEST_F(Ring, IsEmptyAfterClear) {
    setOffsets(3, 9);
    header.writeNotify = 1;
    header.readNotify = 1;
    const std::uint64_t time = ring->getUpdateTime();
    ring->clear();
    EXPECT_EQ(header.readOffset, 0u);
    EXPECT_EQ(header.writeOffset, 0u);
    EXPECT_EQ(postsIn(header.readSem), 0u);
    EXPECT_EQ(postsIn(header.writeSem), 0u);
    EXPECT_EQ(ring->getUpdateTime(), time);
}

TEST_F(Ring, StoresOffsetsUnchecked) {
    setOffsets(7, 11);
    EXPECT_EQ(ring->getReadOffset(), 7u);
    EXPECT_EQ(ring->getWriteOffset(), 11u);
    setOffsets(16, 11);
    EXPECT_EQ(ring->getReadOffset(), 16u);
    EXPECT_EQ(ring->getUsedSize(), 0u);
    EXPECT_EQ(ring->getFreeSize(), 0u);
}

// ---- Posts and times ----------------------------------------------------------------------------

TEST_F(Ring, PostsNothingWithoutANotifyFlag) {
    EXPECT_EQ(write(4), 4);
    EXPECT_EQ(read(2).size(), 2u);
    ring->setWait(true);
    setOffsets(1, 3);
    EXPECT_EQ(postsIn(header.readSem), 0u);
    EXPECT_EQ(postsIn(header.writeSem), 0u);
}

TEST_F(Ring, PostsTheReaderOncePerWrite) {
    header.readNotify = 1;
    EXPECT_EQ(write(4), 4);
    EXPECT_EQ(postsIn(header.readSem), 1u);
    EXPECT_EQ(write(20), 11);
    EXPECT_EQ(postsIn(header.readSem), 2u);
    EXPECT_EQ(write(4), 0);
    EXPECT_EQ(postsIn(header.readSem), 3u);
    ring->updateWriteOffset(3);
    EXPECT_EQ(postsIn(header.readSem), 4u);
    EXPECT_EQ(postsIn(header.writeSem), 0u);
}

TEST_F(Ring, PostsTheWriterOncePerReadWhetherOrNotItWaits) {
    header.writeNotify = 1;
    EXPECT_EQ(write(9), 9);
    EXPECT_EQ(read(4).size(), 4u);
    EXPECT_EQ(postsIn(header.writeSem), 1u);
    EXPECT_EQ(read(9).size(), 5u);
    EXPECT_EQ(postsIn(header.writeSem), 2u);
    EXPECT_TRUE(read(9).empty());
    EXPECT_EQ(postsIn(header.writeSem), 3u);
    EXPECT_EQ(postsIn(header.readSem), 0u);
}

TEST_F(Ring, ReadOffsetPostsTheWriterOnlyWhileItWaits) {
    header.writeNotify = 1;
    ring->updateReadOffset(1);
    EXPECT_EQ(postsIn(header.writeSem), 0u);
    ring->setWait(true);
    EXPECT_TRUE(ring->getWait());
    EXPECT_EQ(header.wait, 1);
    ring->updateReadOffset(2);
    EXPECT_EQ(postsIn(header.writeSem), 1u);
    ring->setWait(false);
    EXPECT_FALSE(ring->getWait());
    EXPECT_EQ(header.wait, 0);
    ring->updateReadOffset(3);
    EXPECT_EQ(postsIn(header.writeSem), 1u);
    header.writeNotify = 0;
    ring->setWait(true);
    ring->updateReadOffset(3);
    EXPECT_EQ(postsIn(header.writeSem), 1u);
}

TEST_F(Ring, ZeroCopyReadingPostsNothing) {
    header.writeNotify = 1;
    ring->setWait(true);
    audio_buffer_provider_t buffer = {};
    ring->getNextBuffer(buffer);
    ring->releaseBuffer(buffer);
    EXPECT_EQ(postsIn(header.writeSem), 0u);
}

TEST_F(Ring, WritesAndOffsetUpdatesSetTheTimeInMilliseconds) {
    const auto stampedBy = [&](auto operation) {
        header.updateTime = 0;
        const std::uint64_t before = AudioTime::now() / 1000;
        operation();
        const std::uint64_t after = AudioTime::now() / 1000;
        return ring->getUpdateTime() >= before && ring->getUpdateTime() <= after;
    };
    EXPECT_TRUE(stampedBy([&] { write(4); }));
    EXPECT_TRUE(stampedBy([&] { write(20); }));
    EXPECT_TRUE(stampedBy([&] { write(4); }));
    EXPECT_TRUE(stampedBy([&] { ring->updateReadOffset(2); }));
    EXPECT_TRUE(stampedBy([&] { ring->updateWriteOffset(2); }));
}

TEST_F(Ring, ReadingKeepsTheUpdateTime) {
    EXPECT_EQ(write(9), 9);
    header.updateTime = 0x123456789abcdef0;
    EXPECT_EQ(read(4).size(), 4u);
    audio_buffer_provider_t buffer = {};
    ring->getNextBuffer(buffer);
    ring->releaseBuffer(buffer);
    EXPECT_EQ(ring->getUpdateTime(), 0x123456789abcdef0u);
}

// ---- Physical memory ----------------------------------------------------------------------------

TEST_F(RingInPhysicalMemory, KeepsDataAndHeaderApart) {
    const auto ring = physical(100);
    const Physical memory(PHYSICAL, 100);
    const Object object(physicalName(), HEADER);
    EXPECT_EQ(object.size(), HEADER);
    EXPECT_EQ(object.header().size, 100u);

    const auto bytes = pattern(70);
    EXPECT_EQ(ring->write(bytes.data(), 70), 70);
    EXPECT_THAT(bytes, ElementsAreArray(memory.bytes(), 70));
    std::vector<unsigned char> out(70);
    EXPECT_EQ(ring->read(out.data(), 70), 70);
    EXPECT_EQ(out, bytes);

    audio_buffer_provider_t buffer = {};
    ring->updateWriteOffset(75);
    ring->getNextBuffer(buffer);
    EXPECT_EQ(buffer.length, 5u);
    buffer.data[0] = 0xa5;
    EXPECT_EQ(memory.bytes()[70], 0xa5);
}

TEST_F(RingInPhysicalMemory, IsMappedInWholePages) {
    const auto page = static_cast<std::uint64_t>(getpagesize());
    const Calls calls;
    const auto ring = physical(static_cast<unsigned>(page));
    const auto mapped = calls.of("mmap");
    ASSERT_EQ(mapped.size(), 2u);
    EXPECT_EQ(mapped[0].first, 2 * page);
    EXPECT_EQ(mapped[0].second, PHYSICAL - PHYSICAL % page);
    EXPECT_EQ(mapped[1].first, HEADER);
    const auto reserved = calls.of("fallocate");
    ASSERT_EQ(reserved.size(), 1u);
    EXPECT_EQ(reserved[0].first, HEADER);
}

TEST_F(RingInPhysicalMemory, TreatsItsAddressAsUnsigned) {
    const Calls calls;
    const auto* const high = reinterpret_cast<const unsigned char*>(
        static_cast<std::uintptr_t>(std::intptr_t{-0x0ffff000}));  // 0xf0001000 and a sign
    const LogCapture log;
    { const ShareMemoryEx ring(SHM_TYPE_PHYS_MEM, "high", high, 16, 1, nullptr); }
    const auto mapped = calls.of("mmap");
    ASSERT_FALSE(mapped.empty());
    EXPECT_EQ(mapped[0].second, 0xf0001000u);
    EXPECT_TRUE(logged(log, DEBUG, "delete shared memory name:high_0xf0001000\n"));
}

TEST_F(RingInPhysicalMemory, RequestsCoherenceForEachPiece) {
    const auto ring = physical(16);
    audio_buffer_provider_t buffer = {};
    ring->updateReadOffset(10);
    ring->updateWriteOffset(10);
    ring->getNextBuffer(buffer);
    const auto start =
        static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(buffer.data) - 10);
    const auto expectRequest = [&](const Call& call, std::uint64_t request, unsigned offset,
                                   unsigned length) {
        EXPECT_EQ(call.first, request);
        EXPECT_EQ(call.second, start + offset);
        EXPECT_EQ(call.third, length);
    };

    const Calls calls;
    const auto bytes = pattern(8);
    EXPECT_EQ(ring->write(bytes.data(), 8), 8);
    auto requests = calls.of("ioctl");
    ASSERT_EQ(requests.size(), 2u);
    expectRequest(requests[0], 0x40084303, 10, 6);
    expectRequest(requests[1], 0x40084303, 0, 2);

    std::vector<unsigned char> out(8);
    EXPECT_EQ(ring->read(out.data(), 5), 5);
    EXPECT_EQ(ring->read(out.data() + 5, 8), 3);
    EXPECT_EQ(out, bytes);
    requests = calls.of("ioctl");
    ASSERT_EQ(requests.size(), 5u);
    expectRequest(requests[2], 0x40084304, 10, 5);
    expectRequest(requests[3], 0x40084304, 15, 1);
    expectRequest(requests[4], 0x40084304, 0, 2);
}

TEST_F(RingInPhysicalMemory, RequestsCoherenceOnceForAnEmptyTransfer) {
    const auto ring = physical(16);
    const Calls calls;
    unsigned char byte = 0;
    EXPECT_EQ(ring->read(&byte, 1), 0);
    EXPECT_EQ(ring->write(&byte, 0), 0);
    const auto requests = calls.of("ioctl");
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].first, 0x40084304u);
    EXPECT_EQ(requests[0].third, 0u);
    EXPECT_EQ(requests[1].first, 0x40084303u);
    EXPECT_EQ(requests[1].third, 0u);
}

TEST_F(RingInPhysicalMemory, RequestsNoCoherenceForZeroCopyReading) {
    const auto ring = physical(16);
    const Calls calls;
    audio_buffer_provider_t buffer = {};
    ring->getNextBuffer(buffer);
    ring->releaseBuffer(buffer);
    EXPECT_TRUE(calls.of("ioctl").empty());
}

TEST_F(RingInPhysicalMemory, KeepsItsDescriptorsFromProgramsThatTheApplicationStarts) {
    const Calls calls;
    const auto ring = physical(64);
    ASSERT_TRUE(ring->isUsable());
    const auto opened = calls.of("open");
    ASSERT_EQ(opened.size(), 2U) << "physical memory and the cache";
    for (const Call& call : opened)
        EXPECT_EQ(call.first & O_CLOEXEC, std::uint64_t{O_CLOEXEC});
}

// ---- Destruction --------------------------------------------------------------------------------

TEST_F(RingMapping, LeavesNothingBehind) {
    const ProcessState before = ProcessState::now();
    posix(5000);
    physical(5000);
    Notifications notifications;
    posix(5000, 3, &notifications);
    physical(5000, 5, &notifications);
    EXPECT_TRUE(returnsTo(before));
}

TEST_F(RingMapping, IsUnmappedWithTheSharedSize) {
    auto ring = posix(100);
    const Object object(posixName(), HEADER);
    object.header().size = 90;
    const Calls calls;
    ring.reset();
    const auto unmapped = calls.of("munmap");
    ASSERT_EQ(unmapped.size(), 1u);
    EXPECT_EQ(unmapped[0].first, 154u);
}

TEST_F(RingMapping, IsUnmappedCompletelyWhenTheSharedSizeIsWrong) {
    const auto page = static_cast<unsigned>(getpagesize());
    for (const unsigned size : {0u, 1u, page, 2 * page, 3 * page, 0x7fffffffu, 0xffffffffu}) {
        const ProcessState before = ProcessState::now();
        auto ring = posix(2 * page);
        {
            const Object object(posixName(), HEADER);
            object.header().size = size;
        }
        const Calls calls;
        ring.reset();
        const auto unmapped = calls.of("munmap");
        ASSERT_EQ(unmapped.size(), 1u);
        const auto pages = [&](std::uint64_t length) { return (length + page - 1) / page; };
        EXPECT_EQ(pages(unmapped[0].first), 3u) << size;
        EXPECT_TRUE(returnsTo(before)) << size;
    }
}

TEST_F(RingMapping, StaysUsableWhenTheOtherSideRemovesTheName) {
    auto creator = posix(16);
    const auto client = posix(16, 0);
    creator.reset();
    EXPECT_FALSE(Object::exists(posixName()));
    const auto bytes = pattern(4);
    EXPECT_EQ(client->write(bytes.data(), 4), 4);
    EXPECT_EQ(client->getUsedSize(), 4u);

    const auto again = posix(16);
    EXPECT_TRUE(Object::exists(posixName()));
    EXPECT_EQ(again->getUsedSize(), 0u);
}

TEST_F(RingMapping, KeepsItsNotifyFlagsAfterItsEnd) {
    const auto other = posix(16, 0);
    const Object object(posixName(), HEADER);
    Notifications notifications;
    posix(16, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
    EXPECT_EQ(object.header().readNotify, 1);
    EXPECT_EQ(object.header().writeNotify, 0);
}

}  // namespace
}  // namespace cabinaudio::test
