// SPDX-License-Identifier: Apache-2.0
// The awaited event happens between the check and the wait, while the waiter holds the lock. The
// thread that causes the event must wait for the lock, or its wake-up is lost.
#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/link/AudioConnection.h>
#include <cabinaudio/link/RemoteCall.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "tests/interpose/Operations.h"
#include "tests/interpose/Waits.h"
#include "tests/support/PolicyGuard.h"
#include "tests/support/ProcessState.h"
#include "tests/support/kinds/KindTest.h"

#include <linux/futex.h>
#include <sys/syscall.h>
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
thread_local std::function<void()> tBeforeFree;  // before it frees the blocks of its next request

void reachCheckBeforeWait() {
    if (tLastMoment) std::exchange(tLastMoment, nullptr)();
}

void waitLater(AudioCondition* condition, AudioMutex& mutex) {
    reachCheckBeforeWait();
    operations::wait.real(condition, mutex);
}

std::int32_t waitRelativeLater(AudioCondition* condition, AudioMutex& mutex, std::uint64_t ms) {
    reachCheckBeforeWait();
    return operations::waitRelative.real(condition, mutex, ms);
}

long sleepLater(long number, long a, long b, long c, long d, long e, long f) {
    if (number == SYS_futex && (b & FUTEX_CMD_MASK) == FUTEX_WAIT) reachCheckBeforeWait();
    return platform::syscall.real(number, a, b, c, d, e, f);
}

void setWaitLater(ShareMemoryEx* ring, bool wait) {
    if (wait && tBeforeFlag) std::exchange(tBeforeFlag, nullptr)();
    operations::setWait.real(ring, wait);
}

std::int32_t freeLater(RemoteCall* call, void* req, void* ret) {
    if (tBeforeFree) std::exchange(tBeforeFree, nullptr)();
    return operations::rcfree.real(call, req, ret);
}

const Hooked WAIT(operations::wait, waitLater);
const Hooked SLEEP(platform::syscall, sleepLater);
const Hooked WAIT_RELATIVE(operations::waitRelative, waitRelativeLater);
const Hooked SET_WAIT(operations::setWait, setWaitLater);
const Hooked FREE(operations::rcfree, freeLater);

/// Long enough for a thread that does not wait for the lock. One that does comes later anyway.
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

class RequesterAboutToWait : public ::testing::Test {
protected:
    RequesterAboutToWait() { EXPECT_TRUE(server.waitForClients(1)); }

    std::future<std::int32_t> receiving(std::function<void()> event) {
        return calling([this] { return connection->recv(body, sizeof body); }, std::move(event));
    }
    void expectEndByADisconnect() {
        std::future<std::int32_t> end;
        auto result = receiving([&] {
            end = std::async(std::launch::async, [this] { return connection->disconnect(); });
        });
        EXPECT_EQ(soon(result), 1);
        EXPECT_EQ(soon(end), 0);
    }

    ScriptedServer server;
    PolicyGuard policy{LinkPolicy{}};
    std::unique_ptr<AudioConnection> connection =
        std::make_unique<AudioConnection>(wire::SERVER_SOCKET, 0, nullptr, nullptr);
    std::uint8_t body[4] = {};
};

TEST_F(RequesterAboutToWait, EndsWithADisconnect) {
    expectEndByADisconnect();
}

/// Only the disconnect wakes the requester: the receiver thread, which does so at its end, has
/// ended.
TEST_F(RequesterAboutToWait, EndsWithADisconnectFromALostServer) {
    server.close();
    ASSERT_TRUE(eventually([] {
        const std::vector<std::string> names = threadNames();
        return std::find(names.begin(), names.end(), "AS-SktWorker") == names.end();
    }));
    expectEndByADisconnect();
}

TEST_F(RequesterAboutToWait, GetsAReply) {
    auto result = receiving([this] {
        Bytes reply = ScriptedServer::frame(HEADER_REPLY);
        reply.insert(reply.end(), {1, 2, 3, 4});
        server.send(reply);
    });
    EXPECT_EQ(soon(result), 0);
    EXPECT_EQ(body[3], 4);
}

