// SPDX-License-Identifier: Apache-2.0
// A ring whose other side writes an impossible header: it has neither data nor space, and nothing
// outside the mapping is accessed. Inaccessible pages lie around every mapping.
#include "tests/shm/Platform.h"
#include "tests/shm/RingFixture.h"
#include "tests/support/ProcessState.h"
#include "tests/support/Row.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <thread>

namespace cabinaudio::test {
namespace {

struct Kind : Row {
    bool physical;
    std::uint32_t length;  // of the data
};

class RingWithForeignHeader : public RingFixture, public ::testing::WithParamInterface<Kind> {
protected:
    const std::uint32_t length = GetParam().length;
    std::unique_ptr<ShareMemoryEx> ring = make();
    Object object{nameOf(GetParam().physical), 64};
    wire::RingHeader& header = object.header();

    std::unique_ptr<ShareMemoryEx> make() const {
        const GuardedMappings guarded;
        return either(GetParam().physical, length);
    }

    [[nodiscard]] std::vector<std::uint32_t> values() const {
        return {0, 1, 63, 64, length - 1, length, length + 1, 0x7fffffff, 0x80000000, 0xffffffff};
    }
    void scribble(std::uint32_t size, std::uint32_t r, std::uint32_t w) const {
        header.size = size;
        header.readOffset = r;
        header.writeOffset = w;
    }
};

/// Content of a ring of at most `length` bytes.
struct Expected {
    std::uint32_t used = 0;
    std::uint32_t free = 0;
    std::uint32_t inOnePiece = 0;

