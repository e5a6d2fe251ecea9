// SPDX-License-Identifier: Apache-2.0
#include "tests/client/RecordFixture.h"
#include "tests/client/SlowThreads.h"
#include "tests/support/ProcessState.h"

#include <algorithm>
#include <new>
#include <thread>

namespace cabinaudio::test {
namespace {

class CaptureDestruction : public EachCapture {
protected:
    /// Position in the log of the first line that holds this; a test fails without one.
    [[nodiscard]] std::size_t positionOf(const std::string& text) const {
        const std::string lines = log.dump();
        EXPECT_NE(lines.find(text), std::string::npos) << text << lines;
        return lines.find(text);
    }
    /// A read of the active stream that waits for longer than any of these tests takes.
    [[nodiscard]] std::future<int> waitingRead() {
        if (kind == Kind::RawMic) return blockedRead(10);
        return blockedRead(32 * 60'000);  // a minute's worth of silence
    }
    void makeActive() {
        make();
        data.resize(32 * 60'000);
        start();
    }

    static constexpr const char* TIMEOUT = "[rec] waitting exit read timeout[500 ms]\n";
};

INSTANTIATE_TEST_SUITE_P(Stream, CaptureDestruction, CAPTURES, captureName);

TEST_P(CaptureDestruction, SendsNoStopRequest) {
    makeActive();
    record.reset();
    EXPECT_TRUE(server.requests(STOP).empty());
    EXPECT_TRUE(server.waitForEndOf());
    EXPECT_EQ(log.count(DEBUG, file(), text("~ClientRecord", "~ClientRecordRt"), "[rec] destroy\n"),
              kind == Kind::RawMic ? 0U : 1U)
        << log.dump();
}

TEST_P(CaptureDestruction, LogsNoTimeOutWithoutARead) {
    makeActive();
    record.reset();
    EXPECT_TRUE(logged(WARN, TIMEOUT, ABSENT));
}

TEST_P(CaptureDestruction, EndsABlockedRead) {
    makeActive();
    std::future<int> reader = waitingRead();
    const int lapsed = lapsedWaits();
    record.reset();
    EXPECT_EQ(lapsedWaits(), lapsed) << "the reader must signal when it leaves";
    EXPECT_TRUE(logged(WARN, TIMEOUT, ABSENT));
    if (kind == Kind::RawMic) {
        EXPECT_EQ(reader.get(), 0);
        EXPECT_TRUE(loggedLike(WARN, ".*data update timeout.*\n", ABSENT)) << "woken at once";
    } else {
        EXPECT_EQ(reader.get(), AUDIO_INVALID_STATE);
        EXPECT_TRUE(logged(ERROR, "[rec]after waiting ,status:NO_INIT, may have destroy\n"));
        EXPECT_TRUE(logged(ERROR, "[rec] client read data error state:0\n"));
    }
}

TEST_P(CaptureDestruction, KeepsWaitingWhenAnUpdateWakesItInsteadOfTheReader) {
    makeActive();
    std::binary_semaphore go{0};
    const int bytes = kind == Kind::RawMic ? 10 : 32 * 60'000;
    std::future<int> reader = blocked(
        [&] {
            sleepUntilReleased(go);
            return read(bytes, true);
        },
        AUDIO_INVALID_STATE);
    AudioRecord* const watched = record.get();
    auto* const update = dynamic_cast<ShareMemoryUpdateNotificationCallback*>(watched);
    ASSERT_NE(update, nullptr);
    std::thread destroyer([this] { record.reset(); });
    EXPECT_TRUE(eventually([&] {
        (void)watched->bytesUsed();
        return log.countMatching(ERROR, ".*([Aa]bnormal state|state is not active):0.\n") != 0;
    })) << log.dump();
    update->notify();
    // A destructor that does not wait on gives the reader up now.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    go.release();
    destroyer.join();
    EXPECT_TRUE(logged(WARN, TIMEOUT, ABSENT));
    EXPECT_EQ(reader.get(), kind == Kind::RawMic ? 0 : AUDIO_INVALID_STATE);
}

TEST_P(CaptureDestruction, GivesUpOnAReaderAfterHalfASecond) {
    // The stuck reader never leaves, so the record's memory has to stay.
    constexpr std::size_t SIZE = std::max(sizeof(ClientRecord), sizeof(ClientRecordRt));
    alignas(std::max_align_t) static unsigned char places[2][SIZE];
    unsigned char* const place = places[kind == Kind::RawMic ? 0 : 1];
    server.on(CREATE, Answer::words(0, 0, 4096, 512, 16, 256, 0));
    AudioFormatDesc format = speech();
    serverRing = posixRing("rec", 4096);
    AudioRecord* stuck = nullptr;
    if (kind == Kind::RawMic)
        stuck = new (place) ClientRecord("rec", AUDIO_TAG_INPUT0, format, 0);
    else
        stuck = new (place) ClientRecordRt("rec", AUDIO_TAG_UPLINK, format);
    ASSERT_EQ(stuck->start(), AUDIO_NO_ERROR);
    static unsigned char buffer[4096];
    const int before = heldUp();
    std::thread([stuck] {
        holdUpInNextWait();
        (void)stuck->read(buffer, sizeof buffer, true);
    }).detach();
    ASSERT_TRUE(eventually([&] { return heldUp() > before; }));
    const Stopwatch watch;
    stuck->~AudioRecord();
    EXPECT_GE(watch.ms(), 500);
    EXPECT_TRUE(logged(WARN, TIMEOUT));
    // The connection goes before the wait or after it, and the ring last of all.
    const std::size_t closed = positionOf("close socket fd:");
    if (kind == Kind::RawMic) {
        EXPECT_LT(closed, positionOf(TIMEOUT)) << log.dump();
        EXPECT_LT(positionOf(TIMEOUT), positionOf("delete shared memory name:rec"));
    } else {
        EXPECT_GT(closed, positionOf(TIMEOUT)) << log.dump();
        EXPECT_LT(closed, positionOf("[rec] destroy\n"));
    }
}

TEST_P(CaptureDestruction, ClosesTheConnectionBeforeItUnmapsTheRing) {
    makeCapturing();
    log.clear();
    record.reset();
    EXPECT_LT(positionOf("close socket fd:"), positionOf("delete shared memory name:rec"))
        << log.dump();
}

/// A request that waits for a server that has died holds the lock, which the destructor needs.
TEST_P(CaptureDestruction, EndsARequestThatADeadServerNeverAnswers) {
    make();
    server.on(START, Answer::none());
    std::future<int> starter = std::async(std::launch::async, [&] { return record->start(); });
    ASSERT_TRUE(server.waitForRequest(START));
    server.stop();
    ASSERT_TRUE(log.waitForMatching(ERROR, "service may be crash.*\n")) << log.dump();
    record.reset();
    EXPECT_EQ(starter.get(), 1);
    EXPECT_TRUE(logged(ERROR, text("[rec]start failed\n", "[rec] start failed\n")));
}

TEST_P(CaptureDestruction, LeavesNothingBehind) {
    const ProcessState before = ProcessState::now();
    for (int round = 0; round < 5; ++round) {
        make();
        ASSERT_EQ(record->initCheck(), AUDIO_NO_ERROR);
        start();
        if (kind == Kind::Uplink) giveRing();
        ASSERT_TRUE(put(*serverRing, pattern(100)));
        ASSERT_EQ(read(100, true), 100);
        if (kind == Kind::Uplink && round % 2 == 0) takeRing();
        record.reset();
        serverRing.reset();
        log.clear();
    }
    EXPECT_TRUE(returnsTo(before));
}

TEST_P(CaptureDestruction, EndsTheThreadsOfTheStream) {
    make();
    if (kind == Kind::Uplink) giveRing();
    const auto ownThreads = [] {
        const std::vector<std::string> names = threadNames();
        return std::count_if(names.begin(), names.end(),
                             [](const std::string& name) { return name.rfind("AS-", 0) == 0; });
    };
    EXPECT_EQ(ownThreads(), 3) << ::testing::PrintToString(threadNames());
    record.reset();
    EXPECT_TRUE(eventually([&] { return ownThreads() == 0; }))
        << ::testing::PrintToString(threadNames());
}

TEST_P(CaptureDestruction, SurvivesABurstOfNotifications) {
    const ProcessState before = ProcessState::now();
    server.on(CREATE, Answer::words(0, 0, 4096, 512, 16, 256, 0));
    server.on(GET_RING, Answer::words(0, RING_ADDRESS, 4096));
    for (std::size_t round = 0; round < 20; ++round) {
        record = create();
        for (std::uint32_t i = 0; i < 30; ++i)
            server.notify(i % 5 == 4 ? 9 : RING_STATE, i % 2, round);
        if (round % 4 == 0) server.notify(REMOVED, 0, round);
        record.reset();
    }
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads == before.threads; }));
    EXPECT_TRUE(
        eventually([&] { return ProcessState::now().sharedMappings == before.sharedMappings; }));
}

}  // namespace
}  // namespace cabinaudio::test
