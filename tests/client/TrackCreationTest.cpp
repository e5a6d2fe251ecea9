// SPDX-License-Identifier: Apache-2.0
#include "tests/client/TrackFixture.h"

namespace cabinaudio::test {
namespace {

using NewTrack = TrackFixture;

TEST_F(NewTrack, HasStepAndRingOfTheReplyAndIsIdleWhenItIsAlternative) {
    makeWithRing(2000, 500);
    EXPECT_EQ(track->getPerLoopSize(), 500);
    EXPECT_EQ(track->getTotalBufferSize(), 2000);
    EXPECT_EQ(track->bytesFree(), 1999);
    EXPECT_EQ(serverRing->getUsedSize(), 0U);
    EXPECT_TRUE(
        streamLoggedLike(INFO, " mPerLoopSize\\[500\\] mState=\\[IDEL\\] \\[cast:[0-9]+ ms\\]\n"));
    EXPECT_EQ(track->clear(), AUDIO_NO_ERROR);
}

TEST_F(NewTrack, HasNoRingWhenItIsAuxiliary) {
    makeIdle();
    EXPECT_EQ(track->getTotalBufferSize(), 0);
    EXPECT_EQ(track->bytesFree(), 0);
}

TEST_F(NewTrack, RingWakesTheWriterAfterReads) {
    makeWithRing();
    serverRing->write(data.data(), 8);
    unsigned char out[8];
    serverRing->read(out, 8);  // posts, because the track asked for it
    start();
    fillRing();
    std::future<int> writer = blockedWrite(16);
    serverRing->read(out, 8);
    serverRing->read(out, 8);
    EXPECT_EQ(writer.get(), 16) << log.dump();
}

TEST_F(NewTrack, SendsKeyShiftsThoughTheServerRefusedTheStream) {
    server.on(CREATE, Answer::words(-3000, 0, 0, 0, 0, 0, 0));
    track = create("trk", AUDIO_TAG_AUXILIARY);
    EXPECT_EQ(track->setKeyShift(1.0F), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(KEY_SHIFT).size(), 1U);
}

TEST_F(NewTrack, HasAnInertRingWhenTheRingCannotBeMapped) {
    acceptStreams();
    track = create("no/such/place", AUDIO_TAG_ALTERNATIVE);
    EXPECT_EQ(track->getTotalBufferSize(), 0);
    EXPECT_EQ(track->bytesFree(), 0);
    ASSERT_EQ(track->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(write(4, false), 0);
    EXPECT_EQ(write(4, true), AUDIO_TIMED_OUT);
    EXPECT_TRUE(loggedLike(WARN, "\\[no/such/place\\]wait free space timeout [0-9]+\n"));
}

TEST_F(NewTrack, AsksForARingThatWasAnnouncedDuringItsRegistration) {
    acceptStreams();
    server.onRegistration(Answer::handle(100).bodyHeld().after(RING_READY, 0));
    auto made = std::async(std::launch::async, [&] { return create("trk", AUDIO_TAG_AUXILIARY); });
    ASSERT_TRUE(server.waitForClients(1));
    // Meanwhile the announcement is delivered, to a track that has no connection yet.
    EXPECT_EQ(made.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    server.release();
    track = made.get();
    EXPECT_TRUE(server.waitForRequest(GET_RING)) << log.dump();
}

TEST_F(NewTrack, IsAuxiliaryUnlessItsTagIsTheAlternative) {
    acceptStreams(4096, 1024);
    for (const AudioTagType any :
         {AUDIO_TAG_OUTPUT_INVOCATION, AUDIO_TAG_MAIN, AUDIO_TAG_UNKNOWN}) {
        log.clear();
        const std::size_t ends = server.requests(WRITE_DONE).size();
        const auto other = create("trk", any);
        EXPECT_EQ(other->getTotalBufferSize(), 0) << "a ring without an announcement, tag " << any;
        ASSERT_EQ(initCheck(*other), AUDIO_NO_ERROR);
        EXPECT_TRUE(loggedLike(INFO, "Create auxiliary track\\[trk\\] Done.*\n"));
        EXPECT_EQ(other->setKeyShift(1.0F), AUDIO_NO_ERROR);
        ASSERT_EQ(other->start(), AUDIO_NO_ERROR);
        EXPECT_EQ(other->writeDone(), AUDIO_NO_ERROR);
        EXPECT_EQ(server.requests(WRITE_DONE).size(), ends + 1);
    }
    EXPECT_EQ(server.requests(KEY_SHIFT).size(), 3U);
}

using TrackInitCheck = TrackFixture;

TEST_F(TrackInitCheck, AsksTheServerWithoutTheFlagAndKeepsTheTrackIdle) {
    makeWithRing();
    EXPECT_EQ(initCheck(), AUDIO_NO_ERROR);
    const std::vector<Request> asked = server.requests(INIT_CHECK);
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_EQ(asked[0].header.cmd, 195U);
    EXPECT_EQ(asked[0].payload, bytesOf({8}));
    EXPECT_TRUE(loggedLike(INFO, "Create alternative track\\[trk\\] Done cast:[0-9]+ ms\n"));
    EXPECT_EQ(track->clear(), AUDIO_NO_ERROR);
}

TEST_F(TrackInitCheck, LogsAuxiliaryForEveryOtherTrack) {
    makeIdle();
    EXPECT_EQ(initCheck(), AUDIO_NO_ERROR);
    EXPECT_TRUE(loggedLike(INFO, "Create auxiliary track\\[trk\\] Done cast:[0-9]+ ms\n"));
}

TEST_F(TrackInitCheck, ReturnsTheServersStatusWhenTheServerRefuses) {
    makeWithRing();
    server.on(INIT_CHECK, Answer::status(-1234));
    EXPECT_EQ(initCheck(), -1234);
    EXPECT_TRUE(streamLogged(ERROR, "initCheck", "initCheck RPC failed status[-1234], Out\n"));
}

}  // namespace
}  // namespace cabinaudio::test
