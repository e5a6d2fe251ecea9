// SPDX-License-Identifier: Apache-2.0
#include "tests/board/InProcess.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <fstream>

namespace cabinaudio::test {
namespace {

namespace fs = std::filesystem;

constexpr char CONFIG_DIRECTORY[] = "/media/flash/nvm/as_server";
constexpr char CONFIG_FILE[] = "/media/flash/nvm/as_server/audio_config";

class DiagnosticsFile : public InAnInstance {
protected:
    fs::path home() const { return mHome.path(); }
    fs::path directory() const { return home() / "config" / "cabinaudio" / mInstance.name(); }
    fs::path file() const { return directory() / "audio_config"; }

    TemporaryDirectory mHome;
    Variable mConfigHome{"XDG_CONFIG_HOME", mHome.path() / "config"};
    Variable mHomeVariable{"HOME", mHome.path()};
    Variable mGiven{board::CONFIG_DIRECTORY_VARIABLE, ""};
};

TEST_F(DiagnosticsFile, IsWrittenAndReadThroughFileStreams) {
    ASSERT_EQ(mkdir(CONFIG_DIRECTORY, 0700), 0);
    std::ofstream(CONFIG_FILE) << "Log\n level=3\n";
    EXPECT_EQ(contentsOf(file()), "Log\n level=3\n");
    EXPECT_EQ(contentsOf(CONFIG_FILE), "Log\n level=3\n");
}

TEST_F(DiagnosticsFile, OpensThroughEveryFunction) {
    ASSERT_EQ(mkdir(CONFIG_DIRECTORY, 0700), 0);
    const OpenFile made(open(CONFIG_FILE, O_RDWR | O_CREAT | O_EXCL, 0640));
    ASSERT_GE(made, 0);
    ASSERT_EQ(write(made, "x", 1), 1);
    struct stat status {};
    ASSERT_EQ(stat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0740, 0640U);
    const OpenFile large(open64(CONFIG_FILE, O_RDONLY));
    const OpenFile beside(openat(AT_FDCWD, CONFIG_FILE, O_RDONLY));
    const OpenFile largeBeside(openat64(AT_FDCWD, CONFIG_FILE, O_RDONLY));
    for (const int descriptor : {int(large), int(beside), int(largeBeside)}) {
        char byte = 0;
        EXPECT_EQ(read(descriptor, &byte, 1), 1);
        EXPECT_EQ(byte, 'x');
    }
    for (FILE* stream : {fopen(CONFIG_FILE, "r"), fopen64(CONFIG_FILE, "r")}) {
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(fgetc(stream), 'x');
        fclose(stream);
    }
}

TEST_F(DiagnosticsFile, IsMissingBeforeItsDirectoryExists) {
    EXPECT_EQ(fopen(CONFIG_FILE, "w"), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(fs::exists(home() / "config"));
}

TEST_F(DiagnosticsFile, DirectoryIsCreatedWithItsParents) {
    ASSERT_EQ(mkdir(CONFIG_DIRECTORY, 0750), 0);
    struct stat status {};
    ASSERT_EQ(stat(directory().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777 & ~026U, 0750U & ~026U);
    ASSERT_EQ(stat((home() / "config").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);
    EXPECT_EQ(mkdir(CONFIG_DIRECTORY, 0700), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(mkdir((std::string(CONFIG_DIRECTORY) + "/").c_str(), 0700), -1);
    EXPECT_EQ(errno, EEXIST);
}

TEST_F(DiagnosticsFile, DirectoryReportsWhyItCannotBeCreated) {
    std::ofstream(home() / "config") << "a file stands in the way";
    EXPECT_EQ(mkdir(CONFIG_DIRECTORY, 0700), -1);
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(DiagnosticsFile, LiesBelowTheHomeDirectoryWithoutAConfigurationHome) {
    mConfigHome.set("");
    EXPECT_EQ(mkdir(CONFIG_DIRECTORY, 0700), 0);
    EXPECT_TRUE(fs::is_directory(home() / ".config" / "cabinaudio" / mInstance.name()));
}

TEST_F(DiagnosticsFile, IgnoresARelativeConfigurationHome) {
    mConfigHome.set("somewhere");
    EXPECT_EQ(mkdir(CONFIG_DIRECTORY, 0700), 0);
    EXPECT_TRUE(fs::is_directory(home() / ".config" / "cabinaudio" / mInstance.name()));
}

TEST_F(DiagnosticsFile, IsMissingWithoutAnyHome) {
    mConfigHome.set("");
    mHomeVariable.set("");
    EXPECT_EQ(mkdir(CONFIG_DIRECTORY, 0700), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(open(CONFIG_FILE, O_RDONLY), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(DiagnosticsFile, LiesInTheDirectoryThatTheEnvironmentNames) {
    mGiven.set(home() / "given");
    ASSERT_EQ(mkdir(CONFIG_DIRECTORY, 0700), 0);
    std::ofstream(CONFIG_FILE) << "x";
    EXPECT_EQ(contentsOf(home() / "given" / "audio_config"), "x");
}

TEST_F(DiagnosticsFile, IsSharedByTheCommonInstanceUnderTheConfigurationHome) {
    mVariable.set("");
    ASSERT_EQ(mkdir(CONFIG_DIRECTORY, 0700), 0);
    std::ofstream(CONFIG_FILE) << "x";
    EXPECT_EQ(contentsOf(home() / "config" / "cabinaudio" / "audio_config"), "x");
}

TEST_F(DiagnosticsFile, RefusesAPathThatIsTooLong) {
    mGiven.set("/" + std::string(5000, 'a'));
    EXPECT_EQ(open(CONFIG_FILE, O_RDONLY), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_EQ(mkdir(CONFIG_DIRECTORY, 0700), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
    mGiven.set("/" + std::string(4090, 'a'));
    EXPECT_EQ(fopen(CONFIG_FILE, "r"), nullptr);
    EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(DiagnosticsFile, IsTheOnlyRedirectedFile) {
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
