// SPDX-License-Identifier: Apache-2.0
// What a bash completes of the tool's command lines.
#include "tests/support/RealServer.h"
#include "tests/tools/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

namespace cabinaudio::test {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

using Words = std::vector<std::string>;

constexpr char kBash[] = "/bin/bash";

/// Asks a real bash as its line editor does: the words so far, the last one unfinished.
constexpr char kScript[] = R"(
source "$COMPLETION" || exit 1
[[ $(complete -p cabinaudio) == *_cabinaudio* ]] || exit 2
COMP_WORDS=("$TOOL" "$@")
COMP_CWORD=$#
_cabinaudio
((${#COMPREPLY[@]} == 0)) || printf '%s\n' "${COMPREPLY[@]}"
)";

class Completion : public testing::Test {
protected:
    void SetUp() override {
        if (toolIsEmulated()) GTEST_SKIP() << "bash does not start the target's programs";
        if (!std::filesystem::exists(kBash)) GTEST_SKIP() << "there is no bash";
    }

    static Words complete(const Words& words) {
        ToolSetup setup;
        setup.program = kBash;
        setup.environment = {{"TOOL", toolPath()}, {"COMPLETION", CABINAUDIO_TEST_COMPLETION}};
        Words arguments = {"-c", kScript, "bash"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const ToolResult result = runTool(arguments, setup);
        EXPECT_EQ(result.exitCode, 0) << result.text();
        EXPECT_THAT(result.err, IsEmpty());
        Words found;
        std::istringstream lines(result.out);
        for (std::string line; std::getline(lines, line);)
            found.push_back(line);
        return found;
    }
};

}  // namespace

TEST_F(Completion, KnowsSubCommandsAndOptions) {
    EXPECT_THAT(complete({"m"}), ElementsAre("monitor"));
    EXPECT_THAT(complete({""}), testing::AllOf(Contains("play"), Contains("set")));
    EXPECT_THAT(complete({"get", "--st"}), ElementsAre("--steps"));
    EXPECT_THAT(complete({"monitor", "--c"}), ElementsAre("--count"));
    EXPECT_THAT(complete({"server", "so"}), ElementsAre("source"));
    EXPECT_THAT(complete({"server", "source", "wi"}), ElementsAre("withdraw"));
}

TEST_F(Completion, KnowsTheNamesOfTheRunningServer) {
    const RealServer server;
    EXPECT_THAT(complete({"get", "volume.type.n"}), ElementsAre("volume.type.navigation"));
    EXPECT_THAT(complete({"set", "volume.type.m"}), ElementsAre("volume.type.media="));
    EXPECT_THAT(complete({"describe", "mixer.nav"}),
                ElementsAre("mixer.navigation", "mixer.navigation.mode"));
}

TEST_F(Completion, OffersWhatTheCommandCanUse) {
    const RealServer server;
    EXPECT_THAT(complete({"get", "mixer.nav"}), IsEmpty());
    EXPECT_THAT(complete({"set", "type"}), IsEmpty());
    EXPECT_THAT(complete({"set", "mute.main", "=", "o"}), IsEmpty());
    EXPECT_THAT(complete({"get", "--timeout", "v"}), IsEmpty());
}

TEST_F(Completion, KnowsTheFixedNamesWithoutAServer) {
    const Words names = complete({"get", "volume."});
    EXPECT_THAT(names, Contains("volume.master"));
    EXPECT_THAT(names, Not(Contains("volume.type.navigation")));
}

}  // namespace cabinaudio::test
