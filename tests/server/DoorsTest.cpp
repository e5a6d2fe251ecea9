// SPDX-License-Identifier: Apache-2.0
//
// Programs of the same and of other users that take more than their part of the server, or may not
// use it at all.
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/server/RawClient.h"
#include "tests/server/TemporaryDirectory.h"
#include "tests/server/UserProcess.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"

#include <gmock/gmock.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
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

/// Servers that are started meanwhile may have so many descriptors.
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
        if (mBefore) {
            setenv("CABINAUDIO_SERVER", mBefore->c_str(), 1);
        } else {
            unsetenv("CABINAUDIO_SERVER");
        }
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

bool isReadable(int fd) {
    pollfd entry = {fd, POLLIN, 0};
    return poll(&entry, 1, PATIENCE_MS) > 0;
}

/// A connection to the control socket.
class Control {
public:
    Control() : mFd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        constexpr char NAME[] = "/tmp/cabinaudio_control";
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path + 1, NAME, sizeof NAME - 1);
        constexpr auto length =
            static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + sizeof NAME);
        if (mFd < 0 || connect(mFd, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
            throw std::runtime_error(std::string("control: ") + std::strerror(errno));
        }
    }
    ~Control() { close(mFd); }
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    /// Does not wait; a server that has refused may be gone already.
    void say(const std::string& text) const {
        (void)!::send(mFd, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }
    /// The next line, "(closed)" without one.
    [[nodiscard]] std::string line() const {
        std::string line;
        char letter = 0;
        while (isReadable(mFd) && recv(mFd, &letter, 1, 0) == 1) {
            if (letter == '\n') return line;
            line += letter;
        }
        return line + "(closed)";
    }
    [[nodiscard]] std::string ask(const std::string& text) const {
        say(text + "\n");
        return line();
    }

private:
    int mFd;
};

/// Until the server serves commands of this process again: it learns later that others have left.
bool answersCommands() {
    return eventually([] { return Control().ask("state").substr(0, 1) == "{"; }, 60s);
}

bool registersClients() {
    return eventually(
        [] { return RawClient().registerAs(AUDIO_CONNECT_VOLUME_SETTING, "good") != 0; }, 60s);
}

/// Opens so many control connections and keeps them; asks each, so that none is left in a queue.
std::string hoardControls(unsigned count) {
    static std::vector<std::unique_ptr<Control>> hoard;
    unsigned refused = 0;
    for (unsigned i = 0; i < count; ++i) {
        hoard.push_back(std::make_unique<Control>());
        const std::string answer = hoard.back()->ask("state");
        if (answer.rfind("error: ", 0) == 0 && answer.find("too many") != std::string::npos)
            ++refused;
    }
    return std::to_string(refused) + " refused";
}

