// SPDX-License-Identifier: Apache-2.0
//
// The awaited event happens between the check and the wait, while the waiter holds the lock. A
// thread that changes something must wait for the lock then, or its wake-up is lost.
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/link/AudioConnection.h>
#include <cabinaudio/link/RemoteCall.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "tests/client/StreamFixture.h"
#include "tests/interpose/Operations.h"
#include "tests/support/PolicyGuard.h"
#include "tests/support/ProcessState.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace cabinaudio::test {
namespace {

thread_local std::function<void()> tLastMoment;  // of the next wait of this thread
thread_local std::function<void()> tBeforeFlag;  // before it says next that it waits for space

void comeToTheLastMoment() {
    if (tLastMoment) std::exchange(tLastMoment, nullptr)();
}

void waitLater(AudioCondition* condition, AudioMutex& mutex) {
    comeToTheLastMoment();
    operations::wait.real(condition, mutex);
}

std::int32_t waitRelativeLater(AudioCondition* condition, AudioMutex& mutex, std::uint64_t ms) {
    comeToTheLastMoment();
    return operations::waitRelative.real(condition, mutex, ms);
}

void setWaitLater(ShareMemoryEx* ring, bool wait) {
    if (wait && tBeforeFlag) std::exchange(tBeforeFlag, nullptr)();
    operations::setWait.real(ring, wait);
}

const Hooked WAIT(operations::wait, waitLater);
const Hooked WAIT_RELATIVE(operations::waitRelative, waitRelativeLater);
const Hooked SET_WAIT(operations::setWait, setWaitLater);

/// Long enough for whoever does not wait for the lock. Who does comes later, however long it is.
void letOthersRun() {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
}

/// A call in a thread of its own. `event` happens at the last moment before its first wait.
template <typename Call>
auto calling(Call call, std::function<void()> event) {
    return std::async(std::launch::async, [call, event = std::move(event)] {
        tLastMoment = [event] {
            event();
            letOthersRun();
        };
        return call();
    });
}

/// The result, which comes soon. A wake-up that is lost never comes, and nothing could end the
/// program in order.
template <typename Result>
Result soon(std::future<Result>& result) {
    if (result.wait_for(std::chrono::seconds(30)) != std::future_status::ready) {
        std::fprintf(stderr, "FAILED: %s: a wake-up was lost\n",
                     ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::_Exit(1);
    }
    return result.get();
}

// ---- A requester --------------------------------------------------------------------------------

class ARequesterAboutToWait : public ::testing::Test {
protected:
    std::future<std::int32_t> receiving(std::function<void()> event) {
        return calling([this] { return connection->recv(body, sizeof body); }, std::move(event));
    }

    ScriptedServer server;
    PolicyGuard policy{LinkPolicy{}};
    std::unique_ptr<AudioConnection> connection =
        std::make_unique<AudioConnection>(wire::SERVER_SOCKET, 0, nullptr, nullptr);
    std::uint8_t body[4] = {};
};

TEST_F(ARequesterAboutToWait, HearsOfADisconnect) {
    ASSERT_TRUE(server.waitForClients(1));
    std::future<std::int32_t> end;
    auto result = receiving(
        [&] { end = std::async(std::launch::async, [this] { return connection->disconnect(); }); });
    EXPECT_EQ(soon(result), 1);
    EXPECT_EQ(soon(end), 0);
}

/// Nobody else wakes it then: the receive thread does so at its end, which is over.
TEST_F(ARequesterAboutToWait, HearsOfADisconnectFromALostServer) {
    ASSERT_TRUE(server.waitForClients(1));
    server.close();
    ASSERT_TRUE(eventually([] {
        const std::vector<std::string> names = threadNames();
        return std::find(names.begin(), names.end(), "AS-SktWorker") == names.end();
    }));
    std::future<std::int32_t> end;
    auto result = receiving(
        [&] { end = std::async(std::launch::async, [this] { return connection->disconnect(); }); });
    EXPECT_EQ(soon(result), 1);
    EXPECT_EQ(soon(end), 0);
}

TEST_F(ARequesterAboutToWait, HearsOfAReply) {
    ASSERT_TRUE(server.waitForClients(1));
    auto result = receiving([this] {
        Bytes reply = ScriptedServer::frame(HEADER_REPLY);
        reply.insert(reply.end(), {1, 2, 3, 4});
        server.send(reply);
    });
    EXPECT_EQ(soon(result), 0);
    EXPECT_EQ(body[3], 4);
}

TEST_F(ARequesterAboutToWait, HearsOfALostServer) {
    LinkPolicy wakes;
    wakes.wakesOnServerLoss = true;
    setLinkPolicy(wakes);
    ASSERT_TRUE(server.waitForClients(1));
    auto result = receiving([this] { server.close(); });
    EXPECT_EQ(soon(result), 1);
}

// ---- A destructor -------------------------------------------------------------------------------

TEST(ADestructorAboutToWait, HearsOfTheLastRequest) {
    ScriptedServer server;
    server.on(1, Answer::status(0).held());
    auto call = std::make_unique<RemoteCall>(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
    auto request =
        std::async(std::launch::async, [own = call.get()] { return own->callFuncId(1, false); });
    ASSERT_TRUE(server.waitForRequest(1));
    auto end = calling(
        [&] {
            call.reset();
            return true;
        },
        [&] { (void)request.wait_for(std::chrono::milliseconds(1)); });
    EXPECT_TRUE(soon(end));
    EXPECT_EQ(soon(request), 1);
}

// ---- A writer -----------------------------------------------------------------------------------

class AWriterAboutToWait : public AStream {
protected:
    static constexpr std::uint32_t CREATE = 21;
    static constexpr unsigned SIZE = 1024;

    AWriterAboutToWait() {
        server.on(CREATE, Answer::words(0, 0, SIZE, 256, 0, 0, 0));
        serverRing = posixRing("trk", SIZE);
        AudioFormatDesc format = cdFormat();
        track = std::make_unique<ClientTrack>("trk", AUDIO_TAG_ALTERNATIVE, format, 0);
        EXPECT_EQ(track->start(), AUDIO_NO_ERROR) << log.dump();
        EXPECT_EQ(track->write(data.data(), SIZE - 1, false), static_cast<int>(SIZE) - 1);
    }
    ~AWriterAboutToWait() override { track.reset(); }

    std::future<int> writing(std::function<void()> event) {
        return calling([this] { return track->write(data.data(), 256, true); }, std::move(event));
    }

    std::unique_ptr<ClientTrack> track;
};

TEST_F(AWriterAboutToWait, HearsOfSpace) {
    auto result = writing([this] {
        Bytes heard(512);
        serverRing->read(heard.data(), 512);
    });
    EXPECT_EQ(soon(result), 256) << log.dump();
}

/// The server frees, looks at the flag and wakes nobody, before the flag is set.
TEST_F(AWriterAboutToWait, SeesSpaceThatNobodyTellsItOf) {
    auto result = std::async(std::launch::async, [this] {
        tBeforeFlag = [this] { serverRing->updateReadOffset(512); };
        return track->write(data.data(), 256, true);
    });
    EXPECT_EQ(soon(result), 256) << log.dump();
    EXPECT_EQ(log.countMatching(WARN, ".*wait free space timeout.*\n"), 0U);
    EXPECT_FALSE(serverRing->getWait());
}

TEST_F(AWriterAboutToWait, HearsThatTheStreamIsRemoved) {
    auto result = writing([this] { server.notify(REMOVED, 0); });
    EXPECT_EQ(soon(result), AUDIO_INVALID_STATE) << log.dump();
}

TEST_F(AWriterAboutToWait, HearsOfAStop) {
    std::future<int> stopped;
    auto result = writing(
        [&] { stopped = std::async(std::launch::async, [this] { return track->stop(); }); });
    EXPECT_EQ(soon(result), AUDIO_INVALID_STATE) << log.dump();
    EXPECT_EQ(soon(stopped), AUDIO_NO_ERROR);
}

TEST_F(AWriterAboutToWait, HearsOfTheDestructor) {
    std::future<bool> end;
    auto result = writing([&] {
        end = std::async(std::launch::async, [this] {
            track.reset();
            return true;
        });
    });
    EXPECT_EQ(soon(result), AUDIO_INVALID_STATE) << log.dump();
    EXPECT_TRUE(soon(end));
    EXPECT_EQ(log.countMatching(ERROR, ".*waitting exit timeout.*\n"), 0U);
}

}  // namespace
}  // namespace cabinaudio::test
