// SPDX-License-Identifier: Apache-2.0
#include "tests/support/kinds/RealServerTest.h"

#include <csignal>

namespace cabinaudio::test {
namespace {

class StreamWithServer : public RealServerTest {
protected:
    /// Moves `count` bytes, step by step.
    void move(int count) {
        while (count > 0) {
            const int moved = moveStep();
            ASSERT_GT(moved, 0) << log.dump();
            count -= moved;
        }
    }
};

class PhysicalStreamWithServer : public StreamWithServer {};

INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamWithServer, ::testing::ValuesIn(streamKinds()),
                         ROW_NAME);
INSTANTIATE_TEST_SUITE_P(OfEachKind, PhysicalStreamWithServer, ::testing::ValuesIn(physicalKinds()),
                         ROW_NAME);

TEST_P(StreamWithServer, MovesItsBytesAndStops) {
    begin();
    move(32'000);
    EXPECT_GT(stream->getTotalBufferSize(), 0) << log.dump() << server->output();
    EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(stream->start(), AUDIO_NO_ERROR);
    move(5'000);
    EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
}

TEST_P(PhysicalStreamWithServer, KeepsItsRingWhenTheServerAnnouncesItAgain) {
    begin();
    move(16'000);
    ASSERT_TRUE(log.waitForMatching(INFO, kind.announced)) << log.dump();
    for (std::size_t again = 2; again <= 4; ++again) {
        ASSERT_EQ(server->command("ring announce str"), "ok") << server->output();
        ASSERT_TRUE(log.waitForMatching(INFO, kind.announced, again)) << log.dump();
        move(16'000);
        EXPECT_GT(stream->getTotalBufferSize(), 0) << log.dump();
    }
    EXPECT_TRUE(loggedLike(log, DEBUG, "delete shared memory name:.*\n", 0));
    EXPECT_TRUE(loggedLike(log, ERROR, ".*shm data timeOut.*\n", 0));
    EXPECT_TRUE(loggedLike(log, WARN, ".*wait free space timeout.*\n", 0));
}

TEST_P(StreamWithServer, EndsItsTransferAndLeavesNothingWhenTheServerIsKilled) {
    for (int round = 0; round < 3; ++round) {
        begin();
        // A request that a dying server leaves unanswered waits on, so the ring must be there
        // before the server is killed.
        move(16'000);
        ASSERT_TRUE(eventually([&] { return stream->getTotalBufferSize() > 0; })) << log.dump();
        std::future<int> mover = std::async(std::launch::async, [&] {
            for (;;)
                if (const int status = moveStep(); status < 0) return status;
        });
        server->kill(SIGKILL);
        const int status = mover.get();
        EXPECT_TRUE(status == AUDIO_INVALID_STATE || status == AUDIO_TIMED_OUT) << status;
        EXPECT_TRUE(log.waitForMatching(
            DEBUG, "\\[str\\]server (track|record) has be deleted, disconnect.\n"))
            << log.dump();
        stream.reset();
        log.clear();
    }
    EXPECT_TRUE(leavesNothing()) << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
