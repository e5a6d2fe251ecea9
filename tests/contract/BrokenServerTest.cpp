// SPDX-License-Identifier: Apache-2.0
// A server that is broken in one place fails exactly the rule of that place.
#include "tests/contract/KitRun.h"
#include "tests/contract/broken/Breakage.h"

#include <atomic>
#include <thread>

namespace cabinaudio::test {

namespace {

using testing::ElementsAre;

constexpr std::string_view SETTINGS = "settings.";
// Most of the time of a run is waiting.
constexpr std::size_t AT_ONCE = 8;
// Tests of one program can run at the same time.
constexpr std::size_t PARTS = 4;

/// Every so many rules are broken.
constexpr std::size_t STRIDE = CABINAUDIO_TEST_STRIDE;

std::vector<std::string> brokenRules(bool withSettings) {
    std::vector<std::string> rules;
    for (const broken::Breakage& breakage : broken::breakages())
        if (withSettings || !breakage.rule.starts_with(SETTINGS)) rules.push_back(breakage.rule);
    return rules;
}

void expectOnly(const std::string& rule) {
    // Broken rules wait as long: a server that answers takes milliseconds.
    const json report = reportOnBroken(rule, {"--patience", "3"});
    EXPECT_THAT(rulesOf(report, "failed"), ElementsAre(rule)) << rule;
    EXPECT_THAT(rulesOf(report, "skipped"), IsEmpty()) << rule;
}

/// Every `stride`-th rule from `first` on, several at the same time.
void expectEach(const std::vector<std::string>& rules, std::size_t first, std::size_t stride) {
    std::atomic<std::size_t> next{first};
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < AT_ONCE; ++i)
        threads.emplace_back([&] {
            for (std::size_t rule = next.fetch_add(stride); rule < rules.size();
                 rule = next.fetch_add(stride))
                expectOnly(rules[rule]);
        });
}

class BrokenServer : public testing::TestWithParam<std::size_t> {};

TEST_P(BrokenServer, FailsExactlyTheRuleThatIsBroken) {
    expectEach(brokenRules(CABINAUDIO_TEST_WITH_SETTINGS != 0), GetParam(), PARTS * STRIDE);
}

INSTANTIATE_TEST_SUITE_P(Part, BrokenServer, testing::Range(std::size_t{0}, PARTS));

#if !CABINAUDIO_TEST_WITH_SETTINGS
TEST(BrokenServers, BreakEveryRuleOnce) {
    std::vector<std::string> rules = brokenRules(true);
    std::vector<std::string> listed = listedRules();
    std::sort(rules.begin(), rules.end());
    std::sort(listed.begin(), listed.end());
    EXPECT_EQ(rules, listed);
}

TEST(BrokenServers, FailEveryRuleOfSettingsAtOnce) {
    const json report = reportOnBroken(std::string(SETTINGS) + "*");
    std::vector<std::string> listed = listedRules();
    std::erase_if(listed, [](const std::string& rule) { return !rule.starts_with(SETTINGS); });
    EXPECT_EQ(rulesOf(report, "failed"), listed);
    EXPECT_EQ(report.at("exit"), 5);
}

TEST(BrokenServers, BreakNothingWithoutAChoice) {
    const json report = reportOnBroken("");
    EXPECT_THAT(rulesOf(report, "failed"), IsEmpty());
    EXPECT_EQ(rulesOf(report, "ok"), listedRules());
}
#endif

}  // namespace

}  // namespace cabinaudio::test
