// SPDX-License-Identifier: Apache-2.0
// Files that cannot be played. None of these needs a server.
#include "tests/server/TemporaryDirectory.h"
#include "tests/tools/Sounds.h"
#include "tests/tools/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>

namespace cabinaudio::test {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

class ABadFile : public testing::Test {
protected:
    void expectRefusal(const std::string& why, const ToolSetup& setup = {}) {
        const ToolResult result = runTool({"play", mFile}, setup);
        EXPECT_EQ(result.exitCode, 1) << result.text();
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_THAT(result.err, testing::StartsWith("cabinaudio: " + mName + ": "));
        EXPECT_THAT(result.err, HasSubstr(why));
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    }

    TemporaryDirectory mDirectory;
    std::string mFile = mDirectory.file("sound");
    std::string mName = mFile;
};

}  // namespace

TEST_F(ABadFile, IsOneThatIsMissing) {
    expectRefusal("No such file or directory\n");
}

TEST_F(ABadFile, IsADirectory) {
    std::filesystem::create_directory(mFile);
    expectRefusal("Is a directory\n");
}

TEST_F(ABadFile, IsAText) {
    std::ofstream(mFile) << "This is no sound at all, only words.\n";
    expectRefusal("not an audio file that libsndfile can read");
}

TEST_F(ABadFile, IsAnEmptyOne) {
    std::ofstream(mFile).flush();
    expectRefusal("not an audio file that libsndfile can read");
}

TEST_F(ABadFile, HasTooManyChannels) {
    writeSound(mFile, {SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 7, 100});
    expectRefusal("has 7 channels; a stream carries 1 to 6\n");
}

TEST_F(ABadFile, HasTooLowARate) {
    writeSound(mFile, {SF_FORMAT_WAV | SF_FORMAT_PCM_16, 7999, 2, 100});
    expectRefusal("has a rate of 7999 Hz; a stream carries 8000 to 192000 Hz\n");
}

TEST_F(ABadFile, HasTooHighARate) {
    writeSound(mFile, {SF_FORMAT_WAV | SF_FORMAT_PCM_16, 192001, 2, 100});
    expectRefusal("has a rate of 192001 Hz; a stream carries 8000 to 192000 Hz\n");
}

TEST_F(ABadFile, HoldsNoSound) {
    writeSound(mFile, {.frames = 0});
    expectRefusal("holds no sound\n");
}

TEST_F(ABadFile, MayBeStandardInput) {
    mFile = "-";
    mName = "standard input";
    expectRefusal("not an audio file that libsndfile can read");  // it is /dev/null
}

TEST_F(ABadFile, IsReportedInJsonToo) {
    const ToolResult result = runTool({"play", mFile, "--json"});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    const json report = json::parse(result.out);
    EXPECT_EQ(report["file"], mFile);
    EXPECT_EQ(report["ended"], "failed");
    EXPECT_EQ(report["text"], "No such file or directory");
    EXPECT_TRUE(report["duration_ms"].is_null());
    EXPECT_THAT(result.err, HasSubstr("No such file or directory\n"));
}

TEST_F(ABadFile, IsFoundBeforeAnythingIsPlayed) {
    const std::string good = mDirectory.file("good");
    writeSound(good, {.frames = 100});
    // Without a server the good one would end with status 3.
    const ToolResult result = runTool({"play", good, mFile});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_THAT(result.err, testing::StartsWith("cabinaudio: " + mFile + ": "));
}

TEST_F(ABadFile, MayHaveBytesInItsNameThatAreNoText) {
    mFile += "\xff\xfe";
    const ToolResult result = runTool({"play", mFile, "--json"});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "failed");
}

}  // namespace cabinaudio::test