std::string hoardClients(unsigned count) {
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

/// A server of few descriptors, and the number of connections that somebody tries to hold.
struct Siege {
    unsigned descriptors;
    unsigned attempts;
    unsigned controlsOfUser;
    unsigned clientsOfUser;
};

void PrintTo(const Siege& siege, std::ostream* out) {
    *out << siege.attempts << " connections to " << siege.descriptors << " descriptors";
}

class ASiege : public testing::TestWithParam<Siege> {
protected:
    void SetUp() override {
        rlimit limit = {};
        getrlimit(RLIMIT_NOFILE, &limit);
        if (limit.rlim_max < GetParam().attempts + 100)
            GTEST_SKIP() << "the attacker may have only " << limit.rlim_max << " descriptors";
    }

    using Hoard = std::string(unsigned);

    /// Makes all connections and keeps those that it gets.
    static UserProcess attacker(const std::optional<User>& user, Hoard* hoard) {
        return UserProcess(user, [hoard] {
            raiseDescriptors();
            return hoard(GetParam().attempts);
        });
    }
    /// The report of an attacker that may keep `most` of its connections.
    static std::string refusedBeyond(std::size_t most) {
        return std::to_string(GetParam().attempts - most) + " refused";
    }
};

TEST_P(ASiege, OfControlConnectionsByAnotherUserLeavesRoomForTheOwner) {
    if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
    const DescriptorsOfServer few(GetParam().descriptors);
    const RealServer server({"--output", "null", "--allow-all"});
    UserProcess siege = attacker(User{}, hoardControls);
    EXPECT_EQ(siege.report(), refusedBeyond(GetParam().controlsOfUser));
    EXPECT_TRUE(answersCommands());
    EXPECT_TRUE(registersClients());
    EXPECT_EQ(countOf("user 65534 has too many control connections", server.output()), 1U);
    siege.end();
    EXPECT_EQ(asUser(User{}, [] { return std::to_string(answersCommands()); }), "1");
}

TEST_P(ASiege, OfControlConnectionsIsOverWhenTheyAreClosed) {
    const DescriptorsOfServer few(GetParam().descriptors);
    const RealServer server;
    UserProcess siege = attacker({}, hoardControls);
    EXPECT_EQ(siege.report(), refusedBeyond(GetParam().controlsOfUser));
    EXPECT_THAT(Control().ask("state"), StartsWith("error: user "));
    EXPECT_TRUE(registersClients()) << "clients have descriptors of their own";
    siege.end();
    EXPECT_TRUE(answersCommands());
}

TEST_P(ASiege, OfClientsByAnotherUserLeavesRoomForTheOwner) {
    if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
    const DescriptorsOfServer few(GetParam().descriptors);
    const RealServer server({"--output", "null", "--allow-all"});
    UserProcess siege = attacker(User{}, hoardClients);
    EXPECT_EQ(siege.report(), refusedBeyond(GetParam().clientsOfUser));
    EXPECT_TRUE(registersClients());
    EXPECT_TRUE(answersCommands());
    EXPECT_EQ(countOf("user 65534 has too many clients", server.output()), 1U);
    siege.end();
    EXPECT_EQ(asUser(User{}, [] { return std::to_string(registersClients()); }), "1");
}

TEST_P(ASiege, OfClientsIsOverWhenTheyAreClosed) {
    const DescriptorsOfServer few(GetParam().descriptors);
    const RealServer server;
    UserProcess siege = attacker({}, hoardClients);
    EXPECT_EQ(siege.report(), refusedBeyond(GetParam().clientsOfUser));
    EXPECT_TRUE(answersCommands()) << "commands have descriptors of their own";
    siege.end();
    EXPECT_TRUE(registersClients());
}

INSTANTIATE_TEST_SUITE_P(Any, ASiege,
                         testing::Values(Siege{256, 300, 8, 36}, Siege{1024, 1100, 32, 162}),
                         [](const auto& siege) { return std::to_string(siege.param.descriptors); });

/// Clients of two users that together have all places wait for each other, as before.
TEST(AFullServer, LetsAnotherUsersClientWaitUntilOneLeaves) {
    if (!mayBecomeAnotherUser()) GTEST_SKIP() << "only root can be another user";
    const DescriptorsOfServer few(256);  // 48 clients, 36 of them of other users
    const RealServer server({"--output", "null", "--allow-all"});
    UserProcess other(User{}, [] { return hoardClients(36); });
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

TEST(UnfinishedMessages, OfOneUserAreLimitedTogether) {
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
    // Not at the others' cost.
    RawClient good(AUDIO_CONNECT_APP_SETTING, "good");
    Bytes message = bytesOf(good.requestHeader(1 << 20));
    message.resize(message.size() + (1 << 20));
    good.send(message);
    EXPECT_TRUE(good.hasNotification(PATIENCE_MS)) << "an answer";
}

// ---- Who may use it -----------------------------------------------------------------------------

std::string askForACrash() {
    return Control().ask("crash");
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

/// Without a policy: a client of a server that closes without a word would wait for ever.
TEST_F(AnotherUser, GetsAStatusFromTheLibrary) {
    const RealServer server;
    UserProcess program(User{}, [] {
        ClientVersionSetting setting;
        return std::to_string(setting.initCheck());
    });
    EXPECT_EQ(program.report(), std::to_string(AUDIO_NOT_CONNECTED));
}

TEST_F(AnotherUser, IsServedWhenAllAre) {
    const RealServer server({"--output", "null", "--allow-all"});
    EXPECT_EQ(asUser(User{}, handleOf), "served");
    EXPECT_EQ(asUser(User{}, [] { return Control().ask("state").substr(0, 1); }), "{");
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
    EXPECT_EQ(asUser(User{65534, 65534, many}, [] { return Control().ask("state").substr(0, 1); }),
              "{");
    EXPECT_NE(asUser(User{}, handleOf), "served");
    EXPECT_EQ(handleOf(), "served") << "root needs no group";
}

/// The server's own user is served without an option, whichever it is.
TEST_F(AnotherUser, IsServedByItsOwnServerAsRootIs) {
    const std::string path = RealServer::path();
    std::unique_ptr<RealServer> server;
    UserProcess owner(
        User{},
        [&] {
            if (access(path.c_str(), X_OK) != 0) return std::string("no access");
            server = std::make_unique<RealServer>();
            return handleOf() + ", " + Control().ask("state").substr(0, 1);
        },
        [&] { server.reset(); });
    if (owner.report() == "no access") GTEST_SKIP() << "others may not run " << path;
    EXPECT_EQ(owner.report(), "served, {");
    EXPECT_EQ(handleOf(), "served");
    EXPECT_EQ(asUser(User{65533, 65533, {}}, askForACrash),
              "error: user 65533 may not use this server; it runs as user 65534");
}

TEST(AnUnknownGroup, IsAnErrorAtTheStart) {
    try {
        const RealServer server({"--allow-group", "no-such-group"});
        FAIL() << "it has started";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(),
                    HasSubstr("cabinaudio-server: --allow-group: no such group: no-such-group"));
    }
}

// ---- Which process it is ------------------------------------------------------------------------

TEST(AStreamsProcess, IsThatOfTheSocketWhateverTheClientSays) {
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
    const auto state = nlohmann::json::parse(server.command("state"));
    for (const auto& stream : state.at("streams"))
        EXPECT_EQ(stream.at("process"), getpid()) << stream;
    const std::string said = server.output();
    EXPECT_EQ(countOf("\"liar\" says that it is process 1, but it is", said), 1U);
    EXPECT_EQ(countOf("says that it is process", said), 2U) << "and the recorder";
}

}  // namespace
}  // namespace cabinaudio::test