TEST_F(RequesterAboutToWait, EndsWithItsServer) {
    LinkPolicy wakes;
    wakes.wakesOnServerLoss = true;
    setLinkPolicy(wakes);
    auto result = receiving([this] { server.close(); });
    EXPECT_EQ(soon(result), 1);
}

// ---- A destructor -------------------------------------------------------------------------------

TEST(DestructorAboutToWait, EndsWithTheLastRequest) {
    ScriptedServer server;
    server.on(1, Answer::status(0).held());
    auto call = std::make_unique<RemoteCall>(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
    std::promise<void> destructorWaits;
    auto request = std::async(std::launch::async, [&, own = call.get()] {
        tBeforeFree = [&] { destructorWaits.get_future().wait(); };
        return own->callFuncId(1, false);
    });
    ASSERT_TRUE(server.waitForRequest(1));
    auto end = calling(
        [&] {
            call.reset();
            return true;
        },
        [&] {
            destructorWaits.set_value();
            EXPECT_EQ(request.wait_for(std::chrono::seconds(30)), std::future_status::ready);
        });
    EXPECT_TRUE(soon(end));
    EXPECT_EQ(soon(request), 1);
}

// ---- A writer -----------------------------------------------------------------------------------

class WriterAboutToWait : public KindTest {
protected:
    WriterAboutToWait() : KindTest(streamKind("alternativeTrack")) {
        serverRing = kind.ring();
        create();
        start();
        EXPECT_EQ(stream->move(data.data(), SIZE - 1, false), static_cast<int>(SIZE) - 1);
    }

    std::future<int> writing(std::function<void()> event) {
        return calling(
            [this, writer = stream.get()] { return writer->move(data.data(), 256, true); },
            std::move(event));
    }
};

TEST_F(WriterAboutToWait, WritesIntoNewSpace) {
    auto result = writing([this] {
        Bytes played(512);
        serverRing->read(played.data(), 512);
    });
    EXPECT_EQ(soon(result), 256) << log.dump();
}

/// The server frees space, finds the flag unset and wakes no writer, before the flag is set.
TEST_F(WriterAboutToWait, WritesIntoSpaceThatCameBeforeItsFlag) {
    auto result = std::async(std::launch::async, [this] {
        tBeforeFlag = [this] { serverRing->updateReadOffset(512); };
        return move(256);
    });
    EXPECT_EQ(soon(result), 256) << log.dump();
    EXPECT_EQ(log.countMatching(WARN, ".*wait free space timeout.*\n"), 0U);
    EXPECT_FALSE(serverRing->getWait());
}

TEST_F(WriterAboutToWait, EndsWithTheRemovalOfItsStream) {
    auto result = writing([this] { server.notify(REMOVED, 0); });
    EXPECT_EQ(soon(result), AUDIO_INVALID_STATE) << log.dump();
}

TEST_F(WriterAboutToWait, EndsWithAStop) {
    std::future<int> stopped;
    auto result = writing(
        [&] { stopped = std::async(std::launch::async, [this] { return stream->stop(); }); });
    EXPECT_EQ(soon(result), AUDIO_INVALID_STATE) << log.dump();
    EXPECT_EQ(soon(stopped), AUDIO_NO_ERROR);
}

TEST_F(WriterAboutToWait, EndsWithTheDestructor) {
    std::future<bool> end;
    auto result = writing([&] {
        end = std::async(std::launch::async, [this] {
            stream.reset();
            return true;
        });
    });
    EXPECT_EQ(soon(result), AUDIO_INVALID_STATE) << log.dump();
    EXPECT_TRUE(soon(end));
    EXPECT_EQ(log.countMatching(ERROR, ".*waitting exit timeout.*\n"), 0U);
}

}  // namespace
}  // namespace cabinaudio::test
