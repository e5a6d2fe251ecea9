// SPDX-License-Identifier: Apache-2.0
//
// The fuzzer's operations with pseudo-random bytes, the same in each run, on every platform.
#include "tests/fuzz/SettingsDriver.h"
#include "wire/Settings.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

namespace {

using cabinaudio::fuzz::SettingsDriver;
namespace wire = cabinaudio::wire;

constexpr int INPUTS = 20000;
constexpr std::size_t LONGEST = 160;

TEST(SettingOperations, SurvivePseudoRandomReplies) {
    SettingsDriver driver;
    std::mt19937 random(20251121);  // the same in each run
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < INPUTS; ++i) {
        bytes.resize(1 + random() % LONGEST);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random() >> 24);
        driver.run(bytes.data(), bytes.size());
    }
    const std::vector<std::uint64_t> answers = driver.answers();
    ASSERT_GE(answers.size(), 140U);
    for (std::size_t i = 0; i < answers.size(); ++i) {
        if (driver.hasEffect(i))
            EXPECT_GE(answers[i], 10U) << driver.nameOf(i);
        else
            EXPECT_EQ(answers[i], 0U) << driver.nameOf(i);
    }
    const auto functions = driver.functions();
    for (const wire::SettingRow& row : wire::settingRows()) {
        if (row.connection == AUDIO_CONNECT_VERSION_SETTING) continue;
        EXPECT_EQ(functions.count({row.connection, row.id}), 1U) << row.name << " " << row.id;
    }
}

}  // namespace
