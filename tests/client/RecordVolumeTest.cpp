// SPDX-License-Identifier: Apache-2.0
#include "tests/client/RecordFixture.h"

namespace cabinaudio::test {
namespace {

class ARecordsVolume : public ACaptureStream {
protected:
    ARecordsVolume() { makeRawMic(); }
};

TEST_F(ARecordsVolume, IsSentOnceAndRememberedThen) {
    EXPECT_EQ(record->setVolume(40), AUDIO_NO_ERROR);
    const std::vector<Request> set = server.requests(SET_VOLUME);
    ASSERT_EQ(set.size(), 1U);
    EXPECT_EQ(set[0].header.cmd, FLAGGED);
    EXPECT_EQ(set[0].payload, bytesOf({8, 40}));
    EXPECT_EQ(log.count(DEBUG, "ClientRecord", "setVolume", "[rec]setVolume done\n"), 1U)
        << log.dump();

    EXPECT_EQ(record->getVolume(), 40);
    EXPECT_EQ(log.count(DEBUG, "ClientRecord", "getVolume", "[rec]use local volume(40).\n"), 1U);
    EXPECT_EQ(record->setVolume(40), AUDIO_NO_ERROR);
    EXPECT_EQ(log.count(DEBUG, "ClientRecord", "setVolume", "[rec]setVolume done(dont update)\n"),
              1U);
    EXPECT_EQ(server.functions(), (std::vector<std::uint32_t>{CREATE, SET_VOLUME}));
}

TEST_F(ARecordsVolume, GoesFromZeroToAHundred) {
    EXPECT_EQ(record->setVolume(0), AUDIO_NO_ERROR);
    EXPECT_EQ(record->setVolume(100), AUDIO_NO_ERROR);
    EXPECT_EQ(record->setVolume(101), AUDIO_BAD_VALUE);
    EXPECT_EQ(record->setVolume(-1), AUDIO_BAD_VALUE);
    EXPECT_EQ(log.count(ERROR, "ClientRecord", "setVolume", "[rec]invalid input param\n"), 2U)
        << log.dump();
    EXPECT_EQ(server.requests(SET_VOLUME).size(), 2U);
    EXPECT_EQ(record->getVolume(), 100);
}

TEST_F(ARecordsVolume, IsKeptWhenTheServerRefusesAnother) {
    ASSERT_EQ(record->setVolume(30), AUDIO_NO_ERROR);
    server.on(SET_VOLUME, Answer::status(-55));
    EXPECT_EQ(record->setVolume(31), -55);
    EXPECT_EQ(log.count(ERROR, "ClientRecord", "setVolume", "[rec]set volume(30->31) failed\n"), 1U)
        << log.dump();
    EXPECT_EQ(record->getVolume(), 30);
}

TEST_F(ARecordsVolume, IsNotKnownAtFirst) {
    server.on(SET_VOLUME, Answer::status(-55));
    EXPECT_EQ(record->setVolume(31), -55);
    EXPECT_EQ(log.count(ERROR, "[rec]set volume(-1->31) failed\n"), 1U) << log.dump();
}

TEST_F(ARecordsVolume, IsAskedForUntilTheServerTellsIt) {
    server.on(GET_VOLUME, Answer::words(-5, 63));
    EXPECT_EQ(record->getVolume(), -1);
    EXPECT_EQ(
        log.count(ERROR, "ClientRecord", "getVolume", "[rec]get volume form server failed.\n"), 1U)
        << log.dump();
    server.on(GET_VOLUME, Answer::words(0, 63));
    EXPECT_EQ(record->getVolume(), 63);
    EXPECT_EQ(log.count(DEBUG, "ClientRecord", "getVolume", "[rec]getVolume done\n"), 1U);
    EXPECT_EQ(record->getVolume(), 63);
    EXPECT_EQ(server.requests(GET_VOLUME).size(), 2U);
    EXPECT_EQ(sent(GET_VOLUME, PLAIN), 2U);
}

TEST_F(ARecordsVolume, CanBeSetWhileTheRecordIsActive) {
    start();
    EXPECT_EQ(record->setVolume(7), AUDIO_NO_ERROR);
    EXPECT_EQ(record->getVolume(), 7);
}

TEST_F(ARecordsVolume, IsOutOfReachOnceTheServerHasRemovedTheRecord) {
    ASSERT_EQ(record->setVolume(20), AUDIO_NO_ERROR);
    removeByServer();
    EXPECT_EQ(record->setVolume(-1), AUDIO_BAD_VALUE) << "the range is checked first";
    EXPECT_EQ(record->setVolume(20), AUDIO_INVALID_STATE);
    EXPECT_EQ(record->getVolume(), 20) << "the last one known";
    EXPECT_EQ(log.count(ERROR, "ClientRecord", "setVolume", "[rec]state is not ACTIVE or IDLE\n"),
              1U)
        << log.dump();
    EXPECT_EQ(log.count(ERROR, "ClientRecord", "getVolume", "[rec]state is not ACTIVE or IDLE\n"),
              1U);
}

TEST_F(ARecordsVolume, OfAnUplinkDoesNotExist) {
    makeUplink();
    EXPECT_EQ(record->setVolume(1000), AUDIO_NO_ERROR);
    EXPECT_EQ(record->getVolume(), 0);
    EXPECT_EQ(log.count(WARN, "ClientRecordRt", "setVolume",
                        "[rec]not surpport, ignore op set volume:1000\n"),
              1U)
        << log.dump();
    EXPECT_EQ(log.count(WARN, "ClientRecordRt", "getVolume", "[rec]not surpport, ignore op\n"), 1U);
    EXPECT_EQ(server.requests(SET_VOLUME).size() + server.requests(GET_VOLUME).size(), 0U);
}

}  // namespace
}  // namespace cabinaudio::test
