// SPDX-License-Identifier: Apache-2.0
#include "tests/client/RecordFixture.h"

namespace cabinaudio::test {
namespace {

class RecordVolume : public RecordFixture {
protected:
    RecordVolume() { makeRawMic(); }
};

TEST_F(RecordVolume, IsSentOnceAndRemembered) {
    EXPECT_EQ(record->setVolume(40), AUDIO_NO_ERROR);
    const std::vector<Request> set = server.requests(SET_VOLUME);
    ASSERT_EQ(set.size(), 1U);
    EXPECT_EQ(set[0].header.cmd, FLAGGED);
    EXPECT_EQ(set[0].payload, bytesOf({8, 40}));
    EXPECT_TRUE(logged(DEBUG, "ClientRecord", "setVolume", "[rec]setVolume done\n"));

    EXPECT_EQ(record->getVolume(), 40);
    EXPECT_TRUE(logged(DEBUG, "ClientRecord", "getVolume", "[rec]use local volume(40).\n"));
    EXPECT_EQ(record->setVolume(40), AUDIO_NO_ERROR);
    EXPECT_TRUE(logged(DEBUG, "ClientRecord", "setVolume", "[rec]setVolume done(dont update)\n"));
    EXPECT_EQ(server.functions(), (std::vector<std::uint32_t>{CREATE, SET_VOLUME}));
}

TEST_F(RecordVolume, RangesFromZeroToAHundred) {
    EXPECT_EQ(record->setVolume(0), AUDIO_NO_ERROR);
    EXPECT_EQ(record->setVolume(100), AUDIO_NO_ERROR);
    EXPECT_EQ(record->setVolume(101), AUDIO_BAD_VALUE);
    EXPECT_EQ(record->setVolume(-1), AUDIO_BAD_VALUE);
    EXPECT_TRUE(logged(ERROR, "ClientRecord", "setVolume", "[rec]invalid input param\n", 2));
    EXPECT_EQ(server.requests(SET_VOLUME).size(), 2U);
    EXPECT_EQ(record->getVolume(), 100);
}

TEST_F(RecordVolume, IsKeptWhenTheServerRefusesAnother) {
    ASSERT_EQ(record->setVolume(30), AUDIO_NO_ERROR);
    server.on(SET_VOLUME, Answer::status(-55));
    EXPECT_EQ(record->setVolume(31), -55);
    EXPECT_TRUE(logged(ERROR, "ClientRecord", "setVolume", "[rec]set volume(30->31) failed\n"));
    EXPECT_EQ(record->getVolume(), 30);
}

TEST_F(RecordVolume, IsUnknownAtFirst) {
    server.on(SET_VOLUME, Answer::status(-55));
    EXPECT_EQ(record->setVolume(31), -55);
    EXPECT_TRUE(logged(ERROR, "[rec]set volume(-1->31) failed\n"));
}

TEST_F(RecordVolume, IsRequestedUntilTheServerReturnsIt) {
    server.on(GET_VOLUME, Answer::words(-5, 63));
    EXPECT_EQ(record->getVolume(), -1);
    EXPECT_TRUE(
        logged(ERROR, "ClientRecord", "getVolume", "[rec]get volume form server failed.\n"));
    server.on(GET_VOLUME, Answer::words(0, 63));
    EXPECT_EQ(record->getVolume(), 63);
    EXPECT_TRUE(logged(DEBUG, "ClientRecord", "getVolume", "[rec]getVolume done\n"));
    EXPECT_EQ(record->getVolume(), 63);
    EXPECT_EQ(server.requests(GET_VOLUME).size(), 2U);
    EXPECT_EQ(sent(GET_VOLUME, PLAIN), 2U);
}

TEST_F(RecordVolume, CanBeSetWhileTheRecordIsActive) {
    start();
    EXPECT_EQ(record->setVolume(7), AUDIO_NO_ERROR);
    EXPECT_EQ(record->getVolume(), 7);
}

TEST_F(RecordVolume, IsRefusedOnceTheServerHasRemovedTheRecord) {
    ASSERT_EQ(record->setVolume(20), AUDIO_NO_ERROR);
    removeByServer();
    EXPECT_EQ(record->setVolume(-1), AUDIO_BAD_VALUE) << "the range is checked first";
    EXPECT_EQ(record->setVolume(20), AUDIO_INVALID_STATE);
    EXPECT_EQ(record->getVolume(), 20) << "the last one known";
    EXPECT_TRUE(logged(ERROR, "ClientRecord", "setVolume", "[rec]state is not ACTIVE or IDLE\n"));
    EXPECT_TRUE(logged(ERROR, "ClientRecord", "getVolume", "[rec]state is not ACTIVE or IDLE\n"));
}

TEST_F(RecordVolume, OfZeroIsRememberedAfterASet) {
    ASSERT_EQ(record->setVolume(0), AUDIO_NO_ERROR);
    EXPECT_EQ(record->getVolume(), 0);
    EXPECT_EQ(record->setVolume(0), AUDIO_NO_ERROR);
    EXPECT_TRUE(logged(DEBUG, "ClientRecord", "getVolume", "[rec]use local volume(0).\n"));
    EXPECT_EQ(server.functions(), (std::vector<std::uint32_t>{CREATE, SET_VOLUME}));
}

TEST_F(RecordVolume, OfZeroIsRememberedAfterAGet) {
    server.on(GET_VOLUME, Answer::words(0, 0));
    EXPECT_EQ(record->getVolume(), 0);
    EXPECT_EQ(record->getVolume(), 0);
    EXPECT_EQ(server.requests(GET_VOLUME).size(), 1U);
}

TEST_F(RecordVolume, IsNotSupportedByAnUplink) {
    makeUplink();
    EXPECT_EQ(record->setVolume(1000), AUDIO_NO_ERROR);
    EXPECT_EQ(record->getVolume(), 0);
    EXPECT_TRUE(logged(WARN, "ClientRecordRt", "setVolume",
                       "[rec]not surpport, ignore op set volume:1000\n"));
    EXPECT_TRUE(logged(WARN, "ClientRecordRt", "getVolume", "[rec]not surpport, ignore op\n"));
    EXPECT_EQ(server.requests(SET_VOLUME).size() + server.requests(GET_VOLUME).size(), 0U);
}

}  // namespace
}  // namespace cabinaudio::test
