// SPDX-License-Identifier: Apache-2.0
// The end of a stream's data: when it was announced, and that a stop forgets it.
#include "tests/client/SinkFixture.h"
#include "tests/client/TrackFixture.h"

#include <future>
#include <regex>
#include <string>

namespace cabinaudio::test {
namespace {

/// The milliseconds in the only line that matches; -1 without one.
long long msIn(const LogCapture& log, const std::string& expression) {
    const std::regex pattern(expression);
    for (const LogLine& line : log.lines()) {
        std::smatch match;
        if (std::regex_search(line.text, match, pattern)) return std::stoll(match[1]);
    }
    return -1;
}

class EndOfASinksData : public ASink {};

TEST_F(EndOfASinksData, IsAnnouncedAtTheTimeOfTheRequest) {
    const char* const line = "\\[snk\\]play finish duration\\[([0-9]+)\\] ms\n";
    makeActive();
    activate();
    server.on(WRITE_DONE, Answer::status(0).held());
    const Stopwatch watch;
    auto done = std::async(std::launch::async, [&] { return sink->writeDone(); });
    ASSERT_TRUE(server.waitForRequest(WRITE_DONE));
    server.notify(FINISHED, 0);  // before the answer: a short piece may be played by then
    ASSERT_TRUE(log.waitForMatching(INFO, line)) << log.dump();
    EXPECT_LE(msIn(log, line), watch.ms() + 1) << log.dump();
    server.release();
    EXPECT_EQ(done.get(), AUDIO_NO_ERROR);
}

TEST_F(EndOfASinksData, IsForgottenByAStop) {
    makeActive();
    activate();
    ASSERT_EQ(sink->writeDone(), AUDIO_NO_ERROR);
    ASSERT_EQ(sink->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(write(4, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(sink->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[snk]Current mState[1] [not ACTIVE]\n"), 1U) << log.dump();
    EXPECT_EQ(log.count(ERROR, "[snk]writeDone failed, state[1] Out\n"), 1U) << log.dump();
}

class EndOfATracksData : public ATrack {
protected:
    EndOfATracksData() {
        makeAuxiliary();
        start();
        announceRing();
    }
};

TEST_F(EndOfATracksData, IsAnnouncedAtTheTimeOfTheRequest) {
    const char* const line = "\\[trk\\]play finish, elapsedTime\\[([0-9]+)\\] \n";
    server.on(WRITE_DONE, Answer::status(0).held());
    const Stopwatch watch;
    auto done = std::async(std::launch::async, [&] { return track->writeDone(); });
    ASSERT_TRUE(server.waitForRequest(WRITE_DONE));
    server.notify(FINISHED, 0);
    ASSERT_TRUE(log.waitForMatching(INFO, line)) << log.dump();
    EXPECT_LE(msIn(log, line), watch.ms() + 1) << log.dump();
    server.release();
    EXPECT_EQ(done.get(), AUDIO_NO_ERROR);
}

TEST_F(EndOfATracksData, IsForgottenByAStop) {
    ASSERT_EQ(track->writeDone(), AUDIO_NO_ERROR);
    ASSERT_EQ(track->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(write(4, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(track->writeDone(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[trk]Current mState[1] [not ACTIVE]\n"), 1U) << log.dump();
    EXPECT_EQ(log.count(ERROR, "[trk]writeDone failed, state[1] Out\n"), 1U) << log.dump();
}

class SourceThatCameBack : public ASink {};

TEST_F(SourceThatCameBack, KeepsAWriterThatWaitsForSpace) {
    makeWithSource();
    withdraw();
    activate();
    fillRing();
    auto writer = blockedWrite(100);
    Bytes played(200);
    ASSERT_EQ(serverRing->read(played.data(), 200), 200);
    EXPECT_EQ(writer.get(), 100) << log.dump();
    EXPECT_EQ(serverRing->getUsedSize(), ringSize - 1 - 100U);
    EXPECT_EQ(thrownAwayInAll(), 0);
}

}  // namespace
}  // namespace cabinaudio::test
