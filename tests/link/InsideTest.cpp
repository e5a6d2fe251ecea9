// SPDX-License-Identifier: Apache-2.0
// Internals of the library: the record behind a connection, the receive thread's class, and the end
// of requests by the clients' destructors.
#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioSemaphore.h>
#include <cabinaudio/link/RemoteCall.h>

#include "link/AudioSocket.h"
#include "link/RecordLoan.h"
#include "link/RemoteCallAccess.h"
#include "link/SktWorker.h"
#include "tests/link/LinkFixture.h"
#include "tests/support/ProcessState.h"

#include <android/log.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

using ::testing::Each;

constexpr std::size_t MOST_LOANS = alignof(std::max_align_t) - 1;

/// The record of a connected object: the third field, behind the name and the port. Only while no
/// request is under way, which would be counted in the pointer.
AudioSocket* recordOf(const AudioConnection& connection) {
    struct Front {
        const char* path;
        std::int32_t port;
        AudioSocket* record;
    } front;
    std::memcpy(static_cast<void*>(&front), static_cast<const void*>(&connection), sizeof front);
    return front.record;
}

/// Of a record that no other thread knows.
std::uint8_t readyIn(const AudioSocket& record) CABINAUDIO_UNCHECKED_LOCKING {
    return record.mReplyReady;
}

void waitForWorkersEnd(AudioSocket& record) {
    const AudioMutex::AutoLock lock(*record.mReplyLock);
    while (!record.mState.isWorkerGone())
        record.mReplyCond->wait(*record.mReplyLock);
}

// ---- The record ---------------------------------------------------------------------------------

TEST(SocketRecord, HasItsFieldsInOrder) {
    const AudioSocket record;
    const void* const fields[] = {&record.mSocket,    &record.mReplySem, &record.mReplyLock,
                                  &record.mReplyCond, &record.mWorker,   &record.mReplyReady,
                                  &record.mIsStall,   &record.mState};
    EXPECT_TRUE(std::is_sorted(std::begin(fields), std::end(fields)));
    EXPECT_EQ(static_cast<const void*>(&record), fields[0]);
    EXPECT_EQ(record.mSocket, 0);
    EXPECT_EQ(readyIn(record), 0);
    EXPECT_EQ(record.mIsStall, 0);
    EXPECT_EQ(sizeof record.mIsStall, 1u);
}

TEST(SocketRecordDeathTest, AssertsThatThereIsADescriptor) {
    // A process under an emulator cannot execute itself; nothing else runs in it here.
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_DEATH(
        {
            // The process that dies is another one and needs a name of its own.
            const std::string name = "record-test-" + std::to_string(getpid());
            ScriptedServer server(name);
            AudioConnection connection(name.c_str(), 0, nullptr, nullptr);
            AudioSocket* const record = recordOf(connection);
            EXPECT_TRUE(server.waitForClients(1));
            server.close();
            waitForWorkersEnd(*record);  // from here on the record is this thread's
            __android_log_set_logger(__android_log_stderr_logger);
            record->mSocket = -1;
            connection.disconnect();
        },
        "\\[AudioConnection\\]\\[disconnect\\]\\[[0-9]+\\]"
        "AUDIO ASSERT\\(0 <= pSocket->mSocket\\)!");
}

TEST_F(Connection, LeavesAReplysBodyToItsReaderWhenTheReceiveThreadWakesUpEarly) {
    AudioSocket* const record = recordOf(connection);
    server.send(ScriptedServer::frame(HEADER_REPLY) + Bytes{1, 2, 3, 4});
    EXPECT_TRUE(eventually([&] {
        const AudioMutex::AutoLock lock(*record->mReplyLock);
        return record->mReplyReady != 0;
    }));
    for (int i = 0; i < 1000; ++i)
        record->mReplySem->signal();
    Bytes body(4);
    EXPECT_EQ(connection.recv(body.data(), 4), 0);
    EXPECT_EQ(body, (Bytes{1, 2, 3, 4}));
    server.send(ScriptedServer::frame(HEADER_REPLY) + Bytes{5, 6, 7, 8});
    EXPECT_EQ(connection.recv(body.data(), 4), 0);
    EXPECT_EQ(body, (Bytes{5, 6, 7, 8}));
}

TEST_F(Connection, IgnoresWakeUpsWithoutAReply) {
    Bytes body(4);
    AudioSocket* const record = recordOf(connection);
    auto result = receivingInBackground(body);
    for (int i = 0; i < 1000; ++i) {
        record->mReplyCond->broadcast();
        record->wakeRequester();
    }
    EXPECT_EQ(result.wait_for(WHILE), std::future_status::timeout);
    server.send(ScriptedServer::frame(HEADER_REPLY) + Bytes{1, 2, 3, 4});
    EXPECT_EQ(result.get(), 0);
    EXPECT_THAT(body, ::testing::ElementsAre(1, 2, 3, 4));
}

// ---- Loans of the record ------------------------------------------------------------------------

class RecordLoans : public ::testing::Test {
protected:
    alignas(std::max_align_t) AudioSocket record;
    std::atomic<AudioSocket*> slot{&record};
};

