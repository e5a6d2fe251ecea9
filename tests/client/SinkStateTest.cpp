// SPDX-License-Identifier: Apache-2.0
#include "tests/client/SinkFixture.h"
#include "tests/client/SlowThreads.h"
#include "tests/support/ConfigDirectory.h"

#include <unistd.h>

#include <string>

namespace cabinaudio::test {
namespace {

class ASinkUnderConstruction : public ASink {};

TEST_F(ASinkUnderConstruction, RegistersWithItsNameAndTheTypeOfItsTag) {
    make();
    const std::vector<Request> all = server.requests();
    ASSERT_FALSE(all.empty());
    EXPECT_TRUE(all[0].isRegistration());
    EXPECT_EQ(all[0].header.type, 0U);
    EXPECT_STREQ(all[0].header.name, "snk");
}

TEST_F(ASinkUnderConstruction, SendsTheCreateRequestToTheByte) {
    AudioFormatDesc format{
        64, 44100, 7, AUDIO_CHANNEL_MAP_MONO_253, 2, static_cast<AudioBitDepthType>(1)};
    const ClientSink created("snk", AUDIO_TAG_MAIN, format, -5);
    const std::vector<Request> create = server.requests(CREATE);
    ASSERT_EQ(create.size(), 1U);
    EXPECT_EQ(create[0].header.cmd, FLAGGED);
    EXPECT_EQ(create[0].header.length, 40U);
    EXPECT_EQ(create[0].payload, bytesOf({21, 0, 64, 44100, 7, 253, 2, 1, 0xfffffffbU,
                                          static_cast<std::uint32_t>(getpid())}));
}

TEST_F(ASinkUnderConstruction, TakesItsStepAndHasNoRingWhateverItsTag) {
    for (const AudioTagType tag : {AUDIO_TAG_MAIN, AUDIO_TAG_ALTERNATIVE, AUDIO_TAG_AUXILIARY,
                                   AUDIO_TAG_OUTPUT_INVOCATION, AUDIO_TAG_UNKNOWN}) {
        server.on(CREATE, Answer::words(0, 0, 4096, 500, 0, 0, 0));
        AudioFormatDesc format = cdFormat();
        log.clear();
        ClientSink created("snk", tag, format, 0);
        EXPECT_EQ(created.getPerLoopSize(), 500);
        EXPECT_EQ(created.getTotalBufferSize(), 0);
        EXPECT_EQ(created.bytesFree(), 0);
        EXPECT_EQ(created.clear(), AUDIO_NO_ERROR);
        EXPECT_EQ(log.countMatching(INFO, ".*\n"), 0U) << "nothing to say" << log.dump();
    }
}

TEST_F(ASinkUnderConstruction, CutsItsNameToSixtyThreeCharacters) {
    AudioFormatDesc format = cdFormat();
    ClientSink created(std::string(100, 'n').c_str(), AUDIO_TAG_MAIN, format, 0);
    EXPECT_EQ(server.requests()[0].header.name, std::string(63, 'n'));
    EXPECT_EQ(created.clear(), AUDIO_NO_ERROR);
    EXPECT_EQ(log.count(DEBUG, "[" + std::string(63, 'n') + "]clear In\n"), 1U) << log.dump();
}

TEST_F(ASinkUnderConstruction, StaysUnusableWhenTheServerRefusesTheStream) {
    server.on(CREATE, Answer::words(-3000, 0, 4096, 1024, 0, 0, 0));
    AudioFormatDesc format = cdFormat();
    ClientSink refused("snk", AUDIO_TAG_MAIN, format, 0);
    EXPECT_EQ(log.count(ERROR, "ClientSink", "init",
                        "[snk] mRc->call failure, status:0  ret_status:-3000\n"),
              1U)
        << log.dump();
    EXPECT_EQ(refused.getPerLoopSize(), 0);
    EXPECT_EQ(refused.initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(refused.start(), AUDIO_INVALID_STATE);
    EXPECT_EQ(refused.stop(), AUDIO_INVALID_STATE);
    EXPECT_EQ(refused.clear(), AUDIO_INVALID_STATE);
    EXPECT_EQ(refused.write(data.data(), 4, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(refused.writeDone(), AUDIO_INVALID_STATE);
    for (const char* const line :
         {"[snk]initCheck failed state[0] not IDLE, Out\n",
          "[snk]start failed, state[0] [not IDLE], Out\n",
          "[snk]stop failed,state[0] [not ACTIVE], Out\n",
          "[snk]clear failed, state[0] not IDLE, Out\n", "[snk]Current mState[0] [not ACTIVE]\n",
          "[snk]writeDone failed, state[0] Out\n"})
        EXPECT_EQ(log.count(ERROR, line), 1U) << line << log.dump();
    EXPECT_EQ(server.functions(), std::vector<std::uint32_t>{CREATE});
}

TEST_F(ASinkUnderConstruction, SaysSoWhenThereIsNoServer) {
    server.stop();
    AudioFormatDesc format = cdFormat();
    ClientSink lost("snk", AUDIO_TAG_MAIN, format, 0);
    EXPECT_EQ(log.count(ERROR, "ClientSink", "init", "[snk]new RemoteCall failed, ret:-1000\n"), 1U)
        << log.dump();
    EXPECT_EQ(lost.initCheck(), AUDIO_INVALID_STATE);
}

class ASinksInitCheck : public ASink {};

TEST_F(ASinksInitCheck, AsksNobody) {
    make();
    EXPECT_EQ(sink->initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.functions(), std::vector<std::uint32_t>{CREATE});
    EXPECT_EQ(log.countMatching(INFO, "Create snk track\\[buffered\\] Done cast:[0-9]+ ms\n"), 1U)
        << log.dump();
    EXPECT_EQ(sink->start(), AUDIO_NO_ERROR);
}

TEST_F(ASinksInitCheck, CallsASinkRealtimeWhenItIsCodedOrHasAParameter) {
    AudioFormatDesc coded = cdFormat();
    coded.codecType = 64;
    make(1024, coded, 0);
    EXPECT_EQ(sink->initCheck(), AUDIO_NO_ERROR);
    make(1024, cdFormat(), 1);
    EXPECT_EQ(sink->initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(log.countMatching(INFO, "Create snk track\\[realtime\\] Done cast:[0-9]+ ms\n"), 2U)
        << log.dump();
    make(1024, cdFormat(), -1);
    EXPECT_EQ(sink->initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(log.countMatching(INFO, "Create snk track\\[buffered\\] Done cast:[0-9]+ ms\n"), 1U);
}

TEST_F(ASinksInitCheck, IsOnlyForAnIdleSink) {
    makeActive();
    EXPECT_EQ(sink->initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[snk]initCheck failed state[3] not IDLE, Out\n"), 1U) << log.dump();
}

class AnIdleSink : public ASink {
protected:
    AnIdleSink() { make(); }
};

class AnActiveSink : public AnIdleSink {
protected:
    AnActiveSink() { start(); }
};

TEST_F(AnIdleSink, IsStartedByTheServer) {
    EXPECT_EQ(sink->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(START, FLAGGED), 1U);
    EXPECT_EQ(log.count(DEBUG, "ClientSink", "start", "[snk]start In\n"), 1U);
    EXPECT_EQ(log.count(DEBUG, "ClientSink", "start", "[snk]start Success, Out\n"), 1U);
}

TEST_F(AnIdleSink, StaysIdleWhenTheServerRefusesToStart) {
    server.on(START, Answer::status(-77));
    EXPECT_EQ(sink->start(), -77);
    EXPECT_EQ(log.count(ERROR, "[snk]start RPC failed status[-77], Out\n"), 1U) << log.dump();
    EXPECT_EQ(sink->clear(), AUDIO_NO_ERROR);
}

/// A destructor waits for the lock of an operation under way, and then deletes the turn.
TEST_F(AnIdleSink, GivesItsTurnBackBeforeItsLock) {
    make();
    LocksOfThisThread locks;
    EXPECT_EQ(sink->setCallback(nullptr), AUDIO_NO_ERROR);
    ASSERT_EQ(locks.locked.size(), 2U) << "turn and lock";
    EXPECT_EQ(locks.unlocked, locks.locked);
}

TEST_F(AnIdleSink, NeedsNoStop) {
    EXPECT_EQ(sink->stop(), AUDIO_NO_ERROR);
    EXPECT_TRUE(server.requests(STOP).empty());
    EXPECT_EQ(log.count(DEBUG, "[snk]stop In\n"), 1U);
    EXPECT_EQ(log.count(WARN, "[snk]Current stop state [is IDLE], Out\n"), 1U) << log.dump();
}

TEST_F(AnActiveSink, NeedsNoSecondStart) {
    EXPECT_EQ(sink->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(START).size(), 1U);
    EXPECT_EQ(log.count(WARN, "[snk]Current start state [is ACTIVE], Out\n"), 1U) << log.dump();
}

TEST_F(AnActiveSink, SaysWhatItHasWrittenEverWhenItIsStopped) {
    activate(8192);
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(write(1000, true), 1000);
    EXPECT_EQ(sink->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(STOP, FLAGGED), 1U);
    EXPECT_EQ(
        log.count(DEBUG, "ClientSink", "stop", "[snk]stop Success, mTotalWritedLen:3000 Out\n"), 1U)
        << log.dump();
    start();
    ASSERT_EQ(write(500, false), 500);
    EXPECT_EQ(sink->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(log.count(DEBUG, "[snk]stop Success, mTotalWritedLen:3500 Out\n"), 1U);
}

TEST_F(AnActiveSink, StaysActiveWhenTheServerRefusesToStop) {
    server.on(STOP, Answer::status(-78));
    EXPECT_EQ(sink->stop(), -78);
    EXPECT_EQ(log.count(ERROR, "[snk]stop RPC failed status[-78], Out\n"), 1U) << log.dump();
    EXPECT_EQ(sink->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(START).size(), 1U);
}

TEST_F(AnActiveSink, CannotBeCleared) {
    EXPECT_EQ(sink->clear(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[snk]clear failed, state[3] not IDLE, Out\n"), 1U) << log.dump();
}

TEST_F(AnActiveSink, DropsWhatIsQueuedWhenItIsStoppedAndCleared) {
    activate();
    ASSERT_EQ(write(1000, true), 1000);
    ASSERT_EQ(sink->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(serverRing->getUsedSize(), 1000U);
    EXPECT_EQ(sink->clear(), AUDIO_NO_ERROR);
    EXPECT_EQ(serverRing->getUsedSize(), 0U);
    EXPECT_EQ(log.count(DEBUG, "ClientSink", "clear", "[snk]clear In\n"), 1U);
    EXPECT_EQ(log.count(DEBUG, "ClientSink", "clear", "[snk]clear Success, Out\n"), 1U);
}

TEST_F(AnActiveSink, AnnouncesTheEndOfItsDataOnce) {
    activate();
    EXPECT_EQ(sink->writeDone(), AUDIO_NO_ERROR);
    EXPECT_EQ(sent(WRITE_DONE, FLAGGED), 1U);
    EXPECT_EQ(log.count(DEBUG, "ClientSink", "writeDone", "[snk]writeDone In\n"), 1U);
    EXPECT_EQ(log.count(DEBUG, "ClientSink", "writeDone", "[snk]writeDone Success, Out.\n"), 1U);
    EXPECT_EQ(sink->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "ClientSink", "writeDone", "[snk]Currently in writDone[1], Out\n"),
              1U)
        << log.dump();
    EXPECT_EQ(server.requests(WRITE_DONE).size(), 1U);
}

TEST_F(AnActiveSink, HasNoEndOfDataWithoutASource) {
    EXPECT_EQ(sink->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "ClientSink", "writeDone",
                        "[snk]Source is cut away early,writeDone failed Out\n"),
              1U)
        << log.dump();
    activate();
    withdraw();
    EXPECT_EQ(sink->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[snk]Source is cut away early,writeDone failed Out\n"), 2U);
    EXPECT_TRUE(server.requests(WRITE_DONE).empty());
}

TEST_F(AnActiveSink, LooksAtTheEndThenAtTheStateThenAtTheSource) {
    activate();
    ASSERT_EQ(sink->writeDone(), AUDIO_NO_ERROR);
    withdraw();
    server.notify(REMOVED, 0);
    settle();
    EXPECT_EQ(sink->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[snk]Currently in writDone[1], Out\n"), 1U) << log.dump();

    makeActive();
    server.notify(REMOVED, 0, server.clients() - 1);
    settle();
    EXPECT_EQ(sink->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[snk]writeDone failed, state[2] Out\n"), 1U) << log.dump();
    EXPECT_EQ(log.countMatching(ERROR, ".*Source is cut away.*\n"), 0U);
}

TEST_F(AnActiveSink, TakesNoWriteAfterTheEndUntilItIsStopped) {
    activate();
    ASSERT_EQ(sink->writeDone(), AUDIO_NO_ERROR);
    EXPECT_EQ(write(4, true), AUDIO_INVALID_OPERATION);
    EXPECT_EQ(log.count(ERROR, "ClientSink", "write",
                        "[snk]Can not write,writeDone has been called [mIsWriteDone=1]\n"),
              1U)
        << log.dump();
    server.notify(FINISHED, 0);
    ASSERT_TRUE(log.waitForMatching(INFO, "\\[snk\\]play finish duration\\[[0-9]+\\] ms\n"));
    EXPECT_EQ(write(4, true), AUDIO_INVALID_OPERATION) << "the finish changes no state";
    ASSERT_EQ(sink->stop(), AUDIO_NO_ERROR);
    start();
    EXPECT_EQ(write(4, true), 4);
}

TEST_F(AnActiveSink, GoesOnWhenTheServerRefusesTheEnd) {
    activate();
    server.on(WRITE_DONE, Answer::status(-79));
    EXPECT_EQ(sink->writeDone(), -79);
    EXPECT_EQ(log.count(ERROR, "[snk]writeDone RPC failed status[-79], Out\n"), 1U) << log.dump();
    EXPECT_EQ(write(4, true), 4);
}

TEST_F(AnActiveSink, HasNoKeyShift) {
    log.clear();
    EXPECT_EQ(sink->setKeyShift(5.0F), AUDIO_NO_ERROR);
    EXPECT_EQ(sink->setKeyShift(1.0F), AUDIO_NO_ERROR);
    EXPECT_TRUE(server.requests(22).empty());
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_F(AnIdleSink, WarnsOfDeprecatedOperationsInTheTracksName) {
    unsigned long long samples = 17;
    long long time = 18;
    EXPECT_EQ(sink->setVolume(3), AUDIO_NO_ERROR);
    EXPECT_EQ(sink->getVolume(), AUDIO_NO_ERROR);
    EXPECT_EQ(sink->duck(50), AUDIO_NO_ERROR);
    EXPECT_EQ(sink->unduck(), AUDIO_NO_ERROR);
    EXPECT_EQ(sink->getOutPutSamples(&samples, &time), AUDIO_NO_ERROR);
    EXPECT_EQ(samples, 17U);
    EXPECT_EQ(time, 18);
    for (const char* const line :
         {"Deprecated API(ClientTrack::setVolume) is called. please try "
          "QVAudioSetting::Volume::setTrackVolume/setVolumeByStreamType.\n",
          "Deprecated API(ClientTrack::getVolume) is called. please try "
          "QVAudioSetting::Volume::getTrackVolume/getVolumeByStreamType.\n",
          "Deprecated API(ClientTrack::duck) is called. please try "
          "QVAudioSetting::Volume::duck.\n",
          "Deprecated API(ClientTrack::unduck) is called. please try "
          "QVAudioSetting::Volume::unduck.\n",
          "Deprecated API(ClientTrack::getOutPutSamples) is called.\n"})
        EXPECT_EQ(log.count(WARN, line), 1U) << log.dump();
    EXPECT_EQ(server.functions(), std::vector<std::uint32_t>{CREATE});
}

TEST_F(AnActiveSink, IsLeftAloneForGoodOnceTheServerHasRemovedIt) {
    server.notify(REMOVED, 0);
    settle();
    EXPECT_EQ(log.count(DEBUG, "[snk]server track has be deleted, disconnect.\n"), 1U)
        << log.dump();
    const std::size_t before = server.functions().size();
    EXPECT_EQ(sink->start(), AUDIO_INVALID_STATE);
    EXPECT_EQ(sink->stop(), AUDIO_INVALID_STATE);
    EXPECT_EQ(sink->clear(), AUDIO_INVALID_STATE);
    EXPECT_EQ(sink->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_EQ(sink->initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(write(4, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "ClientSink", "write", "[snk]Current mState[2] [not ACTIVE]\n"), 1U)
        << log.dump();
    EXPECT_EQ(server.functions().size(), before);
}

/// With a diagnostics file of its own that asks for the dump of sinks.
class ADumpedSink : public ASink {
protected:
    ADumpedSink() {
        settings.write("Dump\n tag=main\n usage=client\n outPath=" + dumps().string() + "\n");
    }
    [[nodiscard]] std::filesystem::path dumps() const { return settings.top() / "pcm"; }
    [[nodiscard]] std::string dumped() const {
        std::string bytes;
        for (const auto& entry : std::filesystem::directory_iterator(dumps())) {
            EXPECT_EQ(entry.path().filename().string().rfind("main_snk_client_", 0), 0U);
            bytes += contentsOf(entry.path());
        }
        return bytes;
    }
    ConfigDirectory settings;
};

TEST_F(ADumpedSink, LeavesTheBytesThatItWroteInAFile) {
    make();
    ASSERT_EQ(sink->initCheck(), AUDIO_NO_ERROR);
    start();
    activate();
    const Bytes sent = pattern(1000);
    std::copy(sent.begin(), sent.end(), data.begin());
    ASSERT_EQ(write(600, true), 600);
    ASSERT_EQ(sink->write(data.data() + 600, 400, false), 400);
    sink.reset();
    EXPECT_EQ(dumped(), std::string(sent.begin(), sent.end())) << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
