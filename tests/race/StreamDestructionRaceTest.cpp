// SPDX-License-Identifier: Apache-2.0
//
// A stream is destroyed while one thread is blocked in it, the server's end of the ring works, and
// notifications come as fast as the link takes them.
#include "tests/client/StreamFixture.h"
#include "tests/client/StreamKinds.h"
#include "tests/race/Rounds.h"
#include "tests/support/ProcessState.h"

#include <atomic>
#include <mutex>
#include <random>
#include <thread>

namespace cabinaudio::test {
namespace {

constexpr unsigned SIZE = 4096;
constexpr int MOST_NOTIFICATIONS = 200;  // in a round
constexpr int ROUNDS_PER_SERVER = 200;   // it keeps what it has received

using Random = std::minstd_rand;

unsigned number(Random& random) {
    return static_cast<unsigned>(random() >> 4);
}

/// A server and its end of the one ring that there is.
class RaceServer {
public:
    explicit RaceServer(const StreamKind& kind) : mKind(kind) {
        for (const std::uint32_t create : {2U, 21U})
            mServer.on(create, Answer::words(0, 0, SIZE, 1024, 16, 256, 0));
        for (const std::uint32_t place : {18U, 20U})
            mServer.on(place, [this](const Request&) {
                makeRing();
                return Answer::words(0, RING_ADDRESS, SIZE);
            });
    }

    void beginRound() {
        if (mKind.isPosix) makeRing();
    }
    void endRound() {
        const std::lock_guard lock(mRingLock);
        mRing.reset();
    }

    /// What a server does to its end of the ring.
    void work(unsigned count) {
        const std::lock_guard lock(mRingLock);
        if (!mRing) return;
        Bytes bytes(1 + count % 512);
        if (mKind.writes)
            mRing->read(bytes.data(), static_cast<unsigned>(bytes.size()));
        else
            mRing->write(bytes.data(), static_cast<unsigned>(bytes.size()));
    }

    /// Notifications to the newest client.
    void notify(std::uint32_t event, std::uint32_t param) {
        mServer.notify(event, param, mServer.clients() - 1);
    }
    void close() { mServer.close(mServer.clients() - 1); }

private:
    void makeRing() {
        const std::lock_guard lock(mRingLock);
        mRing.reset();  // removes the name
        mRing = mKind.isPosix ? posixRing("str", SIZE) : physicalRing("str", SIZE);
    }

    const StreamKind& mKind;
    std::mutex mRingLock;
    std::unique_ptr<ShareMemoryEx> mRing;
    ScriptedServer mServer;
};

/// What the server does all the time, until it is told to stop.
class Storm {
public:
    Storm(RaceServer& server, unsigned seed)
        : mServer(server), mThread([this, seed] { blow(seed); }) {}
    ~Storm() {
        mEnd = true;
        mThread.join();
    }
    Storm(const Storm&) = delete;
    Storm& operator=(const Storm&) = delete;

    /// From now on the stream may be removed, or the connection closed, too.
    void allowEnd() { mMayEnd = true; }

private:
    void blow(unsigned seed) {
        Random random(seed);
        int left = MOST_NOTIFICATIONS;
        while (!mEnd) {
            const unsigned any = number(random);
            if (any % 3 == 0 && left-- > 0)
                mServer.notify(2 + any / 3 % 4, any / 16 % 2);
            else if (mMayEnd && any % 16 == 1)
                mServer.notify(REMOVED, 0);
            else if (mMayEnd && any % 32 == 2)
                mServer.close();
            mServer.work(any);
            std::this_thread::yield();
        }
    }

    RaceServer& mServer;
    std::atomic<bool> mEnd{false};
    std::atomic<bool> mMayEnd{false};
    std::thread mThread;
};

/// A read or write in a thread of its own.
class Mover {
public:
    Mover(AnyStream& stream, int bytes)
        : mThread([this, &stream, bytes] {
              Bytes data(static_cast<std::size_t>(bytes));
              mResult = stream.move(data.data(), bytes, true);
              mHasEnded = true;
          }) {}
    ~Mover() { mThread.join(); }
    Mover(const Mover&) = delete;
    Mover& operator=(const Mover&) = delete;

