// SPDX-License-Identifier: Apache-2.0
#include "tests/client/RecordFixture.h"
#include "tests/support/ProcessState.h"

#include <algorithm>
#include <functional>
#include <thread>

namespace cabinaudio::test {
namespace {

/// Reads of an active record.
class RecordRead : public RecordFixture {
protected:
    RecordRead() { makeActive(); }

    void makeActive(unsigned size = 4096, int perLoopSize = 1024) {
        makeRawMic(size, perLoopSize);
        start();
    }
    /// A read that waits for more than the 30 bytes in the ring returns these when `end` is done,
    /// without waiting for its time-out.
    void expectPartialRead(const std::function<void()>& end) {
        ASSERT_TRUE(put(*serverRing, pattern(30)));
        std::future<int> reader = blockedRead(100);
        end();
        EXPECT_EQ(reader.get(), 30) << log.dump();
        EXPECT_TRUE(loggedLike(WARN, ".*data update timeout.*\n", ABSENT)) << "woken at once";
    }
};

TEST_F(RecordRead, RefusesNoBufferAndImpossibleLengthsInEveryState) {
    makeRawMic();
    makeRawMic();
    EXPECT_EQ(record->read(nullptr, 10, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(read(0, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(read(-7, false), AUDIO_BAD_VALUE);
    EXPECT_EQ(read(4097, true), AUDIO_BAD_VALUE);
    for (const char* const bytes : {"10", "0", "-7", "4097"})
        EXPECT_TRUE(
            logged(ERROR, "ClientRecord", "read",
                   std::string("[rec]invalid input param, bufferSize:4096 bytes:") + bytes + "\n"));
    start();
    EXPECT_EQ(read(4096, false), 0);
}

TEST_F(RecordRead, IsRefusedWithoutARing) {
    server.on(CREATE, Answer::words(0, 0, 4096, 1024, 16, 512, 0));
    record = create(Kind::RawMic, "no/such/place");
    start();
    EXPECT_EQ(record->getTotalBufferSize(), 0);
    EXPECT_EQ(record->bytesUsed(), 0);
    EXPECT_EQ(read(4, true), AUDIO_BAD_VALUE);
    EXPECT_TRUE(logged(ERROR, "[no/such/place]invalid input param, bufferSize:0 bytes:4\n"));
}

TEST_F(RecordRead, ReturnsTheBytesAvailableWithoutBlocking) {
    EXPECT_EQ(read(10, false), 0);
    ASSERT_TRUE(put(*serverRing, pattern(300)));
    EXPECT_EQ(record->bytesUsed(), 300);
    EXPECT_TRUE(delivered(read(100, false), pattern(100)));
    EXPECT_TRUE(delivered(read(500, false), pattern(200, 100)));
    EXPECT_EQ(record->bytesUsed(), 0);
    EXPECT_TRUE(loggedLike(ERROR, ".*\n", ABSENT));
}

TEST_F(RecordRead, DoesNotWaitForAvailableBytes) {
    ASSERT_TRUE(put(*serverRing, pattern(300)));
    EXPECT_TRUE(delivered(read(300, true), pattern(300)));
}

TEST_F(RecordRead, ReturnsNothingAfterASecondWithoutData) {
    const Stopwatch watch;
    EXPECT_EQ(read(10, true), 0);
    EXPECT_GE(watch.ms(), 1000);
    EXPECT_TRUE(logged(WARN, "[rec] waitting share memory data update timeout[1000 ms]\n"));
    ASSERT_TRUE(put(*serverRing, pattern(10)));
    EXPECT_EQ(read(10, true), 10) << "no read is blocked any more";
}

TEST_F(RecordRead, ReturnsTheBytesItHasAfterASecondWithoutMore) {
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    const Stopwatch watch;
    EXPECT_EQ(read(200, true), 100);
    EXPECT_GE(watch.ms(), 1000);
    EXPECT_EQ(heard(100), pattern(100));
}

TEST_F(RecordRead, ContinuesWithEveryPieceThatTheServerWrites) {
    makeActive(8192, 1024);
    std::future<int> reader = blockedRead(4096);
    for (unsigned piece = 0; piece < 4; ++piece) {
        EXPECT_NE(reader.wait_for(std::chrono::seconds(0)), std::future_status::ready);
        ASSERT_TRUE(put(*serverRing, pattern(1024, 1024 * piece)));
        ASSERT_TRUE(eventually([&] { return serverRing->getUsedSize() == 0; })) << log.dump();
    }
    EXPECT_EQ(reader.get(), 4096) << log.dump();
    EXPECT_EQ(heard(4096), pattern(4096));
}

TEST_F(RecordRead, KeepsWaitingWhenItIsWokenWithoutData) {
    std::future<int> reader = blockedRead(10);
    for (int i = 0; i < 5; ++i)
        serverRing->write(data.data(), 0);  // posts
    EXPECT_NE(reader.wait_for(std::chrono::milliseconds(20)), std::future_status::ready);
    ASSERT_TRUE(put(*serverRing, pattern(10)));
    EXPECT_EQ(reader.get(), 10);
}

TEST_F(RecordRead, ContinuesWhenTheServerMovesItsOffset) {
    std::future<int> reader = blockedRead(100);
    serverRing->updateWriteOffset(100);
    EXPECT_EQ(reader.get(), 100) << log.dump();
}

TEST_F(RecordRead, IsRefusedWhileAnotherWaits) {
    std::future<int> reader = blockedRead(10);
    EXPECT_TRUE(logged(ERROR, "ClientRecord", "read",
                       "[rec]Can not read,the last write did not exit [mIsBlocked=1]\n"));
    EXPECT_EQ(read(10, false), AUDIO_INVALID_STATE) << "also when it would not block";
    ASSERT_TRUE(put(*serverRing, pattern(10)));
    EXPECT_EQ(reader.get(), 10);
}

TEST_F(RecordRead, IsNotWokenByAStop) {
    const Stopwatch watch;
    std::future<int> reader = blockedRead(10);
    ASSERT_EQ(record->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(reader.get(), 0);
    EXPECT_GE(watch.ms(), 1000);
    EXPECT_TRUE(logged(WARN, "[rec] waitting share memory data update timeout[1000 ms]\n"));
}

TEST_F(RecordRead, LeavesDataThatArrivesAfterAStopInTheRing) {
    ASSERT_TRUE(put(*serverRing, pattern(30)));
    std::future<int> reader = blockedRead(100);
    ASSERT_EQ(record->stop(), AUDIO_NO_ERROR);
    ASSERT_TRUE(put(*serverRing, pattern(70)));
    EXPECT_EQ(reader.get(), 30) << "the bytes from before the stop";
    EXPECT_EQ(serverRing->getUsedSize(), 70U);
    EXPECT_TRUE(loggedLike(WARN, ".*waitting share memory.*\n", ABSENT));
    start();
    EXPECT_EQ(record->bytesUsed(), 70);
}

TEST_F(RecordRead, ReturnsTheBytesItHasWhenTheServerRemovesTheRecord) {
    expectPartialRead([&] { server.notify(REMOVED, 0, newest()); });
    EXPECT_EQ(read(4, true), AUDIO_INVALID_STATE);
}

TEST_F(RecordRead, ReturnsTheBytesItHasWhenTheServerGoesAway) {
    expectPartialRead([&] { server.stop(); });
    EXPECT_TRUE(logged(DEBUG, "[rec]server record has be deleted, disconnect.\n"));
}

TEST_F(RecordRead, WarnsOfASlowWakeUpWithoutAName) {
    std::future<int> reader = blockedRead(10);
    // The ring was never written to: its last update is as long ago as can be.
    dynamic_cast<ClientRecord&>(*record).notify();
    EXPECT_TRUE(loggedLike(WARN, "update share memory IPC interVal:[0-9]+ ms > 1 ms\n"));
    ASSERT_TRUE(put(*serverRing, pattern(10)));
    EXPECT_EQ(reader.get(), 10);
}

TEST_F(RecordRead, LogsNoWakeUpWithoutAWait) {
    ASSERT_TRUE(put(*serverRing, pattern(10)));
    dynamic_cast<ClientRecord&>(*record).notify();
    EXPECT_TRUE(loggedLike(WARN, ".*update share memory.*\n", ABSENT));
}

TEST_F(RecordRead, FindsNothingInARingWithAnImpossibleHeader) {
    serverRing->updateWriteOffset(0xffffffffU);
    EXPECT_EQ(record->bytesUsed(), 0);
    EXPECT_EQ(read(10, false), 0);
}

/// A stream that is many times as long as the ring arrives as it was sent.
TEST_F(RecordRead, ReturnsALongStreamUnchanged) {
    constexpr unsigned TOTAL = 200'000;
    makeActive(1009, 250);  // so that pieces lie across its end
    std::thread writer([&] {
        const Bytes sent = pattern(TOTAL);
        for (unsigned done = 0; done < TOTAL;)
            done += static_cast<unsigned>(
                serverRing->write(sent.data() + done, std::min(TOTAL - done, 333U)));
    });
    Bytes all;
    while (all.size() < TOTAL) {
        const int want = std::min<int>(static_cast<int>(TOTAL - all.size()), 777);
        const int got = read(want, true);
        if (got != want) break;
        all.insert(all.end(), data.begin(), data.begin() + got);
    }
    writer.join();
    EXPECT_TRUE(all == pattern(TOTAL)) << all.size() << "\n" << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
