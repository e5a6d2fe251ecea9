// SPDX-License-Identifier: Apache-2.0
//
// The report of the doctor, unpacked with the system's tar.
#include "tests/tools/ToolTest.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace cabinaudio::test {

namespace {

using testing::Contains;
using testing::Key;
using testing::UnorderedElementsAre;

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class ReportOfTheDoctor : public ToolTest {
protected:
    void SetUp() override {
        // Without a server: the doctor fails in any case, but a report must come of it.
        if (runTool({"doctor", "--report", file("first.tar.gz")}).err.find("without libarchive") !=
            std::string::npos)
            GTEST_SKIP() << "the tool is built without libarchive";
    }

    /// Name and content of all members, which are in one directory.
    [[nodiscard]] std::map<std::string, std::string> unpacked(const std::string& report) const {
        const std::string target = file("unpacked");
        std::filesystem::remove_all(target);
        std::filesystem::create_directory(target);
        const Outcome tar = runProgram({{"/bin/tar", "xzf", report, "-C", target}});
        EXPECT_EQ(tar.exitCode, 0) << tar.text();
        std::map<std::string, std::string> members;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(target)) {
            if (!entry.is_regular_file()) continue;
            EXPECT_EQ(entry.path().parent_path().filename(), "cabinaudio-report");
            members[entry.path().filename()] = contentOf(entry.path());
        }
        return members;
    }

    const std::string mReport = file("ticket.tar.gz");
};

}  // namespace

TEST_F(ReportOfTheDoctor, HasChecksVersionsStateSettingsAndLogs) {
    serve();
    runExpecting(0, {"set", "volume.master=-12dB"});
    const std::string log = file("library.log");
    const Outcome outcome = runExpecting(0, {"doctor", "--report", mReport, "--log", log});
    EXPECT_THAT(outcome.err, IsEmpty());
    const auto members = unpacked(mReport);
    EXPECT_THAT(members,
                UnorderedElementsAre(Key("checks.txt"), Key("checks.json"), Key("versions.json"),
                                     Key("machine.txt"), Key("state.json"), Key("settings.txt"),
                                     Key("library.log"), Key("server.log")));
    EXPECT_THAT(outcome.out, StartsWith(members.at("checks.txt")));
    EXPECT_EQ(json::parse(members.at("checks.json")).at(0).at("name"), "server");
    EXPECT_THAT(members.at("checks.json"),
                testing::AllOf(HasSubstr("\"alsa_plugin\""), HasSubstr("\"gstreamer_plugin\""),
                               HasSubstr("\"directories\"")));
    EXPECT_EQ(json::parse(members.at("versions.json")).at("server").at(0), json({2, 24, 25}));
    EXPECT_EQ(json::parse(members.at("state.json")).at("settings").at("volume").at("master_db"),
              -12.0);
    EXPECT_THAT(linesOf(members.at("settings.txt")), Contains("volume.master=-12dB"));
    EXPECT_THAT(members.at("machine.txt"), HasSubstr("Max open files"));
    EXPECT_EQ(members.at("library.log"),
              contentOf(log).substr(0, members.at("library.log").size()));
    EXPECT_THAT(members.at("library.log"), HasSubstr("[connect]"));
    EXPECT_THAT(members.at("server.log"), HasSubstr("plays to nothing"));
}

TEST_F(ReportOfTheDoctor, IsListedMemberByMember) {
    serve();
    const Outcome outcome = runExpecting(0, {"doctor", "--report", mReport});
    const auto members = unpacked(mReport);
    const Words lines = linesOf(outcome.out);
    const auto title =
        std::find(lines.begin(), lines.end(), mReport + ", for your ticket, contains:");
    ASSERT_NE(title, lines.end()) << outcome.out;
    EXPECT_EQ(static_cast<std::size_t>(lines.end() - title - 1), members.size());
    for (const auto& [name, content] : members)
        EXPECT_THAT(outcome.out,
                    HasSubstr("\n  " + name + ", " + std::to_string(content.size()) + " bytes: "));
}

