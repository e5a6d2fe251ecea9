// SPDX-License-Identifier: Apache-2.0
// The server's notifications while a stream is being made or destroyed, and operations beside one
// that waits.
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/client/SlowThreads.h"
#include "tests/support/ProcessState.h"
#include "tests/support/Row.h"
#include "tests/support/kinds/KindTest.h"

#include <android/log.h>

#include <atomic>
#include <functional>
#include <future>
#include <string>
#include <thread>

namespace cabinaudio::test {
namespace {

/// A stream whose destructor waits for a blocked call that is slow to wake up.
class StreamInDestruction : public EachKindTest {
protected:
    ~StreamInDestruction() override {
        if (mDestroyer.joinable()) (void)wakeUp();
    }

    /// Returns while the destructor waits.
    void destroy() {
        before = ProcessState::now();
        serverRing = kind.ring();
        create();
        start();
        announce();
        if (kind.writes) {
            ASSERT_EQ(stream->move(data.data(), SIZE - 1, false), static_cast<int>(SIZE - 1));
        } else {
            ASSERT_EQ(serverRing->write(data.data(), STEP), STEP);
            ASSERT_EQ(move(STEP), STEP) << log.dump();
        }
        mMover = blocked(
            [this, moved = stream.get()] {
                sleepUntilReleased(mGo);
                return moved->move(data.data(), STEP, true);
            },
            kind.refusal());
        AnyStream* const watched = stream.get();
        mDestroyer = std::thread([this] {
            stream.reset();
            mLapsedWaits = lapsedWaits();
        });
        // The object lives until the blocked call has left.
        const char* const line = "\\[str\\] client record state is not active:0.\n";
        ASSERT_TRUE(eventually([&] {
            if (kind.writes) return log.count(WARN, "[str] destroy with out stop finish\n") == 1;
            (void)watched->available();
            return log.countMatching(ERROR, line) != 0;
        })) << log.dump();
    }
    /// Lets the blocked call go on. @return its result, once the stream is destroyed
    int wakeUp() {
        mGo.release();
        mDestroyer.join();
        return mMover.get();
    }
    void expectNothingLeft() {
        EXPECT_EQ(mLapsedWaits, 0) << "the blocked call left without a signal";
        EXPECT_TRUE(loggedLike(ERROR, ".*waitting exit.*\n", 0));
        EXPECT_TRUE(loggedLike(WARN, ".*waitting exit.*\n", 0));
        serverRing.reset();
        EXPECT_TRUE(eventually([this] {
            const ProcessState now = ProcessState::now();
            return now.threads <= before.threads && now.sharedMappings <= before.sharedMappings;
        })) << log.dump();
    }

