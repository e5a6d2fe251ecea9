// SPDX-License-Identifier: Apache-2.0
#include "tests/client/TrackFixture.h"

namespace cabinaudio::test {
namespace {

class IdleTrack : public TrackFixture {
protected:
    IdleTrack() { makeIdle(); }
};

TEST_F(IdleTrack, CanBeStartedAgainAfterAStop) {
    start();
    EXPECT_EQ(track->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(STOP, FLAGGED), 1U);
    EXPECT_TRUE(streamLogged(DEBUG, "stop Success, Out\n"));
    EXPECT_EQ(track->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(START, FLAGGED), 2U);
}

TEST_F(IdleTrack, SendsKeyShiftsUpToBothBounds) {
    EXPECT_EQ(track->setKeyShift(0.8F), AUDIO_NO_ERROR);
    EXPECT_EQ(track->setKeyShift(1.2F), AUDIO_NO_ERROR);
    const std::vector<Request> shifts = server.requests(KEY_SHIFT);
    ASSERT_EQ(shifts.size(), 2U);
    EXPECT_EQ(shifts[0].real(1), 0.8F);
    EXPECT_EQ(shifts[1].real(1), 1.2F);
    EXPECT_EQ(shifts[0].payload.size(), 8U);
    EXPECT_EQ(shifts[0].header.cmd, 198U);
}

TEST_F(IdleTrack, RefusesKeyShiftsBeyondTheBounds) {
    EXPECT_EQ(track->setKeyShift(1.21F), AUDIO_BAD_VALUE);
    EXPECT_EQ(track->setKeyShift(0.79F), AUDIO_BAD_VALUE);
    EXPECT_TRUE(server.requests(KEY_SHIFT).empty());
    EXPECT_TRUE(streamLogged(ERROR, " input key:1.210000 rang[0.8, 1.2] error\n"));
}

TEST_F(IdleTrack, ReturnsTheServersStatusOfAKeyShift) {
    server.on(KEY_SHIFT, Answer::status(-80));
    EXPECT_EQ(track->setKeyShift(1.0F), -80);
}

TEST_F(IdleTrack, RefusesAKeyShiftDuringAnother) {
    server.on(KEY_SHIFT, Answer::status(0).held());
    std::future<int> first =
        std::async(std::launch::async, [&] { return track->setKeyShift(1.0F); });
    ASSERT_TRUE(server.waitForRequest(KEY_SHIFT));
    EXPECT_EQ(track->setKeyShift(1.1F), AUDIO_NO_MEMORY);
    EXPECT_TRUE(logged(ERROR, "RemoteCall", "rcalloc", "bad sequence\n"));
    server.release();
    EXPECT_EQ(first.get(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(KEY_SHIFT).size(), 1U);
}

class AlternativeTrack : public TrackFixture {
protected:
    AlternativeTrack() {
        makeWithRing();
        start();
    }
};

TEST_F(AlternativeTrack, RefusesWriteDone) {
    EXPECT_EQ(track->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(streamLogged(ERROR, "writeDone", "Not support,ignore op!\n"));
    EXPECT_TRUE(server.requests(WRITE_DONE).empty());
}

TEST_F(AlternativeTrack, IgnoresEveryKeyShift) {
    EXPECT_EQ(track->setKeyShift(99.0F), AUDIO_NO_ERROR);
    EXPECT_TRUE(streamLogged(WARN, "setKeyShift", "Not support,ignore op!\n"));
    EXPECT_TRUE(server.requests(KEY_SHIFT).empty());
}

}  // namespace
}  // namespace cabinaudio::test
