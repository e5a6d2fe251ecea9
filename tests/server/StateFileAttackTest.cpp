// SPDX-License-Identifier: Apache-2.0
//
// A state file in a directory that others may write to, and files that are no state files.
#include "tests/server/ServerRun.h"
#include "tests/server/SettingsClient.h"
#include "tests/support/Files.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"
#include "tests/support/UserProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace cabinaudio::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::Not;

class StateFileInSharedDirectory : public ::testing::Test {
protected:
    StateFileInSharedDirectory() { chmod(directory.path().c_str(), 0777); }

    /// Whether another user can be in the same directory.
    [[nodiscard]] bool hasNeighbour() const {
        return asNobody([this] { return access(directory.path().c_str(), W_OK) == 0; });
    }
    /// Starts a server, changes something and ends the server.
    void serve() const {
        const RealServer server({"--output", "null", "--state", path});
        change();
    }
    static void change() {
        SettingsClients clients;
        clients.tell(VOLUME, Message(20).real(-6.5F));
    }
    [[nodiscard]] bool isWritten() const {
        return contentsOf(path).find("\"master_db\": -6.5") != std::string::npos;
    }
    [[nodiscard]] std::string complaint() const { return complaintAbout(path); }
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& entry : fs::directory_iterator(directory.path()))
            all.push_back(entry.path().filename());
        std::sort(all.begin(), all.end());
        return all;
    }
    [[nodiscard]] struct stat status() const {
        struct stat status = {};
        EXPECT_EQ(lstat(path.c_str(), &status), 0);
        return status;
    }

    TemporaryDirectory directory;
    std::string path = directory.file("state.json");
    std::string treasure = directory.file("treasure");
};

TEST_F(StateFileInSharedDirectory, IsNotWrittenThroughALinkOfAnotherUser) {
    if (!hasNeighbour()) GTEST_SKIP() << "this user cannot be another one in " << directory.path();
    std::ofstream(treasure) << "gold";
    chmod(treasure.c_str(), 0600);
    ASSERT_TRUE(asNobody(
        [&] { return symlink(treasure.c_str(), directory.file("state.json.new").c_str()) == 0; }));
    serve();
    EXPECT_EQ(contentsOf(treasure), "gold");
    EXPECT_TRUE(isWritten());
}

TEST_F(StateFileInSharedDirectory, IsRefusedAsALinkOfAnotherUser) {
    if (!hasNeighbour()) GTEST_SKIP() << "this user cannot be another one in " << directory.path();
    std::ofstream(treasure) << "{}";
    ASSERT_TRUE(asNobody([&] { return symlink(treasure.c_str(), path.c_str()) == 0; }));
    EXPECT_THAT(complaint(), HasSubstr("state.json: is a link of another user"));
    EXPECT_EQ(contentsOf(treasure), "{}");
    fs::remove(treasure);
    EXPECT_THAT(complaint(), HasSubstr("state.json: is a link of another user"));
    EXPECT_FALSE(fs::exists(treasure)) << "nothing is made where the link leads";
}

TEST_F(StateFileInSharedDirectory, KeepsItsOwnerAndGroup) {
    if (!hasNeighbour()) GTEST_SKIP() << "only root gives files away";
    std::ofstream(path) << "{}";
    ASSERT_EQ(chown(path.c_str(), NOBODY, 1), 0);
    serve();
    EXPECT_TRUE(isWritten());
    EXPECT_EQ(status().st_uid, NOBODY);
    EXPECT_EQ(status().st_gid, 1U);
}

TEST_F(StateFileInSharedDirectory, KeepsItsMode) {
    std::ofstream(path) << "{}";
    for (const mode_t mode : {0600U, 0640U, 0664U}) {
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
        serve();
        EXPECT_TRUE(isWritten());
        EXPECT_EQ(status().st_mode & 07777U, mode);
    }
}

TEST_F(StateFileInSharedDirectory, GetsItsModeFromTheUmask) {
    const mode_t before = umask(027);
    serve();
    umask(before);
    EXPECT_EQ(status().st_mode & 07777U, 0640U);
}

TEST_F(StateFileInSharedDirectory, IsWrittenWhereALinkOfItsUserLeads) {
    fs::create_directory(directory.file("elsewhere"));
    fs::create_symlink("elsewhere/settings", directory.file("second"));
    fs::create_symlink("second", path);
    for (int start = 0; start < 2; ++start) {
        serve();
        EXPECT_TRUE(S_ISLNK(status().st_mode));
        EXPECT_TRUE(fs::is_symlink(directory.file("second")));
        EXPECT_FALSE(fs::is_symlink(directory.file("elsewhere/settings")));
        EXPECT_TRUE(isWritten()) << "and read at the second start";
    }
}

TEST_F(StateFileInSharedDirectory, IsRefusedWhenLinksLeadInACircle) {
    fs::create_symlink("other", path);
    fs::create_symlink("state.json", directory.file("other"));
    EXPECT_THAT(complaint(), HasSubstr("state.json: leads from link to link"));
}

// A server that runs already shows the order of the checks.
TEST_F(StateFileInSharedDirectory, IsRefusedBeforeTheSocketOpensWhenItIsAFifo) {
    const RealServer server;
    ASSERT_EQ(mkfifo(path.c_str(), 0666), 0);
    const std::string said = complaint();
    EXPECT_THAT(said, HasSubstr("state.json: is not a regular file"));
    EXPECT_THAT(said, Not(HasSubstr("there is a server")));
}

TEST_F(StateFileInSharedDirectory, IsRefusedWhenItIsADirectoryOrADevice) {
    fs::create_directory(path);
    EXPECT_THAT(complaint(), HasSubstr("state.json: is not a regular file"));
    path = "/dev/null";
    EXPECT_THAT(complaint(), HasSubstr("/dev/null: is not a regular file"));
}

TEST_F(StateFileInSharedDirectory, IsRefusedWhenItIsTooLong) {
    std::ofstream(path).close();
    fs::resize_file(path, (16 << 20) + 1);
    EXPECT_THAT(complaint(), HasSubstr("state.json: is longer than 16 MiB"));
}

TEST_F(StateFileInSharedDirectory, LeavesNothingBesideItWhenItCannotBeWritten) {
    const RealServer server({"--output", "null", "--state", path});
    fs::create_directory(path);
    change();
    EXPECT_TRUE(eventually([&] {
        return server.output().find("state.json cannot be written: ") != std::string::npos;
    }));
    EXPECT_EQ(names(), std::vector<std::string>{"state.json"});
}

TEST_F(StateFileInSharedDirectory, IsFreedOfLeftoversOfAKilledServer) {
    const std::string left = ".cabinaudio-state-state.json-0123456789abcdef";
    const std::string others = ".cabinaudio-state-other.json-0123456789abcdef";
    std::ofstream(directory.file(left)) << "half";
    std::ofstream(directory.file(others)) << "half";
    serve();
    EXPECT_EQ(names(), (std::vector<std::string>{others, "state.json"}));
}

}  // namespace
}  // namespace cabinaudio::test
