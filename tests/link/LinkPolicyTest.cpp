// SPDX-License-Identifier: Apache-2.0
// The policy by which every wait of an application has an end.
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/link/AudioConnection.h>
#include <cabinaudio/link/LinkPolicy.h>
#include <cabinaudio/link/RemoteCall.h>

#include "tests/link/LinkFixture.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/PolicyGuard.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Le;

constexpr auto TIMEOUT = 200ms;
/// Limit for a wait of TIMEOUT: it shows only that the wait has an end.
constexpr auto LONGEST = 20s;

/// Sees that a wait which begins with it has an end in time.
class Watch {
public:
    void expectTimeout() const {
        EXPECT_GE(Clock::now() - mBegin, TIMEOUT);
        expectEnd();
    }
    void expectEnd() const { EXPECT_LT(Clock::now() - mBegin, LONGEST); }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point mBegin = Clock::now();
};

TEST(LinkPolicy, IsOffByDefault) {
    const LinkPolicy policy = linkPolicy();
    EXPECT_EQ(policy.replyTimeout, 0ms);
    EXPECT_FALSE(policy.wakesOnServerLoss);
    EXPECT_FALSE(policy.allowsOrdinaryThreads);
}

TEST(LinkPolicy, IsWhatWasSetLast) {
    const PolicyGuard guard({1500ms, true, true});
    EXPECT_EQ(linkPolicy().replyTimeout, 1500ms);
    EXPECT_TRUE(linkPolicy().wakesOnServerLoss);
    EXPECT_TRUE(linkPolicy().allowsOrdinaryThreads);
    setLinkPolicy({-1ms, false, true});
    EXPECT_EQ(linkPolicy().replyTimeout, 0ms);
    EXPECT_FALSE(linkPolicy().wakesOnServerLoss);
}

/// Send time-outs, in milliseconds, of the sockets of this process that have one.
std::vector<long long> sendTimeouts() {
    std::vector<long long> timeouts;
    for (int fd = 0; fd < 1024; ++fd) {
        timeval timeout = {};
        socklen_t length = sizeof timeout;
        if (getsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, &length) != 0) continue;
        const long long ms = static_cast<long long>(timeout.tv_sec) * 1000 + timeout.tv_usec / 1000;
        if (ms != 0) timeouts.push_back(ms);
    }
    return timeouts;
}

TEST(LinkPolicy, RestoresTheSocketsSendTimeoutWhenItIsReset) {
    ScriptedServer server;
    RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
    EXPECT_THAT(sendTimeouts(), ElementsAre(10000));
    {
        const PolicyGuard guard({TIMEOUT, false, false});
        ASSERT_EQ(call.callFuncId(7, true), 0);
        EXPECT_THAT(sendTimeouts(), ElementsAre(Le(TIMEOUT.count() + 10)));
    }
    ASSERT_EQ(call.callFuncId(7, true), 0);
    EXPECT_THAT(sendTimeouts(), ElementsAre(10000));
}

/// A remote call that is registered, under a policy with a time-out alone.
class ReplyTimeout : public ::testing::Test {
protected:
    ReplyTimeout() : guard({TIMEOUT, false, false}) {}

    int request() { return call->callFuncId(7, true); }
    /// A request that is not answered in time.
    void expectTimeout() {
        const Watch watch;
        EXPECT_EQ(request(), 1);
        watch.expectTimeout();
        EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "recv",
                           "no answer in 200 ms, connection is broken\n"));
    }

    LogCapture log;
    ScriptedServer server;
    Mailbox box;
    PolicyGuard guard;
    std::unique_ptr<RemoteCall> call =
        std::make_unique<RemoteCall>(AUDIO_CONNECT_AUXILIARY, &Mailbox::take, &box, "str");
};

struct Silence : Row {
    Answer answer;
};

class ReplyTimeoutFor : public ReplyTimeout, public ::testing::WithParamInterface<Silence> {};

/// Also when the receive thread has seen the answer's header and waits for a reader of the body.
TEST_P(ReplyTimeoutFor, EndsTheRequestAndNotifiesTheClientAsIfTheServerWereGone) {
    server.onOther(GetParam().answer);
    expectTimeout();
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_EQ(box.taken().front(), (Notification{255, 0}));
    EXPECT_TRUE(server.waitForEndOf());
}

