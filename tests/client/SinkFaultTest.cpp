// SPDX-License-Identifier: Apache-2.0
#include "tests/client/Faults.h"
#include "tests/client/SinkFixture.h"

namespace cabinaudio::test {
namespace {

class ASinkWithAFaultBelow : public ASink {
protected:
    Faults faults;
};

TEST_F(ASinkWithAFaultBelow, StaysUnusableWithoutBlocksForItsCreateRequest) {
    faults.refuseBlocks(true);
    AudioFormatDesc format = cdFormat();
    ClientSink lost("snk", AUDIO_TAG_MAIN, format, 0);
    EXPECT_EQ(
        log.count(ERROR, "ClientSink", "init", "[snk]mRc->rcalloc return failed, ret:-1990\n"), 1U)
        << log.dump();
    EXPECT_EQ(lost.initCheck(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(server.requests(CREATE).empty());
}

TEST_F(ASinkWithAFaultBelow, IsCreatedAllTheSameWhenItsBlocksCannotBeGivenBack) {
    faults.failFreeing(true);
    make();
    EXPECT_EQ(log.count(DEBUG, "ClientSink", "init",
                        "AUDIO IGNORE(AUDIO_NO_ERROR==mRc->rcfree(param, ret))!\n"),
              1U)
        << log.dump();
    EXPECT_EQ(sink->clear(), AUDIO_NO_ERROR);
}

TEST_F(ASinkWithAFaultBelow, SpellsTheSameFailureDifferentlyAfterARefusal) {
    faults.failFreeing(true);
    server.on(CREATE, Answer::words(-3000, 0, 0, 0, 0, 0, 0));
    AudioFormatDesc format = cdFormat();
    const ClientSink refused("snk", AUDIO_TAG_MAIN, format, 0);
    EXPECT_EQ(log.count(DEBUG, "ClientSink", "init",
                        "AUDIO IGNORE(AUDIO_NO_ERROR == mRc->rcfree(param, ret))!\n"),
              1U)
        << log.dump();
}

TEST_F(ASinkWithAFaultBelow, HasNoBlocksToAskForItsRing) {
    makeActive();
    faults.refuseBlocks(true);
    server.notify(ACTIVATED, 0);
    settle();
    EXPECT_EQ(log.count(ERROR, "ClientSink", "initShareMemory",
                        "[snk]mRc->rcalloc return failed, ret:-1990, mState[NO_INIT]\n"),
              1U)
        << log.dump();
    EXPECT_EQ(sink->getTotalBufferSize(), 0);
    faults.refuseBlocks(false);
    activate();
    EXPECT_EQ(write(10, true), 10);
}

TEST_F(ASinkWithAFaultBelow, HasItsRingAllTheSameWhenTheBlocksCannotBeGivenBack) {
    makeActive();
    faults.failFreeing(true);
    activate();
    EXPECT_EQ(log.count(DEBUG, "ClientSink", "initShareMemory",
                        "AUDIO IGNORE(AUDIO_NO_ERROR == mRc->rcfree(param, ret))!\n"),
              1U)
        << log.dump();
}

TEST_F(ASinkWithAFaultBelow, LogsARingThatTookNothingAndCountsTheBytesAsWritten) {
    makeWithSource();
    faults.takeNothing(true);
    EXPECT_EQ(write(10, true), 10);
    EXPECT_EQ(write(10, false), 10);
    EXPECT_EQ(log.countMatching(DEBUG, "AUDIO IGNORE\\(mShareMemory->write\\(buffer, len\\)\\)!\n"),
              2U)
        << log.dump();
    EXPECT_EQ(writtenInAll(), 20);
}

}  // namespace
}  // namespace cabinaudio::test
