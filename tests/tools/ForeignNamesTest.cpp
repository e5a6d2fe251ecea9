// SPDX-License-Identifier: Apache-2.0
// Names that others chose, on the terminal of the one who looks at them.
#include "tests/server/TemporaryDirectory.h"
#include "tests/support/RealServer.h"
#include "tests/support/TerminalText.h"
#include "tests/tools/Sounds.h"
#include "tests/tools/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>

namespace cabinaudio::test {

namespace {

using nlohmann::json;
using testing::HasSubstr;

// Sets a title, rings, clears the screen, in both sets of control characters, and begins a row.
constexpr char kName[] =
    "A\x1b]0;x\x07"
    "B\xc2\x9b"
    "2JD\x7f"
    "E\nF";
constexpr char kShown[] = R"(A\x1b]0;x\x07B\u009b2JD\x7fE\nF)";

/// Streams of any names, playing.
class ForeignNames : public testing::Test {
protected:
    void play(const std::string& name) {
        const std::string file =
            mDirectory.file("sound" + std::to_string(mStreams.size()) + ".wav");
        writeSound(file, {.frames = 2880000});
        mStreams.push_back(std::make_unique<ToolProcess>(
            std::vector<std::string>{"play", file, "--name", name, "-v"}));
        ASSERT_TRUE(mStreams.back()->waitForErr("first write"));
    }

    TemporaryDirectory mDirectory;
    RealServer mServer;
    std::vector<std::unique_ptr<ToolProcess>> mStreams;
};

}  // namespace

TEST_F(ForeignNames, AreEscapedInTheTableOfStreams) {
    play(kName);
    const ToolResult result = runTool({"server", "state"});
    EXPECT_THAT(result.out, HasSubstr(std::string("\n") + kShown + "  track  alternative"))
        << result.text();
    expectNoControls(result.out);
}

TEST_F(ForeignNames, OfOtherLanguagesAreReadableInTheTableOfStreams) {
    play("\xe6\x97\xa5\xe6\x9c\xac");
    play(
        "Gr\xc3\xbc\xc3\x9f"
        "e");
    const ToolResult result = runTool({"server", "state"});
    EXPECT_THAT(result.out, HasSubstr("\n\xe6\x97\xa5\xe6\x9c\xac    track  ")) << result.text();
    EXPECT_THAT(result.out, HasSubstr("\nGr\xc3\xbc\xc3\x9f"
                                      "e   track  "));
    EXPECT_THAT(result.out, HasSubstr("\nstream  kind   "));
}

TEST_F(ForeignNames, AreWholeInJson) {
    play(kName);
    const ToolResult result = runTool({"server", "state", "--json"});
    expectNoControls(result.out);
    EXPECT_EQ(json::parse(result.out)["streams"][0]["name"], kName) << result.text();
}

TEST_F(ForeignNames, AreEscapedInSettingsThatSetTakes) {
    const std::string setting = "volume.track.alternative.B%C2%9B%FF";
    EXPECT_EQ(runTool({"set", setting + "\xe6\x97\xa5=-3dB"}).exitCode, 0);
    const ToolResult result = runTool({"get", setting + "\xe6\x97\xa5"});
    EXPECT_EQ(result.out, setting + "\xe6\x97\xa5=-3dB\n") << result.text();
}

TEST_F(ForeignNames, AreEscapedInTheLibrarysLog) {
    const std::string file = mDirectory.file("sound.wav");
    writeSound(file, {.frames = 2400});
    const std::string log = mDirectory.file("log");
    const ToolResult result = runTool({"play", file, "--name", kName, "-v", "--log", log});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.err, HasSubstr(kShown));
    expectNoControls(result.err);
    std::ifstream lines(log);
    const std::string logged(std::istreambuf_iterator<char>(lines), {});
    EXPECT_THAT(logged, HasSubstr(kShown));
    expectNoControls(logged);
}

TEST_F(ForeignNames, OfFilesAreEscapedInReportsAndErrors) {
    const std::string file = mDirectory.file(
        "A\x1b]0;x\x07"
        "C\x9b"
        "E\n");
    const ToolResult missing = runTool({"play", file});
    EXPECT_NE(missing.exitCode, 0);
    EXPECT_THAT(missing.err, HasSubstr(R"(A\x1b]0;x\x07C\x9bE\n)"));
    expectNoControls(missing.err);
    writeSound(file, {.frames = 2400});
    const ToolResult played = runTool({"play", file});
    EXPECT_EQ(played.exitCode, 0) << played.text();
    EXPECT_THAT(played.out, HasSubstr(R"(A\x1b]0;x\x07C\x9bE\n: played)"));
    expectNoControls(played.out);
}

}  // namespace cabinaudio::test