    ProcessState before;

private:
    std::binary_semaphore mGo{0};
    std::future<int> mMover;
    std::thread mDestroyer;
    int mLapsedWaits = 0;  // of the destructor
};

class PhysicalStreamInDestruction : public StreamInDestruction {};
class WithdrawnStreamInDestruction : public StreamInDestruction {};

INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamInDestruction,
                         ::testing::ValuesIn(kindsNamed({"alternativeTrack", "auxiliaryTrack",
                                                         "sink", "uplink"})),
                         ROW_NAME);
INSTANTIATE_TEST_SUITE_P(OfEachKind, PhysicalStreamInDestruction,
                         ::testing::ValuesIn(physicalKinds()), ROW_NAME);
INSTANTIATE_TEST_SUITE_P(OfEachKind, WithdrawnStreamInDestruction,
                         ::testing::ValuesIn(kindsNamed({"sink", "uplink"})), ROW_NAME);

TEST_P(StreamInDestruction, EndsTheBlockedCallAsRemovedWhenTheServerRemovesIt) {
    destroy();
    server.notify(REMOVED, 0);
    settle();
    EXPECT_EQ(wakeUp(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(logged(ERROR, "[str]after waiting ,status:STOPPING,server may have crash\n"));
    EXPECT_TRUE(loggedLike(ERROR, ".*(exit has requested|may have destroy).*\n", 0));
    expectNothingLeft();
}

TEST_P(PhysicalStreamInDestruction, HandlesTheAnnouncementOfARing) {
    destroy();
    const std::uint32_t function = kind.writes ? 20 : 18;
    const std::size_t asked = server.requests(function).size();
    server.notify(kind.event, 1);
    settle();
    if (kind.writes) {
        EXPECT_EQ(server.requests(function).size(), asked + 1) << log.dump();
    } else {
        EXPECT_EQ(server.requests(function).size(), asked);
        EXPECT_TRUE(logged(WARN, "[str] can not init share memory.\n"));
    }
    EXPECT_EQ(wakeUp(), AUDIO_INVALID_STATE);
    expectNothingLeft();
}

TEST_P(PhysicalStreamInDestruction, LeavesNothingWhenAnotherRingIsAnnounced) {
    destroy();
    server.notify(REMOVED, 0);  // so that an uplink maps the ring, too
    serverRing = kind.ring();
    server.notify(kind.event, 1);
    settle();
    (void)wakeUp();
    expectNothingLeft();
}

TEST_P(WithdrawnStreamInDestruction, AcknowledgesTheWithdrawalOfItsRing) {
    destroy();
    server.notify(kind.isSink() ? 4 : 2, 0);
    ASSERT_TRUE(server.waitForRequest(LET_GO)) << log.dump();
    settle();
    const char* const line =
        kind.isSink() ? "[str]Source is deactived done\n" : "[str] record unInitShareMem\n";
    EXPECT_TRUE(logged(INFO, line));
    EXPECT_EQ(wakeUp(), AUDIO_INVALID_STATE);
    expectNothingLeft();
}

/// Streams that the server removes before it has answered the create request.
class StreamRemovedInCreation : public EachKindTest {};

INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamRemovedInCreation, ::testing::ValuesIn(streamKinds()),
                         ROW_NAME);

TEST_P(StreamRemovedInCreation, StaysRemoved) {
    server.onRegistration(Answer::handle(100).after(REMOVED, 0));
    for (int round = 0; round < 20; ++round) {
        {
            const SlowToLock slow;  // the notification comes first
            create();
        }
        waitForRemoval();
        EXPECT_TRUE(eventually([&] { return stream->initCheck() == AUDIO_INVALID_STATE; }))
            << log.dump();
        stream.reset();
        log.clear();
    }
}

/// Streams that get a notification before their registration is answered.
class StreamNotifiedInCreation : public EachKindTest {};

INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamNotifiedInCreation, ::testing::ValuesIn(physicalKinds()),
                         ROW_NAME);

TEST_P(StreamNotifiedInCreation, SendsNoRequestBeforeItIsRegistered) {
    // An uplink that is not created yet maps no ring; it acknowledges the end of one.
    server.onRegistration(Answer::handle(100).bodyHeld().after(kind.event, 0));
    auto creation = std::async(std::launch::async, [this] { create(); });
    // A stream that does not wait asks now.
    EXPECT_EQ(creation.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    server.release();
    creation.get();
    EXPECT_TRUE(server.waitForRequest(kind.writes ? 20 : LET_GO)) << log.dump();
    EXPECT_TRUE(loggedLike(ERROR, "mConn=.*\n", 0));
}

/// Streams whose source goes while they are created.
class StreamWithdrawnInCreation : public EachKindTest {};

INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamWithdrawnInCreation,
                         ::testing::Values(streamKind("sink"), streamKind("uplink")), ROW_NAME);

TEST_P(StreamWithdrawnInCreation, AcknowledgesBesideItsCreateRequest) {
    const std::uint32_t withdrawn = kind.name == std::string("sink") ? 4 : 2;
    server.onRegistration(Answer::handle(100).after(withdrawn, 0));
    for (std::size_t round = 1; round <= 100; ++round) {
        create();
        EXPECT_TRUE(eventually([&] { return server.requests(LET_GO).size() == round; }))
            << log.dump();
        EXPECT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
        stream.reset();
    }
    EXPECT_TRUE(loggedLike(ERROR, ".*bad sequence\n", 0));
}

class SinkWithoutItsSource : public KindTest {
protected:
    SinkWithoutItsSource() : KindTest(streamKind("sink")) { serverRing = kind.ring(); }