    /// Returns once it is blocked in the stream, or has left it. Of two calls one is refused.
    void waitUntilInside(AnyStream& stream, int refusal) const {
        unsigned char byte = 0;
        while (!mHasEnded && stream.move(&byte, 1, false) != refusal)
            std::this_thread::yield();
    }
    void waitUntilOutside() const {
        while (!mHasEnded)
            std::this_thread::yield();
    }
    [[nodiscard]] bool hasEnded() const { return mHasEnded; }
    /// Once it has ended.
    [[nodiscard]] int result() const { return mResult; }

private:
    std::atomic<bool> mHasEnded{false};
    std::atomic<int> mResult{0};
    std::thread mThread;
};

/// Looks at the stream again and again.
class Looker {
public:
    explicit Looker(AnyStream& stream)
        : mThread([this, &stream] {
              while (!mEnd) {
                  const int total = stream.getTotalBufferSize();
                  if (total != 0 && total != static_cast<int>(SIZE)) mSawWrong = true;
                  // Bytes free or used, which take another way than reading and writing.
                  const int count = stream.operate(6, nullptr);
                  if (count < 0 || count > static_cast<int>(SIZE)) mSawWrong = true;
                  std::this_thread::yield();
              }
          }) {}
    /// @return whether all that it saw can be
    [[nodiscard]] bool end() {
        mEnd = true;
        mThread.join();
        return !mSawWrong;
    }

private:
    std::atomic<bool> mEnd{false};
    std::atomic<bool> mSawWrong{false};
    std::thread mThread;
};

class AStreamInARace : public ::testing::TestWithParam<std::size_t> {
protected:
    [[nodiscard]] static const StreamKind& kind() { return streamKinds()[GetParam()]; }
    /// Its destructor always takes 500 ms while a read is blocked in it.
    [[nodiscard]] static bool isSlowToDestroy() { return !kind().writes && kind().isPosix; }
    [[nodiscard]] static int refusal() {
        return kind().writes ? AUDIO_INVALID_OPERATION : AUDIO_INVALID_STATE;
    }

    void race(RaceServer& server, unsigned seed);
};

void AStreamInARace::race(RaceServer& server, unsigned seed) {
    Random random(seed);
    server.beginRound();
    std::unique_ptr<AnyStream> stream = kind().create(cdFormat());
    ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
    ASSERT_EQ(stream->start(), AUDIO_NO_ERROR);
    if (!kind().isPosix && number(random) % 4 != 0) server.notify(kind().event, 1);

    Looker looker(*stream);
    const int most = kind().writes ? 3 * static_cast<int>(SIZE) : static_cast<int>(SIZE);
    {
        Storm storm(server, seed + 1);
        Mover mover(*stream, 1 + static_cast<int>(number(random)) % most);
        mover.waitUntilInside(*stream, refusal());
        const bool sawWhatCanBe = looker.end();  // no call may begin from here on
        EXPECT_TRUE(sawWhatCanBe);
        // From here on a request may never be answered, and only the destructor ends it.
        storm.allowEnd();
        if (isSlowToDestroy() && number(random) % 64 != 0) mover.waitUntilOutside();
        stream.reset();
        // It may still be on its way out of the stream, as an object of the language.
        mover.waitUntilOutside();
        const int result = mover.result();
        // A track without a ring waits for one even when asked not to; then the other call was
        // first.
        EXPECT_TRUE(result >= 0 || result == AUDIO_INVALID_STATE || result == AUDIO_TIMED_OUT ||
                    result == refusal())
            << result;
    }
    server.endRound();
}

TEST_P(AStreamInARace, IsDestroyedAtAnyMoment) {
    const ProcessState before = ProcessState::now();
    std::unique_ptr<RaceServer> server;
    const int count = rounds(16);
    for (int round = 0; round < count && !HasFailure(); ++round) {
        if (round % ROUNDS_PER_SERVER == 0) {
            server.reset();
            server = std::make_unique<RaceServer>(kind());
        }
        race(*server, static_cast<unsigned>(round) * 7 + 1);
        if (HasFailure()) std::fprintf(stderr, "in round %d of %d\n", round, count);
    }
    server.reset();
    EXPECT_TRUE(leavesNoMoreThan(before));
    RecordProperty("rounds", count);
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, AStreamInARace, ::testing::Range<std::size_t>(0, 5),
                         [](const auto& kind) { return streamKinds()[kind.param].name; });

}  // namespace
}  // namespace cabinaudio::test
