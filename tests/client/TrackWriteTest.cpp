// SPDX-License-Identifier: Apache-2.0
#include "tests/client/TrackFixture.h"

namespace cabinaudio::test {
namespace {

using TrackWrite = TrackFixture;

TEST_F(TrackWrite, IsLoggedTheFirstTimeOnlyAndBeforeAnyCheck) {
    makeWithRing();
    EXPECT_EQ(track->write(nullptr, 7, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(write(4, false), AUDIO_INVALID_STATE);
    EXPECT_TRUE(streamLoggedLike(
        INFO, " first write construct->nowTime:[0-9]+ ms  want write bytes:7 isBlock:1\n"));
    EXPECT_TRUE(loggedLike(INFO, ".*first write.*\n"));
}

/// Writes to an active auxiliary track whose ring was not announced.
class TrackWriteWithoutARing : public TrackFixture {
protected:
    TrackWriteWithoutARing() {
        makeIdle();
        start();
    }
};

TEST_F(TrackWriteWithoutARing, WaitsASecondForIt) {
    const Stopwatch watch;
    EXPECT_EQ(write(10, false), AUDIO_TIMED_OUT) << "even when it may not block";
    EXPECT_GE(watch.ms(), 1000);
    EXPECT_TRUE(streamLoggedLike(ERROR, "share buffer not ready timeout\\[[0-9]+\\] Out \n"));
    giveRing();
    EXPECT_EQ(write(10, false), 10);
}

TEST_F(TrackWriteWithoutARing, TimesOutWhenTheAnnouncedRingCannotBeMapped) {
    server.on(GET_RING, Answer::words(-1990, 0, 0));
    std::future<int> writer = blockedWrite(10);
    server.notify(RING_READY, 0);
    EXPECT_EQ(writer.get(), AUDIO_TIMED_OUT);
    EXPECT_TRUE(
        streamLogged(ERROR, "initShareMemory", " mRc->call return error(0), ret->status:-1990.\n"));
    EXPECT_TRUE(loggedLike(ERROR, ".*share buffer not ready timeout\\[1[0-9]+\\] Out \n"));
    EXPECT_TRUE(loggedLike(WARN, ".*wait free space timeout.*\n", ABSENT));
    // A later announcement is still followed, and the track is not left blocked.
    giveRing();
    EXPECT_EQ(write(10, true), 10);
}

}  // namespace
}  // namespace cabinaudio::test
