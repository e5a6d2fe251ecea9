// SPDX-License-Identifier: Apache-2.0
// A record's volume of 0, and a ring that has nothing yet.
#include "tests/client/RecordFixture.h"

namespace cabinaudio::test {
namespace {

class RecordsVolumeOfZero : public ACaptureStream {
protected:
    RecordsVolumeOfZero() { makeRawMic(); }
};

TEST_F(RecordsVolumeOfZero, IsRememberedOnceItWasSet) {
    ASSERT_EQ(record->setVolume(0), AUDIO_NO_ERROR);
    EXPECT_EQ(record->getVolume(), 0);
    EXPECT_EQ(record->setVolume(0), AUDIO_NO_ERROR);
    EXPECT_EQ(log.count(DEBUG, "ClientRecord", "getVolume", "[rec]use local volume(0).\n"), 1U)
        << log.dump();
    EXPECT_EQ(server.functions(), (std::vector<std::uint32_t>{CREATE, SET_VOLUME}));
}

TEST_F(RecordsVolumeOfZero, IsRememberedOnceTheServerHasToldIt) {
    server.on(GET_VOLUME, Answer::words(0, 0));
    EXPECT_EQ(record->getVolume(), 0);
    EXPECT_EQ(record->getVolume(), 0);
    EXPECT_EQ(server.requests(GET_VOLUME).size(), 1U);
}

class NewUplinksRing : public ACaptureStream {
protected:
    NewUplinksRing() {
        makeUplink();
        start();
        giveRing();
    }
    [[nodiscard]] std::size_t live() const {
        return log.countMatching(INFO, "\\[rec\\]start read from shm.*\n");
    }
};

TEST_F(NewUplinksRing, IsNotLiveBeforeItHoldsAWholeRequest) {
    const Bytes some(100, 0x77);
    ASSERT_EQ(serverRing->write(some.data(), 100), 100);
    (void)read(200, false);  // silence, as much as is due
    EXPECT_EQ(serverRing->getUsedSize(), 100U) << "the ring's data is taken too early";
    EXPECT_EQ(live(), 0U) << log.dump();
    ASSERT_EQ(serverRing->write(some.data(), 100), 100);
    EXPECT_EQ(read(200, false), 200);
    EXPECT_EQ(heard(200), Bytes(200, 0x77));
    EXPECT_EQ(live(), 1U) << log.dump();
}

TEST_F(NewUplinksRing, IsNotLiveBecauseTheOneBeforeWas) {
    const Bytes some(200, 0x77);
    ASSERT_EQ(serverRing->write(some.data(), 200), 200);
    ASSERT_EQ(read(200, false), 200);
    ASSERT_EQ(live(), 1U);
    giveRing(8192);
    ASSERT_EQ(serverRing->write(some.data(), 100), 100);
    (void)read(200, false);
    EXPECT_EQ(serverRing->getUsedSize(), 100U);
    EXPECT_EQ(live(), 1U) << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
