// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientVolumeSetting.h>

#include "tests/settings/Row.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <random>
#include <string>

namespace cabinaudio::test {
namespace {

/// A channel and its volume step, as a channel gain's record has them.
using Gains = std::vector<std::pair<std::uint32_t, int>>;

/// Volumes whose channel gains end here, where each has a status of its own.
class Channels : public ClientVolumeSetting {
public:
    using ClientVolumeSetting::setChannelGain;
    int setChannelGain(audio::audio_channel_gain_t* gain) override {
        gains.emplace_back(gain->channel, gain->volume);
        opaque |= gain->opaque5[0] | gain->opaque5[1] | gain->opaque5[2];
        return statuses[(gains.size() - 1) % 4];
    }

    Gains gains;
    int opaque = 0;
    int statuses[4] = {};
};

/// `part` of `whole` in percent, to the nearest one, halves upwards.
int percent(int part, int whole) {
    return static_cast<int>(std::floor(100.0 * part / whole + 0.5));
}

Gains expectedGains(int fade, int balance, int whole) {
    const int f = fade < 0 ? -percent(-fade, whole) : percent(fade, whole);
    const int b = balance < 0 ? -percent(-balance, whole) : percent(balance, whole);
    const auto within = [](int value) { return std::max(0, std::min(100, value)); };
    return {{1, within(100 + f - b)},
            {2, within(100 + f + b)},
            {4, within(100 - f - b)},
            {8, within(100 - f + b)}};
}

class FadeAndBalance : public ::testing::Test {
protected:
    void expectModel(int fade, int balance, int whole) {
        volume.gains.clear();
        ASSERT_EQ(volume.setFadeBalance(fade, balance, static_cast<unsigned>(whole)), 0);
        ASSERT_EQ(volume.gains, expectedGains(fade, balance, whole))
            << "fade " << fade << ", balance " << balance << ", steps " << whole;
    }

    void expectRefused(int fade, int balance, unsigned whole) {
        log.clear();
        EXPECT_EQ(volume.setFadeBalance(fade, balance, whole), REFUSED);
        const std::string message = "Invalid param, stepMax=" + std::to_string(whole) +
                                    ", balance=" + std::to_string(balance) +
                                    ", fade=" + std::to_string(fade) + ".\n";
        EXPECT_TRUE(logged(log, ERROR, "ClientVolumeSetting", "setFadeBalance", message))
            << message;
        EXPECT_EQ(log.lines().size(), 1U) << log.dump();
        EXPECT_TRUE(volume.gains.empty());
    }

