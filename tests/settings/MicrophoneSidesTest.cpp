// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientVolumeSetting.h>

#include "tests/support/ScriptedServer.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t VOLUME = 131;
constexpr std::uint32_t SET_PGA = 10;
constexpr std::uint32_t GET_PGA = 11;
constexpr std::uint32_t SET_OP = 12;
constexpr std::uint32_t GET_OP = 13;

/// Gains of a fraction, different on the two sides, over the wire.
class MicrophonesSides : public ::testing::Test {
protected:
    ScriptedServer server;
    ClientVolumeSetting volume;
};

TEST_F(MicrophonesSides, AreEachReadAsTheirSumRoundedUp) {
    struct Side {
        float op;
        float pga;
        float sum;
    };
    constexpr Side SIDES[] = {{9.0F, -1.75F, 8.0F}, {0.0F, -23.25F, -23.0F}, {27.5F, 0.125F, 28.0F},
                              {0.0F, -0.5F, 0.0F},  {40.0F, 5.25F, 46.0F},   {0.0F, -7.0F, -7.0F}};
    for (const Side& one : SIDES) {
        for (const Side& other : SIDES) {
            server.on(VOLUME, GET_OP, Answer::words(0, one.op, other.op));
            server.on(VOLUME, GET_PGA, Answer::words(0, one.pga, other.pga));
            float left = 99;
            float right = 99;
            ASSERT_EQ(volume.getMicAnalogGain(&left, &right), 0);
            EXPECT_EQ(left, one.sum) << one.op << " + " << one.pga;
            EXPECT_EQ(right, other.sum) << other.op << " + " << other.pga;
        }
    }
}

TEST_F(MicrophonesSides, AreEachCutToTheStepBelow) {
    ASSERT_EQ(volume.setMicAnalogGain(7.9F, -3.1F), 0);
    const auto op = server.requests(VOLUME, SET_OP);
    const auto pga = server.requests(VOLUME, SET_PGA);
    ASSERT_EQ(op.size(), 1U);
    ASSERT_EQ(pga.size(), 1U);
    EXPECT_EQ(op[0].real(2), 9.0F) << "7 dB";
    EXPECT_EQ(pga[0].real(2), -2.0F);
    EXPECT_EQ(op[0].real(3), 0.0F) << "-4 dB";
    EXPECT_EQ(pga[0].real(3), -4.0F);
}

}  // namespace
}  // namespace cabinaudio::test
