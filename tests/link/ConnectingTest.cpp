// SPDX-License-Identifier: Apache-2.0
#include "tests/link/LinkFixture.h"
#include "tests/support/ProcessState.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string>

namespace cabinaudio::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

constexpr char NOBODY[] = "nobody listens here";

/// Names are the kernel's: a process may have a longest one only once.
std::string nameOfLength(std::size_t length) {
    std::string name = "link-test-" + std::to_string(getpid()) + "-";
    name.resize(length, 'x');
    return name;
}

class Connecting : public ::testing::Test {
protected:
    const LogCapture log;
    ScriptedServer server;
};

TEST_F(Connecting, IsLoggedAndStartsTheReceiveThread) {
    AudioConnection connection(wire::SERVER_SOCKET, wire::SERVER_PORT, nullptr, nullptr);
    EXPECT_TRUE(server.waitForClients(1));
    EXPECT_TRUE(logged(log, DEBUG, "AudioConnection", "connect", "connect ok\n"));
    EXPECT_TRUE(eventually([] {
        const auto names = threadNames();
        return std::count(names.begin(), names.end(), "AS-SktWorker") == 1;
    }));
}

TEST_F(Connecting, RequestsALocalStreamSocketAndItsAbstractName) {
    ScriptedServer abstract("abstract");
    std::vector<int> asked;
    std::vector<std::uint8_t> address;
    socklen_t given = 0;
    Replaced<platform::socket> socket([&](int domain, int type, int protocol) {
        asked = {domain, type, protocol};
        return platform::socket.real(domain, type, protocol);
    });
    Replaced<platform::connect> connect([&](int descriptor, const sockaddr* to, socklen_t length) {
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(to);
        address.assign(bytes, bytes + sizeof(sockaddr_un));
        given = length;
        return platform::connect.real(descriptor, to, length);
    });
    AudioConnection connection("abstract", 1, nullptr, nullptr);
    EXPECT_TRUE(abstract.waitForClients(1));
    EXPECT_THAT(asked, ElementsAre(AF_UNIX, SOCK_STREAM, 0));
    // Family 1, a zero byte, the name without a terminator, zeros.
    std::array<std::uint8_t, 110> expected = {1, 0, 0, 'a', 'b', 's', 't', 'r', 'a', 'c', 't'};
    EXPECT_THAT(address, ElementsAreArray(expected));
    EXPECT_EQ(given, 11u);
}

TEST_F(Connecting, GivesTheDescriptorASendTimeoutAndCloseOnExec) {
    int descriptor = -1;
    Replaced<platform::connect> connect([&](int fd, const sockaddr* to, socklen_t length) {
        descriptor = fd;
        return platform::connect.real(fd, to, length);
    });
    AudioConnection connection(wire::SERVER_SOCKET, 0, nullptr, nullptr);
    timeval timeout = {};
    socklen_t length = sizeof timeout;
    ASSERT_EQ(::getsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &timeout, &length), 0);
    EXPECT_EQ(timeout.tv_sec, 10);
    EXPECT_EQ(timeout.tv_usec, 0);
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), FD_CLOEXEC);
}

TEST_F(Connecting, SucceedsWithoutASendTimeout) {
    Replaced<platform::setsockopt> setsockopt(
        [](int, int, int, const void*, socklen_t) { return failWith(EDOM); });
    AudioConnection connection(wire::SERVER_SOCKET, 0, nullptr, nullptr);
    EXPECT_TRUE(logged(log, WARN, "AudioConnection", "connect", "set send timeout time failed\n"));
    const std::uint8_t byte = 1;
    EXPECT_EQ(connection.send(&byte, 1), 0);
}

TEST_F(Connecting, CreatesItsThreadForRoundRobinAtTheHighestPriority) {
    int policy = -1;
    sched_param param = {};
    Replaced<platform::pthread_create> create(
        [&](pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*), void* to) {
            if (isLibraryThread(attributes)) {
                pthread_attr_getschedpolicy(attributes, &policy);
                pthread_attr_getschedparam(attributes, &param);
            }
            return platform::pthread_create.real(thread, attributes, entry, to);
        });
    AudioConnection connection(wire::SERVER_SOCKET, 0, nullptr, nullptr);
    EXPECT_EQ(policy, SCHED_RR);
    EXPECT_EQ(param.sched_priority, sched_get_priority_max(SCHED_RR));
}

TEST_F(Connecting, TriesElevenTimesWithoutAPauseWhenNobodyListens) {
    NoSleeping sleeping;
    const ProcessState before = ProcessState::now();
    AudioConnection connection(NOBODY, 0, nullptr, nullptr);
    EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "connect", "connect failed\n", 11));
    EXPECT_EQ(connection.connect(), 2);
    EXPECT_TRUE(logged(log, ERROR, "connect failed\n", 22));
    EXPECT_TRUE(sleeping.sleeps().empty());
    EXPECT_EQ(ProcessState::now(), before);
}

TEST_F(Connecting, FailsEveryLaterOperationWhenNobodyListens) {
    AudioConnection connection(NOBODY, 0, nullptr, nullptr);
    std::uint8_t byte = 77;
    EXPECT_EQ(connection.send(&byte, 1), 1);
    EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "send", "pSocket is null\n"));
    EXPECT_EQ(connection.recv(&byte, 1), 1);
    EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "recv", "pSocket is null\n"));
    EXPECT_EQ(connection.disconnect(), 1);
    EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "disconnect", "pSocket is null\n"));
    EXPECT_EQ(byte, 77);
}