    AudioFormatDesc format = MUSIC;
    ClientSink sink{"str", AUDIO_TAG_MAIN, format, 0};
};

TEST_F(SinkWithoutItsSource, AsksForTheNextRingOnlyAfterTheAcknowledgment) {
    server.on(LET_GO, Answer::status(0).held());
    std::future<void> acknowledging = std::async(std::launch::async, [this] { sink.deactived(); });
    ASSERT_TRUE(server.waitForRequest(LET_GO)) << log.dump();
    server.notify(3, 1);
    // A sink that does not wait asks now.
    EXPECT_EQ(acknowledging.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    server.release();
    EXPECT_TRUE(server.waitForRequest(20)) << log.dump();
    EXPECT_TRUE(eventually([this] { return sink.getTotalBufferSize() == int{SIZE}; }));
    EXPECT_TRUE(loggedLike(ERROR, ".*bad sequence\n", 0));
}

/// A sink whose start request is not answered yet.
class SinkInARequest : public KindTest {
protected:
    SinkInARequest() : KindTest(streamKind("sink")) {
        server.on(START, Answer::status(0).held());
        create();
        starting = std::async(std::launch::async, [this] { return stream->start(); });
        EXPECT_TRUE(server.waitForRequest(START)) << log.dump();
    }
    /// Runs the call on a thread of its own, which may have to wait.
    void expectLine(const std::string& line, const std::function<void()>& call) {
        log.clear();
        std::thread caller(call);
        EXPECT_TRUE(log.waitFor(DEBUG, line)) << line << log.dump();
        server.release();
        EXPECT_EQ(starting.get(), AUDIO_NO_ERROR);
        caller.join();
    }

    std::future<int> starting;
};

/// An operation beside a start request, and its result.
struct SinkOperation : Row {
    int (AnyStream::*call)();
    int result;
};

class SinkOperationInARequest : public SinkInARequest,
                                public ::testing::WithParamInterface<SinkOperation> {};

INSTANTIATE_TEST_SUITE_P(
    OfEachOperation, SinkOperationInARequest,
    ::testing::Values(SinkOperation{"stop", &AnyStream::stop, AUDIO_NO_ERROR},
                      SinkOperation{"start", &AnyStream::start, AUDIO_NO_ERROR},
                      SinkOperation{"clear", &AnyStream::clear, AUDIO_INVALID_STATE},
                      SinkOperation{"writeDone", &AnyStream::ask, AUDIO_INVALID_STATE}),
    ROW_NAME);

TEST_P(SinkOperationInARequest, IsLoggedBeforeItWaits) {
    const SinkOperation& one = GetParam();
    expectLine(std::string("[str]") + one.name + " In\n",
               [&] { EXPECT_EQ((stream.get()->*one.call)(), one.result); });
}

TEST_F(SinkInARequest, LogsItsRemovalBeforeItWaits) {
    expectLine("[str]server track has be deleted, disconnect.\n",
               [this] { server.notify(REMOVED, 0); });
}

TEST_F(SinkInARequest, IsCheckedWithoutWaiting) {
    EXPECT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(starting.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    server.release();
    EXPECT_EQ(starting.get(), AUDIO_NO_ERROR);
}

// ---- Steps under the lock, seen from inside of a log line ---------------------------------------

std::function<void(const std::string&)> gOnLine;

/// Calls a function from inside of each log line, on the thread that writes the line.
class LineHook {
public:
    explicit LineHook(std::function<void(const std::string&)> onLine) {
        gOnLine = std::move(onLine);
        __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
        __android_log_set_logger(
            [](const __android_logger_data* /*data*/, const char* text) { gOnLine(text); });
    }
    /// Only when no thread writes a line any more.
    ~LineHook() { __android_log_set_logger(__android_log_stderr_logger); }
    LineHook(const LineHook&) = delete;
    LineHook& operator=(const LineHook&) = delete;
};

/// A stream whose lines go to a hook instead of `log`.
class HookedStream : public EachKindTest {
protected:
    [[nodiscard]] static bool isDeletion(const std::string& line) {
        return line.find("delete shared memory name:") != std::string::npos;
    }
    [[nodiscard]] static bool isLateWakeUp(const std::string& line) {
        return line.find("update share memory IPC interVal") != std::string::npos;
    }
    /// A started stream with its ring.
    void make() {
        makeRing();
        create();
        start();
        if (!kind.isPosix) server.notify(kind.event, 1);
        ASSERT_TRUE(eventually([this] { return stream->getTotalBufferSize() != 0; }));
    }
};

class StreamWithARing : public HookedStream {};
class PlaybackWithARing : public HookedStream {};

INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamWithARing, ::testing::ValuesIn(physicalKinds()),
                         ROW_NAME);
// An uplink deletes its ring after the last notification.
INSTANTIATE_TEST_SUITE_P(OfEachKind, PlaybackWithARing,
                         ::testing::ValuesIn(kindsNamed({"auxiliaryTrack", "sink"})), ROW_NAME);

TEST_P(StreamWithARing, CanBeStoppedWhileItsReplacedRingIsDeleted) {
    const std::thread::id test = std::this_thread::get_id();
    std::promise<std::future_status> during;
    std::future<int> stopping;
    const LineHook hook([&](const std::string& line) {
        if (std::this_thread::get_id() == test || !isDeletion(line) || stopping.valid()) return;
        stopping = std::async(std::launch::async, [this] { return stream->stop(); });
        during.set_value(stopping.wait_for(std::chrono::seconds(5)));
    });
    make();
    makeRing();
    server.notify(kind.event, 1);
    EXPECT_EQ(during.get_future().get(), std::future_status::ready)
        << "the ring is deleted under the stream's lock";
    EXPECT_EQ(stopping.get(), AUDIO_NO_ERROR);
    stream.reset();
}

TEST_P(PlaybackWithARing, ReleasesARingThatIsAnnouncedWhileItsRingIsDeleted) {
    const char* const mapped =
        kind.isSink() ? "]main init shareMemory OK size:4096" : "]share memory ready size[4096]";
    const ProcessState before = ProcessState::now();
    std::promise<void> isMapped;
    std::future<void> mapping = isMapped.get_future();
    std::atomic<int> announcements{0};
    std::atomic<int> deletions{0};
    const LineHook hook([&](const std::string& line) {
        if (line.find(mapped) != std::string::npos && ++announcements == 2) isMapped.set_value();
        if (!isDeletion(line) || ++deletions != 1) return;
        server.notify(kind.event, 1);
        EXPECT_EQ(mapping.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    });
    make();
    stream.reset();
    EXPECT_EQ(deletions, 2);
    serverRing.reset();
    EXPECT_TRUE(leavesNoMoreThan(before));
}

/// A blocked call that is woken up later than the ring says.
class LateWakeUp : public HookedStream {};

INSTANTIATE_TEST_SUITE_P(OfEachKind, LateWakeUp,
                         ::testing::ValuesIn(kindsNamed({"alternativeTrack", "record", "uplink"})),
                         ROW_NAME);

TEST_P(LateWakeUp, IsLoggedUnderTheLockOfTheStream) {
    std::promise<std::future_status> during;
    std::future<int> other;
    std::atomic<bool> isDone{false};
    const LineHook hook([&](const std::string& line) {
        if (!isLateWakeUp(line) || isDone.exchange(true)) return;
        // Bytes used, or another callback.
        const unsigned operation = kind.writes ? 8 : 6;
        other = std::async(std::launch::async,
                           [this, operation] { return stream->operate(operation, nullptr); });
        during.set_value(other.wait_for(std::chrono::milliseconds(100)));
    });
    make();
    if (kind.writes) {
        ASSERT_EQ(stream->move(data.data(), SIZE - 1, false), static_cast<int>(SIZE - 1));
    } else {
        ASSERT_EQ(serverRing->write(data.data(), STEP), STEP);
        ASSERT_EQ(move(STEP), STEP);
    }
    std::future<int> mover = blockedMove();
    // The last update of the ring is that of the bytes above, which is late by now.
    ASSERT_TRUE(
        eventually([this] { return AudioTime::now() / 1000 >= serverRing->getUpdateTime() + 2; }));
    stream->notify();
    EXPECT_EQ(during.get_future().get(), std::future_status::timeout)
        << "an operation got the lock in between";
    EXPECT_GE(other.get(), AUDIO_NO_ERROR);
    Bytes bytes(STEP);
    if (kind.writes)
        serverRing->read(bytes.data(), STEP);
    else
        serverRing->write(bytes.data(), STEP);
    EXPECT_EQ(mover.get(), STEP);
    stream.reset();
}

class AuxiliaryTrack : public KindTest {
protected:
    AuxiliaryTrack() : KindTest(streamKind("auxiliaryTrack")) { serverRing = kind.ring(); }
};

TEST_F(AuxiliaryTrack, MapsAnAnnouncedRingWhileItsRequestIsOutstanding) {
    std::unique_ptr<ClientTrack> track;
    std::promise<int> during;
    const LineHook hook([&](const std::string& line) {
        if (line.find("]share memory ready size") != std::string::npos)
            during.set_value(track->setKeyShift(1.0F));
    });
    AudioFormatDesc format = MUSIC;
    track = std::make_unique<ClientTrack>("str", AUDIO_TAG_AUXILIARY, format, 0);
    ASSERT_EQ(track->start(), AUDIO_NO_ERROR);
    server.notify(3, 0);
    EXPECT_EQ(during.get_future().get(), AUDIO_NO_MEMORY) << "the request's blocks are in use";
    EXPECT_TRUE(eventually([&] { return track->setKeyShift(1.0F) == AUDIO_NO_ERROR; }));
    track.reset();
}

TEST_F(AuxiliaryTrack, WaitsOnForItsRingAfterASignalWithoutOne) {
    create();
    start();
    std::future<int> writer = blockedMove();
    for (int i = 0; i < 10; ++i)
        stream->notify();
    server.notify(3, 0);
    EXPECT_EQ(writer.get(), STEP);
}

}  // namespace
}  // namespace cabinaudio::test
