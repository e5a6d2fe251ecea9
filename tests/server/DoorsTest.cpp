// SPDX-License-Identifier: Apache-2.0
//
// Programs of the same and of other users that use more than their share of the server, or may not
// use it at all.
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/server/RawClient.h"
#include "tests/server/State.h"
#include "tests/support/Files.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"
#include "tests/support/UserProcess.h"

#include <gmock/gmock.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using Clients = std::vector<std::unique_ptr<RawClient>>;

constexpr int PATIENCE_MS = 60000;

/// Limits the descriptors of the servers that are started during its lifetime.
class DescriptorsOfServer {
public:
    explicit DescriptorsOfServer(unsigned count) {
        const char* const path = std::getenv("CABINAUDIO_SERVER");
        if (path != nullptr) mBefore = path;
        const std::string script = mDirectory.file("server");
        std::ofstream(script) << "#!/bin/sh\nulimit -n " << count << "\nexec '"
                              << RealServer::path() << "' \"$@\"\n";
        chmod(script.c_str(), 0700);
        setenv("CABINAUDIO_SERVER", script.c_str(), 1);
    }
    ~DescriptorsOfServer() {
        if (mBefore)
            setenv("CABINAUDIO_SERVER", mBefore->c_str(), 1);
        else
            unsetenv("CABINAUDIO_SERVER");
    }
    DescriptorsOfServer(const DescriptorsOfServer&) = delete;
    DescriptorsOfServer& operator=(const DescriptorsOfServer&) = delete;

private:
    TemporaryDirectory mDirectory;
    std::optional<std::string> mBefore;
};