TEST_F(RecordLoans, AreRefusedBeyondTheLargestCount) {
    {
        std::vector<std::unique_ptr<RecordLoan>> loans;
        while (loans.size() < MOST_LOANS) {
            loans.push_back(std::make_unique<RecordLoan>(slot));
            ASSERT_EQ(loans.back()->record(), &record);
        }
        const RecordLoan more(slot);
        EXPECT_EQ(more.record(), nullptr);
    }
    EXPECT_EQ(slot.load(), &record);
}

TEST_F(RecordLoans, AreAllAwaitedWhenTheRecordIsTaken) {
    auto first = std::make_unique<RecordLoan>(slot);
    auto second = std::make_unique<RecordLoan>(slot);
    const TakenRecord taken = takeRecord(slot);
    EXPECT_EQ(taken.record, &record);
    EXPECT_EQ(taken.loans, 2U);
    EXPECT_EQ(RecordLoan(slot).record(), nullptr);
    const auto waiting = std::async(std::launch::async, [&] { taken.waitForReturn(); });
    first.reset();
    EXPECT_EQ(waiting.wait_for(WHILE), std::future_status::timeout);
    second.reset();
    EXPECT_EQ(waiting.wait_for(BOUND), std::future_status::ready);
}

// ---- The receive thread's class -----------------------------------------------------------------

TEST(ReceiveThread, LogsAndReturnsWithoutARecord) {
    LogCapture log;
    SktWorker worker(nullptr, nullptr, nullptr);
    worker.run();
    EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "run", "als is null\n"));
}

TEST(ReceiveThread, ReturnsAtOnceWhenItIsNotRunning) {
    LogCapture log;
    AudioSocket* const record = new (std::malloc(sizeof(AudioSocket))) AudioSocket;
    ASSERT_TRUE(record->create(nullptr, nullptr));
    record->mSocket = -1;  // a receive would fail and be logged
    record->mWorker->run();
    EXPECT_TRUE(record->mState.isWorkerGone());
    EXPECT_TRUE(logIsEmpty(log));
    AudioSocket::destroy(record);
}

// ---- A client's destructor ----------------------------------------------------------------------

/// A request under way, and an owner that is about to be destroyed and needs the request to end.
class AbandonedRequest : public ::testing::Test {
protected:
    void request() {
        result = std::async(std::launch::async, [this] { return call.callFuncId(1, false); });
        ASSERT_TRUE(server.waitForRequest(1));
    }
    bool stillWaiting() const { return result.wait_for(WHILE) == std::future_status::timeout; }

    LogCapture log;
    ScriptedServer server;
    Mailbox box;
    RemoteCall call{AUDIO_CONNECT_MAIN, &Mailbox::take, &box, nullptr};
    std::future<std::int32_t> result;
};

TEST_F(AbandonedRequest, EndsWhenTheServerIsGoneAlready) {
    server.on(1, Answer::close());
    request();
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_TRUE(stillWaiting());
    RemoteCallAccess::abandon(call);
    EXPECT_EQ(result.get(), 1);
    EXPECT_TRUE(logged(log, DEBUG, "AudioConnection", "recv", "exit\n"));
}

TEST_F(AbandonedRequest, EndsWhenTheServerGoesLater) {
    server.on(1, Answer::none());
    request();
    RemoteCallAccess::abandon(call);
    EXPECT_TRUE(stillWaiting());
    server.close();
    EXPECT_EQ(result.get(), 1);
}

TEST_F(AbandonedRequest, GetsItsReplyFromALivingServer) {
    server.on(1, Answer::status(17).held());
    request();
    RemoteCallAccess::abandon(call);
    EXPECT_TRUE(stillWaiting());
    server.release();
    EXPECT_EQ(result.get(), 17);
    EXPECT_TRUE(logged(log, DEBUG, "exit\n", 0));
}

TEST_F(AbandonedRequest, GetsItsReplyWhenItIsSentAfterwards) {
    server.on(1, Answer::status(17).held());
    RemoteCallAccess::abandon(call);
    request();
    EXPECT_TRUE(stillWaiting());
    server.release();
    EXPECT_EQ(result.get(), 17);
}

TEST_F(AbandonedRequest, WaitsForItsBodyWithoutBlockingTheOwner) {
    server.on(1, Answer::status(17).bodyHeld());
    request();
    EXPECT_TRUE(stillWaiting());
    RemoteCallAccess::abandon(call);
    EXPECT_TRUE(stillWaiting());
    server.release();
    EXPECT_EQ(result.get(), 17);
}

TEST_F(AbandonedRequest, EndsAtAnyMomentOfTheServersEnd) {
    for (std::size_t round = 1; round <= 100; ++round) {
        server.on(2, Answer::close());
        RemoteCall own(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
        auto answer = std::async(std::launch::async, [&] { return own.callFuncId(2, false); });
        ASSERT_TRUE(server.waitForRequest(2, round));
        RemoteCallAccess::abandon(own);
        EXPECT_EQ(answer.get(), 1);
    }
}

TEST_F(AbandonedRequest, MayLackAConnection) {
    server.stop();
    RemoteCall unconnected(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
    RemoteCallAccess::abandon(unconnected);
    EXPECT_EQ(unconnected.initCheck(), -1000);
}

}  // namespace
}  // namespace cabinaudio::test
