// SPDX-License-Identifier: Apache-2.0
// Files that cannot be played. None of these needs a server.
#include "tests/support/Row.h"
#include "tests/tools/ToolTest.h"

#include <filesystem>
#include <fstream>
#include <functional>

namespace cabinaudio::test {

namespace {

class BadFile : public ToolTest {
protected:
    std::string mFile = mDirectory.file("sound");
};

/// A file that is made in a certain way, and the reason why it is refused.
struct BadFileKind : Row {
    std::function<void(const std::string&)> make;
    const char* why;
};

/// Makes a WAV file of 16 bits.
auto wav(int rate, int channels, std::size_t frames = 100) {
    return [=](const std::string& path) {
        writeSound(path, {SF_FORMAT_WAV | SF_FORMAT_PCM_16, rate, channels, frames});
    };
}

auto text(const char* contents) {
    return [=](const std::string& path) { std::ofstream(path) << contents; };
}

constexpr char NO_AUDIO_FILE[] = "not an audio file that libsndfile can read";

const BadFileKind BAD_FILES[] = {
    {"Missing", [](const std::string&) {}, "No such file or directory\n"},
    {"Directory", [](const std::string& path) { std::filesystem::create_directory(path); },
     "Is a directory\n"},
    {"Text", text("This is no sound at all, only words.\n"), NO_AUDIO_FILE},
    {"Empty", text(""), "is empty\n"},
    {"EndInTheHeaderOfWav", text("RIFF\1\1\1\1WAVEfmt"), "ends within its header\n"},
    {"EndInTheHeaderOfFlac", text("fLaC\1\1\1"), "ends within its header\n"},
    {"SevenChannels", wav(48000, 7), "has 7 channels; a stream carries 1 to 6\n"},
    {"LowRate", wav(7999, 2), "has a rate of 7999 Hz; a stream carries 8000 to 192000 Hz\n"},
    {"HighRate", wav(192001, 2), "has a rate of 192001 Hz; a stream carries 8000 to 192000 Hz\n"},
    {"WithoutFrames", wav(48000, 2, 0), "holds no sound\n"},
};

class BadFileOfAnyKind : public BadFile, public testing::WithParamInterface<BadFileKind> {};

void expectRefusal(const std::string& file, const std::string& shown, const std::string& why) {
    const Outcome result = runExpecting(1, {"play", file});
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, StartsWith("cabinaudio: " + shown + ": "));
    EXPECT_THAT(result.err, HasSubstr(why));
    expectOneLine(result.err);
}

}  // namespace

TEST_P(BadFileOfAnyKind, IsRefusedWithTheReason) {
    GetParam().make(mFile);
    expectRefusal(mFile, mFile, GetParam().why);
}

INSTANTIATE_TEST_SUITE_P(Kind, BadFileOfAnyKind, testing::ValuesIn(BAD_FILES), ROW_NAME);

TEST_F(BadFile, IsRefusedFromStandardInput) {
    expectRefusal("-", "standard input", "is empty\n");  // it is /dev/null
}

TEST_F(BadFile, IsReportedInJson) {
    const Outcome result = runExpecting(1, {"play", mFile, "--json"});
    const json report = json::parse(result.out);
    EXPECT_EQ(report["file"], mFile);
    EXPECT_EQ(report["ended"], "failed");
    EXPECT_EQ(report["text"], "No such file or directory");
    EXPECT_TRUE(report["duration_ms"].is_null());
    EXPECT_THAT(result.err, HasSubstr("No such file or directory\n"));
}

TEST_F(BadFile, IsRefusedBeforeAnythingIsPlayed) {
    const std::string good = mDirectory.file("good");
    writeSound(good, {.frames = 100});
    // Without a server the good one would end with status 3.
    const Outcome result = runExpecting(1, {"play", good, mFile});
    EXPECT_THAT(result.err, StartsWith("cabinaudio: " + mFile + ": "));
}

TEST_F(BadFile, IsReportedUnderANameThatIsNoText) {
    mFile += "\xff\xfe";
    const Outcome result = runExpecting(1, {"play", mFile, "--json"});
    EXPECT_EQ(json::parse(result.out)["ended"], "failed");
}

}  // namespace cabinaudio::test
