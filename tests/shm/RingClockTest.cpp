// SPDX-License-Identifier: Apache-2.0
// The clock that a ring's time of the last update is read from.
#include "tests/shm/OwnClock.h"
#include "tests/shm/RingFixture.h"
#include "tests/support/Logged.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace cabinaudio::test {
namespace {

constexpr unsigned SIZE = 16;
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

    const std::unique_ptr<ShareMemoryEx> ring = posix(SIZE);
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

}  // namespace
}  // namespace cabinaudio::test
