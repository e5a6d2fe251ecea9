// SPDX-License-Identifier: Apache-2.0
// Sockets, shared-memory objects and the instance's name itself.
#include "tests/board/InProcess.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace cabinaudio::test {
namespace {

constexpr socklen_t NAME_OFFSET = offsetof(sockaddr_un, sun_path) + 1;

struct Address {
    explicit Address(const std::string& name)
        : length(static_cast<socklen_t>(NAME_OFFSET + name.size())) {
        record.sun_family = AF_UNIX;
        std::memcpy(record.sun_path + 1, name.data(), name.size());
    }
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&record); }

    sockaddr_un record{};
    socklen_t length;
};

int newSocket() {
    return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

/// The abstract name that a socket really has.
std::string nameOf(int socket) {
    sockaddr_un record{};
    socklen_t length = sizeof record;
    getsockname(socket, reinterpret_cast<sockaddr*>(&record), &length);
    return length > NAME_OFFSET ? std::string(record.sun_path + 1, length - NAME_OFFSET) : "";
}

std::string boundTo(const std::string& name) {
    const OpenFile server(newSocket());
    const Address address(name);
    return bind(server, address.get(), address.length) == 0 ? nameOf(server) : "";
}

class ServerSocket : public InAnInstance {};

TEST_F(ServerSocket, EndsWithTheNameOfTheInstance) {
    EXPECT_EQ(boundTo("/tmp/as_internal_file"), "/tmp/as_internal_file." + mInstance.name());
    EXPECT_EQ(boundTo("/tmp/cabinaudio_control"), "/tmp/cabinaudio_control." + mInstance.name());
}

TEST_F(ServerSocket, IsFoundByAClientOfItsInstanceOnly) {
    const Address address("/tmp/as_internal_file");
    const OpenFile server(newSocket());
    ASSERT_EQ(bind(server, address.get(), address.length), 0);
    ASSERT_EQ(listen(server, 1), 0);
    const OpenFile client(newSocket());
    EXPECT_EQ(connect(client, address.get(), address.length), 0);
    const OwnInstance other;
    mVariable.set(other.name());
    const OpenFile stranger(newSocket());
    EXPECT_EQ(connect(stranger, address.get(), address.length), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    EXPECT_EQ(bind(OpenFile(newSocket()), address.get(), address.length), 0);
}

TEST_F(ServerSocket, KeepsEveryOtherName) {
    const std::string suffix = "-" + mInstance.name();
    for (const std::string& name : {"/tmp/as_internal_file" + suffix, "x" + suffix})
        EXPECT_EQ(boundTo(name), name);
    // One byte more: the terminating zero would belong to the name.
    const std::string counted("/tmp/as_internal_file\0", 22);
    EXPECT_EQ(boundTo(counted), counted);
}

TEST_F(ServerSocket, KeepsPathsInTheFileSystem) {
    const TemporaryDirectory directory;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = directory.path() / "socket";
    std::memcpy(address.sun_path, path.data(), path.size());
    const auto* plain = reinterpret_cast<const sockaddr*>(&address);
    const OpenFile server(newSocket());
    EXPECT_EQ(bind(server, plain, sizeof address), 0);
    ASSERT_EQ(listen(server, 1), 0);
    EXPECT_EQ(connect(OpenFile(newSocket()), plain, sizeof address), 0);
}

TEST_F(ServerSocket, PassesANullAddressToTheKernel) {
    const sockaddr* volatile nothing = nullptr;
    EXPECT_EQ(connect(OpenFile(newSocket()), nothing, 24), -1);
    EXPECT_EQ(errno, EFAULT);
}

TEST_F(ServerSocket, KeepsItsNameInTheCommonInstance) {
    mVariable.set("");
    // Bound or taken by a server that is running: both show the name.
    const std::string name = boundTo("/tmp/as_internal_file");
    EXPECT_TRUE(name == "/tmp/as_internal_file" || errno == EADDRINUSE) << name;
}

// ---- Shared memory ------------------------------------------------------------------------------

class SharedMemoryObject : public InAnInstance {
protected:
    static bool exists(const std::filesystem::path& file) { return std::filesystem::exists(file); }
};

TEST_F(SharedMemoryObject, CarriesTheInstanceInItsName) {
    for (const char* name : {"ring", "/ring", "//ring"}) {
        const OpenFile object(shm_open(name, O_RDWR | O_CREAT | O_EXCL, 0600));
        EXPECT_GE(object, 0) << name;
        EXPECT_TRUE(exists(mInstance.objectFile("ring"))) << name;
        EXPECT_EQ(shm_unlink(name), 0) << name;
        EXPECT_FALSE(exists(mInstance.objectFile("ring"))) << name;
    }
}

TEST_F(SharedMemoryObject, IsNotSeenByAnotherInstance) {
    const OpenFile object(shm_open("ring", O_RDWR | O_CREAT, 0600));
    ASSERT_GE(object, 0);
    const OwnInstance other;
    mVariable.set(other.name());
    EXPECT_EQ(shm_open("ring", O_RDWR, 0600), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(shm_unlink("ring"), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(exists(mInstance.objectFile("ring")));
}

TEST_F(SharedMemoryObject, AcceptsTheLongestNameOnly) {
    const std::size_t prefix = ("cabinaudio." + mInstance.name() + ".").size();
    const std::string longest(255 - prefix, 'n');
    const OpenFile object(shm_open(longest.c_str(), O_RDWR | O_CREAT, 0600));
    EXPECT_GE(object, 0);
    EXPECT_EQ(shm_unlink(longest.c_str()), 0);
    EXPECT_EQ(shm_open((longest + "n").c_str(), O_RDWR | O_CREAT, 0600), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_EQ(shm_unlink((longest + "n").c_str()), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(SharedMemoryObject, WithoutANameIsRefusedByTheCLibrary) {
    EXPECT_EQ(shm_open("/", O_RDWR | O_CREAT, 0600), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(shm_open("a/b", O_RDWR | O_CREAT, 0600), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(SharedMemoryObject, KeepsItsNameInTheCommonInstance) {
    mVariable.set("");
    const std::string name = "cabinaudio." + mInstance.name() + ".plain";
    const OpenFile object(shm_open(name.c_str(), O_RDWR | O_CREAT, 0600));
    EXPECT_GE(object, 0);
    EXPECT_TRUE(exists(mInstance.objectFile("plain")));
    EXPECT_EQ(shm_unlink(name.c_str()), 0);
}

// ---- The name itself ----------------------------------------------------------------------------

class InstanceName : public InAnInstance {};

TEST_F(InstanceName, IsReportedToTheProgram) {
    EXPECT_EQ(cabinaudio_board_instance(), mInstance.name());
    mVariable.set("");
    EXPECT_STREQ(cabinaudio_board_instance(), "");
}

TEST_F(InstanceName, AcceptsFewCharactersAndA32ByteLimit) {
    for (const std::string& name : {std::string("a"), std::string(32, 'Z'), std::string("a_B-9")}) {
        mVariable.set(name);
        EXPECT_EQ(cabinaudio_board_instance(), name);
    }
    for (const std::string& name :
         {std::string(33, 'Z'), std::string("a.b"), std::string("a/b"), std::string(".."),
          std::string("a b"), std::string("\xc3\xa4"), std::string("audio_config")}) {
        mVariable.set(name);
        EXPECT_EQ(cabinaudio_board_instance(), nullptr) << name;
    }
}

// In a child, because the line on stderr comes once in a process.
TEST_F(InstanceName, SharesNothingAndWarnsOnceWhenInvalid) {
    mVariable.set("not/allowed");
    const std::string said = inForkedChild([] {
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[1], STDERR_FILENO) < 0) return std::string("no pipe");
        const Address server("/tmp/as_internal_file");
        const int results[] = {open("/dev/mem", O_RDWR),
                               shm_open("ring", O_RDWR | O_CREAT, 0600),
                               shm_unlink("ring"),
                               bind(newSocket(), server.get(), server.length),
                               connect(newSocket(), server.get(), server.length),
                               mkdir(board::CONFIG_DIRECTORY, 0700),
                               open(board::CONFIG_FILE, O_RDONLY)};
        for (const int result : results) {
            if (result != -1 || errno != EINVAL) return std::string("something was shared");
        }
        char text[4096];
        const ssize_t length = read(ends[0], text, sizeof text);
        return std::string(text, static_cast<std::size_t>(length));
    });
    EXPECT_EQ(said,
              "libcabinaudio-board.so: CABINAUDIO_INSTANCE=not/allowed is not an instance name\n");
}

}  // namespace
}  // namespace cabinaudio::test
