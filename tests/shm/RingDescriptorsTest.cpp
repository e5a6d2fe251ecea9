// SPDX-License-Identifier: Apache-2.0
#include "tests/shm/Platform.h"
#include "tests/shm/RingFixture.h"

#include <fcntl.h>
#include <gtest/gtest.h>

namespace cabinaudio::test {
namespace {

class RingDescriptors : public Ring {};

TEST_F(RingDescriptors, AreNotLeftToProgramsThatTheApplicationStarts) {
    const Calls calls;
    const auto ring = physical(64);
    ASSERT_TRUE(ring->isUsable());
    const auto opened = calls.of("open");
    ASSERT_EQ(opened.size(), 2U) << "physical memory and the cache";
    for (const Call& call : opened)
        EXPECT_EQ(call.first & O_CLOEXEC, std::uint64_t{O_CLOEXEC});
}

}  // namespace
}  // namespace cabinaudio::test
