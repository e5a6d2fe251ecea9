// SPDX-License-Identifier: Apache-2.0
// The end of a playback stream's data: when it was announced, and that a stop forgets it.
#include "tests/support/kinds/KindTest.h"

#include <future>
#include <regex>
#include <string>

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t WRITE_DONE = 12;

/// A started stream with its ring.
class EndOfData : public EachKindTest {
protected:
    EndOfData() {
        serverRing = kind.ring();
        create();
        start();
        announce();
    }

    /// The milliseconds in the only line that matches; -1 without one.
    [[nodiscard]] long long msIn(const std::string& expression) const {
        const std::regex pattern(expression);
        for (const LogLine& line : log.lines()) {
            std::smatch match;
            if (std::regex_search(line.text, match, pattern)) return std::stoll(match[1]);
        }
        return -1;
    }
};

INSTANTIATE_TEST_SUITE_P(OfEachKind, EndOfData,
                         ::testing::ValuesIn(kindsNamed({"auxiliaryTrack", "sink"})), ROW_NAME);

TEST_P(EndOfData, IsAnnouncedAtTheTimeOfTheRequest) {
    const char* const line = kind.isSink() ? "\\[str\\]play finish duration\\[([0-9]+)\\] ms\n"
                                           : "\\[str\\]play finish, elapsedTime\\[([0-9]+)\\] \n";
    server.on(WRITE_DONE, Answer::status(0).held());
    const Stopwatch watch;
    auto done = std::async(std::launch::async, [this] { return stream->ask(); });
    ASSERT_TRUE(server.waitForRequest(WRITE_DONE));
    // Before the answer: a short piece may be played by then.
    server.notify(kind.isSink() ? 5 : 4, 0);
    ASSERT_TRUE(log.waitForMatching(INFO, line)) << log.dump();
    EXPECT_LE(msIn(line), watch.ms() + 1) << log.dump();
    server.release();
    EXPECT_EQ(done.get(), AUDIO_NO_ERROR);
}

TEST_P(EndOfData, IsForgottenByAStop) {
    ASSERT_EQ(stream->ask(), AUDIO_NO_ERROR);
    ASSERT_EQ(stream->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(move(4), AUDIO_INVALID_STATE);
    EXPECT_EQ(stream->ask(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(logged(ERROR, "[str]Current mState[1] [not ACTIVE]\n"));
    EXPECT_TRUE(logged(ERROR, "[str]writeDone failed, state[1] Out\n"));
}

class ReactivatedSink : public KindTest {
protected:
    ReactivatedSink() : KindTest(streamKind("sink")) {}
};

TEST_F(ReactivatedSink, KeepsAWriterThatWaitsForSpace) {
    serverRing = kind.ring();
    create();
    start();
    announce();
    server.notify(4, 0);
    settle();
    ASSERT_EQ(stream->getTotalBufferSize(), 0) << log.dump();
    makeRing();
    announce();
    const int free = stream->available();
    ASSERT_EQ(stream->move(data.data(), free, false), free);
    auto writer = blockedMove(100);
    Bytes played(200);
    ASSERT_EQ(serverRing->read(played.data(), 200), 200);
    EXPECT_EQ(writer.get(), 100) << log.dump();
    EXPECT_EQ(serverRing->getUsedSize(), SIZE - 1 - 100U);
    EXPECT_TRUE(loggedLike(WARN, ".*write ineffective.*\n", 0));
}

}  // namespace
}  // namespace cabinaudio::test
