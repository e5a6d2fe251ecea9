// SPDX-License-Identifier: Apache-2.0
// A server that wakes a waiting stream again and again, and gives it neither space nor data. Each
// wake-up begins a new wait; under a policy the waits of one call have an end all the same.
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/hostile/HostileServer.h"
#include "tests/hostile/NamedStreams.h"
#include "tests/support/PolicyGuard.h"
#include "tests/support/ProcessState.h"
#include "tests/support/ServerRing.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <string>
#include <thread>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

constexpr unsigned LENGTH = HostileServer::RING_BYTES;

void expectAnEnd(const NamedKind& kind) {
    const std::string name = std::string("storm-") + kind.name;
    const auto ring =
        kind.isPosix ? posixRing(name.c_str(), LENGTH) : physicalRing(name.c_str(), LENGTH);
    ASSERT_TRUE(ring->isUsable());
    const auto stream = kind.create(name);
    ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
    ASSERT_EQ(stream->start(), AUDIO_NO_ERROR);
    ASSERT_TRUE(eventually([&] { return stream->getTotalBufferSize() == int{LENGTH}; }));
    unsigned char bytes[LENGTH] = {};
    if (kind.writes) {
        ASSERT_TRUE(put(*ring, Bytes(LENGTH - 1)));  // no space
    } else {
        ASSERT_TRUE(put(*ring, Bytes(512)));
        ASSERT_EQ(stream->move(bytes, 512, false), 512);  // live, and no data
    }

    std::atomic<bool> isOver{false};
    std::thread storm([&] {
        while (!isOver) {
            if (kind.writes)
                ring->updateReadOffset(0);
            else
                ring->updateWriteOffset(512);
            std::this_thread::sleep_for(1ms);
        }
    });
    auto moved = std::async(std::launch::async, [&] { return stream->move(bytes, 512, true); });
    const bool hasEnded = moved.wait_for(60s) == std::future_status::ready;
    isOver = true;  // and without an end it times out now
    storm.join();
    EXPECT_TRUE(hasEnded);
    EXPECT_LE(moved.get(), 0);
}

TEST(AStormOfWakeUps, EndsUnderAPolicyForEachKind) {
    const PolicyGuard guard({50ms, true, true});
    HostileServer server;
    inParallel(5, 5, [](std::size_t which) { expectAnEnd(namedKinds()[which]); });
}

}  // namespace
}  // namespace cabinaudio::test
