// SPDX-License-Identifier: Apache-2.0
//
// The source comes and goes as fast as the link allows while a thread writes. The pauses that keep
// writers from spinning are shortened here.
#include "tests/client/SinkFixture.h"
#include "tests/interpose/Operations.h"
#include "tests/support/ProcessState.h"

#include <atomic>
#include <mutex>
#include <set>
#include <thread>

namespace cabinaudio::test {
namespace {

std::mutex gLock;
std::multiset<std::uint64_t> gPauses;  // microseconds

std::int32_t notePause(std::uint64_t us) {
    {
        const std::lock_guard lock(gLock);
        gPauses.insert(us);
    }
    std::this_thread::yield();
    return 0;
}

const Hooked PAUSES(operations::sleep, notePause);

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(__x86_64__)
constexpr int ROUNDS = 300;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr int ROUNDS = 300;
#else
constexpr int ROUNDS = 10'000;
#endif
#else
constexpr int ROUNDS = 10'000;
#endif

constexpr int STEP = 1024;

class SourceBurst : public SinkFixture {
protected:
    ~SourceBurst() override {
        mEnd = true;
        if (mPlayer.joinable()) mPlayer.join();
        sink.reset();  // the server's rules use members of this class
    }

    /// A server that makes a fresh ring whenever it is asked for one, and plays what is in it.
    void beginToPlay() {
        server.on(GET_RING, [this](const Request&) {
            const std::lock_guard lock(mRingLock);
            serverRing.reset();  // removes the name
            serverRing = physicalRing("snk", 4 * STEP);
            return Answer::words(0, RING_ADDRESS, 4 * STEP);
        });
        mPlayer = std::thread([this] {
            Bytes heard(STEP);
            while (!mEnd) {
                {
                    const std::lock_guard lock(mRingLock);
                    if (serverRing) serverRing->read(heard.data(), STEP);
                }
                std::this_thread::yield();
            }
        });
    }

    /// Whether the sink has followed the source this far.
    [[nodiscard]] bool follows(int round) {
        const bool does = server.waitForRequest(LET_GO, static_cast<std::size_t>(round) + 1);
        EXPECT_TRUE(does) << "stuck in round " << round;
        return does;
    }

    [[nodiscard]] static std::size_t pausesOf(std::uint64_t us) {
        const std::lock_guard lock(gLock);
        return gPauses.count(us);
    }

    std::mutex mRingLock;
    std::atomic<bool> mEnd{false};
    std::thread mPlayer;
};

TEST_F(SourceBurst, EveryByteIsCountedAsWrittenOrThrownAway) {
    makeActive(STEP);
    beginToPlay();
    long long offered = 0;
    long long timedOut = 0;
    std::atomic<int> wrong{0};
    std::atomic<bool> burstIsOver{false};
    std::thread writer([&] {
        for (int i = 0; !burstIsOver; ++i) {
            const int len = 1 + i * 31 % STEP;  // a step at most, of which all or nothing is lost
            const int result = write(len, true);
            if (result == AUDIO_TIMED_OUT)
                timedOut += len;
            else if (result != len && result != 0)
                ++wrong;
            offered += len;
        }
    });
    for (int round = 0; round < ROUNDS; ++round) {
        server.notify(ACTIVATED, 0);
        server.notify(WITHDRAWN, 0);
        // Not more of them on their way than a connection holds.
        if (round % 50 == 49 && !follows(round)) break;
    }
    settle();
    server.notify(ACTIVATED, 0);
    settle();
    burstIsOver = true;
    writer.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(timedOut, 0);
    EXPECT_EQ(server.requests(GET_RING).size(), static_cast<std::size_t>(ROUNDS) + 1);
    EXPECT_EQ(server.requests(LET_GO).size(), static_cast<std::size_t>(ROUNDS));
    const long long thrownAway = thrownAwayInAll();
    EXPECT_EQ(writtenInAll() + thrownAway, offered);
    EXPECT_EQ(pausesOf(1'000'000), 0U) << "the ring was there whenever the source was";
    EXPECT_TRUE(loggedLike(ERROR, ".*Source is ready,because of.*\n", ABSENT));
}

TEST_F(SourceBurst, SizesAndNonBlockingWritesStayCorrect) {
    makeActive(STEP);
    beginToPlay();
    std::atomic<bool> burstIsOver{false};
    std::atomic<int> wrong{0};
    std::atomic<long long> taken{0};
    std::thread reader([&] {
        while (!burstIsOver) {
            const int total = sink->getTotalBufferSize();
            if ((total != 0 && total != 4 * STEP) || sink->bytesFree() >= 4 * STEP) ++wrong;
        }
    });
    std::thread writer([&] {
        while (!burstIsOver) {
            const int result = write(100, false);
            if (result < 0 || result > 100) ++wrong;
            taken += std::max(result, 0);
        }
    });
    for (int round = 0; round < ROUNDS / 10; ++round) {
        server.notify(ACTIVATED, 0);
        server.notify(WITHDRAWN, 0);
        if (!follows(round)) break;
    }
    burstIsOver = true;
    reader.join();
    writer.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(writtenInAll(), taken);
    EXPECT_EQ(thrownAwayInAll(), 0);
}

TEST_F(SourceBurst, StopsAndStartsSucceed) {
    makeActive(STEP);
    beginToPlay();
    std::atomic<bool> burstIsOver{false};
    std::thread writer([&] {
        while (!burstIsOver)
            (void)write(STEP, true);
    });
    for (int round = 0; round < ROUNDS / 20; ++round) {
        server.notify(ACTIVATED, 0);
        EXPECT_EQ(sink->stop(), AUDIO_NO_ERROR);
        server.notify(WITHDRAWN, 0);
        EXPECT_EQ(sink->start(), AUDIO_NO_ERROR);
        if (!follows(round)) break;
    }
    burstIsOver = true;
    EXPECT_EQ(sink->stop(), AUDIO_NO_ERROR);
    writer.join();
}

/// A pause keeps the lock, so that no other write runs meanwhile.
TEST_F(SourceBurst, WritesPauseHalfASecondWithoutASourceAndASecondWithoutARing) {
    makeActive(STEP);
    const std::size_t half = pausesOf(500'000);
    const std::size_t whole = pausesOf(1'000'000);
    withdraw();
    EXPECT_EQ(write(10, true), 0);
    EXPECT_EQ(pausesOf(500'000), half + 1);
    server.on(GET_RING, Answer::words(-1, 0, 0));
    server.notify(ACTIVATED, 0);
    settle();
    EXPECT_EQ(write(10, true), 0);
    EXPECT_EQ(pausesOf(1'000'000), whole + 1);
}

}  // namespace
}  // namespace cabinaudio::test
