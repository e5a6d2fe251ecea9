// SPDX-License-Identifier: Apache-2.0
#include "tests/board/InProcess.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>

namespace cabinaudio::test {
namespace {

namespace fs = std::filesystem;

constexpr char kDirectory[] = "/media/flash/nvm/as_server";
constexpr char kFile[] = "/media/flash/nvm/as_server/audio_config";

std::string contentOf(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

class TheDiagnosticsFile : public InAnInstance {
protected:
    fs::path home() const { return mHome.path(); }
    fs::path directory() const { return home() / "config" / "cabinaudio" / mInstance.name(); }
    fs::path file() const { return directory() / "audio_config"; }

    TemporaryDirectory mHome;
    Variable mConfigHome{"XDG_CONFIG_HOME", mHome.path() / "config"};
    Variable mHomeVariable{"HOME", mHome.path()};
    Variable mGiven{board::CONFIG_DIRECTORY_VARIABLE, ""};
};

TEST_F(TheDiagnosticsFile, IsWrittenAndReadThroughFileStreams) {
    ASSERT_EQ(mkdir(kDirectory, 0700), 0);
    std::ofstream(kFile) << "Log\n level=3\n";
    EXPECT_EQ(contentOf(file()), "Log\n level=3\n");
    EXPECT_EQ(contentOf(kFile), "Log\n level=3\n");
}

TEST_F(TheDiagnosticsFile, IsReachedByEveryWayOfOpening) {
    ASSERT_EQ(mkdir(kDirectory, 0700), 0);
    const OpenFile made(open(kFile, O_RDWR | O_CREAT | O_EXCL, 0640));
    ASSERT_GE(made, 0);
    ASSERT_EQ(write(made, "x", 1), 1);
    struct stat status {};
    ASSERT_EQ(stat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0740, 0640U);
    const OpenFile large(open64(kFile, O_RDONLY));
    const OpenFile beside(openat(AT_FDCWD, kFile, O_RDONLY));
    const OpenFile largeBeside(openat64(AT_FDCWD, kFile, O_RDONLY));
    for (const int descriptor : {int(large), int(beside), int(largeBeside)}) {
        char byte = 0;
        EXPECT_EQ(read(descriptor, &byte, 1), 1);
        EXPECT_EQ(byte, 'x');
    }
    for (FILE* stream : {fopen(kFile, "r"), fopen64(kFile, "r")}) {
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(fgetc(stream), 'x');
        fclose(stream);
    }
}

TEST_F(TheDiagnosticsFile, IsNotThereBeforeItsDirectoryIsMade) {
    EXPECT_EQ(fopen(kFile, "w"), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(fs::exists(home() / "config"));
}

TEST_F(TheDiagnosticsFile, HasADirectoryThatIsMadeWithItsParentsAndReportsItsOwnResult) {
    ASSERT_EQ(mkdir(kDirectory, 0750), 0);
    struct stat status {};
    ASSERT_EQ(stat(directory().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777 & ~026U, 0750U & ~026U);
    ASSERT_EQ(stat((home() / "config").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);
    EXPECT_EQ(mkdir(kDirectory, 0700), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(mkdir((std::string(kDirectory) + "/").c_str(), 0700), -1);
    EXPECT_EQ(errno, EEXIST);
}

TEST_F(TheDiagnosticsFile, TellsWhyItsDirectoryCannotBeMade) {
    std::ofstream(home() / "config") << "a file stands in the way";
    EXPECT_EQ(mkdir(kDirectory, 0700), -1);
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(TheDiagnosticsFile, LiesBelowTheHomeDirectoryWithoutAConfigurationHome) {
    mConfigHome.set("");
    EXPECT_EQ(mkdir(kDirectory, 0700), 0);
    EXPECT_TRUE(fs::is_directory(home() / ".config" / "cabinaudio" / mInstance.name()));
}

TEST_F(TheDiagnosticsFile, IgnoresARelativeConfigurationHome) {
    mConfigHome.set("somewhere");
    EXPECT_EQ(mkdir(kDirectory, 0700), 0);
    EXPECT_TRUE(fs::is_directory(home() / ".config" / "cabinaudio" / mInstance.name()));
}

TEST_F(TheDiagnosticsFile, HasNoPlaceWithoutAnyHome) {
    mConfigHome.set("");
    mHomeVariable.set("");
    EXPECT_EQ(mkdir(kDirectory, 0700), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(open(kFile, O_RDONLY), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(TheDiagnosticsFile, LiesInTheDirectoryThatTheEnvironmentNames) {
    mGiven.set(home() / "given");
    ASSERT_EQ(mkdir(kDirectory, 0700), 0);
    std::ofstream(kFile) << "x";
    EXPECT_EQ(contentOf(home() / "given" / "audio_config"), "x");
}

TEST_F(TheDiagnosticsFile, IsSharedByTheCommonInstanceUnderTheConfigurationHome) {
    mVariable.set("");
    ASSERT_EQ(mkdir(kDirectory, 0700), 0);
    std::ofstream(kFile) << "x";
    EXPECT_EQ(contentOf(home() / "config" / "cabinaudio" / "audio_config"), "x");
}

TEST_F(TheDiagnosticsFile, HasAPathThatIsNeverCut) {
    mGiven.set("/" + std::string(5000, 'a'));
    EXPECT_EQ(open(kFile, O_RDONLY), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_EQ(mkdir(kDirectory, 0700), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
    mGiven.set("/" + std::string(4090, 'a'));
    EXPECT_EQ(fopen(kFile, "r"), nullptr);
    EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(TheDiagnosticsFile, IsTheOnlyFileThatIsElsewhere) {
    EXPECT_EQ(mkdir("/media/flash/nvm/as_server_/x", 0700), -1);
    EXPECT_EQ(open("/media/flash/nvm/as_server/other", O_RDONLY), -1);
    const fs::path plain = home() / "plain";
    ASSERT_EQ(mkdir(plain.c_str(), 0700), 0);
    const OpenFile made(open((plain / "file").c_str(), O_WRONLY | O_CREAT, 0600));
    EXPECT_GE(made, 0);
    EXPECT_TRUE(fs::exists(plain / "file"));
    EXPECT_FALSE(fs::exists(home() / "config"));
}

}  // namespace
}  // namespace cabinaudio::test
