// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioMemory.h>
#include <cabinaudio/foundation/AudioTime.h>
#include <cabinaudio/link/RemoteCall.h>

#include "tests/link/LinkFixture.h"
#include "tests/support/OnThreads.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <limits>

namespace cabinaudio::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::SizeIs;

constexpr std::uint32_t HIGHEST = std::numeric_limits<std::uint32_t>::max();

class RemoteRequest : public ::testing::Test {
protected:
    /// Bytes sent after the registration, with the time of building replaced by 0xaa.
    Bytes sentBytes() const {
        Bytes bytes = server.received();
        bytes.erase(bytes.begin(), bytes.begin() + 88);
        std::fill_n(bytes.begin() + 16, 8, std::uint8_t{0xaa});
        return bytes;
    }
    Bytes lastPayload() const { return server.requests().back().payload; }

    LogCapture log;
    ScriptedServer server;
    RemoteCall call{AUDIO_CONNECT_VOLUME_SETTING, nullptr, nullptr, "name"};
    std::uint8_t* req = nullptr;
    std::uint8_t* ret = nullptr;
};

// ---- On the wire --------------------------------------------------------------------------------

TEST_F(RemoteRequest, SendsItsBytesInOnePiece) {
    EXPECT_EQ(call.callFuncId(0x01020304, -2, false), 0);
    EXPECT_THAT(
        sentBytes(),
        ElementsAreArray(
            Bytes{195,  0,    0,    0,                             // call
                  131,  0,    0,    0,                             // type
                  100,  0,    0,    0,                             // handle
                  8,    0,    0,    0,                             // payload
                  0xaa, 0xaa, 0xaa, 0xaa, 0xaa, 0xaa, 0xaa, 0xaa,  // time
                  'u',  'n',  'k',  'n',  0,    0,    0,    0,    0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                  0,    0,    0,    0,    0,    0,    0,    0,    0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                  0,    0,    0,    0,    0,    0,    0,    0,    0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                  0,    0,    0,    0,    0,    0,    0,    0,    0, 0, 4, 3, 2, 1,  // function id
                  0xfe, 0xff, 0xff, 0xff}));
    EXPECT_THAT(server.pieces(), ElementsAre(88u, 96u));
}

TEST_F(RemoteRequest, CarriesTheTimeOfItsBuilding) {
    const std::uint64_t before = AudioTime::now();
    EXPECT_EQ(call.callFuncId(1, false), 0);
    EXPECT_GE(server.requests(1).at(0).header.timestamp, before);
    EXPECT_LE(server.requests(1).at(0).header.timestamp, AudioTime::now());
}

TEST_F(RemoteRequest, HasAnotherCommandWithTheFlag) {
    EXPECT_EQ(call.callFuncId(1, true), 0);
    EXPECT_EQ(server.requests(1).at(0).header.cmd, 198u);
}

TEST_F(RemoteRequest, CarriesTheNumbersOfAFunctionId) {
    EXPECT_EQ(call.callFuncId(7, false), 0);
    EXPECT_THAT(lastPayload(), ElementsAre(7, 0, 0, 0));
    EXPECT_EQ(call.callFuncId(7, 1, false), 0);
    EXPECT_THAT(lastPayload(), ElementsAre(7, 0, 0, 0, 1, 0, 0, 0));
    EXPECT_EQ(call.callFuncId(7, 1, -1, false), 0);
    EXPECT_THAT(lastPayload(), ElementsAre(7, 0, 0, 0, 1, 0, 0, 0, 255, 255, 255, 255));
    EXPECT_EQ(call.callFuncId(7, 1, -1, 256, false), 0);
    EXPECT_THAT(lastPayload(), ElementsAre(7, 0, 0, 0, 1, 0, 0, 0, 255, 255, 255, 255, 0, 1, 0, 0));
    std::int32_t out = 0;
    EXPECT_EQ(call.callFuncId(7, &out, false), 0);
    EXPECT_THAT(lastPayload(), ElementsAre(7, 0, 0, 0));
}

