// SPDX-License-Identifier: Apache-2.0
#include "tests/shm/RingFixture.h"
#include "tests/support/Scheduling.h"

#include <gtest/gtest.h>

#include <future>

namespace cabinaudio::test {
namespace {

class RingReceiver : public RingFixture {};

TEST_F(RingReceiver, RunsInRealTimeAtTheHighestPriority) {
    if (!Scheduling::isRealTimeAllowed()) GTEST_SKIP() << "real-time threads are refused";
    struct : ShareMemoryUpdateNotificationCallback {
        void notify() override { seen.set_value(Scheduling::ofThisThread()); }
        std::promise<Scheduling> seen;
    } callback;
    auto seen = callback.seen.get_future();
    const auto ring = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &callback);
    ring->updateWriteOffset(1);
    ASSERT_EQ(seen.wait_for(BOUND), std::future_status::ready);
    EXPECT_EQ(seen.get(), Scheduling::realTime());
}

}  // namespace
}  // namespace cabinaudio::test
