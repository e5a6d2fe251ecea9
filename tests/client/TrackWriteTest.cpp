// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/client/TrackFixture.h"
#include "tests/support/ProcessState.h"

#include <chrono>

namespace cabinaudio::test {
namespace {

using Clock = std::chrono::steady_clock;

std::chrono::milliseconds since(Clock::time_point begin) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
}

class AWrite : public ATrack {};

TEST_F(AWrite, IsLoggedTheFirstTimeOnlyAndBeforeAnyCheck) {
    makeAlternative();
    EXPECT_EQ(track->write(nullptr, 7, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(write(4, false), AUDIO_INVALID_STATE);
    const char* const text =
        "\\[trk\\] first write construct->nowTime:[0-9]+ ms  want write "
        "bytes:7 isBlock:1\n";
    EXPECT_EQ(log.countMatching(INFO, text), 1U) << log.dump();
    EXPECT_EQ(log.countMatching(INFO, ".*first write.*\n"), 1U);
}

TEST_F(AWrite, NeedsABufferAndBytes) {
    makeAlternative();
    start();
    EXPECT_EQ(track->write(nullptr, 4, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(write(0, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(write(-5, false), AUDIO_BAD_VALUE);
    // These three lines end without a line feed.
    EXPECT_EQ(log.count(ERROR, "[trk]buffer is NULL"), 1U) << log.dump();
    EXPECT_EQ(log.count(ERROR, "[trk]bytes[0]<=0"), 1U) << log.dump();
    EXPECT_EQ(log.count(ERROR, "[trk]bytes[-5]<=0"), 1U) << log.dump();
}

TEST_F(AWrite, NeedsAStartedTrack) {
    makeAlternative();
    EXPECT_EQ(write(4, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "ClientTrack", "write", "[trk]Current mState[1] [not ACTIVE]\n"), 1U)
        << log.dump();
}

TEST_F(AWrite, ReachesTheServersEndOfTheRing) {
    makeAlternative();
    start();
    for (std::size_t i = 0; i < 256; ++i)
        data[i] = static_cast<unsigned char>(i);
    EXPECT_EQ(write(256, true), 256);
    unsigned char heard[256];
    ASSERT_EQ(serverRing->read(heard, 256), 256);
    EXPECT_TRUE(std::equal(heard, heard + 256, data.begin()));
}

TEST_F(AWrite, TakesWhatFitsWhenItMayNotBlock) {
    makeAlternative(1000, 250);
    start();
    ASSERT_EQ(write(899, false), 899);
    EXPECT_EQ(write(400, false), 100);
    EXPECT_EQ(
        log.count(WARN, "[trk] no enough space to write len[400], actually write[100] [unblock]\n"),
        1U)
        << log.dump();
    EXPECT_EQ(write(400, false), 0);
    EXPECT_EQ(
        log.count(WARN, "[trk] no enough space to write len[400], actually write[0] [unblock]\n"),
        1U);
}

TEST_F(AWrite, WaitsForSpaceAndGoesOnWhenTheServerHasRead) {
    makeAlternative(4096, 1024);
    start();
    fillRing();
    std::future<int> writer = blockedWrite(3000);
    EXPECT_TRUE(serverRing->getWait());
    Bytes heard(4096);
    std::size_t total = 0;
    while (total < 4095 + 3000) {
        const int count = serverRing->read(heard.data(), 512);
        total += static_cast<std::size_t>(count);
    }
    EXPECT_EQ(writer.get(), 3000) << log.dump();
    EXPECT_FALSE(serverRing->getWait());
}

TEST_F(AWrite, IsWokenByAnOffsetUpdateBecauseItSaidThatItWaits) {
    makeAlternative(4096, 1024);
    start();
    fillRing();
    std::future<int> writer = blockedWrite(1000);
    audio_buffer_provider_t view{};
    serverRing->getNextBuffer(view);
    serverRing->updateReadOffset(serverRing->getReadOffset() + 2048);
    EXPECT_EQ(writer.get(), 1000) << log.dump();
}

TEST_F(AWrite, WaitsForAFreeStepAndNotForTheWholeRest) {
    makeAlternative(4096, 1024);
    start();
    fillRing();
    std::future<int> writer = blockedWrite(4000);
    // One step is enough to go on, three bytes less are not.
    serverRing->updateReadOffset(1021);
    serverRing->updateReadOffset(1024);
    EXPECT_TRUE(eventually([&] { return serverRing->getWriteOffset() == 1023; })) << log.dump();
    ASSERT_EQ(track->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE);
}

TEST_F(AWrite, TimesOutAfterSixHundredMillisecondsWithoutSpaceAndLeavesTheFlagSet) {
    makeAlternative(4096, 1024);
    start();
    fillRing();
    const auto begin = Clock::now();
    EXPECT_EQ(write(10, true), AUDIO_TIMED_OUT);
    EXPECT_GE(since(begin).count(), 600);
    EXPECT_TRUE(serverRing->getWait());
    EXPECT_EQ(log.countMatching(WARN, "\\[trk\\]wait free space timeout [0-9]+\n"), 1U)
        << log.dump();
    // Nobody is blocked any more, so the next write is taken.
    EXPECT_EQ(write(10, false), 0);
}

TEST_F(AWrite, KeepsWhatItQueuedBeforeItTimedOut) {
    makeAlternative(4096, 1024);
    start();
    EXPECT_EQ(write(5000, true), AUDIO_TIMED_OUT);
    EXPECT_EQ(serverRing->getUsedSize(), 4095U);
}

TEST_F(AWrite, IsRefusedWhileAnotherOneWaits) {
    makeAlternative();
    start();
    fillRing();
    std::future<int> writer = blockedWrite(10);
    EXPECT_EQ(log.count(ERROR, "[trk]Can not write,the last write did not exit [mIsBlocked=1]\n"),
              1U)
        << log.dump();
    ASSERT_EQ(track->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE);
}

TEST_F(AWrite, EndsWithInvalidStateWhenTheTrackIsStopped) {
    makeAlternative();
    start();
    fillRing();
    std::future<int> writer = blockedWrite(10);
    ASSERT_EQ(track->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[trk]after waiting ,status:IDLE, may have stop\n"), 1U)
        << log.dump();
    EXPECT_TRUE(serverRing->getWait()) << "the flag is left as it was";
}

TEST_F(AWrite, EndsWithInvalidStateWhenTheServerRemovesTheTrack) {
    makeAlternative();
    start();
    fillRing();
    std::future<int> writer = blockedWrite(10);
    server.notify(REMOVED, 0);
    EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[trk]after waiting ,status:STOPPING,server may have crash\n"), 1U)
        << log.dump();
}

TEST_F(AWrite, EndsWithInvalidStateWhenTheServerGoesAway) {
    makeAlternative();
    start();
    fillRing();
    std::future<int> writer = blockedWrite(10);
    server.stop();
    EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[trk]after waiting ,status:STOPPING,server may have crash\n"), 1U)
        << log.dump();
}

TEST_F(AWrite, DoesNotSpinWhenTheServerNamesNoStep) {
    for (const int step : {0, -1}) {
        makeAlternative(1000, step);
        start();
        fillRing();
        std::future<int> writer = blockedWrite(3);
        serverRing->updateReadOffset(3);
        EXPECT_EQ(writer.get(), 3) << log.dump();
        track.reset();
    }
}

TEST_F(AWrite, IsToldOfSlowWakeUps) {
    makeAlternative();
    start();
    fillRing();
    std::future<int> writer = blockedWrite(10);
    // Reading posts but stamps no time: the last stamp is the fill's, by now at least 3 ms old.
    const std::uint64_t stamp = serverRing->getUpdateTime();
    ASSERT_TRUE(eventually([&] { return AudioTime::now() / 1000 >= stamp + 3; }));
    Bytes heard(2000);
    serverRing->read(heard.data(), 2000);
    EXPECT_EQ(writer.get(), 10);
    EXPECT_TRUE(
        log.waitForMatching(WARN, "\\[trk\\] update share memory IPC interVal:[0-9]+ ms > 1 ms\n"))
        << log.dump();
}

TEST_F(AWrite, WaitsASecondForTheRingOfAnAuxiliaryTrack) {
    makeAuxiliary();
    start();
    const auto begin = Clock::now();
    EXPECT_EQ(write(10, false), AUDIO_TIMED_OUT) << "even when it may not block";
    EXPECT_GE(since(begin).count(), 1000);
    EXPECT_EQ(
        log.countMatching(ERROR, "\\[trk\\]share buffer not ready timeout\\[[0-9]+\\] Out \n"), 1U)
        << log.dump();
    announceRing();
    EXPECT_EQ(write(10, false), 10);
}

TEST_F(AWrite, GoesOnWhenTheRingArrives) {
    makeAuxiliary();
    start();
    std::future<int> writer = blockedWrite(10);
    announceRing();
    EXPECT_EQ(writer.get(), 10) << log.dump();
    EXPECT_EQ(serverRing->getUsedSize(), 10U);
}

TEST_F(AWrite, WaitsForTheRingUntilItsTimeIsOverWhenTheAnnouncedRingCannotBeMapped) {
    makeAuxiliary();
    start();
    server.on(GET_RING, Answer::words(-1990, 0, 0));
    std::future<int> writer = blockedWrite(10);
    server.notify(RING_READY, 0);
    EXPECT_EQ(writer.get(), AUDIO_TIMED_OUT);
    EXPECT_EQ(log.count(ERROR, "ClientTrack", "initShareMemory",
                        "[trk] mRc->call return error(0), ret->status:-1990.\n"),
              1U)
        << log.dump();
    EXPECT_EQ(log.countMatching(ERROR, ".*share buffer not ready timeout\\[1[0-9]+\\] Out \n"), 1U)
        << log.dump();
    EXPECT_EQ(log.countMatching(WARN, ".*wait free space timeout.*\n"), 0U) << log.dump();
    // A later announcement is still followed, and the track is not left blocked.
    server.on(GET_RING, Answer::words(0, RING_ADDRESS, ringSize));
    announceRing();
    EXPECT_EQ(write(10, true), 10);
}

TEST_F(AWrite, EndsWithATimeOutWhenTheTrackIsStoppedWhileItWaitsForTheRing) {
    makeAuxiliary();
    start();
    std::future<int> writer = blockedWrite(10);
    ASSERT_EQ(track->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(writer.get(), AUDIO_TIMED_OUT);
    EXPECT_EQ(log.count(ERROR, "[trk]state[IDEL] invalid, expect[ACTIVE]\n"), 1U) << log.dump();
}

TEST_F(AWrite, EndsWithATimeOutWhenTheServerRemovesTheTrackBeforeTheRingCame) {
    makeAuxiliary();
    start();
    std::future<int> writer = blockedWrite(10);
    server.notify(REMOVED, 0);
    EXPECT_EQ(writer.get(), AUDIO_TIMED_OUT);
    EXPECT_EQ(log.count(ERROR, "[trk]state[STOPPING] invalid, expect[ACTIVE]\n"), 1U) << log.dump();
}

TEST_F(AWrite, FindsNoSpaceInARingWithAnImpossibleHeader) {
    makeAlternative();
    start();
    serverRing->updateReadOffset(0xffffffffU);
    EXPECT_EQ(track->bytesFree(), 0);
    EXPECT_EQ(write(10, false), 0);
}

}  // namespace
}  // namespace cabinaudio::test
