// SPDX-License-Identifier: Apache-2.0
#include "tests/client/UplinkFixture.h"

#include <limits>

namespace cabinaudio::test {
namespace {

/// 16 kHz, one channel, 16 bits: 32 bytes a millisecond.
class PacedSilence : public AnUplinkInTime {};

TEST_F(PacedSilence, OfOnePeriodTakesOnePeriod) {
    makeActive();
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(time.takeWaits(), Waits{16});
    EXPECT_EQ(takeNoise().size(), 256U);
}

TEST_F(PacedSilence, GrowsWithTheClock) {
    makeActive();
    EXPECT_EQ(record->bytesUsed(), 0);
    for (int ms = 1; ms <= 32; ++ms) {
        time.pass(1);
        EXPECT_EQ(record->bytesUsed(), 32 * ms);
    }
}

TEST_F(PacedSilence, IsTakenAsFarAsItIsDueWhenAReadMayNotBlock) {
    makeActive();
    EXPECT_EQ(read(512, false), 0);
    time.pass(5);
    EXPECT_EQ(read(512, false), 160);
    EXPECT_EQ(read(512, false), 0);
    EXPECT_EQ(time.takeWaits(), Waits{});
}

TEST_F(PacedSilence, IsNotWaitedForWhenItIsDue) {
    makeActive();
    time.pass(20);
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(time.takeWaits(), Waits{});
    EXPECT_EQ(record->bytesUsed(), 128);
}

TEST_F(PacedSilence, IsWaitedForInWholeMillisecondsRoundedUp) {
    makeActive();
    EXPECT_EQ(read(100, true), 100);
    EXPECT_EQ(read(100, true), 100);  // 28 of them are due already
    EXPECT_EQ(read(1, true), 1);      // 24 are
    EXPECT_EQ(read(56, true), 56);    // 23 are, and 33 take two milliseconds
    EXPECT_EQ(time.takeWaits(), (Waits{4, 3, 2}));
}

TEST_F(PacedSilence, NeverPilesUpToMoreThanTwoPeriods) {
    makeActive();
    time.pass(1000);
    EXPECT_EQ(record->bytesUsed(), 1024);
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(time.takeWaits(), Waits{});
    EXPECT_EQ(record->bytesUsed(), 512);
}

TEST_F(PacedSilence, LosesTheTimeThatNobodyRead) {
    makeActive();
    time.pass(1000);
    EXPECT_EQ(read(1024, true), 1024);
    EXPECT_EQ(record->bytesUsed(), 0);
    time.pass(3);
    EXPECT_EQ(record->bytesUsed(), 96);
    time.pass(1'000'000'000);  // more milliseconds than 32 bits of bytes
    EXPECT_EQ(record->bytesUsed(), 1024);
}

TEST_F(PacedSilence, MeetsARequestBeyondTheCapByWaitingForTheRest) {
    makeActive();
    time.pass(1000);
    EXPECT_EQ(read(2048, true), 2048);
    EXPECT_EQ(time.takeWaits(), Waits{32});
}

TEST_F(PacedSilence, KeepsTheServersPaceWhateverTheApplicationAsksFor) {
    makeActive();
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
    makeActive();
    time.beLate(2);  // as an application's thread may be
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

TEST_F(PacedSilence, SaysWhenAWaitTookTooLong) {
    makeActive();
    time.beLate(2);
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(log.countMatching(WARN, ".*wait silence data.*\n"), 0U) << log.dump();
    time.beLate(3);
    EXPECT_EQ(read(512, true), 512);
    // Two milliseconds were due from the first one.
    EXPECT_EQ(log.count(WARN, "[rec]wait silence data timeOut:17 expect:14\n"), 1U) << log.dump();
}

TEST_F(PacedSilence, FollowsThePeriodAsIfItLastedSixteenMilliseconds) {
    makeActive(640);  // which it does not: 20 ms of this format
    EXPECT_EQ(read(640, true), 640);
    EXPECT_EQ(time.takeWaits(), Waits{16});
    time.pass(1000);
    EXPECT_EQ(record->bytesUsed(), 1280);
}

TEST_F(PacedSilence, IsOwedInFullAfterARestartBecauseTheTotalLivesOn) {
    makeActive();
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(read(512, true), 512);
    ASSERT_EQ(record->stop(), AUDIO_NO_ERROR);
    time.pass(3);
    start();
    // The origin is the present again but the total is not 0: what is due wraps round to the cap.
    EXPECT_EQ(record->bytesUsed(), 1024);
    EXPECT_EQ(read(1024, true), 1024);
    EXPECT_EQ(record->bytesUsed(), 0);
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(time.takeWaits().back(), 16U);
}

TEST_F(PacedSilence, StartsAtNothingAfterARestartWithoutReads) {
    makeActive();
    time.pass(500);
    ASSERT_EQ(record->stop(), AUDIO_NO_ERROR);
    start();
    EXPECT_EQ(record->bytesUsed(), 0);
}

TEST_F(PacedSilence, BeginsWhenTheServerIsAskedToStart) {
    makeUplink();
    server.on(START, [&](const Request&) {
        time.pass(4);  // which the server takes to answer
        return Answer::status(0);
    });
    start();
    EXPECT_EQ(record->bytesUsed(), 128);
}

TEST_F(PacedSilence, CountsWhatWasHandedOutAndNotWhatWasDue) {
    makeActive(512, speech(65));
    EXPECT_EQ(read(456, true), 57);
    EXPECT_EQ(record->bytesUsed(), 15 * 32 - 57);
    EXPECT_EQ(read(456, true), 57);
    EXPECT_EQ(time.takeWaits(), (Waits{15, 2}));
}

TEST_F(PacedSilence, ComesEarlyWhenSomethingWakesTheReader) {
    makeActive();
    time.wakeAfter(1, [&] { dynamic_cast<ClientRecordRt&>(*record).notify(); });
    EXPECT_EQ(read(512, true), 512);
    EXPECT_EQ(time.takeWaits(), Waits{16});
    // More was handed out than was due: the difference wraps round to the cap.
    EXPECT_EQ(record->bytesUsed(), 1024);
}

TEST_F(PacedSilence, EndsWithAStop) {
    makeActive();
    time.wakeAfter(1, [&] { EXPECT_EQ(record->stop(), AUDIO_NO_ERROR); });
    EXPECT_EQ(read(512, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[rec]after waiting ,status:IDLE, may have stop\n"), 1U)
        << log.dump();
    EXPECT_EQ(log.count(ERROR, "ClientRecordRt", "read", "[rec] client read data error state:1\n"),
              1U)
        << log.dump();
    EXPECT_LT(log.dump().find("after waiting"), log.dump().find("client read data error"));
    start();
    EXPECT_EQ(read(512, true), 512) << "nobody is blocked any more";
}

TEST_F(PacedSilence, EndsWithTheServer) {
    makeActive();
    time.wakeAfter(1, [&] { removeByServer(); });
    EXPECT_EQ(read(512, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[rec]after waiting ,status:STOPPING,server may have crash\n"), 1U)
        << log.dump();
    EXPECT_EQ(log.count(ERROR, "[rec] client read data error state:2\n"), 1U) << log.dump();
}

TEST_F(PacedSilence, NoticesAtTheEndOfAWaitThatItWasStoppedMeanwhile) {
    makeActive();
    time.timeOutAfter([&] { EXPECT_EQ(record->stop(), AUDIO_NO_ERROR); });
    EXPECT_EQ(read(512, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[rec]after waiting ,status:IDLE, may have stop\n"), 1U)
        << log.dump();
    EXPECT_EQ(takeNoise().size(), 0U);
}

TEST_F(PacedSilence, WaitsExactlyForTheLargestRequest) {
    makeActive();
    time.wakeAfter(0, [&] { EXPECT_EQ(record->stop(), AUDIO_NO_ERROR); });
    EXPECT_EQ(read(std::numeric_limits<int>::max(), true), AUDIO_INVALID_STATE);
    EXPECT_EQ(time.takeWaits(), Waits{67'108'864});
}

TEST_F(PacedSilence, LogsTheFirstReadOnlyAndBeforeAnyCheck) {
    makeActive();
    time.pass(7);
    EXPECT_EQ(record->read(nullptr, 100, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(read(100, false), 100);
    EXPECT_EQ(log.count(INFO,
                        "[rec] first read start->nowTime:7 ms  want read bytes:100(3) ms "
                        "isBlock:1\n"),
              1U)
        << log.dump();
    EXPECT_EQ(log.countMatching(INFO, ".*first read.*\n"), 1U);
}

TEST_F(PacedSilence, NeedsABufferAndBytes) {
    makeUplink();
    EXPECT_EQ(record->read(nullptr, 10, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(read(0, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(read(-3, false), AUDIO_BAD_VALUE);
    for (const char* const bytes : {"10", "0", "-3"})
        EXPECT_EQ(log.count(ERROR, "ClientRecordRt", "read",
                            std::string("[rec]invalid input param bytes:") + bytes + "\n"),
                  1U)
            << log.dump();
    EXPECT_EQ(read(4, false), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[rec] state[1] is not ACTIVE\n"), 1U) << log.dump();
}

class AnUplinkWithoutAPace : public AnUplinkInTime, public ::testing::WithParamInterface<int> {};

TEST_P(AnUplinkWithoutAPace, NeitherCrashesNorHangs) {
    makeActive(GetParam());
    time.pass(50);
    EXPECT_EQ(record->bytesUsed(), 0);
    EXPECT_EQ(read(64, false), 0);
    EXPECT_EQ(log.countMatching(INFO,
                                "\\[rec\\] first read start->nowTime:50 ms  want read "
                                "bytes:64\\(0\\) ms isBlock:0\n"),
              1U)
        << log.dump();
    const int got = read(64, true);
    EXPECT_TRUE(got == 64 || got == 0 || got == AUDIO_INVALID_STATE) << got;
    giveRing();
    ASSERT_TRUE(put(*serverRing, pattern(64)));
    EXPECT_EQ(read(64, true), 64);
    EXPECT_EQ(heard(64), pattern(64));
}

INSTANTIATE_TEST_SUITE_P(BecauseItsPeriodIsTiny, AnUplinkWithoutAPace, ::testing::Values(0, 1, 15));

TEST_F(PacedSilence, OfARefusedStreamIsNone) {
    server.on(CREATE, Answer::words(-1, 0, 0, 512, 16, 256, 0));
    AudioFormatDesc format = speech();
    ClientRecordRt refused("rec", AUDIO_TAG_UPLINK, format);
    EXPECT_EQ(refused.read(data.data(), 64, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.countMatching(INFO,
                                "\\[rec\\] first read start->nowTime:[0-9]+ ms  want read "
                                "bytes:64\\(0\\) ms isBlock:1\n"),
              1U)
        << log.dump();
    EXPECT_EQ(refused.bytesUsed(), 0);
}

/// Real time, real waits.
class SilenceInRealTime : public ACaptureStream {};

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
TEST_F(SilenceInRealTime, EndsWithAStopWithARemovalAndWithTheServer) {
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
    EXPECT_EQ(log.count(ERROR, "ClientRecordRt", "read",
                        "[rec]Can not read,the last write did not exit [mIsBlocked=1]\n"),
              1U)
        << log.dump();
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
        EXPECT_EQ(log.count(ERROR, lost), 1U) << log.dump();
    }
}

}  // namespace
}  // namespace cabinaudio::test
