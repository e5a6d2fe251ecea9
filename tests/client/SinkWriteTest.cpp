// SPDX-License-Identifier: Apache-2.0
#include "tests/client/SinkFixture.h"

namespace cabinaudio::test {
namespace {

using SinkWrite = SinkFixture;

TEST_F(SinkWrite, IsNotLoggedTheFirstTime) {
    makePlaying();
    ASSERT_EQ(write(4, true), 4);
    EXPECT_TRUE(loggedLike(INFO, ".*first write.*\n", ABSENT));
}

TEST_F(SinkWrite, IsThrownAwayWhenTheSourceIsWithdrawnWhileItWaitsForSpace) {
    makePlaying();
    fillRing();
    std::future<int> writer = blockedWrite(700);
    server.notify(WITHDRAWN, 0);
    EXPECT_EQ(writer.get(), 0);
    EXPECT_TRUE(streamLogged(WARN, "checkAndWaitShareBufferFree",
                             " status[active], source [removed], write ineffective, size[700]\n"));
    settle();
    activate();
    EXPECT_EQ(write(10, true), 10) << "no write is blocked any more";
    EXPECT_EQ(writtenInAll(), 4095 + 10);
}

TEST_F(SinkWrite, KeepsTheQueuedBytesAndLosesOneStepWhenTheSourceIsWithdrawn) {
    makePlaying();
    std::future<int> writer = blockedWrite(8000);
    server.notify(WITHDRAWN, 0);
    EXPECT_EQ(writer.get(), 0);
    EXPECT_EQ(thrownAwayInAll(), 1024) << log.dump();
    EXPECT_EQ(writtenInAll(), 4095);
}

TEST_F(SinkWrite, ContinuesInTheNewRingWhenTheSourceIsActivatedAgain) {
    makePlaying();
    fillRing();
    std::future<int> writer = blockedWrite(700);
    std::unique_ptr<ShareMemoryEx> first;
    first.swap(serverRing);
    giveRing(4096, RING_ADDRESS + 0x10000);
    EXPECT_EQ(writer.get(), 700) << log.dump();
    EXPECT_EQ(serverRing->getUsedSize(), 700U);
}

TEST_F(SinkWrite, FindsNoSpaceInARingThatCannotBeMapped) {
    acceptStreams();
    sink = create("no/such/place", AUDIO_TAG_MAIN);
    start();
    server.notify(ACTIVATED, 0);
    settle();
    EXPECT_EQ(sink->getTotalBufferSize(), 0);
    EXPECT_EQ(write(4, false), 0);
    EXPECT_EQ(write(4, true), AUDIO_TIMED_OUT);
}

}  // namespace
}  // namespace cabinaudio::test