INSTANTIATE_TEST_SUITE_P(Silent, ReplyTimeoutFor,
                         ::testing::Values(Silence{"NoAnswer", Answer::none()},
                                           Silence{"NoBody", Answer::status(0).bodyHeld()}),
                         ROW_NAME);

TEST_F(ReplyTimeout, HasNoEffectOnAnAnswerInTime) {
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(request(), 0);
    EXPECT_TRUE(logged(log, ERROR, "connection is broken\n", 0));
}

TEST_F(ReplyTimeout, BreaksTheConnectionForGood) {
    server.onOther(Answer::status(0).held());
    expectTimeout();
    server.onOther(Answer::status(0));
    server.release();  // the late answer
    const std::size_t sent = server.requests().size();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(request(), 1);
    EXPECT_EQ(server.requests().size(), sent);
    EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "send", "connection is broken\n", 3));
}

TEST_F(ReplyTimeout, BreaksTheConnectionOfAReceiverWithoutARequest) {
    AudioConnection connection(wire::SERVER_SOCKET, 0, nullptr, nullptr);
    std::uint8_t body[4];
    EXPECT_EQ(connection.recv(body, sizeof body), 1);
    EXPECT_EQ(connection.recv(body, sizeof body), 1);
    EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "recv", "connection is broken\n"));
}

TEST_F(ReplyTimeout, BreaksTheConnectionOrNotWhenTheAnswerRacesWithIt) {
    for (int round = 0; round < 20; ++round) {
        call.reset();
        call = std::make_unique<RemoteCall>(AUDIO_CONNECT_AUXILIARY, &Mailbox::take, &box, "str");
        const auto index = static_cast<std::size_t>(round) + 1;
        server.onOther(Answer::status(0).held());
        std::thread late([&, index] {
            std::this_thread::sleep_for(TIMEOUT + std::chrono::microseconds(100 * round - 1000));
            server.release(index);
        });
        const int result = request();
        late.join();
        EXPECT_TRUE(result == 0 || result == 1);
        if (result == 1) {
            EXPECT_TRUE(server.waitForEndOf(index));
            EXPECT_EQ(request(), 1);
        }
    }
}

TEST_F(ReplyTimeout, EndsARegistration) {
    server.onRegistration(Answer::none());
    const Watch watch;
    RemoteCall other(AUDIO_CONNECT_MAIN, nullptr, nullptr, "other");
    watch.expectTimeout();
    EXPECT_EQ(other.initCheck(), AUDIO_NOT_CONNECTED);
}

TEST_F(ReplyTimeout, EndsASendThatTheServerDoesNotTake) {
    server.pauseReading();
    Bytes much(8 << 20);
    std::uint8_t* request = nullptr;
    std::uint8_t* reply = nullptr;
    ASSERT_EQ(call->rcalloc(&request, static_cast<std::uint32_t>(much.size()), &reply, 4), 0);
    const Watch watch;
    EXPECT_EQ(call->call(request, static_cast<std::uint32_t>(much.size()), reply, 4, true), 1);
    watch.expectTimeout();
    EXPECT_EQ(call->rcfree(request, reply), 0);
    server.resumeReading();
}

TEST_F(ReplyTimeout, EndsAConnectionThatNobodyAccepts) {
    const std::string path = "deaf" + std::to_string(getpid());
    const server::UniqueFd listening = listenAt(path, 0);
    const server::UniqueFd first = connectTo(path);
    const Watch watch;
    AudioConnection connection(path.c_str(), 0, nullptr, nullptr);
    watch.expectTimeout();
    EXPECT_EQ(connection.disconnect(), 1);
}

TEST_F(ReplyTimeout, LetsTheDestructorReturn) {
    server.onOther(Answer::none());
    expectTimeout();
    const Watch watch;
    call.reset();
    watch.expectEnd();
}

/// A request under way when the connection is lost, under a policy that wakes it alone.
class ServerLossPolicy : public ::testing::Test {
protected:
    ServerLossPolicy() : guard({0ms, true, false}) {}

    /// The result of a request, during which the server does this.
    int resultWhile(const std::function<void()>& act) {
        server.onOther(Answer::none());
        const std::size_t before = server.requests().size();
        auto result = std::async(std::launch::async, [&] { return call.callFuncId(7, true); });
        EXPECT_TRUE(server.waitForRequest([](const Request&) { return true; }, before + 1));
        act();
        const bool ends = result.wait_for(BOUND) == std::future_status::ready;
        EXPECT_TRUE(ends);
        if (!ends) server.stop();
        return result.get();
    }

