// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioMath.h>

#include "tests/settings/Row.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace cabinaudio::test {
namespace {

using Mux = audio::audio_input_mux_id_e;

/// Gains of both amplifiers for a whole number of dB.
struct Split {
    int total;
    float op;
    float pga;
};

/// As the converter's makers give them.
constexpr Split SPLITS[71] = {
    {-24, 0.0F, -24.0F}, {-23, 0.0F, -23.0F}, {-22, 0.0F, -22.0F}, {-21, 0.0F, -21.0F},
    {-20, 0.0F, -20.0F}, {-19, 0.0F, -19.0F}, {-18, 0.0F, -18.0F}, {-17, 0.0F, -17.0F},
    {-16, 0.0F, -16.0F}, {-15, 0.0F, -15.0F}, {-14, 0.0F, -14.0F}, {-13, 0.0F, -13.0F},
    {-12, 0.0F, -12.0F}, {-11, 0.0F, -11.0F}, {-10, 0.0F, -10.0F}, {-9, 0.0F, -9.0F},
    {-8, 0.0F, -8.0F},   {-7, 0.0F, -7.0F},   {-6, 0.0F, -6.0F},   {-5, 0.0F, -5.0F},
    {-4, 0.0F, -4.0F},   {-3, 0.0F, -3.0F},   {-2, 0.0F, -2.0F},   {-1, 0.0F, -1.0F},
    {0, 0.0F, 0.0F},     {1, 0.0F, 1.0F},     {2, 0.0F, 2.0F},     {3, 0.0F, 3.0F},
    {4, 0.0F, 4.0F},     {5, 0.0F, 5.0F},     {6, 0.0F, 6.0F},     {7, 9.0F, -2.0F},
    {8, 9.0F, -1.0F},    {9, 9.0F, 0.0F},     {10, 9.0F, 1.0F},    {11, 9.0F, 2.0F},
    {12, 12.0F, 0.0F},   {13, 12.0F, 1.0F},   {14, 12.0F, 2.0F},   {15, 12.0F, 3.0F},
    {16, 12.0F, 4.0F},   {17, 12.0F, 5.0F},   {18, 12.0F, 6.0F},   {19, 21.0F, -2.0F},
    {20, 21.0F, -1.0F},  {21, 21.0F, 0.0F},   {22, 21.0F, 1.0F},   {23, 21.0F, 2.0F},
    {24, 21.0F, 3.0F},   {25, 21.0F, 4.0F},   {26, 21.0F, 5.0F},   {27, 21.0F, 6.0F},
    {28, 27.5F, 0.0F},   {29, 27.5F, 1.0F},   {30, 30.0F, 0.0F},   {31, 30.0F, 1.0F},
    {32, 30.0F, 2.0F},   {33, 30.0F, 3.0F},   {34, 30.0F, 4.0F},   {35, 30.0F, 5.0F},
    {36, 30.0F, 6.0F},   {37, 40.0F, -3.0F},  {38, 40.0F, -2.0F},  {39, 40.0F, -1.0F},
    {40, 40.0F, 0.0F},   {41, 40.0F, 1.0F},   {42, 40.0F, 2.0F},   {43, 40.0F, 3.0F},
    {44, 40.0F, 4.0F},   {45, 40.0F, 5.0F},   {46, 40.0F, 6.0F},
};

const Split& splitOf(int total) {
    return SPLITS[total + 24];
}

/// Volumes whose converters are here.
class Converters : public ClientVolumeSetting {
public:
    int setAdcOpGain(Mux input, float left, float right) override {
        return step("set op", input, opStatus, {left, right});
    }
    int setAdcPgaGain(Mux input, float left, float right) override {
        return step("set pga", input, pgaStatus, {left, right});
    }
    int getAdcOpGain(Mux input, float* left, float* right) override {
        *left = op[0];
        *right = op[1];
        return step("get op", input, opStatus, {});
    }
    int getAdcPgaGain(Mux input, float* left, float* right) override {
        *left = pga[0];
        *right = pga[1];
        return step("get pga", input, pgaStatus, {});
    }

