// SPDX-License-Identifier: Apache-2.0
// A stream is destroyed while one thread is blocked in it, the server's end of the ring works, and
// notifications come as fast as the link takes them.
#include "tests/client/StreamFixture.h"
#include "tests/race/Rounds.h"
#include "tests/support/ProcessState.h"
#include "tests/support/kinds/StreamKinds.h"

#include <atomic>
#include <random>
#include <thread>

namespace cabinaudio::test {
namespace {

constexpr int SIZE = RING_SIZE;
constexpr int MOST_NOTIFICATIONS = 200;  // in a round
constexpr int ROUNDS_PER_SERVER = 200;   // a scripted server keeps each request

using Random = std::minstd_rand;

unsigned number(Random& random) {
    return static_cast<unsigned>(random() >> 4);
}

/// A server and its end of the one ring that there is.
struct RaceServer {
    explicit RaceServer(const StreamKind& kind) : ring(kind) { ring.serve(server); }

    /// To the newest client.
    void notify(std::uint32_t event, std::uint32_t param) {
        server.notify(event, param, server.clients() - 1);
    }
    void close() { server.close(server.clients() - 1); }

    ServedRing ring;
    ScriptedServer server;
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
            mServer.ring.move(1 + any % 512);
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
                  if (total != 0 && total != SIZE) mSawWrong = true;
                  // Bytes free or used, which take another way than reading and writing.
                  const int count = stream.operate(6, nullptr);
                  if (count < 0 || count > SIZE) mSawWrong = true;
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

class StreamRace : public ::testing::TestWithParam<StreamKind> {
protected:
    /// The destructor always takes 500 ms while a read is blocked in the stream.
    [[nodiscard]] bool isSlowToDestroy() const { return !kind.writes && kind.isPosix; }

    void race(RaceServer& server, unsigned seed) const;

    const StreamKind& kind = GetParam();
};

void StreamRace::race(RaceServer& server, unsigned seed) const {
    Random random(seed);
    server.ring.begin();
    std::unique_ptr<AnyStream> stream = kind.create("str", MUSIC);
    ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
    ASSERT_EQ(stream->start(), AUDIO_NO_ERROR);
    if (!kind.isPosix && number(random) % 4 != 0) server.notify(kind.event, 1);

    Looker looker(*stream);
    const int most = kind.writes ? 3 * SIZE : SIZE;
    {
        Storm storm(server, seed + 1);
        Mover mover(*stream, 1 + static_cast<int>(number(random)) % most);
        mover.waitUntilInside(*stream, kind.refusal());
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
                    result == kind.refusal())
            << result;
    }
    server.ring.drop();
}

TEST_P(StreamRace, DestructionAtAnyMomentEndsEachCall) {
    const ProcessState before = ProcessState::now();
    std::unique_ptr<RaceServer> server;
    const int count = rounds(16);
    for (int round = 0; round < count && !HasFailure(); ++round) {
        if (round % ROUNDS_PER_SERVER == 0) {
            server.reset();
            server = std::make_unique<RaceServer>(kind);
        }
        race(*server, static_cast<unsigned>(round) * 7 + 1);
        if (HasFailure()) std::fprintf(stderr, "in round %d of %d\n", round, count);
    }
    server.reset();
    EXPECT_TRUE(leavesNoMoreThan(before));
    RecordProperty("rounds", count);
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamRace, ::testing::ValuesIn(streamKinds()),
                         ::testing::PrintToStringParamName());

}  // namespace
}  // namespace cabinaudio::test
