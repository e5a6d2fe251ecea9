// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioAlert.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/support/Logged.h"

#include <gtest/gtest.h>

#include <limits>

namespace cabinaudio::test {
namespace {

/// The only line, priority checked; it has no padded line number, so it is compared as a whole.
std::string onlyWarning(const LogCapture& log) {
    const auto lines = log.allLines();
    if (lines.size() != 1 || lines[0].priority != WARN || lines[0].tag != "AS")
        return "not one warning: " + log.dump();
    return lines[0].text;
}

struct Alert {
    const char* name;
    std::uint32_t cost;
    std::uint32_t threshold;
    const char* file;
    const char* function;
    std::uint32_t line;
    const char* expected;
};

constexpr std::uint32_t MOST = std::numeric_limits<std::uint32_t>::max();
constexpr Alert ALERTS[] = {
    {"S->C", 12, 0, "AudioConnection", "run", 42,
     "[AudioConnection][run][42]'S->C' cost time 12us.\n"},
    {"S->C", 3001, 3000, "AudioConnection", "run", 42,
     "[AudioConnection][run][42]'S->C' overtime(3001us > 3000us).\n"},
    {nullptr, 5, 0, nullptr, nullptr, 7, "[-][-][7]'Unknown' cost time 5us.\n"},
    {"n", MOST, MOST - 1, "f", "g", MOST,
     "[f][g][4294967295]'n' overtime(4294967295us > 4294967294us).\n"},
};

TEST(Alert, LogsTheCostWithoutAThresholdAndBothAboveIt) {
    for (const Alert& alert : ALERTS) {
        SCOPED_TRACE(alert.expected);
        const LogCapture log;
        AudioAlert::alert(alert.name, alert.cost, alert.threshold, alert.file, alert.function,
                          alert.line);
        EXPECT_EQ(onlyWarning(log), alert.expected);
    }
}

TEST(Alert, IsSilentUpToItsThreshold) {
    const LogCapture log;
    AudioAlert::alert("S->C", 2999, 3000, "AudioConnection", "run", 42);
    AudioAlert::alert("S->C", 3000, 3000, "AudioConnection", "run", 42);
    EXPECT_TRUE(log.allLines().empty()) << log.dump();
}

TEST(AutoAlert, LogsTheCostOfItsScopeWithoutAThreshold) {
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

TEST(AutoAlert, LogsAScopeThatTakesLongerThanTheThreshold) {
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

TEST(AutoAlert, IsSilentAboutAScopeWithinTheThreshold) {
    const LogCapture log;
    { const AudioAlert::AutoAlert alert("scope", 4000000000U, "file", "function", 9); }
    EXPECT_TRUE(logIsEmpty(log));
}

}  // namespace
}  // namespace cabinaudio::test
