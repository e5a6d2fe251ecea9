// SPDX-License-Identifier: Apache-2.0
#include "tests/client/UplinkFixture.h"
#include "tests/support/ProcessState.h"

#include <atomic>
#include <thread>

namespace cabinaudio::test {
namespace {

class UplinkRing : public UplinkInTime {
protected:
    UplinkRing() { makeUplink(); }
};

TEST_F(UplinkRing, IsMappedWhereTheServerSays) {
    time.pass(123);
    giveRing(3000);
    EXPECT_EQ(server.requests(GET_RING).size(), 1U);
    EXPECT_EQ(sent(GET_RING, PLAIN), 1U);
    EXPECT_EQ(record->getTotalBufferSize(), 3000);
    EXPECT_TRUE(ringHasAName("rec"));
    EXPECT_TRUE(logged(INFO, "ClientRecordRt", "initShareMem",
                       "[rec] record initShareMem OK, shm_size = 3000\n"));
    // This line has no end.
    EXPECT_TRUE(logged(INFO,
                       "[rec] source already now,constructTime--->SourceReadyTime[cast:"
                       "123ms]"));
}

TEST_F(UplinkRing, IsAnnouncedByEveryValueButZero) {
    for (const std::uint32_t value : {2U, 255U, 0xffffffffU}) {
        makeUplink();
        server.on(GET_RING, Answer::words(0, RING_ADDRESS, 4096));
        serverRing.reset();
        serverRing = physicalRing("rec", 4096);
        server.notify(RING_STATE, value, newest());
        settle();
        EXPECT_EQ(record->getTotalBufferSize(), 4096) << value;
        record.reset();
    }
}

TEST_F(UplinkRing, IsUnmappedThenAcknowledgedWhenTheServerTakesIt) {
    giveRing();
    std::atomic<bool> wasThere{true};
    server.on(REMOVE_RING, [&](const Request&) {
        wasThere = record->getTotalBufferSize() != 0 || ringHasAName("rec");
        return Answer::status(0);
    });
    server.notify(RING_STATE, 0, newest());
    settle();
    EXPECT_EQ(sent(REMOVE_RING, PLAIN), 1U);
    EXPECT_FALSE(wasThere) << "acknowledged before the ring was gone";
    EXPECT_EQ(record->getTotalBufferSize(), 0);
    EXPECT_TRUE(logged(INFO, "ClientRecordRt", "unInitShareMem", "[rec] record unInitShareMem\n"));
    EXPECT_TRUE(loggedLike(ERROR, ".*\n", ABSENT));
}

TEST_F(UplinkRing, IsAcknowledgedWhenItIsTakenWithoutAnAnnouncement) {
    takeRing();
    EXPECT_TRUE(logged(INFO, "[rec] record unInitShareMem\n"));
    EXPECT_EQ(record->getTotalBufferSize(), 0);
}

TEST_F(UplinkRing, LogsTheTimeItWasAwayWhenItComesBack) {
    giveRing();
    takeRing();
    time.pass(55);
    giveRing();
    EXPECT_TRUE(logged(INFO,
                       "[rec] source already now,unInitShareMemTime--->SourceReadyTime[cast:"
                       "55ms]"));
}

TEST_F(UplinkRing, LogsWhenTheServerRefusesTheAcknowledgement) {
    giveRing();
    server.on(REMOVE_RING, Answer::status(-9));
    takeRing();
    EXPECT_TRUE(logged(ERROR, "remove[rec] share memory failed\n"));
    EXPECT_EQ(record->getTotalBufferSize(), 0);
}

TEST_F(UplinkRing, LogsWhenItsRequestFails) {
    server.on(GET_RING, Answer::words(-1990, 0, 0));
    server.notify(RING_STATE, 1, newest());
    settle();
    EXPECT_TRUE(logged(ERROR, "ClientRecordRt", "initShareMem",
                       "[rec] remote call return error(0), ret->status:-1990.\n"));
    EXPECT_EQ(record->getTotalBufferSize(), 0);
    start();
    EXPECT_EQ(read(512, true), 512) << "silence continues";
    giveRing();
    EXPECT_EQ(record->getTotalBufferSize(), 4096);
}

TEST_F(UplinkRing, IsIgnoredByARefusedStream) {
    server.on(CREATE, Answer::words(-1, 0, 0, 512, 16, 256, 0));
    record = create(Kind::Uplink, "rec", AUDIO_TAG_UPLINK);
    server.notify(RING_STATE, 1, newest());
    settle();
    EXPECT_TRUE(
        logged(WARN, "ClientRecordRt", "initShareMem", "[rec] can not init share memory.\n"));
    EXPECT_TRUE(server.requests(GET_RING).empty());
}

TEST_F(UplinkRing, IsReplacedByTheNextRing) {
    makeLive();
    std::unique_ptr<ShareMemoryEx> first;
    first.swap(serverRing);
    giveRing(5000, RING_ADDRESS + 0x10000);
    EXPECT_EQ(record->getTotalBufferSize(), 5000);
    ASSERT_TRUE(put(*first, pattern(100)));
    ASSERT_TRUE(put(*serverRing, pattern(100, 500)));
    EXPECT_TRUE(delivered(read(100, true), pattern(100, 500)));
}

TEST_F(UplinkRing, IsReadNextTimeWhenItArrivesDuringAWaitForSilence) {
    start();
    time.wakeAfter(2, [&] { giveRing(); });
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(takeNoise().size(), 256U) << "silence, at once";
    ASSERT_TRUE(put(*serverRing, pattern(512)));
    EXPECT_TRUE(delivered(read(512, true), pattern(512)));
}

class NewUplinkRing : public UplinkInTime {
protected:
    NewUplinkRing() {
        makeUplink();
        start();
        giveRing();
    }
    [[nodiscard]] std::size_t live() const {
        return log.countMatching(INFO, "\\[rec\\]start read from shm.*\n");
    }
};

TEST_F(NewUplinkRing, IsNotReadBeforeItHoldsAWholeRequest) {
    const Bytes some(100, 0x77);
    ASSERT_EQ(serverRing->write(some.data(), 100), 100);
    (void)read(200, false);  // silence, as much as is due
    EXPECT_EQ(serverRing->getUsedSize(), 100U) << "the ring's data is taken too early";
    EXPECT_EQ(live(), 0U) << log.dump();
    ASSERT_EQ(serverRing->write(some.data(), 100), 100);
    EXPECT_TRUE(delivered(read(200, false), Bytes(200, 0x77)));
    EXPECT_EQ(live(), 1U) << log.dump();
}

TEST_F(NewUplinkRing, IsNotReadEarlierBecauseTheRingBeforeItWasLive) {
    const Bytes some(200, 0x77);
    ASSERT_EQ(serverRing->write(some.data(), 200), 200);
    ASSERT_EQ(read(200, false), 200);
    ASSERT_EQ(live(), 1U);
    giveRing(8192);
    ASSERT_EQ(serverRing->write(some.data(), 100), 100);
    (void)read(200, false);
    EXPECT_EQ(serverRing->getUsedSize(), 100U);
    EXPECT_EQ(live(), 1U) << log.dump();
}

TEST_F(NewUplinkRing, IsReadOnceItHoldsAWholeRequest) {
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    EXPECT_EQ(read(512, true), 512) << "silence";
    EXPECT_EQ(serverRing->getUsedSize(), 100U);
    EXPECT_TRUE(loggedLike(INFO, ".*start read from shm.*\n", ABSENT));
    ASSERT_TRUE(put(*serverRing, pattern(412, 100)));
    EXPECT_TRUE(delivered(read(512, true), pattern(512)));
    EXPECT_TRUE(logged(INFO, "[rec]start read from shm(dsp) at 16 ms readBytes:512\n"));
    ASSERT_TRUE(put(*serverRing, pattern(512)));
    EXPECT_EQ(read(512, true), 512);
    EXPECT_TRUE(loggedLike(INFO, ".*start read from shm.*\n"));
}

TEST_F(NewUplinkRing, IsCountedInsteadOfSilenceOnceItWasRead) {
    time.pass(5);
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    EXPECT_EQ(record->bytesUsed(), 160) << "silence until something was read";
    EXPECT_EQ(read(10, true), 10);
    EXPECT_EQ(record->bytesUsed(), 90);
}

/// Reads of an uplink that was live and whose ring is empty.
class LiveData : public UplinkInTime {
protected:
    LiveData() { makeLive(); }
};

TEST_F(LiveData, IsReturnedAsFarAsItIsThereWithoutBlocking) {
    EXPECT_EQ(read(512, false), 0);
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    EXPECT_TRUE(delivered(read(512, false), pattern(100)));
    EXPECT_EQ(time.takeWaits(), Waits{});
}

TEST_F(LiveData, IsWaitedForUntilTheWholeRequestIsThere) {
    time.wakeAfter(5, [&] { ASSERT_TRUE(put(*serverRing, pattern(200))); });
    time.wakeAfter(5, [&] { ASSERT_TRUE(put(*serverRing, pattern(312, 200))); });
    EXPECT_TRUE(delivered(read(512, true), pattern(512)));
    EXPECT_EQ(time.takeWaits(), (Waits{1000, 1000}));
}

TEST_F(LiveData, ReadReturnsInvalidStateAfterASecondWithoutData) {
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    EXPECT_EQ(read(512, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(time.takeWaits(), Waits{1000});
    EXPECT_TRUE(logged(ERROR, "[rec]wait shm data timeOut:1000 expect:1000\n"));
    EXPECT_TRUE(logged(ERROR, "ClientRecordRt", "read", "[rec] client read data error state:3\n"));
    EXPECT_EQ(serverRing->getUsedSize(), 100U) << "nothing is lost";
    ASSERT_TRUE(put(*serverRing, pattern(412, 100)));
    EXPECT_TRUE(delivered(read(512, true), pattern(512))) << "no read is blocked any more";
}

TEST_F(LiveData, ReadLogsTheTimeOutEvenWhenTheUplinkWasStoppedMeanwhile) {
    time.timeOutAfter([&] { EXPECT_EQ(record->stop(), AUDIO_NO_ERROR); });
    EXPECT_EQ(read(512, true), AUDIO_INVALID_STATE);
    EXPECT_TRUE(logged(ERROR, "[rec]wait shm data timeOut:1000 expect:1000\n"));
    EXPECT_TRUE(loggedLike(ERROR, ".*after waiting.*\n", ABSENT));
}

TEST_F(LiveData, GivesWayToSilenceWhenTheRingIsTaken) {
    time.wakeAfter(5, [&] { takeRing(); });
    EXPECT_EQ(read(512, true), 512);
    ASSERT_EQ(takeNoise().size(), 256U) << log.dump();
    giveRing();
    EXPECT_EQ(read(512, true), 512) << "and is silence until the new ring has delivered";
    EXPECT_EQ(takeNoise().size(), 256U);
    ASSERT_TRUE(put(*serverRing, pattern(512)));
    EXPECT_TRUE(delivered(read(512, true), pattern(512)));
}

TEST_F(LiveData, ReadReturnsInvalidStateWhenTheUplinkIsStopped) {
    time.wakeAfter(5, [&] { EXPECT_EQ(record->stop(), AUDIO_NO_ERROR); });
    EXPECT_EQ(read(512, true), AUDIO_INVALID_STATE);
    EXPECT_TRUE(logged(ERROR, "[rec]after waiting ,status:IDLE, may have stop\n"));
}

TEST_F(LiveData, CountsAsReturnedForTheSilenceThatFollows) {
    for (int i = 0; i < 10; ++i) {
        ASSERT_TRUE(put(*serverRing, pattern(512)));
        ASSERT_EQ(read(512, true), 512);
    }
    takeRing();
    // Ten periods were read in no time: the bytes due wrap round to the cap.
    EXPECT_EQ(record->bytesUsed(), 1024);
}

TEST_F(LiveData, ReadReturnsInvalidStateForMoreThanTheRingHolds) {
    makeLive(speech(), 1000);
    ASSERT_TRUE(put(*serverRing, pattern(999)));
    EXPECT_EQ(read(2000, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(read(2000, false), 999);
}

TEST_F(LiveData, IsNotFoundInARingWithAnImpossibleHeader) {
    serverRing->updateWriteOffset(0xffffffffU);
    EXPECT_EQ(record->bytesUsed(), 0);
    EXPECT_EQ(read(10, false), 0);
}

/// Real time, real threads.
class LiveDataInRealTime : public RecordFixture {
protected:
    /// A read of 300 bytes, of an uplink that has delivered and has nothing any more.
    [[nodiscard]] std::future<int> blockedLiveRead() {
        makeUplink();
        start();
        giveRing();
        EXPECT_TRUE(put(*serverRing, pattern(10)));
        EXPECT_EQ(read(10, true), 10);
        return blockedRead(300);
    }
};

TEST_F(LiveDataInRealTime, WakesAReaderThatWaitsForIt) {
    std::future<int> reader = blockedLiveRead();
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    ASSERT_TRUE(put(*serverRing, pattern(200, 100)));
    EXPECT_EQ(reader.get(), 300) << log.dump();
    EXPECT_EQ(heard(300), pattern(300));
}

TEST_F(LiveDataInRealTime, GivesWayToSilenceWhenTheRingIsTaken) {
    std::future<int> reader = blockedLiveRead();
    takeRing();
    EXPECT_EQ(reader.get(), 300) << "silence" << log.dump();
}

TEST_F(LiveDataInRealTime, WarnsOfASlowWakeUpByName) {
    std::future<int> reader = blockedLiveRead();
    const std::uint64_t stamp = serverRing->getUpdateTime();
    ASSERT_TRUE(eventually([&] {
        dynamic_cast<ClientRecordRt&>(*record).notify();
        return log.countMatching(
                   WARN, "\\[rec\\] update share memory IPC interVal:[0-9]+ ms > 1 ms\n") > 0;
    })) << stamp
        << log.dump();
    ASSERT_TRUE(put(*serverRing, pattern(300)));
    EXPECT_EQ(reader.get(), 300) << log.dump();
}

/// The ring comes and goes during reads: every read returns the requested length, and the
/// server's data arrives without gaps as long as one ring lives.
TEST_F(LiveDataInRealTime, ComesAndGoesUnderAReader) {
    makeUplink();
    start();
    std::atomic<bool> end{false};
    std::atomic<int> wrong{0};
    std::thread reader([&] {
        unsigned char buffer[64];
        while (!end) {
            const int got = record->read(buffer, sizeof buffer, true);
            const int total = record->getTotalBufferSize();
            if (got != sizeof buffer && got != AUDIO_INVALID_STATE) ++wrong;
            if (total != 0 && total != 4096) ++wrong;
        }
    });
    for (int round = 0; round < 100; ++round) {
        giveRing();
        ASSERT_TRUE(put(*serverRing, pattern(640)));
        takeRing();
    }
    end = true;
    reader.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(record->stop(), AUDIO_NO_ERROR);
}

TEST_F(LiveDataInRealTime, RingStaysMappedWhileItsSizeIsRead) {
    makeUplink();
    std::atomic<bool> end{false};
    std::atomic<int> wrong{0};
    std::thread reader([&] {
        while (!end) {
            const int total = record->getTotalBufferSize();
            const int used = record->bytesUsed();
            if ((total != 0 && total != 4096) || used > 4095) ++wrong;
        }
    });
    for (int round = 0; round < 50; ++round) {
        giveRing();
        takeRing();
    }
    end = true;
    reader.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace cabinaudio::test
