// SPDX-License-Identifier: Apache-2.0
//
// Effects' settings with lines or conversions of their own.
#include "tests/interpose/Blocks.h"
#include "tests/settings/Row.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace cabinaudio::test {
namespace {

constexpr auto LEFT = audio::AUDIO_CHANNEL_LF;

class AppSettingTest : public ::testing::Test {
protected:
    ScriptedServer server;
    ClientAppSetting app;
    LogCapture log;
};

class SpeakerDelay : public AppSettingTest {};
class DownlinkDelay : public AppSettingTest {};
class ConverterGain : public AppSettingTest {};

TEST_F(SpeakerDelay, GoesOutInWholeMicroseconds) {
    struct Case {
        float ms;
        std::uint32_t microseconds;
    };
    const float low = -std::numeric_limits<float>::infinity();
    std::size_t sent = 0;
    for (const auto& [ms, microseconds] :
         {Case{1.5F, 1500}, Case{0.0F, 0}, Case{-0.0004F, 0}, Case{0.0019F, 1},
          Case{-1.5F, 0xfffffa24}, Case{-0.0019F, 0xffffffff},
          // In single precision: 16777.217 is 16777.21679..., and its product is even.
          Case{16777.217F, 16777216}, Case{2147483.75F, 0x80000000},
          // Only the low 32 bits: 5e6 ms are 5e9 us.
          Case{5.0e6F, 705032704}, Case{4294968.0F, 512}, Case{-5.0e6F, 0U - 705032704U},
          // Nothing that 64 bits hold.
          Case{1.0e30F, 0}, Case{-1.0e30F, 0}, Case{std::nanf(""), 0}, Case{-low, 0}, Case{low, 0},
          Case{std::numeric_limits<float>::max(), 0}}) {
        EXPECT_EQ(app.setSpeakerDelay(LEFT, ms), 0);
        const std::vector<Request> requests = server.requests(128, 22);
        ASSERT_EQ(requests.size(), ++sent);
        EXPECT_EQ(requests.back().payload, joined({word(22), word(1), word(microseconds)})) << ms;
    }
}

TEST_F(SpeakerDelay, IsLoggedAsItIsSetAndAsItIsRead) {
    EXPECT_EQ(app.setSpeakerDelay(LEFT, -2.25F), 0);
    EXPECT_TRUE(logged(log, INFO, "ClientAppSetting", "setSpeakerDelay", "delay -2.250000 ms\n"));
    server.on(128, 23, Answer::words(-42, 1234.5F));
    float delay = 0;
    EXPECT_EQ(app.getSpeakerDelay(LEFT, &delay), 0);
    EXPECT_EQ(delay, 1234.5F);
    EXPECT_TRUE(logged(log, INFO, "ClientAppSetting", "getSpeakerDelay", "delay 1234.500000\n"));
    EXPECT_EQ(log.lines().size(), 2U) << log.dump();
}

TEST_F(SpeakerDelay, IsLoggedBeforeItIsSentAndNotWhenItIsNotRead) {
    Blocks blocks;
    blocks.loseReplies(true);
    EXPECT_EQ(app.setSpeakerDelay(LEFT, 1.0F), 1);
    EXPECT_TRUE(logged(log, INFO, "delay 1.000000 ms\n"));
    float delay = 5;
    EXPECT_EQ(app.getSpeakerDelay(LEFT, &delay), 1);
    EXPECT_EQ(delay, 5.0F);
    EXPECT_TRUE(loggedLike(log, INFO, "delay .*"));
}

TEST_F(DownlinkDelay, IsStoredAsAWholeWord) {
    server.on(128, 38, Answer::words(-42, 0x7fff8001));
    short delays[3] = {11, 12, 13};
    EXPECT_EQ(app.getDownlinkDelayEstimation(delays), -42);
    EXPECT_EQ(delays[0], static_cast<short>(0x8001));
    EXPECT_EQ(delays[1], 0x7fff);
    EXPECT_EQ(delays[2], 13);
    // At an address where no whole word would be.
    server.on(128, 38, Answer::words(0, 0x00020001));
    EXPECT_EQ(app.getDownlinkDelayEstimation(delays + 1), 0);
    EXPECT_EQ(delays[0], static_cast<short>(0x8001));
    EXPECT_EQ(delays[1], 1);
    EXPECT_EQ(delays[2], 2);
}

TEST_F(DownlinkDelay, IsUnchangedWithoutAReply) {
    Blocks blocks;
    blocks.loseReplies(true);
    // One word on the heap: a sanitizer watches what lies behind it.
    const auto delays = std::make_unique<short[]>(2);
    delays[0] = 11;
    delays[1] = 12;
    EXPECT_EQ(app.getDownlinkDelayEstimation(delays.get()), 1);
    EXPECT_EQ(delays[0], 11);
    EXPECT_EQ(delays[1], 12);
}

TEST_F(DownlinkDelay, IsRequestedAsANumber) {
    server.on(128, 38, Answer::words(0, 7));
    Blocks blocks;
    blocks.failFreeing(true);
    short delays[2] = {};
    EXPECT_EQ(app.getDownlinkDelayEstimation(delays), 0);
    EXPECT_EQ(delays[0], 7);
    EXPECT_TRUE(logged(log, ERROR, "RemoteCall", "callFuncId", "rcfree error.\n"));
}

TEST_F(ConverterGain, IsLoggedBeforeItsBlocksAndBeforeItIsSent) {
    std::vector<std::string> before;
    server.on(128, 48, [&](const Request&) {
        for (const LogLine& line : log.lines())
            before.push_back(line.text.substr(line.text.rfind(']') + 1));
        return Answer::status(0);
    });
    audio::audio_dacgain_ctrl_t control{7};
    EXPECT_EQ(app.setDACGainControl(&control), 0);
    EXPECT_EQ(before, (std::vector<std::string>{"client begin\n", "client end\n"}));
    EXPECT_TRUE(logged(log, INFO, "ClientAppSetting", "setDACGainControl", "client begin\n"));
    EXPECT_TRUE(logged(log, INFO, "ClientAppSetting", "setDACGainControl", "client end\n"));
    EXPECT_EQ(log.lines().size(), 2U) << log.dump();

    Blocks blocks;
    blocks.refuse(true);
    log.clear();
    EXPECT_EQ(app.setDACGainControl(&control), NO_MEMORY);
    EXPECT_TRUE(logged(log, INFO, "client begin\n"));
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
