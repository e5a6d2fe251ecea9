// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioTime.h>
#include <cabinaudio/link/RemoteCall.h>

#include "tests/link/LinkFixture.h"
#include "tests/support/ProcessState.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>
#include <thread>

namespace cabinaudio::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

class Registration : public ::testing::Test {
protected:
    std::string nameOf(std::size_t request) const {
        return server.requests().at(request).header.name;
    }

    LogCapture log;
    ScriptedServer server;
};

TEST_F(Registration, SendsItsBytesInOnePiece) {
    const std::uint64_t before = AudioTime::now();
    RemoteCall call(AUDIO_CONNECT_AUXILIARY, nullptr, nullptr, "navigation");
    const std::uint64_t after = AudioTime::now();
    Bytes sent = server.received();
    ASSERT_EQ(sent.size(), 88u);
    std::uint64_t built = 0;
    std::memcpy(&built, sent.data() + 16, sizeof built);
    EXPECT_GE(built, before);
    EXPECT_LE(built, after);
    std::fill_n(sent.begin() + 16, 8, std::uint8_t{0xaa});
    EXPECT_THAT(sent,
                ElementsAreArray(Bytes{
                    196,  0,    0,    0,                             // register
                    2,    0,    0,    0,                             // type
                    0x02, 0x18, 0x19, 0x00,                          // in place of a handle
                    64,   0,    0,    0,                             // size of the name
                    0xaa, 0xaa, 0xaa, 0xaa, 0xaa, 0xaa, 0xaa, 0xaa,  // time
                    'n',  'a',  'v',  'i',  'g',  'a',  't',  'i',  'o', 'n', 0, 0, 0, 0, 0, 0,
                    0,    0,    0,    0,    0,    0,    0,    0,    0,   0,   0, 0, 0, 0, 0, 0,
                    0,    0,    0,    0,    0,    0,    0,    0,    0,   0,   0, 0, 0, 0, 0, 0,
                    0,    0,    0,    0,    0,    0,    0,    0,    0,   0,   0, 0, 0, 0, 0, 0}));
    EXPECT_THAT(server.pieces(), ElementsAre(88u));
}

TEST_F(Registration, UsesTheNameUnknWithoutAName) {
    RemoteCall call(AUDIO_CONNECT_VERSION_SETTING, nullptr, nullptr, nullptr);
    EXPECT_EQ(nameOf(0), "unkn");
    EXPECT_EQ(server.requests().at(0).header.type, 132u);
}

TEST_F(Registration, CutsTheNameTo63Characters) {
    RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, std::string(70, 'n').c_str());
    EXPECT_EQ(nameOf(0), std::string(63, 'n'));
}

TEST_F(Registration, SendsEveryTypeUnchanged) {
    for (const std::uint32_t type :
         {0u, 1u, 2u, 3u, 64u, 65u, 66u, 67u, 68u, 128u, 129u, 130u, 131u, 132u, 133u, 255u}) {
        RemoteCall call(static_cast<audio_connect_type>(type), nullptr, nullptr, "t");
        EXPECT_EQ(server.requests().back().header.type, type);
    }
}

TEST_F(Registration, TakesTheSecondWordForTheHandle) {
    server.onRegistration(Answer::words(77, 0x12345678));
    RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
    EXPECT_EQ(call.initCheck(), 0);
    EXPECT_EQ(call.callFuncId(1, false), 0);
    EXPECT_EQ(server.requests(1).at(0).header.handle, 0x12345678u);
}

TEST_F(Registration, FailsWithAHandleOfZero) {
    server.onRegistration(Answer::words(77, 0));
    RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
    EXPECT_EQ(call.initCheck(), -1000);
}

TEST_F(Registration, FailsWithAReplyThatEndsBeforeTheHandle) {
    server.onRegistration(Answer::words(77));
    RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
    EXPECT_EQ(call.initCheck(), -1000);
    EXPECT_TRUE(logged(log, WARN, "recv fail\n", 0));
}