TEST_F(Connecting, SucceedsWithItsLastAttempt) {
    const ProcessState before = ProcessState::now();
    int attempts = 0;
    Replaced<platform::connect> connect([&](int descriptor, const sockaddr* to, socklen_t length) {
        if (++attempts < 11) return failWith(ECONNREFUSED);
        return platform::connect.real(descriptor, to, length);
    });
    {
        AudioConnection connection(wire::SERVER_SOCKET, 0, nullptr, nullptr);
        EXPECT_TRUE(logged(log, ERROR, "connect failed\n", 10));
        EXPECT_TRUE(logged(log, DEBUG, "connect ok\n"));
        const std::uint8_t byte = 1;
        EXPECT_EQ(connection.send(&byte, 1), 0);
    }
    EXPECT_TRUE(returnsTo(before));
}

TEST_F(Connecting, CountsARefusedSocketAsAnAttempt) {
    int attempts = 0;
    Replaced<platform::socket> socket([&](int, int, int) {
        ++attempts;
        return failWith(EMFILE);
    });
    AudioConnection connection(NOBODY, 0, nullptr, nullptr);
    EXPECT_EQ(attempts, 11);
    EXPECT_TRUE(
        logged(log, ERROR, "AudioConnection", "connect", "create socket failed, fd=-1\n", 11));
    EXPECT_EQ(connection.connect(), 2);
}

TEST_F(Connecting, RefusesTheStandardDescriptors) {
    std::vector<int> closed;
    int next = 0;
    Replaced<platform::socket> socket([&](int domain, int type, int protocol) {
        return next <= 2 ? next++ : platform::socket.real(domain, type, protocol);
    });
    Replaced<platform::close> close([&](int descriptor) {
        if (descriptor > 2) return platform::close.real(descriptor);
        closed.push_back(descriptor);
        return 0;
    });
    AudioConnection connection(wire::SERVER_SOCKET, 0, nullptr, nullptr);
    for (const char* const text : {"create socket failed, fd=0\n", "create socket failed, fd=1\n",
                                   "create socket failed, fd=2\n"})
        EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "connect", text));
    EXPECT_THAT(closed, ElementsAre(0, 1, 2));
    EXPECT_TRUE(logged(log, DEBUG, "connect ok\n"));
}

TEST_F(Connecting, AcceptsANameOf107Characters) {
    const std::string name = nameOfLength(107);
    ScriptedServer named(name);
    AudioConnection connection(name.c_str(), 0, nullptr, nullptr);
    EXPECT_TRUE(named.waitForClients(1));
    EXPECT_TRUE(logged(log, DEBUG, "connect ok\n"));
}

TEST_F(Connecting, RefusesANameOf108Characters) {
    const std::string name = nameOfLength(108);
    const ProcessState before = ProcessState::now();
    AudioConnection connection(name.c_str(), 0, nullptr, nullptr);
    EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "socket_make_sockaddr_un",
                       "namelen > sun_path's size\n", 11));
    EXPECT_TRUE(
        logged(log, ERROR, "AudioConnection", "connect", "socket_make_sockaddr_un failed\n", 11));
    EXPECT_EQ(connection.connect(), 2);
    EXPECT_EQ(ProcessState::now(), before);
}

TEST_F(Connecting, FailsWithoutAName) {
    AudioConnection connection(nullptr, 0, nullptr, nullptr);
    EXPECT_EQ(connection.connect(), 2);
}

TEST_F(Connecting, KeepsThePointerToTheNameAndNotACopy) {
    std::string name = nameOfLength(40);
    AudioConnection connection(name.c_str(), 0, nullptr, nullptr);
    name[39] = 'y';
    ScriptedServer named(name);
    EXPECT_EQ(connection.connect(), 0);
    EXPECT_TRUE(named.waitForClients(1));
}

TEST_F(Connecting, HasNoEffectWhenItIsRepeated) {
    AudioConnection connection(wire::SERVER_SOCKET, 0, nullptr, nullptr);
    ASSERT_TRUE(server.waitForClients(1));
    const ProcessState before = ProcessState::now();
    EXPECT_EQ(connection.connect(), 0);
    EXPECT_EQ(ProcessState::now(), before);
    EXPECT_EQ(server.clients(), 1u);
}

TEST_F(Connecting, KeepsItsArgumentsInOrder) {
    struct Fields {
        const char* path;
        std::int32_t port;
        void* record;
        AudioConnection::Callback callback;
        void* opaque;
    } fields;
    int owner = 0;
    const AudioConnection connection(NOBODY, 4003, &Mailbox::take, &owner);
    static_assert(sizeof connection >= sizeof fields);
    std::memcpy(static_cast<void*>(&fields), static_cast<const void*>(&connection), sizeof fields);
    EXPECT_EQ(fields.path, NOBODY);
    EXPECT_EQ(fields.port, 4003);
    EXPECT_EQ(fields.record, nullptr);
    EXPECT_EQ(fields.callback, &Mailbox::take);
    EXPECT_EQ(fields.opaque, &owner);
}

TEST_F(Connecting, SucceedsWithoutAReceiveThreadWhoseRepliesFail) {
    const RefusedThreads refused;
    AudioConnection connection(wire::SERVER_SOCKET, 0, nullptr, nullptr);
    EXPECT_TRUE(logged(log, DEBUG, "connect ok\n"));
    std::uint8_t byte = 1;
    EXPECT_EQ(connection.send(&byte, 1), 0);
    EXPECT_EQ(connection.recv(&byte, 1), 1);
    EXPECT_TRUE(logged(log, DEBUG, "AudioConnection", "recv", "exit\n"));
    EXPECT_EQ(connection.disconnect(), 0);
}

}  // namespace
}  // namespace cabinaudio::test