    LogCapture log;
    Channels volume;  // connected to nothing
};

TEST_F(FadeAndBalance, MatchTheExamples) {
    const std::vector<std::pair<std::vector<int>, std::vector<int>>> examples = {
        {{0, 0, 10}, {100, 100, 100, 100}}, {{0, 10, 10}, {0, 100, 0, 100}},
        {{1, 0, 3}, {100, 100, 67, 67}},    {{-1, 0, 3}, {67, 67, 100, 100}},
        {{0, -10, 10}, {100, 0, 100, 0}},   {{10, 0, 10}, {100, 100, 0, 0}},
        {{5, 5, 10}, {100, 100, 0, 100}},   {{-10, -10, 10}, {100, 0, 100, 100}},
        {{1, 0, 8}, {100, 100, 87, 87}},
    };
    for (const auto& [in, out] : examples) {
        volume.gains.clear();
        EXPECT_EQ(volume.setFadeBalance(in[0], in[1], static_cast<unsigned>(in[2])), 0);
        EXPECT_EQ(volume.gains, (Gains{{1, out[0]}, {2, out[1]}, {4, out[2]}, {8, out[3]}}))
            << ::testing::PrintToString(in);
    }
    EXPECT_EQ(volume.opaque, 0);
}

TEST_F(FadeAndBalance, FollowTheModelForEveryPairOfAFewSteps) {
    for (int whole = 2; whole <= 11; ++whole)
        for (int fade = -whole; fade <= whole; ++fade)
            for (int balance = -whole; balance <= whole; ++balance)
                ASSERT_NO_FATAL_FAILURE(expectModel(fade, balance, whole));
}

TEST_F(FadeAndBalance, FollowTheModelForEveryNumberOfSteps) {
    std::mt19937 random(20);
    for (int whole = 2; whole <= 100; ++whole) {
        const int ends[] = {-whole, 1 - whole, -1, 0, 1, whole / 2, whole - 1, whole};
        for (const int fade : ends)
            for (const int balance : ends)
                ASSERT_NO_FATAL_FAILURE(expectModel(fade, balance, whole));
        std::uniform_int_distribution<int> any(-whole, whole);
        for (int i = 0; i < 60; ++i)
            ASSERT_NO_FATAL_FAILURE(expectModel(any(random), any(random), whole));
    }
}

TEST_F(FadeAndBalance, AreRefusedBeyondTheirSteps) {
    expectRefused(0, 0, 0);
    expectRefused(0, 0, 1);
    expectRefused(0, 0, 101);
    expectRefused(0, 0, UINT_MAX);
    expectRefused(3, 0, 2);
    expectRefused(-3, 0, 2);
    expectRefused(0, 3, 2);
    expectRefused(0, -3, 2);
    expectRefused(101, 101, 100);
    for (const int limit : {INT_MIN, INT_MIN + 1, INT_MAX}) {
        expectRefused(limit, 0, 100);
        expectRefused(0, limit, 100);
        expectRefused(limit, limit, 2);
    }
}

TEST_F(FadeAndBalance, SetAllChannelsAndReportAllStatusesAtOnce) {
    struct Case {
        int statuses[4];
        int result;
    };
    for (const auto& [statuses, result] :
         {Case{{1, 0, 0, 0}, 1}, Case{{0, 2, 0, 4}, 6}, Case{{0, 0, 0, 8}, 8},
          Case{{-3000, 0, 0, 0}, -3000}, Case{{-4, 0, -8, 0}, -4},
          Case{{INT_MIN, 1, 2, 4}, INT_MIN + 7}}) {
        log.clear();
        volume.gains.clear();
        std::copy(std::begin(statuses), std::end(statuses), volume.statuses);
        EXPECT_EQ(volume.setFadeBalance(1, 1, 4), result);
        EXPECT_EQ(volume.gains.size(), 4U);
        const std::string message =
            "Fail to set channels' gain, ret=" + std::to_string(result) + ".\n";
        EXPECT_TRUE(logged(log, WARN, "ClientVolumeSetting", "setFadeBalance", message)) << message;
        EXPECT_EQ(log.lines().size(), 1U) << log.dump();
    }
}

TEST(FadeAndBalanceOverTheWire, AreFourRequestsInOrder) {
    ScriptedServer server;
    server.on(131, 6, [](const Request& request) { return Answer::status(request.number(1)); });
    LogCapture log;
    ClientVolumeSetting volume;
    EXPECT_EQ(volume.setFadeBalance(2, -1, 8), 15);
    const std::vector<Request> sent = server.requests(131, 6);
    ASSERT_EQ(sent.size(), 4U);
    EXPECT_EQ(server.functions().size(), 4U);
    const std::uint8_t steps[] = {100, 100, 88, 62};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(sent[i].header.cmd, 198U);
        EXPECT_EQ(sent[i].payload, joined({word(6), word(1U << i), byte(steps[i])}));
    }
    EXPECT_TRUE(logged(log, WARN, "Fail to set channels' gain, ret=15.\n"));
}

TEST(FadeAndBalanceOverTheWire, TryAllFourChannelsWithoutAServer) {
    LogCapture log;
    ClientVolumeSetting volume;
    log.clear();
    EXPECT_EQ(volume.setFadeBalance(0, 0, 2), 1);
    EXPECT_TRUE(loggedLike(log, ERROR, "mConn=0x[0-9a-f]+, mHandle=0x0\n", 4));
    EXPECT_TRUE(logged(log, WARN, "Fail to set channels' gain, ret=1.\n"));
}

}  // namespace
}  // namespace cabinaudio::test
