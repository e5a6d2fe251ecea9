// SPDX-License-Identifier: Apache-2.0
#include "tests/client/SinkFixture.h"
#include "tests/client/SlowThreads.h"
#include "tests/support/ProcessState.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace cabinaudio::test {
namespace {

constexpr const char* REMOVED_LINE =
    "track[snk], status[active], source [removed], write ineffective, size[";

bool ringHasAName() {
    const std::vector<std::string> names = ProcessState::now().shmNames;
    return std::any_of(names.begin(), names.end(), [](const std::string& name) {
        return name.find("snk_0x100000") != std::string::npos;
    });
}

AudioFormatDesc codedFormat() {
    AudioFormatDesc format = cdFormat();
    format.codecType = 64;
    return format;
}

class ASource : public ASink {};

TEST_F(ASource, ThatIsActivatedBringsTheRingThatTheServerNames) {
    make();
    activate(3000);
    EXPECT_EQ(server.requests(GET_RING).size(), 1U);
    EXPECT_EQ(sent(GET_RING, FLAGGED), 1U);
    EXPECT_EQ(sink->getTotalBufferSize(), 3000);
    EXPECT_EQ(sink->bytesFree(), 2999);
    EXPECT_TRUE(ringHasAName());
    EXPECT_EQ(
        log.countMatching(INFO, "\\[snk\\]main init shareMemory OK size:3000 cast:[0-9]+ ms\n"), 1U)
        << log.dump();
    EXPECT_EQ(log.countMatching(INFO, "\\[snk\\]Source is actived duration\\[[0-9]+\\] ms\n"), 1U)
        << log.dump();
    EXPECT_TRUE(server.requests(LET_GO).empty());
}

TEST_F(ASource, ThatIsWithdrawnIsLetGoOfAndAcknowledgedThen) {
    make();
    activate();
    std::atomic<bool> wasThere{true};
    server.on(LET_GO, [&](const Request&) {
        wasThere = sink->getTotalBufferSize() != 0 || ringHasAName();
        return Answer::status(0);
    });
    server.notify(WITHDRAWN, 0);
    settle();
    EXPECT_EQ(sent(LET_GO, FLAGGED), 1U);
    EXPECT_FALSE(wasThere) << "acknowledged before the ring was gone";
    EXPECT_EQ(sink->getTotalBufferSize(), 0);
    EXPECT_EQ(sink->bytesFree(), 0);
    EXPECT_EQ(log.count(INFO, "[snk]Source is deactived done\n"), 1U) << log.dump();
}

TEST_F(ASource, ThatIsWithdrawnIsGoneEvenWhenTheServerDoesNotTakeNote) {
    make();
    activate();
    server.on(LET_GO, Answer::status(-9));
    withdraw();
    EXPECT_EQ(log.count(INFO, "[snk]Source is deactived failed\n"), 1U) << log.dump();
}

TEST_F(ASource, CanBeWithdrawnWithoutHavingBeenActivated) {
    make();
    withdraw();
    EXPECT_EQ(server.requests(LET_GO).size(), 1U);
    EXPECT_EQ(log.count(INFO, "[snk]Source is deactived done\n"), 1U) << log.dump();
}

TEST_F(ASource, IsLetGoOfByTheApplicationInTheSameWay) {
    makeWithSource();
    sink->deactived();
    EXPECT_EQ(sent(LET_GO, FLAGGED), 1U);
    EXPECT_EQ(log.count(DEBUG, "ClientSink", "deactived", "[snk]Source is deactived done\n"), 1U)
        << log.dump();
    EXPECT_EQ(sink->getTotalBufferSize(), 0);
    EXPECT_FALSE(ringHasAName());
    EXPECT_EQ(write(10, true), 0);
    EXPECT_EQ(thrownAwayInAll(), 10);
    server.on(LET_GO, Answer::status(-9));
    sink->deactived();
    EXPECT_EQ(log.count(DEBUG, "[snk]Source is deactived failed\n"), 1U) << log.dump();
}

TEST_F(ASource, ComesBack) {
    makeWithSource();
    ASSERT_EQ(write(100, true), 100);
    withdraw();
    activate(5000);
    EXPECT_EQ(write(200, true), 200);
    EXPECT_EQ(serverRing->getUsedSize(), 200U) << "of another ring";
    EXPECT_EQ(writtenInAll(), 300);
    EXPECT_EQ(thrownAwayInAll(), 0);
}

TEST_F(ASource, ThatIsActivatedAgainHasAnotherRing) {
    makeWithSource(3000);
    const auto first = std::move(serverRing);
    const unsigned other = RING_ADDRESS + 0x10000;
    server.on(GET_RING, Answer::words(0, other, 5000));
    serverRing = physicalRing("snk", 5000, other);
    server.notify(ACTIVATED, 0);
    settle();
    EXPECT_EQ(sink->getTotalBufferSize(), 5000);
    EXPECT_EQ(write(100, true), 100);
    EXPECT_EQ(serverRing->getUsedSize(), 100U);
    EXPECT_EQ(first->getUsedSize(), 0U);
    EXPECT_TRUE(server.requests(LET_GO).empty());
}

TEST_F(ASource, SurvivesAStopAndAStart) {
    makeWithSource();
    ASSERT_EQ(sink->stop(), AUDIO_NO_ERROR);
    start();
    EXPECT_EQ(write(100, true), 100);
    withdraw();
    ASSERT_EQ(sink->stop(), AUDIO_NO_ERROR);
    start();
    EXPECT_EQ(write(100, true), 0) << "still removed";
    EXPECT_EQ(thrownAwayInAll(), 100);
}

class CountingCallback : public audio::QVAudioTrackCallback {
public:
    void finish(bool flag) override {
        EXPECT_FALSE(flag);
        ++finished;
    }
    std::atomic<int> finished{0};
};

TEST_F(ASource, IsPlayedToTheEndWhenTheServerSaysFiveAndNotFour) {
    makeWithSource();
    CountingCallback callback;
    EXPECT_EQ(sink->setCallback(&callback), AUDIO_NO_ERROR);
    for (const std::uint32_t event : {ACTIVATED, WITHDRAWN, 6U, 2U})
        server.notify(event, 0);
    settle();
    EXPECT_EQ(callback.finished, 0);
    server.notify(FINISHED, 1);
    settle();
    EXPECT_EQ(callback.finished, 1);
    EXPECT_EQ(log.countMatching(INFO, "\\[snk\\]play finish duration\\[[0-9]+\\] ms\n"), 1U)
        << log.dump();
    EXPECT_EQ(sink->setCallback(nullptr), AUDIO_NO_ERROR);
    server.notify(FINISHED, 0);
    settle();
    EXPECT_EQ(callback.finished, 1);
    EXPECT_EQ(log.countMatching(INFO, "\\[snk\\]play finish duration\\[[0-9]+\\] ms\n"), 2U);
}

TEST_F(ASource, TellsOfItsEndWithoutTheLock) {
    makeWithSource();
    // Uses the sink from inside: would never return if the lock were held.
    struct UsingCallback : audio::QVAudioTrackCallback {
        explicit UsingCallback(ClientSink& used) : user(used) {}
        void finish(bool) override { stopped = user.stop(); }
        ClientSink& user;
        std::atomic<int> stopped{-1};
    } callback(*sink);
    EXPECT_EQ(sink->setCallback(&callback), AUDIO_NO_ERROR);
    ASSERT_EQ(sink->writeDone(), AUDIO_NO_ERROR);
    server.notify(FINISHED, 0);
    settle();
    EXPECT_EQ(callback.stopped, AUDIO_NO_ERROR);
}

TEST_F(ASource, HasNoOtherNotifications) {
    make();
    for (const std::uint32_t event : {0U, 1U, 2U, 6U, 254U})
        server.notify(event, 77);
    settle();
    for (const std::uint32_t event : {0U, 1U, 2U, 6U, 254U})
        EXPECT_EQ(log.count(DEBUG, "ClientSink", "notifierCallbackFunc",
                            "unknown msg(" + std::to_string(event) + "), value=77\n"),
                  1U)
            << log.dump();
}

TEST_F(ASource, WhoseRingCannotBeHadKeepsWritersForASecond) {
    makeActive();
    server.on(GET_RING, Answer::words(-1990, 0, 0));
    server.notify(ACTIVATED, 0);
    settle();
    EXPECT_EQ(log.count(ERROR, "ClientSink", "initShareMemory",
                        "[snk] mRc->call return error(0), ret->status:-1990.\n"),
              1U)
        << log.dump();
    EXPECT_EQ(log.countMatching(INFO, "\\[snk\\]Source is actived.*\n"), 1U);
    for (const bool isBlock : {true, false}) {
        const Stopwatch watch;
        EXPECT_EQ(write(10, isBlock), 0);
        EXPECT_GE(watch.ms(), 1000);
    }
    EXPECT_EQ(log.count(ERROR, "ClientSink", "checkAndWaitSourceReady",
                        "[snk]Source is ready,because of mShareMemory new failed\n"),
              2U)
        << log.dump();
    EXPECT_EQ(thrownAwayInAll(), 0) << "not counted";
    activate();
    EXPECT_EQ(write(10, true), 10);
}

/// Writes that meet no source.
class AWriteWithoutASource : public ASink {};

TEST_F(AWriteWithoutASource, ReturnsAtOnceWhenItMayNotBlock) {
    makeActive();
    EXPECT_EQ(write(100, false), 0);
    EXPECT_EQ(log.count(WARN, "ClientSink", "checkAndWaitSourceReady",
                        "[snk]source is not ready mode[unblock]\n"),
              1U)
        << log.dump();
    activate();
    withdraw();
    EXPECT_EQ(write(100, false), 0) << "also of a source that was removed";
    EXPECT_EQ(thrownAwayInAll(), 0);
    EXPECT_EQ(log.countMatching(WARN, ".*write ineffective.*\n"), 0U) << log.dump();
}

TEST_F(AWriteWithoutASource, WaitsForIt) {
    makeActive();
    std::future<int> writer = blockedWrite(100);
    EXPECT_EQ(log.count(WARN, "[snk]source is not ready mode[block]\n"), 1U) << log.dump();
    EXPECT_EQ(log.count(ERROR, "ClientSink", "write",
                        "[snk]Can not write,the last write did not exit [mIsBlocked=1]\n"),
              1U)
        << log.dump();
    activate();
    EXPECT_EQ(writer.get(), 100) << log.dump();
    EXPECT_EQ(serverRing->getUsedSize(), 100U);
}

TEST_F(AWriteWithoutASource, WaitsForItEvenWhenItMayNotBlockWhenItIsCoded) {
    makeActive(1024, codedFormat());
    std::future<int> writer = blockedWrite(100, false);
    EXPECT_EQ(log.count(WARN, "[snk]source is not ready mode[unblock]\n"), 1U) << log.dump();
    activate();
    EXPECT_EQ(writer.get(), 100) << log.dump();
}

TEST_F(AWriteWithoutASource, WaitsOnAfterTwoSeconds) {
    makeActive();
    const Stopwatch watch;
    std::future<int> writer = blockedWrite(100);
    ASSERT_TRUE(log.waitForMatching(ERROR, "\\[snk\\]waiting Source ready timeout\\[[0-9]+\\]\n"))
        << log.dump();
    EXPECT_GE(watch.ms(), 2000);
    ASSERT_TRUE(log.waitFor(WARN, "[snk]source is not ready mode[block]\n", 2)) << log.dump();
    activate();
    EXPECT_EQ(writer.get(), 100) << log.dump();
}

TEST_F(AWriteWithoutASource, IsThrownAwayAfterHalfASecondWhenItWasRemoved) {
    makeWithSource();
    withdraw();
    const Stopwatch watch;
    EXPECT_EQ(write(960, true), 0);
    EXPECT_GE(watch.ms(), 500);
    EXPECT_EQ(write(40, true), 0);
    EXPECT_GE(watch.ms(), 1000);
    for (const char* const total : {"960", "1000"})
        EXPECT_EQ(log.count(WARN, "ClientSink", "checkAndWaitSourceReady",
                            std::string(REMOVED_LINE) + total + "]\n"),
                  1U)
            << log.dump();
    EXPECT_EQ(writtenInAll(), 0);
}

TEST_F(AWriteWithoutASource, IsThrownAwayEvenWhenItMayNotBlockWhenItIsCoded) {
    makeActive(1024, codedFormat());
    withdraw();
    EXPECT_EQ(write(70, false), 0);
    EXPECT_EQ(log.count(WARN, std::string(REMOVED_LINE) + "70]\n"), 1U) << log.dump();
}

TEST_F(AWriteWithoutASource, IsThrownAwayWhenTheSourceIsWithdrawnMeanwhile) {
    makeActive();
    std::future<int> writer = blockedWrite(100);
    server.notify(WITHDRAWN, 0);
    EXPECT_EQ(writer.get(), 0);
    EXPECT_EQ(thrownAwayInAll(), 100) << log.dump();
}

/// The lock is held for half a second out of half a second.
TEST_F(AWriteWithoutASource, LetsOtherOperationsInWhenItIsRepeatedAgainAndAgain) {
    makeWithSource();
    withdraw();
    std::atomic<int> thrownAway{0};
    std::thread writer([&] {
        while (thrownAway < 20 && write(10, true) == 0)
            ++thrownAway;
    });
    ASSERT_TRUE(log.waitFor(WARN, std::string(REMOVED_LINE) + "20]\n")) << log.dump();
    int before = thrownAway;
    EXPECT_TRUE(eventually([&] { return thrownAway > before; }));
    before = thrownAway;
    {
        const SlowToLock slow;
        EXPECT_EQ(sink->setCallback(nullptr), AUDIO_NO_ERROR);
    }
    // The write under way goes first, and one more that has begun since.
    EXPECT_LE(thrownAway - before, 2);
    EXPECT_EQ(sink->stop(), AUDIO_NO_ERROR);
    writer.join();
    EXPECT_LT(thrownAway, 20);
}

TEST_F(AWriteWithoutASource, EndsWithAStop) {
    makeActive();
    std::future<int> writer = blockedWrite(100);
    ASSERT_EQ(sink->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(writer.get(), 0);
    EXPECT_EQ(log.count(ERROR, "[snk]state[IDEL] invalid, expect[ACTIVE]\n"), 1U) << log.dump();
    EXPECT_EQ(thrownAwayInAll(), 0);
}

TEST_F(AWriteWithoutASource, EndsWithTheStream) {
    makeActive();
    std::future<int> writer = blockedWrite(100);
    server.notify(REMOVED, 0);
    EXPECT_EQ(writer.get(), 0);
    EXPECT_EQ(log.count(ERROR, "[snk]state[STOPPING] invalid, expect[ACTIVE]\n"), 1U) << log.dump();
}

TEST_F(AWriteWithoutASource, EndsWithTheServer) {
    makeActive();
    std::future<int> writer = blockedWrite(100);
    server.stop();
    EXPECT_EQ(writer.get(), 0);
    EXPECT_EQ(log.count(ERROR, "[snk]state[STOPPING] invalid, expect[ACTIVE]\n"), 1U) << log.dump();
}

TEST_F(AWriteWithoutASource, HasItsArgumentsAndTheStateCheckedFirst) {
    make();
    EXPECT_EQ(write(100, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(sink->write(nullptr, 4, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(log.countMatching(WARN, ".*source is not ready.*\n"), 0U) << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