    std::vector<std::string> steps;
    std::vector<std::vector<float>> gains;
    int opStatus = 0;
    int pgaStatus = 0;
    float op[2] = {};
    float pga[2] = {};

private:
    int step(const char* name, Mux input, int status, const std::vector<float>& values) {
        steps.push_back(std::string(name) + " " + std::to_string(input));
        gains.push_back(values);
        return status;
    }
};

using Steps = std::vector<std::string>;

class MicrophoneGain : public ::testing::Test {
protected:
    /// Sets both sides and expects these rows.
    void expectSplit(float left, float right, int leftRow, int rightRow) {
        volume.steps.clear();
        volume.gains.clear();
        ASSERT_EQ(volume.setMicAnalogGain(left, right), 0) << left << " " << right;
        ASSERT_EQ(volume.steps, (Steps{"set op 0", "set pga 0"}));
        EXPECT_EQ(volume.gains[0], (std::vector<float>{splitOf(leftRow).op, splitOf(rightRow).op}))
            << left << " " << right;
        EXPECT_EQ(volume.gains[1],
                  (std::vector<float>{splitOf(leftRow).pga, splitOf(rightRow).pga}))
            << left << " " << right;
    }

    LogCapture log;
    Converters volume;  // connected to nothing
};

TEST_F(MicrophoneGain, IsSplitAsTheTableSays) {
    for (int total = -24; total <= 46; ++total) {
        ASSERT_EQ(splitOf(total).total, total);
        EXPECT_EQ(gmic_gain_table[total + 24].op, splitOf(total).op) << total;
        EXPECT_EQ(gmic_gain_table[total + 24].pga, splitOf(total).pga) << total;
        expectSplit(static_cast<float>(total), static_cast<float>(22 - total), total, 22 - total);
    }
}

TEST_F(MicrophoneGain, IsCutToTheStepBelow) {
    expectSplit(7.9F, 6.999F, 7, 6);
    expectSplit(-23.1F, -0.5F, -24, -1);
    expectSplit(45.99F, 46.0F, 45, 46);
    expectSplit(-24.0F, std::nextafter(-24.0F, 0.0F), -24, -24);
    expectSplit(0.25F, -0.25F, 0, -1);
}

TEST_F(MicrophoneGain, IsRefusedBeyondTheTable) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinite = std::numeric_limits<float>::infinity();
    for (const float bad : {std::nextafter(-24.0F, -30.0F), std::nextafter(46.0F, 50.0F), -25.0F,
                            47.0F, nan, -nan, infinite, -infinite, 1e30F}) {
        const std::string shown = std::to_string(bad) + "\n";
        log.clear();
        EXPECT_EQ(volume.setMicAnalogGain(bad, 0.0F), REFUSED);
        EXPECT_TRUE(logged(log, ERROR, "ClientVolumeSetting", "setMicAnalogGain",
                           "invalid input param lch_gain:" + shown));
        EXPECT_EQ(volume.setMicAnalogGain(0.0F, bad), REFUSED);
        EXPECT_TRUE(logged(log, ERROR, "ClientVolumeSetting", "setMicAnalogGain",
                           "invalid input param rch_gain:" + shown));
        // The left side is looked at first.
        EXPECT_EQ(volume.setMicAnalogGain(bad, bad), REFUSED);
        EXPECT_TRUE(logged(log, ERROR, "invalid input param lch_gain:" + shown, 2));
        EXPECT_EQ(log.lines().size(), 3U) << log.dump();
    }
    EXPECT_TRUE(volume.steps.empty());
}

TEST_F(MicrophoneGain, StopsAtTheAmplifierThatFails) {
    volume.opStatus = -77;
    volume.pgaStatus = -78;
    EXPECT_EQ(volume.setMicAnalogGain(0.0F, 0.0F), -77);
    EXPECT_EQ(volume.steps, Steps{"set op 0"});
    volume.opStatus = 0;
    EXPECT_EQ(volume.setMicAnalogGain(0.0F, 0.0F), -78);
    EXPECT_EQ(volume.steps, (Steps{"set op 0", "set op 0", "set pga 0"}));
}

TEST_F(MicrophoneGain, IsReadAsTheRoundedSum) {
    struct Case {
        float op;
        float pga;
        float sum;
    };
    for (const auto& [op, pga, sum] :
         {Case{27.5F, 0.0F, 28.0F}, Case{27.5F, 1.0F, 29.0F}, Case{9.0F, -2.0F, 7.0F},
          Case{0.0F, -23.5F, -23.0F}, Case{40.0F, 6.0F, 46.0F}, Case{0.25F, 0.25F, 1.0F}}) {
        volume.op[0] = op;
        volume.pga[0] = pga;
        volume.op[1] = 1.0F;
        volume.pga[1] = 2.0F;
        float left = 99;
        float right = 99;
        EXPECT_EQ(volume.getMicAnalogGain(&left, &right), 0);
        EXPECT_EQ(left, sum);
        EXPECT_EQ(right, 3.0F);
        EXPECT_EQ(volume.getMicAnalogGain(&right, &left), 0);
        EXPECT_EQ(right, sum);
    }
    EXPECT_EQ(volume.steps[0], "get op 0");
    EXPECT_EQ(volume.steps[1], "get pga 0");
}

