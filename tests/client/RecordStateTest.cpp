// SPDX-License-Identifier: Apache-2.0
#include "tests/client/RecordFixture.h"

namespace cabinaudio::test {
namespace {

class IdleCapture : public EachCapture {
protected:
    IdleCapture() { make(); }
};

class ActiveCapture : public IdleCapture {
protected:
    ActiveCapture() { start(); }
    /// The stop of an uplink goes out without the flag.
    [[nodiscard]] std::uint32_t stopCommand() const {
        return kind == Kind::RawMic ? FLAGGED : PLAIN;
    }
};

INSTANTIATE_TEST_SUITE_P(Stream, IdleCapture, CAPTURES, captureName);
INSTANTIATE_TEST_SUITE_P(Stream, ActiveCapture, CAPTURES, captureName);

TEST_P(IdleCapture, StartAsksTheServer) {
    EXPECT_EQ(record->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(START).size(), 1U);
    EXPECT_EQ(sent(START, FLAGGED), 1U);
    EXPECT_TRUE(loggedLike(
        DEBUG, text("\\[rec\\]start done\n", "\\[rec\\] start done \\[cast:[0-9]+\\]\n")));
}

TEST_P(IdleCapture, StaysIdleWhenTheServerRefusesToStart) {
    server.on(START, Answer::status(-77));
    EXPECT_EQ(record->start(), -77);
    EXPECT_TRUE(
        logged(ERROR, file(), "start", text("[rec]start failed\n", "[rec] start failed\n")));
    EXPECT_EQ(record->clear(), AUDIO_NO_ERROR);
}

TEST_P(IdleCapture, StopSendsNothing) {
    EXPECT_EQ(record->stop(), AUDIO_NO_ERROR);
    EXPECT_TRUE(server.requests(STOP).empty());
    EXPECT_TRUE(
        logged(WARN, file(), "stop", "[rec]current is stop state, not need to repeat stop\n"));
}

TEST_P(IdleCapture, ClearSendsNothing) {
    EXPECT_EQ(record->clear(), AUDIO_NO_ERROR);
    EXPECT_TRUE(logged(DEBUG, file(), "clear", "[rec] clear finish state: IDLE\n"));
    EXPECT_EQ(server.functions(), std::vector<std::uint32_t>{CREATE});
}

TEST_P(IdleCapture, HasNothingToRead) {
    EXPECT_EQ(record->bytesUsed(), 0);
    EXPECT_TRUE(
        logged(ERROR, file(), "bytesUsed",
               text("[rec]Abnormal state:1.\n", "[rec] client record state is not active:1.\n")));
    EXPECT_EQ(read(4, true), AUDIO_INVALID_STATE);
    EXPECT_TRUE(
        logged(ERROR, file(), "read",
               text("[rec]state is not ACTIVE mState:1 \n", "[rec] state[1] is not ACTIVE\n")));
}

TEST_P(IdleCapture, InitCheckAsksTheServerWithoutTheFlagAndKeepsItIdle) {
    EXPECT_EQ(record->initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(INIT_CHECK).size(), 1U);
    EXPECT_EQ(sent(INIT_CHECK, PLAIN), 1U);
    EXPECT_TRUE(loggedLike(INFO, text("Create rawMic record\\[rec\\] Done \\[cast:[0-9]+ "
                                      "ms\\]\n",
                                      "Create uplink record\\[rec\\] Done cast:[0-9]+ ms\n")));
    EXPECT_EQ(record->clear(), AUDIO_NO_ERROR);
}

TEST_P(IdleCapture, InitCheckLogsDoneAndReturnsTheServersStatusWhenTheServerRefuses) {
    server.on(INIT_CHECK, Answer::status(-1234));
    EXPECT_EQ(record->initCheck(), -1234);
    EXPECT_TRUE(loggedLike(INFO, "Create .* record\\[rec\\] Done .*\n"));
    EXPECT_EQ(record->start(), AUDIO_NO_ERROR);
}

TEST_P(IdleCapture, InitCheckAsksTheServerEachTime) {
    EXPECT_EQ(record->initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(record->initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(INIT_CHECK).size(), 2U);
}

TEST_P(ActiveCapture, InitCheckIsRefused) {
    EXPECT_EQ(record->initCheck(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(server.requests(INIT_CHECK).empty());
    EXPECT_TRUE(logged(
        ERROR, file(), "initCheck",
        text("[rec]state is not IDLE, init failed\n", "[rec] state is not IDLE init failed\n")));
}

TEST_P(ActiveCapture, SecondStartSendsNothing) {
    EXPECT_EQ(record->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(START).size(), 1U);
    EXPECT_TRUE(
        logged(WARN, file(), "start", "[rec]current is start state, not need to repeat start\n"));
}

TEST_P(ActiveCapture, StopAsksTheServer) {
    EXPECT_EQ(record->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(STOP).size(), 1U);
    EXPECT_EQ(sent(STOP, stopCommand()), 1U);
    EXPECT_TRUE(logged(DEBUG, file(), "stop", text("[rec]stop done\n", "[rec] stop done\n")));
    EXPECT_EQ(record->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(START).size(), 2U);
}

TEST_P(ActiveCapture, StaysActiveWhenTheServerRefusesToStop) {
    server.on(STOP, Answer::status(-78));
    EXPECT_EQ(record->stop(), -78);
    EXPECT_TRUE(logged(ERROR, file(), "stop",
                       text("[rec]stop failed\n", "[rec] stop failed status:-78\n")));
    EXPECT_EQ(record->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.requests(START).size(), 1U);
}

TEST_P(ActiveCapture, ClearIsRefused) {
    EXPECT_EQ(record->clear(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(logged(ERROR, file(), "clear", "[rec]state is not IDLE, clear failed, mstate:3\n"));
}

TEST_P(ActiveCapture, ClearAfterAStopDropsTheCapturedBytes) {
    if (kind == Kind::Uplink) giveRing();
    ASSERT_TRUE(put(*serverRing, pattern(1000)));
    ASSERT_EQ(record->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(serverRing->getUsedSize(), 1000U);
    EXPECT_EQ(record->clear(), AUDIO_NO_ERROR);
    EXPECT_EQ(serverRing->getUsedSize(), 0U);
}

TEST_P(ActiveCapture, RefusesEveryOperationOnceTheServerHasRemovedIt) {
    removeByServer();
    EXPECT_TRUE(logged(DEBUG, "[rec]server record has be deleted, disconnect.\n"));
    const std::size_t before = server.functions().size();
    EXPECT_EQ(record->start(), AUDIO_INVALID_STATE);
    EXPECT_EQ(record->stop(), AUDIO_INVALID_STATE);
    EXPECT_EQ(record->clear(), AUDIO_INVALID_STATE);
    EXPECT_EQ(record->initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(read(4, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(record->bytesUsed(), 0);
    EXPECT_EQ(server.functions().size(), before);
    const char* const lines[][2] = {
        {"[rec]state is not IDLE, start failed\n", "[rec] state is not IDLE\n"},
        {"[rec]state is not ACTIVE, stop failed\n", "[rec] state is not ACTIVE\n"},
        {"[rec]state is not IDLE, clear failed, mstate:2\n",
         "[rec]state is not IDLE, clear failed, mstate:2\n"},
        {"[rec]state is not IDLE, init failed\n", "[rec] state is not IDLE init failed\n"},
        {"[rec]state is not ACTIVE mState:2 \n", "[rec] state[2] is not ACTIVE\n"},
        {"[rec]Abnormal state:2.\n", "[rec] client record state is not active:2.\n"}};
    for (const auto& line : lines)
        EXPECT_TRUE(logged(ERROR, text(line[0], line[1])));
}

TEST_P(ActiveCapture, IgnoresOtherNotifications) {
    for (const std::uint32_t event : {1U, 3U, 4U, 5U, 254U})
        server.notify(event, 77);
    settle();
    for (const std::uint32_t event : {1U, 3U, 4U, 5U, 254U}) {
        const std::string line = "unknown msg(" + std::to_string(event) + "), value=77\n";
        EXPECT_TRUE(logged(DEBUG, file(), "notifierCallbackFunc", text("[rec]", "[rec] ") + line));
    }
    EXPECT_EQ(record->stop(), AUDIO_NO_ERROR);
}

using RecordNotification = RecordFixture;

TEST_F(RecordNotification, TwoIsUnknownToARecord) {
    makeRawMic();
    server.notify(2, 1);
    EXPECT_TRUE(log.waitFor(DEBUG, "[rec]unknown msg(2), value=1\n")) << log.dump();
    EXPECT_EQ(server.functions(), std::vector<std::uint32_t>{CREATE});
}

}  // namespace
}  // namespace cabinaudio::test
