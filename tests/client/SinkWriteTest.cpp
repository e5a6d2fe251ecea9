// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/client/SinkFixture.h"
#include "tests/client/SlowThreads.h"
#include "tests/support/ProcessState.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <thread>

namespace cabinaudio::test {
namespace {

constexpr const char* WITHDRAWN_LINE =
    "[snk] status[active], source [removed], write ineffective, size[";

class ASinksWrite : public ASink {};

TEST_F(ASinksWrite, NeedsABufferAndBytes) {
    makeWithSource();
    EXPECT_EQ(sink->write(nullptr, 4, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(write(0, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(write(-5, false), AUDIO_BAD_VALUE);
    EXPECT_EQ(log.count(ERROR, "ClientSink", "write", "[snk]buffer is NULL\n"), 1U) << log.dump();
    EXPECT_EQ(log.count(ERROR, "ClientSink", "write", "[snk]len[0]<=0\n"), 1U) << log.dump();
    EXPECT_EQ(log.count(ERROR, "ClientSink", "write", "[snk]len[-5]<=0\n"), 1U) << log.dump();
}

TEST_F(ASinksWrite, IsNotLoggedTheFirstTime) {
    makeWithSource();
    ASSERT_EQ(write(4, true), 4);
    EXPECT_EQ(log.countMatching(INFO, ".*first write.*\n"), 0U) << log.dump();
}

TEST_F(ASinksWrite, NeedsAStartedSink) {
    make();
    activate();
    EXPECT_EQ(write(4, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "ClientSink", "write", "[snk]Current mState[1] [not ACTIVE]\n"), 1U)
        << log.dump();
}

TEST_F(ASinksWrite, ReachesTheServersEndOfTheRing) {
    makeWithSource();
    const Bytes sent = pattern(300);
    std::copy(sent.begin(), sent.end(), data.begin());
    EXPECT_EQ(write(300, true), 300);
    Bytes heard(300);
    ASSERT_EQ(serverRing->read(heard.data(), 300), 300);
    EXPECT_EQ(heard, sent);
}

TEST_F(ASinksWrite, TakesWhatFitsWhenItMayNotBlock) {
    makeWithSource(1000, 250);
    ASSERT_EQ(write(899, false), 899);
    EXPECT_EQ(write(400, false), 100);
    EXPECT_EQ(
        log.count(WARN, "[snk] no enough space to write len[400], actually write[100] [unblock]\n"),
        1U)
        << log.dump();
    EXPECT_EQ(write(400, false), 0);
    EXPECT_EQ(
        log.count(WARN, "[snk] no enough space to write len[400], actually write[0] [unblock]\n"),
        1U);
    EXPECT_EQ(writtenInAll(), 999);
}

TEST_F(ASinksWrite, WaitsForSpaceAndGoesOnWhenTheServerHasRead) {
    makeWithSource(4096, 1024);
    fillRing();
    std::future<int> writer = blockedWrite(3000);
    EXPECT_TRUE(serverRing->getWait());
    Bytes heard(4096);
    std::size_t total = 0;
    while (total < 4095 + 3000)
        total += static_cast<std::size_t>(serverRing->read(heard.data(), 512));
    EXPECT_EQ(writer.get(), 3000) << log.dump();
    EXPECT_FALSE(serverRing->getWait());
    EXPECT_EQ(writtenInAll(), 4095 + 3000);
}

TEST_F(ASinksWrite, TimesOutAfterSixHundredMillisecondsWithoutSpace) {
    makeWithSource(4096, 1024);
    fillRing();
    const Stopwatch watch;
    EXPECT_EQ(write(10, true), AUDIO_TIMED_OUT);
    EXPECT_GE(watch.ms(), 600);
    EXPECT_EQ(log.countMatching(WARN, "\\[snk\\]wait free space timeout [0-9]+\n"), 1U)
        << log.dump();
    EXPECT_EQ(write(10, false), 0) << "nobody is blocked any more";
    EXPECT_EQ(thrownAwayInAll(), 0);
}

TEST_F(ASinksWrite, IsThrownAwayWhenTheSourceIsWithdrawnWhileItWaitsForSpace) {
    makeWithSource(4096, 1024);
    fillRing();
    std::future<int> writer = blockedWrite(700);
    server.notify(WITHDRAWN, 0);
    EXPECT_EQ(writer.get(), 0);
    EXPECT_EQ(log.count(WARN, "ClientSink", "checkAndWaitShareBufferFree",
                        std::string(WITHDRAWN_LINE) + "700]\n"),
              1U)
        << log.dump();
    settle();
    activate();
    EXPECT_EQ(write(10, true), 10) << "nobody is blocked any more";
    EXPECT_EQ(writtenInAll(), 4095 + 10);
}

TEST_F(ASinksWrite, KeepsWhatItQueuedBeforeTheSourceWasWithdrawnAndCountsOneStepAsLost) {
    makeWithSource(4096, 1024);
    std::future<int> writer = blockedWrite(8000);
    server.notify(WITHDRAWN, 0);
    EXPECT_EQ(writer.get(), 0);
    EXPECT_EQ(thrownAwayInAll(), 1024) << log.dump();
    EXPECT_EQ(writtenInAll(), 4095);
}

TEST_F(ASinksWrite, GoesOnInTheRingOfASourceThatIsActivatedAgain) {
    makeWithSource(4096, 1024);
    fillRing();
    std::future<int> writer = blockedWrite(700);
    const auto first = std::move(serverRing);
    const unsigned other = RING_ADDRESS + 0x10000;
    server.on(GET_RING, Answer::words(0, other, 4096));
    serverRing = physicalRing("snk", 4096, other);
    server.notify(ACTIVATED, 0);
    EXPECT_EQ(writer.get(), 700) << log.dump();
    EXPECT_EQ(serverRing->getUsedSize(), 700U);
}

TEST_F(ASinksWrite, EndsWithInvalidStateWhenTheSinkIsStopped) {
    makeWithSource();
    fillRing();
    std::future<int> writer = blockedWrite(10);
    ASSERT_EQ(sink->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[snk]after waiting ,status:IDLE, may have stop\n"), 1U)
        << log.dump();
}

TEST_F(ASinksWrite, EndsWithInvalidStateWhenTheServerRemovesTheSink) {
    makeWithSource();
    fillRing();
    std::future<int> writer = blockedWrite(10);
    server.notify(REMOVED, 0);
    EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[snk]after waiting ,status:STOPPING,server may have crash\n"), 1U)
        << log.dump();
}

TEST_F(ASinksWrite, DoesNotSpinWhenTheServerNamesNoStep) {
    for (const int step : {0, -1}) {
        makeWithSource(1000, step);
        fillRing();
        std::future<int> writer = blockedWrite(3);
        serverRing->updateReadOffset(3);
        EXPECT_EQ(writer.get(), 3) << log.dump();
        sink.reset();
    }
}

TEST_F(ASinksWrite, IsToldOfSlowWakeUps) {
    makeWithSource();
    fillRing();
    std::future<int> writer = blockedWrite(10);
    // Reading posts but stamps no time: the last stamp is the fill's, by now at least 3 ms old.
    const std::uint64_t stamp = serverRing->getUpdateTime();
    ASSERT_TRUE(eventually([&] { return AudioTime::now() / 1000 >= stamp + 3; }));
    Bytes heard(2000);
    serverRing->read(heard.data(), 2000);
    EXPECT_EQ(writer.get(), 10);
    EXPECT_TRUE(
        log.waitForMatching(WARN, "\\[snk\\] update share memory IPC interVal:[0-9]+ ms > 1 ms\n"))
        << log.dump();
}

TEST_F(ASinksWrite, FindsNoSpaceInARingThatCannotBeMapped) {
    server.on(CREATE, Answer::words(0, 0, 0, 1024, 0, 0, 0));
    server.on(GET_RING, Answer::words(0, RING_ADDRESS, 4096));
    AudioFormatDesc format = cdFormat();
    sink = std::make_unique<ClientSink>("no/such/place", AUDIO_TAG_MAIN, format, 0);
    start();
    server.notify(ACTIVATED, 0);
    settle();
    EXPECT_EQ(sink->getTotalBufferSize(), 0);
    EXPECT_EQ(write(4, false), 0);
    EXPECT_EQ(write(4, true), AUDIO_TIMED_OUT);
}

class ASinksDestruction : public ASink {};

TEST_F(ASinksDestruction, SendsNoStopRequest) {
    makeWithSource();
    sink.reset();
    EXPECT_EQ(log.count(DEBUG, "ClientSink", "~ClientSink", "[snk]destroy client\n"), 1U)
        << log.dump();
    EXPECT_TRUE(server.requests(STOP).empty());
    EXPECT_TRUE(server.requests(LET_GO).empty());
    EXPECT_TRUE(server.waitForEndOf());
}

TEST_F(ASinksDestruction, LetsGoOfTheRingBeforeTheConnection) {
    makeWithSource();
    log.clear();
    sink.reset();
    const std::vector<LogLine> lines = log.lines();
    const auto find = [&](const char* text) {
        return std::find_if(lines.begin(), lines.end(), [&](const LogLine& one) {
            return one.text.find(text) != std::string::npos;
        });
    };
    ASSERT_NE(find("delete shared memory name:snk"), lines.end()) << log.dump();
    ASSERT_NE(find("close socket fd:"), lines.end()) << log.dump();
    EXPECT_LT(find("delete shared memory name:snk"), find("close socket fd:")) << log.dump();
    EXPECT_LT(find("close socket fd:"), find("[snk]destroy client")) << log.dump();
}

TEST_F(ASinksDestruction, EndsAWriteThatWaitsForSpace) {
    makeWithSource();
    fillRing();
    std::future<int> writer = blockedWrite(10);
    const int lapsed = lapsedWaits();
    sink.reset();
    EXPECT_EQ(lapsedWaits(), lapsed) << "the writer has to say that it leaves";
    EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(WARN, "[snk] destroy with out stop finish\n"), 1U) << log.dump();
    EXPECT_EQ(log.count(ERROR, "[snk]waiting free space, exit has requested mState[0]\n"), 1U)
        << log.dump();
    EXPECT_EQ(log.countMatching(ERROR, ".*waitting exit timeout.*\n"), 0U) << log.dump();
}

TEST_F(ASinksDestruction, EndsAWriteThatWaitsForTheSource) {
    makeActive();
    std::future<int> writer = blockedWrite(10);
    const int lapsed = lapsedWaits();
    sink.reset();
    EXPECT_EQ(lapsedWaits(), lapsed) << "the writer has to say that it leaves";
    EXPECT_EQ(writer.get(), 0);
    EXPECT_EQ(log.count(ERROR, "[snk]state[NO_INIT] invalid, expect[ACTIVE]\n"), 1U) << log.dump();
    EXPECT_EQ(log.countMatching(ERROR, ".*waitting exit timeout.*\n"), 0U) << log.dump();
}

TEST_F(ASinksDestruction, GivesUpOnAWriterAfterTwoSeconds) {
    // The stuck writer never leaves, so the sink's memory has to stay.
    alignas(ClientSink) static unsigned char place[sizeof(ClientSink)];
    AudioFormatDesc format = cdFormat();
    auto* const stuck = new (place) ClientSink("stuck", AUDIO_TAG_MAIN, format, 0);
    ASSERT_EQ(stuck->start(), AUDIO_NO_ERROR);
    static unsigned char byte = 1;
    const int before = heldUp();
    std::thread([stuck] {
        holdUpInNextWait();
        (void)stuck->write(&byte, 1, true);
    }).detach();
    ASSERT_TRUE(eventually([&] { return heldUp() > before; }));
    const Stopwatch watch;
    stuck->~ClientSink();
    EXPECT_GE(watch.ms(), 2000);
    EXPECT_EQ(log.countMatching(ERROR, "\\[stuck\\] waitting exit timeout\\[2[0-9]{3,} ms\\]\n"),
              1U)
        << log.dump();
}

/// A request that waits for a server that has died holds the lock, which the destructor needs.
TEST_F(ASinksDestruction, EndsRequestsThatADeadServerWillNeverAnswer) {
    for (const int function : {START, GET_RING, LET_GO}) {
        make();
        server.on(static_cast<std::uint32_t>(function), Answer::none());
        std::future<int> starter;
        if (function == START)
            starter = std::async(std::launch::async, [&] { return sink->start(); });
        else
            server.notify(function == GET_RING ? ACTIVATED : WITHDRAWN, 0, server.clients() - 1);
        ASSERT_TRUE(server.waitForRequest(static_cast<std::uint32_t>(function)));
        server.close(server.clients() - 1);
        ASSERT_TRUE(log.waitForMatching(ERROR, "service may be crash.*\n")) << log.dump();
        const Stopwatch watch;
        sink.reset();
        EXPECT_LT(watch.ms(), 20'000);
        if (starter.valid()) {
            EXPECT_EQ(starter.get(), 1);
        }
        server.on(static_cast<std::uint32_t>(function), Answer::status(0));
        log.clear();
    }
}

TEST_F(ASinksDestruction, LeavesNothingBehind) {
    const ProcessState before = ProcessState::now();
    for (int round = 0; round < 5; ++round) {
        makeWithSource();
        ASSERT_EQ(write(100, true), 100);
        if (round % 2 == 0) withdraw();
        sink.reset();
        serverRing.reset();
        log.clear();
    }
    EXPECT_TRUE(returnsTo(before));
}

TEST_F(ASinksDestruction, SurvivesAStormOfNotifications) {
    server.on(CREATE, Answer::words(0, 0, 0, 1024, 0, 0, 0));
    server.on(GET_RING, Answer::words(0, RING_ADDRESS, 4096));
    const ProcessState before = ProcessState::now();
    AudioFormatDesc format = cdFormat();
    for (std::size_t round = 0; round < 20; ++round) {
        ClientSink storm("snk", AUDIO_TAG_MAIN, format, 0);
        for (std::uint32_t i = 0; i < 30; ++i)
            server.notify(i % 3 == 0 ? ACTIVATED : i % 3 == 1 ? WITHDRAWN : FINISHED, i, round);
        if (round % 4 == 0) server.notify(REMOVED, 0, round);
    }
    EXPECT_EQ(log.countMatching(DEBUG, "\\[snk\\]destroy client\n"), 20U);
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads == before.threads; }));
    EXPECT_TRUE(
        eventually([&] { return ProcessState::now().sharedMappings == before.sharedMappings; }));
}

}  // namespace
}  // namespace cabinaudio::test
