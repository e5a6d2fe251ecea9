// SPDX-License-Identifier: Apache-2.0
#include "shm/Futex.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

// A kernel that takes the time-out for one of another width sees an end that is over already.
TEST(FutexWait, LastsAsLongAsItsTimeout) {
    std::uint32_t word = 1;
    const struct timespec timeout = {0, 50'000'000};
    const auto before = std::chrono::steady_clock::now();
    long result = 0;
    do {
        result = futexWait(&word, FUTEX_WAIT_PRIVATE, 1, &timeout);
    } while (result == 0 || errno == EINTR);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - before, 50ms);
}

TEST(FutexWait, FailsAtOnceForAnotherValue) {
    std::uint32_t word = 2;
    EXPECT_EQ(futexWait(&word, FUTEX_WAIT_PRIVATE, 1, nullptr), -1);
    EXPECT_EQ(errno, EAGAIN);
}

}  // namespace
}  // namespace cabinaudio::test