TEST_F(RemoteRequest, SendsThePayloadAsTheCallerLeftIt) {
    ASSERT_EQ(call.rcalloc(&req, 5, &ret, 4), 0);
    std::memcpy(req, "hello", 5);
    EXPECT_EQ(call.call(req, 5, ret, 4, true), 0);
    EXPECT_THAT(lastPayload(), ElementsAre('h', 'e', 'l', 'l', 'o'));
    EXPECT_EQ(call.rcfree(req, ret), 0);
}

// ---- Results ------------------------------------------------------------------------------------

TEST_F(RemoteRequest, ReturnsTheStatusOfTheServer) {
    server.on(9, Answer::status(-3000));
    EXPECT_EQ(call.callFuncId(9, false), -3000);
    EXPECT_EQ(call.callFuncId(9, 1, false), -3000);
    EXPECT_EQ(call.callFuncId(9, 1, 2, true), -3000);
    EXPECT_EQ(call.callFuncId(9, 1, 2, 3, true), -3000);
}

TEST_F(RemoteRequest, StoresTheValueWhateverTheStatus) {
    server.on(9, Answer::words(-3000, -5));
    std::int32_t out = 4711;
    EXPECT_EQ(call.callFuncId(9, &out, false), -3000);
    EXPECT_EQ(out, -5);
}

TEST_F(RemoteRequest, StoresZeroWhenTheReplyEndsBeforeTheValue) {
    server.on(9, Answer::words(-3000));
    std::int32_t out = 4711;
    EXPECT_EQ(call.callFuncId(9, &out, false), -3000);
    EXPECT_EQ(out, 0);
}

TEST_F(RemoteRequest, SucceedsWithoutAPlaceForTheValue) {
    server.on(9, Answer::words(3, -5));
    EXPECT_EQ(call.callFuncId(9, nullptr, false), 3);
    EXPECT_EQ(call.callFuncId(1, false), 0);
}

TEST_F(RemoteRequest, ReturnsZeroWhenTheReplyIsEmpty) {
    const NoSleeping sleeping;
    server.on(9, Answer::raw(ScriptedServer::frame(HEADER_REPLY)).thenClose());
    EXPECT_EQ(call.callFuncId(9, false), 0);
}

TEST_F(RemoteRequest, ReturnsOneWhenItIsNotSent) {
    std::int32_t out = 4711;
    {
        const Replaced<platform::send> send(returning(-1, EPIPE));
        EXPECT_EQ(call.callFuncId(9, &out, false), 1);
    }
    EXPECT_EQ(out, 4711);
    EXPECT_EQ(call.callFuncId(9, false), 0);
}

TEST_F(RemoteRequest, ReturnsOneWhenItsReplyCannotBeRead) {
    const NoSleeping sleeping;
    std::int32_t out = 4711;
    server.on(9, Answer::raw(ScriptedServer::frame(HEADER_REPLY)));
    {
        const Replaced<platform::recv> recv(
            [](int descriptor, void* data, std::size_t length, int flags) {
                if (length == 8) return ssize_t{failWith(EIO)};
                return platform::recv.real(descriptor, data, length, flags);
            });
        EXPECT_EQ(call.callFuncId(9, &out, false), 1);
    }
    EXPECT_EQ(out, 4711);
    EXPECT_EQ(call.callFuncId(1, false), 0);
}

TEST_F(RemoteRequest, MayBeRepeatedOnOneBlock) {
    ASSERT_EQ(call.rcalloc(&req, 8, &ret, 4), 0);
    std::memset(req, 0, 8);
    for (std::uint8_t i = 1; i <= 3; ++i) {
        req[0] = i;
        EXPECT_EQ(call.call(req, i, ret, 4, false), 0);
        EXPECT_THAT(lastPayload(), SizeIs(i));
    }
    EXPECT_EQ(call.rcfree(req, ret), 0);
}

// ---- The blocks ---------------------------------------------------------------------------------

TEST_F(RemoteRequest, HasRoomForTheHeaderInFrontOfThePayload) {
    ASSERT_EQ(call.rcalloc(&req, 16, &ret, 8), 0);
    std::memset(req - 88, 1, 88 + 16);
    std::memset(ret, 1, 8);
    EXPECT_EQ(call.rcfree(req, ret), 0);
}

