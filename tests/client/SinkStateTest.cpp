// SPDX-License-Identifier: Apache-2.0
#include "tests/client/SinkFixture.h"
#include "tests/client/SlowThreads.h"

namespace cabinaudio::test {
namespace {

using NewSink = SinkFixture;

TEST_F(NewSink, HasTheStepOfTheReplyAndNoRingWhateverItsTag) {
    for (const AudioTagType any : {AUDIO_TAG_MAIN, AUDIO_TAG_ALTERNATIVE, AUDIO_TAG_AUXILIARY,
                                   AUDIO_TAG_OUTPUT_INVOCATION, AUDIO_TAG_UNKNOWN}) {
        server.on(CREATE, Answer::words(0, 0, 4096, 500, 0, 0, 0));
        log.clear();
        const auto created = create("snk", any);
        EXPECT_EQ(created->getPerLoopSize(), 500) << any;
        EXPECT_EQ(created->getTotalBufferSize(), 0) << any;
        EXPECT_EQ(created->bytesFree(), 0) << any;
        EXPECT_EQ(created->clear(), AUDIO_NO_ERROR) << any;
        EXPECT_TRUE(loggedLike(INFO, ".*\n", ABSENT)) << any;
    }
}

using SinkInitCheck = SinkFixture;

TEST_F(SinkInitCheck, SendsNothing) {
    make();
    EXPECT_EQ(initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.functions(), std::vector<std::uint32_t>{CREATE});
    EXPECT_TRUE(loggedLike(INFO, "Create snk track\\[buffered\\] Done cast:[0-9]+ ms\n"));
    EXPECT_EQ(sink->start(), AUDIO_NO_ERROR);
}

TEST_F(SinkInitCheck, LogsRealtimeForACodedSinkOrOneWithAParameter) {
    AudioFormatDesc coded = cdFormat();
    coded.codecType = 64;
    make(1024, coded, 0);
    EXPECT_EQ(initCheck(), AUDIO_NO_ERROR);
    make(1024, cdFormat(), 1);
    EXPECT_EQ(initCheck(), AUDIO_NO_ERROR);
    EXPECT_TRUE(loggedLike(INFO, "Create snk track\\[realtime\\] Done cast:[0-9]+ ms\n", 2));
    make(1024, cdFormat(), -1);
    EXPECT_EQ(initCheck(), AUDIO_NO_ERROR);
    EXPECT_TRUE(loggedLike(INFO, "Create snk track\\[buffered\\] Done cast:[0-9]+ ms\n"));
}

/// A destructor waits for the lock of an operation under way, and then deletes the turn.
TEST_F(NewSink, UnlocksTheTurnBeforeTheLock) {
    make();
    LocksOfThisThread locks;
    EXPECT_EQ(sink->setCallback(nullptr), AUDIO_NO_ERROR);
    ASSERT_EQ(locks.locked.size(), 2U) << "turn and lock";
    EXPECT_EQ(locks.unlocked, locks.locked);
}

class ActiveSink : public SinkFixture {
protected:
    ActiveSink() { makeActive(); }
};

TEST_F(ActiveSink, StopLogsTheBytesWrittenSinceItsCreation) {
    activate(8192);
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(write(1000, true), 1000);
    EXPECT_EQ(sink->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(STOP, FLAGGED), 1U);
    EXPECT_TRUE(streamLogged(DEBUG, "stop", "stop Success, mTotalWritedLen:3000 Out\n"));
    start();
    ASSERT_EQ(write(500, false), 500);
    EXPECT_EQ(sink->stop(), AUDIO_NO_ERROR);
    EXPECT_TRUE(streamLogged(DEBUG, "stop Success, mTotalWritedLen:3500 Out\n"));
}

TEST_F(ActiveSink, RefusesWriteDoneWithoutASource) {
    EXPECT_EQ(sink->writeDone(), AUDIO_INVALID_STATE);
    const char* const line = "Source is cut away early,writeDone failed Out\n";
    EXPECT_TRUE(streamLogged(ERROR, "writeDone", line));
    activate();
    withdraw();
    EXPECT_EQ(sink->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(streamLogged(ERROR, line, 2));
    EXPECT_TRUE(server.requests(WRITE_DONE).empty());
}

TEST_F(ActiveSink, WriteDoneChecksTheEndThenTheStateThenTheSource) {
    activate();
    ASSERT_EQ(sink->writeDone(), AUDIO_NO_ERROR);
    withdraw();
    server.notify(REMOVED, 0);
    settle();
    EXPECT_EQ(sink->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(streamLogged(ERROR, "Currently in writDone[1], Out\n"));

    makeActive();
    server.notify(REMOVED, 0, newest());
    settle();
    EXPECT_EQ(sink->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(streamLogged(ERROR, "writeDone failed, state[2] Out\n"));
    EXPECT_TRUE(loggedLike(ERROR, ".*Source is cut away.*\n", ABSENT));
}

TEST_F(ActiveSink, IgnoresEveryKeyShift) {
    log.clear();
    EXPECT_EQ(sink->setKeyShift(5.0F), AUDIO_NO_ERROR);
    EXPECT_EQ(sink->setKeyShift(1.0F), AUDIO_NO_ERROR);
    EXPECT_TRUE(server.requests(KEY_SHIFT).empty());
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