TEST_F(ReportOfTheDoctor, IsListedInJsonAfterTheChecks) {
    serve();
    const Words lines = linesOf(runExpecting(0, {"doctor", "--json", "--report", mReport}).out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(json::parse(lines[0]).is_array());
    const json content = json::parse(lines[1]);
    EXPECT_EQ(content.at("report"), mReport);
    EXPECT_EQ(content.at("members").size(), unpacked(mReport).size());
    EXPECT_EQ(content.at("members").at(0).at("name"), "checks.txt");
    EXPECT_EQ(content.at("exit"), 0);
}

TEST_F(ReportOfTheDoctor, IsMadeWithoutAServer) {
    runExpecting(1, {"doctor", "--report", mReport});
    const auto members = unpacked(mReport);
    EXPECT_THAT(members.at("checks.txt"), StartsWith("FAIL  server"));
    EXPECT_THAT(members, Not(Contains(Key("state.json"))));
    EXPECT_THAT(members, Not(Contains(Key("settings.txt"))));
}

TEST_F(ReportOfTheDoctor, IsForItsUserAloneAndHasNoEnvironment) {
    serve();
    const mode_t before = umask(0);
    runExpecting(0, {"doctor", "--report", mReport},
                 {.environment = {{"A_SECRET", "the-word-that-nobody-knows"}}});
    umask(before);
    struct stat status = {};
    ASSERT_EQ(stat(mReport.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    for (const auto& [name, content] : unpacked(mReport)) {
        EXPECT_THAT(content, Not(HasSubstr("the-word-that-nobody-knows"))) << name;
        EXPECT_THAT(content, Not(HasSubstr("A_SECRET"))) << name;
    }
}

TEST_F(ReportOfTheDoctor, ReplacesNoFileAndFollowsNoLink) {
    std::ofstream(mReport) << "mine";
    const Outcome outcome = runExpecting(1, {"doctor", "--report", mReport});
    EXPECT_EQ(outcome.err,
              "cabinaudio: " + mReport + " exists; choose another name for the report\n");
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_EQ(contentOf(mReport), "mine");
    const std::string link = file("link.tar.gz");
    std::filesystem::create_symlink(file("target"), link);
    runExpecting(1, {"doctor", "--report", link});
    EXPECT_FALSE(std::filesystem::exists(file("target")));
}

/// A limit of the size of files, like a full disk, stops the writing in the middle.
TEST_F(ReportOfTheDoctor, LeavesNoHalfFileWhenItCannotBeWritten) {
    if (toolIsEmulated()) GTEST_SKIP() << "the shell would be started in the emulator";
    const Words words = {"-c",         "ulimit -f 1; trap '' XFSZ; exec \"$0\" \"$@\"",
                         toolPath(),   "doctor",
                         "--no-board", "--report",
                         mReport};
    const Outcome outcome = runTool(words, {.program = "/bin/sh"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.text();
    EXPECT_EQ(outcome.err, "cabinaudio: " + mReport + ": File too large; there is no report\n");
    EXPECT_FALSE(std::filesystem::exists(mReport));
    const std::string nowhere = file("nowhere") + "/ticket.tar.gz";
    EXPECT_EQ(runExpecting(1, {"doctor", "--report", nowhere}).err,
              "cabinaudio: " + nowhere + ": No such file or directory; there is no report\n");
}

TEST(ReportOfADoctor, NeedsANameThatTellsItsKind) {
    for (const char* name : {"ticket", "ticket.zip", ".tar.gz", ""})
        EXPECT_EQ(runExpecting(2, {"doctor", "--report", name}).err,
                  "cabinaudio: --report: must be a file name that ends in .tar.gz (try 'cabinaudio "
                  "doctor --help')\n");
}

}  // namespace cabinaudio::test
