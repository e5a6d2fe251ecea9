// SPDX-License-Identifier: Apache-2.0
// Completion of the tool's command lines in bash.
#include "tests/tools/ToolTest.h"

#include <filesystem>
#include <fstream>

namespace cabinaudio::test {

namespace {

using testing::Contains;
using testing::ElementsAre;

constexpr char BASH[] = "/bin/bash";

/// Asks a real bash as its line editor does: the words so far, the last one unfinished.
constexpr char SCRIPT[] = R"(
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
        if (!std::filesystem::exists(BASH)) GTEST_SKIP() << "there is no bash";
    }

    static Words complete(const Words& words) {
        const ToolSetup bash = {
            .environment = {{"TOOL", toolPath()}, {"COMPLETION", CABINAUDIO_TEST_COMPLETION}},
            .program = BASH};
        const Outcome result = runExpecting(0, with({"-c", SCRIPT, "bash"}, words), bash);
        EXPECT_THAT(result.err, IsEmpty());
        return linesOf(result.out);
    }
};

}  // namespace

TEST_F(Completion, OffersSubCommandsAndOptions) {
    EXPECT_THAT(complete({"m"}), ElementsAre("monitor"));
    EXPECT_THAT(complete({""}), testing::AllOf(Contains("play"), Contains("set")));
    EXPECT_THAT(complete({"get", "--st"}), ElementsAre("--steps"));
    EXPECT_THAT(complete({"monitor", "--c"}), ElementsAre("--count"));
    EXPECT_THAT(complete({"server", "so"}), ElementsAre("source"));
    EXPECT_THAT(complete({"check", "a.wav", "click"}), ElementsAre("click-free"));
    EXPECT_THAT(complete({"server", "source", "wi"}), ElementsAre("withdraw"));
}

TEST_F(Completion, OffersNamesOfTheRunningServer) {
    const RealServer server;
    EXPECT_THAT(complete({"get", "volume.type.n"}), ElementsAre("volume.type.navigation"));
    EXPECT_THAT(complete({"set", "volume.type.m"}), ElementsAre("volume.type.media="));
    EXPECT_THAT(complete({"describe", "mixer.nav"}),
                ElementsAre("mixer.navigation", "mixer.navigation.mode"));
}

TEST_F(Completion, OffersOnlyNamesThatTheCommandCanUse) {
    const RealServer server;
    EXPECT_THAT(complete({"get", "mixer.nav"}), IsEmpty());
    EXPECT_THAT(complete({"set", "type"}), IsEmpty());
    EXPECT_THAT(complete({"get", "--timeout", "v"}), IsEmpty());
}

TEST_F(Completion, OffersValuesOfSettings) {
    EXPECT_THAT(complete({"set", "mute.main", "=", "o"}), ElementsAre("on", "off"));
    EXPECT_THAT(complete({"set", "mute.main", "="}), ElementsAre("on", "off", "toggle"));
    EXPECT_THAT(complete({"set", "bypass", "="}), ElementsAre("on", "off"));
    EXPECT_THAT(complete({"set", "duck", "="}), ElementsAre("off"));
    EXPECT_THAT(complete({"set", "speaker.output", "=", "R"}), ElementsAre("RF", "RS"));
    EXPECT_THAT(complete({"set", "volume.master", "=", "5"}), ElementsAre("50%", "5+", "5-"));
    EXPECT_THAT(complete({"set", "volume.master+", "="}), ElementsAre("3dB", "5", "10%"));
    EXPECT_THAT(complete({"set", "source.main", "="}), IsEmpty());
}

TEST_F(Completion, OffersValuesOfOptions) {
    EXPECT_THAT(complete({"play", "--tag", "a"}), ElementsAre("alternative", "auxiliary"));
    EXPECT_THAT(complete({"play", "--tag", "=", "m"}), ElementsAre("main"));
    EXPECT_THAT(complete({"record", "--tag", "=", "u"}), ElementsAre("uplink"));
    EXPECT_THAT(complete({"record", "a.wav", "--format", ""}),
                ElementsAre("s16", "u8", "s24", "s32"));
    EXPECT_THAT(complete({"record", "--codec", "o"}), ElementsAre("opus"));
    for (const char* option : {"--name", "--timeout", "--key-shift", "--instance"})
        EXPECT_THAT(complete({"play", option, ""}), IsEmpty()) << option;
}

TEST_F(Completion, OffersFilesBehindOptionsWithoutAValue) {
    const TemporaryDirectory directory;
    std::ofstream(directory.file("sound.wav")) << "";
    const std::string begin = directory.file("so");
    EXPECT_THAT(complete({"play", "--block", begin}), ElementsAre(directory.file("sound.wav")));
    EXPECT_THAT(complete({"get", "--log", begin}), ElementsAre(directory.file("sound.wav")));
}

TEST_F(Completion, OffersFixedNamesWithoutAServer) {
    const Words names = complete({"get", "volume."});
    EXPECT_THAT(names, Contains("volume.master"));
    EXPECT_THAT(names, Not(Contains("volume.type.navigation")));
}

}  // namespace cabinaudio::test
