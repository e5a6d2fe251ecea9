// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientVersionSetting.h>

#include "tests/client/Faults.h"
#include "tests/client/TrackFixture.h"

namespace cabinaudio::test {
namespace {

class ATrackWithAFaultBelow : public ATrack {
protected:
    Faults faults;
};

TEST_F(ATrackWithAFaultBelow, LogsARingThatTookNothingAndCountsTheBytesAsWritten) {
    makeAlternative();
    start();
    faults.takeNothing(true);
    EXPECT_EQ(write(10, true), 10);
    EXPECT_EQ(log.count(DEBUG, "ClientTrack", "writeOnce",
                        "AUDIO IGNORE(mShareMemory->write(buffer, len))!\n"),
              1U)
        << log.dump();
}

TEST_F(ATrackWithAFaultBelow, StaysUnusableWithoutBlocksForItsCreateRequest) {
    acceptStreams(4096, 1024);
    faults.refuseBlocks(true);
    AudioFormatDesc format = cdFormat();
    ClientTrack lost("trk", AUDIO_TAG_ALTERNATIVE, format, 0);
    EXPECT_EQ(
        log.count(ERROR, "ClientTrack", "init", "[trk]mRc->rcalloc return failed, ret:-1990\n"), 1U)
        << log.dump();
    EXPECT_EQ(lost.initCheck(), AUDIO_INVALID_STATE);
}

TEST_F(ATrackWithAFaultBelow, HasNoBlocksForAKeyShift) {
    makeAuxiliary();
    faults.refuseBlocks(true);
    EXPECT_EQ(track->setKeyShift(1.0F), AUDIO_NO_MEMORY);
    EXPECT_TRUE(server.requests(KEY_SHIFT).empty());
}

TEST_F(ATrackWithAFaultBelow, IsCreatedAllTheSameWhenItsBlocksCannotBeGivenBack) {
    faults.failFreeing(true);
    makeAlternative();
    EXPECT_EQ(log.count(DEBUG, "ClientTrack", "init",
                        "AUDIO IGNORE(AUDIO_NO_ERROR==mRc->rcfree(param, ret))!\n"),
              1U)
        << log.dump();
    EXPECT_EQ(track->clear(), AUDIO_NO_ERROR);
}

TEST_F(ATrackWithAFaultBelow, SpellsTheSameFailureDifferentlyAfterARefusal) {
    faults.failFreeing(true);
    server.on(CREATE, Answer::words(-3000, 0, 0, 0, 0, 0, 0));
    AudioFormatDesc format = cdFormat();
    const ClientTrack refused("trk", AUDIO_TAG_ALTERNATIVE, format, 0);
    EXPECT_EQ(log.count(DEBUG, "ClientTrack", "init",
                        "AUDIO IGNORE(AUDIO_NO_ERROR == mRc->rcfree(param, ret))!\n"),
              1U)
        << log.dump();
}

TEST_F(ATrackWithAFaultBelow, KeepsTheResultOfAKeyShiftWhoseBlocksCannotBeGivenBack) {
    makeAuxiliary();
    faults.failFreeing(true);
    server.on(KEY_SHIFT, Answer::status(-81));
    EXPECT_EQ(track->setKeyShift(1.0F), -81);
    EXPECT_EQ(log.count(ERROR, "ClientTrack", "setKeyShift", "rcfree error.\n"), 1U) << log.dump();
}

TEST_F(ATrackWithAFaultBelow, ShowsWhatAVersionQueryDoesWithoutBlocks) {
    ClientVersionSetting query;
    faults.refuseBlocks(true);
    log.clear();
    int numbers[7] = {-1, -1, -1, -1, -1, -1, -1};
    EXPECT_EQ(query.getServerVersions(numbers, numbers + 3, numbers + 6), AUDIO_NO_MEMORY);
    for (const int number : numbers)
        EXPECT_EQ(number, -1);
    EXPECT_TRUE(log.lines().empty()) << log.dump();
    faults.refuseBlocks(false);
    faults.failFreeing(true);
    server.on(132, 0, Answer::words(0, 1, 2, 3, 4, 5, 6, 7));
    EXPECT_EQ(query.getServerVersions(numbers, numbers + 3, numbers + 6), 0);
    EXPECT_EQ(log.count(ERROR, "ClientVersionSetting", "getServerVersions", "rcfree error.\n"), 1U)
        << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
