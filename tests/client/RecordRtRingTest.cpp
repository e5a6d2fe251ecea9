// SPDX-License-Identifier: Apache-2.0
#include "tests/client/UplinkFixture.h"
#include "tests/support/ProcessState.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace cabinaudio::test {
namespace {

bool isRingsName(const std::string& name) {
    return name.find("rec_0x100000") != std::string::npos;
}

bool ringHasAName() {
    const std::vector<std::string> names = ProcessState::now().shmNames;
    return std::any_of(names.begin(), names.end(), isRingsName);
}

class AnUplinksRing : public AnUplinkInTime {};

TEST_F(AnUplinksRing, IsMappedWhereTheServerSays) {
    makeUplink();
    time.pass(123);
    giveRing(3000);
    EXPECT_EQ(server.requests(GET_RING).size(), 1U);
    EXPECT_EQ(sent(GET_RING, PLAIN), 1U);
    EXPECT_EQ(record->getTotalBufferSize(), 3000);
    EXPECT_TRUE(ringHasAName());
    EXPECT_EQ(log.count(INFO, "ClientRecordRt", "initShareMem",
                        "[rec] record initShareMem OK, shm_size = 3000\n"),
              1U)
        << log.dump();
    // This line has no end.
    EXPECT_EQ(log.count(INFO,
                        "[rec] source already now,constructTime--->SourceReadyTime[cast:"
                        "123ms]"),
              1U)
        << log.dump();
}

TEST_F(AnUplinksRing, IsAnnouncedByEveryValueButZero) {
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

TEST_F(AnUplinksRing, IsLetGoOfWhenTheServerTakesItAndAcknowledgedThen) {
    makeUplink();
    giveRing();
    std::atomic<bool> wasThere{true};
    server.on(REMOVE_RING, [&](const Request&) {
        wasThere = record->getTotalBufferSize() != 0 || ringHasAName();
        return Answer::status(0);
    });
    server.notify(RING_STATE, 0);
    settle();
    EXPECT_EQ(sent(REMOVE_RING, PLAIN), 1U);
    EXPECT_FALSE(wasThere) << "acknowledged before the ring was gone";
    EXPECT_EQ(record->getTotalBufferSize(), 0);
    EXPECT_EQ(log.count(INFO, "ClientRecordRt", "unInitShareMem", "[rec] record unInitShareMem\n"),
              1U)
        << log.dump();
    EXPECT_EQ(log.countMatching(ERROR, ".*\n"), 0U) << log.dump();
}

TEST_F(AnUplinksRing, CanBeTakenWithoutHavingBeenGiven) {
    makeUplink();
    takeRing();
    EXPECT_EQ(log.count(INFO, "[rec] record unInitShareMem\n"), 1U) << log.dump();
    EXPECT_EQ(record->getTotalBufferSize(), 0);
}

TEST_F(AnUplinksRing, SaysHowLongItWasAwayWhenItComesBack) {
    makeUplink();
    giveRing();
    takeRing();
    time.pass(55);
    giveRing();
    EXPECT_EQ(log.count(INFO,
                        "[rec] source already now,unInitShareMemTime--->SourceReadyTime[cast:"
                        "55ms]"),
              1U)
        << log.dump();
}

TEST_F(AnUplinksRing, SaysWhenTheServerDoesNotTakeNote) {
    makeUplink();
    giveRing();
    server.on(REMOVE_RING, Answer::status(-9));
    takeRing();
    EXPECT_EQ(log.count(ERROR, "remove[rec] share memory failed\n"), 1U) << log.dump();
    EXPECT_EQ(record->getTotalBufferSize(), 0);
}

TEST_F(AnUplinksRing, SaysWhenItCannotBeHad) {
    makeUplink();
    server.on(GET_RING, Answer::words(-1990, 0, 0));
    server.notify(RING_STATE, 1);
    settle();
    EXPECT_EQ(log.count(ERROR, "ClientRecordRt", "initShareMem",
                        "[rec] remote call return error(0), ret->status:-1990.\n"),
              1U)
        << log.dump();
    EXPECT_EQ(record->getTotalBufferSize(), 0);
    start();
    EXPECT_EQ(read(512, true), 512) << "silence goes on";
    giveRing();
    EXPECT_EQ(record->getTotalBufferSize(), 4096);
}

TEST_F(AnUplinksRing, IsNothingToAStreamThatTheServerRefused) {
    server.on(CREATE, Answer::words(-1, 0, 0, 512, 16, 256, 0));
    AudioFormatDesc format = speech();
    record = std::make_unique<ClientRecordRt>("rec", AUDIO_TAG_UPLINK, format);
    kind = Kind::UPLINK;
    server.notify(RING_STATE, 1);
    settle();
    EXPECT_EQ(
        log.count(WARN, "ClientRecordRt", "initShareMem", "[rec] can not init share memory.\n"), 1U)
        << log.dump();
    EXPECT_TRUE(server.requests(GET_RING).empty());
}

TEST_F(AnUplinksRing, IsReplacedByAnother) {
    makeLive();
    const auto first = std::move(serverRing);
    const unsigned other = RING_ADDRESS + 0x10000;
    server.on(GET_RING, Answer::words(0, other, 5000));
    serverRing = physicalRing("rec", 5000, other);
    server.notify(RING_STATE, 1);
    settle();
    EXPECT_EQ(record->getTotalBufferSize(), 5000);
    ASSERT_TRUE(put(*first, pattern(100)));
    ASSERT_TRUE(put(*serverRing, pattern(100, 500)));
    EXPECT_EQ(read(100, true), 100);
    EXPECT_EQ(heard(100), pattern(100, 500));
}

class LiveData : public AnUplinkInTime {};

TEST_F(LiveData, BeginsOnceTheRingHoldsAWholeRequest) {
    makeActive();
    giveRing();
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    EXPECT_EQ(read(512, true), 512) << "silence";
    EXPECT_EQ(serverRing->getUsedSize(), 100U);
    EXPECT_EQ(log.countMatching(INFO, ".*start read from shm.*\n"), 0U) << log.dump();
    ASSERT_TRUE(put(*serverRing, pattern(412, 100)));
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(heard(512), pattern(512));
    EXPECT_EQ(log.count(INFO, "[rec]start read from shm(dsp) at 16 ms readBytes:512\n"), 1U)
        << log.dump();
    ASSERT_TRUE(put(*serverRing, pattern(512)));
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(log.countMatching(INFO, ".*start read from shm.*\n"), 1U) << log.dump();
}

TEST_F(LiveData, IsCountedInsteadOfSilence) {
    makeActive();
    giveRing();
    time.pass(5);
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    EXPECT_EQ(record->bytesUsed(), 160) << "silence until something was read";
    EXPECT_EQ(read(10, true), 10);
    EXPECT_EQ(record->bytesUsed(), 90);
}

TEST_F(LiveData, IsTakenAsFarAsItIsThereWhenAReadMayNotBlock) {
    makeLive();
    EXPECT_EQ(read(512, false), 0);
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    EXPECT_EQ(read(512, false), 100);
    EXPECT_EQ(heard(100), pattern(100));
    EXPECT_EQ(time.takeWaits(), Waits{});
}

TEST_F(LiveData, IsWaitedForUntilTheWholeRequestIsThere) {
    makeLive();
    time.wakeAfter(5, [&] { ASSERT_TRUE(put(*serverRing, pattern(200))); });
    time.wakeAfter(5, [&] { ASSERT_TRUE(put(*serverRing, pattern(312, 200))); });
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(heard(512), pattern(512));
    EXPECT_EQ(time.takeWaits(), (Waits{1000, 1000}));
}

TEST_F(LiveData, ThatStaysAwayForASecondIsToldAsAWrongState) {
    makeLive();
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    EXPECT_EQ(read(512, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(time.takeWaits(), Waits{1000});
    EXPECT_EQ(log.count(ERROR, "[rec]wait shm data timeOut:1000 expect:1000\n"), 1U) << log.dump();
    EXPECT_EQ(log.count(ERROR, "ClientRecordRt", "read", "[rec] client read data error state:3\n"),
              1U)
        << log.dump();
    EXPECT_EQ(serverRing->getUsedSize(), 100U) << "nothing is lost";
    ASSERT_TRUE(put(*serverRing, pattern(412, 100)));
    EXPECT_EQ(read(512, true), 512) << "nobody is blocked any more";
    EXPECT_EQ(heard(512), pattern(512));
}

TEST_F(LiveData, ThatStaysAwayIsToldSoEvenWhenTheStreamWasStoppedMeanwhile) {
    makeLive();
    time.timeOutAfter([&] { EXPECT_EQ(record->stop(), AUDIO_NO_ERROR); });
    EXPECT_EQ(read(512, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[rec]wait shm data timeOut:1000 expect:1000\n"), 1U) << log.dump();
    EXPECT_EQ(log.countMatching(ERROR, ".*after waiting.*\n"), 0U) << log.dump();
}

TEST_F(LiveData, GivesWayToSilenceWhenTheRingIsTaken) {
    makeLive();
    time.wakeAfter(5, [&] { takeRing(); });
    EXPECT_EQ(read(512, true), 512);
    ASSERT_EQ(takeNoise().size(), 256U) << log.dump();
    giveRing();
    EXPECT_EQ(read(512, true), 512) << "and is silence until the new ring has delivered";
    EXPECT_EQ(takeNoise().size(), 256U);
    ASSERT_TRUE(put(*serverRing, pattern(512)));
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(heard(512), pattern(512));
}

TEST_F(LiveData, IsWaitedForUntilAStop) {
    makeLive();
    time.wakeAfter(5, [&] { EXPECT_EQ(record->stop(), AUDIO_NO_ERROR); });
    EXPECT_EQ(read(512, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[rec]after waiting ,status:IDLE, may have stop\n"), 1U)
        << log.dump();
}

TEST_F(LiveData, CountsAsHandedOutForTheSilenceThatFollows) {
    makeLive();
    for (int i = 0; i < 10; ++i) {
        ASSERT_TRUE(put(*serverRing, pattern(512)));
        ASSERT_EQ(read(512, true), 512);
    }
    takeRing();
    // Ten periods were read in no time: what is due wraps round to the cap.
    EXPECT_EQ(record->bytesUsed(), 1024);
}

TEST_F(LiveData, ThatArrivesWhileSilenceIsWaitedForIsReadNextTime) {
    makeActive();
    time.wakeAfter(2, [&] { giveRing(); });
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(takeNoise().size(), 256U) << "silence, at once";
    ASSERT_TRUE(put(*serverRing, pattern(512)));
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(heard(512), pattern(512));
}

TEST_F(LiveData, OfARequestBeyondTheRingNeverComes) {
    makeLive(speech(), 1000);
    ASSERT_TRUE(put(*serverRing, pattern(999)));
    EXPECT_EQ(read(2000, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(read(2000, false), 999);
}

TEST_F(LiveData, CannotBeReadOutOfARingWithAnImpossibleHeader) {
    makeLive();
    serverRing->updateWriteOffset(0xffffffffU);
    EXPECT_EQ(record->bytesUsed(), 0);
    EXPECT_EQ(read(10, false), 0);
}

/// Real time, real threads.
class LiveDataInRealTime : public ACaptureStream {
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

TEST_F(LiveDataInRealTime, IsNotWaitedForAnyMoreWhenTheRingIsTaken) {
    std::future<int> reader = blockedLiveRead();
    takeRing();
    EXPECT_EQ(reader.get(), 300) << "silence" << log.dump();
}

TEST_F(LiveDataInRealTime, IsToldOfSlowWakeUpsByName) {
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

/// The ring comes and goes while somebody reads: every read gives what it was asked for, and the
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

TEST_F(LiveDataInRealTime, IsNotPulledFromUnderALooker) {
    makeUplink();
    std::atomic<bool> end{false};
    std::atomic<int> wrong{0};
    std::thread looker([&] {
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
    looker.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace cabinaudio::test
