// SPDX-License-Identifier: Apache-2.0
// A stream is destroyed while one thread is blocked in it, the server's end of the ring works, and
// notifications come as fast as the link takes them.
#include "tests/support/ProcessState.h"
#include "tests/support/Rounds.h"
#include "tests/support/StreamFixture.h"
#include "tests/support/kinds/StreamKinds.h"

#include <atomic>
#include <chrono>
#include <future>
#include <random>
#include <thread>

namespace cabinaudio::test {
namespace {

constexpr int SIZE = RING_SIZE;
constexpr int MOST_NOTIFICATIONS = 200;        // in a round
constexpr int STREAM_ROUNDS_PER_SERVER = 200;  // a scripted server keeps each request

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

/// Notifies the stream and works on its ring until it is told to stop.
/// @param mayEnd  whether the stream may be removed, or its connection closed, too
void serve(RaceServer& server, unsigned seed, const std::atomic<bool>& isOver,
           const std::atomic<bool>& mayEnd) {
    Random random(seed);
    int left = MOST_NOTIFICATIONS;
    while (!isOver) {
        const unsigned any = number(random);
        if (any % 3 == 0 && left-- > 0)
            server.notify(2 + any / 3 % 4, any / 16 % 2);
        else if (mayEnd && any % 16 == 1)
            server.notify(REMOVED, 0);
        else if (mayEnd && any % 32 == 2)
            server.close();
        server.ring.move(1 + any % 512);
        std::this_thread::yield();
    }
}

/// Queries the stream again and again until it is told to stop. @return whether all values can be
bool query(AnyStream& stream, const std::atomic<bool>& isOver) {
    bool isGood = true;
    while (!isOver) {
        const int total = stream.getTotalBufferSize();
        // Bytes free or used, which take another way than reading and writing.
        const int count = stream.available();
        isGood = isGood && (total == 0 || total == SIZE) && count >= 0 && count <= SIZE;
        std::this_thread::yield();
    }
    return isGood;
}

/// A read or write in a thread of its own.
std::future<int> moving(AnyStream& stream, int bytes) {
    return std::async(std::launch::async, [&stream, bytes] {
        Bytes data(static_cast<std::size_t>(bytes));
        return stream.move(data.data(), bytes, true);
    });
}

/// Returns once the call is blocked in the stream, or has left it. Of two calls one is refused.
void waitUntilInside(const std::future<int>& mover, AnyStream& stream, int refusal) {
    unsigned char byte = 0;
    while (mover.wait_for(std::chrono::seconds(0)) != std::future_status::ready &&
           stream.move(&byte, 1, false) != refusal)
        std::this_thread::yield();
}

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

    std::atomic<bool> areQueriesOver{false};
    std::atomic<bool> isOver{false};
    std::atomic<bool> mayEnd{false};
    auto querying = std::async(std::launch::async, [&] { return query(*stream, areQueriesOver); });
    std::thread serving([&] { serve(server, seed + 1, isOver, mayEnd); });
    const int most = kind.writes ? 3 * SIZE : SIZE;
    auto mover = moving(*stream, 1 + static_cast<int>(number(random)) % most);
    waitUntilInside(mover, *stream, kind.refusal());
    areQueriesOver = true;
    EXPECT_TRUE(querying.get());  // no call may begin from here on
    // From here on a request may never be answered, and only the destructor ends it.
    mayEnd = true;
    if (isSlowToDestroy() && number(random) % 64 != 0) mover.wait();
    stream.reset();
    // A track without a ring waits for one even when asked not to; then the other call was first.
    const int result = mover.get();
    EXPECT_TRUE(result >= 0 || result == AUDIO_INVALID_STATE || result == AUDIO_TIMED_OUT ||
                result == kind.refusal())
        << result;
    isOver = true;
    serving.join();
    server.ring.drop();
}

TEST_P(StreamRace, DestructionAtAnyMomentEndsEachCall) {
    const ProcessState before = ProcessState::now();
    std::unique_ptr<RaceServer> server;
    const int count = rounds(16);
    for (int round = 0; round < count && !HasFailure(); ++round) {
        if (round % STREAM_ROUNDS_PER_SERVER == 0) {
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
