// SPDX-License-Identifier: Apache-2.0
#include "tests/client/TrackFixture.h"
#include "tests/support/ConfigDirectory.h"

#include <unistd.h>

#include <filesystem>
#include <string>

namespace cabinaudio::test {
namespace {

using ATrackUnderConstruction = ATrack;

TEST_F(ATrackUnderConstruction, RegistersWithItsNameAndTheTypeOfItsTag) {
    makeAuxiliary();
    const std::vector<Request> all = server.requests();
    ASSERT_FALSE(all.empty());
    EXPECT_TRUE(all[0].isRegistration());
    EXPECT_EQ(all[0].header.type, 2U);
    EXPECT_STREQ(all[0].header.name, "trk");
}

TEST_F(ATrackUnderConstruction, RegistersAnUnknownTagAsUnknownAndSendsTheTagAsItIs) {
    acceptStreams(4096, 1024);
    AudioFormatDesc format = cdFormat();
    const ClientTrack odd("odd", static_cast<AudioTagType>(77), format, 0);
    EXPECT_EQ(server.requests()[0].header.type, 255U);
    ASSERT_EQ(server.requests(CREATE).size(), 1U);
    EXPECT_EQ(server.requests(CREATE)[0].word(1), 77U);
}

TEST_F(ATrackUnderConstruction, SendsTheCreateRequestToTheByte) {
    acceptStreams(4096, 1024);
    AudioFormatDesc format{
        64, 44100, 7, AUDIO_CHANNEL_MAP_MONO_253, 2, static_cast<AudioBitDepthType>(1)};
    const ClientTrack created("trk", AUDIO_TAG_AUXILIARY, format, -5);
    const std::vector<Request> create = server.requests(CREATE);
    ASSERT_EQ(create.size(), 1U);
    EXPECT_EQ(create[0].header.cmd, 198U);
    EXPECT_EQ(create[0].header.length, 40U);
    EXPECT_EQ(create[0].payload, bytesOf({21, 2, 64, 44100, 7, 253, 2, 1, 0xfffffffbU,
                                          static_cast<std::uint32_t>(getpid())}));
}

TEST_F(ATrackUnderConstruction, TakesOverStepAndRingFromTheReplyAndBecomesIdle) {
    makeAlternative(2000, 500);
    EXPECT_EQ(track->getPerLoopSize(), 500);
    EXPECT_EQ(track->getTotalBufferSize(), 2000);
    EXPECT_EQ(track->bytesFree(), 1999);
    EXPECT_TRUE(serverRing->getUsedSize() == 0);
    EXPECT_EQ(log.countMatching(
                  INFO, "\\[trk\\] mPerLoopSize\\[500\\] mState=\\[IDEL\\] \\[cast:[0-9]+ ms\\]\n"),
              1U)
        << log.dump();
    EXPECT_EQ(track->clear(), AUDIO_NO_ERROR);
}

TEST_F(ATrackUnderConstruction, HasNoRingYetWhenItIsAuxiliary) {
    makeAuxiliary();
    EXPECT_EQ(track->getTotalBufferSize(), 0);
    EXPECT_EQ(track->bytesFree(), 0);
}

TEST_F(ATrackUnderConstruction, MapsARingThatWantsToHearOfReads) {
    makeAlternative();
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

TEST_F(ATrackUnderConstruction, CutsItsNameToSixtyThreeCharacters) {
    acceptStreams(4096, 1024);
    AudioFormatDesc format = cdFormat();
    const std::string name(100, 'n');
    const ClientTrack created(name.c_str(), AUDIO_TAG_ALTERNATIVE, format, 0);
    EXPECT_EQ(server.requests()[0].header.name, std::string(63, 'n'));
    EXPECT_EQ(log.countMatching(INFO, "\\[n{63}\\] mPerLoopSize.*\n"), 1U) << log.dump();
}

TEST_F(ATrackUnderConstruction, StaysUnusableWhenTheServerRefusesTheStream) {
    server.on(CREATE, Answer::words(-3000, 0, 4096, 1024, 0, 0, 0));
    AudioFormatDesc format = cdFormat();
    ClientTrack refused("trk", AUDIO_TAG_ALTERNATIVE, format, 0);
    EXPECT_EQ(log.count(ERROR, "ClientTrack", "init",
                        "[trk] mRc->call failure, status:0  ret_status:-3000\n"),
              1U)
        << log.dump();
    EXPECT_EQ(refused.getPerLoopSize(), 0);
    EXPECT_EQ(refused.initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(refused.start(), AUDIO_INVALID_STATE);
    EXPECT_EQ(refused.stop(), AUDIO_INVALID_STATE);
    EXPECT_EQ(refused.clear(), AUDIO_INVALID_STATE);
    EXPECT_EQ(refused.write(data.data(), 4, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[trk]initCheck failed state[0] not IDLE, Out\n"), 1U);
    EXPECT_EQ(log.count(ERROR, "[trk]start failed, state[0] [not IDLE], Out\n"), 1U);
    EXPECT_EQ(log.count(ERROR, "[trk]stop failed,state[0] [not ACTIVE], Out\n"), 1U);
    EXPECT_EQ(log.count(ERROR, "[trk]clear failed, state[0] not IDLE, Out\n"), 1U);
    EXPECT_EQ(server.functions(), std::vector<std::uint32_t>{CREATE});
}

TEST_F(ATrackUnderConstruction, StillSendsKeyShiftsWhenTheServerRefusedTheStream) {
    server.on(CREATE, Answer::words(-3000, 0, 0, 0, 0, 0, 0));
    AudioFormatDesc format = cdFormat();
    ClientTrack refused("trk", AUDIO_TAG_AUXILIARY, format, 0);
    EXPECT_EQ(refused.setKeyShift(1.0F), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(KEY_SHIFT).size(), 1U);
}

TEST_F(ATrackUnderConstruction, SaysSoWhenThereIsNoServer) {
    server.stop();
    AudioFormatDesc format = cdFormat();
    ClientTrack lost("trk", AUDIO_TAG_AUXILIARY, format, 0);
    EXPECT_EQ(log.count(ERROR, "ClientTrack", "init", "[trk] Fail to check RemoteCall.\n"), 1U)
        << log.dump();
    EXPECT_EQ(lost.initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(lost.setKeyShift(1.0F), 1);
}

TEST_F(ATrackUnderConstruction, KeepsAnInertRingWhenTheRingCannotBeMapped) {
    acceptStreams(4096, 1024);
    AudioFormatDesc format = cdFormat();
    ClientTrack broken("no/such/place", AUDIO_TAG_ALTERNATIVE, format, 0);
    EXPECT_EQ(broken.getTotalBufferSize(), 0);
    EXPECT_EQ(broken.bytesFree(), 0);
    ASSERT_EQ(broken.start(), AUDIO_NO_ERROR);
    EXPECT_EQ(broken.write(data.data(), 4, false), 0);
    EXPECT_EQ(broken.write(data.data(), 4, true), AUDIO_TIMED_OUT);
    EXPECT_EQ(log.countMatching(WARN, "\\[no/such/place\\]wait free space timeout [0-9]+\n"), 1U)
        << log.dump();
}

class AnInitCheck : public ATrack {};

TEST_F(AnInitCheck, AsksTheServerWithoutTheFlagAndStaysIdle) {
    makeAlternative();
    EXPECT_EQ(track->initCheck(), AUDIO_NO_ERROR);
    const std::vector<Request> asked = server.requests(INIT_CHECK);
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_EQ(asked[0].header.cmd, 195U);
    EXPECT_EQ(asked[0].payload, bytesOf({8}));
    EXPECT_EQ(log.countMatching(INFO, "Create alternative track\\[trk\\] Done cast:[0-9]+ ms\n"),
              1U)
        << log.dump();
    EXPECT_EQ(track->clear(), AUDIO_NO_ERROR);
}

TEST_F(AnInitCheck, NamesEveryOtherTrackAuxiliary) {
    makeAuxiliary();
    EXPECT_EQ(track->initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(log.countMatching(INFO, "Create auxiliary track\\[trk\\] Done cast:[0-9]+ ms\n"), 1U)
        << log.dump();
}

TEST_F(AnInitCheck, HandsTheServersRefusalOn) {
    makeAlternative();
    server.on(INIT_CHECK, Answer::status(-1234));
    EXPECT_EQ(track->initCheck(), -1234);
    EXPECT_EQ(log.count(ERROR, "ClientTrack", "initCheck",
                        "[trk]initCheck RPC failed status[-1234], Out\n"),
              1U)
        << log.dump();
}

TEST_F(AnInitCheck, IsOnlyForAnIdleTrack) {
    makeAlternative();
    start();
    EXPECT_EQ(track->initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[trk]initCheck failed state[3] not IDLE, Out\n"), 1U);
}

/// With a diagnostics file of its own that asks for the dump of alternative tracks.
class ADumpedTrack : public ATrack {
protected:
    ADumpedTrack() {
        settings.write("Dump\n tag=alternative\n usage=client\n outPath=" + dumps().string() +
                       "\n");
    }

    [[nodiscard]] std::filesystem::path dumps() const { return settings.top() / "pcm"; }

    /// All dumps of the track, one behind the other.
    [[nodiscard]] std::string dumped() const {
        std::string bytes;
        for (const auto& entry : std::filesystem::directory_iterator(dumps())) {
            EXPECT_EQ(entry.path().filename().string().rfind("alternative_trk_client_", 0), 0U);
            bytes += contentsOf(entry.path());
        }
        return bytes;
    }

    ConfigDirectory settings;
};

TEST_F(ADumpedTrack, LeavesTheBytesThatItWroteInAFile) {
    makeAlternative();
    ASSERT_EQ(track->initCheck(), AUDIO_NO_ERROR);
    start();
    for (std::size_t i = 0; i < 1000; ++i)
        data[i] = static_cast<unsigned char>(i * 7);
    ASSERT_EQ(write(600, true), 600);
    ASSERT_EQ(track->write(data.data() + 600, 400, false), 400);
    track.reset();
    EXPECT_EQ(dumped(), std::string(data.begin(), data.begin() + 1000)) << log.dump();
}

TEST_F(ADumpedTrack, IsDumpedFromItsInitCheckOnOnly) {
    makeAlternative();
    start();
    ASSERT_EQ(write(100, true), 100);
    ASSERT_EQ(track->stop(), AUDIO_NO_ERROR);
    ASSERT_EQ(track->initCheck(), AUDIO_NO_ERROR);
    start();
    ASSERT_EQ(write(50, true), 50);
    track.reset();
    EXPECT_EQ(dumped().size(), 50U);
}

TEST_F(ATrackUnderConstruction, KeepsWhatIsAnnouncedUntilItCanAskForIt) {
    acceptStreams(4096, 1024);
    server.onRegistration(Answer::handle(100).bodyHeld().after(RING_READY, 0));
    auto made = std::async(std::launch::async, [] {
        AudioFormatDesc format = cdFormat();
        return std::make_unique<ClientTrack>("trk", AUDIO_TAG_AUXILIARY, format, 0);
    });
    ASSERT_TRUE(server.waitForClients(1));
    // Meanwhile the announcement is delivered, to a track that has no connection yet.
    EXPECT_EQ(made.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    server.release();
    track = made.get();
    EXPECT_TRUE(server.waitForRequest(GET_RING)) << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