TEST_F(RemoteRequest, MayBeEmptyOnBothSides) {
    ASSERT_EQ(call.rcalloc(&req, 0, &ret, 0), 0);
    EXPECT_NE(req, nullptr);
    EXPECT_NE(ret, nullptr);
    EXPECT_EQ(call.rcfree(req, ret), 0);
}

TEST_F(RemoteRequest, IsRefusedWhileAnotherIsOutstanding) {
    ASSERT_EQ(call.rcalloc(&req, 4, &ret, 4), 0);
    std::uint8_t* otherReq = nullptr;
    std::uint8_t* otherRet = nullptr;
    EXPECT_EQ(call.rcalloc(&otherReq, 4, &otherRet, 4), -2992);
    EXPECT_TRUE(logged(log, ERROR, "RemoteCall", "rcalloc", "bad sequence\n"));
    EXPECT_EQ(otherReq, nullptr);
    EXPECT_EQ(call.callFuncId(1, false), -1990);
    EXPECT_TRUE(logged(log, ERROR, "RemoteCall", "rcalloc", "bad sequence\n", 2));
    EXPECT_EQ(call.rcfree(req, ret), 0);
    EXPECT_EQ(call.callFuncId(1, false), 0);
}

TEST_F(RemoteRequest, IsRefusedForASizeThatNoBlockCanHave) {
    for (const std::uint32_t size : {HIGHEST, HIGHEST - 87}) {
        EXPECT_EQ(call.rcalloc(&req, size, &ret, 4), -1990) << size;
        EXPECT_EQ(req, nullptr);
    }
    EXPECT_TRUE(logged(log, ERROR, "RemoteCall", "rcalloc", "AudioNormalMalloc failed\n", 2));
    ASSERT_EQ(call.rcalloc(&req, 4, &ret, 4), 0);
    EXPECT_EQ(call.rcfree(req, ret), 0);
}

TEST_F(RemoteRequest, SendsNothingForALengthThatNoMessageCanHave) {
    ASSERT_EQ(call.rcalloc(&req, 4, &ret, 4), 0);
    for (const std::uint32_t length : {HIGHEST, 0x80000000u, 0x7fffffa8u})
        EXPECT_EQ(call.call(req, length, ret, 4, false), 1) << length;
    EXPECT_TRUE(logged(log, WARN, "send failed(-1) errno:Invalid argument 22, reTry=0\n", 3));
    EXPECT_THAT(server.requests(), SizeIs(1));
    EXPECT_EQ(call.rcfree(req, ret), 0);
}

TEST_F(RemoteRequest, ReadsAtMostTheLargestPositiveLength) {
    ASSERT_EQ(call.rcalloc(&req, 4, &ret, 4), 0);
    std::memset(req, 0, 4);
    std::size_t asked = 0;
    const Replaced<platform::recv> recv(
        [&](int descriptor, void* data, std::size_t length, int flags) {
            if (length == 32) return platform::recv.real(descriptor, data, length, flags);
            asked = length;
            return platform::recv.real(descriptor, data, 4, flags);
        });
    EXPECT_EQ(call.call(req, 4, ret, 0x80000000u, false), 0);
    EXPECT_EQ(asked, 0x7fffffffu);
    EXPECT_EQ(call.rcfree(req, ret), 0);
}

TEST_F(RemoteRequest, IsRefusedWithAForeignBlock) {
    ASSERT_EQ(call.rcalloc(&req, 4, &ret, 4), 0);
    EXPECT_EQ(call.call(req + 1, 4, ret, 4, false), -3000);
    EXPECT_EQ(call.call(nullptr, 4, ret, 4, false), -3000);
    EXPECT_TRUE(logged(log, ERROR, "RemoteCall", "call", "bad param\n", 2));
    EXPECT_THAT(server.requests(), SizeIs(1));
    EXPECT_EQ(call.rcfree(req, ret), 0);
    EXPECT_EQ(call.call(nullptr, 4, ret, 4, false), -3000);
}

