// SPDX-License-Identifier: Apache-2.0
//
// Failures of the layers below tracks and sinks.
#include <cabinaudio/client/ClientVersionSetting.h>

#include "tests/client/Faults.h"
#include "tests/client/SinkFixture.h"
#include "tests/client/TrackFixture.h"

namespace cabinaudio::test {
namespace {

class FaultyPlayback : public EachPlayback {
protected:
    Faults faults;
};

INSTANTIATE_TEST_SUITE_P(Stream, FaultyPlayback, PLAYBACKS, playingName);

TEST_P(FaultyPlayback, IsUnusableWithoutBlocksForItsCreateRequest) {
    acceptStreams();
    faults.refuse(true);
    stream = create(name(), ringsTag());
    EXPECT_TRUE(streamLogged(ERROR, "init", "mRc->rcalloc return failed, ret:-2992\n"));
    EXPECT_EQ(initCheck(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(server.requests(CREATE).empty());
}

TEST_P(FaultyPlayback, IsUsableWhenTheBlocksOfItsCreateRequestCannotBeFreed) {
    faults.failFreeing(true);
    acceptStreams();
    serverRing = posixRing(name().c_str(), ringSize);
    stream = create(name(), ringsTag());
    EXPECT_TRUE(
        logged(DEBUG, file(), "init", "AUDIO IGNORE(AUDIO_NO_ERROR==mRc->rcfree(param, ret))!\n"));
    EXPECT_EQ(stream->clear(), AUDIO_NO_ERROR);
}

TEST_P(FaultyPlayback, LogsAnotherSpellingWhenTheBlocksOfARefusedRequestCannotBeFreed) {
    faults.failFreeing(true);
    server.on(CREATE, Answer::words(-3000, 0, 0, 0, 0, 0, 0));
    const auto refused = create(name(), ringsTag());
    EXPECT_TRUE(logged(DEBUG, file(), "init",
                       "AUDIO IGNORE(AUDIO_NO_ERROR == mRc->rcfree(param, ret))!\n"));
}

TEST_P(FaultyPlayback, WriteReturnsItsLengthAndLogsARingThatTookNothing) {
    makePlaying();
    faults.takeNothing(true);
    EXPECT_EQ(write(10, true), 10);
    EXPECT_TRUE(logged(DEBUG, file(), text("writeOnce", "blockWrite"),
                       "AUDIO IGNORE(mShareMemory->write(buffer, len))!\n"));
    log.clear();
    EXPECT_EQ(write(10, false), 10);
    EXPECT_TRUE(logged(DEBUG, file(), text("writeOnce", "nonblockWrite"),
                       "AUDIO IGNORE(mShareMemory->write(buffer, len))!\n"));
    if (kind == Playing::Sink) {
        EXPECT_EQ(writtenInAll(), 20);
    }
}

class FaultyTrack : public TrackFixture {
protected:
    Faults faults;
};

TEST_F(FaultyTrack, RefusesAKeyShiftWithoutBlocks) {
    makeIdle();
    faults.refuse(true);
    EXPECT_EQ(track->setKeyShift(1.0F), AUDIO_NO_MEMORY);
    EXPECT_TRUE(server.requests(KEY_SHIFT).empty());
}

TEST_F(FaultyTrack, ReturnsTheStatusOfAKeyShiftWhoseBlocksCannotBeFreed) {
    makeIdle();
    faults.failFreeing(true);
    server.on(KEY_SHIFT, Answer::status(-81));
    EXPECT_EQ(track->setKeyShift(1.0F), -81);
    EXPECT_TRUE(logged(ERROR, "ClientTrack", "setKeyShift", "rcfree error.\n"));
}

class FaultyVersionQuery : public StreamFixture {
protected:
    Faults faults;
};

TEST_F(FaultyVersionQuery, LeavesItsNumbersAloneWithoutBlocksAndLogsAFailedFree) {
    ClientVersionSetting query;
    faults.refuse(true);
    log.clear();
    int numbers[7] = {-1, -1, -1, -1, -1, -1, -1};
    EXPECT_EQ(query.getServerVersions(numbers, numbers + 3, numbers + 6), AUDIO_NO_MEMORY);
    for (const int number : numbers)
        EXPECT_EQ(number, -1);
    EXPECT_TRUE(log.lines().empty()) << log.dump();
    faults.refuse(false);
    faults.failFreeing(true);
    server.on(132, 0, Answer::words(0, 1, 2, 3, 4, 5, 6, 7));
    EXPECT_EQ(query.getServerVersions(numbers, numbers + 3, numbers + 6), 0);
    EXPECT_TRUE(logged(ERROR, "ClientVersionSetting", "getServerVersions", "rcfree error.\n"));
}

class FaultySink : public SinkFixture {
protected:
    FaultySink() { makeActive(); }

    Faults faults;
};

TEST_F(FaultySink, HasNoRingWithoutBlocksForTheRequest) {
    faults.refuse(true);
    server.notify(ACTIVATED, 0);
    settle();
    EXPECT_TRUE(streamLogged(ERROR, "initShareMemory",
                             "mRc->rcalloc return failed, ret:-2992, mState[NO_INIT]\n"));
    EXPECT_EQ(sink->getTotalBufferSize(), 0);
    faults.refuse(false);
    activate();
    EXPECT_EQ(write(10, true), 10);
}

TEST_F(FaultySink, HasItsRingWhenTheBlocksOfTheRequestCannotBeFreed) {
    faults.failFreeing(true);
    activate();
    EXPECT_TRUE(logged(DEBUG, "ClientSink", "initShareMemory",
                       "AUDIO IGNORE(AUDIO_NO_ERROR == mRc->rcfree(param, ret))!\n"));
}

}  // namespace
}  // namespace cabinaudio::test
