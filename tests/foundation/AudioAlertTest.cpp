// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioAlert.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <limits>

using cabinaudio::test::LogCapture;

namespace {

constexpr int kWarning = 5;

/// The only line, priority checked; it has no padded line number, so it is compared as a whole.
std::string onlyWarning(const LogCapture& log) {
    const auto lines = log.allLines();
    if (lines.size() != 1 || lines[0].priority != kWarning || lines[0].tag != "AS")
        return "not one warning: " + log.dump();
    return lines[0].text;
}

}  // namespace

TEST(AnAlert, WithoutThresholdAlwaysLogsTheCost) {
    const LogCapture log;
    AudioAlert::alert("S->C", 12, 0, "AudioConnection", "run", 42);
    EXPECT_EQ(onlyWarning(log), "[AudioConnection][run][42]'S->C' cost time 12us.\n");
}

TEST(AnAlert, AboveItsThresholdLogsBoth) {
    const LogCapture log;
    AudioAlert::alert("S->C", 3001, 3000, "AudioConnection", "run", 42);
    EXPECT_EQ(onlyWarning(log), "[AudioConnection][run][42]'S->C' overtime(3001us > 3000us).\n");
}

TEST(AnAlert, UpToItsThresholdIsSilent) {
    const LogCapture log;
    AudioAlert::alert("S->C", 2999, 3000, "AudioConnection", "run", 42);
    AudioAlert::alert("S->C", 3000, 3000, "AudioConnection", "run", 42);
    EXPECT_TRUE(log.allLines().empty()) << log.dump();
}

TEST(AnAlert, PrintsStandInsForMissingNames) {
    const LogCapture log;
    AudioAlert::alert(nullptr, 5, 0, nullptr, nullptr, 7);
    EXPECT_EQ(onlyWarning(log), "[-][-][7]'Unknown' cost time 5us.\n");
}

TEST(AnAlert, PrintsNumbersUnsigned) {
    const LogCapture log;
    constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max();
    AudioAlert::alert("n", most, most - 1, "f", "g", most);
    EXPECT_EQ(onlyWarning(log), "[f][g][4294967295]'n' overtime(4294967295us > 4294967294us).\n");
}

TEST(AnAutoAlert, WithoutThresholdLogsTheCostOfItsScope) {
    const LogCapture log;
    const std::uint64_t before = AudioTime::now();
    { const AudioAlert::AutoAlert alert("scope", 0, "file", "function", 9); }
    const std::uint64_t span = AudioTime::now() - before;
    const std::string text = onlyWarning(log);
    unsigned cost = 0;
    ASSERT_EQ(std::sscanf(text.c_str(), "[file][function][9]'scope' cost time %uus.\n", &cost), 1)
        << text;
    EXPECT_EQ(text, "[file][function][9]'scope' cost time " + std::to_string(cost) + "us.\n");
    EXPECT_LE(cost, span);
}

TEST(AnAutoAlert, LogsAScopeThatTakesTooLong) {
    const LogCapture log;
    {
        const AudioAlert::AutoAlert alert("scope", 1999, "file", "function", 9);
        AudioTime::sleep(2000);
    }
    const std::string text = onlyWarning(log);
    unsigned cost = 0;
    unsigned threshold = 0;
    ASSERT_EQ(std::sscanf(text.c_str(), "[file][function][9]'scope' overtime(%uus > %uus).\n",
                          &cost, &threshold),
              2)
        << text;
    EXPECT_GE(cost, 2000U);
    EXPECT_EQ(threshold, 1999U);
}

TEST(AnAutoAlert, IsSilentAboutAScopeThatIsQuickEnough) {
    const LogCapture log;
    { const AudioAlert::AutoAlert alert("scope", 4000000000U, "file", "function", 9); }
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}
