// SPDX-License-Identifier: Apache-2.0
#include "tests/client/RecordFixture.h"
#include "tests/support/ProcessState.h"

#include <algorithm>
#include <thread>

namespace cabinaudio::test {
namespace {

class ARead : public ACaptureStream {
protected:
    /// What the record has taken of the ring is what the server has put into it.
    [[nodiscard]] bool isTaken() {
        return eventually([&] { return serverRing->getUsedSize() == 0; });
    }
};

TEST_F(ARead, NeedsABufferAndBytesThatTheRingCouldHoldWhateverTheState) {
    makeRawMic();
    EXPECT_EQ(record->read(nullptr, 10, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(read(0, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(read(-7, false), AUDIO_BAD_VALUE);
    EXPECT_EQ(read(4097, true), AUDIO_BAD_VALUE);
    for (const char* const bytes : {"10", "0", "-7", "4097"})
        EXPECT_EQ(log.count(ERROR, "ClientRecord", "read",
                            std::string("[rec]invalid input param, bufferSize:4096 bytes:") +
                                bytes + "\n"),
                  1U)
            << log.dump();
    start();
    EXPECT_EQ(read(4096, false), 0);
}

TEST_F(ARead, IsRefusedWithoutARing) {
    server.on(CREATE, Answer::words(0, 0, 4096, 1024, 16, 512, 0));
    AudioFormatDesc format = speech();
    ClientRecord broken("no/such/place", AUDIO_TAG_INPUT0, format, 0);
    ASSERT_EQ(broken.start(), AUDIO_NO_ERROR);
    EXPECT_EQ(broken.getTotalBufferSize(), 0);
    EXPECT_EQ(broken.bytesUsed(), 0);
    EXPECT_EQ(broken.read(data.data(), 4, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(log.count(ERROR, "[no/such/place]invalid input param, bufferSize:0 bytes:4\n"), 1U)
        << log.dump();
}

TEST_F(ARead, TakesWhatIsThereWhenItMayNotBlock) {
    makeRawMic();
    start();
    EXPECT_EQ(read(10, false), 0);
    ASSERT_TRUE(put(*serverRing, pattern(300)));
    EXPECT_EQ(record->bytesUsed(), 300);
    EXPECT_EQ(read(100, false), 100);
    EXPECT_EQ(heard(100), pattern(100));
    EXPECT_EQ(read(500, false), 200);
    EXPECT_EQ(heard(200), pattern(200, 100));
    EXPECT_EQ(record->bytesUsed(), 0);
    EXPECT_EQ(log.countMatching(ERROR, ".*\n"), 0U) << log.dump();
}

TEST_F(ARead, DoesNotWaitForWhatIsThere) {
    makeRawMic();
    start();
    ASSERT_TRUE(put(*serverRing, pattern(300)));
    EXPECT_EQ(read(300, true), 300);
    EXPECT_EQ(heard(300), pattern(300));
}

TEST_F(ARead, GivesUpOnAServerThatIsSilentForASecond) {
    makeRawMic();
    start();
    const Stopwatch watch;
    EXPECT_EQ(read(10, true), 0);
    EXPECT_GE(watch.ms(), 1000);
    EXPECT_EQ(log.count(WARN, "[rec] waitting share memory data update timeout[1000 ms]\n"), 1U)
        << log.dump();
    ASSERT_TRUE(put(*serverRing, pattern(10)));
    EXPECT_EQ(read(10, true), 10) << "nobody is blocked any more";
}

TEST_F(ARead, ReturnsWhatItHasWhenNothingElseComes) {
    makeRawMic();
    start();
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    const Stopwatch watch;
    EXPECT_EQ(read(200, true), 100);
    EXPECT_GE(watch.ms(), 1000);
    EXPECT_EQ(heard(100), pattern(100));
}

TEST_F(ARead, GoesOnWithEveryPieceThatTheServerWrites) {
    makeRawMic(8192, 1024);
    start();
    std::future<int> reader = blockedRead(4096);
    for (unsigned piece = 0; piece < 4; ++piece) {
        EXPECT_NE(reader.wait_for(std::chrono::seconds(0)), std::future_status::ready);
        ASSERT_TRUE(put(*serverRing, pattern(1024, 1024 * piece)));
        ASSERT_TRUE(isTaken()) << log.dump();
    }
    EXPECT_EQ(reader.get(), 4096) << log.dump();
    EXPECT_EQ(heard(4096), pattern(4096));
}

TEST_F(ARead, WaitsOnWhenItIsWokenForNothing) {
    makeRawMic();
    start();
    std::future<int> reader = blockedRead(10);
    for (int i = 0; i < 5; ++i)
        serverRing->write(data.data(), 0);  // posts
    EXPECT_NE(reader.wait_for(std::chrono::milliseconds(20)), std::future_status::ready);
    ASSERT_TRUE(put(*serverRing, pattern(10)));
    EXPECT_EQ(reader.get(), 10);
}

TEST_F(ARead, IsWokenByAnOffsetUpdate) {
    makeRawMic();
    start();
    std::future<int> reader = blockedRead(100);
    serverRing->updateWriteOffset(100);
    EXPECT_EQ(reader.get(), 100) << log.dump();
}

TEST_F(ARead, IsRefusedWhileAnotherOneWaits) {
    makeRawMic();
    start();
    std::future<int> reader = blockedRead(10);
    EXPECT_EQ(log.count(ERROR, "ClientRecord", "read",
                        "[rec]Can not read,the last write did not exit [mIsBlocked=1]\n"),
              1U)
        << log.dump();
    EXPECT_EQ(read(10, false), AUDIO_INVALID_STATE) << "also when it would not block";
    ASSERT_TRUE(put(*serverRing, pattern(10)));
    EXPECT_EQ(reader.get(), 10);
}

TEST_F(ARead, IsNotWokenByAStop) {
    makeRawMic();
    start();
    const Stopwatch watch;
    std::future<int> reader = blockedRead(10);
    ASSERT_EQ(record->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(reader.get(), 0);
    EXPECT_GE(watch.ms(), 1000);
    EXPECT_EQ(log.count(WARN, "[rec] waitting share memory data update timeout[1000 ms]\n"), 1U)
        << log.dump();
}

TEST_F(ARead, LeavesDataThatComesAfterAStopWhereItIs) {
    makeRawMic();
    start();
    ASSERT_TRUE(put(*serverRing, pattern(30)));
    std::future<int> reader = blockedRead(100);
    ASSERT_EQ(record->stop(), AUDIO_NO_ERROR);
    ASSERT_TRUE(put(*serverRing, pattern(70)));
    EXPECT_EQ(reader.get(), 30) << "what it had by then";
    EXPECT_EQ(serverRing->getUsedSize(), 70U);
    EXPECT_EQ(log.countMatching(WARN, ".*waitting share memory.*\n"), 0U) << log.dump();
    start();
    EXPECT_EQ(record->bytesUsed(), 70);
}

TEST_F(ARead, EndsWithWhatItHasWhenTheServerRemovesTheRecord) {
    makeRawMic();
    start();
    ASSERT_TRUE(put(*serverRing, pattern(30)));
    std::future<int> reader = blockedRead(100);
    server.notify(REMOVED, 0);
    EXPECT_EQ(reader.get(), 30) << log.dump();
    EXPECT_EQ(log.countMatching(WARN, ".*data update timeout.*\n"), 0U) << "woken at once";
    EXPECT_EQ(read(4, true), AUDIO_INVALID_STATE);
}

TEST_F(ARead, EndsWithWhatItHasWhenTheServerGoesAway) {
    makeRawMic();
    start();
    ASSERT_TRUE(put(*serverRing, pattern(30)));
    std::future<int> reader = blockedRead(100);
    server.stop();
    EXPECT_EQ(reader.get(), 30) << log.dump();
    EXPECT_EQ(log.countMatching(WARN, ".*data update timeout.*\n"), 0U) << "woken at once";
    EXPECT_EQ(log.count(DEBUG, "[rec]server record has be deleted, disconnect.\n"), 1U);
}

TEST_F(ARead, IsToldOfSlowWakeUpsWithoutAName) {
    makeRawMic();
    start();
    std::future<int> reader = blockedRead(10);
    // The ring was never written to: its last update is as long ago as can be.
    dynamic_cast<ClientRecord&>(*record).notify();
    EXPECT_EQ(log.countMatching(WARN, "update share memory IPC interVal:[0-9]+ ms > 1 ms\n"), 1U)
        << log.dump();
    ASSERT_TRUE(put(*serverRing, pattern(10)));
    EXPECT_EQ(reader.get(), 10);
}

TEST_F(ARead, HearsNothingOfWakeUpsThatNobodyWaitsFor) {
    makeRawMic();
    start();
    ASSERT_TRUE(put(*serverRing, pattern(10)));
    dynamic_cast<ClientRecord&>(*record).notify();
    EXPECT_EQ(log.countMatching(WARN, ".*update share memory.*\n"), 0U) << log.dump();
}

TEST_F(ARead, FindsNothingInARingWithAnImpossibleHeader) {
    makeRawMic();
    start();
    serverRing->updateWriteOffset(0xffffffffU);
    EXPECT_EQ(record->bytesUsed(), 0);
    EXPECT_EQ(read(10, false), 0);
}

/// A stream that is many times as long as the ring arrives as it was sent.
TEST_F(ARead, LosesAndInventsNothing) {
    constexpr unsigned TOTAL = 200'000;
    makeRawMic(1009, 250);  // so that pieces lie across its end
    start();
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
