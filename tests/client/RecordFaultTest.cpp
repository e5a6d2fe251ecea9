// SPDX-License-Identifier: Apache-2.0
#include "tests/client/Faults.h"
#include "tests/client/RecordFixture.h"

#include <algorithm>

namespace cabinaudio::test {
namespace {

class ACaptureWithAFaultBelow : public ACapture {
protected:
    [[nodiscard]] std::unique_ptr<AudioRecord> create() {
        AudioFormatDesc format = speech();
        if (kind == Kind::RAW_MIC)
            return std::make_unique<ClientRecord>("rec", AUDIO_TAG_INPUT0, format, 0);
        return std::make_unique<ClientRecordRt>("rec", AUDIO_TAG_UPLINK, format);
    }

    Faults faults;
};

INSTANTIATE_TEST_SUITE_P(ForBoth, ACaptureWithAFaultBelow,
                         ::testing::Values(Kind::RAW_MIC, Kind::UPLINK), nameOf);

TEST_P(ACaptureWithAFaultBelow, StaysUnusableWithoutBlocksForItsCreateRequest) {
    faults.refuseBlocks(true);
    const auto lost = create();
    EXPECT_TRUE(server.requests(CREATE).empty());
    EXPECT_EQ(log.countMatching(ERROR, ".*\n"), 0U) << "without a word" << log.dump();
    EXPECT_EQ(lost->initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(lost->getPerLoopSize(), 0);
}

TEST_P(ACaptureWithAFaultBelow, IsCreatedAllTheSameWhenItsBlocksCannotBeGivenBack) {
    faults.failFreeing(true);
    make();
    EXPECT_EQ(record->clear(), AUDIO_NO_ERROR);
    EXPECT_GE(record->getPerLoopSize(), 512);
    EXPECT_EQ(log.count(DEBUG, file(), "init",
                        text("AUDIO IGNORE(mRc->rcfree(param, ret) == AUDIO_NO_ERROR)!\n",
                             "AUDIO IGNORE(mRc->rcfree(initPrm, ret) == AUDIO_NO_ERROR)!\n")),
              1U)
        << log.dump();
}

TEST_P(ACaptureWithAFaultBelow, SaysThatItsBlocksCannotBeGivenBackAfterARefusal) {
    faults.failFreeing(true);
    server.on(CREATE, Answer::words(-3000, 0, 0, 0, 0, 0, 0));
    const auto refused = create();
    EXPECT_EQ(log.countMatching(DEBUG, text("AUDIO IGNORE\\(mRc->rcfree\\(param, ret\\) == "
                                            "AUDIO_NO_ERROR\\)!\n",
                                            "AUDIO IGNORE\\(mRc->rcfree\\(initPrm, ret\\) == "
                                            "AUDIO_NO_ERROR\\)!\n")),
              1U)
        << log.dump();
    EXPECT_EQ(refused->initCheck(), AUDIO_INVALID_STATE);
}

TEST_P(ACaptureWithAFaultBelow, HandsOnThatThereAreNoBlocks) {
    make();
    faults.refuseBlocks(true);
    EXPECT_EQ(record->initCheck(), AUDIO_NO_MEMORY);
    EXPECT_EQ(record->start(), AUDIO_NO_MEMORY);
    faults.refuseBlocks(false);
    start();
    faults.refuseBlocks(true);
    EXPECT_EQ(record->stop(), AUDIO_NO_MEMORY);
}

class ARecordWithAFaultBelow : public ACaptureStream {
protected:
    Faults faults;
};

TEST_F(ARecordWithAFaultBelow, EndsAReadOfARingThatGivesNothing) {
    makeRawMic();
    start();
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    faults.giveNothing(true);
    EXPECT_EQ(read(10, true), 0);
    EXPECT_EQ(log.count(ERROR, "[rec] read from shm return:0\n"), 1U) << log.dump();
    faults.giveNothing(false);
    EXPECT_EQ(read(10, true), 10);
}

TEST_F(ARecordWithAFaultBelow, DoesNotKnowItsVolumeWithoutBlocks) {
    makeRawMic();
    faults.refuseBlocks(true);
    EXPECT_EQ(record->getVolume(), -1);
    EXPECT_EQ(record->setVolume(5), AUDIO_NO_MEMORY);
    EXPECT_EQ(log.count(ERROR, "[rec]get volume form server failed.\n"), 1U) << log.dump();
    EXPECT_EQ(log.count(ERROR, "[rec]set volume(-1->5) failed\n"), 1U) << log.dump();
}

class AnUplinkWithAFaultBelow : public ACaptureStream {
protected:
    Faults faults;
};

TEST_F(AnUplinkWithAFaultBelow, HasNoBlocksToAskForItsRing) {
    makeUplink();
    faults.refuseBlocks(true);
    server.notify(RING_STATE, 1);
    settle();
    EXPECT_EQ(record->getTotalBufferSize(), 0);
    EXPECT_EQ(log.countMatching(ERROR, "\\[rec\\] remote call return error\\(.*\n"), 1U)
        << log.dump();
    faults.refuseBlocks(false);
    giveRing();
}

TEST_F(AnUplinkWithAFaultBelow, TakesNothingForALengthThatTheRingDidNotGive) {
    AudioFormatDesc opus = speech();
    opus.codecType = 32;
    makeUplink(512, opus);
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

TEST_F(AnUplinkWithAFaultBelow, HasItsRingAllTheSameWhenTheBlocksCannotBeGivenBack) {
    makeUplink();
    faults.failFreeing(true);
    giveRing();
    EXPECT_EQ(log.count(DEBUG, "ClientRecordRt", "initShareMem",
                        "AUDIO IGNORE(0 == mRc->rcfree(param, ret))!\n"),
              1U)
        << log.dump();
    server.on(GET_RING, Answer::words(-1, 0, 0));
    server.notify(RING_STATE, 1);
    settle();
    EXPECT_EQ(log.count(DEBUG, "ClientRecordRt", "initShareMem",
                        "AUDIO IGNORE(AUDIO_NO_ERROR == mRc->rcfree(param, ret))!\n"),
              1U)
        << log.dump();
}

TEST_F(AnUplinkWithAFaultBelow, TakesARingThatGivesNothingForOneWithoutAFrame) {
    makeUplink(512, speech(16));
    start();
    giveRing();
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    faults.giveNothing(true);
    EXPECT_EQ(read(10, true), 0);
    EXPECT_EQ(log.countMatching(DEBUG, "AUDIO IGNORE\\(0==mShareMemory->read.*\n"), 0U)
        << log.dump();
    faults.giveNothing(false);
    EXPECT_EQ(serverRing->getUsedSize(), 100U);
}

TEST_F(AnUplinkWithAFaultBelow, ReadsNothingOutOfARingThatGivesNothing) {
    makeUplink();
    start();
    giveRing();
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    faults.giveNothing(true);
    EXPECT_EQ(read(10, true), 0);
}

}  // namespace
}  // namespace cabinaudio::test
