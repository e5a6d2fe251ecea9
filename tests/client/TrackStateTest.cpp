// SPDX-License-Identifier: Apache-2.0
#include "tests/client/TrackFixture.h"

namespace cabinaudio::test {
namespace {

class AnIdleTrack : public ATrack {
protected:
    AnIdleTrack() { makeAuxiliary(); }

    [[nodiscard]] std::size_t sent(int function) const { return ATrack::sent(function, FLAGGED); }
};

class AnActiveTrack : public AnIdleTrack {
protected:
    AnActiveTrack() { start(); }
};

TEST_F(AnIdleTrack, IsStartedByTheServer) {
    EXPECT_EQ(track->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(START), 1U);
    EXPECT_EQ(log.count(DEBUG, "ClientTrack", "start", "[trk]start In\n"), 1U);
    EXPECT_EQ(log.count(DEBUG, "ClientTrack", "start", "[trk]start Success, Out\n"), 1U);
}

TEST_F(AnIdleTrack, StaysIdleWhenTheServerRefusesToStart) {
    server.on(START, Answer::status(-77));
    EXPECT_EQ(track->start(), -77);
    EXPECT_EQ(log.count(ERROR, "[trk]start RPC failed status[-77], Out\n"), 1U) << log.dump();
    EXPECT_EQ(track->clear(), AUDIO_NO_ERROR);
}

TEST_F(AnIdleTrack, NeedsNoStop) {
    EXPECT_EQ(track->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(STOP), 0U);
    EXPECT_EQ(log.count(DEBUG, "[trk]stop In\n"), 1U);
    EXPECT_EQ(log.count(WARN, "[trk]Current stop state [is IDLE], Out\n"), 1U) << log.dump();
}

TEST_F(AnIdleTrack, CanBeClearedWithoutARing) {
    EXPECT_EQ(track->clear(), AUDIO_NO_ERROR);
    EXPECT_EQ(log.count(DEBUG, "[trk]clear In\n"), 1U);
    EXPECT_EQ(log.count(DEBUG, "[trk]clear Success, Out\n"), 1U);
    EXPECT_EQ(server.functions(), std::vector<std::uint32_t>{CREATE});
}

TEST_F(AnActiveTrack, NeedsNoSecondStart) {
    EXPECT_EQ(track->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(START), 1U);
    EXPECT_EQ(log.count(WARN, "[trk]Current start state [is ACTIVE], Out\n"), 1U) << log.dump();
}

TEST_F(AnActiveTrack, IsStoppedByTheServer) {
    EXPECT_EQ(track->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(STOP), 1U);
    EXPECT_EQ(log.count(DEBUG, "[trk]stop Success, Out\n"), 1U);
    EXPECT_EQ(track->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(START), 2U);
}

TEST_F(AnActiveTrack, StaysActiveWhenTheServerRefusesToStop) {
    server.on(STOP, Answer::status(-78));
    EXPECT_EQ(track->stop(), -78);
    EXPECT_EQ(log.count(ERROR, "[trk]stop RPC failed status[-78], Out\n"), 1U) << log.dump();
    EXPECT_EQ(track->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(START), 1U);
}

TEST_F(AnActiveTrack, CannotBeCleared) {
    EXPECT_EQ(track->clear(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[trk]clear failed, state[3] not IDLE, Out\n"), 1U);
}

TEST_F(AnActiveTrack, DropsWhatIsQueuedWhenItIsStoppedAndCleared) {
    announceRing();
    ASSERT_EQ(write(1000, true), 1000);
    ASSERT_EQ(track->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(track->bytesFree(), 4095 - 1000);
    EXPECT_EQ(track->clear(), AUDIO_NO_ERROR);
    EXPECT_EQ(track->bytesFree(), 4095);
    EXPECT_EQ(serverRing->getUsedSize(), 0U);
}

TEST_F(AnActiveTrack, AnnouncesTheEndOfItsDataOnce) {
    EXPECT_EQ(track->writeDone(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(WRITE_DONE), 1U);
    EXPECT_EQ(log.count(DEBUG, "[trk]writeDone In\n"), 1U);
    EXPECT_EQ(log.count(DEBUG, "[trk]writeDone Success, Out.\n"), 1U);
    EXPECT_EQ(track->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[trk]Currently in writDone[1], Out\n"), 1U) << log.dump();
    EXPECT_EQ(sent(WRITE_DONE), 1U);
}

TEST_F(AnActiveTrack, TakesNoWriteAfterTheEndUntilItIsStopped) {
    announceRing();
    ASSERT_EQ(track->writeDone(), AUDIO_NO_ERROR);
    EXPECT_EQ(write(4, true), AUDIO_INVALID_OPERATION);
    EXPECT_EQ(log.count(ERROR, "[trk]Can not write,writeDone has been called [mIsWriteDone=1]\n"),
              1U)
        << log.dump();
    server.notify(FINISHED, 0);
    ASSERT_TRUE(log.waitForMatching(INFO, "\\[trk\\]play finish.*\n"));
    EXPECT_EQ(write(4, true), AUDIO_INVALID_OPERATION) << "the finish changes no state";
    ASSERT_EQ(track->stop(), AUDIO_NO_ERROR);
    start();
    EXPECT_EQ(write(4, true), 4);
}

TEST_F(AnActiveTrack, GoesOnWhenTheServerRefusesTheEnd) {
    server.on(WRITE_DONE, Answer::status(-79));
    EXPECT_EQ(track->writeDone(), -79);
    EXPECT_EQ(log.count(ERROR, "[trk]writeDone RPC failed status[-79], Out\n"), 1U) << log.dump();
    announceRing();
    EXPECT_EQ(write(4, true), 4);
}

TEST_F(AnIdleTrack, HasNoEndOfData) {
    EXPECT_EQ(track->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[trk]writeDone failed, state[1] Out\n"), 1U) << log.dump();
    EXPECT_EQ(sent(WRITE_DONE), 0U);
}

class AnAlternativeTrack : public ATrack {
protected:
    AnAlternativeTrack() {
        makeAlternative();
        start();
    }
};

TEST_F(AnAlternativeTrack, KnowsNoEndOfData) {
    EXPECT_EQ(track->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "ClientTrack", "writeDone", "[trk]Not support,ignore op!\n"), 1U)
        << log.dump();
    EXPECT_TRUE(server.requests(WRITE_DONE).empty());
}

TEST_F(AnAlternativeTrack, IgnoresEveryKeyShift) {
    EXPECT_EQ(track->setKeyShift(99.0F), AUDIO_NO_ERROR);
    EXPECT_EQ(log.count(WARN, "ClientTrack", "setKeyShift", "[trk]Not support,ignore op!\n"), 1U)
        << log.dump();
    EXPECT_TRUE(server.requests(KEY_SHIFT).empty());
}

TEST_F(AnIdleTrack, SendsKeyShiftsUpToBothBounds) {
    EXPECT_EQ(track->setKeyShift(0.8F), AUDIO_NO_ERROR);
    EXPECT_EQ(track->setKeyShift(1.2F), AUDIO_NO_ERROR);
    const std::vector<Request> sent = server.requests(KEY_SHIFT);
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0].real(1), 0.8F);
    EXPECT_EQ(sent[1].real(1), 1.2F);
    EXPECT_EQ(sent[0].payload.size(), 8U);
    EXPECT_EQ(sent[0].header.cmd, 198U);
}

TEST_F(AnIdleTrack, RefusesKeyShiftsBeyondTheBounds) {
    EXPECT_EQ(track->setKeyShift(1.21F), AUDIO_BAD_VALUE);
    EXPECT_EQ(track->setKeyShift(0.79F), AUDIO_BAD_VALUE);
    EXPECT_TRUE(server.requests(KEY_SHIFT).empty());
    EXPECT_EQ(log.count(ERROR, "[trk] input key:1.210000 rang[0.8, 1.2] error\n"), 1U)
        << log.dump();
}

TEST_F(AnIdleTrack, HandsTheServersWordAboutAKeyShiftOn) {
    server.on(KEY_SHIFT, Answer::status(-80));
    EXPECT_EQ(track->setKeyShift(1.0F), -80);
}

TEST_F(AnIdleTrack, RefusesAKeyShiftWhileAnotherOneIsUnderWay) {
    server.on(KEY_SHIFT, Answer::status(0).held());
    std::future<int> first =
        std::async(std::launch::async, [&] { return track->setKeyShift(1.0F); });
    ASSERT_TRUE(server.waitForRequest(KEY_SHIFT));
    EXPECT_EQ(track->setKeyShift(1.1F), AUDIO_NO_MEMORY);
    EXPECT_EQ(log.count(ERROR, "RemoteCall", "rcalloc", "bad sequence\n"), 1U) << log.dump();
    server.release();
    EXPECT_EQ(first.get(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(KEY_SHIFT).size(), 1U);
}

TEST_F(AnIdleTrack, WarnsOfDeprecatedOperationsAndDoesNothing) {
    unsigned long long samples = 17;
    long long time = 18;
    EXPECT_EQ(track->setVolume(3), AUDIO_NO_ERROR);
    EXPECT_EQ(track->getVolume(), AUDIO_NO_ERROR);
    EXPECT_EQ(track->duck(50), AUDIO_NO_ERROR);
    EXPECT_EQ(track->unduck(), AUDIO_NO_ERROR);
    EXPECT_EQ(track->getOutPutSamples(&samples, &time), AUDIO_NO_ERROR);
    EXPECT_EQ(samples, 17U);
    EXPECT_EQ(time, 18);
    for (const char* const line :
         {"Deprecated API(ClientTrack::setVolume) is called. please try "
          "QVAudioSetting::Volume::setTrackVolume/setVolumeByStreamType.\n",
          "Deprecated API(ClientTrack::getVolume) is called. please try "
          "QVAudioSetting::Volume::getTrackVolume/getVolumeByStreamType.\n",
          "Deprecated API(ClientTrack::duck) is called. please try "
          "QVAudioSetting::Volume::duck.\n",
          "Deprecated API(ClientTrack::unduck) is called. please try "
          "QVAudioSetting::Volume::unduck.\n",
          "Deprecated API(ClientTrack::getOutPutSamples) is called.\n"})
        EXPECT_EQ(log.count(WARN, line), 1U) << log.dump();
    EXPECT_EQ(server.functions(), std::vector<std::uint32_t>{CREATE});
}

TEST_F(AnActiveTrack, IsLeftAloneForGoodOnceTheServerHasRemovedIt) {
    server.notify(REMOVED, 0);
    ASSERT_TRUE(log.waitFor(DEBUG, "[trk]server track has be deleted, disconnect.\n"));
    // The line comes before the change; the next request of the notifier comes after it.
    server.notify(9, 0);
    ASSERT_TRUE(log.waitFor(ERROR, "unknown msg(9), value=0\n"));
    const std::size_t before = server.functions().size();
    EXPECT_EQ(track->start(), AUDIO_INVALID_STATE);
    EXPECT_EQ(track->stop(), AUDIO_INVALID_STATE);
    EXPECT_EQ(track->clear(), AUDIO_INVALID_STATE);
    EXPECT_EQ(track->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_EQ(track->initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(write(4, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[trk]Current mState[2] [not ACTIVE]\n"), 1U) << log.dump();
    EXPECT_EQ(server.functions().size(), before);
}

}  // namespace
}  // namespace cabinaudio::test
