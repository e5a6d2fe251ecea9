// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/client/PlaybackFixture.h"
#include "tests/support/ProcessState.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <thread>

namespace cabinaudio::test {
namespace {

/// Writes into a ring.
class PlaybackWrite : public EachPlayback {
protected:
    /// A write into a full ring ends with the status of a wrong state when `end` is done, and logs
    /// this line.
    void expectInvalidState(const std::function<void()>& end, const char* line) {
        makePlaying();
        fillRing();
        std::future<int> writer = blockedWrite(10);
        end();
        EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE);
        EXPECT_TRUE(streamLogged(ERROR, line));
    }
};

INSTANTIATE_TEST_SUITE_P(Stream, PlaybackWrite, PLAYBACKS, playingName);

TEST_P(PlaybackWrite, RefusesNoBufferAndNoBytes) {
    makePlaying();
    EXPECT_EQ(stream->write(nullptr, 4, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(write(0, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(write(-5, false), AUDIO_BAD_VALUE);
    // A track's lines end without a line feed.
    EXPECT_TRUE(streamLogged(ERROR, "write", text("buffer is NULL", "buffer is NULL\n")));
    EXPECT_TRUE(streamLogged(ERROR, "write", text("bytes[0]<=0", "len[0]<=0\n")));
    EXPECT_TRUE(streamLogged(ERROR, "write", text("bytes[-5]<=0", "len[-5]<=0\n")));
}

TEST_P(PlaybackWrite, IsRefusedBeforeTheStart) {
    makeWithRing();
    EXPECT_EQ(write(4, true), AUDIO_INVALID_STATE);
    EXPECT_TRUE(streamLogged(ERROR, "write", "Current mState[1] [not ACTIVE]\n"));
}

TEST_P(PlaybackWrite, BytesArriveAtTheServersEnd) {
    makePlaying();
    const Bytes sent = pattern(300);
    std::copy(sent.begin(), sent.end(), data.begin());
    EXPECT_EQ(write(300, true), 300);
    Bytes heard(300);
    ASSERT_EQ(serverRing->read(heard.data(), 300), 300);
    EXPECT_EQ(heard, sent);
}

TEST_P(PlaybackWrite, TakesAsMuchAsFitsWithoutBlocking) {
    makePlaying(1000, 250);
    ASSERT_EQ(write(899, false), 899);
    EXPECT_EQ(write(400, false), 100);
    EXPECT_TRUE(
        streamLogged(WARN, " no enough space to write len[400], actually write[100] [unblock]\n"));
    EXPECT_EQ(write(400, false), 0);
    EXPECT_TRUE(
        streamLogged(WARN, " no enough space to write len[400], actually write[0] [unblock]\n"));
    if (kind == Playing::Sink) {
        EXPECT_EQ(writtenInAll(), 999);
    }
}

TEST_P(PlaybackWrite, ContinuesWhenTheServerHasRead) {
    makePlaying();
    fillRing();
    std::future<int> writer = blockedWrite(3000);
    EXPECT_TRUE(serverRing->getWait());
    Bytes heard(4096);
    std::size_t total = 0;
    while (total < 4095 + 3000)
        total += static_cast<std::size_t>(serverRing->read(heard.data(), 512));
    EXPECT_EQ(writer.get(), 3000) << log.dump();
    EXPECT_FALSE(serverRing->getWait());
    if (kind == Playing::Sink) {
        EXPECT_EQ(writtenInAll(), 4095 + 3000);
    }
}

TEST_P(PlaybackWrite, ContinuesWhenTheServerMovesItsOffset) {
    makePlaying();
    fillRing();
    std::future<int> writer = blockedWrite(1000);
    audio_buffer_provider_t view{};
    serverRing->getNextBuffer(view);
    serverRing->updateReadOffset(serverRing->getReadOffset() + 2048);
    EXPECT_EQ(writer.get(), 1000) << log.dump();
}

TEST_P(PlaybackWrite, WaitsForTheSpaceOfOneStepOnly) {
    makePlaying();
    fillRing();
    std::future<int> writer = blockedWrite(4000);
    // One step is enough to continue, three bytes less are not.
    serverRing->updateReadOffset(1021);
    serverRing->updateReadOffset(1024);
    EXPECT_TRUE(eventually([&] { return serverRing->getWriteOffset() == 1023; })) << log.dump();
    ASSERT_EQ(stream->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE);
}

TEST_P(PlaybackWrite, FillsTheLastFreeByteBeforeItWaits) {
    makePlaying();
    ASSERT_EQ(write(stream->bytesFree() - 1, false), static_cast<int>(ringSize) - 2);
    ASSERT_EQ(stream->bytesFree(), 1);
    std::future<int> writer = blockedWrite(2);
    EXPECT_EQ(stream->bytesFree(), 0);
    Bytes played(100);
    ASSERT_EQ(serverRing->read(played.data(), 100), 100);
    EXPECT_EQ(writer.get(), 2);
}

/// A machine that stands still for longer than one wait ends the wait, as it may: another attempt
/// follows.
TEST_P(PlaybackWrite, WaitsAnewWheneverItIsWokenWithoutSpace) {
    int result = 0;
    for (int attempt = 0; attempt < 5 && result != 100; ++attempt) {
        makePlaying();
        fillRing();
        std::future<int> writer = blockedWrite(100);
        const Stopwatch watch;
        while (watch.ms() < 700) {  // one wait is 600 ms long
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            serverRing->updateReadOffset(serverRing->getReadOffset());
        }
        Bytes played(200);
        (void)serverRing->read(played.data(), 200);
        result = writer.get();
    }
    EXPECT_EQ(result, 100) << log.dump();
}

TEST_P(PlaybackWrite, TimesOutAfterSixHundredMillisecondsWithoutSpace) {
    makePlaying();
    fillRing();
    const Stopwatch watch;
    EXPECT_EQ(write(10, true), AUDIO_TIMED_OUT);
    EXPECT_GE(watch.ms(), 600);
    EXPECT_TRUE(serverRing->getWait()) << "the flag is left as it was";
    EXPECT_TRUE(streamLoggedLike(WARN, "wait free space timeout [0-9]+\n"));
    EXPECT_EQ(write(10, false), 0) << "no write is blocked any more";
    EXPECT_EQ(thrownAwayInAll(), 0);
}

TEST_P(PlaybackWrite, KeepsTheQueuedBytesWhenItTimesOut) {
    makePlaying();
    EXPECT_EQ(write(5000, true), AUDIO_TIMED_OUT);
    EXPECT_EQ(serverRing->getUsedSize(), 4095U);
}

TEST_P(PlaybackWrite, IsRefusedWhileAnotherWaits) {
    makePlaying();
    fillRing();
    std::future<int> writer = blockedWrite(10);
    EXPECT_TRUE(
        streamLogged(ERROR, "write", "Can not write,the last write did not exit [mIsBlocked=1]\n"));
    ASSERT_EQ(stream->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE);
}

TEST_P(PlaybackWrite, ReturnsInvalidStateWhenTheStreamIsStopped) {
    expectInvalidState([&] { ASSERT_EQ(stream->stop(), AUDIO_NO_ERROR); },
                       "after waiting ,status:IDLE, may have stop\n");
    EXPECT_TRUE(serverRing->getWait()) << "the flag is left as it was";
}

TEST_P(PlaybackWrite, ReturnsInvalidStateWhenTheServerRemovesTheStream) {
    expectInvalidState([&] { server.notify(REMOVED, 0); },
                       "after waiting ,status:STOPPING,server may have crash\n");
}

TEST_P(PlaybackWrite, ReturnsInvalidStateWhenTheServerGoesAway) {
    expectInvalidState([&] { server.stop(); },
                       "after waiting ,status:STOPPING,server may have crash\n");
}

TEST_P(PlaybackWrite, TakesAllBytesWhenTheServerGivesNoStep) {
    for (const int step : {0, -1}) {
        makePlaying(1000, step);
        fillRing();
        std::future<int> writer = blockedWrite(3);
        serverRing->updateReadOffset(3);
        EXPECT_EQ(writer.get(), 3) << log.dump();
        stream.reset();
    }
}

TEST_P(PlaybackWrite, WarnsOfASlowWakeUp) {
    makePlaying();
    fillRing();
    std::future<int> writer = blockedWrite(10);
    // Reading posts but stamps no time: the last stamp is the fill's, by now at least 3 ms old.
    const std::uint64_t stamp = serverRing->getUpdateTime();
    ASSERT_TRUE(eventually([&] { return AudioTime::now() / 1000 >= stamp + 3; }));
    Bytes heard(2000);
    serverRing->read(heard.data(), 2000);
    EXPECT_EQ(writer.get(), 10);
    EXPECT_TRUE(log.waitForMatching(
        WARN, "\\[" + name() + "\\] update share memory IPC interVal:[0-9]+ ms > 1 ms\n"))
        << log.dump();
}

TEST_P(PlaybackWrite, FindsNoSpaceInARingWithAnImpossibleHeader) {
    makePlaying();
    serverRing->updateReadOffset(0xffffffffU);
    EXPECT_EQ(stream->bytesFree(), 0);
    EXPECT_EQ(write(10, false), 0);
}

/// Writes to an active stream whose ring was not announced.
class WriteWithoutARing : public EachPlayback {
protected:
    WriteWithoutARing() {
        makeIdle();
        start();
    }

    /// A waiting write takes nothing when `end` is done, and logs this line.
    void expectNothingTaken(const std::function<void()>& end, const char* line) {
        std::future<int> writer = blockedWrite(100);
        end();
        EXPECT_EQ(writer.get(), kind == Playing::Track ? AUDIO_TIMED_OUT : 0);
        EXPECT_TRUE(streamLogged(ERROR, line));
        EXPECT_EQ(thrownAwayInAll(), 0);
    }
};

INSTANTIATE_TEST_SUITE_P(Stream, WriteWithoutARing, PLAYBACKS, playingName);

TEST_P(WriteWithoutARing, ContinuesWhenTheRingArrives) {
    std::future<int> writer = blockedWrite(100);
    EXPECT_TRUE(streamLogged(WARN, "source is not ready mode[block]\n",
                             kind == Playing::Track ? ABSENT : 1));
    EXPECT_TRUE(
        streamLogged(ERROR, "write", "Can not write,the last write did not exit [mIsBlocked=1]\n"));
    giveRing();
    EXPECT_EQ(writer.get(), 100) << log.dump();
    EXPECT_EQ(serverRing->getUsedSize(), 100U);
}

TEST_P(WriteWithoutARing, TakesNothingWhenTheStreamIsStopped) {
    expectNothingTaken([&] { ASSERT_EQ(stream->stop(), AUDIO_NO_ERROR); },
                       "state[IDEL] invalid, expect[ACTIVE]\n");
}

TEST_P(WriteWithoutARing, TakesNothingWhenTheServerRemovesTheStream) {
    expectNothingTaken([&] { server.notify(REMOVED, 0); },
                       "state[STOPPING] invalid, expect[ACTIVE]\n");
}

TEST_P(WriteWithoutARing, TakesNothingWhenTheServerGoesAway) {
    expectNothingTaken([&] { server.stop(); }, "state[STOPPING] invalid, expect[ACTIVE]\n");
}

}  // namespace
}  // namespace cabinaudio::test