unsigned countOf(const std::string& part, const std::string& text) {
    unsigned count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

/// Waits until the server serves commands of this process; it notices later that others have left.
bool answersCommands() {
    return eventually([] { return ControlClient().ask("state").substr(0, 1) == "{"; }, 60s);
}

bool registersClients() {
    return eventually(
        [] { return RawClient().registerAs(AUDIO_CONNECT_VOLUME_SETTING, "good") != 0; }, 60s);
}

/// Opens so many control connections and keeps them; asks each, so that none is left in a queue.
std::string openManyControls(unsigned count) {
    static std::vector<std::unique_ptr<ControlClient>> hoard;
    unsigned refused = 0;
    for (unsigned i = 0; i < count; ++i) {
        hoard.push_back(std::make_unique<ControlClient>());
        const std::string answer = hoard.back()->ask("state");
        if (answer.rfind("error: ", 0) == 0 && answer.find("too many") != std::string::npos)
            ++refused;
    }
    return std::to_string(refused) + " refused";
}

std::string openManyClients(unsigned count) {
    static Clients hoard;
    unsigned refused = 0;
    for (unsigned i = 0; i < count; ++i) {
        hoard.push_back(std::make_unique<RawClient>());
        bool isServed = false;
        try {
            isServed = hoard.back()->registerAs(AUDIO_CONNECT_VOLUME_SETTING, "hoard") != 0;
        } catch (const std::runtime_error&) {
            isServed = false;  // the server was quicker to close than this was to send
        }
        if (!isServed) ++refused;
    }
    return std::to_string(refused) + " refused";
}

void raiseDescriptors() {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

/// A server with few descriptors, and the number of connections of one kind that a user opens.
struct Siege {
    const char* kind;
    unsigned descriptors;
    unsigned attempts;
    unsigned most;  // that one user may hold
    std::string (*hoard)(unsigned);

    [[nodiscard]] bool isOfControls() const { return hoard == openManyControls; }
};

std::string nameOf(const Siege& siege) {
    return (siege.isOfControls() ? "controls" : "clients") + std::to_string(siege.descriptors);
}

void PrintTo(const Siege& siege, std::ostream* out) {
    *out << nameOf(siege);
}

class ConnectionHoard : public testing::TestWithParam<Siege> {
protected:
    void SetUp() override {
        rlimit limit = {};
        getrlimit(RLIMIT_NOFILE, &limit);
        if (limit.rlim_max < GetParam().attempts + 100)
            GTEST_SKIP() << "the attacker may have only " << limit.rlim_max << " descriptors";
    }

    /// Makes all connections and keeps those that it gets.
    static UserProcess attacker(const std::optional<User>& user) {
        return UserProcess(user, [] {
            raiseDescriptors();
            return GetParam().hoard(GetParam().attempts);
        });
    }
    static std::string expectedReport() {
        return std::to_string(GetParam().attempts - GetParam().most) + " refused";
    }
};

TEST_P(ConnectionHoard, OfAnotherUserLeavesRoomForTheOwner) {
    if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
    const DescriptorsOfServer few(GetParam().descriptors);
    const RealServer server({"--output", "null", "--allow-all"});
    UserProcess siege = attacker(User{});
    EXPECT_EQ(siege.report(), expectedReport());
    EXPECT_TRUE(answersCommands());
    EXPECT_TRUE(registersClients());
    const std::string complaint = std::string("user 65534 has too many ") + GetParam().kind;
    EXPECT_EQ(countOf(complaint, server.output()), 1U);
    siege.end();
    EXPECT_TRUE(asNobody([] { return answersCommands() && registersClients(); }));
}

TEST_P(ConnectionHoard, BlocksItsOwnUserOnlyUntilItIsClosed) {
    const DescriptorsOfServer few(GetParam().descriptors);
    const RealServer server;
    UserProcess siege = attacker({});
    EXPECT_EQ(siege.report(), expectedReport());
    // Clients and commands have descriptors of their own.
    if (GetParam().isOfControls()) {
        EXPECT_THAT(ControlClient().ask("state"), StartsWith("error: user "));
        EXPECT_TRUE(registersClients());
    } else {
        EXPECT_TRUE(answersCommands());
    }
    siege.end();
    EXPECT_TRUE(answersCommands());
    EXPECT_TRUE(registersClients());
}

constexpr Siege SIEGES[] = {{"control connections", 256, 300, 8, openManyControls},
                            {"control connections", 1024, 1100, 32, openManyControls},
                            {"clients", 256, 300, 36, openManyClients},
                            {"clients", 1024, 1100, 162, openManyClients}};

INSTANTIATE_TEST_SUITE_P(Any, ConnectionHoard, testing::ValuesIn(SIEGES),
                         [](const auto& siege) { return nameOf(siege.param); });

/// Clients of two users that together have all places wait for each other, as before.
TEST(FullServer, AdmitsTheNextClientWhenOneLeaves) {
    if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
    const DescriptorsOfServer few(256);  // 48 clients, 36 of them of other users
    const RealServer server({"--output", "null", "--allow-all"});
    UserProcess other(User{}, [] { return openManyClients(36); });
    ASSERT_EQ(other.report(), "0 refused");
    Clients own;
    for (int i = 0; i < 12; ++i)
        own.push_back(std::make_unique<RawClient>(AUDIO_CONNECT_VOLUME_SETTING, "own"));
    RawClient waiting;
    waiting.send(bytesOf(RawClient::registration(AUDIO_CONNECT_VERSION_SETTING, "late")));
    EXPECT_FALSE(waiting.hasNotification(100)) << "not even an answer";
    EXPECT_THAT(server.output(), HasSubstr("48 clients; new clients wait"));
    // A control connection that is closed must not let it in.
    EXPECT_TRUE(answersCommands());
    EXPECT_FALSE(waiting.hasNotification(100));
    own.pop_back();
    EXPECT_TRUE(waiting.hasNotification(PATIENCE_MS)) << "the answer to its registration";
}

/// The header of a request of 1 MiB and all but four bytes of it.
std::string holdUnfinishedMessages(unsigned count) {
    static Clients hoard;
    constexpr std::size_t PAYLOAD = 1 << 20;
    for (unsigned i = 0; i < count; ++i) {
        hoard.push_back(std::make_unique<RawClient>(AUDIO_CONNECT_APP_SETTING, "unfinished"));
        Bytes message = bytesOf(hoard.back()->requestHeader(PAYLOAD));
        message.resize(message.size() + PAYLOAD - 4);
        try {
            hoard.back()->send(message);
        } catch (const std::runtime_error&) {
            // Closed meanwhile.
        }
    }
    return "sent";
}

TEST(UnfinishedMessages, HaveOneLimitPerUser) {
    const bool isOther = mayBecomeAnotherUser();
    const RealServer server({"--output", "null", "--allow-all"});
    UserProcess attacker(isOther ? std::make_optional<User>() : std::nullopt,
                         [] { return holdUnfinishedMessages(16); });
    EXPECT_EQ(attacker.report(), "sent");
    EXPECT_TRUE(eventually(
        [&] {
            return countOf("too many bytes of unfinished messages (limit 8388608)",
                           server.output()) == 1;
        },
        60s));
    if (!isOther) return;
    // Other users are not affected.
    RawClient good(AUDIO_CONNECT_APP_SETTING, "good");
    Bytes message = bytesOf(good.requestHeader(1 << 20));
    message.resize(message.size() + (1 << 20));
    good.send(message);
    EXPECT_TRUE(good.hasNotification(PATIENCE_MS)) << "an answer";
}

// ---- Who may use it -----------------------------------------------------------------------------

std::string askForACrash() {
    return ControlClient().ask("crash");
}

std::string handleOf() {
    try {
        return RawClient().registerAs(AUDIO_CONNECT_VOLUME_SETTING, "any") != 0 ? "served"
                                                                                : "handle 0";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

class AnotherUser : public testing::Test {
protected:
    void SetUp() override {
        if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
    }
};

TEST_F(AnotherUser, IsRefusedOnBothSockets) {
    const RealServer server;
    for (int i = 0; i < 3; ++i) {
        EXPECT_THAT(asUser(User{}, askForACrash),
                    StartsWith("error: user 65534 may not use this server"));
        // The registration meets an answer that is there, or a closed socket.
        EXPECT_NE(asUser(User{}, handleOf), "served");
    }
    EXPECT_TRUE(answersCommands()) << "it did not crash";
    EXPECT_TRUE(registersClients());
    EXPECT_EQ(countOf("user 65534 may not use this server", server.output()), 1U);
}

/// Without a link policy: the client would wait for ever if the server closed without a reply.
TEST_F(AnotherUser, GetsNotConnectedFromTheLibrary) {
    const RealServer server;
    UserProcess program(User{}, [] {
        ClientVersionSetting setting;
        return std::to_string(setting.initCheck());
    });
    EXPECT_EQ(program.report(), std::to_string(AUDIO_NOT_CONNECTED));
}

TEST_F(AnotherUser, IsServedWithAllowAll) {
    const RealServer server({"--output", "null", "--allow-all"});
    EXPECT_EQ(asUser(User{}, handleOf), "served");
    EXPECT_EQ(asUser(User{}, [] { return ControlClient().ask("state").substr(0, 1); }), "{");
    EXPECT_THAT(server.output(), Not(HasSubstr("may not use")));
}

TEST_F(AnotherUser, IsServedAsAMemberOfAnAllowedGroup) {
    constexpr gid_t GROUP = 1;
    const struct group* const group = getgrgid(GROUP);
    if (group == nullptr) GTEST_SKIP() << "no group of number 1";
    const RealServer server({"--output", "null", "--allow-group", group->gr_name});
    EXPECT_EQ(asUser(User{65534, GROUP, {}}, handleOf), "served") << "its primary group";
    // More of them than the server asks for at first.
    std::vector<gid_t> many;
    for (gid_t other = 1000; other < 1100; ++other)
        many.push_back(other);
    EXPECT_NE(asUser(User{65534, 65534, many}, handleOf), "served");
    many.push_back(GROUP);
    EXPECT_EQ(asUser(User{65534, 65534, many}, handleOf), "served") << "a supplementary one";
    EXPECT_EQ(
        asUser(User{65534, 65534, many}, [] { return ControlClient().ask("state").substr(0, 1); }),
        "{");
    EXPECT_NE(asUser(User{}, handleOf), "served");
    EXPECT_EQ(handleOf(), "served") << "root needs no group";
}

/// The server's own user is served without an option, whichever it is.
TEST_F(AnotherUser, IsServedByItsOwnServer) {
    const std::string path = RealServer::path();
    std::unique_ptr<RealServer> server;
    UserProcess owner(
        User{},
        [&] {
            if (access(path.c_str(), X_OK) != 0) return std::string("no access");
            server = std::make_unique<RealServer>();
            return handleOf() + ", " + ControlClient().ask("state").substr(0, 1);
        },
        [&] { server.reset(); });
    if (owner.report() == "no access") GTEST_SKIP() << "others may not run " << path;
    EXPECT_EQ(owner.report(), "served, {");
    EXPECT_EQ(handleOf(), "served");
    EXPECT_EQ(asUser(User{65533, 65533, {}}, askForACrash),
              "error: user 65533 may not use this server; it runs as user 65534");
}

TEST(UnknownGroup, PreventsTheStart) {
    try {
        const RealServer server({"--allow-group", "no-such-group"});
        FAIL() << "it has started";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(),
                    HasSubstr("cabinaudio-server: --allow-group: no such group: no-such-group"));
    }
}

// ---- Which process it is ------------------------------------------------------------------------

TEST(StreamProcess, IsThatOfTheSocketWhateverTheClientClaims) {
    const RealServer server;
    RawClient liar(AUDIO_CONNECT_ALTERNATIVE, "liar");
    RawClient honest(AUDIO_CONNECT_AUXILIARY, "honest");
    RawClient recorder(AUDIO_CONNECT_INPUT0, "recorder");
    wire::CreateRequest request = {};
    request.function = static_cast<std::uint32_t>(wire::StreamFunction::Create);
    request.tag = 1;
    request.format = pcm(48000, 2, 16);
    request.pid = 1;
    ASSERT_EQ(liar.call<wire::CreateReply>(request).status, AUDIO_NO_ERROR);
    request.function = static_cast<std::uint32_t>(wire::CaptureFunction::Create);
    request.tag = AUDIO_CONNECT_INPUT0;
    ASSERT_EQ(recorder.call<wire::CreateReply>(request).status, AUDIO_NO_ERROR);
    ASSERT_EQ(honest.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    const auto streams = stateOf(server).at("streams");
    for (const auto& stream : streams)
        EXPECT_EQ(stream.at("process"), getpid()) << stream;
    const std::string said = server.output();
    EXPECT_EQ(countOf("\"liar\" says that it is process 1, but it is", said), 1U);
    EXPECT_EQ(countOf("says that it is process", said), 2U) << "and the recorder";
}

}  // namespace
}  // namespace cabinaudio::test