    LogCapture log;
    ScriptedServer server;
    PolicyGuard guard;
    RemoteCall call{AUDIO_CONNECT_AUXILIARY, nullptr, nullptr, "str"};
};

struct Loss : Row {
    void (*act)(ScriptedServer&);
};

class ServerLossPolicyFor : public ServerLossPolicy, public ::testing::WithParamInterface<Loss> {};

TEST_P(ServerLossPolicyFor, EndsTheRequestUnderWayAndEachLaterOne) {
    EXPECT_EQ(resultWhile([&] { GetParam().act(server); }), 1);
    EXPECT_EQ(call.callFuncId(7, true), 1);
}

constexpr Loss LOSSES[] = {
    {"AServerThatCloses", [](ScriptedServer& server) { server.close(); }},
    {"AServerThatDies", [](ScriptedServer& server) { server.stop(); }},
    {"AWrongMagic", [](ScriptedServer& server) { server.send(Bytes(32, 0x11)); }},
    {"AnUnknownMessage", [](ScriptedServer& server) { server.send(ScriptedServer::frame(77)); }},
};

INSTANTIATE_TEST_SUITE_P(Lost, ServerLossPolicyFor, ::testing::ValuesIn(LOSSES), ROW_NAME);

TEST_F(ServerLossPolicy, EndsARegistrationOfAServerThatCloses) {
    server.onRegistration(Answer::close());
    RemoteCall other(AUDIO_CONNECT_MAIN, nullptr, nullptr, "other");
    EXPECT_EQ(other.initCheck(), AUDIO_NOT_CONNECTED);
}

TEST(LongestTimeout, IsNotOverBeforeTheRequestBegins) {
    for (const auto limit : {std::chrono::milliseconds::max(),
                             std::chrono::milliseconds(std::chrono::hours(24 * 365 * 1000L))}) {
        const PolicyGuard guard({limit, false, false});
        ScriptedServer server;
        RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, "name");
        ASSERT_EQ(call.initCheck(), 0) << limit.count();
        EXPECT_EQ(call.callFuncId(1, false), 0) << limit.count();
    }
}

/// Refuses real-time threads, and counts the others of the library.
class NoRealTime {
public:
    NoRealTime()
        : mReplace([this](pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument) {
              int policy = SCHED_OTHER;
              if (attributes != nullptr) pthread_attr_getschedpolicy(attributes, &policy);
              if (policy != SCHED_OTHER) return EPERM;
              if (isLibraryThread(attributes)) mOrdinary.add();
              return platform::pthread_create.real(thread, attributes, entry, argument);
          }) {}

    [[nodiscard]] std::size_t ordinary() const { return mOrdinary.count(); }

private:
    Counter mOrdinary;
    Replaced<platform::pthread_create> mReplace;
};

TEST(OrdinaryThread, ReplacesARealTimeThreadThatIsRefused) {
    const LogCapture log;
    ScriptedServer server;
    const PolicyGuard guard({0ms, false, true});
    const NoRealTime refused;
    RemoteCall call(AUDIO_CONNECT_AUXILIARY, nullptr, nullptr, "str");
    EXPECT_EQ(call.initCheck(), 0);
    EXPECT_EQ(call.callFuncId(7, true), 0);
    EXPECT_EQ(refused.ordinary(), 2U);
    EXPECT_TRUE(logged(log, WARN, "Thread(AS-SktWorker) may not be a real-time one.\n"));
    EXPECT_TRUE(logged(log, WARN, "Thread(AS-RCNotifier) may not be a real-time one.\n"));
    EXPECT_TRUE(logged(log, ERROR, "Fail to start thread", 0));
}

TEST(OrdinaryThread, IsNotMadeWithoutThePolicy) {
    const LogCapture log;
    ScriptedServer server;
    const NoRealTime refused;
    RemoteCall call(AUDIO_CONNECT_AUXILIARY, nullptr, nullptr, "str");
    EXPECT_EQ(call.initCheck(), AUDIO_NOT_CONNECTED);
    EXPECT_EQ(refused.ordinary(), 0U);
}

}  // namespace
}  // namespace cabinaudio::test