TEST_F(RemoteRequest, OfAnUnregisteredClientIsRefusedBeforeItsBlockIsChecked) {
    server.onRegistration(Answer::handle(0));
    RemoteCall unregistered(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
    EXPECT_EQ(unregistered.call(nullptr, 4, nullptr, 4, false), 1);
    void* connection = nullptr;
    std::memcpy(&connection, static_cast<const void*>(&unregistered), sizeof connection);
    char expected[64];
    std::snprintf(expected, sizeof expected, "mConn=0x%" PRIxPTR ", mHandle=0x0\n",
                  reinterpret_cast<std::uintptr_t>(connection));
    EXPECT_TRUE(logged(log, ERROR, "RemoteCall", "call", expected));
}

TEST_F(RemoteRequest, IsReleasedOnlyWithBothBlocks) {
    ASSERT_EQ(call.rcalloc(&req, 4, &ret, 4), 0);
    EXPECT_EQ(call.rcfree(nullptr, ret), -2992);
    EXPECT_EQ(call.rcfree(req, nullptr), -2992);
    EXPECT_TRUE(logged(log, ERROR, "RemoteCall", "rcfree", "rcfree bad param\n", 2));
    EXPECT_EQ(call.rcfree(req + 4, ret), -2992);
    EXPECT_EQ(call.rcfree(req, ret + 1), -2992);
    EXPECT_TRUE(logged(log, ERROR, "RemoteCall", "rcfree", "rcfree bad addr\n", 2));
    std::memset(req, 1, 4);
    std::memset(ret, 1, 4);
    EXPECT_EQ(call.call(req, 4, ret, 4, false), 0);
    EXPECT_EQ(call.rcfree(req, ret), 0);
    EXPECT_EQ(call.rcfree(req, ret), -2992);
    EXPECT_TRUE(logged(log, ERROR, "rcfree bad addr\n", 3));
}

TEST_F(RemoteRequest, IsNotReleasedWithABlockOfAnotherClient) {
    RemoteCall other(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
    std::uint8_t* otherReq = nullptr;
    std::uint8_t* otherRet = nullptr;
    ASSERT_EQ(call.rcalloc(&req, 4, &ret, 4), 0);
    ASSERT_EQ(other.rcalloc(&otherReq, 4, &otherRet, 4), 0);
    EXPECT_EQ(call.rcfree(req, otherRet), -2992);
    EXPECT_EQ(call.rcfree(otherReq, ret), -2992);
    EXPECT_TRUE(logged(log, ERROR, "rcfree bad addr\n", 2));
    EXPECT_EQ(call.rcfree(req, ret), 0);
    EXPECT_EQ(other.rcfree(otherReq, otherRet), 0);
}

TEST_F(RemoteRequest, LogsThatItsBlocksWereReleasedMeanwhile) {
    const NoSleeping sleeping;
    const std::uint8_t* message = nullptr;
    const Replaced<platform::send> send(
        [&](int descriptor, const void* data, std::size_t length, int flags) {
            message = static_cast<const std::uint8_t*>(data);
            return platform::send.real(descriptor, data, length, flags);
        });
    const Replaced<platform::recv> recv(
        [&](int descriptor, void* data, std::size_t length, int flags) {
            if (length != 4) return platform::recv.real(descriptor, data, length, flags);
            EXPECT_EQ(call.rcfree(const_cast<std::uint8_t*>(message) + 88, data), 0);
            return ssize_t{failWith(EIO)};
        });
    EXPECT_EQ(call.callFuncId(9, false), 1);
    EXPECT_TRUE(logged(log, ERROR, "RemoteCall", "callFuncId", "rcfree error.\n"));
}

TEST_F(RemoteRequest, IsClaimedByExactlyOneOfTwoThreads) {
    constexpr int ROUNDS = 1000;
    std::barrier together(2);
    std::atomic<int> claimed = 0;
    std::atomic<int> refused = 0;
    std::atomic<int> released = 0;
    onThreads(2, [&](int) {
        for (int round = 0; round < ROUNDS; ++round) {
            std::uint8_t* mine = nullptr;
            std::uint8_t* reply = nullptr;
            together.arrive_and_wait();
            const std::int32_t status = call.rcalloc(&mine, 4, &reply, 4);
            if (status == AUDIO_NO_ERROR) ++claimed;
            if (status == AUDIO_BAD_SEQUENCE) ++refused;
            together.arrive_and_wait();
            if (status == AUDIO_NO_ERROR && call.rcfree(mine, reply) == 0) ++released;
        }
    });
    EXPECT_EQ(claimed, ROUNDS);
    EXPECT_EQ(refused, ROUNDS);
    EXPECT_EQ(released, ROUNDS);
}

TEST_F(RemoteRequest, IsReleasedByExactlyOneOfTwoThreads) {
    constexpr int ROUNDS = 1000;
    std::barrier together(2);
    std::atomic<int> released = 0;
    onThreads(2, [&](int thread) {
        for (int round = 0; round < ROUNDS; ++round) {
            if (thread == 0) {
                EXPECT_EQ(call.rcalloc(&req, 4, &ret, 4), 0);
            }
            together.arrive_and_wait();
            if (call.rcfree(req, ret) == 0) ++released;
            together.arrive_and_wait();
        }
    });
    EXPECT_EQ(released, ROUNDS);
}

TEST_F(RemoteRequest, OfSeveralThreadsIsEitherServedOrRefused) {
    server.on(5, [](const Request& request) { return Answer::status(request.number(1)); });
    constexpr int THREADS = 3;
    constexpr int REQUESTS = 300;
    std::atomic<int> served = 0;
    std::atomic<int> refused = 0;
    onThreads(THREADS, [&](int thread) {
        for (int i = 0; i < REQUESTS; ++i) {
            const std::int32_t number = thread * REQUESTS + i + 1;
            const std::int32_t status = call.callFuncId(5, number, false);
            if (status == number) ++served;
            if (status == AUDIO_NO_MEMORY) ++refused;
        }
    });
    EXPECT_EQ(served + refused, THREADS * REQUESTS);
    EXPECT_GE(served, 1);
    EXPECT_THAT(server.requests(5), SizeIs(static_cast<std::size_t>(served)));
}

TEST_F(RemoteRequest, OfManyClientsAtOnceFindsItsOwnReply) {
    server.on(5, [](const Request& request) { return Answer::words(0, request.word(1)); });
    constexpr int CLIENTS = 4;
    constexpr int REQUESTS = 200;
    std::atomic<int> right = 0;
    onThreads(CLIENTS, [&](int client) {
        RemoteCall own(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
        for (int i = 0; i < REQUESTS; ++i) {
            std::uint8_t* mine = nullptr;
            std::uint8_t* reply = nullptr;
            const std::int32_t words[2] = {5, client * REQUESTS + i};
            std::int32_t answer[2] = {};
            if (own.rcalloc(&mine, sizeof words, &reply, sizeof answer) != 0) continue;
            std::memcpy(mine, words, sizeof words);
            if (own.call(mine, sizeof words, reply, sizeof answer, false) == 0) {
                std::memcpy(answer, reply, sizeof answer);
                if (answer[1] == words[1]) ++right;
            }
            EXPECT_EQ(own.rcfree(mine, reply), 0);
        }
    });
    EXPECT_EQ(right, CLIENTS * REQUESTS);
}

// ---- Headers ------------------------------------------------------------------------------------

TEST(RequestHeader, IsWrittenCompletely) {
    std::uint8_t record[90];
    std::memset(record, 0x55, sizeof record);
    RemoteCall::init_audio_param(record + 1, -1, AUDIO_CONNECT_UNKNOWN, -2, -3, "x");
    EXPECT_EQ(record[0], 0x55);
    EXPECT_EQ(record[89], 0x55);
    const Bytes start(record + 1, record + 17);
    EXPECT_THAT(start, ElementsAre(255, 255, 255, 255, 255, 0, 0, 0, 254, 255, 255, 255, 253, 255,
                                   255, 255));
    EXPECT_EQ(record[25], 'x');
    EXPECT_TRUE(std::all_of(record + 26, record + 89, [](std::uint8_t byte) { return byte == 0; }));
}

}  // namespace
}  // namespace cabinaudio::test
