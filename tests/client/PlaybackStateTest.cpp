// SPDX-License-Identifier: Apache-2.0
#include "tests/client/PlaybackFixture.h"

namespace cabinaudio::test {
namespace {

class IdlePlayback : public EachPlayback {
protected:
    IdlePlayback() { makeIdle(); }

    [[nodiscard]] std::size_t sent(int function) const {
        return EachPlayback::sent(function, FLAGGED);
    }
};

class ActivePlayback : public IdlePlayback {
protected:
    ActivePlayback() { start(); }
};

INSTANTIATE_TEST_SUITE_P(Stream, IdlePlayback, PLAYBACKS, playingName);
INSTANTIATE_TEST_SUITE_P(Stream, ActivePlayback, PLAYBACKS, playingName);

TEST_P(IdlePlayback, StartAsksTheServer) {
    EXPECT_EQ(stream->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(START), 1U);
    EXPECT_TRUE(streamLogged(DEBUG, "start", "start In\n"));
    EXPECT_TRUE(streamLogged(DEBUG, "start", "start Success, Out\n"));
}

TEST_P(IdlePlayback, StaysIdleWhenTheServerRefusesToStart) {
    server.on(START, Answer::status(-77));
    EXPECT_EQ(stream->start(), -77);
    EXPECT_TRUE(streamLogged(ERROR, "start RPC failed status[-77], Out\n"));
    EXPECT_EQ(stream->clear(), AUDIO_NO_ERROR);
}

TEST_P(IdlePlayback, StopSendsNothing) {
    EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
    EXPECT_TRUE(server.requests(STOP).empty());
    EXPECT_TRUE(streamLogged(DEBUG, "stop In\n"));
    EXPECT_TRUE(streamLogged(WARN, "Current stop state [is IDLE], Out\n"));
}

TEST_P(IdlePlayback, ClearSucceedsWithoutARing) {
    EXPECT_EQ(stream->clear(), AUDIO_NO_ERROR);
    EXPECT_TRUE(streamLogged(DEBUG, "clear", "clear In\n"));
    EXPECT_TRUE(streamLogged(DEBUG, "clear", "clear Success, Out\n"));
    EXPECT_EQ(server.functions(), std::vector<std::uint32_t>{CREATE});
}

TEST_P(IdlePlayback, WriteDoneIsRefused) {
    EXPECT_EQ(stream->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(streamLogged(ERROR, "writeDone failed, state[1] Out\n"));
    EXPECT_EQ(sent(WRITE_DONE), 0U);
}

/// A sink's lines name the track's operations, too.
TEST_P(IdlePlayback, DeprecatedOperationsOnlyWarn) {
    unsigned long long samples = 17;
    long long time = 18;
    EXPECT_EQ(stream->setVolume(3), AUDIO_NO_ERROR);
    EXPECT_EQ(stream->getVolume(), AUDIO_NO_ERROR);
    EXPECT_EQ(stream->duck(50), AUDIO_NO_ERROR);
    EXPECT_EQ(stream->unduck(), AUDIO_NO_ERROR);
    EXPECT_EQ(stream->getOutPutSamples(&samples, &time), AUDIO_NO_ERROR);
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
        EXPECT_TRUE(logged(WARN, line)) << line;
    EXPECT_EQ(server.functions(), std::vector<std::uint32_t>{CREATE});
}

TEST_P(ActivePlayback, SecondStartSendsNothing) {
    EXPECT_EQ(stream->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(START).size(), 1U);
    EXPECT_TRUE(streamLogged(WARN, "Current start state [is ACTIVE], Out\n"));
}

TEST_P(ActivePlayback, StaysActiveWhenTheServerRefusesToStop) {
    server.on(STOP, Answer::status(-78));
    EXPECT_EQ(stream->stop(), -78);
    EXPECT_TRUE(streamLogged(ERROR, "stop RPC failed status[-78], Out\n"));
    EXPECT_EQ(stream->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(START).size(), 1U);
}

TEST_P(ActivePlayback, ClearIsRefused) {
    EXPECT_EQ(stream->clear(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(streamLogged(ERROR, "clear failed, state[3] not IDLE, Out\n"));
}

TEST_P(ActivePlayback, ClearAfterAStopDropsTheQueuedBytes) {
    giveRing();
    ASSERT_EQ(write(1000, true), 1000);
    ASSERT_EQ(stream->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(stream->bytesFree(), 4095 - 1000);
    EXPECT_EQ(serverRing->getUsedSize(), 1000U);
    EXPECT_EQ(stream->clear(), AUDIO_NO_ERROR);
    EXPECT_EQ(stream->bytesFree(), 4095);
    EXPECT_EQ(serverRing->getUsedSize(), 0U);
}

TEST_P(ActivePlayback, WriteDoneIsSentOnce) {
    if (kind == Playing::Sink) giveRing();  // a track needs none
    EXPECT_EQ(stream->writeDone(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(WRITE_DONE), 1U);
    EXPECT_TRUE(streamLogged(DEBUG, "writeDone", "writeDone In\n"));
    EXPECT_TRUE(streamLogged(DEBUG, "writeDone", "writeDone Success, Out.\n"));
    EXPECT_EQ(stream->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(streamLogged(ERROR, "writeDone", "Currently in writDone[1], Out\n"));
    EXPECT_EQ(server.requests(WRITE_DONE).size(), 1U);
}

TEST_P(ActivePlayback, RefusesWritesBetweenWriteDoneAndStop) {
    giveRing();
    ASSERT_EQ(stream->writeDone(), AUDIO_NO_ERROR);
    EXPECT_EQ(write(4, true), AUDIO_INVALID_OPERATION);
    EXPECT_TRUE(
        streamLogged(ERROR, "write", "Can not write,writeDone has been called [mIsWriteDone=1]\n"));
    server.notify(finished(), 0);
    settle();
    EXPECT_TRUE(streamLoggedLike(INFO, "play finish.*\n"));
    EXPECT_EQ(write(4, true), AUDIO_INVALID_OPERATION) << "the finish changes no state";
    ASSERT_EQ(stream->stop(), AUDIO_NO_ERROR);
    start();
    EXPECT_EQ(write(4, true), 4);
}

TEST_P(ActivePlayback, TakesWritesAfterARefusedWriteDone) {
    giveRing();
    server.on(WRITE_DONE, Answer::status(-79));
    EXPECT_EQ(stream->writeDone(), -79);
    EXPECT_TRUE(streamLogged(ERROR, "writeDone RPC failed status[-79], Out\n"));
    EXPECT_EQ(write(4, true), 4);
}

TEST_P(ActivePlayback, RefusesEveryOperationOnceTheServerHasRemovedIt) {
    server.notify(REMOVED, 0);
    settle();
    EXPECT_TRUE(streamLogged(DEBUG, "server track has be deleted, disconnect.\n"));
    const std::size_t before = server.functions().size();
    EXPECT_EQ(stream->start(), AUDIO_INVALID_STATE);
    EXPECT_EQ(stream->stop(), AUDIO_INVALID_STATE);
    EXPECT_EQ(stream->clear(), AUDIO_INVALID_STATE);
    EXPECT_EQ(stream->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_EQ(initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(write(4, true), AUDIO_INVALID_STATE);
    EXPECT_TRUE(streamLogged(ERROR, "write", "Current mState[2] [not ACTIVE]\n"));
    EXPECT_EQ(server.functions().size(), before);
}

}  // namespace
}  // namespace cabinaudio::test
