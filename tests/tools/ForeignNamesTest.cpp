// SPDX-License-Identifier: Apache-2.0
// Stream and file names with control sequences, as the tool shows them.
#include "tests/support/TerminalText.h"
#include "tests/tools/ToolTest.h"

namespace cabinaudio::test {

namespace {

// Sets a title, rings, clears the screen, in both sets of control characters, and begins a row.
constexpr char NAME[] =
    "A\x1b]0;x\x07"
    "B\xc2\x9b"
    "2JD\x7f"
    "E\nF";
constexpr char SHOWN[] = R"(A\x1b]0;x\x07B\u009b2JD\x7fE\nF)";

/// Streams of any names, playing.
class ForeignNames : public ToolTest {
protected:
    void SetUp() override { serve(); }

    void play(const std::string& name) {
        const std::string sound = file("sound" + std::to_string(mStreams.size()) + ".wav");
        writeSound(sound, {.frames = 2880000});
        mStreams.push_back(
            std::make_unique<ToolProcess>(Words{"play", sound, "--name", name, "-v"}));
        ASSERT_TRUE(mStreams.back()->waitForErr("first write"));
    }

    std::vector<std::unique_ptr<ToolProcess>> mStreams;
};

}  // namespace

TEST_F(ForeignNames, AreEscapedInTheTableOfStreams) {
    play(NAME);
    const Outcome result = runTool({"server", "state"});
    EXPECT_THAT(result.out, HasSubstr(std::string("\n") + SHOWN + "  track  alternative"))
        << result.text();
    expectNoControls(result.out);
}

TEST_F(ForeignNames, OfOtherLanguagesAreReadableInTheTableOfStreams) {
    play("\xe6\x97\xa5\xe6\x9c\xac");
    play(
        "Gr\xc3\xbc\xc3\x9f"
        "e");
    const Outcome result = runTool({"server", "state"});
    EXPECT_THAT(result.out, HasSubstr("\n\xe6\x97\xa5\xe6\x9c\xac    track  ")) << result.text();
    EXPECT_THAT(result.out, HasSubstr("\nGr\xc3\xbc\xc3\x9f"
                                      "e   track  "));
    EXPECT_THAT(result.out, HasSubstr("\nstream  kind   "));
}

TEST_F(ForeignNames, AreWholeInJson) {
    play(NAME);
    const Outcome result = runTool({"server", "state", "--json"});
    expectNoControls(result.out);
    EXPECT_EQ(json::parse(result.out)["streams"][0]["name"], NAME) << result.text();
}

TEST_F(ForeignNames, AreEscapedInSettingsThatSetTakes) {
    const std::string setting = "volume.track.alternative.B%C2%9B%FF";
    runExpecting(0, {"set", setting + "\xe6\x97\xa5=-3dB"});
    const Outcome result = runTool({"get", setting + "\xe6\x97\xa5"});
    EXPECT_EQ(result.out, setting + "\xe6\x97\xa5=-3dB\n") << result.text();
}

TEST_F(ForeignNames, AreEscapedInTheLibrarysLog) {
    const std::string file = mDirectory.file("sound.wav");
    writeSound(file, {.frames = 2400});
    const std::string log = mDirectory.file("log");
    const Outcome result = runExpecting(0, {"play", file, "--name", NAME, "-v", "--log", log});
    EXPECT_THAT(result.err, HasSubstr(SHOWN));
    expectNoControls(result.err);
    EXPECT_THAT(contentsOf(log), HasSubstr(SHOWN));
    expectNoControls(contentsOf(log));
}

TEST_F(ForeignNames, OfFilesAreEscapedInReportsAndErrors) {
    const std::string file = mDirectory.file(
        "A\x1b]0;x\x07"
        "C\x9b"
        "E\n");
    const Outcome missing = runTool({"play", file});
    EXPECT_NE(missing.exitCode, 0);
    EXPECT_THAT(missing.err, HasSubstr(R"(A\x1b]0;x\x07C\x9bE\n)"));
    expectNoControls(missing.err);
    writeSound(file, {.frames = 2400});
    const Outcome played = runExpecting(0, {"play", file});
    EXPECT_THAT(played.out, HasSubstr(R"(A\x1b]0;x\x07C\x9bE\n: played)"));
    expectNoControls(played.out);
}

}  // namespace cabinaudio::test
