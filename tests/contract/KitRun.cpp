// SPDX-License-Identifier: Apache-2.0
#include "tests/contract/KitRun.h"

#include "testing/src/ServerProcess.h"
#include "tests/contract/broken/Breakage.h"
#include "tests/support/Files.h"

#include <unistd.h>

#include <atomic>
#include <csignal>

namespace cabinaudio::test {

namespace {

constexpr std::chrono::minutes BOUND{1};

/// Several servers run at the same time.
std::string newInstance() {
    static std::atomic<int> last{0};
    return "contract-" + std::to_string(getpid()) + "-" + std::to_string(++last);
}

}  // namespace

std::vector<std::string> rulesOf(const json& report, const std::string& result) {
    std::vector<std::string> names;
    for (const json& rule : report.at("rules"))
        if (rule.at("result") == result) names.push_back(rule.at("rule"));
    return names;
}

json reportOnBroken(const std::string& pattern, const Words& options) {
    const std::string instance = newInstance();
    const TemporaryDirectory directory;
    const testing::ServerProcess server(
        {CABINAUDIO_TEST_BROKEN, broken::OPTION, pattern, "--output", "null", "--fast"}, instance,
        directory.file("log"), BOUND);
    const Outcome outcome = runTool(with({"check-server", "--json", "--write-only"}, options),
                                    {.environment = {{"CABINAUDIO_INSTANCE", instance}}});
    server.send(SIGTERM);
    EXPECT_EQ(server.wait(BOUND), 0) << pattern << ":\n" << contentsOf(directory.file("log"));
    testing::removePhysicalMemory(instance);
    return json::parse(outcome.out);
}

std::vector<std::string> listedRules() {
    std::vector<std::string> names;
    const json list = jsonOf(runTool({"check-server", "--list", "--json"}));
    for (const json& rule : list.at("rules"))
        names.push_back(rule.at("rule"));
    return names;
}

}  // namespace cabinaudio::test
