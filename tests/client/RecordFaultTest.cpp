// SPDX-License-Identifier: Apache-2.0
#include "tests/client/Faults.h"
#include "tests/client/RecordFixture.h"

#include <algorithm>

namespace cabinaudio::test {
namespace {

class FaultyCapture : public EachCapture {
protected:
    Faults faults;
};

INSTANTIATE_TEST_SUITE_P(Stream, FaultyCapture, CAPTURES, captureName);

TEST_P(FaultyCapture, IsUnusableWithoutBlocksForItsCreateRequest) {
    faults.refuse(true);
    const auto lost = create();
    EXPECT_TRUE(server.requests(CREATE).empty());
    EXPECT_TRUE(loggedLike(ERROR, ".*\n", ABSENT)) << "without a word";
    EXPECT_EQ(lost->initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(lost->getPerLoopSize(), 0);
}

TEST_P(FaultyCapture, IsUsableWhenTheBlocksOfItsCreateRequestCannotBeFreed) {
    faults.failFreeing(true);
    make();
    EXPECT_EQ(record->clear(), AUDIO_NO_ERROR);
    EXPECT_GE(record->getPerLoopSize(), 512);
    EXPECT_TRUE(logged(DEBUG, file(), "init",
                       text("AUDIO IGNORE(mRc->rcfree(param, ret) == AUDIO_NO_ERROR)!\n",
                            "AUDIO IGNORE(mRc->rcfree(initPrm, ret) == AUDIO_NO_ERROR)!\n")));
}

TEST_P(FaultyCapture, LogsThatTheBlocksOfARefusedRequestCannotBeFreed) {
    faults.failFreeing(true);
    server.on(CREATE, Answer::words(-3000, 0, 0, 0, 0, 0, 0));
    const auto refused = create();
    EXPECT_TRUE(loggedLike(DEBUG, text("AUDIO IGNORE\\(mRc->rcfree\\(param, ret\\) == "
                                       "AUDIO_NO_ERROR\\)!\n",
                                       "AUDIO IGNORE\\(mRc->rcfree\\(initPrm, ret\\) == "
                                       "AUDIO_NO_ERROR\\)!\n")));
    EXPECT_EQ(refused->initCheck(), AUDIO_INVALID_STATE);
}

TEST_P(FaultyCapture, ReturnsNoMemoryWithoutBlocks) {
    make();
    faults.refuse(true);
    EXPECT_EQ(record->initCheck(), AUDIO_NO_MEMORY);
    EXPECT_EQ(record->start(), AUDIO_NO_MEMORY);
    faults.refuse(false);
    start();
    faults.refuse(true);
    EXPECT_EQ(record->stop(), AUDIO_NO_MEMORY);
}

class FaultyRecord : public RecordFixture {
protected:
    Faults faults;
};

TEST_F(FaultyRecord, ReadEndsWhenTheRingGivesNothing) {
    makeRawMic();
    start();
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    faults.giveNothing(true);
    EXPECT_EQ(read(10, true), 0);
    EXPECT_TRUE(logged(ERROR, "[rec] read from shm return:0\n"));
    faults.giveNothing(false);
    EXPECT_EQ(read(10, true), 10);
}

TEST_F(FaultyRecord, VolumeIsUnknownWithoutBlocks) {
    makeRawMic();
    faults.refuse(true);
    EXPECT_EQ(record->getVolume(), -1);
    EXPECT_EQ(record->setVolume(5), AUDIO_NO_MEMORY);
    EXPECT_TRUE(logged(ERROR, "[rec]get volume form server failed.\n"));
    EXPECT_TRUE(logged(ERROR, "[rec]set volume(-1->5) failed\n"));
}

class FaultyUplink : public RecordFixture {
protected:
    Faults faults;
};

TEST_F(FaultyUplink, HasNoRingWithoutBlocksForTheRequest) {
    makeUplink();
    faults.refuse(true);
    server.notify(RING_STATE, 1);
    settle();
    EXPECT_EQ(record->getTotalBufferSize(), 0);
    EXPECT_TRUE(loggedLike(ERROR, "\\[rec\\] remote call return error\\(.*\n"));
    faults.refuse(false);
    giveRing();
}

TEST_F(FaultyUplink, ReadGivesSilenceWhenTheRingGivesNoHeader) {
    makeUplink(512, speech(32));
    start();
    giveRing();
    ASSERT_TRUE(put(*serverRing, {0, 0, 0, 1, 1, 2, 3, 4, 0xaa, 0}));
    (void)read(10, false);
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    const Bytes stale = {0, 0, 0, 10, 0, 0, 0, 0};
    std::copy(stale.begin(), stale.end(), data.begin());
    faults.giveNothing(true);
    EXPECT_EQ(read(64, false), 11) << "a packet of silence" << log.dump();
}

TEST_F(FaultyUplink, HasItsRingWhenTheBlocksOfTheRequestCannotBeFreed) {
    makeUplink();
    faults.failFreeing(true);
    giveRing();
    EXPECT_TRUE(logged(DEBUG, "ClientRecordRt", "initShareMem",
                       "AUDIO IGNORE(0 == mRc->rcfree(param, ret))!\n"));
    server.on(GET_RING, Answer::words(-1, 0, 0));
    server.notify(RING_STATE, 1);
    settle();
    EXPECT_TRUE(logged(DEBUG, "ClientRecordRt", "initShareMem",
                       "AUDIO IGNORE(AUDIO_NO_ERROR == mRc->rcfree(param, ret))!\n"));
}

TEST_F(FaultyUplink, ReadFindsNoFrameInARingThatGivesNothing) {
    makeUplink(512, speech(16));
    start();
    giveRing();
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    faults.giveNothing(true);
    EXPECT_EQ(read(10, true), 0);
    EXPECT_TRUE(loggedLike(DEBUG, "AUDIO IGNORE\\(0==mShareMemory->read.*\n", ABSENT));
    faults.giveNothing(false);
    EXPECT_EQ(serverRing->getUsedSize(), 100U);
}

TEST_F(FaultyUplink, ReadReturnsNothingWhenTheRingGivesNothing) {
    makeUplink();
    start();
    giveRing();
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    faults.giveNothing(true);
    EXPECT_EQ(read(10, true), 0);
}

}  // namespace
}  // namespace cabinaudio::test
