// SPDX-License-Identifier: Apache-2.0
#include "tests/client/UplinkFixture.h"

#include <limits>

namespace cabinaudio::test {
namespace {

/// 16 kHz, one channel, 16 bits: 32 bytes a millisecond.
class PacedSilence : public UplinkInTime {
protected:
    PacedSilence() { makeActive(); }
};

TEST_F(PacedSilence, OfOnePeriodTakesOnePeriod) {
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(time.takeWaits(), Waits{16});
    EXPECT_EQ(takeNoise().size(), 256U);
}

TEST_F(PacedSilence, GrowsWithTheClock) {
    EXPECT_EQ(record->bytesUsed(), 0);
    for (int ms = 1; ms <= 32; ++ms) {
        time.pass(1);
        EXPECT_EQ(record->bytesUsed(), 32 * ms);
    }
}

TEST_F(PacedSilence, IsReturnedAsFarAsItIsDueWithoutBlocking) {
    EXPECT_EQ(read(512, false), 0);
    time.pass(5);
    EXPECT_EQ(read(512, false), 160);
    EXPECT_EQ(read(512, false), 0);
    EXPECT_EQ(time.takeWaits(), Waits{});
}

TEST_F(PacedSilence, IsNotWaitedForWhenItIsDue) {
    time.pass(20);
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(time.takeWaits(), Waits{});
    EXPECT_EQ(record->bytesUsed(), 128);
}

TEST_F(PacedSilence, IsWaitedForInWholeMillisecondsRoundedUp) {
    EXPECT_EQ(read(100, true), 100);
    EXPECT_EQ(read(100, true), 100);  // 28 of them are due already
    EXPECT_EQ(read(1, true), 1);      // 24 are
    EXPECT_EQ(read(56, true), 56);    // 23 are, and 33 take two milliseconds
    EXPECT_EQ(time.takeWaits(), (Waits{4, 3, 2}));
}

TEST_F(PacedSilence, NeverPilesUpToMoreThanTwoPeriods) {
    time.pass(1000);
    EXPECT_EQ(record->bytesUsed(), 1024);
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(time.takeWaits(), Waits{});
    EXPECT_EQ(record->bytesUsed(), 512);
}

TEST_F(PacedSilence, LosesTheTimeWithoutReads) {
    time.pass(1000);
    EXPECT_EQ(read(1024, true), 1024);
    EXPECT_EQ(record->bytesUsed(), 0);
    time.pass(3);
    EXPECT_EQ(record->bytesUsed(), 96);
    time.pass(1'000'000'000);  // more milliseconds than 32 bits of bytes
    EXPECT_EQ(record->bytesUsed(), 1024);
}

TEST_F(PacedSilence, MeetsARequestBeyondTheCapByWaitingForTheRest) {
    time.pass(1000);
    EXPECT_EQ(read(2048, true), 2048);
    EXPECT_EQ(time.takeWaits(), Waits{32});
}

TEST_F(PacedSilence, KeepsTheServersPaceWhateverTheApplicationAsksFor) {
    const std::uint64_t begin = time.now();
    std::uint64_t total = 0;
    for (int i = 0; i < 5000; ++i) {
        const int want = 1 + i * 37 % 700;
        ASSERT_EQ(read(want, true), want);
        total += static_cast<std::uint64_t>(want);
        const std::uint64_t due = (time.now() - begin) * 32;
        ASSERT_GE(due, total);
        ASSERT_LT(due, total + 32);
    }
}

TEST_F(PacedSilence, StaysWithinTwoPeriodsOfTheClockWhenReadsAreLate) {
    time.wakeLate(2);  // as an application's thread may be
    const std::uint64_t begin = time.now();
    std::uint64_t total = 0;
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(read(512, true), 512);
        total += 512;
        const std::uint64_t due = (time.now() - begin) * 32;
        ASSERT_LE(total, due);
        ASSERT_LE(due - total, 1024U);
    }
}

TEST_F(PacedSilence, WarnsWhenAWaitTookTooLong) {
    time.wakeLate(2);
    EXPECT_EQ(read(512, true), 512);
    EXPECT_TRUE(loggedLike(WARN, ".*wait silence data.*\n", ABSENT));
    time.wakeLate(3);
    EXPECT_EQ(read(512, true), 512);
    // Two milliseconds were due from the first one.
    EXPECT_TRUE(logged(WARN, "[rec]wait silence data timeOut:17 expect:14\n"));
}

TEST_F(PacedSilence, FollowsThePeriodAsIfItLastedSixteenMilliseconds) {
    makeActive(640);  // which it does not: 20 ms of this format
    EXPECT_EQ(read(640, true), 640);
    EXPECT_EQ(time.takeWaits(), Waits{16});
    time.pass(1000);
    EXPECT_EQ(record->bytesUsed(), 1280);
}

TEST_F(PacedSilence, IsDueUpToTheCapAfterARestart) {
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(read(512, true), 512);
    ASSERT_EQ(record->stop(), AUDIO_NO_ERROR);
    time.pass(3);
    start();
    // The origin is the present again but the total is not 0: the bytes due wrap round to the cap.
    EXPECT_EQ(record->bytesUsed(), 1024);
    EXPECT_EQ(read(1024, true), 1024);
    EXPECT_EQ(record->bytesUsed(), 0);
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(time.takeWaits().back(), 16U);
}

TEST_F(PacedSilence, StartsAtNothingAfterARestartWithoutReads) {
    time.pass(500);
    ASSERT_EQ(record->stop(), AUDIO_NO_ERROR);
    start();
    EXPECT_EQ(record->bytesUsed(), 0);
}

TEST_F(PacedSilence, BeginsWhenTheStartRequestIsSent) {
    makeUplink();
    server.on(START, [&](const Request&) {
        time.pass(4);  // which the server takes to answer
        return Answer::status(0);
    });
    start();
    EXPECT_EQ(record->bytesUsed(), 128);
}

TEST_F(PacedSilence, CountsTheBytesReturnedInsteadOfTheBytesDue) {
    makeActive(512, speech(65));
    EXPECT_EQ(read(456, true), 57);
    EXPECT_EQ(record->bytesUsed(), 15 * 32 - 57);
    EXPECT_EQ(read(456, true), 57);
    EXPECT_EQ(time.takeWaits(), (Waits{15, 2}));
}

TEST_F(PacedSilence, ComesEarlyWhenTheReaderIsWoken) {
    time.wakeAfter(1, [&] { dynamic_cast<ClientRecordRt&>(*record).notify(); });
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(time.takeWaits(), Waits{16});
    // More was handed out than was due: the difference wraps round to the cap.
    EXPECT_EQ(record->bytesUsed(), 1024);
}

TEST_F(PacedSilence, ReturnsInvalidStateWhenTheUplinkIsStopped) {
    time.wakeAfter(1, [&] { EXPECT_EQ(record->stop(), AUDIO_NO_ERROR); });
    EXPECT_EQ(read(512, true), AUDIO_INVALID_STATE);
    EXPECT_TRUE(logged(ERROR, "[rec]after waiting ,status:IDLE, may have stop\n"));
    EXPECT_TRUE(logged(ERROR, "ClientRecordRt", "read", "[rec] client read data error state:1\n"));
    EXPECT_LT(log.dump().find("after waiting"), log.dump().find("client read data error"));
    start();
    EXPECT_EQ(read(512, true), 512) << "no read is blocked any more";
}

TEST_F(PacedSilence, ReturnsInvalidStateWhenTheServerRemovesTheUplink) {
    time.wakeAfter(1, [&] { removeByServer(); });
    EXPECT_EQ(read(512, true), AUDIO_INVALID_STATE);
    EXPECT_TRUE(logged(ERROR, "[rec]after waiting ,status:STOPPING,server may have crash\n"));
    EXPECT_TRUE(logged(ERROR, "[rec] client read data error state:2\n"));
}

TEST_F(PacedSilence, ReturnsInvalidStateWhenAStopComesBeforeTheTimeOut) {
    time.timeOutAfter([&] { EXPECT_EQ(record->stop(), AUDIO_NO_ERROR); });
    EXPECT_EQ(read(512, true), AUDIO_INVALID_STATE);
    EXPECT_TRUE(logged(ERROR, "[rec]after waiting ,status:IDLE, may have stop\n"));
    EXPECT_EQ(takeNoise().size(), 0U);
}

TEST_F(PacedSilence, WaitsExactlyForTheLargestRequest) {
    time.wakeAfter(0, [&] { EXPECT_EQ(record->stop(), AUDIO_NO_ERROR); });
    EXPECT_EQ(read(std::numeric_limits<int>::max(), true), AUDIO_INVALID_STATE);
    EXPECT_EQ(time.takeWaits(), Waits{67'108'864});
}

TEST_F(PacedSilence, LogsTheFirstReadOnlyAndBeforeAnyCheck) {
    time.pass(7);
    EXPECT_EQ(record->read(nullptr, 100, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(read(100, false), 100);
    EXPECT_TRUE(logged(INFO,
                       "[rec] first read start->nowTime:7 ms  want read bytes:100(3) ms "
                       "isBlock:1\n"));
    EXPECT_TRUE(loggedLike(INFO, ".*first read.*\n"));
}

TEST_F(PacedSilence, RefusesNoBufferAndNoBytes) {
    makeUplink();
    EXPECT_EQ(record->read(nullptr, 10, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(read(0, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(read(-3, false), AUDIO_BAD_VALUE);
    for (const char* const bytes : {"10", "0", "-3"})
        EXPECT_TRUE(logged(ERROR, "ClientRecordRt", "read",
                           std::string("[rec]invalid input param bytes:") + bytes + "\n"));
    EXPECT_EQ(read(4, false), AUDIO_INVALID_STATE);
    EXPECT_TRUE(logged(ERROR, "[rec] state[1] is not ACTIVE\n"));
}

class UplinkWithoutAPace : public UplinkInTime, public ::testing::WithParamInterface<int> {};

TEST_P(UplinkWithoutAPace, NeitherCrashesNorHangs) {
    makeActive(GetParam());
    time.pass(50);
    EXPECT_EQ(record->bytesUsed(), 0);
    EXPECT_EQ(read(64, false), 0);
    EXPECT_TRUE(loggedLike(INFO,
                           "\\[rec\\] first read start->nowTime:50 ms  want read "
                           "bytes:64\\(0\\) ms isBlock:0\n"));
    const int got = read(64, true);
    EXPECT_TRUE(got == 64 || got == 0 || got == AUDIO_INVALID_STATE) << got;
    giveRing();
    ASSERT_TRUE(put(*serverRing, pattern(64)));
    EXPECT_TRUE(delivered(read(64, true), pattern(64)));
}

INSTANTIATE_TEST_SUITE_P(BecauseItsPeriodIsTiny, UplinkWithoutAPace, ::testing::Values(0, 1, 15));

TEST_F(PacedSilence, IsNotGivenByARefusedStream) {
    server.on(CREATE, Answer::words(-1, 0, 0, 512, 16, 256, 0));
    AudioFormatDesc format = speech();
    ClientRecordRt refused("rec", AUDIO_TAG_UPLINK, format);
    EXPECT_EQ(refused.read(data.data(), 64, true), AUDIO_INVALID_STATE);
    EXPECT_TRUE(loggedLike(INFO,
                           "\\[rec\\] first read start->nowTime:[0-9]+ ms  want read "
                           "bytes:64\\(0\\) ms isBlock:1\n"));
    EXPECT_EQ(refused.bytesUsed(), 0);
}

/// Real time, real waits.
class SilenceInRealTime : public RecordFixture {};

TEST_F(SilenceInRealTime, ComesAtTheServersPace) {
    makeUplink();
    const Stopwatch watch;  // the pace begins somewhere in start()
    start();
    for (int i = 0; i < 20; ++i)
        ASSERT_EQ(read(512, true), 512);
    EXPECT_GE(watch.ms(), 20 * 16 - 2);
    // Nothing that was due is lost: within two periods of the clock, as long as this machine does
    // not stand still for longer than that between two reads.
    EXPECT_LE(record->bytesUsed(), 1024);
}

/// A read of a minute's worth, which has to end long before.
TEST_F(SilenceInRealTime, ReturnsInvalidStateOnAStopARemovalAndTheServersEnd) {
    data.resize(32 * 60'000);
    makeUplink();
    const auto endsEarly = [](std::future<int>& reader) {
        return reader.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
    };
    start();
    std::future<int> reader = blockedRead(32 * 60'000);
    ASSERT_EQ(record->stop(), AUDIO_NO_ERROR);
    EXPECT_TRUE(endsEarly(reader));
    EXPECT_EQ(reader.get(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(logged(ERROR, "ClientRecordRt", "read",
                       "[rec]Can not read,the last write did not exit [mIsBlocked=1]\n"));
    const std::string lost = "[rec]after waiting ,status:STOPPING,server may have crash\n";
    for (const bool isServersEnd : {false, true}) {
        log.clear();
        makeUplink();
        start();
        reader = blockedRead(32 * 60'000);
        if (isServersEnd)
            server.stop();
        else
            server.notify(REMOVED, 0, newest());
        EXPECT_TRUE(endsEarly(reader));
        EXPECT_EQ(reader.get(), AUDIO_INVALID_STATE);
        EXPECT_TRUE(logged(ERROR, lost));
    }
}

}  // namespace
}  // namespace cabinaudio::test