TEST_F(Registration, WaitsForABodyThatComesAfterItsHeader) {
    server.onRegistration(Answer::handle(5).bodyHeld());
    std::thread releaser([&] {
        EXPECT_TRUE(server.waitForRequest([](const Request& r) { return r.isRegistration(); }));
        server.release();
    });
    RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
    EXPECT_EQ(call.initCheck(), 0);
    releaser.join();
}

TEST_F(Registration, WaitsForTheAnswer) {
    server.onRegistration(Answer::handle(5).held());
    std::atomic<bool> released = false;
    std::thread releaser([&] {
        EXPECT_TRUE(server.waitForRequest([](const Request& r) { return r.isRegistration(); }));
        released = true;
        server.release();
    });
    RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
    EXPECT_TRUE(released);
    EXPECT_EQ(call.initCheck(), 0);
    releaser.join();
}

TEST_F(Registration, StartsOneThreadForNotificationsAndOneToReceive) {
    RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
    EXPECT_TRUE(eventually([] {
        const auto names = threadNames();
        return std::count(names.begin(), names.end(), "AS-RCNotifier") == 1 &&
               std::count(names.begin(), names.end(), "AS-SktWorker") == 1;
    }));
}

TEST_F(Registration, DeliversANotificationThatComesBeforeTheAnswer) {
    server.onRegistration(Answer::handle(5).after(3, 9));
    Mailbox box;
    RemoteCall call(AUDIO_CONNECT_MAIN, &Mailbox::take, &box, nullptr);
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_THAT(box.taken(), ElementsAre(Notification{3, 9}));
    EXPECT_EQ(call.initCheck(), 0);
}

TEST_F(Registration, AwaitsTheAnswerEvenWhenTheMessageWasNotSent) {
    const Replaced<platform::send> send(returning(-1, EPIPE));
    std::thread answering([&] {
        EXPECT_TRUE(server.waitForClients(1));
        server.send(ScriptedServer::frame(HEADER_REPLY) + Bytes{0, 0, 0, 0, 9, 0, 0, 0});
    });
    RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
    answering.join();
    EXPECT_TRUE(logged(log, WARN, "RemoteCall", "RemoteCall", "send fail\n"));
    EXPECT_TRUE(logged(log, WARN, "recv fail\n", 0));
    EXPECT_EQ(call.initCheck(), 0);
}

TEST(RegistrationWithoutAServer, IsLoggedAndLeavesAnUnregisteredObject) {
    LogCapture log;
    const ProcessState before = ProcessState::now();
    {
        RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
        EXPECT_TRUE(logged(log, WARN, "RemoteCall", "RemoteCall", "send fail\n"));
        EXPECT_TRUE(logged(log, WARN, "RemoteCall", "RemoteCall", "recv fail\n"));
        EXPECT_EQ(call.initCheck(), -1000);
        std::int32_t out = 4711;
        EXPECT_EQ(call.callFuncId(1, &out, true), 1);
        EXPECT_EQ(out, 4711);
        EXPECT_TRUE(loggedLike(log, ERROR, "mConn=0x[0-9a-f]+, mHandle=0x0\n"));
    }
    EXPECT_TRUE(returnsTo(before));
}

TEST(RegistrationWithoutThreads, ReturnsUnregistered) {
    LogCapture log;
    ScriptedServer server;
    server.onRegistration(Answer::none());
    const ProcessState before = ProcessState::now();
    const RefusedThreads refused;
    {
        RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
        EXPECT_EQ(call.initCheck(), -1000);
        EXPECT_TRUE(logged(log, DEBUG, "AudioConnection", "recv", "exit\n"));
        EXPECT_TRUE(logged(log, WARN, "recv fail\n"));
        EXPECT_EQ(call.callFuncId(1, false), 1);
    }
    EXPECT_TRUE(returnsTo(before));
}

}  // namespace
}  // namespace cabinaudio::test
