// SPDX-License-Identifier: Apache-2.0
// The end of a remote call during requests and notifications.
#include <cabinaudio/foundation/AudioMemory.h>
#include <cabinaudio/link/RemoteCall.h>

#include "tests/link/LinkFixture.h"
#include "tests/support/ProcessState.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstring>
#include <future>
#include <thread>

namespace cabinaudio::test {
namespace {

class RemoteCallEnd : public RemoteCallFixture {
protected:
    std::future<std::int32_t> requestInBackground() {
        return std::async(std::launch::async,
                          [own = call.get()] { return own->callFuncId(1, false); });
    }
};

TEST_F(RemoteCallEnd, LeavesNothingBehind) {
    const ProcessState before = ProcessState::now();
    for (int i = 0; i < 20; ++i) {
        connect();
        EXPECT_EQ(call->callFuncId(1, false), 0);
        call.reset();
    }
    EXPECT_TRUE(returnsTo(before));
}

TEST_F(RemoteCallEnd, LogsTheDisconnectOnce) {
    connect();
    call.reset();
    EXPECT_TRUE(loggedLike(log, DEBUG, "close socket fd:[0-9]+"));
    EXPECT_TRUE(logged(log, ERROR, "pSocket is null\n", 0));
}

TEST_F(RemoteCallEnd, LeavesAnOutstandingBlockToItsOwner) {
    connect();
    std::uint8_t* req = nullptr;
    std::uint8_t* ret = nullptr;
    ASSERT_EQ(call->rcalloc(&req, 4, &ret, 4), 0);
    call.reset();
    std::memset(req - 88, 1, 92);
    std::memset(ret, 1, 4);
    AudioNormalFree(req - 88);
    AudioNormalFree(ret);
}

TEST_F(RemoteCallEnd, ReturnsARequestThatTheServerDoesNotAnswer) {
    server.on(1, Answer::none());
    connect();
    auto result = requestInBackground();
    ASSERT_TRUE(server.waitForRequest(1));
    call.reset();
    EXPECT_EQ(result.get(), 1);
    EXPECT_TRUE(logged(log, DEBUG, "AudioConnection", "recv", "exit\n"));
}

TEST_F(RemoteCallEnd, WaitsForACallThatIsSending) {
    connect();
    std::uint8_t* req = nullptr;
    std::uint8_t* ret = nullptr;
    ASSERT_EQ(call->rcalloc(&req, 4, &ret, 4), 0);
    HeldSend send(92);
    std::thread caller([&, own = call.get()] { EXPECT_EQ(own->call(req, 4, ret, 4, false), 1); });
    EXPECT_TRUE(send.waitForSend());
    std::thread destroyer([&] { call.reset(); });
    EXPECT_TRUE(send.waitForShutdown());
    EXPECT_FALSE(
        eventually([&] { return log.countMatching(DEBUG, "close socket fd:[0-9]+") != 0; }, WHILE));
    send.release();
    caller.join();
    destroyer.join();
    AudioNormalFree(req - 88);
    AudioNormalFree(ret);
}

TEST_F(RemoteCallEnd, ReturnsARequestWhoseServerIsGone) {
    server.on(1, Answer::close());
    connect();
    auto result = requestInBackground();
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_EQ(result.wait_for(WHILE), std::future_status::timeout);
    call.reset();
    EXPECT_EQ(result.get(), 1);
    EXPECT_TRUE(logged(log, DEBUG, "exit\n"));
}

TEST_F(RemoteCallEnd, ReturnsARequestWhoseBodyDoesNotCome) {
    server.on(1, Answer::status(5).bodyHeld());
    connect();
    auto result = requestInBackground();
    ASSERT_TRUE(server.waitForRequest(1));
    call.reset();
    // At the end of the stream a read brings nothing, which counts as a reply of zeros; a request
    // that had not got that far ends with 1.
    EXPECT_THAT(result.get(), ::testing::AnyOf(0, 1));
}

TEST_F(RemoteCallEnd, ReturnsARequestThatTheServerDoesNotRead) {
    connect();
    server.pauseReading();
    constexpr std::uint32_t SIZE = 4000000;
    std::uint8_t* req = nullptr;
    std::uint8_t* ret = nullptr;
    ASSERT_EQ(call->rcalloc(&req, SIZE, &ret, 4), 0);
    std::memset(req, 0, SIZE);
    std::future<std::int32_t> result = std::async(
        std::launch::async, [=, own = call.get()] { return own->call(req, SIZE, ret, 4, false); });
    EXPECT_EQ(result.wait_for(WHILE), std::future_status::timeout);
    call.reset();
    EXPECT_EQ(result.get(), 1);
    AudioNormalFree(req - 88);
    AudioNormalFree(ret);
}

TEST_F(RemoteCallEnd, RefusesRequestsOfANotificationUnderWay) {
    Counter entered;
    std::atomic<int> requests = 0;
    std::atomic<RemoteCall*> own = nullptr;
    box.onTake = [&](const Notification&) {
        entered.add();
        do
            ++requests;
        while (own.load()->callFuncId(1, false) == 0);
    };
    connect();
    own = call.get();
    server.notify(1, 1);
    ASSERT_TRUE(entered.waitFor(1));
    call.reset();
    EXPECT_THAT(box.taken(), ::testing::SizeIs(1));
    EXPECT_GE(requests, 1);
    // The last request either found no connection or was interrupted under way.
    EXPECT_GE(log.count(ERROR, "RemoteCall", "call", "mConn=0x0, mHandle=0x64\n") +
                  log.count(DEBUG, "exit\n") +
                  log.countMatching(WARN, "send failed\\(-1\\) errno:Broken pipe 32, reTry=0\n"),
              1u)
        << log.dump();
}

TEST_F(RemoteCallEnd, RefusesRequestsOfANotificationThatContinuesAfterTheDisconnect) {
    Counter entered;
    std::atomic<bool> released = false;
    std::atomic<std::int32_t> status = -1;
    std::atomic<RemoteCall*> own = nullptr;
    box.onTake = [&](const Notification&) {
        entered.add();
        EXPECT_TRUE(eventually([&] { return released.load(); }));
        status = own.load()->callFuncId(1, false);
    };
    connect();
    own = call.get();
    server.notify(1, 1);
    ASSERT_TRUE(entered.waitFor(1));
    std::thread ending([&] { call.reset(); });
    EXPECT_TRUE(log.waitForMatching(DEBUG, "close socket fd:[0-9]+"));
    released = true;
    ending.join();
    EXPECT_EQ(status, 1);
    EXPECT_TRUE(logged(log, ERROR, "RemoteCall", "call", "mConn=0x0, mHandle=0x64\n"));
}

TEST_F(RemoteCallEnd, LeavesNothingBehindDuringABurstOfNotifications) {
    const ProcessState before = ProcessState::now();
    for (std::size_t round = 0; round < 20; ++round) {
        connect();
        std::atomic<bool> over = false;
        std::thread storm([&] {
            for (std::uint32_t i = 0; !over; ++i)
                server.notify(i, i, round);
        });
        EXPECT_TRUE(box.waitFor(box.taken().size() + 10));
        call.reset();
        over = true;
        storm.join();
    }
    EXPECT_TRUE(returnsTo(before));
}

}  // namespace
}  // namespace cabinaudio::test
