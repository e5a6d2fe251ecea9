// SPDX-License-Identifier: Apache-2.0
// The clock that a ring's time of the last update is read from.
#include "tests/shm/OwnClock.h"
#include "tests/shm/RingFixture.h"
#include "tests/support/Logged.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

namespace cabinaudio::test {
namespace {

constexpr struct timespec TIME = {5, 7'999'999};
constexpr std::uint64_t TIME_IN_MILLISECONDS = 5007;

int fail() {
    errno = EINVAL;
    return -1;
}

class RingClock : public RingFixture {
protected:
    /// Writes one byte with the given clock. @return the time in the ring
    template <typename Read>
    std::uint64_t timeOfAWrite(Read read) {
        const unsigned char byte = 1;
        const OwnClock clock(read);
        EXPECT_EQ(ring->write(&byte, 1), 1);
        return ring->getUpdateTime();
    }

    /// Calls the operation and look(header) when it reads the clock.
    template <typename Operation, typename Look>
    void watch(Operation operation, Look look) {
        const OwnClock clock([&](struct timespec& now) {
            ++readings;
            look(object.header());
            now = TIME;
            return 0;
        });
        operation();
        EXPECT_EQ(readings, 1u);
        EXPECT_EQ(ring->getUpdateTime(), TIME_IN_MILLISECONDS);
    }

    static constexpr unsigned SIZE = 16;

    const std::unique_ptr<ShareMemoryEx> ring = posix(SIZE);
    const Object object{posixName(), SIZE + sizeof(wire::RingHeader)};
    unsigned readings = 0;
};

TEST_F(RingClock, TimeIsRoundedDownToMilliseconds) {
    EXPECT_EQ(timeOfAWrite([&](struct timespec& now) {
                  ++readings;
                  now = TIME;
                  return 0;
              }),
              TIME_IN_MILLISECONDS);
    EXPECT_EQ(readings, 1u);
}

TEST_F(RingClock, IsReadAgainAfterAFailure) {
    const LogCapture log;
    EXPECT_EQ(timeOfAWrite([&](struct timespec& now) {
                  now = TIME;
                  return readings++ == 0 ? fail() : 0;
              }),
              TIME_IN_MILLISECONDS);
    EXPECT_EQ(readings, 2u);
    EXPECT_TRUE(logIsEmpty(log));
}

TEST_F(RingClock, FailureIsLoggedAndSetsTheTimeToZero) {
    const LogCapture log;
    EXPECT_EQ(timeOfAWrite([](struct timespec&) { return fail(); }), 0u);
    EXPECT_TRUE(logged(log, ERROR, "AudioTime", "now",
                       "Fail to get clock time, error:Invalid argument(22).\n"));
    EXPECT_EQ(ring->getUsedSize(), 1u);
}

// Offset and time share a cache line, so nothing slow comes between their stores.

TEST_F(RingClock, IsReadBetweenTheCopyAndTheOffsetOfAWrite) {
    const auto bytes = pattern(8, 1);
    watch([&] { EXPECT_EQ(ring->write(bytes.data(), 8), 8); },
          [&](wire::RingHeader& header) {
              EXPECT_EQ(std::memcmp(&header + 1, bytes.data(), 8), 0);
              EXPECT_EQ(std::atomic_ref(header.writeOffset).load(), 0u);
          });
    EXPECT_EQ(ring->getWriteOffset(), 8u);
}

TEST_F(RingClock, IsReadBeforeAWriteOffsetIsSet) {
    watch([&] { ring->updateWriteOffset(5); },
          [](wire::RingHeader& header) {
              EXPECT_EQ(std::atomic_ref(header.writeOffset).load(), 0u);
          });
    EXPECT_EQ(ring->getWriteOffset(), 5u);
}

TEST_F(RingClock, IsReadBeforeAReadOffsetIsSet) {
    watch(
        [&] { ring->updateReadOffset(7); },
        [](wire::RingHeader& header) { EXPECT_EQ(std::atomic_ref(header.readOffset).load(), 0u); });
    EXPECT_EQ(ring->getReadOffset(), 7u);
}

}  // namespace
}  // namespace cabinaudio::test