TEST_F(MicrophoneGain, IsReadForOneSideAlone) {
    volume.op[0] = 12.0F;
    volume.op[1] = 21.0F;
    float gain = 0;
    EXPECT_EQ(volume.getMicAnalogGain(&gain, nullptr), 0);
    EXPECT_EQ(gain, 12.0F);
    EXPECT_EQ(volume.getMicAnalogGain(nullptr, &gain), 0);
    EXPECT_EQ(gain, 21.0F);
    EXPECT_EQ(volume.getMicAnalogGain(nullptr, nullptr), 0);
}

TEST_F(MicrophoneGain, IsUnchangedWhenAnAmplifierCannotBeRead) {
    float left = 99;
    float right = 98;
    volume.opStatus = -77;
    volume.pgaStatus = -78;
    EXPECT_EQ(volume.getMicAnalogGain(&left, &right), -77);
    EXPECT_EQ(volume.steps, Steps{"get op 0"});
    volume.opStatus = 0;
    EXPECT_EQ(volume.getMicAnalogGain(&left, &right), -78);
    EXPECT_EQ(left, 99.0F);
    EXPECT_EQ(right, 98.0F);
}

class MicrophoneGainOverTheWire : public ::testing::Test {
protected:
    ScriptedServer server;
    ClientVolumeSetting volume;
};

TEST_F(MicrophoneGainOverTheWire, IsTwoRequests) {
    EXPECT_EQ(volume.setMicAnalogGain(28.0F, -3.5F), 0);
    EXPECT_EQ(server.functions(), (std::vector<std::uint32_t>{12, 10}));
    const std::vector<Request> all = server.requests();
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[1].payload, joined({word(12), word(0), real(27.5F), real(0.0F)}));
    EXPECT_EQ(all[2].payload, joined({word(10), word(0), real(0.0F), real(-4.0F)}));

    server.on(131, 13, Answer::words(0, 27.5F, 0.0F));
    server.on(131, 11, Answer::words(0, 0.0F, -4.0F));
    float left = 0;
    float right = 0;
    EXPECT_EQ(volume.getMicAnalogGain(&left, &right), 0);
    EXPECT_EQ(left, 28.0F);
    EXPECT_EQ(right, -4.0F);

    server.on(131, 12, Answer::status(-9));
    EXPECT_EQ(volume.setMicAnalogGain(1.0F, 1.0F), -9);
    EXPECT_EQ(server.functions(), (std::vector<std::uint32_t>{12, 10, 13, 11, 12}));
}

TEST_F(MicrophoneGainOverTheWire, IsReadAsTheRoundedSumOfEachSide) {
    struct Side {
        float op;
        float pga;
        float sum;
    };
    constexpr Side SIDES[] = {{9.0F, -1.75F, 8.0F}, {0.0F, -23.25F, -23.0F}, {27.5F, 0.125F, 28.0F},
                              {0.0F, -0.5F, 0.0F},  {40.0F, 5.25F, 46.0F},   {0.0F, -7.0F, -7.0F}};
    for (const Side& one : SIDES) {
        for (const Side& other : SIDES) {
            server.on(VOLUME, 13, Answer::words(0, one.op, other.op));
            server.on(VOLUME, 11, Answer::words(0, one.pga, other.pga));
            float left = 99;
            float right = 99;
            ASSERT_EQ(volume.getMicAnalogGain(&left, &right), 0);
            EXPECT_EQ(left, one.sum) << one.op << " + " << one.pga;
            EXPECT_EQ(right, other.sum) << other.op << " + " << other.pga;
        }
    }
}

TEST_F(MicrophoneGainOverTheWire, IsCutToTheStepBelowOnEachSide) {
    ASSERT_EQ(volume.setMicAnalogGain(7.9F, -3.1F), 0);
    const auto op = server.requests(VOLUME, 12);
    const auto pga = server.requests(VOLUME, 10);
    ASSERT_EQ(op.size(), 1U);
    ASSERT_EQ(pga.size(), 1U);
    EXPECT_EQ(op[0].real(2), 9.0F) << "7 dB";
    EXPECT_EQ(pga[0].real(2), -2.0F);
    EXPECT_EQ(op[0].real(3), 0.0F) << "-4 dB";
    EXPECT_EQ(pga[0].real(3), -4.0F);
}

}  // namespace
}  // namespace cabinaudio::test
