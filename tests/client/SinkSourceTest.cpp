// SPDX-License-Identifier: Apache-2.0
#include "tests/client/SinkFixture.h"
#include "tests/client/SlowThreads.h"
#include "tests/support/ProcessState.h"

#include <atomic>
#include <string>
#include <thread>

namespace cabinaudio::test {
namespace {

constexpr const char* REMOVED_LINE =
    "track[snk], status[active], source [removed], write ineffective, size[";

AudioFormatDesc codedFormat() {
    AudioFormatDesc format = cdFormat();
    format.codecType = 64;
    return format;
}

using SinkSource = SinkFixture;

TEST_F(SinkSource, IsUnmappedThenAcknowledgedWhenItIsWithdrawn) {
    make();
    activate();
    std::atomic<bool> wasThere{true};
    server.on(LET_GO, [&](const Request&) {
        wasThere = sink->getTotalBufferSize() != 0 || ringHasAName("snk");
        return Answer::status(0);
    });
    server.notify(WITHDRAWN, 0);
    settle();
    EXPECT_EQ(sent(LET_GO, FLAGGED), 1U);
    EXPECT_FALSE(wasThere) << "acknowledged before the ring was gone";
    EXPECT_EQ(sink->getTotalBufferSize(), 0);
    EXPECT_EQ(sink->bytesFree(), 0);
    EXPECT_TRUE(logged(INFO, "[snk]Source is deactived done\n"));
}

TEST_F(SinkSource, IsUnmappedWhenTheServerRefusesTheAcknowledgement) {
    make();
    activate();
    server.on(LET_GO, Answer::status(-9));
    withdraw();
    EXPECT_TRUE(logged(INFO, "[snk]Source is deactived failed\n"));
}

TEST_F(SinkSource, IsAcknowledgedWhenItIsWithdrawnWithoutAnActivation) {
    make();
    withdraw();
    EXPECT_EQ(server.requests(LET_GO).size(), 1U);
    EXPECT_TRUE(logged(INFO, "[snk]Source is deactived done\n"));
}

TEST_F(SinkSource, IsUnmappedAndAcknowledgedWhenTheApplicationDeactivatesIt) {
    makePlaying();
    dynamic_cast<ClientSink&>(*sink).deactived();
    EXPECT_EQ(sent(LET_GO, FLAGGED), 1U);
    EXPECT_TRUE(logged(DEBUG, "ClientSink", "deactived", "[snk]Source is deactived done\n"));
    EXPECT_EQ(sink->getTotalBufferSize(), 0);
    EXPECT_FALSE(ringHasAName("snk"));
    EXPECT_EQ(write(10, true), 0);
    EXPECT_EQ(thrownAwayInAll(), 10);
    server.on(LET_GO, Answer::status(-9));
    dynamic_cast<ClientSink&>(*sink).deactived();
    EXPECT_TRUE(logged(DEBUG, "[snk]Source is deactived failed\n"));
}

TEST_F(SinkSource, TakesWritesAgainAfterAnotherActivation) {
    makePlaying();
    ASSERT_EQ(write(100, true), 100);
    withdraw();
    activate(5000);
    EXPECT_EQ(write(200, true), 200);
    EXPECT_EQ(serverRing->getUsedSize(), 200U) << "of another ring";
    EXPECT_EQ(writtenInAll(), 300);
    EXPECT_EQ(thrownAwayInAll(), 0);
}

TEST_F(SinkSource, StaysAsItWasThroughAStopAndAStart) {
    makePlaying();
    ASSERT_EQ(sink->stop(), AUDIO_NO_ERROR);
    start();
    EXPECT_EQ(write(100, true), 100);
    withdraw();
    ASSERT_EQ(sink->stop(), AUDIO_NO_ERROR);
    start();
    EXPECT_EQ(write(100, true), 0) << "still removed";
    EXPECT_EQ(thrownAwayInAll(), 100);
}

TEST_F(SinkSource, HoldsWritesForASecondWhenItsRingCannotBeMapped) {
    makeActive();
    server.on(GET_RING, Answer::words(-1990, 0, 0));
    server.notify(ACTIVATED, 0);
    settle();
    EXPECT_TRUE(logged(ERROR, "ClientSink", "initShareMemory",
                       "[snk] mRc->call return error(0), ret->status:-1990.\n"));
    EXPECT_TRUE(loggedLike(INFO, "\\[snk\\]Source is actived.*\n"));
    for (const bool isBlock : {true, false}) {
        const Stopwatch watch;
        EXPECT_EQ(write(10, isBlock), 0);
        EXPECT_GE(watch.ms(), 1000);
    }
    EXPECT_TRUE(logged(ERROR, "ClientSink", "checkAndWaitSourceReady",
                       "[snk]Source is ready,because of mShareMemory new failed\n", 2));
    EXPECT_EQ(thrownAwayInAll(), 0) << "not counted";
    activate();
    EXPECT_EQ(write(10, true), 10);
}

/// Writes that meet no source.
using SinkWriteWithoutASource = SinkFixture;

TEST_F(SinkWriteWithoutASource, ReturnsAtOnceWhenItMayNotBlock) {
    makeActive();
    EXPECT_EQ(write(100, false), 0);
    EXPECT_TRUE(logged(WARN, "ClientSink", "checkAndWaitSourceReady",
                       "[snk]source is not ready mode[unblock]\n"));
    activate();
    withdraw();
    EXPECT_EQ(write(100, false), 0) << "also of a source that was removed";
    EXPECT_EQ(thrownAwayInAll(), 0);
    EXPECT_TRUE(loggedLike(WARN, ".*write ineffective.*\n", ABSENT));
}

TEST_F(SinkWriteWithoutASource, WaitsEvenWithoutBlockingWhenTheSinkIsCoded) {
    makeActive(1024, codedFormat());
    std::future<int> writer = blockedWrite(100, false);
    EXPECT_TRUE(logged(WARN, "[snk]source is not ready mode[unblock]\n"));
    activate();
    EXPECT_EQ(writer.get(), 100) << log.dump();
}

TEST_F(SinkWriteWithoutASource, KeepsWaitingAfterTwoSeconds) {
    makeActive();
    const Stopwatch watch;
    std::future<int> writer = blockedWrite(100);
    ASSERT_TRUE(log.waitForMatching(ERROR, "\\[snk\\]waiting Source ready timeout\\[[0-9]+\\]\n"))
        << log.dump();
    EXPECT_GE(watch.ms(), 2000);
    ASSERT_TRUE(log.waitFor(WARN, "[snk]source is not ready mode[block]\n", 2)) << log.dump();
    activate();
    EXPECT_EQ(writer.get(), 100) << log.dump();
}

TEST_F(SinkWriteWithoutASource, IsThrownAwayAfterHalfASecondWhenTheSourceWasWithdrawn) {
    makePlaying();
    withdraw();
    const Stopwatch watch;
    EXPECT_EQ(write(960, true), 0);
    EXPECT_GE(watch.ms(), 500);
    EXPECT_EQ(write(40, true), 0);
    EXPECT_GE(watch.ms(), 1000);
    for (const char* const total : {"960", "1000"})
        EXPECT_TRUE(logged(WARN, "ClientSink", "checkAndWaitSourceReady",
                           std::string(REMOVED_LINE) + total + "]\n"));
    EXPECT_EQ(writtenInAll(), 0);
}

TEST_F(SinkWriteWithoutASource, IsThrownAwayEvenWithoutBlockingWhenTheSinkIsCoded) {
    makeActive(1024, codedFormat());
    withdraw();
    EXPECT_EQ(write(70, false), 0);
    EXPECT_TRUE(logged(WARN, std::string(REMOVED_LINE) + "70]\n"));
}

TEST_F(SinkWriteWithoutASource, IsThrownAwayWhenTheSourceIsWithdrawnMeanwhile) {
    makeActive();
    std::future<int> writer = blockedWrite(100);
    server.notify(WITHDRAWN, 0);
    EXPECT_EQ(writer.get(), 0);
    EXPECT_EQ(thrownAwayInAll(), 100) << log.dump();
}

/// Each write holds the lock for half a second, and the next one follows at once.
TEST_F(SinkWriteWithoutASource, LetsOtherOperationsInBetweenRepeatedWrites) {
    makePlaying();
    withdraw();
    std::atomic<int> thrownAway{0};
    std::thread writer([&] {
        while (thrownAway < 20 && write(10, true) == 0)
            ++thrownAway;
    });
    ASSERT_TRUE(log.waitFor(WARN, std::string(REMOVED_LINE) + "20]\n")) << log.dump();
    int before = thrownAway;
    EXPECT_TRUE(eventually([&] { return thrownAway > before; }));
    before = thrownAway;
    {
        const SlowToLock slow;
        EXPECT_EQ(sink->setCallback(nullptr), AUDIO_NO_ERROR);
    }
    // The write under way goes first, and one more that has begun since.
    EXPECT_LE(thrownAway - before, 2);
    EXPECT_EQ(sink->stop(), AUDIO_NO_ERROR);
    writer.join();
    EXPECT_LT(thrownAway, 20);
}

TEST_F(SinkWriteWithoutASource, IsRefusedByArgumentsAndStateFirst) {
    make();
    EXPECT_EQ(write(100, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(sink->write(nullptr, 4, true), AUDIO_BAD_VALUE);
    EXPECT_TRUE(loggedLike(WARN, ".*source is not ready.*\n", ABSENT));
}

}  // namespace
}  // namespace cabinaudio::test