    Expected(std::uint32_t length, std::uint32_t size, std::uint32_t r, std::uint32_t w) {
        if (size == 0 || size > length || r >= size || w >= size) return;
        used = r <= w ? w - r : size + w - r;
        free = size - 1 - used;
        inOnePiece = r <= w ? w - r : size - r;
    }
};

TEST_P(RingWithForeignHeader, HasDataAndSpaceOnlyWithAPossibleHeader) {
    std::vector<unsigned char> bytes(length, 0x5a);
    audio_buffer_provider_t start = {};
    scribble(length, 0, 0);
    ring->getNextBuffer(start);
    for (const std::uint32_t size : values())
        for (const std::uint32_t r : values())
            for (const std::uint32_t w : values()) {
                SCOPED_TRACE(::testing::Message() << size << " " << r << " " << w);
                const Expected expected(length, size, r, w);
                scribble(size, r, w);
                ASSERT_EQ(ring->getTotalSize(), size);
                ASSERT_EQ(ring->getReadOffset(), r);
                ASSERT_EQ(ring->getWriteOffset(), w);
                ASSERT_EQ(ring->getUsedSize(), expected.used);
                ASSERT_EQ(ring->getFreeSize(), expected.free);
                audio_buffer_provider_t buffer = {nullptr, 99};
                ring->getNextBuffer(buffer);
                ASSERT_EQ(buffer.length, expected.inOnePiece);
                const bool isPossible = size - 1 < length && r < size && w < size;
                ASSERT_EQ(buffer.data, start.data + (isPossible ? r : 0));

                for (const std::uint32_t asked : {0u, 1u, length, 0xffffffffu}) {
                    scribble(size, r, w);
                    ASSERT_EQ(ring->write(bytes.data(), asked),
                              static_cast<int>(std::min(asked, expected.free)));
                    ASSERT_EQ(header.readOffset, r);
                    scribble(size, r, w);
                    ASSERT_EQ(ring->read(bytes.data(), asked),
                              static_cast<int>(std::min(asked, expected.used)));
                    ASSERT_EQ(header.writeOffset, w);
                }
            }
}

TEST_P(RingWithForeignHeader, StoresNoOffsetForAnImpossibleTransfer) {
    unsigned char byte = 1;
    for (const std::uint32_t impossible : {length, length + 1, 0xffffffffu}) {
        scribble(length, impossible, 1);
        EXPECT_EQ(ring->read(&byte, 1), 0);
        EXPECT_EQ(ring->write(&byte, 1), 0);
        EXPECT_EQ(header.readOffset, impossible);
        EXPECT_EQ(header.writeOffset, 1u);
        scribble(length, 1, impossible);
        EXPECT_EQ(ring->read(&byte, 1), 0);
        EXPECT_EQ(ring->write(&byte, 1), 0);
        EXPECT_EQ(header.readOffset, 1u);
        EXPECT_EQ(header.writeOffset, impossible);
    }
}

TEST_P(RingWithForeignHeader, PostsAndSetsTheTimeWithAnImpossibleHeader) {
    unsigned char byte = 1;
    header.readNotify = header.writeNotify = 1;
    scribble(length + 1, 0, 5);
    EXPECT_EQ(ring->write(&byte, 1), 0);
    EXPECT_EQ(ring->read(&byte, 1), 0);
    EXPECT_EQ(postsIn(header.readSem), 1u);
    EXPECT_EQ(postsIn(header.writeSem), 1u);
    EXPECT_NE(ring->getUpdateTime(), 0u);
    header.readNotify = header.writeNotify = 0;
}

TEST_P(RingWithForeignHeader, ReleasesModuloTheSharedSize) {
    for (const std::uint32_t size : values())
        for (const std::uint32_t r : values())
            for (const std::uint32_t count : values()) {
                scribble(size, r, 0);
                ring->releaseBuffer({nullptr, count});
                ASSERT_EQ(header.readOffset, size == 0 ? r : (r + count) % size)
                    << size << " " << r << " " << count;
            }
}

TEST_P(RingWithForeignHeader, StaysInsideItsMappingWhileTheHeaderChanges) {
    // Any result is accepted; the test is that no inaccessible page is touched.
    std::vector<unsigned char> bytes(length);
    std::atomic<bool> stop{false};
    std::atomic<unsigned> rounds{0};
    std::thread scribbler([&] {
        const auto chosen = values();
        const auto store = [&](std::uint32_t& field, std::size_t index) {
            std::atomic_ref<std::uint32_t>(field).store(chosen[index % chosen.size()],
                                                        std::memory_order_relaxed);
        };
        for (std::size_t i = 0; !stop; ++i) {
            store(header.size, i * 7 / 3);
            store(header.readOffset, i * 5 / 2);
            store(header.writeOffset, i);
            rounds = static_cast<unsigned>(i);
        }
    });
    for (unsigned i = 0; i < 3000; ++i) {
        EXPECT_LT(ring->write(bytes.data(), length), static_cast<int>(length));
        EXPECT_LT(ring->read(bytes.data(), length), static_cast<int>(length));
        audio_buffer_provider_t buffer = {};
        ring->getNextBuffer(buffer);
        EXPECT_LE(buffer.length, length);
    }
    EXPECT_TRUE(eventually([&] { return rounds > 100; }));
    stop = true;
    scribbler.join();
}

// Data that ends with a page, and data that does not.
INSTANTIATE_TEST_SUITE_P(Rings, RingWithForeignHeader,
                         ::testing::Values(Kind{"Posix", false, 4096 - 64},
                                           Kind{"PosixWithinAPage", false, 1000},
                                           Kind{"Physical", true, 4096 - 64},
                                           Kind{"PhysicalWithinAPage", true, 1000}),
                         ROW_NAME);

using RingWithinAPage = RingFixture;

TEST_F(RingWithinAPage, LeavesTheRestOfThePageUntouched) {
    constexpr std::uint32_t LENGTH = 1000;
    const auto ring = posix(LENGTH);
    const auto page = static_cast<std::size_t>(getpagesize());
    const Object object(posixName(), page);
    const std::size_t end = 64 + LENGTH;
    std::fill(object.bytes() + end, object.bytes() + page, 0xc3);
    const auto bytes = pattern(3 * LENGTH);
    std::vector<unsigned char> out(3 * LENGTH);
    for (const std::uint32_t size : {LENGTH, LENGTH + 1, 2 * LENGTH})
        for (std::uint32_t offset = 0; offset < size; offset += 7) {
            object.header().size = size;
            object.header().readOffset = offset;
            object.header().writeOffset = offset;
            ring->write(bytes.data(), 3 * LENGTH);
            ring->read(out.data(), 3 * LENGTH);
            ASSERT_EQ(std::count(out.begin(), out.end(), 0xc3),
                      std::count(out.begin(), out.begin() + LENGTH, 0xc3));
        }
    EXPECT_THAT(object.copy(end, page - end), ::testing::Each(0xc3));
}

}  // namespace
}  // namespace cabinaudio::test
